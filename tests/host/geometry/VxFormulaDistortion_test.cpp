#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <string>
#include <vector>

#include "VxFormulaDistortion.h"
#include "VxTransformGrid.h"

namespace {

// The displacement is read back as the mapped point minus the point; for points up to 100 mm
// from the origin that difference carries rounding of up to 1.4e-14 mm per coordinate.
constexpr double kClosedFormTolerance = 5e-14;
// The inverse promises q with |q + d(q) - p| <= 1e-10 mm; 1e-13 more for reading it back here.
constexpr double kInverseAccuracy = 1e-10 + 1e-13;

vec_t_<double, 2> Displacement(const TFormulaDistortion& model, const vec_t_<double, 2>& p) {
  return model.TransformPoint(p) - p;
}

TEST(FormulaDistortion, Coefficients_KeepTheValuesAsBuilt) {
  TFormulaDistortion::TDistCoeff c;
  c.centre = {1.5, -2.5};
  c.k1 = 1;
  c.k2 = 2;
  c.k3 = 3;
  c.k4 = 4;
  c.k5 = 5;
  c.p1 = 6;
  c.p2 = 7;
  c.p3 = 8;
  c.p4 = 9;
  c.b1 = 10;
  c.b2 = 11;
  c.a1 = 12;
  c.a2 = 13;
  c.inverse = true;
  const TFormulaDistortion model(c);
  const auto& got = model.Coefficients();
  EXPECT_EQ(got.centre, c.centre);
  EXPECT_EQ(model.Centre(), c.centre);
  const double values[] = {got.k1, got.k2, got.k3, got.k4, got.k5, got.p1, got.p2,
                           got.p3, got.p4, got.b1, got.b2, got.a1, got.a2};
  for (int i = 0; i < 13; ++i) EXPECT_EQ(values[i], i + 1) << "coefficient " << i;
  EXPECT_TRUE(got.inverse);
  EXPECT_TRUE(model.Inverse());
  EXPECT_STREQ(model.Name(), "formula distortion");
}

TEST(FormulaDistortion, NineCoefficientConstructor_LeavesTheInPlaneTermsZero) {
  const TFormulaDistortion model({0.5, 0.25}, 1, 2, 3, 4, 5, 6, 7, 8, 9, false);
  const auto& c = model.Coefficients();
  EXPECT_EQ(c.centre, (vec_t_<double, 2>{0.5, 0.25}));
  EXPECT_EQ(c.k1, 1);
  EXPECT_EQ(c.k5, 5);
  EXPECT_EQ(c.p1, 6);
  EXPECT_EQ(c.p4, 9);
  EXPECT_EQ(c.b1, 0);
  EXPECT_EQ(c.b2, 0);
  EXPECT_EQ(c.a1, 0);
  EXPECT_EQ(c.a2, 0);
  EXPECT_FALSE(c.inverse);
}

// Along the direction (0.6, 0.8) from the centre at r = 50: d_r = k1 r^3 + ... + k5 r^11.
TEST(FormulaDistortion, RadialTerms_MoveThePointAlongTheRadiusByTheOddPolynomial) {
  const vec_t_<double, 2> centre{1.0, 2.0};
  const double r = 50.0;
  const vec_t_<double, 2> p = centre + vec_t_<double, 2>{0.6 * r, 0.8 * r};
  const double k[5] = {1e-8, -2e-12, 3e-16, -4e-20, 5e-24};
  for (int i = 0; i < 5; ++i) {
    double ks[5] = {0, 0, 0, 0, 0};
    ks[i] = k[i];
    const TFormulaDistortion model(centre, ks[0], ks[1], ks[2], ks[3], ks[4], 0, 0, 0, 0, false);
    const double dr = k[i] * std::pow(r, 2 * i + 3);
    const vec_t_<double, 2> d = Displacement(model, p);
    EXPECT_NEAR(d.x, 0.6 * dr, kClosedFormTolerance) << "k" << i + 1;
    EXPECT_NEAR(d.y, 0.8 * dr, kClosedFormTolerance) << "k" << i + 1;
  }
}

// At (x, y) from the centre: dx = (1 + p3 r^2 + p4 r^4)(p1 (r^2 + 2x^2) + 2 p2 x y), and dy with
// p1 and p2 exchanged and y for x.
TEST(FormulaDistortion, Decentering_FollowsBrownWithItsProfile) {
  const double p1 = 2e-6, p2 = -3e-6, p3 = 1e-4, p4 = -2e-8;
  const TFormulaDistortion model({0, 0}, 0, 0, 0, 0, 0, p1, p2, p3, p4, false);
  const double x = 30.0, y = -40.0, r2 = 2500.0;
  const double profile = 1 + p3 * r2 + p4 * r2 * r2;
  const vec_t_<double, 2> d = Displacement(model, {x, y});
  EXPECT_NEAR(d.x, profile * (p1 * (r2 + 2 * x * x) + 2 * p2 * x * y), kClosedFormTolerance);
  EXPECT_NEAR(d.y, profile * (p2 * (r2 + 2 * y * y) + 2 * p1 * x * y), kClosedFormTolerance);
}

// The formula term by term, each power of r^2 written out: the displacement at p.
vec_t_<double, 2> FormulaByHand(const TFormulaDistortion::TDistCoeff& c,
                                const vec_t_<double, 2>& p) {
  const double x = p.x - c.centre.x;
  const double y = p.y - c.centre.y;
  const double r2 = x * x + y * y;
  const double r4 = r2 * r2;
  const double r6 = r4 * r2;
  const double r8 = r4 * r4;
  const double r10 = r8 * r2;
  const double radial = c.k1 * r2 + c.k2 * r4 + c.k3 * r6 + c.k4 * r8 + c.k5 * r10;
  const double profile = 1.0 + c.p3 * r2 + c.p4 * r4;
  return {
      x * radial + profile * (c.p1 * (r2 + 2.0 * x * x) + 2.0 * c.p2 * x * y) + c.b1 * x + c.b2 * y,
      y * radial + profile * (c.p2 * (r2 + 2.0 * y * y) + 2.0 * c.p1 * x * y) + c.a1 * x +
          c.a2 * y};
}

// Points up to 127 mm from the origin, 81 of them: ten vectors of eight and a tail in a batch.
std::vector<vec_t_<double, 2>> FieldPoints() {
  std::vector<vec_t_<double, 2>> points;
  for (int i = -4; i <= 4; ++i) {
    for (int j = -4; j <= 4; ++j) points.push_back({22.5 * i + 0.25, 22.5 * j - 0.5});
  }
  return points;
}

// k4, k5, p3 and p4 each alone beside p1, with and without in-plane terms: each of them changes
// the displacement by millimetres at the edge of the field, and the model, one point at a time,
// in a batch and over a grid, follows the formula with it.
TEST(FormulaDistortion, EachHigherTermAloneBesideP1_FollowsTheFormulaOnEveryPath) {
  struct THigherTerm {
    const char* name;
    double TFormulaDistortion::TDistCoeff::*member;
    double value;
  };
  const THigherTerm terms[] = {{"k4", &TFormulaDistortion::TDistCoeff::k4, 1e-20},
                               {"k5", &TFormulaDistortion::TDistCoeff::k5, -1e-24},
                               {"p3", &TFormulaDistortion::TDistCoeff::p3, 1e-4},
                               {"p4", &TFormulaDistortion::TDistCoeff::p4, 1e-8}};
  const auto points = FieldPoints();
  for (const THigherTerm& term : terms) {
    for (const bool inPlane : {false, true}) {
      SCOPED_TRACE(std::string(term.name) + (inPlane ? " with in-plane terms" : ""));
      TFormulaDistortion::TDistCoeff c;
      c.centre = {0.75, -1.25};
      c.p1 = 2e-6;
      c.*term.member = term.value;
      if (inPlane) {
        c.b1 = 1e-4;
        c.a2 = -2e-4;
      }
      const TFormulaDistortion model(c);
      std::vector<vec_t_<double, 2>> batch(points.size());
      EXPECT_EQ(model.TransformPoints(points.data(), batch.data(), points.size()), 0u);
      // The same points as a grid: 9 columns of x, 9 rows of y.
      TVxPointGrid grid;
      grid.x0 = -89.75;
      grid.dx = 22.5;
      grid.y0 = -90.5;
      grid.dy = 22.5;
      grid.columns = 9;
      grid.rows = 9;
      std::vector<vec_t_<double, 2>> gridOut(81);
      EXPECT_EQ(TransformGrid(model, grid, gridOut.data()), 0u);
      for (std::size_t k = 0; k < points.size(); ++k) {
        const vec_t_<double, 2>& p = points[k];
        const vec_t_<double, 2> expected = p + FormulaByHand(c, p);
        const vec_t_<double, 2> one = model.TransformPoint(p);
        EXPECT_NEAR(one.x, expected.x, kClosedFormTolerance) << "point " << k;
        EXPECT_NEAR(one.y, expected.y, kClosedFormTolerance) << "point " << k;
        EXPECT_NEAR(batch[k].x, expected.x, kClosedFormTolerance) << "batch point " << k;
        EXPECT_NEAR(batch[k].y, expected.y, kClosedFormTolerance) << "batch point " << k;
        // Grid point (column k % 9, row k / 9).
        const vec_t_<double, 2> g{grid.x0 + static_cast<double>(k % 9) * grid.dx,
                                  grid.y0 + static_cast<double>(k / 9) * grid.dy};
        const vec_t_<double, 2> expectedGrid = g + FormulaByHand(c, g);
        EXPECT_NEAR(gridOut[k].x, expectedGrid.x, kClosedFormTolerance) << "grid point " << k;
        EXPECT_NEAR(gridOut[k].y, expectedGrid.y, kClosedFormTolerance) << "grid point " << k;
      }
      // The term is there to be seen: it moves the corner point by more than a micrometre.
      TFormulaDistortion::TDistCoeff without = c;
      without.*term.member = 0.0;
      EXPECT_GT((FormulaByHand(c, points[0]) - FormulaByHand(without, points[0])).Length(), 1e-3);
    }
  }
}

// The inverse of the same models solves the formula: q + d(q) = p to the inverse's 1e-10 mm,
// one point at a time and in a batch.
TEST(FormulaDistortion, EachHigherTermAloneBesideP1_IsSolvedByTheInverse) {
  double TFormulaDistortion::TDistCoeff::*const members[] = {
      &TFormulaDistortion::TDistCoeff::k4, &TFormulaDistortion::TDistCoeff::k5,
      &TFormulaDistortion::TDistCoeff::p3, &TFormulaDistortion::TDistCoeff::p4};
  const double values[] = {1e-20, -1e-24, 1e-4, 1e-8};
  const auto points = FieldPoints();
  for (std::size_t t = 0; t < std::size(members); ++t) {
    SCOPED_TRACE(t);
    TFormulaDistortion::TDistCoeff c;
    c.centre = {0.75, -1.25};
    c.p1 = 2e-6;
    c.*members[t] = values[t];
    c.inverse = true;
    const TFormulaDistortion inverse(c);
    std::vector<vec_t_<double, 2>> batch(points.size());
    EXPECT_EQ(inverse.TransformPoints(points.data(), batch.data(), points.size()), 0u);
    for (std::size_t k = 0; k < points.size(); ++k) {
      for (const vec_t_<double, 2>& q : {inverse.TransformPoint(points[k]), batch[k]}) {
        const vec_t_<double, 2> mapped = q + FormulaByHand(c, q);
        EXPECT_LE((mapped - points[k]).Length(), kInverseAccuracy) << "point " << k;
      }
    }
  }
}

TEST(FormulaDistortion, InPlaneTerms_BActOnXAndAActOnY) {
  TFormulaDistortion::TDistCoeff c;
  c.centre = {5.0, 5.0};
  c.b1 = 1e-3;
  c.b2 = 2e-3;
  c.a1 = 3e-3;
  c.a2 = 4e-3;
  const TFormulaDistortion model(c);
  const vec_t_<double, 2> d = Displacement(model, {15.0, 25.0});  // (10, 20) from the centre
  EXPECT_NEAR(d.x, 10 * 1e-3 + 20 * 2e-3, kClosedFormTolerance);
  EXPECT_NEAR(d.y, 10 * 3e-3 + 20 * 4e-3, kClosedFormTolerance);
}

TEST(FormulaDistortion, ProfileAlone_DoesNotMoveAnyPoint) {
  const TFormulaDistortion model({0, 0}, 0, 0, 0, 0, 0, 0, 0, 1e-3, 1e-6, false);
  EXPECT_TRUE(model.IsIdentity());
  EXPECT_EQ(model.TransformPoint({40.0, -70.0}), (vec_t_<double, 2>{40.0, -70.0}));
}

// Every coefficient that moves a point, alone and however small: no such model is the identity.
TEST(FormulaDistortion, AnySingleMovingCoefficient_IsNotTheIdentity) {
  double TFormulaDistortion::TDistCoeff::*const moving[] = {
      &TFormulaDistortion::TDistCoeff::k1, &TFormulaDistortion::TDistCoeff::k2,
      &TFormulaDistortion::TDistCoeff::k3, &TFormulaDistortion::TDistCoeff::k4,
      &TFormulaDistortion::TDistCoeff::k5, &TFormulaDistortion::TDistCoeff::p1,
      &TFormulaDistortion::TDistCoeff::p2, &TFormulaDistortion::TDistCoeff::b1,
      &TFormulaDistortion::TDistCoeff::b2, &TFormulaDistortion::TDistCoeff::a1,
      &TFormulaDistortion::TDistCoeff::a2};
  for (std::size_t i = 0; i < std::size(moving); ++i) {
    TFormulaDistortion::TDistCoeff c;
    c.centre = {2.0, -1.0};
    c.*moving[i] = 1e-20;
    EXPECT_FALSE(TFormulaDistortion(c).IsIdentity()) << "coefficient " << i;
  }
}

TEST(FormulaDistortion, CentrePoint_StaysInBothSenses) {
  const TFormulaDistortion forward({3.0, -4.0}, 1e-6, 0, 0, 0, 0, 1e-5, 1e-5, 0, 0, false);
  const TFormulaDistortion inverse({3.0, -4.0}, 1e-6, 0, 0, 0, 0, 1e-5, 1e-5, 0, 0, true);
  EXPECT_EQ(forward.TransformPoint({3.0, -4.0}), (vec_t_<double, 2>{3.0, -4.0}));
  EXPECT_EQ(inverse.TransformPoint({3.0, -4.0}), (vec_t_<double, 2>{3.0, -4.0}));
}

// r (1 - 1e-4 r^2) rises to 38.49 mm at r = 57.7 mm and falls after it: no point beyond
// 38.49 mm from the centre has a preimage.
TEST(FormulaDistortion, InverseWithoutPreimage_GivesNaNAndIsCounted) {
  const TFormulaDistortion inverse({0, 0}, -1e-4, 0, 0, 0, 0, 0, 0, 0, 0, true);
  EXPECT_TRUE(IsNaNPoint(inverse.TransformPoint({60.0, 0.0})));
  const vec_t_<double, 2> in[4] = {{10.0, 0.0}, {0.0, 60.0}, {-30.0, 0.0}, {50.0, 50.0}};
  vec_t_<double, 2> out[4];
  EXPECT_EQ(inverse.TransformPoints(in, out, 4), 2u);
  EXPECT_FALSE(IsNaNPoint(out[0]));
  EXPECT_TRUE(IsNaNPoint(out[1]));
  EXPECT_FALSE(IsNaNPoint(out[2]));
  EXPECT_TRUE(IsNaNPoint(out[3]));
}

}  // namespace
