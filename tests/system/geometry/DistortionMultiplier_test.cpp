// ApplyDistortionMultiplier: which fields are scaled, which are kept, and that the scaled models
// displace points by the multiplier times as much.

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "CameraMathTestSupport.h"
#include "VxCameraMath.h"
#include "VxGeometry.h"
#include "VxRecordBytes.h"

namespace {

using vx_test::Row4;
using TPoint = vec_t_<double, 2>;

// Every double of a record, in a fixed order, as pointers: the scaled ones and the kept ones.
struct TFields {
  std::vector<double*> scaled;
  std::vector<double*> kept;
};

TFields FieldsOf(TVxCameraDistortion* d) {
  TFields f;
  for (double& v : d->mixed.a) f.scaled.push_back(&v);
  for (double& v : d->mixed.b) f.scaled.push_back(&v);
  for (double& v : d->mixed.c) f.scaled.push_back(&v);
  for (double& v : d->mixed.K) f.scaled.push_back(&v);
  for (double& v : d->mixed.P) f.scaled.push_back(&v);
  for (double& v : d->polyK) f.scaled.push_back(&v);
  for (double& v : d->polyP) f.scaled.push_back(&v);
  for (auto& row : d->tableR) {
    f.kept.push_back(&row.r);
    f.scaled.push_back(&row.dr);
  }
  for (auto* table : {&d->table4Plus, &d->table4X}) {
    for (auto& row : *table) {
      f.kept.push_back(&row.r);
      for (double& v : row.dr) f.scaled.push_back(&v);
    }
  }
  for (double* v :
       {&d->k1, &d->k2, &d->k3, &d->k4, &d->k5, &d->p1, &d->p2, &d->b1, &d->b2, &d->a1, &d->a2}) {
    f.scaled.push_back(v);
  }
  for (double* v : {&d->p3, &d->p4, &d->symmetryPoint.x, &d->symmetryPoint.y}) f.kept.push_back(v);
  return f;
}

// A Formula record that also carries every other model's fields, each value distinct.
TVxCameraDistortion EveryFieldSet() {
  TVxCameraDistortion d;
  d.type = TDistortionType::Formula;
  d.direction = TVxCameraDistortion::TDirection::MmToCam;
  d.tableR = {{20.0, 0.0}, {40.0, 0.0}};
  d.table4Plus = {Row4(30.0, 0, 0, 0, 0)};
  d.table4X = {Row4(35.0, 0, 0, 0, 0), Row4(70.0, 0, 0, 0, 0)};
  TFields f = FieldsOf(&d);
  double value = 0.75;
  for (double* v : f.scaled) *v = (value += 0.125);
  for (double* v : {&d.p3, &d.p4, &d.symmetryPoint.x, &d.symmetryPoint.y}) *v = (value += 0.125);
  return d;
}

std::vector<double> Values(const std::vector<double*>& fields) {
  std::vector<double> values;
  for (const double* v : fields) values.push_back(*v);
  return values;
}

TEST(DistortionMultiplier, OneLeavesEvenNaNFieldsUntouched) {
  TVxCameraDistortion d = EveryFieldSet();
  d.k3 = std::numeric_limits<double>::quiet_NaN();
  d.mixed.c[6] = -std::numeric_limits<double>::quiet_NaN();
  d.tableR[1].dr = std::numeric_limits<double>::signaling_NaN();
  d.polyK[0] = -0.0;
  const std::string before = vx_test::RecordBytes(d);
  ApplyDistortionMultiplier(&d, 1.0);
  EXPECT_EQ(vx_test::RecordBytes(d), before);
}

TEST(DistortionMultiplier, TwoDoublesEveryScaledValueAndKeepsRadiiP3P4AndTheSymmetryPoint) {
  TVxCameraDistortion d = EveryFieldSet();
  TVxCameraDistortion original = d;
  ApplyDistortionMultiplier(&d, 2.0);
  const TFields now = FieldsOf(&d);
  const TFields was = FieldsOf(&original);
  ASSERT_EQ(now.scaled.size(), 26u + 12u + 2u + 4u + 8u + 11u);
  for (std::size_t i = 0; i < now.scaled.size(); ++i) {
    EXPECT_EQ(*now.scaled[i], 2.0 * *was.scaled[i]) << i;
  }
  EXPECT_EQ(Values(now.kept), Values(was.kept));
  EXPECT_EQ(d.p2, 2.0 * original.p2);
  EXPECT_EQ(d.p3, original.p3);
  EXPECT_EQ(d.symmetryPoint, original.symmetryPoint);
  EXPECT_EQ(d.type, TDistortionType::Formula);
  EXPECT_EQ(d.direction, TVxCameraDistortion::TDirection::MmToCam);
}

TEST(DistortionMultiplier, ZeroClearsEveryScaledValueButKeepsP3P4AndAllRadii) {
  TVxCameraDistortion d = EveryFieldSet();
  const TVxCameraDistortion original = d;
  ApplyDistortionMultiplier(&d, 0.0);
  TFields now = FieldsOf(&d);
  TVxCameraDistortion copy = original;
  for (const double v : Values(now.scaled)) EXPECT_EQ(v, 0.0);
  EXPECT_EQ(Values(now.kept), Values(FieldsOf(&copy).kept));
  EXPECT_EQ(d.p4, original.p4);
  EXPECT_EQ(d.tableR[1].r, 40.0);
  EXPECT_EQ(d.table4X[1].r, 70.0);
}

TEST(DistortionMultiplier, NaNIsAppliedLikeAnyOtherValue) {
  TVxCameraDistortion d = EveryFieldSet();
  ApplyDistortionMultiplier(&d, std::numeric_limits<double>::quiet_NaN());
  TFields now = FieldsOf(&d);
  for (const double v : Values(now.scaled)) EXPECT_TRUE(std::isnan(v));
  for (const double v : Values(now.kept)) EXPECT_FALSE(std::isnan(v));
}

TEST(DistortionMultiplier, ScaledModelsDisplacePointsByTheMultiplierTimesAsMuch) {
  // Every scaled coefficient enters its model linearly, p3 and p4 only shape the decentering
  // profile: the displacement scales exactly, up to rounding of displacements below 1 mm.
  constexpr double kRounding = 1e-13;
  constexpr double kMultiplier = 0.4;
  TVxCameraDistortion d;
  d.k1 = 4.0e-8;
  d.k2 = -2.6e-12;
  d.p1 = 1.0e-7;
  d.p2 = -0.8e-7;
  d.p3 = 1.0e-4;
  d.p4 = -1.0e-9;
  d.b1 = 2.0e-6;
  d.a2 = -3.0e-6;
  d.mixed.K[0] = 4.0e-8;
  d.mixed.a[2] = 1.0e-5;
  d.mixed.c[6] = -2.0e-6;
  d.polyK[0] = -0.3408e-3;
  d.polyK[1] = 0.5753e-7;
  d.polyP[1] = -0.2375e-6;
  d.tableR = {{20.0, -0.006}, {60.0, -0.009}, {120.0, 0.01}};
  d.table4Plus = {Row4(50.0, 0.001, 0.002, 0.003, 0.004), Row4(100.0, 0.005, 0.004, 0.003, 0.002)};
  d.table4X = {Row4(50.0, 0.004, 0.003, 0.002, 0.001), Row4(90.0, 0.002, 0.002, 0.002, 0.002)};
  TVxCameraDistortion scaled = d;
  ApplyDistortionMultiplier(&scaled, kMultiplier);

  const TPoint centre{0.01, -0.02};
  for (const TDistortionType type :
       {TDistortionType::Formula, TDistortionType::Radial, TDistortionType::Directed4Plus,
        TDistortionType::Directed4X, TDistortionType::Directed8, TDistortionType::Mixed,
        TDistortionType::Polynomial}) {
    SCOPED_TRACE(static_cast<int>(type));
    d.type = type;
    scaled.type = type;
    const TransformHandle a = CreateCameraDistortionTransform(d, centre, 153.0);
    const TransformHandle b = CreateCameraDistortionTransform(scaled, centre, 153.0);
    for (const TPoint p : {TPoint{-105.993, -106.006}, TPoint{30.0, 70.0}, TPoint{-80.0, 5.0}}) {
      const TPoint da = a->TransformPoint(p) - p;
      const TPoint db = b->TransformPoint(p) - p;
      EXPECT_NEAR(db.x, kMultiplier * da.x, kRounding);
      EXPECT_NEAR(db.y, kMultiplier * da.y, kRounding);
    }
  }
}

}  // namespace
