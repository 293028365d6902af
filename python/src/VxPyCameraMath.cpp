// The fit of the formula or mixed model (ApproxCameraDistortion) and the distortion multiplier.

#include <limits>
#include <optional>
#include <string>

#include "VxCameraMath.h"
#include "VxPyErrors.h"
#include "VxPyTransforms.h"
#include "VxResources.h"

namespace vxpy {

namespace {

std::string FitFailedText() {
  const std::string* text = nullptr;
  if (LoadResString("VxCameraUtils", "vxcam.error.fit_failed", &text)) return *text;
  return "this distortion cannot be fitted";
}

// (fitted distortion, largest deviation in mm).
py::tuple Fit(const TVxCameraInfo& camera, TDistortionType type, double maxRadius,
              const TPyTransform* source) {
  const TVxCameraInfo cameraCopy = camera;
  TVxCameraDistortion result;
  double deviation = std::numeric_limits<double>::quiet_NaN();
  bool fitted = false;
  {
    const py::gil_scoped_release release;
    fitted = source != nullptr
                 ? ApproxCameraDistortion(*source->handle, type, &result, cameraCopy, maxRadius,
                                          &deviation)
                 : ApproxCameraDistortion(type, &result, cameraCopy, maxRadius, &deviation);
  }
  if (!fitted) RaiseFitError(FitFailedText());
  return py::make_tuple(result, deviation);
}

}  // namespace

void BindCameraMath(py::module_& m) {
  m.def("fit_distortion", &Fit, py::arg("camera").none(false), py::arg("type"),
        py::arg("max_radius") = 0.0, py::arg("source") = py::none(),
        "Fits the Formula or Mixed model: to the camera's own distortion (exactly where the "
        "model can hold it), or to `source`, a Transform, over the disc of radius max_radius "
        "(mm). Returns (distortion, largest deviation in mm). Raises FitError when the library "
        "cannot fit.");
  m.def(
      "apply_distortion_multiplier",
      [](TVxCameraDistortion& distortion, double multiplier) {
        ApplyDistortionMultiplier(&distortion, multiplier);
      },
      py::arg("distortion").none(false), py::arg("multiplier"),
      "Multiplies every linear coefficient of the distortion by `multiplier`, in place.");
}

}  // namespace vxpy
