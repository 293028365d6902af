// The camera-to-millimetre transform of a formula camera against OpenCV, which applies the same
// Brown distortion (projectPoints), inverts it (undistortPoints) and builds resampling grids
// (initUndistortRectifyMap); and the time of one formula fit of a radial camera.
//
// One process, one thread for every contender. Each case runs its contenders one after the
// other within a repetition (interleaved, in an order that rotates), a warm-up repetition first,
// then `--repetitions` (at least 11) timed ones; it prints the median time of each contender and
// the median of the per-repetition ratios, and writes everything, per-repetition values included,
// to a JSON file.
//
//   VxVsPeers [--repetitions N] [--json FILE] [--callgrind]
//
// --callgrind: small sizes, one repetition, this library's contenders only, for instruction
// counts under valgrind --tool=callgrind (valgrind has no AVX-512: the AVX2 clones run).

#include <opencv2/calib3d.hpp>
#include <opencv2/core.hpp>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "VxCameraMath.h"
#include "VxGeometry.h"

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
};
// About 0.8 % of the radius at the frame's corner (0.8 mm): a moderate lens.
constexpr TBrown kModerate{"moderate", -0.01, 0.003, 2e-5, -1e-5, 0.0};
// About 12 % of the radius at the corner (12 mm): a strong wide-angle lens.
constexpr TBrown kStrong{"strong", -0.25, 0.08, 1e-3, -5e-4, -0.01};

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

// n points spread over the frame in camera coordinates (a lattice, corners included).
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
  TContender(std::string name_, std::function<void()> run_)
      : name(std::move(name_)), run(std::move(run_)) {}
  std::string name;
  std::function<void()> run;
  std::vector<double> seconds;
};

// A ratio reported per repetition: time of `slower` over time of `faster`.
struct TRatio {
  std::string name;
  std::size_t slower;
  std::size_t faster;
  double target;  // the ratio the case aims at
  bool atMost;    // the target is an upper bound (else a lower bound)
  std::vector<double> values;
};

struct TCase {
  std::string name;
  double points = 0.0;  // points (or fits) per run
  std::vector<TContender> contenders;
  std::vector<TRatio> ratios;
  std::vector<std::pair<std::string, double>> notes;  // accuracy figures
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
      t[k] = Seconds(c.contenders[k].run);
    }
    if (!options.callgrind && rep == 0) continue;  // warm-up
    for (std::size_t k = 0; k < t.size(); ++k) c.contenders[k].seconds.push_back(t[k]);
    for (auto& ratio : c.ratios) ratio.values.push_back(t[ratio.slower] / t[ratio.faster]);
  }
  std::printf("\n%s (%.0f per run)\n", c.name.c_str(), c.points);
  for (const auto& contender : c.contenders) {
    const double median = Median(contender.seconds);
    std::printf("  %-44s %12.3f ms %10.2f ns each\n", contender.name.c_str(), median * 1e3,
                median * 1e9 / c.points);
  }
  for (const auto& ratio : c.ratios) {
    const auto [lo, hi] = std::minmax_element(ratio.values.begin(), ratio.values.end());
    const double median = Median(ratio.values);
    const bool met = ratio.atMost ? median <= ratio.target : median >= ratio.target;
    std::printf("  ratio %-38s median %8.3f (%.3f .. %.3f), target %s %g: %s\n", ratio.name.c_str(),
                median, *lo, *hi, ratio.atMost ? "<=" : ">=", ratio.target, met ? "met" : "missed");
  }
  for (const auto& [name, value] : c.notes) std::printf("  %-44s %12.3g\n", name.c_str(), value);
}

void WriteNumbers(std::FILE* f, const std::vector<double>& v) {
  std::fputc('[', f);
  for (std::size_t i = 0; i < v.size(); ++i) std::fprintf(f, "%s%.9g", i ? ", " : "", v[i]);
  std::fputc(']', f);
}

void WriteJson(const std::vector<TCase>& cases, const TOptions& options) {
  std::FILE* f = std::fopen(options.json.c_str(), "w");
  if (f == nullptr) {
    std::fprintf(stderr, "cannot write %s\n", options.json.c_str());
    std::exit(1);
  }
  std::fprintf(f, "{\n  \"repetitions\": %d,\n  \"opencv\": \"%s\",\n  \"cases\": [\n",
               options.repetitions, CV_VERSION);
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

// The memory limit: a plain loop that copies 16-byte points (ordinary stores), and the C
// library's memcpy (streaming stores for large blocks).
__attribute__((noinline)) void CopyPoints(const TPoint* in, TPoint* out, std::size_t n) {
  for (std::size_t i = 0; i < n; ++i) out[i] = in[i];
}

__attribute__((noinline)) void MemcpyPoints(const TPoint* in, TPoint* out, std::size_t n) {
  std::memcpy(static_cast<void*>(out), in, n * sizeof(TPoint));
}

double Distance(const TPoint& a, const TPoint& b) {
  return std::hypot(a.x - b.x, a.y - b.y);
}

// Forward: our batch against cv::projectPoints and the copy loop.
TCase ForwardCase(std::size_t n, const TOptions& options) {
  const TVxCameraInfo camera = Camera(kModerate, TDirection::CamToMm);
  const TransformHandle handle = CreateCamToMmTransform(camera);
  const TVx2DTransform& transform = *handle.second;
  const auto in = std::make_shared<std::vector<TPoint>>(FramePoints(n));
  const auto out = std::make_shared<std::vector<TPoint>>(n);
  const auto copy = std::make_shared<std::vector<TPoint>>(n);
  // OpenCV's input: the shifted point in normalised coordinates on the plane z = 1.
  const auto object = std::make_shared<cv::Mat>(static_cast<int>(n), 1, CV_64FC3);
  for (std::size_t i = 0; i < n; ++i) {
    object->at<cv::Vec3d>(static_cast<int>(i)) = {((*in)[i].x - kPrincipalX) / kDmcFocal,
                                                  ((*in)[i].y - kPrincipalY) / kDmcFocal, 1.0};
  }
  const auto image = std::make_shared<cv::Mat>(static_cast<int>(n), 1, CV_64FC2);
  const cv::Matx33d k = CameraMatrix(kDmcFocal, 0.0, 0.0);
  const cv::Mat dist = DistCoeffs(kModerate);

  TCase c;
  c.name = "forward, camera to millimetre, " + std::to_string(n) + " points";
  c.points = static_cast<double>(n);
  c.contenders.push_back({"VxCameraUtils TransformPoints", [&transform, in, out] {
                            transform.TransformPoints(in->data(), out->data(), in->size());
                          }});
  c.contenders.push_back({"copy loop (16-byte points)",
                          [in, copy] { CopyPoints(in->data(), copy->data(), in->size()); }});
  c.contenders.push_back(
      {"memcpy", [in, copy] { MemcpyPoints(in->data(), copy->data(), in->size()); }});
  if (!options.callgrind) {
    c.contenders.push_back({"cv::projectPoints", [object, image, k, dist] {
                              cv::projectPoints(*object, cv::Vec3d(0, 0, 0), cv::Vec3d(0, 0, 0), k,
                                                dist, *image);
                            }});
    c.ratios.push_back({"projectPoints / ours", 3, 0, 20.0, false, {}});
  }
  c.ratios.push_back({"ours / copy loop", 0, 1, 1.2, true, {}});
  c.ratios.push_back({"ours / memcpy", 0, 2, 1.2, true, {}});
  RunCase(c, options);
  if (!options.callgrind) {
    double worst = 0.0;
    for (std::size_t i = 0; i < n; ++i) {
      const cv::Vec2d q = image->at<cv::Vec2d>(static_cast<int>(i));
      worst = std::max(worst, Distance((*out)[i], {q[0], q[1]}));
    }
    c.notes.push_back({"largest difference to OpenCV (mm)", worst});
    std::printf("  %-44s %12.3g\n", c.notes.back().first.c_str(), worst);
  }
  return c;
}

// Inverse: our batch (direction MmToCam) against cv::undistortPoints, on the image of a lattice
// over the frame; the round-trip error is the distance of the result to the lattice point.
TCase InverseCase(const TBrown& brown, std::size_t n, const TOptions& options) {
  const TransformHandle forward = CreateCamToMmTransform(Camera(brown, TDirection::CamToMm));
  const TransformHandle inverse = CreateCamToMmTransform(Camera(brown, TDirection::MmToCam));
  const TVx2DTransform& solve = *inverse.second;
  // Lattice points relative to the principal point, their images in camera coordinates (for
  // us) and relative to the principal point (for OpenCV).
  const std::vector<TPoint> camera = FramePoints(n);
  std::vector<TPoint> truth(n);
  forward.second->TransformPoints(camera.data(), truth.data(), n);  // undistorted, rel. to pp
  // The distorted point whose undistorted image is truth[i]: apply the distortion to truth[i].
  const TransformHandle distort = CreateCamToMmTransform([&] {
    TVxCameraInfo cam = Camera(brown, TDirection::MmToCam);
    cam.principalPoint = {0.0, 0.0};
    cam.distortion.symmetryPoint = {0.0, 0.0};
    return cam;
  }());
  // With direction MmToCam the stored coefficients map undistorted to distorted: the model
  // itself (inverse flag cleared) is the distortion.
  const TFormulaDistortion& solver = dynamic_cast<const TFormulaDistortion&>(*distort.second);
  TFormulaDistortion::TDistCoeff coefficients = solver.Coefficients();
  coefficients.inverse = false;
  const TFormulaDistortion distortion(coefficients);
  const auto distorted = std::make_shared<std::vector<TPoint>>(n);
  const auto src = std::make_shared<cv::Mat>(static_cast<int>(n), 1, CV_64FC2);
  for (std::size_t i = 0; i < n; ++i) {
    const TPoint d = distortion.TransformPoint(truth[i]);
    (*distorted)[i] = {d.x + kPrincipalX, d.y + kPrincipalY};
    src->at<cv::Vec2d>(static_cast<int>(i)) = {d.x, d.y};
  }
  const auto out = std::make_shared<std::vector<TPoint>>(n);
  const auto cvDefault = std::make_shared<cv::Mat>();
  const auto cvTwenty = std::make_shared<cv::Mat>();
  const cv::Matx33d k = CameraMatrix(kDmcFocal, 0.0, 0.0);
  const cv::Mat dist = DistCoeffs(brown);
  const cv::TermCriteria twenty(cv::TermCriteria::COUNT | cv::TermCriteria::EPS, 20, 1e-12);

  TCase c;
  c.name = std::string("inverse, ") + brown.name + " distortion, " + std::to_string(n) + " points";
  c.points = static_cast<double>(n);
  c.contenders.push_back({"VxCameraUtils TransformPoints (MmToCam)", [&solve, distorted, out] {
                            solve.TransformPoints(distorted->data(), out->data(),
                                                  distorted->size());
                          }});
  if (!options.callgrind) {
    c.contenders.push_back({"cv::undistortPoints, default criteria", [src, cvDefault, k, dist] {
                              cv::undistortPoints(*src, *cvDefault, k, dist, cv::noArray(), k);
                            }});
    c.contenders.push_back(
        {"cv::undistortPoints, COUNT|EPS 20 1e-12", [src, cvTwenty, k, dist, twenty] {
           cv::undistortPoints(*src, *cvTwenty, k, dist, cv::noArray(), k, twenty);
         }});
    c.ratios.push_back({"undistortPoints default / ours", 1, 0, 8.0, false, {}});
    c.ratios.push_back({"undistortPoints 20 iterations / ours", 2, 0, 50.0, false, {}});
  }
  RunCase(c, options);
  double ours = 0.0;
  std::size_t failed = 0;
  for (std::size_t i = 0; i < n; ++i) {
    const double e = Distance((*out)[i], truth[i]);
    if (std::isnan(e)) ++failed;
    ours = std::max(ours, std::isnan(e) ? HUGE_VAL : e);
  }
  c.notes.push_back({"largest round-trip error, ours (mm)", ours});
  c.notes.push_back({"points not mapped, ours", static_cast<double>(failed)});
  if (!options.callgrind) {
    for (const auto& [name, mat] : {std::pair<const char*, std::shared_ptr<cv::Mat>>{
                                        "largest round-trip error, default (mm)", cvDefault},
                                    {"largest round-trip error, 20 iterations (mm)", cvTwenty}}) {
      double worst = 0.0;
      for (std::size_t i = 0; i < n; ++i) {
        const cv::Vec2d q = mat->at<cv::Vec2d>(static_cast<int>(i));
        worst = std::max(worst, Distance({q[0], q[1]}, truth[i]));
      }
      c.notes.push_back({name, worst});
    }
  }
  for (std::size_t k2 = 0; k2 < c.notes.size(); ++k2) {
    std::printf("  %-44s %12.3g\n", c.notes[k2].first.c_str(), c.notes[k2].second);
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
  c.contenders.push_back({"VxCameraUtils TransformGrid", [&transform, grid, out] {
                            TransformGrid(transform, grid, out->data());
                          }});
  if (!options.callgrind) {
    c.contenders.push_back({"cv::initUndistortRectifyMap (CV_32FC1)", [k, dist, size, map1, map2] {
                              cv::initUndistortRectifyMap(k, dist, cv::noArray(), k, size, CV_32FC1,
                                                          *map1, *map2);
                            }});
    c.ratios.push_back({"initUndistortRectifyMap / ours", 1, 0, 3.0, false, {}});
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
  c.notes.push_back({"microseconds per fit (target <= 50)", perFit * 1e6});
  c.notes.push_back({"largest deviation of the fit (mm)", *deviation});
  std::printf("  %-44s %12.3g\n  %-44s %12.3g\n", c.notes[0].first.c_str(), c.notes[0].second,
              c.notes[1].first.c_str(), c.notes[1].second);
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
  cv::setNumThreads(1);
  std::printf("VxCameraUtils against OpenCV %s, one thread each, %s\n", CV_VERSION,
              options.callgrind ? "callgrind mode (small sizes, one run)"
                                : ("warm-up and " + std::to_string(options.repetitions) +
                                   " interleaved repetitions, medians")
                                      .c_str());
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
  WriteJson(cases, options);
  return 0;
}
