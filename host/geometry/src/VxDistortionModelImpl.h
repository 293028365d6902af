#pragma once
// The member functions of the distortion models' shell. A model's source includes this after
// defining its kernel and instantiates the shell for its class:
//   template class TVxDistortionModel<TRadialDistortion>;
// Internal to the library.

#include "VxDistortionModel.h"
#include "VxInverseSolver.h"

template <class TModel>
std::unique_ptr<TVx2DTransform> TVxDistortionModel<TModel>::Clone() const {
  return std::unique_ptr<TVx2DTransform>(new TModel(Model()));
}

template <class TModel>
std::size_t TVxDistortionModel<TModel>::TransformPoints(const vec_t_<double, 2>* in,
                                                        vec_t_<double, 2>* out,
                                                        std::size_t n) const {
  return vx_geometry_detail::MapPoints(Model().Kernel(), inverse_, in, out, n);
}

template <class TModel>
vec_t_<double, 2> TVxDistortionModel<TModel>::TransformPoint(const vec_t_<double, 2>& p) const {
  const auto kernel = Model().Kernel();
  return inverse_ ? vx_geometry_detail::InversePoint(kernel, p)
                  : vx_geometry_detail::ForwardPoint(kernel, p);
}
