// The example files are what the library's own SaveE writes, and load back to their records.

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>

#include "ExampleCameras.h"
#include "VxResourceGuards.h"
#include "VxSettingsText.h"
#include "VxXIni.h"

namespace {

std::string ExampleText(const std::string& fileName) {
  std::ifstream in(std::string(VX_SOURCE_DIR) + "/examples/cameras/" + fileName, std::ios::binary);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

}  // namespace

TEST(CameraExamples, FilesAreWhatSaveWritesAndLoadBackEqual) {
  ScopedResLanguage english("en");
  const auto examples = ExampleCameras();
  ASSERT_GE(examples.size(), 11u);
  for (const TExampleCamera& example : examples) {
    SCOPED_TRACE(example.fileName);
    const std::string text = ExampleText(example.fileName);
    ASSERT_FALSE(text.empty()) << "run vx_make_examples to write it";
    EXPECT_EQ(text, vx_test::SavedText(example.camera));
    const auto reader = TVxXIniReader::FromFile(std::string(VX_SOURCE_DIR) + "/examples/cameras/" +
                                                example.fileName);
    TVxCameraInfo loaded;
    XIniLoadE(reader.get(), loaded);
    EXPECT_TRUE(loaded == example.camera);
  }
}

TEST(CameraExamples, EveryDistortionModelAndMarkKindIsThere) {
  bool models[9] = {};
  bool kinds[6] = {};
  for (const TExampleCamera& example : ExampleCameras()) {
    models[static_cast<int>(example.camera.distortion.type)] = true;
    kinds[static_cast<int>(example.camera.cameraType)] = true;
  }
  for (int model = 1; model <= 8; ++model) EXPECT_TRUE(models[model]) << model;
  for (int kind = 1; kind <= 5; ++kind) EXPECT_TRUE(kinds[kind]) << kind;
}

TEST(CameraExamples, FilmCameraHoldsTheReportsRadialTableAsCorrections) {
  const auto examples = ExampleCameras();
  const TVxCameraInfo& rc10 = examples.front().camera;
  ASSERT_EQ(rc10.distortion.tableR.size(), 6u);
  // 153.228 mm * tan(7.5 degrees) = 20.173 mm; the report gives +6 um of distortion there.
  EXPECT_DOUBLE_EQ(rc10.distortion.tableR[0].r, 20.173);
  EXPECT_DOUBLE_EQ(rc10.distortion.tableR[0].dr, -0.006);
  EXPECT_DOUBLE_EQ(rc10.distortion.tableR[5].r, 128.574);
  EXPECT_NE(rc10.description.find("OSL/3036"), std::string::npos);
}

TEST(CameraExamples, MarkTemplateExampleLoads) {
  const auto reader = TVxXIniReader::FromFile(std::string(VX_SOURCE_DIR) +
                                              "/examples/templates/rc10_mark_templates.yaml");
  TCameraMarkTemplates set;
  set.LoadE(reader.get());
  ASSERT_EQ(set.templates.size(), 4u);
  EXPECT_EQ(set.templates[2].minCorrHalfSize, 12u);
  EXPECT_EQ(set.templates[3].coordsCam, (vec_t_<double, 2>{106.015, -106.006}));
}
