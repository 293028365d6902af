#include <gtest/gtest.h>

#include <cmath>
#include <stdexcept>
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

}  // namespace
