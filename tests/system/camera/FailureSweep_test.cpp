// A failure at every read of every strict loader leaves the target exactly as it was and lets
// the reader's error through; a failure at every write of every saver raises the writer's error.

#include <gtest/gtest.h>

#include <filesystem>
#include <limits>
#include <string>

#include "ExampleCameras.h"
#include "VxRecordBytes.h"
#include "VxXIni.h"

using vx_test::RecordBytes;

namespace {

std::string ExamplePath(const std::string& relative) {
  return std::string(VX_SOURCE_DIR) + "/examples/" + relative;
}

// A target that differs from anything a loader makes: NaN, -0.0 and leftovers of other models.
TVxCameraInfo MarkerCamera() {
  TVxCameraInfo c = CreateDefaultDMCCamera();
  c.focus = std::numeric_limits<double>::quiet_NaN();
  c.lengthX = -0.0;
  c.distortion.polyK[7] = std::numeric_limits<double>::quiet_NaN();
  c.distortion.tableR = {{1.0, -0.0}};
  return c;
}

TCameraMarkTemplates MarkerTemplates() {
  TCameraMarkTemplates t;
  t.templatePixelSize = -0.0;
  t.templates = {{9, {std::numeric_limits<double>::quiet_NaN(), 1.0}, "x", {1, 2}, 3}};
  return t;
}

// Runs `load` on a fresh reader of `path` that fails at operation n, for every n from `first`
// to the last operation of a successful load; the target must keep its bytes.
template <class TRecord, class FLoad>
void SweepLoader(const std::string& path, TRecord marker, FLoad load) {
  std::uint64_t operations = 0;
  {
    TRecord probe = marker;
    const auto reader = TVxXIniReader::FromFile(path);
    load(reader.get(), &probe);
    operations = reader->OperationCount();
  }
  ASSERT_GT(operations, 3u);
  const std::string before = RecordBytes(marker);
  for (std::uint64_t n = 1; n <= operations; ++n) {
    TRecord target = marker;
    const auto reader = TVxXIniReader::FromFile(path);
    reader->FailAtOperation(n);
    try {
      load(reader.get(), &target);
      ADD_FAILURE() << path << ": no error at operation " << n;
    } catch (const TVxXIniReadError& e) {
      EXPECT_NE(std::string(e.what()).find("injected failure"), std::string::npos) << e.what();
    }
    EXPECT_EQ(RecordBytes(target), before) << path << ": target changed at operation " << n;
  }
}

// Runs `save` into a fresh writer that fails at operation n, for every n of a successful save.
template <class FSave>
void SweepSaver(const std::string& what, FSave save) {
  std::uint64_t operations = 0;
  {
    TVxXIniWriter writer;
    save(&writer);
    operations = writer.OperationCount();
  }
  ASSERT_GT(operations, 3u);
  for (std::uint64_t n = 1; n <= operations; ++n) {
    TVxXIniWriter writer;
    writer.FailAtOperation(n);
    EXPECT_THROW(save(&writer), TVxXIniWriteError) << what << ": operation " << n;
  }
}

}  // namespace

TEST(FailureSweep, CameraLoadKeepsTargetAtEveryFailure) {
  for (const TExampleCamera& example : ExampleCameras()) {
    SCOPED_TRACE(example.fileName);
    SweepLoader(ExamplePath("cameras/" + example.fileName), MarkerCamera(),
                [](TVxXIniReader* reader, TVxCameraInfo* camera) { camera->LoadE(reader); });
  }
}

TEST(FailureSweep, DistortionLoadKeepsTargetAtEveryFailure) {
  for (const TExampleCamera& example : ExampleCameras()) {
    if (example.camera.distortion.type == TDistortionType::None) continue;
    SCOPED_TRACE(example.fileName);
    const TVxCameraDistortion marker = MarkerCamera().distortion;
    SweepLoader(ExamplePath("cameras/" + example.fileName), marker,
                [](TVxXIniReader* reader, TVxCameraDistortion* distortion) {
                  // Entered but not left: a failure after LoadE would find the record loaded.
                  reader->EnterSectionSE("distortion");
                  distortion->LoadE(reader);
                });
  }
}

TEST(FailureSweep, MarkTemplatesLoadKeepsTargetAtEveryFailure) {
  SweepLoader(ExamplePath("templates/rc10_mark_templates.yaml"), MarkerTemplates(),
              [](TVxXIniReader* reader, TCameraMarkTemplates* set) { set->LoadE(reader); });
}

TEST(FailureSweep, EverySaverRaisesWriterErrorAtEveryFailure) {
  for (const TExampleCamera& example : ExampleCameras()) {
    SweepSaver(example.fileName, [&](TVxXIniWriter* w) { XIniSaveE(w, example.camera); });
    if (example.camera.distortion.type != TDistortionType::None) {
      SweepSaver(example.fileName + " distortion",
                 [&](TVxXIniWriter* w) { example.camera.distortion.SaveE(w); });
    }
  }
  TCameraMarkTemplates set = MarkerTemplates();
  set.templates.push_back(set.templates.front());
  SweepSaver("mark templates", [&](TVxXIniWriter* w) { set.SaveE(w); });
}
