#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "VxCameraInfo.h"
#include "VxIntOrMeas.h"

namespace {

// Runs `call` and returns the message of the std::runtime_error it throws.
template <class F>
std::string RuntimeErrorOf(F call) {
  try {
    call();
  } catch (const std::runtime_error& e) {
    return e.what();
  }
  return "<nothing thrown>";
}

using TOrigin = TVxCameraInfo::TDigitalCameraOrigin;
using TDirection = TVxCameraDistortion::TDirection;

}  // namespace

TEST(EnumText, CameraTypeMatchesExactlyAndCaseSensitively) {
  EXPECT_EQ(TextToCameraType("Cross"), TCameraType::Cross);
  EXPECT_EQ(static_cast<int>(TextToCameraType("Cross")), 2);
  EXPECT_EQ(static_cast<int>(TextToCameraType("cross")), 0);
  EXPECT_EQ(static_cast<int>(TextToCameraType(" Cross")), 0);
  EXPECT_EQ(static_cast<int>(TextToCameraType("Cross ")), 0);
}

TEST(EnumText, UnknownTextGivesTerminatorValueOfEachTable) {
  EXPECT_EQ(static_cast<int>(TextToDigitalCameraOrigin("Middle")), -1);
  EXPECT_EQ(TVxCameraDistortion::TextToDirection("Sideways"), TDirection::CamToMm);
  EXPECT_EQ(static_cast<int>(TextToDistortionType("Fromula")), 0);
  EXPECT_EQ(static_cast<int>(TextToResolutionUnits("inch")), 0);
  EXPECT_EQ(static_cast<int>(TextToCamRotate("45")), 0);
  EXPECT_EQ(static_cast<int>(TextToTransformType("affine")), 0);
}

TEST(EnumText, UnknownTextThrowsWithoutHeadLine) {
  EXPECT_EQ(RuntimeErrorOf([] { TextToCamRotateE("45"); }),
            "@TextToEnumE(): Invalid text value: 45.");
  EXPECT_EQ(RuntimeErrorOf([] { TextToCameraTypeE("cross"); }),
            "@TextToEnumE(): Invalid text value: cross.");
  EXPECT_EQ(RuntimeErrorOf([] { TextToDigitalCameraOriginE("Middle"); }),
            "@TextToEnumE(): Invalid text value: Middle.");
  EXPECT_EQ(RuntimeErrorOf([] { TVxCameraDistortion::TextToDirectionE("Sideways"); }),
            "@TextToEnumE(): Invalid text value: Sideways.");
  EXPECT_EQ(RuntimeErrorOf([] { TextToDistortionTypeE(""); }),
            "@TextToEnumE(): Invalid text value: .");
  EXPECT_EQ(RuntimeErrorOf([] { TextToResolutionUnitsE("inch"); }),
            "@TextToEnumE(): Invalid text value: inch.");
  EXPECT_EQ(RuntimeErrorOf([] { TextToTransformTypeE("RSS"); }),
            "@TextToEnumE(): Invalid text value: RSS.");
}

TEST(EnumText, UnknownValueThrowsWithContextAsHeadLine) {
  EXPECT_EQ(RuntimeErrorOf([] { CameraTypeToTextE(static_cast<TCameraType>(7), "@X: bad"); }),
            "@X: bad\n@EnumToTextE(): Invalid enum value: 7.");
}

TEST(EnumText, UnknownValueWithNullOrEmptyContextThrowsOnlyTheSecondLine) {
  EXPECT_EQ(RuntimeErrorOf([] { CameraTypeToTextE(static_cast<TCameraType>(7), nullptr); }),
            "@EnumToTextE(): Invalid enum value: 7.");
  EXPECT_EQ(RuntimeErrorOf([] { CameraTypeToTextE(static_cast<TCameraType>(7), ""); }),
            "@EnumToTextE(): Invalid enum value: 7.");
}

TEST(EnumText, UnsetValuesAndNegativeValuesHaveNoText) {
  EXPECT_EQ(RuntimeErrorOf([] { CameraTypeToTextE(static_cast<TCameraType>(0), nullptr); }),
            "@EnumToTextE(): Invalid enum value: 0.");
  EXPECT_EQ(RuntimeErrorOf([] { CamRotateToTextE(static_cast<TCamRotate>(-3), "@Save"); }),
            "@Save\n@EnumToTextE(): Invalid enum value: -3.");
  EXPECT_EQ(RuntimeErrorOf([] { DigitalCameraOriginToTextE(static_cast<TOrigin>(-1), nullptr); }),
            "@EnumToTextE(): Invalid enum value: -1.");
}

TEST(EnumText, EveryWriterContextHeadsTheMessage) {
  const char* contexts[] = {"@TVxIntOrMeas::Save: invalid CameraType",
                            "@TVxCameraDistortion::Save: invalid DistortionType",
                            "@SaveMarks: invalid DigitalCameraOrigin"};
  for (const char* context : contexts) {
    const std::string message = RuntimeErrorOf(
        [context] { DistortionTypeToTextE(static_cast<TDistortionType>(9), context); });
    EXPECT_EQ(message, std::string(context) + "\n@EnumToTextE(): Invalid enum value: 9.");
  }
}

TEST(EnumText, TextWithEmbeddedZeroMatchesNothing) {
  const std::string withZero("Cross\0x", 7);
  EXPECT_EQ(static_cast<int>(TextToCameraType(withZero)), 0);
  EXPECT_THROW(TextToCameraTypeE(withZero), std::runtime_error);
  const std::string exactThenZero("Cross\0", 6);
  EXPECT_EQ(static_cast<int>(TextToCameraType(exactThenZero)), 0);
}

// Each value of each table converts to its file text and back.
template <class E, class ToText, class FromText>
void ExpectRoundTrip(std::initializer_list<std::pair<int, const char*>> rows, ToText toText,
                     FromText fromText) {
  for (const auto& [value, text] : rows) {
    const E e = static_cast<E>(value);
    EXPECT_EQ(toText(e, "@RoundTrip"), text);
    EXPECT_EQ(fromText(std::string(text)), e) << text;
  }
}

TEST(EnumText, EveryValueRoundTripsThroughItsFileText) {
  ExpectRoundTrip<TCameraType>({{1, "PrincipalPoint"},
                                {2, "Cross"},
                                {3, "CalibratedCross"},
                                {4, "Fiducials"},
                                {5, "Digital"}},
                               CameraTypeToTextE, TextToCameraTypeE);
  ExpectRoundTrip<TOrigin>({{0, "Center"}, {1, "LowerLeft"}, {2, "UpperLeft"}},
                           DigitalCameraOriginToTextE, TextToDigitalCameraOriginE);
  ExpectRoundTrip<TDistortionType>({{1, "None"},
                                    {2, "Formula"},
                                    {3, "Radial"},
                                    {4, "Directed4+"},
                                    {5, "Directed4X"},
                                    {6, "Directed8"},
                                    {7, "Mixed"},
                                    {8, "Polynomial"}},
                                   DistortionTypeToTextE, TextToDistortionTypeE);
  ExpectRoundTrip<TDirection>({{0, "CamToMm"}, {1, "MmToCam"}},
                              TVxCameraDistortion::DirectionToTextE,
                              TVxCameraDistortion::TextToDirectionE);
  ExpectRoundTrip<TResolutionUnits>({{1, "mm"}, {2, "dpi"}}, ResolutionUnitsToTextE,
                                    TextToResolutionUnitsE);
  ExpectRoundTrip<TCamRotate>({{1, "0"}, {2, "90"}, {3, "180"}, {4, "270"}}, CamRotateToTextE,
                              TextToCamRotateE);
  ExpectRoundTrip<TTransformType>({{1, "Similarity"}, {2, "Affine"}, {3, "Projective"}},
                                  TransformTypeToTextE, TextToTransformTypeE);
}

TEST(EnumText, NonThrowingFormAgreesWithThrowingFormOnKnownTexts) {
  for (const char* text : {"PrincipalPoint", "Cross", "CalibratedCross", "Fiducials", "Digital"}) {
    EXPECT_EQ(TextToCameraType(text), TextToCameraTypeE(text));
  }
  EXPECT_EQ(TVxCameraDistortion::TextToDirection("MmToCam"), TDirection::MmToCam);
  EXPECT_EQ(TextToDigitalCameraOrigin("Center"), TOrigin::Center);
}
