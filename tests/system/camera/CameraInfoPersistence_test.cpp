#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>
#include <string>

#include "VxCameraInfo.h"
#include "VxEOL.h"
#include "VxRecordBytes.h"
#include "VxSettingsText.h"
#include "VxStrictLoad.h"
#include "VxXIni.h"

using vx_test::KeysOf;
using vx_test::LoadedFrom;
using vx_test::RecordBytes;
using vx_test::RoundTrip;
using vx_test::SavedText;
using Keys = std::vector<std::string>;

namespace {

TVxCameraInfo FiducialCamera(const std::string& templateId) {
  TVxCameraInfo c;
  c.name = "Wild RC10 2337";
  c.calibrationDate = "2004-05-05";
  c.description = "line one\r\nline two";
  c.cameraType = TCameraType::Fiducials;
  c.focus = 153.228;
  c.principalPoint = {0.0, 0.007};
  c.fiducialTemplateId = templateId;
  c.fiducials = {{1, {-105.993, -106.006}, 1}, {2, {106.001, 106.002}, 2}};
  return c;
}

TVxCameraInfo Marker() {
  TVxCameraInfo c = CreateDefaultDMCCamera();
  c.focus = std::numeric_limits<double>::quiet_NaN();
  c.lengthX = -0.0;
  return c;
}

// Loads `text` with the strict reader into a marker record; expects the reader's error naming
// `key`, and the record unchanged.
void ExpectStrictLoadFails(const std::string& text, const std::string& key) {
  vx_test::ExpectLoadFailsAndKeepsTarget(Marker(), text, key);
}

std::string WithoutLine(std::string text, const std::string& start) {
  const auto at = text.find(start);
  if (at == std::string::npos) return text;
  return text.erase(at, text.find('\n', at) - at + 1);
}

}  // namespace

TEST(CameraInfoPersistence, TopKeysInOrder) {
  EXPECT_EQ(KeysOf(SavedText(FiducialCamera(""))),
            (Keys{"name", "calibration_date", "description", "focus", "principal_point", "int_or",
                  "distortion"}));
}

TEST(CameraInfoPersistence, PrincipalPointCameraWritesOnlyTypeInIntOr) {
  TVxCameraInfo c;
  c.cameraType = TCameraType::PrincipalPoint;
  c.fiducialTemplateId = "set-1";
  c.fiducials = {{1, {1.0, 1.0}, 1}};
  EXPECT_EQ(KeysOf(SavedText(c), {"int_or"}), Keys{"type"});
}

TEST(CameraInfoPersistence, FiducialCameraWithoutTemplateIdHasNoTemplateIndex) {
  TVxCameraInfo c = FiducialCamera("");
  c.fiducials[1].templateIndex = 7;  // not persisted without a template set
  const std::string text = SavedText(c);
  EXPECT_EQ(KeysOf(text, {"int_or"}), (Keys{"type", "fiducials"}));
  const auto reader = TVxXIniReader::FromText(text);
  reader->EnterSectionSE("int_or");
  reader->EnterSectionSE("fiducials");
  reader->EnterSectionFE(0);
  EXPECT_EQ(reader->FindF("template_index", 0), kVxXIniNotFound);
  const TVxCameraInfo loaded = LoadedFrom<TVxCameraInfo>(text);
  EXPECT_EQ(loaded.fiducials[0].templateIndex, 1);
  EXPECT_EQ(loaded.fiducials[1].templateIndex, 2);
}

TEST(CameraInfoPersistence, FiducialCameraWithTemplateIdKeepsTemplateIndices) {
  TVxCameraInfo c = FiducialCamera("rc10-marks");
  c.fiducials[0].templateIndex = 5;
  const std::string text = SavedText(c);
  EXPECT_EQ(KeysOf(text, {"int_or"}), (Keys{"type", "fiducials", "fiducial_template_id"}));
  EXPECT_TRUE(RoundTrip(c) == c);
}

TEST(CameraInfoPersistence, FiducialCameraWithoutMarksWritesEmptySection) {
  TVxCameraInfo c = FiducialCamera("");
  c.fiducials.clear();
  const std::string text = SavedText(c);
  EXPECT_EQ(KeysOf(text, {"int_or"}), (Keys{"type", "fiducials"}));
  EXPECT_TRUE(KeysOf(text, {"int_or", "fiducials"}).empty());
  EXPECT_TRUE(LoadedFrom<TVxCameraInfo>(text).fiducials.empty());
}

TEST(CameraInfoPersistence, FileWithoutFiducialsSectionFailsInBothReaders) {
  TVxCameraInfo c = FiducialCamera("");
  c.fiducials.clear();
  const std::string text = WithoutLine(SavedText(c), "  fiducials:");
  ASSERT_EQ(KeysOf(text, {"int_or"}), Keys{"type"});
  ExpectStrictLoadFails(text, "fiducials");
  TVxCameraInfo tolerant;
  const auto reader = TVxXIniReader::FromText(text);
  EXPECT_THROW(tolerant.Load(reader.get()), TVxXIniReadError);
}

TEST(CameraInfoPersistence, DigitalCameraWritesSizesAndOrigin) {
  TVxCameraInfo c = CreateDefaultDMCCamera();
  c.digitalCameraOrigin = TVxCameraInfo::TDigitalCameraOrigin::UpperLeft;
  c.fiducialTemplateId = "ignored";
  const std::string text = SavedText(c);
  EXPECT_EQ(KeysOf(text, {"int_or"}),
            (Keys{"type", "pixel_size", "sensor_dims", "digital_camera_origin"}));
  EXPECT_EQ(KeysOf(text, {"distortion"}), Keys{"type"});
  c.fiducialTemplateId.clear();
  EXPECT_TRUE(RoundTrip(c) == c);
}

TEST(CameraInfoPersistence, DigitalCameraWithoutPixelSizeLoadsZeros) {
  const std::string text = WithoutLine(SavedText(CreateDefaultDMCCamera()), "  pixel_size:");
  const TVxCameraInfo loaded = LoadedFrom<TVxCameraInfo>(text);
  EXPECT_EQ(loaded.pixelSize, (vec_t_<double, 2>{0.0, 0.0}));
  EXPECT_EQ(loaded.sensorDims.y, 13824u);
}

TEST(CameraInfoPersistence, DigitalCameraWithoutOriginIsCenter) {
  TVxCameraInfo c = CreateDefaultDMCCamera();
  c.digitalCameraOrigin = TVxCameraInfo::TDigitalCameraOrigin::LowerLeft;
  const std::string text = WithoutLine(SavedText(c), "  digital_camera_origin:");
  EXPECT_EQ(LoadedFrom<TVxCameraInfo>(text).digitalCameraOrigin,
            TVxCameraInfo::TDigitalCameraOrigin::Center);
}

TEST(CameraInfoPersistence, UnknownOriginIsValueErrorAndTolerantLoadKeepsMinusOne) {
  std::string text = SavedText(CreateDefaultDMCCamera());
  text.replace(text.find("Center"), 6, "Middle");
  ExpectStrictLoadFails(text, "int_or/digital_camera_origin: invalid value 'Middle'");
  TVxCameraInfo tolerant;
  const auto reader = TVxXIniReader::FromText(text);
  EXPECT_THROW(tolerant.Load(reader.get()), TVxXIniReadError);
  EXPECT_EQ(static_cast<int>(tolerant.digitalCameraOrigin), -1);
  EXPECT_EQ(tolerant.focus, 120.0) << "partly loaded";
}

TEST(CameraInfoPersistence, CalibratedCrossWritesLengths) {
  TVxCameraInfo c;
  c.cameraType = TCameraType::CalibratedCross;
  c.lengthX = 200.0;
  c.lengthY = 199.5;
  EXPECT_EQ(KeysOf(SavedText(c), {"int_or"}), (Keys{"type", "length_x", "length_y"}));
  EXPECT_TRUE(RoundTrip(c) == c);
  ExpectStrictLoadFails(WithoutLine(SavedText(c), "  length_y:"), "length_y");
}

TEST(CameraInfoPersistence, CrossWritesTemplateIdOnlyWhenSet) {
  TVxCameraInfo c;
  c.cameraType = TCameraType::Cross;
  EXPECT_EQ(KeysOf(SavedText(c), {"int_or"}), Keys{"type"});
  c.fiducialTemplateId = "cross-1";
  EXPECT_EQ(KeysOf(SavedText(c), {"int_or"}), (Keys{"type", "fiducial_template_id"}));
  EXPECT_TRUE(RoundTrip(c) == c);
}

TEST(CameraInfoPersistence, DescriptionIsWrittenWithLfAndReadWithCrLf) {
  TVxCameraInfo c = FiducialCamera("");
  c.description = "mixed\rline\nends\r\nhere";
  const std::string text = SavedText(c);
  EXPECT_EQ(text.find('\r'), std::string::npos);
  EXPECT_EQ(LoadedFrom<TVxCameraInfo>(text).description, "mixed\r\nline\r\nends\r\nhere");
}

TEST(CameraInfoPersistence, TolerantLoadOfEmptySectionGivesDefaultCamera) {
  TVxCameraInfo c = Marker();
  const auto reader = TVxXIniReader::FromText("");
  EXPECT_TRUE(c.Load(reader.get()));
  EXPECT_TRUE(c == CreateDefaultCamera());
}

TEST(CameraInfoPersistence, StrictLoadOfEmptySectionFailsOnName) {
  ExpectStrictLoadFails("", "name");
}

TEST(CameraInfoPersistence, TolerantLoadTakesWhatIsThere) {
  const auto reader = TVxXIniReader::FromText(
      "focus: 153.228\nprincipal_point: {x: 0.5}\ndescription: |-\n  a\n  b\n");
  TVxCameraInfo c;
  EXPECT_TRUE(c.Load(reader.get()));
  EXPECT_EQ(c.focus, 153.228);
  EXPECT_EQ(c.principalPoint, (vec_t_<double, 2>{0.5, 0.0}));
  EXPECT_EQ(c.description, "a\r\nb");
  EXPECT_EQ(c.cameraType, TCameraType::Digital);
  EXPECT_EQ(c.distortion.type, TDistortionType::None);
}

TEST(CameraInfoPersistence, StrictLoadReportsEachMissingTopKey) {
  const std::string full = SavedText(FiducialCamera(""));
  ExpectStrictLoadFails(WithoutLine(full, "calibration_date:"), "calibration_date");
  ExpectStrictLoadFails(WithoutLine(full, "focus:"), "focus");
  ExpectStrictLoadFails(WithoutLine(full, "principal_point:"), "principal_point");
}

TEST(CameraInfoPersistence, MissingIntOrOrDistortionFailsStrictly) {
  TVxCameraInfo c;
  c.cameraType = TCameraType::PrincipalPoint;
  const std::string text = SavedText(c);
  const std::string noDistortion = text.substr(0, text.find("distortion:"));
  ExpectStrictLoadFails(noDistortion, "distortion");
  TVxCameraInfo tolerant;
  const auto reader = TVxXIniReader::FromText(noDistortion);
  EXPECT_TRUE(tolerant.Load(reader.get()));
  EXPECT_EQ(tolerant.cameraType, TCameraType::PrincipalPoint);
}

TEST(CameraInfoPersistence, UnknownCameraTypeIsValueError) {
  std::string text = SavedText(FiducialCamera(""));
  text.replace(text.find("Fiducials"), 9, "Fiducial");
  ExpectStrictLoadFails(text, "int_or/type: invalid value 'Fiducial'");
}

TEST(CameraInfoPersistence, UnsetTypeThrowsAfterFirstFiveKeys) {
  TVxCameraInfo c = FiducialCamera("");
  c.cameraType = static_cast<TCameraType>(0);
  TVxXIniWriter writer;
  try {
    c.SaveE(&writer);
    FAIL();
  } catch (const std::runtime_error& e) {
    EXPECT_STREQ(e.what(),
                 "@SaveMarks: invalid camera type\n@EnumToTextE(): Invalid enum value: 0.");
  }
  const Keys keys = KeysOf(writer.ToText());
  EXPECT_EQ(keys, (Keys{"name", "calibration_date", "description", "focus", "principal_point",
                        "int_or"}));
}

TEST(CameraInfoPersistence, OriginOutsideTableThrowsOnSave) {
  TVxCameraInfo c = CreateDefaultDMCCamera();
  c.digitalCameraOrigin = static_cast<TVxCameraInfo::TDigitalCameraOrigin>(3);
  TVxXIniWriter writer;
  EXPECT_THROW(
      {
        try {
          c.SaveE(&writer);
        } catch (const std::runtime_error& e) {
          EXPECT_STREQ(e.what(),
                       "@SaveMarks: invalid DigitalCameraOrigin\n"
                       "@EnumToTextE(): Invalid enum value: 3.");
          throw;
        }
      },
      std::runtime_error);
}

TEST(CameraInfoPersistence, XIniFunctionsForwardToSaveAndLoad) {
  const TVxCameraInfo c = FiducialCamera("set");
  TVxXIniWriter writer;
  XIniSaveE(&writer, c);
  EXPECT_EQ(writer.ToText(), SavedText(c));
  TVxCameraInfo back;
  const auto reader = TVxXIniReader::FromText(writer.ToText());
  XIniLoadE(reader.get(), back);
  EXPECT_TRUE(back == c);
}

TEST(CameraInfoPersistence, FailedStrictLoadInsideDistortionKeepsTarget) {
  TVxCameraInfo c = FiducialCamera("");
  c.distortion.type = TDistortionType::Radial;
  c.distortion.tableR = {{1.0, 0.001}};
  std::string text = SavedText(c);
  text.replace(text.find("dr:"), 3, "dx:");
  ExpectStrictLoadFails(text, "distortion/table_r/[0]");
}

TEST(CameraInfoPersistence, TolerantLoadResetsDistortionBeforeReadingNone) {
  TVxCameraInfo c = FiducialCamera("");
  c.distortion.type = TDistortionType::Formula;
  c.distortion.k1 = 1.0;
  TVxCameraInfo target = c;
  const auto reader = TVxXIniReader::FromText(SavedText(CreateDefaultDMCCamera()));
  target.Load(reader.get());
  EXPECT_EQ(target.distortion.type, TDistortionType::None);
  EXPECT_EQ(target.distortion.k1, 0.0);
}
