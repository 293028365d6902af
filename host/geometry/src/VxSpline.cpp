#include "VxSpline.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace vx_geometry_detail {
namespace {

constexpr double kTwoPi = 6.283185307179586;

// Index of the interval [k[i], k[i+1]) holding t, for k[0] <= t < k.back(); clamped to the
// first and last interval.
std::size_t FindInterval(const std::vector<double>& k, double t) {
  const auto it = std::upper_bound(k.begin(), k.end(), t);
  std::size_t i = static_cast<std::size_t>(it - k.begin());
  if (i == 0) return 0;
  i -= 1;
  return std::min(i, k.size() - 2);
}

// Solves the dense n x n system a x = b for several right-hand sides (b is n x m, row-major),
// by Gaussian elimination with partial pivoting. The spline systems are diagonally dominant.
void SolveDense(std::vector<double> a, std::vector<double>& b, std::size_t n, std::size_t m) {
  for (std::size_t col = 0; col < n; ++col) {
    std::size_t pivot = col;
    for (std::size_t row = col + 1; row < n; ++row) {
      if (std::abs(a[row * n + col]) > std::abs(a[pivot * n + col])) pivot = row;
    }
    if (pivot != col) {
      for (std::size_t c = 0; c < n; ++c) std::swap(a[col * n + c], a[pivot * n + c]);
      for (std::size_t c = 0; c < m; ++c) std::swap(b[col * m + c], b[pivot * m + c]);
    }
    for (std::size_t row = col + 1; row < n; ++row) {
      const double f = a[row * n + col] / a[col * n + col];
      if (f == 0.0) continue;
      for (std::size_t c = col; c < n; ++c) a[row * n + c] -= f * a[col * n + c];
      for (std::size_t c = 0; c < m; ++c) b[row * m + c] -= f * b[col * m + c];
    }
  }
  for (std::size_t col = n; col-- > 0;) {
    for (std::size_t c = 0; c < m; ++c) {
      double s = b[col * m + c];
      for (std::size_t k = col + 1; k < n; ++k) s -= a[col * n + k] * b[k * m + c];
      b[col * m + c] = s / a[col * n + col];
    }
  }
}

}  // namespace

TProfileSpline::TProfileSpline(const std::vector<double>& radii, const std::vector<double>& values,
                               std::size_t columns)
    : columns_(columns) {
  const std::size_t rows = radii.size();
  std::vector<std::size_t> order(rows);
  std::iota(order.begin(), order.end(), std::size_t{0});
  std::stable_sort(order.begin(), order.end(),
                   [&](std::size_t a, std::size_t b) { return radii[a] < radii[b]; });

  // Knots: equal radii merged into their mean, the origin in front.
  std::size_t i = 0;
  while (i < rows) {
    std::size_t j = i;
    const double r = radii[order[i]];
    std::vector<double> sum(columns, 0.0);
    while (j < rows && radii[order[j]] == r) {
      for (std::size_t c = 0; c < columns; ++c) sum[c] += values[order[j] * columns + c];
      ++j;
    }
    if (knots_.empty() && r > 0.0) {
      knots_.push_back(0.0);
      values_.insert(values_.end(), columns, 0.0);
    }
    knots_.push_back(r);
    for (std::size_t c = 0; c < columns; ++c) {
      values_.push_back(sum[c] / static_cast<double>(j - i));
    }
    i = j;
  }
  zero_ = std::all_of(values_.begin(), values_.end(), [](double v) { return v == 0.0; });

  const std::size_t m = knots_.size();
  second_.assign(m * columns, 0.0);
  end_slope_.assign(columns, 0.0);
  if (m < 2) return;

  // Natural spline: the second derivatives of the inner knots from a tridiagonal system.
  const std::size_t inner = m - 2;
  if (inner > 0) {
    std::vector<double> a(inner * inner, 0.0);
    std::vector<double> b(inner * columns, 0.0);
    for (std::size_t k = 1; k + 1 < m; ++k) {
      const double h0 = knots_[k] - knots_[k - 1];
      const double h1 = knots_[k + 1] - knots_[k];
      const std::size_t row = k - 1;
      a[row * inner + row] = 2.0 * (h0 + h1);
      if (row > 0) a[row * inner + row - 1] = h0;
      if (row + 1 < inner) a[row * inner + row + 1] = h1;
      for (std::size_t c = 0; c < columns; ++c) {
        const double y0 = values_[(k - 1) * columns + c];
        const double y1 = values_[k * columns + c];
        const double y2 = values_[(k + 1) * columns + c];
        b[row * columns + c] = 6.0 * ((y2 - y1) / h1 - (y1 - y0) / h0);
      }
    }
    SolveDense(std::move(a), b, inner, columns);
    for (std::size_t k = 1; k + 1 < m; ++k) {
      for (std::size_t c = 0; c < columns; ++c) {
        second_[k * columns + c] = b[(k - 1) * columns + c];
      }
    }
  }
  const double h = knots_[m - 1] - knots_[m - 2];
  for (std::size_t c = 0; c < columns; ++c) {
    const double y0 = values_[(m - 2) * columns + c];
    const double y1 = values_[(m - 1) * columns + c];
    const double s0 = second_[(m - 2) * columns + c];
    // Derivative of the last piece at its end, where the second derivative is 0.
    end_slope_[c] = (y1 - y0) / h + h * s0 / 6.0;
  }
}

void TProfileSpline::Evaluate(double r, double* out) const {
  const std::size_t m = knots_.size();
  if (m == 0) {
    for (std::size_t c = 0; c < columns_; ++c) out[c] = 0.0;
    return;
  }
  if (m == 1) {
    for (std::size_t c = 0; c < columns_; ++c) out[c] = values_[c];
    return;
  }
  if (r >= knots_[m - 1]) {
    const double t = r - knots_[m - 1];
    for (std::size_t c = 0; c < columns_; ++c) {
      out[c] = values_[(m - 1) * columns_ + c] + end_slope_[c] * t;
    }
    return;
  }
  const std::size_t i = FindInterval(knots_, r);
  const double h = knots_[i + 1] - knots_[i];
  const double a = (knots_[i + 1] - r) / h;
  const double b = 1.0 - a;
  const double ca = (a * a * a - a) * h * h / 6.0;
  const double cb = (b * b * b - b) * h * h / 6.0;
  for (std::size_t c = 0; c < columns_; ++c) {
    out[c] = a * values_[i * columns_ + c] + b * values_[(i + 1) * columns_ + c] +
             ca * second_[i * columns_ + c] + cb * second_[(i + 1) * columns_ + c];
  }
}

void TProfileSpline::Evaluate(double r, double* out, double* slope) const {
  Evaluate(r, out);
  const std::size_t m = knots_.size();
  if (m < 2) {
    for (std::size_t c = 0; c < columns_; ++c) slope[c] = 0.0;
    return;
  }
  if (r >= knots_[m - 1]) {
    for (std::size_t c = 0; c < columns_; ++c) slope[c] = end_slope_[c];
    return;
  }
  const std::size_t i = FindInterval(knots_, r);
  const double h = knots_[i + 1] - knots_[i];
  const double a = (knots_[i + 1] - r) / h;
  const double b = 1.0 - a;
  for (std::size_t c = 0; c < columns_; ++c) {
    slope[c] = (values_[(i + 1) * columns_ + c] - values_[i * columns_ + c]) / h -
               (3.0 * a * a - 1.0) * h * second_[i * columns_ + c] / 6.0 +
               (3.0 * b * b - 1.0) * h * second_[(i + 1) * columns_ + c] / 6.0;
  }
}

TPeriodicSpline::TPeriodicSpline(const std::vector<double>& angles) : n_(angles.size()) {
  if (n_ == 0) return;
  first_ = angles[0];
  offsets_.resize(n_ + 1);
  for (std::size_t j = 0; j < n_; ++j) offsets_[j] = angles[j] - first_;
  offsets_[n_] = kTwoPi;
  moments_.assign(n_ * n_, 0.0);
  if (n_ == 1) return;

  // Periodic spline: for each knot i, with its neighbours taken cyclically,
  //   h[i-1] M[i-1] + 2 (h[i-1] + h[i]) M[i] + h[i] M[i+1]
  //     = 6 ((g[i+1] - g[i]) / h[i] - (g[i] - g[i-1]) / h[i-1]).
  // Written as A M = B g and solved once for M = (A^-1 B) g. Entries are added, so that with
  // two directions the two neighbours that coincide add up.
  std::vector<double> a(n_ * n_, 0.0);
  std::vector<double> b(n_ * n_, 0.0);
  for (std::size_t i = 0; i < n_; ++i) {
    const std::size_t prev = (i + n_ - 1) % n_;
    const std::size_t next = (i + 1) % n_;
    const double h0 = offsets_[i == 0 ? n_ : i] - offsets_[i == 0 ? n_ - 1 : i - 1];
    const double h1 = offsets_[i + 1] - offsets_[i];
    a[i * n_ + prev] += h0;
    a[i * n_ + i] += 2.0 * (h0 + h1);
    a[i * n_ + next] += h1;
    b[i * n_ + next] += 6.0 / h1;
    b[i * n_ + i] -= 6.0 / h1 + 6.0 / h0;
    b[i * n_ + prev] += 6.0 / h0;
  }
  SolveDense(std::move(a), b, n_, n_);
  moments_ = std::move(b);
}

double TPeriodicSpline::Evaluate(double t, const double* g) const {
  double slope = 0.0;
  return Evaluate(t, g, slope);
}

double TPeriodicSpline::Evaluate(double t, const double* g, double& slope) const {
  slope = 0.0;
  if (n_ == 0) return 0.0;
  if (n_ == 1) return g[0];
  double u = std::fmod(t - first_, kTwoPi);
  if (u < 0.0) u += kTwoPi;
  const std::size_t i = FindInterval(offsets_, u);
  const std::size_t next = (i + 1) % n_;
  const double h = offsets_[i + 1] - offsets_[i];
  const double a = (offsets_[i + 1] - u) / h;
  const double b = 1.0 - a;
  double mi = 0.0;
  double mn = 0.0;
  for (std::size_t j = 0; j < n_; ++j) {
    mi += moments_[i * n_ + j] * g[j];
    mn += moments_[next * n_ + j] * g[j];
  }
  slope = (g[next] - g[i]) / h - (3.0 * a * a - 1.0) * h * mi / 6.0 +
          (3.0 * b * b - 1.0) * h * mn / 6.0;
  return a * g[i] + b * g[next] + ((a * a * a - a) * mi + (b * b * b - b) * mn) * h * h / 6.0;
}

}  // namespace vx_geometry_detail
