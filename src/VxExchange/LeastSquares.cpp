#include "LeastSquares.h"

#include <cmath>

namespace vx_exchange {
namespace {

// A diagonal element of R this small against the column's norm means a dependent column: the
// fit would be undetermined. The grids sample 61 x 61 points, far from that.
constexpr double kRankTolerance = 1e-13;

// Reflects rows k.. of every column j >= k and of b with the Householder vector of column k.
// Returns false for a column with nothing left below the diagonal.
bool Reflect(std::vector<double>& a, std::vector<double>& b, std::size_t m, std::size_t n,
             std::size_t k) {
  double norm = 0.0;
  for (std::size_t i = k; i < m; ++i) norm += a[i * n + k] * a[i * n + k];
  norm = std::sqrt(norm);
  if (norm == 0.0) return false;
  const double alpha = a[k * n + k] > 0.0 ? -norm : norm;
  std::vector<double> v(m - k);
  for (std::size_t i = k; i < m; ++i) v[i - k] = a[i * n + k];
  v[0] -= alpha;
  double vv = 0.0;
  for (double x : v) vv += x * x;
  auto apply = [&](auto at) {
    double dot = 0.0;
    for (std::size_t i = k; i < m; ++i) dot += v[i - k] * at(i);
    const double scale = 2.0 * dot / vv;
    for (std::size_t i = k; i < m; ++i) at(i) -= scale * v[i - k];
  };
  for (std::size_t j = k; j < n; ++j) apply([&](std::size_t i) -> double& { return a[i * n + j]; });
  apply([&](std::size_t i) -> double& { return b[i]; });
  return true;
}

}  // namespace

std::vector<double> SolveLeastSquares(std::vector<double> a, std::vector<double> b, std::size_t n) {
  const std::size_t m = b.size();
  std::vector<double> norms(n, 0.0);
  for (std::size_t j = 0; j < n; ++j)
    for (std::size_t i = 0; i < m; ++i) norms[j] += a[i * n + j] * a[i * n + j];
  for (std::size_t k = 0; k < n; ++k) {
    if (!Reflect(a, b, m, n, k)) return {};
    if (std::abs(a[k * n + k]) <= kRankTolerance * std::sqrt(norms[k])) return {};
  }
  std::vector<double> c(n, 0.0);
  for (std::size_t k = n; k-- > 0;) {
    double sum = b[k];
    for (std::size_t j = k + 1; j < n; ++j) sum -= a[k * n + j] * c[j];
    c[k] = sum / a[k * n + k];
  }
  return c;
}

}  // namespace vx_exchange
