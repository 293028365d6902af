// The pictures of vxcam open in an SVG renderer: the demo's SVG files are rendered to PNG with
// rsvg-convert (librsvg2-bin), and the PNG must show a drawing, not an empty page.
#include <gtest/gtest.h>
#include <png.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <vector>

#include "VxCamCommands.h"
#include "VxResourceGuards.h"

namespace {

struct Picture {
  unsigned width = 0;
  unsigned height = 0;
  std::vector<unsigned char> rgba;  // row after row, 4 bytes a pixel
};

Picture ReadPng(const std::string& path) {
  png_image image{};
  image.version = PNG_IMAGE_VERSION;
  Picture picture;
  if (png_image_begin_read_from_file(&image, path.c_str()) == 0) return picture;
  image.format = PNG_FORMAT_RGBA;
  std::vector<unsigned char> pixels(PNG_IMAGE_SIZE(image));
  if (png_image_finish_read(&image, nullptr, pixels.data(), 0, nullptr) == 0) return picture;
  picture.width = image.width;
  picture.height = image.height;
  picture.rgba = std::move(pixels);
  return picture;
}

// Shares of the pixels that are drawn (not white) and that are the red of curve and arrows.
struct Ink {
  double drawn = 0.0;
  double red = 0.0;
};

Ink InkOf(const Picture& picture) {
  std::size_t drawn = 0, red = 0;
  const std::size_t n = std::size_t{picture.width} * picture.height;
  for (std::size_t i = 0; i < n; ++i) {
    const unsigned char* p = &picture.rgba[4 * i];
    if (p[3] > 0 && (p[0] < 240 || p[1] < 240 || p[2] < 240)) ++drawn;
    if (p[3] > 0 && p[0] > 150 && p[1] < 100 && p[2] < 100) ++red;
  }
  return {static_cast<double>(drawn) / static_cast<double>(n),
          static_cast<double>(red) / static_cast<double>(n)};
}

// The demo's pictures hold at least this much ink: axes, labels, a curve and 121 arrows.
constexpr double kLeastDrawnShare = 0.02;
constexpr double kLeastRedShare = 0.002;

TEST(VxCamPlotRender, DemoPictures_RenderToPngsThatShowTheDrawing) {
  ScopedResLanguage english("en");
  const auto dir = std::filesystem::path(VX_BINARY_DIR) / "tests/tools/render";
  std::filesystem::remove_all(dir);
  std::istringstream in;
  std::ostringstream out, err;
  vxcam::TIo io{in, out, err};
  ASSERT_EQ(vxcam::RunDemo({"-o", dir.string()}, io), vxcam::kExitSuccess) << err.str();
  for (const char* name : {"rc10_radial", "rc10_directed8"}) {
    const auto svg = dir / (std::string(name) + ".svg");
    const auto png = dir / (std::string(name) + ".png");
    const std::string command =
        "rsvg-convert --format=png --output='" + png.string() + "' '" + svg.string() + "'";
    ASSERT_EQ(std::system(command.c_str()), 0) << command;
    const Picture picture = ReadPng(png.string());
    EXPECT_EQ(picture.width, 1120u) << name;
    EXPECT_EQ(picture.height, 590u) << name;
    const Ink ink = InkOf(picture);
    EXPECT_GT(ink.drawn, kLeastDrawnShare) << name;
    EXPECT_GT(ink.red, kLeastRedShare) << name;
  }
}

}  // namespace
