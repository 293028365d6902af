#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>
#include <string>

#include "VxIntOrMeas.h"
#include "VxRecordBytes.h"
#include "VxSettingsText.h"
#include "VxStrictLoad.h"
#include "VxXIni.h"

using vx_test::KeysOf;
using vx_test::LoadedFrom;
using vx_test::RecordBytes;
using vx_test::SavedText;
using Keys = std::vector<std::string>;

namespace {

TVxIntOrMeas WithMarks(TCameraType type, std::initializer_list<int> indices) {
  TVxIntOrMeas meas;
  meas.cameraType = type;
  double x = 100.0;
  for (int index : indices) {
    meas.marks.push_back({index, {x, 2.0 * x}, {0.25, -0.5}});
    x += 100.0;
  }
  return meas;
}

std::vector<int> WrittenIndices(const std::string& text) {
  const auto reader = TVxXIniReader::FromText(text);
  reader->EnterSectionSE("points");
  std::vector<int> indices;
  for (TVxXIniPosition i = 0; reader->HasEntry(i); ++i) {
    const auto element = reader->EnterSectionFE(i);
    indices.push_back(reader->ReadE<int>(reader->FindFE("index", 0)));
    reader->LeaveSectionE(element);
  }
  return indices;
}

TVxIntOrMeas Marker() {
  TVxIntOrMeas m = WithMarks(TCameraType::Cross, {7});
  m.scanResolution = {std::numeric_limits<double>::quiet_NaN(), -0.0};
  m.rotation = TCamRotate::Rotate270;
  return m;
}

void ExpectLoadFailsAndKeeps(const std::string& text, const std::string& inMessage) {
  vx_test::ExpectLoadFailsAndKeepsTarget(Marker(), text, inMessage);
}

}  // namespace

TEST(IntOrMeasPersistence, NewRecordSavesEmptyRotationAloneAndLoadsBack) {
  const std::string text = SavedText(TVxIntOrMeas());
  EXPECT_EQ(KeysOf(text), Keys{"rotation"});
  const auto reader = TVxXIniReader::FromText(text);
  EXPECT_EQ(reader->ReadE<std::string>(reader->FindFE("rotation", 0)), "");
  EXPECT_EQ(RecordBytes(LoadedFrom<TVxIntOrMeas>(text)), RecordBytes(TVxIntOrMeas()));
}

TEST(IntOrMeasPersistence, PrincipalPointRecordWritesItsKeys) {
  TVxIntOrMeas meas = WithMarks(TCameraType::PrincipalPoint, {1});
  meas.scanResolution = {0.02, 0.02};
  const std::string text = SavedText(meas);
  EXPECT_EQ(KeysOf(text),
            (Keys{"camera_type", "points", "rotation", "scan_resolution", "resolution_units"}));
  EXPECT_EQ(KeysOf(text, {"points"}), Keys{""});
  const auto reader = TVxXIniReader::FromText(text);
  reader->EnterSectionSE("points");
  reader->EnterSectionFE(0);
  EXPECT_EQ(reader->NameAt(0), "index");
  EXPECT_EQ(reader->NameAt(1), "coords_pix");
  EXPECT_FALSE(reader->HasEntry(2)) << "no residuals";
}

TEST(IntOrMeasPersistence, MarksAreWrittenInIndexOrderAndVectorKeepsItsOrder) {
  const TVxIntOrMeas meas = WithMarks(TCameraType::Fiducials, {3, 1, 2});
  EXPECT_EQ(WrittenIndices(SavedText(meas)), (std::vector<int>{1, 2, 3}));
  EXPECT_EQ(meas.marks[0].index, 3);
}

TEST(IntOrMeasPersistence, MarksWithSameIndexKeepVectorOrder) {
  TVxIntOrMeas meas = WithMarks(TCameraType::Cross, {5, 2, 5});
  meas.marks[0].coordsPix = {1.0, 1.0};
  meas.marks[2].coordsPix = {3.0, 3.0};
  const TVxIntOrMeas back = LoadedFrom<TVxIntOrMeas>(SavedText(meas));
  ASSERT_EQ(back.marks.size(), 3u);
  EXPECT_EQ(back.marks[0].index, 2);
  EXPECT_EQ(back.marks[1].coordsPix.x, 1.0);
  EXPECT_EQ(back.marks[2].coordsPix.x, 3.0);
}

TEST(IntOrMeasPersistence, IndexOrderIsSigned) {
  EXPECT_EQ(WrittenIndices(SavedText(WithMarks(TCameraType::Cross, {0, -1}))),
            (std::vector<int>{-1, 0}));
}

TEST(IntOrMeasPersistence, DigitalRecordWritesTypeAndRotationOnly) {
  TVxIntOrMeas meas = WithMarks(TCameraType::Digital, {1});
  meas.rotation = TCamRotate::Rotate90;
  EXPECT_EQ(KeysOf(SavedText(meas)), (Keys{"camera_type", "rotation"}));
}

TEST(IntOrMeasPersistence, FiducialRecordWritesResidualsAndTransformType) {
  const std::string text = SavedText(WithMarks(TCameraType::Fiducials, {1, 2}));
  EXPECT_EQ(KeysOf(text), (Keys{"camera_type", "points", "rotation", "transform_type"}));
  const auto reader = TVxXIniReader::FromText(text);
  reader->EnterSectionSE("points");
  for (TVxXIniPosition i = 0; i < 2; ++i) {
    const auto element = reader->EnterSectionFE(i);
    EXPECT_NE(reader->FindF("residuals_pix", 0), kVxXIniNotFound) << i;
    reader->LeaveSectionE(element);
  }
}

TEST(IntOrMeasPersistence, CrossRecordWritesNeitherResidualsNorTransformType) {
  const std::string text = SavedText(WithMarks(TCameraType::Cross, {1}));
  EXPECT_EQ(KeysOf(text),
            (Keys{"camera_type", "points", "rotation", "scan_resolution", "resolution_units"}));
  EXPECT_EQ(text.find("residuals_pix"), std::string::npos);
}

TEST(IntOrMeasPersistence, CalibratedCrossWritesPointsWithoutResolution) {
  EXPECT_EQ(KeysOf(SavedText(WithMarks(TCameraType::CalibratedCross, {}))),
            (Keys{"camera_type", "points", "rotation"}));
}

TEST(IntOrMeasPersistence, TransformTypeIsReadForAnyCameraType) {
  for (const char* type : {"Cross", "Digital", "Fiducials", "Unknown"}) {
    const TVxIntOrMeas meas = LoadedFrom<TVxIntOrMeas>(std::string("camera_type: ") + type +
                                                       "\ntransform_type: Projective\n");
    EXPECT_EQ(meas.transformType, TTransformType::Projective) << type;
  }
  EXPECT_EQ(LoadedFrom<TVxIntOrMeas>("camera_type: Fiducials\n").transformType,
            TTransformType::Affine);
}

TEST(IntOrMeasPersistence, ResolutionWithoutUnitIsDropped) {
  for (const char* units : {"", "resolution_units: \"\"\n"}) {
    const TVxIntOrMeas meas = LoadedFrom<TVxIntOrMeas>(
        std::string("camera_type: Cross\nscan_resolution: {x: 0.02, y: 0.02}\n") + units);
    EXPECT_EQ(meas.scanResolution, (vec_t_<double, 2>{0.0, 0.0}));
    EXPECT_EQ(meas.resolutionUnits, TResolutionUnits::Mm);
  }
}

TEST(IntOrMeasPersistence, UnitWithoutResolutionGivesZeroResolutionInThatUnit) {
  const TVxIntOrMeas meas = LoadedFrom<TVxIntOrMeas>("camera_type: Cross\nresolution_units: dpi\n");
  EXPECT_EQ(meas.scanResolution, (vec_t_<double, 2>{0.0, 0.0}));
  EXPECT_EQ(meas.resolutionUnits, TResolutionUnits::Dpi);
}

TEST(IntOrMeasPersistence, ResolutionWithOneCoordinateGivesZeroForTheOther) {
  const TVxIntOrMeas meas = LoadedFrom<TVxIntOrMeas>(
      "camera_type: PrincipalPoint\nscan_resolution: {y: 2032}\nresolution_units: dpi\n");
  EXPECT_EQ(meas.scanResolution, (vec_t_<double, 2>{0.0, 2032.0}));
}

TEST(IntOrMeasPersistence, ResidualsAreReadOnlyIntoRecordAlreadyOfFiducialType) {
  const std::string text = SavedText(WithMarks(TCameraType::Fiducials, {1, 2}));
  TVxIntOrMeas meas;
  const auto first = TVxXIniReader::FromText(text);
  meas.LoadE(first.get());
  EXPECT_EQ(meas.marks[0].residualsPix, (vec_t_<double, 2>{0.0, 0.0}));
  const auto second = TVxXIniReader::FromText(text);
  meas.LoadE(second.get());
  EXPECT_EQ(meas.marks[0].residualsPix, (vec_t_<double, 2>{0.25, -0.5}));
}

TEST(IntOrMeasPersistence, MissingResidualCoordinateIsZero) {
  TVxIntOrMeas start;
  start.cameraType = TCameraType::Fiducials;
  const TVxIntOrMeas meas = LoadedFrom(
      "camera_type: Fiducials\npoints:\n  - {index: 1, coords_pix: {x: 1, y: 2}, "
      "residuals_pix: {x: 0.5}}\n  - {index: 2, coords_pix: {x: 3, y: 4}}\n",
      start);
  EXPECT_EQ(meas.marks[0].residualsPix, (vec_t_<double, 2>{0.5, 0.0}));
  EXPECT_EQ(meas.marks[1].residualsPix, (vec_t_<double, 2>{0.0, 0.0}));
}

TEST(IntOrMeasPersistence, UnknownRotationIsValueErrorAndEmptyIsUnset) {
  ExpectLoadFailsAndKeeps("rotation: \"45\"\n", "rotation: invalid value '45'");
  EXPECT_EQ(static_cast<int>(LoadedFrom<TVxIntOrMeas>("rotation: \"\"\n").rotation), 0);
  EXPECT_EQ(LoadedFrom<TVxIntOrMeas>("rotation: 270\n").rotation, TCamRotate::Rotate270);
}

TEST(IntOrMeasPersistence, UnknownUnitsOrTransformAreValueErrors) {
  ExpectLoadFailsAndKeeps("camera_type: Cross\nresolution_units: inch\n", "resolution_units");
  ExpectLoadFailsAndKeeps("transform_type: Similar\n", "transform_type: invalid value 'Similar'");
}

TEST(IntOrMeasPersistence, UnknownCameraTypeLoadsAsUnsetAndIgnoresPointsAndResolution) {
  const TVxIntOrMeas meas = LoadedFrom<TVxIntOrMeas>(
      "camera_type: Crosss\npoints:\n  - {index: 1}\nscan_resolution: {x: 1, y: 1}\n"
      "resolution_units: bogus\n");
  EXPECT_EQ(static_cast<int>(meas.cameraType), 0);
  EXPECT_TRUE(meas.marks.empty());
  EXPECT_EQ(meas.scanResolution, (vec_t_<double, 2>{0.0, 0.0}));
}

TEST(IntOrMeasPersistence, MarkWithoutIndexOrCoordinatesFails) {
  ExpectLoadFailsAndKeeps("camera_type: Cross\npoints:\n  - {coords_pix: {x: 1, y: 2}}\n", "index");
  ExpectLoadFailsAndKeeps("camera_type: Cross\npoints:\n  - {index: 1}\n", "coords_pix");
  ExpectLoadFailsAndKeeps("camera_type: Cross\npoints:\n  - {index: 1, coords_pix: {x: 1}}\n",
                          "points/[0]/coords_pix");
}

TEST(IntOrMeasPersistence, MissingPointsSectionGivesNoMarks) {
  EXPECT_TRUE(LoadedFrom<TVxIntOrMeas>("camera_type: Fiducials\n", Marker()).marks.empty());
}

TEST(IntOrMeasPersistence, NamedPointEntriesAreMarksToo) {
  const TVxIntOrMeas meas = LoadedFrom<TVxIntOrMeas>(
      "camera_type: Cross\npoints:\n  a: {index: 4, coords_pix: {x: 1, y: 2}}\n"
      "  b: {index: 3, coords_pix: {x: 5, y: 6}}\n");
  ASSERT_EQ(meas.marks.size(), 2u);
  EXPECT_EQ(meas.marks[0].index, 4) << "file order, no sorting on load";
}

TEST(IntOrMeasPersistence, ValuesOutsideTablesThrowWithContextWhereWritten) {
  const auto messageOf = [](const TVxIntOrMeas& meas) {
    TVxXIniWriter writer;
    try {
      meas.SaveE(&writer);
    } catch (const std::runtime_error& e) {
      return std::string(e.what());
    }
    return std::string("<nothing thrown>");
  };
  TVxIntOrMeas meas;
  meas.cameraType = static_cast<TCameraType>(6);
  EXPECT_EQ(messageOf(meas),
            "@TVxIntOrMeas::Save: invalid CameraType\n@EnumToTextE(): Invalid enum value: 6.");
  meas.cameraType = TCameraType::Cross;
  meas.rotation = static_cast<TCamRotate>(5);
  EXPECT_EQ(messageOf(meas),
            "@TVxIntOrMeas::Save: invalid Rotate\n@EnumToTextE(): Invalid enum value: 5.");
  meas.rotation = TCamRotate::Rotate0;
  meas.resolutionUnits = static_cast<TResolutionUnits>(0);
  EXPECT_EQ(messageOf(meas),
            "@TVxIntOrMeas::Save: invalid ResolutionUnits\n@EnumToTextE(): Invalid enum value: 0.");
  meas.cameraType = TCameraType::Fiducials;  // units are not written for it
  meas.transformType = static_cast<TTransformType>(4);
  EXPECT_EQ(messageOf(meas),
            "@TVxIntOrMeas::Save: invalid TransformType\n@EnumToTextE(): Invalid enum value: 4.");
  meas.cameraType = TCameraType::Digital;  // neither is written for it
  EXPECT_EQ(messageOf(meas), "<nothing thrown>");
}

TEST(IntOrMeasPersistence, SavingDoesNotChangeTheRecord) {
  const TVxIntOrMeas meas = WithMarks(TCameraType::Fiducials, {4, 2, 9});
  const std::string before = RecordBytes(meas);
  SavedText(meas);
  EXPECT_EQ(RecordBytes(meas), before);
}

TEST(IntOrMeasPersistence, CompleteRecordsRoundTripForEveryType) {
  for (int type = 1; type <= 5; ++type) {
    TVxIntOrMeas meas = WithMarks(static_cast<TCameraType>(type), {2, 1});
    meas.rotation = TCamRotate::Rotate180;
    TVxIntOrMeas start;
    start.cameraType = TCameraType::Fiducials;  // so that residuals are taken
    const TVxIntOrMeas back = LoadedFrom(SavedText(meas), start);
    EXPECT_EQ(back.cameraType, meas.cameraType);
    EXPECT_EQ(back.rotation, TCamRotate::Rotate180);
    EXPECT_EQ(back.marks.size(), type == 5 ? 0u : 2u) << type;
  }
}
