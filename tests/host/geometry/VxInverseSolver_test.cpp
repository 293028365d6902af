// The inverse that every distortion model shares: what it accepts and what it gives up on. A
// result is either NaN or a point that the model maps back onto the input to 1e-10 mm; points
// beyond the fold of a model have no preimage and give NaN; points inside the fold all have
// one, including those near the fold that only a damped Newton step reaches.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "DistortionCases.h"

namespace {

using TPoint = vec_t_<double, 2>;
using vx_test::kPi;

// The inverse promises |model(q) - p| <= 1e-10 mm for every result q that is not NaN. Reading
// the residual back through points of up to 400 mm adds rounding of about 1e-13 mm.
constexpr double kInverseAccuracy = 1e-10 + 1e-13;

// A model whose displacement is radial and an odd polynomial of the radius: the point at radius
// r from the centre goes to radius rho(r) = r + sum odd[i] r^(2i+1) in the same direction.
struct TRadialCase {
  std::string name;
  TPoint centre;
  std::vector<double> odd;  // the coefficients of r, r^3, r^5, ...
  // The model with these coefficients, forward or inverse.
  std::function<std::unique_ptr<TVx2DTransform>(bool inverse)> make;
};

double Rho(const TRadialCase& c, double r) {
  double sum = r;
  double power = r;
  for (double a : c.odd) {
    sum += a * power;
    power *= r * r;
  }
  return sum;
}

// d rho / dr.
double RhoSlope(const TRadialCase& c, double r) {
  double sum = 1.0;
  double power = 1.0;  // r^(2i)
  for (std::size_t i = 0; i < c.odd.size(); ++i) {
    sum += static_cast<double>(2 * i + 1) * c.odd[i] * power;
    power *= r * r;
  }
  return sum;
}

// The fold: the first radius where rho stops rising. Found by walking rho(r) in steps of
// 0.01 mm until it falls, then bisecting rho'(r) = 0 in the last two steps.
double FoldRadius(const TRadialCase& c) {
  constexpr double step = 0.01;
  double r = step;
  while (Rho(c, r + step) > Rho(c, r)) r += step;
  double lo = r - step, hi = r + step;  // rho' > 0 at lo, < 0 at hi
  EXPECT_GT(RhoSlope(c, lo), 0.0);
  EXPECT_LT(RhoSlope(c, hi), 0.0);
  for (int i = 0; i < 200 && hi - lo > 1e-13; ++i) {
    const double mid = 0.5 * (lo + hi);
    (RhoSlope(c, mid) > 0.0 ? lo : hi) = mid;
  }
  return lo;
}

std::vector<TRadialCase> FoldingCases() {
  using U = std::unique_ptr<TVx2DTransform>;
  const TPoint centre{0.3, -0.2};
  return {
      // r (1 - 1e-4 r^2): the fold at r = 57.7 mm, image radius 38.5 mm.
      {"FormulaK1",
       centre,
       {0.0, -1e-4},
       [centre](bool inverse) -> U {
         return std::make_unique<TFormulaDistortion>(centre, -1e-4, 0, 0, 0, 0, 0, 0, 0, 0,
                                                     inverse);
       }},
      // k1 pushing outwards, k2 pulling back: rho is convex near the centre and folds at
      // r = 91.6 mm (image radius 104.0 mm). Newton steps from the left overshoot the root.
      {"FormulaK1K2",
       centre,
       {0.0, 1e-4, -1e-8},
       [centre](bool inverse) -> U {
         return std::make_unique<TFormulaDistortion>(centre, 1e-4, -1e-8, 0, 0, 0, 0, 0, 0, 0,
                                                     inverse);
       }},
      // The same shape with a change of scale: the fold at r = 72.6 mm.
      {"PolynomialK0K1K2",
       centre,
       {1e-3, 2e-4, -3e-8},
       [centre](bool inverse) -> U {
         const double K[8] = {1e-3, 2e-4, -3e-8, 0, 0, 0, 0, 0};
         const double P[4] = {0, 0, 0, 0};
         const double zero = 0.0;
         return std::make_unique<TPolynomialDistortion>(centre, 100.0, K, P, zero, zero, inverse);
       }},
  };
}

TPoint Towards(const TPoint& centre, double radius, double angle) {
  return {centre.x + radius * std::cos(angle), centre.y + radius * std::sin(angle)};
}

// Just past the image of the fold there is no preimage: the closest the solver gets leaves a
// residual of at least the distance past the fold, which it must not accept.
TEST(InverseSolver, PointsJustPastTheFold_AreNaNOnBothPaths) {
  for (const TRadialCase& c : FoldingCases()) {
    SCOPED_TRACE(c.name);
    const double edge = Rho(c, FoldRadius(c));
    const auto inverse = c.make(true);
    std::vector<TPoint> points;
    for (const double past : {2e-10, 1e-9, 1e-8, 1e-6, 1e-4, 1e-2}) {
      for (int k = 0; k < 12; ++k) points.push_back(Towards(c.centre, edge + past, k * kPi / 6));
    }
    std::vector<TPoint> batch(points.size());
    EXPECT_EQ(inverse->TransformPoints(points.data(), batch.data(), points.size()), points.size());
    for (std::size_t k = 0; k < points.size(); ++k) {
      EXPECT_TRUE(IsNaNPoint(inverse->TransformPoint(points[k]))) << "point " << k;
      EXPECT_TRUE(IsNaNPoint(batch[k])) << "point " << k;
    }
  }
}

// Inside the image of the fold every point has a preimage, and the inverse finds it: over a
// dense grid of the disc, including points a micrometre from the edge where the first Newton
// steps overshoot the fold and only halved steps reach the solution.
TEST(InverseSolver, EveryPointInsideTheFold_IsInverted) {
  for (const TRadialCase& c : FoldingCases()) {
    SCOPED_TRACE(c.name);
    const double edge = Rho(c, FoldRadius(c));
    const auto inverse = c.make(true);
    const auto forward = c.make(false);
    std::vector<TPoint> points;
    constexpr int n = 201;
    for (int i = 0; i < n; ++i) {
      for (int j = 0; j < n; ++j) {
        const TPoint p{c.centre.x + edge * (2.0 * i / (n - 1) - 1.0),
                       c.centre.y + edge * (2.0 * j / (n - 1) - 1.0)};
        if ((p - c.centre).Length() < edge - 1e-3) points.push_back(p);
      }
    }
    for (int k = 0; k < 360; ++k) {
      for (const double inside : {1e-3, 1e-4, 1e-5}) {
        points.push_back(Towards(c.centre, edge - inside, k * kPi / 180));
      }
    }
    std::vector<TPoint> batch(points.size());
    EXPECT_EQ(inverse->TransformPoints(points.data(), batch.data(), points.size()), 0u);
    std::size_t failures = 0;
    double worst = 0.0;
    for (std::size_t k = 0; k < points.size(); ++k) {
      const double error = (forward->TransformPoint(batch[k]) - points[k]).Length();
      if (!(error <= kInverseAccuracy)) ++failures;
      worst = std::max(worst, std::isnan(error) ? HUGE_VAL : error);
    }
    EXPECT_EQ(failures, 0u) << "of " << points.size() << " points; worst residual " << worst;
  }
}

class InverseOfEveryModel : public ::testing::TestWithParam<vx_test::TModelCase> {};

// Over twice the image format, with the coefficients as they are and scaled up 30 and 300 times,
// so that every model folds somewhere and many points have no preimage: every result that is
// not NaN, one point at a time or in a batch, is mapped back onto its point by the model to
// 1e-10 mm.
TEST_P(InverseOfEveryModel, EveryResultThatIsNotNaN_SolvesTheModelToItsTolerance) {
  const vx_test::TFormat twice{2.0 * GetParam().format.halfWidth,
                               2.0 * GetParam().format.halfHeight};
  const auto points = vx_test::FormatGrid(twice, 101);
  std::size_t withoutPreimage = 0;
  for (const double scale : {1.0, 30.0, 300.0}) {
    SCOPED_TRACE(scale);
    const auto forward = GetParam().make(false, scale);
    const auto inverse = GetParam().make(true, scale);
    std::vector<TPoint> batch(points.size());
    const std::size_t nan = inverse->TransformPoints(points.data(), batch.data(), points.size());
    std::size_t counted = 0, failures = 0;
    double worst = 0.0;
    for (std::size_t k = 0; k < points.size(); ++k) {
      for (const TPoint& q : {inverse->TransformPoint(points[k]), batch[k]}) {
        if (IsNaNPoint(q)) continue;
        const double residual = (forward->TransformPoint(q) - points[k]).Length();
        if (!(residual <= kInverseAccuracy)) ++failures;
        worst = std::max(worst, residual);
      }
      if (IsNaNPoint(batch[k])) ++counted;
    }
    EXPECT_EQ(failures, 0u) << "worst residual " << worst << " mm";
    EXPECT_EQ(nan, counted);
    withoutPreimage += nan;
  }
  // The grid reaches points that the inverse must refuse.
  EXPECT_GT(withoutPreimage, 0u);
}

INSTANTIATE_TEST_SUITE_P(AllModels, InverseOfEveryModel,
                         ::testing::ValuesIn(vx_test::AllModelCases()),
                         [](const auto& param) { return param.param.name; });

}  // namespace
