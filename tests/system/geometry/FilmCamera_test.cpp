// The Wild RC10 2337 of USGS report OSL/3036 (examples/cameras): its camera-to-millimetre
// transform at the fiducial marks and at the report's field angles, and its radial table fitted
// to the formula model, against numbers computed here and numbers the report publishes.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

#include "CameraMathTestSupport.h"
#include "VxCameraMath.h"
#include "VxGeometry.h"

namespace {

using vx_test::ExampleCamera;
using vx_test::TNaturalSplineProfile;
using TPoint = vec_t_<double, 2>;

// Closed forms and the spline are evaluated here in double: a few units in the last place of
// coordinates around 150 mm.
constexpr double kRounding = 1e-12;
// The report tabulates its distortion in whole micrometres: +-0.5 um.
constexpr double kTableRounding = 0.5e-3;
// The report's polynomial and its table agree to 0.41 um at the tabulated radii, and the table's
// spline follows the polynomial between them to 0.82 um (usgs_osl3036_wild_rc10.yaml and a
// computation on a 0.13 mm grid): two descriptions of one lens agree to 1.5 um over the field.
constexpr double kSameLens = 1.5e-3;

// The report's SMAC coefficients, in mm; they describe the correction (see the example file).
constexpr double kK0 = -0.3408e-3, kK1 = 0.5753e-7, kK2 = -0.1943e-11;
constexpr double kP1 = 0.1175e-7, kP2 = -0.2375e-6;
// The report's field angles 7.5 .. 40 degrees on the 153.228 mm focal length, the distortion it
// lists there, and its polynomial there as computed in usgs_osl3036_wild_rc10.yaml (um).
constexpr double kFieldRadii[] = {20.173, 41.057, 64.097, 88.466, 107.291, 128.574};
constexpr double kReportDistortionUm[] = {6, 10, 9, 1, -7, -10};
constexpr double kReportPolynomialUm[] = {-6.41, -10.24, -8.80, -0.85, 6.86, 10.19};
constexpr double kLastRadius = 128.574;

double ReportPolynomial(double r) {
  return r * (kK0 + r * r * (kK1 + r * r * kK2));
}

// The report's table as corrections, the radial profile of the radial camera computed here.
TNaturalSplineProfile ReportTable() {
  std::vector<std::pair<double, double>> rows;
  for (int i = 0; i < 6; ++i) rows.emplace_back(kFieldRadii[i], -kReportDistortionUm[i] * 1e-3);
  return TNaturalSplineProfile(rows);
}

double RadialPolynomial(const TVxCameraDistortion& d, double r) {
  return r * r * r * (d.k1 + r * r * (d.k2 + r * r * d.k3));
}

TEST(FilmCamera, FiducialMarksAreShiftedToThePrincipalPointAndCorrectedByTheTable) {
  const TVxCameraInfo camera = ExampleCamera("rc10_radial.yaml");
  ASSERT_EQ(camera.fiducials.size(), 4u);
  ASSERT_EQ(camera.principalPoint, (TPoint{0.0, 0.007}));
  ASSERT_EQ(camera.distortion.symmetryPoint, camera.principalPoint);
  const TNaturalSplineProfile table = ReportTable();
  const TransformHandle camToMm = CreateCamToMmTransform(camera);
  TVxCameraInfo undistorted = camera;
  undistorted.distortion.type = TDistortionType::None;
  const TransformHandle shiftOnly = CreateCamToMmTransform(undistorted);

  for (const TVxCameraInfo::TFiducial& mark : camera.fiducials) {
    SCOPED_TRACE(mark.index);
    const TPoint shifted = mark.coordsCam - TPoint{0.0, 0.007};
    EXPECT_EQ(shiftOnly->TransformPoint(mark.coordsCam), shifted);

    // The marks lie at 149.9 mm, at a field angle of 44 degrees, beyond the report's last one
    // (40 degrees, 128.574 mm): the table continues as the straight line of its end slope and
    // corrects them outwards by 11.26 um.
    const double r = shifted.Length();
    EXPECT_NEAR(r, 149.91, 0.02);
    const double dr = table(r);
    EXPECT_NEAR(dr, 11.26e-3, 0.01e-3);
    const TPoint expected = shifted + shifted * (dr / r);
    const TPoint got = camToMm->TransformPoint(mark.coordsCam);
    EXPECT_NEAR(got.x, expected.x, kRounding);
    EXPECT_NEAR(got.y, expected.y, kRounding);
  }
}

TEST(FilmCamera, FiducialMarksOfThePolynomialCameraFollowTheReportsCoefficients) {
  const TVxCameraInfo camera = ExampleCamera("rc10_polynomial.yaml");
  ASSERT_EQ(camera.fiducials.size(), 4u);
  const TransformHandle camToMm = CreateCamToMmTransform(camera);
  for (const TVxCameraInfo::TFiducial& mark : camera.fiducials) {
    SCOPED_TRACE(mark.index);
    const TPoint q = mark.coordsCam - camera.principalPoint;
    const double r2 = q.Length2();
    const double radial = ReportPolynomial(std::sqrt(r2)) / std::sqrt(r2);
    const TPoint expected{
        q.x + q.x * radial + kP1 * (r2 + 2.0 * q.x * q.x) + 2.0 * kP2 * q.x * q.y,
        q.y + q.y * radial + kP2 * (r2 + 2.0 * q.y * q.y) + 2.0 * kP1 * q.x * q.y};
    const TPoint got = camToMm->TransformPoint(mark.coordsCam);
    EXPECT_NEAR(got.x, expected.x, kRounding);
    EXPECT_NEAR(got.y, expected.y, kRounding);
    // Beyond the calibrated field the polynomial bends back: -4.4 um of radial correction where
    // the table's straight continuation gives +11.3 um.
    EXPECT_NEAR(radial * std::sqrt(r2), -4.38e-3, 0.03e-3);
  }
}

TEST(FilmCamera, AtTheReportsFieldAnglesBothCamerasGiveTheReportsNumbers) {
  const TVxCameraInfo radialCamera = ExampleCamera("rc10_radial.yaml");
  TVxCameraInfo polyCamera = ExampleCamera("rc10_polynomial.yaml");
  polyCamera.distortion.polyP[0] = polyCamera.distortion.polyP[1] = 0.0;  // the radial part
  const TransformHandle radial = CreateCamToMmTransform(radialCamera);
  const TransformHandle poly = CreateCamToMmTransform(polyCamera);
  // Along the diagonal towards mark 2, as the report's field angles are measured.
  const TPoint u = TPoint{1.0, 1.0} / std::sqrt(2.0);
  for (int i = 0; i < 6; ++i) {
    SCOPED_TRACE(kFieldRadii[i]);
    // The point at that radius from the principal point, and where the shift alone puts it.
    const TPoint p = radialCamera.principalPoint + u * kFieldRadii[i];
    const TPoint shifted = p - radialCamera.principalPoint;
    const double tableCorrection = Dot(radial->TransformPoint(p) - shifted, u);
    const double polyCorrection = Dot(poly->TransformPoint(p) - shifted, u);
    // A correction is the negated distortion that the report lists.
    EXPECT_NEAR(tableCorrection, -kReportDistortionUm[i] * 1e-3, kRounding);
    EXPECT_NEAR(polyCorrection, kReportPolynomialUm[i] * 1e-3, 0.005e-3);
    EXPECT_NEAR(tableCorrection, polyCorrection, kTableRounding);
  }
}

// The fits of the radial table and of the report's radial polynomial over the calibrated field.
struct TFits {
  TVxCameraDistortion table;
  double tableDeviation = -1.0;
  TVxCameraDistortion poly;
  double polyDeviation = -1.0;
};

TFits FitBoth() {
  TFits fits;
  const TVxCameraInfo radialCamera = ExampleCamera("rc10_radial.yaml");
  EXPECT_TRUE(ApproxCameraDistortion(TDistortionType::Formula, &fits.table, radialCamera, 0.0,
                                     &fits.tableDeviation));
  // The polynomial model is no source of the camera overload: its transform is fitted directly,
  // over the table's radius. The decentering P1, P2 is left out as the radial table leaves it.
  TVxCameraInfo polyCamera = ExampleCamera("rc10_polynomial.yaml");
  polyCamera.distortion.polyP[0] = polyCamera.distortion.polyP[1] = 0.0;
  const TransformHandle source = CreateCameraDistortionTransform(
      polyCamera.distortion, polyCamera.distortion.symmetryPoint - polyCamera.principalPoint,
      polyCamera.focus);
  EXPECT_TRUE(ApproxCameraDistortion(*source, TDistortionType::Formula, &fits.poly, polyCamera,
                                     kLastRadius, &fits.polyDeviation));
  return fits;
}

TEST(FilmCamera, TheTablesFormulaFitIsTheOneComputedOutsideTheLibrary) {
  // data/rc10_table_fit.py: its own spline, normal equations solved by Gaussian elimination.
  constexpr double kC1 = -7.790460694308717e-08, kC2 = 1.3174845758211978e-11,
                   kC3 = -5.055067862520032e-16, kDeviation = 0.006582218565941455;
  // Two double computations of the same least squares: each coefficient's share at the rim
  // (about 0.1 mm) agrees to the fit's rounding, 1e-12 mm.
  constexpr double kTwoComputations = 1e-12;
  const TFits fits = FitBoth();
  EXPECT_NEAR(fits.table.k1 * std::pow(kLastRadius, 3), kC1 * std::pow(kLastRadius, 3),
              kTwoComputations);
  EXPECT_NEAR(fits.table.k2 * std::pow(kLastRadius, 5), kC2 * std::pow(kLastRadius, 5),
              kTwoComputations);
  EXPECT_NEAR(fits.table.k3 * std::pow(kLastRadius, 7), kC3 * std::pow(kLastRadius, 7),
              kTwoComputations);
  EXPECT_NEAR(fits.tableDeviation, kDeviation, kTwoComputations);
  EXPECT_EQ(fits.table.type, TDistortionType::Formula);
  EXPECT_EQ(fits.table.symmetryPoint, (TPoint{0.0, 0.007}));
}

TEST(FilmCamera, TheTablesFormulaFitAndThePolynomialsFormulaFitDescribeOneLens) {
  const TFits fits = FitBoth();
  double largest = 0.0;
  for (int i = 0; i <= 1000; ++i) {
    const double r = kLastRadius * i / 1000.0;
    largest = std::max(largest,
                       std::abs(RadialPolynomial(fits.table, r) - RadialPolynomial(fits.poly, r)));
  }
  EXPECT_LE(largest, kSameLens);
  // Both leave about 7 um: the formula model has no K0 r term, and the report's K0 r (-43.8 um
  // at the rim, a change of scale) is only partly taken up by r^3, r^5, r^7.
  EXPECT_NEAR(fits.tableDeviation, fits.polyDeviation, 2.0 * kTableRounding);
  EXPECT_GT(fits.polyDeviation, 6.0e-3);
  EXPECT_LT(fits.polyDeviation, 8.0e-3);
}

TEST(FilmCamera, TheFormulaFitOfThePolynomialMissesOnlyItsLinearTerm) {
  // Without K0 the report's polynomial is K1 r^3 + K2 r^5: the formula model holds it exactly.
  TVxCameraInfo polyCamera = ExampleCamera("rc10_polynomial.yaml");
  polyCamera.distortion.polyK[0] = 0.0;
  polyCamera.distortion.polyP[0] = polyCamera.distortion.polyP[1] = 0.0;
  const TransformHandle source =
      CreateCameraDistortionTransform(polyCamera.distortion, {0.0, 0.0}, polyCamera.focus);
  TVxCameraDistortion fit;
  double deviation = -1.0;
  ASSERT_TRUE(ApproxCameraDistortion(*source, TDistortionType::Formula, &fit, polyCamera,
                                     kLastRadius, &deviation));
  // Rounding of a fit of displacements up to 0.1 mm (see the fit's own tests).
  constexpr double kFitRounding = 1e-12;
  EXPECT_NEAR(fit.k1 * std::pow(kLastRadius, 3), kK1 * std::pow(kLastRadius, 3), kFitRounding);
  EXPECT_NEAR(fit.k2 * std::pow(kLastRadius, 5), kK2 * std::pow(kLastRadius, 5), kFitRounding);
  EXPECT_NEAR(fit.k3 * std::pow(kLastRadius, 7), 0.0, kFitRounding);
  EXPECT_LE(deviation, kFitRounding);

  // And the fit of the whole polynomial is that plus the fit of K0 r alone: its deviation is
  // the misfit of the linear term, the same with and without K1, K2.
  polyCamera.distortion.polyK[0] = kK0;
  polyCamera.distortion.polyK[1] = polyCamera.distortion.polyK[2] = 0.0;
  const TransformHandle linear =
      CreateCameraDistortionTransform(polyCamera.distortion, {0.0, 0.0}, polyCamera.focus);
  double linearDeviation = -1.0;
  ASSERT_TRUE(ApproxCameraDistortion(*linear, TDistortionType::Formula, &fit, polyCamera,
                                     kLastRadius, &linearDeviation));
  EXPECT_NEAR(linearDeviation, FitBoth().polyDeviation, kFitRounding);
}

TEST(FilmCamera, TheTableFitsReportedDeviationIsFoundAgainFromTheTable) {
  // Both models are radial about the principal point, so on the 101 x 16 grid the distance of
  // the two images is the difference of the radial corrections: the fitted polynomial against
  // the table's spline as computed here.
  const TFits fits = FitBoth();
  const TNaturalSplineProfile table = ReportTable();
  double largest = 0.0;
  for (int i = 0; i <= 100; ++i) {
    const double r = i * kLastRadius / 100.0;
    largest = std::max(largest, std::abs(RadialPolynomial(fits.table, r) - table(r)));
  }
  EXPECT_NEAR(fits.tableDeviation, largest, kRounding);
  // Against the report's polynomial the fit is no farther than the polynomial's own fit is,
  // give or take the table's rounding.
  double fromReport = 0.0;
  for (int i = 0; i <= 1000; ++i) {
    const double r = kLastRadius * i / 1000.0;
    fromReport =
        std::max(fromReport, std::abs(RadialPolynomial(fits.table, r) - ReportPolynomial(r)));
  }
  EXPECT_LE(fromReport, fits.polyDeviation + 2.0 * kTableRounding);
}

}  // namespace
