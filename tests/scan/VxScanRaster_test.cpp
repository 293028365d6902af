// Rasters written and read back through GDAL in every format, windows and reduced windows
// against the pixels computed here, and the errors.

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "VxFileHelpers.h"
#include "VxScan.h"
#include "VxScanTestSupport.h"

namespace {

using vx_scan_test::TempPath;

// A pattern with every value distinct from its neighbours: 8-bit range, or 16-bit.
TVxRaster Pattern(int width, int height, int bits) {
  TVxRaster r(width, height);
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      const int v = (x * 7 + y * 13 + (x * y) % 11) % 256;
      r.At(x, y) = static_cast<float>(bits == 8 ? v : v * 251 + x % 17);
    }
  return r;
}

struct TFormatCase {
  const char* name;
  TVxRasterFormat format;
  int bits;
  bool tiled;
  const char* extension;
  double tolerance;  // largest difference read back, grey levels (JPEG is lossy)
};

class RasterFormats : public ::testing::TestWithParam<TFormatCase> {};

TEST_P(RasterFormats, WrittenRaster_ReadsBackInWindows) {
  const TFormatCase& c = GetParam();
  const TVxRaster raster = Pattern(300, 200, c.bits);
  const std::string path = TempPath(std::string(c.name) + c.extension);
  TVxRasterWriteOptions options;
  options.format = c.format;
  options.bits = c.bits;
  options.tiled = c.tiled;
  options.tileSize = 64;
  options.jpegQuality = 95;
  WriteRaster(path, raster, options);

  const TVxScanImage image(path);
  EXPECT_EQ(image.Width(), 300);
  EXPECT_EQ(image.Height(), 200);
  EXPECT_EQ(image.Bits(), c.bits);
  const TVxRaster window = image.ReadWindow(37, 51, 90, 70);
  ASSERT_EQ(window.width, 90);
  ASSERT_EQ(window.height, 70);
  EXPECT_EQ(window.x0, 37);
  EXPECT_EQ(window.y0, 51);
  double largest = 0.0;
  double meanError = 0.0;
  for (int y = 0; y < 70; ++y)
    for (int x = 0; x < 90; ++x) {
      const double d = std::abs(static_cast<double>(window.At(x, y) - raster.At(37 + x, 51 + y)));
      largest = std::max(largest, d);
      meanError += d;
    }
  if (c.tolerance == 0.0)
    EXPECT_EQ(largest, 0.0);
  else
    EXPECT_LT(meanError / (90 * 70), c.tolerance);
  std::remove(path.c_str());
}

INSTANTIATE_TEST_SUITE_P(
    Formats, RasterFormats,
    ::testing::Values(TFormatCase{"tiff8_tiled", TVxRasterFormat::Tiff, 8, true, ".tif", 0.0},
                      TFormatCase{"tiff8_striped", TVxRasterFormat::Tiff, 8, false, ".tif", 0.0},
                      TFormatCase{"tiff16_tiled", TVxRasterFormat::Tiff, 16, true, ".tif", 0.0},
                      TFormatCase{"bigtiff16_striped", TVxRasterFormat::BigTiff, 16, false, ".tif",
                                  0.0},
                      TFormatCase{"png8", TVxRasterFormat::Png, 8, false, ".png", 0.0},
                      TFormatCase{"png16", TVxRasterFormat::Png, 16, false, ".png", 0.0},
                      // Mean error of a JPEG of quality 95 on a pattern of sharp steps.
                      TFormatCase{"jpeg", TVxRasterFormat::Jpeg, 8, false, ".jpg", 6.0}),
    [](const ::testing::TestParamInfo<TFormatCase>& p) { return std::string(p.param.name); });

TEST(ScanImage, ReadWindow_ClipsToTheScan) {
  const std::string path = TempPath("clip.tif");
  WriteRaster(path, Pattern(64, 48, 8), TVxRasterWriteOptions());
  const TVxScanImage image(path);
  const TVxRaster window = image.ReadWindow(-10, 40, 30, 30);
  EXPECT_EQ(window.x0, 0);
  EXPECT_EQ(window.y0, 40);
  EXPECT_EQ(window.width, 20);
  EXPECT_EQ(window.height, 8);
  EXPECT_EQ(image.ReadWindow(100, 0, 10, 10).width, 0);
  std::remove(path.c_str());
}

TEST(ScanImage, ReadWindowBytes_AreTheSamplesOfReadWindowThenThePad) {
  const std::string path = TempPath("bytes.tif");
  WriteRaster(path, Pattern(64, 48, 8), TVxRasterWriteOptions());
  const TVxScanImage image(path);
  std::remove(path.c_str());
  std::vector<std::uint8_t> bytes(3, 7);
  const TVxRaster window = image.ReadWindowBytes(-10, 40, 30, 30, 4, &bytes);
  const TVxRaster floats = image.ReadWindow(-10, 40, 30, 30);
  EXPECT_EQ(window.x0, 0);
  EXPECT_EQ(window.y0, 40);
  ASSERT_EQ(window.width, 20);
  ASSERT_EQ(window.height, 8);
  EXPECT_TRUE(window.pixels.empty());
  ASSERT_EQ(bytes.size(), 20u * 8u + 4u);
  for (std::size_t i = 0; i < floats.pixels.size(); ++i)
    ASSERT_EQ(static_cast<float>(bytes[i]), floats.pixels[i]) << i;
  for (std::size_t i = floats.pixels.size(); i < bytes.size(); ++i) EXPECT_EQ(bytes[i], 0);
}

TEST(ScanImage, ReadWindowBytes_Of16Bits_ReadsNothing) {
  const std::string path = TempPath("bytes16.tif");
  TVxRasterWriteOptions options;
  options.bits = 16;
  WriteRaster(path, Pattern(64, 48, 16), options);
  const TVxScanImage image(path);
  std::remove(path.c_str());
  std::vector<std::uint8_t> bytes(3, 7);
  EXPECT_EQ(image.ReadWindowBytes(0, 0, 10, 10, 4, &bytes).width, 0);
  EXPECT_TRUE(bytes.empty());
}

TEST(ScanImage, ReadReduced_IsTheMeanOfEachBlock) {
  const TVxRaster raster = Pattern(100, 90, 16);
  const std::string path = TempPath("reduced.tif");
  TVxRasterWriteOptions options;
  options.bits = 16;
  WriteRaster(path, raster, options);
  const TVxScanImage image(path);
  const int f = 4;
  const TVxRaster reduced = image.ReadReduced(2, 3, 30, 30, f);
  // 100 / 4 = 25 whole reduced columns, 90 / 4 = 22 whole rows.
  EXPECT_EQ(reduced.x0, 2);
  EXPECT_EQ(reduced.y0, 3);
  ASSERT_EQ(reduced.width, 23);
  ASSERT_EQ(reduced.height, 19);
  for (int j = 0; j < reduced.height; ++j)
    for (int i = 0; i < reduced.width; ++i) {
      double sum = 0.0;
      for (int y = 0; y < f; ++y)
        for (int x = 0; x < f; ++x)
          sum += static_cast<double>(raster.At((2 + i) * f + x, (3 + j) * f + y));
      EXPECT_NEAR(static_cast<double>(reduced.At(i, j)), sum / (f * f), 1e-2) << i << ", " << j;
    }
  std::remove(path.c_str());
}

TEST(ScanImage, ColourRaster_ReadsAsTheMeanOfItsBands) {
  // The real crop is a colour JPEG of a grey scan: its bands' mean is its grey.
  const TVxScanImage crop(std::string(VX_SOURCE_DIR) +
                          "/tests/data/scans/fiducial_crops/nagap/notch/T.jpg");
  EXPECT_EQ(crop.Bands(), 3);
  const TVxRaster all = crop.ReadWindow(0, 0, crop.Width(), crop.Height());
  EXPECT_EQ(all.width, 242);
  EXPECT_EQ(all.height, 163);
  double low = 1e9, high = -1e9;
  for (float v : all.pixels) {
    low = std::min(low, static_cast<double>(v));
    high = std::max(high, static_cast<double>(v));
  }
  EXPECT_GE(low, 0.0);
  EXPECT_LE(high, 255.0);
  EXPECT_GT(high - low, 50.0);
}

TEST(ScanImage, MissingFile_ThrowsNamingIt) {
  try {
    const TVxScanImage image("/nonexistent/folder/scan.tif");
    FAIL() << "no exception";
  } catch (const TVxScanError& e) {
    EXPECT_NE(std::string(e.what()).find("cannot read the raster '/nonexistent/folder/scan.tif'"),
              std::string::npos)
        << e.what();
  }
}

TEST(WriteRaster, FolderMissing_ThrowsAndLeavesNothing) {
  EXPECT_THROW(
      WriteRaster("/nonexistent/folder/out.tif", Pattern(8, 8, 8), TVxRasterWriteOptions()),
      TVxScanError);
}

TEST(WriteRaster, JpegOf16Bits_IsRefusedAndTheTargetKept) {
  const std::string folder = TempPath("keep");
  ASSERT_EQ(::mkdir(folder.c_str(), 0700), 0);
  const std::string path = folder + "/kept.jpg";
  vx_test::Spit(path, "old");
  TVxRasterWriteOptions options;
  options.format = TVxRasterFormat::Jpeg;
  options.bits = 16;
  try {
    WriteRaster(path, Pattern(8, 8, 8), options);
    FAIL() << "no exception";
  } catch (const TVxScanError& e) {
    EXPECT_EQ(std::string(e.what()),
              "cannot write the raster '" + path + "': JPEG holds 8 bits only");
  }
  EXPECT_EQ(vx_test::Slurp(path), "old");
  EXPECT_EQ(vx_test::FilesIn(folder), std::vector<std::string>{"kept.jpg"});
  std::remove(path.c_str());
  ::rmdir(folder.c_str());
}

TEST(WriteRaster, Success_LeavesOnlyTheTarget) {
  const std::string folder = TempPath("only");
  ASSERT_EQ(::mkdir(folder.c_str(), 0700), 0);
  TVxRasterWriteOptions options;
  options.format = TVxRasterFormat::Png;
  WriteRaster(folder + "/a.png", Pattern(16, 16, 8), options);
  EXPECT_EQ(vx_test::FilesIn(folder), std::vector<std::string>{"a.png"});
  std::remove((folder + "/a.png").c_str());
  ::rmdir(folder.c_str());
}

}  // namespace
