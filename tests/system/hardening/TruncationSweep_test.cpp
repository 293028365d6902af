// Every example file cut at every byte offset is either loaded or rejected with the reader's
// error, and a rejected load leaves its target exactly as it was.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

#include "VxRecordBytes.h"
#include "VxXIni.h"

namespace {

std::vector<std::string> ExampleTexts(const std::string& folder) {
  std::vector<std::string> texts;
  for (const auto& entry :
       std::filesystem::directory_iterator(std::string(VX_SOURCE_DIR) + "/examples/" + folder)) {
    std::ifstream in(entry.path(), std::ios::binary);
    std::stringstream text;
    text << in.rdbuf();
    texts.push_back(text.str());
  }
  return texts;
}

// Loads every prefix of every text into a copy of `marker`; returns how many prefixes loaded.
template <class TRecord, class FLoad>
std::size_t SweepPrefixes(const std::vector<std::string>& texts, const TRecord& marker,
                          FLoad load) {
  const std::string before = vx_test::RecordBytes(marker);
  std::size_t loaded = 0;
  for (const std::string& text : texts) {
    for (std::size_t cut = 0; cut < text.size(); ++cut) {
      TRecord target = marker;
      try {
        const auto reader = TVxXIniReader::FromText(std::string_view(text).substr(0, cut));
        load(reader.get(), &target);
        ++loaded;
      } catch (const TVxXIniReadError&) {
        EXPECT_EQ(vx_test::RecordBytes(target), before) << "cut at " << cut << " of\n" << text;
      }
    }
  }
  return loaded;
}

TVxCameraInfo MarkerCamera() {
  TVxCameraInfo c;
  c.name = "marker";
  c.focus = std::numeric_limits<double>::quiet_NaN();
  c.principalPoint.x = -0.0;
  return c;
}

}  // namespace

TEST(TruncationSweep, CameraFilesLoadOrFailWithoutChangingTarget) {
  const auto texts = ExampleTexts("cameras");
  ASSERT_GE(texts.size(), 11u);
  const std::size_t loaded =
      SweepPrefixes(texts, MarkerCamera(), [](TVxXIniReader* r, TVxCameraInfo* c) { c->LoadE(r); });
  // A cut inside the last table row or digit can still be a complete camera; most cuts are not.
  EXPECT_LT(loaded, texts.size() * 200);
}

TEST(TruncationSweep, DistortionSectionsLoadOrFailWithoutChangingTarget) {
  TVxCameraDistortion marker;
  marker.polyK[2] = -0.0;
  marker.tableR = {{std::numeric_limits<double>::quiet_NaN(), 1.0}};
  SweepPrefixes(ExampleTexts("cameras"), marker, [](TVxXIniReader* r, TVxCameraDistortion* d) {
    r->EnterSectionSE("distortion");
    d->LoadE(r);
  });
}

TEST(TruncationSweep, MeasurementFilesLoadOrFailWithoutChangingTarget) {
  TVxIntOrMeas marker;
  marker.cameraType = TCameraType::Fiducials;
  marker.marks = {{5, {-0.0, 1.0}, {2.0, 3.0}}};
  const std::size_t loaded = SweepPrefixes(ExampleTexts("measurements"), marker,
                                           [](TVxXIniReader* r, TVxIntOrMeas* m) { m->LoadE(r); });
  // Every key of a measurement is optional, so many prefixes load.
  EXPECT_GT(loaded, 0u);
}

TEST(TruncationSweep, MarkTemplateFilesLoadOrFailWithoutChangingTarget) {
  TCameraMarkTemplates marker;
  marker.templatePixelSize = -0.0;
  SweepPrefixes(ExampleTexts("templates"), marker,
                [](TVxXIniReader* r, TCameraMarkTemplates* t) { t->LoadE(r); });
}

TEST(TruncationSweep, TolerantCameraLoadNeverFailsOtherwiseThanWithReaderError) {
  for (const std::string& text : ExampleTexts("cameras")) {
    for (std::size_t cut = 0; cut < text.size(); cut += 7) {
      TVxCameraInfo camera;
      try {
        const auto reader = TVxXIniReader::FromText(std::string_view(text).substr(0, cut));
        EXPECT_TRUE(camera.Load(reader.get()));
      } catch (const TVxXIniReadError&) {
      }
    }
  }
}
