#include <gtest/gtest.h>

#include <string>

#include "VxCameraInfo.h"
#include "VxIntOrMeas.h"
#include "VxResourceGuards.h"

namespace {

using TDirection = TVxCameraDistortion::TDirection;

struct TUserTextCase {
  std::string (*function)(int);
  int value;
  const char* key;  // null: outside the table
};

std::string CameraType(int v) {
  return CameraTypeToUserText(static_cast<TCameraType>(v));
}
std::string Distortion(int v) {
  return DistortionTypeToUserText(static_cast<TDistortionType>(v));
}
std::string Direction(int v) {
  return TVxCameraDistortion::DirectionToUserText(static_cast<TDirection>(v));
}
std::string Rotation(int v) {
  return CamRotateToUserText(static_cast<TCamRotate>(v));
}
std::string Transform(int v) {
  return TransformTypeToUserText(static_cast<TTransformType>(v));
}
std::string Pixel(int) {
  return UnitsPixUserTextAbbr();
}
std::string Millimetre(int) {
  return UnitsCamMmUserTextAbbr();
}
std::string Micrometre(int) {
  return UnitsCamMkmUserTextAbbr();
}

const TUserTextCase kCases[] = {
    {CameraType, 0, nullptr},
    {CameraType, 1, "global.TEXT_CI_TYPE_PPONLY"},
    {CameraType, 2, "global.TEXT_CI_TYPE_CROSS"},
    {CameraType, 3, "global.TEXT_CI_TYPE_CALIBRATED"},
    {CameraType, 4, "global.TEXT_CI_TYPE_FIDUCIAL"},
    {CameraType, 5, "global.TEXT_CI_TYPE_DIGITAL"},
    {CameraType, 6, nullptr},
    {Distortion, 0, nullptr},
    {Distortion, 1, "global.TEXT_CI_DISTORT_NONE"},
    {Distortion, 2, "global.TEXT_CI_DISTORT_FORMULA"},
    {Distortion, 3, "global.TEXT_CI_DISTORT_RADIAL"},
    {Distortion, 4, "global.TEXT_CI_DISTORT_4PLUS"},
    {Distortion, 5, "global.TEXT_CI_DISTORT_4CROSS"},
    {Distortion, 6, "global.TEXT_CI_DISTORT_8DIRECT"},
    {Distortion, 7, "global.TEXT_CI_DISTORT_MIXED"},
    {Distortion, 8, "global.TEXT_CI_DISTORT_POLYNOMIAL"},
    {Distortion, 9, nullptr},
    {Direction, 0, "global.TEXT_DD_CamToMm"},
    {Direction, 1, "global.TEXT_DD_MmToCam"},
    {Direction, 2, nullptr},
    {Direction, -1, nullptr},
    {Rotation, -1, nullptr},
    {Rotation, 0, "global.TEXT_IO_CAMROTATE_INVALID"},
    {Rotation, 1, "global.TEXT_IO_CAMROTATE_0"},
    {Rotation, 2, "global.TEXT_IO_CAMROTATE_90"},
    {Rotation, 3, "global.TEXT_IO_CAMROTATE_180"},
    {Rotation, 4, "global.TEXT_IO_CAMROTATE_270"},
    {Rotation, 5, nullptr},
    {Transform, 0, nullptr},
    {Transform, 1, "global.TEXT_IO_TRANSFORM_RSS"},
    {Transform, 2, "global.TEXT_IO_TRANSFORM_AFFINE"},
    {Transform, 3, "global.TEXT_IO_TRANSFORM_PROJECTIVE"},
    {Transform, 4, nullptr},
    {Pixel, 0, "global.TEXT_CI_UNITS_PIXEL"},
    {Millimetre, 0, "global.TEXT_CI_UNITS_MM"},
    {Micrometre, 0, "global.TEXT_CI_UNITS_MKM"},
};

class UserTextTest : public testing::TestWithParam<std::string> {};

}  // namespace

TEST_P(UserTextTest, EachValueGivesTextOfItsKeyOrQuestionMarks) {
  const std::string language = GetParam();
  for (const auto& c : kCases) {
    ScopedResLanguage scope(language);
    const std::string expected = c.key != nullptr ? ResText(c.key, language) : "???";
    EXPECT_EQ(c.function(c.value), expected) << (c.key ? c.key : "outside") << " value " << c.value;
  }
}

INSTANTIATE_TEST_SUITE_P(Languages, UserTextTest, testing::Values("en", "de"));

TEST(UserText, WithoutAnyTextsInsideGivesEmptyAndOutsideGivesQuestionMarks) {
  ScopedNoResTexts none;
  for (const auto& c : kCases) {
    EXPECT_EQ(c.function(c.value), c.key != nullptr ? "" : "???") << c.value;
  }
}

TEST(UserText, KeysThatDoNotFollowEnumeratorNamesAreUsed) {
  EXPECT_EQ(TransformTypeToUserText(TTransformType::Similarity),
            ResText("global.TEXT_IO_TRANSFORM_RSS", "en"));
  EXPECT_EQ(DistortionTypeToUserText(TDistortionType::Directed4X),
            ResText("global.TEXT_CI_DISTORT_4CROSS", "en"));
}

TEST(UserText, TextIsLookedUpAnewOnEveryCall) {
  const std::string english = CameraTypeToUserText(TCameraType::Digital);
  ScopedResLanguage german("de");
  EXPECT_NE(CameraTypeToUserText(TCameraType::Digital), english);
  EXPECT_EQ(CameraTypeToUserText(TCameraType::Digital), "Digitaler Sensor");
}
