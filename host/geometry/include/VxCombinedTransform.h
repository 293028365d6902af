#pragma once
// A chain of transforms applied one after the other.

#include <initializer_list>
#include <memory>
#include <vector>

#include "VxTransform.h"
#include "VxTransformHandle.h"

// Applies its members in the order in which they were added: the first added is applied first.
// An empty composite is the identity.
class VXGEOMETRY_EXPORT TCombinedTransform final : public TVx2DTransform {
 public:
  TCombinedTransform() = default;

  // Appends a copy (a Clone()) of `transform`; the argument may be destroyed afterwards.
  void AddTransform(const TVx2DTransform& transform);

  // The number of members, and member i (0 = applied first), i < Count().
  std::size_t Count() const { return members_.size(); }
  const TVx2DTransform& Item(std::size_t i) const;

  std::unique_ptr<TVx2DTransform> Clone() const override;
  // Maps the whole batch through each member in turn, or through the second member's fused loop
  // after the first where the first is an affine map and the second has one (a camera's
  // camera-to-millimetre transform: a shift, then a distortion); returns the number of NaN
  // results.
  std::size_t TransformPoints(const vec_t_<double, 2>* in, vec_t_<double, 2>* out,
                              std::size_t n) const override;
  const char* Name() const override;  // "combined"
  // True when every member is an identity (and for the empty composite).
  bool IsIdentity() const override;
  vec_t_<double, 2> TransformPoint(const vec_t_<double, 2>& p) const override;
  // The fused loop of its members where there is one: a single member's own, or an affine map's
  // followed by the next member's.
  bool TransformGridAfter(const std::array<double, 6>* first, const TVxPointGrid& grid,
                          vec_t_<double, 2>* out, std::size_t* nanCount) const override;

 private:
  // A deep copy: every member is cloned.
  TCombinedTransform(const TCombinedTransform& other);

  std::vector<std::unique_ptr<TVx2DTransform>> members_;
};

// A composite of copies of `members` (applied in the order given; null members are left out) in
// a handle of its own. A member that fails to copy leaves nothing behind.
VXGEOMETRY_EXPORT TransformHandle
MakeCombinedTransformHandle(std::initializer_list<const TVx2DTransform*> members);
