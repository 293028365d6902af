// The formula model's start for the inverse: its radial polynomial inverted as a series. Checked
// against the model itself: the start's residual |q + d(q) - p| over a DMC frame is within the
// series' remainder for a radial lens, and the start is far closer than the point itself for a
// lens with every kind of term.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "DistortionCases.h"
#include "kernels/VxFormulaKernel.h"

namespace {

using namespace vx_geometry_detail;

constexpr double kFocal = 120.0;

// The largest |q + d(q) - p| of the start q over a 41 x 41 grid of the DMC frame, corners
// included, and the largest displacement |d(p)| there.
template <class Kernel>
void StartResidual(const Kernel& kernel, double& residual, double& displacement) {
  residual = 0.0;
  displacement = 0.0;
  const vx_test::TFormat f = vx_test::kDmcFormat;
  for (int j = 0; j <= 40; ++j) {
    for (int i = 0; i <= 40; ++i) {
      const double px = f.halfWidth * (i / 20.0 - 1.0);
      const double py = f.halfHeight * (j / 20.0 - 1.0);
      double qx = 0.0, qy = 0.0, dx = 0.0, dy = 0.0;
      kernel.InverseStart(px, py, qx, qy);
      kernel.Displace(qx, qy, dx, dy);
      residual = std::max(residual, std::hypot(qx + dx - px, qy + dy - py));
      kernel.Displace(px, py, dx, dy);
      displacement = std::max(displacement, std::hypot(dx, dy));
    }
  }
}

// A lens of OpenCV's normalised coefficients, in millimetres of a 120 mm camera.
TFormulaDistortion::TDistCoeff Lens(double k1n, double k2n, double k3n) {
  TFormulaDistortion::TDistCoeff c;
  c.centre = {0.05, -0.03};
  c.k1 = k1n / (kFocal * kFocal);
  c.k2 = k2n / std::pow(kFocal, 4);
  c.k3 = k3n / std::pow(kFocal, 6);
  return c;
}

TEST(FormulaInverseStart, ARadialLens_StartsWithinTheSeriesRemainder) {
  // 0.6 % of distortion at the corner: the series' first left-out term, of the order of
  // k2^3 s^13 with k2 s^4 = 1.2e-3 at s = 95 mm, is about 1e-7 of s (1e-5 mm).
  const auto moderate = Lens(-0.01, 0.003, 0.0);
  double residual = 0.0, displacement = 0.0;
  StartResidual(TFormulaKernel<kRadialDecentering>(moderate), residual, displacement);
  EXPECT_GT(displacement, 0.4);
  EXPECT_LT(residual, 1e-5);
  // A weaker lens starts closer, as the series' remainder says: its terms are products of three or
  // more coefficients, so a tenth of each leaves at most about a thousandth (the terms of
  // different sign cancel differently at the two strengths: allow a factor of five).
  double weakResidual = 0.0;
  StartResidual(TFormulaKernel<kRadialDecentering>(Lens(-0.001, 0.0003, 0.0)), weakResidual,
                displacement);
  EXPECT_LT(weakResidual, residual * 5e-3);
}

TEST(FormulaInverseStart, EveryKindOfTerm_StartsFarCloserThanThePointItself) {
  for (const auto& c : {vx_test::Rc10Formula(1.0), vx_test::StrongFormula(1.0)}) {
    double residual = 0.0, displacement = 0.0;
    StartResidual(TFormulaKernel<kAllTerms>(c), residual, displacement);
    EXPECT_LT(residual, 0.05 * displacement);
  }
}

}  // namespace
