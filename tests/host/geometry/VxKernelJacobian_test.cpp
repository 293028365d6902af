// The analytic Jacobians of the distortion kernels, which the inverse's Newton steps use, against
// an independent computation: central differences of the kernel's displacement, refined by
// Richardson extrapolation, at points over the whole format and beyond.
//
// Method and tolerance: D(h) = (d(p + h e) - d(p - h e)) / 2h has the error h^2 d'''/6 + O(h^4);
// (4 D(h/2) - D(h)) / 3 cancels the h^2 term. With h = 1e-2 mm, the remaining truncation
// (h^4 d^(5) / 480) stays below 1e-13 for these models, and rounding adds about
// 1e-16 |d| / h < 1e-13 (|d| up to a few mm). Near the centre of distortion the derivatives of a
// direction-dependent displacement grow as 1/r^k: there h shrinks to r / 200, which keeps the
// truncation, relative to r, as small. A Jacobian term is dimensionless; 1e-9 is four
// orders above both and far below what a wrong sign or a missing term would give (>= 1e-6 here).
// The table models' splines are cubic between knots; a point within h of a knot sees the jump of
// d''' there, which adds up to h^2 |jump| < 1e-10.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <string>
#include <type_traits>
#include <vector>

#include "DistortionCases.h"
#include "kernels/VxDirectedKernel.h"
#include "kernels/VxFormulaKernel.h"
#include "kernels/VxMixedKernel.h"
#include "kernels/VxPolynomialKernel.h"
#include "kernels/VxRadialKernel.h"

namespace {

using vx_test::TFormat;

constexpr double kStep = 1e-2;
constexpr double kTolerance = 1e-9;

struct TJacobian {
  double xx, xy, yx, yy;
};

template <class Kernel>
TJacobian Analytic(const Kernel& kernel, double x, double y) {
  TJacobian j{};
  kernel.Jacobian(x, y, j.xx, j.xy, j.yx, j.yy);
  return j;
}

// The central difference of the displacement along (ex, ey) with step h.
template <class Kernel>
std::array<double, 2> Central(const Kernel& kernel, double x, double y, double ex, double ey,
                              double h) {
  double px = 0.0, py = 0.0, mx = 0.0, my = 0.0;
  kernel.Displace(x + h * ex, y + h * ey, px, py);
  kernel.Displace(x - h * ex, y - h * ey, mx, my);
  return {(px - mx) / (2.0 * h), (py - my) / (2.0 * h)};
}

// At (x, y), a distance r from the centre of distortion.
template <class Kernel>
TJacobian Differences(const Kernel& kernel, double x, double y, double r) {
  const double h = std::min(kStep, r / 200.0);
  const auto richardson = [&](double ex, double ey) {
    const auto coarse = Central(kernel, x, y, ex, ey, h);
    const auto fine = Central(kernel, x, y, ex, ey, h / 2);
    return std::array<double, 2>{(4.0 * fine[0] - coarse[0]) / 3.0,
                                 (4.0 * fine[1] - coarse[1]) / 3.0};
  };
  const auto alongX = richardson(1.0, 0.0);
  const auto alongY = richardson(0.0, 1.0);
  return {alongX[0], alongY[0], alongX[1], alongY[1]};
}

// Compares the Jacobians on a 25 x 25 grid over the format and 10 % beyond it, shifted off the
// centre of distortion `centre`, and returns the largest Jacobian term seen (to show the test is
// not comparing zeros).
template <class Kernel>
double ExpectJacobianMatchesDifferences(const Kernel& kernel, const vec_t_<double, 2>& centre,
                                        const TFormat& format, const std::string& what) {
  double largest = 0.0;
  constexpr int n = 25;
  for (int i = 0; i < n; ++i) {
    for (int j = 0; j < n; ++j) {
      const double x = 1.1 * format.halfWidth * (2.0 * i / (n - 1) - 1.0) + 0.37;
      const double y = 1.1 * format.halfHeight * (2.0 * j / (n - 1) - 1.0) - 0.21;
      const TJacobian a = Analytic(kernel, x, y);
      const TJacobian d = Differences(kernel, x, y, std::hypot(x - centre.x, y - centre.y));
      const std::string at = what + " at (" + std::to_string(x) + ", " + std::to_string(y) + ")";
      EXPECT_NEAR(a.xx, d.xx, kTolerance) << at;
      EXPECT_NEAR(a.xy, d.xy, kTolerance) << at;
      EXPECT_NEAR(a.yx, d.yx, kTolerance) << at;
      EXPECT_NEAR(a.yy, d.yy, kTolerance) << at;
      for (double v : {a.xx, a.xy, a.yx, a.yy}) largest = std::max(largest, std::abs(v));
    }
  }
  return largest;
}

TEST(KernelJacobian, FormulaKernels_MatchDifferencesForEveryChoiceOfTerms) {
  using namespace vx_geometry_detail;
  const auto all = vx_test::StrongFormula(1.0);
  auto brown = all;  // k4 = k5 = p3 = p4 = 0: the Brown kernel
  brown.k4 = brown.k5 = brown.p3 = brown.p4 = 0.0;
  auto radialDecentering = brown;  // no in-plane terms either
  radialDecentering.b1 = radialDecentering.b2 = radialDecentering.a1 = radialDecentering.a2 = 0.0;
  ASSERT_EQ(FormulaTerms(all), kAllTerms);
  ASSERT_EQ(FormulaTerms(brown), kBrownTerms);
  ASSERT_EQ(FormulaTerms(radialDecentering), kRadialDecentering);
  const TFormat film = vx_test::kFilmFormat;
  EXPECT_GT(ExpectJacobianMatchesDifferences(TFormulaKernel<kAllTerms>(all), all.centre, film,
                                             "all terms"),
            1e-3);
  EXPECT_GT(ExpectJacobianMatchesDifferences(TFormulaKernel<kBrownTerms>(brown), brown.centre, film,
                                             "Brown"),
            1e-3);
  EXPECT_GT(
      ExpectJacobianMatchesDifferences(TFormulaKernel<kRadialDecentering>(radialDecentering),
                                       radialDecentering.centre, film, "radial and decentering"),
      1e-3);
  EXPECT_GT(ExpectJacobianMatchesDifferences(TFormulaKernel<kAllTerms>(vx_test::Rc10Formula(1.0)),
                                             vx_test::Rc10Formula(1.0).centre, film, "RC10"),
            1e-7);
}

TEST(KernelJacobian, PolynomialKernel_MatchesDifferencesWithEveryTerm) {
  const vx_geometry_detail::TPolynomialKernel kernel{
      -0.2,
      0.1,
      {1.0e-3, -2.0e-7, 3.0e-11, -1.0e-15, 1.0e-19, -1.0e-23, 1.0e-27, -1.0e-31},
      {2.0e-6, -3.0e-6, 1.0e-10, -2.0e-10}};
  EXPECT_GT(
      ExpectJacobianMatchesDifferences(kernel, {-0.2, 0.1}, vx_test::kDmcFormat, "polynomial"),
      1e-3);
}

// Every group of the mixed model: the higher-order terms (a3..a7, b3..b7, c2..c7) and without them.
TEST(KernelJacobian, MixedKernel_MatchesDifferencesWithAndWithoutTheHigherOrderTerms) {
  const auto block = vx_test::StrongMixed();
  const auto array = [](const double* v, auto size) {
    std::array<double, decltype(size)::value> a{};
    std::copy(v, v + a.size(), a.begin());
    return a;
  };
  using Seven = std::integral_constant<std::size_t, 7>;
  vx_geometry_detail::TMixedKernel kernel{0.01,
                                          -0.02,
                                          vx_test::kDmcFocal,
                                          array(block.a, Seven{}),
                                          array(block.b, Seven{}),
                                          array(block.c, Seven{}),
                                          array(block.K, std::integral_constant<std::size_t, 3>{}),
                                          array(block.P, std::integral_constant<std::size_t, 2>{}),
                                          true};
  EXPECT_GT(ExpectJacobianMatchesDifferences(kernel, {0.01, -0.02}, vx_test::kDmcFormat,
                                             "mixed, every term"),
            1e-3);
  for (std::size_t i = 2; i < 7; ++i) kernel.a[i] = kernel.b[i] = 0.0;
  for (std::size_t i = 1; i < 7; ++i) kernel.c[i] = 0.0;
  kernel.higherOrder = false;
  EXPECT_GT(ExpectJacobianMatchesDifferences(kernel, {0.01, -0.02}, vx_test::kDmcFormat,
                                             "mixed, low order"),
            1e-3);
}

TEST(KernelJacobian, RadialTableKernel_MatchesDifferencesAndAtTheCentre) {
  std::vector<double> radii;
  std::vector<double> values;
  for (const auto& row : vx_test::StrongTable(1.0)) {
    radii.push_back(row.r);
    values.push_back(row.dr);
  }
  const vx_geometry_detail::TProfileSpline spline(radii, values, 1);
  const vx_geometry_detail::TRadialKernel kernel{0.3, 0.2, &spline};
  EXPECT_GT(
      ExpectJacobianMatchesDifferences(kernel, {0.3, 0.2}, vx_test::kFilmFormat, "radial table"),
      1e-3);
  // At the centre the displacement is slope * (x, y): differences see the same.
  const TJacobian a = Analytic(kernel, 0.3, 0.2);
  const TJacobian d = Differences(kernel, 0.3, 0.2, kStep * 200.0);
  EXPECT_NEAR(a.xx, d.xx, kTolerance);
  EXPECT_NEAR(a.yy, d.yy, kTolerance);
  EXPECT_EQ(a.xy, 0.0);
  EXPECT_NEAR(d.xy, 0.0, kTolerance);
}

TEST(KernelJacobian, DirectedTableKernel_MatchesDifferencesForFourAndEightDirections) {
  for (const auto* angles : {&vx_test::PlusAngles(), &vx_test::EightAngles()}) {
    const auto data = vx_test::DirectedTable(*angles, 1.0, 0.3, vx_test::StrongProfile);
    std::vector<double> radii;
    std::vector<double> values;
    for (const auto& row : data.table) {
      radii.push_back(row.r);
      values.insert(values.end(), row.dr.begin(), row.dr.end());
    }
    const vx_geometry_detail::TProfileSpline radial(radii, values, angles->size());
    const vx_geometry_detail::TPeriodicSpline angular(*angles);
    const vx_geometry_detail::TDirectedKernel kernel{data.centre.x, data.centre.y, &radial,
                                                     &angular};
    EXPECT_GT(ExpectJacobianMatchesDifferences(kernel, data.centre, vx_test::kFilmFormat,
                                               std::to_string(angles->size()) + " directions"),
              1e-3);
  }
}

}  // namespace
