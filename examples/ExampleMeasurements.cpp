#include "ExampleMeasurements.h"

#include <cmath>

namespace {

// A simulated scan of a 240 mm film frame at 12.5 micrometres: pixel x is the column, pixel y
// the row counted downwards from the top-left pixel centre; the camera's y points up. The marks
// are where the Wild RC10 2337's calibrated fiducials (USGS OSL/3036) fall, turned by a small
// scanner misalignment and offset, with a few tenths of a pixel of measuring noise.
constexpr double kScanPixelMm = 0.0125;
constexpr double kFrameHalfMm = 120.0;
constexpr double kMisalignmentRad = 0.0021;

TVxIntOrMeas::TMarkMeas ScannedMark(int index, double xMm, double yMm, double noiseX,
                                    double noiseY) {
  const double c = std::cos(kMisalignmentRad);
  const double s = std::sin(kMisalignmentRad);
  const double x = c * xMm - s * yMm + 0.35;
  const double y = s * xMm + c * yMm - 0.20;
  TVxIntOrMeas::TMarkMeas mark;
  mark.index = index;
  mark.coordsPix = {std::round(((x + kFrameHalfMm) / kScanPixelMm + noiseX) * 100.0) / 100.0,
                    std::round(((kFrameHalfMm - y) / kScanPixelMm + noiseY) * 100.0) / 100.0};
  return mark;
}

TVxIntOrMeas Rc10Scan(std::vector<int> indices) {
  const double fiducials[][2] = {
      {-105.993, -106.006}, {106.001, 106.002}, {-106.015, 105.982}, {106.015, -106.006}};
  const double noise[][2] = {{0.21, -0.13}, {-0.08, 0.17}, {0.05, 0.24}, {-0.19, -0.06}};
  TVxIntOrMeas meas;
  meas.cameraType = TCameraType::Fiducials;
  meas.rotation = TCamRotate::Rotate0;
  meas.transformType = TTransformType::Affine;
  for (int index : indices) {
    if (index >= 1 && index <= 4) {
      const auto& f = fiducials[index - 1];
      meas.marks.push_back(
          ScannedMark(index, f[0], f[1], noise[index - 1][0], noise[index - 1][1]));
    } else {
      // A mark the camera does not have, measured near the frame's edge.
      meas.marks.push_back(ScannedMark(index, 0.0, -113.0, 0.0, 0.0));
    }
  }
  return meas;
}

TVxIntOrMeas PrincipalPointScan() {
  TVxIntOrMeas meas;
  meas.cameraType = TCameraType::PrincipalPoint;
  meas.rotation = TCamRotate::Rotate90;
  meas.scanResolution = {2032.0, 2032.0};  // 12.5 micrometres
  meas.resolutionUnits = TResolutionUnits::Dpi;
  meas.marks = {ScannedMark(1, 0.0, 0.007, 0.1, -0.2)};
  return meas;
}

TVxIntOrMeas CrossScan() {
  TVxIntOrMeas meas;
  meas.cameraType = TCameraType::Cross;
  meas.scanResolution = {0.0125, 0.0125};
  meas.resolutionUnits = TResolutionUnits::Mm;
  meas.marks = {ScannedMark(1, -110.0, 0.0, 0.0, 0.0), ScannedMark(2, 110.0, 0.0, 0.0, 0.0),
                ScannedMark(3, 0.0, 110.0, 0.0, 0.0), ScannedMark(4, 0.0, -110.0, 0.0, 0.0)};
  return meas;
}

TVxIntOrMeas DigitalImage() {
  TVxIntOrMeas meas;
  meas.cameraType = TCameraType::Digital;
  meas.rotation = TCamRotate::Rotate0;
  return meas;
}

}  // namespace

std::vector<TExampleMeasurement> ExampleMeasurements() {
  return {
      {"rc10_scan_complete.yaml", Rc10Scan({1, 2, 3, 4})},
      {"rc10_scan_two_missing.yaml", Rc10Scan({3, 1})},
      {"rc10_scan_unknown_mark.yaml", Rc10Scan({1, 2, 3, 4, 9})},
      {"principal_point_scan_dpi.yaml", PrincipalPointScan()},
      {"cross_scan.yaml", CrossScan()},
      {"dmc_image.yaml", DigitalImage()},
      {"not_measured.yaml", TVxIntOrMeas()},
  };
}
