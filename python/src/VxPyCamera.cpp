// TVxCameraInfo as vxcameras.Camera, with its fiducial marks, default cameras and user texts.

#include "VxPyCommon.h"
#include "VxPyRecordList.h"
#include "VxPySettings.h"

namespace vxpy {

namespace {

using TCam = TVxCameraInfo;

void BindFiducial(py::module_& m) {
  py::class_<TCam::TFiducial>(m, "Fiducial", "One fiducial mark of a camera.")
      .def(py::init([](std::int32_t index, const vec_t_<double, 2>& coordsCam,
                       std::int32_t templateIndex) {
             return TCam::TFiducial{index, coordsCam, templateIndex};
           }),
           py::arg("index") = 0, py::arg("coords_cam") = py::make_tuple(0.0, 0.0),
           py::arg("template_index") = 0,
           "A mark: its number, its calibrated position (mm) and its template's index.")
      .def_readwrite("index", &TCam::TFiducial::index, "The mark's number.")
      .def_readwrite("coords_cam", &TCam::TFiducial::coordsCam,
                     "The calibrated position, mm in the camera system.")
      .def_readwrite("template_index", &TCam::TFiducial::templateIndex,
                     "Which template of the camera's set shows the mark.")
      .def("__eq__",
           EqualityOf<TCam::TFiducial>([](const TCam::TFiducial& a, const TCam::TFiducial& b) {
             return a.index == b.index && a.coordsCam == b.coordsCam &&
                    a.templateIndex == b.templateIndex;
           }))
      .def("__repr__", [](const TCam::TFiducial& f) {
        return py::str("Fiducial(index={}, coords_cam={!r}, template_index={})")
            .format(f.index, py::cast(f.coordsCam), f.templateIndex);
      });
  BindRecordList<std::vector<TCam::TFiducial>>(m, "FiducialList",
                                               "The fiducial marks of a camera, in stored order.");
}

void BindUserTexts(py::module_& m) {
  m.def("camera_type_text", &CameraTypeToUserText, py::arg("value"),
        "The name of a camera type in the user's language; '\?\?\?' outside the enumeration.");
  m.def("distortion_type_text", &DistortionTypeToUserText, py::arg("value"),
        "The name of a distortion model in the user's language.");
  m.def("direction_text", &TVxCameraDistortion::DirectionToUserText, py::arg("value"),
        "The name of a distortion's sense in the user's language.");
}

}  // namespace

void BindCamera(py::module_& m) {
  BindFiducial(m);
  auto cls = py::class_<TCam>(m, "Camera",
                              "A survey camera as its calibration report describes it. Lengths "
                              "in mm of the camera system, sensor sizes in pixels.");
  cls.def(py::init<>(), "An empty record: no type, no distortion, every number zero.")
      .def_readwrite("name", &TCam::name)
      .def_readwrite("calibration_date", &TCam::calibrationDate)
      .def_readwrite("description", &TCam::description, "Multi-line; CRLF line ends.")
      .def_readwrite("fiducial_template_id", &TCam::fiducialTemplateId)
      .def_readwrite("camera_type", &TCam::cameraType)
      .def_readwrite("distortion", &TCam::distortion)
      .def_readwrite("focus", &TCam::focus, "Calibrated focal length, mm.")
      .def_readwrite("principal_point", &TCam::principalPoint, "mm")
      .def_readwrite("pixel_size", &TCam::pixelSize, "mm per pixel along x and y (Digital).")
      .def_readwrite("length_x", &TCam::lengthX, "Calibrated cross length along x, mm.")
      .def_readwrite("length_y", &TCam::lengthY, "Calibrated cross length along y, mm.")
      .def_readwrite("sensor_dims", &TCam::sensorDims, "Pixels (Digital).")
      .def_readwrite("fiducials", &TCam::fiducials, "The fiducial marks, in stored order.")
      .def_readwrite("digital_camera_origin", &TCam::digitalCameraOrigin)
      .def("reset", &TCam::Reset, "Back to the state of a new record.")
      .def_static("default", &CreateDefaultCamera, "A digital camera to fill in.")
      .def_static("default_dmc", &CreateDefaultDMCCamera,
                  "The DMC: 120 mm, 7680 x 13824 pixels of 0.012 mm; name in the user's "
                  "language.")
      .def("__eq__", EqualityOf<TCam>([](const TCam& a, const TCam& b) { return a == b; }))
      .def("__repr__", [](const TCam& c) {
        return py::str(
                   "Camera(name={!r}, camera_type={}, focus={!r}, principal_point={!r}, "
                   "fiducials={}, distortion={})")
            .format(c.name, py::cast(c.cameraType), c.focus, py::cast(c.principalPoint),
                    c.fiducials.size(), py::cast(c.distortion).attr("type"));
      });
  DefSettingsIo<TCam>(cls, "camera");
  BindUserTexts(m);
}

}  // namespace vxpy
