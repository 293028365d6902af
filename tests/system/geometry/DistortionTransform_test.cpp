// CreateCameraDistortionTransform: which model is built, from which fields, in which order.
// The transforms are read back through the geometry classes' accessors.

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

#include "CameraMathTestSupport.h"
#include "VxCameraMath.h"
#include "VxGeometry.h"

namespace {

using vx_test::HeldAs;
using vx_test::Row4;
using TDirection = TVxCameraDistortion::TDirection;
using TPoint = vec_t_<double, 2>;

const TPoint kCentre{0.25, -0.5};
constexpr double kFocal = 153.228;

// The angles as the double values of k pi / 4.
constexpr double kPi = 3.141592653589793;
const std::vector<double> kPlusAngles = {0.0, 1.5707963267948966, 3.141592653589793,
                                         4.71238898038469};
const std::vector<double> kCrossAngles = {0.7853981633974483, 2.356194490192345, 3.9269908169872414,
                                          5.497787143782138};
const std::vector<double> kEightAngles = {0.0,
                                          0.7853981633974483,
                                          1.5707963267948966,
                                          2.356194490192345,
                                          3.141592653589793,
                                          3.9269908169872414,
                                          4.71238898038469,
                                          5.497787143782138};

TVxCameraDistortion OfType(TDistortionType type) {
  TVxCameraDistortion d;
  d.type = type;
  return d;
}

// The eight values of a merged row in angle order from the two halves in stored index order:
// + dr[3], X dr[3], + dr[0], X dr[0], + dr[2], X dr[2], + dr[1], X dr[1].
std::vector<double> Interleaved(const double (&plus)[4], const double (&cross)[4]) {
  return {plus[3], cross[3], plus[0], cross[0], plus[2], cross[2], plus[1], cross[1]};
}

// A copy of what the directed table transform in `handle` was built from.
TDirectedDistortion::TDirectedData DirectedData(const TransformHandle& handle) {
  const auto* directed = HeldAs<TDirectedDistortion>(handle);
  if (directed == nullptr) throw std::logic_error("not a directed table transform");
  return directed->Data();
}

// The inverse flag of whichever table or coefficient model the handle holds.
bool InverseOf(const TransformHandle& handle) {
  if (const auto* t = HeldAs<TRadialDistortion>(handle)) return t->Inverse();
  if (const auto* t = HeldAs<TDirectedDistortion>(handle)) return t->Inverse();
  if (const auto* t = HeldAs<TMixedDistortion>(handle)) return t->Inverse();
  if (const auto* t = HeldAs<TPolynomialDistortion>(handle)) return t->Inverse();
  throw std::logic_error("not a table, mixed or polynomial model");
}

TEST(DistortionTransform, NoneZeroAndNineGiveTheEmptyHandle) {
  for (const int type : {1, 0, 9}) {
    SCOPED_TRACE(type);
    const TransformHandle handle = CreateCameraDistortionTransform(
        OfType(static_cast<TDistortionType>(type)), kCentre, kFocal);
    EXPECT_EQ(handle.first, nullptr);
    EXPECT_EQ(handle.second, nullptr);
  }
}

TEST(DistortionTransform, FormulaCopiesTheThirteenCoefficientsAndTheCentre) {
  TVxCameraDistortion d = OfType(TDistortionType::Formula);
  double* fields[] = {&d.k1, &d.k2, &d.k3, &d.k4, &d.k5, &d.p1, &d.p2,
                      &d.p3, &d.p4, &d.b1, &d.b2, &d.a1, &d.a2};
  for (int i = 0; i < 13; ++i) *fields[i] = (i + 1) * 1e-9;
  d.symmetryPoint = {7.0, 8.0};  // not read: the centre is the argument

  const TransformHandle handle = CreateCameraDistortionTransform(d, kCentre, kFocal);
  const auto* formula = HeldAs<TFormulaDistortion>(handle);
  ASSERT_NE(formula, nullptr);
  const TFormulaDistortion::TDistCoeff& c = formula->Coefficients();
  EXPECT_EQ(c.centre, kCentre);
  const double built[] = {c.k1, c.k2, c.k3, c.k4, c.k5, c.p1, c.p2,
                          c.p3, c.p4, c.b1, c.b2, c.a1, c.a2};
  for (int i = 0; i < 13; ++i) EXPECT_EQ(built[i], (i + 1) * 1e-9) << i;
  EXPECT_EQ(handle.use_count(), 1);
}

TEST(DistortionTransform, FormulaInverseFlagFollowsTheDirection) {
  TVxCameraDistortion d = OfType(TDistortionType::Formula);
  d.k1 = 1e-8;
  d.direction = TDirection::MmToCam;
  const TransformHandle mmToCam = CreateCameraDistortionTransform(d, kCentre, kFocal);
  ASSERT_NE(HeldAs<TFormulaDistortion>(mmToCam), nullptr);
  EXPECT_TRUE(HeldAs<TFormulaDistortion>(mmToCam)->Coefficients().inverse);

  d.direction = TDirection::CamToMm;
  const TransformHandle camToMm = CreateCameraDistortionTransform(d, kCentre, kFocal);
  ASSERT_NE(HeldAs<TFormulaDistortion>(camToMm), nullptr);
  EXPECT_FALSE(HeldAs<TFormulaDistortion>(camToMm)->Coefficients().inverse);
}

TEST(DistortionTransform, EveryModelGetsTheInverseFlagOfMmToCam) {
  TVxCameraDistortion d;
  d.direction = TDirection::MmToCam;
  d.tableR = {{10.0, 0.01}};
  d.table4Plus = {Row4(10.0, 0.01, 0.01, 0.01, 0.01)};
  d.table4X = {Row4(10.0, 0.01, 0.01, 0.01, 0.01)};
  for (const TDistortionType type :
       {TDistortionType::Radial, TDistortionType::Directed4Plus, TDistortionType::Directed4X,
        TDistortionType::Directed8, TDistortionType::Mixed, TDistortionType::Polynomial}) {
    SCOPED_TRACE(static_cast<int>(type));
    d.type = type;
    const TransformHandle handle = CreateCameraDistortionTransform(d, kCentre, kFocal);
    ASSERT_TRUE(handle);
    EXPECT_TRUE(InverseOf(handle));
  }
}

TEST(DistortionTransform, RadialRowsInDescendingOrderArePassedOnInThatOrder) {
  TVxCameraDistortion d = OfType(TDistortionType::Radial);
  d.tableR = {{90.0, 0.004}, {60.0, -0.002}, {30.0, -0.005}, {30.0, -0.001}};

  const TransformHandle handle = CreateCameraDistortionTransform(d, kCentre, kFocal);
  const auto* radial = HeldAs<TRadialDistortion>(handle);
  ASSERT_NE(radial, nullptr);
  EXPECT_EQ(radial->Centre(), kCentre);
  EXPECT_FALSE(radial->Inverse());
  ASSERT_EQ(radial->Table().size(), d.tableR.size());
  for (std::size_t i = 0; i < d.tableR.size(); ++i) {
    EXPECT_EQ(radial->Table()[i].r, d.tableR[i].r) << i;
    EXPECT_EQ(radial->Table()[i].dr, d.tableR[i].dr) << i;
  }
}

TEST(DistortionTransform, RadialWithoutRowsGivesAnEmptyTable) {
  const TransformHandle handle =
      CreateCameraDistortionTransform(OfType(TDistortionType::Radial), kCentre, kFocal);
  ASSERT_NE(HeldAs<TRadialDistortion>(handle), nullptr);
  EXPECT_TRUE(HeldAs<TRadialDistortion>(handle)->Table().empty());
}

TEST(DistortionTransform, Directed4PlusFeedsEntriesThreeZeroTwoOneToTheAxes) {
  TVxCameraDistortion d = OfType(TDistortionType::Directed4Plus);
  d.table4Plus = {Row4(2.0, 10.0, 20.0, 30.0, 40.0)};

  const auto data = DirectedData(CreateCameraDistortionTransform(d, kCentre, kFocal));
  EXPECT_EQ(data.centre, kCentre);
  EXPECT_EQ(data.angles, kPlusAngles);
  ASSERT_EQ(data.table.size(), 1u);
  EXPECT_EQ(data.table[0].r, 2.0);
  EXPECT_EQ(data.table[0].dr, (std::vector<double>{40.0, 10.0, 30.0, 20.0}));
}

TEST(DistortionTransform, Directed4PlusEntryZeroActsAQuarterTurnFromTheFirstAxis) {
  // A row that moves points only through its entry 0 moves them along +y, the direction pi / 2.
  TVxCameraDistortion d = OfType(TDistortionType::Directed4Plus);
  d.table4Plus = {Row4(10.0, 0.02, 0.0, 0.0, 0.0)};
  const TransformHandle handle = CreateCameraDistortionTransform(d, {0.0, 0.0}, kFocal);
  const TPoint moved = handle->TransformPoint({0.0, 10.0});
  EXPECT_DOUBLE_EQ(moved.y, 10.02);
  EXPECT_NEAR(moved.x, 0.0, 1e-15);
  EXPECT_EQ(handle->TransformPoint({10.0, 0.0}).x, 10.0);
}

TEST(DistortionTransform, Directed4XUsesTheDiagonalsAndTheCrossTable) {
  TVxCameraDistortion d = OfType(TDistortionType::Directed4X);
  d.table4Plus = {Row4(99.0, 9.0, 9.0, 9.0, 9.0)};  // not read
  d.table4X = {Row4(5.0, 1.0, 2.0, 3.0, 4.0), Row4(3.0, 5.0, 6.0, 7.0, 8.0)};

  const auto data = DirectedData(CreateCameraDistortionTransform(d, kCentre, kFocal));
  EXPECT_EQ(data.angles, kCrossAngles);
  ASSERT_EQ(data.table.size(), 2u);
  EXPECT_EQ(data.table[0].r, 5.0);
  EXPECT_EQ(data.table[0].dr, (std::vector<double>{4.0, 1.0, 3.0, 2.0}));
  EXPECT_EQ(data.table[1].r, 3.0);
  EXPECT_EQ(data.table[1].dr, (std::vector<double>{8.0, 5.0, 7.0, 6.0}));
}

TEST(DistortionTransform, AnglesAreTheDoubleValuesOfMultiplesOfAQuarterPi) {
  for (std::size_t k = 0; k < 8; ++k) {
    EXPECT_EQ(kEightAngles[k], static_cast<double>(k) * kPi / 4.0) << k;
  }
}

TEST(DistortionTransform, Directed8WithSharedRadiiTakesBothRowsAndInterpolatesTheOther) {
  // + at 1 and 3, X at 1, 2 and 3: the item at 2 has X's own row and, for +, the increment of
  // the secant between +'s rows 1 and 3 at the half way point, without +'s row-1 values.
  TVxCameraDistortion d = OfType(TDistortionType::Directed8);
  d.table4Plus = {Row4(1.0, 1.0, 2.0, 3.0, 4.0), Row4(3.0, 11.0, 22.0, 33.0, 44.0)};
  d.table4X = {Row4(1.0, 0.1, 0.2, 0.3, 0.4), Row4(2.0, 0.5, 0.6, 0.7, 0.8),
               Row4(3.0, 0.9, 1.0, 1.1, 1.2)};
  const auto& P = d.table4Plus;
  const auto& X = d.table4X;

  const auto data = DirectedData(CreateCameraDistortionTransform(d, kCentre, kFocal));
  EXPECT_EQ(data.centre, kCentre);
  EXPECT_EQ(data.angles, kEightAngles);
  ASSERT_EQ(data.table.size(), 3u);
  EXPECT_EQ(data.table[0].r, 1.0);
  EXPECT_EQ(data.table[0].dr, Interleaved(P[0].dr, X[0].dr));
  EXPECT_EQ(data.table[2].r, 3.0);
  EXPECT_EQ(data.table[2].dr, Interleaved(P[1].dr, X[2].dr));

  EXPECT_EQ(data.table[1].r, 2.0);
  double plusAt2[4];
  for (int k = 0; k < 4; ++k) plusAt2[k] = (P[1].dr[k] - P[0].dr[k]) * 0.5;
  EXPECT_EQ(data.table[1].dr, Interleaved(plusAt2, X[1].dr));
  // The increment alone: (22 - 2) / 2 = 10, where the secant's value would be 12.
  EXPECT_EQ(data.table[1].dr[6], 10.0);
}

TEST(DistortionTransform, Directed8BeforeAndPastATableUsesTheOriginLineAndTheLastSecant) {
  // + at 1 and 2, X at 4: at 1 and 2 the X half is the line from the origin through X's row;
  // at 4 the + half is the increment of +'s last secant extrapolated to 4.
  TVxCameraDistortion d = OfType(TDistortionType::Directed8);
  d.table4Plus = {Row4(1.0, 1.0, 2.0, 3.0, 4.0), Row4(2.0, 3.0, 5.0, 7.0, 9.0)};
  d.table4X = {Row4(4.0, 8.0, 12.0, 16.0, 20.0)};
  const auto& P = d.table4Plus;
  const auto& X = d.table4X;

  const auto data = DirectedData(CreateCameraDistortionTransform(d, kCentre, kFocal));
  ASSERT_EQ(data.table.size(), 3u);
  const double radii[] = {1.0, 2.0};
  for (std::size_t i = 0; i < 2; ++i) {
    SCOPED_TRACE(i);
    double crossHalf[4];
    for (int k = 0; k < 4; ++k) crossHalf[k] = X[0].dr[k] * (radii[i] / 4.0);
    EXPECT_EQ(data.table[i].r, radii[i]);
    EXPECT_EQ(data.table[i].dr, Interleaved(P[i].dr, crossHalf));
  }
  double plusHalf[4];
  for (int k = 0; k < 4; ++k) plusHalf[k] = (P[1].dr[k] - P[0].dr[k]) * ((4.0 - 1.0) / (2.0 - 1.0));
  EXPECT_EQ(data.table[2].r, 4.0);
  EXPECT_EQ(data.table[2].dr, Interleaved(plusHalf, X[0].dr));
  // X's entry 0 at 1 mm: 8 * 1 / 4 = 2; +'s entry 1 at 4 mm: (5 - 2) * 3 = 9.
  EXPECT_EQ(data.table[0].dr[3], 2.0);
  EXPECT_EQ(data.table[2].dr[6], 9.0);
}

TEST(DistortionTransform, Directed8PastATableOfOneRowUsesTheOriginLine) {
  TVxCameraDistortion d = OfType(TDistortionType::Directed8);
  d.table4Plus = {Row4(1.0, 1.0, 2.0, 3.0, 4.0)};
  d.table4X = {Row4(1.0, 5.0, 6.0, 7.0, 8.0), Row4(3.0, 9.0, 10.0, 11.0, 12.0)};

  const auto data = DirectedData(CreateCameraDistortionTransform(d, kCentre, kFocal));
  ASSERT_EQ(data.table.size(), 2u);
  double plusAt3[4];
  for (int k = 0; k < 4; ++k) plusAt3[k] = d.table4Plus[0].dr[k] * 3.0;
  EXPECT_EQ(data.table[1].r, 3.0);
  EXPECT_EQ(data.table[1].dr, Interleaved(plusAt3, d.table4X[1].dr));
}

TEST(DistortionTransform, Directed8AlternatingRadiiInterpolateBetweenTheNeighbouringRows) {
  // + at 1, 3, 5 and X at 2, 4: every item takes one row and the other table's secant around
  // its cursor, lower row c - 1 and upper row c.
  TVxCameraDistortion d = OfType(TDistortionType::Directed8);
  d.table4Plus = {Row4(1.0, 1.0, 1.0, 1.0, 1.0), Row4(3.0, 3.0, 5.0, 7.0, 9.0),
                  Row4(5.0, 4.0, 4.0, 4.0, 4.0)};
  d.table4X = {Row4(2.0, 2.0, 2.0, 2.0, 2.0), Row4(4.0, 6.0, 10.0, 14.0, 18.0)};
  const auto& P = d.table4Plus;
  const auto& X = d.table4X;

  const auto data = DirectedData(CreateCameraDistortionTransform(d, kCentre, kFocal));
  ASSERT_EQ(data.table.size(), 5u);
  for (std::size_t i = 0; i < 5; ++i) EXPECT_EQ(data.table[i].r, static_cast<double>(i + 1));
  double expected[4];
  // At 1: X before its first row, origin line through X[0] at 2.
  for (int k = 0; k < 4; ++k) expected[k] = X[0].dr[k] * 0.5;
  EXPECT_EQ(data.table[0].dr, Interleaved(P[0].dr, expected));
  // At 2: + between rows 0 and 1, t = 0.5.
  for (int k = 0; k < 4; ++k) expected[k] = (P[1].dr[k] - P[0].dr[k]) * 0.5;
  EXPECT_EQ(data.table[1].dr, Interleaved(expected, X[0].dr));
  // At 3: X between rows 0 and 1, t = 0.5.
  for (int k = 0; k < 4; ++k) expected[k] = (X[1].dr[k] - X[0].dr[k]) * 0.5;
  EXPECT_EQ(data.table[2].dr, Interleaved(P[1].dr, expected));
  // At 4: + between rows 1 and 2, t = 0.5.
  for (int k = 0; k < 4; ++k) expected[k] = (P[2].dr[k] - P[1].dr[k]) * 0.5;
  EXPECT_EQ(data.table[3].dr, Interleaved(expected, X[1].dr));
  // At 5: X used up, its last secant extrapolated, t = (5 - 2) / (4 - 2).
  for (int k = 0; k < 4; ++k) expected[k] = (X[1].dr[k] - X[0].dr[k]) * 1.5;
  EXPECT_EQ(data.table[4].dr, Interleaved(P[2].dr, expected));
}

TEST(DistortionTransform, Directed8WithBothTablesEmptyHasEightAnglesAndNoItems) {
  const auto data = DirectedData(
      CreateCameraDistortionTransform(OfType(TDistortionType::Directed8), kCentre, kFocal));
  EXPECT_EQ(data.centre, kCentre);
  EXPECT_EQ(data.angles, kEightAngles);
  EXPECT_TRUE(data.table.empty());
}

TEST(DistortionTransform, Directed8WithAnEmptyPlusTableIsRejectedNamingIt) {
  TVxCameraDistortion d = OfType(TDistortionType::Directed8);
  d.table4X = {Row4(1.0, 1.0, 2.0, 3.0, 4.0)};
  try {
    CreateCameraDistortionTransform(d, kCentre, kFocal);
    FAIL() << "no exception";
  } catch (const std::invalid_argument& e) {
    EXPECT_STREQ(e.what(),
                 "CreateCameraDistortionTransform: Directed8 needs both tables, but \"table_+\" "
                 "is empty and \"table_x\" is not");
  }
}

TEST(DistortionTransform, Directed8WithAnEmptyCrossTableIsRejectedNamingIt) {
  TVxCameraDistortion d = OfType(TDistortionType::Directed8);
  d.table4Plus = {Row4(1.0, 1.0, 2.0, 3.0, 4.0), Row4(2.0, 1.0, 2.0, 3.0, 4.0)};
  try {
    CreateCameraDistortionTransform(d, kCentre, kFocal);
    FAIL() << "no exception";
  } catch (const std::invalid_argument& e) {
    EXPECT_STREQ(e.what(),
                 "CreateCameraDistortionTransform: Directed8 needs both tables, but \"table_x\" "
                 "is empty and \"table_+\" is not");
  }
}

TEST(DistortionTransform, MixedPassesTheFiveGroupsTheFocalLengthAndZeroReservedValues) {
  TVxCameraDistortion d = OfType(TDistortionType::Mixed);
  for (int i = 0; i < 7; ++i) {
    d.mixed.a[i] = (i + 1) * 1e-10;
    d.mixed.b[i] = (i + 8) * 1e-10;
    d.mixed.c[i] = (i + 15) * 1e-10;
  }
  d.mixed.K[0] = 1e-8;
  d.mixed.K[1] = -2e-12;
  d.mixed.K[2] = 3e-17;
  d.mixed.P[0] = 4e-7;
  d.mixed.P[1] = -5e-7;

  const TransformHandle handle = CreateCameraDistortionTransform(d, kCentre, kFocal);
  const auto* mixed = HeldAs<TMixedDistortion>(handle);
  ASSERT_NE(mixed, nullptr);
  EXPECT_EQ(mixed->Centre(), kCentre);
  EXPECT_EQ(mixed->Focal(), kFocal);
  EXPECT_FALSE(mixed->Inverse());
  for (std::size_t i = 0; i < 7; ++i) {
    EXPECT_EQ(mixed->A()[i], d.mixed.a[i]) << i;
    EXPECT_EQ(mixed->B()[i], d.mixed.b[i]) << i;
    EXPECT_EQ(mixed->C()[i], d.mixed.c[i]) << i;
  }
  for (std::size_t i = 0; i < 3; ++i) EXPECT_EQ(mixed->K()[i], d.mixed.K[i]) << i;
  for (std::size_t i = 0; i < 2; ++i) EXPECT_EQ(mixed->P()[i], d.mixed.P[i]) << i;
  for (const double reserved : mixed->Reserved()) EXPECT_EQ(reserved, 0.0);
}

TEST(DistortionTransform, PolynomialPassesKAndPTheFocalLengthAndZeroReservedValues) {
  TVxCameraDistortion d = OfType(TDistortionType::Polynomial);
  for (int i = 0; i < 8; ++i) d.polyK[i] = (i + 1) * 1e-9;
  for (int i = 0; i < 4; ++i) d.polyP[i] = -(i + 1) * 1e-8;
  d.direction = TDirection::MmToCam;

  const TransformHandle handle = CreateCameraDistortionTransform(d, kCentre, kFocal);
  const auto* poly = HeldAs<TPolynomialDistortion>(handle);
  ASSERT_NE(poly, nullptr);
  EXPECT_EQ(poly->Centre(), kCentre);
  EXPECT_EQ(poly->Focal(), kFocal);
  EXPECT_TRUE(poly->Inverse());
  for (std::size_t i = 0; i < 8; ++i) EXPECT_EQ(poly->K()[i], d.polyK[i]) << i;
  for (std::size_t i = 0; i < 4; ++i) EXPECT_EQ(poly->P()[i], d.polyP[i]) << i;
  for (const double reserved : poly->Reserved()) EXPECT_EQ(reserved, 0.0);
}

TEST(DistortionTransform, FocalLengthIsNotUsedByTheFormulaModel) {
  TVxCameraDistortion d = OfType(TDistortionType::Formula);
  d.k1 = 5e-8;
  const TPoint p{60.0, -80.0};
  const TPoint a = CreateCameraDistortionTransform(d, kCentre, kFocal)->TransformPoint(p);
  const TPoint b = CreateCameraDistortionTransform(d, kCentre, -1.0)->TransformPoint(p);
  EXPECT_EQ(a, b);
}

TEST(DistortionTransform, TheRecordIsNotChanged) {
  TVxCameraDistortion d = OfType(TDistortionType::Directed8);
  d.table4Plus = {Row4(3.0, 1.0, 2.0, 3.0, 4.0), Row4(1.0, 1.0, 2.0, 3.0, 4.0)};
  d.table4X = {Row4(2.0, 1.0, 2.0, 3.0, 4.0)};
  const TVxCameraDistortion before = d;
  CreateCameraDistortionTransform(d, kCentre, kFocal);
  EXPECT_TRUE(d == before);
}

TEST(DistortionTransform, ALibraryRejectionPassesToTheCaller) {
  TVxCameraDistortion d = OfType(TDistortionType::Radial);
  d.tableR = {{10.0, 0.01}, {-5.0, 0.0}};
  EXPECT_THROW(CreateCameraDistortionTransform(d, kCentre, kFocal), std::invalid_argument);

  TVxCameraDistortion mixed = OfType(TDistortionType::Mixed);
  mixed.mixed.c[1] = 1e-6;  // needs a focal length
  EXPECT_THROW(CreateCameraDistortionTransform(mixed, kCentre, 0.0), std::invalid_argument);
}

TEST(DistortionTransform, TheCallerHoldsTheOnlyReference) {
  TVxCameraDistortion d = OfType(TDistortionType::Polynomial);
  TransformHandle handle = CreateCameraDistortionTransform(d, kCentre, kFocal);
  EXPECT_EQ(handle.use_count(), 1);
  const TransformHandle copy = handle;
  EXPECT_EQ(handle.use_count(), 2);
  handle.reset();
  EXPECT_EQ(copy.use_count(), 1);
  EXPECT_NE(HeldAs<TPolynomialDistortion>(copy), nullptr);
}

}  // namespace
