// The fused batch paths: the formula model eight points at a time, the camera-to-millimetre
// composite (an affine map, then the formula model) as one loop, and the grid call. Every result
// must have exactly the bits of the one-point path, whatever the batch length, the position of a
// point within a vector, in place or not, and for points that only the damped solver maps.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "DistortionCases.h"

namespace {

using TPoint = vec_t_<double, 2>;

// Batch lengths around the vector width of eight: empty, tails only, whole vectors, both; and a
// batch long enough for the inverse's stragglers to fill its store of them many times over.
constexpr std::size_t kLengths[] = {0, 1, 7, 8, 9, 15, 16, 17, 31, 33, 64, 103, 4099};
// Points of the round trip over the DMC frame, per side.
constexpr int kRoundTripGrid = 201;
// Inverse after forward over the frame, as for every model (see the properties test).
constexpr double kRoundTripTolerance = 1e-9;

bool SameBits(const TPoint& a, const TPoint& b) {
  return std::memcmp(&a, &b, sizeof a) == 0;
}

// A Brown model (k4 = k5 = p3 = p4 = 0, the shorter kernel) with 12 % of radial distortion at the
// corner of a DMC frame: the fixed Newton steps just reach it there.
TFormulaDistortion::TDistCoeff StrongBrown() {
  const double f = 120.0;
  TFormulaDistortion::TDistCoeff c;
  c.centre = {0.001, -0.002};
  c.k1 = -0.25 / (f * f);
  c.k2 = 0.08 / std::pow(f, 4);
  c.k3 = -0.01 / std::pow(f, 6);
  c.p1 = -5e-4 / f;
  c.p2 = 1e-3 / f;
  c.b1 = 1e-4;
  c.a2 = -2e-4;
  return c;
}

// The same without the in-plane terms: radial and decentering only, as OpenCV's model (a shorter
// kernel again).
TFormulaDistortion::TDistCoeff StrongRadialDecentering() {
  auto c = StrongBrown();
  c.b1 = 0.0;
  c.a2 = 0.0;
  return c;
}

// r (1 - 1e-4 r^2): no preimage beyond 38.49 mm, so the inverse has NaN results.
TFormulaDistortion::TDistCoeff Folding() {
  TFormulaDistortion::TDistCoeff c;
  c.k1 = -1e-4;
  return c;
}

std::vector<TFormulaDistortion::TDistCoeff> Models() {
  return {vx_test::Rc10Formula(1.0), vx_test::StrongFormula(1.0), StrongBrown(),
          StrongRadialDecentering(), Folding()};
}

// Points over the DMC frame and a little beyond, with the special values mixed in at positions
// that fall in different lanes.
std::vector<TPoint> Points(std::size_t n) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const double inf = std::numeric_limits<double>::infinity();
  std::vector<TPoint> points;
  for (std::size_t i = 0; i < n; ++i) {
    const double t = static_cast<double>(i);
    points.push_back({-50.0 + std::fmod(t * 7.31, 100.0), 85.0 - std::fmod(t * 13.7, 170.0)});
  }
  const TPoint special[] = {{nan, 1.0}, {0.0, -0.0}, {-0.0, 0.0}, {inf, 2.0}, {3.0, -inf}};
  for (std::size_t k = 0; k < std::size(special); ++k) {
    const std::size_t at = 3 + 5 * k;
    if (at < n) points[at] = special[k];
  }
  return points;
}

std::size_t CountNaN(const std::vector<TPoint>& points) {
  std::size_t count = 0;
  for (const auto& p : points)
    if (IsNaNPoint(p)) ++count;
  return count;
}

// The batch of `transform` over Points(n), out of place and in place, against TransformPoint.
void ExpectBatchEqualsOnePoint(const TVx2DTransform& transform, const char* what) {
  for (std::size_t n : kLengths) {
    const std::vector<TPoint> in = Points(n);
    std::vector<TPoint> expected;
    for (const auto& p : in) expected.push_back(transform.TransformPoint(p));
    std::vector<TPoint> out(n);
    EXPECT_EQ(transform.TransformPoints(in.data(), out.data(), n), CountNaN(expected))
        << what << " n " << n;
    std::vector<TPoint> inPlace = in;
    EXPECT_EQ(transform.TransformPoints(inPlace.data(), inPlace.data(), n), CountNaN(expected))
        << what << " n " << n;
    for (std::size_t i = 0; i < n; ++i) {
      ASSERT_TRUE(SameBits(out[i], expected[i]))
          << what << " n " << n << " point " << i << ": " << out[i].x << " " << out[i].y
          << " against " << expected[i].x << " " << expected[i].y;
      ASSERT_TRUE(SameBits(inPlace[i], expected[i])) << what << " n " << n << " point " << i;
    }
  }
}

TEST(FormulaBatch, EveryResult_HasTheBitsOfTheOnePointPath) {
  for (const auto& coefficients : Models()) {
    for (bool inverse : {false, true}) {
      auto c = coefficients;
      c.inverse = inverse;
      ExpectBatchEqualsOnePoint(TFormulaDistortion(c), inverse ? "inverse" : "forward");
    }
  }
}

TEST(FormulaBatch, ShiftThenModel_RunsFusedWithTheBitsOfTheMembersOneByOne) {
  for (const auto& coefficients : Models()) {
    for (bool inverse : {false, true}) {
      auto c = coefficients;
      c.inverse = inverse;
      TCombinedTransform camera;
      camera.AddTransform(TAffineTransform(1, 0, -0.003, 0, 1, 0.002));
      camera.AddTransform(TFormulaDistortion(c));
      ExpectBatchEqualsOnePoint(camera, inverse ? "composite inverse" : "composite forward");
      // The composite's one-point path is its members' one-point paths in turn.
      const TPoint p{12.5, -40.25};
      EXPECT_TRUE(SameBits(camera.TransformPoint(p),
                           camera.Item(1).TransformPoint(camera.Item(0).TransformPoint(p))));
    }
  }
}

TEST(FormulaBatch, GeneralAffineThenModel_EqualsOnePointPath) {
  TCombinedTransform chain;
  chain.AddTransform(TAffineTransform(0.999, 1e-3, -0.5, -2e-3, 1.001, 0.25));
  chain.AddTransform(TFormulaDistortion(StrongBrown()));
  ExpectBatchEqualsOnePoint(chain, "affine then formula");
}

TEST(FormulaBatch, StrongBrownInverse_ReturnsEveryPointOfTheFrame) {
  const TFormulaDistortion forward(StrongBrown());
  auto c = StrongBrown();
  c.inverse = true;
  const TFormulaDistortion inverse(c);
  const auto truth = vx_test::FormatGrid(vx_test::kDmcFormat, kRoundTripGrid);
  std::vector<TPoint> image(truth.size());
  ASSERT_EQ(forward.TransformPoints(truth.data(), image.data(), truth.size()), 0u);
  std::vector<TPoint> back(truth.size());
  ASSERT_EQ(inverse.TransformPoints(image.data(), back.data(), image.size()), 0u);
  double worst = 0.0;
  for (std::size_t i = 0; i < truth.size(); ++i) {
    worst = std::max(worst, vx_test::Distance(back[i], truth[i]));
  }
  EXPECT_LE(worst, kRoundTripTolerance);
}

TEST(FormulaBatch, NaNInAnyLane_IsCountedOnce) {
  auto c = vx_test::Rc10Formula(1.0);
  const TFormulaDistortion model(c);
  for (std::size_t lane = 0; lane < 16; ++lane) {
    std::vector<TPoint> in(16, TPoint{10.0, 20.0});
    in[lane].y = std::nan("");
    std::vector<TPoint> out(in.size());
    EXPECT_EQ(model.TransformPoints(in.data(), out.data(), in.size()), 1u) << "lane " << lane;
    EXPECT_TRUE(IsNaNPoint(out[lane]));
  }
}

// The pixel centres of a small frame with the origin in its middle and y up.
TVxPointGrid PixelGrid(std::size_t columns, std::size_t rows, double pixel) {
  TVxPointGrid grid;
  grid.columns = columns;
  grid.rows = rows;
  grid.x0 = (0.5 - 0.5 * static_cast<double>(columns)) * pixel;
  grid.dx = pixel;
  grid.y0 = (0.5 * static_cast<double>(rows) - 0.5) * pixel;
  grid.dy = -pixel;
  return grid;
}

void ExpectGridEqualsOnePoint(const TVx2DTransform& transform, const TVxPointGrid& grid,
                              const char* what) {
  std::vector<TPoint> out(grid.columns * grid.rows);
  std::size_t nan = 0;
  std::vector<TPoint> expected;
  for (std::size_t j = 0; j < grid.rows; ++j) {
    for (std::size_t i = 0; i < grid.columns; ++i) {
      const TPoint p{grid.x0 + static_cast<double>(i) * grid.dx,
                     grid.y0 + static_cast<double>(j) * grid.dy};
      expected.push_back(transform.TransformPoint(p));
      if (IsNaNPoint(expected.back())) ++nan;
    }
  }
  EXPECT_EQ(TransformGrid(transform, grid, out.data()), nan) << what;
  for (std::size_t k = 0; k < out.size(); ++k) {
    ASSERT_TRUE(SameBits(out[k], expected[k])) << what << " point " << k;
  }
}

TEST(TransformGrid, EveryPoint_HasTheBitsOfTheOnePointPath) {
  // 37 columns: four vectors of eight and a tail of five in every row.
  const TVxPointGrid grid = PixelGrid(37, 11, 2.5);
  for (bool inverse : {false, true}) {
    for (auto c : {StrongBrown(), StrongRadialDecentering(), vx_test::Rc10Formula(1.0)}) {
      c.inverse = inverse;
      TCombinedTransform camera;
      camera.AddTransform(TAffineTransform(1, 0, -0.003, 0, 1, 0.002));
      camera.AddTransform(TFormulaDistortion(c));
      ExpectGridEqualsOnePoint(camera, grid, "camera to millimetre");
      ExpectGridEqualsOnePoint(TFormulaDistortion(c), grid, "formula");
    }
  }
  // Transforms without a fused grid loop go through their batch call.
  ExpectGridEqualsOnePoint(TRadialDistortion({0.01, 0.02}, vx_test::StrongTable(1.0), true), grid,
                           "radial");
  ExpectGridEqualsOnePoint(TUnityTransform(), grid, "unity");
}

// Grids of 16 MiB and more are written with streaming stores: the same bits. A batch of points
// as large (ordinary stores) checked beside it.
TEST(TransformGrid, LargeGrid_WrittenPastTheCachesHasTheSameBits) {
  TCombinedTransform camera;
  camera.AddTransform(TAffineTransform(1, 0, -0.003, 0, 1, 0.002));
  camera.AddTransform(TFormulaDistortion(StrongRadialDecentering()));
  const TVxPointGrid grid = PixelGrid(1101, 1000, 0.08);
  ExpectGridEqualsOnePoint(camera, grid, "large grid");
  std::vector<TPoint> in(grid.columns * grid.rows);
  TransformGrid(TUnityTransform(), grid, in.data());
  std::vector<TPoint> out(in.size());
  EXPECT_EQ(camera.TransformPoints(in.data(), out.data(), in.size()), 0u);
  for (std::size_t k = 0; k < in.size(); ++k) {
    ASSERT_TRUE(SameBits(out[k], camera.TransformPoint(in[k]))) << "point " << k;
  }
}

// Batches of points of 16 MiB and more are written with streaming stores where the processor has
// AVX-512, 64 bytes at a time, after the first points are mapped one at a time until the output
// is aligned: the same bits and NaN count for every alignment of the output, in place too, with
// NaN and infinite points among the first ones and among the rest.
// The batch of `transform` over `in` into outputs starting at each of the four 16-byte places
// of a cache line, out of place and in place, against TransformPoint.
void ExpectEveryAlignmentEqualsOnePoint(const TVx2DTransform& transform,
                                        const std::vector<TPoint>& in, const char* what) {
  const std::size_t n = in.size();
  std::vector<TPoint> expected(n);
  for (std::size_t k = 0; k < n; ++k) expected[k] = transform.TransformPoint(in[k]);
  const std::size_t nan = CountNaN(expected);
  ASSERT_GT(nan, 0u) << what;
  std::vector<TPoint> buffer(n + 4);
  for (std::size_t shift = 0; shift < 4; ++shift) {
    TPoint* out = buffer.data() + shift;
    EXPECT_EQ(transform.TransformPoints(in.data(), out, n), nan) << what << ", shift " << shift;
    for (std::size_t k = 0; k < n; ++k) {
      ASSERT_TRUE(SameBits(out[k], expected[k])) << what << ", shift " << shift << " point " << k;
    }
    std::copy(in.begin(), in.end(), out);
    EXPECT_EQ(transform.TransformPoints(out, out, n), nan) << what << " in place, shift " << shift;
    for (std::size_t k = 0; k < n; ++k) {
      ASSERT_TRUE(SameBits(out[k], expected[k]))
          << what << " in place, shift " << shift << " point " << k;
    }
  }
}

// A batch of points of 16 MiB and more, past the caches (where a loop may be tempted to write
// differently): the same bits and NaN count for every alignment of the output within a cache
// line, in place too, with a NaN among the first points (alone, and with more among the rest:
// the NaN marks of a lone result must still be seen).
TEST(FormulaBatch, LargeBatch_AnyAlignmentOfTheOutputHasTheSameBits) {
  TCombinedTransform camera;
  camera.AddTransform(TAffineTransform(1, 0, -0.003, 0, 1, 0.002));
  camera.AddTransform(TFormulaDistortion(StrongRadialDecentering()));
  const std::size_t n = (std::size_t{16} << 20) / sizeof(TPoint) + 13;
  std::vector<TPoint> in = Points(n);  // special points at 3, 8, 13, 18 and 23
  in[1].y = std::numeric_limits<double>::quiet_NaN();
  ExpectEveryAlignmentEqualsOnePoint(camera, in, "special points");
  std::vector<TPoint> onlyFirst = Points(n + 30);
  onlyFirst.erase(onlyFirst.begin(), onlyFirst.begin() + 30);
  onlyFirst[1].x = std::numeric_limits<double>::quiet_NaN();
  ExpectEveryAlignmentEqualsOnePoint(camera, onlyFirst, "one NaN among the first points");
}

TEST(TransformGrid, PointsWithoutPreimage_AreNaNAndCounted) {
  auto c = Folding();
  c.inverse = true;
  const TFormulaDistortion model(c);
  ExpectGridEqualsOnePoint(model, PixelGrid(40, 9, 5.0), "folding");
  std::vector<TPoint> out(40 * 9);
  EXPECT_GT(TransformGrid(model, PixelGrid(40, 9, 5.0), out.data()), 0u);
}

TEST(TransformGrid, EmptyGrid_WritesNothing) {
  TPoint untouched{1.0, 2.0};
  TVxPointGrid grid = PixelGrid(0, 5, 1.0);
  EXPECT_EQ(TransformGrid(TFormulaDistortion(StrongBrown()), grid, &untouched), 0u);
  grid = PixelGrid(5, 0, 1.0);
  EXPECT_EQ(TransformGrid(TFormulaDistortion(StrongBrown()), grid, &untouched), 0u);
  EXPECT_EQ(untouched, (TPoint{1.0, 2.0}));
}

// Every model runs the same loops from its kernel: its batch, an affine map in front of it in a
// composite, and the grid, forward and inverse, each with the bits of the one-point path.
TEST(EveryModelBatch, PointsCompositeAndGrid_HaveTheBitsOfTheOnePointPath) {
  const TVxPointGrid grid = PixelGrid(29, 7, 9.5);
  for (const auto& model : vx_test::AllModelCases()) {
    for (bool inverse : {false, true}) {
      const auto transform = model.make(inverse, 1.0);
      const std::string what = model.name + (inverse ? " inverse" : " forward");
      ExpectBatchEqualsOnePoint(*transform, what.c_str());
      ExpectGridEqualsOnePoint(*transform, grid, what.c_str());
      // A scale and a shift in front (the separable case), then a general affine map.
      for (const TAffineTransform& first : {TAffineTransform(1.25, 0, -0.003, 0, 0.8, 0.002),
                                            TAffineTransform(0.9, 0.1, 0.5, -0.2, 1.1, -0.3)}) {
        TCombinedTransform chain;
        chain.AddTransform(first);
        chain.AddTransform(*transform);
        ExpectBatchEqualsOnePoint(chain, (what + " after an affine map").c_str());
        ExpectGridEqualsOnePoint(chain, grid, (what + " after an affine map").c_str());
      }
      // The composite hands the affine map to the model's own loop.
      std::size_t nan = 0;
      const std::array<double, 6> shift{1, 0, 0.5, 0, 1, -0.5};
      const TPoint in{3.0, 4.0};
      TPoint out{};
      EXPECT_TRUE(transform->TransformPointsAfter(&shift, &in, &out, 1, &nan)) << what;
      EXPECT_TRUE(SameBits(out, transform->TransformPoint({3.5, 3.5}))) << what;
    }
  }
}

}  // namespace
