#include "VxTransform.h"

#include "VxInverseSolver.h"

std::size_t TVx2DTransform::TransformPoints(const vec_t_<double, 2>* in, vec_t_<double, 2>* out,
                                            std::size_t n) const {
  for (std::size_t i = 0; i < n; ++i) out[i] = TransformPoint(in[i]);
  return vx_geometry_detail::CountNaNPoints(out, n);
}

TVx2DTransform::~TVx2DTransform() = default;

bool TVx2DTransform::AffineCoefficients(std::array<double, 6>* /*coefficients*/) const {
  return false;
}

bool TVx2DTransform::TransformPointsAfter(const std::array<double, 6>* /*first*/,
                                          const vec_t_<double, 2>* /*in*/,
                                          vec_t_<double, 2>* /*out*/, std::size_t /*n*/,
                                          std::size_t* /*nanCount*/) const {
  return false;
}

bool TVx2DTransform::TransformGridAfter(const std::array<double, 6>* /*first*/,
                                        const TVxPointGrid& /*grid*/, vec_t_<double, 2>* /*out*/,
                                        std::size_t* /*nanCount*/) const {
  return false;
}
