// The two measures by which a fiducial fit is judged degenerate, each against a second method:
// the smallest stretch of a map and the thinnest spread of a point set, found here by searching
// over every direction rather than by the closed forms of the solver.

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <random>
#include <vector>

#include "VxIntOrMeas/IntOrFits.h"
#include "VxIntOrMeas/IntOrPlanar.h"

namespace {

using vx_intor_detail::TMatrix;
using vx_intor_detail::TPoint;

constexpr double kPi = 3.14159265358979323846;
constexpr int kTrials = 200;  // random cases a test, fixed seed
// The search finds a minimum to about 1e-12 of the angle; the measures agree to 1e-9, and to
// 1e-7 where the second method differentiates the map by central differences (step 1e-5).
constexpr double kAgreement = 1e-9;
constexpr double kDifferencedAgreement = 1e-7;

// The least of f over the directions 0 .. pi: a scan of 3600 angles, then golden sections around
// the best one.
double LeastOverDirections(const std::function<double(double)>& f) {
  constexpr int kSteps = 3600;
  int best = 0;
  for (int i = 1; i < kSteps; ++i) {
    if (f(kPi * i / kSteps) < f(kPi * best / kSteps)) best = i;
  }
  double a = kPi * (best - 1) / kSteps, b = kPi * (best + 1) / kSteps;
  const double g = (std::sqrt(5.0) - 1.0) / 2.0;
  for (int i = 0; i < 100; ++i) {
    const double c = b - g * (b - a), d = a + g * (b - a);
    if (f(c) < f(d)) {
      b = d;
    } else {
      a = c;
    }
  }
  return f((a + b) / 2.0);
}

// The map of (x, y) by the 3x3 matrix, as a projective map.
TPoint Map(const TMatrix& m, double x, double y) {
  const double w = m[6] * x + m[7] * y + m[8];
  return {(m[0] * x + m[1] * y + m[2]) / w, (m[3] * x + m[4] * y + m[5]) / w};
}

TEST(SolveConditioning, SmallestSingularValueIsTheLeastStretchOfAnyDirection) {
  std::mt19937 random(31);
  std::uniform_real_distribution<double> coefficient(-2.0, 2.0), small(-0.2, 0.2);
  for (int trial = 0; trial < kTrials; ++trial) {
    TMatrix m{coefficient(random),
              coefficient(random),
              coefficient(random),
              coefficient(random),
              coefficient(random),
              coefficient(random),
              trial % 2 == 0 ? 0.0 : small(random),
              trial % 2 == 0 ? 0.0 : small(random),
              1.0 + small(random)};
    // The Jacobian at the origin by central differences: the stretch of a unit direction.
    constexpr double h = 1e-5;
    const auto stretch = [&](double angle) {
      const double ux = std::cos(angle), uy = std::sin(angle);
      const TPoint ahead = Map(m, h * ux, h * uy), behind = Map(m, -h * ux, -h * uy);
      return std::hypot(ahead.x - behind.x, ahead.y - behind.y) / (2.0 * h);
    };
    EXPECT_NEAR(vx_intor_detail::SmallestSingularValueAtOrigin(m), LeastOverDirections(stretch),
                kDifferencedAgreement)
        << "trial " << trial;
  }
}

TEST(SolveConditioning, SingularMapsHaveNoStretchAcross) {
  // Rank one: every point goes onto one line.
  EXPECT_EQ(vx_intor_detail::SmallestSingularValueAtOrigin({2, 4, 1, 1, 2, 3, 0, 0, 1}), 0.0);
  EXPECT_EQ(vx_intor_detail::SmallestSingularValueAtOrigin({0, 0, 1, 0, 0, 3, 0, 0, 1}), 0.0);
  EXPECT_NEAR(vx_intor_detail::SmallestSingularValueAtOrigin({3, 0, 0, 0, 0.5, 0, 0, 0, 1}), 0.5,
              1e-15);
}

TEST(SolveConditioning, ThinnestSpreadIsTheLeastRootMeanSquareAcrossAnyLine) {
  std::mt19937 random(37);
  std::normal_distribution<double> coordinate(0.0, 1.0);
  std::uniform_real_distribution<double> squeeze(0.0, 1.0);
  for (int trial = 0; trial < kTrials; ++trial) {
    // Points about the origin, squeezed along a random direction, centred as the solver does.
    const double angle = kPi * squeeze(random), factor = squeeze(random);
    std::vector<TPoint> points(3 + static_cast<std::size_t>(trial % 20));
    TPoint centre;
    for (TPoint& p : points) {
      const double along = coordinate(random), across = factor * coordinate(random);
      p = {along * std::cos(angle) - across * std::sin(angle),
           along * std::sin(angle) + across * std::cos(angle)};
      centre += p;
    }
    centre /= static_cast<double>(points.size());
    for (TPoint& p : points) p -= centre;
    const auto across = [&](double direction) {
      const double nx = -std::sin(direction), ny = std::cos(direction);
      double sum = 0.0;
      for (const TPoint& p : points) sum += (p.x * nx + p.y * ny) * (p.x * nx + p.y * ny);
      return std::sqrt(sum / static_cast<double>(points.size()));
    };
    EXPECT_NEAR(vx_intor_detail::ThinnestSpread(points), LeastOverDirections(across), kAgreement)
        << "trial " << trial;
  }
}

TEST(SolveConditioning, PointsOnOneLineHaveNoSpreadAcrossIt) {
  EXPECT_EQ(vx_intor_detail::ThinnestSpread({{-1, -2}, {0, 0}, {1, 2}}), 0.0);
  EXPECT_EQ(vx_intor_detail::ThinnestSpread({{0, 0}, {0, 0}}), 0.0);
  EXPECT_NEAR(vx_intor_detail::ThinnestSpread({{-1, 0}, {1, 0}, {0, -0.5}, {0, 0.5}}),
              std::sqrt(0.125), 1e-15);
}

}  // namespace
