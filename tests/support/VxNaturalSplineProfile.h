#pragma once
// The radial profile of the table models computed independently of the library, for tests.

#include <algorithm>
#include <cstddef>
#include <utility>
#include <vector>

namespace vx_test {

// The radial profile of docs/distortion-models.md, written out here: rows sorted by radius,
// (0, 0) added when the first radius is above 0, a natural cubic spline between rows (second
// derivative zero at both ends), the straight continuation with the end slope beyond the last
// row. Rows of equal radius are not supported (not needed here).
class TNaturalSplineProfile {
 public:
  explicit TNaturalSplineProfile(std::vector<std::pair<double, double>> rows) {
    std::sort(rows.begin(), rows.end());
    if (rows.front().first > 0.0) rows.insert(rows.begin(), {0.0, 0.0});
    for (const auto& row : rows) {
      r_.push_back(row.first);
      v_.push_back(row.second);
    }
    const std::size_t n = r_.size() - 1;
    // Tridiagonal system for the second derivatives m[1..n-1], m[0] = m[n] = 0 (Thomas).
    m_.assign(n + 1, 0.0);
    std::vector<double> diag(n + 1, 0.0);
    std::vector<double> rhs(n + 1, 0.0);
    for (std::size_t i = 1; i < n; ++i) {
      const double h0 = r_[i] - r_[i - 1];
      const double h1 = r_[i + 1] - r_[i];
      diag[i] = 2.0 * (h0 + h1);
      rhs[i] = 6.0 * ((v_[i + 1] - v_[i]) / h1 - (v_[i] - v_[i - 1]) / h0);
      if (i > 1) {
        const double w = h0 / diag[i - 1];
        diag[i] -= w * h0;
        rhs[i] -= w * rhs[i - 1];
      }
    }
    for (std::size_t i = n - 1; i >= 1; --i) {
      const double h1 = r_[i + 1] - r_[i];
      m_[i] = (rhs[i] - h1 * m_[i + 1]) / diag[i];
    }
  }

  double operator()(double r) const {
    const std::size_t n = r_.size() - 1;
    if (r >= r_[n]) {
      const double h = r_[n] - r_[n - 1];
      const double slope = (v_[n] - v_[n - 1]) / h + h * (2.0 * m_[n] + m_[n - 1]) / 6.0;
      return v_[n] + slope * (r - r_[n]);
    }
    std::size_t i = 0;
    while (i + 1 < n && r > r_[i + 1]) ++i;
    const double h = r_[i + 1] - r_[i];
    const double a = (r_[i + 1] - r) / h;
    const double b = (r - r_[i]) / h;
    return a * v_[i] + b * v_[i + 1] +
           ((a * a * a - a) * m_[i] + (b * b * b - b) * m_[i + 1]) * h * h / 6.0;
  }

 private:
  std::vector<double> r_;
  std::vector<double> v_;
  std::vector<double> m_;
};

}  // namespace vx_test
