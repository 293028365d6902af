// CreateCamToMmTransform: identity, shift, distortion alone, or shift then distortion; read back
// through the geometry classes' accessors and checked on points against closed forms.

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>
#include <stdexcept>

#include "CameraMathTestSupport.h"
#include "VxCameraMath.h"
#include "VxGeometry.h"

namespace {

using vx_test::HeldAs;
using TPoint = vec_t_<double, 2>;

// Points are compared to closed forms evaluated here in double: a few units in the last place
// of coordinates around 100 mm.
constexpr double kRounding = 1e-12;
// The inverse of the models converges to 1e-10 mm (docs/distortion-models.md).
constexpr double kInverseTolerance = 1e-10;

TVxCameraInfo FormulaCamera(const TPoint& principalPoint, const TPoint& symmetryPoint) {
  TVxCameraInfo camera;
  camera.cameraType = TCameraType::Fiducials;
  camera.focus = 153.228;
  camera.principalPoint = principalPoint;
  camera.distortion.type = TDistortionType::Formula;
  camera.distortion.symmetryPoint = symmetryPoint;
  camera.distortion.k1 = 4.0e-8;
  camera.distortion.k2 = -2.6e-12;
  camera.distortion.p1 = 1.0e-7;
  return camera;
}

// The formula model with k1, k2 and p1 of FormulaCamera, centred on `centre`, applied to p.
TPoint FormulaByHand(const TPoint& p, const TPoint& centre) {
  const double x = p.x - centre.x;
  const double y = p.y - centre.y;
  const double r2 = x * x + y * y;
  const double radial = 4.0e-8 * r2 - 2.6e-12 * r2 * r2;
  const double p1 = 1.0e-7;
  return {p.x + x * radial + p1 * (r2 + 2.0 * x * x), p.y + y * radial + 2.0 * p1 * x * y};
}

TEST(CamToMmTransform, NoDistortionAndPrincipalPointAtOriginIsTheIdentity) {
  TVxCameraInfo camera;
  const TransformHandle handle = CreateCamToMmTransform(camera);
  ASSERT_NE(HeldAs<TUnityTransform>(handle), nullptr);
  EXPECT_EQ(handle.use_count(), 1);
  EXPECT_EQ(handle->TransformPoint({-105.993, 106.002}), (TPoint{-105.993, 106.002}));
}

TEST(CamToMmTransform, NoDistortionAndAPrincipalPointIsThePureShift) {
  TVxCameraInfo camera;
  camera.principalPoint = {1.5, -2.0};
  const TransformHandle handle = CreateCamToMmTransform(camera);
  const auto* shift = HeldAs<TAffineTransform>(handle);
  ASSERT_NE(shift, nullptr);
  EXPECT_EQ(shift->Coefficients(), (std::array<double, 6>{1.0, 0.0, -1.5, 0.0, 1.0, 2.0}));
  EXPECT_EQ(handle->TransformPoint({10.0, 10.0}), (TPoint{8.5, 12.0}));
  EXPECT_EQ(handle.use_count(), 1);
}

TEST(CamToMmTransform, ATypeOutsideTheModelsCountsAsNoDistortion) {
  TVxCameraInfo camera = FormulaCamera({1.5, -2.0}, {1.5, -2.0});
  camera.distortion.type = static_cast<TDistortionType>(0);
  EXPECT_NE(HeldAs<TAffineTransform>(CreateCamToMmTransform(camera)), nullptr);
  camera.principalPoint = {0.0, 0.0};
  EXPECT_NE(HeldAs<TUnityTransform>(CreateCamToMmTransform(camera)), nullptr);
}

TEST(CamToMmTransform, ADistortionAtTheOriginIsTheDistortionItselfCentredOnTheSymmetryPoint) {
  const TVxCameraInfo camera = FormulaCamera({0.0, 0.0}, {0.01, -0.02});
  const TransformHandle handle = CreateCamToMmTransform(camera);
  const auto* formula = HeldAs<TFormulaDistortion>(handle);
  ASSERT_NE(formula, nullptr);
  EXPECT_EQ(formula->Centre(), (TPoint{0.01, -0.02}));
  EXPECT_EQ(formula->Coefficients().k1, 4.0e-8);
  EXPECT_FALSE(formula->Inverse());
  EXPECT_EQ(handle.use_count(), 1);
}

TEST(CamToMmTransform, ATinyPrincipalPointGivesTheShiftThenTheDistortion) {
  const TVxCameraInfo camera = FormulaCamera({0.0, 1e-12}, {0.01, -0.02});
  const TransformHandle handle = CreateCamToMmTransform(camera);
  const auto* chain = HeldAs<TCombinedTransform>(handle);
  ASSERT_NE(chain, nullptr);
  ASSERT_EQ(chain->Count(), 2u);
  const auto* shift = dynamic_cast<const TAffineTransform*>(&chain->Item(0));
  ASSERT_NE(shift, nullptr);
  EXPECT_EQ(shift->Coefficients(), (std::array<double, 6>{1.0, 0.0, 0.0, 0.0, 1.0, -1e-12}));
  const auto* formula = dynamic_cast<const TFormulaDistortion*>(&chain->Item(1));
  ASSERT_NE(formula, nullptr);
  EXPECT_EQ(formula->Centre(), (TPoint{0.01, -0.02 - 1e-12}));
  EXPECT_EQ(handle.use_count(), 1);
}

TEST(CamToMmTransform, NegativeZeroPrincipalPointCountsAsZero) {
  const TVxCameraInfo camera = FormulaCamera({-0.0, 0.0}, {0.01, -0.02});
  EXPECT_NE(HeldAs<TFormulaDistortion>(CreateCamToMmTransform(camera)), nullptr);

  TVxCameraInfo none;
  none.principalPoint = {-0.0, -0.0};
  EXPECT_NE(HeldAs<TUnityTransform>(CreateCamToMmTransform(none)), nullptr);
}

TEST(CamToMmTransform, NaNPrincipalPointIsNotZero) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const TVxCameraInfo camera = FormulaCamera({nan, 0.0}, {0.0, 0.0});
  EXPECT_NE(HeldAs<TCombinedTransform>(CreateCamToMmTransform(camera)), nullptr);
  TVxCameraInfo none;
  none.principalPoint = {0.0, nan};
  EXPECT_NE(HeldAs<TAffineTransform>(CreateCamToMmTransform(none)), nullptr);
}

TEST(CamToMmTransform, PointsAreShiftedFirstAndDistortedSecond) {
  const TPoint pp{2.0, -3.0};
  const TPoint sym{2.01, -2.98};
  const TVxCameraInfo camera = FormulaCamera(pp, sym);
  const TransformHandle handle = CreateCamToMmTransform(camera);
  for (const TPoint p : {TPoint{-105.993, -106.006}, TPoint{106.015, -106.006}, TPoint{0.0, 0.0},
                         TPoint{50.0, 75.0}}) {
    // The distortion works relative to the principal point; its centre too.
    const TPoint expected = FormulaByHand(p - pp, sym - pp);
    const TPoint got = handle->TransformPoint(p);
    EXPECT_NEAR(got.x, expected.x, kRounding);
    EXPECT_NEAR(got.y, expected.y, kRounding);
  }
}

TEST(CamToMmTransform, MmToCamCoefficientsAreSolvedForThePoint) {
  TVxCameraInfo camera = FormulaCamera({0.5, 0.25}, {0.5, 0.25});
  camera.distortion.direction = TVxCameraDistortion::TDirection::MmToCam;
  const TransformHandle handle = CreateCamToMmTransform(camera);
  const auto* chain = HeldAs<TCombinedTransform>(handle);
  ASSERT_NE(chain, nullptr);
  const auto* formula = dynamic_cast<const TFormulaDistortion*>(&chain->Item(1));
  ASSERT_NE(formula, nullptr);
  EXPECT_TRUE(formula->Inverse());
  // q = T(p) satisfies q + d(q) = p - pp: the stored model applied to q gives the shifted point.
  const TPoint p{80.0, -60.0};
  const TPoint q = handle->TransformPoint(p);
  const TPoint back = FormulaByHand(q, {0.0, 0.0});
  EXPECT_NEAR(back.x, p.x - 0.5, kInverseTolerance);
  EXPECT_NEAR(back.y, p.y - 0.25, kInverseTolerance);
}

TEST(CamToMmTransform, OnlyFocusPrincipalPointAndDistortionAreRead) {
  const TVxCameraInfo camera = FormulaCamera({0.5, 0.25}, {0.4, 0.3});
  TVxCameraInfo other = camera;
  other.cameraType = TCameraType::Digital;
  other.pixelSize = {0.012, 0.012};
  other.sensorDims = {7680, 13824};
  other.digitalCameraOrigin = TVxCameraInfo::TDigitalCameraOrigin::UpperLeft;
  other.fiducials = {{1, {-106.0, -106.0}, 0}};
  const TPoint p{33.0, -44.0};
  EXPECT_EQ(CreateCamToMmTransform(camera)->TransformPoint(p),
            CreateCamToMmTransform(other)->TransformPoint(p));
}

TEST(CamToMmTransform, TheFocalLengthReachesTheMixedModel) {
  TVxCameraInfo camera;
  camera.focus = 120.0;
  camera.distortion.type = TDistortionType::Mixed;
  camera.distortion.mixed.c[5] = 1e-5;
  const TransformHandle handle = CreateCamToMmTransform(camera);
  const auto* mixed = HeldAs<TMixedDistortion>(handle);
  ASSERT_NE(mixed, nullptr);
  EXPECT_EQ(mixed->Focal(), 120.0);
}

TEST(CamToMmTransform, ADistortionThatCannotBeBuiltThrowsAndLeavesNothingBehind) {
  TVxCameraInfo camera;
  camera.principalPoint = {1.0, 1.0};
  camera.distortion.type = TDistortionType::Directed8;
  camera.distortion.table4X = {vx_test::Row4(10.0, 0.0, 0.0, 0.0, 0.0)};
  EXPECT_THROW(CreateCamToMmTransform(camera), std::invalid_argument);
  camera.distortion.type = TDistortionType::Radial;
  camera.distortion.tableR = {{std::numeric_limits<double>::infinity(), 0.0}};
  EXPECT_THROW(CreateCamToMmTransform(camera), std::invalid_argument);
}

}  // namespace
