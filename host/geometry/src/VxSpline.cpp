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

// Solves the tridiagonal system (sub[i] x[i-1] + diagonal[i] x[i] + super[i] x[i+1] = b[i]) for
// several right-hand sides (b is n x m, row-major) by elimination without pivoting (the Thomas
// algorithm). The spline's system is strictly diagonally dominant (2 (h0 + h1) > h0 + h1), so
// no pivot is ever needed and the elimination is stable; it performs the very operations that
// Gaussian elimination with partial pivoting performs on this matrix, in O(n m).
void SolveTridiagonal(const std::vector<double>& sub, std::vector<double>& diagonal,
                      const std::vector<double>& super, std::vector<double>& b, std::size_t m) {
  const std::size_t n = diagonal.size();
  for (std::size_t row = 1; row < n; ++row) {
    const double f = sub[row] / diagonal[row - 1];
    diagonal[row] -= f * super[row - 1];
    for (std::size_t c = 0; c < m; ++c) b[row * m + c] -= f * b[(row - 1) * m + c];
  }
  for (std::size_t row = n; row-- > 0;) {
    for (std::size_t c = 0; c < m; ++c) {
      double s = b[row * m + c];
      if (row + 1 < n) s -= super[row] * b[(row + 1) * m + c];
      b[row * m + c] = s / diagonal[row];
    }
  }
}

}  // namespace

TProfileSpline::TProfileSpline(const std::vector<double>& radii,
                               const std::vector<double>& rowValues, std::size_t columns)
    : columns_(columns) {
  const std::size_t rows = radii.size();
  std::vector<double> knotValues;  // knots x columns
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
      for (std::size_t c = 0; c < columns; ++c) sum[c] += rowValues[order[j] * columns + c];
      ++j;
    }
    if (knots_.empty() && r > 0.0) {
      knots_.push_back(0.0);
      knotValues.insert(knotValues.end(), columns, 0.0);
    }
    knots_.push_back(r);
    for (std::size_t c = 0; c < columns; ++c) {
      knotValues.push_back(sum[c] / static_cast<double>(j - i));
    }
    i = j;
  }
  zero_ = std::all_of(knotValues.begin(), knotValues.end(), [](double v) { return v == 0.0; });

  const std::size_t m = knots_.size();
  std::vector<double> second(m * columns, 0.0);  // second derivatives at the knots
  std::vector<double> endSlope(columns, 0.0);    // slope beyond the last knot
  if (m < 2) {
    StorePieces(knotValues, second, endSlope);
    return;
  }

  // Natural spline: the second derivatives of the inner knots from a tridiagonal system,
  // solved in O(knots) memory and time.
  const std::size_t inner = m - 2;
  if (inner > 0) {
    std::vector<double> sub(inner, 0.0), diagonal(inner, 0.0), super(inner, 0.0);
    std::vector<double> b(inner * columns, 0.0);
    for (std::size_t k = 1; k + 1 < m; ++k) {
      const double h0 = knots_[k] - knots_[k - 1];
      const double h1 = knots_[k + 1] - knots_[k];
      const std::size_t row = k - 1;
      sub[row] = h0;
      diagonal[row] = 2.0 * (h0 + h1);
      super[row] = h1;
      for (std::size_t c = 0; c < columns; ++c) {
        const double y0 = knotValues[(k - 1) * columns + c];
        const double y1 = knotValues[k * columns + c];
        const double y2 = knotValues[(k + 1) * columns + c];
        b[row * columns + c] = 6.0 * ((y2 - y1) / h1 - (y1 - y0) / h0);
      }
    }
    SolveTridiagonal(sub, diagonal, super, b, columns);
    for (std::size_t k = 1; k + 1 < m; ++k) {
      for (std::size_t c = 0; c < columns; ++c) {
        second[k * columns + c] = b[(k - 1) * columns + c];
      }
    }
  }
  const double h = knots_[m - 1] - knots_[m - 2];
  for (std::size_t c = 0; c < columns; ++c) {
    const double y0 = knotValues[(m - 2) * columns + c];
    const double y1 = knotValues[(m - 1) * columns + c];
    const double s0 = second[(m - 2) * columns + c];
    // Derivative of the last piece at its end, where the second derivative is 0.
    endSlope[c] = (y1 - y0) / h + h * s0 / 6.0;
  }
  StorePieces(knotValues, second, endSlope);
}

void TProfileSpline::StorePieces(const std::vector<double>& values,
                                 const std::vector<double>& second,
                                 const std::vector<double>& endSlope) {
  const std::size_t m = knots_.size();
  if (m == 0) return;
  coefficients_.assign(m * columns_ * 4, 0.0);
  for (std::size_t s = 0; s + 1 < m; ++s) {
    const double h = knots_[s + 1] - knots_[s];
    for (std::size_t c = 0; c < columns_; ++c) {
      const double y0 = values[s * columns_ + c], y1 = values[(s + 1) * columns_ + c];
      const double m0 = second[s * columns_ + c], m1 = second[(s + 1) * columns_ + c];
      double* k = &coefficients_[(s * columns_ + c) * 4];
      k[0] = y0;
      k[1] = (y1 - y0) / h - h * (2.0 * m0 + m1) / 6.0;
      k[2] = m0 / 2.0;
      k[3] = (m1 - m0) / (6.0 * h);
    }
  }
  for (std::size_t c = 0; c < columns_; ++c) {
    double* k = &coefficients_[((m - 1) * columns_ + c) * 4];
    k[0] = values[(m - 1) * columns_ + c];
    k[1] = endSlope[c];
  }
  // Four buckets per piece, each starting at the piece that holds its lower end.
  if (m < 2) return;
  buckets_.resize(4 * (m - 1));
  bucket_scale_ = static_cast<double>(buckets_.size()) / (knots_[m - 1] - knots_[0]);
  for (std::size_t b = 0; b < buckets_.size(); ++b)
    buckets_[b] = FindInterval(knots_, knots_[0] + static_cast<double>(b) / bucket_scale_);
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
