#include "VxUnityTransform.h"

#include <algorithm>

#include "VxInverseSolver.h"

std::unique_ptr<TVx2DTransform> TUnityTransform::Clone() const {
  return std::unique_ptr<TVx2DTransform>(new TUnityTransform(*this));
}

std::size_t TUnityTransform::TransformPoints(const vec_t_<double, 2>* in, vec_t_<double, 2>* out,
                                             std::size_t n) const {
  if (in != out) std::copy(in, in + n, out);
  return vx_geometry_detail::CountNaNPoints(out, n);
}

const char* TUnityTransform::Name() const {
  return "unity";
}

bool TUnityTransform::IsIdentity() const {
  return true;
}

vec_t_<double, 2> TUnityTransform::TransformPoint(const vec_t_<double, 2>& p) const {
  return p;
}
