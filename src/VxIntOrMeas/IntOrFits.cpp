#include "IntOrFits.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace vx_intor_detail {
namespace {

// A column of a least-squares matrix whose remaining norm falls below 1e-10 of the largest
// column's norm is taken as dependent: in coordinates normalised to unit spread, marks that lie
// within 1e-10 of one line carry no more information than rounding.
constexpr double kRankTolerance = 1e-10;
// Gauss-Newton stops once a step changes no normalised coefficient by more than 1e-12: the
// coordinates are normalised to unit spread, so that is 1e-12 of the frame, far below any scan.
constexpr double kStepTolerance = 1e-12;
// A Gauss-Newton step that raises the sum of squares is halved, 30 times at most.
constexpr int kMaxHalvings = 30;
// A similarity with a reflection is taken only when its sum of squares is lower by more than
// 1e-12 of the spread: equal fits (two marks, or marks on one line) keep the plain similarity.
constexpr double kMirrorMargin = 1e-12;

// Minimises |A x - b| for the rows x cols matrix A (row by row, cols <= rows) by Householder
// reflections: A = QR, then R x = Q^T b. Returns false when a column depends on the others.
bool LeastSquares(std::vector<double> a, std::vector<double> b, std::size_t rows, std::size_t cols,
                  std::vector<double>* x) {
  double largest = 0.0;
  for (std::size_t c = 0; c < cols; ++c) {
    double norm2 = 0.0;
    for (std::size_t r = 0; r < rows; ++r) norm2 += a[r * cols + c] * a[r * cols + c];
    largest = std::max(largest, std::sqrt(norm2));
  }
  if (!(largest > 0.0) || rows < cols) return false;
  std::vector<double> v(rows);
  for (std::size_t j = 0; j < cols; ++j) {
    double norm2 = 0.0;
    for (std::size_t r = j; r < rows; ++r) norm2 += a[r * cols + j] * a[r * cols + j];
    const double norm = std::sqrt(norm2);
    if (!(norm > kRankTolerance * largest)) return false;
    // The reflection maps column j below the diagonal onto alpha e_j; alpha's sign avoids
    // cancellation in v = a_j - alpha e_j.
    const double alpha = a[j * cols + j] > 0.0 ? -norm : norm;
    double v2 = 0.0;
    for (std::size_t r = j; r < rows; ++r) {
      v[r] = a[r * cols + j] - (r == j ? alpha : 0.0);
      v2 += v[r] * v[r];
    }
    for (std::size_t c = j; c < cols; ++c) {
      double s = 0.0;
      for (std::size_t r = j; r < rows; ++r) s += v[r] * a[r * cols + c];
      s = 2.0 * s / v2;
      for (std::size_t r = j; r < rows; ++r) a[r * cols + c] -= s * v[r];
    }
    double s = 0.0;
    for (std::size_t r = j; r < rows; ++r) s += v[r] * b[r];
    s = 2.0 * s / v2;
    for (std::size_t r = j; r < rows; ++r) b[r] -= s * v[r];
  }
  x->assign(cols, 0.0);
  for (std::size_t j = cols; j-- > 0;) {
    double sum = b[j];
    for (std::size_t c = j + 1; c < cols; ++c) sum -= a[j * cols + c] * (*x)[c];
    (*x)[j] = sum / a[j * cols + j];
  }
  return true;
}

double SumOfSquares(const TMatrix& h, const std::vector<TPoint>& from,
                    const std::vector<TPoint>& to) {
  double sum = 0.0;
  for (std::size_t i = 0; i < from.size(); ++i) sum += (Apply(h, from[i]) - to[i]).Length2();
  return sum;
}

}  // namespace

// Points moved to their centroid and scaled to a root-mean-square distance of 1 from it, and the
// matrix that does it. False when all points coincide.
bool Normalise(const std::vector<TPoint>& points, std::vector<TPoint>* normalised, TMatrix* m) {
  TPoint centre;
  for (const TPoint& p : points) centre += p;
  centre /= static_cast<double>(points.size());
  double spread2 = 0.0;
  for (const TPoint& p : points) spread2 += (p - centre).Length2();
  const double spread = std::sqrt(spread2 / static_cast<double>(points.size()));
  if (!(spread > 0.0)) return false;
  normalised->clear();
  for (const TPoint& p : points) normalised->push_back((p - centre) / spread);
  *m = Affine(1.0 / spread, 0.0, -centre.x / spread, 0.0, 1.0 / spread, -centre.y / spread);
  return true;
}

TMatrix Denormalisation(const TMatrix& n) {
  return InverseAffine(n);
}

double ThinnestSpread(const std::vector<TPoint>& normalised) {
  double sxx = 0.0, sxy = 0.0, syy = 0.0;
  for (const TPoint& p : normalised) {
    sxx += p.x * p.x;
    sxy += p.x * p.y;
    syy += p.y * p.y;
  }
  const double n = static_cast<double>(normalised.size());
  sxx /= n;
  sxy /= n;
  syy /= n;
  const double half = 0.5 * (sxx + syy);
  const double det = std::max(0.0, sxx * syy - sxy * sxy);
  const double largest = half + std::sqrt(std::max(0.0, half * half - det));
  return largest > 0.0 ? std::sqrt(det / largest) : 0.0;
}

// The similarity q = A c (c, q normalised, so without shift) with and without reflection:
// A = [a -b; b a] or [a b; b -a], each the closed-form least-squares solution.
TMatrix FitSimilarity(const std::vector<TPoint>& c, const std::vector<TPoint>& q) {
  double scc = 0.0, plainA = 0.0, plainB = 0.0, mirrorA = 0.0, mirrorB = 0.0, sqq = 0.0;
  for (std::size_t i = 0; i < c.size(); ++i) {
    scc += c[i].Length2();
    sqq += q[i].Length2();
    plainA += c[i].x * q[i].x + c[i].y * q[i].y;
    plainB += c[i].x * q[i].y - c[i].y * q[i].x;
    mirrorA += c[i].x * q[i].x - c[i].y * q[i].y;
    mirrorB += c[i].y * q[i].x + c[i].x * q[i].y;
  }
  const TMatrix plain = Affine(plainA / scc, -plainB / scc, 0.0, plainB / scc, plainA / scc, 0.0);
  const TMatrix mirror =
      Affine(mirrorA / scc, mirrorB / scc, 0.0, mirrorB / scc, -mirrorA / scc, 0.0);
  const bool reflected =
      SumOfSquares(mirror, c, q) < SumOfSquares(plain, c, q) - kMirrorMargin * sqq;
  return reflected ? mirror : plain;
}

// The affine q = A c + t, one row of three unknowns for each coordinate.
bool FitAffine(const std::vector<TPoint>& c, const std::vector<TPoint>& q, TMatrix* h) {
  const std::size_t n = c.size();
  std::vector<double> a(n * 3), bx(n), by(n), rowX, rowY;
  for (std::size_t i = 0; i < n; ++i) {
    a[i * 3] = c[i].x;
    a[i * 3 + 1] = c[i].y;
    a[i * 3 + 2] = 1.0;
    bx[i] = q[i].x;
    by[i] = q[i].y;
  }
  if (!LeastSquares(a, bx, n, 3, &rowX) || !LeastSquares(a, by, n, 3, &rowY)) return false;
  *h = Affine(rowX[0], rowX[1], rowX[2], rowY[0], rowY[1], rowY[2]);
  return true;
}

// The projective q = H(c), h8 = 1: the linear solution of q w = (H c)_xy as a start, then
// Gauss-Newton on the residuals q - H(c) themselves.
const char* FitProjective(const std::vector<TPoint>& c, const std::vector<TPoint>& q,
                          int maxIterations, TMatrix* h) {
  const std::size_t n = c.size();
  std::vector<double> a(2 * n * 8, 0.0), b(2 * n), x;
  for (std::size_t i = 0; i < n; ++i) {
    double* rx = &a[(2 * i) * 8];
    double* ry = &a[(2 * i + 1) * 8];
    rx[0] = ry[3] = c[i].x;
    rx[1] = ry[4] = c[i].y;
    rx[2] = ry[5] = 1.0;
    rx[6] = -c[i].x * q[i].x;
    rx[7] = -c[i].y * q[i].x;
    ry[6] = -c[i].x * q[i].y;
    ry[7] = -c[i].y * q[i].y;
    b[2 * i] = q[i].x;
    b[2 * i + 1] = q[i].y;
  }
  if (!LeastSquares(a, b, 2 * n, 8, &x)) return "global.Err_IntOrDegenerate";
  TMatrix current = {x[0], x[1], x[2], x[3], x[4], x[5], x[6], x[7], 1.0};
  double sum = SumOfSquares(current, c, q);
  bool converged = false;
  for (int iteration = 0; iteration < maxIterations && !converged; ++iteration) {
    // Jacobian of H(c) by h0..h7 and the residual q - H(c); the step solves J d = q - H(c).
    for (std::size_t i = 0; i < n; ++i) {
      const double w = current[6] * c[i].x + current[7] * c[i].y + 1.0;
      const TPoint mapped = Apply(current, c[i]);
      double* rx = &a[(2 * i) * 8];
      double* ry = &a[(2 * i + 1) * 8];
      std::fill(rx, rx + 16, 0.0);
      rx[0] = ry[3] = c[i].x / w;
      rx[1] = ry[4] = c[i].y / w;
      rx[2] = ry[5] = 1.0 / w;
      rx[6] = -c[i].x * mapped.x / w;
      rx[7] = -c[i].y * mapped.x / w;
      ry[6] = -c[i].x * mapped.y / w;
      ry[7] = -c[i].y * mapped.y / w;
      b[2 * i] = q[i].x - mapped.x;
      b[2 * i + 1] = q[i].y - mapped.y;
    }
    if (!LeastSquares(a, b, 2 * n, 8, &x)) return "global.Err_IntOrDegenerate";
    double largestStep = 0.0;
    for (double d : x) largestStep = std::max(largestStep, std::fabs(d));
    double factor = 1.0;
    for (int halving = 0; halving <= kMaxHalvings; ++halving, factor *= 0.5) {
      TMatrix trial = current;
      for (std::size_t k = 0; k < 8; ++k) trial[k] += factor * x[k];
      const double trialSum = SumOfSquares(trial, c, q);
      if (trialSum <= sum || largestStep * factor <= kStepTolerance) {
        current = trial;
        sum = std::min(sum, trialSum);
        break;
      }
    }
    converged = largestStep <= kStepTolerance;
  }
  if (!converged) return "global.Err_IntOrNoConvergence";
  // The plane is not folded between the marks: w keeps the sign it has at their centroid.
  for (const TPoint& p : c) {
    if (!(current[6] * p.x + current[7] * p.y + 1.0 > 0.0)) return "global.Err_IntOrDegenerate";
  }
  *h = current;
  return nullptr;
}

}  // namespace vx_intor_detail
