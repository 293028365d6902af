// The camera-to-millimetre transform of a formula camera against OpenCV, which applies the same
// Brown distortion (projectPoints), inverts it (undistortPoints) and builds resampling grids
// (initUndistortRectifyMap); and the time of one formula fit of a radial camera.
//
// One process. Every contender of this library runs on one thread; OpenCV's run on one thread
// and again with its default number of threads. Each case runs its contenders one after the
// other within a repetition (interleaved, in an order that rotates), a warm-up repetition first,
// then `--repetitions` (at least 11) timed ones; it prints the median time of each contender and
// the median of the per-repetition ratios against the targets, and writes everything,
// per-repetition values included, to a JSON file. Before the cases it measures the core's clock
// and the width of its vector units (VxMachine.h).
//
// Inputs cover the whole frame, corners included, and come twice: in row order and shuffled
// (a fixed permutation). The eight lanes of a vector step together until the slowest has
// converged, so neighbouring points that need the same number of steps flatter a vector
// inverse; the targets are met or missed on the shuffled inputs.
//
//   VxVsPeers [--repetitions N] [--json FILE] [--callgrind]
//
// --callgrind: small sizes, one repetition, this library's contenders and the copies only, no
// measurement of the machine, for instruction counts under valgrind --tool=callgrind (valgrind
// has no AVX-512: the AVX2 clones run).

#include <dirent.h>
#include <emmintrin.h>

#include <opencv2/calib3d.hpp>
#include <opencv2/core.hpp>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "VxCameraMath.h"
#include "VxGeometry.h"
#include "VxMachine.h"

namespace {

using TPoint = vec_t_<double, 2>;
using TDirection = TVxCameraDistortion::TDirection;

// The DMC panchromatic frame: 7680 x 13824 pixels of 12 um, focal length 120 mm.
constexpr std::size_t kDmcColumns = 7680;
constexpr std::size_t kDmcRows = 13824;
constexpr double kDmcPixel = 0.012;
constexpr double kDmcFocal = 120.0;
constexpr double kDmcHalfWidth = 0.5 * kDmcColumns * kDmcPixel;
constexpr double kDmcHalfHeight = 0.5 * kDmcRows * kDmcPixel;
// A principal point off the frame's centre: the transform is a shift, then the distortion.
constexpr double kPrincipalX = 0.003;
constexpr double kPrincipalY = -0.002;

// A Brown distortion in OpenCV's normalised coordinates (x_n = x / f): k1, k2, p1, p2, k3.
struct TBrown {
  const char* name;
  double k1, k2, p1, p2, k3;
  double defaultTarget;  // the ratio to undistortPoints' default form aimed at
};
// About 0.8 % of the radius at the frame's corner (0.8 mm): a moderate lens.
constexpr TBrown kModerate{"moderate", -0.01, 0.003, 2e-5, -1e-5, 0.0, 15.0};
// About 12 % of the radius at the corner (12 mm): a strong wide-angle lens.
constexpr TBrown kStrong{"strong", -0.25, 0.08, 1e-3, -5e-4, -0.01, 10.0};

// The camera whose camera-to-millimetre transform applies `brown` in millimetres: with
// x = f x_n, OpenCV's k1 r_n^2 is (k1 / f^2) r^2, and so on; its p1 (the y x term) is our p2
// divided by f and its p2 (the r^2 + 2 x^2 term) our p1 (docs/distortion-models.md).
TVxCameraInfo Camera(const TBrown& brown, TDirection direction) {
  const double f = kDmcFocal;
  TVxCameraInfo camera;
  camera.focus = f;
  camera.principalPoint = {kPrincipalX, kPrincipalY};
  TVxCameraDistortion& d = camera.distortion;
  d.type = TDistortionType::Formula;
  d.direction = direction;
  d.symmetryPoint = camera.principalPoint;
  d.k1 = brown.k1 / (f * f);
  d.k2 = brown.k2 / std::pow(f, 4);
  d.k3 = brown.k3 / std::pow(f, 6);
  d.p1 = brown.p2 / f;
  d.p2 = brown.p1 / f;
  return camera;
}

cv::Matx33d CameraMatrix(double f, double cx, double cy) {
  return cv::Matx33d(f, 0, cx, 0, f, cy, 0, 0, 1);
}

cv::Mat DistCoeffs(const TBrown& b) {
  return (cv::Mat_<double>(1, 5) << b.k1, b.k2, b.p1, b.p2, b.k3);
}

// n points spread over the frame in camera coordinates (a lattice, corners included: the
// corners lie 94.9 mm from the principal point), in row order.
std::vector<TPoint> FramePoints(std::size_t n) {
  const auto side = static_cast<std::size_t>(std::ceil(std::sqrt(static_cast<double>(n))));
  std::vector<TPoint> points;
  points.reserve(n);
  for (std::size_t i = 0; points.size() < n; ++i) {
    const double u = static_cast<double>(i % side) / static_cast<double>(side - 1);
    const double v = static_cast<double>((i / side) % side) / static_cast<double>(side - 1);
    points.push_back({kPrincipalX - kDmcHalfWidth + 2 * kDmcHalfWidth * u,
                      kPrincipalY - kDmcHalfHeight + 2 * kDmcHalfHeight * v});
  }
  return points;
}

// A fixed permutation of 0 .. n-1 (Fisher-Yates driven by splitmix64 with a fixed seed), the
// same on every machine and compiler.
std::vector<std::size_t> Shuffle(std::size_t n) {
  constexpr std::uint64_t kSeed = 20;
  std::uint64_t state = kSeed;
  const auto next = [&state] {
    std::uint64_t z = (state += 0x9e3779b97f4a7c15u);
    z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9u;
    z = (z ^ (z >> 27)) * 0x94d049bb133111ebu;
    return z ^ (z >> 31);
  };
  std::vector<std::size_t> order(n);
  for (std::size_t i = 0; i < n; ++i) order[i] = i;
  for (std::size_t i = n; i > 1; --i) {
    const auto j = static_cast<std::size_t>(next() % i);  // bias below 1e-12: irrelevant here
    std::swap(order[i - 1], order[j]);
  }
  return order;
}

template <typename T>
std::vector<T> Permuted(const std::vector<T>& v, const std::vector<std::size_t>& order) {
  std::vector<T> out(v.size());
  for (std::size_t i = 0; i < v.size(); ++i) out[i] = v[order[i]];
  return out;
}

// The threads of this process now (Linux: the entries of /proc/self/task); 0 where unknown.
int ThreadsOfProcess() {
  DIR* tasks = opendir("/proc/self/task");
  if (tasks == nullptr) return 0;
  int count = 0;
  while (const dirent* entry = readdir(tasks)) count += entry->d_name[0] != '.';
  closedir(tasks);
  return count;
}

double Seconds(const std::function<void()>& run) {
  const auto start = std::chrono::steady_clock::now();
  run();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

double Median(std::vector<double> v) {
  std::sort(v.begin(), v.end());
  const std::size_t n = v.size();
  return n % 2 == 1 ? v[n / 2] : 0.5 * (v[n / 2 - 1] + v[n / 2]);
}

struct TContender {
  TContender(std::string name_, std::function<void()> run_, int cvThreads_ = 1)
      : name(std::move(name_)), run(std::move(run_)), cvThreads(cvThreads_) {}
  std::string name;
  std::function<void()> run;
  int cvThreads;  // OpenCV's threads while it runs
  std::vector<double> seconds;
};

// A ratio reported per repetition: time of `slower` over time of `faster`.
struct TRatio {
  std::string name;
  std::size_t slower;
  std::size_t faster;
  double target;  // the ratio the case aims at; 0: none, shown for information
  bool atMost;    // the target is an upper bound (else a lower bound)
  std::vector<double> values;
};

// OpenCV's default number of threads, read before the program sets it to one.
int gCvDefaultThreads = 1;

struct TCase {
  std::string name;
  double points = 0.0;  // points (or fits) per run
  std::vector<TContender> contenders;
  std::vector<TRatio> ratios;
  std::vector<std::pair<std::string, double>> notes;  // accuracy figures

  // Adds a contender; its index, for the ratios.
  std::size_t Add(std::string contender, std::function<void()> run, int cvThreads = 1) {
    contenders.emplace_back(std::move(contender), std::move(run), cvThreads);
    return contenders.size() - 1;
  }
  void Ratio(std::string ratio, std::size_t slower, std::size_t faster, double target = 0.0,
             bool atMost = false) {
    ratios.push_back({std::move(ratio), slower, faster, target, atMost, {}});
  }
  void Note(std::string note, double value) {
    std::printf("  %-52s %12.3g\n", note.c_str(), value);
    notes.emplace_back(std::move(note), value);
  }
};

struct TOptions {
  int repetitions = 11;
  std::string json = "vs_peers.json";
  bool callgrind = false;
};

void RunCase(TCase& c, const TOptions& options) {
  const int runs = options.callgrind ? 1 : options.repetitions + 1;
  for (int rep = 0; rep < runs; ++rep) {
    // The order rotates from one repetition to the next: whoever runs first after another case
    // (or after OpenCV's larger buffers) finds the last-level cache cold, and that must not
    // always be the same contender.
    const std::size_t count = c.contenders.size();
    std::vector<double> t(count);
    for (std::size_t j = 0; j < count; ++j) {
      const std::size_t k = (j + static_cast<std::size_t>(rep)) % count;
      cv::setNumThreads(c.contenders[k].cvThreads);
      t[k] = Seconds(c.contenders[k].run);
      cv::setNumThreads(1);
    }
    if (!options.callgrind && rep == 0) continue;  // warm-up
    for (std::size_t k = 0; k < t.size(); ++k) c.contenders[k].seconds.push_back(t[k]);
    for (auto& ratio : c.ratios) ratio.values.push_back(t[ratio.slower] / t[ratio.faster]);
  }
  std::printf("\n%s (%.0f per run)\n", c.name.c_str(), c.points);
  for (const auto& contender : c.contenders) {
    const double median = Median(contender.seconds);
    std::printf("  %-52s %12.3f ms %10.2f ns each\n", contender.name.c_str(), median * 1e3,
                median * 1e9 / c.points);
  }
  for (const auto& ratio : c.ratios) {
    const auto [lo, hi] = std::minmax_element(ratio.values.begin(), ratio.values.end());
    const double median = Median(ratio.values);
    std::printf("  ratio %-46s median %8.3f (%.3f .. %.3f)", ratio.name.c_str(), median, *lo, *hi);
    if (ratio.target > 0.0) {
      const bool met = ratio.atMost ? median <= ratio.target : median >= ratio.target;
      std::printf(", target %s %g: %s", ratio.atMost ? "<=" : ">=", ratio.target,
                  met ? "met" : "missed");
    }
    std::printf("\n");
  }
  // OpenCV starts the threads of its parallel loops when a call first runs one.
  if (!options.callgrind)
    std::printf("  threads of the process after this case: %d\n", ThreadsOfProcess());
}

void WriteNumbers(std::FILE* f, const std::vector<double>& v) {
  std::fputc('[', f);
  for (std::size_t i = 0; i < v.size(); ++i) std::fprintf(f, "%s%.9g", i ? ", " : "", v[i]);
  std::fputc(']', f);
}

void WriteJson(const std::vector<TCase>& cases, const vxbench::TMachine& m,
               const TOptions& options) {
  std::FILE* f = std::fopen(options.json.c_str(), "w");
  if (f == nullptr) {
    std::fprintf(stderr, "cannot write %s\n", options.json.c_str());
    std::exit(1);
  }
  std::fprintf(f, "{\n  \"repetitions\": %d,\n  \"opencv\": \"%s\",\n", options.repetitions,
               CV_VERSION);
  std::fprintf(f, "  \"opencv_default_threads\": %d,\n", gCvDefaultThreads);
  std::fprintf(f,
               "  \"machine\": {\"measured\": %s, \"clock_ghz\": %.4g, \"tsc_ghz\": %.4g, "
               "\"avx2\": %s, \"fma\": %s, \"avx512f\": %s,\n              "
               "\"add256_per_cycle\": %.4g, \"fma256_per_cycle\": %.4g, "
               "\"add512_per_cycle\": %.4g, \"fma512_per_cycle\": %.4g, "
               "\"mul512_per_cycle\": %.4g, \"mul_add512_per_cycle\": %.4g},\n",
               options.callgrind ? "false" : "true", m.clockGHz, m.tscGHz,
               m.avx2 ? "true" : "false", m.fma ? "true" : "false", m.avx512f ? "true" : "false",
               m.add256PerCycle, m.fma256PerCycle, m.add512PerCycle, m.fma512PerCycle,
               m.mul512PerCycle, m.mulAdd512PerCycle);
  std::fprintf(f, "  \"cases\": [\n");
  for (std::size_t i = 0; i < cases.size(); ++i) {
    const TCase& c = cases[i];
    std::fprintf(f, "    {\"name\": \"%s\", \"points\": %.0f,\n     \"contenders\": [",
                 c.name.c_str(), c.points);
    for (std::size_t k = 0; k < c.contenders.size(); ++k) {
      std::fprintf(f,
                   "%s\n       {\"name\": \"%s\", \"median_s\": %.9g, \"seconds\": ", k ? "," : "",
                   c.contenders[k].name.c_str(), Median(c.contenders[k].seconds));
      WriteNumbers(f, c.contenders[k].seconds);
      std::fputc('}', f);
    }
    std::fprintf(f, "],\n     \"ratios\": [");
    for (std::size_t k = 0; k < c.ratios.size(); ++k) {
      std::fprintf(f,
                   "%s\n       {\"name\": \"%s\", \"median\": %.6g, \"target\": %g, \"at_most\": "
                   "%s, \"values\": ",
                   k ? "," : "", c.ratios[k].name.c_str(), Median(c.ratios[k].values),
                   c.ratios[k].target, c.ratios[k].atMost ? "true" : "false");
      WriteNumbers(f, c.ratios[k].values);
      std::fputc('}', f);
    }
    std::fprintf(f, "],\n     \"notes\": {");
    for (std::size_t k = 0; k < c.notes.size(); ++k) {
      std::fprintf(f, "%s\"%s\": %.6g", k ? ", " : "", c.notes[k].first.c_str(), c.notes[k].second);
    }
    std::fprintf(f, "}}%s\n", i + 1 < cases.size() ? "," : "");
  }
  std::fprintf(f, "  ]\n}\n");
  std::fclose(f);
  std::printf("\nwritten: %s\n", options.json.c_str());
}

// The memory limit: a plain loop that copies 16-byte points (ordinary stores: each line of the
// destination is read before it is written), the C library's memcpy, and a copy with
// non-temporal stores (the destination's lines are written without being read, as our batch
// call writes large outputs).
__attribute__((noinline)) void CopyPoints(const TPoint* in, TPoint* out, std::size_t n) {
  for (std::size_t i = 0; i < n; ++i) out[i] = in[i];
}

__attribute__((noinline)) void MemcpyPoints(const TPoint* in, TPoint* out, std::size_t n) {
  std::memcpy(static_cast<void*>(out), in, n * sizeof(TPoint));
}

// One 16-byte streaming store a point (SSE2, every x86-64); `out` aligned to 16 bytes.
__attribute__((noinline)) void StreamPoints(const TPoint* in, TPoint* out, std::size_t n) {
  const auto* from = reinterpret_cast<const double*>(in);
  auto* to = reinterpret_cast<double*>(out);
  for (std::size_t i = 0; i < 2 * n; i += 2) _mm_stream_pd(to + i, _mm_loadu_pd(from + i));
  _mm_sfence();
}

double Distance(const TPoint& a, const TPoint& b) {
  return std::hypot(a.x - b.x, a.y - b.y);
}

// Forward: our batch on the points in row order and shuffled, against cv::projectPoints (one
// thread and OpenCV's default) and three copies of the same bytes.
TCase ForwardCase(std::size_t n, const TOptions& options) {
  const TVxCameraInfo camera = Camera(kModerate, TDirection::CamToMm);
  const TransformHandle handle = CreateCamToMmTransform(camera);
  const TVx2DTransform& transform = *handle.second;
  const std::vector<TPoint> rows = FramePoints(n);
  const auto in = std::make_shared<std::vector<TPoint>>(rows);
  const auto shuffled = std::make_shared<std::vector<TPoint>>(Permuted(rows, Shuffle(n)));
  const auto out = std::make_shared<std::vector<TPoint>>(n);
  const auto outRows = std::make_shared<std::vector<TPoint>>(n);
  const auto copy = std::make_shared<std::vector<TPoint>>(n);
  if (reinterpret_cast<std::uintptr_t>(copy->data()) % 16 != 0) {
    std::fprintf(stderr, "the copy's destination is not aligned to 16 bytes\n");
    std::exit(1);
  }
  // OpenCV's input: the shifted shuffled point in normalised coordinates on the plane z = 1.
  const auto object = std::make_shared<cv::Mat>(static_cast<int>(n), 1, CV_64FC3);
  for (std::size_t i = 0; i < n; ++i) {
    object->at<cv::Vec3d>(static_cast<int>(i)) = {((*shuffled)[i].x - kPrincipalX) / kDmcFocal,
                                                  ((*shuffled)[i].y - kPrincipalY) / kDmcFocal,
                                                  1.0};
  }
  const auto image = std::make_shared<cv::Mat>(static_cast<int>(n), 1, CV_64FC2);
  const cv::Matx33d k = CameraMatrix(kDmcFocal, 0.0, 0.0);
  const cv::Mat dist = DistCoeffs(kModerate);

  TCase c;
  c.name = "forward, camera to millimetre, " + std::to_string(n) + " points";
  c.points = static_cast<double>(n);
  const std::size_t ours =
      c.Add("VxCameraUtils TransformPoints, shuffled", [&transform, shuffled, out] {
        transform.TransformPoints(shuffled->data(), out->data(), shuffled->size());
      });
  const std::size_t oursRows =
      c.Add("VxCameraUtils TransformPoints, row order", [&transform, in, outRows] {
        transform.TransformPoints(in->data(), outRows->data(), in->size());
      });
  const std::size_t loop = c.Add("copy loop (16-byte points)",
                                 [in, copy] { CopyPoints(in->data(), copy->data(), in->size()); });
  const std::size_t mem =
      c.Add("memcpy", [in, copy] { MemcpyPoints(in->data(), copy->data(), in->size()); });
  const std::size_t stream = c.Add("streaming copy (_mm_stream_pd)", [in, copy] {
    StreamPoints(in->data(), copy->data(), in->size());
  });
  if (!options.callgrind) {
    const auto project = [object, image, k, dist] {
      cv::projectPoints(*object, cv::Vec3d(0, 0, 0), cv::Vec3d(0, 0, 0), k, dist, *image);
    };
    const std::size_t cv1 = c.Add("cv::projectPoints, 1 thread", project);
    const std::size_t cvN =
        c.Add("cv::projectPoints, " + std::to_string(gCvDefaultThreads) + " threads (default)",
              project, gCvDefaultThreads);
    c.Ratio("projectPoints 1 thread / ours", cv1, ours, n < 10000000 ? 25.0 : 0.0);
    c.Ratio("projectPoints default threads / ours", cvN, ours);
  }
  c.Ratio("ours / streaming copy", ours, stream, n >= 10000000 ? 1.1 : 0.0, true);
  c.Ratio("ours / copy loop", ours, loop);
  c.Ratio("ours / memcpy", ours, mem);
  c.Ratio("ours shuffled / ours row order", ours, oursRows);
  RunCase(c, options);
  if (!options.callgrind) {
    double worst = 0.0;
    for (std::size_t i = 0; i < n; ++i) {
      const cv::Vec2d q = image->at<cv::Vec2d>(static_cast<int>(i));
      worst = std::max(worst, Distance((*out)[i], {q[0], q[1]}));
    }
    c.Note("largest difference to OpenCV (mm)", worst);
  }
  return c;
}

// OpenCV's Brown distortion in normalised coordinates and its Jacobian, in long double.
struct TBrownLong {
  long double k1, k2, k3, p1, p2;

  void Map(long double x, long double y, long double& xd, long double& yd) const {
    const long double r2 = x * x + y * y;
    const long double radial = 1 + r2 * (k1 + r2 * (k2 + r2 * k3));
    xd = x * radial + 2 * p1 * x * y + p2 * (r2 + 2 * x * x);
    yd = y * radial + p1 * (r2 + 2 * y * y) + 2 * p2 * x * y;
  }

  // The point whose distortion is (xd, yd): Newton from (xd, yd) with the analytic Jacobian,
  // until the step is below 1e-18 (a nanometre of a millimetre at f = 120 mm, far below what
  // is compared) or after 60 steps.
  void Undistort(long double xd, long double yd, long double& x, long double& y) const {
    x = xd;
    y = yd;
    for (int step = 0; step < 60; ++step) {
      const long double r2 = x * x + y * y;
      const long double radial = 1 + r2 * (k1 + r2 * (k2 + r2 * k3));
      const long double dRadial = k1 + r2 * (2 * k2 + r2 * 3 * k3);  // d radial / d r2
      long double fx = 0, fy = 0;
      Map(x, y, fx, fy);
      fx -= xd;
      fy -= yd;
      const long double a = radial + 2 * x * x * dRadial + 2 * p1 * y + 6 * p2 * x;
      const long double b = 2 * x * y * dRadial + 2 * p1 * x + 2 * p2 * y;
      const long double d = radial + 2 * y * y * dRadial + 6 * p1 * y + 2 * p2 * x;
      const long double det = a * d - b * b;
      const long double sx = (d * fx - b * fy) / det;
      const long double sy = (a * fy - b * fx) / det;
      x -= sx;
      y -= sy;
      if (std::fabs(sx) + std::fabs(sy) < 1e-18L) break;
    }
  }
};

// Inverse: our batch (direction MmToCam) against cv::undistortPoints (default criteria and the
// exact form, each on one thread and with OpenCV's default threads). The inputs are the lattice
// of the frame itself, corners included: distorted points as a camera records them. The
// reference is each point's preimage found by Newton in long double (independent of this
// library); the round-trip error is the distance of a result to it.
TCase InverseCase(const TBrown& brown, std::size_t n, const TOptions& options) {
  const TransformHandle inverse = CreateCamToMmTransform(Camera(brown, TDirection::MmToCam));
  const TVx2DTransform& solve = *inverse.second;
  const std::vector<std::size_t> order = Shuffle(n);
  const std::vector<TPoint> frame = FramePoints(n);
  const TBrownLong model{brown.k1, brown.k2, brown.k3, brown.p1, brown.p2};
  std::vector<TPoint> truth(n);  // undistorted, in mm relative to the principal point
  for (std::size_t i = 0; i < n; ++i) {
    long double x = 0, y = 0;
    model.Undistort((frame[i].x - kPrincipalX) / kDmcFocal, (frame[i].y - kPrincipalY) / kDmcFocal,
                    x, y);
    truth[i] = {static_cast<double>(x * kDmcFocal), static_cast<double>(y * kDmcFocal)};
  }
  const auto rows = std::make_shared<std::vector<TPoint>>(frame);
  const auto shuffled = std::make_shared<std::vector<TPoint>>(Permuted(frame, order));
  const std::vector<TPoint> shuffledTruth = Permuted(truth, order);
  const auto src = std::make_shared<cv::Mat>(static_cast<int>(n), 1, CV_64FC2);
  for (std::size_t i = 0; i < n; ++i) {
    src->at<cv::Vec2d>(static_cast<int>(i)) = {(*shuffled)[i].x - kPrincipalX,
                                               (*shuffled)[i].y - kPrincipalY};
  }
  const auto out = std::make_shared<std::vector<TPoint>>(n);
  const auto outRows = std::make_shared<std::vector<TPoint>>(n);
  const auto cvDefault = std::make_shared<cv::Mat>();
  const auto cvTwenty = std::make_shared<cv::Mat>();
  const cv::Matx33d k = CameraMatrix(kDmcFocal, 0.0, 0.0);
  const cv::Mat dist = DistCoeffs(brown);
  const cv::TermCriteria twenty(cv::TermCriteria::COUNT | cv::TermCriteria::EPS, 20, 1e-12);

  TCase c;
  c.name = std::string("inverse, ") + brown.name + " distortion, " + std::to_string(n) + " points";
  c.points = static_cast<double>(n);
  const std::size_t ours =
      c.Add("VxCameraUtils TransformPoints (MmToCam), shuffled", [&solve, shuffled, out] {
        solve.TransformPoints(shuffled->data(), out->data(), shuffled->size());
      });
  const std::size_t oursRows =
      c.Add("VxCameraUtils TransformPoints (MmToCam), row order", [&solve, rows, outRows] {
        solve.TransformPoints(rows->data(), outRows->data(), rows->size());
      });
  c.Ratio("ours shuffled / ours row order", ours, oursRows, 1.2, true);
  if (!options.callgrind) {
    const auto byDefault = [src, cvDefault, k, dist] {
      cv::undistortPoints(*src, *cvDefault, k, dist, cv::noArray(), k);
    };
    const auto exact = [src, cvTwenty, k, dist, twenty] {
      cv::undistortPoints(*src, *cvTwenty, k, dist, cv::noArray(), k, twenty);
    };
    const std::string threads = std::to_string(gCvDefaultThreads) + " threads (default)";
    const std::size_t def1 = c.Add("cv::undistortPoints, default criteria, 1 thread", byDefault);
    const std::size_t ex1 = c.Add("cv::undistortPoints, COUNT|EPS 20 1e-12, 1 thread", exact);
    const std::size_t defN =
        c.Add("cv::undistortPoints, default criteria, " + threads, byDefault, gCvDefaultThreads);
    const std::size_t exN =
        c.Add("cv::undistortPoints, COUNT|EPS 20 1e-12, " + threads, exact, gCvDefaultThreads);
    c.Ratio("undistortPoints default / ours", def1, ours, brown.defaultTarget);
    c.Ratio("undistortPoints exact / ours", ex1, ours, 50.0);
    c.Ratio("undistortPoints default / ours row order", def1, oursRows);
    c.Ratio("undistortPoints exact / ours row order", ex1, oursRows);
    c.Ratio("undistortPoints default, default threads / ours", defN, ours);
    c.Ratio("undistortPoints exact, default threads / ours", exN, ours);
  }
  RunCase(c, options);
  double reference = 0.0;  // the reference through our own forward distortion
  {
    TVxCameraInfo cam = Camera(brown, TDirection::MmToCam);
    cam.principalPoint = {0.0, 0.0};
    cam.distortion.symmetryPoint = {0.0, 0.0};
    const TransformHandle distort = CreateCamToMmTransform(cam);
    // With direction MmToCam the stored coefficients map undistorted to distorted: the model
    // itself (inverse flag cleared) is the distortion.
    TFormulaDistortion::TDistCoeff coefficients =
        dynamic_cast<const TFormulaDistortion&>(*distort.second).Coefficients();
    coefficients.inverse = false;
    const TFormulaDistortion distortion(coefficients);
    for (std::size_t i = 0; i < n; ++i) {
      const TPoint d = distortion.TransformPoint(truth[i]);
      reference =
          std::max(reference, Distance(d, {frame[i].x - kPrincipalX, frame[i].y - kPrincipalY}));
    }
  }
  double worstOurs = 0.0;
  double worstRows = 0.0;
  std::size_t failed = 0;
  double reach = 0.0;  // the farthest input from the principal point
  for (std::size_t i = 0; i < n; ++i) {
    const double e = Distance((*out)[i], shuffledTruth[i]);
    if (std::isnan(e)) ++failed;
    worstOurs = std::max(worstOurs, std::isnan(e) ? HUGE_VAL : e);
    const double eRows = Distance((*outRows)[i], truth[i]);
    worstRows = std::max(worstRows, std::isnan(eRows) ? HUGE_VAL : eRows);
    reach = std::max(reach, Distance(frame[i], {kPrincipalX, kPrincipalY}));
  }
  c.Note("farthest input from the principal point (mm)", reach);
  c.Note("reference: its residual through our distortion (mm)", reference);
  c.Note("largest round-trip error, ours shuffled (mm)", worstOurs);
  c.Note("largest round-trip error, ours row order (mm)", worstRows);
  c.Note("points not mapped, ours", static_cast<double>(failed));
  if (!options.callgrind) {
    for (const auto& [name, mat] : {std::pair<const char*, std::shared_ptr<cv::Mat>>{
                                        "largest round-trip error, default (mm)", cvDefault},
                                    {"largest round-trip error, 20 iterations (mm)", cvTwenty}}) {
      double worst = 0.0;
      for (std::size_t i = 0; i < n; ++i) {
        const cv::Vec2d q = mat->at<cv::Vec2d>(static_cast<int>(i));
        worst = std::max(worst, Distance({q[0], q[1]}, shuffledTruth[i]));
      }
      c.Note(name, worst);
    }
  }
  return c;
}

// Grid: every pixel centre of a frame through the camera-to-millimetre transform, against the
// float maps of cv::initUndistortRectifyMap for the same frame.
TCase GridCase(std::size_t columns, std::size_t rows, const TOptions& options) {
  const TransformHandle handle = CreateCamToMmTransform(Camera(kModerate, TDirection::CamToMm));
  const TVx2DTransform& transform = *handle.second;
  TVxPointGrid grid;
  grid.columns = columns;
  grid.rows = rows;
  grid.x0 = (0.5 - 0.5 * static_cast<double>(columns)) * kDmcPixel;
  grid.dx = kDmcPixel;
  grid.y0 = (0.5 * static_cast<double>(rows) - 0.5) * kDmcPixel;
  grid.dy = -kDmcPixel;
  const std::size_t n = columns * rows;
  const auto out = std::make_shared<std::vector<TPoint>>(n);
  const auto map1 = std::make_shared<cv::Mat>();
  const auto map2 = std::make_shared<cv::Mat>();
  const double fPixels = kDmcFocal / kDmcPixel;
  const cv::Matx33d k =
      CameraMatrix(fPixels, 0.5 * static_cast<double>(columns) - 0.5 + kPrincipalX / kDmcPixel,
                   0.5 * static_cast<double>(rows) - 0.5 - kPrincipalY / kDmcPixel);
  const cv::Mat dist = DistCoeffs(kModerate);
  const cv::Size size(static_cast<int>(columns), static_cast<int>(rows));

  TCase c;
  c.name = "grid, every pixel centre of a " + std::to_string(columns) + " x " +
           std::to_string(rows) + " frame";
  c.points = static_cast<double>(n);
  const std::size_t ours = c.Add("VxCameraUtils TransformGrid", [&transform, grid, out] {
    TransformGrid(transform, grid, out->data());
  });
  if (!options.callgrind) {
    const auto maps = [k, dist, size, map1, map2] {
      cv::initUndistortRectifyMap(k, dist, cv::noArray(), k, size, CV_32FC1, *map1, *map2);
    };
    const std::size_t cv1 = c.Add("cv::initUndistortRectifyMap (CV_32FC1), 1 thread", maps);
    const std::size_t cvN = c.Add("cv::initUndistortRectifyMap (CV_32FC1), " +
                                      std::to_string(gCvDefaultThreads) + " threads (default)",
                                  maps, gCvDefaultThreads);
    c.Ratio("initUndistortRectifyMap 1 thread / ours", cv1, ours, 3.0);
    c.Ratio("initUndistortRectifyMap default threads / ours", cvN, ours);
  }
  RunCase(c, options);
  return c;
}

// Fit: the formula model fitted to a radial table camera (the camera's own distortion).
TCase FitCase(int fits, const TOptions& options) {
  TVxCameraInfo camera;
  camera.focus = kDmcFocal;
  camera.principalPoint = {kPrincipalX, kPrincipalY};
  TVxCameraDistortion& d = camera.distortion;
  d.type = TDistortionType::Radial;
  d.direction = TDirection::CamToMm;
  d.symmetryPoint = {kPrincipalX + 0.001, kPrincipalY};
  for (int i = 1; i <= 19; ++i) {
    const double r = 5.0 * i;
    d.tableR.push_back({r, -4e-7 * r * r * r + 3e-11 * std::pow(r, 5)});
  }
  const auto result = std::make_shared<TVxCameraDistortion>();
  const auto deviation = std::make_shared<double>(0.0);

  TCase c;
  c.name = "fit, ApproxCameraDistortion of a radial camera";
  c.points = fits;
  c.contenders.push_back(
      {"VxCameraUtils ApproxCameraDistortion", [camera, fits, result, deviation] {
         for (int i = 0; i < fits; ++i) {
           ApproxCameraDistortion(TDistortionType::Formula, result.get(), camera, 0.0,
                                  deviation.get());
         }
       }});
  RunCase(c, options);
  const double perFit = Median(c.contenders[0].seconds) / fits;
  c.Note("microseconds per fit (target <= 50)", perFit * 1e6);
  c.Note("largest deviation of the fit (mm)", *deviation);
  return c;
}

}  // namespace

int main(int argc, char** argv) {
  TOptions options;
  for (int i = 1; i < argc; ++i) {
    const std::string arg = argv[i];
    if (arg == "--repetitions" && i + 1 < argc) {
      options.repetitions = std::max(1, std::atoi(argv[++i]));
    } else if (arg == "--json" && i + 1 < argc) {
      options.json = argv[++i];
    } else if (arg == "--callgrind") {
      options.callgrind = true;
    } else {
      std::fprintf(stderr, "usage: %s [--repetitions N] [--json FILE] [--callgrind]\n", argv[0]);
      return 2;
    }
  }
  const int threadsAtStart = ThreadsOfProcess();
  gCvDefaultThreads = cv::getNumThreads();
  cv::setNumThreads(1);
  std::printf(
      "VxCameraUtils (one thread) against OpenCV %s (one thread, and %d threads by default), %s\n",
      CV_VERSION, gCvDefaultThreads,
      options.callgrind ? "callgrind mode (small sizes, one run)"
                        : ("warm-up and " + std::to_string(options.repetitions) +
                           " interleaved repetitions, medians")
                              .c_str());
  vxbench::TMachine machine;
  if (!options.callgrind) {
    machine = vxbench::MeasureMachine();
    std::printf("\nthe machine, measured\n");
    std::printf("  core clock (dependent integer adds), fastest try  %8.2f GHz (median %.2f)\n",
                machine.clockGHz, machine.clockMedianGHz);
    std::printf("  time-stamp counter                                %8.2f GHz\n", machine.tscGHz);
    std::printf("  AVX2 %s, FMA %s, AVX-512F %s\n", machine.avx2 ? "yes" : "no",
                machine.fma ? "yes" : "no", machine.avx512f ? "yes" : "no");
    std::printf("  256-bit adds, FMAs a cycle                        %8.2f %8.2f\n",
                machine.add256PerCycle, machine.fma256PerCycle);
    std::printf("  512-bit adds, FMAs a cycle                        %8.2f %8.2f\n",
                machine.add512PerCycle, machine.fma512PerCycle);
    std::printf("  512-bit multiplies, multiplies and adds mixed     %8.2f %8.2f\n",
                machine.mul512PerCycle, machine.mulAdd512PerCycle);
    const double gain = vxbench::Wide512Gain(machine);
    if (gain > 0.0) {
      std::printf("  doubles a cycle, 512-bit over 256-bit adds        %8.2f: %s\n", gain,
                  gain > 1.5 ? "full-width 512-bit units" : "512-bit operations in two halves");
    }
  }
  std::vector<TCase> cases;
  if (options.callgrind) {
    cases.push_back(ForwardCase(10000, options));
    cases.push_back(InverseCase(kModerate, 10000, options));
    cases.push_back(InverseCase(kStrong, 10000, options));
    cases.push_back(GridCase(128, 96, options));
    cases.push_back(FitCase(1, options));
  } else {
    cases.push_back(ForwardCase(1000000, options));
    cases.push_back(ForwardCase(10000000, options));
    cases.push_back(InverseCase(kModerate, 1000000, options));
    cases.push_back(InverseCase(kStrong, 1000000, options));
    cases.push_back(GridCase(kDmcColumns, kDmcRows, options));
    cases.push_back(FitCase(200, options));
  }
  std::printf("\nthreads of this process: %d at the start, %d at the end\n", threadsAtStart,
              ThreadsOfProcess());
  WriteJson(cases, machine, options);
  return 0;
}
