#include "VxFormulaDistortion.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

#include "VxInverseSolver.h"
#include "VxSimd.h"
#include "VxTransformGrid.h"

namespace {

using vx_geometry_detail::TVec8;

// The displacement of the formula model; the formula stands in the header. Templates over the
// number type: double for one point, TVec8 for eight (see VxSimd.h). kTerms leaves out terms
// whose coefficients are all zero (see Terms): kBrownTerms the terms of k4, k5 and the profile
// (1 + p3 r^2 + p4 r^4), which leaves the radial, decentering and in-plane terms of most
// calibrations with a quarter less arithmetic; kRadialDecentering also the in-plane terms (the
// model of OpenCV and of most close-range calibrations). One-point and batch paths choose alike.
constexpr int kAllTerms = 0;
constexpr int kBrownTerms = 1;
constexpr int kRadialDecentering = 2;

template <int kTerms>
struct TFormulaKernel {
  static constexpr bool kBrown = kTerms != kAllTerms;
  static constexpr bool kInPlane = kTerms != kRadialDecentering;

  explicit TFormulaKernel(const TFormulaDistortion::TDistCoeff& c) : c_(c) {}

  // (Results through references: vectors are never passed by value, whose ABI differs between
  // the instruction sets.)
  template <class T>
  __attribute__((always_inline)) void Radial(const T& r2, T& radial) const {
    if constexpr (kBrown) {
      radial = r2 * (c_.k1 + r2 * (c_.k2 + r2 * c_.k3));
    } else {
      radial = r2 * (c_.k1 + r2 * (c_.k2 + r2 * (c_.k3 + r2 * (c_.k4 + r2 * c_.k5))));
    }
  }

  template <class T>
  __attribute__((always_inline)) void Displace(const T& px, const T& py, T& dx, T& dy) const {
    const T x = px - c_.centre.x;
    const T y = py - c_.centre.y;
    const T r2 = x * x + y * y;
    T radial;
    Radial(r2, radial);
    const T tx = c_.p1 * (r2 + 2.0 * x * x) + 2.0 * c_.p2 * x * y;
    const T ty = c_.p2 * (r2 + 2.0 * y * y) + 2.0 * c_.p1 * x * y;
    if constexpr (!kInPlane) {
      dx = x * radial + tx;
      dy = y * radial + ty;
    } else if constexpr (kBrown) {
      dx = x * radial + tx + c_.b1 * x + c_.b2 * y;
      dy = y * radial + ty + c_.a1 * x + c_.a2 * y;
    } else {
      const T profile = 1.0 + r2 * (c_.p3 + r2 * c_.p4);
      dx = x * radial + profile * tx + c_.b1 * x + c_.b2 * y;
      dy = y * radial + profile * ty + c_.a1 * x + c_.a2 * y;
    }
  }

  // The partial derivatives of the displacement.
  template <class T>
  __attribute__((always_inline)) void Jacobian(const T& px, const T& py, T& jxx, T& jxy, T& jyx,
                                               T& jyy) const {
    const T x = px - c_.centre.x;
    const T y = py - c_.centre.y;
    const T r2 = x * x + y * y;
    T radial;
    Radial(r2, radial);
    const T txx = 6.0 * c_.p1 * x + 2.0 * c_.p2 * y;
    const T txy = 2.0 * c_.p1 * y + 2.0 * c_.p2 * x;
    const T tyx = 2.0 * c_.p2 * x + 2.0 * c_.p1 * y;
    const T tyy = 6.0 * c_.p2 * y + 2.0 * c_.p1 * x;
    if constexpr (kBrown) {
      // d(radial)/d(r^2); d(r^2)/dx = 2x.
      const T radial1 = c_.k1 + r2 * (2.0 * c_.k2 + r2 * (3.0 * c_.k3));
      if constexpr (kInPlane) {
        jxx = radial + 2.0 * x * x * radial1 + txx + c_.b1;
        jxy = 2.0 * x * y * radial1 + txy + c_.b2;
        jyx = 2.0 * x * y * radial1 + tyx + c_.a1;
        jyy = radial + 2.0 * y * y * radial1 + tyy + c_.a2;
      } else {
        jxx = radial + 2.0 * x * x * radial1 + txx;
        jxy = 2.0 * x * y * radial1 + txy;
        jyx = 2.0 * x * y * radial1 + tyx;
        jyy = radial + 2.0 * y * y * radial1 + tyy;
      }
    } else {
      // d(radial)/d(r^2) and d(profile)/d(r^2); d(r^2)/dx = 2x.
      const T radial1 =
          c_.k1 + r2 * (2.0 * c_.k2 + r2 * (3.0 * c_.k3 + r2 * (4.0 * c_.k4 + r2 * 5.0 * c_.k5)));
      const T profile = 1.0 + r2 * (c_.p3 + r2 * c_.p4);
      const T profile1 = c_.p3 + 2.0 * r2 * c_.p4;
      const T tx = c_.p1 * (r2 + 2.0 * x * x) + 2.0 * c_.p2 * x * y;
      const T ty = c_.p2 * (r2 + 2.0 * y * y) + 2.0 * c_.p1 * x * y;
      jxx = radial + 2.0 * x * x * radial1 + 2.0 * x * profile1 * tx + profile * txx + c_.b1;
      jxy = 2.0 * x * y * radial1 + 2.0 * y * profile1 * tx + profile * txy + c_.b2;
      jyx = 2.0 * x * y * radial1 + 2.0 * x * profile1 * ty + profile * tyx + c_.a1;
      jyy = radial + 2.0 * y * y * radial1 + 2.0 * y * profile1 * ty + profile * tyy + c_.a2;
    }
  }

  // A copy, so that the compiler knows that writing results cannot change it.
  TFormulaDistortion::TDistCoeff c_;
};

// The kernel for the coefficients: the shortest that leaves out only zero coefficients.
int Terms(const TFormulaDistortion::TDistCoeff& c) {
  if (!(c.k4 == 0.0 && c.k5 == 0.0 && c.p3 == 0.0 && c.p4 == 0.0)) return kAllTerms;
  if (c.b1 == 0.0 && c.b2 == 0.0 && c.a1 == 0.0 && c.a2 == 0.0) return kRadialDecentering;
  return kBrownTerms;
}

// The affine map in front of the model, (a0 x + a1 y + a2, a3 x + a4 y + a5), written exactly as
// TAffineTransform::TransformPoint writes it.
template <class T>
__attribute__((always_inline)) inline void ApplyAffine(const double* a, T& x, T& y) {
  const T ax = a[0] * x + a[1] * y + a[2];
  const T ay = a[3] * x + a[4] * y + a[5];
  x = ax;
  y = ay;
}

constexpr double kNewtonTolerance2 =
    vx_geometry_detail::kNewtonTolerance * vx_geometry_detail::kNewtonTolerance;

// The inverse of eight points in place: the first stage (FixedNewton) in all lanes, then the
// damped solver for the lanes it leaves above the tolerance, as InversePoint does for one point.
template <class Kernel>
__attribute__((always_inline)) inline void Inverse8(const Kernel& kernel, TVec8& x, TVec8& y) {
  constexpr std::size_t lanes = vx_geometry_detail::kLanes;
  TVec8 qx, qy, f2;
  vx_geometry_detail::FixedNewton(kernel, x, y, qx, qy, f2);
  // f2 >= 0 in every lane: a sum within the tolerance means every lane converged.
  if (!(vx_geometry_detail::LaneSum(f2) <= kNewtonTolerance2)) {
    double f2s[lanes];
    vx_geometry_detail::StoreLanes(f2s, f2);
    double px[lanes], py[lanes], rx[lanes], ry[lanes];
    vx_geometry_detail::StoreLanes(px, x);
    vx_geometry_detail::StoreLanes(py, y);
    vx_geometry_detail::StoreLanes(rx, qx);
    vx_geometry_detail::StoreLanes(ry, qy);
    for (std::size_t k = 0; k < lanes; ++k) {
      if (f2s[k] <= kNewtonTolerance2) continue;
      const vec_t_<double, 2> q = vx_geometry_detail::DampedInversePoint(kernel, {px[k], py[k]});
      rx[k] = q.x;
      ry[k] = q.y;
    }
    std::memcpy(&qx, rx, sizeof qx);
    std::memcpy(&qy, ry, sizeof qy);
  }
  x = qx;
  y = qy;
}

// The loop body of a batch: the affine map (when kAffine) and the model, forward or inverse,
// for eight points and for one. Each lane of Map8 gives exactly Map1's bits.
template <int kTerms, bool kAffine, bool kInverse>
struct TFormulaChain {
  static constexpr bool kInPlane = TFormulaKernel<kTerms>::kInPlane;
  TFormulaKernel<kTerms> kernel;
  double affine[6];

  __attribute__((always_inline)) void Map8(TVec8& x, TVec8& y) const {
    if constexpr (kAffine) ApplyAffine(affine, x, y);
    if constexpr (kInverse) {
      Inverse8(kernel, x, y);
    } else {
      TVec8 dx, dy;
      kernel.Displace(x, y, dx, dy);
      x = x + dx;
      y = y + dy;
    }
  }

  vec_t_<double, 2> Map1(double x, double y) const {
    if constexpr (kAffine) ApplyAffine(affine, x, y);
    if constexpr (kInverse) {
      return vx_geometry_detail::InversePoint(kernel, {x, y});
    } else {
      return vx_geometry_detail::ForwardPoint(kernel, {x, y});
    }
  }
};

// Marks eight results that are not finite: x - x is 0 for a finite x and NaN otherwise, so the
// lanes of `marks` stay 0 until a result is NaN or infinite. A loop whose marks are not all 0
// counts its NaN results again, point by point.
__attribute__((always_inline)) inline void MarkNotFinite(const TVec8& x, const TVec8& y,
                                                         TVec8& marks) {
  marks += (x - x) + (y - y);
}

template <class Chain>
__attribute__((always_inline)) inline std::size_t MapPointsLoop(const Chain& chain,
                                                                const vec_t_<double, 2>* in,
                                                                vec_t_<double, 2>* out,
                                                                std::size_t n) {
  constexpr std::size_t lanes = vx_geometry_detail::kLanes;
  TVec8 marks{};
  const bool stream = vx_geometry_detail::UseStreamingStores(out, n);
  std::size_t i = 0;
  for (; i + lanes <= n; i += lanes) {
    TVec8 x, y;
    vx_geometry_detail::LoadPoints(in + i, x, y);
    chain.Map8(x, y);
    if (stream) {
      vx_geometry_detail::StreamPoints(out + i, x, y);
    } else {
      vx_geometry_detail::StorePoints(out + i, x, y);
    }
    MarkNotFinite(x, y, marks);
  }
  if (stream) vx_geometry_detail::EndStreaming();
  std::size_t nan =
      vx_geometry_detail::LaneSum(marks) == 0.0 ? 0 : vx_geometry_detail::CountNaNPoints(out, i);
  for (; i < n; ++i) {
    out[i] = chain.Map1(in[i].x, in[i].y);
    if (IsNaNPoint(out[i])) ++nan;
  }
  return nan;
}

// One row of a grid: the points are generated here, in registers, with the arithmetic of
// TransformGrid's other path: x0 + i dx and y0 + j dy.
template <class Chain>
__attribute__((always_inline)) inline void MapGridRow(const Chain& chain, const TVxPointGrid& grid,
                                                      double yRow, vec_t_<double, 2>* line,
                                                      bool stream, TVec8& marks, std::size_t& nan) {
  constexpr std::size_t lanes = vx_geometry_detail::kLanes;
  const TVec8 offsets = {0, 1, 2, 3, 4, 5, 6, 7};
  std::size_t i = 0;
  for (; i + lanes <= grid.columns; i += lanes) {
    // i + k is exact in double, so each lane is x0 + (i + k) dx; y - 0 is y, -0 included.
    TVec8 x = grid.x0 + (static_cast<double>(i) + offsets) * grid.dx;
    TVec8 y = yRow - TVec8{};
    chain.Map8(x, y);
    // Points are 16 bytes: every point of an aligned `out` is aligned.
    if (stream) {
      vx_geometry_detail::StreamPoints(line + i, x, y);
    } else {
      vx_geometry_detail::StorePoints(line + i, x, y);
    }
    MarkNotFinite(x, y, marks);
  }
  for (; i < grid.columns; ++i) {
    line[i] = chain.Map1(grid.x0 + static_cast<double>(i) * grid.dx, yRow);
    if (IsNaNPoint(line[i])) ++nan;
  }
}

// The grid of a Brown model applied forward, with no affine map in front or one that moves x
// and y each on its own (a1 = a3 = 0: a shift, a scale, the camera-to-millimetre composite).
// Then x' depends on the column alone and y' on the row alone, and every term of the formula
// that depends on one of them alone is computed once per column or once per row, with the
// kernel's operands in the kernel's order: the same bits as the one-point path, with 24 vector
// operations a point instead of 46.
//
// The zero that a1 y adds to x' (and a3 x to y') has the sign of y (of x): it changes x' only
// where a0 x + a2 is itself a zero. The column tables are built for the zero of the current row
// (rebuilt when its sign changes); a row where a1 y is NaN, or where a4 y is zero, is left to
// the general loop.
class TSeparableBrownGrid {
 public:
  TSeparableBrownGrid(const TFormulaDistortion::TDistCoeff& c, const double* affine,
                      const TVxPointGrid& grid)
      : c_(c), affine_(affine), grid_(grid), column_(grid.columns) {
    for (std::size_t i = 0; i < grid.columns; ++i) {
      column_[i] = grid.x0 + static_cast<double>(i) * grid.dx;
      finite_ = finite_ && std::isfinite(column_[i]);
    }
  }

  // False when the model or the affine map does not separate, or a column is not finite.
  static bool Applies(const TFormulaDistortion::TDistCoeff& c, const double* affine) {
    return Terms(c) != kAllTerms && !c.inverse &&
           (affine == nullptr || (affine[1] == 0.0 && affine[3] == 0.0));
  }
  bool Finite() const { return finite_; }

  // Maps row `yRow` into `line`; false (nothing written) for a row the general loop must map.
  template <bool kInPlane>
  __attribute__((always_inline)) bool Row(double yRow, vec_t_<double, 2>* line, bool stream,
                                          TVec8& marks, std::size_t& nan) {
    double yp = yRow;
    if (affine_ != nullptr) {
      const double zero = affine_[1] * yRow;  // +0 or -0, or NaN
      if (!(zero == 0.0)) return false;
      const double a4y = affine_[4] * yRow;
      if (a4y == 0.0) return false;
      yp = a4y + affine_[5];  // (a3 x + a4 y) + a5 with a3 x a zero and a4 y not
      const int sign = std::signbit(zero) ? 1 : 0;
      if (sign != builtSign_) Build(zero, sign);
    } else if (builtSign_ < 0) {
      Build(0.0, 0);
    }
    const double y = yp - c_.centre.y;
    const double yy = y * y;
    const double y2y = 2.0 * y * y;
    const double b2y = c_.b2 * y;
    const double a2y = c_.a2 * y;
    constexpr std::size_t lanes = vx_geometry_detail::kLanes;
    std::size_t i = 0;
    for (; i + lanes <= grid_.columns; i += lanes) {
      TVec8 x, xx, x2x, p2x, p1x, b1x, a1x, xp;
      std::memcpy(&x, &x_[i], sizeof x);
      std::memcpy(&xx, &xx_[i], sizeof xx);
      std::memcpy(&x2x, &x2x_[i], sizeof x2x);
      std::memcpy(&p2x, &p2x_[i], sizeof p2x);
      std::memcpy(&p1x, &p1x_[i], sizeof p1x);
      std::memcpy(&b1x, &b1x_[i], sizeof b1x);
      std::memcpy(&a1x, &a1x_[i], sizeof a1x);
      std::memcpy(&xp, &xp_[i], sizeof xp);
      // The kernel's Displace, term by term.
      const TVec8 r2 = xx + yy;
      const TVec8 radial = r2 * (c_.k1 + r2 * (c_.k2 + r2 * c_.k3));
      const TVec8 tx = c_.p1 * (r2 + x2x) + p2x * y;
      const TVec8 ty = c_.p2 * (r2 + y2y) + p1x * y;
      TVec8 dx, dy;
      if constexpr (kInPlane) {
        dx = x * radial + tx + b1x + b2y;
        dy = y * radial + ty + a1x + a2y;
      } else {
        dx = x * radial + tx;
        dy = y * radial + ty;
      }
      const TVec8 outX = xp + dx;
      const TVec8 outY = yp + dy;
      if (stream) {
        vx_geometry_detail::StreamPoints(line + i, outX, outY);
      } else {
        vx_geometry_detail::StorePoints(line + i, outX, outY);
      }
      MarkNotFinite(outX, outY, marks);
    }
    for (; i < grid_.columns; ++i) {
      const double x = x_[i];
      const double r2 = xx_[i] + yy;
      const double radial = r2 * (c_.k1 + r2 * (c_.k2 + r2 * c_.k3));
      const double tx = c_.p1 * (r2 + x2x_[i]) + p2x_[i] * y;
      const double ty = c_.p2 * (r2 + y2y) + p1x_[i] * y;
      if constexpr (kInPlane) {
        line[i] = {xp_[i] + (x * radial + tx + b1x_[i] + b2y),
                   yp + (y * radial + ty + a1x_[i] + a2y)};
      } else {
        line[i] = {xp_[i] + (x * radial + tx), yp + (y * radial + ty)};
      }
      if (IsNaNPoint(line[i])) ++nan;
    }
    return true;
  }

 private:
  // The column terms for x' = (a0 x + zero) + a2, or x' = x without an affine map.
  void Build(double zero, int sign) {
    const std::size_t n = grid_.columns;
    for (auto* v : {&xp_, &x_, &xx_, &x2x_, &p2x_, &p1x_, &b1x_, &a1x_}) v->resize(n);
    for (std::size_t i = 0; i < n; ++i) {
      const double xp =
          affine_ != nullptr ? affine_[0] * column_[i] + zero + affine_[2] : column_[i];
      const double x = xp - c_.centre.x;
      xp_[i] = xp;
      x_[i] = x;
      xx_[i] = x * x;
      x2x_[i] = 2.0 * x * x;
      p2x_[i] = 2.0 * c_.p2 * x;
      p1x_[i] = 2.0 * c_.p1 * x;
      b1x_[i] = c_.b1 * x;
      a1x_[i] = c_.a1 * x;
    }
    builtSign_ = sign;
  }

  TFormulaDistortion::TDistCoeff c_;
  const double* affine_;
  const TVxPointGrid& grid_;
  std::vector<double> column_;
  bool finite_ = true;
  int builtSign_ = -1;
  std::vector<double> xp_, x_, xx_, x2x_, p2x_, p1x_, b1x_, a1x_;
};

template <class Chain>
__attribute__((always_inline)) inline std::size_t MapGridLoop(const Chain& chain,
                                                              const TVxPointGrid& grid,
                                                              vec_t_<double, 2>* out,
                                                              TSeparableBrownGrid* separable) {
  TVec8 marks{};
  std::size_t nan = 0;
  const bool stream = vx_geometry_detail::UseStreamingStores(out, grid.rows * grid.columns);
  for (std::size_t row = 0; row < grid.rows; ++row) {
    const double y = grid.y0 + static_cast<double>(row) * grid.dy;
    vec_t_<double, 2>* line = out + row * grid.columns;
    if (separable != nullptr &&
        separable->template Row<Chain::kInPlane>(y, line, stream, marks, nan)) {
      continue;
    }
    MapGridRow(chain, grid, y, line, stream, marks, nan);
  }
  if (stream) vx_geometry_detail::EndStreaming();
  if (vx_geometry_detail::LaneSum(marks) == 0.0) return nan;
  return vx_geometry_detail::CountNaNPoints(out, grid.rows * grid.columns);
}

// What a batch does, gathered from the model and the affine map in front of it. Chains are
// built as locals of the cloned functions, so that the compiler sees that results written to
// `out` cannot change the coefficients.
struct TFormulaBatch {
  TFormulaDistortion::TDistCoeff coefficients;
  double affine[6];
  bool hasAffine;
};

TFormulaBatch MakeBatch(const TFormulaDistortion& model, const std::array<double, 6>* first) {
  TFormulaBatch batch{model.Coefficients(), {1.0, 0.0, 0.0, 0.0, 1.0, 0.0}, first != nullptr};
  if (first != nullptr) std::copy(first->begin(), first->end(), batch.affine);
  return batch;
}

template <int kTerms, bool kAffine, bool kInverse>
TFormulaChain<kTerms, kAffine, kInverse> MakeChain(const TFormulaBatch& batch) {
  TFormulaChain<kTerms, kAffine, kInverse> chain{TFormulaKernel<kTerms>(batch.coefficients), {}};
  std::copy(batch.affine, batch.affine + 6, chain.affine);
  return chain;
}

// Calls loop(chain) with the chain of the batch's options.
template <int kTerms, class Loop>
__attribute__((always_inline)) inline std::size_t DispatchTerms(const TFormulaBatch& batch,
                                                                const Loop& loop) {
  const bool inverse = batch.coefficients.inverse;
  if (batch.hasAffine) {
    return inverse ? loop(MakeChain<kTerms, true, true>(batch))
                   : loop(MakeChain<kTerms, true, false>(batch));
  }
  return inverse ? loop(MakeChain<kTerms, false, true>(batch))
                 : loop(MakeChain<kTerms, false, false>(batch));
}

template <class Loop>
__attribute__((always_inline)) inline std::size_t Dispatch(const TFormulaBatch& batch,
                                                           const Loop& loop) {
  switch (Terms(batch.coefficients)) {
    case kRadialDecentering:
      return DispatchTerms<kRadialDecentering>(batch, loop);
    case kBrownTerms:
      return DispatchTerms<kBrownTerms>(batch, loop);
    default:
      return DispatchTerms<kAllTerms>(batch, loop);
  }
}

VX_BATCH_CLONES
std::size_t MapFormulaPoints(const TFormulaBatch& batch, const vec_t_<double, 2>* in,
                             vec_t_<double, 2>* out, std::size_t n) {
  // The loop is inlined here, so that it is compiled for this clone's instruction set.
  return Dispatch(
      batch, [&](const auto& chain)
                 __attribute__((always_inline)) { return MapPointsLoop(chain, in, out, n); });
}

VX_BATCH_CLONES
std::size_t MapFormulaGrid(const TFormulaBatch& batch, const TVxPointGrid& grid,
                           vec_t_<double, 2>* out) {
  const double* affine = batch.hasAffine ? batch.affine : nullptr;
  if (TSeparableBrownGrid::Applies(batch.coefficients, affine)) {
    TSeparableBrownGrid separable(batch.coefficients, affine, grid);
    // Rows that do not separate go through the general loop of the same (forward Brown) chain.
    if (separable.Finite()) {
      if (Terms(batch.coefficients) == kRadialDecentering) {
        return batch.hasAffine ? MapGridLoop(MakeChain<kRadialDecentering, true, false>(batch),
                                             grid, out, &separable)
                               : MapGridLoop(MakeChain<kRadialDecentering, false, false>(batch),
                                             grid, out, &separable);
      }
      return batch.hasAffine
                 ? MapGridLoop(MakeChain<kBrownTerms, true, false>(batch), grid, out, &separable)
                 : MapGridLoop(MakeChain<kBrownTerms, false, false>(batch), grid, out, &separable);
    }
  }
  return Dispatch(
      batch, [&](const auto& chain)
                 __attribute__((always_inline)) { return MapGridLoop(chain, grid, out, nullptr); });
}

}  // namespace

TFormulaDistortion::TFormulaDistortion(const TDistCoeff& coefficients) : c_(coefficients) {}

TFormulaDistortion::TFormulaDistortion(const vec_t_<double, 2>& centre, double k1, double k2,
                                       double k3, double k4, double k5, double p1, double p2,
                                       double p3, double p4, bool inverse) {
  c_.centre = centre;
  c_.k1 = k1;
  c_.k2 = k2;
  c_.k3 = k3;
  c_.k4 = k4;
  c_.k5 = k5;
  c_.p1 = p1;
  c_.p2 = p2;
  c_.p3 = p3;
  c_.p4 = p4;
  c_.inverse = inverse;
}

std::unique_ptr<TVx2DTransform> TFormulaDistortion::Clone() const {
  return std::unique_ptr<TVx2DTransform>(new TFormulaDistortion(*this));
}

std::size_t TFormulaDistortion::TransformPoints(const vec_t_<double, 2>* in, vec_t_<double, 2>* out,
                                                std::size_t n) const {
  return MapFormulaPoints(MakeBatch(*this, nullptr), in, out, n);
}

bool TFormulaDistortion::TransformPointsAfter(const std::array<double, 6>* first,
                                              const vec_t_<double, 2>* in, vec_t_<double, 2>* out,
                                              std::size_t n, std::size_t* nanCount) const {
  *nanCount = MapFormulaPoints(MakeBatch(*this, first), in, out, n);
  return true;
}

bool TFormulaDistortion::TransformGridAfter(const std::array<double, 6>* first,
                                            const TVxPointGrid& grid, vec_t_<double, 2>* out,
                                            std::size_t* nanCount) const {
  *nanCount = MapFormulaGrid(MakeBatch(*this, first), grid, out);
  return true;
}

const char* TFormulaDistortion::Name() const {
  return "formula distortion";
}

bool TFormulaDistortion::IsIdentity() const {
  return c_.k1 == 0.0 && c_.k2 == 0.0 && c_.k3 == 0.0 && c_.k4 == 0.0 && c_.k5 == 0.0 &&
         c_.p1 == 0.0 && c_.p2 == 0.0 && c_.b1 == 0.0 && c_.b2 == 0.0 && c_.a1 == 0.0 &&
         c_.a2 == 0.0;
}

vec_t_<double, 2> TFormulaDistortion::TransformPoint(const vec_t_<double, 2>& p) const {
  const int terms = Terms(c_);
  if (terms == kRadialDecentering) {
    const TFormulaKernel<kRadialDecentering> kernel(c_);
    return c_.inverse ? vx_geometry_detail::InversePoint(kernel, p)
                      : vx_geometry_detail::ForwardPoint(kernel, p);
  }
  if (terms == kBrownTerms) {
    const TFormulaKernel<kBrownTerms> kernel(c_);
    return c_.inverse ? vx_geometry_detail::InversePoint(kernel, p)
                      : vx_geometry_detail::ForwardPoint(kernel, p);
  }
  const TFormulaKernel<kAllTerms> kernel(c_);
  return c_.inverse ? vx_geometry_detail::InversePoint(kernel, p)
                    : vx_geometry_detail::ForwardPoint(kernel, p);
}
