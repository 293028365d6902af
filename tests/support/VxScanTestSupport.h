#pragma once
// Synthetic scans for the scan tests: a small film camera with eight fiducial marks (four drawn
// corner marks of different shapes, four mid-side marks drawn or cut from real scans), its
// templates, and scans of it whose true geometry is known.

#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "VxCameraInfo.h"
#include "VxScan.h"
#include "VxScanSynthetic.h"

namespace vx_scan_test {

// 25 µm template pixels; the film is 45 mm wide, the scan 1800 pixels.
constexpr double kTemplatePixelUm = 25.0;
constexpr int kScanSize = 1800;
constexpr int kDrawnSize = 61;
constexpr std::uint64_t kHalfSize = 30;
constexpr int kCropMargin = 12;

inline std::string CropPath(const std::string& side) {
  return std::string(VX_SOURCE_DIR) + "/tests/data/scans/fiducial_crops/nagap/triangle/" + side +
         ".jpg";
}

// Corners 1..4 as the example RC10 numbers them, mid-side marks 5 left, 6 right, 7 top,
// 8 bottom. Each mark has a template of its own number.
inline TVxCameraInfo TestCamera() {
  TVxCameraInfo camera;
  camera.name = "scan test camera";
  camera.focus = 88.0;
  camera.cameraType = TCameraType::Fiducials;
  const double corner = 17.0, side = 18.5;
  const double xy[8][2] = {{-corner, -corner}, {corner, corner}, {-corner, corner},
                           {corner, -corner},  {-side, 0.02},    {side, -0.01},
                           {0.015, side},      {-0.02, -side}};
  for (int i = 0; i < 8; ++i) {
    TVxCameraInfo::TFiducial f;
    f.index = i + 1;
    f.templateIndex = i + 1;
    f.coordsCam = {xy[i][0], xy[i][1]};
    camera.fiducials.push_back(f);
  }
  return camera;
}

struct TTemplates {
  TCameraMarkTemplates set;
  std::vector<TVxRaster> images;
};

// Drawn corner marks; the mid-side marks drawn as well, or the real crops (whole crops as the
// images: the correlation takes their centre, the scan gets them whole).
inline TTemplates TestTemplates(const TVxCameraInfo& camera, bool realCrops) {
  TTemplates t;
  t.set.templatePixelSize = kTemplatePixelUm;
  t.set.defaultScanSize = {45.0, 45.0};
  const TVxDrawnMark kinds[4] = {TVxDrawnMark::CrossWithDot, TVxDrawnMark::RingWithBar,
                                 TVxDrawnMark::Triangle, TVxDrawnMark::Notch};
  const char* sides[4] = {"L", "R", "T", "B"};
  for (std::size_t i = 0; i < camera.fiducials.size(); ++i) {
    TCameraMarkTemplates::TMarkTemplate m;
    m.index = camera.fiducials[i].templateIndex;
    m.coordsCam = camera.fiducials[i].coordsCam;
    m.halfSizeReduced = {kHalfSize, kHalfSize};
    if (i >= 4 && realCrops) {
      m.fileName = CropPath(sides[i - 4]);
      const TVxScanImage crop(m.fileName);
      t.images.push_back(crop.ReadWindow(0, 0, crop.Width(), crop.Height()));
      // Nearly the whole crop is correlated (its centre alone may hold no more than a straight
      // edge); the scan gets all of it, so that the template's border has the crop's
      // surroundings on the scan, as a template cut from a scan has.
      m.halfSizeReduced = {static_cast<std::uint64_t>((crop.Width() - 1) / 2 - kCropMargin),
                           static_cast<std::uint64_t>((crop.Height() - 1) / 2 - kCropMargin)};
    } else {
      m.fileName = "drawn.tif";
      // Mid-side drawn marks: the corner shapes turned by a quarter, so that each differs.
      TVxRaster image = DrawMarkTemplate(kinds[i % 4], kDrawnSize);
      if (i >= 4) {
        TVxRaster turned(image.height, image.width);
        for (int y = 0; y < image.height; ++y)
          for (int x = 0; x < image.width; ++x) turned.At(y, image.width - 1 - x) = image.At(x, y);
        image = turned;
      }
      t.images.push_back(image);
    }
    t.set.templates.push_back(m);
  }
  return t;
}

inline TVxSyntheticScanOptions DefaultScanOptions() {
  TVxSyntheticScanOptions o;
  o.width = kScanSize;
  o.height = kScanSize;
  o.angleDeg = 0.3;
  o.offsetPix = {11.3, -6.7};
  return o;
}

// A path in the test's temporary folder, unique to this process.
inline std::string TempPath(const std::string& name) {
  return ::testing::TempDir() + "vxscan_" + std::to_string(::getpid()) + "_" + name;
}

// The scan written as an 8-bit TIFF and measured, with `searchRadiusMm` (0 the default).
inline TVxScanMeasurement WriteAndMeasure(const TVxRaster& raster, const TVxCameraInfo& camera,
                                          const TTemplates& templates, const std::string& name,
                                          double searchRadiusMm = 3.0) {
  const std::string path = TempPath(name + ".tif");
  WriteRaster(path, raster, TVxRasterWriteOptions());
  const TVxScanImage image(path);
  std::remove(path.c_str());
  TVxMeasureOptions measure;
  measure.searchRadiusMm = searchRadiusMm;
  return MeasureMarks(image, camera, templates.set, templates.images, measure);
}

// Root mean square of the distances of the measured marks from the truth; -1 without marks.
inline double RmsToTruth(const TVxIntOrMeas& meas, const TVxSyntheticScan& scan) {
  double sum = 0.0;
  int n = 0;
  for (const TVxIntOrMeas::TMarkMeas& mark : meas.marks) {
    const auto truth = scan.truth.find(mark.index);
    if (truth == scan.truth.end()) return 1e9;
    sum += (mark.coordsPix - truth->second).Length2();
    ++n;
  }
  return n == 0 ? -1.0 : std::sqrt(sum / n);
}

}  // namespace vx_scan_test
