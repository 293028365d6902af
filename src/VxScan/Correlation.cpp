// Normalised cross-correlation and the sub-pixel peak.
//
// The correlation coefficient of template T (n pixels, mean t̄) with the image part I under it:
//   r = Σ (T - t̄)(I - Ī) / sqrt(Σ (T - t̄)² · Σ (I - Ī)²)
// Since Σ (T - t̄) = 0, the numerator is Σ (T - t̄) I: one multiply-add per template pixel and
// position, over contiguous rows; Σ I and Σ I² of each part come from summed-area tables in
// double. The image is shifted by its mean first, so that the float products stay small against
// the numerator (relative error about 1e-6, far below the correlation steps near a peak).

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <vector>

#include "ScanInternal.h"
#include "VxScan.h"

namespace {

// A part whose grey values vary by less than this (standard deviation, grey levels) is flat:
// its correlation is 0, not the quotient of two roundings.
constexpr double kFlatSigma = 1e-3;
// Sub-pixel refinement stops when a step is shorter than this, pixels: a fiftieth of the
// accuracy the measurement promises.
constexpr double kRefineStep = 0.002;
constexpr int kRefineIterations = 6;

// The instruction sets of the correlation's inner loop: one library runs everywhere and uses
// AVX2 or AVX-512 where the processor has them (the clone is picked at load time).
#if defined(__x86_64__) && !defined(VX_NO_BATCH_CLONES)
#define VX_SCAN_CLONES __attribute__((target_clones("default", "avx2", "avx512f")))
#else
#define VX_SCAN_CLONES
#endif

// acc[i] += Σ_u templRow[u] · imageRow[i + u] for i < n: eight positions at a time held in one
// vector while the template row runs past them. Every position sums in the same order, so the
// result does not depend on where a block of eight starts.
VX_SCAN_CLONES void AccumulateRow(float* __restrict acc, const float* __restrict imageRow,
                                  const float* __restrict templRow, int tw, int n) {
  typedef float TVec8f __attribute__((vector_size(32)));
  int i = 0;
  for (; i + 8 <= n; i += 8) {
    TVec8f a;
    std::memcpy(&a, acc + i, sizeof a);
    for (int u = 0; u < tw; ++u) {
      TVec8f source;
      std::memcpy(&source, imageRow + i + u, sizeof source);
      a += templRow[u] * source;
    }
    std::memcpy(acc + i, &a, sizeof a);
  }
  for (; i < n; ++i) {
    float a = acc[i];
    for (int u = 0; u < tw; ++u) a += templRow[u] * imageRow[i + u];
    acc[i] = a;
  }
}

std::size_t Index(int x, int y, int width) {
  return static_cast<std::size_t>(y) * static_cast<std::size_t>(width) +
         static_cast<std::size_t>(x);
}

}  // namespace

namespace vxscan {

TZeroMeanTemplate::TZeroMeanTemplate(const TVxRaster& templ)
    : width(templ.width), height(templ.height), values(templ.pixels.size()) {
  double sum = 0.0;
  for (float v : templ.pixels) sum += static_cast<double>(v);
  const double mean = templ.pixels.empty() ? 0.0 : sum / static_cast<double>(templ.pixels.size());
  double norm = 0.0;
  for (std::size_t i = 0; i < values.size(); ++i) {
    const double d = static_cast<double>(templ.pixels[i]) - mean;
    values[i] = static_cast<float>(d);
    norm += d * d;
  }
  normSquared = norm;
}

bool TZeroMeanTemplate::Flat() const {
  return normSquared <= kFlatSigma * kFlatSigma * static_cast<double>(values.size());
}

TVxRaster Correlate(const TVxRaster& image, const TZeroMeanTemplate& templ) {
  const int ow = image.width - templ.width + 1;
  const int oh = image.height - templ.height + 1;
  if (ow < 1 || oh < 1 || templ.width < 1 || templ.height < 1) return TVxRaster();
  TVxRaster surface(ow, oh, 0.0f);
  surface.x0 = image.x0;
  surface.y0 = image.y0;
  if (templ.Flat()) return surface;

  const int iw = image.width;
  double mean = 0.0;
  for (float v : image.pixels) mean += static_cast<double>(v);
  mean /= static_cast<double>(image.pixels.size());
  std::vector<float> shifted(image.pixels.size());
  for (std::size_t i = 0; i < shifted.size(); ++i)
    shifted[i] = static_cast<float>(static_cast<double>(image.pixels[i]) - mean);

  // Summed-area tables with a zero first row and column.
  const int sw = iw + 1;
  std::vector<double> sum(static_cast<std::size_t>(sw) *
                          static_cast<std::size_t>(image.height + 1));
  std::vector<double> sum2(sum.size());
  for (int y = 0; y < image.height; ++y) {
    double rowSum = 0.0;
    double rowSum2 = 0.0;
    for (int x = 0; x < iw; ++x) {
      const double v = static_cast<double>(shifted[Index(x, y, iw)]);
      rowSum += v;
      rowSum2 += v * v;
      sum[Index(x + 1, y + 1, sw)] = sum[Index(x + 1, y, sw)] + rowSum;
      sum2[Index(x + 1, y + 1, sw)] = sum2[Index(x + 1, y, sw)] + rowSum2;
    }
  }

  const double n = static_cast<double>(templ.width) * static_cast<double>(templ.height);
  const double flat = kFlatSigma * kFlatSigma * n;
  std::vector<float> acc(static_cast<std::size_t>(ow));
  for (int j = 0; j < oh; ++j) {
    std::fill(acc.begin(), acc.end(), 0.0f);
    for (int v = 0; v < templ.height; ++v)
      AccumulateRow(acc.data(), &shifted[Index(0, j + v, iw)],
                    &templ.values[Index(0, v, templ.width)], templ.width, ow);
    for (int i = 0; i < ow; ++i) {
      const int x1 = i + templ.width;
      const int y1 = j + templ.height;
      const double s = sum[Index(x1, y1, sw)] - sum[Index(i, y1, sw)] - sum[Index(x1, j, sw)] +
                       sum[Index(i, j, sw)];
      const double s2 = sum2[Index(x1, y1, sw)] - sum2[Index(i, y1, sw)] - sum2[Index(x1, j, sw)] +
                        sum2[Index(i, j, sw)];
      const double variance = s2 - s * s / n;
      if (variance <= flat) continue;
      const double r = static_cast<double>(acc[static_cast<std::size_t>(i)]) /
                       std::sqrt(variance * templ.normSquared);
      surface.At(i, j) = static_cast<float>(std::clamp(r, -1.0, 1.0));
    }
  }
  return surface;
}

TPeak BestPeak(const TVxRaster& surface, int excludeHalfWidth, int excludeHalfHeight) {
  TPeak peak;
  if (surface.width < 1 || surface.height < 1) return peak;
  float best = -2.0f;
  for (int y = 0; y < surface.height; ++y)
    for (int x = 0; x < surface.width; ++x)
      if (surface.At(x, y) > best) {
        best = surface.At(x, y);
        peak.x = x;
        peak.y = y;
      }
  peak.score = static_cast<double>(best);
  float second = -2.0f;
  for (int y = 0; y < surface.height; ++y)
    for (int x = 0; x < surface.width; ++x)
      if ((std::abs(x - peak.x) > excludeHalfWidth || std::abs(y - peak.y) > excludeHalfHeight) &&
          surface.At(x, y) > second)
        second = surface.At(x, y);
  peak.secondScore = second < -1.5f ? -1.0 : static_cast<double>(second);
  peak.found = true;
  return peak;
}

// Least-squares quadratic z = a + b x + c y + d x² + e x y + f y² over the 3 × 3 samples
// z[(y+1)*3 + (x+1)], x, y in {-1, 0, 1}; the normal equations separate into
//   b = Σ x z / 6, c = Σ y z / 6, e = Σ x y z / 4,
//   d + f = (X + Y - 4 S / 3) / 2, d - f = (X - Y) / 2 with S = Σ z, X = Σ x² z, Y = Σ y² z.
// The vertex solves [2d e; e 2f] p = -[b; c]. Where the quadratic has no maximum, or its vertex
// lies more than a pixel away, each axis takes its own parabola through three samples, clamped
// to half a pixel.
vec_t_<double, 2> QuadraticPeak(const double z[9]) {
  double S = 0, X = 0, Y = 0, bx = 0, cy = 0, exy = 0;
  for (int j = -1; j <= 1; ++j)
    for (int i = -1; i <= 1; ++i) {
      const double v = z[(j + 1) * 3 + (i + 1)];
      S += v;
      X += i * i * v;
      Y += j * j * v;
      bx += i * v;
      cy += j * v;
      exy += i * j * v;
    }
  const double b = bx / 6.0;
  const double c = cy / 6.0;
  const double e = exy / 4.0;
  const double sumDF = (X + Y - 4.0 * S / 3.0) / 2.0;
  const double d = (sumDF + (X - Y) / 2.0) / 2.0;
  const double f = (sumDF - (X - Y) / 2.0) / 2.0;
  const double det = 4.0 * d * f - e * e;
  if (d < 0.0 && det > 0.0) {
    const double px = (-b * 2.0 * f + c * e) / det;
    const double py = (-c * 2.0 * d + b * e) / det;
    if (std::abs(px) <= 1.0 && std::abs(py) <= 1.0) return {px, py};
  }
  const auto parabola = [](double m, double o, double p) {
    const double curvature = m - 2.0 * o + p;
    if (curvature >= 0.0) return 0.0;
    return std::clamp(0.5 * (m - p) / curvature, -0.5, 0.5);
  };
  return {parabola(z[3], z[4], z[5]), parabola(z[1], z[4], z[7])};
}

double CorrelationAt(const TVxRaster& image, const TZeroMeanTemplate& templ, int x, int y) {
  double s = 0.0, s2 = 0.0, st = 0.0;
  for (int v = 0; v < templ.height; ++v)
    for (int u = 0; u < templ.width; ++u) {
      const double value = static_cast<double>(image.At(x + u, y + v));
      s += value;
      s2 += value * value;
      st += static_cast<double>(templ.values[Index(u, v, templ.width)]) * value;
    }
  const double n = static_cast<double>(templ.values.size());
  const double variance = s2 - s * s / n;
  if (variance <= kFlatSigma * kFlatSigma * n || templ.Flat()) return 0.0;
  return st / std::sqrt(variance * templ.normSquared);
}

namespace {

void CubicWeights(double t, double w[4]) {
  w[0] = CubicKernel(1.0 + t);
  w[1] = CubicKernel(t);
  w[2] = CubicKernel(1.0 - t);
  w[3] = CubicKernel(2.0 - t);
}

// The image sampled at (x + dx, y + dy) for whole x, y of [x0, x0 + width) × [y0, y0 + height),
// bicubic; every sample needs its 4 × 4 neighbours inside the image.
TVxRaster ShiftedWindow(const TVxRaster& image, int x0, int y0, int width, int height, double dx,
                        double dy) {
  const int ix = static_cast<int>(std::floor(dx));
  const int iy = static_cast<int>(std::floor(dy));
  double wx[4], wy[4];
  CubicWeights(dx - ix, wx);
  CubicWeights(dy - iy, wy);
  TVxRaster out(width, height);
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      double value = 0.0;
      for (int m = 0; m < 4; ++m) {
        double row = 0.0;
        for (int k = 0; k < 4; ++k)
          row += wx[k] * static_cast<double>(image.At(x0 + x + ix + k - 1, y0 + y + iy + m - 1));
        value += wy[m] * row;
      }
      out.At(x, y) = static_cast<float>(value);
    }
  return out;
}

}  // namespace

vec_t_<double, 2> RefinePeak(const TVxRaster& image, const TZeroMeanTemplate& templ, int px, int py,
                             bool iterate) {
  double z[9];
  for (int j = -1; j <= 1; ++j)
    for (int i = -1; i <= 1; ++i)
      z[(j + 1) * 3 + (i + 1)] = CorrelationAt(image, templ, px + i, py + j);
  vec_t_<double, 2> delta = QuadraticPeak(z);
  if (!iterate) return delta;
  // Re-correlation: the image is shifted by the estimate, so that the remaining offset is small
  // and the quadratic, exact for a symmetric peak at offset 0, measures it without the bias it
  // has between pixels. Needs 2 + 1 pixels of margin for the cubic and the 3 × 3 neighbourhood.
  const int margin = 4;
  if (px - margin < 0 || py - margin < 0 || px + templ.width + margin > image.width ||
      py + templ.height + margin > image.height)
    return delta;
  for (int iteration = 0; iteration < kRefineIterations; ++iteration) {
    if (std::abs(delta.x) > 1.0 || std::abs(delta.y) > 1.0) break;
    const TVxRaster shifted =
        ShiftedWindow(image, px - 1, py - 1, templ.width + 2, templ.height + 2, delta.x, delta.y);
    for (int j = -1; j <= 1; ++j)
      for (int i = -1; i <= 1; ++i)
        z[(j + 1) * 3 + (i + 1)] = CorrelationAt(shifted, templ, 1 + i, 1 + j);
    const vec_t_<double, 2> step = QuadraticPeak(z);
    delta.x += step.x;
    delta.y += step.y;
    if (std::hypot(step.x, step.y) < kRefineStep) break;
  }
  return delta;
}

}  // namespace vxscan

TVxRaster CorrelationSurface(const TVxRaster& image, const TVxRaster& templ) {
  return vxscan::Correlate(image, vxscan::TZeroMeanTemplate(templ));
}

TVxCorrelationPeak FindTemplate(const TVxRaster& image, const TVxRaster& templ, bool refine) {
  TVxCorrelationPeak result;
  const vxscan::TZeroMeanTemplate zeroMean(templ);
  if (zeroMean.Flat()) return result;
  const TVxRaster surface = vxscan::Correlate(image, zeroMean);
  const vxscan::TPeak peak = vxscan::BestPeak(surface, templ.width / 2, templ.height / 2);
  if (!peak.found) return result;
  result.found = true;
  result.score = peak.score;
  result.secondScore = peak.secondScore;
  result.offset = {static_cast<double>(peak.x), static_cast<double>(peak.y)};
  if (peak.x > 0 && peak.y > 0 && peak.x < surface.width - 1 && peak.y < surface.height - 1) {
    const vec_t_<double, 2> delta = vxscan::RefinePeak(image, zeroMean, peak.x, peak.y, refine);
    result.offset.x += delta.x;
    result.offset.y += delta.y;
  }
  return result;
}
