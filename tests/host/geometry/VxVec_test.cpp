#include <gtest/gtest.h>

#include <cmath>

#include "VxVec.h"

namespace {

TEST(Vec2, Arithmetic_WorksComponentByComponent) {
  const vec_t_<double, 2> a{1.5, -2.0};
  const vec_t_<double, 2> b{0.5, 4.0};
  EXPECT_EQ(a + b, (vec_t_<double, 2>{2.0, 2.0}));
  EXPECT_EQ(a - b, (vec_t_<double, 2>{1.0, -6.0}));
  EXPECT_EQ(-a, (vec_t_<double, 2>{-1.5, 2.0}));
  EXPECT_EQ(2.0 * a, (vec_t_<double, 2>{3.0, -4.0}));
  EXPECT_EQ(a * 2.0, 2.0 * a);
  EXPECT_EQ(a / 2.0, (vec_t_<double, 2>{0.75, -1.0}));
  EXPECT_EQ(Dot(a, b), -7.25);
}

TEST(Vec2, Length_IsEuclidean) {
  EXPECT_EQ((vec_t_<double, 2>{3.0, -4.0}).Length(), 5.0);
  EXPECT_EQ((vec_t_<double, 2>{3.0, -4.0}).Length2(), 25.0);
}

TEST(Vec2, Comparison_TreatsSignedZerosAsEqualAndNaNAsUnequal) {
  EXPECT_EQ((vec_t_<double, 2>{-0.0, 0.0}), (vec_t_<double, 2>{0.0, -0.0}));
  const vec_t_<double, 2> nan{std::nan(""), 0.0};
  EXPECT_NE(nan, nan);
}

TEST(Vec2, DefaultConstructed_IsTheOrigin) {
  const vec_t_<double, 2> p;
  EXPECT_EQ(p.x, 0.0);
  EXPECT_EQ(p.y, 0.0);
}

TEST(Vec3, Index_ReachesTheThreeComponents) {
  vec_t_<double, 3> v(1.0, 2.0, 3.0);
  v[1] = 5.0;
  EXPECT_EQ(v[0], 1.0);
  EXPECT_EQ(v.y, 5.0);
  EXPECT_EQ(v[2], 3.0);
  const vec_t_<double, 3> zero;
  EXPECT_EQ(zero.z, 0.0);
}

}  // namespace
