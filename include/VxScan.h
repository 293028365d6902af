#pragma once
// Scans of film: reading rasters (through GDAL, which stays private to this library) and
// measuring a scan's fiducial marks by normalised cross-correlation with the camera's mark
// templates, into the interior orientation measurements of the scan (TVxIntOrMeas).
//
// Pixel coordinates are those of VxIntOrSolve.h: x the column, y the row counted downwards,
// (0, 0) the centre of the top-left pixel. docs/scan.md states the methods, their tolerances
// and the accuracy measured on synthetic scans.

#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "VxCameraInfo.h"
#include "VxIntOrMeas.h"
#include "VxScan_export.h"
#include "VxVec.h"

// A raster that cannot be read or written, or a measurement that cannot start (no template for
// any mark, a template file that cannot be read). The message names the file and the reason.
class VXSCAN_EXPORT TVxScanError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// A grey image in memory: width × height values, row by row from the top. Values are the
// raster's own (0..255 for 8 bits, 0..65535 for 16 bits); a colour raster is read as the mean
// of its first three bands. (x0, y0) is where the first pixel lies in the raster it was read
// from, in that raster's pixels (in reduced pixels for a reduced read).
struct TVxRaster {
  int width = 0;
  int height = 0;
  int x0 = 0;
  int y0 = 0;
  std::vector<float> pixels;

  TVxRaster() = default;
  TVxRaster(int w, int h, float value = 0.0f)
      : width(w),
        height(h),
        pixels(static_cast<std::size_t>(w) * static_cast<std::size_t>(h), value) {}
  float& At(int x, int y) {
    return pixels[static_cast<std::size_t>(y) * static_cast<std::size_t>(width) +
                  static_cast<std::size_t>(x)];
  }
  float At(int x, int y) const {
    return pixels[static_cast<std::size_t>(y) * static_cast<std::size_t>(width) +
                  static_cast<std::size_t>(x)];
  }
};

// The file formats a raster is written in.
enum class TVxRasterFormat : std::int32_t {
  Tiff = 0,     // GeoTIFF, tiled or striped, 8 or 16 bits, deflate
  BigTiff = 1,  // the same with 64-bit offsets, for scans over 4 GB
  Png = 2,      // 8 or 16 bits
  Jpeg = 3,     // 8 bits only, lossy
};

struct TVxRasterWriteOptions {
  TVxRasterFormat format = TVxRasterFormat::Tiff;
  int bits = 8;          // 8 or 16
  bool tiled = true;     // TIFF: tiles of tileSize² pixels, else strips
  int tileSize = 256;    // a multiple of 16
  int jpegQuality = 90;  // 1..100
};

// Writes a raster as one grey band, its values rounded and clamped to the range of `bits`.
// The file is written beside the target under a temporary name and renamed over it: a failed
// write leaves nothing behind and the target as it was. Throws TVxScanError naming the file.
VXSCAN_EXPORT void WriteRaster(const std::string& path, const TVxRaster& raster,
                               const TVxRasterWriteOptions& options);

// A scan opened for reading windows of it, never the whole scan at once. Reads are serialised
// inside (one GDAL dataset), so one object may be shared by threads.
class VXSCAN_EXPORT TVxScanImage {
 public:
  // Opens a raster that GDAL reads: TIFF or BigTIFF (tiled or striped), PNG, JPEG, 8 or 16 bits,
  // one grey band or three or four colour bands. Throws TVxScanError naming the file.
  explicit TVxScanImage(const std::string& path);
  ~TVxScanImage();
  TVxScanImage(TVxScanImage&& other) noexcept;
  TVxScanImage& operator=(TVxScanImage&& other) noexcept;
  TVxScanImage(const TVxScanImage&) = delete;
  TVxScanImage& operator=(const TVxScanImage&) = delete;

  int Width() const;
  int Height() const;
  int Bits() const;  // bits of a sample: 8 or 16 (other types are read as 16)
  int Bands() const;
  const std::string& Path() const;

  // The part of the window (x, y, width, height) that lies on the scan; empty when none does.
  // Throws TVxScanError naming the file when GDAL fails to read.
  TVxRaster ReadWindow(int x, int y, int width, int height) const;
  // The same window's samples as the file stores them, when the scan is one band of 8 bits:
  // row after row in `samples` (the returned raster's width × height, its pixels left empty),
  // followed by `padBytes` zeros. Returns an empty raster, reading nothing, for other scans.
  TVxRaster ReadWindowBytes(int x, int y, int width, int height, std::size_t padBytes,
                            std::vector<std::uint8_t>* samples) const;
  // The window reduced by `factor` (>= 1): each pixel the mean of factor × factor scan pixels;
  // reduced pixel (i, j) covers scan pixels [i·factor, (i+1)·factor) × [j·factor, (j+1)·factor)
  // and its centre lies at scan pixel (i·factor + (factor-1)/2, j·factor + (factor-1)/2). The
  // window is in reduced pixels and is clipped to the whole reduced pixels of the scan.
  TVxRaster ReadReduced(int x, int y, int width, int height, int factor) const;

 private:
  struct TImpl;
  TImpl* impl_;
};

// Where a template matches best in an image, by normalised cross-correlation (the correlation
// coefficient of the template and the image under it, as OpenCV's TM_CCOEFF_NORMED).
struct TVxCorrelationPeak {
  bool found = false;        // false: the image is smaller than the template, or flat
  vec_t_<double, 2> offset;  // the template's top-left corner on the image, sub-pixel
  double score = 0.0;        // the correlation at the best whole-pixel position, -1..1
  // The best correlation outside the peak (farther than the template's half size in both axes
  // from it), -1 when there is no room for one.
  double secondScore = -1.0;
};

// The correlation surface of `templ` over `image`: (image.width - templ.width + 1) ×
// (image.height - templ.height + 1) values, value (i, j) the correlation coefficient of the
// template with the image part whose top-left pixel is (i, j); 0 where that part is flat.
VXSCAN_EXPORT TVxRaster CorrelationSurface(const TVxRaster& image, const TVxRaster& templ);
// The best match of `templ` in `image`: the highest value of the surface, refined to sub-pixel
// by a 2-D quadratic fitted to its 3 × 3 neighbourhood and, with `refine`, by re-correlating the
// image shifted by the estimate (bicubic) until the step is below 0.01 pixel (docs/scan.md).
VXSCAN_EXPORT TVxCorrelationPeak FindTemplate(const TVxRaster& image, const TVxRaster& templ,
                                              bool refine = true);

// The template images of a set, in the order of its templates, each read with TVxScanImage
// from its file name, taken relative to `folder` unless absolute. Throws TVxScanError naming
// the file.
VXSCAN_EXPORT std::vector<TVxRaster> LoadMarkTemplateImages(const TCameraMarkTemplates& templates,
                                                            const std::string& folder);

// What became of one fiducial mark.
enum class TVxMarkStatus : std::int32_t {
  Measured = 0,     // measured and kept in the measurements
  NoTemplate = 1,   // the camera's mark has no template of the set
  OutsideScan = 2,  // its search window does not lie on the scan
  LowScore = 3,     // the best correlation is below TVxMeasureOptions::minScore
  Ambiguous = 4,    // a second peak nearly as high as the first
  Rejected = 5,     // found, but disagrees with the other marks (residual above the limit)
  // Found, but pixels under it that its template does not explain (dust, a scratch) move its
  // peak by more than TVxMeasureOptions::maxDisturbancePx.
  Disturbed = 6,
};

// The file text of a status ("Measured", "NoTemplate", ...).
VXSCAN_EXPORT const char* MarkStatusToText(TVxMarkStatus status);

struct TVxMeasureOptions {
  // Radius of the coarse search about each predicted mark, millimetres of the camera. 0: 8 mm
  // plus 6 % of the mark's distance from the camera origin, which covers a scan whose centre
  // is off the camera origin by a few millimetres and whose scale is off by a few per cent.
  double searchRadiusMm = 0.0;
  // A mark whose best correlation is below this is not taken.
  double minScore = 0.5;
  // A mark whose second peak reaches this share of its best is ambiguous and not taken.
  double maxSecondPeakRatio = 0.95;
  // A mark whose residual after the fit of the others is longer than this, micrometres, is
  // rejected.
  double rejectResidualUm = 50.0;
  // A mark whose peak moves by more than this, pixels, when the pixels under it that its
  // template does not explain are replaced by the template's prediction is Disturbed and not
  // taken (docs/scan.md).
  double maxDisturbancePx = 0.1;
  // The transform of the measurements (Similarity, Affine or Projective).
  TTransformType transformType = TTransformType::Affine;
  // Threads of the correlations: 0 the hardware's (at most 8), 1 the calling thread only. The
  // results do not depend on it.
  int threads = 0;
  // Called with the share of the work done (0..1), from the calling thread; may be empty.
  std::function<void(double)> progress;
};

// The report of one of the camera's fiducial marks.
struct TVxMarkReport {
  std::int32_t index = 0;          // the camera's fiducial index
  std::int32_t templateIndex = 0;  // the template it was searched with
  TVxMarkStatus status = TVxMarkStatus::NoTemplate;
  vec_t_<double, 2> predictedPix;  // where the layout put it, pixels
  vec_t_<double, 2> coordsPix;     // where it was found (status Measured, Rejected, Ambiguous)
  double score = 0.0;              // best correlation, -1..1
  double secondScore = -1.0;       // best correlation outside the peak
  double residualPix = 0.0;        // length of the residual after the robust fit, pixels
  // How far its peak moved when the pixels under it that its template does not explain were
  // replaced by the template's prediction, pixels (measured at full resolution).
  double disturbancePix = 0.0;
};

// The measurements of a scan, with how they were found.
struct TVxScanMeasurement {
  // Fiducials, the measured marks (status Measured only) with their residuals, rotation the
  // quarter turn found, transformType from the options.
  TVxIntOrMeas meas;
  // One report per fiducial mark of the camera, in the camera's order.
  std::vector<TVxMarkReport> marks;
  // The orientation of the scan found: quarter turns counter-clockwise (0..3) and whether its
  // rows are to be read in reverse order, as in TVxIntOrSolution.
  int quarterTurns = 0;
  bool mirrored = false;
  // The mean best correlation of the marks under the orientation taken and under the best
  // other one: close values mean that the marks do not tell the orientations apart.
  double orientationScore = 0.0;
  double secondOrientationScore = 0.0;
  // Scan pixels per template pixel (the template pixel size over the scan's), from the solved
  // orientation of the kept marks; 1 when it could not be solved.
  double scale = 1.0;
  // RMS of the residuals of the measured marks, pixels.
  double rmsPix = 0.0;
};

// Measures the fiducial marks of `scan` for `camera` (type Fiducials), each mark with the
// template of its templateIndex. `templateImages` holds the image of each template of the set
// in its order (LoadMarkTemplateImages). The scan is taken to have the templates' pixel size,
// up to a few per cent, its centre near the camera origin, and any of the four quarter turns,
// mirrored or not. docs/scan.md describes the steps. Throws TVxScanError when the camera has no
// fiducial marks, `templateImages` does not match the set, or the scan cannot be read; marks
// that are not found are reported, not thrown.
VXSCAN_EXPORT TVxScanMeasurement MeasureMarks(const TVxScanImage& scan, const TVxCameraInfo& camera,
                                              const TCameraMarkTemplates& templates,
                                              const std::vector<TVxRaster>& templateImages,
                                              const TVxMeasureOptions& options);
