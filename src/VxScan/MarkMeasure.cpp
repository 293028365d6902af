// Measuring the fiducial marks of a scan (docs/scan.md):
// 1. predict each mark on the scan for each of the eight orientations, from the scan's centre,
//    the templates' pixel size and the camera's calibrated marks;
// 2. correlate each orientation's turned templates over windows of a reduced image, and take
//    the orientation whose marks correlate best on average;
// 3. keep the largest set of coarse peaks that one similarity explains (from every pair of
//    marks), and fit an affine map to them;
// 4. correlate again at full resolution in a small window about each coarse peak, with the
//    templates warped by that map's linear part, refine to sub-pixel (FindTemplate's method),
//    and once more with the exposure under the mark made even; set aside a mark whose peak
//    moves when the pixels that its template does not explain (dust, a scratch) are repaired;
// 5. select again: the similarity's consensus, then drop, one at a time, the mark that the
//    others' fit predicts worst while it is beyond the limit, so that a wrong mark cannot pull
//    the others;
// 6. solve the interior orientation of the kept marks for their residuals.

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <string>

#include "ScanInternal.h"
#include "VxIntOrSolve.h"
#include "VxScan.h"

namespace {

using vxscan::TOrientation;
using Vec2 = vec_t_<double, 2>;

// The coarse search keeps a template at least this half size, reduced pixels, unless its own
// minCorrHalfSize asks for more: smaller templates match grain as well as marks.
constexpr int kMinReducedHalfSize = 6;
// The reduction is a power of two up to this.
constexpr int kMaxReduction = 16;
// Default search radius: this many millimetres plus kSearchShare of the distance from the
// camera origin (a scan centred within a few millimetres, its scale right within a few per cent).
constexpr double kSearchMm = 8.0;
constexpr double kSearchShare = 0.06;
// Marks that one similarity of the camera onto the scan explains within this, millimetres of the
// camera: wide enough for a different scale along x and y of a few per mille and for shear,
// narrow against marks found elsewhere in their window.
constexpr double kConsensusMm = 1.5;
// A pair of marks gives a similarity only when its scale is within this factor of the
// templates' pixel size.
constexpr double kScaleRange = 1.25;
// Leave-one-out residuals within this share of each other do not tell which mark is wrong; the
// similarity's residuals decide then.
constexpr double kTieShare = 0.05;

struct TTemplateSet {
  const TCameraMarkTemplates::TMarkTemplate* info = nullptr;
  TVxRaster cropped;                 // the part correlated, unturned
  std::array<TVxRaster, 8> full;     // turned, full resolution
  std::array<TVxRaster, 8> reduced;  // turned, reduced
};

TVxRaster Crop(const TVxRaster& image, std::uint64_t halfX, std::uint64_t halfY) {
  const int cx = (image.width - 1) / 2;
  const int cy = (image.height - 1) / 2;
  // Symmetric about the centre pixel (or the centre pair for an even size).
  int hx = halfX == 0 ? image.width : static_cast<int>(std::min<std::uint64_t>(halfX, 1u << 20));
  int hy = halfY == 0 ? image.height : static_cast<int>(std::min<std::uint64_t>(halfY, 1u << 20));
  const int even = 1 - image.width % 2;
  const int evenY = 1 - image.height % 2;
  hx = std::min(hx, cx);
  hy = std::min(hy, cy);
  const int x0 = cx - hx;
  const int y0 = cy - hy;
  const int w = 2 * hx + 1 + even;
  const int h = 2 * hy + 1 + evenY;
  TVxRaster out(w, h);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) out.At(x, y) = image.At(x0 + x, y0 + y);
  return out;
}

TVxRaster Reduce(const TVxRaster& image, int factor) {
  TVxRaster out(image.width / factor, image.height / factor);
  const float scale = 1.0f / static_cast<float>(factor * factor);
  for (int j = 0; j < out.height; ++j)
    for (int i = 0; i < out.width; ++i) {
      float sum = 0.0f;
      for (int y = 0; y < factor; ++y)
        for (int x = 0; x < factor; ++x) sum += image.At(i * factor + x, j * factor + y);
      out.At(i, j) = sum * scale;
    }
  return out;
}

TVxRaster SubRaster(const TVxRaster& source, int x0, int y0, int x1, int y1) {
  // Clipped to the source; coordinates are those of the source's own grid (its x0, y0 applied).
  const int cx0 = std::max(x0, source.x0);
  const int cy0 = std::max(y0, source.y0);
  const int cx1 = std::min(x1, source.x0 + source.width);
  const int cy1 = std::min(y1, source.y0 + source.height);
  TVxRaster out;
  out.x0 = cx0;
  out.y0 = cy0;
  if (cx1 <= cx0 || cy1 <= cy0) return out;
  out = TVxRaster(cx1 - cx0, cy1 - cy0);
  out.x0 = cx0;
  out.y0 = cy0;
  for (int y = 0; y < out.height; ++y)
    for (int x = 0; x < out.width; ++x)
      out.At(x, y) = source.At(cx0 - source.x0 + x, cy0 - source.y0 + y);
  return out;
}

Vec2 Centre(const TVxRaster& r) {
  return {0.5 * static_cast<double>(r.width - 1), 0.5 * static_cast<double>(r.height - 1)};
}

// Affine q = A u + t by least squares (centred normal equations); false when degenerate.
struct TAffine {
  double a[6] = {1, 0, 0, 0, 1, 0};
  Vec2 Apply(const Vec2& p) const {
    return {a[0] * p.x + a[1] * p.y + a[2], a[3] * p.x + a[4] * p.y + a[5]};
  }
};

bool FitAffine(const std::vector<Vec2>& from, const std::vector<Vec2>& to, TAffine* result) {
  const std::size_t n = from.size();
  if (n < 3) return false;
  Vec2 mf, mt;
  for (std::size_t i = 0; i < n; ++i) {
    mf += from[i];
    mt += to[i];
  }
  mf /= static_cast<double>(n);
  mt /= static_cast<double>(n);
  double sxx = 0, sxy = 0, syy = 0, qxx = 0, qxy = 0, qyx = 0, qyy = 0;
  for (std::size_t i = 0; i < n; ++i) {
    const double x = from[i].x - mf.x, y = from[i].y - mf.y;
    const double u = to[i].x - mt.x, v = to[i].y - mt.y;
    sxx += x * x;
    sxy += x * y;
    syy += y * y;
    qxx += u * x;
    qxy += u * y;
    qyx += v * x;
    qyy += v * y;
  }
  const double det = sxx * syy - sxy * sxy;
  if (!(std::abs(det) > 1e-12 * (sxx * syy + 1e-300))) return false;
  TAffine f;
  f.a[0] = (qxx * syy - qxy * sxy) / det;
  f.a[1] = (qxy * sxx - qxx * sxy) / det;
  f.a[3] = (qyx * syy - qyy * sxy) / det;
  f.a[4] = (qyy * sxx - qyx * sxy) / det;
  f.a[2] = mt.x - f.a[0] * mf.x - f.a[1] * mf.y;
  f.a[5] = mt.y - f.a[3] * mf.x - f.a[4] * mf.y;
  *result = f;
  return true;
}

// The residual of mark `k` predicted by the fit of the other marks of `kept` (pixels), or -1 when
// the others cannot be fitted.
double LeaveOneOut(const std::vector<Vec2>& camera, const std::vector<Vec2>& pixels,
                   const std::vector<int>& kept, int k, bool affine, bool reflect) {
  std::vector<Vec2> from, to;
  for (int i : kept) {
    if (i == k) continue;
    from.push_back(camera[static_cast<std::size_t>(i)]);
    to.push_back(pixels[static_cast<std::size_t>(i)]);
  }
  Vec2 predicted;
  if (affine) {
    TAffine f;
    if (!FitAffine(from, to, &f)) return -1.0;
    predicted = f.Apply(camera[static_cast<std::size_t>(k)]);
  } else {
    vxscan::TSimilarity s;
    if (!vxscan::FitSimilarity(from, to, reflect, &s)) return -1.0;
    predicted = s.Apply(camera[static_cast<std::size_t>(k)]);
  }
  return (predicted - pixels[static_cast<std::size_t>(k)]).Length();
}

// The template as the linear map `m` (m00, m01, m10, m11; template offsets to scan offsets)
// shows it on the scan, sampled bicubically: the largest rectangle, symmetric about the
// template's centre, whose every sample has its 4 × 4 neighbours on the template.
TVxRaster WarpTemplate(const TVxRaster& templ, const double m[4]) {
  const double det = m[0] * m[3] - m[1] * m[2];
  if (!(std::abs(det) > 1e-9)) return TVxRaster();
  const double inv[4] = {m[3] / det, -m[1] / det, -m[2] / det, m[0] / det};
  const Vec2 c = Centre(templ);
  const auto source = [&](double qx, double qy) {
    return Vec2(c.x + inv[0] * qx + inv[1] * qy, c.y + inv[2] * qx + inv[3] * qy);
  };
  const auto inside = [&](const Vec2& p) {
    return p.x >= 1.0 && p.y >= 1.0 && p.x <= templ.width - 3.0 && p.y <= templ.height - 3.0;
  };
  // Half sizes of the rectangle: from the mapped template's extent down to where its corners
  // sample inside.
  int hx = static_cast<int>(0.5 * (std::abs(m[0]) * templ.width + std::abs(m[1]) * templ.height));
  int hy = static_cast<int>(0.5 * (std::abs(m[2]) * templ.width + std::abs(m[3]) * templ.height));
  const auto fits = [&](int x, int y) {
    return inside(source(x, y)) && inside(source(-x, y)) && inside(source(x, -y)) &&
           inside(source(-x, -y));
  };
  while (hx > 1 && hy > 1 && !fits(hx, hy)) {
    if (fits(hx - 1, hy)) {
      --hx;
    } else if (fits(hx, hy - 1)) {
      --hy;
    } else {
      --hx;
      --hy;
    }
  }
  if (hx <= 1 || hy <= 1) return TVxRaster();
  TVxRaster out(2 * hx + 1, 2 * hy + 1);
  for (int y = -hy; y <= hy; ++y)
    for (int x = -hx; x <= hx; ++x) {
      const Vec2 p = source(x, y);
      const int ix = static_cast<int>(std::floor(p.x));
      const int iy = static_cast<int>(std::floor(p.y));
      const double fx = p.x - ix, fy = p.y - iy;
      double sum = 0.0;
      for (int j = -1; j <= 2; ++j) {
        double row = 0.0;
        for (int i = -1; i <= 2; ++i)
          row += vxscan::CubicKernel(fx - i) * static_cast<double>(templ.At(ix + i, iy + j));
        sum += vxscan::CubicKernel(fy - j) * row;
      }
      out.At(x + hx, y + hy) = static_cast<float>(sum);
    }
  return out;
}

// Solves the 4 × 4 normal equations n (augmented by the right-hand side) by Gaussian
// elimination with partial pivoting; false when singular.
bool SolveNormal4(double n[4][5], double x[4]) {
  for (int col = 0; col < 4; ++col) {
    int pivot = col;
    for (int row = col + 1; row < 4; ++row)
      if (std::abs(n[row][col]) > std::abs(n[pivot][col])) pivot = row;
    if (!(std::abs(n[pivot][col]) > 1e-12)) return false;
    for (int k = 0; k < 5; ++k) std::swap(n[col][k], n[pivot][k]);
    for (int row = 0; row < 4; ++row) {
      if (row == col) continue;
      const double f = n[row][col] / n[col][col];
      for (int k = col; k < 5; ++k) n[row][k] -= f * n[col][k];
    }
  }
  for (int i = 0; i < 4; ++i) x[i] = n[i][4] / n[i][i];
  return true;
}

// The window with the exposure under the template made even. Uneven illumination of a scan
// multiplies the film's image by a gain that varies across a mark; the correlation coefficient
// is blind to a constant gain only, and a gain sloping over a large mark with large dark and
// bright parts moves its peak (0.1 px on the real crops of the tests, at 2 % over the mark).
// With the template at `offset`, the window is fitted by least squares as
//   I = T (a + b u + c v) + d,   u, v the offsets from the template's centre over its size,
// and divided by the gain: I' = (I - d) / (1 + (b / a) u + (c / a) v). Empty when the fit fails.
TVxRaster EvenExposure(const TVxRaster& window, const TVxRaster& templ, const Vec2& offset) {
  const int ox = static_cast<int>(std::lround(offset.x));
  const int oy = static_cast<int>(std::lround(offset.y));
  if (ox < 0 || oy < 0 || ox + templ.width > window.width || oy + templ.height > window.height)
    return TVxRaster();
  const double cx = ox + 0.5 * (templ.width - 1), cy = oy + 0.5 * (templ.height - 1);
  const double sx = 1.0 / templ.width, sy = 1.0 / templ.height;
  double n[4][5] = {};
  for (int y = 0; y < templ.height; ++y)
    for (int x = 0; x < templ.width; ++x) {
      const double t = static_cast<double>(templ.At(x, y));
      const double u = (ox + x - cx) * sx, v = (oy + y - cy) * sy;
      const double phi[4] = {t, t * u, t * v, 1.0};
      const double value = static_cast<double>(window.At(ox + x, oy + y));
      for (int i = 0; i < 4; ++i) {
        for (int j = 0; j < 4; ++j) n[i][j] += phi[i] * phi[j];
        n[i][4] += phi[i] * value;
      }
    }
  double p[4];
  if (!SolveNormal4(n, p) || !(p[0] > 0.0)) return TVxRaster();
  const double b = p[1] / p[0], c = p[2] / p[0];
  TVxRaster out = window;
  for (int y = 0; y < window.height; ++y)
    for (int x = 0; x < window.width; ++x) {
      const double gain = 1.0 + b * (x - cx) * sx + c * (y - cy) * sy;
      if (gain < 0.5) return TVxRaster();
      out.At(x, y) = static_cast<float>((static_cast<double>(window.At(x, y)) - p[3]) / gain);
    }
  return out;
}

// A speck of dust or a scratch on a mark moves its correlation peak: the correlation weighs its
// pixels as much as the mark's. The mark is therefore measured a second way, by least squares
// on the pixels that its template explains, and the distance between that position and the
// same measurement on all pixels is the mark's disturbance.
//
// The model: the template shifted to the offset d (Keys' bicubic) and blurred by a Gaussian,
//   I(x) = alpha M(x - d) + beta,
// fitted to the window's pixels under it (but for kJudgedBorder pixels along its border, which
// the blur reaches beyond) by Gauss-Newton steps in d with alpha and beta solved alongside,
// until a step is below kAlignStep. The blur is the one of kBlurSigmas whose model at the
// correlation's peak leaves the least sum of squares (the templates are sharp, scans are not).
// The pixels the template does not explain: residuals farther than kOutlierSigmas robust
// standard deviations (1.4826 times the median absolute deviation, at least a thousandth of the
// mark's contrast) from the residuals' median, with their eight neighbours (a speck's blurred
// rim). They are found at the fit on all pixels, the fit is repeated without them, and they are
// found again at its position, kOutlierRounds times.
constexpr double kBlurSigmas[] = {0.0, 0.5, 0.8, 1.1, 1.5, 2.0};
constexpr double kOutlierSigmas = 5.0;
constexpr int kJudgedBorder = 4;
constexpr double kAlignStep = 1e-3;
constexpr int kAlignIterations = 12;
constexpr int kOutlierRounds = 3;

// The template sampled at (x - fx, y - fy) (Keys' bicubic, its border continued) and blurred.
TVxRaster ShiftedModel(const TVxRaster& templ, double fx, double fy, double sigma) {
  TVxRaster out(templ.width, templ.height);
  const auto at = [&](int x, int y) {
    return static_cast<double>(
        templ.At(std::clamp(x, 0, templ.width - 1), std::clamp(y, 0, templ.height - 1)));
  };
  for (int y = 0; y < templ.height; ++y)
    for (int x = 0; x < templ.width; ++x) {
      const double sx = x - fx, sy = y - fy;
      const int ix = static_cast<int>(std::floor(sx)), iy = static_cast<int>(std::floor(sy));
      double sum = 0.0;
      for (int j = -1; j <= 2; ++j) {
        double row = 0.0;
        for (int i = -1; i <= 2; ++i)
          row += vxscan::CubicKernel(sx - (ix + i)) * at(ix + i, iy + j);
        sum += vxscan::CubicKernel(sy - (iy + j)) * row;
      }
      out.At(x, y) = static_cast<float>(sum);
    }
  vxscan::GaussianSmooth(out, sigma);
  return out;
}

double Median(std::vector<double> values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

// The model of a mark at an offset of the window: where its grid lies (ix, iy), the model on
// it, and the gain and level fitted.
struct TMarkModel {
  bool ok = false;
  int ix = 0, iy = 0;
  TVxRaster model;
  double alpha = 0.0, beta = 0.0;
  double sse = 0.0;

  // The window's pixel over the model's pixel (x, y) less the fitted model there.
  double Residual(const TVxRaster& window, int x, int y) const {
    return static_cast<double>(window.At(ix + x, iy + y)) -
           (alpha * static_cast<double>(model.At(x, y)) + beta);
  }
};

// One Gauss-Newton step of the fit above at `offset` over the pixels not flagged (a template-
// sized mask; empty: all): the model there, and the step of d.
TMarkModel FitModel(const TVxRaster& window, const TVxRaster& templ, const Vec2& offset,
                    double sigma, const std::vector<char>& flagged, Vec2* step) {
  TMarkModel m;
  const int w = templ.width, h = templ.height;
  m.ix = static_cast<int>(std::floor(offset.x));
  m.iy = static_cast<int>(std::floor(offset.y));
  if (m.ix < 0 || m.iy < 0 || m.ix + w > window.width || m.iy + h > window.height ||
      w <= 2 * kJudgedBorder + 2 || h <= 2 * kJudgedBorder + 2)
    return m;
  m.model = ShiftedModel(templ, offset.x - m.ix, offset.y - m.iy, sigma);
  double n[4][5] = {};
  for (int y = kJudgedBorder; y < h - kJudgedBorder; ++y)
    for (int x = kJudgedBorder; x < w - kJudgedBorder; ++x) {
      if (!flagged.empty() && flagged[static_cast<std::size_t>(y * w + x)] != 0) continue;
      // Moving the model by +d changes it by -grad M · d.
      const double gx = -0.5 * static_cast<double>(m.model.At(x + 1, y) - m.model.At(x - 1, y));
      const double gy = -0.5 * static_cast<double>(m.model.At(x, y + 1) - m.model.At(x, y - 1));
      const double phi[4] = {static_cast<double>(m.model.At(x, y)), 1.0, gx, gy};
      const double value = static_cast<double>(window.At(m.ix + x, m.iy + y));
      for (int i = 0; i < 4; ++i) {
        for (int j = 0; j < 4; ++j) n[i][j] += phi[i] * phi[j];
        n[i][4] += phi[i] * value;
      }
    }
  double p[4];
  if (!SolveNormal4(n, p) || !(std::abs(p[0]) > 0.0)) return m;
  // alpha and beta of the model as it stands: the fit without the step's terms.
  m.alpha = p[0];
  m.beta = p[1];
  *step = Vec2(p[2] / p[0], p[3] / p[0]);
  for (int y = kJudgedBorder; y < h - kJudgedBorder; ++y)
    for (int x = kJudgedBorder; x < w - kJudgedBorder; ++x) {
      if (!flagged.empty() && flagged[static_cast<std::size_t>(y * w + x)] != 0) continue;
      const double r = m.Residual(window, x, y);
      m.sse += r * r;
    }
  m.ok = true;
  return m;
}

// The least-squares position of the mark from `offset` on; false when the fit fails or leaves
// the window.
bool AlignModel(const TVxRaster& window, const TVxRaster& templ, double sigma,
                const std::vector<char>& flagged, Vec2* offset, TMarkModel* model) {
  for (int k = 0; k < kAlignIterations; ++k) {
    Vec2 step;
    *model = FitModel(window, templ, *offset, sigma, flagged, &step);
    if (!model->ok || !(step.Length() < 2.0)) return false;
    *offset += step;
    if (step.Length() < kAlignStep) break;
  }
  return true;
}

// The pixels of the template's grid that the model does not explain, with their neighbours.
std::vector<char> Outliers(const TVxRaster& window, const TVxRaster& templ, const TMarkModel& m,
                           int* count) {
  const int w = templ.width, h = templ.height;
  std::vector<double> residuals;
  for (int y = kJudgedBorder; y < h - kJudgedBorder; ++y)
    for (int x = kJudgedBorder; x < w - kJudgedBorder; ++x)
      residuals.push_back(m.Residual(window, x, y));
  const double median = Median(residuals);
  for (double& r : residuals) r = std::abs(r - median);
  float low = m.model.pixels.front(), high = low;
  for (float v : m.model.pixels) {
    low = std::min(low, v);
    high = std::max(high, v);
  }
  const double spread = std::max(1.4826 * Median(residuals),
                                 1e-3 * std::abs(m.alpha) * static_cast<double>(high - low));
  std::vector<char> flagged(static_cast<std::size_t>(w) * static_cast<std::size_t>(h), 0);
  std::size_t k = 0;
  for (int y = kJudgedBorder; y < h - kJudgedBorder; ++y)
    for (int x = kJudgedBorder; x < w - kJudgedBorder; ++x, ++k) {
      if (!(residuals[k] > kOutlierSigmas * spread)) continue;
      for (int dy = -1; dy <= 1; ++dy)
        for (int dx = -1; dx <= 1; ++dx)
          flagged[static_cast<std::size_t>((y + dy) * w + x + dx)] = 1;
    }
  *count = static_cast<int>(std::count(flagged.begin(), flagged.end(), 1));
  return flagged;
}

// The disturbance of the mark whose correlation peaks at `offset` (the template's top-left
// corner on the window), pixels; 0 when no pixel under it is an outlier or the fits fail.
double MeasureDisturbance(const TVxRaster& window, const TVxRaster& templ, const Vec2& offset) {
  double sigma = 0.0, best = -1.0;
  for (const double s : kBlurSigmas) {
    Vec2 step;
    const TMarkModel m = FitModel(window, templ, offset, s, {}, &step);
    if (m.ok && (best < 0.0 || m.sse < best)) {
      best = m.sse;
      sigma = s;
    }
  }
  if (best < 0.0) return 0.0;
  Vec2 all = offset;
  TMarkModel model;
  if (!AlignModel(window, templ, sigma, {}, &all, &model)) return 0.0;
  Vec2 robust = all;
  for (int round = 0; round < kOutlierRounds; ++round) {
    int count = 0;
    const std::vector<char> flagged = Outliers(window, templ, model, &count);
    if (count == 0) break;
    if (!AlignModel(window, templ, sigma, flagged, &robust, &model)) return 0.0;
  }
  return (robust - all).Length();
}

TCamRotate RotationOf(int quarterTurns) {
  switch (quarterTurns) {
    case 1:
      return TCamRotate::Rotate90;
    case 2:
      return TCamRotate::Rotate180;
    case 3:
      return TCamRotate::Rotate270;
    default:
      return TCamRotate::Rotate0;
  }
}

void Progress(const TVxMeasureOptions& options, double share) {
  if (options.progress) options.progress(share);
}

}  // namespace

const char* MarkStatusToText(TVxMarkStatus status) {
  switch (status) {
    case TVxMarkStatus::Measured:
      return "Measured";
    case TVxMarkStatus::NoTemplate:
      return "NoTemplate";
    case TVxMarkStatus::OutsideScan:
      return "OutsideScan";
    case TVxMarkStatus::LowScore:
      return "LowScore";
    case TVxMarkStatus::Ambiguous:
      return "Ambiguous";
    case TVxMarkStatus::Rejected:
      return "Rejected";
    case TVxMarkStatus::Disturbed:
      return "Disturbed";
  }
  return "???";
}

TVxScanMeasurement MeasureMarks(const TVxScanImage& scan, const TVxCameraInfo& camera,
                                const TCameraMarkTemplates& templates,
                                const std::vector<TVxRaster>& templateImages,
                                const TVxMeasureOptions& options) {
  if (camera.cameraType != TCameraType::Fiducials || camera.fiducials.empty())
    throw TVxScanError("the camera has no fiducial marks to measure");
  if (templateImages.size() != templates.templates.size())
    throw TVxScanError("the set has " + std::to_string(templates.templates.size()) +
                       " templates but " + std::to_string(templateImages.size()) + " images");
  if (!(templates.templatePixelSize > 0.0) || !std::isfinite(templates.templatePixelSize))
    throw TVxScanError("template_pixel_size_um must be a positive number, not " +
                       std::to_string(templates.templatePixelSize));
  Progress(options, 0.0);
  const double mmPerPixel = templates.templatePixelSize / 1000.0;
  const int threads = vxscan::ThreadCount(options.threads);
  const std::vector<TOrientation> orientations = vxscan::AllOrientations();
  const int nOrient = static_cast<int>(orientations.size());

  // Templates by their index, each turned eight ways and reduced.
  std::map<std::int32_t, std::size_t> templateByIndex;
  for (std::size_t t = 0; t < templates.templates.size(); ++t)
    templateByIndex.emplace(templates.templates[t].index, t);
  std::vector<TTemplateSet> sets(templates.templates.size());
  int reduction = kMaxReduction;
  for (std::size_t t = 0; t < sets.size(); ++t) {
    const TCameraMarkTemplates::TMarkTemplate& info = templates.templates[t];
    if (templateImages[t].width < 3 || templateImages[t].height < 3)
      throw TVxScanError("the template image of mark template " + std::to_string(info.index) +
                         " ('" + info.fileName + "') is smaller than 3 × 3 pixels");
    sets[t].info = &info;
    sets[t].cropped = Crop(templateImages[t], info.halfSizeReduced.x, info.halfSizeReduced.y);
    const int half = std::min(sets[t].cropped.width, sets[t].cropped.height) / 2;
    const int least = std::max<int>(
        kMinReducedHalfSize, static_cast<int>(std::min<std::uint64_t>(info.minCorrHalfSize, 64)));
    int f = 1;
    while (f * 2 <= kMaxReduction && half / (f * 2) >= least) f *= 2;
    reduction = std::min(reduction, f);
  }
  for (TTemplateSet& set : sets)
    for (int h = 0; h < nOrient; ++h) {
      set.full[static_cast<std::size_t>(h)] =
          vxscan::OrientRaster(set.cropped, orientations[static_cast<std::size_t>(h)]);
      set.reduced[static_cast<std::size_t>(h)] =
          Reduce(set.full[static_cast<std::size_t>(h)], reduction);
    }

  TVxScanMeasurement result;
  const Vec2 scanCentre(0.5 * (scan.Width() - 1), 0.5 * (scan.Height() - 1));
  const std::size_t nMarks = camera.fiducials.size();
  std::vector<const TTemplateSet*> markSet(nMarks, nullptr);
  std::vector<Vec2> layout(nMarks);  // calibrated marks in template pixels, x right, y down
  result.marks.resize(nMarks);
  for (std::size_t i = 0; i < nMarks; ++i) {
    const TVxCameraInfo::TFiducial& fiducial = camera.fiducials[i];
    TVxMarkReport& report = result.marks[i];
    report.index = fiducial.index;
    report.templateIndex = fiducial.templateIndex;
    layout[i] = {fiducial.coordsCam.x / mmPerPixel, -fiducial.coordsCam.y / mmPerPixel};
    const auto found = templateByIndex.find(fiducial.templateIndex);
    if (found == templateByIndex.end()) continue;
    markSet[i] = &sets[found->second];
  }

  // Coarse tasks: every orientation and mark. Each task's reduced window is read once here, in
  // order (the scan's reads are serialised anyway); the correlations run on the pool.
  struct TCoarse {
    Vec2 predicted;
    TVxRaster window;
    bool outside = true;
    vxscan::TPeak peak;
    Vec2 position;  // the mark's position from the coarse peak, scan pixels
  };
  std::vector<TCoarse> coarse(static_cast<std::size_t>(nOrient) * nMarks);
  std::vector<TVxRaster> readWindows;
  const double f = static_cast<double>(reduction);
  for (int h = 0; h < nOrient; ++h) {
    int m[4];
    vxscan::OrientationMatrix(orientations[static_cast<std::size_t>(h)], m);
    for (std::size_t i = 0; i < nMarks; ++i) {
      TCoarse& task = coarse[static_cast<std::size_t>(h) * nMarks + i];
      const Vec2 u = layout[i];
      task.predicted = {scanCentre.x + m[0] * u.x + m[1] * u.y,
                        scanCentre.y + m[2] * u.x + m[3] * u.y};
      if (h == 0) result.marks[i].predictedPix = task.predicted;
      if (markSet[i] == nullptr) continue;
      const TVxRaster& templ = markSet[i]->full[static_cast<std::size_t>(h)];
      const double radiusMm =
          options.searchRadiusMm > 0.0
              ? options.searchRadiusMm
              : kSearchMm + kSearchShare * camera.fiducials[i].coordsCam.Length();
      const double radius = radiusMm / mmPerPixel;
      const Vec2 c = Centre(templ);
      const int x0 = static_cast<int>(std::floor((task.predicted.x - c.x - radius) / f));
      const int y0 = static_cast<int>(std::floor((task.predicted.y - c.y - radius) / f));
      const int x1 =
          static_cast<int>(std::ceil((task.predicted.x - c.x + radius + templ.width) / f));
      const int y1 =
          static_cast<int>(std::ceil((task.predicted.y - c.y + radius + templ.height) / f));
      // A window already read that holds this one serves; the orientations of a symmetric
      // layout ask for nearly the same windows.
      const TVxRaster* holder = nullptr;
      for (const TVxRaster& read : readWindows)
        if (read.x0 <= std::max(x0, 0) && read.y0 <= std::max(y0, 0) &&
            read.x0 + read.width >= std::min(x1, scan.Width() / reduction) &&
            read.y0 + read.height >= std::min(y1, scan.Height() / reduction)) {
          holder = &read;
          break;
        }
      if (holder == nullptr) {
        const int pad = 8;
        readWindows.push_back(
            scan.ReadReduced(x0 - pad, y0 - pad, x1 - x0 + 2 * pad, y1 - y0 + 2 * pad, reduction));
        holder = &readWindows.back();
      }
      task.window = SubRaster(*holder, x0, y0, x1, y1);
      const TVxRaster& small = markSet[i]->reduced[static_cast<std::size_t>(h)];
      task.outside = task.window.width < small.width + 2 || task.window.height < small.height + 2;
    }
  }
  Progress(options, 0.2);

  vxscan::ParallelFor(static_cast<int>(coarse.size()), threads, [&](int k) {
    TCoarse& task = coarse[static_cast<std::size_t>(k)];
    if (task.outside) return;
    const int h = k / static_cast<int>(nMarks);
    const std::size_t i = static_cast<std::size_t>(k) % nMarks;
    const TVxRaster& small = markSet[i]->reduced[static_cast<std::size_t>(h)];
    const TVxRaster surface = vxscan::Correlate(task.window, vxscan::TZeroMeanTemplate(small));
    task.peak = vxscan::BestPeak(surface, small.width / 2, small.height / 2);
    const Vec2 c = Centre(markSet[i]->full[static_cast<std::size_t>(h)]);
    task.position = {(task.window.x0 + task.peak.x) * f + c.x,
                     (task.window.y0 + task.peak.y) * f + c.y};
  });
  Progress(options, 0.7);

  // The orientation whose marks correlate best on average.
  std::vector<double> orientationScore(static_cast<std::size_t>(nOrient), 0.0);
  for (int h = 0; h < nOrient; ++h) {
    double sum = 0.0;
    int count = 0;
    for (std::size_t i = 0; i < nMarks; ++i) {
      if (markSet[i] == nullptr) continue;
      const TCoarse& task = coarse[static_cast<std::size_t>(h) * nMarks + i];
      sum += task.peak.found ? std::max(task.peak.score, 0.0) : 0.0;
      ++count;
    }
    orientationScore[static_cast<std::size_t>(h)] = count > 0 ? sum / count : 0.0;
  }
  int best = 0;
  for (int h = 1; h < nOrient; ++h)
    if (orientationScore[static_cast<std::size_t>(h)] >
        orientationScore[static_cast<std::size_t>(best)])
      best = h;
  double second = 0.0;
  for (int h = 0; h < nOrient; ++h)
    if (h != best) second = std::max(second, orientationScore[static_cast<std::size_t>(h)]);
  const TOrientation orientation = orientations[static_cast<std::size_t>(best)];
  result.quarterTurns = orientation.quarterTurns;
  result.mirrored = orientation.mirrored;
  result.orientationScore = orientationScore[static_cast<std::size_t>(best)];
  result.secondOrientationScore = second;

  // The coarse peaks of the orientation taken; scores and positions are refined below.
  struct TFine {
    TVxRaster window;
    TVxRaster templ;
    bool ok = false;
    Vec2 position;
    double score = 0.0;
    double disturbance = 0.0;
  };
  const int reach = reduction + 2;  // coarse peak error, full pixels
  const int margin = 4;             // for the re-correlation's cubic and 3 × 3 neighbourhood
  std::vector<Vec2> pixels(nMarks);
  std::vector<int> candidates;
  for (std::size_t i = 0; i < nMarks; ++i) {
    TVxMarkReport& report = result.marks[i];
    const TCoarse& task = coarse[static_cast<std::size_t>(best) * nMarks + i];
    report.predictedPix = task.predicted;
    if (markSet[i] == nullptr) continue;
    if (task.outside || !task.peak.found) {
      report.status = TVxMarkStatus::OutsideScan;
      continue;
    }
    report.score = task.peak.score;
    report.secondScore = task.peak.secondScore;
    report.coordsPix = task.position;
    pixels[i] = task.position;
    // The second peak is the coarse search's: only its window is wide enough to hold one.
    if (task.peak.score > 0.0 &&
        task.peak.secondScore >= options.maxSecondPeakRatio * task.peak.score) {
      report.status = TVxMarkStatus::Ambiguous;
    } else {
      report.status = TVxMarkStatus::Measured;
      candidates.push_back(static_cast<int>(i));
    }
  }

  // Robust selection: sets the status Rejected of the marks it leaves out, returns the kept.
  // `tight`: the leave-one-out stage as well (positions at full resolution only).
  const auto selectMarks = [&](bool tight) {
    // The largest set of marks that one similarity explains, from every pair of marks.
    const bool reflect = orientation.mirrored;
    const double consensusPx = kConsensusMm / mmPerPixel;
    std::vector<int> kept = candidates;
    if (candidates.size() >= 3) {
      std::vector<int> bestSet;
      double bestSum = 0.0;
      for (std::size_t p = 0; p < candidates.size(); ++p)
        for (std::size_t q = p + 1; q < candidates.size(); ++q) {
          const std::size_t a = static_cast<std::size_t>(candidates[p]);
          const std::size_t b = static_cast<std::size_t>(candidates[q]);
          vxscan::TSimilarity s;
          if (!vxscan::FitSimilarity({layout[a], layout[b]}, {pixels[a], pixels[b]}, reflect, &s))
            continue;
          const double scale = std::hypot(s.a, s.b);
          if (!(scale < kScaleRange && scale > 1.0 / kScaleRange)) continue;
          std::vector<int> set;
          double sum = 0.0;
          for (int k : candidates) {
            const double r =
                (s.Apply(layout[static_cast<std::size_t>(k)]) - pixels[static_cast<std::size_t>(k)])
                    .Length();
            if (r < consensusPx) {
              set.push_back(k);
              sum += r;
            }
          }
          if (set.size() > bestSet.size() || (set.size() == bestSet.size() && sum < bestSum)) {
            bestSet = set;
            bestSum = sum;
          }
        }
      if (bestSet.size() >= 2) kept = bestSet;
    }
    const auto similarityResiduals = [&](const std::vector<int>& marks) {
      std::vector<double> residuals(nMarks, 0.0);
      std::vector<Vec2> from, to;
      for (int k : marks) {
        from.push_back(layout[static_cast<std::size_t>(k)]);
        to.push_back(pixels[static_cast<std::size_t>(k)]);
      }
      vxscan::TSimilarity s;
      if (!vxscan::FitSimilarity(from, to, reflect, &s)) return residuals;
      for (std::size_t k = 0; k < nMarks; ++k)
        residuals[k] = (s.Apply(layout[k]) - pixels[k]).Length();
      return residuals;
    };
    {
      const std::vector<double> residuals = similarityResiduals(kept);
      for (int k : candidates)
        if (std::find(kept.begin(), kept.end(), k) == kept.end()) {
          result.marks[static_cast<std::size_t>(k)].status = TVxMarkStatus::Rejected;
          result.marks[static_cast<std::size_t>(k)].residualPix =
              residuals[static_cast<std::size_t>(k)];
        }
    }

    // Then the tight limit, by leave-one-out: the mark that the fit of the others predicts worst
    // goes first, while it is beyond the limit and the others still leave a redundancy.
    const bool affine = options.transformType != TTransformType::Similarity;
    const std::size_t minKept = affine ? 4 : 3;
    const double limitPx = options.rejectResidualUm / 1000.0 / mmPerPixel;
    while (tight && kept.size() >= minKept) {
      std::vector<double> loo;
      for (int k : kept) loo.push_back(LeaveOneOut(layout, pixels, kept, k, affine, reflect));
      std::size_t worst = 0;
      for (std::size_t j = 1; j < loo.size(); ++j)
        if (loo[j] > loo[worst]) worst = j;
      if (!(loo[worst] > limitPx)) break;
      std::size_t ties = 0;
      for (double r : loo)
        if (r >= (1.0 - kTieShare) * loo[worst]) ++ties;
      if (ties > 1) {
        const std::vector<double> residuals = similarityResiduals(kept);
        double largest = -1.0;
        for (std::size_t j = 0; j < kept.size(); ++j) {
          const double r = residuals[static_cast<std::size_t>(kept[j])];
          if (loo[j] >= (1.0 - kTieShare) * loo[worst] && r > largest) {
            largest = r;
            worst = j;
          }
        }
      }
      TVxMarkReport& report = result.marks[static_cast<std::size_t>(kept[worst])];
      report.status = TVxMarkStatus::Rejected;
      report.residualPix = loo[worst];
      kept.erase(kept.begin() + static_cast<std::ptrdiff_t>(worst));
    }
    return kept;
  };
  std::vector<int> kept = selectMarks(false);

  // Full resolution: the templates warped by the linear part of the fit of the coarse marks
  // that agree (scale, a small turn, shear; the orientation's matrix alone when there is no
  // fit), so that a scan whose scale is off by a few per cent measures as well as one at the
  // templates' scale; then the selection again.
  TAffine fitted;
  bool haveFit = false;
  {
    std::vector<Vec2> from, to;
    for (int k : kept) {
      from.push_back(layout[static_cast<std::size_t>(k)]);
      to.push_back(pixels[static_cast<std::size_t>(k)]);
    }
    vxscan::TSimilarity s;
    if (from.size() >= 3 && FitAffine(from, to, &fitted)) {
      haveFit = true;
    } else if (from.size() == 2 && vxscan::FitSimilarity(from, to, orientation.mirrored, &s)) {
      const double r = orientation.mirrored ? -1.0 : 1.0;
      fitted.a[0] = s.a;
      fitted.a[1] = -s.b * r;
      fitted.a[3] = s.b;
      fitted.a[4] = s.a * r;
      haveFit = true;
    }
  }
  {
    int om[4];
    vxscan::OrientationMatrix(orientation, om);
    const double linear[4] = {haveFit ? fitted.a[0] : om[0], haveFit ? fitted.a[1] : om[1],
                              haveFit ? fitted.a[3] : om[2], haveFit ? fitted.a[4] : om[3]};
    std::vector<TFine> secondPass(nMarks);
    for (int k : candidates) {
      const std::size_t i = static_cast<std::size_t>(k);
      TFine& task = secondPass[i];
      const TVxRaster warped = WarpTemplate(markSet[i]->cropped, linear);
      if (warped.width < 3 || warped.height < 3) continue;
      const Vec2 c = Centre(warped);
      const int x0 = static_cast<int>(std::lround(pixels[i].x - c.x)) - reach - margin;
      const int y0 = static_cast<int>(std::lround(pixels[i].y - c.y)) - reach - margin;
      task.window = scan.ReadWindow(x0, y0, warped.width + 2 * (reach + margin),
                                    warped.height + 2 * (reach + margin));
      task.templ = warped;
    }
    vxscan::ParallelFor(static_cast<int>(nMarks), threads, [&](int k) {
      TFine& task = secondPass[static_cast<std::size_t>(k)];
      if (task.templ.width == 0) return;
      TVxCorrelationPeak peak = FindTemplate(task.window, task.templ, true);
      if (!peak.found) return;
      // Once more with the window's exposure made even under the template.
      const TVxRaster even = EvenExposure(task.window, task.templ, peak.offset);
      bool evenTaken = false;
      if (even.width > 0) {
        const TVxCorrelationPeak evenPeak = FindTemplate(even, task.templ, true);
        if (evenPeak.found && (evenPeak.offset - peak.offset).Length() < 1.0) {
          peak = evenPeak;
          evenTaken = true;
        }
      }
      task.disturbance =
          MeasureDisturbance(evenTaken ? even : task.window, task.templ, peak.offset);
      const Vec2 c = Centre(task.templ);
      task.ok = true;
      task.score = peak.score;
      task.position = {task.window.x0 + peak.offset.x + c.x, task.window.y0 + peak.offset.y + c.y};
    });
    std::vector<int> found;
    for (int k : candidates) {
      const std::size_t i = static_cast<std::size_t>(k);
      TVxMarkReport& report = result.marks[i];
      report.status = TVxMarkStatus::Measured;
      report.residualPix = 0.0;
      if (secondPass[i].ok) {
        pixels[i] = secondPass[i].position;
        report.coordsPix = secondPass[i].position;
        report.score = secondPass[i].score;
        report.disturbancePix = secondPass[i].disturbance;
      }
      if (!secondPass[i].ok || !(report.score >= options.minScore))
        report.status = TVxMarkStatus::LowScore;
      else if (!(report.disturbancePix <= options.maxDisturbancePx))
        report.status = TVxMarkStatus::Disturbed;
      else
        found.push_back(k);
    }
    candidates = found;
    kept = selectMarks(true);
  }
  Progress(options, 0.9);

  // The measurements of the kept marks, in the camera's order, and their residuals.
  std::sort(kept.begin(), kept.end());
  TVxIntOrMeas& meas = result.meas;
  meas.cameraType = TCameraType::Fiducials;
  meas.rotation = RotationOf(orientation.quarterTurns);
  meas.transformType = options.transformType;
  for (int k : kept) {
    TVxIntOrMeas::TMarkMeas mark;
    mark.index = result.marks[static_cast<std::size_t>(k)].index;
    mark.coordsPix = pixels[static_cast<std::size_t>(k)];
    meas.marks.push_back(mark);
  }
  TVxIntOrSolution solution;
  std::string message;
  if (SolveIntOr(meas, camera, &solution, &message)) {
    WriteResiduals(solution, &meas);
    for (std::size_t j = 0; j < kept.size(); ++j)
      result.marks[static_cast<std::size_t>(kept[j])].residualPix = solution.residuals[j].lengthPix;
    result.rmsPix = solution.rmsPix;
    const double meanScaleUm = 0.5 * (solution.scaleXUm + solution.scaleYUm);
    if (meanScaleUm > 0.0) result.scale = templates.templatePixelSize / meanScaleUm;
  }
  Progress(options, 1.0);
  return result;
}
