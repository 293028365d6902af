// The measurement on a pool of threads gives the same numbers, bit for bit, as on one thread.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>

#include "VxScan.h"
#include "VxScanResample.h"
#include "VxScanTestSupport.h"

// GDAL, which ThreadSanitizer does not instrument, takes its own mutexes in an order that looks
// inverted from outside (its mutex of mutexes while it creates one, in GDALAllRegister and its
// block cache); the order is GDAL's to keep. Read by ThreadSanitizer only.
extern "C" const char* __tsan_default_suppressions();
extern "C" const char* __tsan_default_suppressions() {
  return "deadlock:libgdal.so\n";
}

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

// A synthetic scan of `side` × `side` pixels with drawn marks, opened from a file already removed
// (the image keeps it open).
TVxScanImage SquareScan(const TVxCameraInfo& camera, int side, const char* name) {
  const TTemplates templates = TestTemplates(camera, false);
  TVxSyntheticScanOptions options = DefaultScanOptions();
  options.width = options.height = side;
  const TVxSyntheticScan scan =
      RenderSyntheticScan(camera, templates.set, templates.images, options);
  const std::string path = TempPath(name);
  WriteRaster(path, scan.raster, TVxRasterWriteOptions());
  TVxScanImage image(path);
  std::remove(path.c_str());
  return image;
}

TEST(ResampleScanThreads, ThreeThreads_WriteTheSameImageAsOne) {
  const TVxCameraInfo camera = TestCamera();
  const TVxScanImage image = SquareScan(camera, 600, "resample_threads.tif");
  TVxPixToCamMap map;  // a turn of 30 degrees and 24 µm pixels
  const double c = 0.024 * std::cos(0.5236), s = 0.024 * std::sin(0.5236);
  map.matrix = {c, -s, -299.5 * c + 299.5 * s, -s, -c, 299.5 * s + 299.5 * c, 0.0, 0.0, 1.0};
  TVxResampleOptions resample;
  resample.tileSize = 64;
  resample.threads = 1;
  const std::string one = TempPath("resample_one.tif"), three = TempPath("resample_three.tif");
  ResampleScan(image, camera, map, one, resample);
  resample.threads = 3;
  ResampleScan(image, camera, map, three, resample);
  const TVxScanImage a(one), b(three);
  std::remove(one.c_str());
  std::remove(three.c_str());
  ASSERT_EQ(a.Width(), b.Width());
  ASSERT_EQ(a.Height(), b.Height());
  EXPECT_EQ(a.ReadWindow(0, 0, a.Width(), a.Height()).pixels,
            b.ReadWindow(0, 0, b.Width(), b.Height()).pixels);
}

// The threads of the process, as Linux lists them.
std::size_t ProcessThreads() {
  std::size_t count = 0;
  for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator("/proc/self/task"))
    ++count;
  return count;
}

// The scan library's threads are started once and kept: a second resampling on as many threads
// starts none, and the results do not depend on it.
TEST(ResampleScanThreads, SecondCall_ReusesTheThreadsOfTheFirst) {
  const TVxCameraInfo camera = TestCamera();
  const TVxScanImage image = SquareScan(camera, 300, "resample_reuse.tif");
  TVxPixToCamMap map;
  map.matrix = {0.024, 0.0, -3.6, 0.0, -0.024, 3.6, 0.0, 0.0, 1.0};
  TVxResampleOptions resample;
  resample.tileSize = 32;
  resample.threads = 3;
  const std::string first = TempPath("resample_reuse_1.tif");
  const std::string second = TempPath("resample_reuse_2.tif");
  const std::size_t before = ProcessThreads();
  ResampleScan(image, camera, map, first, resample);
  const std::size_t after = ProcessThreads();
  // The two workers beside the calling thread stay (a sanitizer may start a thread of its own
  // with the first of them).
  EXPECT_GE(after, before + 2);
  ResampleScan(image, camera, map, second, resample);
  EXPECT_EQ(ProcessThreads(), after);
  const TVxScanImage a(first), b(second);
  std::remove(first.c_str());
  std::remove(second.c_str());
  EXPECT_EQ(a.ReadWindow(0, 0, a.Width(), a.Height()).pixels,
            b.ReadWindow(0, 0, b.Width(), b.Height()).pixels);
}

// Written tile by tile on the pool, the scan is the one drawn whole, rounded to 8 bits.
TEST(WriteSyntheticScanThreads, Tiles_EqualTheWholeScan) {
  const TVxCameraInfo camera = TestCamera();
  const TTemplates templates = TestTemplates(camera, true);
  TVxSyntheticScanOptions options = DefaultScanOptions();
  options.width = 1100;
  options.height = 700;
  options.damaged = {5};
  const TVxSyntheticScan whole =
      RenderSyntheticScan(camera, templates.set, templates.images, options);
  const std::string path = TempPath("tiled_synthetic.tif");
  const auto truth = WriteSyntheticScan(path, camera, templates.set, templates.images, options);
  const TVxScanImage image(path);
  std::remove(path.c_str());
  EXPECT_EQ(truth, whole.truth);
  const TVxRaster tiled = image.ReadWindow(0, 0, image.Width(), image.Height());
  ASSERT_EQ(tiled.pixels.size(), whole.raster.pixels.size());
  std::size_t differing = 0;
  for (std::size_t i = 0; i < tiled.pixels.size(); ++i) {
    const double expected =
        std::clamp(std::round(static_cast<double>(whole.raster.pixels[i])), 0.0, 255.0);
    if (static_cast<double>(tiled.pixels[i]) != expected) ++differing;
  }
  EXPECT_EQ(differing, 0u);
}

}  // namespace
