#pragma once
// The fused batch loops that the composite and the grid call use when their members allow.
// Internal to the library.

#include <cstddef>

#include "VxAffineTransform.h"
#include "VxFormulaDistortion.h"
#include "VxTransformGrid.h"

namespace vx_geometry_detail {

// The formula model `model`, with the affine map `first` applied before it when not null, over
// in[0..n) into out[0..n) (in place allowed), eight points at a time. Returns the number of NaN
// results. Each result equals model.TransformPoint(first->TransformPoint(p)) exactly.
std::size_t MapFormula(const TFormulaDistortion& model, const TAffineTransform* first,
                       const vec_t_<double, 2>* in, vec_t_<double, 2>* out, std::size_t n);

// The same over the points of `grid`, generated on the fly, into out (grid.rows * grid.columns
// points, row by row).
std::size_t MapFormulaGrid(const TFormulaDistortion& model, const TAffineTransform* first,
                           const TVxPointGrid& grid, vec_t_<double, 2>* out);

// The formula model and the affine map in front of it when `transform` is one of: a formula
// model; a composite of an affine map followed by a formula model; a composite of a formula
// model alone. False for anything else.
bool AsFormulaChain(const TVx2DTransform& transform, const TFormulaDistortion*& model,
                    const TAffineTransform*& first);

}  // namespace vx_geometry_detail
