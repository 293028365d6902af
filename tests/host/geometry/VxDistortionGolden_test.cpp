// Points mapped by the distortion models, compared with results computed in exact rational
// arithmetic by data/make_distortion_golden.py from the documented formulas.

#include <gtest/gtest.h>

#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "VxGeometry.h"

namespace {

// The golden results are exact values rounded once. The library's own rounding of the small
// displacement is far below the last place of the mapped coordinates, so the result may differ
// from them by one unit in the last place: 2.8e-14 mm for coordinates up to 163 mm.
constexpr double kGoldenTolerance = 3e-14;

const char* const kGoldenFile = VX_SOURCE_DIR "/tests/host/geometry/data/distortion_golden.txt";

struct TGoldenCase {
  std::string line;
  std::unique_ptr<TVx2DTransform> model;
  vec_t_<double, 2> in;
  vec_t_<double, 2> expected;
};

std::unique_ptr<TVx2DTransform> MakeModel(const std::string& kind, const std::vector<double>& v) {
  const vec_t_<double, 2> centre{v[0], v[1]};
  const double zero = 0.0;
  if (kind == "formula") {
    TFormulaDistortion::TDistCoeff c;
    c.centre = centre;
    double* fields[] = {&c.k1, &c.k2, &c.k3, &c.k4, &c.k5, &c.p1, &c.p2,
                        &c.p3, &c.p4, &c.b1, &c.b2, &c.a1, &c.a2};
    for (std::size_t i = 0; i < 13; ++i) *fields[i] = v[2 + i];
    return std::make_unique<TFormulaDistortion>(c);
  }
  if (kind == "polynomial") {
    const double focal = 153.0;  // not used by the model
    return std::make_unique<TPolynomialDistortion>(centre, focal, &v[2], &v[10], zero, zero, false);
  }
  if (kind == "mixed") {
    return std::make_unique<TMixedDistortion>(centre, v[2], &v[3], &v[10], &v[17], &v[24], &v[27],
                                              zero, zero, zero, false);
  }
  if (kind == "radial") {
    std::vector<TRadialDistortion::TRadialTableItem> table;
    const auto rows = static_cast<std::size_t>(v[2]);
    for (std::size_t i = 0; i < rows; ++i) table.push_back({v[3 + 2 * i], v[4 + 2 * i]});
    return std::make_unique<TRadialDistortion>(centre, table, false);
  }
  return nullptr;
}

std::vector<TGoldenCase> ReadGoldenCases() {
  std::vector<TGoldenCase> cases;
  std::ifstream file(kGoldenFile);
  std::string line;
  while (std::getline(file, line)) {
    if (line.empty() || line[0] == '#') continue;
    std::istringstream in(line);
    std::string kind;
    in >> kind;
    std::vector<double> values;
    double value = 0.0;
    while (in >> value) values.push_back(value);
    if (values.size() < 6) continue;
    TGoldenCase c;
    c.line = line;
    const std::size_t n = values.size();
    c.in = {values[n - 4], values[n - 3]};
    c.expected = {values[n - 2], values[n - 1]};
    values.resize(n - 4);
    c.model = MakeModel(kind, values);
    cases.push_back(std::move(c));
  }
  return cases;
}

TEST(DistortionGolden, EveryModel_MapsTheGoldenPointsToTheExactResults) {
  const auto cases = ReadGoldenCases();
  ASSERT_GE(cases.size(), 390u) << "golden file " << kGoldenFile;
  for (const auto& c : cases) {
    ASSERT_NE(c.model, nullptr) << c.line;
    const vec_t_<double, 2> got = c.model->TransformPoint(c.in);
    EXPECT_NEAR(got.x, c.expected.x, kGoldenTolerance) << c.line;
    EXPECT_NEAR(got.y, c.expected.y, kGoldenTolerance) << c.line;
  }
}

}  // namespace
