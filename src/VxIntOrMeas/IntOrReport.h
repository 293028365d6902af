#pragma once
// The report of a solved interior orientation: the transform in a person's terms, the residuals
// and the warnings. Internal to the library.

#include <string>

#include "IntOrModels.h"
#include "VxIntOrMeas.h"
#include "VxIntOrSolve.h"

namespace vx_intor_detail {

// The localised text of a resource key.
std::string Text(const char* key);

// The person's terms of pixToCam, from its derivative at the pixel position of the camera
// origin (constant for an affine map); s->originPix must be set.
void DescribeTransform(const TMatrix& pixToCam, TVxIntOrSolution* s);
// The residual of every measured mark, their RMS, the largest, the redundancy and the limit.
void AddResiduals(const TVxIntOrMeas& meas, const TModel& model,
                  const TVxIntOrSolveOptions& options, TVxIntOrSolution* s);
// The warnings, in the order the solution promises.
void AddWarnings(const TVxIntOrMeas& meas, const TVxCameraInfo& camera, const TModel& model,
                 TVxIntOrSolution* s);

}  // namespace vx_intor_detail
