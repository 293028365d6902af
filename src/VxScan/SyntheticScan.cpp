// Synthetic scans whose geometry is known: the marks are resampled from their templates through
// the scan's transform, then the film's defects are laid over them.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <map>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "ScanInternal.h"
#include "VxScanSynthetic.h"

namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr float kInk = 40.0f;
constexpr float kBase = 200.0f;
constexpr int kSamples = 8;  // anti-aliasing samples per pixel and axis

// Whether a point (template pixels from the reference point, x right, y down; `r` the half size)
// lies on the ink of a drawn mark.
bool OnInk(TVxDrawnMark kind, double x, double y, double r) {
  switch (kind) {
    case TVxDrawnMark::CrossWithDot: {
      const double arm = 0.8 * r, half = 0.07 * r;
      const bool cross = (std::abs(x) <= half && std::abs(y) <= arm) ||
                         (std::abs(y) <= half && std::abs(x) <= arm);
      const bool dot = std::hypot(x - 0.4 * r, y + 0.4 * r) <= 0.14 * r;
      return cross || dot;
    }
    case TVxDrawnMark::RingWithBar: {
      const double d = std::hypot(x, y);
      const bool ring = d >= 0.45 * r && d <= 0.58 * r;
      const bool dot = d <= 0.1 * r;
      const bool bar = x >= 0.65 * r && x <= 0.9 * r && std::abs(y) <= 0.08 * r;
      return ring || dot || bar;
    }
    case TVxDrawnMark::Triangle:
      return x >= -0.05 * r && y >= -0.05 * r && x + y <= 0.7 * r;
    case TVxDrawnMark::Notch: {
      const bool block = y >= -0.15 * r && y <= 0.6 * r && std::abs(x) <= 0.7 * r;
      const bool cut = std::hypot(x, y + 0.15 * r) <= 0.3 * r;
      return block && !cut;
    }
  }
  return false;
}

// Bicubic sample of an image at (x, y), its border continued by its edge pixels; false outside
// the image's pixels (beyond half a pixel from its outer centres).
bool Sample(const TVxRaster& image, double x, double y, double* value) {
  if (x < -0.5 || y < -0.5 || x >= image.width - 0.5 || y >= image.height - 0.5) return false;
  const int ix = static_cast<int>(std::floor(x));
  const int iy = static_cast<int>(std::floor(y));
  const double fx = x - ix, fy = y - iy;
  double sum = 0.0;
  for (int m = -1; m <= 2; ++m) {
    double row = 0.0;
    for (int k = -1; k <= 2; ++k)
      row += vxscan::CubicKernel(fx - k) *
             static_cast<double>(image.At(std::clamp(ix + k, 0, image.width - 1),
                                          std::clamp(iy + m, 0, image.height - 1)));
    sum += vxscan::CubicKernel(fy - m) * row;
  }
  *value = sum;
  return true;
}

// A filled disc at (cx, cy) in the coordinates of the raster's source (its x0, y0 applied).
void Disk(TVxRaster& r, double cx, double cy, double radius, float grey) {
  cx -= r.x0;
  cy -= r.y0;
  const int x0 = std::max(0, static_cast<int>(std::floor(cx - radius - 1)));
  const int x1 = std::min(r.width - 1, static_cast<int>(std::ceil(cx + radius + 1)));
  const int y0 = std::max(0, static_cast<int>(std::floor(cy - radius - 1)));
  const int y1 = std::min(r.height - 1, static_cast<int>(std::ceil(cy + radius + 1)));
  for (int y = y0; y <= y1; ++y)
    for (int x = x0; x <= x1; ++x)
      if (std::hypot(x - cx, y - cy) <= radius) r.At(x, y) = grey;
}

// The 2 × 2 matrix F · R · S of the options, S the scales, as (m00, m01, m10, m11).
void ScanMatrix(const TVxSyntheticScanOptions& o, double m[4]) {
  const double angle = (o.angleDeg + 90.0 * o.quarterTurns) * kPi / 180.0;
  const double c = std::cos(angle), s = std::sin(angle);
  // R in pixel axes (y down) for a counter-clockwise turn as seen.
  double r[4] = {c, s, -s, c};
  if (o.mirrored) {
    r[2] = -r[2];
    r[3] = -r[3];
  }
  m[0] = r[0] * o.scaleX;
  m[1] = r[1] * o.scaleY;
  m[2] = r[2] * o.scaleX;
  m[3] = r[3] * o.scaleY;
}

}  // namespace

TVxRaster DrawMarkTemplate(TVxDrawnMark kind, int size) {
  size = std::max(size | 1, 15);
  TVxRaster out(size, size, kBase);
  const double c = 0.5 * (size - 1);
  const double r = c;
  for (int y = 0; y < size; ++y)
    for (int x = 0; x < size; ++x) {
      int ink = 0;
      for (int j = 0; j < kSamples; ++j)
        for (int i = 0; i < kSamples; ++i) {
          const double sx = x - c + (i + 0.5) / kSamples - 0.5;
          const double sy = y - c + (j + 0.5) / kSamples - 0.5;
          if (OnInk(kind, sx, sy, r)) ++ink;
        }
      const float share = static_cast<float>(ink) / (kSamples * kSamples);
      out.At(x, y) = kBase + (kInk - kBase) * share;
    }
  return out;
}

vec_t_<double, 2> SyntheticCameraToPixel(const vec_t_<double, 2>& cameraMm, double templatePixelUm,
                                         const TVxSyntheticScanOptions& o) {
  double m[4];
  ScanMatrix(o, m);
  const double tp = templatePixelUm / 1000.0;
  const double wx = cameraMm.x / tp;
  const double wy = -cameraMm.y / tp;
  return {0.5 * (o.width - 1) + o.offsetPix.x + m[0] * wx + m[1] * wy,
          0.5 * (o.height - 1) + o.offsetPix.y + m[2] * wx + m[3] * wy};
}

namespace {

// A mark as drawn: its template, where its centre lands, the inverse of the scan's matrix.
struct TPlacedMark {
  const TVxRaster* templ = nullptr;
  vec_t_<double, 2> position;
  double reach = 0.0;
  bool damaged = false;
  double blotRadius = 0.0;
};

struct TDefect {
  vec_t_<double, 2> start;
  double angle = 0.0;
  double length = 0.0;  // 0 for a speck
  double radius = 0.0;
  float grey = 0.0f;
};

// Everything a scan shows, fixed before any pixel is drawn, so that any window of it can be
// drawn alone and the same pixel always gets the same value.
struct TScene {
  TVxSyntheticScanOptions options;
  double inverse[4] = {1, 0, 0, 1};
  std::vector<TPlacedMark> marks;
  std::vector<TDefect> defects;
  std::map<std::int32_t, vec_t_<double, 2>> truth;
};

// A uniform number in [0, 1) from a pixel's coordinates and the seed (SplitMix64 of the three).
double Hash01(std::uint64_t seed, std::int64_t x, std::int64_t y, std::uint64_t stream) {
  std::uint64_t z = seed * 0x9E3779B97F4A7C15ull +
                    static_cast<std::uint64_t>(x) * 0xBF58476D1CE4E5B9ull +
                    static_cast<std::uint64_t>(y) * 0x94D049BB133111EBull + stream;
  z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
  z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
  z ^= z >> 31;
  return static_cast<double>(z >> 11) * (1.0 / 9007199254740992.0);
}

TScene MakeScene(const TVxCameraInfo& camera, const TCameraMarkTemplates& templates,
                 const std::vector<TVxRaster>& templateImages, const TVxSyntheticScanOptions& o) {
  TScene scene;
  scene.options = o;
  std::mt19937 random(o.seed);
  double m[4];
  ScanMatrix(o, m);
  const double det = m[0] * m[3] - m[1] * m[2];
  scene.inverse[0] = m[3] / det;
  scene.inverse[1] = -m[1] / det;
  scene.inverse[2] = -m[2] / det;
  scene.inverse[3] = m[0] / det;
  const auto contains = [](const std::vector<std::int32_t>& list, std::int32_t index) {
    return std::find(list.begin(), list.end(), index) != list.end();
  };
  for (const TVxCameraInfo::TFiducial& fiducial : camera.fiducials) {
    if (contains(o.missing, fiducial.index)) continue;
    std::size_t t = 0;
    while (t < templates.templates.size() && templates.templates[t].index != fiducial.templateIndex)
      ++t;
    if (t == templates.templates.size() || t >= templateImages.size()) continue;
    TPlacedMark mark;
    mark.templ = &templateImages[t];
    mark.position = SyntheticCameraToPixel(fiducial.coordsCam, templates.templatePixelSize, o);
    mark.reach = std::hypot(mark.templ->width, mark.templ->height) * 0.5 *
                     std::max(std::abs(o.scaleX), std::abs(o.scaleY)) +
                 2.0;
    mark.damaged = contains(o.damaged, fiducial.index);
    mark.blotRadius = 0.4 * std::max(mark.templ->width, mark.templ->height) * std::abs(o.scaleX);
    scene.truth[fiducial.index] = mark.position;
    scene.marks.push_back(mark);
  }
  // Whether a point lies on a drawn mark's template (with a margin for a speck's size).
  const auto onMark = [&](double x, double y) {
    if (o.defectsOnMarks) return false;
    for (const TPlacedMark& mark : scene.marks)
      if (std::hypot(x - mark.position.x, y - mark.position.y) < mark.reach + 6.0) return true;
    return false;
  };
  std::uniform_real_distribution<double> uniform(0.0, 1.0);
  for (int k = 0; k < o.dust; ++k) {
    TDefect speck;
    speck.start = {uniform(random) * o.width, uniform(random) * o.height};
    speck.radius = 1.0 + 3.0 * uniform(random);
    speck.grey = uniform(random) < 0.5 ? 20.0f : 245.0f;
    if (!onMark(speck.start.x, speck.start.y)) scene.defects.push_back(speck);
  }
  for (int k = 0; k < o.scratches; ++k) {
    TDefect scratch;
    scratch.start = {uniform(random) * o.width, uniform(random) * o.height};
    scratch.angle = uniform(random) * kPi;
    scratch.length = 100.0 + 500.0 * uniform(random);
    scratch.radius = 0.7;
    scratch.grey = 240.0f;
    bool crosses = false;
    for (double t = 0.0; t < scratch.length && !crosses; t += 2.0)
      crosses = onMark(scratch.start.x + t * std::cos(scratch.angle),
                       scratch.start.y + t * std::sin(scratch.angle));
    if (!crosses) scene.defects.push_back(scratch);
  }
  return scene;
}

// The window (x0, y0, w, h) of the scene before the blur: film base, marks, blots, defects,
// exposure and grain. Pixels beyond the scan are drawn as well, for the blur's reach.
TVxRaster DrawWindow(const TScene& scene, int x0, int y0, int w, int h) {
  const TVxSyntheticScanOptions& o = scene.options;
  TVxRaster r(w, h, static_cast<float>(o.baseGrey));
  r.x0 = x0;
  r.y0 = y0;
  for (const TPlacedMark& mark : scene.marks) {
    const vec_t_<double, 2> p = mark.position;
    const TVxRaster& templ = *mark.templ;
    const double cx = 0.5 * (templ.width - 1), cy = 0.5 * (templ.height - 1);
    const int mx0 = std::max(x0, static_cast<int>(std::floor(p.x - mark.reach)));
    const int mx1 = std::min(x0 + w - 1, static_cast<int>(std::ceil(p.x + mark.reach)));
    const int my0 = std::max(y0, static_cast<int>(std::floor(p.y - mark.reach)));
    const int my1 = std::min(y0 + h - 1, static_cast<int>(std::ceil(p.y + mark.reach)));
    const double* inv = scene.inverse;
    for (int y = my0; y <= my1; ++y)
      for (int x = mx0; x <= mx1; ++x) {
        const double dx = x - p.x, dy = y - p.y;
        double value = 0.0;
        if (Sample(templ, cx + inv[0] * dx + inv[1] * dy, cy + inv[2] * dx + inv[3] * dy, &value))
          r.At(x - x0, y - y0) = static_cast<float>(value);
        // A blot of paint: blocks of 3 × 3 pixels of dark and bright over most of the template.
        if (mark.damaged && std::hypot(dx, dy) <= mark.blotRadius) {
          const std::int64_t bx = static_cast<std::int64_t>(std::floor(x / 3.0));
          const std::int64_t by = static_cast<std::int64_t>(std::floor(y / 3.0));
          r.At(x - x0, y - y0) = static_cast<float>(10.0 + 240.0 * Hash01(o.seed, bx, by, 1));
        }
      }
  }
  for (const TDefect& defect : scene.defects) {
    const double step = 0.5;
    for (double t = 0.0; t <= defect.length; t += step) {
      const double x = defect.start.x + t * std::cos(defect.angle);
      const double y = defect.start.y + t * std::sin(defect.angle);
      if (x < x0 - 5 || y < y0 - 5 || x > x0 + w + 5 || y > y0 + h + 5) continue;
      Disk(r, x, y, defect.radius, defect.grey);
    }
  }
  const double diagonal = static_cast<double>(o.width + o.height);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      const int gx = x0 + x, gy = y0 + y;
      const double exposure = 1.0 - o.exposureFall * (gx + gy) / diagonal;
      double g = 0.0;
      if (o.grain > 0.0) {
        // Box-Muller from two uniform numbers of this pixel.
        const double u1 = std::max(Hash01(o.seed, gx, gy, 2), 1e-300);
        const double u2 = Hash01(o.seed, gx, gy, 3);
        g = o.grain * std::sqrt(-2.0 * std::log(u1)) * std::cos(2.0 * kPi * u2);
      }
      r.At(x, y) = static_cast<float>(static_cast<double>(r.At(x, y)) * exposure + g);
    }
  return r;
}

// The finished window: drawn with a margin for the blur, blurred, cut and scaled.
TVxRaster RenderWindow(const TScene& scene, int x0, int y0, int w, int h) {
  const TVxSyntheticScanOptions& o = scene.options;
  const int halo = o.blurSigma > 0.0 ? static_cast<int>(std::ceil(3.0 * o.blurSigma)) : 0;
  TVxRaster drawn = DrawWindow(scene, x0 - halo, y0 - halo, w + 2 * halo, h + 2 * halo);
  if (o.blurSigma > 0.0) vxscan::GaussianSmooth(drawn, o.blurSigma);
  TVxRaster out(w, h);
  out.x0 = x0;
  out.y0 = y0;
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x)
      out.At(x, y) =
          static_cast<float>(static_cast<double>(drawn.At(x + halo, y + halo)) * o.greyScale);
  return out;
}

}  // namespace

TVxSyntheticScan RenderSyntheticScan(const TVxCameraInfo& camera,
                                     const TCameraMarkTemplates& templates,
                                     const std::vector<TVxRaster>& templateImages,
                                     const TVxSyntheticScanOptions& o) {
  const TScene scene = MakeScene(camera, templates, templateImages, o);
  TVxSyntheticScan scan;
  scan.raster = RenderWindow(scene, 0, 0, o.width, o.height);
  scan.truth = scene.truth;
  return scan;
}

std::map<std::int32_t, vec_t_<double, 2>> WriteSyntheticScan(
    const std::string& path, const TVxCameraInfo& camera, const TCameraMarkTemplates& templates,
    const std::vector<TVxRaster>& templateImages, const TVxSyntheticScanOptions& o) {
  const TScene scene = MakeScene(camera, templates, templateImages, o);
  const int tile = 512;
  const double geo[6] = {0.0, 1.0, 0.0, 0.0, 0.0, 1.0};
  vxscan::TRasterFileWriter writer(path, o.width, o.height, o.greyScale > 1.0 ? 16 : 8, tile, geo);
  const int tilesX = (o.width + tile - 1) / tile, tilesY = (o.height + tile - 1) / tile;
  vxscan::ParallelFor(tilesX * tilesY, vxscan::ThreadCount(0), [&](int k) {
    const int x0 = (k % tilesX) * tile, y0 = (k / tilesX) * tile;
    writer.Write(
        RenderWindow(scene, x0, y0, std::min(tile, o.width - x0), std::min(tile, o.height - y0)));
  });
  writer.Commit();
  return scene.truth;
}
