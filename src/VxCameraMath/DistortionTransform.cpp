// The distortion transform of a distortion record: one geometry class per model, filled from the
// record's fields as they are.

#include <array>
#include <stdexcept>
#include <string>
#include <vector>

#include "VxCameraMath.h"
#include "VxDirectedDistortion.h"
#include "VxFormulaDistortion.h"
#include "VxMixedDistortion.h"
#include "VxPolynomialDistortion.h"
#include "VxRadialDistortion.h"
#include "internal/VxDistortionModelTable.h"

namespace {

using TRow = TVxCameraDistortion::T4Direction;
using TRows = std::vector<TRow>;
using TDirectedData = TDirectedDistortion::TDirectedData;
using TDirectedItem = TDirectedDistortion::TDirectedTableItem;

// The double values of k pi / 4, written out so that they are the same bits on every platform.
constexpr double kAngle0 = 0.0;
constexpr double kAngle45 = 0.7853981633974483;
constexpr double kAngle90 = 1.5707963267948966;
constexpr double kAngle135 = 2.356194490192345;
constexpr double kAngle180 = 3.141592653589793;
constexpr double kAngle225 = 3.9269908169872414;
constexpr double kAngle270 = 4.71238898038469;
constexpr double kAngle315 = 5.497787143782138;

// A stored row keeps, in index order, the direction a quarter turn counter-clockwise from its
// first axis, the opposite one, the one a half turn away, and the first axis itself: in angle
// order that is dr[3], dr[0], dr[2], dr[1].
constexpr std::array<int, 4> kAngleOrder = {3, 0, 2, 1};

using TFour = std::array<double, 4>;

TFour InAngleOrder(const double (&dr)[4]) {
  TFour values{};
  for (std::size_t k = 0; k < 4; ++k) values[k] = dr[kAngleOrder[k]];
  return values;
}

TDirectedData FourDirections(const vec_t_<double, 2>& centre, const TRows& rows,
                             std::vector<double> angles) {
  TDirectedData data;
  data.centre = centre;
  data.angles = std::move(angles);
  data.table.reserve(rows.size());
  for (const TRow& row : rows) {
    const TFour values = InAngleOrder(row.dr);
    data.table.push_back({row.r, std::vector<double>(values.begin(), values.end())});
  }
  return data;
}

// The four values of table `t` at radius `radius`, for a row that the other table has and this
// one has not; `cursor` is this table's next unused row. Before the first row (and for a table
// of one row that is used up): the line from the origin through the first row. Otherwise the
// secant of the rows around the cursor (the last two once the table is used up), and of it only
// the increment from the lower row: the lower row's own value is not added.
TFour Secant(const TRows& t, std::size_t cursor, double radius) {
  const std::size_t n = t.size();
  TFour values{};
  if (cursor == 0 || (n < 2 && cursor == n)) {
    const double s = radius / t[0].r;
    for (std::size_t k = 0; k < 4; ++k) values[k] = t[0].dr[k] * s;
    return values;
  }
  std::size_t upper = cursor;
  std::size_t lower = cursor - 1;
  if (cursor == n) {
    upper = n - 1;
    lower = n - 2;
  }
  const double s = (radius - t[lower].r) / (t[upper].r - t[lower].r);
  for (std::size_t k = 0; k < 4; ++k) values[k] = (t[upper].dr[k] - t[lower].dr[k]) * s;
  return values;
}

// Both tables merged by radius into rows of eight values, in the angle order 0, pi/4, ..., 7pi/4.
std::vector<TDirectedItem> MergeEightDirections(const TRows& plus, const TRows& cross) {
  std::vector<TDirectedItem> table;
  const std::size_t nP = plus.size();
  const std::size_t nX = cross.size();
  std::size_t i = 0;
  std::size_t j = 0;
  while (i < nP || j < nX) {
    const bool takeP = j == nX || (i < nP && plus[i].r < cross[j].r);
    const bool takeX = !takeP && (i == nP || cross[j].r < plus[i].r);
    // Neither alone: equal radii (or a NaN radius) take both rows.
    const bool both = !takeP && !takeX;

    TDirectedItem item;
    TFour p{};
    TFour x{};
    if (takeP || both) {
      item.r = plus[i].r;
      for (std::size_t k = 0; k < 4; ++k) p[k] = plus[i].dr[k];
    }
    if (takeX || both) {
      if (takeX) item.r = cross[j].r;
      for (std::size_t k = 0; k < 4; ++k) x[k] = cross[j].dr[k];
    }
    if (takeP) x = Secant(cross, j, item.r);
    if (takeX) p = Secant(plus, i, item.r);

    item.dr.reserve(8);
    for (const int k : kAngleOrder) {
      item.dr.push_back(p[static_cast<std::size_t>(k)]);
      item.dr.push_back(x[static_cast<std::size_t>(k)]);
    }
    if (takeP || both) ++i;
    if (takeX || both) ++j;
    table.push_back(std::move(item));
  }
  return table;
}

TDirectedData EightDirections(const vec_t_<double, 2>& centre, const TVxCameraDistortion& d) {
  // The secant rule would read the first row of an empty table: such a record has no meaning.
  if (d.table4Plus.empty() != d.table4X.empty()) {
    const char* empty = d.table4Plus.empty() ? "table_+" : "table_x";
    const char* other = d.table4Plus.empty() ? "table_x" : "table_+";
    throw std::invalid_argument(std::string("CreateCameraDistortionTransform: Directed8 needs "
                                            "both tables, but \"") +
                                empty + "\" is empty and \"" + other + "\" is not");
  }
  TDirectedData data;
  data.centre = centre;
  data.angles = {kAngle0,   kAngle45,  kAngle90,  kAngle135,
                 kAngle180, kAngle225, kAngle270, kAngle315};
  data.table = MergeEightDirections(d.table4Plus, d.table4X);
  return data;
}

}  // namespace

namespace vx_distortion_models {

// The library's models take their reserved trailing values by reference.
namespace {
const double kReserved = 0.0;
}  // namespace

TransformHandle CreateFormula(const TVxCameraDistortion& d, const vec_t_<double, 2>& centre,
                              double /*focal*/, bool inverse) {
  TFormulaDistortion::TDistCoeff c;
  c.centre = centre;
  c.k1 = d.k1;
  c.k2 = d.k2;
  c.k3 = d.k3;
  c.k4 = d.k4;
  c.k5 = d.k5;
  c.p1 = d.p1;
  c.p2 = d.p2;
  c.p3 = d.p3;
  c.p4 = d.p4;
  c.b1 = d.b1;
  c.b2 = d.b2;
  c.a1 = d.a1;
  c.a2 = d.a2;
  c.inverse = inverse;
  return MakeTransformHandle<TFormulaDistortion>(c);
}

TransformHandle CreateRadial(const TVxCameraDistortion& d, const vec_t_<double, 2>& centre,
                             double /*focal*/, bool inverse) {
  std::vector<TRadialDistortion::TRadialTableItem> table;
  table.reserve(d.tableR.size());
  for (const auto& row : d.tableR) table.push_back({row.r, row.dr});
  return MakeTransformHandle<TRadialDistortion>(centre, table, inverse);
}

TransformHandle CreateDirected4Plus(const TVxCameraDistortion& d, const vec_t_<double, 2>& centre,
                                    double /*focal*/, bool inverse) {
  return MakeTransformHandle<TDirectedDistortion>(
      FourDirections(centre, d.table4Plus, {kAngle0, kAngle90, kAngle180, kAngle270}), inverse);
}

TransformHandle CreateDirected4X(const TVxCameraDistortion& d, const vec_t_<double, 2>& centre,
                                 double /*focal*/, bool inverse) {
  return MakeTransformHandle<TDirectedDistortion>(
      FourDirections(centre, d.table4X, {kAngle45, kAngle135, kAngle225, kAngle315}), inverse);
}

TransformHandle CreateDirected8(const TVxCameraDistortion& d, const vec_t_<double, 2>& centre,
                                double /*focal*/, bool inverse) {
  return MakeTransformHandle<TDirectedDistortion>(EightDirections(centre, d), inverse);
}

TransformHandle CreateMixed(const TVxCameraDistortion& d, const vec_t_<double, 2>& centre,
                            double focal, bool inverse) {
  return MakeTransformHandle<TMixedDistortion>(centre, focal, d.mixed.a, d.mixed.b, d.mixed.c,
                                               d.mixed.K, d.mixed.P, kReserved, kReserved,
                                               kReserved, inverse);
}

TransformHandle CreatePolynomial(const TVxCameraDistortion& d, const vec_t_<double, 2>& centre,
                                 double focal, bool inverse) {
  return MakeTransformHandle<TPolynomialDistortion>(centre, focal, d.polyK, d.polyP, kReserved,
                                                    kReserved, inverse);
}

}  // namespace vx_distortion_models

TransformHandle CreateCameraDistortionTransform(const TVxCameraDistortion& distortion,
                                                const vec_t_<double, 2>& centre, double focal) {
  const auto* model = vx_distortion_models::Find(distortion.type);
  // None, and any value outside the enumeration.
  if (model == nullptr) return TransformHandle();
  const bool inverse = distortion.direction == TVxCameraDistortion::TDirection::MmToCam;
  return model->create(distortion, centre, focal, inverse);
}
