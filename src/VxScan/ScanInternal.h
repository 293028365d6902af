#pragma once
// The scan library's own units: correlation kernels, orientations of a scan, the robust fit and
// a small pool of threads.

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "VxScan.h"
#include "VxVec.h"

namespace vxscan {

// A template less its mean, with the sum of its squares.
struct TZeroMeanTemplate {
  int width = 0;
  int height = 0;
  std::vector<float> values;
  double normSquared = 0.0;

  explicit TZeroMeanTemplate(const TVxRaster& templ);
  bool Flat() const;
};

// The correlation surface of `templ` over `image` (see CorrelationSurface in VxScan.h).
TVxRaster Correlate(const TVxRaster& image, const TZeroMeanTemplate& templ);

// The highest value of a surface (the first in row order on a tie) and the highest farther from
// it than the given half sizes along x or y.
struct TPeak {
  bool found = false;
  int x = 0;
  int y = 0;
  double score = 0.0;
  double secondScore = -1.0;
};
TPeak BestPeak(const TVxRaster& surface, int excludeHalfWidth, int excludeHalfHeight);

// The vertex of the quadratic fitted to 3 × 3 samples around a maximum, relative to the centre.
vec_t_<double, 2> QuadraticPeak(const double z[9]);
// The correlation of the template placed with its top-left pixel at (x, y) of the image.
double CorrelationAt(const TVxRaster& image, const TZeroMeanTemplate& templ, int x, int y);
// The sub-pixel offset of a whole-pixel peak at (px, py) of Correlate(image, templ), which must
// not lie on the surface's border; with `iterate`, refined by re-correlation.
vec_t_<double, 2> RefinePeak(const TVxRaster& image, const TZeroMeanTemplate& templ, int px, int py,
                             bool iterate);

// Keys' cubic convolution kernel (a = -0.5) at distance s: interpolates, reproduces quadratics.
double CubicKernel(double s);
// The raster convolved with a normalised Gaussian of `sigma` pixels (taps to 3 sigma), its
// border continued by its edge pixels.
void GaussianSmooth(TVxRaster& raster, double sigma);

// A GeoTIFF written by windows from several threads: created under a temporary name in the
// target's folder, tiled, one grey band of 8 or 16 bits, DEFLATE or uncompressed, its geotransform
// (GDAL's six numbers, for the outer corner of the top-left pixel) set; renamed over the target by
// Commit. Destroyed without Commit, it removes the temporary file. Throws TVxScanError naming the
// target.
class TRasterFileWriter {
 public:
  TRasterFileWriter(const std::string& path, int width, int height, int bits, int tileSize,
                    const double geoTransform[6], bool compress = true);
  ~TRasterFileWriter();
  TRasterFileWriter(const TRasterFileWriter&) = delete;
  TRasterFileWriter& operator=(const TRasterFileWriter&) = delete;
  // Writes the raster at its (x0, y0), values rounded and clamped to the bits; serialised.
  void Write(const TVxRaster& tile);
  void Commit();

 private:
  struct TImpl;
  TImpl* impl_;
};

// One of the eight orientations of a scan against the camera: quarter turns counter-clockwise
// and the rows read in reverse order. Offsets of the unturned, unmirrored image (x right, y down)
// map onto the scan by the whole matrix
//   unmirrored [ c  s ]   mirrored [ c  s ]     c = cos(90° k), s = sin(90° k)
//              [-s  c ]            [ s -c ]
struct TOrientation {
  int quarterTurns = 0;
  bool mirrored = false;
};
std::vector<TOrientation> AllOrientations();
// The matrix above as (m00, m01, m10, m11).
void OrientationMatrix(const TOrientation& orientation, int m[4]);
// The image as it appears on a scan of the given orientation; its centre stays its centre.
TVxRaster OrientRaster(const TVxRaster& image, const TOrientation& orientation);

// A similarity (x', y') = (a x - b y + tx, b x + a y + ty), with or without a reflection of y
// before it; fitted by least squares.
struct TSimilarity {
  double a = 1.0, b = 0.0, tx = 0.0, ty = 0.0;
  bool reflect = false;
  vec_t_<double, 2> Apply(const vec_t_<double, 2>& p) const;
};
bool FitSimilarity(const std::vector<vec_t_<double, 2>>& from,
                   const std::vector<vec_t_<double, 2>>& to, bool reflect, TSimilarity* result);

// Runs body(i) for i in [0, count) on up to `threads` threads (the calling one among them);
// returns when all are done. The first exception thrown by a body is rethrown.
void ParallelFor(int count, int threads, const std::function<void(int)>& body);
// The threads of an option value: 0 the hardware's, at most 8.
int ThreadCount(int option);

}  // namespace vxscan
