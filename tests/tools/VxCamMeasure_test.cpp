// vxcam measure on a synthetic scan written here: the measurements it writes, its report and
// its failures.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>

#include "VxCamCall.h"
#include "VxCamCommands.h"
#include "VxCamFiles.h"
#include "VxIntOrSolve.h"
#include "VxResourceGuards.h"
#include "VxScan.h"
#include "VxScanSynthetic.h"
#include "VxScanTestSupport.h"

namespace {

using testing::HasSubstr;
using namespace vx_scan_test;

// vxcam measure.
CommandRun Measure(const vxcam::TArgs& args) {
  return Call(vxcam::RunMeasure, args);
}

// A folder with the camera, its templates (a YAML file and one TIFF a template) and a scan
// turned by a quarter and mirrored.
class VxCamMeasure : public testing::Test {
 protected:
  void SetUp() override {
    const auto* info = testing::UnitTest::GetInstance()->current_test_info();
    dir_ = std::filesystem::path(VX_BINARY_DIR) / "tests/tools/measure" / info->name();
    std::filesystem::remove_all(dir_);
    std::filesystem::create_directories(dir_ / "templates");
    camera_ = TestCamera();
    vxcam::SaveCamera(camera_, Path("camera.yaml"));
    templates_ = TestTemplates(camera_, false);
    std::ofstream yaml(Path("templates/marks.yaml"));
    yaml << "template_pixel_size_um: " << kTemplatePixelUm << "\n"
         << "default_scan_size_mm: {x: 45, y: 45}\nmark_templates:\n";
    for (std::size_t i = 0; i < templates_.set.templates.size(); ++i) {
      const auto& m = templates_.set.templates[i];
      const std::string name = "mark" + std::to_string(m.index) + ".tif";
      WriteRaster(Path("templates/" + name), templates_.images[i], TVxRasterWriteOptions());
      yaml << "  - template_index: " << m.index << "\n    coords_cam: {x: " << m.coordsCam.x
           << ", y: " << m.coordsCam.y << "}\n    filename: " << name
           << "\n    half_size_reduced: {x: " << m.halfSizeReduced.x
           << ", y: " << m.halfSizeReduced.y << "}\n";
    }
    options_ = DefaultScanOptions();
    options_.quarterTurns = 1;
    options_.mirrored = true;
    scan_ = RenderSyntheticScan(camera_, templates_.set, templates_.images, options_);
    WriteRaster(Path("scan.tif"), scan_.raster, TVxRasterWriteOptions());
  }
  void TearDown() override { std::filesystem::remove_all(dir_); }
  std::string Path(const std::string& name) const { return (dir_ / name).string(); }

  ScopedResLanguage english_{"en"};
  std::filesystem::path dir_;
  TVxCameraInfo camera_;
  TTemplates templates_;
  TVxSyntheticScanOptions options_;
  TVxSyntheticScan scan_;
};

TEST_F(VxCamMeasure, SyntheticScan_WritesMeasurementsThatSolve) {
  const CommandRun run =
      Measure({Path("scan.tif"), Path("camera.yaml"), Path("templates/marks.yaml"), "-o",
               Path("measured.yaml"), "--search-radius", "3"});
  ASSERT_EQ(run.status, vxcam::kExitSuccess) << run.err;
  EXPECT_THAT(run.out, HasSubstr("Orientation:"));
  EXPECT_THAT(run.out, HasSubstr("90°, mirrored"));
  EXPECT_THAT(run.out, HasSubstr("Marks measured:  8 / 8"));
  EXPECT_THAT(run.out, HasSubstr("Written: " + Path("measured.yaml")));
  const TVxIntOrMeas meas = vxcam::LoadMeasurements(Path("measured.yaml"));
  EXPECT_EQ(meas.marks.size(), 8u);
  EXPECT_EQ(meas.rotation, TCamRotate::Rotate90);
  EXPECT_LT(RmsToTruth(meas, scan_), 0.1);
  TVxIntOrSolution solution;
  std::string message;
  ASSERT_TRUE(SolveIntOr(meas, camera_, &solution, &message)) << message;
  EXPECT_TRUE(solution.mirrored);
}

TEST_F(VxCamMeasure, Json_ReportsEveryMark) {
  const CommandRun run =
      Measure({Path("scan.tif"), Path("camera.yaml"), Path("templates/marks.yaml"), "-o",
               Path("measured.yaml"), "--json", "--threads", "2"});
  ASSERT_EQ(run.status, vxcam::kExitSuccess) << run.err;
  const auto report = nlohmann::json::parse(run.out);
  EXPECT_EQ(report["quarter_turns"], 1);
  EXPECT_EQ(report["mirrored"], true);
  EXPECT_EQ(report["measured"], 8);
  ASSERT_EQ(report["marks"].size(), 8u);
  EXPECT_EQ(report["marks"][0]["status"], "Measured");
  EXPECT_EQ(report["marks"][0]["disturbance_pix"], 0.0);
  EXPECT_TRUE(std::filesystem::exists(Path("measured.yaml")));
}

TEST_F(VxCamMeasure, MinScoreAboveEveryMark_LeavesNoneMeasuredAndWritesNothing) {
  const CommandRun run =
      Measure({Path("scan.tif"), Path("camera.yaml"), Path("templates/marks.yaml"), "-o",
               Path("measured.yaml"), "--search-radius", "3", "--min-score", "0.9999"});
  EXPECT_EQ(run.status, vxcam::kExitCheckFailed);
  EXPECT_THAT(run.out, HasSubstr("Marks measured:  0 / 8"));
  EXPECT_THAT(run.out, HasSubstr("correlation too low"));
  EXPECT_FALSE(std::filesystem::exists(Path("measured.yaml")));
}

TEST_F(VxCamMeasure, MinScoreOutsideMinusOneToOne_IsAUsageError) {
  const CommandRun run =
      Measure({Path("scan.tif"), Path("camera.yaml"), Path("templates/marks.yaml"), "-o",
               Path("measured.yaml"), "--min-score", "1.5"});
  EXPECT_EQ(run.status, vxcam::kExitUsage);
  EXPECT_THAT(run.err, HasSubstr("expected a number from -1 to 1, found: 1.5"));
  EXPECT_FALSE(std::filesystem::exists(Path("measured.yaml")));
}

// Below the marks' own scatter every mark is beyond the limit: they are rejected one at a time
// while the affine fit of the others keeps a redundancy, down to three.
TEST_F(VxCamMeasure, RejectLimitBelowTheScatter_RejectsDownToThreeMarks) {
  const CommandRun run =
      Measure({Path("scan.tif"), Path("camera.yaml"), Path("templates/marks.yaml"), "-o",
               Path("measured.yaml"), "--search-radius", "3", "--reject-limit", "0.001", "--json"});
  ASSERT_EQ(run.status, vxcam::kExitSuccess) << run.err;
  const auto report = nlohmann::json::parse(run.out);
  EXPECT_EQ(report["measured"], 3);
  int rejected = 0;
  for (const auto& mark : report["marks"]) rejected += mark["status"] == "Rejected" ? 1 : 0;
  EXPECT_EQ(rejected, 5);
  EXPECT_EQ(vxcam::LoadMeasurements(Path("measured.yaml")).marks.size(), 3u);
}

TEST_F(VxCamMeasure, RejectLimitNotPositive_IsAUsageError) {
  const CommandRun run =
      Measure({Path("scan.tif"), Path("camera.yaml"), Path("templates/marks.yaml"), "-o",
               Path("measured.yaml"), "--reject-limit", "0"});
  EXPECT_EQ(run.status, vxcam::kExitUsage);
  EXPECT_THAT(run.err, HasSubstr("expected a number greater than 0, found: 0"));
}

// A dark speck of dust over mark 3 of an unturned scan (as in tests/scan) moves its peak: the
// report tells it, with how far.
TEST_F(VxCamMeasure, SpeckOnAMark_IsReportedAsRejectedByDust) {
  TVxSyntheticScan scan =
      RenderSyntheticScan(camera_, templates_.set, templates_.images, DefaultScanOptions());
  const vec_t_<double, 2> centre = scan.truth.at(3) + vec_t_<double, 2>(8.0, 0.0);
  for (int y = static_cast<int>(centre.y) - 6; y <= static_cast<int>(centre.y) + 6; ++y)
    for (int x = static_cast<int>(centre.x) - 6; x <= static_cast<int>(centre.x) + 6; ++x) {
      const double cover = std::clamp(4.0 - std::hypot(x - centre.x, y - centre.y), 0.0, 1.0);
      float& value = scan.raster.At(x, y);
      value = static_cast<float>((1.0 - cover) * static_cast<double>(value) + cover * 25.0);
    }
  WriteRaster(Path("speck.tif"), scan.raster, TVxRasterWriteOptions());
  const CommandRun run =
      Measure({Path("speck.tif"), Path("camera.yaml"), Path("templates/marks.yaml"), "-o",
               Path("measured.yaml"), "--search-radius", "3"});
  ASSERT_EQ(run.status, vxcam::kExitSuccess) << run.err;
  EXPECT_THAT(run.out, HasSubstr("Marks measured:  7 / 8"));
  EXPECT_THAT(run.out, HasSubstr("rejected: dust or a scratch on the mark moves it"));
  EXPECT_THAT(run.out, HasSubstr("moved by dust or a scratch by 0."));
}

TEST_F(VxCamMeasure, MissingScan_IsAFileErrorAndWritesNothing) {
  const CommandRun run = Measure({Path("none.tif"), Path("camera.yaml"),
                                  Path("templates/marks.yaml"), "-o", Path("measured.yaml")});
  EXPECT_EQ(run.status, vxcam::kExitFileError);
  EXPECT_THAT(run.err, HasSubstr("cannot read the raster '" + Path("none.tif") + "'"));
  EXPECT_FALSE(std::filesystem::exists(Path("measured.yaml")));
}

TEST_F(VxCamMeasure, MissingTemplateImage_NamesItAndWritesNothing) {
  std::filesystem::remove(Path("templates/mark3.tif"));
  const CommandRun run = Measure({Path("scan.tif"), Path("camera.yaml"),
                                  Path("templates/marks.yaml"), "-o", Path("measured.yaml")});
  EXPECT_EQ(run.status, vxcam::kExitFileError);
  EXPECT_THAT(run.err, HasSubstr(Path("templates") + "/mark3.tif"));
  EXPECT_FALSE(std::filesystem::exists(Path("measured.yaml")));
}

TEST_F(VxCamMeasure, BlankScan_IsNotSolvedAndWritesNothing) {
  WriteRaster(Path("blank.tif"), TVxRaster(kScanSize, kScanSize, 180.0f), TVxRasterWriteOptions());
  const CommandRun run =
      Measure({Path("blank.tif"), Path("camera.yaml"), Path("templates/marks.yaml"), "-o",
               Path("measured.yaml"), "--search-radius", "2"});
  EXPECT_EQ(run.status, vxcam::kExitCheckFailed);
  EXPECT_THAT(run.err, HasSubstr("fewer than two marks measured; nothing written"));
  EXPECT_THAT(run.out, HasSubstr("correlation too low"));
  EXPECT_FALSE(std::filesystem::exists(Path("measured.yaml")));
}

TEST_F(VxCamMeasure, Resample_WritesTheImageAndItsMapThatMeasuresUnturned) {
  ASSERT_EQ(Measure({Path("scan.tif"), Path("camera.yaml"), Path("templates/marks.yaml"), "-o",
                     Path("measured.yaml"), "--search-radius", "3"})
                .status,
            vxcam::kExitSuccess);
  const CommandRun run =
      Call(vxcam::RunResample, {Path("scan.tif"), Path("camera.yaml"), Path("measured.yaml"), "-o",
                                Path("image.tif"), "--pixel-size", "25", "--bilinear"});
  ASSERT_EQ(run.status, vxcam::kExitSuccess) << run.err;
  EXPECT_THAT(run.out, HasSubstr("Written: " + Path("image.tif") + "\n"));
  EXPECT_THAT(run.out, HasSubstr("Written: " + Path("image.tif.pix_to_cam.yaml") + "\n"));
  std::istringstream in;
  std::ostringstream out, err;
  vxcam::TIo io{in, out, err};
  const vxcam::TScanFile map = vxcam::LoadScanFile(Path("image.tif.pix_to_cam.yaml"), io);
  ASSERT_TRUE(map.map.has_value());
  EXPECT_DOUBLE_EQ(map.map->matrix[0], 0.025);
  EXPECT_DOUBLE_EQ(map.map->matrix[4], -0.025);
  // The image measures as a scan in the camera's own orientation.
  const CommandRun again =
      Measure({Path("image.tif"), Path("camera.yaml"), Path("templates/marks.yaml"), "-o",
               Path("again.yaml"), "--json"});
  ASSERT_EQ(again.status, vxcam::kExitSuccess) << again.err;
  const auto report = nlohmann::json::parse(again.out);
  EXPECT_EQ(report["quarter_turns"], 0);
  EXPECT_EQ(report["mirrored"], false);
  EXPECT_EQ(report["measured"], 8);
}

TEST_F(VxCamMeasure, DemoWithScan_WritesMeasuresSolvesAndResamplesASyntheticScan) {
  const CommandRun run = Call(vxcam::RunDemo, {"--scan", "-o", Path("demo"), "--examples",
                                               std::string(VX_SOURCE_DIR) + "/examples"});
  ASSERT_EQ(run.status, vxcam::kExitSuccess) << run.err;
  EXPECT_THAT(run.out, HasSubstr("Orientation:     90°"));
  EXPECT_THAT(run.out, HasSubstr("Marks measured:  4 / 4"));
  EXPECT_THAT(run.out, HasSubstr("(nearest quarter turn: 90°)"));
  EXPECT_TRUE(std::filesystem::exists(Path("demo/scan/rc10_synthetic_scan.tif")));
  EXPECT_TRUE(std::filesystem::exists(Path("demo/scan/rc10_synthetic_camera.tif")));
  // Files made under a temporary name get the permissions of a new file, not 0600.
  const auto permissions =
      std::filesystem::status(Path("demo/scan/rc10_synthetic_scan.tif")).permissions();
  EXPECT_NE(permissions & std::filesystem::perms::others_read, std::filesystem::perms::none);
}

TEST_F(VxCamMeasure, Resample_UnsolvableMeasurements_WriteNothing) {
  std::ofstream(Path("two.yaml")) << "camera_type: Fiducials\npoints:\n"
                                     "  - {index: 1, coords_pix: {x: 1, y: 2}}\n"
                                     "rotation: \"0\"\n";
  const CommandRun run = Call(vxcam::RunResample, {Path("scan.tif"), Path("camera.yaml"),
                                                   Path("two.yaml"), "-o", Path("image.tif")});
  EXPECT_EQ(run.status, vxcam::kExitCheckFailed);
  EXPECT_FALSE(std::filesystem::exists(Path("image.tif")));
  EXPECT_FALSE(std::filesystem::exists(Path("image.tif.pix_to_cam.yaml")));
}

}  // namespace
