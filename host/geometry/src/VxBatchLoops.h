#pragma once
// The batch loops of every distortion model, eight points at a time, built on the model's
// displacement kernel: points and grids, forward and inverse, with or without an affine map in
// front (the fusion hooks of TVx2DTransform). Internal to the library.
//
// A kernel is what VxInverseSolver.h describes. Its members may be templates over the number type
// (double, TVec8); a kernel with members for double only runs in the same loops lane by lane
// (TLaneKernel). A kernel that offers a choice of kernels (a model whose kernel depends on which
// coefficients are zero) has
//   template <class Visitor> decltype(auto) Visit(const Visitor& visit) const;
// calling visit(kernel) with the kernel to use, and says so with a member type TChoosesKernel. A
// kernel whose displacement separates into terms of x alone and of y alone (Column, Row, Combine,
// kColumnTerms, kRowTerms: see kernels/VxFormulaKernel.h) maps a grid with the terms of each column
// and each row computed once.
//
// Every lane of every loop gives exactly the bits of the one-point path (ForwardPoint,
// InversePoint): the arithmetic is the same, lane-wise (VxSimd.h).

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <type_traits>
#include <utility>
#include <vector>

#include "VxInverseSolver.h"
#include "VxSimd.h"
#include "VxTransformGrid.h"

namespace vx_geometry_detail {

template <class Kernel, class = void>
struct TVisitsKernels : std::false_type {};
template <class Kernel>
struct TVisitsKernels<Kernel, std::void_t<typename Kernel::TChoosesKernel>> : std::true_type {};

// Calls visit(k) with the kernel that `kernel` stands for: itself, or the one it chooses.
template <class Kernel, class Visitor>
__attribute__((always_inline)) inline decltype(auto) VisitKernel(const Kernel& kernel,
                                                                 const Visitor& visit) {
  if constexpr (TVisitsKernels<Kernel>::value) {
    return kernel.Visit(visit);
  } else {
    return visit(kernel);
  }
}

template <class Kernel, class = void>
struct THasLanes : std::false_type {};
template <class Kernel>
struct THasLanes<Kernel, std::void_t<decltype(std::declval<const Kernel&>().Displace(
                             std::declval<const TVec8&>(), std::declval<const TVec8&>(),
                             std::declval<TVec8&>(), std::declval<TVec8&>()))>> : std::true_type {};

// A kernel for double only, run over the eight lanes one after the other: the loops, the
// inverse's steps and its fallback are those of every model, and each lane is the one-point
// kernel's call.
template <class Kernel>
struct TLaneKernel {
  Kernel kernel;

  void Displace(double x, double y, double& dx, double& dy) const { kernel.Displace(x, y, dx, dy); }
  void Displace(const TVec8& x, const TVec8& y, TVec8& dx, TVec8& dy) const {
    for (std::size_t k = 0; k < kLanes; ++k) {
      double a = 0.0, b = 0.0;
      kernel.Displace(x[k], y[k], a, b);
      dx[k] = a;
      dy[k] = b;
    }
  }
  void Displace(const TVec8x2& x, const TVec8x2& y, TVec8x2& dx, TVec8x2& dy) const {
    Displace(x.a, y.a, dx.a, dy.a);
    Displace(x.b, y.b, dx.b, dy.b);
  }
  // The kernel's Jacobian or its central differences, as the one-point inverse takes them;
  // DisplacementJacobian runs it lane by lane for eight.
  void Jacobian(double x, double y, double& jxx, double& jxy, double& jyx, double& jyy) const {
    DisplacementJacobian(kernel, x, y, jxx, jxy, jyx, jyy);
  }
};

// The kernel as the loops run it: itself when it has eight-lane members, else lane by lane.
template <class Kernel>
auto LoopKernel(const Kernel& kernel) {
  if constexpr (THasLanes<Kernel>::value) {
    return kernel;
  } else {
    return TLaneKernel<Kernel>{kernel};
  }
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

constexpr double kNewtonTolerance2 = kNewtonTolerance * kNewtonTolerance;

// The inverse of eight points in place: the first stage (FixedNewton) in all lanes, then the
// damped solver for the lanes it leaves above the tolerance, as InversePoint does for one point.
template <class Kernel>
__attribute__((always_inline)) inline void Inverse8(const Kernel& kernel, TVec8& x, TVec8& y) {
  TVec8 qx, qy, f2;
  FixedNewton(kernel, x, y, qx, qy, f2);
  // f2 >= 0 in every lane: a sum within the tolerance means every lane converged.
  if (!(LaneSum(f2) <= kNewtonTolerance2)) {
    for (std::size_t k = 0; k < kLanes; ++k) {
      if (f2[k] <= kNewtonTolerance2) continue;
      const vec_t_<double, 2> q = DampedInversePoint(kernel, {x[k], y[k]});
      qx[k] = q.x;
      qy[k] = q.y;
    }
  }
  x = qx;
  y = qy;
}

// The loop body of a batch: the affine map (when kAffine) and the model, forward or inverse,
// for eight points and for one. Each lane of Map8 gives exactly Map1's bits.
template <class Kernel, bool kAffine, bool kInverse>
struct TChain {
  Kernel kernel;
  double affine[6];

  static constexpr bool kInverts = kInverse;

  template <class T>
  __attribute__((always_inline)) void Affine(T& x, T& y) const {
    if constexpr (kAffine) ApplyAffine(affine, x, y);
  }

  __attribute__((always_inline)) void Map8(TVec8& x, TVec8& y) const {
    Affine(x, y);
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
    Affine(x, y);
    if constexpr (kInverse) {
      return InversePoint(kernel, {x, y});
    } else {
      return ForwardPoint(kernel, {x, y});
    }
  }
};

// Marks eight results that are not finite: the lanes of `marks` sum the results, so they stay
// finite while every result is, and a NaN or infinite result makes its lane NaN or infinite for
// good (two additions a vector, where x - x and y - y took four; a sum of finite results that
// overflows only costs a recount). A loop whose marks are not all finite (MarksClean) counts its
// NaN results again, point by point.
__attribute__((always_inline)) inline void MarkNotFinite(const TVec8& x, const TVec8& y,
                                                         TVec8& marks) {
  marks += x + y;
}

// The same for one result, in the first lane.
__attribute__((always_inline)) inline void MarkNotFinite(const vec_t_<double, 2>& q, TVec8& marks) {
  marks[0] += q.x + q.y;
}

// True when no result that the marks took in was NaN or infinite.
__attribute__((always_inline)) inline bool MarksClean(const TVec8& marks) {
  return std::isfinite(LaneSum(marks));
}

// Writes eight results to p[0..8), streaming or not, and marks those that are not finite.
__attribute__((always_inline)) inline void WritePoints(vec_t_<double, 2>* p, const TVec8& x,
                                                       const TVec8& y, bool stream, TVec8& marks) {
  if (stream) {
    StreamPoints(p, x, y);
  } else {
    StorePoints(p, x, y);
  }
  MarkNotFinite(x, y, marks);
}

// The inverse's first pass takes every point through at most this many Newton steps; the points
// it leaves unconverged (a few per cent on a lens with 12 % distortion at the corner, fewer than
// one in a thousand on one with 1 %) are its stragglers, finished by the second pass sixteen at
// a time. Without it, a vector of eight stepped on until its slowest lane converged: in shuffled
// input nearly every vector holds a straggler, and all its lanes paid its extra steps.
constexpr int kFirstPassSteps = 2;
static_assert(kFirstPassSteps < kFixedNewtonSteps, "the second pass continues the first stage");

// The end of a batch loop that mapped the points before `done` in vectors: their NaN results
// counted (point by point only where the marks show a result that is not finite), then the points
// from `done` to n mapped one at a time. Returns the NaN results of all n.
template <class Chain>
__attribute__((always_inline)) inline std::size_t MapTheRest(const Chain& chain,
                                                             const vec_t_<double, 2>* in,
                                                             vec_t_<double, 2>* out,
                                                             std::size_t done, std::size_t n,
                                                             const TVec8& marks) {
  std::size_t nan = MarksClean(marks) ? 0 : CountNaNPoints(out, done);
  for (std::size_t i = done; i < n; ++i) {
    out[i] = chain.Map1(in[i].x, in[i].y);
    if (IsNaNPoint(out[i])) ++nan;
  }
  return nan;
}

// The second pass of the inverse over a batch: it takes the points that the first pass left
// unconverged, with their input p (after the affine map) and, read back from `out`, their q after
// kFirstPassSteps steps, and continues their first stage where it stopped, sixteen at a time,
// then gives the damped solver those that still miss the tolerance: each point gets the bits of
// InversePoint. Results are written over the first pass's; the marks of non-finite results take
// them in. The input is kept here, not read again: `in` may be `out`.
template <class Kernel>
class TInverseStragglers {
 public:
  TInverseStragglers(const Kernel& kernel, vec_t_<double, 2>* out, TVec8& marks)
      : kernel_(kernel), out_(out), marks_(marks) {}

  // Takes the points first .. first + 16 whose f2 is not within the tolerance (NaN included).
  __attribute__((always_inline)) void Add(std::size_t first, const TVec8x2& px, const TVec8x2& py,
                                          const TVec8x2& f2) {
    const unsigned missed = MissedLanes(f2.a) | MissedLanes(f2.b) << kLanes;
    // (Lanes each within the tolerance can sum above it.) A block takes a slot only for a point.
    if (missed == 0) return;
    const std::size_t slot = added_++ % kSlots;
    TBlock& block = blocks_[slot];
    block.first = first;
    std::memcpy(block.px, &px.a, sizeof px.a);
    std::memcpy(block.px + kLanes, &px.b, sizeof px.b);
    std::memcpy(block.py, &py.a, sizeof py.a);
    std::memcpy(block.py + kLanes, &py.b, sizeof py.b);
    // Without a branch per lane (whether a lane converged is not predictable): every lane is
    // written to the next free place, which only an unconverged point keeps.
    for (std::size_t k = 0; k < kBlock; ++k) {
      pending_[count_] = slot * kBlock + k;
      count_ += (missed >> k) & 1u;
    }
    if (count_ >= kBlock) Finish(kBlock);
  }

  // Finishes the pending points, the last ones too.
  __attribute__((always_inline)) void Finish() {
    while (count_ > 0) Finish(count_ < kBlock ? count_ : kBlock);
  }

 private:
  static constexpr std::size_t kBlock = 2 * kLanes;
  // Fewer than kBlock points stay pending after a Finish, from at most kBlock - 1 blocks, each
  // block with one point at least: a block kSlots blocks old has none left when its slot is taken
  // again.
  static constexpr std::size_t kSlots = kBlock;

  struct TBlock {
    double px[kBlock];
    double py[kBlock];
    std::size_t first;
  };

  // Bit k set where lane k of f2 is not within the tolerance: the lanes' weights 2^k summed.
  __attribute__((always_inline)) static unsigned MissedLanes(const TVec8& f2) {
    const TVec8 weights = {1, 2, 4, 8, 16, 32, 64, 128};
    TMask8 missed;
    AboveOrNaN(f2, kNewtonTolerance2, missed);
    TVec8 weighted;
    Select(missed, weights, TVec8{}, weighted);
    return static_cast<unsigned>(LaneSum(weighted));
  }

  // Finishes the first `n` pending points (n <= kBlock; lanes beyond n repeat point 0).
  __attribute__((always_inline)) void Finish(std::size_t n) {
    TVec8x2 px, py, qx, qy, f2;
    Gather(n, 0, px.a, py.a, qx.a, qy.a);
    Gather(n, kLanes, px.b, py.b, qx.b, qy.b);
    NewtonSteps(kernel_, px, py, qx, qy, f2, kFirstPassSteps, kFixedNewtonSteps);
    Scatter(n, 0, px.a, py.a, qx.a, qy.a, f2.a);
    Scatter(n, kLanes, px.b, py.b, qx.b, qy.b, f2.b);
    count_ -= n;
    std::copy(pending_ + n, pending_ + n + count_, pending_);
  }

  __attribute__((always_inline)) std::size_t Index(std::size_t entry) const {
    return blocks_[entry / kBlock].first + entry % kBlock;
  }

  __attribute__((always_inline)) void Gather(std::size_t n, std::size_t first, TVec8& px, TVec8& py,
                                             TVec8& qx, TVec8& qy) const {
    // Lanes gathered in arrays and copied at once (see PerLane).
    double lanes[4][kLanes];
    for (std::size_t k = 0; k < kLanes; ++k) {
      const std::size_t entry = pending_[first + k < n ? first + k : 0];
      const TBlock& block = blocks_[entry / kBlock];
      lanes[0][k] = block.px[entry % kBlock];
      lanes[1][k] = block.py[entry % kBlock];
      const vec_t_<double, 2>& q = out_[Index(entry)];
      lanes[2][k] = q.x;
      lanes[3][k] = q.y;
    }
    std::memcpy(&px, lanes[0], sizeof px);
    std::memcpy(&py, lanes[1], sizeof py);
    std::memcpy(&qx, lanes[2], sizeof qx);
    std::memcpy(&qy, lanes[3], sizeof qy);
  }

  __attribute__((always_inline)) void Scatter(std::size_t n, std::size_t first, const TVec8& px,
                                              const TVec8& py, const TVec8& qx, const TVec8& qy,
                                              const TVec8& f2) {
    for (std::size_t k = 0; k < kLanes && first + k < n; ++k) {
      vec_t_<double, 2> q{qx[k], qy[k]};
      if (!(f2[k] <= kNewtonTolerance2)) q = DampedInversePoint(kernel_, {px[k], py[k]});
      out_[Index(pending_[first + k])] = q;
      MarkNotFinite(q, marks_);
    }
  }

  const Kernel& kernel_;
  vec_t_<double, 2>* out_;
  TVec8& marks_;
  TBlock blocks_[kSlots];
  std::size_t added_ = 0;
  // At most kBlock - 1 left over when kBlock more are added.
  std::size_t pending_[2 * kBlock];
  std::size_t count_ = 0;
};

// The inverse of n points: sixteen at a time through the first pass (TVec8x2), the stragglers
// through TInverseStragglers, the last points one at a time.
template <class Chain>
__attribute__((always_inline)) inline std::size_t MapInversePointsLoop(const Chain& chain,
                                                                       const vec_t_<double, 2>* in,
                                                                       vec_t_<double, 2>* out,
                                                                       std::size_t n) {
  TVec8 marks{};
  TInverseStragglers stragglers(chain.kernel, out, marks);
  constexpr std::size_t kStep = 2 * kLanes;
  std::size_t i = 0;
  for (; i + kStep <= n; i += kStep) {
    TVec8x2 px, py;
    LoadPoints(in + i, px.a, py.a);
    LoadPoints(in + i + kLanes, px.b, py.b);
    chain.Affine(px, py);
    TVec8x2 qx, qy, f2;
    InverseStart(chain.kernel, px, py, qx, qy);
    NewtonSteps(chain.kernel, px, py, qx, qy, f2, 0, kFirstPassSteps);
    // Ordinary stores: see kStreamBytes.
    WritePoints(out + i, qx.a, qy.a, false, marks);
    WritePoints(out + i + kLanes, qx.b, qy.b, false, marks);
    // f2 >= 0 in every lane: a sum within the tolerance means every lane converged.
    if (!(LaneSum(f2.a + f2.b) <= kNewtonTolerance2)) stragglers.Add(i, px, py, f2);
  }
  stragglers.Finish();
  return MapTheRest(chain, in, out, i, n, marks);
}

template <class Chain>
__attribute__((always_inline)) inline std::size_t MapPointsLoop(const Chain& chain,
                                                                const vec_t_<double, 2>* in,
                                                                vec_t_<double, 2>* out,
                                                                std::size_t n) {
  TVec8 marks{};
  std::size_t i = 0;
  for (; i + kLanes <= n; i += kLanes) {
    TVec8 x, y;
    LoadPoints(in + i, x, y);
    chain.Map8(x, y);
    WritePoints(out + i, x, y, /*stream=*/false, marks);  // see kStreamBytes
  }
  return MapTheRest(chain, in, out, i, n, marks);
}

// One row of a grid: the points are generated here, in registers, with the arithmetic of
// TransformGrid's other path: x0 + i dx and y0 + j dy.
template <class Chain>
__attribute__((always_inline)) inline void MapGridRow(const Chain& chain, const TVxPointGrid& grid,
                                                      double yRow, vec_t_<double, 2>* line,
                                                      bool stream, TVec8& marks, std::size_t& nan) {
  const TVec8 offsets = {0, 1, 2, 3, 4, 5, 6, 7};
  std::size_t i = 0;
  for (; i + kLanes <= grid.columns; i += kLanes) {
    // i + k is exact in double, so each lane is x0 + (i + k) dx; y - 0 is y, -0 included.
    TVec8 x = grid.x0 + (static_cast<double>(i) + offsets) * grid.dx;
    TVec8 y = yRow - TVec8{};
    chain.Map8(x, y);
    // Points are 16 bytes: every point of an aligned `out` is aligned.
    WritePoints(line + i, x, y, stream, marks);
  }
  for (; i < grid.columns; ++i) {
    line[i] = chain.Map1(grid.x0 + static_cast<double>(i) * grid.dx, yRow);
    if (IsNaNPoint(line[i])) ++nan;
  }
}

template <class Kernel, class = void>
struct TSeparates : std::false_type {};
template <class Kernel>
struct TSeparates<Kernel, std::void_t<decltype(Kernel::kColumnTerms + Kernel::kRowTerms)>>
    : std::true_type {};

// The grid of a separable kernel applied forward, with no affine map in front or one that moves
// x and y each on its own (a1 = a3 = 0: a shift, a scale, the camera-to-millimetre composite).
// Then x' depends on the column alone and y' on the row alone: the kernel's column terms are
// tabulated once per grid and its row terms computed once per row, and each point only combines
// them (about half the arithmetic of the formula model's kernel), with the kernel's operands in
// the kernel's order: the bits of the one-point path.
//
// The zero that a1 y adds to x' (and a3 x to y') has the sign of y (of x): it changes x' only
// where a0 x + a2 is itself a zero. The column terms are built for the zero of the current row
// (rebuilt when its sign changes); a row where a1 y is NaN, or where a4 y is zero, is left to
// the general loop.
template <class Kernel>
class TSeparableGrid {
 public:
  static constexpr std::size_t kColumnTerms = Kernel::kColumnTerms;
  static constexpr std::size_t kRowTerms = Kernel::kRowTerms;

  TSeparableGrid(const Kernel& kernel, const double* affine, const TVxPointGrid& grid)
      : kernel_(kernel), affine_(affine), grid_(grid), column_(grid.columns) {
    for (std::size_t i = 0; i < grid.columns; ++i) {
      column_[i] = grid.x0 + static_cast<double>(i) * grid.dx;
      finite_ = finite_ && std::isfinite(column_[i]);
    }
  }

  // False when the affine map does not separate.
  static bool Applies(const double* affine) {
    return affine == nullptr || (affine[1] == 0.0 && affine[3] == 0.0);
  }
  // False when a column is not finite: then the grid takes the general loop.
  bool Finite() const { return finite_; }

  // Maps row `yRow` into `line`; false (nothing written) for a row the general loop must map.
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
    double row[kRowTerms];
    kernel_.Row(yp, row);
    const std::size_t columns = grid_.columns;
    std::size_t i = 0;
    for (; i + kLanes <= columns; i += kLanes) {
      TVec8 column[kColumnTerms];
      LoadColumnTerms(i, column, std::make_index_sequence<kColumnTerms>());
      TVec8 xp, dx, dy;
      std::memcpy(&xp, &xp_[i], sizeof xp);
      kernel_.Combine(column, row, dx, dy);
      WritePoints(line + i, xp + dx, yp + dy, stream, marks);
    }
    for (; i < columns; ++i) {
      double column[kColumnTerms];
      for (std::size_t t = 0; t < kColumnTerms; ++t) column[t] = terms_[t * columns + i];
      double dx = 0.0, dy = 0.0;
      kernel_.Combine(column, row, dx, dy);
      line[i] = {xp_[i] + dx, yp + dy};
      if (IsNaNPoint(line[i])) ++nan;
    }
    return true;
  }

 private:
  // Term t of the columns i..i+7 into column[t], for every t at once: with the terms named by
  // constants, the compiler leaves out the loads of terms that the kernel does not combine.
  template <std::size_t... t>
  __attribute__((always_inline)) void LoadColumnTerms(std::size_t i, TVec8* column,
                                                      std::index_sequence<t...>) const {
    const double* terms = terms_.data();
    const std::size_t columns = grid_.columns;
    (std::memcpy(&column[t], terms + t * columns + i, sizeof(TVec8)), ...);
  }

  // The column terms for x' = (a0 x + zero) + a2, or x' = x without an affine map; term t of
  // column i at terms_[t * columns + i].
  void Build(double zero, int sign) {
    const std::size_t columns = grid_.columns;
    xp_.resize(columns);
    terms_.resize(kColumnTerms * columns);
    for (std::size_t i = 0; i < columns; ++i) {
      const double xp =
          affine_ != nullptr ? affine_[0] * column_[i] + zero + affine_[2] : column_[i];
      xp_[i] = xp;
      double column[kColumnTerms];
      kernel_.Column(xp, column);
      for (std::size_t t = 0; t < kColumnTerms; ++t) terms_[t * columns + i] = column[t];
    }
    builtSign_ = sign;
  }

  Kernel kernel_;
  const double* affine_;
  const TVxPointGrid& grid_;
  std::vector<double> column_;
  bool finite_ = true;
  int builtSign_ = -1;
  std::vector<double> xp_;
  std::vector<double> terms_;
};

// The grid of a kernel that does not separate, or of a grid that the separable form does not
// serve: every row through the general loop.
struct TNoSeparableGrid {
  bool Row(double, vec_t_<double, 2>*, bool, TVec8&, std::size_t&) { return false; }
};

// Rows through the separable grid where it serves, the others through the general loop of the
// same chain.
template <class Chain, class Separable>
__attribute__((always_inline)) inline std::size_t MapGridLoop(const Chain& chain,
                                                              const TVxPointGrid& grid,
                                                              vec_t_<double, 2>* out,
                                                              Separable* separable) {
  TVec8 marks{};
  std::size_t nan = 0;
  const bool stream = UseStreamingStores(out, grid.rows * grid.columns);
  for (std::size_t row = 0; row < grid.rows; ++row) {
    const double y = grid.y0 + static_cast<double>(row) * grid.dy;
    vec_t_<double, 2>* line = out + row * grid.columns;
    if (separable != nullptr && separable->Row(y, line, stream, marks, nan)) continue;
    MapGridRow(chain, grid, y, line, stream, marks, nan);
  }
  if (stream) EndStreaming();
  if (MarksClean(marks)) return nan;
  return CountNaNPoints(out, grid.rows * grid.columns);
}

// Calls loop(chain) with the chain for the kernel, the affine map in front (null: none) and the
// sense. Chains are built as locals of the cloned functions, so that the compiler sees that
// results written to `out` cannot change the coefficients.
template <class Kernel, class Loop>
__attribute__((always_inline)) inline std::size_t WithChain(const Kernel& kernel,
                                                            const double* affine, bool inverse,
                                                            const Loop& loop) {
  const auto chain = [&](auto affineTag, auto inverseTag) __attribute__((always_inline)) {
    TChain<Kernel, decltype(affineTag)::value, decltype(inverseTag)::value> c{kernel, {}};
    if (affine != nullptr) std::copy(affine, affine + 6, c.affine);
    return loop(c);
  };
  using std::false_type;
  using std::true_type;
  if (affine != nullptr) {
    return inverse ? chain(true_type{}, true_type{}) : chain(true_type{}, false_type{});
  }
  return inverse ? chain(false_type{}, true_type{}) : chain(false_type{}, false_type{});
}

// The batch functions of a model's kernel, compiled for each instruction set (VX_BATCH_CLONES).
// `affine` is the map in front of the model, null for none.
template <class Kernel>
struct TBatch {
  VX_BATCH_CLONES
  static std::size_t Points(const Kernel& model, const double* affine, bool inverse,
                            const vec_t_<double, 2>* in, vec_t_<double, 2>* out, std::size_t n) {
    // The loops are inlined here, so that they are compiled for this clone's instruction set.
    return VisitKernel(
        model, [&](const auto& kernel) __attribute__((always_inline)) {
          return WithChain(
              LoopKernel(kernel), affine,
              inverse, [&](const auto& chain) __attribute__((always_inline)) {
                if constexpr (std::decay_t<decltype(chain)>::kInverts) {
                  return MapInversePointsLoop(chain, in, out, n);
                } else {
                  return MapPointsLoop(chain, in, out, n);
                }
              });
        });
  }

  VX_BATCH_CLONES
  static std::size_t Grid(const Kernel& model, const double* affine, bool inverse,
                          const TVxPointGrid& grid, vec_t_<double, 2>* out) {
    return VisitKernel(
        model, [&](const auto& kernel) __attribute__((always_inline)) {
          using TKernel = std::decay_t<decltype(kernel)>;
          return WithChain(
              LoopKernel(kernel), affine,
              inverse, [&](const auto& chain) __attribute__((always_inline)) {
                if constexpr (TSeparates<TKernel>::value) {
                  if (!inverse && TSeparableGrid<TKernel>::Applies(affine)) {
                    TSeparableGrid<TKernel> separable(kernel, affine, grid);
                    if (separable.Finite()) return MapGridLoop(chain, grid, out, &separable);
                  }
                }
                return MapGridLoop(chain, grid, out, static_cast<TNoSeparableGrid*>(nullptr));
              });
        });
  }
};

}  // namespace vx_geometry_detail
