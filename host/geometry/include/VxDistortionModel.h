#pragma once
// The shell that the distortion models share: copying, the inverse flag, and the point, batch
// and grid paths in both senses, with the fusion hooks, all from the model's displacement kernel.
// A model supplies its maths (its kernel, its name, when it is the identity); the shell supplies
// the rest.

#include <array>
#include <cstddef>
#include <memory>

#include "VxTransform.h"

// The base of a distortion model TModel, which maps p to p + d(p), or with the inverse flag
// set, p to the q with q + d(q) = p (to 1e-10 mm; NaN where no such q is found). TModel
// declares a private type TKernel (the displacement d, see the model's source) with
//   TKernel Kernel() const;
// and befriends this class. The member functions are instantiated in the model's source, where
// the kernel is defined.
template <class TModel>
class VXGEOMETRY_EXPORT TVxDistortionModel : public TVx2DTransform {
 public:
  // Whether the model maps the other way: q with q + d(q) = p.
  bool Inverse() const { return inverse_; }

  // A copy of the model, of its own class.
  std::unique_ptr<TVx2DTransform> Clone() const final;
  std::size_t TransformPoints(const vec_t_<double, 2>* in, vec_t_<double, 2>* out,
                              std::size_t n) const final;
  vec_t_<double, 2> TransformPoint(const vec_t_<double, 2>& p) const final;
  // One loop for an affine map followed by the model, over points or a grid.
  bool TransformPointsAfter(const std::array<double, 6>* first, const vec_t_<double, 2>* in,
                            vec_t_<double, 2>* out, std::size_t n,
                            std::size_t* nanCount) const final;
  bool TransformGridAfter(const std::array<double, 6>* first, const TVxPointGrid& grid,
                          vec_t_<double, 2>* out, std::size_t* nanCount) const final;

 protected:
  explicit TVxDistortionModel(bool inverse) : inverse_(inverse) {}
  TVxDistortionModel(const TVxDistortionModel&) = default;

 private:
  const TModel& Model() const { return static_cast<const TModel&>(*this); }

  bool inverse_;
};
