// The coefficients of the distortion models with their names and units, and the reach of the
// tables.

#include <algorithm>
#include <cmath>
#include <iterator>
#include <string>
#include <utility>

#include "VxDistortionModels.h"
#include "internal/VxDistortionModelTable.h"

namespace {

using TList = std::vector<TVxDistortionCoefficient>;

// prefix + (first .. first + count - 1), with units mm^-(firstPower + i * powerStep).
void AddSeries(TList& list, const char* prefix, int first, const double* values, int count,
               int firstPower, int powerStep) {
  for (int i = 0; i < count; ++i) {
    list.push_back({prefix + std::to_string(first + i), values[i], -(firstPower + i * powerStep)});
  }
}

double LastRadius(const std::vector<TVxCameraDistortion::T4Direction>& table, double last) {
  for (const auto& row : table) last = std::max(last, row.r);
  return last;
}

std::optional<double> Positive(double radius) {
  if (radius > 0.0) return radius;
  return std::nullopt;
}

}  // namespace

namespace vx_distortion_models {

TList FormulaCoefficients(const TVxCameraDistortion& d) {
  TList list;
  const double k[] = {d.k1, d.k2, d.k3, d.k4, d.k5};
  AddSeries(list, "k", 1, k, 5, 2, 2);
  const double p[] = {d.p1, d.p2};
  AddSeries(list, "p", 1, p, 2, 1, 0);
  list.push_back({"p3", d.p3, -2});
  list.push_back({"p4", d.p4, -4});
  for (const auto& [name, value] :
       {std::pair{"b1", d.b1}, {"b2", d.b2}, {"a1", d.a1}, {"a2", d.a2}}) {
    list.push_back({name, value, 0});
  }
  return list;
}

TList MixedCoefficients(const TVxCameraDistortion& d) {
  TList list;
  AddSeries(list, "a", 1, d.mixed.a, 7, 0, 0);
  AddSeries(list, "b", 1, d.mixed.b, 7, 0, 0);
  AddSeries(list, "c", 1, d.mixed.c, 7, 0, 0);
  AddSeries(list, "K", 1, d.mixed.K, 3, 2, 2);
  AddSeries(list, "P", 1, d.mixed.P, 2, 1, 0);
  return list;
}

// K is numbered from 0 and P from 1, as calibration reports number them.
TList PolynomialCoefficients(const TVxCameraDistortion& d) {
  TList list;
  AddSeries(list, "K", 0, d.polyK, 8, 0, 2);
  AddSeries(list, "P", 1, d.polyP, 2, 1, 0);
  AddSeries(list, "P", 3, d.polyP + 2, 2, 3, 0);
  return list;
}

std::optional<double> RadialReach(const TVxCameraDistortion& d) {
  double last = -1.0;
  for (const auto& row : d.tableR) last = std::max(last, row.r);
  return Positive(last);
}

std::optional<double> Directed4PlusReach(const TVxCameraDistortion& d) {
  return Positive(LastRadius(d.table4Plus, -1.0));
}

std::optional<double> Directed4XReach(const TVxCameraDistortion& d) {
  return Positive(LastRadius(d.table4X, -1.0));
}

std::optional<double> Directed8Reach(const TVxCameraDistortion& d) {
  return Positive(LastRadius(d.table4X, LastRadius(d.table4Plus, -1.0)));
}

}  // namespace vx_distortion_models

std::vector<TVxDistortionCoefficient> DistortionCoefficients(
    const TVxCameraDistortion& distortion) {
  const auto* model = vx_distortion_models::Find(distortion.type);
  if (model == nullptr || model->coefficients == nullptr) return {};
  return model->coefficients(distortion);
}

std::optional<double> DistortionTableReach(const TVxCameraDistortion& distortion) {
  const auto* model = vx_distortion_models::Find(distortion.type);
  if (model == nullptr || model->tableReach == nullptr) return std::nullopt;
  return model->tableReach(distortion);
}

std::optional<std::string> FirstNonFiniteValue(const TVxCameraDistortion& distortion) {
  const auto finite = [](double v) { return std::isfinite(v); };
  const vec_t_<double, 2>& s = distortion.symmetryPoint;
  if (distortion.type != TDistortionType::None && !(finite(s.x) && finite(s.y))) {
    return std::string("symmetry_point");
  }
  for (const TVxDistortionCoefficient& c : DistortionCoefficients(distortion)) {
    if (!finite(c.value)) return c.name;
  }
  const bool radial = distortion.type == TDistortionType::Radial;
  const bool axes = distortion.type == TDistortionType::Directed4Plus ||
                    distortion.type == TDistortionType::Directed8;
  const bool diagonals = distortion.type == TDistortionType::Directed4X ||
                         distortion.type == TDistortionType::Directed8;
  for (std::size_t i = 0; radial && i < distortion.tableR.size(); ++i) {
    const auto& row = distortion.tableR[i];
    if (!finite(row.r) || !finite(row.dr)) return "table_r[" + std::to_string(i) + "]";
  }
  const std::pair<bool, const std::vector<TVxCameraDistortion::T4Direction>*> tables[] = {
      {axes, &distortion.table4Plus}, {diagonals, &distortion.table4X}};
  const char* const names[] = {"table_+", "table_x"};
  for (std::size_t t = 0; t < 2; ++t) {
    for (std::size_t i = 0; tables[t].first && i < tables[t].second->size(); ++i) {
      const auto& row = (*tables[t].second)[i];
      if (!finite(row.r) || !std::all_of(std::begin(row.dr), std::end(row.dr), finite)) {
        return std::string(names[t]) + "[" + std::to_string(i) + "]";
      }
    }
  }
  return std::nullopt;
}
