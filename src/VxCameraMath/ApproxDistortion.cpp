// The formula or mixed model fitted to the radial part of a transform, and the exact conversions
// between those two models.

#include <algorithm>
#include <array>
#include <cassert>
#include <cmath>
#include <cstddef>
#include <vector>

#include "VxCameraMath.h"
#include "VxFormulaDistortion.h"
#include "VxMatr3x3.h"
#include "VxMixedDistortion.h"
#include "internal/VxDistortionModelTable.h"

namespace {

using TPoint = vec_t_<double, 2>;
using TDirection = TVxCameraDistortion::TDirection;

// The disc is sampled on 100 radii (i = 1..100 for the fit; the deviation adds the centre, i = 0)
// and 16 directions k pi / 8: 1600 samples for three coefficients.
constexpr int kRadii = 100;
constexpr int kDirections = 16;
constexpr double kPiOver8 = 0.39269908169872414;

using TDirections = std::array<TPoint, kDirections>;

TDirections SampleDirections() {
  TDirections directions;
  for (int k = 0; k < kDirections; ++k) {
    const double angle = k * kPiOver8;
    directions[static_cast<std::size_t>(k)] = {std::cos(angle), std::sin(angle)};
  }
  return directions;
}

bool IsFitTarget(TDistortionType type) {
  return type == TDistortionType::Formula || type == TDistortionType::Mixed;
}

bool AllZero(const double* values, int n) {
  return std::all_of(values, values + n, [](double v) { return v == 0.0; });
}

// The record that the fit fills: all zero, tables empty, camera-to-millimetre sense, symmetric
// about the principal point.
TVxCameraDistortion EmptyFit(TDistortionType type, const TPoint& principalPoint) {
  TVxCameraDistortion d;
  d.type = type;
  d.direction = TDirection::CamToMm;
  d.symmetryPoint = principalPoint;
  return d;
}

// The sample points of the deviation check, radius by radius: point i * kDirections + k lies at
// radius i * step (i = 0..kRadii) in direction k. The fit takes the same points without the
// centre. Each evaluation is one batch call, whose results equal those of TransformPoint exactly
// but cost far less than a virtual call per point.
std::vector<TPoint> SamplePoints(double step, const TDirections& directions) {
  std::vector<TPoint> points;
  points.reserve((kRadii + 1) * kDirections);
  for (int i = 0; i <= kRadii; ++i) {
    const double r = i * step;
    for (const TPoint& d : directions) points.push_back(r * d);
  }
  return points;
}

std::vector<TPoint> Images(const TVx2DTransform& transform, const TPoint* points, std::size_t n) {
  std::vector<TPoint> images(n);
  transform.TransformPoints(points, images.data(), n);
  return images;
}

// The length of p. The samples lie within a camera's format, far from where the squares could
// overflow or underflow, so the plain root serves (std::hypot costs several times as much).
double Norm(const TPoint& p) {
  return std::sqrt(p.x * p.x + p.y * p.y);
}

// Largest distance between the images of the two transforms over the samples; NaN as soon as
// either transform fails to map a point. Both transforms map every sample: nothing is reused
// from the fit.
double LargestDeviation(const TVx2DTransform& fitted, const TVx2DTransform& source,
                        const std::vector<TPoint>& samples) {
  const std::vector<TPoint> fittedImages = Images(fitted, samples.data(), samples.size());
  const std::vector<TPoint> sourceImages = Images(source, samples.data(), samples.size());
  // The largest square, then one root: the root is correctly rounded and never decreasing, so
  // this is exactly the largest of the distances.
  double largestSquare = 0.0;
  for (std::size_t i = 0; i < samples.size(); ++i) {
    const TPoint d = fittedImages[i] - sourceImages[i];
    const double square = d.x * d.x + d.y * d.y;
    if (std::isnan(square)) return square;
    largestSquare = std::max(largestSquare, square);
  }
  return std::sqrt(largestSquare);
}

// The record converted to `target` without any loss, if the target model can hold it.
bool ConvertExactly(const TVxCameraDistortion& d, TDistortionType target,
                    TVxCameraDistortion* out) {
  if (d.type != TDistortionType::Formula && d.type != TDistortionType::Mixed) return false;
  const bool fromFormula = d.type == TDistortionType::Formula;
  const bool toFormula = target == TDistortionType::Formula;
  if (fromFormula && toFormula) {
    if (d.a1 != 0.0 || d.a2 != 0.0) return false;
    *out = d;
    return true;
  }
  if (!fromFormula && !toFormula) {
    *out = d;
    return true;
  }
  if (fromFormula) {
    if (d.k4 != 0.0 || d.k5 != 0.0 || d.p3 != 0.0 || d.p4 != 0.0) return false;
    *out = d;
    TVxCameraDistortion::TMixed& m = out->mixed;
    out->type = TDistortionType::Mixed;
    std::fill(m.a + 2, m.a + 7, 0.0);
    std::fill(m.b + 2, m.b + 7, 0.0);
    std::fill(m.c, m.c + 7, 0.0);
    m.K[0] = d.k1;
    m.K[1] = d.k2;
    m.K[2] = d.k3;
    m.P[0] = d.p1;
    m.P[1] = d.p2;
    // The formula model's b terms act on x and its a terms on y; the mixed groups are per axis.
    m.a[0] = d.b1;
    m.a[1] = d.b2;
    m.b[0] = d.a1;
    m.b[1] = d.a2;
    return true;
  }
  const TVxCameraDistortion::TMixed& m = d.mixed;
  if (!AllZero(m.a + 2, 5) || !AllZero(m.b, 7) || !AllZero(m.c, 7)) return false;
  *out = d;
  out->type = TDistortionType::Formula;
  out->k1 = m.K[0];
  out->k2 = m.K[1];
  out->k3 = m.K[2];
  out->k4 = 0.0;
  out->k5 = 0.0;
  out->p1 = m.P[0];
  out->p2 = m.P[1];
  out->p3 = 0.0;
  out->p4 = 0.0;
  out->b1 = m.a[0];
  out->b2 = m.a[1];
  out->a1 = 0.0;
  out->a2 = 0.0;
  return true;
}

}  // namespace

namespace vx_distortion_models {
namespace {

double LastRadius(const std::vector<TVxCameraDistortion::T4Direction>& table) {
  return table.back().r;
}

// A radius, or false for none.
bool Positive(double value, double* radius) {
  *radius = value;
  return !(value <= 0.0);
}

}  // namespace

bool FitRadiusOfCoefficients(const TVxCameraInfo& camera, double maxRadius, double* radius) {
  if (maxRadius <= 0.0) {
    *radius = camera.focus * 0.5;
  } else if (maxRadius <= camera.focus) {
    *radius = maxRadius;
  } else {
    *radius = camera.focus;
  }
  return true;
}

// The table models are fitted over the radii they cover, whatever maxRadius says.
bool FitRadiusOfRadial(const TVxCameraInfo& camera, double /*maxRadius*/, double* radius) {
  const auto& table = camera.distortion.tableR;
  return !table.empty() && Positive(table.back().r, radius);
}

bool FitRadiusOfDirected4Plus(const TVxCameraInfo& camera, double /*maxRadius*/, double* radius) {
  const auto& table = camera.distortion.table4Plus;
  return !table.empty() && Positive(LastRadius(table), radius);
}

bool FitRadiusOfDirected4X(const TVxCameraInfo& camera, double /*maxRadius*/, double* radius) {
  const auto& table = camera.distortion.table4X;
  return !table.empty() && Positive(LastRadius(table), radius);
}

bool FitRadiusOfDirected8(const TVxCameraInfo& camera, double /*maxRadius*/, double* radius) {
  const TVxCameraDistortion& d = camera.distortion;
  if (d.table4Plus.empty() || d.table4X.empty()) return false;
  return Positive(std::max(LastRadius(d.table4Plus), LastRadius(d.table4X)), radius);
}

}  // namespace vx_distortion_models

bool ApproxCameraDistortion(const TVx2DTransform& source, TDistortionType type,
                            TVxCameraDistortion* result, const TVxCameraInfo& camera,
                            double maxRadius, double* maxDeviation) {
  assert(result != nullptr);
  const double step = maxRadius / kRadii;
  const TDirections directions = SampleDirections();
  TVxCameraDistortion fit = EmptyFit(type, camera.principalPoint);
  if (step == 0.0) return false;

  // Normal equations of e(r) = c1 r^3 + c2 r^5 + c3 r^7, with e(r) the mean radial displacement
  // of the source on the circle of radius r (the centre, i = 0, does not enter the fit).
  const std::vector<TPoint> samples = SamplePoints(step, directions);
  const TPoint* const fitSamples = samples.data() + kDirections;  // without the centre
  const std::size_t fitCount = std::size_t{kRadii} * kDirections;
  const std::vector<TPoint> images = Images(source, fitSamples, fitCount);
  matr3x3 normal;
  vec_t_<double, 3> rhs;
  for (int i = 1; i <= kRadii; ++i) {
    const double r = i * step;
    double sum = 0.0;
    for (int k = 0; k < kDirections; ++k) {
      // Measured from the sampled point itself: |p| differs from r by the rounding of the
      // direction, which would otherwise pass as displacement (an identity would not give 0).
      const auto at = static_cast<std::size_t>((i - 1) * kDirections + k);
      sum += Norm(images[at]) - Norm(fitSamples[at]);
    }
    const double e = sum / kDirections;

    const double r2 = r * r;
    const double r3 = r2 * r;
    const double r5 = r3 * r2;
    const double r7 = r5 * r2;
    const double r6 = r3 * r3;
    const double r8 = r6 * r2;
    const double r10 = r8 * r2;
    const double r12 = r10 * r2;
    const double r14 = r12 * r2;
    normal(0, 0) += r6;
    normal(0, 1) += r8;
    normal(0, 2) += r10;
    normal(1, 0) += r8;
    normal(1, 1) += r10;
    normal(1, 2) += r12;
    normal(2, 0) += r10;
    normal(2, 1) += r12;
    normal(2, 2) += r14;
    rhs.x += e * r3;
    rhs.y += e * r5;
    rhs.z += e * r7;
  }
  const double det = normal.Det();
  if (det == 0.0) return false;
  normal.Invert_self(det);
  const vec_t_<double, 3> c = normal * rhs;

  if (type == TDistortionType::Mixed) {
    fit.mixed.K[0] = c.x;
    fit.mixed.K[1] = c.y;
    fit.mixed.K[2] = c.z;
  } else if (type == TDistortionType::Formula) {
    fit.k1 = c.x;
    fit.k2 = c.y;
    fit.k3 = c.z;
  } else {
    return false;
  }

  double deviation = 0.0;
  if (maxDeviation != nullptr) {
    // The fitted record is symmetric about the principal point: its centre in the source's
    // frame is the origin.
    const TPoint centre(0.0, 0.0);
    if (type == TDistortionType::Formula) {
      const TFormulaDistortion fitted(centre, fit.k1, fit.k2, fit.k3, fit.k4, fit.k5, fit.p1,
                                      fit.p2, fit.p3, fit.p4, false);
      deviation = LargestDeviation(fitted, source, samples);
    } else {
      const double reserved = 0.0;
      const TMixedDistortion fitted(centre, camera.focus, fit.mixed.a, fit.mixed.b, fit.mixed.c,
                                    fit.mixed.K, fit.mixed.P, reserved, reserved, reserved, false);
      deviation = LargestDeviation(fitted, source, samples);
    }
  }
  *result = fit;
  if (maxDeviation != nullptr) *maxDeviation = deviation;
  return true;
}

bool ApproxCameraDistortion(TDistortionType type, TVxCameraDistortion* result,
                            const TVxCameraInfo& camera, double maxRadius, double* maxDeviation) {
  assert(result != nullptr);
  if (!IsFitTarget(type)) return false;
  const TVxCameraDistortion& d = camera.distortion;
  // None, the polynomial and any value outside the enumeration: nothing to fit from.
  const auto* model = vx_distortion_models::Find(d.type);
  if (model == nullptr || model->fitRadius == nullptr) return false;

  const TPoint offset = d.symmetryPoint - camera.principalPoint;
  if (offset.x == 0.0 && offset.y == 0.0 && d.direction == TDirection::CamToMm) {
    TVxCameraDistortion converted;
    if (ConvertExactly(d, type, &converted)) {
      *result = converted;
      if (maxDeviation != nullptr) *maxDeviation = 0.0;
      return true;
    }
  }

  double radius = 0.0;
  if (!model->fitRadius(camera, maxRadius, &radius)) return false;
  const TransformHandle source = CreateCameraDistortionTransform(d, offset, camera.focus);
  if (!source) return false;
  return ApproxCameraDistortion(*source, type, result, camera, radius, maxDeviation);
}
