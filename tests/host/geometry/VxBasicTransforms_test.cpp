// The unity, affine and combined transforms.

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <memory>
#include <vector>

#include "VxAffineTransform.h"
#include "VxCombinedTransform.h"
#include "VxFormulaDistortion.h"
#include "VxUnityTransform.h"

namespace {

TEST(UnityTransform, EveryPoint_MapsOntoItself) {
  const TUnityTransform unity;
  EXPECT_TRUE(unity.IsIdentity());
  EXPECT_STREQ(unity.Name(), "unity");
  EXPECT_EQ(unity.TransformPoint({-3.5, 1e6}), (vec_t_<double, 2>{-3.5, 1e6}));
  const vec_t_<double, 2> in[2] = {{1, 2}, {3, 4}};
  vec_t_<double, 2> out[2];
  EXPECT_EQ(unity.TransformPoints(in, out, 2), 0u);
  EXPECT_EQ(out[1], in[1]);
}

TEST(UnityTransform, Object_IsJustItsVirtualTable) {
  EXPECT_EQ(sizeof(TUnityTransform), sizeof(void*));
}

TEST(AffineTransform, Point_MapsByTheSixCoefficients) {
  const TAffineTransform affine(2.0, 3.0, 5.0, 7.0, 11.0, 13.0);
  EXPECT_EQ(affine.TransformPoint({1.0, -1.0}), (vec_t_<double, 2>{4.0, 9.0}));
  EXPECT_EQ(affine.Coefficients(), (std::array<double, 6>{2.0, 3.0, 5.0, 7.0, 11.0, 13.0}));
  EXPECT_FALSE(affine.IsIdentity());
  EXPECT_STREQ(affine.Name(), "affine");
}

TEST(AffineTransform, IdentityCoefficients_AreRecognised) {
  EXPECT_TRUE(TAffineTransform(1, 0, 0, 0, 1, 0).IsIdentity());
  EXPECT_FALSE(TAffineTransform(1, 0, -1.5, 0, 1, 2).IsIdentity());
}

// Each of the six coefficients alone away from the unit map (1, 0, 0, 0, 1, 0): none is the
// identity, however small the difference.
TEST(AffineTransform, AnySingleCoefficientOffTheUnitMap_IsNotTheIdentity) {
  const std::array<double, 6> unit{1.0, 0.0, 0.0, 0.0, 1.0, 0.0};
  for (std::size_t k = 0; k < unit.size(); ++k) {
    for (const double change : {1e-12, -0.5}) {
      std::array<double, 6> a = unit;
      a[k] += change;
      const TAffineTransform affine(a[0], a[1], a[2], a[3], a[4], a[5]);
      EXPECT_FALSE(affine.IsIdentity()) << "coefficient " << k << " changed by " << change;
    }
  }
}

TEST(AffineTransform, BatchInPlace_EqualsOnePointMap) {
  const TAffineTransform shift(1, 0, -1.5, 0, 1, 2);
  std::vector<vec_t_<double, 2>> points{{0, 0}, {1.5, -2}, {10, 20}};
  const std::vector<vec_t_<double, 2>> original = points;
  EXPECT_EQ(shift.TransformPoints(points.data(), points.data(), points.size()), 0u);
  for (std::size_t i = 0; i < points.size(); ++i) {
    EXPECT_EQ(points[i], shift.TransformPoint(original[i]));
  }
  EXPECT_EQ(points[1], (vec_t_<double, 2>{0, 0}));
}

TEST(CombinedTransform, Members_AreAppliedInTheOrderAdded) {
  TCombinedTransform shiftThenScale;
  shiftThenScale.AddTransform(TAffineTransform(1, 0, 1, 0, 1, 0));
  shiftThenScale.AddTransform(TAffineTransform(2, 0, 0, 0, 2, 0));
  EXPECT_EQ(shiftThenScale.TransformPoint({1, 1}), (vec_t_<double, 2>{4, 2}));
  TCombinedTransform scaleThenShift;
  scaleThenShift.AddTransform(TAffineTransform(2, 0, 0, 0, 2, 0));
  scaleThenShift.AddTransform(TAffineTransform(1, 0, 1, 0, 1, 0));
  EXPECT_EQ(scaleThenShift.TransformPoint({1, 1}), (vec_t_<double, 2>{3, 2}));
}

TEST(CombinedTransform, AddTransform_KeepsItsOwnCopy) {
  TCombinedTransform combined;
  {
    const auto member = std::make_unique<TAffineTransform>(1, 0, -1.5, 0, 1, 2);
    combined.AddTransform(*member);
    EXPECT_NE(&combined.Item(0), member.get());
  }
  ASSERT_EQ(combined.Count(), 1u);
  const auto* affine = dynamic_cast<const TAffineTransform*>(&combined.Item(0));
  ASSERT_NE(affine, nullptr);
  EXPECT_EQ(affine->Coefficients()[2], -1.5);
  EXPECT_EQ(combined.TransformPoint({1.5, -2}), (vec_t_<double, 2>{0, 0}));
}

TEST(CombinedTransform, Clone_CopiesEveryMember) {
  TCombinedTransform combined;
  combined.AddTransform(TAffineTransform(1, 0, -1.5, 0, 1, 2));
  combined.AddTransform(TFormulaDistortion({0, 0}, 1e-6, 0, 0, 0, 0, 0, 0, 0, 0, true));
  const auto copy = combined.Clone();
  const auto* copied = dynamic_cast<const TCombinedTransform*>(copy.get());
  ASSERT_NE(copied, nullptr);
  ASSERT_EQ(copied->Count(), 2u);
  EXPECT_NE(&copied->Item(1), &combined.Item(1));
  EXPECT_EQ(copied->TransformPoint({30, 40}), combined.TransformPoint({30, 40}));
}

TEST(CombinedTransform, Batch_EqualsOnePointMapAndCountsUnmappedPoints) {
  TCombinedTransform combined;
  combined.AddTransform(TAffineTransform(1, 0, 10, 0, 1, 0));
  // No preimage beyond 38.49 mm from the centre (see the formula tests).
  combined.AddTransform(TFormulaDistortion({0, 0}, -1e-4, 0, 0, 0, 0, 0, 0, 0, 0, true));
  const std::vector<vec_t_<double, 2>> in{{0, 0}, {50, 0}, {-5, 10}};
  std::vector<vec_t_<double, 2>> out(in.size());
  EXPECT_EQ(combined.TransformPoints(in.data(), out.data(), in.size()), 1u);
  EXPECT_EQ(out[0], combined.TransformPoint(in[0]));
  EXPECT_TRUE(IsNaNPoint(out[1]));
  EXPECT_EQ(out[2], combined.TransformPoint(in[2]));
}

TEST(CombinedTransform, Empty_IsTheIdentity) {
  const TCombinedTransform combined;
  EXPECT_TRUE(combined.IsIdentity());
  EXPECT_EQ(combined.Count(), 0u);
  EXPECT_EQ(combined.TransformPoint({7, 8}), (vec_t_<double, 2>{7, 8}));
  EXPECT_STREQ(combined.Name(), "combined");
}

TEST(CombinedTransform, IdentityMembers_MakeAnIdentity) {
  TCombinedTransform combined;
  combined.AddTransform(TUnityTransform());
  combined.AddTransform(TAffineTransform(1, 0, 0, 0, 1, 0));
  EXPECT_TRUE(combined.IsIdentity());
  combined.AddTransform(TAffineTransform(1, 0, 1, 0, 1, 0));
  EXPECT_FALSE(combined.IsIdentity());
}

}  // namespace
