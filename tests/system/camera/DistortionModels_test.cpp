// The distortion record's numbers in a person's terms: every model's coefficients with their
// names and units, and how far each table model reaches.

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "VxDistortionModels.h"

namespace {

std::string Names(const std::vector<TVxDistortionCoefficient>& list) {
  std::string names;
  for (const auto& c : list) names += c.name + "^" + std::to_string(c.mmPower) + " ";
  return names;
}

TEST(DistortionCoefficients, FormulaInFileOrderWithTheUnitsOfItsFormula) {
  TVxCameraDistortion d;
  d.type = TDistortionType::Formula;
  d.k3 = 3e-15;
  d.a2 = 1e-5;
  const auto list = DistortionCoefficients(d);
  EXPECT_EQ(Names(list),
            "k1^-2 k2^-4 k3^-6 k4^-8 k5^-10 p1^-1 p2^-1 p3^-2 p4^-4 b1^0 b2^0 a1^0 a2^0 ");
  EXPECT_EQ(list[2].value, 3e-15);
  EXPECT_EQ(list[12].value, 1e-5);
}

TEST(DistortionCoefficients, MixedAndPolynomialNumberTheirGroupsAsReportsDo) {
  TVxCameraDistortion d;
  d.type = TDistortionType::Mixed;
  d.mixed.K[2] = 7.0;
  auto list = DistortionCoefficients(d);
  ASSERT_EQ(list.size(), 26u);
  EXPECT_EQ(list[0].name, "a1");
  EXPECT_EQ(list[21].name, "K1");
  EXPECT_EQ(list[23].name, "K3");
  EXPECT_EQ(list[23].mmPower, -6);
  EXPECT_EQ(list[23].value, 7.0);
  EXPECT_EQ(list[25].name, "P2");
  d.type = TDistortionType::Polynomial;
  d.polyP[3] = 0.5;
  list = DistortionCoefficients(d);
  EXPECT_EQ(Names(list),
            "K0^0 K1^-2 K2^-4 K3^-6 K4^-8 K5^-10 K6^-12 K7^-14 P1^-1 P2^-1 P3^-3 P4^-3 ");
  EXPECT_EQ(list[11].value, 0.5);
}

TEST(DistortionCoefficients, TablesNoneAndUnknownTypesHaveNone) {
  TVxCameraDistortion d;
  for (const int type : {1, 3, 4, 5, 6, 0, 99}) {
    d.type = static_cast<TDistortionType>(type);
    EXPECT_TRUE(DistortionCoefficients(d).empty()) << type;
  }
}

TEST(DistortionTableReach, IsTheFarthestRowOfTheTablesInUse) {
  TVxCameraDistortion d;
  d.type = TDistortionType::Radial;
  d.tableR = {{20.0, 0.001}, {128.5, -0.002}, {90.0, 0.0}};
  EXPECT_EQ(DistortionTableReach(d), 128.5);
  d.table4Plus = {{100.0, {0, 0, 0, 0}}};
  d.table4X = {{140.0, {0, 0, 0, 0}}};
  d.type = TDistortionType::Directed4Plus;
  EXPECT_EQ(DistortionTableReach(d), 100.0);  // the diagonals are not used
  d.type = TDistortionType::Directed4X;
  EXPECT_EQ(DistortionTableReach(d), 140.0);
  d.type = TDistortionType::Directed8;
  EXPECT_EQ(DistortionTableReach(d), 140.0);
}

TEST(DistortionTableReach, NothingForCoefficientModelsEmptyTablesAndUnknownTypes) {
  TVxCameraDistortion d;
  d.tableR = {{50.0, 0.001}};
  for (const int type : {1, 2, 7, 8, 0, 99}) {
    d.type = static_cast<TDistortionType>(type);
    EXPECT_FALSE(DistortionTableReach(d).has_value()) << type;
  }
  d.type = TDistortionType::Radial;
  d.tableR.clear();
  EXPECT_FALSE(DistortionTableReach(d).has_value());
  d.tableR = {{0.0, 0.0}};  // a row at the centre reaches nowhere
  EXPECT_FALSE(DistortionTableReach(d).has_value());
}

TEST(FirstNonFiniteValue, NamesTheFirstNumberOfTheModelInForce) {
  TVxCameraDistortion d;
  d.type = TDistortionType::Formula;
  EXPECT_FALSE(FirstNonFiniteValue(d).has_value());
  d.p2 = std::numeric_limits<double>::infinity();
  d.a1 = std::nan("");
  EXPECT_EQ(FirstNonFiniteValue(d), "p2");
  d.symmetryPoint.y = std::nan("");
  EXPECT_EQ(FirstNonFiniteValue(d), "symmetry_point");
  d.type = TDistortionType::Radial;
  d.symmetryPoint.y = 0.0;
  d.tableR = {{10.0, 0.0}, {20.0, std::nan("")}};
  EXPECT_EQ(FirstNonFiniteValue(d), "table_r[1]");
}

TEST(FirstNonFiniteValue, LooksOnlyAtTheTablesTheModelUses) {
  TVxCameraDistortion d;
  d.table4Plus = {{10.0, {0, 0, 0, 0}}};
  d.table4X = {{10.0, {0, std::nan(""), 0, 0}}};
  d.type = TDistortionType::Directed4Plus;
  EXPECT_FALSE(FirstNonFiniteValue(d).has_value());
  d.type = TDistortionType::Directed8;
  EXPECT_EQ(FirstNonFiniteValue(d), "table_x[0]");
  d.type = TDistortionType::None;  // keeps no numbers: nothing to refuse
  d.symmetryPoint.x = std::nan("");
  EXPECT_FALSE(FirstNonFiniteValue(d).has_value());
}

}  // namespace
