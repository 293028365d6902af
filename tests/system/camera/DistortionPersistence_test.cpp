#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>

#include "VxCameraInfo.h"
#include "VxMessage.h"
#include "VxRecordBytes.h"
#include "VxSettingsText.h"
#include "VxStrictLoad.h"
#include "VxXIni.h"

using vx_test::KeysOf;
using vx_test::LoadedFrom;
using vx_test::RecordBytes;
using vx_test::RoundTrip;
using vx_test::SavedText;
using Keys = std::vector<std::string>;

namespace {

TVxCameraDistortion Formula() {
  TVxCameraDistortion d;
  d.type = TDistortionType::Formula;
  d.symmetryPoint = {0.0, 0.007};
  d.k1 = 5.753e-8;
  d.k2 = -1.943e-12;
  d.p1 = 1.175e-8;
  d.p2 = -2.375e-7;
  return d;
}

// A record that is neither reset nor of the loaded kind, to see that a failed load keeps it.
TVxCameraDistortion Marker() {
  TVxCameraDistortion d;
  d.type = TDistortionType::Polynomial;
  d.polyK[3] = -0.0;
  d.k2 = std::numeric_limits<double>::quiet_NaN();
  d.tableR = {{7.0, 0.5}};
  return d;
}

void ExpectLoadFailsAndKeepsTarget(const std::string& text, const std::string& inMessage) {
  vx_test::ExpectLoadFailsAndKeepsTarget(Marker(), text, inMessage);
}

}  // namespace

TEST(DistortionPersistence, NoneIsSavedAsTypeAlone) {
  EXPECT_EQ(KeysOf(SavedText(TVxCameraDistortion())), Keys{"type"});
}

TEST(DistortionPersistence, LoadingNoneLeavesTargetAsItWas) {
  const TVxCameraDistortion target = LoadedFrom("type: None\n", Marker());
  EXPECT_EQ(RecordBytes(target), RecordBytes(Marker()));
}

TEST(DistortionPersistence, FormulaWritesItsKeysInOrder) {
  TVxCameraDistortion d = Formula();
  d.b2 = 1e-6;
  EXPECT_EQ(KeysOf(SavedText(d)), (Keys{"type", "direction", "symmetry_point", "k1", "k2", "k3",
                                        "k4", "k5", "p1", "p2", "p3", "p4", "b2"}));
  EXPECT_EQ(KeysOf(SavedText(d), {"symmetry_point"}), (Keys{"x", "y"}));
}

TEST(DistortionPersistence, ZeroInPlaneTermsOfEitherSignAreNotWritten) {
  TVxCameraDistortion d = Formula();
  d.b1 = 0.0;
  d.a2 = -0.0;
  const std::string text = SavedText(d);
  const Keys keys = KeysOf(text);
  EXPECT_EQ(std::count(keys.begin(), keys.end(), "b1"), 0);
  EXPECT_EQ(std::count(keys.begin(), keys.end(), "a2"), 0);
  const TVxCameraDistortion loaded = LoadedFrom<TVxCameraDistortion>(text);
  EXPECT_FALSE(std::signbit(loaded.a2));
  EXPECT_EQ(loaded.b1, 0.0);
}

TEST(DistortionPersistence, NaNInPlaneTermIsWrittenAndReadBack) {
  TVxCameraDistortion d = Formula();
  d.a1 = std::numeric_limits<double>::quiet_NaN();
  const Keys keys = KeysOf(SavedText(d));
  EXPECT_EQ(keys.back(), "a1");
  EXPECT_TRUE(std::isnan(RoundTrip(d).a1));
}

TEST(DistortionPersistence, FormulaWithoutOptionalKeysLoadsZeros) {
  const TVxCameraDistortion d = LoadedFrom<TVxCameraDistortion>(
      "type: Formula\nsymmetry_point: {x: 0, y: 0}\nk1: 1\nk2: 2\nk3: 3\np1: 4\np2: 5\n");
  EXPECT_EQ(d.k3, 3.0);
  EXPECT_EQ(d.k4, 0.0);
  EXPECT_EQ(d.p4, 0.0);
  EXPECT_EQ(d.direction, TVxCameraDistortion::TDirection::CamToMm);
}

TEST(DistortionPersistence, FormulaWithoutK3Fails) {
  ExpectLoadFailsAndKeepsTarget(
      "type: Formula\nsymmetry_point: {x: 0, y: 0}\nk1: 1\nk2: 2\nk4: 3\np1: 4\np2: 5\n", "k3");
}

TEST(DistortionPersistence, DirectionDifferingOnlyInCaseOrUnknownLoadsAsCamToMm) {
  for (const char* word : {"mmtocam", "MMTOCAM", "Sideways", "\"\""}) {
    const TVxCameraDistortion d = LoadedFrom<TVxCameraDistortion>(
        std::string("type: Formula\ndirection: ") + word +
        "\nsymmetry_point: {x: 0, y: 0}\nk1: 1\nk2: 2\nk3: 3\np1: 4\np2: 5\n");
    EXPECT_EQ(d.direction, TVxCameraDistortion::TDirection::CamToMm) << word;
  }
}

TEST(DistortionPersistence, MmToCamRoundTrips) {
  TVxCameraDistortion d = Formula();
  d.direction = TVxCameraDistortion::TDirection::MmToCam;
  EXPECT_TRUE(RoundTrip(d) == d);
}

TEST(DistortionPersistence, UnknownTypeIsValueErrorOfType) {
  ExpectLoadFailsAndKeepsTarget("type: Fromula\n", "type: invalid value 'Fromula'");
  ExpectLoadFailsAndKeepsTarget("type: formula\n", "type");
}

TEST(DistortionPersistence, MissingTypeOrSymmetryPointFails) {
  ExpectLoadFailsAndKeepsTarget("direction: CamToMm\n", "type");
  ExpectLoadFailsAndKeepsTarget("type: Radial\ntable_r: []\n", "symmetry_point");
  ExpectLoadFailsAndKeepsTarget("type: Radial\nsymmetry_point: {x: 1}\ntable_r: []\n", "y");
}

TEST(DistortionPersistence, PolynomialNumberedFromOneFailsOnK0) {
  std::string text = "type: Polynomial\nsymmetry_point: {x: 0, y: 0}\npolynomial_coeffs:\n";
  for (int i = 1; i <= 8; ++i) text += "  K" + std::to_string(i) + ": 0\n";
  for (int i = 1; i <= 4; ++i) text += "  P" + std::to_string(i) + ": 0\n";
  ExpectLoadFailsAndKeepsTarget(text, "K0");
}

TEST(DistortionPersistence, PolynomialKeysAreK0ToK7AndP1ToP4) {
  TVxCameraDistortion d;
  d.type = TDistortionType::Polynomial;
  for (int i = 0; i < 8; ++i) d.polyK[i] = i + 0.5;
  for (int i = 0; i < 4; ++i) d.polyP[i] = -i - 0.25;
  const std::string text = SavedText(d);
  EXPECT_EQ(KeysOf(text, {"polynomial_coeffs"}),
            (Keys{"K0", "K1", "K2", "K3", "K4", "K5", "K6", "K7", "P1", "P2", "P3", "P4"}));
  EXPECT_TRUE(RoundTrip(d) == d);
}

TEST(DistortionPersistence, MixedKeysAreNumberedFromOne) {
  TVxCameraDistortion d;
  d.type = TDistortionType::Mixed;
  for (int i = 0; i < 7; ++i) d.mixed.a[i] = d.mixed.b[i] = d.mixed.c[i] = i * 1e-3;
  d.mixed.K[2] = 3e-12;
  d.mixed.P[1] = -2e-7;
  const Keys keys = KeysOf(SavedText(d), {"mixed_coeffs"});
  ASSERT_EQ(keys.size(), 26u);
  EXPECT_EQ(keys.front(), "a1");
  EXPECT_EQ(keys[7], "b1");
  EXPECT_EQ(keys[20], "c7");
  EXPECT_EQ(keys[21], "K1");
  EXPECT_EQ(keys.back(), "P2");
  EXPECT_TRUE(RoundTrip(d) == d);
}

TEST(DistortionPersistence, MixedMissingOneCoefficientFails) {
  TVxCameraDistortion d;
  d.type = TDistortionType::Mixed;
  std::string text = SavedText(d);
  const auto at = text.find("c4:");
  ASSERT_NE(at, std::string::npos);
  text.replace(at, 2, "c9");
  ExpectLoadFailsAndKeepsTarget(text, "c4");
}

TEST(DistortionPersistence, RadialRowsRoundTripInStoredOrder) {
  TVxCameraDistortion d;
  d.type = TDistortionType::Radial;
  d.tableR = {{128.574, 0.010}, {20.173, -0.006}, {64.097, -0.009}};
  const TVxCameraDistortion back = RoundTrip(d);
  EXPECT_TRUE(back == d);
  EXPECT_EQ(KeysOf(SavedText(d), {"table_r"}), (Keys{"", "", ""}));
}

TEST(DistortionPersistence, RadialWithEmptyTableRoundTripsEmpty) {
  TVxCameraDistortion d;
  d.type = TDistortionType::Radial;
  const TVxCameraDistortion back = RoundTrip(d);
  EXPECT_EQ(back.type, TDistortionType::Radial);
  EXPECT_TRUE(back.tableR.empty());
}

TEST(DistortionPersistence, RadialRowWithoutDrFails) {
  ExpectLoadFailsAndKeepsTarget(
      "type: Radial\nsymmetry_point: {x: 0, y: 0}\ntable_r:\n  - {r: 1, dr: 2}\n  - {r: 3}\n",
      "dr");
}

TEST(DistortionPersistence, NamedListElementsAreReadLikeUnnamedOnes) {
  const TVxCameraDistortion d = LoadedFrom<TVxCameraDistortion>(
      "type: Radial\nsymmetry_point: {x: 0, y: 0}\ntable_r:\n  first: {r: 1, dr: 2}\n"
      "  second: {r: 3, dr: 4}\n");
  ASSERT_EQ(d.tableR.size(), 2u);
  EXPECT_EQ(d.tableR[1].r, 3.0);
}

TEST(DistortionPersistence, DirectedTablesKeepIndexOrderOfCorrections) {
  TVxCameraDistortion d;
  d.type = TDistortionType::Directed8;
  d.table4Plus = {{2.0, {10, 20, 30, 40}}, {4.0, {11, 21, 31, 41}}};
  d.table4X = {{3.0, {-1, -2, -3, -4}}};
  const TVxCameraDistortion back = RoundTrip(d);
  EXPECT_TRUE(back == d);
  EXPECT_EQ(back.table4Plus[0].dr[3], 40.0);
  EXPECT_EQ(KeysOf(SavedText(d)),
            (Keys{"type", "direction", "symmetry_point", "table_+", "table_x"}));
}

TEST(DistortionPersistence, EmptyDirectedTablesRoundTrip) {
  for (auto type :
       {TDistortionType::Directed4Plus, TDistortionType::Directed4X, TDistortionType::Directed8}) {
    TVxCameraDistortion d;
    d.type = type;
    EXPECT_TRUE(RoundTrip(d) == d) << static_cast<int>(type);
  }
}

TEST(DistortionPersistence, Directed4PlusWritesOnlyTablePlus) {
  TVxCameraDistortion d;
  d.type = TDistortionType::Directed4Plus;
  d.table4Plus = {{1.0, {1, 2, 3, 4}}};
  d.table4X = {{1.0, {1, 2, 3, 4}}};
  const Keys keys = KeysOf(SavedText(d));
  EXPECT_EQ(keys.back(), "table_+");
  EXPECT_TRUE(RoundTrip(d).table4X.empty());
}

TEST(DistortionPersistence, Directed8WithoutTableXFailsAndKeepsTarget) {
  TVxCameraDistortion d;
  d.type = TDistortionType::Directed8;
  d.table4Plus = {{1.0, {1, 2, 3, 4}}};
  std::string text = SavedText(d);
  text = text.substr(0, text.find("table_x"));
  ExpectLoadFailsAndKeepsTarget(text, "table_x");
}

TEST(DistortionPersistence, DirectedRowWithThreeCorrectionsFails) {
  ExpectLoadFailsAndKeepsTarget(
      "type: Directed4X\nsymmetry_point: {x: 0, y: 0}\ntable_x:\n  - r: 1\n    dr: [1, 2, 3]\n",
      "");
}

TEST(DistortionPersistence, LoadedRecordHasZerosOutsideItsModel) {
  TVxCameraDistortion loaded = Marker();
  const auto reader = TVxXIniReader::FromText(SavedText(Formula()));
  loaded.LoadE(reader.get());
  EXPECT_TRUE(loaded == Formula());
}

TEST(DistortionPersistence, SaveOfTypeOutsideTableThrowsWithContext) {
  TVxCameraDistortion d;
  d.type = static_cast<TDistortionType>(0);
  TVxXIniWriter writer;
  try {
    d.SaveE(&writer);
    FAIL();
  } catch (const std::runtime_error& e) {
    EXPECT_STREQ(e.what(),
                 "@TVxCameraDistortion::Save: invalid DistortionType\n"
                 "@EnumToTextE(): Invalid enum value: 0.");
  }
}

TEST(DistortionPersistence, SaveOfDirectionOutsideTableThrowsAfterType) {
  TVxCameraDistortion d = Formula();
  d.direction = static_cast<TVxCameraDistortion::TDirection>(2);
  TVxXIniWriter writer;
  try {
    d.SaveE(&writer);
    FAIL();
  } catch (const std::runtime_error& e) {
    EXPECT_STREQ(e.what(),
                 "@TVxCameraDistortion::Save: invalid Direction\n"
                 "@EnumToTextE(): Invalid enum value: 2.");
  }
  EXPECT_EQ(KeysOf(writer.ToText()), Keys{"type"});
}

TEST(DistortionPersistence, DirectionOfNoneIsNeitherWrittenNorChecked) {
  TVxCameraDistortion d;
  d.direction = static_cast<TVxCameraDistortion::TDirection>(9);
  EXPECT_EQ(KeysOf(SavedText(d)), Keys{"type"});
}
