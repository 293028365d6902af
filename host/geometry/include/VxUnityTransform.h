#pragma once
// The identity transform.

#include "VxTransform.h"

// Maps every point onto itself. Holds no data: an object of it is just its virtual table.
class VXGEOMETRY_EXPORT TUnityTransform final : public TVx2DTransform {
 public:
  TUnityTransform() = default;

  std::unique_ptr<TVx2DTransform> Clone() const override;
  std::size_t TransformPoints(const vec_t_<double, 2>* in, vec_t_<double, 2>* out,
                              std::size_t n) const override;
  const char* Name() const override;  // "unity"
  bool IsIdentity() const override;   // true
  vec_t_<double, 2> TransformPoint(const vec_t_<double, 2>& p) const override;

 private:
  TUnityTransform(const TUnityTransform&) = default;
};
