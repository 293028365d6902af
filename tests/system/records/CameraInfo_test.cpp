#include <gtest/gtest.h>

#include <limits>

#include "VxCameraInfo.h"
#include "VxEOL.h"
#include "VxResourceGuards.h"

TEST(CameraInfo, NewRecordHasNoTypeAndZeros) {
  const TVxCameraInfo c;
  EXPECT_EQ(static_cast<int>(c.cameraType), 0);
  EXPECT_EQ(c.distortion.type, TDistortionType::None);
  EXPECT_EQ(c.focus, 0.0);
  EXPECT_EQ(c.sensorDims.x, 0u);
  EXPECT_EQ(c.digitalCameraOrigin, TVxCameraInfo::TDigitalCameraOrigin::Center);
  EXPECT_TRUE(c.name.empty() && c.fiducials.empty());
}

TEST(CameraInfo, ResetRecordEqualsNewRecordEvenAfterHoldingData) {
  TVxCameraInfo c = CreateDefaultDMCCamera();
  c.fiducials = {{1, {1.0, 2.0}, 1}, {2, {3.0, 4.0}, 2}};
  c.distortion.tableR.resize(3);
  c.fiducialTemplateId = "set";
  c.Reset();
  EXPECT_TRUE(c == TVxCameraInfo());
  EXPECT_TRUE(c.fiducials.capacity() >= 2);
}

TEST(CameraInfo, DefaultCameraDiffersFromNewRecordOnlyInType) {
  TVxCameraInfo c = CreateDefaultCamera();
  EXPECT_EQ(c.cameraType, TCameraType::Digital);
  EXPECT_TRUE(c != TVxCameraInfo());
  c.cameraType = static_cast<TCameraType>(0);
  EXPECT_TRUE(c == TVxCameraInfo());
}

TEST(CameraInfo, DmcDefaultHoldsPublishedGeometry) {
  const TVxCameraInfo dmc = CreateDefaultDMCCamera();
  EXPECT_EQ(dmc.cameraType, TCameraType::Digital);
  EXPECT_EQ(dmc.focus, 120.0);
  EXPECT_EQ(dmc.pixelSize, (vec_t_<double, 2>{0.012, 0.012}));
  EXPECT_EQ(dmc.sensorDims.x, 7680u);
  EXPECT_EQ(dmc.sensorDims.y, 13824u);
  EXPECT_EQ(dmc.principalPoint, (vec_t_<double, 2>{0.0, 0.0}));
  EXPECT_EQ(dmc.distortion.type, TDistortionType::None);
  EXPECT_TRUE(dmc.calibrationDate.empty() && dmc.fiducialTemplateId.empty());
}

TEST(CameraInfo, DmcTextsComeFromResourcesInEitherLanguage) {
  for (const char* language : {"en", "de"}) {
    ScopedResLanguage scope(language);
    const TVxCameraInfo dmc = CreateDefaultDMCCamera();
    EXPECT_EQ(dmc.name, ResText("global.CamNameDMC", language));
    const std::string joined =
        ResText("global.CamDscDMC", language) + ResText("global.CamDscAutoCreated", language);
    EXPECT_EQ(dmc.description, VxNormalizeEOL(joined, TEOLType::CRLF));
    EXPECT_NE(dmc.description.find("\r\n"), std::string::npos) << "two lines in memory form";
  }
  EXPECT_NE(ResText("global.CamDscDMC", "en"), ResText("global.CamDscDMC", "de"));
}

TEST(CameraInfo, DmcWithoutResourceTextsHasEmptyTexts) {
  ScopedNoResTexts none;
  const TVxCameraInfo dmc = CreateDefaultDMCCamera();
  EXPECT_EQ(dmc.name, "");
  EXPECT_EQ(dmc.description, "");
}

TEST(CameraInfo, TwoDmcDefaultsAreEqualUntilSensorHeightChanges) {
  TVxCameraInfo a = CreateDefaultDMCCamera();
  const TVxCameraInfo b = CreateDefaultDMCCamera();
  EXPECT_TRUE(a == b);
  a.sensorDims.y += 1;
  EXPECT_FALSE(a == b);
}

TEST(CameraInfo, SameMarksInOtherOrderAreUnequal) {
  TVxCameraInfo a;
  a.cameraType = TCameraType::Fiducials;
  a.fiducials = {{1, {-106.0, -106.0}, 1}, {2, {106.0, 106.0}, 2}};
  TVxCameraInfo b = a;
  std::swap(b.fiducials[0], b.fiducials[1]);
  EXPECT_FALSE(a == b);
}

TEST(CameraInfo, NaNFocusIsUnequalToItsCopy) {
  TVxCameraInfo a;
  a.focus = std::numeric_limits<double>::quiet_NaN();
  const TVxCameraInfo copy = a;
  EXPECT_FALSE(a == copy);
  EXPECT_TRUE(a != copy);
}

TEST(CameraInfo, NotEqualIsExactlyTheNegationOfEqual) {
  TVxCameraInfo a = CreateDefaultDMCCamera();
  TVxCameraInfo b = a;
  EXPECT_EQ(a != b, !(a == b));
  b.lengthY = 1.0;
  EXPECT_EQ(a != b, !(a == b));
  EXPECT_TRUE(a != b);
}

TEST(CameraInfo, EveryFieldTakesPart) {
  const TVxCameraInfo base;
  auto differs = [&](auto change) {
    TVxCameraInfo c;
    change(c);
    return c != base;
  };
  EXPECT_TRUE(differs([](auto& c) { c.calibrationDate = "2004-05-05"; }));
  EXPECT_TRUE(differs([](auto& c) { c.description = "x"; }));
  EXPECT_TRUE(differs([](auto& c) { c.fiducialTemplateId = "x"; }));
  EXPECT_TRUE(differs([](auto& c) { c.distortion.k1 = 1.0; }));
  EXPECT_TRUE(differs([](auto& c) { c.principalPoint.y = 0.007; }));
  EXPECT_TRUE(differs([](auto& c) { c.pixelSize.x = 0.012; }));
  EXPECT_TRUE(differs([](auto& c) { c.sensorDims.x = 1; }));
  EXPECT_TRUE(differs([](auto& c) { c.lengthX = 1.0; }));
  EXPECT_TRUE(differs([](auto& c) { c.fiducials.push_back({}); }));
  EXPECT_TRUE(differs(
      [](auto& c) { c.digitalCameraOrigin = TVxCameraInfo::TDigitalCameraOrigin::UpperLeft; }));
}

TEST(CameraInfo, MarkFieldsTakePartOneByOne) {
  TVxCameraInfo a;
  a.fiducials = {{1, {1.0, 2.0}, 1}};
  for (int field = 0; field < 4; ++field) {
    TVxCameraInfo b = a;
    auto& mark = b.fiducials[0];
    if (field == 0) mark.index = 2;
    if (field == 1) mark.coordsCam.x = -1.0;
    if (field == 2) mark.coordsCam.y = -2.0;
    if (field == 3) mark.templateIndex = 7;
    EXPECT_TRUE(a != b) << field;
  }
}
