// The commands of vxcam, called directly as main() calls them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>
#include <streambuf>
#include <utility>

#include "VxCamApp.h"
#include "VxCamCall.h"
#include "VxCamCommands.h"
#include "VxCamFiles.h"
#include "VxCamFormat.h"
#include "VxCameraInfo.h"
#include "VxCameraMath.h"
#include "VxIntOrMeas.h"
#include "VxIntOrSolve.h"
#include "VxResourceGuards.h"
#include "VxResourceLimit.h"
#include "VxXIni.h"

namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

const std::string kExamples = VX_SOURCE_DIR "/examples";
const std::string kRadial = kExamples + "/cameras/rc10_radial.yaml";
const std::string kFormula = kExamples + "/cameras/rc10_formula.yaml";
const std::string kData = VX_SOURCE_DIR "/tests/tools/data";
const std::string kScan = kExamples + "/measurements/rc10_scan_complete.yaml";

// A fresh folder per test, removed afterwards.
class VxCamCommands : public testing::Test {
 protected:
  void SetUp() override {
    const auto* info = testing::UnitTest::GetInstance()->current_test_info();
    dir_ = std::filesystem::path(VX_BINARY_DIR) / "tests/tools/commands" / info->name();
    std::filesystem::remove_all(dir_);
    std::filesystem::create_directories(dir_);
  }
  void TearDown() override { std::filesystem::remove_all(dir_); }
  std::string Path(const std::string& name) const { return (dir_ / name).string(); }
  std::vector<std::string> Files() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(dir_))
      names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
  }

  ScopedResLanguage english_{"en"};
  std::filesystem::path dir_;
};

TEST_F(VxCamCommands, Show_RadialTable_ListsRowsInMicrometres) {
  const CommandRun run = Call(vxcam::RunShow, {kRadial});
  EXPECT_EQ(run.status, vxcam::kExitSuccess);
  EXPECT_THAT(run.out, HasSubstr("Focal length:                153.228 mm\n"));
  EXPECT_THAT(run.out, HasSubstr("    128.574        10\n"));
  EXPECT_THAT(run.err, IsEmpty());
}

// Five million empty lines (10 MB of file) as rows of a report took about 80 bytes each; written as
// they are read, they fit in a child limited to 256 MB of address space.
TEST_F(VxCamCommands, Show_DescriptionOfMillionsOfLines_IsWrittenInBoundedMemory) {
  if (!vx_test::kAddressSpaceLimitable) GTEST_SKIP() << "sanitizers reserve the address space";
  constexpr std::size_t kLines = 5000000;
  TVxCameraInfo camera = CreateDefaultCamera();
  camera.description = std::string(kLines, '\n');
  vxcam::SaveCamera(camera, Path("lines.yaml"));
  const std::string path = Path("lines.yaml");
  const auto run = vx_test::RunWithAddressSpaceLimit(std::size_t{256} << 20, [&] {
    std::istringstream in;
    std::ofstream out("/dev/null");
    std::ostringstream err;
    vxcam::TIo io{in, out, err};
    if (vxcam::RunShow({path}, io) != vxcam::kExitSuccess) throw std::runtime_error(err.str());
  });
  EXPECT_EQ(run, vx_test::TLimitedRun::Returned) << vx_test::ToString(run);
}

TEST_F(VxCamCommands, Show_ControlCharactersOfNameAndDescription_AreEscaped) {
  TVxCameraInfo camera = CreateDefaultCamera();
  camera.name = "red \x1b[31m";
  camera.description = "one\ntwo \x07\x7f \xc2\x9b done \xc3\xa4\n";
  vxcam::SaveCamera(camera, Path("escapes.yaml"));
  const CommandRun run = Call(vxcam::RunShow, {Path("escapes.yaml")});
  EXPECT_THAT(run.out, HasSubstr("red \\x1B[31m\n"));
  EXPECT_THAT(run.out, HasSubstr("  one\n  two \\x07\\x7F \\xC2\\x9B done \xc3\xa4\n"));
}

TEST_F(VxCamCommands, Transform_ManyPointsOutsideTheField_AreNamedTenTimesThenCounted) {
  std::string input;
  for (int i = 0; i < 25; ++i) input += std::to_string(130 + i) + " 0\n";
  input += "10 10\n";
  const CommandRun run = Call(vxcam::RunTransform, {kRadial}, input);
  EXPECT_EQ(run.status, vxcam::kExitSuccess);
  EXPECT_EQ(std::count(run.out.begin(), run.out.end(), '\n'), 26);
  EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 11) << run.err;
  EXPECT_THAT(run.err,
              HasSubstr("<stdin>:10: the point lies outside the calibrated field (r = 139 mm"));
  EXPECT_THAT(run.err, Not(HasSubstr("<stdin>:11:")));
  EXPECT_THAT(run.err, HasSubstr("warning: 25 points in all lie outside the calibrated field, "
                                 "which ends at 128.574 mm\n"));
}

TEST_F(VxCamCommands, Transform_InverseThenForward_ReturnsThePoints) {
  const CommandRun inverse = Call(vxcam::RunTransform, {kFormula, "--inverse", "--precision", "15"},
                                  "-100 -50\n12.5 99\n");
  ASSERT_EQ(inverse.status, vxcam::kExitSuccess) << inverse.err;
  const CommandRun forward = Call(vxcam::RunTransform, {kFormula, "--precision", "9"}, inverse.out);
  EXPECT_EQ(forward.out, "-100.000000000 -50.000000000\n12.500000000 99.000000000\n");
}

TEST_F(VxCamCommands, Show_German_UsesGermanLabels) {
  ScopedResLanguage german("de");
  const CommandRun run = Call(vxcam::RunShow, {kRadial});
  EXPECT_THAT(run.out, HasSubstr("Brennweite:"));
  EXPECT_THAT(run.out, HasSubstr("Radiale Tabelle"));
}

TEST_F(VxCamCommands, Show_Json_HoldsTheFileTextsAndValues) {
  const CommandRun run = Call(vxcam::RunShow, {kFormula, "--json"});
  ASSERT_EQ(run.status, vxcam::kExitSuccess);
  const auto json = nlohmann::json::parse(run.out);
  EXPECT_EQ(json["camera_type"], "Fiducials");
  EXPECT_EQ(json["distortion"]["type"], "Formula");
  EXPECT_EQ(json["distortion"]["coefficients"]["k1"].get<double>(), -7.874393021326796e-08);
  EXPECT_EQ(json["fiducials"].size(), 4u);
}

TEST_F(VxCamCommands, Show_MissingFile_IsFileErrorNamingIt) {
  const CommandRun run = Call(vxcam::RunShow, {Path("none.yaml")});
  EXPECT_EQ(run.status, vxcam::kExitFileError);
  EXPECT_THAT(run.err, HasSubstr(Path("none.yaml")));
  EXPECT_THAT(run.out, IsEmpty());
}

TEST_F(VxCamCommands, Check_TwoMarksMissing_IsReadyWithTheWarning) {
  const CommandRun run = Call(
      vxcam::RunCheck, {kRadial, kExamples + "/measurements/rc10_scan_two_missing.yaml", "--json"});
  EXPECT_EQ(run.status, vxcam::kExitSuccess);
  const auto json = nlohmann::json::parse(run.out);
  EXPECT_TRUE(json["ready"].get<bool>());
  EXPECT_EQ(json["warning"]["text"], "Not all fiducial marks of the camera have been measured.");
  EXPECT_EQ(json["warning"]["key"], "global.Warn_NotAllFidMeasured");
  EXPECT_TRUE(json["reason"].is_null());
}

// The key stays the same in every language: programs read it rather than the text.
TEST_F(VxCamCommands, Check_Json_KeyOfTheReasonIsTheSameInEveryLanguage) {
  const std::string unknown = kExamples + "/measurements/rc10_scan_unknown_mark.yaml";
  const auto english =
      nlohmann::json::parse(Call(vxcam::RunCheck, {kRadial, unknown, "--json"}).out);
  ScopedResLanguage german("de");
  const auto deutsch =
      nlohmann::json::parse(Call(vxcam::RunCheck, {kRadial, unknown, "--json"}).out);
  EXPECT_EQ(english["reason"]["key"], "global.Err_FidMeasMismatchCamera");
  EXPECT_EQ(deutsch["reason"]["key"], english["reason"]["key"]);
  EXPECT_NE(deutsch["reason"]["text"], english["reason"]["text"]);
}

TEST_F(VxCamCommands, Check_UnknownMark_IsNotReadyWithTheReason) {
  const CommandRun run =
      Call(vxcam::RunCheck, {kRadial, kExamples + "/measurements/rc10_scan_unknown_mark.yaml"});
  EXPECT_EQ(run.status, vxcam::kExitCheckFailed);
  EXPECT_THAT(run.out, HasSubstr("A measured mark has a number that the camera's fiducial marks "
                                 "do not have."));
}

TEST_F(VxCamCommands, Transform_StandardInput_GivesTheSameAsArguments) {
  const CommandRun fromArgs = Call(vxcam::RunTransform, {kRadial, "-100", "50", "0", "0"});
  const CommandRun fromInput = Call(vxcam::RunTransform, {kRadial}, "# x y\n-100 50\n\n0 0\n");
  EXPECT_EQ(fromArgs.status, vxcam::kExitSuccess);
  EXPECT_EQ(fromArgs.out, fromInput.out);
}

TEST_F(VxCamCommands, Transform_Output_IsTheCameraToMillimetreTransform) {
  const CommandRun run = Call(vxcam::RunTransform, {kFormula, "--json", "80", "-60"});
  ASSERT_EQ(run.status, vxcam::kExitSuccess);
  const auto json = nlohmann::json::parse(run.out);
  const TransformHandle transform = CreateCamToMmTransform(vxcam::LoadCamera(kFormula));
  const auto expected = transform->TransformPoint({80.0, -60.0});
  EXPECT_EQ(json["points"][0]["mm"]["x"].get<double>(), expected.x);
  EXPECT_EQ(json["points"][0]["mm"]["y"].get<double>(), expected.y);
}

TEST_F(VxCamCommands, Transform_OddNumberOfCoordinates_IsUsageError) {
  EXPECT_EQ(Call(vxcam::RunTransform, {kRadial, "1", "2", "3"}).status, vxcam::kExitUsage);
}

TEST_F(VxCamCommands, Transform_LineThatIsNotAPoint_IsInvalidContentNamingTheLine) {
  const CommandRun run = Call(vxcam::RunTransform, {kRadial}, "1 2\n3 x\n");
  EXPECT_EQ(run.status, vxcam::kExitInvalidContent);
  EXPECT_THAT(run.err, HasSubstr("<stdin>:2:"));
}

TEST_F(VxCamCommands, Fit_Output_LoadsAsTheCameraWithTheFittedModel) {
  const CommandRun run = Call(vxcam::RunFit, {kRadial, "--model", "mixed", "-o", Path("fit.yaml")});
  ASSERT_EQ(run.status, vxcam::kExitSuccess) << run.err;
  TVxCameraInfo expected = vxcam::LoadCamera(kRadial);
  TVxCameraDistortion fitted;
  double deviation = 0.0;
  ASSERT_TRUE(ApproxCameraDistortion(TDistortionType::Mixed, &fitted, expected, 0.0, &deviation));
  expected.distortion = fitted;
  EXPECT_TRUE(vxcam::LoadCamera(Path("fit.yaml")) == expected);
  EXPECT_THAT(run.out, HasSubstr("Largest deviation:"));
}

TEST_F(VxCamCommands, Fit_PolynomialSource_IsInvalidContentAndWritesNothing) {
  const CommandRun run = Call(vxcam::RunFit, {kExamples + "/cameras/rc10_polynomial.yaml",
                                              "--model", "formula", "-o", Path("fit.yaml")});
  EXPECT_EQ(run.status, vxcam::kExitInvalidContent);
  EXPECT_THAT(Files(), IsEmpty());
}

TEST_F(VxCamCommands, Scale_Factor_MultipliesTheDistortion) {
  ASSERT_EQ(Call(vxcam::RunScale, {kFormula, "0.5", "-o", Path("half.yaml")}).status,
            vxcam::kExitSuccess);
  TVxCameraInfo expected = vxcam::LoadCamera(kFormula);
  ApplyDistortionMultiplier(&expected.distortion, 0.5);
  EXPECT_TRUE(vxcam::LoadCamera(Path("half.yaml")) == expected);
}

TEST_F(VxCamCommands, Scale_WithoutOutput_IsUsageError) {
  EXPECT_EQ(Call(vxcam::RunScale, {kFormula, "2"}).status, vxcam::kExitUsage);
}

TEST_F(VxCamCommands, New_Dmc_WritesTheDefaultDmcCamera) {
  ASSERT_EQ(Call(vxcam::RunNew, {"dmc", "-o", Path("dmc.yaml")}).status, vxcam::kExitSuccess);
  EXPECT_TRUE(vxcam::LoadCamera(Path("dmc.yaml")) == CreateDefaultDMCCamera());
}

TEST_F(VxCamCommands, Plot_BadCamera_KeepsTheExistingTarget) {
  std::ofstream(Path("old.svg")) << "old";
  const CommandRun run = Call(vxcam::RunPlot, {kData + "/bad_type.yaml", "-o", Path("old.svg")});
  EXPECT_EQ(run.status, vxcam::kExitFileError);
  std::ifstream in(Path("old.svg"));
  std::string text;
  std::getline(in, text);
  EXPECT_EQ(text, "old");
  EXPECT_EQ(Files(), std::vector<std::string>{"old.svg"});
}

TEST_F(VxCamCommands, Plot_Svg_ShowsCurveFieldAndMarks) {
  ASSERT_EQ(Call(vxcam::RunPlot, {kRadial, "-o", Path("p.svg")}).status, vxcam::kExitSuccess);
  std::ifstream in(Path("p.svg"));
  const std::string svg((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  EXPECT_THAT(svg, HasSubstr("<svg xmlns=\"http://www.w3.org/2000/svg\""));
  EXPECT_THAT(svg, HasSubstr("<path d=\"M"));
  EXPECT_THAT(svg, HasSubstr("<polygon"));
  EXPECT_THAT(svg, HasSubstr(">4</text>"));  // the label of fiducial mark 4
  EXPECT_THAT(svg, HasSubstr("</svg>\n"));
}

// How often `needle` occurs in `text`.
std::size_t Count(const std::string& text, const std::string& needle) {
  std::size_t n = 0;
  for (auto at = text.find(needle); at != std::string::npos; at = text.find(needle, at + 1)) ++n;
  return n;
}

std::string Slurp(const std::string& path) {
  std::ifstream in(path);
  return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

TEST_F(VxCamCommands, Solve_Output_IsTheMeasurementsWithTheLibrarysResiduals) {
  const CommandRun run = Call(vxcam::RunSolve, {kRadial, kScan, "-o", Path("solved.yaml")});
  ASSERT_EQ(run.status, vxcam::kExitSuccess) << run.err;
  TVxIntOrMeas expected = vxcam::LoadMeasurements(kScan);
  TVxIntOrSolution solution;
  ASSERT_TRUE(SolveIntOr(expected, vxcam::LoadCamera(kRadial), &solution, nullptr));
  WriteResiduals(solution, &expected);
  // Residuals are read only into a record that already holds the Fiducials type.
  TVxIntOrMeas written;
  written.cameraType = TCameraType::Fiducials;
  written.LoadE(TVxXIniReader::FromFile(Path("solved.yaml")).get());
  ASSERT_EQ(written.marks.size(), expected.marks.size());
  for (std::size_t i = 0; i < written.marks.size(); ++i) {
    EXPECT_EQ(written.marks[i].index, expected.marks[i].index);
    EXPECT_EQ(written.marks[i].coordsPix, expected.marks[i].coordsPix);
    EXPECT_EQ(written.marks[i].residualsPix, expected.marks[i].residualsPix);
    EXPECT_GT(written.marks[i].residualsPix.Length(), 0.01);  // the scan has residuals to keep
  }
  EXPECT_THAT(run.out, HasSubstr("Written: " + Path("solved.yaml") + "\n"));
}

// A report that counts image y upwards from the lower-left pixel and fits the calibrated marks
// to the measured ones in millimetres publishes this affine for the RC10 scan of the examples
// (examples/measurements/rc10_scan_y_up.yaml). Its coefficients were worked out apart from the
// library: the normal equations of calibrated = A (x, y) + t over the four marks, solved in exact
// rational arithmetic and rounded to 15 significant digits.
//   x [mm] = 0.0125001683666733 x + 2.62725113496291e-05 y - 120.604814390153
//   y [mm] = -2.62523504660874e-05 x + 0.0125001931889119 y - 120.235912764078
TEST_F(VxCamCommands, Solve_YUpMinimisedInMillimetres_ReproducesAPublishedAffine) {
  const CommandRun run =
      Call(vxcam::RunSolve, {kRadial, kExamples + "/measurements/rc10_scan_y_up.yaml", "--y-up",
                             "--minimise", "camera", "--json"});
  ASSERT_EQ(run.status, vxcam::kExitSuccess) << run.err;
  const auto json = nlohmann::json::parse(run.out);
  const double published[2][3] = {{0.0125001683666733, 2.62725113496291e-05, -120.604814390153},
                                  {-2.62523504660874e-05, 0.0125001931889119, -120.235912764078}};
  for (std::size_t row = 0; row < 2; ++row) {
    for (std::size_t k = 0; k < 3; ++k) {
      const double value = json["pix_to_cam"][row][k].get<double>();
      // Agreement to 1e-12 mm over the scan's 20 000 pixels: 5e-17 mm per pixel for the linear
      // terms, 1e-12 mm for the shift (the published rounding is 1e-15 of the largest term).
      EXPECT_NEAR(value, published[row][k], k < 2 ? 5e-17 : 1e-12)
          << "row " << row << ", coefficient " << k;
    }
  }
  EXPECT_EQ(json["pixel_y_axis"], "Up");
  EXPECT_EQ(json["minimised_in"], "Camera");
}

TEST_F(VxCamCommands, Solve_SavedMap_GivesTransformTheSolutionsPixels) {
  const CommandRun solved =
      Call(vxcam::RunSolve, {kRadial, kScan, "--save-transform", Path("map.yaml")});
  ASSERT_EQ(solved.status, vxcam::kExitSuccess) << solved.err;
  EXPECT_THAT(solved.out, HasSubstr("Written: " + Path("map.yaml") + "\n"));
  const std::string points = "1166.6 18114.14\n9628 9616\n0 0\n";
  const CommandRun fromMap =
      Call(vxcam::RunTransform, {kRadial, "--measurements", Path("map.yaml"), "--precision", "9"},
           points);
  const CommandRun fromScan =
      Call(vxcam::RunTransform, {kRadial, "--measurements", kScan, "--precision", "9"}, points);
  ASSERT_EQ(fromMap.status, vxcam::kExitSuccess) << fromMap.err;
  EXPECT_EQ(fromMap.out, fromScan.out);
  EXPECT_EQ(fromMap.err, fromScan.err);
  // The library reads the file back to the same map.
  TVxPixToCamMap map;
  map.LoadE(TVxXIniReader::FromFile(Path("map.yaml")).get());
  TVxIntOrMeas measurements = vxcam::LoadMeasurements(kScan);
  TVxIntOrSolution solution;
  ASSERT_TRUE(SolveIntOr(measurements, vxcam::LoadCamera(kRadial), &solution, nullptr));
  EXPECT_EQ(map.matrix, solution.map.matrix);
}

TEST_F(VxCamCommands, Solve_MapToStandardOutput_IsTheFileAlone) {
  const CommandRun run = Call(vxcam::RunSolve, {kRadial, kScan, "--save-transform", "-"});
  ASSERT_EQ(run.status, vxcam::kExitSuccess) << run.err;
  TVxPixToCamMap map;
  map.LoadE(TVxXIniReader::FromText(run.out).get());
  EXPECT_TRUE(map.IsAffine());
  EXPECT_THAT(run.err, HasSubstr("Pixels to camera"));
  EXPECT_THAT(run.out, Not(HasSubstr("Written")));
}

TEST_F(VxCamCommands, Solve_NotSolvable_IsCheckFailedAndWritesNothing) {
  const CommandRun run =
      Call(vxcam::RunSolve,
           {kRadial, kExamples + "/measurements/rc10_scan_two_missing.yaml", "-o", Path("s.yaml")});
  EXPECT_EQ(run.status, vxcam::kExitCheckFailed);
  EXPECT_THAT(run.out, IsEmpty());
  EXPECT_THAT(run.err, HasSubstr("not solved: "));
  EXPECT_THAT(Files(), IsEmpty());
}

TEST_F(VxCamCommands, Solve_Json_HoldsTheReportOfTheLibrary) {
  const CommandRun run = Call(vxcam::RunSolve, {kRadial, kScan, "--json", "--limit", "0.9"});
  ASSERT_EQ(run.status, vxcam::kExitSuccess) << run.err;
  TVxIntOrMeas measurements = vxcam::LoadMeasurements(kScan);
  TVxIntOrSolveOptions options;
  options.residualLimitUm = 0.9;
  TVxIntOrSolution solution;
  ASSERT_TRUE(SolveIntOr(measurements, vxcam::LoadCamera(kRadial), options, &solution, nullptr));
  const auto json = nlohmann::json::parse(run.out);
  EXPECT_EQ(json["scale_x_um"].get<double>(), solution.scaleXUm);
  EXPECT_EQ(json["rotation_deg"].get<double>(), solution.rotationDeg);
  EXPECT_EQ(json["rms_um"].get<double>(), solution.rmsUm);
  EXPECT_EQ(json["redundancy"].get<int>(), solution.redundancy);
  ASSERT_EQ(json["residuals"].size(), solution.residuals.size());
  EXPECT_EQ(json["residuals"][2]["residual_um"]["y"].get<double>(),
            solution.residuals[2].residualUm.y);
  ASSERT_EQ(json["warnings"].size(), solution.warnings.size());
  ASSERT_FALSE(solution.warnings.empty());  // every residual is above 0.9 µm
  EXPECT_EQ(json["warnings"][0]["key"], "global.Warn_IntOrLargeResidual");
  EXPECT_EQ(json["warnings"][0]["mark"].get<int>(), *solution.warnings[0].markIndex);
}

TEST_F(VxCamCommands, Plot_Scan_DrawsOneResidualArrowPerMarkAndAScaleArrow) {
  ASSERT_EQ(Call(vxcam::RunPlot, {kRadial, kScan, "-o", Path("p.svg")}).status,
            vxcam::kExitSuccess);
  const std::string svg = Slurp(Path("p.svg"));
  EXPECT_EQ(Count(svg, "stroke=\"#1e8449\""), 4u + 1u);
  EXPECT_EQ(Count(svg, "stroke=\"#d35400\""), 0u);
  EXPECT_THAT(svg, HasSubstr("Residuals of the scan: 0.5 µm"));
}

TEST_F(VxCamCommands, Plot_ScanWithLowLimit_DrawsTheMarksAboveItInTheirOwnColour) {
  ASSERT_EQ(Call(vxcam::RunPlot, {kRadial, kScan, "--limit", "0.5", "-o", Path("p.svg")}).status,
            vxcam::kExitSuccess);
  const std::string svg = Slurp(Path("p.svg"));
  EXPECT_EQ(Count(svg, "stroke=\"#d35400\""), 4u);
  EXPECT_EQ(Count(svg, "stroke=\"#1e8449\""), 1u);  // the scale arrow
}

TEST_F(VxCamCommands, Plot_ScanWithoutRedundancy_SaysThereAreNoResiduals) {
  ASSERT_EQ(
      Call(vxcam::RunPlot, {kRadial, kData + "/rc10_scan_projective.yaml", "-o", Path("p.svg")})
          .status,
      vxcam::kExitSuccess);
  const std::string svg = Slurp(Path("p.svg"));
  EXPECT_EQ(Count(svg, "stroke=\"#1e8449\""), 0u);
  EXPECT_THAT(svg, HasSubstr("Residuals of the scan: none"));
}

TEST_F(VxCamCommands, Plot_ScanNotSolvable_IsCheckFailedAndWritesNothing) {
  const CommandRun run =
      Call(vxcam::RunPlot,
           {kRadial, kExamples + "/measurements/not_measured.yaml", "-o", Path("p.svg")});
  EXPECT_EQ(run.status, vxcam::kExitCheckFailed);
  EXPECT_THAT(Files(), IsEmpty());
}

TEST_F(VxCamCommands, Demo_WritesTheSolvedScanTheFittedCameraAndTwoPictures) {
  const CommandRun run = Call(vxcam::RunDemo, {"-o", Path("demo")});
  ASSERT_EQ(run.status, vxcam::kExitSuccess) << run.err;
  for (const char* name :
       {"rc10_scan_solved.yaml", "rc10_formula.yaml", "rc10_radial.svg", "rc10_directed8.svg"})
    EXPECT_TRUE(std::filesystem::exists(Path("demo") + "/" + name)) << name;
  EXPECT_THAT(run.out, HasSubstr("$ vxcam check"));
  EXPECT_THAT(run.out, HasSubstr(Path("demo") + "/rc10_directed8.svg\n"));
}

TEST_F(VxCamCommands, Output_EmptyPath_IsUsageErrorAndWritesNothing) {
  const std::vector<std::pair<vxcam::TRunFunction, vxcam::TArgs>> runs = {
      {vxcam::RunNew, {"dmc", "-o", ""}},
      {vxcam::RunScale, {kFormula, "2", "-o", ""}},
      {vxcam::RunPlot, {kRadial, "-o", ""}},
      {vxcam::RunSolve, {kRadial, kScan, "-o", ""}},
      {vxcam::RunFit, {kRadial, "--model", "formula", "-o", ""}},
      {vxcam::RunDemo, {"-o", ""}},
  };
  for (const auto& [command, args] : runs) {
    const CommandRun run = Call(command, args);
    EXPECT_EQ(run.status, vxcam::kExitUsage) << args[0];
    EXPECT_THAT(run.err, HasSubstr(": wrong arguments: --output: the path is empty\n")) << args[0];
    EXPECT_THAT(run.out, IsEmpty()) << args[0];
  }
  EXPECT_THAT(Files(), IsEmpty());
}

TEST_F(VxCamCommands, Output_Fifo_IsFileErrorAndLeftAlone) {
  ASSERT_EQ(::mkfifo(Path("pipe").c_str(), 0644), 0);
  const CommandRun run = Call(vxcam::RunNew, {"dmc", "-o", Path("pipe")});
  EXPECT_EQ(run.status, vxcam::kExitFileError);
  EXPECT_EQ(run.err, "vxcam new: file error: cannot save '" + Path("pipe") +
                         "': it is a FIFO (named pipe), not a regular file\n");
  EXPECT_THAT(run.out, IsEmpty());
  struct stat info {};
  ASSERT_EQ(::lstat(Path("pipe").c_str(), &info), 0);
  EXPECT_TRUE(S_ISFIFO(info.st_mode));
  EXPECT_EQ(Files(), std::vector<std::string>{"pipe"});
}

TEST_F(VxCamCommands, Output_Symlink_WritesTheCameraThroughAndStaysALink) {
  std::ofstream(Path("camera.yaml")) << "old";
  ASSERT_EQ(::symlink("camera.yaml", Path("current.yaml").c_str()), 0);
  ASSERT_EQ(Call(vxcam::RunNew, {"dmc", "-o", Path("current.yaml")}).status, vxcam::kExitSuccess);
  struct stat info {};
  ASSERT_EQ(::lstat(Path("current.yaml").c_str(), &info), 0);
  EXPECT_TRUE(S_ISLNK(info.st_mode));
  EXPECT_TRUE(vxcam::LoadCamera(Path("camera.yaml")) == CreateDefaultDMCCamera());
}

// An output that takes no character, as standard output on a full disk.
class RefusingBuffer : public std::streambuf {
 protected:
  int_type overflow(int_type) override { return traits_type::eof(); }
};

TEST_F(VxCamCommands, StandardOutputThatFails_IsFileErrorNamingIt) {
  for (const vxcam::TArgs& args : {vxcam::TArgs{kRadial}, vxcam::TArgs{"--help"}}) {
    RefusingBuffer refusing;
    std::istringstream in;
    std::ostream out(&refusing);
    std::ostringstream err;
    vxcam::TIo io{in, out, err};
    EXPECT_EQ(vxcam::RunShow(args, io), vxcam::kExitFileError) << args[0];
    EXPECT_EQ(err.str(), "vxcam show: file error: standard output: Input/output error\n")
        << args[0];
  }
}

TEST_F(VxCamCommands, StandardOutputThatFails_StopsASaveFromBeingReportedAsDone) {
  RefusingBuffer refusing;
  std::istringstream in;
  std::ostream out(&refusing);
  std::ostringstream err;
  vxcam::TIo io{in, out, err};
  EXPECT_EQ(vxcam::RunNew({"dmc", "-o", Path("dmc.yaml")}, io), vxcam::kExitFileError);
  EXPECT_THAT(err.str(), HasSubstr("standard output"));
  // The file itself is written; only the report of it was lost.
  EXPECT_TRUE(vxcam::LoadCamera(Path("dmc.yaml")) == CreateDefaultDMCCamera());
}

TEST(VxCamCheckOutput, FailedStream_IsFileErrorNamingStandardOutput) {
  RefusingBuffer refusing;
  std::istringstream in;
  std::ostream out(&refusing);
  std::ostringstream err;
  vxcam::TIo io{in, out, err};
  EXPECT_NO_THROW(vxcam::CheckOutput(io));
  out << "line\n";
  try {
    vxcam::CheckOutput(io);
    ADD_FAILURE() << "no TFileError";
  } catch (const vxcam::TFileError& e) {
    EXPECT_EQ(std::string(e.what()), "standard output: Input/output error");
  }
}

TEST(VxCamFormat, DisplayWidth_CountsCharactersNotBytes) {
  EXPECT_EQ(vxcam::DisplayWidth("Größte µm"), 9u);
}

TEST(VxCamFormat, WriteRows_AlignsValuesInOneColumn) {
  std::ostringstream out;
  vxcam::WriteRows(out, {{0, "Name", "A"}, {1, "Sense", "B"}, {0, "Heading", ""}, {1, "", "row"}});
  EXPECT_EQ(out.str(), "Name:     A\n  Sense:  B\nHeading:\n  row\n");
}

int CallMain(const std::vector<const char*>& argv, std::string* out, std::string* err) {
  const std::vector<vxcam::TCommand> commands = {{"show", vxcam::RunShow, "vxcam.show.summary"}};
  std::istringstream in;
  std::ostringstream o, e;
  vxcam::TIo io{in, o, e};
  const int status = vxcam::RunMain(commands, static_cast<int>(argv.size()), argv.data(), io);
  *out = o.str();
  *err = e.str();
  return status;
}

TEST(VxCamMain, Version_PrintsTheProjectVersion) {
  std::string out, err;
  EXPECT_EQ(CallMain({"vxcam", "--version"}, &out, &err), vxcam::kExitSuccess);
  EXPECT_THAT(out, testing::StartsWith("vxcam "));
}

TEST(VxCamMain, VersionToAStandardOutputThatFails_IsFileError) {
  const std::vector<vxcam::TCommand> commands = {{"show", vxcam::RunShow, "vxcam.show.summary"}};
  const std::vector<const char*> argv = {"vxcam", "--version"};
  RefusingBuffer refusing;
  std::istringstream in;
  std::ostream out(&refusing);
  std::ostringstream err;
  vxcam::TIo io{in, out, err};
  EXPECT_EQ(vxcam::RunMain(commands, static_cast<int>(argv.size()), argv.data(), io),
            vxcam::kExitFileError);
  EXPECT_EQ(err.str(), "vxcam: file error: standard output: Input/output error\n");
}

TEST(VxCamMain, UnknownCommand_IsUsageError) {
  std::string out, err;
  EXPECT_EQ(CallMain({"vxcam", "draw"}, &out, &err), vxcam::kExitUsage);
  EXPECT_THAT(err, HasSubstr("draw"));
}

TEST(VxCamMain, NoCommand_PrintsHelpOnStandardErrorAsUsageError) {
  std::string out, err;
  EXPECT_EQ(CallMain({"vxcam"}, &out, &err), vxcam::kExitUsage);
  EXPECT_THAT(err, HasSubstr("show"));
  EXPECT_THAT(out, IsEmpty());
}

TEST(VxCamMain, LanguageOption_SwitchesTheTexts) {
  ScopedResLanguage restore("en");
  std::string out, err;
  EXPECT_EQ(CallMain({"vxcam", "--lang", "de", "show", kRadial.c_str()}, &out, &err),
            vxcam::kExitSuccess);
  EXPECT_THAT(out, HasSubstr("Brennweite:"));
}

TEST(VxCamMain, UnknownLanguage_IsUsageError) {
  std::string out, err;
  EXPECT_EQ(CallMain({"vxcam", "--lang", "fr", "show", kRadial.c_str()}, &out, &err),
            vxcam::kExitUsage);
}

}  // namespace

namespace {

// A command that runs out of memory says so, in the language in force, with the content status.
TEST(VxCamRunCommand, OutOfMemory_IsReportedAsSuch) {
  for (const char* language : {"en", "de"}) {
    ScopedResLanguage scope(language);
    std::istringstream in;
    std::ostringstream out, err;
    vxcam::TIo io{in, out, err};
    const int status = vxcam::RunCommand(
        "show", "vxcam.show.summary", {}, io, [](CLI::App&) {},
        []() -> int { throw std::bad_alloc(); });
    EXPECT_EQ(status, vxcam::kExitInvalidContent);
    EXPECT_EQ(err.str(), std::string("vxcam show: ") +
                             (std::string(language) == "en"
                                  ? "invalid content: out of memory: the input is too large for "
                                    "this machine\n"
                                  : "ungültiger Inhalt: Speicher erschöpft: die Eingabe ist zu "
                                    "groß für diesen Rechner\n"));
  }
}

}  // namespace
