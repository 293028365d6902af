// Properties that every distortion model has: the inverse undoes the model over the whole
// image format, the displacement is linear in the scaled coefficients, the batch map equals the
// one-point map, and a clone maps like its original.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "DistortionCases.h"

namespace {

using vx_test::Distance;
using vx_test::TModelCase;

// The inverse promises q with |model(q) - p| <= 1e-10 mm.
constexpr double kInverseAccuracy = 1e-10;
// Inverse after forward must return the point to 1e-9 mm: the inverse's 1e-10 mm in the image,
// divided by the local scale of the model (near 1), plus the rounding of points of 160 mm.
constexpr double kRoundTripTolerance = 1e-9;
// Grid of the round trip: 201 x 201 points over the format, corners included.
constexpr int kRoundTripGrid = 201;
// Grid of the cheaper properties.
constexpr int kPropertyGrid = 41;
// Linearity holds exactly in the formulas; the test sees it through points of up to 160 mm, so
// each mapped coordinate carries rounding of up to 4e-14 mm. 1e-12 mm leaves room for the
// terms of the displacement that are each larger than the displacement itself.
constexpr double kLinearityTolerance = 1e-12;
// Scale factors a distortion multiplier may take.
constexpr double kScales[] = {2.5, -0.7, 0.0, 1e-3};

class DistortionModel : public ::testing::TestWithParam<TModelCase> {};

TEST_P(DistortionModel, ForwardAfterInverse_ReturnsThePointOverTheWholeFormat) {
  const auto forward = GetParam().make(false, 1.0);
  const auto inverse = GetParam().make(true, 1.0);
  double worst = 0.0;
  std::size_t failures = 0;
  for (const auto& p : vx_test::FormatGrid(GetParam().format, kRoundTripGrid)) {
    const vec_t_<double, 2> q = inverse->TransformPoint(p);
    const double error = Distance(forward->TransformPoint(q), p);
    if (!(error <= kInverseAccuracy)) ++failures;
    worst = std::max(worst, std::isnan(error) ? HUGE_VAL : error);
  }
  EXPECT_EQ(failures, 0u) << "worst error " << worst << " mm";
}

TEST_P(DistortionModel, InverseAfterForward_ReturnsThePointOverTheWholeFormat) {
  const auto forward = GetParam().make(false, 1.0);
  const auto inverse = GetParam().make(true, 1.0);
  double worst = 0.0;
  std::size_t failures = 0;
  for (const auto& p : vx_test::FormatGrid(GetParam().format, kRoundTripGrid)) {
    const double error = Distance(inverse->TransformPoint(forward->TransformPoint(p)), p);
    if (!(error <= kRoundTripTolerance)) ++failures;
    worst = std::max(worst, std::isnan(error) ? HUGE_VAL : error);
  }
  EXPECT_EQ(failures, 0u) << "worst error " << worst << " mm";
}

TEST_P(DistortionModel, ScalingTheCoefficients_ScalesTheDisplacement) {
  const auto unit = GetParam().make(false, 1.0);
  const auto points = vx_test::FormatGrid(GetParam().format, kPropertyGrid);
  for (double s : kScales) {
    const auto scaled = GetParam().make(false, s);
    double worst = 0.0;
    for (const auto& p : points) {
      const vec_t_<double, 2> expected = s * (unit->TransformPoint(p) - p);
      worst = std::max(worst, Distance(scaled->TransformPoint(p) - p, expected));
    }
    EXPECT_LE(worst, kLinearityTolerance) << "scale " << s;
  }
}

TEST_P(DistortionModel, ZeroScale_IsTheIdentity) {
  const auto zero = GetParam().make(false, 0.0);
  EXPECT_TRUE(zero->IsIdentity());
  EXPECT_FALSE(GetParam().make(false, 1.0)->IsIdentity());
  const vec_t_<double, 2> p{12.5, -40.25};
  EXPECT_EQ(zero->TransformPoint(p), p);
}

TEST_P(DistortionModel, BatchMap_EqualsOnePointMapInBothSenses) {
  const auto points = vx_test::FormatGrid(GetParam().format, kPropertyGrid);
  for (bool inverse : {false, true}) {
    const auto model = GetParam().make(inverse, 1.0);
    std::vector<vec_t_<double, 2>> out(points.size());
    EXPECT_EQ(model->TransformPoints(points.data(), out.data(), points.size()), 0u);
    std::vector<vec_t_<double, 2>> inPlace = points;
    EXPECT_EQ(model->TransformPoints(inPlace.data(), inPlace.data(), inPlace.size()), 0u);
    for (std::size_t i = 0; i < points.size(); ++i) {
      const vec_t_<double, 2> expected = model->TransformPoint(points[i]);
      ASSERT_EQ(out[i], expected) << "point " << i << " inverse " << inverse;
      ASSERT_EQ(inPlace[i], expected) << "point " << i << " inverse " << inverse;
    }
  }
}

TEST_P(DistortionModel, Clone_MapsLikeTheOriginalAndKeepsItsClass) {
  const auto model = GetParam().make(true, 1.0);
  const auto copy = model->Clone();
  ASSERT_NE(copy, nullptr);
  EXPECT_NE(copy.get(), model.get());
  EXPECT_EQ(typeid(*copy), typeid(*model));
  EXPECT_STREQ(copy->Name(), model->Name());
  for (const auto& p : vx_test::FormatGrid(GetParam().format, 11)) {
    EXPECT_EQ(copy->TransformPoint(p), model->TransformPoint(p));
  }
}

TEST_P(DistortionModel, NaNPoint_GivesNaNAndCountsAsNotMapped) {
  const double nan = std::nan("");
  const vec_t_<double, 2> in[2] = {{nan, 1.0}, {3.0, 4.0}};
  for (bool inverse : {false, true}) {
    const auto model = GetParam().make(inverse, 1.0);
    EXPECT_TRUE(IsNaNPoint(model->TransformPoint(in[0])));
    vec_t_<double, 2> out[2];
    EXPECT_EQ(model->TransformPoints(in, out, 2), 1u);
    EXPECT_FALSE(IsNaNPoint(out[1]));
  }
}

INSTANTIATE_TEST_SUITE_P(AllModels, DistortionModel, ::testing::ValuesIn(vx_test::AllModelCases()),
                         [](const auto& param) { return param.param.name; });

}  // namespace
