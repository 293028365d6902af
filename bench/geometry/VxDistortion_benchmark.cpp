// Points per second of every distortion model: one point at a time through the virtual call,
// and the batch call over an array; forward and inverse; and the grid call with and without the
// separable form. The items_per_second column is the number of points per second.

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "VxGeometry.h"

namespace {

using TModel = std::unique_ptr<TVx2DTransform>;
using TFactory = TModel (*)(bool inverse);

// 64 x 64 points over a 230 mm film frame, corners included.
constexpr int kGrid = 64;
constexpr double kHalfFormat = 115.0;
constexpr double kPi = 3.141592653589793;

std::vector<vec_t_<double, 2>> FilmGrid() {
  std::vector<vec_t_<double, 2>> points;
  for (int i = 0; i < kGrid; ++i) {
    for (int j = 0; j < kGrid; ++j) {
      points.push_back({-kHalfFormat + 2.0 * kHalfFormat * i / (kGrid - 1),
                        -kHalfFormat + 2.0 * kHalfFormat * j / (kGrid - 1)});
    }
  }
  return points;
}

double Rc10(double r) {
  return 4.0e-8 * r * r * r - 2.6e-12 * std::pow(r, 5);
}

TModel Formula(bool inverse) {
  TFormulaDistortion::TDistCoeff c;
  c.centre = {0.002, -0.003};
  c.k1 = 4.0e-8;
  c.k2 = -2.6e-12;
  c.k3 = 1.0e-17;
  c.p1 = 1.0e-7;
  c.p2 = -0.8e-7;
  c.b1 = 2.0e-6;
  c.a2 = -3.0e-6;
  c.inverse = inverse;
  return std::make_unique<TFormulaDistortion>(c);
}

TModel Radial(bool inverse) {
  std::vector<TRadialDistortion::TRadialTableItem> table;
  for (int i = 1; i <= 16; ++i) table.push_back({10.0 * i, Rc10(10.0 * i)});
  return std::make_unique<TRadialDistortion>(vec_t_<double, 2>{0.002, -0.003}, table, inverse);
}

TModel Directed(const std::vector<double>& angles, bool inverse) {
  TDirectedDistortion::TDirectedData data;
  data.centre = {0.002, -0.003};
  data.angles = angles;
  for (int i = 1; i <= 16; ++i) {
    TDirectedDistortion::TDirectedTableItem item{10.0 * i, {}};
    for (std::size_t j = 0; j < angles.size(); ++j) {
      item.dr.push_back(Rc10(10.0 * i) * (1.0 + 0.05 * static_cast<double>(j)));
    }
    data.table.push_back(item);
  }
  return std::make_unique<TDirectedDistortion>(data, inverse);
}

TModel Directed4(bool inverse) {
  return Directed({0.0, kPi / 2, kPi, 3 * kPi / 2}, inverse);
}

TModel Directed8(bool inverse) {
  return Directed({0.0, kPi / 4, kPi / 2, 3 * kPi / 4, kPi, 5 * kPi / 4, 3 * kPi / 2, 7 * kPi / 4},
                  inverse);
}

TModel Mixed(bool inverse) {
  const double a[7] = {2e-6, -1e-6, 3e-6, -2e-6, 1e-6, 4e-6, -3e-6};
  const double b[7] = {-1.5e-6, 2.5e-6, -2e-6, 1e-6, 3e-6, -4e-6, 2e-6};
  const double c[7] = {1e-6, 2e-5, -1e-5, 1e-6, -2e-6, 3e-6, -1e-6};
  const double K[3] = {4.0e-8, -2.6e-12, 1.0e-17};
  const double P[2] = {1.0e-7, -0.8e-7};
  const double focal = 153.228;
  const double zero = 0.0;
  return std::make_unique<TMixedDistortion>(vec_t_<double, 2>{0.002, -0.003}, focal, a, b, c, K, P,
                                            zero, zero, zero, inverse);
}

TModel Polynomial(bool inverse) {
  const double K[8] = {-0.3408e-3, 0.5753e-7, -0.1943e-11, 0, 0, 0, 0, 0};
  const double P[4] = {0.1175e-7, -0.2375e-6, 0, 0};
  const double focal = 153.228;
  const double zero = 0.0;
  return std::make_unique<TPolynomialDistortion>(vec_t_<double, 2>{0.002, -0.003}, focal, K, P,
                                                 zero, zero, inverse);
}

TModel Combined(bool inverse) {
  auto combined = std::make_unique<TCombinedTransform>();
  combined->AddTransform(TAffineTransform(1, 0, -0.01, 0, 1, 0.02));
  combined->AddTransform(*Formula(inverse));
  return combined;
}

void OnePoint(benchmark::State& state, TFactory factory, bool inverse) {
  const TModel model = factory(inverse);
  const TVx2DTransform& transform = *model;
  const auto points = FilmGrid();
  for (auto _ : state) {
    for (const auto& p : points) benchmark::DoNotOptimize(transform.TransformPoint(p));
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(points.size()));
}

void Batch(benchmark::State& state, TFactory factory, bool inverse) {
  const TModel model = factory(inverse);
  const auto points = FilmGrid();
  std::vector<vec_t_<double, 2>> out(points.size());
  for (auto _ : state) {
    benchmark::DoNotOptimize(model->TransformPoints(points.data(), out.data(), points.size()));
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(points.size()));
}

// The grid call over a 256 x 256 frame (1 MiB of results, in the caches) of the formula model after
// an affine map: a shift, which separates (the terms of each column and each row computed once),
// or a shift with a rotation of 1e-12 rad, which maps every point through the full kernel. The
// same model, the same arithmetic per lane otherwise: the ratio is what the separable grid earns.
void Grid(benchmark::State& state, double rotation) {
  TCombinedTransform camera;
  camera.AddTransform(TAffineTransform(1, -rotation, -0.01, rotation, 1, 0.02));
  camera.AddTransform(*Formula(false));
  TVxPointGrid grid;
  grid.columns = 256;
  grid.rows = 256;
  grid.x0 = -kHalfFormat;
  grid.y0 = kHalfFormat;
  grid.dx = 2.0 * kHalfFormat / 255;
  grid.dy = -grid.dx;
  std::vector<vec_t_<double, 2>> out(grid.columns * grid.rows);
  for (auto _ : state) {
    benchmark::DoNotOptimize(TransformGrid(camera, grid, out.data()));
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(out.size()));
}

// The inverse of a strong Brown lens (12 % at the corner of a DMC frame, 95 mm) and a moderate one
// (0.6 %), with decentering, over 2^16 points of the whole frame, in row order or shuffled (a
// fixed permutation): lanes of one vector then need different numbers of steps.
TModel BrownLens(double k1n, double k2n, double p1n, double p2n, double k3n) {
  const double f = 120.0;
  TFormulaDistortion::TDistCoeff c;
  c.centre = {0.05, -0.03};
  c.k1 = k1n / (f * f);
  c.k2 = k2n / std::pow(f, 4);
  c.k3 = k3n / std::pow(f, 6);
  c.p1 = p2n / f;
  c.p2 = p1n / f;
  c.inverse = true;
  return std::make_unique<TFormulaDistortion>(c);
}

std::vector<vec_t_<double, 2>> DmcFrame(bool shuffled) {
  std::vector<vec_t_<double, 2>> points;
  const int columns = 256, rows = 256;
  for (int j = 0; j < rows; ++j) {
    for (int i = 0; i < columns; ++i) {
      points.push_back({-46.08 + 92.16 * i / (columns - 1), 82.944 - 165.888 * j / (rows - 1)});
    }
  }
  if (shuffled) {
    std::uint64_t state = 0x9e3779b97f4a7c15u;  // a fixed xorshift sequence: the same every run
    for (std::size_t k = points.size() - 1; k > 0; --k) {
      state ^= state << 13;
      state ^= state >> 7;
      state ^= state << 17;
      std::swap(points[k], points[state % (k + 1)]);
    }
  }
  return points;
}

void Inverse(benchmark::State& state, bool strong, bool shuffled) {
  const TModel model = strong ? BrownLens(-0.25, 0.08, 1e-3, -5e-4, -0.01)
                              : BrownLens(-0.01, 0.003, 2e-5, -1e-5, 0.0);
  const auto points = DmcFrame(shuffled);
  std::vector<vec_t_<double, 2>> out(points.size());
  for (auto _ : state) {
    benchmark::DoNotOptimize(model->TransformPoints(points.data(), out.data(), points.size()));
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(points.size()));
}

}  // namespace

BENCHMARK_CAPTURE(Inverse, moderate_rows, false, false);
BENCHMARK_CAPTURE(Inverse, moderate_shuffled, false, true);
BENCHMARK_CAPTURE(Inverse, strong_rows, true, false);
BENCHMARK_CAPTURE(Inverse, strong_shuffled, true, true);

BENCHMARK_CAPTURE(Grid, separable_shift, 0.0);
BENCHMARK_CAPTURE(Grid, general_rotated, 1e-12);

// One point and batch, forward and inverse, of one model.
#define VX_BENCHMARK_MODEL(name)                            \
  BENCHMARK_CAPTURE(OnePoint, name##_forward, name, false); \
  BENCHMARK_CAPTURE(OnePoint, name##_inverse, name, true);  \
  BENCHMARK_CAPTURE(Batch, name##_forward, name, false);    \
  BENCHMARK_CAPTURE(Batch, name##_inverse, name, true)

VX_BENCHMARK_MODEL(Formula);
VX_BENCHMARK_MODEL(Radial);
VX_BENCHMARK_MODEL(Directed4);
VX_BENCHMARK_MODEL(Directed8);
VX_BENCHMARK_MODEL(Mixed);
VX_BENCHMARK_MODEL(Polynomial);
VX_BENCHMARK_MODEL(Combined);
