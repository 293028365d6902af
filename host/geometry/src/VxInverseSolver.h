#pragma once
// The one numerical inverse of every distortion model, for one point and (its first stage) for
// eight. Internal to the library; the batch loops are in VxBatchLoops.h.
//
// A kernel is any type with
//   void Displace(double x, double y, double& dx, double& dy) const;
// giving the displacement d(p) at the point p = (x, y); the model maps p to p + d(p).
// A kernel may also have
//   void Jacobian(double x, double y, double& jxx, double& jxy, double& jyx, double& jyy) const;
// giving the partial derivatives of d (jxy = d(dx)/dy), for double or also for TVec8; the
// inverse then uses them instead of differences. A kernel whose members are templates over the
// number type (double, or the eight-lane TVec8 of VxSimd.h) runs the batch loops eight points at a
// time.
//
// The inverse runs in two stages. First a start (the kernel's own, or a fixed number of
// fixed-point steps) and at most kFixedNewtonSteps plain Newton steps, each point stopping at its
// first step within kNewtonTolerance (the same arithmetic for one point and for eight lanes). The
// few points that do not get there (strong distortion far out, no preimage, NaN input) are solved
// again from the start by damped Newton, which decides between a result and NaN.

#include <cmath>
#include <cstddef>
#include <limits>
#include <type_traits>
#include <utility>

#include "VxSimd.h"
#include "VxVec.h"

namespace vx_geometry_detail {

// Newton stops once |model(q) - p| is below 1e-12 mm: a hundredth of a nanometre, far below
// the noise of any scanner or sensor, and still above the rounding of coordinates of 200 mm.
constexpr double kNewtonTolerance = 1e-12;
// When rounding keeps the residual above kNewtonTolerance, a residual up to 1e-10 mm (the
// accuracy the inverse promises) is accepted; anything larger is a failure.
constexpr double kAcceptTolerance = 1e-10;
// Newton converges in 2 to 5 steps on real distortions; 50 leaves room for strong ones.
constexpr int kMaxIterations = 50;
// Step halvings of the damping: 2^-30 of a Newton step is below any useful move.
constexpr int kMaxHalvings = 30;
// The Jacobian is I + dd/dp. Where a kernel has no Jacobian of its own, dd/dp comes from
// central differences of the displacement over 1e-3 mm: the truncation error h^2 d'''/6 stays below
// 1e-9 of the derivative for any real distortion, and differencing the small displacement (not the
// point) keeps rounding at about 1e-13. An inexact Jacobian only slows Newton; the residual decides
// convergence.
constexpr double kJacobianStep = 1e-3;
// A Jacobian determinant below this means the model folds the plane here: no inverse.
constexpr double kMinJacobianDet = 1e-9;
// Without a start of the kernel's own, the first stage starts with fixed-point steps
// q = p - d(q) from q = p, which cost one evaluation of the displacement each and shrink the error
// by the factor |d'|; then plain Newton steps, which square its relative size. On a DMC frame, with
// two fixed-point steps, one Newton step reaches kNewtonTolerance for a distortion of 1 % of the
// radius and three for 12 % (12 mm at the corner). Points that still miss it go to the damped
// solver.
constexpr int kFixedPointSteps = 2;
constexpr int kFixedNewtonSteps = 3;

template <class Kernel, class T, class = void>
struct THasJacobian : std::false_type {};
template <class Kernel, class T>
struct THasJacobian<Kernel, T,
                    std::void_t<decltype(std::declval<const Kernel&>().Jacobian(
                        std::declval<const T&>(), std::declval<const T&>(), std::declval<T&>(),
                        std::declval<T&>(), std::declval<T&>(), std::declval<T&>()))>>
    : std::true_type {};

// The partial derivatives of the displacement at (x, y): the kernel's own (for eight lanes, its
// one-point Jacobian lane by lane where it has no other), or central differences.
template <class Kernel, class T>
inline void DisplacementJacobian(const Kernel& kernel, const T& x, const T& y, T& jxx, T& jxy,
                                 T& jyx, T& jyy) {
  if constexpr (THasJacobian<Kernel, T>::value) {
    kernel.Jacobian(x, y, jxx, jxy, jyx, jyy);
  } else if constexpr (THasJacobian<Kernel, double>::value) {
    for (std::size_t k = 0; k < kLanes; ++k) {
      double a = 0.0, b = 0.0, c = 0.0, d = 0.0;
      kernel.Jacobian(x[k], y[k], a, b, c, d);
      jxx[k] = a;
      jxy[k] = b;
      jyx[k] = c;
      jyy[k] = d;
    }
  } else {
    constexpr double h = kJacobianStep;
    T dxp{}, dyp{}, dxm{}, dym{};
    kernel.Displace(x + h, y, dxp, dyp);
    kernel.Displace(x - h, y, dxm, dym);
    jxx = (dxp - dxm) / (2.0 * h);
    jyx = (dyp - dym) / (2.0 * h);
    kernel.Displace(x, y + h, dxp, dyp);
    kernel.Displace(x, y - h, dxm, dym);
    jxy = (dxp - dxm) / (2.0 * h);
    jyy = (dyp - dym) / (2.0 * h);
  }
}

// Sixteen points: the kernel's own Jacobian for pairs, or the one for eight on each vector.
template <class Kernel>
inline void DisplacementJacobian(const Kernel& kernel, const TVec8x2& x, const TVec8x2& y,
                                 TVec8x2& jxx, TVec8x2& jxy, TVec8x2& jyx, TVec8x2& jyy) {
  if constexpr (THasJacobian<Kernel, TVec8x2>::value) {
    kernel.Jacobian(x, y, jxx, jxy, jyx, jyy);
  } else {
    DisplacementJacobian(kernel, x.a, y.a, jxx.a, jxy.a, jyx.a, jyy.a);
    DisplacementJacobian(kernel, x.b, y.b, jxx.b, jxy.b, jyx.b, jyy.b);
  }
}

template <class Kernel>
inline vec_t_<double, 2> ForwardPoint(const Kernel& kernel, const vec_t_<double, 2>& p) {
  double dx = 0.0;
  double dy = 0.0;
  kernel.Displace(p.x, p.y, dx, dy);
  return {p.x + dx, p.y + dy};
}

// Which points of a step have converged: all of them, or not (then `done` marks the converged
// lanes). One point is all or none.
enum class TConverged { kAll, kNotAll };

inline TConverged Converged(double f2, bool& done) {
  done = f2 <= kNewtonTolerance * kNewtonTolerance;
  return done ? TConverged::kAll : TConverged::kNotAll;
}

// Keeps the converged points where they are: q = next except in the lanes of `done`.
inline void KeepConverged(double& q, const double& next, bool /*done*/) {
  q = next;
}

// The mask of the lanes within the tolerance (a NaN lane is not).
__attribute__((always_inline)) inline void ConvergedLanes(const TVec8& f2, TMask8& done) {
  AboveOrNaN(f2, kNewtonTolerance * kNewtonTolerance, done);
  done = ~done;
}

// Converged for eight lanes, without a branch per lane: a mask of the converged lanes
// (AboveOrNaN) and a select keep them. Their sum within the tolerance shows that all converged
// (f2 >= 0 in every lane; NaN in any lane makes the sum NaN), and then no mask is needed.
__attribute__((always_inline)) inline TConverged Converged(const TVec8& f2, TMask8& done) {
  if (LaneSum(f2) <= kNewtonTolerance * kNewtonTolerance) return TConverged::kAll;
  ConvergedLanes(f2, done);
  return TConverged::kNotAll;
}

__attribute__((always_inline)) inline void KeepConverged(TVec8& q, const TVec8& next,
                                                         const TMask8& done) {
  Select(done, q, next, q);
}

// Two vectors: all converged when both are (the sum of their lane sums), else a mask each.
__attribute__((always_inline)) inline TConverged Converged(const TVec8x2& f2, TMask8x2& done) {
  if (LaneSum(f2.a + f2.b) <= kNewtonTolerance * kNewtonTolerance) return TConverged::kAll;
  ConvergedLanes(f2.a, done.a);
  ConvergedLanes(f2.b, done.b);
  return TConverged::kNotAll;
}

__attribute__((always_inline)) inline void KeepConverged(TVec8x2& q, const TVec8x2& next,
                                                         const TMask8x2& done) {
  KeepConverged(q.a, next.a, done.a);
  KeepConverged(q.b, next.b, done.b);
}

template <class Kernel, class T, class = void>
struct THasInverseStart : std::false_type {};
template <class Kernel, class T>
struct THasInverseStart<Kernel, T,
                        std::void_t<decltype(std::declval<const Kernel&>().InverseStart(
                            std::declval<const T&>(), std::declval<const T&>(), std::declval<T&>(),
                            std::declval<T&>()))>> : std::true_type {};

// Where the inverse of p starts: the kernel's own start (an inversion of its radial polynomial,
// say) where it has one, else kFixedPointSteps fixed-point steps q = p - d(q) from q = p.
template <class Kernel, class T>
__attribute__((always_inline)) inline void InverseStart(const Kernel& kernel, const T& px,
                                                        const T& py, T& qx, T& qy) {
  if constexpr (THasInverseStart<Kernel, T>::value) {
    kernel.InverseStart(px, py, qx, qy);
  } else {
    T dx{}, dy{};
    kernel.Displace(px, py, dx, dy);
    qx = px - dx;
    qy = py - dy;
    for (int step = 1; step < kFixedPointSteps; ++step) {
      kernel.Displace(qx, qy, dx, dy);
      qx = px - dx;
      qy = py - dy;
    }
  }
}

// Newton steps of the first stage from q, the point reached after `firstStep` steps, for one
// point (T = double), eight (TVec8) or sixteen (TVec8x2): at each step the residual, then a stop
// at step `lastStep` or where |q + d(q) - p| <= kNewtonTolerance, else a step. A point stops at its
// own first converged step, in a batch as alone: the batch steps on while any of its points has
// not converged and leaves the converged ones in place. So a point's steps can be split between
// calls (0 to k, then k to kFixedNewtonSteps) and give the same bits. Gives q and the squared
// residual f2 = |q + d(q) - p|^2 at q, NaN where a step divided by a zero determinant or the input
// was not finite.
template <class Kernel, class T>
__attribute__((always_inline)) inline void NewtonSteps(const Kernel& kernel, const T& px,
                                                       const T& py, T& qx, T& qy, T& f2,
                                                       int firstStep, int lastStep) {
  for (int step = firstStep;; ++step) {
    T dx{}, dy{};
    kernel.Displace(qx, qy, dx, dy);
    const T fx = qx + dx - px;
    const T fy = qy + dy - py;
    f2 = fx * fx + fy * fy;
    if (step == lastStep) return;
    TMaskOf<T> done{};
    if (Converged(f2, done) == TConverged::kAll) return;
    T jxx{}, jxy{}, jyx{}, jyy{};
    DisplacementJacobian(kernel, qx, qy, jxx, jxy, jyx, jyy);
    const T j00 = 1.0 + jxx;
    const T j11 = 1.0 + jyy;
    // One division for both coordinates.
    const T inverseDet = 1.0 / (j00 * j11 - jxy * jyx);
    const T nx = qx - (j11 * fx - jxy * fy) * inverseDet;
    const T ny = qy - (j00 * fy - jyx * fx) * inverseDet;
    KeepConverged(qx, nx, done);
    KeepConverged(qy, ny, done);
  }
}

// The first stage of the inverse: from the start (InverseStart), at most kFixedNewtonSteps
// Newton steps (NewtonSteps).
template <class Kernel, class T>
__attribute__((always_inline)) inline void FixedNewton(const Kernel& kernel, const T& px,
                                                       const T& py, T& qx, T& qy, T& f2) {
  InverseStart(kernel, px, py, qx, qy);
  NewtonSteps(kernel, px, py, qx, qy, f2, 0, kFixedNewtonSteps);
}

// Solves q + d(q) = p by damped Newton, starting from the fixed-point guess p - d(p).
// Returns q with |q + d(q) - p| <= kAcceptTolerance, or NaN in both coordinates.
template <class Kernel>
vec_t_<double, 2> DampedInversePoint(const Kernel& kernel, const vec_t_<double, 2>& p) {
  constexpr double nan = std::numeric_limits<double>::quiet_NaN();
  if (!std::isfinite(p.x) || !std::isfinite(p.y)) return {nan, nan};

  double dx = 0.0;
  double dy = 0.0;
  kernel.Displace(p.x, p.y, dx, dy);
  double qx = p.x - dx;
  double qy = p.y - dy;
  kernel.Displace(qx, qy, dx, dy);
  double fx = qx + dx - p.x;
  double fy = qy + dy - p.y;
  double f2 = fx * fx + fy * fy;

  for (int iteration = 0; iteration < kMaxIterations; ++iteration) {
    if (f2 <= kNewtonTolerance * kNewtonTolerance) return {qx, qy};

    double jxx = 0.0, jxy = 0.0, jyx = 0.0, jyy = 0.0;
    DisplacementJacobian(kernel, qx, qy, jxx, jxy, jyx, jyy);
    const double j00 = 1.0 + jxx;
    const double j01 = jxy;
    const double j10 = jyx;
    const double j11 = 1.0 + jyy;
    const double det = j00 * j11 - j01 * j10;
    if (!(std::abs(det) > kMinJacobianDet)) break;
    const double sx = -(j11 * fx - j01 * fy) / det;
    const double sy = -(j00 * fy - j10 * fx) / det;

    // Damping: halve the step until the residual decreases.
    bool decreased = false;
    double t = 1.0;
    for (int halving = 0; halving < kMaxHalvings; ++halving, t *= 0.5) {
      const double nx = qx + t * sx;
      const double ny = qy + t * sy;
      kernel.Displace(nx, ny, dx, dy);
      const double gx = nx + dx - p.x;
      const double gy = ny + dy - p.y;
      const double g2 = gx * gx + gy * gy;
      if (g2 < f2) {
        qx = nx;
        qy = ny;
        fx = gx;
        fy = gy;
        f2 = g2;
        decreased = true;
        break;
      }
    }
    if (!decreased) break;
  }
  if (f2 <= kAcceptTolerance * kAcceptTolerance) return {qx, qy};
  return {nan, nan};
}

// The inverse of one point: q with q + d(q) = p, |q + d(q) - p| <= kAcceptTolerance, or NaN.
// The fixed Newton steps, and the damped solver where they do not reach kNewtonTolerance.
// The batch loops produce exactly this, lane by lane.
template <class Kernel>
vec_t_<double, 2> InversePoint(const Kernel& kernel, const vec_t_<double, 2>& p) {
  double qx = 0.0, qy = 0.0, f2 = 0.0;
  FixedNewton(kernel, p.x, p.y, qx, qy, f2);
  if (f2 <= kNewtonTolerance * kNewtonTolerance) return {qx, qy};
  return DampedInversePoint(kernel, p);
}

inline std::size_t CountNaNPoints(const vec_t_<double, 2>* points, std::size_t n) {
  std::size_t count = 0;
  for (std::size_t i = 0; i < n; ++i) {
    if (std::isnan(points[i].x) || std::isnan(points[i].y)) ++count;
  }
  return count;
}

}  // namespace vx_geometry_detail
