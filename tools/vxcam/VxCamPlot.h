#pragma once
// The picture of a camera's distortion as a calibration report shows it, as a plain SVG text:
// left the radial distortion curve (micrometres against millimetres from the centre, the mean
// over 16 directions), right the displacement field over the image format as arrows with a
// scale arrow, the fiducial marks and the principal point; for a solved scan, its residuals.

#include <string>

#include "VxCamSolution.h"
#include "VxCameraInfo.h"

namespace vxcam {

// The image format as the camera describes it: half sizes in mm around the camera origin. Marks:
// the box of the fiducials; Digital: sensor size times pixel size; CalibratedCross: half the
// cross lengths; otherwise (or when that is empty) the 230 mm square of aerial film.
struct TImageFormat {
  double halfX = 115.0;
  double halfY = 115.0;
};
TImageFormat ImageFormatOf(const TVxCameraInfo& camera);

// The SVG text. Labels in the language in force. With `scan`, the field also shows the residuals
// of its solved marks as arrows at the marks, on a scale of their own (orange above the residual
// limit). Throws what the geometry library throws for a distortion it refuses.
std::string PlotCameraSvg(const TVxCameraInfo& camera, const TSolvedScan* scan = nullptr);

}  // namespace vxcam
