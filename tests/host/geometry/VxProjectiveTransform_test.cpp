// The projective transform: the map by its nine coefficients, its batch path, the horizon, the
// affine special case and copies.

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstddef>
#include <memory>
#include <random>
#include <vector>

#include "VxAffineTransform.h"
#include "VxProjectiveTransform.h"

namespace {

using TPoint = vec_t_<double, 2>;

// The map written out by hand for one matrix, to compare against.
TPoint ByHand(const std::array<double, 9>& h, const TPoint& p) {
  const double w = h[6] * p.x + h[7] * p.y + h[8];
  return {(h[0] * p.x + h[1] * p.y + h[2]) / w, (h[3] * p.x + h[4] * p.y + h[5]) / w};
}

constexpr std::array<double, 9> kTilted = {2.0, 0.5, 10.0, -0.25, 3.0, -4.0, 1e-3, -2e-3, 1.0};

TEST(ProjectiveTransform, Point_MapsByTheMatrixAndTheDivision) {
  const TProjectiveTransform projective(kTilted);
  // w = 1e-3 * 100 - 2e-3 * 50 + 1 = 1; so the result is the affine part exactly.
  EXPECT_EQ(projective.TransformPoint({100.0, 50.0}), (TPoint{235.0, 121.0}));
  EXPECT_EQ(projective.Coefficients(), kTilted);
  EXPECT_STREQ(projective.Name(), "projective");
  EXPECT_FALSE(projective.IsIdentity());
}

TEST(ProjectiveTransform, PointsOffTheHorizon_AreDividedByW) {
  const TProjectiveTransform projective(kTilted);
  const TPoint p{-30.0, 70.0};  // w = -0.03 - 0.14 + 1 = 0.83
  EXPECT_EQ(projective.TransformPoint(p), ByHand(kTilted, p));
}

TEST(ProjectiveTransform, PointOnTheHorizon_IsNaN) {
  // w = x - 5: the line x = 5 has no image.
  const TProjectiveTransform projective({1, 0, 0, 0, 1, 0, 1, 0, -5});
  EXPECT_TRUE(IsNaNPoint(projective.TransformPoint({5.0, 3.0})));
  EXPECT_FALSE(IsNaNPoint(projective.TransformPoint({6.0, 3.0})));
}

TEST(ProjectiveTransform, WithoutPerspectiveTerms_IsTheAffineMap) {
  const TProjectiveTransform projective({2, 3, 5, 7, 11, 13, 0, 0, 1});
  const TAffineTransform affine(2, 3, 5, 7, 11, 13);
  for (const TPoint p : {TPoint{1, -1}, TPoint{-120.5, 98.25}, TPoint{0, 0}}) {
    EXPECT_EQ(projective.TransformPoint(p), affine.TransformPoint(p));
  }
}

TEST(ProjectiveTransform, MultiplesOfTheUnitMatrix_AreTheIdentity) {
  EXPECT_TRUE(TProjectiveTransform({1, 0, 0, 0, 1, 0, 0, 0, 1}).IsIdentity());
  EXPECT_TRUE(TProjectiveTransform({-2, 0, 0, 0, -2, 0, 0, 0, -2}).IsIdentity());
  EXPECT_FALSE(TProjectiveTransform({0, 0, 0, 0, 0, 0, 0, 0, 0}).IsIdentity());
  EXPECT_FALSE(TProjectiveTransform({1, 0, 0, 0, 1, 0, 1e-9, 0, 1}).IsIdentity());
}

// Each of the nine coefficients alone away from a multiple of the unit matrix: the diagonal
// ones break the equality of the three, the others leave a term that moves points.
TEST(ProjectiveTransform, AnySingleCoefficientOffAMultipleOfTheUnitMatrix_IsNotTheIdentity) {
  const std::array<double, 9> unit{3, 0, 0, 0, 3, 0, 0, 0, 3};
  for (std::size_t k = 0; k < unit.size(); ++k) {
    std::array<double, 9> h = unit;
    h[k] += 1e-9;
    EXPECT_FALSE(TProjectiveTransform(h).IsIdentity()) << "coefficient " << k;
  }
}

TEST(ProjectiveTransform, Batch_EqualsTheOnePointPathAndCountsNaN) {
  const TProjectiveTransform projective({1, 0, 0, 0, 1, 0, 1, 0, -5});
  std::mt19937 random(11);  // fixed seed
  std::uniform_real_distribution<double> coordinate(-100.0, 100.0);
  constexpr int kPoints = 200;
  std::vector<TPoint> in;
  for (int i = 0; i < kPoints; ++i) in.push_back({coordinate(random), coordinate(random)});
  in.push_back({5.0, 1.0});  // on the horizon
  std::vector<TPoint> out(in.size());
  EXPECT_EQ(projective.TransformPoints(in.data(), out.data(), in.size()), 1u);
  for (std::size_t i = 0; i < kPoints; ++i) {
    EXPECT_EQ(out[i], projective.TransformPoint(in[i]));
  }
  // In place.
  std::vector<TPoint> same = in;
  EXPECT_EQ(projective.TransformPoints(same.data(), same.data(), same.size()), 1u);
  for (std::size_t i = 0; i < kPoints; ++i) EXPECT_EQ(same[i], out[i]);
}

TEST(ProjectiveTransform, Clone_IsAnEqualTransformOfItsOwn) {
  std::unique_ptr<TVx2DTransform> copy;
  {
    const TProjectiveTransform projective(kTilted);
    copy = projective.Clone();
  }
  const auto* clone = dynamic_cast<const TProjectiveTransform*>(copy.get());
  ASSERT_NE(clone, nullptr);
  EXPECT_EQ(clone->Coefficients(), kTilted);
}

}  // namespace
