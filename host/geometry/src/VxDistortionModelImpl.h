#pragma once
// The member functions of the distortion models' shell. A model's source includes this after
// defining its kernel and instantiates the shell for its class:
//   template class TVxDistortionModel<TRadialDistortion>;
// Internal to the library.

#include "VxBatchLoops.h"
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
  using TBatch = vx_geometry_detail::TBatch<typename TModel::TKernel>;
  return TBatch::Points(Model().Kernel(), nullptr, inverse_, in, out, n);
}

template <class TModel>
vec_t_<double, 2> TVxDistortionModel<TModel>::TransformPoint(const vec_t_<double, 2>& p) const {
  return vx_geometry_detail::VisitKernel(Model().Kernel(), [&](const auto& kernel) {
    return inverse_ ? vx_geometry_detail::InversePoint(kernel, p)
                    : vx_geometry_detail::ForwardPoint(kernel, p);
  });
}

template <class TModel>
bool TVxDistortionModel<TModel>::TransformPointsAfter(const std::array<double, 6>* first,
                                                      const vec_t_<double, 2>* in,
                                                      vec_t_<double, 2>* out, std::size_t n,
                                                      std::size_t* nanCount) const {
  using TBatch = vx_geometry_detail::TBatch<typename TModel::TKernel>;
  *nanCount = TBatch::Points(Model().Kernel(), first != nullptr ? first->data() : nullptr, inverse_,
                             in, out, n);
  return true;
}

template <class TModel>
bool TVxDistortionModel<TModel>::TransformGridAfter(const std::array<double, 6>* first,
                                                    const TVxPointGrid& grid,
                                                    vec_t_<double, 2>* out,
                                                    std::size_t* nanCount) const {
  using TBatch = vx_geometry_detail::TBatch<typename TModel::TKernel>;
  *nanCount = TBatch::Grid(Model().Kernel(), first != nullptr ? first->data() : nullptr, inverse_,
                           grid, out);
  return true;
}
