// The enumerations of the records, with the library's own names. The kinds that the library
// leaves at 0 for "not set" get a member NotSet, so that such a record shows as it is.

#include "VxIntOrSolve.h"
#include "VxPyCommon.h"

namespace vxpy {

void BindEnums(py::module_& m) {
  py::enum_<TCameraType>(m, "CameraType", "The kind of interior orientation marks of a camera.")
      .value("NotSet", static_cast<TCameraType>(0))
      .value("PrincipalPoint", TCameraType::PrincipalPoint)
      .value("Cross", TCameraType::Cross)
      .value("CalibratedCross", TCameraType::CalibratedCross)
      .value("Fiducials", TCameraType::Fiducials)
      .value("Digital", TCameraType::Digital);

  py::enum_<TDistortionType>(m, "DistortionType", "The lens distortion model in force.")
      .value("None_", TDistortionType::None)
      .value("Formula", TDistortionType::Formula)
      .value("Radial", TDistortionType::Radial)
      .value("Directed4Plus", TDistortionType::Directed4Plus)
      .value("Directed4X", TDistortionType::Directed4X)
      .value("Directed8", TDistortionType::Directed8)
      .value("Mixed", TDistortionType::Mixed)
      .value("Polynomial", TDistortionType::Polynomial);

  py::enum_<TVxCameraDistortion::TDirection>(m, "Direction",
                                             "The sense in which a stored distortion maps.")
      .value("CamToMm", TVxCameraDistortion::TDirection::CamToMm)
      .value("MmToCam", TVxCameraDistortion::TDirection::MmToCam);

  py::enum_<TVxCameraInfo::TDigitalCameraOrigin>(
      m, "DigitalCameraOrigin", "Where the origin of a digital camera's pixel coordinates lies.")
      .value("Center", TVxCameraInfo::TDigitalCameraOrigin::Center)
      .value("LowerLeft", TVxCameraInfo::TDigitalCameraOrigin::LowerLeft)
      .value("UpperLeft", TVxCameraInfo::TDigitalCameraOrigin::UpperLeft);

  py::enum_<TResolutionUnits>(m, "ResolutionUnits", "The unit of a scan resolution.")
      .value("Mm", TResolutionUnits::Mm)
      .value("Dpi", TResolutionUnits::Dpi);

  py::enum_<TCamRotate>(m, "CamRotate",
                        "The rotation of a scanned image against the camera, counter-clockwise.")
      .value("NotSet", static_cast<TCamRotate>(0))
      .value("Rotate0", TCamRotate::Rotate0)
      .value("Rotate90", TCamRotate::Rotate90)
      .value("Rotate180", TCamRotate::Rotate180)
      .value("Rotate270", TCamRotate::Rotate270);

  py::enum_<TTransformType>(m, "TransformType",
                            "The planar transform fitted between measured and calibrated marks.")
      .value("Similarity", TTransformType::Similarity)
      .value("Affine", TTransformType::Affine)
      .value("Projective", TTransformType::Projective);

  py::enum_<TVxPixelYAxis>(m, "PixelYAxis", "Which way the y axis of pixel coordinates points.")
      .value("Down", TVxPixelYAxis::Down)
      .value("Up", TVxPixelYAxis::Up);

  py::enum_<TVxResidualSpace>(m, "ResidualSpace",
                              "Where a fiducial fit minimises the squared residuals.")
      .value("Pixels", TVxResidualSpace::Pixels)
      .value("Camera", TVxResidualSpace::Camera);
}

}  // namespace vxpy
