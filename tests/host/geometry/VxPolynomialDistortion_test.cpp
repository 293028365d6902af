#include <gtest/gtest.h>

#include <cmath>
#include <stdexcept>

#include "VxPolynomialDistortion.h"

namespace {

// The displacement is read back as the mapped point minus the point; for points up to 100 mm
// from the origin that difference carries rounding of up to 1.4e-14 mm per coordinate.
constexpr double kClosedFormTolerance = 5e-14;

TEST(PolynomialDistortion, SmacReport_GivesTheReportedRadialDisplacement) {
  // A SMAC report in millimetre units: at r = 100 mm,
  // -0.3408e-3 * 100 + 0.5753e-7 * 1e6 - 0.1943e-11 * 1e10 = 0.00402 mm.
  const double K[8] = {-0.3408e-3, 0.5753e-7, -0.1943e-11, 0, 0, 0, 0, 0};
  const double P[4] = {0, 0, 0, 0};
  const TPolynomialDistortion model({0, 0}, 153.0, K, P, 0.0, 0.0, false);
  const vec_t_<double, 2> d = model.TransformPoint({0.0, 100.0}) - vec_t_<double, 2>{0.0, 100.0};
  EXPECT_NEAR(d.y, 0.00402, kClosedFormTolerance);
  EXPECT_EQ(d.x, 0.0);
}

TEST(PolynomialDistortion, EachK_AddsItsOddPowerOfTheRadius) {
  const vec_t_<double, 2> centre{-1.0, 2.0};
  const double r = 20.0;
  const vec_t_<double, 2> p = centre + vec_t_<double, 2>{-0.8 * r, 0.6 * r};
  for (int i = 0; i < 8; ++i) {
    double K[8] = {0, 0, 0, 0, 0, 0, 0, 0};
    K[i] = 1e-3 / std::pow(r, 2 * i);
    const double P[4] = {0, 0, 0, 0};
    const TPolynomialDistortion model(centre, 100.0, K, P, 0.0, 0.0, false);
    const double dr = K[i] * std::pow(r, 2 * i + 1);  // 0.02 mm
    const vec_t_<double, 2> d = model.TransformPoint(p) - p;
    EXPECT_NEAR(d.x, -0.8 * dr, kClosedFormTolerance) << "K" << i;
    EXPECT_NEAR(d.y, 0.6 * dr, kClosedFormTolerance) << "K" << i;
  }
}

TEST(PolynomialDistortion, Decentering_IsBrownAndBrownScaledByRSquared) {
  const double K[8] = {0, 0, 0, 0, 0, 0, 0, 0};
  const double P[4] = {1e-6, -2e-6, 3e-10, -4e-10};
  const TPolynomialDistortion model({0, 0}, 100.0, K, P, 0.0, 0.0, false);
  const double x = -30.0, y = 20.0, r2 = 1300.0;
  const vec_t_<double, 2> d = model.TransformPoint({x, y}) - vec_t_<double, 2>{x, y};
  const double ex = r2 + 2 * x * x, ey = r2 + 2 * y * y, xy = 2 * x * y;
  EXPECT_NEAR(d.x, P[0] * ex + P[1] * xy + r2 * (P[2] * ex + P[3] * xy), kClosedFormTolerance);
  EXPECT_NEAR(d.y, P[1] * ey + P[0] * xy + r2 * (P[3] * ey + P[2] * xy), kClosedFormTolerance);
}

TEST(PolynomialDistortion, Accessors_GiveWhatItWasBuiltFrom) {
  const double K[8] = {1, 2, 3, 4, 5, 6, 7, 8};
  const double P[4] = {9, 10, 11, 12};
  const TPolynomialDistortion model({0.5, -0.5}, 153.228, K, P, 0.0, 0.0, true);
  EXPECT_EQ(model.Centre(), (vec_t_<double, 2>{0.5, -0.5}));
  EXPECT_EQ(model.Focal(), 153.228);
  for (int i = 0; i < 8; ++i) EXPECT_EQ(model.K()[static_cast<std::size_t>(i)], i + 1);
  for (int i = 0; i < 4; ++i) EXPECT_EQ(model.P()[static_cast<std::size_t>(i)], i + 9);
  EXPECT_EQ(model.Reserved()[0], 0.0);
  EXPECT_TRUE(model.Inverse());
  EXPECT_STREQ(model.Name(), "polynomial distortion");
}

TEST(PolynomialDistortion, NonZeroReservedValueOrNullGroup_IsRejected) {
  const double K[8] = {};
  const double P[4] = {};
  EXPECT_THROW(TPolynomialDistortion({0, 0}, 100.0, K, P, 1.0, 0.0, false), std::invalid_argument);
  EXPECT_THROW(TPolynomialDistortion({0, 0}, 100.0, K, P, 0.0, -1.0, false), std::invalid_argument);
  EXPECT_THROW(TPolynomialDistortion({0, 0}, 100.0, nullptr, P, 0.0, 0.0, false),
               std::invalid_argument);
  EXPECT_THROW(TPolynomialDistortion({0, 0}, 100.0, K, nullptr, 0.0, 0.0, false),
               std::invalid_argument);
}

}  // namespace
