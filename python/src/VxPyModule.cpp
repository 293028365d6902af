// vxcameras._vxcameras: the compiled extension inside the vxcameras package. Each area binds itself
// in a file of its own; this file only starts the library and calls them.

#include "VxCameraUtils.h"
#include "VxPyCommon.h"

PYBIND11_MODULE(_vxcameras, m) {
  m.doc() = "Survey cameras, lens distortion and interior orientation: VxCameraUtils in Python.";
  // Started once for the life of the process: the interpreter never unloads an extension, and a
  // stop at exit could run after the libraries it needs are gone.
  Init_VxCameraUtils();
  vxpy::BindErrors(m);
  vxpy::BindEnums(m);
  vxpy::BindDistortion(m);
  vxpy::BindCamera(m);
  vxpy::BindMeasurements(m);
  vxpy::BindMarkTemplates(m);
  vxpy::BindTransforms(m);
  vxpy::BindSolve(m);
  vxpy::BindCameraMath(m);
  vxpy::BindLanguage(m);
  vxpy::BindExchange(m);
}
