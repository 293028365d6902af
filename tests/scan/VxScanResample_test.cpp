// A synthetic scan resampled into camera geometry, then measured again: its marks must sit at
// their calibrated positions (or, undistorted, at their corrected positions).

#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
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

// Every pixel of a resampled image against the same interpolation computed here in double
// precision from the scan's samples (Keys' cubic written from its kernel, not its weights' pieces):
// the image's float arithmetic and its 8-bit rounding put it within half a grey level plus
// kFloatLevels of the reference. A scan turned by 17°, scaled anisotropically and off centre, cut
// into tiles of 64 pixels so that runs of pixels start anywhere on the scan's grid.
constexpr double kFloatLevels = 2e-3;

double KeysKernel(double s) {
  s = std::abs(s);
  if (s < 1.0) return (1.5 * s - 2.5) * s * s + 1.0;
  if (s < 2.0) return ((-0.5 * s + 2.5) * s - 4.0) * s + 2.0;
  return 0.0;
}

struct TReferenceCase {
  const char* name;
  TVxInterpolation interpolation;
  int bits;  // 8: sampled in the file's bytes; 16: in floats
};

class ResampleReference : public ::testing::TestWithParam<TReferenceCase> {};

TEST_P(ResampleReference, EveryPixel_IsTheDoubleInterpolationWithinHalfALevel) {
  const TVxInterpolation interpolation = GetParam().interpolation;
  const int w = 301, h = 263;
  TVxRaster raster(w, h);
  std::uint32_t state = 12345u;  // a fixed seed: texture and noise of every grey level
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      state = state * 1664525u + 1013904223u;
      const double noise = static_cast<double>(state >> 24);
      raster.At(x, y) = static_cast<float>(std::round(
          std::clamp(0.45 * noise + 100.0 + 90.0 * std::sin(0.11 * x + 0.07 * y), 0.0, 255.0)));
    }
  const std::string scanPath = TempPath("reference_scan.tif");
  TVxRasterWriteOptions write;
  write.bits = GetParam().bits;
  WriteRaster(scanPath, raster, write);
  const TVxScanImage scan(scanPath);
  std::remove(scanPath.c_str());

  // Scan pixel to camera: x = A (column, row) + t, A a turn by 17° with scales 0.021 and
  // 0.019 mm, the row axis downwards.
  const double angle = 17.0 * std::acos(-1.0) / 180.0, sx = 0.021, sy = 0.019;
  const double a[4] = {sx * std::cos(angle), sy * std::sin(angle), sx * std::sin(angle),
                       -sy * std::cos(angle)};
  const double t[2] = {-0.5 * (w - 1) * a[0] - 0.5 * (h - 1) * a[1] + 0.13,
                       -0.5 * (w - 1) * a[2] - 0.5 * (h - 1) * a[3] - 0.07};
  TVxPixToCamMap map;
  map.matrix = {a[0], a[1], t[0], a[2], a[3], t[1], 0.0, 0.0, 1.0};
  TVxResampleOptions options;
  options.interpolation = interpolation;
  options.tileSize = 64;
  options.pixelSizeUm = 17.0;
  const std::string imagePath = TempPath("reference_image.tif");
  const TVxResampleResult result = ResampleScan(scan, TestCamera(), map, imagePath, options);
  const TVxScanImage image(imagePath);
  const TVxRaster out = image.ReadWindow(0, 0, result.width, result.height);
  std::remove(imagePath.c_str());
  ASSERT_EQ(out.width, result.width);

  const double det = a[0] * a[3] - a[1] * a[2];
  const double p = result.pixelSizeUm / 1000.0;
  const bool cubic = interpolation == TVxInterpolation::Bicubic;
  const int reach = cubic ? 2 : 1;
  int compared = 0;
  double worst = 0.0;
  for (int j = 0; j < out.height; ++j)
    for (int i = 0; i < out.width; ++i) {
      const double cx = (i - 0.5 * (out.width - 1)) * p - t[0];
      const double cy = (0.5 * (out.height - 1) - j) * p - t[1];
      const double px = (a[3] * cx - a[1] * cy) / det, py = (-a[2] * cx + a[0] * cy) / det;
      const int ix = static_cast<int>(std::floor(px)), iy = static_cast<int>(std::floor(py));
      if (ix < reach - 1 || iy < reach - 1 || ix + reach > w - 1 || iy + reach > h - 1) continue;
      double value = 0.0;
      for (int n = 1 - reach; n <= reach; ++n)
        for (int m = 1 - reach; m <= reach; ++m) {
          const double wx = cubic ? KeysKernel(px - (ix + m)) : 1.0 - std::abs(px - (ix + m));
          const double wy = cubic ? KeysKernel(py - (iy + n)) : 1.0 - std::abs(py - (iy + n));
          value += wx * wy * static_cast<double>(raster.At(ix + m, iy + n));
        }
      value = std::clamp(value, 0.0, GetParam().bits == 8 ? 255.0 : 65535.0);
      worst = std::max(worst, std::abs(static_cast<double>(out.At(i, j)) - value));
      ++compared;
    }
  EXPECT_GT(compared, w * h / 2);
  EXPECT_LE(worst, 0.5 + kFloatLevels);
}

INSTANTIATE_TEST_SUITE_P(
    Interpolations, ResampleReference,
    ::testing::Values(TReferenceCase{"bilinear8", TVxInterpolation::Bilinear, 8},
                      TReferenceCase{"bicubic8", TVxInterpolation::Bicubic, 8},
                      TReferenceCase{"bilinear16", TVxInterpolation::Bilinear, 16},
                      TReferenceCase{"bicubic16", TVxInterpolation::Bicubic, 16}),
    [](const ::testing::TestParamInfo<TReferenceCase>& p) { return std::string(p.param.name); });

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
