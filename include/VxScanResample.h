#pragma once
// A scan resampled into the geometry of its camera: the camera origin at the centre, x to the
// right and y up, the scan's rotation and mirroring removed, at a chosen pixel size; optionally
// with the lens distortion removed as well. docs/scan.md gives the method and its accuracy.

#include <cstdint>
#include <functional>
#include <string>

#include "VxCameraInfo.h"
#include "VxIntOrSolve.h"
#include "VxScan.h"
#include "VxScan_export.h"

enum class TVxInterpolation : std::int32_t {
  Bilinear = 0,  // 2 × 2 scan pixels
  Bicubic = 1,   // 4 × 4, Keys' cubic convolution (a = -0.5)
};

struct TVxResampleOptions {
  // Pixel of the image, micrometres; 0: the scan's own (the mean of the solved scales).
  double pixelSizeUm = 0.0;
  // Whether the image shows the camera corrected for its distortion (CreateMmToCamTransform):
  // its coordinates are then the corrected millimetres relative to the principal point.
  bool undistort = false;
  TVxInterpolation interpolation = TVxInterpolation::Bicubic;
  // The image is computed and written in square tiles of this side (a multiple of 16); the
  // memory held is a few tiles per thread, whatever the size of the scan.
  int tileSize = 256;
  // Whether the GeoTIFF is compressed (DEFLATE); uncompressed, it is written several times
  // faster and is four times larger.
  bool compress = true;
  // Threads: 0 the hardware's (at most 8), 1 the calling thread only. The image does not depend
  // on it.
  int threads = 0;
  // Called with the share of the work done (0..1), from the calling thread; may be empty.
  std::function<void(double)> progress;
};

struct TVxResampleResult {
  int width = 0;
  int height = 0;
  double pixelSizeUm = 0.0;
  // The image's pixels to the camera system (or, undistorted, to the corrected millimetres):
  //   x = (column - (width - 1) / 2) · p,  y = ((height - 1) / 2 - row) · p,  p in mm.
  TVxPixToCamMap map;
};

// Writes `outputPath` (a tiled GeoTIFF, BigTIFF when large, of the scan's bits; its
// geotransform is the map above, for the outer corner of the top-left pixel, in millimetres)
// from `scan`, whose pixels `scanMap` maps to the camera system (SolveIntOr's solution.map).
// The image covers the scan's extent in the camera system, symmetric about the camera origin,
// with an odd number of pixels each way so that the origin is a pixel's centre; pixels that fall
// off the scan are 0. The map from image to scan is computed exactly at nodes every 8 pixels and
// bilinearly between them. Written through a temporary file in the target's folder: nothing is
// left behind on failure. Throws TVxScanError naming the file, or when the map is singular.
VXSCAN_EXPORT TVxResampleResult ResampleScan(const TVxScanImage& scan, const TVxCameraInfo& camera,
                                             const TVxPixToCamMap& scanMap,
                                             const std::string& outputPath,
                                             const TVxResampleOptions& options);
