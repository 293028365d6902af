// What bounds the forward batch loop: the loop of the camera-to-millimetre batch (a shift, then
// the formula model with decentering, eight points a vector), compiled for AVX-512, with
//  - the full affine map in front, the shift written with two multiplications fewer (which gives
//    the same bits), and no map at all, on 4096 points in the first-level cache;
//  - ordinary stores and 64-byte aligned streaming stores, on 10^7 points, beside a plain copy
//    loop and copies with 16- and 64-byte streaming stores of the same bytes.
// The results decided what the library does (docs/performance.md, "Limits"): the shift form
// gains nothing outside the noise, and streaming stores, which gain in the bare loop, gained
// nothing in the library's own batch call (BM_LargeLibraryBatch), so neither is built.
// On a processor without AVX-512 every case reports an error and measures nothing.
//
//   VxForwardLoop_benchmark --benchmark_repetitions=3

#include <benchmark/benchmark.h>
#include <immintrin.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

#include "VxBatchLoops.h"
#include "VxGeometry.h"
#include "kernels/VxFormulaKernel.h"

namespace {

using namespace vx_geometry_detail;
using TPoint = vec_t_<double, 2>;
using TKernel = TFormulaKernel<kRadialDecentering>;

constexpr double kShift[6] = {1.0, 0.0, -0.003, 0.0, 1.0, 0.002};

// The moderate lens of bench/vs_peers: f = 120 mm, k1 = -0.01, k2 = 0.003, p1 = 2e-5,
// p2 = -1e-5 in OpenCV's normalised coordinates.
TFormulaDistortion::TDistCoeff Coefficients() {
  constexpr double f = 120.0;
  TFormulaDistortion::TDistCoeff c;
  c.centre = {0.003, -0.002};
  c.k1 = -0.01 / (f * f);
  c.k2 = 0.003 / std::pow(f, 4);
  c.p1 = -1e-5 / f;
  c.p2 = 2e-5 / f;
  return c;
}

TKernel Kernel() {
  return TKernel(Coefficients());
}

// The shift as x + (a1 y + a2) and (a3 x + a5) + y: with a0 = a4 = 1 the bits of the full map.
struct TShiftChain {
  TChain<TKernel, false, false> model;
  double a[6];

  __attribute__((always_inline)) void Map8(TVec8& x, TVec8& y) const {
    const TVec8 sx = x + (a[1] * y + a[2]);
    const TVec8 sy = (a[3] * x + a[5]) + y;
    x = sx;
    y = sy;
    model.Map8(x, y);
  }
  TPoint Map1(double x, double y) const {
    return model.Map1(x + (a[1] * y + a[2]), (a[3] * x + a[5]) + y);
  }
};

template <class Chain>
__attribute__((target("avx512f"), noinline)) void MapPlain(const Chain& chain, const TPoint* in,
                                                           TPoint* out, std::size_t n) {
  for (std::size_t i = 0; i + kLanes <= n; i += kLanes) {
    TVec8 x, y;
    LoadPoints(in + i, x, y);
    chain.Map8(x, y);
    StorePoints(out + i, x, y);
  }
}

// The first points one at a time until `out` is aligned to 64 bytes, then two full cache lines
// of results a vector with streaming stores.
template <class Chain>
__attribute__((target("avx512f"), noinline)) void MapStreaming(const Chain& chain, const TPoint* in,
                                                               TPoint* out, std::size_t n) {
  std::size_t i = 0;
  for (; i < n && reinterpret_cast<std::uintptr_t>(out + i) % 64 != 0; ++i) {
    out[i] = chain.Map1(in[i].x, in[i].y);
  }
  for (; i + kLanes <= n; i += kLanes) {
    TVec8 x, y;
    LoadPoints(in + i, x, y);
    chain.Map8(x, y);
    const TVec8 a = __builtin_shufflevector(x, y, 0, 8, 1, 9, 2, 10, 3, 11);
    const TVec8 b = __builtin_shufflevector(x, y, 4, 12, 5, 13, 6, 14, 7, 15);
    _mm512_stream_pd(&out[i].x, __m512d(a));
    _mm512_stream_pd(&out[i + 4].x, __m512d(b));
  }
  _mm_sfence();
}

__attribute__((noinline)) void CopyPlain(const TPoint* in, TPoint* out, std::size_t n) {
  for (std::size_t i = 0; i < n; ++i) out[i] = in[i];
}

__attribute__((noinline)) void CopyStreaming16(const TPoint* in, TPoint* out, std::size_t n) {
  for (std::size_t i = 0; i < n; ++i) _mm_stream_pd(&out[i].x, _mm_loadu_pd(&in[i].x));
  _mm_sfence();
}

__attribute__((target("avx512f"), noinline)) void CopyStreaming64(const TPoint* in, TPoint* out,
                                                                  std::size_t n) {
  std::size_t i = 0;
  for (; i < n && reinterpret_cast<std::uintptr_t>(out + i) % 64 != 0; ++i) out[i] = in[i];
  for (; i + 4 <= n; i += 4) _mm512_stream_pd(&out[i].x, _mm512_loadu_pd(&in[i].x));
  for (; i < n; ++i) out[i] = in[i];
  _mm_sfence();
}

// n points over a DMC frame (92.16 x 165.888 mm) in a scattered order.
std::vector<TPoint> Points(std::size_t n) {
  std::vector<TPoint> points(n);
  for (std::size_t i = 0; i < n; ++i) {
    const double u = static_cast<double>((i * 7919u) % 1000u) / 999.0;
    const double v = static_cast<double>((i * 104729u) % 1000u) / 999.0;
    points[i] = {-46.08 + 92.16 * u, -82.944 + 165.888 * v};
  }
  return points;
}

bool HasAvx512(benchmark::State& state) {
  if (__builtin_cpu_supports("avx512f")) return true;
  state.SkipWithError("this processor has no AVX-512");
  return false;
}

template <class Run>
void Measure(benchmark::State& state, std::size_t n, const Run& run) {
  if (!HasAvx512(state)) return;
  const std::vector<TPoint> in = Points(n);
  std::vector<TPoint> out(n);
  for (auto _ : state) {
    run(in.data(), out.data(), n);
    benchmark::DoNotOptimize(out.data());
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(n));
}

constexpr std::size_t kInCache = 4096;
constexpr std::size_t kLarge = 10'000'000;

void BM_InCacheFullAffine(benchmark::State& state) {
  TChain<TKernel, true, false> chain{Kernel(), {}};
  std::memcpy(chain.affine, kShift, sizeof kShift);
  Measure(state, kInCache, [&](auto... a) { MapPlain(chain, a...); });
}

void BM_InCacheShiftForm(benchmark::State& state) {
  TShiftChain chain{{Kernel(), {}}, {}};
  std::memcpy(chain.a, kShift, sizeof kShift);
  if (!HasAvx512(state)) return;
  // The shift form must give the full map's bits, or its time means nothing.
  TChain<TKernel, true, false> full{Kernel(), {}};
  std::memcpy(full.affine, kShift, sizeof kShift);
  const std::vector<TPoint> in = Points(kInCache);
  std::vector<TPoint> a(kInCache), b(kInCache);
  MapPlain(full, in.data(), a.data(), kInCache);
  MapPlain(chain, in.data(), b.data(), kInCache);
  if (std::memcmp(a.data(), b.data(), kInCache * sizeof(TPoint)) != 0) {
    state.SkipWithError("the shift form does not give the full map's bits");
    return;
  }
  Measure(state, kInCache, [&](auto... p) { MapPlain(chain, p...); });
}

void BM_InCacheNoMap(benchmark::State& state) {
  const TChain<TKernel, false, false> chain{Kernel(), {}};
  Measure(state, kInCache, [&](auto... a) { MapPlain(chain, a...); });
}

void BM_LargeOrdinaryStores(benchmark::State& state) {
  TChain<TKernel, true, false> chain{Kernel(), {}};
  std::memcpy(chain.affine, kShift, sizeof kShift);
  Measure(state, kLarge, [&](auto... a) { MapPlain(chain, a...); });
}

void BM_LargeStreamingStores(benchmark::State& state) {
  TChain<TKernel, true, false> chain{Kernel(), {}};
  std::memcpy(chain.affine, kShift, sizeof kShift);
  Measure(state, kLarge, [&](auto... a) { MapStreaming(chain, a...); });
}

// The library's own batch call on the same points: the composite of the shift and the model.
std::unique_ptr<TCombinedTransform> LibraryCamera() {
  auto camera = std::make_unique<TCombinedTransform>();
  camera->AddTransform(
      TAffineTransform(kShift[0], kShift[1], kShift[2], kShift[3], kShift[4], kShift[5]));
  camera->AddTransform(TFormulaDistortion(Coefficients()));
  return camera;
}

void BM_InCacheLibraryBatch(benchmark::State& state) {
  const auto camera = LibraryCamera();
  Measure(state, kInCache, [&](auto... a) { camera->TransformPoints(a...); });
}

void BM_LargeLibraryBatch(benchmark::State& state) {
  const auto camera = LibraryCamera();
  Measure(state, kLarge, [&](auto... a) { camera->TransformPoints(a...); });
}

void BM_LargeCopyLoop(benchmark::State& state) {
  Measure(state, kLarge, CopyPlain);
}

void BM_LargeCopyStreaming16(benchmark::State& state) {
  Measure(state, kLarge, CopyStreaming16);
}

void BM_LargeCopyStreaming64(benchmark::State& state) {
  Measure(state, kLarge, CopyStreaming64);
}

BENCHMARK(BM_InCacheFullAffine);
BENCHMARK(BM_InCacheShiftForm);
BENCHMARK(BM_InCacheNoMap);
BENCHMARK(BM_InCacheLibraryBatch);
BENCHMARK(BM_LargeOrdinaryStores)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LargeStreamingStores)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LargeLibraryBatch)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LargeCopyLoop)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LargeCopyStreaming16)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LargeCopyStreaming64)->Unit(benchmark::kMillisecond);

}  // namespace
