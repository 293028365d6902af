// A synthetic scan resampled into camera geometry, then measured again: its marks must sit at
// their calibrated positions (or, undistorted, at their corrected positions).

#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <iostream>
#include <string>

#include "VxCameraMath.h"
#include "VxIntOrSolve.h"
#include "VxScan.h"
#include "VxScanResample.h"
#include "VxScanTestSupport.h"

namespace {

using namespace vx_scan_test;

// The promise of the resampling: marks measured on the image within 0.2 of its pixels of where
// the camera puts them.
constexpr double kLimitPx = 0.2;

struct TResampleCase {
  const char* name;
  TVxInterpolation interpolation;
  bool undistort;
};

class ResampleSynthetic : public ::testing::TestWithParam<TResampleCase> {};

TEST_P(ResampleSynthetic, MarksOfTheImage_SitAtTheirCalibratedPositions) {
  const TResampleCase& c = GetParam();
  TVxCameraInfo camera = TestCamera();
  if (c.undistort) {
    // About 50 µm (2 pixels) of radial distortion at the corner marks.
    camera.distortion.type = TDistortionType::Formula;
    camera.distortion.direction = TVxCameraDistortion::TDirection::CamToMm;
    camera.distortion.k1 = -3.0e-6;
  }
  const TTemplates templates = TestTemplates(camera, true);
  TVxSyntheticScanOptions options = DefaultScanOptions();
  options.quarterTurns = 1;
  options.mirrored = true;
  options.scaleX = 1.03;
  options.scaleY = 1.02;
  const TVxSyntheticScan scan =
      RenderSyntheticScan(camera, templates.set, templates.images, options);
  const std::string scanPath = TempPath(std::string(c.name) + "_scan.tif");
  WriteRaster(scanPath, scan.raster, TVxRasterWriteOptions());
  const TVxScanImage scanImage(scanPath);
  std::remove(scanPath.c_str());

  TVxMeasureOptions measure;
  measure.searchRadiusMm = 3.0;
  const TVxScanMeasurement measured =
      MeasureMarks(scanImage, camera, templates.set, templates.images, measure);
  ASSERT_EQ(measured.meas.marks.size(), 8u);
  TVxIntOrSolution solution;
  std::string message;
  ASSERT_TRUE(SolveIntOr(measured.meas, camera, &solution, &message)) << message;

  const std::string imagePath = TempPath(std::string(c.name) + "_image.tif");
  TVxResampleOptions resample;
  resample.pixelSizeUm = kTemplatePixelUm;
  resample.interpolation = c.interpolation;
  resample.undistort = c.undistort;
  resample.tileSize = 128;
  const TVxResampleResult result =
      ResampleScan(scanImage, camera, solution.map, imagePath, resample);
  EXPECT_EQ(result.width % 2, 1);
  EXPECT_EQ(result.height % 2, 1);
  EXPECT_DOUBLE_EQ(result.pixelSizeUm, kTemplatePixelUm);

  // The image is the camera unturned and unmirrored at the templates' pixel.
  const TVxScanImage image(imagePath);
  EXPECT_EQ(image.Width(), result.width);
  const TVxScanMeasurement again =
      MeasureMarks(image, camera, templates.set, templates.images, measure);
  std::remove(imagePath.c_str());
  EXPECT_EQ(again.quarterTurns, 0);
  EXPECT_FALSE(again.mirrored);
  ASSERT_EQ(again.meas.marks.size(), 8u);
  const TransformHandle camToMm = CreateCamToMmTransform(camera);
  const double p = kTemplatePixelUm / 1000.0;
  double sum = 0.0, worst = 0.0;
  for (const TVxIntOrMeas::TMarkMeas& mark : again.meas.marks) {
    vec_t_<double, 2> target;
    for (const auto& fiducial : camera.fiducials)
      if (fiducial.index == mark.index) target = fiducial.coordsCam;
    if (c.undistort) target = camToMm.second->TransformPoint(target);
    const vec_t_<double, 2> expected(0.5 * (result.width - 1) + target.x / p,
                                     0.5 * (result.height - 1) - target.y / p);
    const double error = (mark.coordsPix - expected).Length();
    sum += error * error;
    worst = std::max(worst, error);
  }
  const double rms = std::sqrt(sum / static_cast<double>(again.meas.marks.size()));
  std::cout << "[ resample ] " << c.name << ": marks of the image RMS " << rms << " px, worst "
            << worst << " px from their calibrated positions\n";
  EXPECT_LT(worst, kLimitPx);
}

INSTANTIATE_TEST_SUITE_P(
    Scans, ResampleSynthetic,
    ::testing::Values(TResampleCase{"bilinear", TVxInterpolation::Bilinear, false},
                      TResampleCase{"bicubic", TVxInterpolation::Bicubic, false},
                      TResampleCase{"bicubic_undistorted", TVxInterpolation::Bicubic, true}),
    [](const ::testing::TestParamInfo<TResampleCase>& p) { return std::string(p.param.name); });

TEST(ResampleScanErrors, SingularMap_IsRefusedAndWritesNothing) {
  const std::string scanPath = TempPath("singular.tif");
  WriteRaster(scanPath, TVxRaster(32, 32, 100.0f), TVxRasterWriteOptions());
  const TVxScanImage scan(scanPath);
  std::remove(scanPath.c_str());
  TVxPixToCamMap map;
  map.matrix = {1.0, 2.0, 0.0, 2.0, 4.0, 0.0, 0.0, 0.0, 1.0};
  const std::string imagePath = TempPath("singular_image.tif");
  EXPECT_THROW(ResampleScan(scan, TestCamera(), map, imagePath, TVxResampleOptions()),
               TVxScanError);
  EXPECT_NE(::access(imagePath.c_str(), F_OK), 0);
}

}  // namespace
