#pragma once
// The base of every planar transform: a map of the plane onto itself, in millimetres of the
// camera system unless the transform says otherwise.

#include <array>
#include <cstddef>
#include <memory>

#include "VxGeometry_export.h"
#include "VxVec.h"

struct TVxPointGrid;

// A planar transform. Transforms are immutable after construction, so one transform may be used
// by several threads at once. The base is abstract and not copyable: a copy of any transform,
// whatever its class, is made by Clone().
//
// The order of the virtual operations is part of the interface: four operations, then
// TransformPoint, then the destructor; the fusion hooks follow them.
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

  // --- Fusion hooks: how a composite and TransformGrid find one loop for several steps without
  // knowing the classes of their members ---

  // The coefficients a0..a5 when the transform is the affine map computed as
  // (a0 x + a1 y + a2, a3 x + a4 y + a5); false (the default), `coefficients` untouched, for any
  // other transform.
  virtual bool AffineCoefficients(std::array<double, 6>* coefficients) const;

  // "Map these points after this affine map": when the transform has one loop for the affine
  // map with the coefficients `first` (null: none) followed by itself, maps in[0..n) into
  // out[0..n) (in place allowed), sets *nanCount to the number of NaN results and returns true.
  // Every result equals TransformPoint of the affine map's result for the point, bit for bit.
  // The default has no such loop: it returns false and writes nothing.
  virtual bool TransformPointsAfter(const std::array<double, 6>* first, const vec_t_<double, 2>* in,
                                    vec_t_<double, 2>* out, std::size_t n,
                                    std::size_t* nanCount) const;

  // The same over the points of `grid` (as TransformGrid lays them out), generated in the loop.
  virtual bool TransformGridAfter(const std::array<double, 6>* first, const TVxPointGrid& grid,
                                  vec_t_<double, 2>* out, std::size_t* nanCount) const;

 protected:
  TVx2DTransform() = default;
  // For the Clone() of derived classes only.
  TVx2DTransform(const TVx2DTransform&) = default;
};

// True when either coordinate of p is NaN: the mark of a point that could not be mapped.
inline bool IsNaNPoint(const vec_t_<double, 2>& p) {
  return std::isnan(p.x) || std::isnan(p.y);
}
