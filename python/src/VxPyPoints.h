#pragma once
// NumPy arrays of points for the batch transforms: an (N, 2) array of float64 in C order is
// used where it lies; anything else that NumPy reads as an (N, 2) array of real numbers is
// converted once. Output goes straight into a new array or into the caller's `out`.

#include <cstddef>

#include "VxPyCommon.h"

namespace vxpy {

// Points ready for TVx2DTransform::TransformPoints: `array` owns (or references) the memory
// that `data` points into, n points of interleaved x, y.
struct TPointsIn {
  py::array array;
  const vec_t_<double, 2>* data = nullptr;
  std::size_t n = 0;
};

struct TPointsOut {
  py::array_t<double> array;
  vec_t_<double, 2>* data = nullptr;
};

// Reads `points`; raises TypeError for what is not real numbers (None, text, objects, complex,
// bool) and ValueError for a shape other than (N, 2).
TPointsIn PointsIn(const py::handle& points);
// The array to write n points into: a new one when `out` is None, else `out` itself, which must
// be a writable C-ordered float64 array of shape (n, 2) that is the input or does not overlap it.
TPointsOut PointsOut(const py::handle& out, const TPointsIn& in);

}  // namespace vxpy
