// The options of SolveIntOr: pixel coordinates whose y counts upwards, and fiducial fits that
// minimise the residuals in camera millimetres; and the solved map as coefficients, with its file.
// Each is checked against a second computation: the same scan solved with its rows counted
// downwards, or the tests' own normal equations.

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <tuple>
#include <vector>

#include "SolveTestSupport.h"
#include "VxIntOrSolve.h"
#include "VxRecordBytes.h"
#include "VxSettingsText.h"
#include "VxStrictLoad.h"
#include "VxXIni.h"

namespace {

using namespace solve_test;

// Camera coordinates of 100 mm are computed to about 1e-13 mm; the same scan solved two ways
// agrees to 1e-9 mm, well below anything a scan can measure.
constexpr double kSameMm = 1e-9;

TVxIntOrSolveOptions YUp() {
  TVxIntOrSolveOptions options;
  options.pixelYAxis = TVxPixelYAxis::Up;
  return options;
}

TVxIntOrSolveOptions InCamera() {
  TVxIntOrSolveOptions options;
  options.minimise = TVxResidualSpace::Camera;
  return options;
}

// The marks with y counted upwards from `origin` rows below the top: y' = origin - y.
TVxIntOrMeas CountedUp(TVxIntOrMeas meas, double origin) {
  for (auto& mark : meas.marks) mark.coordsPix.y = origin - mark.coordsPix.y;
  return meas;
}

TVxIntOrMeas NoisyScan(TTransformType type, bool mirrored) {
  TTerms terms;
  terms.rotationDeg = 0.4;
  terms.shearDeg = 0.01;
  terms.scaleYUm = 12.52;
  terms.mirrored = mirrored;
  if (type == TTransformType::Projective) terms.perspective = {2e-7, -1e-7};
  return ScanOf(EightMarkCamera(), Inverse(PixToCam(terms)), type, Noise(5, 8));
}

// The solution `up`, of marks counted up from `origin`, describes the same image as `down`.
void ExpectSameImage(const TVxIntOrSolution& up, const TVxIntOrSolution& down, double origin) {
  const auto rows = [&](const TPoint& p) { return TPoint{p.x, origin - p.y}; };
  for (const TPoint p : {TPoint{0, 0}, TPoint{19000, 0}, TPoint{0, 19000}, TPoint{9615, 9627.5}}) {
    const TPoint a = up.pixToCam->TransformPoint(rows(p));
    const TPoint b = down.pixToCam->TransformPoint(p);
    EXPECT_NEAR(a.x, b.x, kSameMm);
    EXPECT_NEAR(a.y, b.y, kSameMm);
    const TPoint back = up.camToPix->TransformPoint(a);
    EXPECT_NEAR(back.x, rows(p).x, kSameMm);
    EXPECT_NEAR(back.y, rows(p).y, kSameMm);
  }
  EXPECT_NEAR(up.originPix.x, down.originPix.x, kSameMm);
  EXPECT_NEAR(up.originPix.y, origin - down.originPix.y, kSameMm);
  EXPECT_NEAR(up.scaleXUm, down.scaleXUm, kSameMm);
  EXPECT_NEAR(up.scaleYUm, down.scaleYUm, kSameMm);
  EXPECT_NEAR(up.rotationDeg, down.rotationDeg, kSameMm);
  EXPECT_NEAR(up.shearDeg, down.shearDeg, kSameMm);
  EXPECT_EQ(up.mirrored, down.mirrored);
  EXPECT_EQ(up.fittedRotation, down.fittedRotation);
  ASSERT_EQ(up.residuals.size(), down.residuals.size());
  for (std::size_t i = 0; i < up.residuals.size(); ++i) {
    EXPECT_EQ(up.residuals[i].coordsPix.x, down.residuals[i].coordsPix.x);
    EXPECT_EQ(up.residuals[i].coordsPix.y, origin - down.residuals[i].coordsPix.y);
    EXPECT_NEAR(up.residuals[i].residualPix.x, down.residuals[i].residualPix.x, kSameMm);
    EXPECT_NEAR(up.residuals[i].residualPix.y, -down.residuals[i].residualPix.y, kSameMm);
    EXPECT_NEAR(up.residuals[i].residualUm.x, down.residuals[i].residualUm.x, kSameMm);
    EXPECT_NEAR(up.residuals[i].residualUm.y, down.residuals[i].residualUm.y, kSameMm);
  }
  EXPECT_NEAR(up.rmsUm, down.rmsUm, kSameMm);
  ASSERT_EQ(up.warnings.size(), down.warnings.size());
  for (std::size_t i = 0; i < up.warnings.size(); ++i) {
    EXPECT_EQ(up.warnings[i].key, down.warnings[i].key);
  }
}

// The map's coefficients are those of the pixel-to-camera handle.
void ExpectMapIsTheHandle(const TVxIntOrSolution& s) {
  const TMatrix handle = MatrixOf(s.pixToCam);
  TMatrix map = s.map.matrix;
  for (double& v : map) v /= s.map.matrix[8];
  for (std::size_t k = 0; k < 9; ++k) EXPECT_EQ(map[k], handle[k]) << "coefficient " << k;
}

// ---- y counted upwards -----------------------------------------------------------------------

// (transform type, mirrored, origin of the upward count: 0, or the last row of a 19 256-row scan)
class FiducialsCountedUp
    : public ::testing::TestWithParam<std::tuple<TTransformType, bool, double>> {};

TEST_P(FiducialsCountedUp, DescribeTheImageThatTheRowsDescribe) {
  const auto [type, mirrored, origin] = GetParam();
  const TVxCameraInfo camera = EightMarkCamera();
  TVxIntOrMeas down = NoisyScan(type, mirrored);
  TVxIntOrMeas up = CountedUp(down, origin);
  TVxIntOrSolution fromDown, fromUp;
  ASSERT_TRUE(SolveIntOr(down, camera, &fromDown, nullptr));
  ASSERT_TRUE(SolveIntOr(up, camera, YUp(), &fromUp, nullptr));
  ExpectSameImage(fromUp, fromDown, origin);
  ExpectMapIsTheHandle(fromUp);
  EXPECT_EQ(fromUp.map.pixelYAxis, TVxPixelYAxis::Up);
  EXPECT_EQ(fromDown.map.pixelYAxis, TVxPixelYAxis::Down);
  // The record keeps its residuals in its own axes.
  WriteResiduals(fromUp, &up);
  for (std::size_t i = 0; i < up.marks.size(); ++i) {
    EXPECT_EQ(up.marks[i].residualsPix.x, fromUp.residuals[i].residualPix.x);
    EXPECT_EQ(up.marks[i].residualsPix.y, fromUp.residuals[i].residualPix.y);
  }
  if (type == TTransformType::Projective) {
    // The perspective terms are those of the map the caller gets: with y' = origin - y,
    // h7' = -h7 and h8' = h8 + origin h7.
    const TMatrix m = MatrixOf(fromUp.pixToCam);
    EXPECT_NEAR(fromUp.perspective.x, m[6], 1e-18);
    EXPECT_NEAR(fromUp.perspective.y, m[7], 1e-18);
    EXPECT_NEAR(fromUp.perspective.y * (1.0 + origin * fromDown.perspective.y),
                -fromDown.perspective.y, 1e-18);
  }
}

INSTANTIATE_TEST_SUITE_P(EveryTransformAndOrigin, FiducialsCountedUp,
                         ::testing::Combine(::testing::Values(TTransformType::Similarity,
                                                              TTransformType::Affine,
                                                              TTransformType::Projective),
                                            ::testing::Bool(), ::testing::Values(0.0, 19255.0)));

TEST(SolveCountedUp, CrossAndPrincipalPointDescribeTheSameImage) {
  TVxCameraInfo cross;
  cross.cameraType = TCameraType::Cross;
  TVxIntOrMeas down;
  down.cameraType = TCameraType::Cross;
  down.rotation = TCamRotate::Rotate0;
  down.scanResolution = {0.0125, 0.0125};
  down.resolutionUnits = TResolutionUnits::Mm;
  // Arm ends 1 (-x), 2 (+x), 3 (+y), 4 (-y), a little off their ideal places.
  const TPoint ends[4] = {{1200.3, 9600.2}, {18000.1, 9601.4}, {9601.0, 1200.6}, {9599.2, 18000.5}};
  for (int i = 0; i < 4; ++i) down.marks.push_back({i + 1, ends[i], {0.0, 0.0}});
  TVxIntOrMeas up = CountedUp(down, 19255.0);
  TVxIntOrSolution fromDown, fromUp;
  ASSERT_TRUE(SolveIntOr(down, cross, &fromDown, nullptr));
  ASSERT_TRUE(SolveIntOr(up, cross, YUp(), &fromUp, nullptr));
  ExpectSameImage(fromUp, fromDown, 19255.0);

  TVxCameraInfo principal;
  principal.cameraType = TCameraType::PrincipalPoint;
  principal.principalPoint = {0.02, -0.01};
  down.cameraType = TCameraType::PrincipalPoint;
  down.rotation = TCamRotate::Rotate90;
  down.marks = {{1, {9610.5, 9590.25}, {0.0, 0.0}}};
  up = CountedUp(down, 0.0);
  ASSERT_TRUE(SolveIntOr(down, principal, &fromDown, nullptr));
  ASSERT_TRUE(SolveIntOr(up, principal, YUp(), &fromUp, nullptr));
  ExpectSameImage(fromUp, fromDown, 0.0);
}

TEST(SolveCountedUp, ADigitalImageCountsUpFromTheCentreOfItsLowerLeftPixel) {
  TVxCameraInfo camera;
  camera.cameraType = TCameraType::Digital;
  camera.pixelSize = {0.012, 0.009};
  camera.sensorDims = {7680, 13824};
  for (const TCamRotate rotation : {TCamRotate::Rotate0, TCamRotate::Rotate90}) {
    SCOPED_TRACE(static_cast<int>(rotation));
    TVxIntOrMeas meas;
    meas.cameraType = TCameraType::Digital;
    meas.rotation = rotation;
    TVxIntOrSolution down, up;
    ASSERT_TRUE(SolveIntOr(meas, camera, &down, nullptr));
    ASSERT_TRUE(SolveIntOr(meas, camera, YUp(), &up, nullptr));
    // The image is as high as the sensor, or as wide when turned a quarter.
    const double lastRow = rotation == TCamRotate::Rotate0 ? 13823.0 : 7679.0;
    ExpectSameImage(up, down, lastRow);
    const TPoint corner = up.pixToCam->TransformPoint({0.0, 0.0});
    const TPoint sameCorner = down.pixToCam->TransformPoint({0.0, lastRow});
    EXPECT_EQ(corner.x, sameCorner.x);
    EXPECT_EQ(corner.y, sameCorner.y);
  }
}

// ---- residuals minimised in camera millimetres -------------------------------------------------

// The affine pixels-to-camera map that minimises the squares in millimetres, from the tests' own
// normal equations of calibrated = A measured + t (pixels centred and divided by 10 000 to keep
// them well conditioned).
TMatrix CameraSpaceAffine(const TVxCameraInfo& camera, const TVxIntOrMeas& meas) {
  TPoint mean;
  for (const auto& mark : meas.marks)
    mean += mark.coordsPix / static_cast<double>(meas.marks.size());
  constexpr double kPix = 10000.0;
  std::vector<double> a, bx, by;
  for (std::size_t i = 0; i < meas.marks.size(); ++i) {
    const TPoint p = (meas.marks[i].coordsPix - mean) / kPix;
    a.insert(a.end(), {p.x, p.y, 1.0});
    bx.push_back(camera.fiducials[i].coordsCam.x);
    by.push_back(camera.fiducials[i].coordsCam.y);
  }
  const auto rx = NormalEquations(a, bx, 3);
  const auto ry = NormalEquations(a, by, 3);
  return {rx[0] / kPix, rx[1] / kPix, rx[2] - (rx[0] * mean.x + rx[1] * mean.y) / kPix,
          ry[0] / kPix, ry[1] / kPix, ry[2] - (ry[0] * mean.x + ry[1] * mean.y) / kPix,
          0.0,          0.0,          1.0};
}

TEST(SolveInCamera, AffineAgreesWithTheNormalEquationsOfMeasuredOntoCalibrated) {
  const TVxCameraInfo camera = EightMarkCamera();
  TVxIntOrMeas meas = NoisyScan(TTransformType::Affine, false);
  TVxIntOrSolution solution;
  ASSERT_TRUE(SolveIntOr(meas, camera, InCamera(), &solution, nullptr));
  const TMatrix expected = CameraSpaceAffine(camera, meas);
  for (std::size_t i = 0; i < meas.marks.size(); ++i) {
    const TPoint p = meas.marks[i].coordsPix;
    const TPoint cam = solution.pixToCam->TransformPoint(p);
    EXPECT_NEAR(cam.x, Apply(expected, p).x, kSameMm);
    EXPECT_NEAR(cam.y, Apply(expected, p).y, kSameMm);
    const TPoint residual = (camera.fiducials[i].coordsCam - Apply(expected, p)) * 1000.0;
    EXPECT_NEAR(solution.residuals[i].residualUm.x, residual.x, 1e-6);
    EXPECT_NEAR(solution.residuals[i].residualUm.y, residual.y, 1e-6);
  }
  EXPECT_EQ(solution.map.minimisedIn, TVxResidualSpace::Camera);
  ExpectMapIsTheHandle(solution);
}

class EachSpace : public ::testing::TestWithParam<TTransformType> {};

// Each fit is the least squares of its own space: no other map has smaller residuals there.
TEST_P(EachSpace, FitsBestWhereItMinimises) {
  const TVxCameraInfo camera = EightMarkCamera();
  TVxIntOrMeas inPixels = NoisyScan(GetParam(), true);
  TVxIntOrMeas inCamera = inPixels;
  TVxIntOrSolution pixels, cam;
  ASSERT_TRUE(SolveIntOr(inPixels, camera, &pixels, nullptr));
  ASSERT_TRUE(SolveIntOr(inCamera, camera, InCamera(), &cam, nullptr));
  EXPECT_LE(pixels.rmsPix, cam.rmsPix * (1.0 + 1e-12));
  EXPECT_LE(cam.rmsUm, pixels.rmsUm * (1.0 + 1e-12));
  // Different fits, though close: with noise of a few tenths of a pixel they differ by about
  // 1e-9 of the RMS, far above the rounding of 1e-15.
  EXPECT_GT(std::fabs(cam.rmsUm - pixels.rmsUm), 1e-12 * pixels.rmsUm);
  EXPECT_EQ(cam.mirrored, pixels.mirrored);
  EXPECT_NEAR(cam.scaleXUm, pixels.scaleXUm, 0.01);
}

INSTANTIATE_TEST_SUITE_P(EveryTransform, EachSpace,
                         ::testing::Values(TTransformType::Similarity, TTransformType::Affine,
                                           TTransformType::Projective));

TEST(SolveInCamera, AnExactScanIsTheSameMapEitherWay) {
  const TVxCameraInfo camera = EightMarkCamera();
  TTerms terms;
  terms.rotationDeg = 179.3;
  terms.scaleYUm = 12.49;
  terms.perspective = {1e-7, 3e-7};
  TVxIntOrMeas meas = ScanOf(camera, Inverse(PixToCam(terms)), TTransformType::Projective);
  TVxIntOrMeas same = meas;
  TVxIntOrSolution pixels, cam;
  ASSERT_TRUE(SolveIntOr(meas, camera, &pixels, nullptr));
  ASSERT_TRUE(SolveIntOr(same, camera, InCamera(), &cam, nullptr));
  ExpectTerms(cam, terms);
  ExpectSameMatrix(MatrixOf(cam.pixToCam), MatrixOf(pixels.pixToCam), {9600.0, 9600.0});
}

TEST(SolveInCamera, MarksCollapsedOntoALineAreStillDegenerate) {
  const TVxCameraInfo camera = EightMarkCamera();
  TVxIntOrMeas meas = NoisyScan(TTransformType::Affine, false);
  for (auto& mark : meas.marks) mark.coordsPix.y = 100.0 + 1e-7 * mark.coordsPix.x;
  const std::string before = vx_test::RecordBytes(meas);
  TVxIntOrSolution solution;
  std::string message;
  EXPECT_FALSE(SolveIntOr(meas, camera, InCamera(), &solution, &message));
  TVxIntOrMeas again = NoisyScan(TTransformType::Affine, false);
  for (auto& mark : again.marks) mark.coordsPix.y = 100.0 + 1e-7 * mark.coordsPix.x;
  std::string pixelsMessage;
  EXPECT_FALSE(SolveIntOr(again, camera, &solution, &pixelsMessage));
  EXPECT_EQ(message, pixelsMessage);
  EXPECT_FALSE(message.empty());
  EXPECT_EQ(vx_test::RecordBytes(meas), before);
}

TEST(SolveInCamera, KindsSolvedExactlyIgnoreIt) {
  TVxCameraInfo camera;
  camera.cameraType = TCameraType::CalibratedCross;
  camera.lengthX = 210.0;
  camera.lengthY = 211.0;
  TVxIntOrMeas meas;
  meas.cameraType = TCameraType::CalibratedCross;
  meas.rotation = TCamRotate::Rotate0;
  const TPoint ends[4] = {{1200.3, 9600.2}, {18000.1, 9601.4}, {9601.0, 1200.6}, {9599.2, 18000.5}};
  for (int i = 0; i < 4; ++i) meas.marks.push_back({i + 1, ends[i], {0.0, 0.0}});
  TVxIntOrSolution pixels, cam;
  ASSERT_TRUE(SolveIntOr(meas, camera, &pixels, nullptr));
  ASSERT_TRUE(SolveIntOr(meas, camera, InCamera(), &cam, nullptr));
  EXPECT_EQ(cam.map.matrix, pixels.map.matrix);
  EXPECT_EQ(cam.rmsUm, pixels.rmsUm);
}

// ---- the map as coefficients, and its file ----------------------------------------------------

TVxPixToCamMap ProjectiveMap() {
  TVxPixToCamMap map;
  map.matrix = {0.0125001, 2.6e-5, -120.3, 2.61e-5, -0.0124998, 120.1, 1.5e-7, -2.5e-7, 1.0};
  map.pixelYAxis = TVxPixelYAxis::Up;
  map.minimisedIn = TVxResidualSpace::Camera;
  return map;
}

TEST(PixToCamMap, HandlesAreTheMatrixAndItsInverse) {
  TVxPixToCamMap affine;
  affine.matrix = {0.0125, 1e-6, -120.0, -1e-6, -0.0125, 120.0, 0.0, 0.0, 1.0};
  for (const TVxPixToCamMap& map : {affine, ProjectiveMap()}) {
    const TransformHandle pixToCam = map.CreatePixToCam();
    const TransformHandle camToPix = map.CreateCamToPix();
    for (const TPoint p : {TPoint{0, 0}, TPoint{19000, 250}, TPoint{9600.5, 9600.25}}) {
      const TPoint cam = pixToCam->TransformPoint(p);
      EXPECT_NEAR(cam.x, Apply(map.matrix, p).x, 1e-12);
      EXPECT_NEAR(cam.y, Apply(map.matrix, p).y, 1e-12);
      const TPoint back = camToPix->TransformPoint(cam);
      EXPECT_NEAR(back.x, p.x, 1e-8);
      EXPECT_NEAR(back.y, p.y, 1e-8);
    }
  }
  EXPECT_TRUE(affine.IsAffine());
  EXPECT_FALSE(ProjectiveMap().IsAffine());
  EXPECT_EQ(affine.InverseMatrix()[8], 1.0);
  EXPECT_EQ(ProjectiveMap().InverseMatrix()[8], 1.0);
}

TEST(PixToCamMap, ASingularOrNotFiniteMatrixMakesNoTransform) {
  TVxPixToCamMap singular;
  singular.matrix = {1.0, 2.0, 0.0, 2.0, 4.0, 0.0, 0.0, 0.0, 1.0};
  EXPECT_THROW(singular.CreatePixToCam(), std::invalid_argument);
  EXPECT_THROW(singular.InverseMatrix(), std::invalid_argument);
  TVxPixToCamMap notFinite;
  notFinite.matrix[2] = std::nan("");
  EXPECT_THROW(notFinite.CreateCamToPix(), std::invalid_argument);
}

TEST(PixToCamMap, ReadsBackBitForBit) {
  const TVxPixToCamMap map = ProjectiveMap();
  const std::string text = vx_test::SavedText(map);
  EXPECT_TRUE(vx_test::HasLine(text, "pixel_y_axis: Up")) << text;
  EXPECT_TRUE(vx_test::HasLine(text, "minimised_in: Camera")) << text;
  EXPECT_TRUE(vx_test::HasLine(text, "  w: [1.5e-07, -2.5e-07, 1]")) << text;
  EXPECT_EQ(vx_test::RecordBytes(vx_test::RoundTrip(map)), vx_test::RecordBytes(map));
}

TEST(PixToCamMap, LeftOutKeysAreAnAffineMapOfRowsCountedDownMinimisedInPixels) {
  const auto map = vx_test::LoadedFrom<TVxPixToCamMap>(
      "pix_to_cam:\n  x: [0.0125, 0, -120]\n  y: [0, -0.0125, 120]\n", ProjectiveMap());
  EXPECT_TRUE(map.IsAffine());
  EXPECT_EQ(map.pixelYAxis, TVxPixelYAxis::Down);
  EXPECT_EQ(map.minimisedIn, TVxResidualSpace::Pixels);
  EXPECT_EQ(map.matrix[5], 120.0);
}

TEST(PixToCamMap, BadFilesAreRefusedAndTheRecordKept) {
  const TVxPixToCamMap marker = ProjectiveMap();
  const std::string rows = "  x: [0.0125, 0, -120]\n  y: [0, -0.0125, 120]\n";
  vx_test::ExpectLoadFailsAndKeepsTarget(marker, "pixel_y_axis: Down\n", "pix_to_cam");
  vx_test::ExpectLoadFailsAndKeepsTarget(marker, "pix_to_cam:\n  x: [0.0125, 0, -120]\n", "y");
  vx_test::ExpectLoadFailsAndKeepsTarget(
      marker, "pix_to_cam:\n  x: [0.0125, 0]\n  y: [0, -0.0125, 120]\n", "three numbers");
  vx_test::ExpectLoadFailsAndKeepsTarget(
      marker, "pix_to_cam:\n  x: [0.0125, 0, -120, 1]\n  y: [0, -0.0125, 120]\n", "three numbers");
  vx_test::ExpectLoadFailsAndKeepsTarget(
      marker, "pix_to_cam:\n  x: [0.0125, .nan, -120]\n  y: [0, -0.0125, 120]\n", "finite");
  vx_test::ExpectLoadFailsAndKeepsTarget(marker, "pix_to_cam:\n  x: [1, 2, 0]\n  y: [2, 4, 0]\n",
                                         "singular");
  vx_test::ExpectLoadFailsAndKeepsTarget(marker, "pixel_y_axis: Upward\npix_to_cam:\n" + rows,
                                         "Upward");
  vx_test::ExpectLoadFailsAndKeepsTarget(marker, "minimised_in: mm\npix_to_cam:\n" + rows, "mm");
}

TEST(PixToCamMap, TheSolutionsMapReadBackGivesTheSolutionsTransforms) {
  const TVxCameraInfo camera = EightMarkCamera();
  TVxIntOrMeas meas = CountedUp(NoisyScan(TTransformType::Projective, false), 19255.0);
  TVxIntOrSolution solution;
  ASSERT_TRUE(SolveIntOr(meas, camera, YUp(), &solution, nullptr));
  const TVxPixToCamMap read = vx_test::RoundTrip(solution.map);
  const TransformHandle pixToCam = read.CreatePixToCam();
  const TransformHandle camToPix = read.CreateCamToPix();
  for (const auto& mark : meas.marks) {
    const TPoint a = pixToCam->TransformPoint(mark.coordsPix);
    const TPoint b = solution.pixToCam->TransformPoint(mark.coordsPix);
    EXPECT_EQ(a.x, b.x);
    EXPECT_EQ(a.y, b.y);
    const TPoint c = camToPix->TransformPoint(a);
    const TPoint d = solution.camToPix->TransformPoint(a);
    EXPECT_NEAR(c.x, d.x, 1e-9);
    EXPECT_NEAR(c.y, d.y, 1e-9);
  }
}

// ---- the record and its residuals ------------------------------------------------------------

TEST(WriteResiduals, GivesAFiducialsRecordItsSolutionsResidualsAndNothingElse) {
  const TVxCameraInfo camera = EightMarkCamera();
  TVxIntOrMeas meas = NoisyScan(TTransformType::Affine, false);
  const std::string before = vx_test::RecordBytes(meas);
  TVxIntOrSolution solution;
  ASSERT_TRUE(SolveIntOr(meas, camera, &solution, nullptr));
  EXPECT_EQ(vx_test::RecordBytes(meas), before);  // solving leaves the record alone
  TVxIntOrMeas expected = meas;
  for (std::size_t i = 0; i < expected.marks.size(); ++i) {
    expected.marks[i].residualsPix = solution.residuals[i].residualPix;
  }
  WriteResiduals(solution, &meas);
  EXPECT_EQ(vx_test::RecordBytes(meas), vx_test::RecordBytes(expected));
}

TEST(WriteResiduals, ASolutionOfAnotherRecordIsRefusedAndChangesNothing) {
  const TVxCameraInfo camera = EightMarkCamera();
  TVxIntOrMeas meas = NoisyScan(TTransformType::Affine, false);
  TVxIntOrSolution solution;
  ASSERT_TRUE(SolveIntOr(meas, camera, &solution, nullptr));
  meas.marks.pop_back();
  const std::string before = vx_test::RecordBytes(meas);
  EXPECT_THROW(WriteResiduals(solution, &meas), std::invalid_argument);
  EXPECT_EQ(vx_test::RecordBytes(meas), before);
}

}  // namespace
