// TVxIntOrMeas as vxcameras.Measurements, with its marks and the two checks against a camera.

#include <optional>
#include <string>

#include "VxPyCommon.h"
#include "VxPyRecordList.h"
#include "VxPySettings.h"

namespace vxpy {

namespace {

using TMeas = TVxIntOrMeas;

// The library's checks answer with a bool and a localised message; Python gets both, the
// message None where the library gave none.
py::tuple CheckResult(bool ok, const std::string& message) {
  return py::make_tuple(ok, message.empty() ? py::object(py::none()) : py::cast(message));
}

void BindMark(py::module_& m) {
  py::class_<TMeas::TMarkMeas>(m, "MarkMeasurement", "One measured mark of an image.")
      .def(py::init([](std::int32_t index, const vec_t_<double, 2>& coordsPix,
                       const vec_t_<double, 2>& residualsPix) {
             return TMeas::TMarkMeas{index, coordsPix, residualsPix};
           }),
           py::arg("index") = 0, py::arg("coords_pix") = py::make_tuple(0.0, 0.0),
           py::arg("residuals_pix") = py::make_tuple(0.0, 0.0),
           "A mark: its number, its measured position and its residual, pixels.")
      .def_readwrite("index", &TMeas::TMarkMeas::index, "The mark's number.")
      .def_readwrite("coords_pix", &TMeas::TMarkMeas::coordsPix, "Measured position, pixels.")
      .def_readwrite("residuals_pix", &TMeas::TMarkMeas::residualsPix,
                     "Residual after the fit, pixels; (0, 0) when not known.")
      .def("__eq__",
           EqualityOf<TMeas::TMarkMeas>([](const TMeas::TMarkMeas& a, const TMeas::TMarkMeas& b) {
             return a.index == b.index && a.coordsPix == b.coordsPix &&
                    a.residualsPix == b.residualsPix;
           }))
      .def("__repr__", [](const TMeas::TMarkMeas& mark) {
        return py::str("MarkMeasurement(index={}, coords_pix={!r}, residuals_pix={!r})")
            .format(mark.index, py::cast(mark.coordsPix), py::cast(mark.residualsPix));
      });
  BindRecordList<std::vector<TMeas::TMarkMeas>>(m, "MarkMeasurementList",
                                                "The measured marks, in the order added or read.");
}

}  // namespace

void BindMeasurements(py::module_& m) {
  BindMark(m);
  auto cls =
      py::class_<TMeas>(m, "Measurements", "The interior orientation measurements of one image.");
  cls.def(py::init<>(), "Nothing measured.")
      .def_readwrite("camera_type", &TMeas::cameraType)
      .def_readwrite("marks", &TMeas::marks)
      .def_readwrite("scan_resolution", &TMeas::scanResolution,
                     "x, y in resolution_units (PrincipalPoint and Cross).")
      .def_readwrite("resolution_units", &TMeas::resolutionUnits)
      .def_readwrite("rotation", &TMeas::rotation)
      .def_readwrite("transform_type", &TMeas::transformType)
      .def(
          "verify",
          [](const TMeas& self, const TVxCameraInfo& camera) {
            std::string message;
            const bool ok = self.Verify(camera, &message);
            return CheckResult(ok, message);
          },
          py::arg("camera").none(false),
          "Whether the measurements are consistent with the camera: (ok, reason or None).")
      .def(
          "int_or_ready",
          [](const TMeas& self, const TVxCameraInfo& camera) {
            std::string message;
            const bool ok = self.IntOrReady(camera, &message);
            return CheckResult(ok, message);
          },
          py::arg("camera").none(false),
          "Whether the image can be oriented: (ok, reason or warning or None).")
      .def("__eq__", EqualityOf<TMeas>([](const TMeas& a, const TMeas& b) {
             return a.cameraType == b.cameraType && a.marks.size() == b.marks.size() &&
                    std::equal(a.marks.begin(), a.marks.end(), b.marks.begin(),
                               [](const TMeas::TMarkMeas& x, const TMeas::TMarkMeas& y) {
                                 return x.index == y.index && x.coordsPix == y.coordsPix &&
                                        x.residualsPix == y.residualsPix;
                               }) &&
                    a.scanResolution == b.scanResolution &&
                    a.resolutionUnits == b.resolutionUnits && a.rotation == b.rotation &&
                    a.transformType == b.transformType;
           }))
      .def("__repr__", [](const TMeas& meas) {
        return py::str("Measurements(camera_type={}, marks={}, rotation={}, transform_type={})")
            .format(py::cast(meas.cameraType), meas.marks.size(), py::cast(meas.rotation),
                    py::cast(meas.transformType));
      });
  DefSettingsIo<TMeas>(cls, "measurements");
}

}  // namespace vxpy
