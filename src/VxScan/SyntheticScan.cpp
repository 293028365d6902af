// Synthetic scans whose geometry is known: the marks are resampled from their templates through
// the scan's transform, then the film's defects are laid over them.

#include <algorithm>
#include <cmath>
#include <random>
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

void Disk(TVxRaster& r, double cx, double cy, double radius, float grey) {
  const int x0 = std::max(0, static_cast<int>(cx - radius - 1));
  const int x1 = std::min(r.width - 1, static_cast<int>(cx + radius + 1));
  const int y0 = std::max(0, static_cast<int>(cy - radius - 1));
  const int y1 = std::min(r.height - 1, static_cast<int>(cy + radius + 1));
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

TVxSyntheticScan RenderSyntheticScan(const TVxCameraInfo& camera,
                                     const TCameraMarkTemplates& templates,
                                     const std::vector<TVxRaster>& templateImages,
                                     const TVxSyntheticScanOptions& o) {
  TVxSyntheticScan scan;
  scan.raster = TVxRaster(o.width, o.height, static_cast<float>(o.baseGrey));
  TVxRaster& r = scan.raster;
  std::mt19937 random(o.seed);
  double m[4];
  ScanMatrix(o, m);
  const double det = m[0] * m[3] - m[1] * m[2];
  const double inv[4] = {m[3] / det, -m[1] / det, -m[2] / det, m[0] / det};
  const auto contains = [](const std::vector<std::int32_t>& list, std::int32_t index) {
    return std::find(list.begin(), list.end(), index) != list.end();
  };

  std::vector<std::pair<vec_t_<double, 2>, double>> reaches;  // drawn marks and their reach
  for (const TVxCameraInfo::TFiducial& fiducial : camera.fiducials) {
    if (contains(o.missing, fiducial.index)) continue;
    std::size_t t = 0;
    while (t < templates.templates.size() && templates.templates[t].index != fiducial.templateIndex)
      ++t;
    if (t == templates.templates.size() || t >= templateImages.size()) continue;
    const TVxRaster& templ = templateImages[t];
    const vec_t_<double, 2> p =
        SyntheticCameraToPixel(fiducial.coordsCam, templates.templatePixelSize, o);
    scan.truth[fiducial.index] = p;
    const double cx = 0.5 * (templ.width - 1), cy = 0.5 * (templ.height - 1);
    const double reach = std::hypot(templ.width, templ.height) * 0.5 *
                             std::max(std::abs(o.scaleX), std::abs(o.scaleY)) +
                         2.0;
    reaches.emplace_back(p, reach);
    const int x0 = std::max(0, static_cast<int>(p.x - reach));
    const int x1 = std::min(o.width - 1, static_cast<int>(p.x + reach));
    const int y0 = std::max(0, static_cast<int>(p.y - reach));
    const int y1 = std::min(o.height - 1, static_cast<int>(p.y + reach));
    for (int y = y0; y <= y1; ++y)
      for (int x = x0; x <= x1; ++x) {
        const double dx = x - p.x, dy = y - p.y;
        double value = 0.0;
        if (Sample(templ, cx + inv[0] * dx + inv[1] * dy, cy + inv[2] * dx + inv[3] * dy, &value))
          r.At(x, y) = static_cast<float>(value);
      }
    if (contains(o.damaged, fiducial.index)) {
      // A blot of paint: blocks of dark and bright over most of the template.
      const double radius = 0.4 * std::max(templ.width, templ.height) * std::abs(o.scaleX);
      std::uniform_real_distribution<double> grey(10.0, 250.0);
      const int block = 3;
      for (int y = static_cast<int>(p.y - radius); y <= static_cast<int>(p.y + radius); y += block)
        for (int x = static_cast<int>(p.x - radius); x <= static_cast<int>(p.x + radius);
             x += block) {
          const float g = static_cast<float>(grey(random));
          for (int v = 0; v < block; ++v)
            for (int u = 0; u < block; ++u) {
              const int px = x + u, py = y + v;
              if (px >= 0 && py >= 0 && px < o.width && py < o.height &&
                  std::hypot(px - p.x, py - p.y) <= radius)
                r.At(px, py) = g;
            }
        }
    }
  }

  // Whether a point lies on a drawn mark's template (with a margin for a speck's size).
  const auto onMark = [&](double x, double y) {
    if (o.defectsOnMarks) return false;
    for (const auto& mark : reaches)
      if (std::hypot(x - mark.first.x, y - mark.first.y) < mark.second + 6.0) return true;
    return false;
  };
  std::uniform_real_distribution<double> uniform(0.0, 1.0);
  for (int k = 0; k < o.dust; ++k) {
    const double x = uniform(random) * o.width, y = uniform(random) * o.height;
    const double radius = 1.0 + 3.0 * uniform(random);
    const float grey = uniform(random) < 0.5 ? 20.0f : 245.0f;
    if (!onMark(x, y)) Disk(r, x, y, radius, grey);
  }
  for (int k = 0; k < o.scratches; ++k) {
    const double x = uniform(random) * o.width, y = uniform(random) * o.height;
    const double angle = uniform(random) * kPi;
    const double length = 100.0 + 500.0 * uniform(random);
    bool crosses = false;
    for (double s = 0.0; s < length && !crosses; s += 2.0)
      crosses = onMark(x + s * std::cos(angle), y + s * std::sin(angle));
    if (crosses) continue;
    for (double s = 0.0; s < length; s += 0.5)
      Disk(r, x + s * std::cos(angle), y + s * std::sin(angle), 0.7, 240.0f);
  }
  std::normal_distribution<double> grain(0.0, o.grain);
  const double diagonal = static_cast<double>(o.width + o.height);
  for (int y = 0; y < o.height; ++y)
    for (int x = 0; x < o.width; ++x) {
      const double exposure = 1.0 - o.exposureFall * (x + y) / diagonal;
      const double g = o.grain > 0.0 ? grain(random) : 0.0;
      r.At(x, y) = static_cast<float>(static_cast<double>(r.At(x, y)) * exposure + g);
    }
  if (o.blurSigma > 0.0) vxscan::GaussianSmooth(r, o.blurSigma);
  if (o.greyScale != 1.0)
    for (float& v : r.pixels) v = static_cast<float>(static_cast<double>(v) * o.greyScale);
  return scan;
}
