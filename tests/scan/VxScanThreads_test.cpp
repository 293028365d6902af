// The measurement on a pool of threads gives the same numbers, bit for bit, as on one thread.

#include <gtest/gtest.h>

#include <cstdio>

#include "VxScanTestSupport.h"
#include "VxScan.h"

namespace {

using namespace vx_scan_test;

TEST(MeasureMarksThreads, FourThreads_EqualOneThreadExactly) {
  const TVxCameraInfo camera = TestCamera();
  const TTemplates templates = TestTemplates(camera, true);
  TVxSyntheticScanOptions options = DefaultScanOptions();
  options.quarterTurns = 3;
  options.damaged = {5};
  const TVxSyntheticScan scan =
      RenderSyntheticScan(camera, templates.set, templates.images, options);
  const std::string path = TempPath("threads.tif");
  WriteRaster(path, scan.raster, TVxRasterWriteOptions());
  const TVxScanImage image(path);
  std::remove(path.c_str());
  TVxMeasureOptions measure;
  measure.searchRadiusMm = 3.0;
  measure.threads = 1;
  const TVxScanMeasurement one =
      MeasureMarks(image, camera, templates.set, templates.images, measure);
  measure.threads = 4;
  const TVxScanMeasurement four =
      MeasureMarks(image, camera, templates.set, templates.images, measure);
  ASSERT_EQ(one.marks.size(), four.marks.size());
  for (std::size_t i = 0; i < one.marks.size(); ++i) {
    EXPECT_EQ(one.marks[i].status, four.marks[i].status);
    EXPECT_EQ(one.marks[i].coordsPix.x, four.marks[i].coordsPix.x);
    EXPECT_EQ(one.marks[i].coordsPix.y, four.marks[i].coordsPix.y);
    EXPECT_EQ(one.marks[i].score, four.marks[i].score);
  }
  EXPECT_EQ(one.quarterTurns, 3);
  EXPECT_EQ(four.quarterTurns, 3);
}

}  // namespace
