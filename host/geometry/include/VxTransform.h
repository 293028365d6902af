#pragma once
// The base of every planar transform: a map of the plane onto itself, in millimetres of the
// camera system unless the transform says otherwise.

#include <cstddef>
#include <memory>

#include "VxGeometry_export.h"
#include "VxVec.h"

// A planar transform. Transforms are immutable after construction, so one transform may be used
// by several threads at once. The base is abstract and not copyable: a copy of any transform,
// whatever its class, is made by Clone().
//
// The order of the virtual operations is part of the interface: four operations, then
// TransformPoint, then the destructor.
class VXGEOMETRY_EXPORT TVx2DTransform {
 public:
  TVx2DTransform& operator=(const TVx2DTransform&) = delete;
  TVx2DTransform& operator=(TVx2DTransform&&) = delete;

  // A deep copy of this transform, of its own class. Never null.
  virtual std::unique_ptr<TVx2DTransform> Clone() const = 0;

  // Maps the n points in[0..n) to out[0..n); `in` and `out` may be the same array (in place),
  // but must not overlap otherwise. Every out[i] equals TransformPoint(in[i]) exactly.
  // Returns how many results are NaN: points where an inverse did not converge (and points that
  // were NaN to begin with). The distortion models override it with a loop without virtual calls
  // or allocation per point.
  virtual std::size_t TransformPoints(const vec_t_<double, 2>* in, vec_t_<double, 2>* out,
                                      std::size_t n) const;

  // A short fixed English name of the transform's kind, such as "formula distortion".
  virtual const char* Name() const = 0;

  // True when the transform maps every point exactly onto itself (the unity transform, an
  // identity affine map, a distortion whose coefficients are all zero or whose tables are
  // empty, a composite of such). A false result does not prove that the map moves any point.
  virtual bool IsIdentity() const = 0;

  // Maps one point. A point that the transform cannot map (an inverse that does not converge)
  // gives NaN in both coordinates, never an unconverged guess.
  virtual vec_t_<double, 2> TransformPoint(const vec_t_<double, 2>& p) const = 0;

  virtual ~TVx2DTransform();

 protected:
  TVx2DTransform() = default;
  // For the Clone() of derived classes only.
  TVx2DTransform(const TVx2DTransform&) = default;
};

// True when either coordinate of p is NaN: the mark of a point that could not be mapped.
inline bool IsNaNPoint(const vec_t_<double, 2>& p) {
  return std::isnan(p.x) || std::isnan(p.y);
}
