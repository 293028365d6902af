// SolveIntOr on arbitrary records: every outcome is a solution with finite figures or a failure
// with a message; nothing throws, and the record changes only in its residuals.

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <string>

#include "VxIntOrSolve.h"

namespace {

using TPoint = vec_t_<double, 2>;

// Random records of every kind, with values from ordinary to absurd; fixed seed.
constexpr int kTrials = 3000;

double AnyValue(std::mt19937& random) {
  static const double specials[] = {0.0,
                                    -0.0,
                                    1e-300,
                                    1e300,
                                    -1e300,
                                    std::numeric_limits<double>::quiet_NaN(),
                                    std::numeric_limits<double>::infinity(),
                                    9600.0,
                                    0.0125};
  std::uniform_int_distribution<int> pick(0, 19);
  const int k = pick(random);
  if (k < 9) return specials[k];
  return std::uniform_real_distribution<double>(-20000.0, 20000.0)(random);
}

TEST(SolveRobustness, AnyRecordEitherSolvesToFiniteFiguresOrFailsWithAMessage) {
  std::mt19937 random(2026);
  std::uniform_int_distribution<int> type(1, 5), count(0, 6), index(0, 5), small(1, 4);
  int solved = 0;
  for (int trial = 0; trial < kTrials; ++trial) {
    TVxCameraInfo camera;
    camera.cameraType = static_cast<TCameraType>(type(random));
    camera.lengthX = AnyValue(random);
    camera.lengthY = std::fabs(AnyValue(random));
    camera.pixelSize = {std::fabs(AnyValue(random)) * 1e-6, 0.012};
    camera.sensorDims = {static_cast<std::uint64_t>(small(random)) * 1000, 2000};
    camera.digitalCameraOrigin =
        static_cast<TVxCameraInfo::TDigitalCameraOrigin>(small(random) % 3);
    for (int i = 1; i <= 4; ++i) {
      camera.fiducials.push_back({i, {AnyValue(random) / 100.0, AnyValue(random) / 100.0}, 0});
    }
    TVxIntOrMeas meas;
    meas.cameraType = camera.cameraType;
    meas.rotation = static_cast<TCamRotate>(small(random));
    meas.transformType = static_cast<TTransformType>(small(random) % 3 + 1);
    meas.resolutionUnits = static_cast<TResolutionUnits>(small(random) % 2 + 1);
    meas.scanResolution = {std::fabs(AnyValue(random)), 0.0125};
    const int marks = camera.cameraType == TCameraType::Digital ? 0 : count(random);
    for (int i = 0; i < marks; ++i) {
      meas.marks.push_back({index(random), {AnyValue(random), AnyValue(random)}, {}});
    }
    TVxIntOrSolution solution;
    std::string message;
    TVxIntOrMeas copy = meas;
    if (SolveIntOr(copy, camera, &solution, &message)) {
      ++solved;
      EXPECT_TRUE(std::isfinite(solution.scaleXUm) && std::isfinite(solution.rotationDeg) &&
                  std::isfinite(solution.shearDeg))
          << trial;
      EXPECT_TRUE(static_cast<bool>(solution.pixToCam) && static_cast<bool>(solution.camToPix));
      EXPECT_EQ(solution.residuals.size(),
                camera.cameraType == TCameraType::Digital ? 0u : copy.marks.size());
    } else {
      EXPECT_FALSE(message.empty()) << trial;
    }
    ASSERT_EQ(copy.marks.size(), meas.marks.size());
    for (std::size_t i = 0; i < copy.marks.size(); ++i) {
      EXPECT_EQ(copy.marks[i].index, meas.marks[i].index);
    }
  }
  // The cases are not all refused: some of every kind get through.
  EXPECT_GT(solved, kTrials / 50);
}

}  // namespace
