// Small inputs never claim memory or time out of proportion. Each case runs in a child process
// limited to 256 MB of address space (where memory that grows with the square of a table, or a
// parser that reads ahead over a whole file, fails) or to a processor time far above what the
// work needs (where work that grows with the product of two lists fails).

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "VxCameraMath.h"
#include "VxIntOrSolve.h"
#include "VxResourceLimit.h"
#include "VxXIni.h"

namespace {

constexpr std::size_t kLimit = std::size_t{256} << 20;
constexpr std::size_t kHugeTableRows = 100000;

void ExpectBoundedRun(const std::function<void()>& body, vx_test::TLimitedRun expected) {
  if (!vx_test::kAddressSpaceLimitable) GTEST_SKIP() << "sanitizers reserve the address space";
  const vx_test::TLimitedRun run = vx_test::RunWithAddressSpaceLimit(kLimit, body);
  EXPECT_EQ(run, expected) << "the child " << vx_test::ToString(run);
}

// A camera whose distortion is a table of `rows` rows over 0.01 mm steps.
TVxCameraInfo CameraWithTable(TDistortionType type, std::size_t rows) {
  TVxCameraInfo camera = CreateDefaultCamera();
  camera.distortion.type = type;
  camera.distortion.direction = TVxCameraDistortion::TDirection::CamToMm;
  for (std::size_t i = 0; i < rows; ++i) {
    const double r = 0.01 * static_cast<double>(i + 1);
    const double dr = 1e-6 * static_cast<double>(static_cast<int>(i % 7) - 3);
    camera.distortion.tableR.push_back({r, dr});
    camera.distortion.table4Plus.push_back({r, {dr, -dr, dr, -dr}});
    camera.distortion.table4X.push_back({r, {-dr, dr, -dr, dr}});
  }
  return camera;
}

// Builds the camera's transform and that of the same table in the other sense, and maps a row of
// points through one and back through the other; throws if a point does not come back.
void MapThroughTable(const TVxCameraInfo& camera) {
  TVxCameraInfo reverse = camera;
  reverse.distortion.direction = TVxCameraDistortion::TDirection::MmToCam;
  const TransformHandle forward = CreateCamToMmTransform(camera);
  const TransformHandle backward = CreateCamToMmTransform(reverse);
  for (int i = 0; i < 100; ++i) {
    const vec_t_<double, 2> p{0.9 * i, -0.5 * i};
    const vec_t_<double, 2> q = forward->TransformPoint(p);
    const vec_t_<double, 2> back = backward->TransformPoint(q);
    if (!(std::abs(back.x - p.x) < 1e-9 && std::abs(back.y - p.y) < 1e-9)) {
      throw std::runtime_error("point " + std::to_string(i) + " did not come back");
    }
  }
}

std::string RadialTableFile(std::size_t rows) {
  std::string text =
      "name: big\ncalibration_date: \"2004\"\ndescription: \"\"\nfocus: 153\n"
      "principal_point: {x: 0, y: 0}\nint_or:\n  type: Fiducials\n  fiducials: []\n"
      "distortion:\n  type: Radial\n  direction: CamToMm\n  symmetry_point: {x: 0, y: 0}\n"
      "  table_r:\n";
  for (std::size_t i = 0; i < rows; ++i) {
    text += "    - {r: " + std::to_string(i + 1) + ", dr: 0}\n";
  }
  return text;
}

}  // namespace

TEST(BoundedMemory, TransformOfAHundredThousandRowRadialTable) {
  const TVxCameraInfo camera = CameraWithTable(TDistortionType::Radial, kHugeTableRows);
  ExpectBoundedRun([&] { MapThroughTable(camera); }, vx_test::TLimitedRun::Returned);
}

TEST(BoundedMemory, TransformOfAHundredThousandRowDirectedTable) {
  const TVxCameraInfo camera = CameraWithTable(TDistortionType::Directed8, kHugeTableRows);
  ExpectBoundedRun([&] { MapThroughTable(camera); }, vx_test::TLimitedRun::Returned);
}

TEST(BoundedMemory, LoadingAHundredThousandRowTableIsRefusedAtTheFirstSurplusRow) {
  const std::string text = RadialTableFile(kHugeTableRows);
  ExpectBoundedRun(
      [&] {
        TVxCameraInfo camera;
        try {
          XIniLoadE(TVxXIniReader::FromText(text, "big.yaml").get(), camera);
        } catch (const TVxXIniReadError& e) {
          const std::string expected =
              "big.yaml:10014:7: distortion/table_r/[10000]: the list has more than 10000 "
              "entries, more than any camera needs";
          if (e.what() == expected) return;
          throw;
        }
        throw std::runtime_error("loaded");
      },
      vx_test::TLimitedRun::Returned);
}

TEST(BoundedMemory, TenMegabytesOfOpenBracketsAreRefusedBeforeTheyAreRead) {
  const std::string text = "a: " + std::string(std::size_t{10} << 20, '[');
  ExpectBoundedRun(
      [&] {
        try {
          TVxXIniReader::FromText(text, "brackets.yaml");
        } catch (const TVxXIniReadError& e) {
          if (e.Line() == 1 && e.Column() == 68 &&
              std::string(e.what()).find("sections nest deeper than 64 levels") !=
                  std::string::npos) {
            return;
          }
          throw;
        }
        throw std::runtime_error("read");
      },
      vx_test::TLimitedRun::Returned);
}

// 200 000 fiducials against 200 000 marks: linear-logarithmic work takes a fraction of a second,
// the product of the two (4e10 comparisons) takes minutes and ends the child by SIGXCPU.
TEST(BoundedTime, ChecksAndSolvingOfManyMarksAreNotQuadratic) {
  constexpr std::int32_t kMarks = 200000;
  constexpr std::size_t kCpuSeconds = 20;
  TVxCameraInfo camera = CreateDefaultCamera();
  camera.cameraType = TCameraType::Fiducials;
  TVxIntOrMeas meas;
  meas.cameraType = TCameraType::Fiducials;
  meas.transformType = TTransformType::Affine;
  for (std::int32_t i = 0; i < kMarks; ++i) {
    // Numbered from the far end, so that no order of the two lists matches by accident.
    const double x = std::cos(0.001 * i) * (10.0 + 0.0005 * i);
    const double y = std::sin(0.001 * i) * (10.0 + 0.0005 * i);
    camera.fiducials.push_back({kMarks - i, {x, y}, 0});
    meas.marks.push_back({kMarks - i, {9600.0 + 80.0 * x, 9600.0 - 80.0 * y}, {}});
  }
  const auto run = vx_test::RunWithCpuLimit(kCpuSeconds, [&] {
    TVxIntOrMeas solved = meas;
    TVxIntOrSolution solution;
    std::string message;
    if (!meas.Verify(camera, &message) || !meas.IntOrReady(camera, &message) ||
        !SolveIntOr(solved, camera, &solution, &message)) {
      throw std::runtime_error("not solved: " + message);
    }
    if (!(solution.rmsUm < 1e-6)) throw std::runtime_error("not exact");
  });
  EXPECT_EQ(run, vx_test::TLimitedRun::Returned) << "the child " << vx_test::ToString(run);
}
