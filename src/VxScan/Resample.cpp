// Resampling a scan into camera geometry, tile by tile on a small pool of threads.

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <limits>
#include <stdexcept>
#include <vector>

#include "ScanInternal.h"
#include "VxCameraMath.h"
#include "VxScanResample.h"
#include "VxTransform.h"

#if defined(__x86_64__)
#include <immintrin.h>
#define VX_SCAN_RESAMPLE_AVX2 1
#endif

namespace {

using Vec2 = vec_t_<double, 2>;

// The map from image to scan is exact at nodes this many pixels apart and bilinear between
// them: for a distortion of 100 µm at the film's corner (a strong lens), the bilinear error
// over 8 pixels of 12 µm is below 1e-4 px.
constexpr int kNodeStep = 8;
// Source pixels around a tile's mapped nodes read besides: the cubic's reach and rounding.
constexpr int kSourcePad = 3;
// A tile is computed in blocks of this many columns, all its rows each: a scan turned a
// quarter is read down its columns, and the source rows that a block's row touches (two or four
// cache lines each) then stay in the first-level cache for the block's next row.
constexpr int kBlockColumns = 64;
// Bytes beyond an 8-bit window's last sample: a gather reads a 32-bit word from any sample on.
constexpr std::size_t kBytePad = 4;

struct TImageGeometry {
  int width = 0;
  int height = 0;
  double pixelMm = 0.0;
  Vec2 ToCamera(double column, double row) const {
    return {(column - 0.5 * (width - 1)) * pixelMm, (0.5 * (height - 1) - row) * pixelMm};
  }
};

// Scan pixel (x, y) of a camera point through the inverse of the scan's map.
Vec2 ApplyMatrix(const std::array<double, 9>& m, const Vec2& p) {
  const double w = m[6] * p.x + m[7] * p.y + m[8];
  return {(m[0] * p.x + m[1] * p.y + m[2]) / w, (m[3] * p.x + m[4] * p.y + m[5]) / w};
}

// A window of the scan's samples: floats, or the 8-bit samples as the file stores them (the
// arithmetic is the same; a byte turns into a float exactly).
template <typename T>
struct TSource {
  const T* pixels = nullptr;
  int x0 = 0, y0 = 0, width = 0, height = 0;
  std::size_t size() const {
    return static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
  }
};

template <typename T>
float SampleBilinear(const TSource<T>& r, double x, double y) {
  const double fx = std::floor(x), fy = std::floor(y);
  const int ix = static_cast<int>(fx) - r.x0, iy = static_cast<int>(fy) - r.y0;
  if (ix < 0 || iy < 0 || ix + 1 >= r.width || iy + 1 >= r.height) return 0.0f;
  const float tx = static_cast<float>(x - fx), ty = static_cast<float>(y - fy);
  const T* row0 = r.pixels + static_cast<std::size_t>(iy) * static_cast<std::size_t>(r.width) + ix;
  const T* row1 = row0 + r.width;
  const float a = static_cast<float>(row0[0]), b = static_cast<float>(row0[1]);
  const float c = static_cast<float>(row1[0]), d = static_cast<float>(row1[1]);
  const float top = a + tx * (b - a);
  const float bottom = c + tx * (d - c);
  return top + ty * (bottom - top);
}

// Keys' cubic convolution weights (a = -0.5) of the four samples around a fraction t in [0, 1),
// its polynomial pieces written out.
void CubicWeights(float t, float w[4]) {
  w[0] = ((-0.5f * t + 1.0f) * t - 0.5f) * t;
  w[1] = (1.5f * t - 2.5f) * t * t + 1.0f;
  w[2] = ((-1.5f * t + 2.0f) * t + 0.5f) * t;
  w[3] = (0.5f * t - 0.5f) * t * t;
}

template <typename T>
float SampleBicubic(const TSource<T>& r, double x, double y) {
  const double fx = std::floor(x), fy = std::floor(y);
  const int ix = static_cast<int>(fx) - r.x0, iy = static_cast<int>(fy) - r.y0;
  if (ix < 1 || iy < 1 || ix + 2 >= r.width || iy + 2 >= r.height) return SampleBilinear(r, x, y);
  float wx[4], wy[4];
  CubicWeights(static_cast<float>(x - fx), wx);
  CubicWeights(static_cast<float>(y - fy), wy);
  const T* row =
      r.pixels + static_cast<std::size_t>(iy - 1) * static_cast<std::size_t>(r.width) + (ix - 1);
  float sum = 0.0f;
  for (int m = 0; m < 4; ++m, row += r.width)
    sum += wy[m] * (wx[0] * static_cast<float>(row[0]) + wx[1] * static_cast<float>(row[1]) +
                    wx[2] * static_cast<float>(row[2]) + wx[3] * static_cast<float>(row[3]));
  return sum;
}

// A run of kNodeStep pixels of a row whose samples all lie inside the source, so that no pixel
// needs a test: the positions px = sx + k · stepX (k = 0..7, likewise y) and the samples with the
// very operations of SampleBilinear and SampleBicubic, eight pixels a vector (AVX2, its gathers
// fetching the neighbours). Neither multiply-adds are fused nor sums reordered, so each pixel is
// bit for bit the one the one-pixel functions give.
#if VX_SCAN_RESAMPLE_AVX2
struct TRun {
  __m256i index;  // source offset of the top-left neighbour
  __m256 tx, ty;  // fractions
};

template <typename T>
__attribute__((target("avx2"))) TRun RunPositions(const TSource<T>& r, double sx, double sy,
                                                  double stepX, double stepY, int reach) {
  const __m256d k0 = _mm256_set_pd(3.0, 2.0, 1.0, 0.0), k1 = _mm256_set_pd(7.0, 6.0, 5.0, 4.0);
  const __m256d bx = _mm256_set1_pd(sx), by = _mm256_set1_pd(sy);
  const __m256d dx = _mm256_set1_pd(stepX), dy = _mm256_set1_pd(stepY);
  const __m256d px0 = _mm256_add_pd(bx, _mm256_mul_pd(k0, dx));
  const __m256d px1 = _mm256_add_pd(bx, _mm256_mul_pd(k1, dx));
  const __m256d py0 = _mm256_add_pd(by, _mm256_mul_pd(k0, dy));
  const __m256d py1 = _mm256_add_pd(by, _mm256_mul_pd(k1, dy));
  // Truncation is the floor: every position is at or right of the source's origin, x0, y0 >= 0.
  const __m128i ix0 = _mm256_cvttpd_epi32(px0), ix1 = _mm256_cvttpd_epi32(px1);
  const __m128i iy0 = _mm256_cvttpd_epi32(py0), iy1 = _mm256_cvttpd_epi32(py1);
  TRun run;
  run.tx = _mm256_set_m128(_mm256_cvtpd_ps(_mm256_sub_pd(px1, _mm256_cvtepi32_pd(ix1))),
                           _mm256_cvtpd_ps(_mm256_sub_pd(px0, _mm256_cvtepi32_pd(ix0))));
  run.ty = _mm256_set_m128(_mm256_cvtpd_ps(_mm256_sub_pd(py1, _mm256_cvtepi32_pd(iy1))),
                           _mm256_cvtpd_ps(_mm256_sub_pd(py0, _mm256_cvtepi32_pd(iy0))));
  const __m256i ix = _mm256_sub_epi32(_mm256_set_m128i(ix1, ix0), _mm256_set1_epi32(r.x0 + reach));
  const __m256i iy = _mm256_sub_epi32(_mm256_set_m128i(iy1, iy0), _mm256_set1_epi32(r.y0 + reach));
  run.index = _mm256_add_epi32(_mm256_mullo_epi32(iy, _mm256_set1_epi32(r.width)), ix);
  return run;
}

__attribute__((target("avx2"))) void BilinearRun(const TSource<float>& r, double sx, double sy,
                                                 double stepX, double stepY, float* target) {
  const TRun run = RunPositions(r, sx, sy, stepX, stepY, 0);
  const float* p = r.pixels;
  const __m256 a = _mm256_i32gather_ps(p, run.index, 4);
  const __m256 b = _mm256_i32gather_ps(p + 1, run.index, 4);
  const __m256 c = _mm256_i32gather_ps(p + r.width, run.index, 4);
  const __m256 d = _mm256_i32gather_ps(p + r.width + 1, run.index, 4);
  const __m256 top = _mm256_add_ps(a, _mm256_mul_ps(run.tx, _mm256_sub_ps(b, a)));
  const __m256 bottom = _mm256_add_ps(c, _mm256_mul_ps(run.tx, _mm256_sub_ps(d, c)));
  _mm256_storeu_ps(target, _mm256_add_ps(top, _mm256_mul_ps(run.ty, _mm256_sub_ps(bottom, top))));
}

// CubicWeights on eight fractions.
__attribute__((target("avx2"))) void CubicWeights8(__m256 t, __m256 w[4]) {
  const __m256 half = _mm256_set1_ps(0.5f), one = _mm256_set1_ps(1.0f);
  w[0] = _mm256_mul_ps(
      _mm256_sub_ps(_mm256_mul_ps(_mm256_add_ps(_mm256_mul_ps(_mm256_set1_ps(-0.5f), t), one), t),
                    half),
      t);
  w[1] = _mm256_add_ps(
      _mm256_mul_ps(
          _mm256_mul_ps(_mm256_sub_ps(_mm256_mul_ps(_mm256_set1_ps(1.5f), t), _mm256_set1_ps(2.5f)),
                        t),
          t),
      one);
  w[2] = _mm256_mul_ps(
      _mm256_add_ps(
          _mm256_mul_ps(
              _mm256_add_ps(_mm256_mul_ps(_mm256_set1_ps(-1.5f), t), _mm256_set1_ps(2.0f)), t),
          half),
      t);
  w[3] = _mm256_mul_ps(_mm256_mul_ps(_mm256_sub_ps(_mm256_mul_ps(half, t), half), t), t);
}

__attribute__((target("avx2"))) void BicubicRun(const TSource<float>& r, double sx, double sy,
                                                double stepX, double stepY, float* target) {
  const TRun run = RunPositions(r, sx, sy, stepX, stepY, 1);
  __m256 wx[4], wy[4];
  CubicWeights8(run.tx, wx);
  CubicWeights8(run.ty, wy);
  const float* row = r.pixels;
  __m256 sum = _mm256_setzero_ps();
  for (int m = 0; m < 4; ++m, row += r.width) {
    __m256 line = _mm256_mul_ps(wx[0], _mm256_i32gather_ps(row, run.index, 4));
    line = _mm256_add_ps(line, _mm256_mul_ps(wx[1], _mm256_i32gather_ps(row + 1, run.index, 4)));
    line = _mm256_add_ps(line, _mm256_mul_ps(wx[2], _mm256_i32gather_ps(row + 2, run.index, 4)));
    line = _mm256_add_ps(line, _mm256_mul_ps(wx[3], _mm256_i32gather_ps(row + 3, run.index, 4)));
    sum = _mm256_add_ps(sum, _mm256_mul_ps(wy[m], line));
  }
  _mm256_storeu_ps(target, sum);
}

// The byte of each lane's word at `shift` bits, as a float.
__attribute__((target("avx2"))) __m256 ByteOf(__m256i words, int shift) {
  return _mm256_cvtepi32_ps(
      _mm256_and_si256(_mm256_srli_epi32(words, shift), _mm256_set1_epi32(0xff)));
}

// On 8-bit samples one gather of 32-bit words at byte offsets fetches four neighbours of a row
// at once; the window holds kBytePad bytes beyond its last sample for the last words.
__attribute__((target("avx2"))) void BilinearRun(const TSource<std::uint8_t>& r, double sx,
                                                 double sy, double stepX, double stepY,
                                                 float* target) {
  const TRun run = RunPositions(r, sx, sy, stepX, stepY, 0);
  const __m256i top4 = _mm256_i32gather_epi32(reinterpret_cast<const int*>(r.pixels), run.index, 1);
  const __m256i bottom4 =
      _mm256_i32gather_epi32(reinterpret_cast<const int*>(r.pixels + r.width), run.index, 1);
  const __m256 a = ByteOf(top4, 0), b = ByteOf(top4, 8);
  const __m256 c = ByteOf(bottom4, 0), d = ByteOf(bottom4, 8);
  const __m256 top = _mm256_add_ps(a, _mm256_mul_ps(run.tx, _mm256_sub_ps(b, a)));
  const __m256 bottom = _mm256_add_ps(c, _mm256_mul_ps(run.tx, _mm256_sub_ps(d, c)));
  _mm256_storeu_ps(target, _mm256_add_ps(top, _mm256_mul_ps(run.ty, _mm256_sub_ps(bottom, top))));
}

__attribute__((target("avx2"))) void BicubicRun(const TSource<std::uint8_t>& r, double sx,
                                                double sy, double stepX, double stepY,
                                                float* target) {
  const TRun run = RunPositions(r, sx, sy, stepX, stepY, 1);
  __m256 wx[4], wy[4];
  CubicWeights8(run.tx, wx);
  CubicWeights8(run.ty, wy);
  const std::uint8_t* row = r.pixels;
  __m256 sum = _mm256_setzero_ps();
  for (int m = 0; m < 4; ++m, row += r.width) {
    const __m256i four = _mm256_i32gather_epi32(reinterpret_cast<const int*>(row), run.index, 1);
    __m256 line = _mm256_mul_ps(wx[0], ByteOf(four, 0));
    line = _mm256_add_ps(line, _mm256_mul_ps(wx[1], ByteOf(four, 8)));
    line = _mm256_add_ps(line, _mm256_mul_ps(wx[2], ByteOf(four, 16)));
    line = _mm256_add_ps(line, _mm256_mul_ps(wx[3], ByteOf(four, 24)));
    sum = _mm256_add_ps(sum, _mm256_mul_ps(wy[m], line));
  }
  _mm256_storeu_ps(target, sum);
}

bool HaveAvx2() {
  static const bool have = __builtin_cpu_supports("avx2");
  return have;
}
#endif

}  // namespace

TVxResampleResult ResampleScan(const TVxScanImage& scan, const TVxCameraInfo& camera,
                               const TVxPixToCamMap& scanMap, const std::string& outputPath,
                               const TVxResampleOptions& options) {
  const auto fail = [&](const std::string& reason) {
    throw TVxScanError("cannot resample the scan '" + scan.Path() + "': " + reason);
  };
  std::array<double, 9> camToPix;
  try {
    camToPix = scanMap.InverseMatrix();
  } catch (const std::invalid_argument& e) {
    fail(e.what());
  }
  if (scanMap.pixelYAxis != TVxPixelYAxis::Down)
    fail("the map's pixel y axis must count the rows downwards");
  const auto toCamera = [&](double x, double y) { return ApplyMatrix(scanMap.matrix, Vec2(x, y)); };
  // The scan's pixel, mm: the mean length of a pixel step at the scan's centre.
  const Vec2 c = toCamera(0.5 * (scan.Width() - 1), 0.5 * (scan.Height() - 1));
  const double scanPixelMm =
      0.5 * ((toCamera(0.5 * (scan.Width() - 1) + 1.0, 0.5 * (scan.Height() - 1)) - c).Length() +
             (toCamera(0.5 * (scan.Width() - 1), 0.5 * (scan.Height() - 1) + 1.0) - c).Length());
  const double pixelMm = options.pixelSizeUm > 0.0 ? options.pixelSizeUm / 1000.0 : scanPixelMm;
  if (!(pixelMm > 0.0) || !std::isfinite(pixelMm)) fail("the pixel size is not a positive number");
  if (options.tileSize < 16 || options.tileSize % 16 != 0)
    fail("the tile size must be a multiple of 16, not " + std::to_string(options.tileSize));

  // The scan's extent in the camera system, symmetric about the origin.
  double halfX = 0.0, halfY = 0.0;
  const double corners[4][2] = {{-0.5, -0.5},
                                {scan.Width() - 0.5, -0.5},
                                {-0.5, scan.Height() - 0.5},
                                {scan.Width() - 0.5, scan.Height() - 0.5}};
  for (const auto& corner : corners) {
    const Vec2 p = toCamera(corner[0], corner[1]);
    halfX = std::max(halfX, std::abs(p.x));
    halfY = std::max(halfY, std::abs(p.y));
  }
  TImageGeometry image;
  image.pixelMm = pixelMm;
  const double largest = 1 << 20;  // pixels a side: TIFF's and memory's sanity
  if (!(halfX / pixelMm < largest && halfY / pixelMm < largest))
    fail("the image would be too large");
  image.width = 2 * static_cast<int>(std::floor(halfX / pixelMm)) + 1;
  image.height = 2 * static_cast<int>(std::floor(halfY / pixelMm)) + 1;

  TransformHandle mmToCam;
  if (options.undistort) mmToCam = CreateMmToCamTransform(camera);

  TVxResampleResult result;
  result.width = image.width;
  result.height = image.height;
  result.pixelSizeUm = pixelMm * 1000.0;
  result.map.matrix = {pixelMm, 0.0,      -0.5 * (image.width - 1) * pixelMm,
                       0.0,     -pixelMm, 0.5 * (image.height - 1) * pixelMm,
                       0.0,     0.0,      1.0};
  const double geo[6] = {-0.5 * image.width * pixelMm, pixelMm, 0.0,
                         0.5 * image.height * pixelMm, 0.0,     -pixelMm};
  vxscan::TRasterFileWriter writer(outputPath, image.width, image.height, scan.Bits(),
                                   options.tileSize, geo, options.compress);

  const int tile = options.tileSize;
  const int tilesX = (image.width + tile - 1) / tile;
  const int tilesY = (image.height + tile - 1) / tile;
  const int count = tilesX * tilesY;
  std::atomic<int> done{0};
  const auto work = [&](int k) {
    const int tx0 = (k % tilesX) * tile, ty0 = (k / tilesX) * tile;
    const int tw = std::min(tile, image.width - tx0), th = std::min(tile, image.height - ty0);
    // Nodes every kNodeStep pixels over the tile, the last one at or beyond its end.
    const int nx = (tw + kNodeStep - 1) / kNodeStep + 1, ny = (th + kNodeStep - 1) / kNodeStep + 1;
    std::vector<Vec2> nodes(static_cast<std::size_t>(nx) * static_cast<std::size_t>(ny));
    for (int j = 0; j < ny; ++j)
      for (int i = 0; i < nx; ++i)
        nodes[static_cast<std::size_t>(j * nx + i)] =
            image.ToCamera(tx0 + i * kNodeStep, ty0 + j * kNodeStep);
    if (mmToCam.second != nullptr)
      mmToCam.second->TransformPoints(nodes.data(), nodes.data(), nodes.size());
    double minX = std::numeric_limits<double>::infinity(), minY = minX, maxX = -minX, maxY = -minX;
    for (Vec2& node : nodes) {
      node = ApplyMatrix(camToPix, node);
      if (!std::isfinite(node.x) || !std::isfinite(node.y)) continue;
      minX = std::min(minX, node.x);
      maxX = std::max(maxX, node.x);
      minY = std::min(minY, node.y);
      maxY = std::max(maxY, node.y);
    }
    TVxRaster out(tw, th, 0.0f);
    out.x0 = tx0;
    out.y0 = ty0;
    if (minX <= maxX) {
      const double limit = 4.0 * (scan.Width() + scan.Height());
      const int sx0 = static_cast<int>(std::floor(std::max(minX, -limit))) - kSourcePad;
      const int sy0 = static_cast<int>(std::floor(std::max(minY, -limit))) - kSourcePad;
      const int sx1 = static_cast<int>(std::ceil(std::min(maxX, limit))) + kSourcePad;
      const int sy1 = static_cast<int>(std::ceil(std::min(maxY, limit))) + kSourcePad;
      const auto fill = [&](const auto& source) {
        const bool bilinear = options.interpolation == TVxInterpolation::Bilinear;
        const double right = scan.Width() - 0.5, bottom = scan.Height() - 0.5;
#if VX_SCAN_RESAMPLE_AVX2
        // The box of positions that the vector runs take without tests: on the scan (the
        // source's origin is on it, so its floor is >= 0 there) with all neighbours in the
        // source; the cubic reaches one pixel further each way.
        const int reach = bilinear ? 0 : 1;
        const double loX = source.x0 + reach, loY = source.y0 + reach;
        const double hiX = std::min(source.x0 + source.width - 1.0 - reach, right);
        const double hiY = std::min(source.y0 + source.height - 1.0 - reach, bottom);
        const bool vector = HaveAvx2() && source.size() < (std::size_t{1} << 31) / 2;
#endif
        for (int block = 0; block < tw; block += kBlockColumns)
          for (int y = 0; y < th; ++y) {
            const int j = y / kNodeStep;
            const double v = static_cast<double>(y - j * kNodeStep) / kNodeStep;
            float* target = &out.pixels[static_cast<std::size_t>(y) * static_cast<std::size_t>(tw)];
            const int blockEnd = std::min(tw, block + kBlockColumns);
            for (int i = block / kNodeStep; i * kNodeStep < blockEnd; ++i) {
              // Along a row the map is linear within a cell: its start and its step a pixel.
              const Vec2& a = nodes[static_cast<std::size_t>(j * nx + i)];
              const Vec2& b = nodes[static_cast<std::size_t>(j * nx + i + 1)];
              const Vec2& cc = nodes[static_cast<std::size_t>((j + 1) * nx + i)];
              const Vec2& d = nodes[static_cast<std::size_t>((j + 1) * nx + i + 1)];
              const double sx = a.x + v * (cc.x - a.x), sy = a.y + v * (cc.y - a.y);
              const double ex = b.x + v * (d.x - b.x), ey = b.y + v * (d.y - b.y);
              const double stepX = (ex - sx) / kNodeStep, stepY = (ey - sy) / kNodeStep;
              const int end = std::min(tw, (i + 1) * kNodeStep);
#if VX_SCAN_RESAMPLE_AVX2
              // A run whose two ends sample inside the source and the scan has all its pixels
              // there: the positions are monotonic in the step, and the region is a box.
              if (vector && end - i * kNodeStep == kNodeStep) {
                const double lx = sx + (kNodeStep - 1) * stepX, ly = sy + (kNodeStep - 1) * stepY;
                if (std::min(sx, lx) >= loX && std::max(sx, lx) < hiX && std::min(sy, ly) >= loY &&
                    std::max(sy, ly) < hiY) {
                  if (bilinear)
                    BilinearRun(source, sx, sy, stepX, stepY, target + i * kNodeStep);
                  else
                    BicubicRun(source, sx, sy, stepX, stepY, target + i * kNodeStep);
                  continue;
                }
              }
#endif
              for (int x = i * kNodeStep; x < end; ++x) {
                const int step = x - i * kNodeStep;
                const double px = sx + step * stepX, py = sy + step * stepY;
                if (!(px >= -0.5 && py >= -0.5 && px <= right && py <= bottom)) continue;
                target[x] =
                    bilinear ? SampleBilinear(source, px, py) : SampleBicubic(source, px, py);
              }
            }
          }
      };
      // An 8-bit scan is sampled in its own bytes: a quarter of the memory, and one gather
      // fetches four neighbours.
      std::vector<std::uint8_t> bytes;
      const int sw = sx1 - sx0 + 1, sh = sy1 - sy0 + 1;
      const TVxRaster window = scan.ReadWindowBytes(sx0, sy0, sw, sh, kBytePad, &bytes);
      if (!bytes.empty()) {
        TSource<std::uint8_t> source;
        source.pixels = bytes.data();
        source.x0 = window.x0;
        source.y0 = window.y0;
        source.width = window.width;
        source.height = window.height;
        fill(source);
      } else if (scan.Bits() != 8 || scan.Bands() != 1) {
        const TVxRaster floats = scan.ReadWindow(sx0, sy0, sw, sh);
        TSource<float> source;
        source.pixels = floats.pixels.data();
        source.x0 = floats.x0;
        source.y0 = floats.y0;
        source.width = floats.width;
        source.height = floats.height;
        if (floats.width > 0) fill(source);
      }
    }
    writer.Write(out);
    ++done;
  };
  const int threads = vxscan::ThreadCount(options.threads);
  // Rows of tiles in turn, so that the progress can be told between them from this thread.
  for (int row = 0; row < tilesY; ++row) {
    vxscan::ParallelFor(tilesX, threads, [&](int i) { work(row * tilesX + i); });
    if (options.progress) options.progress(static_cast<double>(done) / count);
  }
  writer.Commit();
  return result;
}
