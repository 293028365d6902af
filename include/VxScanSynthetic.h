#pragma once
// Synthetic scans of film whose geometry is known exactly: for tests, benchmarks and the demo.
// The marks are placed where a known transform of the camera's calibrated marks puts them, on a
// background of film with grain, uneven exposure, blur, dust and scratches.

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "VxCameraInfo.h"
#include "VxScan.h"
#include "VxScan_export.h"
#include "VxVec.h"

// How a drawn mark looks: the shapes of the fiducial marks of film cameras, each with something
// that turns with it (so that the orientation of a scan can be told from it).
enum class TVxDrawnMark : std::int32_t {
  CrossWithDot = 0,  // a cross with a dot in one quadrant
  RingWithBar = 1,   // a ring, a dot at its centre and a bar to one side
  Triangle = 2,      // a solid right triangle with its right angle at the mark
  Notch = 3,         // a notch of the frame's edge: a rectangle with a semicircle cut out
};

// A drawn mark rendered into a square of `size` pixels (odd, at least 15), its reference point at
// the centre pixel: dark (grey 40) on a bright film base (grey 200), anti-aliased by 8 × 8
// samples a pixel.
VXSCAN_EXPORT TVxRaster DrawMarkTemplate(TVxDrawnMark kind, int size);

struct TVxSyntheticScanOptions {
  int width = 2000;
  int height = 2000;
  // The scan's geometry against the camera: camera millimetres (x right, y up) to scan pixels
  //   p = centre + offset + (1 / pixelMm) · R(angle) · F · (x, -y),
  // with pixelMm the scan's pixel in mm along x and y (scaleX, scaleY times the template pixel
  // size: their inverse makes the marks larger), R the rotation by `angleDeg` + 90° ·
  // quarterTurns counter-clockwise as seen, and F the reversal of the rows when mirrored.
  int quarterTurns = 0;
  bool mirrored = false;
  double angleDeg = 0.0;
  double scaleX = 1.0;  // scan pixels per template pixel along the camera's x
  double scaleY = 1.0;
  vec_t_<double, 2> offsetPix;
  // The film: base grey level, grain (standard deviation, grey levels, per pixel, before the
  // blur), a linear fall of exposure across the scan (share of the base grey level from one
  // corner to the opposite one), Gaussian blur (sigma, pixels; 0 none), dust specks and
  // scratches (counts).
  double baseGrey = 200.0;
  double grain = 6.0;
  double exposureFall = 0.25;
  double blurSigma = 0.8;
  int dust = 40;
  int scratches = 4;
  // Whether dust and scratches may fall on the marks (a speck on a mark moves its measured
  // position by a few tenths of a pixel); by default they keep off the marks' templates.
  bool defectsOnMarks = false;
  // Marks not drawn at all, and marks drawn but damaged (a blot of dark and bright paint of a
  // radius 0.4 times the template's longer side), by their camera index.
  std::vector<std::int32_t> missing;
  std::vector<std::int32_t> damaged;
  std::uint32_t seed = 1;
  // Grey values are multiplied by this (256 for a 16-bit scan).
  double greyScale = 1.0;
};

struct TVxSyntheticScan {
  TVxRaster raster;
  // Where each drawn mark's reference point lies, by the camera's fiducial index, pixels.
  std::map<std::int32_t, vec_t_<double, 2>> truth;
};

// A scan of `camera`'s fiducial marks, each drawn from the image of its template (the template's
// centre pixel on the mark's position), resampled bicubically at the scan's geometry.
VXSCAN_EXPORT TVxSyntheticScan RenderSyntheticScan(const TVxCameraInfo& camera,
                                                   const TCameraMarkTemplates& templates,
                                                   const std::vector<TVxRaster>& templateImages,
                                                   const TVxSyntheticScanOptions& options);

// The same scan written to `path` as a tiled GeoTIFF (8 bits, or 16 when greyScale > 1) tile by
// tile on a small pool of threads, without holding it whole: for scans of 16 000 × 16 000
// pixels. Pixel for pixel as RenderSyntheticScan draws it, but for the blur's reach at the scan's
// border. Returns the truth. Throws TVxScanError naming the file.
VXSCAN_EXPORT std::map<std::int32_t, vec_t_<double, 2>> WriteSyntheticScan(
    const std::string& path, const TVxCameraInfo& camera, const TCameraMarkTemplates& templates,
    const std::vector<TVxRaster>& templateImages, const TVxSyntheticScanOptions& options);

// Where options put a point of the camera (millimetres) on the scan, pixels.
VXSCAN_EXPORT vec_t_<double, 2> SyntheticCameraToPixel(const vec_t_<double, 2>& cameraMm,
                                                       double templatePixelUm,
                                                       const TVxSyntheticScanOptions& options);
