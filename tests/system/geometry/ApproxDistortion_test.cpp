// ApproxCameraDistortion: what is sampled, what is fitted and written, the exact conversions
// between the formula and mixed models, the choice of the fit radius, and the failures.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "CameraMathTestSupport.h"
#include "VxCameraMath.h"
#include "VxGeometry.h"
#include "VxRecordBytes.h"
#include "VxSettingsText.h"

namespace {

using vx_test::Row4;
using vx_test::TNaturalSplineProfile;
using TPoint = vec_t_<double, 2>;
using TDirection = TVxCameraDistortion::TDirection;

constexpr double kPi = 3.141592653589793;
constexpr double kFocus = 153.228;
// A value that no fit or conversion writes, to see that nothing was written.
constexpr double kUntouched = -7.25;
// The scaled normal matrix of r^3, r^5, r^7 on the 100 radii has a condition number of about
// 4.4e3; with displacements of a tenth of a millimetre and rounding of 1e-16 relative, the
// fitted curve of an exactly representable source is right to far better than 1e-12 mm.
constexpr double kFitRounding = 1e-12;

// A source that records every point it is asked to map and applies a radial k1 r^3.
class TRecordingTransform final : public TVx2DTransform {
 public:
  explicit TRecordingTransform(double k1) : k1_(k1) {}
  std::unique_ptr<TVx2DTransform> Clone() const override {
    return std::unique_ptr<TVx2DTransform>(new TRecordingTransform(*this));
  }
  const char* Name() const override { return "recording"; }
  bool IsIdentity() const override { return k1_ == 0.0; }
  TPoint TransformPoint(const TPoint& p) const override {
    seen.push_back(p);
    return p * (1.0 + k1_ * p.Length2());
  }

  mutable std::vector<TPoint> seen;

 private:
  double k1_;
};

// A film camera with a formula distortion that the mixed model can hold exactly: k4 = k5 =
// p3 = p4 = 0, symmetric about its principal point, in the camera-to-millimetre sense.
TVxCameraInfo FormulaCamera() {
  TVxCameraInfo camera;
  camera.cameraType = TCameraType::Fiducials;
  camera.focus = kFocus;
  camera.principalPoint = {0.003, -0.004};
  TVxCameraDistortion& d = camera.distortion;
  d.type = TDistortionType::Formula;
  d.direction = TDirection::CamToMm;
  d.symmetryPoint = camera.principalPoint;
  d.k1 = 4.0e-8;
  d.k2 = -2.6e-12;
  d.k3 = 1.0e-17;
  d.p1 = 1.0e-7;
  d.p2 = -0.8e-7;
  d.b1 = 2.0e-6;
  d.b2 = -1.0e-6;
  d.a1 = 0.0;
  d.a2 = 0.0;
  return camera;
}

TVxCameraInfo RadialCamera(std::vector<TVxCameraDistortion::TRadialDistortion> rows) {
  TVxCameraInfo camera;
  camera.focus = kFocus;
  camera.principalPoint = {0.001, 0.002};
  camera.distortion.type = TDistortionType::Radial;
  camera.distortion.symmetryPoint = camera.principalPoint;
  camera.distortion.tableR = std::move(rows);
  return camera;
}

// A record filled with values that no fit produces, and its bytes.
TVxCameraDistortion Sentinel() {
  TVxCameraDistortion d;
  d.type = TDistortionType::Directed4X;
  d.k1 = d.k4 = d.p3 = d.a2 = kUntouched;
  d.mixed.K[1] = kUntouched;
  d.polyK[2] = kUntouched;
  d.tableR = {{1.0, kUntouched}};
  d.table4X = {Row4(2.0, kUntouched, 0.0, 0.0, 0.0)};
  return d;
}

// The record a successful fit writes: zero but for the type, the three radial coefficients and
// the symmetry point.
TVxCameraDistortion FitRecord(TDistortionType type, const TPoint& principalPoint, double c1,
                              double c2, double c3) {
  TVxCameraDistortion d;
  d.type = type;
  d.direction = TDirection::CamToMm;
  d.symmetryPoint = principalPoint;
  if (type == TDistortionType::Formula) {
    d.k1 = c1;
    d.k2 = c2;
    d.k3 = c3;
  } else {
    d.mixed.K[0] = c1;
    d.mixed.K[1] = c2;
    d.mixed.K[2] = c3;
  }
  return d;
}

double RadialPolynomial(double c1, double c2, double c3, double r) {
  const double r2 = r * r;
  return r * r2 * (c1 + r2 * (c2 + r2 * c3));
}

// --- failures -----------------------------------------------------------------------------

TEST(ApproxDistortion, TargetOtherThanFormulaOrMixedFailsAndWritesNothing) {
  const TVxCameraInfo camera = FormulaCamera();
  const TFormulaDistortion source({0.0, 0.0}, 4.0e-8, 0, 0, 0, 0, 0, 0, 0, 0, false);
  for (const int target : {0, 1, 3, 4, 5, 6, 8, 9}) {
    SCOPED_TRACE(target);
    const auto type = static_cast<TDistortionType>(target);
    TVxCameraDistortion result = Sentinel();
    double deviation = kUntouched;
    EXPECT_FALSE(ApproxCameraDistortion(source, type, &result, camera, 50.0, &deviation));
    EXPECT_FALSE(ApproxCameraDistortion(type, &result, camera, 50.0, &deviation));
    EXPECT_EQ(vx_test::RecordBytes(result), vx_test::RecordBytes(Sentinel()));
    EXPECT_EQ(deviation, kUntouched);
  }
}

TEST(ApproxDistortion, ZeroMaxRadiusMakesTheFitOfATransformFail) {
  const TVxCameraInfo camera = FormulaCamera();
  TRecordingTransform source(4.0e-8);
  TVxCameraDistortion result = Sentinel();
  double deviation = kUntouched;
  EXPECT_FALSE(
      ApproxCameraDistortion(source, TDistortionType::Formula, &result, camera, 0.0, &deviation));
  EXPECT_FALSE(
      ApproxCameraDistortion(source, TDistortionType::Mixed, &result, camera, -0.0, &deviation));
  EXPECT_TRUE(source.seen.empty());
  EXPECT_EQ(vx_test::RecordBytes(result), vx_test::RecordBytes(Sentinel()));
  EXPECT_EQ(deviation, kUntouched);
}

TEST(ApproxDistortion, NormalMatrixThatUnderflowsToZeroFails) {
  // Radii of 1e-62 mm: every power r^6 .. r^14 underflows, the determinant is exactly zero.
  const TVxCameraInfo camera = FormulaCamera();
  TRecordingTransform source(0.0);
  TVxCameraDistortion result = Sentinel();
  double deviation = kUntouched;
  EXPECT_FALSE(
      ApproxCameraDistortion(source, TDistortionType::Formula, &result, camera, 1e-60, &deviation));
  EXPECT_EQ(source.seen.size(), 1600u);
  EXPECT_EQ(vx_test::RecordBytes(result), vx_test::RecordBytes(Sentinel()));
  EXPECT_EQ(deviation, kUntouched);
}

TEST(ApproxDistortion, SourcesWithoutAFittableModelFail) {
  for (const int type : {0, 1, 8, 9}) {
    SCOPED_TRACE(type);
    TVxCameraInfo camera = FormulaCamera();
    camera.distortion.type = static_cast<TDistortionType>(type);
    camera.distortion.polyK[1] = 1e-8;
    TVxCameraDistortion result = Sentinel();
    double deviation = kUntouched;
    EXPECT_FALSE(
        ApproxCameraDistortion(TDistortionType::Formula, &result, camera, 50.0, &deviation));
    EXPECT_EQ(vx_test::RecordBytes(result), vx_test::RecordBytes(Sentinel()));
    EXPECT_EQ(deviation, kUntouched);
  }
}

TEST(ApproxDistortion, EmptyTablesAndNonPositiveLastRadiiFail) {
  struct TCase {
    const char* what;
    TDistortionType type;
    std::vector<TVxCameraDistortion::TRadialDistortion> radial;
    std::vector<TVxCameraDistortion::T4Direction> plus;
    std::vector<TVxCameraDistortion::T4Direction> cross;
  };
  const std::vector<TCase> cases = {
      {"empty radial", TDistortionType::Radial, {}, {}, {}},
      {"radial ending at 0", TDistortionType::Radial, {{10.0, 0.01}, {0.0, 0.0}}, {}, {}},
      {"radial ending below 0", TDistortionType::Radial, {{-1.0, 0.0}}, {}, {}},
      {"empty table_+", TDistortionType::Directed4Plus, {}, {}, {Row4(5, 1, 1, 1, 1)}},
      {"empty table_x", TDistortionType::Directed4X, {}, {Row4(5, 1, 1, 1, 1)}, {}},
      {"Directed8 without table_+", TDistortionType::Directed8, {}, {}, {Row4(5, 1, 1, 1, 1)}},
      {"Directed8 without table_x", TDistortionType::Directed8, {}, {Row4(5, 1, 1, 1, 1)}, {}},
      {"Directed8 without rows", TDistortionType::Directed8, {}, {}, {}},
      {"Directed8 ending at 0",
       TDistortionType::Directed8,
       {},
       {Row4(0, 1, 1, 1, 1)},
       {Row4(0, 1, 1, 1, 1)}},
  };
  for (const TCase& c : cases) {
    SCOPED_TRACE(c.what);
    TVxCameraInfo camera = RadialCamera(c.radial);
    camera.distortion.type = c.type;
    camera.distortion.table4Plus = c.plus;
    camera.distortion.table4X = c.cross;
    TVxCameraDistortion result = Sentinel();
    double deviation = kUntouched;
    EXPECT_FALSE(ApproxCameraDistortion(TDistortionType::Mixed, &result, camera, 50.0, &deviation));
    EXPECT_EQ(vx_test::RecordBytes(result), vx_test::RecordBytes(Sentinel()));
    EXPECT_EQ(deviation, kUntouched);
  }
}

TEST(ApproxDistortion, ASourceTheLibraryCannotBuildThrows) {
  TVxCameraInfo camera = FormulaCamera();
  camera.focus = 0.0;
  camera.distortion.type = TDistortionType::Mixed;
  camera.distortion.mixed.c[2] = 1e-6;  // needs a focal length
  camera.distortion.symmetryPoint = {0.0, 0.0};
  TVxCameraDistortion result;
  EXPECT_THROW(ApproxCameraDistortion(TDistortionType::Mixed, &result, camera, 10.0, nullptr),
               std::invalid_argument);
}

// --- the fit of a transform ----------------------------------------------------------------

TEST(ApproxDistortion, TheFitSamples100RadiiIn16DirectionsAndTheCheckAddsTheCentre) {
  constexpr double kMaxRadius = 40.0;
  const TVxCameraInfo camera = FormulaCamera();
  TRecordingTransform source(4.0e-8);
  TVxCameraDistortion result;
  ASSERT_TRUE(ApproxCameraDistortion(source, TDistortionType::Formula, &result, camera, kMaxRadius,
                                     nullptr));
  ASSERT_EQ(source.seen.size(), 1600u);
  for (std::size_t n = 0; n < 1600; ++n) {
    const double r = static_cast<double>(n / 16 + 1) * 0.4;
    const double angle = static_cast<double>(n % 16) * kPi / 8.0;
    EXPECT_NEAR(source.seen[n].x, r * std::cos(angle), 1e-13) << n;
    EXPECT_NEAR(source.seen[n].y, r * std::sin(angle), 1e-13) << n;
  }
  EXPECT_NEAR(source.seen.back().Length(), kMaxRadius, 1e-13);

  source.seen.clear();
  double deviation = kUntouched;
  ASSERT_TRUE(ApproxCameraDistortion(source, TDistortionType::Formula, &result, camera, kMaxRadius,
                                     &deviation));
  ASSERT_EQ(source.seen.size(), 1600u + 1616u);
  for (std::size_t n = 1600; n < 1616; ++n) EXPECT_EQ(source.seen[n], (TPoint{0.0, 0.0}));
  EXPECT_NEAR(source.seen.back().Length(), kMaxRadius, 1e-13);
}

TEST(ApproxDistortion, AnExactlyRepresentableSourceIsRecovered) {
  constexpr double kMaxRadius = 120.0;
  constexpr double k1 = 4.0e-8, k2 = -2.6e-12, k3 = 1.0e-17;
  const TVxCameraInfo camera = FormulaCamera();
  const TFormulaDistortion source({0.0, 0.0}, k1, k2, k3, 0, 0, 0, 0, 0, 0, false);
  for (const TDistortionType type : {TDistortionType::Formula, TDistortionType::Mixed}) {
    SCOPED_TRACE(static_cast<int>(type));
    TVxCameraDistortion result;
    double deviation = kUntouched;
    ASSERT_TRUE(ApproxCameraDistortion(source, type, &result, camera, kMaxRadius, &deviation));
    const bool formula = type == TDistortionType::Formula;
    const double c1 = formula ? result.k1 : result.mixed.K[0];
    const double c2 = formula ? result.k2 : result.mixed.K[1];
    const double c3 = formula ? result.k3 : result.mixed.K[2];
    // Each coefficient's share of the displacement at the rim.
    EXPECT_NEAR(c1 * std::pow(kMaxRadius, 3), k1 * std::pow(kMaxRadius, 3), kFitRounding);
    EXPECT_NEAR(c2 * std::pow(kMaxRadius, 5), k2 * std::pow(kMaxRadius, 5), kFitRounding);
    EXPECT_NEAR(c3 * std::pow(kMaxRadius, 7), k3 * std::pow(kMaxRadius, 7), kFitRounding);
    EXPECT_LE(deviation, kFitRounding);
    EXPECT_TRUE(result == FitRecord(type, camera.principalPoint, c1, c2, c3));
  }
}

TEST(ApproxDistortion, AnIdentitySourceGivesZeroCoefficientsAndZeroDeviation) {
  const TVxCameraInfo camera = FormulaCamera();
  const TUnityTransform identity;
  for (const TDistortionType type : {TDistortionType::Formula, TDistortionType::Mixed}) {
    TVxCameraDistortion result = Sentinel();
    double deviation = kUntouched;
    ASSERT_TRUE(ApproxCameraDistortion(identity, type, &result, camera, 100.0, &deviation));
    EXPECT_EQ(vx_test::RecordBytes(result),
              vx_test::RecordBytes(FitRecord(type, camera.principalPoint, 0.0, 0.0, 0.0)));
    EXPECT_EQ(deviation, 0.0);
  }
  // The same through a camera whose radial table corrects nothing.
  TVxCameraDistortion result;
  double deviation = kUntouched;
  const TVxCameraInfo flat = RadialCamera({{30.0, 0.0}, {60.0, 0.0}});
  ASSERT_TRUE(ApproxCameraDistortion(TDistortionType::Formula, &result, flat, 0.0, &deviation));
  EXPECT_EQ(vx_test::RecordBytes(result),
            vx_test::RecordBytes(
                FitRecord(TDistortionType::Formula, flat.principalPoint, 0.0, 0.0, 0.0)));
  EXPECT_EQ(deviation, 0.0);
}

TEST(ApproxDistortion, TheResultIsAFreshRecordWhateverItHeldBefore) {
  const TVxCameraInfo camera = FormulaCamera();
  const TFormulaDistortion source({0.0, 0.0}, 4.0e-8, 0, 0, 0, 0, 0, 0, 0, 0, false);
  TVxCameraDistortion result = Sentinel();
  result.direction = TDirection::MmToCam;
  ASSERT_TRUE(
      ApproxCameraDistortion(source, TDistortionType::Mixed, &result, camera, 80.0, nullptr));
  EXPECT_TRUE(result == FitRecord(TDistortionType::Mixed, camera.principalPoint, result.mixed.K[0],
                                  result.mixed.K[1], result.mixed.K[2]));
  EXPECT_TRUE(result.tableR.empty());
  EXPECT_TRUE(result.table4X.empty());
}

TEST(ApproxDistortion, TheDeviationIsTheLargestDistanceOfTheTwoTransformsOnTheGrid) {
  // A source with a decentering term that the radial model cannot follow: the largest distance
  // is found again here from the fitted coefficients and the source on the 101 x 16 grid.
  constexpr double kMaxRadius = 100.0;
  const TVxCameraInfo camera = FormulaCamera();
  const TFormulaDistortion source({0.0, 0.0}, 4.0e-8, -2.6e-12, 0, 0, 0, 3.0e-7, 0, 0, 0, false);
  TVxCameraDistortion result;
  double deviation = kUntouched;
  ASSERT_TRUE(ApproxCameraDistortion(source, TDistortionType::Formula, &result, camera, kMaxRadius,
                                     &deviation));
  double largest = 0.0;
  for (int i = 0; i <= 100; ++i) {
    for (int k = 0; k < 16; ++k) {
      const double r = i * kMaxRadius / 100.0;
      const TPoint u{std::cos(k * kPi / 8.0), std::sin(k * kPi / 8.0)};
      const TPoint p = r * u;
      const TPoint fitted = p + u * RadialPolynomial(result.k1, result.k2, result.k3, r);
      largest = std::max(largest, (fitted - source.TransformPoint(p)).Length());
    }
  }
  // The decentering p1 (r^2 + 2 x^2) has a radial mean of zero over the 16 directions, so the
  // fit keeps k1, k2 and leaves it all: 3 p1 r^2 = 9 um at the rim along x. Only its second-order
  // share of |q| - r, |d|^2 / 2r < 1 nm, reaches the radial terms.
  EXPECT_NEAR(deviation, 3.0 * 3.0e-7 * kMaxRadius * kMaxRadius, 1e-6);
  EXPECT_NEAR(deviation, largest, kFitRounding);
}

// A source that cannot map points beyond 30 mm, as an inverse that does not converge there.
class TFailingTransform final : public TVx2DTransform {
 public:
  std::unique_ptr<TVx2DTransform> Clone() const override {
    return std::unique_ptr<TVx2DTransform>(new TFailingTransform(*this));
  }
  const char* Name() const override { return "failing"; }
  bool IsIdentity() const override { return false; }
  TPoint TransformPoint(const TPoint& p) const override {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    return p.Length() > 30.0 ? TPoint{nan, nan} : p * 1.001;
  }
  TFailingTransform() = default;

 private:
  TFailingTransform(const TFailingTransform&) = default;
};

TEST(ApproxDistortion, ASourceThatFailsToMapASampleGivesNaNInsteadOfAPartialFit) {
  const TVxCameraInfo camera = FormulaCamera();
  const TFailingTransform source;
  for (const TDistortionType type : {TDistortionType::Formula, TDistortionType::Mixed}) {
    TVxCameraDistortion result;
    double deviation = kUntouched;
    ASSERT_TRUE(ApproxCameraDistortion(source, type, &result, camera, 40.0, &deviation));
    const double c1 = type == TDistortionType::Formula ? result.k1 : result.mixed.K[0];
    EXPECT_TRUE(std::isnan(c1));
    EXPECT_TRUE(std::isnan(deviation));
  }
}

// --- exact conversions ---------------------------------------------------------------------

TEST(ApproxDistortion, FormulaConvertsExactlyToMixed) {
  TVxCameraInfo camera = FormulaCamera();
  camera.distortion.a1 = 3.0e-6;
  camera.distortion.a2 = -4.0e-6;
  // Leftovers of the mixed block that the conversion clears or overwrites.
  camera.distortion.mixed.a[0] = camera.distortion.mixed.a[6] = 1.0;
  camera.distortion.mixed.b[3] = camera.distortion.mixed.c[0] = 1.0;
  const TVxCameraDistortion& d = camera.distortion;

  TVxCameraDistortion result;
  double deviation = kUntouched;
  ASSERT_TRUE(ApproxCameraDistortion(TDistortionType::Mixed, &result, camera, 0.0, &deviation));
  EXPECT_EQ(deviation, 0.0);
  EXPECT_EQ(result.type, TDistortionType::Mixed);
  const double a[7] = {d.b1, d.b2, 0, 0, 0, 0, 0};
  const double b[7] = {d.a1, d.a2, 0, 0, 0, 0, 0};
  for (int i = 0; i < 7; ++i) {
    EXPECT_EQ(result.mixed.a[i], a[i]) << i;
    EXPECT_EQ(result.mixed.b[i], b[i]) << i;
    EXPECT_EQ(result.mixed.c[i], 0.0) << i;
  }
  EXPECT_EQ(result.mixed.K[0], d.k1);
  EXPECT_EQ(result.mixed.K[1], d.k2);
  EXPECT_EQ(result.mixed.K[2], d.k3);
  EXPECT_EQ(result.mixed.P[0], d.p1);
  EXPECT_EQ(result.mixed.P[1], d.p2);
  // Everything else, the formula fields included, is the source's.
  TVxCameraDistortion expected = d;
  expected.type = TDistortionType::Mixed;
  expected.mixed = result.mixed;
  EXPECT_TRUE(result == expected);

  // Both records map every point alike (docs: to 1e-12 mm).
  const TransformHandle before = CreateCamToMmTransform(camera);
  TVxCameraInfo converted = camera;
  converted.distortion = result;
  const TransformHandle after = CreateCamToMmTransform(converted);
  for (const TPoint p : {TPoint{-105.993, -106.006}, TPoint{106.015, 20.0}, TPoint{0.5, 90.0}}) {
    EXPECT_LE((before->TransformPoint(p) - after->TransformPoint(p)).Length(), 1e-12);
  }
}

TEST(ApproxDistortion, FormulaToMixedAndBackGivesTheSameFormulaRecord) {
  const TVxCameraInfo camera = FormulaCamera();  // a1 = a2 = 0
  TVxCameraInfo mixedCamera = camera;
  double deviation = kUntouched;
  ASSERT_TRUE(ApproxCameraDistortion(TDistortionType::Mixed, &mixedCamera.distortion, camera, 0.0,
                                     &deviation));
  EXPECT_EQ(deviation, 0.0);

  TVxCameraDistortion back;
  deviation = kUntouched;
  ASSERT_TRUE(
      ApproxCameraDistortion(TDistortionType::Formula, &back, mixedCamera, 0.0, &deviation));
  EXPECT_EQ(deviation, 0.0);
  // The formula fields are the original's; the mixed block of the way there stays as a
  // leftover that a Formula record neither uses nor saves.
  TVxCameraDistortion expected = camera.distortion;
  expected.mixed = mixedCamera.distortion.mixed;
  EXPECT_TRUE(back == expected);
  EXPECT_EQ(vx_test::SavedText(back), vx_test::SavedText(camera.distortion));
}

TEST(ApproxDistortion, FormulaWithoutAffinityOfYIsCopiedUnchanged) {
  TVxCameraInfo camera = FormulaCamera();
  camera.distortion.k4 = 1e-20;  // the formula target can hold anything but a1, a2
  camera.distortion.p3 = 1e-4;
  camera.distortion.tableR = {{5.0, 1.0}};
  TVxCameraDistortion result;
  double deviation = kUntouched;
  ASSERT_TRUE(ApproxCameraDistortion(TDistortionType::Formula, &result, camera, 0.0, &deviation));
  EXPECT_EQ(vx_test::RecordBytes(result), vx_test::RecordBytes(camera.distortion));
  EXPECT_EQ(deviation, 0.0);
}

TEST(ApproxDistortion, MixedIsCopiedUnchangedWhateverItHolds) {
  TVxCameraInfo camera = FormulaCamera();
  camera.distortion.type = TDistortionType::Mixed;
  camera.distortion.mixed.c[6] = 1e-6;
  camera.distortion.mixed.b[4] = -2e-6;
  TVxCameraDistortion result;
  double deviation = kUntouched;
  ASSERT_TRUE(ApproxCameraDistortion(TDistortionType::Mixed, &result, camera, 0.0, &deviation));
  EXPECT_EQ(vx_test::RecordBytes(result), vx_test::RecordBytes(camera.distortion));
  EXPECT_EQ(deviation, 0.0);
}

TEST(ApproxDistortion, MixedConvertsExactlyToFormulaWhenOnlyTheSharedTermsAreSet) {
  TVxCameraInfo camera;
  camera.focus = kFocus;
  TVxCameraDistortion& d = camera.distortion;
  d.type = TDistortionType::Mixed;
  d.mixed.K[0] = 1e-8;
  d.mixed.K[1] = 2e-12;
  d.mixed.K[2] = 3e-17;
  d.mixed.P[0] = 4e-7;
  d.mixed.P[1] = 5e-7;
  d.mixed.a[0] = 6e-6;
  d.mixed.a[1] = 7e-6;
  d.k4 = d.k5 = d.p3 = d.p4 = d.a1 = d.a2 = 1.0;  // leftovers that the conversion clears
  TVxCameraDistortion result;
  double deviation = kUntouched;
  ASSERT_TRUE(ApproxCameraDistortion(TDistortionType::Formula, &result, camera, 0.0, &deviation));
  EXPECT_EQ(deviation, 0.0);
  TVxCameraDistortion expected = d;
  expected.type = TDistortionType::Formula;
  expected.k1 = 1e-8;
  expected.k2 = 2e-12;
  expected.k3 = 3e-17;
  expected.k4 = expected.k5 = 0.0;
  expected.p1 = 4e-7;
  expected.p2 = 5e-7;
  expected.p3 = expected.p4 = 0.0;
  expected.b1 = 6e-6;
  expected.b2 = 7e-6;
  expected.a1 = expected.a2 = 0.0;
  EXPECT_EQ(vx_test::RecordBytes(result), vx_test::RecordBytes(expected));
}

TEST(ApproxDistortion, WhatTheOtherModelCannotHoldIsFittedInstead) {
  struct TCase {
    const char* what;
    TDistortionType source;
    TDistortionType target;
    void (*change)(TVxCameraDistortion*);
  };
  const TCase cases[] = {
      {"formula with a1", TDistortionType::Formula, TDistortionType::Formula,
       [](TVxCameraDistortion* d) { d->a1 = 1e-6; }},
      {"formula with a2", TDistortionType::Formula, TDistortionType::Formula,
       [](TVxCameraDistortion* d) { d->a2 = 1e-6; }},
      {"formula with k4", TDistortionType::Formula, TDistortionType::Mixed,
       [](TVxCameraDistortion* d) { d->k4 = 1e-22; }},
      {"formula with p4", TDistortionType::Formula, TDistortionType::Mixed,
       [](TVxCameraDistortion* d) { d->p4 = 1e-9; }},
      {"mixed with b1", TDistortionType::Mixed, TDistortionType::Formula,
       [](TVxCameraDistortion* d) { d->mixed.b[0] = 1e-6; }},
      {"mixed with a3", TDistortionType::Mixed, TDistortionType::Formula,
       [](TVxCameraDistortion* d) { d->mixed.a[2] = 1e-6; }},
      {"mixed with c7", TDistortionType::Mixed, TDistortionType::Formula,
       [](TVxCameraDistortion* d) { d->mixed.c[6] = 1e-6; }},
      {"mixed off its symmetry point", TDistortionType::Mixed, TDistortionType::Mixed,
       [](TVxCameraDistortion* d) { d->symmetryPoint.x += 1e-3; }},
      {"formula in the other sense", TDistortionType::Formula, TDistortionType::Mixed,
       [](TVxCameraDistortion* d) { d->direction = TDirection::MmToCam; }},
  };
  for (const TCase& c : cases) {
    SCOPED_TRACE(c.what);
    TVxCameraInfo camera = FormulaCamera();
    camera.distortion.mixed.K[0] = 4.0e-8;
    camera.distortion.type = c.source;
    c.change(&camera.distortion);
    TVxCameraDistortion result;
    double deviation = kUntouched;
    ASSERT_TRUE(ApproxCameraDistortion(c.target, &result, camera, 60.0, &deviation));
    const bool formula = c.target == TDistortionType::Formula;
    const double c1 = formula ? result.k1 : result.mixed.K[0];
    EXPECT_TRUE(result == FitRecord(c.target, camera.principalPoint, c1,
                                    formula ? result.k2 : result.mixed.K[1],
                                    formula ? result.k3 : result.mixed.K[2]));
    EXPECT_GT(std::abs(c1), 1e-9);  // the fit found the source's k1 of 4e-8 (or its inverse)
    EXPECT_GT(deviation, 0.0);
  }
}

TEST(ApproxDistortion, MmToCamIsFittedToCoefficientsOfTheCamToMmSense) {
  TVxCameraInfo camera = FormulaCamera();
  camera.distortion.direction = TDirection::MmToCam;
  for (const TDistortionType type : {TDistortionType::Formula, TDistortionType::Mixed}) {
    SCOPED_TRACE(static_cast<int>(type));
    TVxCameraDistortion result;
    double deviation = kUntouched;
    ASSERT_TRUE(ApproxCameraDistortion(type, &result, camera, 0.0, &deviation));
    const bool formula = type == TDistortionType::Formula;
    const double c1 = formula ? result.k1 : result.mixed.K[0];
    const double c2 = formula ? result.k2 : result.mixed.K[1];
    const double c3 = formula ? result.k3 : result.mixed.K[2];
    EXPECT_NE(c1, 0.0);
    EXPECT_NE(c2, 0.0);
    EXPECT_NE(c3, 0.0);
    EXPECT_TRUE(result == FitRecord(type, camera.principalPoint, c1, c2, c3));
    EXPECT_EQ(result.direction, TDirection::CamToMm);
  }
}

TEST(ApproxDistortion, MmToCamRadialFormulaIsFittedToItsInverse) {
  // A purely radial model in the other sense: the correction at radius r is s - r where
  // s + k1 s^3 + k2 s^5 = r, solved here by Newton on the scalar equation.
  constexpr double k1 = 4.0e-8, k2 = -2.6e-12;
  TVxCameraInfo camera;
  camera.focus = kFocus;
  camera.distortion.type = TDistortionType::Formula;
  camera.distortion.direction = TDirection::MmToCam;
  camera.distortion.k1 = k1;
  camera.distortion.k2 = k2;
  const double radius = camera.focus * 0.5;  // maxRadius 0
  TVxCameraDistortion result;
  double deviation = kUntouched;
  ASSERT_TRUE(ApproxCameraDistortion(TDistortionType::Formula, &result, camera, 0.0, &deviation));

  double largest = 0.0;
  for (int i = 0; i <= 100; ++i) {
    const double r = i * radius / 100.0;
    double s = r;
    for (int n = 0; n < 50; ++n) {
      const double f = s + k1 * s * s * s + k2 * std::pow(s, 5) - r;
      s -= f / (1.0 + 3.0 * k1 * s * s + 5.0 * k2 * std::pow(s, 4));
    }
    largest =
        std::max(largest, std::abs(RadialPolynomial(result.k1, result.k2, result.k3, r) - (s - r)));
  }
  // The inverse of an odd series is an odd series; three of its terms leave less than 1 nm
  // over half the focal length for a correction of 15 um there.
  EXPECT_LT(largest, 1e-6);
  // The model's inverse converges to 1e-10 mm: the deviation is the same curve's, to that.
  EXPECT_NEAR(deviation, largest, 1e-10);
}

// --- the fit radius ------------------------------------------------------------------------

// The fit of the camera's own transform over `radius`, through the first overload.
bool FitOfOwnTransform(const TVxCameraInfo& camera, TDistortionType type, double radius,
                       TVxCameraDistortion* result, double* deviation) {
  const TransformHandle source = CreateCameraDistortionTransform(
      camera.distortion, camera.distortion.symmetryPoint - camera.principalPoint, camera.focus);
  return ApproxCameraDistortion(*source, type, result, camera, radius, deviation);
}

TEST(ApproxDistortion, FormulaAndMixedAreFittedOverHalfTheFocalLengthUpToTheFocalLength) {
  TVxCameraInfo camera = FormulaCamera();
  camera.distortion.a1 = 1e-6;  // not exactly convertible
  const double focus = camera.focus;
  struct TCase {
    double maxRadius;
    double radius;
  };
  for (const TCase c : {TCase{0.0, focus * 0.5}, TCase{-3.0, focus * 0.5}, TCase{40.0, 40.0},
                        TCase{focus, focus}, TCase{400.0, focus}}) {
    SCOPED_TRACE(c.maxRadius);
    TVxCameraDistortion viaCamera;
    TVxCameraDistortion viaTransform;
    double deviationViaCamera = kUntouched;
    double deviationViaTransform = kUntouched;
    ASSERT_TRUE(ApproxCameraDistortion(TDistortionType::Formula, &viaCamera, camera, c.maxRadius,
                                       &deviationViaCamera));
    ASSERT_TRUE(FitOfOwnTransform(camera, TDistortionType::Formula, c.radius, &viaTransform,
                                  &deviationViaTransform));
    EXPECT_EQ(vx_test::RecordBytes(viaCamera), vx_test::RecordBytes(viaTransform));
    EXPECT_EQ(deviationViaCamera, deviationViaTransform);
    // Another radius gives another fit: the comparison can tell radii apart.
    ASSERT_TRUE(FitOfOwnTransform(camera, TDistortionType::Formula, c.radius * 0.9, &viaTransform,
                                  nullptr));
    EXPECT_NE(viaCamera.k1, viaTransform.k1);
  }
}

TEST(ApproxDistortion, ARadialTableEndingAt40IsFittedOver40WhateverMaxRadiusSays) {
  const TVxCameraInfo camera =
      RadialCamera({{10.0, -0.002}, {20.0, -0.003}, {30.0, 0.001}, {40.0, 0.004}});
  TVxCameraDistortion expected;
  double expectedDeviation = kUntouched;
  ASSERT_TRUE(
      FitOfOwnTransform(camera, TDistortionType::Mixed, 40.0, &expected, &expectedDeviation));
  for (const double maxRadius : {0.0, -1.0, 10.0, 40.0, 150.0}) {
    SCOPED_TRACE(maxRadius);
    TVxCameraDistortion result;
    double deviation = kUntouched;
    ASSERT_TRUE(
        ApproxCameraDistortion(TDistortionType::Mixed, &result, camera, maxRadius, &deviation));
    EXPECT_EQ(vx_test::RecordBytes(result), vx_test::RecordBytes(expected));
    EXPECT_EQ(deviation, expectedDeviation);
  }
  // The radii themselves: 0.4, 0.8, ..., 40.
  TRecordingTransform recorder(0.0);
  TVxCameraDistortion result;
  ASSERT_TRUE(
      ApproxCameraDistortion(recorder, TDistortionType::Mixed, &result, camera, 40.0, nullptr));
  for (std::size_t i = 0; i < 100; ++i) {
    EXPECT_NEAR(recorder.seen[16 * i].x, 0.4 * static_cast<double>(i + 1), 1e-13) << i;
  }
}

TEST(ApproxDistortion, DirectedTablesAreFittedOverTheirLastRow) {
  TVxCameraInfo camera = RadialCamera({});
  camera.distortion.table4Plus = {Row4(20.0, 0.001, 0.002, 0.001, 0.002),
                                  Row4(30.0, 0.003, 0.002, 0.003, 0.002)};
  camera.distortion.table4X = {Row4(25.0, 0.002, 0.002, 0.002, 0.002),
                               Row4(50.0, 0.004, 0.003, 0.004, 0.003)};
  struct TCase {
    TDistortionType type;
    double radius;
  };
  for (const TCase c :
       {TCase{TDistortionType::Directed4Plus, 30.0}, TCase{TDistortionType::Directed4X, 50.0},
        TCase{TDistortionType::Directed8, 50.0}}) {
    SCOPED_TRACE(static_cast<int>(c.type));
    camera.distortion.type = c.type;
    TVxCameraDistortion expected;
    TVxCameraDistortion result;
    ASSERT_TRUE(FitOfOwnTransform(camera, TDistortionType::Formula, c.radius, &expected, nullptr));
    ASSERT_TRUE(ApproxCameraDistortion(TDistortionType::Formula, &result, camera, 7.0, nullptr));
    EXPECT_EQ(vx_test::RecordBytes(result), vx_test::RecordBytes(expected));
  }
}

TEST(ApproxDistortion, ACameraOffItsSymmetryPointIsFittedAroundThePrincipalPoint) {
  // The table's centre lies 2 mm from the principal point; the fit samples around the principal
  // point, so the radial model of the result is centred there.
  TVxCameraInfo camera =
      RadialCamera({{10.0, -0.002}, {20.0, -0.003}, {30.0, 0.001}, {40.0, 0.004}});
  camera.distortion.symmetryPoint = camera.principalPoint + TPoint{2.0, 0.0};
  TVxCameraDistortion result;
  TVxCameraDistortion expected;
  ASSERT_TRUE(ApproxCameraDistortion(TDistortionType::Formula, &result, camera, 0.0, nullptr));
  ASSERT_TRUE(FitOfOwnTransform(camera, TDistortionType::Formula, 40.0, &expected, nullptr));
  EXPECT_EQ(vx_test::RecordBytes(result), vx_test::RecordBytes(expected));
  EXPECT_EQ(result.symmetryPoint, camera.principalPoint);
}

// --- a table sampled from a formula, fitted back ---------------------------------------------

TEST(ApproxDistortion, ATwentyRowTableOfAFormulaIsFittedBackToItsCoefficients) {
  // The formula camera's correction along +x at 20 radii up to 150 mm becomes a radial table;
  // its natural spline differs from the formula by the interpolation error eps, mostly near the
  // last row where the spline's curvature is forced to zero. The fit is a least-squares
  // projection: its curve stays within eps of the formula, and each coefficient's share of the
  // displacement at the rim within 5 eps (r^3, r^5, r^7 are far from orthogonal on [0, R]: the
  // projection spreads an error of eps over the three shares by up to about 4 times).
  constexpr double kRim = 150.0;
  constexpr int kRows = 20;
  TVxCameraInfo formulaCamera;
  formulaCamera.focus = kFocus;
  formulaCamera.principalPoint = {0.004, -0.011};
  TVxCameraDistortion& f = formulaCamera.distortion;
  f.type = TDistortionType::Formula;
  f.symmetryPoint = formulaCamera.principalPoint;
  f.k1 = 4.0e-8;
  f.k2 = -2.6e-12;
  f.k3 = 1.0e-17;

  const TransformHandle camToMm = CreateCamToMmTransform(formulaCamera);
  TVxCameraInfo tableCamera = formulaCamera;
  tableCamera.distortion.type = TDistortionType::Radial;
  std::vector<std::pair<double, double>> rows;
  for (int i = 1; i <= kRows; ++i) {
    const double r = kRim * i / kRows;
    const TPoint q = camToMm->TransformPoint(formulaCamera.principalPoint + TPoint{r, 0.0});
    tableCamera.distortion.tableR.push_back({r, q.x - r});
    rows.emplace_back(r, q.x - r);
  }
  const TNaturalSplineProfile spline(rows);
  const auto formula = [&](double r) { return RadialPolynomial(f.k1, f.k2, f.k3, r); };
  double eps = 0.0;
  for (int i = 0; i <= 1500; ++i) {
    const double r = kRim * i / 1500.0;
    eps = std::max(eps, std::abs(spline(r) - formula(r)));
  }
  ASSERT_GT(eps, 1e-5);  // 0.3 um for these coefficients
  ASSERT_LT(eps, 1e-3);

  TVxCameraDistortion fitted;
  double deviation = kUntouched;
  ASSERT_TRUE(
      ApproxCameraDistortion(TDistortionType::Formula, &fitted, tableCamera, 0.0, &deviation));
  EXPECT_NEAR(fitted.k1 * std::pow(kRim, 3), f.k1 * std::pow(kRim, 3), 5.0 * eps);
  EXPECT_NEAR(fitted.k2 * std::pow(kRim, 5), f.k2 * std::pow(kRim, 5), 5.0 * eps);
  EXPECT_NEAR(fitted.k3 * std::pow(kRim, 7), f.k3 * std::pow(kRim, 7), 5.0 * eps);
  double curve = 0.0;
  for (int i = 0; i <= 1500; ++i) {
    const double r = kRim * i / 1500.0;
    curve = std::max(curve,
                     std::abs(RadialPolynomial(fitted.k1, fitted.k2, fitted.k3, r) - formula(r)));
  }
  EXPECT_LE(curve, eps);

  // The reported deviation, found again on the same 101 x 16 grid from the fitted polynomial and
  // the spline computed here: both models are radial about the principal point, so the distance
  // of the two images is the difference of the two radial corrections.
  double largest = 0.0;
  for (int i = 0; i <= 100; ++i) {
    const double r = i * kRim / 100.0;
    largest = std::max(largest,
                       std::abs(RadialPolynomial(fitted.k1, fitted.k2, fitted.k3, r) - spline(r)));
  }
  EXPECT_NEAR(deviation, largest, kFitRounding);
}

}  // namespace
