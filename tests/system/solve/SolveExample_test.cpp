// The example scan of the RC10 film camera solved: what its simulation put in comes back out,
// and the affine fit agrees with the tests' own normal equations.

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "SolveTestSupport.h"
#include "VxIntOrSolve.h"
#include "VxXIni.h"

namespace {

using namespace solve_test;

std::string ExamplePath(const std::string& relative) {
  return std::string(VX_SOURCE_DIR) + "/examples/" + relative;
}

// The simulation behind the file: 12.5 micrometres per pixel, turned by 2.1 mrad, with a few
// tenths of a pixel of noise rounded to 0.01 px; the fit finds them to within that noise.
constexpr double kSimulatedScaleUm = 12.5;
constexpr double kSimulatedRotationDeg = 0.0021 * 180.0 / kPi;
// Four marks with 0.2 px of noise fix the scale to about 1e-3 micrometres per pixel and the
// rotation to about 1e-4 degrees; these bounds leave a factor of ten.
constexpr double kScaleNoiseUm = 0.01;
constexpr double kRotationNoiseDeg = 1e-3;

TEST(SolveExample, TheRc10ScanGivesBackItsSimulation) {
  TVxCameraInfo camera;
  XIniLoadE(TVxXIniReader::FromFile(ExamplePath("cameras/rc10_radial.yaml")).get(), camera);
  TVxIntOrMeas meas;
  meas.LoadE(TVxXIniReader::FromFile(ExamplePath("measurements/rc10_scan_complete.yaml")).get());
  TVxIntOrSolution solution;
  std::string message;
  ASSERT_TRUE(SolveIntOr(meas, camera, &solution, &message)) << message;
  WriteResiduals(solution, &meas);

  EXPECT_NEAR(solution.scaleXUm, kSimulatedScaleUm, kScaleNoiseUm);
  EXPECT_NEAR(solution.scaleYUm, kSimulatedScaleUm, kScaleNoiseUm);
  EXPECT_NEAR(solution.rotationDeg, kSimulatedRotationDeg, kRotationNoiseDeg);
  EXPECT_FALSE(solution.mirrored);
  EXPECT_EQ(solution.fittedRotation, TCamRotate::Rotate0);
  EXPECT_EQ(solution.redundancy, 2);
  EXPECT_LT(solution.largestPix, 0.5);
  EXPECT_TRUE(solution.warnings.empty());

  // The tests' own affine fit: normal equations of p = A c + t per coordinate.
  std::vector<double> a, bx, by;
  for (const auto& mark : meas.marks) {
    TPoint c;
    for (const auto& f : camera.fiducials) {
      if (f.index == mark.index) c = f.coordsCam;
    }
    a.insert(a.end(), {c.x / 100.0, c.y / 100.0, 1.0});
    bx.push_back(mark.coordsPix.x);
    by.push_back(mark.coordsPix.y);
  }
  const auto rx = NormalEquations(a, bx, 3);
  const auto ry = NormalEquations(a, by, 3);
  for (std::size_t i = 0; i < meas.marks.size(); ++i) {
    const double px = rx[0] * a[3 * i] + rx[1] * a[3 * i + 1] + rx[2];
    const double py = ry[0] * a[3 * i] + ry[1] * a[3 * i + 1] + ry[2];
    EXPECT_NEAR(meas.marks[i].residualsPix.x, px - bx[i], kExact);
    EXPECT_NEAR(meas.marks[i].residualsPix.y, py - by[i], kExact);
  }
  // The origin is where the fit puts the camera's (0, 0).
  EXPECT_NEAR(solution.originPix.x, rx[2], kExact);
  EXPECT_NEAR(solution.originPix.y, ry[2], kExact);
}

}  // namespace
