#pragma once
// Distortion models of real calibrations and strong ones, each over the image format of its
// camera, shared by the tests of the whole model family.

#include <cmath>
#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "VxGeometry.h"

namespace vx_test {

// An image format: the points x in [-halfWidth, halfWidth], y in [-halfHeight, halfHeight] (mm).
struct TFormat {
  double halfWidth;
  double halfHeight;
};

// A 230 mm x 230 mm film frame: corners at 162.6 mm from the centre.
constexpr TFormat kFilmFormat{115.0, 115.0};
// The DMC panchromatic sensor, 7680 x 13824 pixels of 12 um: corners at 94.9 mm.
constexpr TFormat kDmcFormat{46.08, 82.944};

constexpr double kPi = 3.141592653589793;

// A model with its coefficients scaled by `scale` (the coefficients that a distortion
// multiplier scales), forward or inverse.
using TModelFactory = std::function<std::unique_ptr<TVx2DTransform>(bool inverse, double scale)>;

struct TModelCase {
  std::string name;
  TFormat format;
  TModelFactory make;
};

inline std::ostream& operator<<(std::ostream& os, const TModelCase& c) {
  return os << c.name;
}

// Wild RC10 film camera, focal 153.228 mm: radial distortion within about +-10 um up to
// r = 130 mm, a few um of decentering and affinity.
inline TFormulaDistortion::TDistCoeff Rc10Formula(double s) {
  TFormulaDistortion::TDistCoeff c;
  c.centre = {0.002, -0.003};
  c.k1 = 4.0e-8 * s;
  c.k2 = -2.6e-12 * s;
  c.k3 = 1.0e-17 * s;
  c.k4 = 2.0e-23 * s;
  c.k5 = -1.0e-28 * s;
  c.p1 = 1.0e-7 * s;
  c.p2 = -0.8e-7 * s;
  c.p3 = 1.0e-5;
  c.p4 = -2.0e-10;
  c.b1 = 2.0e-6 * s;
  c.b2 = -1.0e-6 * s;
  c.a1 = 5.0e-7 * s;
  c.a2 = -3.0e-6 * s;
  return c;
}

// About 1.7 mm of radial distortion at the film corner, 0.1 mm of decentering, 1e-3 affinity.
inline TFormulaDistortion::TDistCoeff StrongFormula(double s) {
  TFormulaDistortion::TDistCoeff c;
  c.centre = {0.5, -0.3};
  c.k1 = -4.0e-7 * s;
  c.k2 = 5.0e-12 * s;
  c.k3 = 1.0e-17 * s;
  c.k4 = -1.0e-22 * s;
  c.k5 = 1.0e-27 * s;
  c.p1 = 3.0e-6 * s;
  c.p2 = -2.0e-6 * s;
  c.p3 = 2.0e-5;
  c.p4 = -1.0e-10;
  c.b1 = 1.0e-3 * s;
  c.b2 = -5.0e-4 * s;
  c.a1 = 3.0e-4 * s;
  c.a2 = 8.0e-4 * s;
  return c;
}

// The RC10 radial profile tabulated every 10 mm, given from the outside in.
inline std::vector<TRadialDistortion::TRadialTableItem> Rc10Table(double s) {
  std::vector<TRadialDistortion::TRadialTableItem> table;
  for (int i = 15; i >= 1; --i) {
    const double r = 10.0 * i;
    table.push_back({r, s * (4.0e-8 * r * r * r - 2.6e-12 * std::pow(r, 5))});
  }
  return table;
}

// Up to 1 mm of radial displacement, unordered rows and a repeated radius.
inline std::vector<TRadialDistortion::TRadialTableItem> StrongTable(double s) {
  return {{80.0, 1.0 * s},  {0.0, 0.0},       {20.0, 0.15 * s}, {40.0, 0.45 * s}, {60.0, 0.8 * s},
          {60.0, 0.82 * s}, {100.0, 0.9 * s}, {120.0, 0.4 * s}, {140.0, -0.5 * s}};
}

// A directed table over `angles` whose rows follow `profile` with a variation of `wobble`
// (mm) that differs by direction.
inline TDirectedDistortion::TDirectedData DirectedTable(const std::vector<double>& angles, double s,
                                                        double wobble, double (*profile)(double)) {
  TDirectedDistortion::TDirectedData data;
  data.centre = {0.01, 0.02};
  data.angles = angles;
  for (int i = 1; i <= 15; ++i) {
    const double r = 10.0 * i;
    TDirectedDistortion::TDirectedTableItem item{r, {}};
    for (std::size_t j = 0; j < angles.size(); ++j) {
      const double variation = wobble * std::sin(0.7 * static_cast<double>(j) + r / 50.0);
      item.dr.push_back(s * (profile(r) + variation));
    }
    data.table.push_back(item);
  }
  return data;
}

inline double Rc10Profile(double r) {
  return 4.0e-8 * r * r * r - 2.6e-12 * std::pow(r, 5);
}
inline double StrongProfile(double r) {
  return -4.0e-7 * r * r * r + 5.0e-12 * std::pow(r, 5);
}

inline const std::vector<double>& PlusAngles() {
  static const std::vector<double> a{0.0, kPi / 2, kPi, 3 * kPi / 2};
  return a;
}
inline const std::vector<double>& CrossAngles() {
  static const std::vector<double> a{kPi / 4, 3 * kPi / 4, 5 * kPi / 4, 7 * kPi / 4};
  return a;
}
inline const std::vector<double>& EightAngles() {
  static const std::vector<double> a{0.0, kPi / 4,     kPi / 2,     3 * kPi / 4,
                                     kPi, 5 * kPi / 4, 3 * kPi / 2, 7 * kPi / 4};
  return a;
}

// The 26 mixed coefficients a1..a7, b1..b7, c1..c7, K1..K3, P1, P2 in one block.
struct TMixedBlock {
  double a[7];
  double b[7];
  double c[7];
  double K[3];
  double P[2];

  TMixedBlock Scaled(double s) const {
    TMixedBlock m = *this;
    for (double& v : m.a) v *= s;
    for (double& v : m.b) v *= s;
    for (double& v : m.c) v *= s;
    for (double& v : m.K) v *= s;
    for (double& v : m.P) v *= s;
    return m;
  }
};

// A DMC-like digital camera, focal 120 mm: a few um of every kind of term.
inline TMixedBlock RealisticMixed() {
  return {{2.0e-6, -1.0e-6, 3.0e-6, -2.0e-6, 1.0e-6, 4.0e-6, -3.0e-6},
          {-1.5e-6, 2.5e-6, -2.0e-6, 1.0e-6, 3.0e-6, -4.0e-6, 2.0e-6},
          {1.0e-6, 2.0e-5, -1.0e-5, 1.0e-6, -2.0e-6, 3.0e-6, -1.0e-6},
          {-2.0e-8, 1.0e-12, -1.0e-17},
          {5.0e-8, -7.0e-8}};
}

// Tenths of millimetres from every group.
inline TMixedBlock StrongMixed() {
  return {{1.0e-3, -5.0e-4, 2.0e-3, -1.0e-3, 5.0e-4, 2.0e-3, -1.5e-3},
          {-8.0e-4, 6.0e-4, -1.0e-3, 2.0e-3, 1.0e-3, -2.0e-3, 1.0e-3},
          {5.0e-4, 1.0e-2, -5.0e-3, 1.0e-3, -1.0e-3, 2.0e-3, -1.0e-3},
          {-3.0e-7, 4.0e-12, -1.0e-16},
          {2.0e-6, -3.0e-6}};
}

constexpr double kDmcFocal = 120.0;

inline std::unique_ptr<TVx2DTransform> MakeMixed(const TMixedBlock& m, bool inverse) {
  const double zero = 0.0;
  return std::make_unique<TMixedDistortion>(vec_t_<double, 2>{0.01, -0.02}, kDmcFocal, m.a, m.b,
                                            m.c, m.K, m.P, zero, zero, zero, inverse);
}

// SMAC calibration of a film camera in millimetre units.
inline std::unique_ptr<TVx2DTransform> MakeSmac(bool inverse, double s) {
  const double K[8] = {-0.3408e-3 * s, 0.5753e-7 * s, -0.1943e-11 * s, 0, 0, 0, 0, 0};
  const double P[4] = {0.1175e-7 * s, -0.2375e-6 * s, 0, 0};
  const double zero = 0.0;
  return std::make_unique<TPolynomialDistortion>(vec_t_<double, 2>{0.003, 0.001}, 153.0, K, P, zero,
                                                 zero, inverse);
}

// All eight K and four P terms, up to about 1 mm at the DMC corner.
inline std::unique_ptr<TVx2DTransform> MakeStrongPolynomial(bool inverse, double s) {
  const double K[8] = {1.0e-3 * s,  -2.0e-7 * s,  3.0e-11 * s, -1.0e-15 * s,
                       1.0e-19 * s, -1.0e-23 * s, 1.0e-27 * s, -1.0e-31 * s};
  const double P[4] = {2.0e-6 * s, -3.0e-6 * s, 1.0e-10 * s, -2.0e-10 * s};
  const double zero = 0.0;
  return std::make_unique<TPolynomialDistortion>(vec_t_<double, 2>{-0.2, 0.1}, kDmcFocal, K, P,
                                                 zero, zero, inverse);
}

inline std::vector<TModelCase> AllModelCases() {
  using U = std::unique_ptr<TVx2DTransform>;
  return {
      {"FormulaRc10", kFilmFormat,
       [](bool inv, double s) -> U {
         auto c = Rc10Formula(s);
         c.inverse = inv;
         return std::make_unique<TFormulaDistortion>(c);
       }},
      {"FormulaStrong", kFilmFormat,
       [](bool inv, double s) -> U {
         auto c = StrongFormula(s);
         c.inverse = inv;
         return std::make_unique<TFormulaDistortion>(c);
       }},
      {"RadialRc10", kFilmFormat,
       [](bool inv, double s) -> U {
         return std::make_unique<TRadialDistortion>(vec_t_<double, 2>{0.002, -0.003}, Rc10Table(s),
                                                    inv);
       }},
      {"RadialStrong", kFilmFormat,
       [](bool inv, double s) -> U {
         return std::make_unique<TRadialDistortion>(vec_t_<double, 2>{0.3, 0.2}, StrongTable(s),
                                                    inv);
       }},
      {"DirectedPlusRc10", kFilmFormat,
       [](bool inv, double s) -> U {
         return std::make_unique<TDirectedDistortion>(
             DirectedTable(PlusAngles(), s, 0.002, Rc10Profile), inv);
       }},
      {"DirectedCrossStrong", kFilmFormat,
       [](bool inv, double s) -> U {
         return std::make_unique<TDirectedDistortion>(
             DirectedTable(CrossAngles(), s, 0.2, StrongProfile), inv);
       }},
      {"DirectedEightRc10", kFilmFormat,
       [](bool inv, double s) -> U {
         return std::make_unique<TDirectedDistortion>(
             DirectedTable(EightAngles(), s, 0.003, Rc10Profile), inv);
       }},
      {"DirectedEightStrong", kFilmFormat,
       [](bool inv, double s) -> U {
         return std::make_unique<TDirectedDistortion>(
             DirectedTable(EightAngles(), s, 0.3, StrongProfile), inv);
       }},
      {"MixedDmc", kDmcFormat,
       [](bool inv, double s) -> U { return MakeMixed(RealisticMixed().Scaled(s), inv); }},
      {"MixedStrong", kDmcFormat,
       [](bool inv, double s) -> U { return MakeMixed(StrongMixed().Scaled(s), inv); }},
      {"PolynomialSmac", kFilmFormat, MakeSmac},
      {"PolynomialStrong", kDmcFormat, MakeStrongPolynomial},
  };
}

// The points of an n x n grid over the format, corners included.
inline std::vector<vec_t_<double, 2>> FormatGrid(const TFormat& f, int n) {
  std::vector<vec_t_<double, 2>> points;
  points.reserve(static_cast<std::size_t>(n) * static_cast<std::size_t>(n));
  for (int i = 0; i < n; ++i) {
    for (int j = 0; j < n; ++j) {
      points.push_back({-f.halfWidth + 2.0 * f.halfWidth * i / (n - 1),
                        -f.halfHeight + 2.0 * f.halfHeight * j / (n - 1)});
    }
  }
  return points;
}

inline double Distance(const vec_t_<double, 2>& a, const vec_t_<double, 2>& b) {
  return (a - b).Length();
}

}  // namespace vx_test
