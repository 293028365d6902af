#pragma once
// Mapping every point of a regular grid, such as the pixel centres of a frame, without an array
// of input points.

#include <cstddef>

#include "VxGeometry_export.h"
#include "VxTransform.h"

// A regular grid of columns x rows points: the point of column i and row j (both from 0) is
// (x0 + i dx, y0 + j dy), each coordinate computed in double exactly as written. For the pixel
// centres of a frame of pixel size s with the origin at the frame's centre and y up:
// x0 = (0.5 - columns / 2) s, dx = s, y0 = (rows / 2 - 0.5) s, dy = -s.
struct TVxPointGrid {
  double x0 = 0.0;
  double y0 = 0.0;
  double dx = 1.0;
  double dy = 1.0;
  std::size_t columns = 0;
  std::size_t rows = 0;
};

// Maps every point of `grid` through `transform` into out[j * columns + i] (row j, column i);
// `out` holds columns * rows points. Each result equals transform.TransformPoint of the grid
// point exactly. Returns the number of NaN results (points that could not be mapped).
// A transform with a fused loop (TVx2DTransform::TransformGridAfter: every distortion model, and
// a composite of an affine map followed by one, as a camera's camera-to-millimetre transform is)
// generates the points in registers; any other transform maps the grid in blocks through
// TransformPoints.
VXGEOMETRY_EXPORT std::size_t TransformGrid(const TVx2DTransform& transform,
                                            const TVxPointGrid& grid, vec_t_<double, 2>* out);
