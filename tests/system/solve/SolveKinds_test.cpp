// SolveIntOr for the kinds without fiducials: the principal point with the scan resolution in
// mm and dpi, the cross and the calibrated cross, and the digital sensor; every quarter turn.

#include <gtest/gtest.h>

#include <string>
#include <tuple>

#include "SolveTestSupport.h"
#include "VxIntOrSolve.h"

namespace {

using namespace solve_test;

TCamRotate Quarter(int degrees) {
  return static_cast<TCamRotate>(degrees / 90 + 1);
}

// ---- Principal point -------------------------------------------------------------------------

// (quarter turn, resolution in dpi rather than mm)
class PrincipalPointScan : public ::testing::TestWithParam<std::tuple<int, bool>> {};

TEST_P(PrincipalPointScan, MapsTheMarkOntoThePrincipalPointAtTheScanResolution) {
  // Plain variables, not structured bindings: the lambdas below capture them.
  const int quarter = std::get<0>(GetParam());
  const bool dpi = std::get<1>(GetParam());
  TVxCameraInfo camera;
  camera.cameraType = TCameraType::PrincipalPoint;
  camera.principalPoint = {0.012, -0.007};
  TVxIntOrMeas meas;
  meas.cameraType = TCameraType::PrincipalPoint;
  meas.rotation = Quarter(quarter);
  meas.marks = {{1, {9628.1, 9615.24}, {}}};
  // 2032 dpi is 12.5 micrometres; 1016 dpi is 25 micrometres.
  meas.resolutionUnits = dpi ? TResolutionUnits::Dpi : TResolutionUnits::Mm;
  meas.scanResolution = dpi ? TPoint{2032.0, 1016.0} : TPoint{0.0125, 0.025};

  TVxIntOrSolution solution;
  ASSERT_TRUE(SolveIntOr(meas, camera, &solution, nullptr));
  TTerms terms;
  terms.scaleXUm = 12.5;
  terms.scaleYUm = 25.0;
  terms.rotationDeg = quarter == 270 ? -90.0 : quarter;
  const TPoint mark = meas.marks[0].coordsPix;
  const TPoint pp = camera.principalPoint;
  // Independent closed forms of pixel -> camera for each quarter turn: (dx, dy) pixel offsets
  // from the mark, sx, sy the scan resolution in mm; dy counts rows downwards.
  auto byHand = [&](const TPoint& p) -> TPoint {
    const double dx = (p.x - mark.x) * 0.0125, dy = (p.y - mark.y) * 0.025;
    switch (quarter) {
      case 0:
        return {pp.x + dx, pp.y - dy};
      case 90:  // the camera's +x points up the image
        return {pp.x - dy, pp.y - dx};
      case 180:
        return {pp.x - dx, pp.y + dy};
      default:  // 270
        return {pp.x + dy, pp.y + dx};
    }
  };
  EXPECT_NEAR(solution.scaleXUm, terms.scaleXUm, kExact);
  EXPECT_NEAR(solution.scaleYUm, terms.scaleYUm, kExact);
  EXPECT_NEAR(std::remainder(solution.rotationDeg - terms.rotationDeg, 360.0), 0.0, kExact);
  EXPECT_NEAR(solution.shearDeg, 0.0, kExact);
  EXPECT_FALSE(solution.mirrored);
  EXPECT_EQ(solution.fittedRotation, meas.rotation);
  for (const TPoint p : {mark, TPoint{0.0, 0.0}, TPoint{19199.0, 0.0}, TPoint{300.0, 18000.0}}) {
    const TPoint cam = solution.pixToCam->TransformPoint(p);
    EXPECT_NEAR(cam.x, byHand(p).x, kExact * 1e-3);  // 1e-12 mm: rounding of 240 mm
    EXPECT_NEAR(cam.y, byHand(p).y, kExact * 1e-3);
  }
  const TPoint origin = solution.camToPix->TransformPoint({0.0, 0.0});
  EXPECT_NEAR(origin.x, solution.originPix.x, kExact);
  EXPECT_NEAR(byHand(origin).x, 0.0, kExact * 1e-3);
  EXPECT_NEAR(byHand(origin).y, 0.0, kExact * 1e-3);
  ASSERT_EQ(solution.residuals.size(), 1u);
  EXPECT_LT(solution.residuals[0].lengthPix, kExact);
  EXPECT_EQ(solution.redundancy, 0);
  EXPECT_TRUE(solution.warnings.empty());
  // Residuals are kept in the record for fiducials only.
  WriteResiduals(solution, &meas);
  EXPECT_EQ(meas.marks[0].residualsPix, TPoint(0.0, 0.0));
}

INSTANTIATE_TEST_SUITE_P(EveryQuarterInMmAndDpi, PrincipalPointScan,
                         ::testing::Combine(::testing::Values(0, 90, 180, 270), ::testing::Bool()));

// ---- Crosses ---------------------------------------------------------------------------------

// The four arm ends of a cross of half lengths ax, ay in the camera system: 1 at -x, 2 at +x,
// 3 at +y, 4 at -y.
std::array<TPoint, 4> CrossEnds(double ax, double ay) {
  return {TPoint{-ax, 0.0}, TPoint{ax, 0.0}, TPoint{0.0, ay}, TPoint{0.0, -ay}};
}

TVxIntOrMeas CrossScan(TCameraType type, const TMatrix& camToPix, double ax, double ay) {
  TVxIntOrMeas meas;
  meas.cameraType = type;
  const auto ends = CrossEnds(ax, ay);
  // Listed out of order on purpose: marks are known by index, not position.
  for (int index : {3, 1, 4, 2}) {
    meas.marks.push_back({index, Apply(camToPix, ends[static_cast<std::size_t>(index - 1)]), {}});
  }
  return meas;
}

// (quarter turn, mirrored, calibrated, dpi)
class CrossScanCase : public ::testing::TestWithParam<std::tuple<int, bool, bool, bool>> {};

TEST_P(CrossScanCase, IsRecoveredToTheLastDigits) {
  const auto [quarter, mirrored, calibrated, dpi] = GetParam();
  TVxCameraInfo camera;
  camera.cameraType = calibrated ? TCameraType::CalibratedCross : TCameraType::Cross;
  camera.lengthX = 212.01;
  camera.lengthY = 211.99;
  TTerms terms;
  terms.rotationDeg = quarter + 0.25;
  if (terms.rotationDeg > 180.0) terms.rotationDeg -= 360.0;
  terms.mirrored = mirrored;
  terms.originPix = {9611.5, 9590.25};
  // A cross scanned at the resolution of the record; a calibrated cross at 12.5 micrometres.
  TVxIntOrMeas meas = CrossScan(camera.cameraType, Inverse(PixToCam(terms)),
                                calibrated ? 106.005 : 110.0, calibrated ? 105.995 : 109.0);
  meas.rotation = Quarter(quarter);
  meas.resolutionUnits = dpi ? TResolutionUnits::Dpi : TResolutionUnits::Mm;
  meas.scanResolution = dpi ? TPoint{2032.0, 2032.0} : TPoint{0.0125, 0.0125};

  TVxIntOrSolution solution;
  ASSERT_TRUE(SolveIntOr(meas, camera, &solution, nullptr));
  ExpectTerms(solution, terms);
  ExpectSameMatrix(MatrixOf(solution.pixToCam), PixToCam(terms), {19000.0, 19000.0});
  ASSERT_EQ(solution.residuals.size(), 4u);
  for (const auto& r : solution.residuals) EXPECT_LT(r.lengthPix, kExact);
  EXPECT_EQ(solution.residuals[0].index, 3);
  EXPECT_EQ(solution.redundancy, 3);
  EXPECT_EQ(solution.fittedRotation, meas.rotation);
  if (mirrored) {
    ASSERT_EQ(solution.warnings.size(), 1u);
    EXPECT_EQ(solution.warnings[0].key, "global.Warn_IntOrMirrored");
  } else {
    EXPECT_TRUE(solution.warnings.empty());
  }
}

INSTANTIATE_TEST_SUITE_P(EveryQuarterMirrorAndKind, CrossScanCase,
                         ::testing::Combine(::testing::Values(0, 90, 180, 270), ::testing::Bool(),
                                            ::testing::Bool(), ::testing::Bool()));

TEST(SolveCross, ScaleAlongEachPixelAxisComesFromTheResolution) {
  TVxCameraInfo camera;
  camera.cameraType = TCameraType::Cross;
  TTerms terms;
  terms.scaleXUm = 12.5;
  terms.scaleYUm = 25.0;
  terms.rotationDeg = 90.0;
  TVxIntOrMeas meas = CrossScan(TCameraType::Cross, Inverse(PixToCam(terms)), 110.0, 110.0);
  meas.scanResolution = {0.0125, 0.025};
  TVxIntOrSolution solution;
  ASSERT_TRUE(SolveIntOr(meas, camera, &solution, nullptr));
  ExpectTerms(solution, terms);
}

TEST(SolveCalibratedCross, ScaleAlongEachCameraAxisComesFromTheLengths) {
  // 212 mm along x measured over 16960 px, 211.99 mm along y over 8480 px, image turned by 90:
  // the camera's x runs up the image, so the pixel y axis carries 12.5 and x 25 micrometres.
  TVxCameraInfo camera;
  camera.cameraType = TCameraType::CalibratedCross;
  camera.lengthX = 212.0;
  camera.lengthY = 211.99;
  TVxIntOrMeas meas;
  meas.cameraType = TCameraType::CalibratedCross;
  const TPoint c{5000.0, 9000.0};
  meas.marks = {{1, {c.x, c.y + 8480.0}, {}},
                {2, {c.x, c.y - 8480.0}, {}},
                {3, {c.x - 4239.8, c.y}, {}},
                {4, {c.x + 4239.8, c.y}, {}}};
  TVxIntOrSolution solution;
  ASSERT_TRUE(SolveIntOr(meas, camera, &solution, nullptr));
  EXPECT_NEAR(solution.scaleXUm, 211.99 / 8479.6 * 1000.0, kExact);
  EXPECT_NEAR(solution.scaleYUm, 212.0 / 16960.0 * 1000.0, kExact);
  EXPECT_NEAR(solution.rotationDeg, 90.0, kExact);
  EXPECT_NEAR(solution.originPix.x, c.x, kExact);
  EXPECT_NEAR(solution.originPix.y, c.y, kExact);
}

TEST(SolveCross, ArmsNotAtRightAnglesLeaveResidualsAcrossTheArms) {
  // The +y end pushed 2 px to the right: the arms close by about 0.0135 degrees; the x and y
  // axes are each turned half of that, and the ends of the y arm leave equal and opposite
  // residuals across the arm, those of the x arm too.
  TVxCameraInfo camera;
  camera.cameraType = TCameraType::Cross;
  TVxIntOrMeas meas = CrossScan(TCameraType::Cross, Inverse(PixToCam(TTerms())), 110.0, 110.0);
  meas.scanResolution = {0.0125, 0.0125};
  for (auto& m : meas.marks) {
    if (m.index == 3) m.coordsPix.x += 2.0;
  }
  TVxIntOrSolution solution;
  ASSERT_TRUE(SolveIntOr(meas, camera, &solution, nullptr));
  EXPECT_GT(solution.rmsPix, 0.1);
  EXPECT_EQ(solution.redundancy, 3);
  double sumX = 0.0, sumY = 0.0;
  for (const auto& r : solution.residuals) {
    sumX += r.residualPix.x;
    sumY += r.residualPix.y;
  }
  // The centre is the mean of the ends: the residuals sum to zero.
  EXPECT_NEAR(sumX, 0.0, kExact);
  EXPECT_NEAR(sumY, 0.0, kExact);
}

TEST(SolveCross, NoisyEndsAgreeWithTheClosedFormWorkedHere) {
  // Ends measured with a few tenths of a pixel of error, at rotation 90 and a 2 mrad tilt; the
  // closed form is written out here from its description: ends to millimetres with y up, the
  // bisector of the arms, the mean of the ends as the centre.
  TVxCameraInfo camera;
  camera.cameraType = TCameraType::Cross;
  TTerms terms;
  terms.rotationDeg = 90.1146;
  TVxIntOrMeas meas = CrossScan(TCameraType::Cross, Inverse(PixToCam(terms)), 110.0, 109.5);
  const TPoint noise[4] = {{0.21, -0.13}, {-0.08, 0.17}, {0.05, 0.24}, {-0.19, -0.06}};
  for (std::size_t i = 0; i < 4; ++i) meas.marks[i].coordsPix += noise[i];
  meas.scanResolution = {0.0125, 0.0125};
  meas.rotation = TCamRotate::Rotate90;
  TVxIntOrSolution solution;
  ASSERT_TRUE(SolveIntOr(meas, camera, &solution, nullptr));

  TPoint end[4], mean;
  for (const auto& m : meas.marks) {
    end[m.index - 1] = {m.coordsPix.x * 0.0125, -m.coordsPix.y * 0.0125};
    mean += end[m.index - 1] / 4.0;
  }
  const TPoint u = end[1] - end[0], v = end[2] - end[3];
  const double ax = std::atan2(u.y, u.x), ay = std::atan2(v.y, v.x) - kPi / 2.0;
  const double r = ax + std::remainder(ay - ax, 2.0 * kPi) / 2.0;
  auto byHand = [&](const TPoint& p) {
    const TPoint d = TPoint{p.x * 0.0125, -p.y * 0.0125} - mean;
    return TPoint{std::cos(r) * d.x + std::sin(r) * d.y, -std::sin(r) * d.x + std::cos(r) * d.y};
  };
  EXPECT_NEAR(solution.rotationDeg, r / kRad, kExact);
  for (const auto& m : meas.marks) {
    const TPoint cam = solution.pixToCam->TransformPoint(m.coordsPix);
    EXPECT_NEAR(cam.x, byHand(m.coordsPix).x, kExact * 1e-3);  // 1e-12 mm: rounding of 110 mm
    EXPECT_NEAR(cam.y, byHand(m.coordsPix).y, kExact * 1e-3);
  }
  // Residuals against the ideal ends at half the measured arm lengths.
  const double hx = u.Length() / 2.0, hy = v.Length() / 2.0;
  const TPoint ideal[4] = {{-hx, 0.0}, {hx, 0.0}, {0.0, hy}, {0.0, -hy}};
  for (const auto& res : solution.residuals) {
    const TPoint expected = (ideal[res.index - 1] - byHand(res.coordsPix)) * 1000.0;
    EXPECT_NEAR(res.residualUm.x, expected.x, kExact);
    EXPECT_NEAR(res.residualUm.y, expected.y, kExact);
  }
  EXPECT_GT(solution.rmsUm, 0.5);  // the noise shows
}

// ---- Digital ---------------------------------------------------------------------------------

// (quarter turn, origin)
class DigitalImage
    : public ::testing::TestWithParam<std::tuple<int, TVxCameraInfo::TDigitalCameraOrigin>> {};

TEST_P(DigitalImage, MapsEveryPixelOntoItsSensorPosition) {
  const int quarter = std::get<0>(GetParam());
  const TVxCameraInfo::TDigitalCameraOrigin origin = std::get<1>(GetParam());
  TVxCameraInfo camera;
  camera.cameraType = TCameraType::Digital;
  camera.pixelSize = {0.012, 0.009};
  camera.sensorDims = {7680, 13824};
  camera.digitalCameraOrigin = origin;
  TVxIntOrMeas meas;
  meas.cameraType = TCameraType::Digital;
  meas.rotation = Quarter(quarter);
  TVxIntOrSolution solution;
  ASSERT_TRUE(SolveIntOr(meas, camera, &solution, nullptr));

  const double w = 7680.0, h = 13824.0;
  // The sensor pixel (column, row) that an image pixel shows, turning the image back.
  auto sensorPixel = [&](const TPoint& p) -> TPoint {
    switch (quarter) {
      case 0:
        return p;
      case 90:  // the sensor's top-right pixel is the image's top-left
        return {w - 1.0 - p.y, p.x};
      case 180:
        return {w - 1.0 - p.x, h - 1.0 - p.y};
      default:  // 270
        return {p.y, h - 1.0 - p.x};
    }
  };
  auto camOfSensor = [&](const TPoint& s) -> TPoint {
    switch (origin) {
      case TVxCameraInfo::TDigitalCameraOrigin::LowerLeft:
        return {(s.x + 0.5) * 0.012, (h - 0.5 - s.y) * 0.009};
      case TVxCameraInfo::TDigitalCameraOrigin::UpperLeft:
        return {(s.x + 0.5) * 0.012, -(s.y + 0.5) * 0.009};
      default:
        return {(s.x - (w - 1.0) / 2.0) * 0.012, -(s.y - (h - 1.0) / 2.0) * 0.009};
    }
  };
  const bool turned = quarter == 90 || quarter == 270;
  const double imageW = turned ? h : w, imageH = turned ? w : h;
  for (const TPoint p : {TPoint{0, 0}, TPoint{imageW - 1, 0}, TPoint{0, imageH - 1},
                         TPoint{imageW - 1, imageH - 1}, TPoint{1234.5, 4321.25}}) {
    const TPoint expected = camOfSensor(sensorPixel(p));
    const TPoint cam = solution.pixToCam->TransformPoint(p);
    EXPECT_NEAR(cam.x, expected.x, kExact * 1e-3);  // 1e-12 mm: rounding of 120 mm
    EXPECT_NEAR(cam.y, expected.y, kExact * 1e-3);
    const TPoint back = solution.camToPix->TransformPoint(expected);
    EXPECT_NEAR(back.x, p.x, kExact);
    EXPECT_NEAR(back.y, p.y, kExact);
  }
  // Pixel x of the image runs along the sensor's rows at 0 and 180, along its columns else.
  EXPECT_NEAR(solution.scaleXUm, turned ? 9.0 : 12.0, kExact);
  EXPECT_NEAR(solution.scaleYUm, turned ? 12.0 : 9.0, kExact);
  EXPECT_NEAR(std::remainder(solution.rotationDeg - quarter, 360.0), 0.0, kExact);
  EXPECT_EQ(solution.fittedRotation, meas.rotation);
  EXPECT_FALSE(solution.mirrored);
  EXPECT_TRUE(solution.residuals.empty());
  EXPECT_EQ(solution.observations, 0);
  EXPECT_EQ(solution.redundancy, 0);
  EXPECT_TRUE(solution.warnings.empty());
}

INSTANTIATE_TEST_SUITE_P(
    EveryQuarterAndOrigin, DigitalImage,
    ::testing::Combine(::testing::Values(0, 90, 180, 270),
                       ::testing::Values(TVxCameraInfo::TDigitalCameraOrigin::Center,
                                         TVxCameraInfo::TDigitalCameraOrigin::LowerLeft,
                                         TVxCameraInfo::TDigitalCameraOrigin::UpperLeft)));

}  // namespace
