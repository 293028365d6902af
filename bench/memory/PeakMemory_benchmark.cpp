// Peak memory per input byte: each loader at the largest input it accepts (10 000 list entries,
// the entry limit of a settings text, a long description), the settings reader alone, and the
// transform of the largest tables. The program counts its own allocations (operator new and
// delete replaced), so the figures are the bytes the code asks for, free of the allocator's
// slack and of the process's other memory. Counters:
//   input_bytes       the size of the text (for a transform: of its file)
//   peak_bytes        the most bytes allocated at once during one run, above what was before
//   peak_per_byte     peak_bytes / input_bytes
// Time per run is reported too, but the point is the memory.

#include <benchmark/benchmark.h>
#include <malloc.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <new>
#include <string>

#include "VxCameraInfo.h"
#include "VxCameraMath.h"
#include "VxIntOrMeas.h"
#include "VxXIni.h"

namespace {

std::atomic<std::size_t> g_current{0};
std::atomic<std::size_t> g_peak{0};

void* Counted(std::size_t size) {
  void* p = std::malloc(size == 0 ? 1 : size);
  if (p == nullptr) throw std::bad_alloc();
  const std::size_t now = g_current += malloc_usable_size(p);
  std::size_t peak = g_peak.load(std::memory_order_relaxed);
  while (now > peak && !g_peak.compare_exchange_weak(peak, now)) {
  }
  return p;
}

void Uncounted(void* p) {
  if (p == nullptr) return;
  g_current -= malloc_usable_size(p);
  std::free(p);
}

}  // namespace

void* operator new(std::size_t size) {
  return Counted(size);
}
void* operator new[](std::size_t size) {
  return Counted(size);
}
void operator delete(void* p) noexcept {
  Uncounted(p);
}
void operator delete[](void* p) noexcept {
  Uncounted(p);
}
void operator delete(void* p, std::size_t) noexcept {
  Uncounted(p);
}
void operator delete[](void* p, std::size_t) noexcept {
  Uncounted(p);
}

namespace {

constexpr int kRows = 10000;  // the most entries a list of a record may hold

std::string Saved(const TVxCameraInfo& camera) {
  TVxXIniWriter writer;
  XIniSaveE(&writer, camera);
  return writer.ToText();
}

TVxCameraInfo FilmCamera(TDistortionType type) {
  TVxCameraInfo camera = CreateDefaultCamera();
  camera.cameraType = TCameraType::Fiducials;
  camera.name = "RC10 with the longest lists";
  camera.focus = 153.228;
  camera.distortion.type = type;
  for (int i = 0; i < kRows; ++i) {
    const double r = 0.0137 * (i + 1);
    const double dr = 1e-6 * ((i % 13) - 6);
    camera.fiducials.push_back({i + 1, {-106.0 + 0.0211 * i, 105.9 - 0.0211 * i}, 0});
    camera.distortion.tableR.push_back({r, dr});
    camera.distortion.table4Plus.push_back({r, {dr, -dr, 0.5 * dr, dr}});
    camera.distortion.table4X.push_back({r, {-dr, dr, dr, 0.5 * dr}});
  }
  return camera;
}

// Runs `work` once per iteration and reports its peak above the memory held before.
template <class F>
void MeasurePeak(benchmark::State& state, std::size_t inputBytes, F work) {
  std::size_t peak = 0;
  for (auto _ : state) {
    const std::size_t before = g_current.load();
    g_peak = before;
    work();
    peak = std::max(peak, g_peak.load() - before);
  }
  state.counters["input_bytes"] = static_cast<double>(inputBytes);
  state.counters["peak_bytes"] = static_cast<double>(peak);
  state.counters["peak_per_byte"] = static_cast<double>(peak) / static_cast<double>(inputBytes);
}

void BM_CameraLoadE_LongestLists(benchmark::State& state) {
  const std::string text = Saved(FilmCamera(TDistortionType::Directed8));
  MeasurePeak(state, text.size(), [&] {
    TVxCameraInfo camera;
    XIniLoadE(TVxXIniReader::FromText(text).get(), camera);
    benchmark::DoNotOptimize(camera);
  });
}
BENCHMARK(BM_CameraLoadE_LongestLists)->Unit(benchmark::kMillisecond);

void BM_CameraLoad_LongestLists(benchmark::State& state) {
  const std::string text = Saved(FilmCamera(TDistortionType::Radial));
  MeasurePeak(state, text.size(), [&] {
    TVxCameraInfo camera;
    camera.Load(TVxXIniReader::FromText(text).get());
    benchmark::DoNotOptimize(camera);
  });
}
BENCHMARK(BM_CameraLoad_LongestLists)->Unit(benchmark::kMillisecond);

void BM_CameraLoadE_LongDescription(benchmark::State& state) {
  TVxCameraInfo camera = CreateDefaultDMCCamera();
  camera.description.clear();
  for (int i = 0; i < 200000; ++i) camera.description += "Line of the calibration report.\n";
  const std::string text = Saved(camera);
  MeasurePeak(state, text.size(), [&] {
    TVxCameraInfo loaded;
    XIniLoadE(TVxXIniReader::FromText(text).get(), loaded);
    benchmark::DoNotOptimize(loaded);
  });
}
BENCHMARK(BM_CameraLoadE_LongDescription)->Unit(benchmark::kMillisecond);

void BM_DistortionLoadE_LongestTables(benchmark::State& state) {
  TVxXIniWriter writer;
  FilmCamera(TDistortionType::Directed8).distortion.SaveE(&writer);
  const std::string text = writer.ToText();
  MeasurePeak(state, text.size(), [&] {
    TVxCameraDistortion distortion;
    distortion.LoadE(TVxXIniReader::FromText(text).get());
    benchmark::DoNotOptimize(distortion);
  });
}
BENCHMARK(BM_DistortionLoadE_LongestTables)->Unit(benchmark::kMillisecond);

void BM_MarkTemplatesLoadE_LongestList(benchmark::State& state) {
  std::string text =
      "template_pixel_size_um: 12.5\ndefault_scan_size_mm: {x: 240, y: 240}\n"
      "mark_templates:\n";
  for (int i = 0; i < kRows; ++i) {
    text += "  - {template_index: " + std::to_string(i + 1) +
            ", coords_cam: {x: -106.0, y: 105.9}, filename: mark_" + std::to_string(i + 1) +
            ".tif, half_size_reduced: {x: 32, y: 32}}\n";
  }
  MeasurePeak(state, text.size(), [&] {
    TCameraMarkTemplates templates;
    templates.LoadE(TVxXIniReader::FromText(text).get());
    benchmark::DoNotOptimize(templates);
  });
}
BENCHMARK(BM_MarkTemplatesLoadE_LongestList)->Unit(benchmark::kMillisecond);

void BM_IntOrMeasLoadE_LongestList(benchmark::State& state) {
  TVxIntOrMeas meas;
  meas.cameraType = TCameraType::Fiducials;
  meas.transformType = TTransformType::Affine;
  meas.rotation = TCamRotate::Rotate0;
  for (int i = 0; i < kRows; ++i) meas.marks.push_back({i + 1, {1166.6 + i, 18114.1 - i}, {}});
  TVxXIniWriter writer;
  meas.SaveE(&writer);
  const std::string text = writer.ToText();
  MeasurePeak(state, text.size(), [&] {
    TVxIntOrMeas loaded;
    loaded.LoadE(TVxXIniReader::FromText(text).get());
    benchmark::DoNotOptimize(loaded);
  });
}
BENCHMARK(BM_IntOrMeasLoadE_LongestList)->Unit(benchmark::kMillisecond);

// The reader's worst case per byte: a flow list of one-digit numbers, two bytes an entry, up to
// the entry limit of a settings text.
void BM_Reader_ShortestEntries(benchmark::State& state) {
  std::string text = "a: [";
  for (std::uint64_t i = 0; i + 2 < kVxXIniMaxEntries; ++i) text += "1,";
  text += "1]\n";
  MeasurePeak(state, text.size(), [&] { benchmark::DoNotOptimize(TVxXIniReader::FromText(text)); });
}
BENCHMARK(BM_Reader_ShortestEntries)->Unit(benchmark::kMillisecond)->Iterations(1);

// The transforms of the longest tables; input_bytes is the size of the camera's file.
void BM_TableTransform(benchmark::State& state, TDistortionType type) {
  const TVxCameraInfo camera = FilmCamera(type);
  const std::string text = Saved(camera);
  MeasurePeak(state, text.size(),
              [&] { benchmark::DoNotOptimize(CreateCamToMmTransform(camera)); });
}
BENCHMARK_CAPTURE(BM_TableTransform, Radial, TDistortionType::Radial)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_TableTransform, Directed8, TDistortionType::Directed8)
    ->Unit(benchmark::kMillisecond);

}  // namespace
