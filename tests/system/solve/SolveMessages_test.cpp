// SolveIntOr's warnings and failures: each produced by a case of its own, in English and in
// German, with its localised text word for word; a failure changes neither record nor solution.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "SolveTestSupport.h"
#include "VxIntOrSolve.h"
#include "VxRecordBytes.h"
#include "VxResourceGuards.h"

namespace {

using namespace solve_test;

const char* const kLanguages[] = {"en", "de"};

// The four corner marks of the RC10 and a record of them scanned as `terms` say.
TVxCameraInfo FourMarkCamera() {
  TVxCameraInfo camera;
  camera.cameraType = TCameraType::Fiducials;
  const double marks[4][2] = {
      {-105.993, -106.006}, {106.001, 106.002}, {-106.015, 105.982}, {106.015, -106.006}};
  for (int i = 0; i < 4; ++i) camera.fiducials.push_back({i + 1, {marks[i][0], marks[i][1]}, 0});
  return camera;
}

// A réseau of 5 x 5 marks 50 mm apart, numbered row by row from 1.
TVxCameraInfo GridCamera() {
  TVxCameraInfo camera;
  camera.cameraType = TCameraType::Fiducials;
  for (int r = 0; r < 5; ++r) {
    for (int c = 0; c < 5; ++c) {
      camera.fiducials.push_back({r * 5 + c + 1, {-100.0 + 50.0 * c, 100.0 - 50.0 * r}, 0});
    }
  }
  return camera;
}

TVxIntOrMeas Scan(const TVxCameraInfo& camera, const TTerms& terms, TTransformType type) {
  const TMatrix camToPix = Inverse(PixToCam(terms));
  TVxIntOrMeas meas;
  meas.cameraType = TCameraType::Fiducials;
  meas.rotation = TCamRotate::Rotate0;
  meas.transformType = type;
  for (const auto& f : camera.fiducials)
    meas.marks.push_back({f.index, Apply(camToPix, f.coordsCam), {}});
  return meas;
}

// The keys of a solution's warnings.
std::vector<std::string> Keys(const TVxIntOrSolution& solution) {
  std::vector<std::string> keys;
  for (const auto& w : solution.warnings) keys.push_back(w.key);
  return keys;
}

// Solves in both languages and expects exactly the warnings `keys`, each with its text.
void ExpectWarnings(const TVxIntOrMeas& meas, const TVxCameraInfo& camera,
                    const std::vector<std::string>& keys,
                    const TVxIntOrSolveOptions& options = TVxIntOrSolveOptions()) {
  for (const char* language : kLanguages) {
    SCOPED_TRACE(language);
    ScopedResLanguage scope(language);
    TVxIntOrMeas copy = meas;
    TVxIntOrSolution solution;
    std::string message = "before";
    ASSERT_TRUE(SolveIntOr(copy, camera, options, &solution, &message));
    EXPECT_EQ(message, "before");
    EXPECT_EQ(Keys(solution), keys);
    for (const auto& w : solution.warnings) {
      EXPECT_EQ(w.text, ResText(w.key, language));
      EXPECT_FALSE(w.text.empty());
    }
  }
  EXPECT_NE(ResText(keys.back(), "en"), ResText(keys.back(), "de"));
}

// Solves in both languages and expects the failure `key`, with the record and a solution that
// held an earlier result unchanged.
void ExpectFailure(const TVxIntOrMeas& meas, const TVxCameraInfo& camera, const std::string& key,
                   const TVxIntOrSolveOptions& options = TVxIntOrSolveOptions()) {
  // An earlier solution of another image, which the failure must leave alone.
  const TVxCameraInfo other = FourMarkCamera();
  TVxIntOrMeas otherMeas = Scan(other, TTerms(), TTransformType::Affine);
  TVxIntOrSolution earlier;
  ASSERT_TRUE(SolveIntOr(otherMeas, other, &earlier, nullptr));
  for (const char* language : kLanguages) {
    SCOPED_TRACE(language);
    ScopedResLanguage scope(language);
    TVxIntOrMeas copy = meas;
    TVxIntOrSolution solution = earlier;
    std::string message = "before";
    EXPECT_FALSE(SolveIntOr(copy, camera, options, &solution, &message));
    EXPECT_EQ(message, ResText(key, language));
    EXPECT_FALSE(message.empty());
    EXPECT_EQ(vx_test::RecordBytes(copy), vx_test::RecordBytes(meas));
    EXPECT_EQ(solution.pixToCam.get(), earlier.pixToCam.get());
    EXPECT_EQ(solution.residuals.size(), earlier.residuals.size());
    // Without a message: the same result, nothing else.
    EXPECT_FALSE(SolveIntOr(copy, camera, options, &solution, nullptr));
  }
  EXPECT_NE(ResText(key, "en"), ResText(key, "de"));
}

// ---- Warnings --------------------------------------------------------------------------------

TEST(SolveWarnings, AMirroredScanIsReported) {
  TTerms terms;
  terms.mirrored = true;
  const TVxCameraInfo camera = FourMarkCamera();
  ExpectWarnings(Scan(camera, terms, TTransformType::Affine), camera,
                 {"global.Warn_IntOrMirrored"});
}

TEST(SolveWarnings, ARotationOffByMoreThan45DegreesNamesTheRotationThatFits) {
  const TVxCameraInfo camera = FourMarkCamera();
  const char* const keys[] = {"global.Warn_IntOrRotationFits0", "global.Warn_IntOrRotationFits90",
                              "global.Warn_IntOrRotationFits180",
                              "global.Warn_IntOrRotationFits270"};
  for (int quarter = 0; quarter < 4; ++quarter) {
    SCOPED_TRACE(quarter);
    TTerms terms;
    terms.rotationDeg = quarter * 90.0 + 0.3;
    TVxIntOrMeas meas = Scan(camera, terms, TTransformType::Similarity);
    // The record says the opposite quarter.
    meas.rotation = static_cast<TCamRotate>((quarter + 2) % 4 + 1);
    ExpectWarnings(meas, camera, {keys[quarter]});
  }
}

TEST(SolveWarnings, ARotationWithin45DegreesOfTheRecordIsNotReported) {
  const TVxCameraInfo camera = FourMarkCamera();
  TTerms terms;
  terms.rotationDeg = 44.9;
  TVxIntOrMeas meas = Scan(camera, terms, TTransformType::Similarity);
  TVxIntOrSolution solution;
  ASSERT_TRUE(SolveIntOr(meas, camera, &solution, nullptr));
  EXPECT_TRUE(solution.warnings.empty());
  EXPECT_EQ(solution.fittedRotation, TCamRotate::Rotate0);
  // Not set: nothing to disagree with.
  terms.rotationDeg = 180.0;
  meas = Scan(camera, terms, TTransformType::Similarity);
  meas.rotation = static_cast<TCamRotate>(0);
  ASSERT_TRUE(SolveIntOr(meas, camera, &solution, nullptr));
  EXPECT_TRUE(solution.warnings.empty());
  EXPECT_EQ(solution.fittedRotation, TCamRotate::Rotate180);
}

// The boundary of 45 degrees from the record, a millionth of a degree to either side of it,
// clockwise and counter-clockwise, and from records of every quarter turn.
TEST(SolveWarnings, TheRotationWarningStartsJustPast45DegreesOnEitherSide) {
  const TVxCameraInfo camera = FourMarkCamera();
  const char* const keys[] = {"global.Warn_IntOrRotationFits0", "global.Warn_IntOrRotationFits90",
                              "global.Warn_IntOrRotationFits180",
                              "global.Warn_IntOrRotationFits270"};
  constexpr double kJust = 1e-6;  // degrees; the fit recovers rotations to 1e-9
  for (int record = 0; record < 4; ++record) {
    for (const int side : {1, -1}) {
      SCOPED_TRACE("record " + std::to_string(record * 90) + ", side " + std::to_string(side));
      TTerms terms;
      terms.rotationDeg = record * 90.0 + side * (45.0 - kJust);
      TVxIntOrMeas meas = Scan(camera, terms, TTransformType::Similarity);
      meas.rotation = static_cast<TCamRotate>(record + 1);
      TVxIntOrSolution solution;
      ASSERT_TRUE(SolveIntOr(meas, camera, &solution, nullptr));
      EXPECT_TRUE(solution.warnings.empty());
      EXPECT_EQ(solution.fittedRotation, meas.rotation);

      terms.rotationDeg = record * 90.0 + side * (45.0 + kJust);
      meas = Scan(camera, terms, TTransformType::Similarity);
      meas.rotation = static_cast<TCamRotate>(record + 1);
      // The quarter turn that fits is the next one in the direction of the turn.
      const int fits = (record + side + 4) % 4;
      ExpectWarnings(meas, camera, {keys[fits]});
    }
  }
}

// A record rotation outside the four quarter turns, either side of them, is no rotation to
// disagree with.
TEST(SolveWarnings, ARecordRotationOutsideTheQuarterTurnsIsNotCompared) {
  const TVxCameraInfo camera = FourMarkCamera();
  TTerms terms;
  terms.rotationDeg = 180.0;
  for (const int outside : {0, 5, -1}) {
    SCOPED_TRACE(outside);
    TVxIntOrMeas meas = Scan(camera, terms, TTransformType::Similarity);
    meas.rotation = static_cast<TCamRotate>(outside);
    TVxIntOrSolution solution;
    ASSERT_TRUE(SolveIntOr(meas, camera, &solution, nullptr));
    EXPECT_TRUE(solution.warnings.empty());
    EXPECT_EQ(solution.fittedRotation, TCamRotate::Rotate180);
  }
}

TEST(SolveWarnings, AScaleMoreThanOnePercentFromTheScanResolutionIsReported) {
  const TVxCameraInfo camera = FourMarkCamera();
  TVxIntOrMeas meas = Scan(camera, TTerms(), TTransformType::Affine);  // 12.5 micrometres
  meas.scanResolution = {0.0125, 0.0127};                              // y 1.6 % off
  ExpectWarnings(meas, camera, {"global.Warn_IntOrScale"});
  meas.resolutionUnits = TResolutionUnits::Dpi;
  meas.scanResolution = {2000.0, 2032.0};  // x 1.6 % off
  ExpectWarnings(meas, camera, {"global.Warn_IntOrScale"});
}

TEST(SolveWarnings, AScaleWithinOnePercentOrWithoutResolutionIsNotReported) {
  const TVxCameraInfo camera = FourMarkCamera();
  TVxIntOrMeas meas = Scan(camera, TTerms(), TTransformType::Affine);
  TVxIntOrSolution solution;
  for (const TPoint resolution : {TPoint{0.0126, 0.0124}, TPoint{0.0, 0.0}}) {
    meas.scanResolution = resolution;
    ASSERT_TRUE(SolveIntOr(meas, camera, &solution, nullptr));
    EXPECT_TRUE(solution.warnings.empty());
  }
  meas.resolutionUnits = TResolutionUnits::Dpi;
  meas.scanResolution = {2032.0, 2032.0};
  ASSERT_TRUE(SolveIntOr(meas, camera, &solution, nullptr));
  EXPECT_TRUE(solution.warnings.empty());
}

// The boundary of 1 %, a ten-thousandth of a percent to either side of it, above and below the
// fitted scale, along x and along y alone.
TEST(SolveWarnings, TheScaleWarningStartsJustPastOnePercentAlongEitherAxis) {
  const TVxCameraInfo camera = FourMarkCamera();
  TVxIntOrMeas meas = Scan(camera, TTerms(), TTransformType::Affine);  // 12.5 micrometres
  constexpr double kJust = 1e-6;  // the fit recovers the scale to 1e-9 micrometres
  for (const int axis : {0, 1}) {
    for (const double sign : {1.0, -1.0}) {
      SCOPED_TRACE(::testing::Message() << "axis " << axis << ", sign " << sign);
      // scale / resolution - 1 = sign (0.01 -+ kJust): just within, then just past.
      for (const bool past : {false, true}) {
        const double ratio = 1.0 + sign * (0.01 + (past ? kJust : -kJust));
        TPoint resolution{0.0125, 0.0125};
        (axis == 0 ? resolution.x : resolution.y) = 0.0125 / ratio;
        meas.scanResolution = resolution;
        if (past) {
          ExpectWarnings(meas, camera, {"global.Warn_IntOrScale"});
        } else {
          TVxIntOrSolution solution;
          ASSERT_TRUE(SolveIntOr(meas, camera, &solution, nullptr));
          EXPECT_TRUE(solution.warnings.empty());
        }
      }
    }
  }
}

// A resolution with one coordinate 0 or below is no resolution to compare with, in either
// coordinate, in millimetres or in dots per inch.
TEST(SolveWarnings, AResolutionWithOneCoordinateZeroOrNegativeIsNotCompared) {
  const TVxCameraInfo camera = FourMarkCamera();
  TVxIntOrMeas meas = Scan(camera, TTerms(), TTransformType::Affine);  // 12.5 micrometres
  TVxIntOrSolution solution;
  for (const TResolutionUnits units : {TResolutionUnits::Mm, TResolutionUnits::Dpi}) {
    const double good = units == TResolutionUnits::Mm ? 0.0125 : 2032.0;
    for (const TPoint resolution :
         {TPoint{0.0, good}, TPoint{good, 0.0}, TPoint{-good, good}, TPoint{good, -good}}) {
      SCOPED_TRACE(::testing::Message() << resolution.x << ", " << resolution.y);
      meas.resolutionUnits = units;
      meas.scanResolution = resolution;
      ASSERT_TRUE(SolveIntOr(meas, camera, &solution, nullptr));
      EXPECT_TRUE(solution.warnings.empty());
    }
  }
}

TEST(SolveWarnings, ACalibratedCrossComparesItsScaleWithTheScanResolution) {
  TVxCameraInfo camera;
  camera.cameraType = TCameraType::CalibratedCross;
  camera.lengthX = 220.0;
  camera.lengthY = 220.0;
  TVxIntOrMeas meas;
  meas.cameraType = TCameraType::CalibratedCross;
  meas.marks = {{1, {800.0, 9600.0}, {}},
                {2, {18400.0, 9600.0}, {}},
                {3, {9600.0, 800.0}, {}},
                {4, {9600.0, 18400.0}, {}}};  // 220 mm over 17600 px: 12.5 micrometres
  meas.scanResolution = {0.0125, 0.0125};
  TVxIntOrSolution solution;
  ASSERT_TRUE(SolveIntOr(meas, camera, &solution, nullptr));
  EXPECT_TRUE(solution.warnings.empty());
  meas.scanResolution = {0.012, 0.0125};
  ExpectWarnings(meas, camera, {"global.Warn_IntOrScale"});
}

TEST(SolveWarnings, AResidualAboveTheCallersLimitIsReportedWithItsMark) {
  const TVxCameraInfo camera = FourMarkCamera();
  TVxIntOrMeas meas = Scan(camera, TTerms(), TTransformType::Similarity);
  meas.marks[2].coordsPix.x += 1.0;  // 12.5 micrometres off; the fit spreads it over all four
  TVxIntOrSolveOptions options;
  options.residualLimitUm = 5.0;
  TVxIntOrSolution solution;
  ASSERT_TRUE(SolveIntOr(meas, camera, options, &solution, nullptr));
  EXPECT_EQ(solution.residualLimitUm, 5.0);
  std::vector<std::int32_t> flagged;
  for (const auto& w : solution.warnings) {
    EXPECT_EQ(w.key, "global.Warn_IntOrLargeResidual");
    ASSERT_TRUE(w.markIndex.has_value());
    flagged.push_back(*w.markIndex);
  }
  ASSERT_FALSE(flagged.empty());
  for (std::size_t i = 0; i < 4; ++i) {
    const auto& r = solution.residuals[i];
    const bool isFlagged = std::find(flagged.begin(), flagged.end(), r.index) != flagged.end();
    EXPECT_EQ(r.aboveLimit, r.lengthUm > 5.0);
    EXPECT_EQ(isFlagged, r.aboveLimit);
  }
  EXPECT_TRUE(solution.residuals[2].aboveLimit);
  EXPECT_EQ(solution.largestIndex, 3);
  ExpectWarnings(meas, camera,
                 std::vector<std::string>(flagged.size(), "global.Warn_IntOrLargeResidual"),
                 options);
}

TEST(SolveWarnings, TheDefaultLimitIsThreeTimesTheRmsAndAtLeastTenMicrometres) {
  const TVxCameraInfo camera = GridCamera();
  TVxIntOrMeas meas = Scan(camera, TTerms(), TTransformType::Affine);
  // Small noise everywhere, then mark 7 off by 5 px (62.5 micrometres).
  std::mt19937 random(5);  // fixed seed
  std::normal_distribution<double> noise(0.0, 0.05);
  for (auto& m : meas.marks) m.coordsPix += TPoint{noise(random), noise(random)};
  meas.marks[6].coordsPix.y += 5.0;
  TVxIntOrSolution solution;
  ASSERT_TRUE(SolveIntOr(meas, camera, &solution, nullptr));
  EXPECT_DOUBLE_EQ(solution.residualLimitUm, std::clamp(3.0 * solution.rmsUm, 10.0, 50.0));
  EXPECT_GT(solution.residualLimitUm, 10.0);
  ASSERT_EQ(solution.warnings.size(), 1u);
  EXPECT_EQ(solution.warnings[0].markIndex, 7);
  ExpectWarnings(meas, camera, {"global.Warn_IntOrLargeResidual"});
  // Without the outlier the RMS is far below 10 / 3 micrometres: the floor holds, no warning.
  meas.marks[6].coordsPix.y -= 5.0;
  ASSERT_TRUE(SolveIntOr(meas, camera, &solution, nullptr));
  EXPECT_EQ(solution.residualLimitUm, 10.0);
  EXPECT_TRUE(solution.warnings.empty());
}

TEST(SolveWarnings, AWildlyBadFitCannotRaiseTheDefaultLimitPastFiftyMicrometres) {
  const TVxCameraInfo camera = GridCamera();
  TVxIntOrMeas meas = Scan(camera, TTerms(), TTransformType::Affine);
  // Every other mark 40 px (500 micrometres) off: 3 RMS is far above the ceiling.
  for (std::size_t i = 0; i < meas.marks.size(); i += 2) meas.marks[i].coordsPix.x += 40.0;
  TVxIntOrSolution solution;
  ASSERT_TRUE(SolveIntOr(meas, camera, &solution, nullptr));
  ASSERT_GT(3.0 * solution.rmsUm, 50.0);
  EXPECT_EQ(solution.residualLimitUm, 50.0);
  std::size_t above = 0;
  for (const auto& r : solution.residuals) {
    EXPECT_EQ(r.aboveLimit, r.lengthUm > 50.0) << r.index;
    above += r.aboveLimit ? 1 : 0;
  }
  EXPECT_GT(above, 12u);
  EXPECT_EQ(solution.warnings.size(), above);
}

// Marks whose calibrated positions are not exact in binary, scanned without noise: the fit is
// exact but for rounding, so the residuals are tiny but not all 0.
TVxCameraInfo InexactMarkCamera() {
  TVxCameraInfo camera;
  camera.cameraType = TCameraType::Fiducials;
  const double marks[4][2] = {{-105.3, -106.7}, {106.1, 105.9}, {-104.9, 106.3}, {105.7, -106.1}};
  for (int i = 0; i < 4; ++i) camera.fiducials.push_back({i + 1, {marks[i][0], marks[i][1]}, 0});
  return camera;
}

TTerms InexactTerms() {
  TTerms terms;
  terms.scaleXUm = 12.7;
  terms.scaleYUm = 12.3;
  terms.rotationDeg = 0.7;
  terms.shearDeg = 0.01;
  terms.originPix = {9601.3, 9598.9};
  return terms;
}

// Without redundancy (as many coordinates as unknowns) the fit passes through every mark and
// its residuals are rounding: no mark is flagged, however low the caller's limit.
TEST(SolveWarnings, WithoutRedundancyNoMarkIsFlaggedEvenBelowRounding) {
  const TVxCameraInfo camera = InexactMarkCamera();
  TVxIntOrSolveOptions options;
  options.residualLimitUm = 1e-300;
  struct TCase {
    TTransformType type;
    std::size_t marks;
  };
  for (const TCase c : {TCase{TTransformType::Similarity, 2}, TCase{TTransformType::Affine, 3},
                        TCase{TTransformType::Projective, 4}}) {
    SCOPED_TRACE(static_cast<int>(c.type));
    TTerms terms = InexactTerms();
    if (c.type == TTransformType::Similarity) terms.scaleYUm = terms.scaleXUm;
    if (c.type != TTransformType::Affine) terms.shearDeg = 0.0;
    if (c.type == TTransformType::Projective) terms.perspective = {1e-7, -2e-7};
    TVxIntOrMeas meas = Scan(camera, terms, c.type);
    meas.marks.resize(c.marks);
    // The camera has four fiducials: all four measured, or the warning that they were not.
    const std::vector<std::string> expected =
        c.marks < 4 ? std::vector<std::string>{"global.Warn_NotAllFidMeasured"}
                    : std::vector<std::string>{};
    TVxIntOrSolution solution;
    ASSERT_TRUE(SolveIntOr(meas, camera, options, &solution, nullptr));
    EXPECT_EQ(solution.redundancy, 0);
    EXPECT_EQ(solution.sigma0Um, 0.0);
    EXPECT_EQ(solution.residualLimitUm, 1e-300);
    // The residuals are rounding, and some rounding is above the limit.
    EXPECT_LT(solution.largestUm, 1e-6);
    EXPECT_GT(solution.largestUm, options.residualLimitUm);
    for (const auto& r : solution.residuals) EXPECT_FALSE(r.aboveLimit) << "mark " << r.index;
    EXPECT_EQ(Keys(solution), expected);
  }
}

// The other side: with one mark more than the unknowns need, the same rounding is above the
// same limit and the marks above it are flagged.
TEST(SolveWarnings, WithRedundancyResidualsAboveEvenAVeryLowLimitAreFlagged) {
  const TVxCameraInfo camera = InexactMarkCamera();
  TVxIntOrSolveOptions options;
  options.residualLimitUm = 1e-300;
  TTerms terms = InexactTerms();
  terms.scaleYUm = terms.scaleXUm;
  terms.shearDeg = 0.0;
  TVxIntOrMeas meas = Scan(camera, terms, TTransformType::Similarity);
  meas.marks.resize(3);
  TVxIntOrSolution solution;
  ASSERT_TRUE(SolveIntOr(meas, camera, options, &solution, nullptr));
  EXPECT_EQ(solution.redundancy, 2);
  ASSERT_GT(solution.largestUm, options.residualLimitUm);
  std::size_t flagged = 0;
  for (const auto& r : solution.residuals) {
    EXPECT_EQ(r.aboveLimit, r.lengthUm > options.residualLimitUm) << "mark " << r.index;
    if (r.aboveLimit) ++flagged;
  }
  EXPECT_GT(flagged, 0u);
}

// A limit of 0 or below is no limit: the default, 3 times the RMS and at least 10 um, holds.
TEST(SolveWarnings, ACallersLimitOfZeroOrBelowMeansTheDefault) {
  const TVxCameraInfo camera = FourMarkCamera();
  TVxIntOrMeas meas = Scan(camera, TTerms(), TTransformType::Similarity);
  meas.marks[2].coordsPix.x += 0.2;  // 2.5 micrometres off: below the default floor
  for (const double limit : {0.0, -0.0, -5.0, -1e-300}) {
    SCOPED_TRACE(limit);
    TVxIntOrSolveOptions options;
    options.residualLimitUm = limit;
    TVxIntOrSolution solution;
    ASSERT_TRUE(SolveIntOr(meas, camera, options, &solution, nullptr));
    EXPECT_EQ(solution.residualLimitUm, std::max(3.0 * solution.rmsUm, 10.0));
    EXPECT_GT(solution.largestUm, 0.5);
    EXPECT_TRUE(solution.warnings.empty());
  }
}

TEST(SolveWarnings, NotAllFiducialsMeasuredIsCarriedIntoTheSolution) {
  const TVxCameraInfo camera = FourMarkCamera();
  TVxIntOrMeas meas = Scan(camera, TTerms(), TTransformType::Affine);
  meas.marks.pop_back();
  ExpectWarnings(meas, camera, {"global.Warn_NotAllFidMeasured"});
}

TEST(SolveWarnings, SeveralWarningsComeInTheirOrder) {
  const TVxCameraInfo camera = FourMarkCamera();
  TTerms terms;
  terms.mirrored = true;
  terms.rotationDeg = 90.0;
  terms.scaleXUm = 13.0;
  TVxIntOrMeas meas = Scan(camera, terms, TTransformType::Affine);
  meas.marks.pop_back();
  meas.scanResolution = {0.0125, 0.0125};
  ExpectWarnings(meas, camera,
                 {"global.Warn_NotAllFidMeasured", "global.Warn_IntOrMirrored",
                  "global.Warn_IntOrRotationFits90", "global.Warn_IntOrScale"});
}

// ---- Failures --------------------------------------------------------------------------------

TEST(SolveFailures, ARecordThatIsNotReadyGivesTheReadinessMessage) {
  const TVxCameraInfo camera = FourMarkCamera();
  ExpectFailure(TVxIntOrMeas(), camera, "global.Err_MeasurementsNotPerformed");
  TVxIntOrMeas one = Scan(camera, TTerms(), TTransformType::Similarity);
  one.marks.resize(1);
  ExpectFailure(one, camera, "global.Err_NFidLessMin");
}

TEST(SolveFailures, TooFewMarksForTheTransform) {
  const TVxCameraInfo camera = FourMarkCamera();
  TVxIntOrMeas meas = Scan(camera, TTerms(), TTransformType::Affine);
  meas.marks.resize(2);
  ExpectFailure(meas, camera, "global.Err_IntOrTooFewAffine");
  meas.marks.push_back(meas.marks[0]);  // a third mark, but of a fiducial measured already
  ExpectFailure(meas, camera, "global.Err_IntOrTooFewAffine");
  meas = Scan(camera, TTerms(), TTransformType::Projective);
  meas.marks.resize(3);
  ExpectFailure(meas, camera, "global.Err_IntOrTooFewProjective");
}

TEST(SolveFailures, CrossMarksOtherThanOneToFourEachOnce) {
  TVxCameraInfo camera;
  camera.cameraType = TCameraType::Cross;
  TVxIntOrMeas meas;
  meas.cameraType = TCameraType::Cross;
  meas.scanResolution = {0.0125, 0.0125};
  meas.marks = {
      {1, {800, 9600}, {}}, {2, {18400, 9600}, {}}, {3, {9600, 800}, {}}, {3, {9600, 18400}, {}}};
  ExpectFailure(meas, camera, "global.Err_IntOrCrossMarks");
  meas.marks[3].index = 5;
  ExpectFailure(meas, camera, "global.Err_IntOrCrossMarks");
  meas.marks[3].index = 4;
  TVxIntOrSolution solution;
  EXPECT_TRUE(SolveIntOr(meas, camera, &solution, nullptr));
}

TEST(SolveFailures, ACalibratedCrossWithoutLengths) {
  TVxCameraInfo camera;
  camera.cameraType = TCameraType::CalibratedCross;
  camera.lengthX = 220.0;
  TVxIntOrMeas meas;
  meas.cameraType = TCameraType::CalibratedCross;
  meas.marks = {
      {1, {800, 9600}, {}}, {2, {18400, 9600}, {}}, {3, {9600, 800}, {}}, {4, {9600, 18400}, {}}};
  ExpectFailure(meas, camera, "global.Err_IntOrCrossLengths");
  camera.lengthY = -1.0;
  ExpectFailure(meas, camera, "global.Err_IntOrCrossLengths");
}

TEST(SolveFailures, ADigitalCameraWithoutPixelOrSensorSize) {
  TVxCameraInfo camera = CreateDefaultDMCCamera();
  TVxIntOrMeas meas;
  meas.cameraType = TCameraType::Digital;
  meas.rotation = TCamRotate::Rotate0;
  TVxIntOrSolution solution;
  EXPECT_TRUE(SolveIntOr(meas, camera, &solution, nullptr));
  camera.pixelSize.y = 0.0;
  ExpectFailure(meas, camera, "global.Err_IntOrSensor");
  camera = CreateDefaultDMCCamera();
  camera.sensorDims.x = 0;
  ExpectFailure(meas, camera, "global.Err_IntOrSensor");
}

// Each of the four sizes alone at 0: the width and height of a pixel and of the sensor.
TEST(SolveFailures, ADigitalCameraWithAnyOneSizeZeroOrAPixelSizeNegative) {
  TVxIntOrMeas meas;
  meas.cameraType = TCameraType::Digital;
  meas.rotation = TCamRotate::Rotate90;
  for (int which = 0; which < 4; ++which) {
    SCOPED_TRACE(which);
    TVxCameraInfo camera = CreateDefaultDMCCamera();
    TVxIntOrSolution solution;
    ASSERT_TRUE(SolveIntOr(meas, camera, &solution, nullptr));
    switch (which) {
      case 0:
        camera.pixelSize.x = 0.0;
        break;
      case 1:
        camera.pixelSize.y = 0.0;
        break;
      case 2:
        camera.sensorDims.x = 0;
        break;
      default:
        camera.sensorDims.y = 0;
        break;
    }
    ExpectFailure(meas, camera, "global.Err_IntOrSensor");
  }
  // A negative pixel size along either axis.
  TVxCameraInfo camera = CreateDefaultDMCCamera();
  camera.pixelSize.x = -camera.pixelSize.x;
  ExpectFailure(meas, camera, "global.Err_IntOrSensor");
  camera = CreateDefaultDMCCamera();
  camera.pixelSize.y = -camera.pixelSize.y;
  ExpectFailure(meas, camera, "global.Err_IntOrSensor");
}

TEST(SolveFailures, ValuesThatAreNotFiniteNumbers) {
  constexpr double nan = std::numeric_limits<double>::quiet_NaN();
  constexpr double inf = std::numeric_limits<double>::infinity();
  TVxCameraInfo camera = FourMarkCamera();
  TVxIntOrMeas meas = Scan(camera, TTerms(), TTransformType::Affine);
  meas.marks[1].coordsPix.y = nan;
  ExpectFailure(meas, camera, "global.Err_IntOrNotFinite");
  meas = Scan(camera, TTerms(), TTransformType::Affine);
  camera.fiducials[3].coordsCam.x = inf;
  ExpectFailure(meas, camera, "global.Err_IntOrNotFinite");
  // A scan resolution that is not a number passes the readiness check, not this one.
  TVxCameraInfo ppCamera;
  ppCamera.cameraType = TCameraType::PrincipalPoint;
  TVxIntOrMeas pp;
  pp.cameraType = TCameraType::PrincipalPoint;
  pp.rotation = TCamRotate::Rotate0;
  pp.marks = {{1, {9600, 9600}, {}}};
  pp.scanResolution = {0.0125, nan};
  ASSERT_TRUE(pp.IntOrReady(ppCamera, nullptr));
  ExpectFailure(pp, ppCamera, "global.Err_IntOrNotFinite");
}

TEST(SolveFailures, MarksThatDoNotDetermineTheTransform) {
  // Three fiducials on one line cannot fix an affine transform.
  TVxCameraInfo camera;
  camera.cameraType = TCameraType::Fiducials;
  camera.fiducials = {
      {1, {-100, -100}, 0}, {2, {0, 0}, 0}, {3, {100, 100}, 0}, {4, {100, -100}, 0}};
  TVxIntOrMeas meas = Scan(camera, TTerms(), TTransformType::Affine);
  meas.marks.pop_back();
  ExpectFailure(meas, camera, "global.Err_IntOrDegenerate");
  // Two fiducials with one calibrated position.
  camera.fiducials[1].coordsCam = camera.fiducials[0].coordsCam;
  meas = Scan(camera, TTerms(), TTransformType::Similarity);
  meas.marks.resize(2);
  ExpectFailure(meas, camera, "global.Err_IntOrDegenerate");
  // A cross whose arms are parallel.
  TVxCameraInfo cross;
  cross.cameraType = TCameraType::Cross;
  TVxIntOrMeas arms;
  arms.cameraType = TCameraType::Cross;
  arms.scanResolution = {0.0125, 0.0125};
  arms.marks = {
      {1, {800, 9600}, {}}, {2, {18400, 9600}, {}}, {3, {18000, 9600}, {}}, {4, {1000, 9600}, {}}};
  ExpectFailure(arms, cross, "global.Err_IntOrDegenerate");
}

TEST(SolveFailures, MarksMeasuredAtTwoPixelPositionsAreDegenerate) {
  const TVxCameraInfo camera = FourMarkCamera();
  for (const TTransformType type :
       {TTransformType::Similarity, TTransformType::Affine, TTransformType::Projective}) {
    SCOPED_TRACE(static_cast<int>(type));
    TVxIntOrMeas meas = Scan(camera, TTerms(), type);
    meas.marks[0].coordsPix = meas.marks[2].coordsPix = {1166.6, 18114.1};
    meas.marks[1].coordsPix = meas.marks[3].coordsPix = {18090.2, 1118.2};
    ExpectFailure(meas, camera, "global.Err_IntOrDegenerate");
  }
}

// Fiducials on one line whose coordinates are decimals that binary cannot hold: rounding
// leaves them off the line by about 1e-14 mm, and a millionth of a micrometre off it changes
// nothing. Neither fixes an affine or a projective transform. A micrometre off the line does.
TEST(SolveFailures, NearlyCollinearMarksWithInexactCoordinatesAreDegenerate) {
  // On y = x / 3 + 0.1 (mm), from -105.3 to 106.2: exact in decimals only.
  const double line[5][2] = {
      {-105.3, -35.0}, {-52.2, -17.3}, {0.9, 0.4}, {54.0, 18.1}, {106.2, 35.5}};
  for (const double off : {0.0, 1e-9, 1e-3}) {
    SCOPED_TRACE(off);
    TVxCameraInfo camera;
    camera.cameraType = TCameraType::Fiducials;
    for (int i = 0; i < 5; ++i) camera.fiducials.push_back({i + 1, {line[i][0], line[i][1]}, 0});
    // The middle mark moved across the line.
    camera.fiducials[2].coordsCam += TPoint{-off, 3.0 * off} / std::sqrt(10.0);
    for (const TTransformType type : {TTransformType::Affine, TTransformType::Projective}) {
      SCOPED_TRACE(static_cast<int>(type));
      TVxIntOrMeas meas = Scan(camera, InexactTerms(), type);
      if (off < 1e-6) {
        ExpectFailure(meas, camera, "global.Err_IntOrDegenerate");
      } else if (type == TTransformType::Affine) {
        // A micrometre across 212 mm: an affine map is determined (poorly, but it is).
        TVxIntOrSolution solution;
        EXPECT_TRUE(SolveIntOr(meas, camera, &solution, nullptr));
      }
    }
  }
  // Three of them for an affine transform, four for a projective one.
  TVxCameraInfo camera;
  camera.cameraType = TCameraType::Fiducials;
  for (int i = 0; i < 5; ++i) camera.fiducials.push_back({i + 1, {line[i][0], line[i][1]}, 0});
  TVxIntOrMeas meas = Scan(camera, InexactTerms(), TTransformType::Affine);
  meas.marks = {meas.marks[0], meas.marks[2], meas.marks[4]};
  ExpectFailure(meas, camera, "global.Err_IntOrDegenerate");
  meas = Scan(camera, InexactTerms(), TTransformType::Projective);
  meas.marks.resize(4);
  ExpectFailure(meas, camera, "global.Err_IntOrDegenerate");
}

// Cross arms along one line whose pixel coordinates are decimals that binary cannot hold: the
// arms are parallel but for rounding, which fixes no orientation.
TEST(SolveFailures, NearlyParallelCrossArmsWithInexactCoordinatesAreDegenerate) {
  for (const TCameraType type : {TCameraType::Cross, TCameraType::CalibratedCross}) {
    SCOPED_TRACE(static_cast<int>(type));
    TVxCameraInfo camera;
    camera.cameraType = type;
    camera.lengthX = 220.0;
    camera.lengthY = 220.0;
    TVxIntOrMeas meas;
    meas.cameraType = type;
    meas.scanResolution = {0.0125, 0.0125};
    // On y = 0.3 x + 0.1 (pixels): the -x, +x, +y and -y ends.
    meas.marks = {{1, {800.1, 240.13}, {}},
                  {2, {18400.3, 5520.19}, {}},
                  {3, {18000.7, 5400.31}, {}},
                  {4, {1000.9, 300.37}, {}}};
    ExpectFailure(meas, camera, "global.Err_IntOrDegenerate");
  }
}

TEST(SolveFailures, MarksMeasuredAlongOneLineOfTheImageAreDegenerate) {
  const TVxCameraInfo camera = GridCamera();
  TVxIntOrMeas meas = Scan(camera, TTerms(), TTransformType::Affine);
  // Each mark moved onto the line y = 0.3 x + 17.1, then off it by a few hundred-thousandths of
  // a pixel: coordinates that are not exact in binary, on no exact line.
  std::mt19937 random(11);  // fixed seed
  std::uniform_real_distribution<double> off(-3e-5, 3e-5);
  for (auto& m : meas.marks) m.coordsPix.y = 0.3 * m.coordsPix.x + 17.1 + off(random);
  ExpectFailure(meas, camera, "global.Err_IntOrDegenerate");
  meas.transformType = TTransformType::Projective;
  ExpectFailure(meas, camera, "global.Err_IntOrDegenerate");
}

TEST(SolveFailures, AScanWithAxesOfVeryDifferentScaleIsStillSolved) {
  // Twice the pixel size across as along: far from degenerate, if far from any scanner.
  const TVxCameraInfo camera = GridCamera();
  TTerms terms;
  terms.scaleXUm = 25.0;
  terms.scaleYUm = 12.5;
  const TVxIntOrMeas meas = Scan(camera, terms, TTransformType::Affine);
  TVxIntOrMeas copy = meas;
  TVxIntOrSolution solution;
  ASSERT_TRUE(SolveIntOr(copy, camera, &solution, nullptr));
  EXPECT_NEAR(solution.scaleXUm, 25.0, 1e-9);
  EXPECT_NEAR(solution.scaleYUm, 12.5, 1e-9);
}

TEST(SolveFailures, AProjectiveFitThatDoesNotConvergeInTime) {
  const TVxCameraInfo camera = GridCamera();
  TTerms terms;
  terms.perspective = {1e-6, 0.0};
  TVxIntOrMeas meas = Scan(camera, terms, TTransformType::Projective);
  meas.marks[3].coordsPix.x += 3.0;
  TVxIntOrSolveOptions options;
  options.maxIterations = 1;
  ExpectFailure(meas, camera, "global.Err_IntOrNoConvergence", options);
  options.maxIterations = 50;
  TVxIntOrSolution solution;
  EXPECT_TRUE(SolveIntOr(meas, camera, options, &solution, nullptr));
}

}  // namespace
