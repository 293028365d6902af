#pragma once
// Solving the interior orientation of one image: the transform from the image's pixels to the
// camera system, built from the measurements of a TVxIntOrMeas and the camera's calibration,
// with a report to judge it by.
//
// Pixel coordinates: x is the column, y the row, (0, 0) the centre of the top-left pixel, rows
// counted downwards (TVxIntOrSolveOptions::pixelYAxis lets y count upwards instead). Camera
// coordinates: millimetres of the camera system (the system of the fiducial marks and of the
// principal point), x to the right, y upwards. Every solution therefore contains the flip of y.
// Angles of the report are degrees counter-clockwise.
//
// How each kind of camera is solved (docs/interior-orientation.md has the formulas):
// - Fiducials: least squares over every measured mark, each paired with the first of the
//   camera's fiducials with its index, by the record's transformType: Similarity (4 unknowns, at
//   least 2 distinct fiducials), Affine (6, at least 3) or Projective (8, at least 4). The
//   squares minimised are those of the residuals in pixels, or in camera millimetres as
//   TVxIntOrSolveOptions::minimise chooses. A similarity is fitted with and
//   without a reflection and the better one taken; with exactly two marks they fit equally well
//   and the one without reflection is taken. A transformType outside the enumeration is fitted
//   as Affine, the record's default.
// - PrincipalPoint: the one mark is the camera's principal point; the scale comes from the scan
//   resolution along the pixel axes (mm per pixel, or 25.4 / dpi), the orientation from
//   `rotation`.
// - Cross and CalibratedCross: mark 1 is the end of the -x arm, mark 2 the end of the +x arm,
//   mark 3 the end of the +y arm and mark 4 the end of the -y arm; the cross is centred on the
//   camera origin. Centre (the mean of the four marks), orientation (the bisector of the arm
//   directions) and a reflection come from the marks; the scale from the scan resolution along
//   the pixel axes (Cross) or from lengthX / lengthY along the camera axes (CalibratedCross).
// - Digital: the exact map of the sensor: pixelSize, sensorDims, digitalCameraOrigin (the
//   camera origin at the centre of the sensor, or at the outer corner of its lower-left or
//   upper-left pixel) and `rotation`. There is nothing to measure and nothing to fit.
//
// The rotation of an image against the camera, as in TCamRotate, is counter-clockwise: at
// rotation 90 the camera's +x axis points up the image.

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "VxCameraInfo.h"
#include "VxCameraUtils_export.h"
#include "VxIntOrMeas.h"
#include "VxTransformHandle.h"
#include "VxVec.h"

class TVxXIniReader;
class TVxXIniWriter;

// Which way the y axis of the measured pixel coordinates points.
enum class TVxPixelYAxis : std::int32_t {
  // y counts the rows downwards; (0, 0) is the centre of the top-left pixel.
  Down = 0,
  // y counts upwards, as in reports whose image origin is the lower-left corner.
  Up = 1,
};

// Where a fiducial fit minimises the sum of squared residuals.
enum class TVxResidualSpace : std::int32_t {
  // In pixels: the calibrated marks mapped onto the measured ones (camToPix is fitted).
  Pixels = 0,
  // In camera millimetres: the measured marks mapped onto the calibrated ones (pixToCam is
  // fitted), as some calibration and orientation reports publish their affine.
  Camera = 1,
};

// A solved pixel-to-camera map as coefficients, with the convention of its pixel axes: what a
// program needs to map pixels without solving again, and what a file keeps.
//   w = m6 x + m7 y + m8,  x_mm = (m0 x + m1 y + m2) / w,  y_mm = (m3 x + m4 y + m5) / w
// An affine map has (m6, m7, m8) = (0, 0, 1) exactly; a projective map is scaled to m8 = 1.
struct VXCAMERAUTILS_EXPORT TVxPixToCamMap {
  std::array<double, 9> matrix{1.0, 0.0, 0.0, 0.0, 1.0, 0.0, 0.0, 0.0, 1.0};
  // The pixel axes (x, y) of the matrix.
  TVxPixelYAxis pixelYAxis = TVxPixelYAxis::Down;
  // What the fit that made the map minimised; kept to be reported, not used.
  TVxResidualSpace minimisedIn = TVxResidualSpace::Pixels;

  bool IsAffine() const;
  // The inverse matrix (camera millimetres to pixels), affine when the map is, else scaled to
  // m8 = 1. Throws std::invalid_argument when the matrix holds a value that is not finite or is
  // singular.
  std::array<double, 9> InverseMatrix() const;
  // The map and its inverse as transforms: TAffineTransform or TProjectiveTransform. Throw as
  // InverseMatrix does.
  TransformHandle CreatePixToCam() const;
  TransformHandle CreateCamToPix() const;

  // Writes the map into the writer's current section:
  //   pixel_y_axis: Down|Up, minimised_in: Pixels|Camera,
  //   pix_to_cam: {x: [m0, m1, m2], y: [m3, m4, m5], w: [m6, m7, m8]}
  void SaveE(TVxXIniWriter* writer) const;
  // Reads what SaveE writes and replaces the whole record. pix_to_cam with x and y is required;
  // w, pixel_y_axis and minimised_in may be left out (an affine map, Down, Pixels). Throws the
  // reader's error naming file, line, column and key for a missing key, an unknown word, a row
  // that is not three finite numbers, a w of an affine-looking map that is not scaled to
  // m8 = 1, or a singular matrix; on a throw the record is unchanged.
  void LoadE(TVxXIniReader* reader);
};

// The file texts of the enumerations above ("Down", "Up"; "Pixels", "Camera"), and back: the
// readers give std::nullopt for a word they do not know.
VXCAMERAUTILS_EXPORT const char* PixelYAxisToText(TVxPixelYAxis axis);
VXCAMERAUTILS_EXPORT std::optional<TVxPixelYAxis> TextToPixelYAxis(const std::string& text);
VXCAMERAUTILS_EXPORT const char* ResidualSpaceToText(TVxResidualSpace space);
VXCAMERAUTILS_EXPORT std::optional<TVxResidualSpace> TextToResidualSpace(const std::string& text);

// What the caller may set.
struct TVxIntOrSolveOptions {
  // A mark whose residual is longer than this, in micrometres, is reported. 0 or less (the
  // default): 3 times the RMS of the residuals, but at least 10 and at most 50 micrometres, so
  // that a wildly bad fit cannot raise the limit over its own marks.
  double residualLimitUm = 0.0;
  // Gauss-Newton iterations of the projective fit at most; a fit that has not converged by then
  // fails. From its linear start the fit needs only a few; the limit guards against marks that
  // no projective map fits.
  int maxIterations = 50;
  // The axes of the measured pixel coordinates, and of everything in pixels that the solution
  // gives back (the transforms' pixel side, originPix, the residuals in pixels, the marks'
  // residualsPix). With Up, y counts upwards from any origin of the measurer's choice: a fit
  // places the image wherever its origin lies, and the description of the image (scales,
  // rotation, shear, mirroring, warnings) is the same as for the rows counted downwards. A
  // Digital camera has nothing measured to place it: Up puts (0, 0) at the centre of its
  // lower-left pixel.
  TVxPixelYAxis pixelYAxis = TVxPixelYAxis::Down;
  // Where a fiducial fit minimises the residuals. The other kinds of camera are solved exactly
  // from their marks and ignore it.
  TVxResidualSpace minimise = TVxResidualSpace::Pixels;
};

// The residual of one measured mark. Residuals are "predicted minus measured": the measured
// position plus the residual is where the solution puts the calibrated (or, for a cross, the
// ideal) mark.
struct TVxIntOrMarkResidual {
  std::int32_t index = 0;       // the mark's index
  vec_t_<double, 2> coordsPix;  // measured position, pixels
  // Pixels, along the pixel axes: where the solution maps the calibrated mark, minus coordsPix.
  vec_t_<double, 2> residualPix;
  // Micrometres, along the camera axes: the calibrated mark minus where the solution maps
  // coordsPix.
  vec_t_<double, 2> residualUm;
  double lengthPix = 0.0;   // length of residualPix
  double lengthUm = 0.0;    // length of residualUm
  bool aboveLimit = false;  // lengthUm > the residual limit (only where redundancy > 0)
};

// One warning of a solution: its resource key and the key's localised text (no placeholders:
// a warning about one mark names the mark in `markIndex`).
struct TVxIntOrWarning {
  std::string key;
  std::string text;
  std::optional<std::int32_t> markIndex;
};

// The solved interior orientation of one image.
struct TVxIntOrSolution {
  // Pixel coordinates to camera millimetres, and back. A TAffineTransform, or a
  // TProjectiveTransform for a projective fit. The camera's distortion is not part of them:
  // CreateCamToMmTransform continues from the camera system.
  TransformHandle pixToCam;
  TransformHandle camToPix;
  // pixToCam as coefficients, with the options' pixel axes and residual space.
  TVxPixToCamMap map;

  // The transform in a person's terms, read from where the pixel axes land in the camera system
  // (for a projective fit, from its derivative at the camera origin), the rows counted
  // downwards whatever the options' pixel axes:
  // length of one pixel step along x (a column) and along y (a row), micrometres per pixel;
  double scaleXUm = 0.0;
  double scaleYUm = 0.0;
  // rotation of the image against the camera, degrees counter-clockwise in (-180, 180], in the
  // sense of TCamRotate: minus the direction of the pixel x axis in the camera system;
  double rotationDeg = 0.0;
  // the quarter turn nearest to rotationDeg;
  TCamRotate fittedRotation = TCamRotate::Rotate0;
  // how far the pixel y axis is from a right angle to the pixel x axis in the camera system,
  // degrees (0 for a similarity; positive when the axes close);
  double shearDeg = 0.0;
  // whether the image is mirrored: its rows must be read in reverse order to show the camera
  // unmirrored. rotationDeg and shearDeg describe that unmirrored image;
  bool mirrored = false;
  // of a projective fit, the perspective terms h6, h7 of pixToCam (in the options' pixel axes)
  // with h8 = 1 (per pixel);
  // (0, 0) otherwise;
  vec_t_<double, 2> perspective;
  // where the camera origin (0, 0) lies on the image, pixels.
  vec_t_<double, 2> originPix;

  // One residual per measured mark, in the order of the record's marks: Fiducials, Cross and
  // CalibratedCross; the principal point's mark, whose residual is 0 up to rounding; none for
  // Digital.
  std::vector<TVxIntOrMarkResidual> residuals;
  // Root mean square of the residual lengths (0 without residuals).
  double rmsPix = 0.0;
  double rmsUm = 0.0;
  // sqrt(sum of squared residual lengths / redundancy): the standard deviation of one
  // coordinate; 0 when the redundancy is 0.
  double sigma0Um = 0.0;
  // The longest residual and its mark's index (0, 0 and 0 without residuals; the first such
  // mark on a tie).
  double largestUm = 0.0;
  double largestPix = 0.0;
  std::int32_t largestIndex = 0;
  // Coordinates observed (2 per mark), unknowns of the model, and their difference.
  int observations = 0;
  int unknowns = 0;
  int redundancy = 0;
  // The residual limit in force, micrometres.
  double residualLimitUm = 0.0;

  // In this order: not all fiducials measured ("global.Warn_NotAllFidMeasured"); the image is
  // mirrored ("global.Warn_IntOrMirrored", Fiducials and crosses); the marks fit another
  // rotation than the record's, by more than 45 degrees ("global.Warn_IntOrRotationFits0", "...90",
  // "...180", "...270" naming the rotation that fits; only when the record's rotation is set and
  // the rotation comes from the marks); the scale differs from the record's scan resolution by
  // more than 1 % along x or y ("global.Warn_IntOrScale"; only when the scale comes from the
  // marks, Fiducials and CalibratedCross, and the record holds a positive resolution with its
  // unit); then, for each mark above the residual limit in record order,
  // "global.Warn_IntOrLargeResidual" with the mark's index.
  std::vector<TVxIntOrWarning> warnings;
};

// Solves the interior orientation of the image that `meas` describes, with `camera`.
// On success returns true and fills `*solution` (replacing all it held); `*message` is left as
// it was. WriteResiduals then gives the record its residuals, if it is to keep them.
// On failure returns false, leaves `*solution` as it was, and, if `message` is not null,
// replaces `*message` with the localised reason:
// - the record is not ready: IntOrReady's message (a record ready with the warning that not
//   all fiducials were measured is solved, and the warning goes into the solution);
// - fewer distinct fiducials measured than the transform needs: "global.Err_IntOrTooFewAffine"
//   (3), "global.Err_IntOrTooFewProjective" (4); fewer than 2 is IntOrReady's;
// - a cross whose marks are not 1, 2, 3 and 4, each once: "global.Err_IntOrCrossMarks";
// - a CalibratedCross camera without positive lengths: "global.Err_IntOrCrossLengths";
// - a Digital camera without positive pixel size and sensor dimensions:
//   "global.Err_IntOrSensor";
// - a coordinate, resolution, length or pixel size that is not a finite number:
//   "global.Err_IntOrNotFinite";
// - marks that do not determine the transform (calibrated marks that coincide or lie on one
//   line, a cross arm of length 0 or two parallel arms, a projective fit whose horizon crosses
//   the marks): "global.Err_IntOrDegenerate";
// - a projective fit that has not converged within options.maxIterations:
//   "global.Err_IntOrNoConvergence".
// `solution` must not be null. Never throws for bad data.
VXCAMERAUTILS_EXPORT bool SolveIntOr(const TVxIntOrMeas& meas, const TVxCameraInfo& camera,
                                     const TVxIntOrSolveOptions& options,
                                     TVxIntOrSolution* solution, std::string* message);

// The same with the default options.
VXCAMERAUTILS_EXPORT bool SolveIntOr(const TVxIntOrMeas& meas, const TVxCameraInfo& camera,
                                     TVxIntOrSolution* solution, std::string* message);

// Sets every mark's residualsPix of a Fiducials record to its residual in `solution`, which
// SolveIntOr made from this record (one residual per mark, in the record's order); a record of
// another kind keeps only what its file keeps, and is left as it is. Throws
// std::invalid_argument, changing nothing, when the solution has not one residual per mark.
VXCAMERAUTILS_EXPORT void WriteResiduals(const TVxIntOrSolution& solution, TVxIntOrMeas* meas);
