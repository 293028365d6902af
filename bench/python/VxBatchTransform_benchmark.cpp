// The batch call of the camera-to-millimetre transform and of its inverse on 10^7 points of the
// RC10 formula camera: into an array allocated outside the timed loop (what `out=` does in
// Python), and into a new block each time (what a new NumPy array is: 160 MB of pages that the
// kernel maps on first touch, inside the timed loop). The points are the grid
// that bench/python/transform_benchmark.py builds, so the Python module's time on the same
// points divided by this one is the cost of going through Python.

#include <benchmark/benchmark.h>
#include <sys/mman.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <new>
#include <string>

#include "VxCameraMath.h"
#include "VxXIni.h"

namespace {

constexpr std::size_t kPoints = 10'000'000;
// A square grid of side kSide over the 230 mm film frame, row by row: point i lies at column
// i % kSide and row i / kSide (the Python script builds the same).
constexpr std::size_t kSide = 3163;
constexpr double kHalfFormat = 115.0;
// NumPy asks the kernel for transparent huge pages on every array of 4 MiB or more
// (madvise(MADV_HUGEPAGE)); blocks here are asked for the same, so that both sides read and write
// the same kind of memory and the ratio measures the module, not the page size.
constexpr std::size_t kHugePage = std::size_t{2} << 20;

struct TFree {
  void operator()(vec_t_<double, 2>* p) const { std::free(p); }
};
using TBlock = std::unique_ptr<vec_t_<double, 2>[], TFree>;

// n points of uninitialised memory, like np.empty: the kernel maps the pages on first touch.
TBlock NewBlock(std::size_t n) {
  const std::size_t bytes = (n * sizeof(vec_t_<double, 2>) + kHugePage - 1) / kHugePage * kHugePage;
  void* block = std::aligned_alloc(kHugePage, bytes);
  if (block == nullptr) throw std::bad_alloc();
  madvise(block, bytes, MADV_HUGEPAGE);
  return TBlock(static_cast<vec_t_<double, 2>*>(block));
}

TBlock Grid() {
  TBlock points = NewBlock(kPoints);
  const double step = 2.0 * kHalfFormat / static_cast<double>(kSide - 1);
  for (std::size_t i = 0; i < kPoints; ++i) {
    points[i] = {-kHalfFormat + step * static_cast<double>(i % kSide),
                 -kHalfFormat + step * static_cast<double>(i / kSide)};
  }
  return points;
}

TVxCameraInfo Rc10Formula() {
  const auto reader =
      TVxXIniReader::FromFile(std::string(VX_SOURCE_DIR) + "/examples/cameras/rc10_formula.yaml");
  TVxCameraInfo camera;
  XIniLoadE(reader.get(), camera);
  return camera;
}

void Run(benchmark::State& state, const TransformHandle& transform) {
  const TBlock in = Grid();
  const TBlock out = NewBlock(kPoints);
  for (auto _ : state) {
    benchmark::DoNotOptimize(transform->TransformPoints(in.get(), out.get(), kPoints));
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(kPoints));
}

// A new block a call, freed after it: what `transform(points)` does with a new NumPy array.
void RunNewOutput(benchmark::State& state, const TransformHandle& transform) {
  const TBlock in = Grid();
  for (auto _ : state) {
    const TBlock out = NewBlock(kPoints);
    benchmark::DoNotOptimize(transform->TransformPoints(in.get(), out.get(), kPoints));
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(kPoints));
}

void BM_BatchCamToMmNewOutput(benchmark::State& state) {
  RunNewOutput(state, CreateCamToMmTransform(Rc10Formula()));
}

void BM_BatchMmToCamNewOutput(benchmark::State& state) {
  RunNewOutput(state, CreateMmToCamTransform(Rc10Formula()));
}

void BM_BatchCamToMm(benchmark::State& state) {
  Run(state, CreateCamToMmTransform(Rc10Formula()));
}

void BM_BatchMmToCam(benchmark::State& state) {
  Run(state, CreateMmToCamTransform(Rc10Formula()));
}

}  // namespace

BENCHMARK(BM_BatchCamToMm)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_BatchMmToCam)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_BatchCamToMmNewOutput)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_BatchMmToCamNewOutput)->Unit(benchmark::kMillisecond)->UseRealTime();
