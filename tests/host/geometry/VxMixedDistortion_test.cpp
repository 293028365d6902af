#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <stdexcept>
#include <string>

#include "DistortionCases.h"
#include "VxFormulaDistortion.h"
#include "VxMixedDistortion.h"

namespace {

using vx_test::Distance;

// Formula and mixed records converted into each other must map every point alike to 1e-12 mm.
constexpr double kAgreementTolerance = 1e-12;
// Random coefficient sets per conversion, from a fixed seed.
constexpr int kConversionTrials = 50;
constexpr unsigned kSeed = 20260522u;
// The displacement is read back as the mapped point minus the point; for points up to 100 mm
// from the origin that difference carries rounding of up to 1.4e-14 mm per coordinate.
constexpr double kClosedFormTolerance = 5e-14;
constexpr double kFocal = 120.0;

struct TMixed {
  double a[7] = {};
  double b[7] = {};
  double c[7] = {};
  double K[3] = {};
  double P[2] = {};
};

TMixedDistortion MakeMixed(const TMixed& m, const vec_t_<double, 2>& centre, bool inverse) {
  return TMixedDistortion(centre, kFocal, m.a, m.b, m.c, m.K, m.P, 0.0, 0.0, 0.0, inverse);
}

// Coefficients of the size of strong real distortions: up to tenths of a millimetre each.
struct TRandomCoefficients {
  std::mt19937 engine{kSeed};
  double Uniform(double magnitude) {
    return std::uniform_real_distribution<double>(-magnitude, magnitude)(engine);
  }
  vec_t_<double, 2> Centre() { return {Uniform(0.5), Uniform(0.5)}; }
  double K1() { return Uniform(1e-7); }
  double K2() { return Uniform(1e-12); }
  double K3() { return Uniform(1e-17); }
  double P() { return Uniform(2e-6); }
  double InPlane() { return Uniform(5e-4); }
};

void ExpectSameMap(const TVx2DTransform& a, const TVx2DTransform& b, int trial) {
  double worst = 0.0;
  for (const auto& p : vx_test::FormatGrid(vx_test::kDmcFormat, 21)) {
    worst = std::max(worst, Distance(a.TransformPoint(p), b.TransformPoint(p)));
  }
  EXPECT_LE(worst, kAgreementTolerance) << "trial " << trial;
}

// A formula record with k4 = k5 = p3 = p4 = 0 becomes mixed by K := k1..k3, P := p1, p2,
// mixed a1, a2 := formula b1, b2 and mixed b1, b2 := formula a1, a2.
TEST(MixedDistortion, FormulaConvertedToMixed_MapsLikeTheFormula) {
  TRandomCoefficients random;
  for (int trial = 0; trial < kConversionTrials; ++trial) {
    TFormulaDistortion::TDistCoeff f;
    f.centre = random.Centre();
    f.k1 = random.K1();
    f.k2 = random.K2();
    f.k3 = random.K3();
    f.p1 = random.P();
    f.p2 = random.P();
    f.b1 = random.InPlane();
    f.b2 = random.InPlane();
    f.a1 = random.InPlane();
    f.a2 = random.InPlane();
    TMixed m;
    m.K[0] = f.k1;
    m.K[1] = f.k2;
    m.K[2] = f.k3;
    m.P[0] = f.p1;
    m.P[1] = f.p2;
    m.a[0] = f.b1;
    m.a[1] = f.b2;
    m.b[0] = f.a1;
    m.b[1] = f.a2;
    for (bool inverse : {false, true}) {
      f.inverse = inverse;
      ExpectSameMap(TFormulaDistortion(f), MakeMixed(m, f.centre, inverse), trial);
    }
  }
}

// A mixed record with a3..a7, b1..b7 and c1..c7 zero becomes formula by k1..k3 := K,
// p1, p2 := P, formula b1, b2 := mixed a1, a2 and a1 = a2 = k4 = k5 = p3 = p4 = 0.
TEST(MixedDistortion, MixedConvertedToFormula_MapsLikeTheMixed) {
  TRandomCoefficients random;
  for (int trial = 0; trial < kConversionTrials; ++trial) {
    TMixed m;
    m.K[0] = random.K1();
    m.K[1] = random.K2();
    m.K[2] = random.K3();
    m.P[0] = random.P();
    m.P[1] = random.P();
    m.a[0] = random.InPlane();
    m.a[1] = random.InPlane();
    TFormulaDistortion::TDistCoeff f;
    f.centre = random.Centre();
    f.k1 = m.K[0];
    f.k2 = m.K[1];
    f.k3 = m.K[2];
    f.p1 = m.P[0];
    f.p2 = m.P[1];
    f.b1 = m.a[0];
    f.b2 = m.a[1];
    for (bool inverse : {false, true}) {
      f.inverse = inverse;
      ExpectSameMap(MakeMixed(m, f.centre, inverse), TFormulaDistortion(f), trial);
    }
  }
}

// Each higher-order coefficient alone, at (x, y) = (30, -20) from the centre, with
// u = x / f, v = y / f, rho^2 = u^2 + v^2.
TEST(MixedDistortion, HigherOrderTerms_FollowTheirFormulas) {
  const double x = 30.0, y = -20.0, f = kFocal;
  const double u = x / f, v = y / f, rho2 = u * u + v * v;
  const double s = 1e-3;
  struct TCase {
    char group;
    int index;  // 0-based
    vec_t_<double, 2> expected;
  };
  const TCase cases[] = {
      {'a', 0, {s * x, 0}},
      {'a', 1, {s * y, 0}},
      {'a', 2, {f * s * u * u, 0}},
      {'a', 3, {f * s * u * v, 0}},
      {'a', 4, {f * s * v * v, 0}},
      {'a', 5, {f * s * u * u * v, 0}},
      {'a', 6, {f * s * u * v * v, 0}},
      {'b', 0, {0, s * x}},
      {'b', 1, {0, s * y}},
      {'b', 2, {0, f * s * u * u}},
      {'b', 3, {0, f * s * u * v}},
      {'b', 4, {0, f * s * v * v}},
      {'b', 5, {0, f * s * u * u * v}},
      {'b', 6, {0, f * s * u * v * v}},
      {'c', 0, {s * x, s * y}},
      {'c', 1, {f * s * u * std::pow(rho2, 4), f * s * v * std::pow(rho2, 4)}},
      {'c', 2, {f * s * u * std::pow(rho2, 5), f * s * v * std::pow(rho2, 5)}},
      {'c', 3, {f * s * rho2 * (rho2 + 2 * u * u), f * s * rho2 * 2 * u * v}},
      {'c', 4, {f * s * rho2 * 2 * u * v, f * s * rho2 * (rho2 + 2 * v * v)}},
      {'c', 5, {-f * s * v * rho2, f * s * u * rho2}},
      {'c', 6, {-f * s * v * rho2 * rho2, f * s * u * rho2 * rho2}},
  };
  const vec_t_<double, 2> centre{2.0, 1.0};
  for (const auto& c : cases) {
    TMixed m;
    double* group = c.group == 'a' ? m.a : (c.group == 'b' ? m.b : m.c);
    group[c.index] = s;
    const vec_t_<double, 2> p = centre + vec_t_<double, 2>{x, y};
    const vec_t_<double, 2> d = MakeMixed(m, centre, false).TransformPoint(p) - p;
    EXPECT_NEAR(d.x, c.expected.x, kClosedFormTolerance) << c.group << c.index + 1;
    EXPECT_NEAR(d.y, c.expected.y, kClosedFormTolerance) << c.group << c.index + 1;
  }
}

TEST(MixedDistortion, Accessors_GiveWhatItWasBuiltFrom) {
  TMixed m;
  for (int i = 0; i < 7; ++i) {
    m.a[i] = i + 1;
    m.b[i] = i + 8;
    m.c[i] = i + 15;
  }
  m.K[0] = 22;
  m.K[1] = 23;
  m.K[2] = 24;
  m.P[0] = 25;
  m.P[1] = 26;
  const TMixedDistortion model = MakeMixed(m, {0.25, 0.5}, true);
  EXPECT_EQ(model.Centre(), (vec_t_<double, 2>{0.25, 0.5}));
  EXPECT_EQ(model.Focal(), kFocal);
  for (std::size_t i = 0; i < 7; ++i) {
    EXPECT_EQ(model.A()[i], static_cast<double>(i + 1));
    EXPECT_EQ(model.B()[i], static_cast<double>(i + 8));
    EXPECT_EQ(model.C()[i], static_cast<double>(i + 15));
  }
  EXPECT_EQ(model.K()[2], 24);
  EXPECT_EQ(model.P()[1], 26);
  EXPECT_TRUE(model.Inverse());
  EXPECT_STREQ(model.Name(), "mixed distortion");
}

TEST(MixedDistortion, ZeroFocal_IsAcceptedWithoutHigherOrderTermsOnly) {
  TMixed m;
  m.K[0] = 1e-8;
  m.a[0] = 1e-4;
  m.c[0] = 1e-4;
  const double zero = 0.0;
  EXPECT_NO_THROW(TMixedDistortion({0, 0}, zero, m.a, m.b, m.c, m.K, m.P, 0.0, 0.0, 0.0, false));
  m.b[2] = 1e-6;
  EXPECT_THROW(TMixedDistortion({0, 0}, zero, m.a, m.b, m.c, m.K, m.P, 0.0, 0.0, 0.0, false),
               std::invalid_argument);
}

// Each coefficient alone: a3..a7, b3..b7 and c2..c7 need a focal length that is positive and
// finite (0, a negative one, NaN and infinity are refused); a1, a2, b1, b2, c1, K and P need
// none.
TEST(MixedDistortion, EachHigherOrderCoefficientAlone_NeedsAPositiveFiniteFocal) {
  const double focals[] = {0.0, -120.0, std::nan(""), HUGE_VAL};
  for (const char group : {'a', 'b', 'c', 'K', 'P'}) {
    const int size = group == 'K' ? 3 : (group == 'P' ? 2 : 7);
    for (int i = 0; i < size; ++i) {
      SCOPED_TRACE(std::string(1, group) + std::to_string(i + 1));
      TMixed m;
      double* values = m.P;
      if (group == 'a') values = m.a;
      if (group == 'b') values = m.b;
      if (group == 'c') values = m.c;
      if (group == 'K') values = m.K;
      values[i] = 1e-6;
      const bool higherOrder = (group == 'a' || group == 'b') ? i >= 2 : group == 'c' && i >= 1;
      EXPECT_NO_THROW(
          TMixedDistortion({0, 0}, kFocal, m.a, m.b, m.c, m.K, m.P, 0.0, 0.0, 0.0, false));
      for (const double focal : focals) {
        if (higherOrder) {
          EXPECT_THROW(
              TMixedDistortion({0, 0}, focal, m.a, m.b, m.c, m.K, m.P, 0.0, 0.0, 0.0, false),
              std::invalid_argument)
              << "focal " << focal;
        } else {
          EXPECT_NO_THROW(
              TMixedDistortion({0, 0}, focal, m.a, m.b, m.c, m.K, m.P, 0.0, 0.0, 0.0, false))
              << "focal " << focal;
        }
      }
    }
  }
}

TEST(MixedDistortion, NonZeroReservedValueOrNullGroup_IsRejected) {
  TMixed m;
  EXPECT_THROW(TMixedDistortion({0, 0}, kFocal, m.a, m.b, m.c, m.K, m.P, 0.0, 0.0, 1.0, false),
               std::invalid_argument);
  EXPECT_THROW(TMixedDistortion({0, 0}, kFocal, m.a, nullptr, m.c, m.K, m.P, 0.0, 0.0, 0.0, false),
               std::invalid_argument);
}

}  // namespace
