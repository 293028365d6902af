#pragma once
// Eight points at a time: a vector of eight doubles (GCC and Clang vector extension) and the
// loads and stores that split interleaved x, y arrays into an x vector and a y vector. Internal
// to the library.
//
// The kernels are templates over their number type: instantiated with double they are the
// one-point path, with TVec8 the batch path. Vector arithmetic is lane-wise IEEE arithmetic, and
// the library is built with -ffp-contract=off (no fused multiply-add in either instantiation),
// so every lane gives exactly the bits of the one-point path, whatever instruction set the
// batch function was compiled for (see VX_BATCH_CLONES).

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "VxVec.h"

#if defined(__x86_64__)
#include <emmintrin.h>
#endif

namespace vx_geometry_detail {

// Points per vector. Eight doubles fill one AVX-512 register, two AVX2 registers, or four SSE2
// registers: the compiler splits the vector for the instruction set of each clone.
constexpr std::size_t kLanes = 8;

typedef double TVec8 __attribute__((vector_size(64)));
// The result of comparing two TVec8: all bits set in the lanes where the comparison holds.
typedef decltype(TVec8{} < TVec8{}) TMask8;
// A lane mask of the number type: bool for one point, TMask8 for eight.
template <class T>
struct TMaskOfType {
  typedef bool type;
};
template <>
struct TMaskOfType<TVec8> {
  typedef TMask8 type;
};
template <class T>
using TMaskOf = typename TMaskOfType<T>::type;

static_assert(sizeof(vec_t_<double, 2>) == 2 * sizeof(double), "points are two packed doubles");

// Two vectors of eight, a and b, stepping together: every operation is two independent vector
// operations, issued one after the other. A chain of dependent operations (the inverse's start,
// residual, Newton step and check, some 200 cycles long) then has a second chain beside it to
// fill the cycles that the first one waits, which the processor's reordering cannot reach across
// loop iterations that long. Lane-wise arithmetic as TVec8: the same bits.
struct TVec8x2 {
  TVec8 a, b;
};
struct TMask8x2 {
  TMask8 a, b;
};
template <>
struct TMaskOfType<TVec8x2> {
  typedef TMask8x2 type;
};

#define VX_PAIR_OPERATOR(op)                                                                      \
  __attribute__((always_inline)) inline TVec8x2 operator op(const TVec8x2& u, const TVec8x2& v) { \
    return {u.a op v.a, u.b op v.b};                                                              \
  }                                                                                               \
  __attribute__((always_inline)) inline TVec8x2 operator op(const TVec8x2& u, double v) {         \
    return {u.a op v, u.b op v};                                                                  \
  }                                                                                               \
  __attribute__((always_inline)) inline TVec8x2 operator op(double u, const TVec8x2& v) {         \
    return {u op v.a, u op v.b};                                                                  \
  }
VX_PAIR_OPERATOR(+)
VX_PAIR_OPERATOR(-)
VX_PAIR_OPERATOR(*)
VX_PAIR_OPERATOR(/)
#undef VX_PAIR_OPERATOR

__attribute__((always_inline)) inline TVec8x2& operator+=(TVec8x2& u, const TVec8x2& v) {
  u = u + v;
  return u;
}
__attribute__((always_inline)) inline TVec8x2& operator+=(TVec8x2& u, double v) {
  u = u + v;
  return u;
}

// x and y of the points p[0..8).
__attribute__((always_inline)) inline void LoadPoints(const vec_t_<double, 2>* p, TVec8& x,
                                                      TVec8& y) {
  TVec8 a;
  TVec8 b;
  std::memcpy(&a, p, sizeof a);
  std::memcpy(&b, p + 4, sizeof b);
  x = __builtin_shufflevector(a, b, 0, 2, 4, 6, 8, 10, 12, 14);
  y = __builtin_shufflevector(a, b, 1, 3, 5, 7, 9, 11, 13, 15);
}

// Writes the points (x[k], y[k]) to p[0..8).
__attribute__((always_inline)) inline void StorePoints(vec_t_<double, 2>* p, const TVec8& x,
                                                       const TVec8& y) {
  const TVec8 a = __builtin_shufflevector(x, y, 0, 8, 1, 9, 2, 10, 3, 11);
  const TVec8 b = __builtin_shufflevector(x, y, 4, 12, 5, 13, 6, 14, 7, 15);
  // vec_t_ is standard-layout: two doubles, no padding (checked below).
  std::memcpy(static_cast<void*>(p), &a, sizeof a);
  std::memcpy(static_cast<void*>(p + 4), &b, sizeof b);
}

// Grids at least this large are written with streaming stores, which bypass the caches: the
// processor then writes each cache line of the result once instead of first reading it. Below
// it the result is likely to be read again soon and is better left in the cache. Batches of
// points, which read as much as they write, use ordinary stores at any size: measured on a
// Zen 4 core, streaming stores made the camera-to-millimetre batch of 10^7 points 1.3 times
// slower (1.65 against 1.30 ns a point) and that of 10^6 points too (1.48 against 1.15), while
// a grid of 10^8 points written with them takes 0.95 ns a point against 1.47 without.
constexpr std::size_t kStreamBytes = std::size_t{16} << 20;

// True when the n points at `out` are written with StreamPoints.
inline bool UseStreamingStores(const vec_t_<double, 2>* out, std::size_t n) {
#if defined(__x86_64__)
  return n * sizeof(vec_t_<double, 2>) >= kStreamBytes &&
         reinterpret_cast<std::uintptr_t>(out) % 16 == 0;
#else
  (void)out;
  (void)n;
  return false;
#endif
}

// StorePoints with streaming stores; `p` is 16-byte aligned. A loop that used it ends with
// EndStreaming().
__attribute__((always_inline)) inline void StreamPoints(vec_t_<double, 2>* p, const TVec8& x,
                                                        const TVec8& y) {
#if defined(__x86_64__)
  typedef double TVec2 __attribute__((vector_size(16)));
  double* d = &p->x;
  _mm_stream_pd(d + 0, TVec2(__builtin_shufflevector(x, y, 0, 8)));
  _mm_stream_pd(d + 2, TVec2(__builtin_shufflevector(x, y, 1, 9)));
  _mm_stream_pd(d + 4, TVec2(__builtin_shufflevector(x, y, 2, 10)));
  _mm_stream_pd(d + 6, TVec2(__builtin_shufflevector(x, y, 3, 11)));
  _mm_stream_pd(d + 8, TVec2(__builtin_shufflevector(x, y, 4, 12)));
  _mm_stream_pd(d + 10, TVec2(__builtin_shufflevector(x, y, 5, 13)));
  _mm_stream_pd(d + 12, TVec2(__builtin_shufflevector(x, y, 6, 14)));
  _mm_stream_pd(d + 14, TVec2(__builtin_shufflevector(x, y, 7, 15)));
#else
  StorePoints(p, x, y);
#endif
}

// Orders the streaming stores before any later store.
inline void EndStreaming() {
#if defined(__x86_64__)
  _mm_sfence();
#endif
}

// The lanes' bits as unsigned integers, for the masks below.
typedef unsigned long long TBits8 __attribute__((vector_size(64)));

// All bits set in the lanes where !(v <= t), NaN included; zero in the others. Computed with
// integer operations on the bits, not a vector comparison: GCC lowers a comparison (and a select)
// of eight doubles lane by lane, with a scalar compare and a branch each, in the clones whose
// registers hold four doubles or two. Measured on the inverse: the AVX2 clone 10 % faster (38
// against 34 ns a point), the AVX-512 clone unchanged. t - v has its sign bit set where v > t; a
// NaN has its own test, as the sign of t - NaN is not defined: its magnitude exceeds that of
// infinity.
__attribute__((always_inline)) inline void AboveOrNaN(const TVec8& v, double t, TMask8& mask) {
  const TBits8 difference = __builtin_bit_cast(TBits8, TVec8{} + t - v);
  const TBits8 magnitude = __builtin_bit_cast(TBits8, v) & 0x7FFFFFFFFFFFFFFFull;
  const TBits8 nan = (0x7FF0000000000000ull - magnitude) >> 63;
  const TBits8 above = (difference >> 63) | nan;
  mask = __builtin_bit_cast(TMask8, TBits8{} - above);
}

// result = a in the lanes of `mask`, b in the others, bit for bit.
__attribute__((always_inline)) inline void Select(const TMask8& mask, const TVec8& a,
                                                  const TVec8& b, TVec8& result) {
  const TBits8 m = __builtin_bit_cast(TBits8, mask);
  const TBits8 bits = (__builtin_bit_cast(TBits8, a) & m) | (__builtin_bit_cast(TBits8, b) & ~m);
  result = __builtin_bit_cast(TVec8, bits);
}

// The sum of the eight lanes (a tree of three shuffles and adds). It answers "are all lanes
// within t" without a vector comparison, which GCC lowers lane by lane in the clones whose
// registers are narrower than eight doubles (measured in the AVX2 clone: a compare and a blend
// cost ten times their arithmetic there; the AVX-512 clone does them in a few instructions). The
// sum of lanes that are all >= 0 is <= t only if every lane is <= t, and it is NaN if any lane is
// NaN.
__attribute__((always_inline)) inline double LaneSum(const TVec8& v) {
  const TVec8 a = v + __builtin_shufflevector(v, v, 4, 5, 6, 7, 0, 1, 2, 3);
  const TVec8 b = a + __builtin_shufflevector(a, a, 2, 3, 0, 1, 6, 7, 4, 5);
  const TVec8 c = b + __builtin_shufflevector(b, b, 1, 0, 3, 2, 5, 4, 7, 6);
  return c[0];
}

// Lane-wise helpers for kernels whose arithmetic is not all vector arithmetic (a square root, a
// table lookup): each has a double form for the one-point path and a TVec8 form that does the
// same lane by lane, so every lane gets the double form's bits.

// The square root, correctly rounded in every lane as std::sqrt.
__attribute__((always_inline)) inline void Sqrt(const double& v, double& root) {
  root = std::sqrt(v);
}
__attribute__((always_inline)) inline void Sqrt(const TVec8& v, TVec8& root) {
  for (std::size_t k = 0; k < kLanes; ++k) root[k] = std::sqrt(v[k]);
}

// result = f(v) in every lane.
template <class F>
__attribute__((always_inline)) inline void PerLane(const double& v, double& result, const F& f) {
  result = f(v);
}
template <class F>
__attribute__((always_inline)) inline void PerLane(const TVec8& v, TVec8& result, const F& f) {
  // Lanes gathered in an array and copied at once: GCC takes a vector written lane by lane for
  // one read before it is written.
  double lanes[kLanes];
  for (std::size_t k = 0; k < kLanes; ++k) lanes[k] = f(v[k]);
  std::memcpy(&result, lanes, sizeof result);
}

// Sets `value` to zero in the lanes where `where` is zero.
__attribute__((always_inline)) inline void ZeroWhereZero(const double& where, double& value) {
  if (where == 0.0) value = 0.0;
}
__attribute__((always_inline)) inline void ZeroWhereZero(const TVec8& where, TVec8& value) {
  for (std::size_t k = 0; k < kLanes; ++k) {
    if (where[k] == 0.0) value[k] = 0.0;
  }
}

// The same for a pair: each vector on its own.
__attribute__((always_inline)) inline void Sqrt(const TVec8x2& v, TVec8x2& root) {
  Sqrt(v.a, root.a);
  Sqrt(v.b, root.b);
}
template <class F>
__attribute__((always_inline)) inline void PerLane(const TVec8x2& v, TVec8x2& result, const F& f) {
  PerLane(v.a, result.a, f);
  PerLane(v.b, result.b, f);
}
__attribute__((always_inline)) inline void ZeroWhereZero(const TVec8x2& where, TVec8x2& value) {
  ZeroWhereZero(where.a, value.a);
  ZeroWhereZero(where.b, value.b);
}

}  // namespace vx_geometry_detail

// The instruction sets of the batch functions: one shared library runs everywhere and uses
// AVX2 or AVX-512 where the processor has them (GCC and Clang pick the clone at load time).
// VX_NO_BATCH_CLONES builds a single, baseline version.
#if defined(__x86_64__) && !defined(VX_NO_BATCH_CLONES)
#define VX_BATCH_CLONES __attribute__((target_clones("default", "avx2", "avx512f")))
#else
#define VX_BATCH_CLONES
#endif
