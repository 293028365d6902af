#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "VxMatr3x3.h"

namespace {

// Products of an inverse with its matrix, for matrices with entries of order 1 and condition
// below 1e3: rounding of the adjugate and the products stays below 1e-12.
constexpr double kInverseTolerance = 1e-12;
// The normal matrix of r^3, r^5, r^7 over 0.4 .. 40 mm has a condition of about 1e10, which
// costs ten of the sixteen digits: coefficients come back to a relative 1e-6.
constexpr double kFitRelativeTolerance = 1e-6;
constexpr int kTrials = 100;
constexpr unsigned kSeed = 42u;

TEST(Matr3x3, DefaultConstructed_IsTheZeroMatrix) {
  const matr3x3 m;
  for (int r = 0; r < 3; ++r) {
    for (int c = 0; c < 3; ++c) EXPECT_EQ(m(r, c), 0.0);
  }
  EXPECT_EQ(m.Det(), 0.0);
}

TEST(Matr3x3, Det_IsTheCofactorExpansion) {
  const matr3x3 m(2, -3, 1, 2, 0, -1, 1, 4, 5);
  // 2 (0 + 4) + 3 (10 + 1) + 1 (8 - 0) = 49
  EXPECT_EQ(m.Det(), 49.0);
  EXPECT_EQ(matr3x3(1, 0, 0, 0, 1, 0, 0, 0, 1).Det(), 1.0);
}

TEST(Matr3x3, ProductWithAVector_IsRowByColumn) {
  const matr3x3 m(1, 2, 3, 4, 5, 6, 7, 8, 9);
  const vec_t_<double, 3> v = m * vec_t_<double, 3>(1, 0, -1);
  EXPECT_EQ(v.x, -2.0);
  EXPECT_EQ(v.y, -2.0);
  EXPECT_EQ(v.z, -2.0);
}

TEST(Matr3x3, InvertSelf_GivesTheMatrixWhoseProductIsTheIdentity) {
  std::mt19937 engine(kSeed);
  std::uniform_real_distribution<double> entry(-1.0, 1.0);
  int tested = 0;
  for (int trial = 0; trial < kTrials; ++trial) {
    matr3x3 m;
    for (int r = 0; r < 3; ++r) {
      for (int c = 0; c < 3; ++c) m(r, c) = entry(engine) + (r == c ? 3.0 : 0.0);
    }
    matr3x3 inverse = m;
    inverse.Invert_self(m.Det());
    ++tested;
    for (int c = 0; c < 3; ++c) {
      const vec_t_<double, 3> column =
          m * vec_t_<double, 3>(inverse(0, c), inverse(1, c), inverse(2, c));
      for (int r = 0; r < 3; ++r) {
        EXPECT_NEAR(column[r], r == c ? 1.0 : 0.0, kInverseTolerance) << "trial " << trial;
      }
    }
  }
  EXPECT_EQ(tested, kTrials);
}

// The normal equations of a radial fit, r^3, r^5, r^7 over radii 0.4 .. 40 mm, solved and
// multiplied back.
TEST(Matr3x3, NormalEquationsOfARadialFit_AreSolvedExactlyEnough) {
  matr3x3 m;
  vec_t_<double, 3> v;
  const double c[3] = {1e-5, -2e-9, 3e-13};
  for (int i = 1; i <= 100; ++i) {
    const double r = 0.4 * i;
    const double f[3] = {r * r * r, r * r * r * r * r, r * r * r * r * r * r * r};
    const double e = c[0] * f[0] + c[1] * f[1] + c[2] * f[2];
    for (int a = 0; a < 3; ++a) {
      for (int b = 0; b < 3; ++b) m(a, b) += f[a] * f[b];
      v[a] += e * f[a];
    }
  }
  const double det = m.Det();
  ASSERT_NE(det, 0.0);
  m.Invert_self(det);
  const vec_t_<double, 3> solved = m * v;
  EXPECT_NEAR(solved.x, c[0], kFitRelativeTolerance * std::abs(c[0]));
  EXPECT_NEAR(solved.y, c[1], kFitRelativeTolerance * std::abs(c[1]));
  EXPECT_NEAR(solved.z, c[2], kFitRelativeTolerance * std::abs(c[2]));
}

}  // namespace
