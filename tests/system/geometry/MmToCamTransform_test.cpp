// CreateMmToCamTransform: the inverse of CreateCamToMmTransform, checked on points against the
// forward transform and against closed forms.

#include <gtest/gtest.h>

#include <cmath>

#include "CameraMathTestSupport.h"
#include "VxCameraMath.h"
#include "VxGeometry.h"

namespace {

using vx_test::HeldAs;
using TPoint = vec_t_<double, 2>;

// Closed forms evaluated here in double: a few units in the last place around 100 mm.
constexpr double kRounding = 1e-12;
// The inverse of the models converges to 1e-10 mm (docs/distortion-models.md).
constexpr double kInverseTolerance = 1e-10;
// The grid reaches the corners of a 230 mm film frame.
constexpr double kGridHalfWidth = 115.0;
constexpr int kGridSteps = 10;

TVxCameraInfo FormulaCamera(TVxCameraDistortion::TDirection direction) {
  TVxCameraInfo camera;
  camera.cameraType = TCameraType::Fiducials;
  camera.focus = 153.228;
  camera.principalPoint = {0.5, -0.25};
  camera.distortion.type = TDistortionType::Formula;
  camera.distortion.direction = direction;
  camera.distortion.symmetryPoint = {0.75, 0.125};
  camera.distortion.k1 = 4.0e-8;
  camera.distortion.k2 = -2.6e-12;
  camera.distortion.p1 = 1.0e-7;
  return camera;
}

TEST(MmToCamTransform, NoDistortionIsTheShiftBackByThePrincipalPoint) {
  TVxCameraInfo camera;
  camera.principalPoint = {1.5, -2.0};
  const TransformHandle handle = CreateMmToCamTransform(camera);
  ASSERT_NE(HeldAs<TCombinedTransform>(handle), nullptr);
  EXPECT_EQ(handle->TransformPoint({0.0, 0.0}), (TPoint{1.5, -2.0}));
}

TEST(MmToCamTransform, UndoesTheForwardTransformOverTheFrame) {
  const TVxCameraInfo camera = FormulaCamera(TVxCameraDistortion::TDirection::CamToMm);
  const TransformHandle forward = CreateCamToMmTransform(camera);
  const TransformHandle inverse = CreateMmToCamTransform(camera);
  for (int i = 0; i <= kGridSteps; ++i) {
    for (int j = 0; j <= kGridSteps; ++j) {
      const TPoint p{-kGridHalfWidth + 2.0 * kGridHalfWidth * i / kGridSteps,
                     -kGridHalfWidth + 2.0 * kGridHalfWidth * j / kGridSteps};
      const TPoint back = inverse->TransformPoint(forward->TransformPoint(p));
      EXPECT_NEAR(back.x, p.x, kInverseTolerance) << i << ' ' << j;
      EXPECT_NEAR(back.y, p.y, kInverseTolerance) << i << ' ' << j;
    }
  }
}

TEST(MmToCamTransform, AModelStoredMmToCamIsEvaluatedDirectlyThenShifted) {
  const TVxCameraInfo camera = FormulaCamera(TVxCameraDistortion::TDirection::MmToCam);
  const TPoint p{100.0, -50.0};
  // The formula centred on symmetryPoint - principalPoint, then + principalPoint.
  const double x = p.x - 0.25;
  const double y = p.y - 0.375;
  const double r2 = x * x + y * y;
  const double radial = 4.0e-8 * r2 - 2.6e-12 * r2 * r2;
  const TPoint expected{p.x + x * radial + 1.0e-7 * (r2 + 2.0 * x * x) + 0.5,
                        p.y + y * radial + 2.0e-7 * x * y - 0.25};
  const TPoint got = CreateMmToCamTransform(camera)->TransformPoint(p);
  EXPECT_NEAR(got.x, expected.x, kRounding);
  EXPECT_NEAR(got.y, expected.y, kRounding);
}

TEST(MmToCamTransform, TheBatchCallEqualsTheOnePointCall) {
  const TransformHandle inverse =
      CreateMmToCamTransform(FormulaCamera(TVxCameraDistortion::TDirection::CamToMm));
  TPoint points[3] = {{100.0, -50.0}, {std::nan(""), 1.0}, {-80.0, 90.0}};
  TPoint out[3];
  EXPECT_EQ(inverse->TransformPoints(points, out, 3), 1u);
  for (int i = 0; i < 3; i += 2) {
    const TPoint one = inverse->TransformPoint(points[i]);
    EXPECT_EQ(out[i].x, one.x);
    EXPECT_EQ(out[i].y, one.y);
  }
  EXPECT_TRUE(IsNaNPoint(out[1]));
}

}  // namespace
