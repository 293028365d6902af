// GDAL is loaded when the scan library first touches a raster, not when a program that links it
// starts: a program of its own, so that no other test has loaded GDAL before this one looks.

#include <gtest/gtest.h>

#include <dlfcn.h>

#include <cstdio>
#include <string>

#include "VxScan.h"
#include "VxScanSynthetic.h"
#include "VxScanTestSupport.h"

namespace {

// Whether GDAL is loaded in this process (RTLD_NOLOAD finds it only then, and never loads it).
bool GdalLoaded() {
  void* handle = dlopen(VX_GDAL_SONAME, RTLD_LAZY | RTLD_NOLOAD);
  if (handle == nullptr) return false;
  dlclose(handle);
  return true;
}

TEST(VxScanLazyGdal, GdalIsLoadedByTheFirstRasterReadAndItsErrorsStillNameTheFile) {
  // The scan library used without a raster (a mark drawn and found in itself): GDAL stays out.
  const TVxRaster mark = DrawMarkTemplate(TVxDrawnMark::CrossWithDot, 31);
  const TVxCorrelationPeak peak = FindTemplate(mark, mark, false);
  EXPECT_TRUE(peak.found);
  EXPECT_GT(peak.score, 0.999);
  ASSERT_FALSE(GdalLoaded());

  const std::string missing = vx_scan_test::TempPath("no_such_scan.tif");
  try {
    TVxScanImage image(missing);
    FAIL() << "a raster that does not exist was opened";
  } catch (const TVxScanError& e) {
    const std::string message = e.what();
    EXPECT_NE(message.find("cannot read the raster '" + missing + "'"), std::string::npos)
        << message;
  }
  EXPECT_TRUE(GdalLoaded());

  // Loaded once: a second raster reuses it and reads what was written.
  TVxRaster raster(5, 3);
  for (std::size_t i = 0; i < raster.pixels.size(); ++i) raster.pixels[i] = static_cast<float>(i);
  const std::string path = vx_scan_test::TempPath("lazy_gdal.tif");
  WriteRaster(path, raster, TVxRasterWriteOptions());
  const TVxScanImage image(path);
  const TVxRaster back = image.ReadWindow(0, 0, 5, 3);
  EXPECT_EQ(back.pixels, raster.pixels);
  std::remove(path.c_str());
}

}  // namespace
