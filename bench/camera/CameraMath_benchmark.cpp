// The camera geometry of one film camera in every distortion model: the time to build its
// camera-to-millimetre transform, and the time of one fit of the formula model to it (1600
// samples of the source and 1616 of source and fit for the largest deviation).

#include <benchmark/benchmark.h>

#include "VxCameraMath.h"

namespace {

using TDirection = TVxCameraDistortion::TDirection;

// The RC10 2337 of USGS report OSL/3036: its table of corrections, its principal point, and
// coefficients of the other models of the same size.
constexpr double kRadii[] = {20.173, 41.057, 64.097, 88.466, 107.291, 128.574};
constexpr double kCorrections[] = {-0.006, -0.010, -0.009, -0.001, 0.007, 0.010};

TVxCameraInfo FilmCamera(TDistortionType type) {
  TVxCameraInfo camera;
  camera.cameraType = TCameraType::Fiducials;
  camera.focus = 153.228;
  camera.principalPoint = {0.0, 0.007};
  TVxCameraDistortion& d = camera.distortion;
  d.type = type;
  d.symmetryPoint = {0.002, 0.005};
  for (int i = 0; i < 6; ++i) {
    d.tableR.push_back({kRadii[i], kCorrections[i]});
    TVxCameraDistortion::T4Direction row;
    row.r = kRadii[i];
    for (int k = 0; k < 4; ++k) row.dr[k] = kCorrections[i] * (1.0 + 0.05 * k);
    d.table4Plus.push_back(row);
    // The diagonal table half a step further out, so that the eight-direction merge interpolates.
    row.r += 10.0;
    d.table4X.push_back(row);
  }
  d.k1 = -7.79e-8;
  d.k2 = 1.317e-11;
  d.k3 = -5.06e-16;
  d.p1 = 1.175e-8;
  d.p2 = -2.375e-7;
  d.a1 = 1.0e-6;  // keeps the formula model from converting exactly: it is fitted
  d.mixed.K[0] = d.k1;
  d.mixed.K[1] = d.k2;
  d.mixed.K[2] = d.k3;
  d.mixed.P[0] = d.p1;
  d.mixed.P[1] = d.p2;
  d.mixed.c[5] = 2.0e-6;  // tangential: the mixed model is fitted, not copied
  d.polyK[0] = -0.3408e-3;
  d.polyK[1] = 0.5753e-7;
  d.polyK[2] = -0.1943e-11;
  d.polyP[0] = 1.175e-8;
  d.polyP[1] = -2.375e-7;
  return camera;
}

void BM_CreateCamToMmTransform(benchmark::State& state, TDistortionType type) {
  const TVxCameraInfo camera = FilmCamera(type);
  for (auto _ : state) {
    TransformHandle handle = CreateCamToMmTransform(camera);
    benchmark::DoNotOptimize(handle.second);
  }
}

// The second overload: the camera's own distortion, built and fitted over its radius.
void BM_ApproxCameraDistortion(benchmark::State& state, TDistortionType type) {
  const TVxCameraInfo camera = FilmCamera(type);
  TVxCameraDistortion result;
  double deviation = 0.0;
  for (auto _ : state) {
    const bool fitted =
        ApproxCameraDistortion(TDistortionType::Formula, &result, camera, 0.0, &deviation);
    benchmark::DoNotOptimize(fitted);
    benchmark::DoNotOptimize(deviation);
  }
}

// The first overload, for the model that the camera overload does not take: the fit of a
// transform built outside the loop.
void BM_ApproxTransform(benchmark::State& state, TDistortionType type) {
  const TVxCameraInfo camera = FilmCamera(type);
  const TransformHandle source = CreateCameraDistortionTransform(
      camera.distortion, camera.distortion.symmetryPoint - camera.principalPoint, camera.focus);
  TVxCameraDistortion result;
  double deviation = 0.0;
  for (auto _ : state) {
    const bool fitted = ApproxCameraDistortion(*source, TDistortionType::Formula, &result, camera,
                                               128.574, &deviation);
    benchmark::DoNotOptimize(fitted);
    benchmark::DoNotOptimize(deviation);
  }
}

#define VX_CAMERA_MODEL_BENCHMARKS(model)                                      \
  BENCHMARK_CAPTURE(BM_CreateCamToMmTransform, model, TDistortionType::model); \
  BENCHMARK_CAPTURE(BM_ApproxCameraDistortion, model, TDistortionType::model)  \
      ->Unit(benchmark::kMicrosecond)

BENCHMARK_CAPTURE(BM_CreateCamToMmTransform, None, TDistortionType::None);
VX_CAMERA_MODEL_BENCHMARKS(Formula);
VX_CAMERA_MODEL_BENCHMARKS(Radial);
VX_CAMERA_MODEL_BENCHMARKS(Directed4Plus);
VX_CAMERA_MODEL_BENCHMARKS(Directed4X);
VX_CAMERA_MODEL_BENCHMARKS(Directed8);
VX_CAMERA_MODEL_BENCHMARKS(Mixed);
BENCHMARK_CAPTURE(BM_CreateCamToMmTransform, Polynomial, TDistortionType::Polynomial);
BENCHMARK_CAPTURE(BM_ApproxTransform, Polynomial, TDistortionType::Polynomial)
    ->Unit(benchmark::kMicrosecond);

}  // namespace
