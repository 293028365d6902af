#pragma once
// The model of each kind of camera: how the pixels of a scan map to the camera system, from the
// measured marks, the scan resolution and the rotation. Internal to the library.

#include <cstdint>
#include <vector>

#include "IntOrPlanar.h"
#include "VxCameraInfo.h"
#include "VxIntOrMeas.h"
#include "VxIntOrSolve.h"

namespace vx_intor_detail {

// A solved model: the two maps as matrices and, per measured mark, where the mark should lie in
// the camera system.
struct TModel {
  TMatrix camToPix{};
  TMatrix pixToCam{};
  bool projective = false;
  std::vector<TPoint> markCam;
  int unknowns = 0;
  // Where the scale and the rotation came from, for the warnings.
  bool rotationFromMarks = false;
  bool scaleFromMarks = false;
};

// Millimetres per pixel of a scan resolution; NaN for a unit outside the enumeration.
TPoint ResolutionMm(const TVxIntOrMeas& meas);
// Whether the resolution gives finite, positive millimetres per pixel.
bool ResolutionUsable(const TVxIntOrMeas& meas);

// Each fills `model` from input that has passed the checks; those that can fail return the
// failure's resource key, else null.
const char* SolveFiducials(const TVxIntOrMeas& meas, const TVxCameraInfo& camera,
                           const TVxIntOrSolveOptions& options, TModel* model);
void SolvePrincipalPoint(const TVxIntOrMeas& meas, const TVxCameraInfo& camera, TModel* model);
const char* SolveCross(const TVxIntOrMeas& meas, const TVxCameraInfo& camera, TModel* model);
void SolveDigital(const TVxIntOrMeas& meas, const TVxCameraInfo& camera, TModel* model);

}  // namespace vx_intor_detail
