#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <stdexcept>
#include <utility>
#include <vector>

#include "DistortionCases.h"
#include "VxNaturalSplineProfile.h"
#include "VxRadialDistortion.h"

namespace {

using TTable = std::vector<TRadialDistortion::TRadialTableItem>;

// Interpolated values of tables with dr up to 1 mm, compared with closed forms or with other
// tables: rounding only.
constexpr double kInterpolationTolerance = 1e-14;
// A natural cubic spline through the RC10 profile sampled every 10 mm stays within 0.05 um of
// the profile on the inner rows: the spline's error there is about h^4 f''''/384 ~ 4e-6 mm,
// and the natural end condition's effect decays towards the inside.
constexpr double kSplineAccuracy = 5e-5;
// The end slope taken by a difference over 0.1 um carries rounding of 1e-13 per mm, 5e-12 over
// the 50 mm tested beyond the last row.
constexpr double kContinuationTolerance = 1e-10;
constexpr int kTrials = 200;
constexpr unsigned kSeed = 7u;

TEST(RadialDistortion, Table_KeepsTheRowsAsGivenInTheirOrder) {
  const TTable table{{30.0, 0.3}, {10.0, 0.1}, {20.0, 0.2}, {10.0, 0.15}};
  const TRadialDistortion model({1.0, 2.0}, table, true);
  ASSERT_EQ(model.Table().size(), table.size());
  for (std::size_t i = 0; i < table.size(); ++i) {
    EXPECT_EQ(model.Table()[i].r, table[i].r);
    EXPECT_EQ(model.Table()[i].dr, table[i].dr);
  }
  EXPECT_EQ(model.Centre(), (vec_t_<double, 2>{1.0, 2.0}));
  EXPECT_TRUE(model.Inverse());
  EXPECT_STREQ(model.Name(), "radial table distortion");
}

TEST(RadialDistortion, AtEachRow_GivesItsDr) {
  const TTable table = vx_test::StrongTable(1.0);
  const TRadialDistortion model({0, 0}, table, false);
  for (const auto& row : table) {
    if (row.r == 60.0) continue;  // a repeated radius: see below
    EXPECT_NEAR(model.RadialDisplacement(row.r), row.dr, kInterpolationTolerance) << row.r;
  }
}

TEST(RadialDistortion, RowsOnAStraightLine_GiveThatLineEverywhere) {
  const double slope = -2.5e-3;
  TTable table;
  for (double r : {7.0, 19.0, 45.0, 46.0, 90.0, 130.0}) table.push_back({r, slope * r});
  const TRadialDistortion model({0, 0}, table, false);
  std::mt19937 engine(kSeed);
  std::uniform_real_distribution<double> radius(0.0, 200.0);
  for (int trial = 0; trial < kTrials; ++trial) {
    const double r = radius(engine);
    EXPECT_NEAR(model.RadialDisplacement(r), slope * r, kInterpolationTolerance) << r;
  }
}

TEST(RadialDistortion, OneRow_GivesTheLineThroughTheOrigin) {
  const TRadialDistortion model({0, 0}, {{40.0, 0.02}}, false);
  for (double r : {0.0, 5.0, 40.0, 120.0}) {
    EXPECT_NEAR(model.RadialDisplacement(r), 0.02 * r / 40.0, kInterpolationTolerance) << r;
  }
}

TEST(RadialDistortion, NoRows_IsTheIdentity) {
  const TRadialDistortion model({3.0, 4.0}, {}, false);
  EXPECT_TRUE(model.IsIdentity());
  EXPECT_EQ(model.TransformPoint({100.0, -50.0}), (vec_t_<double, 2>{100.0, -50.0}));
  const TRadialDistortion inverse({3.0, 4.0}, {}, true);
  EXPECT_EQ(inverse.TransformPoint({100.0, -50.0}), (vec_t_<double, 2>{100.0, -50.0}));
}

TEST(RadialDistortion, RowOrder_DoesNotChangeTheMap) {
  TTable sorted = vx_test::Rc10Table(1.0);
  std::sort(sorted.begin(), sorted.end(), [](const auto& a, const auto& b) { return a.r < b.r; });
  TTable shuffled = sorted;
  std::shuffle(shuffled.begin(), shuffled.end(), std::mt19937(kSeed));
  const TRadialDistortion a({0, 0}, sorted, false);
  const TRadialDistortion b({0, 0}, shuffled, false);
  for (double r = 0.0; r <= 200.0; r += 0.7) {
    EXPECT_EQ(a.RadialDisplacement(r), b.RadialDisplacement(r)) << r;
  }
}

TEST(RadialDistortion, RepeatedRadius_CountsAsOneRowWithTheMeanDr) {
  const TRadialDistortion repeated({0, 0}, {{10.0, 1e-3}, {20.0, 4e-3}, {10.0, 3e-3}}, false);
  const TRadialDistortion merged({0, 0}, {{10.0, 2e-3}, {20.0, 4e-3}}, false);
  for (double r = 0.0; r <= 40.0; r += 0.5) {
    EXPECT_NEAR(repeated.RadialDisplacement(r), merged.RadialDisplacement(r),
                kInterpolationTolerance)
        << r;
  }
}

TEST(RadialDistortion, BeyondTheLastRow_ContinuesStraightWithTheEndSlope) {
  const TRadialDistortion model({0, 0}, vx_test::Rc10Table(1.0), false);
  const double last = 150.0;
  const double step = 1e-4;  // slopes by differences over 0.1 um
  const double inside =
      (model.RadialDisplacement(last) - model.RadialDisplacement(last - step)) / step;
  for (double r : {151.0, 165.0, 200.0}) {
    EXPECT_NEAR(model.RadialDisplacement(r), model.RadialDisplacement(last) + inside * (r - last),
                kContinuationTolerance)
        << r;
  }
}

TEST(RadialDistortion, BetweenRows_FollowsASmoothProfileClosely) {
  const TRadialDistortion model({0, 0}, vx_test::Rc10Table(1.0), false);
  for (double r = 20.0; r <= 120.0; r += 2.5) {
    EXPECT_NEAR(model.RadialDisplacement(r), vx_test::Rc10Profile(r), kSplineAccuracy) << r;
  }
}

// Radii bunched together and far apart, so that several rows share a bucket of the library's
// search table and some buckets hold no row: at the rows, next to them on both sides, between and
// beyond them, the profile is the natural spline computed independently in the test.
TEST(RadialDistortion, UnevenRows_EveryRadiusIsInterpolatedInItsOwnPiece) {
  std::mt19937 random(kSeed);
  std::uniform_real_distribution<double> dr(-0.02, 0.02);
  const std::vector<double> radii = {0.5, 0.5001, 0.5002, 3.0, 47.9, 48.0, 48.05, 150.0, 150.5};
  for (int trial = 0; trial < kTrials; ++trial) {
    TTable table;
    std::vector<std::pair<double, double>> rows;
    for (double r : radii) {
      const double value = dr(random);
      table.push_back({r, value});
      rows.push_back({r, value});
    }
    const TRadialDistortion model({0, 0}, table, false);
    const vx_test::TNaturalSplineProfile expected(rows);
    std::vector<double> probes = {0.0, 200.0};
    for (double r : radii)
      probes.insert(probes.end(), {r, std::nextafter(r, 0.0), std::nextafter(r, 1e9)});
    for (double r = 0.0; r < 160.0; r += 0.37) probes.push_back(r);
    for (double r : probes) {
      // Rows 0.1 um apart give second derivatives of 1e6 per mm, whose rounding in the two
      // evaluations reaches 3e-12 mm; a radius taken in a neighbouring piece misses by far more.
      EXPECT_NEAR(model.RadialDisplacement(r), expected(r), 1e-11)
          << "trial " << trial << ", r " << r;
    }
  }
}

TEST(RadialDistortion, Displacement_PointsAlongTheRadiusFromTheCentre) {
  const vec_t_<double, 2> centre{-3.0, 7.0};
  const TRadialDistortion model(centre, {{50.0, 0.5}}, false);
  const vec_t_<double, 2> p = centre + vec_t_<double, 2>{-24.0, 32.0};  // r = 40, dr = 0.4
  const vec_t_<double, 2> d = model.TransformPoint(p) - p;
  EXPECT_NEAR(d.x, -0.6 * 0.4, kInterpolationTolerance);
  EXPECT_NEAR(d.y, 0.8 * 0.4, kInterpolationTolerance);
  EXPECT_EQ(model.TransformPoint(centre), centre);
}

TEST(RadialDistortion, NegativeOrNonFiniteRow_IsRejected) {
  EXPECT_THROW(TRadialDistortion({0, 0}, {{-1.0, 0.0}}, false), std::invalid_argument);
  EXPECT_THROW(TRadialDistortion({0, 0}, {{std::nan(""), 0.0}}, false), std::invalid_argument);
  EXPECT_THROW(TRadialDistortion({0, 0}, {{1.0, HUGE_VAL}}, false), std::invalid_argument);
}

// The message names the values exactly as given: shortest round trip, point as decimal mark.
TEST(RadialDistortion, RejectedRow_IsNamedWithItsExactValues) {
  try {
    TRadialDistortion({0, 0}, {{0.0, 0.0}, {-1e-300, 0.125}}, false);
    ADD_FAILURE() << "accepted";
  } catch (const std::invalid_argument& e) {
    EXPECT_STREQ(e.what(),
                 "TRadialDistortion: row 1 has radius -1e-300 and dr 0.125; radii must be finite "
                 "and not negative, dr finite");
  }
}

}  // namespace
