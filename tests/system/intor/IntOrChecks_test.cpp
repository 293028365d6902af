#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "VxIntOrMeas.h"
#include "VxResourceGuards.h"

namespace {

TVxCameraInfo CameraOfType(TCameraType type) {
  TVxCameraInfo camera;
  camera.cameraType = type;
  return camera;
}

TVxCameraInfo FiducialCamera(std::initializer_list<int> indices) {
  TVxCameraInfo camera = CameraOfType(TCameraType::Fiducials);
  for (int index : indices) camera.fiducials.push_back({index, {index * 10.0, 0.0}, index});
  return camera;
}

TVxIntOrMeas Meas(TCameraType type, std::initializer_list<int> indices) {
  TVxIntOrMeas meas;
  meas.cameraType = type;
  for (int index : indices) meas.marks.push_back({index, {100.0 * index, 50.0}, {}});
  return meas;
}

// A check's outcome in one language: the result and the message it left.
struct TOutcome {
  bool ready;
  std::string message;
};

enum class TCheck { Verify, Ready };

TOutcome RunCheck(TCheck check, const TVxIntOrMeas& meas, const TVxCameraInfo& camera,
                  const std::string& language, const std::string& before = "before") {
  ScopedResLanguage scope(language);
  std::string message = before;
  const bool ok =
      check == TCheck::Verify ? meas.Verify(camera, &message) : meas.IntOrReady(camera, &message);
  return {ok, message};
}

class IntOrChecksTest : public testing::TestWithParam<std::string> {
 protected:
  std::string Language() const { return GetParam(); }
  std::string Text(const char* key) const { return ResText(key, Language()); }

  // Expects the check to fail with the text of `key`, and the same bool without a message.
  void ExpectFails(TCheck check, const TVxIntOrMeas& meas, const TVxCameraInfo& camera,
                   const char* key) const {
    const TOutcome outcome = RunCheck(check, meas, camera, Language());
    EXPECT_FALSE(outcome.ready) << key;
    EXPECT_EQ(outcome.message, Text(key));
    const bool withoutMessage =
        check == TCheck::Verify ? meas.Verify(camera, nullptr) : meas.IntOrReady(camera, nullptr);
    EXPECT_FALSE(withoutMessage) << key;
  }

  // Expects the check to pass and to leave the message as it was.
  void ExpectPassesSilently(TCheck check, const TVxIntOrMeas& meas,
                            const TVxCameraInfo& camera) const {
    const TOutcome outcome = RunCheck(check, meas, camera, Language(), "kept text");
    EXPECT_TRUE(outcome.ready);
    EXPECT_EQ(outcome.message, "kept text");
    EXPECT_TRUE(check == TCheck::Verify ? meas.Verify(camera, nullptr)
                                        : meas.IntOrReady(camera, nullptr));
  }
};

}  // namespace

TEST_P(IntOrChecksTest, NewRecordIsNotMeasuredWhateverTheCamera) {
  for (int type = 0; type <= 5; ++type) {
    ExpectFails(TCheck::Verify, TVxIntOrMeas(), CameraOfType(static_cast<TCameraType>(type)),
                "global.Err_MeasurementsNotPerformed");
  }
  ExpectFails(TCheck::Ready, TVxIntOrMeas(), CreateDefaultDMCCamera(),
              "global.Err_MeasurementsNotPerformed");
}

TEST_P(IntOrChecksTest, TypeOutsideTableIsNotMeasured) {
  ExpectFails(TCheck::Verify, Meas(static_cast<TCameraType>(6), {}),
              CameraOfType(static_cast<TCameraType>(6)), "global.Err_MeasurementsNotPerformed");
}

TEST_P(IntOrChecksTest, CrossRecordAgainstFiducialCameraIsTypeMismatch) {
  ExpectFails(TCheck::Verify, Meas(TCameraType::Cross, {1, 2, 3, 4}), FiducialCamera({1, 2}),
              "global.Err_MeasTypeMismatch");
}

TEST_P(IntOrChecksTest, PrincipalPointWithTwoMarksIsTooMany) {
  ExpectFails(TCheck::Verify, Meas(TCameraType::PrincipalPoint, {1, 2}),
              CameraOfType(TCameraType::PrincipalPoint), "global.Err_FidMeasTooMany");
}

TEST_P(IntOrChecksTest, PrincipalPointWithoutMarksPassesVerifyButIsNotReady) {
  TVxIntOrMeas meas = Meas(TCameraType::PrincipalPoint, {});
  meas.rotation = TCamRotate::Rotate0;
  meas.scanResolution = {0.02, 0.02};
  const TVxCameraInfo camera = CameraOfType(TCameraType::PrincipalPoint);
  ExpectPassesSilently(TCheck::Verify, meas, camera);
  ExpectFails(TCheck::Ready, meas, camera, "global.Err_NFidLessMin");
}

TEST_P(IntOrChecksTest, PrincipalPointWithoutRotationFailsBeforeMarksAreCounted) {
  ExpectFails(TCheck::Ready, Meas(TCameraType::PrincipalPoint, {}),
              CameraOfType(TCameraType::PrincipalPoint), "global.Err_InvalidCamRotate");
}

TEST_P(IntOrChecksTest, CrossWithoutRotationButComplete) {
  TVxIntOrMeas meas = Meas(TCameraType::Cross, {1, 2, 3, 4});
  meas.scanResolution = {600.0, 600.0};
  meas.resolutionUnits = TResolutionUnits::Dpi;
  ExpectPassesSilently(TCheck::Ready, meas, CameraOfType(TCameraType::Cross));
}

TEST_P(IntOrChecksTest, CrossWithFiveMarksIsTooManyAndWithThreeTooFew) {
  TVxIntOrMeas meas = Meas(TCameraType::Cross, {1, 2, 3, 4, 5});
  meas.scanResolution = {0.02, 0.02};
  ExpectFails(TCheck::Verify, meas, CameraOfType(TCameraType::Cross), "global.Err_FidMeasTooMany");
  meas.marks.resize(3);
  ExpectFails(TCheck::Ready, meas, CameraOfType(TCameraType::Cross), "global.Err_NFidLessMin");
}

TEST_P(IntOrChecksTest, DigitalWithoutMarksAndWithRotationIsReady) {
  TVxIntOrMeas meas = Meas(TCameraType::Digital, {});
  meas.rotation = TCamRotate::Rotate90;
  ExpectPassesSilently(TCheck::Ready, meas, CreateDefaultDMCCamera());
}

TEST_P(IntOrChecksTest, DigitalWithOneMarkIsTooMany) {
  TVxIntOrMeas meas = Meas(TCameraType::Digital, {1});
  meas.rotation = TCamRotate::Rotate90;
  ExpectFails(TCheck::Verify, meas, CreateDefaultDMCCamera(), "global.Err_FidMeasTooMany");
  ExpectFails(TCheck::Ready, meas, CreateDefaultDMCCamera(), "global.Err_FidMeasTooMany");
}

TEST_P(IntOrChecksTest, DigitalWithoutRotationIsNotReady) {
  ExpectFails(TCheck::Ready, Meas(TCameraType::Digital, {}), CreateDefaultDMCCamera(),
              "global.Err_InvalidCamRotate");
}

TEST_P(IntOrChecksTest, AllFourFiducialsMeasuredIsReadyWithMessageUntouched) {
  ExpectPassesSilently(TCheck::Ready, Meas(TCameraType::Fiducials, {1, 2, 3, 4}),
                       FiducialCamera({1, 2, 3, 4}));
}

TEST_P(IntOrChecksTest, TwoOfFourFiducialsIsReadyWithWarning) {
  const TVxIntOrMeas meas = Meas(TCameraType::Fiducials, {1, 3});
  const TVxCameraInfo camera = FiducialCamera({1, 2, 3, 4});
  const TOutcome outcome = RunCheck(TCheck::Ready, meas, camera, Language());
  EXPECT_TRUE(outcome.ready);
  EXPECT_EQ(outcome.message, Text("global.Warn_NotAllFidMeasured"));
  EXPECT_TRUE(meas.IntOrReady(camera, nullptr));
}

TEST_P(IntOrChecksTest, OneDistinctFiducialIsTooFew) {
  const TVxCameraInfo camera = FiducialCamera({1, 2, 3, 4});
  ExpectFails(TCheck::Ready, Meas(TCameraType::Fiducials, {1}), camera, "global.Err_NFidLessMin");
  ExpectFails(TCheck::Ready, Meas(TCameraType::Fiducials, {1, 1}), camera,
              "global.Err_NFidLessMin");
}

TEST_P(IntOrChecksTest, MarkUnknownToCameraFailsVerify) {
  const TVxIntOrMeas meas = Meas(TCameraType::Fiducials, {1, 2, 9});
  ExpectFails(TCheck::Verify, meas, FiducialCamera({1, 2, 3, 4}),
              "global.Err_FidMeasMismatchCamera");
  ExpectFails(TCheck::Ready, meas, FiducialCamera({1, 2, 3, 4}),
              "global.Err_FidMeasMismatchCamera");
}

TEST_P(IntOrChecksTest, DuplicateMarksAndManyMarksPassVerify) {
  ExpectPassesSilently(TCheck::Verify, Meas(TCameraType::Fiducials, {1, 1, 2, 2, 3, 3, 4, 4}),
                       FiducialCamera({1, 2, 3, 4}));
}

TEST_P(IntOrChecksTest, CameraWithoutFiducialsAndNoMarksPassesVerifyButIsNotReady) {
  const TVxIntOrMeas meas = Meas(TCameraType::Fiducials, {});
  const TVxCameraInfo camera = FiducialCamera({});
  ExpectPassesSilently(TCheck::Verify, meas, camera);
  ExpectFails(TCheck::Ready, meas, camera, "global.Err_NFidLessMin");
  ExpectFails(TCheck::Verify, Meas(TCameraType::Fiducials, {1}), camera,
              "global.Err_FidMeasMismatchCamera");
}

TEST_P(IntOrChecksTest, CalibratedCrossNeedsNeitherResolutionNorRotation) {
  ExpectPassesSilently(TCheck::Ready, Meas(TCameraType::CalibratedCross, {1, 2, 3, 4}),
                       CameraOfType(TCameraType::CalibratedCross));
}

TEST_P(IntOrChecksTest, CrossResolutionMustBePositiveInBothAxes) {
  TVxIntOrMeas meas = Meas(TCameraType::Cross, {1, 2, 3, 4});
  const TVxCameraInfo camera = CameraOfType(TCameraType::Cross);
  meas.scanResolution = {0.02, 0.0};
  ExpectFails(TCheck::Ready, meas, camera, "global.Err_IncorrectResolution");
  meas.scanResolution = {-0.02, 0.02};
  ExpectFails(TCheck::Ready, meas, camera, "global.Err_IncorrectResolution");
}

// Each coordinate alone at 0 or below, for both kinds that need a resolution; the other
// coordinate is a good one.
TEST_P(IntOrChecksTest, EachResolutionCoordinateAloneZeroOrNegativeIsIncorrect) {
  TVxIntOrMeas cross = Meas(TCameraType::Cross, {1, 2, 3, 4});
  TVxIntOrMeas pp = Meas(TCameraType::PrincipalPoint, {1});
  pp.rotation = TCamRotate::Rotate270;
  for (TVxIntOrMeas* meas : {&cross, &pp}) {
    const TVxCameraInfo camera = CameraOfType(meas->cameraType);
    meas->scanResolution = {0.02, 0.03};
    ExpectPassesSilently(TCheck::Ready, *meas, camera);
    for (const vec_t_<double, 2> resolution :
         {vec_t_<double, 2>{0.0, 0.03}, vec_t_<double, 2>{0.02, 0.0}, vec_t_<double, 2>{-0.0, 0.03},
          vec_t_<double, 2>{0.02, -0.0}, vec_t_<double, 2>{-1e-300, 0.03},
          vec_t_<double, 2>{0.02, -1e-300}}) {
      SCOPED_TRACE(testing::Message() << resolution.x << ", " << resolution.y);
      meas->scanResolution = resolution;
      ExpectFails(TCheck::Ready, *meas, camera, "global.Err_IncorrectResolution");
    }
  }
}

TEST_P(IntOrChecksTest, ResolutionThatIsNotANumberPasses) {
  TVxIntOrMeas meas = Meas(TCameraType::Cross, {1, 2, 3, 4});
  meas.scanResolution = {std::numeric_limits<double>::quiet_NaN(), 0.02};
  ExpectPassesSilently(TCheck::Ready, meas, CameraOfType(TCameraType::Cross));
}

TEST_P(IntOrChecksTest, UnitsOutsideTableAreNotSpecified) {
  TVxIntOrMeas meas = Meas(TCameraType::Cross, {1, 2, 3, 4});
  meas.scanResolution = {0.02, 0.02};
  meas.resolutionUnits = static_cast<TResolutionUnits>(0);
  ExpectFails(TCheck::Ready, meas, CameraOfType(TCameraType::Cross),
              "global.Err_UnitsNotSpecified");
  TVxIntOrMeas pp = Meas(TCameraType::PrincipalPoint, {1});
  pp.rotation = TCamRotate::Rotate180;
  pp.scanResolution = {0.02, 0.02};
  pp.resolutionUnits = static_cast<TResolutionUnits>(3);
  ExpectFails(TCheck::Ready, pp, CameraOfType(TCameraType::PrincipalPoint),
              "global.Err_UnitsNotSpecified");
}

TEST_P(IntOrChecksTest, MessageIsReplacedNotAppended) {
  const TOutcome outcome = RunCheck(TCheck::Verify, TVxIntOrMeas(), TVxCameraInfo(), Language(),
                                    "a long earlier message that must vanish");
  EXPECT_EQ(outcome.message, Text("global.Err_MeasurementsNotPerformed"));
}

TEST_P(IntOrChecksTest, TransformTypeDoesNotChangeMinimumOfTwoFiducials) {
  for (int t = 1; t <= 3; ++t) {
    TVxIntOrMeas meas = Meas(TCameraType::Fiducials, {1, 2});
    meas.transformType = static_cast<TTransformType>(t);
    EXPECT_TRUE(meas.IntOrReady(FiducialCamera({1, 2}), nullptr)) << t;
  }
}

INSTANTIATE_TEST_SUITE_P(Languages, IntOrChecksTest, testing::Values("en", "de"));

TEST(IntOrChecks, UnknownTextsGiveEmptyMessageWithSameResult) {
  ScopedNoResTexts none;
  std::string message = "before";
  EXPECT_FALSE(TVxIntOrMeas().Verify(TVxCameraInfo(), &message));
  EXPECT_EQ(message, "");
}

TEST(IntOrChecks, NewRecordHoldsItsStatedValues) {
  const TVxIntOrMeas meas;
  EXPECT_EQ(static_cast<int>(meas.cameraType), 0);
  EXPECT_TRUE(meas.marks.empty());
  EXPECT_EQ(meas.scanResolution, (vec_t_<double, 2>{0.0, 0.0}));
  EXPECT_EQ(meas.resolutionUnits, TResolutionUnits::Mm);
  EXPECT_EQ(static_cast<int>(meas.rotation), 0);
  EXPECT_EQ(meas.transformType, TTransformType::Affine);
}
