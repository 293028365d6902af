// Cameras in and out of other programs' calibration files (VxExchange): OpenCV, ROS, COLMAP and
// Metashape, as bytes in and bytes out; reading and writing the files is the caller's.

#include <Python.h>

#include <optional>
#include <string>

#include "VxExchange.h"
#include "VxPyCommon.h"

namespace vxpy {

namespace {

PyObject* gExchangeError = nullptr;

TVxExchangeFormat FormatOf(const std::string& text) {
  const std::optional<TVxExchangeFormat> format = TextToExchangeFormat(text);
  if (!format) throw py::value_error("unknown format '" + text + "'");
  return *format;
}

py::tuple Import(const py::bytes& content, const std::optional<std::string>& format,
                 double pixelSizeMm, const std::optional<std::uint64_t>& cameraId,
                 const std::string& path) {
  const std::string bytes = content;
  TVxExchangeOptions options;
  options.pixelSizeMm = pixelSizeMm;
  options.cameraId = cameraId;
  options.path = path;
  const TVxExchangeFormat chosen = format ? FormatOf(*format) : GuessExchangeFormatE(bytes, path);
  TVxImportResult result;
  {
    const py::gil_scoped_release release;
    result = ImportCameraE(bytes, chosen, options);
  }
  return py::make_tuple(result.camera, result.report);
}

py::tuple Export(const TVxCameraInfo& camera, const std::string& format, double pixelSizeMm,
                 double frameMm) {
  TVxExchangeOptions options;
  options.pixelSizeMm = pixelSizeMm;
  options.frameMm = frameMm;
  const TVxExchangeFormat chosen = FormatOf(format);
  const TVxCameraInfo copy = camera;
  TVxExportResult result;
  {
    const py::gil_scoped_release release;
    result = ExportCameraE(copy, chosen, options);
  }
  return py::make_tuple(py::bytes(result.content), result.report);
}

void Translate(std::exception_ptr p) {
  try {
    if (p) std::rethrow_exception(p);
  } catch (const TVxExchangeError& e) {
    PyErr_SetString(gExchangeError, e.what());
  }
}

}  // namespace

void BindExchange(py::module_& m) {
  const py::object base = m.attr("Error");
  gExchangeError = PyErr_NewExceptionWithDoc(
      "vxcameras.ExchangeError",
      "A calibration file of another program that cannot be imported, or a camera that cannot "
      "be exported; the message names the file, the key and the value.",
      base.ptr(), nullptr);
  if (gExchangeError == nullptr) throw py::error_already_set();
  m.add_object("ExchangeError", py::reinterpret_borrow<py::object>(gExchangeError));
  // Registered after the module's general translator, so tried before it.
  py::register_exception_translator(&Translate);

  py::class_<TVxExchangeReport>(m, "ExchangeReport",
                                "How a camera went across: exactly, or by a fit with its "
                                "largest deviation.")
      .def_readonly("fitted", &TVxExchangeReport::fitted,
                    "False for an exact conversion, True for a least-squares fit.")
      .def_readonly("model", &TVxExchangeReport::model,
                    "The format's model read or written, such as 'plumb_bob' or 'OPENCV'.")
      .def_readonly("max_deviation_px", &TVxExchangeReport::maxDeviationPx,
                    "The largest deviation of a fit over the sensor, pixels (0 when exact).")
      .def_readonly("max_deviation_mm", &TVxExchangeReport::maxDeviationMm,
                    "The same in millimetres of the camera system.")
      .def("__repr__", [](const TVxExchangeReport& r) {
        return "ExchangeReport(fitted=" + std::string(r.fitted ? "True" : "False") + ", model='" +
               r.model +
               "', max_deviation_px=" + py::repr(py::float_(r.maxDeviationPx)).cast<std::string>() +
               ")";
      });

  m.def(
      "exchange_formats",
      [] {
        py::list names;
        for (int f = 0; f <= static_cast<int>(TVxExchangeFormat::Metashape); ++f)
          names.append(ExchangeFormatToText(static_cast<TVxExchangeFormat>(f)));
        return names;
      },
      "The names of the formats: 'opencv-yaml', 'opencv-xml', 'ros', 'colmap-text', "
      "'colmap-bin', 'metashape'.");
  m.def("import_camera", &Import, py::arg("content"), py::arg("format") = py::none(), py::kw_only(),
        py::arg("pixel_size_mm"), py::arg("camera_id") = py::none(), py::arg("path") = "",
        "Imports the camera of a calibration file's bytes (read the file with open(path, 'rb')). "
        "`format` is one of exchange_formats(), or None to guess it from the content; "
        "pixel_size_mm is the sensor's pixel in mm (the formats hold pixels); camera_id chooses a "
        "COLMAP camera; `path` names the file in messages. Returns (Camera, ExchangeReport). "
        "Raises ExchangeError naming the key and value of what cannot be imported.");
  m.def("export_camera", &Export, py::arg("camera").none(false), py::arg("format"), py::kw_only(),
        py::arg("pixel_size_mm") = 0.0, py::arg("frame_mm") = 0.0,
        "Exports a camera as the bytes of a calibration file of `format` (write them with "
        "open(path, 'wb')). A film camera needs pixel_size_mm (the scan's pixel) and takes "
        "frame_mm, the side of its square frame (0: the square of its marks). Returns (bytes, "
        "ExchangeReport). Raises ExchangeError when the camera cannot be written.");
}

}  // namespace vxpy
