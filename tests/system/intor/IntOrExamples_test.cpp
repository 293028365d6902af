// The example measurements: files written by SaveE, loads that fail at every step, and every
// measurement checked against every example camera as tests/data/intor_cases.yaml says.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <limits>
#include <sstream>
#include <string>

#include "ExampleCameras.h"
#include "ExampleMeasurements.h"
#include "VxRecordBytes.h"
#include "VxResourceGuards.h"
#include "VxSettingsText.h"
#include "VxXIni.h"

namespace {

std::string SourcePath(const std::string& relative) {
  return std::string(VX_SOURCE_DIR) + "/" + relative;
}

std::string FileText(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

TVxIntOrMeas LoadMeasurement(const std::string& fileName) {
  const auto reader = TVxXIniReader::FromFile(SourcePath("examples/measurements/" + fileName));
  TVxIntOrMeas meas;
  meas.LoadE(reader.get());
  return meas;
}

TVxCameraInfo LoadCamera(const std::string& fileName) {
  const auto reader = TVxXIniReader::FromFile(SourcePath("examples/cameras/" + fileName));
  TVxCameraInfo camera;
  XIniLoadE(reader.get(), camera);
  return camera;
}

struct TExpectation {
  bool ready;
  std::string key;
};

TExpectation ReadExpectation(TVxXIniReader* reader) {
  return {reader->ReadE<int>(reader->FindFE("ready", 0)) != 0,
          reader->ReadE<std::string>(reader->FindFE("key", 0))};
}

}  // namespace

TEST(IntOrExamples, FilesAreWhatSaveWritesAndLoadBack) {
  for (const TExampleMeasurement& example : ExampleMeasurements()) {
    SCOPED_TRACE(example.fileName);
    const std::string path = SourcePath("examples/measurements/" + example.fileName);
    EXPECT_EQ(FileText(path), vx_test::SavedText(example.measurement));
    // The file lists the marks by index; the record may hold them in any order.
    TVxIntOrMeas sorted = example.measurement;
    std::stable_sort(sorted.marks.begin(), sorted.marks.end(),
                     [](const auto& a, const auto& b) { return a.index < b.index; });
    EXPECT_EQ(vx_test::RecordBytes(LoadMeasurement(example.fileName)),
              vx_test::RecordBytes(sorted));
  }
}

TEST(IntOrExamples, LoadKeepsTargetAtEveryFailure) {
  TVxIntOrMeas marker;
  marker.cameraType = TCameraType::Fiducials;  // residuals are read, too
  marker.marks = {{3, {std::numeric_limits<double>::quiet_NaN(), -0.0}, {1.0, 2.0}}};
  marker.scanResolution = {-0.0, 5.0};
  const std::string before = vx_test::RecordBytes(marker);
  for (const TExampleMeasurement& example : ExampleMeasurements()) {
    const std::string path = SourcePath("examples/measurements/" + example.fileName);
    std::uint64_t operations = 0;
    {
      TVxIntOrMeas probe = marker;
      const auto reader = TVxXIniReader::FromFile(path);
      probe.LoadE(reader.get());
      operations = reader->OperationCount();
    }
    for (std::uint64_t n = 1; n <= operations; ++n) {
      TVxIntOrMeas target = marker;
      const auto reader = TVxXIniReader::FromFile(path);
      reader->FailAtOperation(n);
      EXPECT_THROW(target.LoadE(reader.get()), TVxXIniReadError) << example.fileName << " " << n;
      EXPECT_EQ(vx_test::RecordBytes(target), before) << example.fileName << " " << n;
    }
  }
}

TEST(IntOrExamples, SaveRaisesWriterErrorAtEveryFailure) {
  for (const TExampleMeasurement& example : ExampleMeasurements()) {
    std::uint64_t operations = 0;
    {
      TVxXIniWriter writer;
      example.measurement.SaveE(&writer);
      operations = writer.OperationCount();
    }
    ASSERT_GE(operations, 1u);
    for (std::uint64_t n = 1; n <= operations; ++n) {
      TVxXIniWriter writer;
      writer.FailAtOperation(n);
      EXPECT_THROW(example.measurement.SaveE(&writer), TVxXIniWriteError)
          << example.fileName << " " << n;
    }
  }
}

class IntOrCasesTest : public testing::TestWithParam<std::string> {};

TEST_P(IntOrCasesTest, EveryMeasurementAgainstEveryCamera) {
  const std::string language = GetParam();
  const auto cases = TVxXIniReader::FromFile(SourcePath("tests/data/intor_cases.yaml"));
  int checked = 0;
  for (TVxXIniPosition c = 0; cases->HasEntry(c); ++c) {
    const auto entry = cases->EnterSectionFE(c);
    const std::string measurementFile = cases->ReadE<std::string>(cases->FindFE("measurement", 0));
    const TVxIntOrMeas meas = LoadMeasurement(measurementFile);
    const auto otherwiseSection = cases->EnterSectionSE("otherwise");
    const TExpectation otherwise = ReadExpectation(cases.get());
    cases->LeaveSectionE(otherwiseSection);
    const auto listed = cases->EnterSectionSE("cameras");
    for (const TExampleCamera& example : ExampleCameras()) {
      TExpectation expected = otherwise;
      for (TVxXIniPosition k = 0; cases->HasEntry(k); ++k) {
        const auto item = cases->EnterSectionFE(k);
        if (cases->ReadE<std::string>(cases->FindFE("camera", 0)) == example.fileName) {
          expected = ReadExpectation(cases.get());
        }
        cases->LeaveSectionE(item);
      }
      SCOPED_TRACE(measurementFile + " with " + example.fileName);
      const TVxCameraInfo camera = LoadCamera(example.fileName);
      ScopedResLanguage scope(language);
      std::string message = "untouched";
      EXPECT_EQ(meas.IntOrReady(camera, &message), expected.ready);
      EXPECT_EQ(message, expected.key.empty() ? "untouched" : ResText(expected.key, language));
      EXPECT_EQ(meas.IntOrReady(camera, nullptr), expected.ready);
      ++checked;
    }
    cases->LeaveSectionE(listed);
    cases->LeaveSectionE(entry);
  }
  EXPECT_EQ(checked, static_cast<int>(ExampleMeasurements().size() * ExampleCameras().size()));
}

INSTANTIATE_TEST_SUITE_P(Languages, IntOrCasesTest, testing::Values("en", "de"));
