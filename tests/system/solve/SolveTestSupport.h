#pragma once
// For the tests of SolveIntOr: known pixel-to-camera maps built from a person's terms, marks
// generated from them, matrices of the handles, and small linear algebra of the tests' own
// (Gaussian elimination with partial pivoting), independent of the library's Householder solver.

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstddef>
#include <random>
#include <vector>

#include "VxAffineTransform.h"
#include "VxIntOrSolve.h"
#include "VxProjectiveTransform.h"

namespace solve_test {

using TPoint = vec_t_<double, 2>;
using TMatrix = std::array<double, 9>;  // row by row, acting on (x, y, 1)

constexpr double kPi = 3.14159265358979323846;
constexpr double kRad = kPi / 180.0;

// Exact synthetic cases are recovered to this, in parameters (micrometres per pixel, degrees),
// in pixels and in relative coefficients: what the interior orientation promises.
constexpr double kExact = 1e-9;

// A pixel-to-camera map in a person's terms, as the report gives them.
struct TTerms {
  double scaleXUm = 12.5;
  double scaleYUm = 12.5;
  double rotationDeg = 0.0;
  double shearDeg = 0.0;
  bool mirrored = false;
  TPoint originPix{9600.0, 9600.0};
  TPoint perspective;  // per pixel
};

inline TPoint Direction(double degrees) {
  return {std::cos(degrees * kRad), std::sin(degrees * kRad)};
}

// The pixel-to-camera matrix of the terms, written from their definitions: a column step goes to
// scaleX along -rotation; a row step up the unmirrored image to scaleY at a right angle less the
// shear from it; a mirrored image reads its rows in reverse; the camera origin lies at
// originPix, where the derivative is the one described.
inline TMatrix PixToCam(const TTerms& t) {
  const TPoint column = Direction(-t.rotationDeg) * (t.scaleXUm / 1000.0);
  const TPoint upUnmirrored = Direction(-t.rotationDeg + 90.0 - t.shearDeg) * (t.scaleYUm / 1000.0);
  const TPoint row = t.mirrored ? upUnmirrored : -upUnmirrored;
  const TPoint o = t.originPix;
  const double w = t.perspective.x * o.x + t.perspective.y * o.y + 1.0;
  // Top rows scaled by w so that the derivative at the origin is (column, row) itself.
  return {w * column.x,    w * row.x,       -w * (column.x * o.x + row.x * o.y),
          w * column.y,    w * row.y,       -w * (column.y * o.x + row.y * o.y),
          t.perspective.x, t.perspective.y, 1.0};
}

inline TPoint Apply(const TMatrix& m, const TPoint& p) {
  const double w = m[6] * p.x + m[7] * p.y + m[8];
  return {(m[0] * p.x + m[1] * p.y + m[2]) / w, (m[3] * p.x + m[4] * p.y + m[5]) / w};
}

// Gaussian elimination with partial pivoting; solves a x = b for the n x n matrix a (row by row).
inline std::vector<double> SolveLinear(std::vector<double> a, std::vector<double> b) {
  const std::size_t n = b.size();
  for (std::size_t k = 0; k < n; ++k) {
    std::size_t pivot = k;
    for (std::size_t r = k + 1; r < n; ++r) {
      if (std::fabs(a[r * n + k]) > std::fabs(a[pivot * n + k])) pivot = r;
    }
    for (std::size_t c = 0; c < n; ++c) std::swap(a[k * n + c], a[pivot * n + c]);
    std::swap(b[k], b[pivot]);
    for (std::size_t r = k + 1; r < n; ++r) {
      const double f = a[r * n + k] / a[k * n + k];
      for (std::size_t c = k; c < n; ++c) a[r * n + c] -= f * a[k * n + c];
      b[r] -= f * b[k];
    }
  }
  std::vector<double> x(n);
  for (std::size_t k = n; k-- > 0;) {
    double s = b[k];
    for (std::size_t c = k + 1; c < n; ++c) s -= a[k * n + c] * x[c];
    x[k] = s / a[k * n + k];
  }
  return x;
}

// The least-squares solution of the rows x cols system A x = b by its normal equations
// A^T A x = A^T b.
inline std::vector<double> NormalEquations(const std::vector<double>& a,
                                           const std::vector<double>& b, std::size_t cols) {
  const std::size_t rows = b.size();
  std::vector<double> n(cols * cols, 0.0), r(cols, 0.0);
  for (std::size_t i = 0; i < rows; ++i) {
    for (std::size_t j = 0; j < cols; ++j) {
      r[j] += a[i * cols + j] * b[i];
      for (std::size_t k = 0; k < cols; ++k) n[j * cols + k] += a[i * cols + j] * a[i * cols + k];
    }
  }
  return SolveLinear(n, r);
}

// The matrix that a solution's handle holds, affine or projective.
inline TMatrix MatrixOf(const TransformHandle& handle) {
  if (const auto* affine = dynamic_cast<const TAffineTransform*>(handle.get())) {
    const auto& a = affine->Coefficients();
    return {a[0], a[1], a[2], a[3], a[4], a[5], 0.0, 0.0, 1.0};
  }
  const auto* projective = dynamic_cast<const TProjectiveTransform*>(handle.get());
  EXPECT_NE(projective, nullptr);
  if (projective == nullptr) return {};
  TMatrix m = projective->Coefficients();
  const double last = m[8];
  for (double& v : m) v /= last;
  return m;
}

// Every coefficient of `actual` within kExact of `expected`, relative to the largest coefficient
// of its row's linear part and shift (so that pixel shifts of 1e4 and per-pixel perspective
// terms are each judged on their own scale).
inline void ExpectSameMatrix(const TMatrix& actual, const TMatrix& expected,
                             const TPoint& typicalPoint) {
  for (std::size_t r = 0; r < 3; ++r) {
    // The size of each term at a typical point: coefficient times coordinate.
    const double scale = std::fabs(expected[r * 3]) * std::fabs(typicalPoint.x) +
                         std::fabs(expected[r * 3 + 1]) * std::fabs(typicalPoint.y) +
                         std::fabs(expected[r * 3 + 2]);
    EXPECT_NEAR(actual[r * 3] * typicalPoint.x, expected[r * 3] * typicalPoint.x, kExact * scale)
        << "row " << r;
    EXPECT_NEAR(actual[r * 3 + 1] * typicalPoint.y, expected[r * 3 + 1] * typicalPoint.y,
                kExact * scale)
        << "row " << r;
    EXPECT_NEAR(actual[r * 3 + 2], expected[r * 3 + 2], kExact * scale) << "row " << r;
  }
}

inline void ExpectTerms(const TVxIntOrSolution& s, const TTerms& t) {
  EXPECT_NEAR(s.scaleXUm, t.scaleXUm, kExact);
  EXPECT_NEAR(s.scaleYUm, t.scaleYUm, kExact);
  // Rotations near 180 may come out as -180 + e; compare on the circle.
  EXPECT_NEAR(std::remainder(s.rotationDeg - t.rotationDeg, 360.0), 0.0, kExact);
  EXPECT_GT(s.rotationDeg, -180.0);
  EXPECT_LE(s.rotationDeg, 180.0);
  EXPECT_NEAR(s.shearDeg, t.shearDeg, kExact);
  EXPECT_EQ(s.mirrored, t.mirrored);
  EXPECT_NEAR(s.originPix.x, t.originPix.x, kExact);
  EXPECT_NEAR(s.originPix.y, t.originPix.y, kExact);
}

inline TMatrix Inverse(const TMatrix& m) {
  TMatrix adj = {m[4] * m[8] - m[5] * m[7], m[2] * m[7] - m[1] * m[8], m[1] * m[5] - m[2] * m[4],
                 m[5] * m[6] - m[3] * m[8], m[0] * m[8] - m[2] * m[6], m[2] * m[3] - m[0] * m[5],
                 m[3] * m[7] - m[4] * m[6], m[1] * m[6] - m[0] * m[7], m[0] * m[4] - m[1] * m[3]};
  const double last = adj[8];
  for (double& v : adj) v /= last;
  return adj;
}

// Eight marks of a 230 mm film camera: four corners and four midsides, slightly off their
// nominal places as calibrated marks are.
inline TVxCameraInfo EightMarkCamera() {
  TVxCameraInfo camera;
  camera.cameraType = TCameraType::Fiducials;
  camera.focus = 153.228;
  const double marks[8][2] = {{-105.993, -106.006}, {106.001, 106.002}, {-106.015, 105.982},
                              {106.015, -106.006},  {-112.998, 0.012},  {113.004, -0.009},
                              {0.017, 112.991},     {-0.011, -113.012}};
  for (int i = 0; i < 8; ++i) {
    TVxCameraInfo::TFiducial f;
    f.index = i + 1;
    f.coordsCam = {marks[i][0], marks[i][1]};
    camera.fiducials.push_back(f);
  }
  return camera;
}

// The measurements of every fiducial where `camToPix` puts it, plus optional noise.
inline TVxIntOrMeas ScanOf(const TVxCameraInfo& camera, const TMatrix& camToPix,
                           TTransformType type, const std::vector<TPoint>& noise = {}) {
  TVxIntOrMeas meas;
  meas.cameraType = TCameraType::Fiducials;
  meas.rotation = TCamRotate::Rotate0;
  meas.transformType = type;
  for (std::size_t i = 0; i < camera.fiducials.size(); ++i) {
    TVxIntOrMeas::TMarkMeas mark;
    mark.index = camera.fiducials[i].index;
    mark.coordsPix = Apply(camToPix, camera.fiducials[i].coordsCam);
    if (i < noise.size()) mark.coordsPix += noise[i];
    meas.marks.push_back(mark);
  }
  return meas;
}

// Measuring noise of a few tenths of a pixel, fixed seed.
inline std::vector<TPoint> Noise(unsigned seed, std::size_t n) {
  std::mt19937 random(seed);
  std::normal_distribution<double> pixels(0.0, 0.3);
  std::vector<TPoint> noise;
  for (std::size_t i = 0; i < n; ++i) noise.push_back({pixels(random), pixels(random)});
  return noise;
}

}  // namespace solve_test
