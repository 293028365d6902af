// Measuring the marks of a large scan and resampling it, against OpenCV doing the same work:
// - marks: MeasureMarks against cv::matchTemplate (TM_CCOEFF_NORMED) over the same windows (the
//   reduced windows of the eight orientations of every mark, then the full-resolution window
//   about each peak of the orientation found);
// - resampling: ResampleScan computing its map on the fly, against cv::remap with a map computed
//   beforehand (outside the timing), bilinear and bicubic, one thread each.
// Each twice: with the reading of the scan's file (DEFLATE, tiled) in the time, and without it
// (the scan uncompressed in /dev/shm for this library, a cv::Mat in memory for OpenCV). This
// library's image is written uncompressed to /dev/shm in both; OpenCV's stays in memory.
//
//   VX_SCAN_BENCH_SIZE=16000 VxScan_benchmark [--benchmark_filter=...]
//
// The scan (VX_SCAN_BENCH_SIZE pixels a side, default 16000, 8 bits) is written once, tile by
// tile, before the first benchmark. peak_rss_mb is the process's peak resident memory after the
// benchmark: run a resampling benchmark alone to read its peak.

#include <benchmark/benchmark.h>
#include <sys/resource.h>
#include <unistd.h>

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "VxIntOrSolve.h"
#include "VxScan.h"
#include "VxScanResample.h"
#include "VxScanSynthetic.h"

namespace {

constexpr double kPixelUm = 14.0;
constexpr int kTemplateSize = 97;
constexpr std::uint64_t kHalfSize = 40;

struct TBenchScan {
  int size = 0;
  TVxCameraInfo camera;
  TCameraMarkTemplates templates;
  std::vector<TVxRaster> images;
  std::string compressedPath;    // deflate, tiled, on disk
  std::string uncompressedPath;  // uncompressed, tiled, in /dev/shm (or /tmp)
  TVxPixToCamMap map;            // solved from the measured marks
};

double PeakRssMb() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return static_cast<double>(usage.ru_maxrss) / 1024.0;
}

const TVxScanImage& OpenOnce(const std::string& path) {
  static std::unique_ptr<TVxScanImage> image;
  static std::string opened;
  if (!image || opened != path) {
    image = std::make_unique<TVxScanImage>(path);
    opened = path;
  }
  return *image;
}

// The files the benchmark writes, removed when the program ends. Made before any file is
// written (and its removal registered), so that it outlives the removal.
std::vector<std::string>& Leftovers() {
  static std::vector<std::string> files;
  static const bool registered = [] {
    std::atexit([] {
      for (const std::string& file : Leftovers()) std::remove(file.c_str());
    });
    return true;
  }();
  static_cast<void>(registered);
  return files;
}

const TBenchScan& Scan() {
  static TBenchScan scan = [] {
    TBenchScan s;
    const char* size = std::getenv("VX_SCAN_BENCH_SIZE");
    s.size = size != nullptr ? std::atoi(size) : 16000;
    const double p = kPixelUm / 1000.0;
    const double corner = 0.44 * s.size * p, side = 0.46 * s.size * p;
    const double xy[8][2] = {{-corner, -corner}, {corner, corner}, {-corner, corner},
                             {corner, -corner},  {-side, 0.0},     {side, 0.0},
                             {0.0, side},        {0.0, -side}};
    s.camera.cameraType = TCameraType::Fiducials;
    s.camera.focus = 153.0;
    s.templates.templatePixelSize = kPixelUm;
    const TVxDrawnMark kinds[4] = {TVxDrawnMark::CrossWithDot, TVxDrawnMark::RingWithBar,
                                   TVxDrawnMark::Triangle, TVxDrawnMark::Notch};
    for (int i = 0; i < 8; ++i) {
      TVxCameraInfo::TFiducial f;
      f.index = f.templateIndex = i + 1;
      f.coordsCam = {xy[i][0], xy[i][1]};
      s.camera.fiducials.push_back(f);
      TCameraMarkTemplates::TMarkTemplate m;
      m.index = i + 1;
      m.coordsCam = f.coordsCam;
      m.halfSizeReduced = {kHalfSize, kHalfSize};
      s.templates.templates.push_back(m);
      TVxRaster image = DrawMarkTemplate(kinds[i % 4], kTemplateSize);
      if (i >= 4) {  // the mid-side marks: the corner shapes turned a quarter
        TVxRaster turned(image.height, image.width);
        for (int y = 0; y < image.height; ++y)
          for (int x = 0; x < image.width; ++x) turned.At(y, image.width - 1 - x) = image.At(x, y);
        image = turned;
      }
      s.images.push_back(image);
    }
    TVxSyntheticScanOptions o;
    o.width = o.height = s.size;
    o.quarterTurns = 1;
    o.mirrored = true;
    o.scaleX = o.scaleY = 1.02;
    o.angleDeg = 0.2;
    o.offsetPix = {40.0, -25.0};
    o.dust = 2000;
    o.scratches = 40;
    const std::string id = std::to_string(::getpid());
    s.compressedPath = "/tmp/vxscan_bench_" + id + ".tif";
    Leftovers().push_back(s.compressedPath);
    WriteSyntheticScan(s.compressedPath, s.camera, s.templates, s.images, o);
    // The same pixels uncompressed in memory-backed storage: reading is then a copy.
    const std::string shm = access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp";
    s.uncompressedPath = shm + "/vxscan_bench_" + id + "_raw.tif";
    Leftovers().push_back(s.uncompressedPath);
    {
      const TVxScanImage source(s.compressedPath);
      TVxPixToCamMap identity;
      TVxResampleOptions copy;  // the identity map at the scan's pixel copies it
      copy.compress = false;
      copy.interpolation = TVxInterpolation::Bilinear;
      identity.matrix = {1.0, 0.0, -0.5 * (s.size - 1), 0.0, -1.0, 0.5 * (s.size - 1), 0, 0, 1};
      ResampleScan(source, s.camera, identity, s.uncompressedPath, copy);
    }
    const TVxScanMeasurement measured = MeasureMarks(TVxScanImage(s.compressedPath), s.camera,
                                                     s.templates, s.images, TVxMeasureOptions());
    TVxIntOrSolution solution;
    std::string message;
    if (!SolveIntOr(measured.meas, s.camera, &solution, &message)) std::abort();
    s.map = solution.map;
    return s;
  }();
  return scan;
}

// --- Marks ---

void BM_Marks_VxScan(benchmark::State& state, bool reading) {
  const TBenchScan& s = Scan();
  const std::string& path = reading ? s.compressedPath : s.uncompressedPath;
  std::size_t measured = 0;
  for (auto _ : state) {
    std::unique_ptr<TVxScanImage> fresh;
    if (reading) fresh = std::make_unique<TVxScanImage>(path);
    const TVxScanMeasurement result = MeasureMarks(reading ? *fresh : OpenOnce(path), s.camera,
                                                   s.templates, s.images, TVxMeasureOptions());
    measured = result.meas.marks.size();
  }
  state.counters["marks"] = static_cast<double>(measured);
}

// The windows MeasureMarks reads, computed the same way: the reduction that keeps the template
// 6 reduced pixels of half size, the default search radius, all eight orientations.
struct TWindows {
  int reduction = 1;
  std::vector<cv::Mat> coarse;           // per orientation and mark
  std::vector<cv::Mat> coarseTemplates;  // per orientation and mark
  std::vector<cv::Rect> fineRects;       // per mark, about the true position
  std::vector<cv::Mat> fineTemplates;
};

cv::Mat ToMat(const TVxRaster& r) {
  cv::Mat m(r.height, r.width, CV_32F);
  std::memcpy(m.data, r.pixels.data(), r.pixels.size() * sizeof(float));
  return m;
}

cv::Mat Orient(const cv::Mat& m, int turns, bool mirrored) {
  // As the scan shows a template: turned counter-clockwise, then the rows reversed.
  cv::Mat out = m.clone();
  for (int k = 0; k < turns; ++k) cv::rotate(out, out, cv::ROTATE_90_COUNTERCLOCKWISE);
  if (mirrored) cv::flip(out, out, 0);
  return out;
}

TWindows Windows(const TVxScanImage& image, const TBenchScan& s) {
  TWindows w;
  const int half = static_cast<int>(kHalfSize);
  while (w.reduction * 2 <= 16 && half / (w.reduction * 2) >= 6) w.reduction *= 2;
  const int f = w.reduction;
  const double p = kPixelUm / 1000.0;
  const double cx = 0.5 * (s.size - 1), cy = 0.5 * (s.size - 1);
  for (int h = 0; h < 8; ++h) {
    const int turns = h % 4;
    const bool mirrored = h >= 4;
    const int c[4] = {1, 0, -1, 0}, sn[4] = {0, 1, 0, -1};
    const int m00 = c[turns], m01 = sn[turns], m10 = mirrored ? sn[turns] : -sn[turns],
              m11 = mirrored ? -c[turns] : c[turns];
    for (std::size_t i = 0; i < s.camera.fiducials.size(); ++i) {
      const auto& fid = s.camera.fiducials[i];
      const double ux = fid.coordsCam.x / p, uy = -fid.coordsCam.y / p;
      const double px = cx + m00 * ux + m01 * uy, py = cy + m10 * ux + m11 * uy;
      const double radius = (8.0 + 0.06 * fid.coordsCam.Length()) / p;
      cv::Mat templ = ToMat(s.images[i])(cv::Rect(8, 8, 2 * half + 1, 2 * half + 1)).clone();
      templ = Orient(templ, turns, mirrored);
      cv::Mat reduced;
      cv::resize(templ, reduced, cv::Size(templ.cols / f, templ.rows / f), 0, 0, cv::INTER_AREA);
      const int x0 = static_cast<int>(std::floor((px - half - radius) / f));
      const int y0 = static_cast<int>(std::floor((py - half - radius) / f));
      const int side = static_cast<int>(std::ceil((2 * radius + templ.cols) / f));
      w.coarse.push_back(ToMat(image.ReadReduced(x0, y0, side, side, f)));
      w.coarseTemplates.push_back(reduced);
      if (h == 5) {  // the orientation of the scan: a quarter turn, mirrored
        const int reach = f + 2 + 4;
        w.fineRects.emplace_back(static_cast<int>(px) - half - reach,
                                 static_cast<int>(py) - half - reach, templ.cols + 2 * reach,
                                 templ.rows + 2 * reach);
        w.fineTemplates.push_back(templ);
      }
    }
  }
  return w;
}

void BM_Marks_OpenCv(benchmark::State& state, bool reading) {
  const TBenchScan& s = Scan();
  const TVxScanImage& image = OpenOnce(reading ? s.compressedPath : s.uncompressedPath);
  TWindows w = Windows(image, s);
  std::vector<cv::Mat> fine;
  for (const cv::Rect& r : w.fineRects)
    fine.push_back(ToMat(image.ReadWindow(r.x, r.y, r.width, r.height)));
  cv::setNumThreads(0);
  double sum = 0.0;
  for (auto _ : state) {
    if (reading) {
      const TVxScanImage fresh(s.compressedPath);
      w = Windows(fresh, s);
      fine.clear();
      for (const cv::Rect& r : w.fineRects)
        fine.push_back(ToMat(fresh.ReadWindow(r.x, r.y, r.width, r.height)));
    }
    cv::Mat result;
    for (std::size_t k = 0; k < w.coarse.size(); ++k) {
      cv::matchTemplate(w.coarse[k], w.coarseTemplates[k], result, cv::TM_CCOEFF_NORMED);
      double best = 0.0;
      cv::minMaxLoc(result, nullptr, &best);
      sum += best;
    }
    for (std::size_t k = 0; k < fine.size(); ++k) {
      cv::matchTemplate(fine[k], w.fineTemplates[k], result, cv::TM_CCOEFF_NORMED);
      double best = 0.0;
      cv::minMaxLoc(result, nullptr, &best);
      sum += best;
    }
  }
  benchmark::DoNotOptimize(sum);
}

BENCHMARK_CAPTURE(BM_Marks_VxScan, reading, true)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(BM_Marks_OpenCv, reading, true)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(BM_Marks_VxScan, in_memory, false)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(BM_Marks_OpenCv, in_memory, false)->Unit(benchmark::kMillisecond)->UseRealTime();

// --- Resampling ---

void BM_Resample_VxScan(benchmark::State& state, bool reading, TVxInterpolation interpolation) {
  const TBenchScan& s = Scan();
  TVxResampleOptions options;
  options.interpolation = interpolation;
  // The image goes uncompressed to memory-backed storage: writing is not what is compared.
  options.compress = false;
  // One thread, as cv::remap below (cv::setNumThreads(0)).
  options.threads = 1;
  const std::string out =
      (access("/dev/shm", W_OK) == 0 ? std::string("/dev/shm") : std::string("/tmp")) +
      "/vxscan_bench_out_" + std::to_string(::getpid()) + ".tif";
  for (auto _ : state) {
    const TVxScanImage image(reading ? s.compressedPath : s.uncompressedPath);
    ResampleScan(image, s.camera, s.map, out, options);
  }
  std::remove(out.c_str());
  state.counters["peak_rss_mb"] = PeakRssMb();
  state.counters["pixels"] = static_cast<double>(s.size) * s.size;
}

void BM_Resample_OpenCv(benchmark::State& state, bool reading, int interpolation) {
  const TBenchScan& s = Scan();
  // The map for the same image ResampleScan writes: its pixel (i, j) at camera
  // ((i - (W-1)/2) p, ((H-1)/2 - j) p), through the inverse of the scan's map.
  const std::array<double, 9> inv = s.map.InverseMatrix();
  const double p = std::hypot(s.map.matrix[0], s.map.matrix[3]);
  const int size = s.size;
  cv::Mat mapX(size, size, CV_32F), mapY(size, size, CV_32F);
  for (int j = 0; j < size; ++j) {
    float* mx = mapX.ptr<float>(j);
    float* my = mapY.ptr<float>(j);
    for (int i = 0; i < size; ++i) {
      const double x = (i - 0.5 * (size - 1)) * p, y = (0.5 * (size - 1) - j) * p;
      mx[i] = static_cast<float>(inv[0] * x + inv[1] * y + inv[2]);
      my[i] = static_cast<float>(inv[3] * x + inv[4] * y + inv[5]);
    }
  }
  const auto read = [&] {
    const TVxScanImage image(s.compressedPath);
    cv::Mat scan(size, size, CV_8U);
    for (int y = 0; y < size; y += 512) {
      const TVxRaster strip = image.ReadWindow(0, y, size, std::min(512, size - y));
      ToMat(strip).convertTo(scan(cv::Rect(0, y, size, strip.height)), CV_8U);
    }
    return scan;
  };
  cv::Mat scan = read();
  cv::Mat out;
  cv::setNumThreads(0);
  for (auto _ : state) {
    if (reading) scan = read();
    cv::remap(scan, out, mapX, mapY, interpolation, cv::BORDER_CONSTANT, cv::Scalar(0));
    benchmark::DoNotOptimize(out.data);
  }
  state.counters["pixels"] = static_cast<double>(size) * size;
}

BENCHMARK_CAPTURE(BM_Resample_VxScan, bilinear_in_memory, false, TVxInterpolation::Bilinear)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(1);
BENCHMARK_CAPTURE(BM_Resample_OpenCv, bilinear_in_memory, false, cv::INTER_LINEAR)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(1);
BENCHMARK_CAPTURE(BM_Resample_VxScan, bilinear_reading, true, TVxInterpolation::Bilinear)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(1);
BENCHMARK_CAPTURE(BM_Resample_OpenCv, bilinear_reading, true, cv::INTER_LINEAR)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(1);
BENCHMARK_CAPTURE(BM_Resample_VxScan, bicubic_in_memory, false, TVxInterpolation::Bicubic)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(1);
BENCHMARK_CAPTURE(BM_Resample_OpenCv, bicubic_in_memory, false, cv::INTER_CUBIC)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(1);
BENCHMARK_CAPTURE(BM_Resample_VxScan, bicubic_reading, true, TVxInterpolation::Bicubic)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(1);
BENCHMARK_CAPTURE(BM_Resample_OpenCv, bicubic_reading, true, cv::INTER_CUBIC)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(1);

}  // namespace
