#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "VxCameraInfo.h"

namespace {

const double kNaN = std::numeric_limits<double>::quiet_NaN();

TVxCameraDistortion FormulaWithRows() {
  TVxCameraDistortion d;
  d.type = TDistortionType::Formula;
  d.k1 = 1e-5;
  d.p1 = 2e-7;
  d.tableR = {{10.0, 0.001}, {20.0, 0.002}};
  return d;
}

}  // namespace

TEST(CameraDistortion, NewRecordIsNoneWithZerosAndEmptyTables) {
  const TVxCameraDistortion d;
  EXPECT_EQ(d.type, TDistortionType::None);
  EXPECT_EQ(d.direction, TVxCameraDistortion::TDirection::CamToMm);
  EXPECT_TRUE(d.tableR.empty() && d.table4Plus.empty() && d.table4X.empty());
  for (double k : d.polyK) EXPECT_EQ(k, 0.0);
  for (double k : d.mixed.K) EXPECT_EQ(k, 0.0);
  EXPECT_EQ(d.k5, 0.0);
  EXPECT_EQ(d.a2, 0.0);
}

TEST(CameraDistortion, DefaultRowsHoldRadiusOneAndZeroCorrections) {
  const TVxCameraDistortion::TRadialDistortion radial;
  EXPECT_EQ(radial.r, 1.0);
  EXPECT_EQ(radial.dr, 0.0);
  const TVxCameraDistortion::T4Direction directed;
  EXPECT_EQ(directed.r, 1.0);
  for (double dr : directed.dr) EXPECT_EQ(dr, 0.0);
}

TEST(CameraDistortion, ResetRecordEqualsNewRecordAndKeepsCapacity) {
  TVxCameraDistortion d = FormulaWithRows();
  d.table4X.resize(5);
  d.mixed.c[6] = 3.0;
  const auto capacity = d.tableR.capacity();
  d.Reset();
  EXPECT_TRUE(d == TVxCameraDistortion());
  EXPECT_EQ(d.tableR.capacity(), capacity);
}

TEST(CameraDistortion, SignOfZeroInFormulaBlockDoesNotMatter) {
  TVxCameraDistortion a;
  TVxCameraDistortion b;
  b.k3 = -0.0;
  EXPECT_TRUE(a == b);
}

TEST(CameraDistortion, SignOfZeroInMixedOrPolynomialMakesRecordsUnequal) {
  TVxCameraDistortion a;
  TVxCameraDistortion mixed;
  mixed.mixed.a[2] = -0.0;
  EXPECT_FALSE(a == mixed);
  TVxCameraDistortion polyK;
  polyK.polyK[0] = -0.0;
  EXPECT_FALSE(a == polyK);
  TVxCameraDistortion polyP;
  polyP.polyP[3] = -0.0;
  EXPECT_FALSE(a == polyP);
}

TEST(CameraDistortion, NaNInValueComparedFieldsMakesRecordUnequalToItself) {
  TVxCameraDistortion d;
  d.symmetryPoint.x = kNaN;
  EXPECT_FALSE(d == d);
  TVxCameraDistortion row;
  row.tableR = {{kNaN, 0.0}};
  EXPECT_FALSE(row == row);
  TVxCameraDistortion directed;
  directed.table4Plus.resize(1);
  directed.table4Plus[0].dr[2] = kNaN;
  EXPECT_FALSE(directed == directed);
}

TEST(CameraDistortion, SameNaNInByteComparedFieldsEqualsCopy) {
  TVxCameraDistortion d;
  d.polyK[4] = kNaN;
  const TVxCameraDistortion copy = d;
  EXPECT_TRUE(d == copy);
  TVxCameraDistortion m;
  m.mixed.P[1] = kNaN;
  EXPECT_TRUE(m == TVxCameraDistortion(m));
  EXPECT_TRUE(m.mixed == m.mixed);
}

TEST(CameraDistortion, RowsInOtherOrderAreUnequal) {
  TVxCameraDistortion a;
  a.type = TDistortionType::Radial;
  a.tableR = {{1.0, 0.1}, {2.0, 0.2}};
  TVxCameraDistortion b = a;
  std::swap(b.tableR[0], b.tableR[1]);
  EXPECT_FALSE(a == b);
}

TEST(CameraDistortion, TablesOfDifferentLengthAreUnequalEvenWithNaNRows) {
  TVxCameraDistortion a;
  a.tableR = {{1.0, 0.1}};
  TVxCameraDistortion b;
  b.tableR = {{1.0, 0.1}, {2.0, 0.2}};
  EXPECT_FALSE(a == b);
  // Rows that could not compare equal are never looked at when the lengths differ: both
  // differ in length and both hold NaN, and the answer is still a plain false.
  a.table4X = {TVxCameraDistortion::T4Direction{kNaN, {0, 0, 0, 0}}};
  EXPECT_FALSE(a == b);
}

TEST(CameraDistortion, LeftoverRowsOfAnotherModelMakeRecordsUnequal) {
  TVxCameraDistortion formula = FormulaWithRows();
  formula.tableR.clear();
  EXPECT_FALSE(formula == FormulaWithRows());
}

TEST(CameraDistortion, EveryFieldTakesPart) {
  const TVxCameraDistortion base;
  auto differs = [&](auto change) {
    TVxCameraDistortion d;
    change(d);
    return !(d == base);
  };
  EXPECT_TRUE(differs([](auto& d) { d.type = TDistortionType::Mixed; }));
  EXPECT_TRUE(differs([](auto& d) { d.direction = TVxCameraDistortion::TDirection::MmToCam; }));
  EXPECT_TRUE(differs([](auto& d) { d.symmetryPoint.y = 1.0; }));
  EXPECT_TRUE(differs([](auto& d) { d.a2 = 1.0; }));
  EXPECT_TRUE(differs([](auto& d) { d.p4 = 1.0; }));
  EXPECT_TRUE(differs([](auto& d) { d.mixed.K[2] = 1.0; }));
  EXPECT_TRUE(differs([](auto& d) { d.polyP[0] = 1.0; }));
  EXPECT_TRUE(differs([](auto& d) { d.table4Plus.resize(1); }));
}
