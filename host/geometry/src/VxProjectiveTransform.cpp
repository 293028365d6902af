#include "VxProjectiveTransform.h"

#include <cmath>
#include <limits>

#include "VxInverseSolver.h"

namespace {

vec_t_<double, 2> MapPoint(const std::array<double, 9>& h, double x, double y) {
  const double w = h[6] * x + h[7] * y + h[8];
  const double u = (h[0] * x + h[1] * y + h[2]) / w;
  const double v = (h[3] * x + h[4] * y + h[5]) / w;
  // Division by w = 0 gives infinities or NaN; either way the point has no image.
  if (!std::isfinite(u) || !std::isfinite(v)) {
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    return {nan, nan};
  }
  return {u, v};
}

}  // namespace

TProjectiveTransform::TProjectiveTransform(const std::array<double, 9>& h) : h_(h) {}

std::unique_ptr<TVx2DTransform> TProjectiveTransform::Clone() const {
  return std::unique_ptr<TVx2DTransform>(new TProjectiveTransform(*this));
}

std::size_t TProjectiveTransform::TransformPoints(const vec_t_<double, 2>* in,
                                                  vec_t_<double, 2>* out, std::size_t n) const {
  for (std::size_t i = 0; i < n; ++i) out[i] = MapPoint(h_, in[i].x, in[i].y);
  return vx_geometry_detail::CountNaNPoints(out, n);
}

const char* TProjectiveTransform::Name() const {
  return "projective";
}

bool TProjectiveTransform::IsIdentity() const {
  return h_[0] != 0.0 && h_[0] == h_[4] && h_[0] == h_[8] && h_[1] == 0.0 && h_[2] == 0.0 &&
         h_[3] == 0.0 && h_[5] == 0.0 && h_[6] == 0.0 && h_[7] == 0.0;
}

vec_t_<double, 2> TProjectiveTransform::TransformPoint(const vec_t_<double, 2>& p) const {
  return MapPoint(h_, p.x, p.y);
}
