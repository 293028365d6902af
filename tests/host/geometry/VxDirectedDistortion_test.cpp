#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <stdexcept>
#include <utility>
#include <vector>

#include "DistortionCases.h"
#include "VxDirectedDistortion.h"
#include "VxRadialDistortion.h"

namespace {

using TData = TDirectedDistortion::TDirectedData;
using vx_test::kPi;

// Interpolated displacements of up to a millimetre compared with another model: rounding only.
constexpr double kInterpolationTolerance = 1e-14;
// Mapped points of up to 170 mm compared with another model: rounding of their coordinates.
constexpr double kPointTolerance = 5e-14;

TData Table(const std::vector<double>& angles,
            const std::vector<TDirectedDistortion::TDirectedTableItem>& rows) {
  TData data;
  data.centre = {0.5, -0.25};
  data.angles = angles;
  data.table = rows;
  return data;
}

TEST(DirectedDistortion, Data_KeepsWhatItWasBuiltFrom) {
  const TData data = Table(vx_test::PlusAngles(), {{20.0, {1, 2, 3, 4}}, {10.0, {5, 6, 7, 8}}});
  const TDirectedDistortion model(data, true);
  EXPECT_EQ(model.Data().centre, data.centre);
  EXPECT_EQ(model.Centre(), data.centre);
  EXPECT_EQ(model.Data().angles, data.angles);
  ASSERT_EQ(model.Data().table.size(), 2u);
  EXPECT_EQ(model.Data().table[0].r, 20.0);
  EXPECT_EQ(model.Data().table[0].dr, (std::vector<double>{1, 2, 3, 4}));
  EXPECT_EQ(model.Data().table[1].r, 10.0);
  EXPECT_TRUE(model.Inverse());
  EXPECT_STREQ(model.Name(), "directed table distortion");
}

// The same rows in every direction: the radial table model, computed by that model.
TEST(DirectedDistortion, SameValuesInEveryDirection_GiveTheRadialTableModel) {
  const auto rows = vx_test::StrongTable(1.0);
  std::vector<TDirectedDistortion::TDirectedTableItem> directed;
  for (const auto& row : rows) directed.push_back({row.r, std::vector<double>(8, row.dr)});
  const TData data = Table(vx_test::EightAngles(), directed);
  const TDirectedDistortion model(data, false);
  const TRadialDistortion radial(data.centre, rows, false);
  for (const auto& p : vx_test::FormatGrid(vx_test::kFilmFormat, 31)) {
    const vec_t_<double, 2> a = model.TransformPoint(p);
    const vec_t_<double, 2> b = radial.TransformPoint(p);
    EXPECT_NEAR(a.x, b.x, kPointTolerance);
    EXPECT_NEAR(a.y, b.y, kPointTolerance);
  }
}

// Along one of the directions, the displacement is that direction's column as a radial table.
TEST(DirectedDistortion, AlongADirection_GivesThatDirectionsColumn) {
  const TData data =
      vx_test::DirectedTable(vx_test::CrossAngles(), 1.0, 0.2, vx_test::StrongProfile);
  const TDirectedDistortion model(data, false);
  for (std::size_t j = 0; j < data.angles.size(); ++j) {
    std::vector<TRadialDistortion::TRadialTableItem> column;
    for (const auto& item : data.table) column.push_back({item.r, item.dr[j]});
    const TRadialDistortion radial(data.centre, column, false);
    for (double r = 0.0; r <= 170.0; r += 4.25) {
      EXPECT_NEAR(model.RadialDisplacement(r, data.angles[j]), radial.RadialDisplacement(r),
                  kInterpolationTolerance)
          << "direction " << j << " radius " << r;
    }
  }
}

TEST(DirectedDistortion, Angle_IsPeriodicAcrossTheFirstDirection) {
  const TData data =
      vx_test::DirectedTable(vx_test::CrossAngles(), 1.0, 0.2, vx_test::StrongProfile);
  const TDirectedDistortion model(data, false);
  for (double t = -7.0; t <= 7.0; t += 0.37) {
    EXPECT_NEAR(model.RadialDisplacement(80.0, t), model.RadialDisplacement(80.0, t + 2 * kPi),
                kInterpolationTolerance);
  }
  // Continuous where the last direction hands over to the first, at 0 = 2 pi.
  const double eps = 1e-9;
  EXPECT_NEAR(model.RadialDisplacement(80.0, -eps), model.RadialDisplacement(80.0, eps), 1e-9);
}

TEST(DirectedDistortion, OneDirection_GivesTheSameDisplacementAllAround) {
  const TData data = Table({1.0}, {{50.0, {0.1}}, {100.0, {0.3}}});
  const TDirectedDistortion model(data, false);
  for (double t = 0.0; t < 2 * kPi; t += 0.5) {
    EXPECT_EQ(model.RadialDisplacement(75.0, t), model.RadialDisplacement(75.0, 1.0));
  }
}

TEST(DirectedDistortion, AnglesButNoRows_IsTheIdentity) {
  const TDirectedDistortion model(Table(vx_test::EightAngles(), {}), false);
  EXPECT_TRUE(model.IsIdentity());
  EXPECT_EQ(model.TransformPoint({70.0, -10.0}), (vec_t_<double, 2>{70.0, -10.0}));
}

TEST(DirectedDistortion, InconsistentDescription_IsRejected) {
  // A row with too few values.
  EXPECT_THROW(TDirectedDistortion(Table(vx_test::PlusAngles(), {{1.0, {1, 2, 3}}}), false),
               std::invalid_argument);
  // Angles not ascending.
  EXPECT_THROW(TDirectedDistortion(Table({0.0, 2.0, 1.0}, {{1.0, {1, 2, 3}}}), false),
               std::invalid_argument);
  // Angles spanning a full turn.
  EXPECT_THROW(TDirectedDistortion(Table({0.0, 2 * kPi}, {{1.0, {1, 2}}}), false),
               std::invalid_argument);
  // Rows but no angles.
  EXPECT_THROW(TDirectedDistortion(Table({}, {{1.0, {}}}), false), std::invalid_argument);
  // A negative radius.
  EXPECT_THROW(TDirectedDistortion(Table({0.0}, {{-1.0, {1}}}), false), std::invalid_argument);
}

TEST(DirectedDistortion, RejectedValues_AreNamedExactly) {
  try {
    TDirectedDistortion(Table({0.0, 0.5, 0.5000000000000001, 1e-310}, {}), false);
    ADD_FAILURE() << "accepted";
  } catch (const std::invalid_argument& e) {
    EXPECT_STREQ(e.what(),
                 "TDirectedDistortion: angle 3 (1e-310) does not follow the angle before it in "
                 "ascending order");
  }
}

TEST(DirectedDistortion, TwoEqualAngles_AreRejected) {
  // Equal neighbours anywhere in the list, and the two zeros, which compare equal.
  EXPECT_THROW(TDirectedDistortion(Table({0.0, 1.0, 1.0, 2.0}, {{1.0, {1, 2, 3, 4}}}), false),
               std::invalid_argument);
  EXPECT_THROW(TDirectedDistortion(Table({0.5, 0.5}, {{1.0, {1, 2}}}), false),
               std::invalid_argument);
  EXPECT_THROW(TDirectedDistortion(Table({-0.0, 0.0, 3.0}, {{1.0, {1, 2, 3}}}), false),
               std::invalid_argument);
  // Equal angles without rows: still not a list of directions.
  EXPECT_THROW(TDirectedDistortion(Table({1.0, 1.0}, {}), false), std::invalid_argument);
}

TEST(DirectedDistortion, AnglesOrValuesThatAreNotFinite_AreRejected) {
  const double nan = std::nan("");
  const double inf = HUGE_VAL;
  EXPECT_THROW(TDirectedDistortion(Table({0.0, nan}, {{1.0, {1, 2}}}), false),
               std::invalid_argument);
  EXPECT_THROW(TDirectedDistortion(Table({-inf, 0.0}, {{1.0, {1, 2}}}), false),
               std::invalid_argument);
  EXPECT_THROW(TDirectedDistortion(Table({0.0, 1.0}, {{1.0, {1, inf}}}), false),
               std::invalid_argument);
  EXPECT_THROW(TDirectedDistortion(Table({0.0, 1.0}, {{inf, {1, 2}}}), false),
               std::invalid_argument);
}

// The other side of a full turn: angles spanning a little less are a valid list.
TEST(DirectedDistortion, AnglesSpanningJustLessThanAFullTurn_AreAccepted) {
  const TData data = Table({-kPi, kPi - 1e-6}, {{10.0, {0.1, 0.2}}});
  ASSERT_NO_THROW(TDirectedDistortion(data, false));
  const TDirectedDistortion model(data, false);
  EXPECT_EQ(model.RadialDisplacement(10.0, -kPi), 0.1);
  EXPECT_NEAR(model.RadialDisplacement(10.0, kPi - 1e-6), 0.2, kInterpolationTolerance);
}

// The periodic cubic spline through (angle_j, g_j), period 2 pi, solved here piece by piece:
// on piece i, from angle_i over h_i to the next angle, s_i(u) = a_i + b_i u + c_i u^2 + d_i u^3;
// each piece takes its two values, and value, slope and curvature continue into the next piece
// (the last into the first). 4n equations for 4n coefficients, solved by dense Gaussian
// elimination with partial pivoting.
class TPiecewisePeriodicSpline {
 public:
  TPiecewisePeriodicSpline(const std::vector<double>& angles, const std::vector<double>& g)
      : angles_(angles), n_(angles.size()), coefficients_(4 * angles.size()) {
    const std::size_t m = 4 * n_;
    std::vector<double> a(m * m, 0.0), b(m, 0.0);
    std::size_t row = 0;
    for (std::size_t i = 0; i < n_; ++i) {
      const std::size_t next = (i + 1) % n_;
      const double h = Width(i);
      const std::size_t ci = 4 * i, cn = 4 * next;
      // s_i(0) = g_i
      a[row * m + ci] = 1.0;
      b[row++] = g[i];
      // s_i(h) = g_next
      for (std::size_t k = 0; k < 4; ++k) a[row * m + ci + k] = std::pow(h, static_cast<int>(k));
      b[row++] = g[next];
      // s_i'(h) - s_next'(0) = 0
      a[row * m + ci + 1] = 1.0;
      a[row * m + ci + 2] = 2.0 * h;
      a[row * m + ci + 3] = 3.0 * h * h;
      a[row * m + cn + 1] -= 1.0;
      ++row;
      // s_i''(h) - s_next''(0) = 0
      a[row * m + ci + 2] = 2.0;
      a[row * m + ci + 3] = 6.0 * h;
      a[row * m + cn + 2] -= 2.0;
      ++row;
    }
    // Gaussian elimination with partial pivoting.
    for (std::size_t k = 0; k < m; ++k) {
      std::size_t pivot = k;
      for (std::size_t r = k + 1; r < m; ++r) {
        if (std::fabs(a[r * m + k]) > std::fabs(a[pivot * m + k])) pivot = r;
      }
      for (std::size_t c = 0; c < m; ++c) std::swap(a[k * m + c], a[pivot * m + c]);
      std::swap(b[k], b[pivot]);
      for (std::size_t r = k + 1; r < m; ++r) {
        const double f = a[r * m + k] / a[k * m + k];
        for (std::size_t c = k; c < m; ++c) a[r * m + c] -= f * a[k * m + c];
        b[r] -= f * b[k];
      }
    }
    for (std::size_t k = m; k-- > 0;) {
      double sum = b[k];
      for (std::size_t c = k + 1; c < m; ++c) sum -= a[k * m + c] * coefficients_[c];
      coefficients_[k] = sum / a[k * m + k];
    }
  }

  double operator()(double t) const {
    double u = std::fmod(t - angles_[0], 2.0 * kPi);
    if (u < 0.0) u += 2.0 * kPi;
    std::size_t i = n_ - 1;
    while (i > 0 && u < angles_[i] - angles_[0]) --i;
    const double v = u - (angles_[i] - angles_[0]);
    const double* c = &coefficients_[4 * i];
    return c[0] + v * (c[1] + v * (c[2] + v * c[3]));
  }

 private:
  double Width(std::size_t i) const {
    return i + 1 < n_ ? angles_[i + 1] - angles_[i] : angles_[0] + 2.0 * kPi - angles_[i];
  }

  std::vector<double> angles_;
  std::size_t n_;
  std::vector<double> coefficients_;
};

// Directions at uneven angles, some close together: at a row's radius the
// profiles are the row's values, and around the centre the displacement is the periodic spline
// through them.
TEST(DirectedDistortion, UnevenAngles_FollowThePeriodicSplineAroundTheCentre) {
  const std::vector<std::vector<double>> angleSets = {{0.1, 0.5, 1.7, 2.0, 3.9, 5.2},
                                                      {-2.5, -2.4, 0.0, 3.0},
                                                      {1.0, 4.0},
                                                      {0.0, 0.3, 0.31, 2.9, 3.3, 4.7, 5.0, 6.2}};
  for (const auto& angles : angleSets) {
    SCOPED_TRACE(angles.size());
    std::vector<double> g;
    for (std::size_t j = 0; j < angles.size(); ++j) {
      g.push_back(0.2 + 0.1 * std::sin(1.3 * static_cast<double>(j) + 0.4) +
                  0.05 * static_cast<double>(j % 3));
    }
    // Rows at 40 and 80 mm; the row at 80 mm holds g.
    std::vector<double> inner;
    for (double v : g) inner.push_back(0.3 * v);
    const TDirectedDistortion model(Table(angles, {{40.0, inner}, {80.0, g}}), false);
    const TPiecewisePeriodicSpline spline(angles, g);
    for (std::size_t j = 0; j < angles.size(); ++j) {
      EXPECT_NEAR(spline(angles[j]), g[j], kInterpolationTolerance) << "the test's own spline";
    }
    for (double t = -7.0; t <= 7.0; t += 0.0625) {
      EXPECT_NEAR(model.RadialDisplacement(80.0, t), spline(t), 1e-12) << "angle " << t;
    }
  }
}

}  // namespace
