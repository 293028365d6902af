#pragma once
// Planar transforms built from a camera: the distortion transform of a distortion record, the
// camera-to-millimetre transform of a whole camera, the scaling of a distortion, and the fit of
// the formula or mixed model to any transform.
//
// Units and axes: millimetres of the camera system, x to the right, y up, angles in radians
// counter-clockwise from +x. docs/distortion-models.md gives every model's formulas.

#include "VxCameraInfo.h"
#include "VxCameraUtils_export.h"
#include "VxTransform.h"
#include "VxTransformHandle.h"
#include "VxVec.h"

// The transform of the model that `distortion.type` names, built from the record's fields as
// they are, centred on `centre` (mm, in the frame where the transform is applied; the record's
// symmetryPoint is not read). `focal` (mm) is used by the Mixed and Polynomial models only.
// Every model gets the inverse flag exactly when `direction` is MmToCam, so that the result
// maps in the camera-to-millimetre sense.
// Tables are passed in stored order, unsorted. Directed4+ feeds dr[3], dr[0], dr[2], dr[1] of a
// row to the angles 0, pi/2, pi, 3pi/2; Directed4X the same entries to pi/4 .. 7pi/4; Directed8
// merges both tables by radius into one table of eight directions, filling the half a radius
// lacks from the other table's secant (without its lower row's value).
// Returns an empty handle for None or a type outside the enumeration. Throws
// std::invalid_argument for Directed8 when exactly one of "table_+" and "table_x" is empty (the
// message names the empty one; no row is read); the geometry library's exceptions for bad rows
// or focal lengths pass on, and nothing built is left behind.
VXCAMERAUTILS_EXPORT TransformHandle CreateCameraDistortionTransform(
    const TVxCameraDistortion& distortion, const vec_t_<double, 2>& centre, double focal);

// Maps camera coordinates (mm, the system of principalPoint) to image coordinates relative to
// the principal point, corrected for the camera's distortion: first the shift by -principalPoint,
// then the distortion transform centred on symmetryPoint - principalPoint.
// Reads only focus, principalPoint and distortion: no pixel scaling, no axis flip.
// A principal point of exactly (0, 0) (-0.0 included) gives the distortion transform alone; no
// distortion gives the shift alone, or the identity. Never empty; exceptions as above.
VXCAMERAUTILS_EXPORT TransformHandle CreateCamToMmTransform(const TVxCameraInfo& camera);

// The inverse of CreateCamToMmTransform: image millimetres relative to the principal point,
// corrected for distortion, back to camera coordinates. The distortion is applied in the other
// sense than its record's (a model stored CamToMm is inverted by the shared Newton solver, one
// stored MmToCam is evaluated directly), then the shift by +principalPoint. A point where the
// inverse does not converge maps to NaN. Always a TCombinedTransform; exceptions as above.
VXCAMERAUTILS_EXPORT TransformHandle CreateMmToCamTransform(const TVxCameraInfo& camera);

// Multiplies every linear coefficient of every model by `multiplier`, whatever the type: mixed,
// polyK, polyP, the dr of all three tables, and k1..k5, p1, p2, b1, b2, a1, a2. Left alone: type,
// direction, symmetryPoint, the radii, and p3, p4 (they shape the decentering profile).
// A multiplier of exactly 1.0 touches nothing; any other value, NaN included, is applied.
// `distortion` must not be null.
VXCAMERAUTILS_EXPORT void ApplyDistortionMultiplier(TVxCameraDistortion* distortion,
                                                    double multiplier);

// Fits the radial model e(r) = c1 r^3 + c2 r^5 + c3 r^7 to the mean radial displacement of
// `source` over the disc of radius `maxRadius` (mm) around the origin of its input frame, by
// least squares over 100 radii i maxRadius / 100 and 16 directions k pi / 8. The radial
// displacement of a sampled point p is |source(p)| - |p|: an identity source fits to zero.
// `type` Formula stores c1..c3 as k1..k3, Mixed as mixed.K; the new record is otherwise zero,
// has direction CamToMm and the camera's principalPoint as its symmetry point.
// With `maxDeviation` not null it receives the largest distance between the fitted model and
// `source` over the radii 0 .. maxRadius and the 16 directions. A source that cannot map a
// sample (a NaN point) gives NaN coefficients and a NaN deviation, never a partial fit.
// Returns false, writing neither `*result` nor `*maxDeviation`, for a `type` other than
// Formula and Mixed, a zero maxRadius, or a normal matrix whose determinant is exactly zero.
// `result` must not be null; exceptions of the geometry library pass on.
VXCAMERAUTILS_EXPORT bool ApproxCameraDistortion(const TVx2DTransform& source, TDistortionType type,
                                                 TVxCameraDistortion* result,
                                                 const TVxCameraInfo& camera, double maxRadius,
                                                 double* maxDeviation);

// The same with the camera's own distortion as the source. When its symmetry point equals the
// principal point and its direction is CamToMm, the record is converted exactly where the target
// can hold it (Formula to Formula when a1 = a2 = 0; Mixed to Mixed always; Formula to Mixed when
// k4 = k5 = p3 = p4 = 0; Mixed to Formula when mixed a3..a7, b and c are all zero; the source
// model's fields are kept) and the deviation is 0.0. Otherwise its transform is fitted over:
// for Formula and Mixed, focus / 2 when maxRadius <= 0, else the smaller of maxRadius and
// focus; for the table models, the radius of the last row (for Directed8 the larger of the two
// tables' last radii), ignoring maxRadius.
// Returns false also for a source of type None, Polynomial or outside the enumeration, an empty
// table (either table for Directed8), or a last radius <= 0.
VXCAMERAUTILS_EXPORT bool ApproxCameraDistortion(TDistortionType type, TVxCameraDistortion* result,
                                                 const TVxCameraInfo& camera, double maxRadius,
                                                 double* maxDeviation);
