// The library throws TVxXIniReadError (a settings file that cannot be read, naming file, line,
// column and key), TVxXIniWriteError (a file that cannot be written), std::invalid_argument and
// std::runtime_error (content it refuses). Python code catches by class and reads the position
// from attributes, so the read error becomes vxcameras.ReadError with `file`, `line`, `column`
// and `key`; std::invalid_argument stays pybind11's ValueError and std::runtime_error becomes
// vxcameras.Error.

#include "VxPyErrors.h"

#include <Python.h>

#include <stdexcept>

#include "VxPyCommon.h"
#include "VxXIniTypes.h"

namespace vxpy {

namespace {

// New references, kept for the life of the process: the module holds them too, and an
// interpreter shutting down must not find them destroyed by a C++ static destructor.
PyObject* gError = nullptr;
PyObject* gReadError = nullptr;
PyObject* gWriteError = nullptr;
PyObject* gSolveError = nullptr;
PyObject* gFitError = nullptr;

PyObject* NewError(py::module_& m, const char* name, PyObject* base, const char* doc) {
  const std::string qualified = std::string("vxcameras.") + name;
  PyObject* type = PyErr_NewExceptionWithDoc(qualified.c_str(), doc, base, nullptr);
  if (type == nullptr) throw py::error_already_set();
  m.add_object(name, py::reinterpret_borrow<py::object>(type));
  return type;
}

void RaiseReadError(const TVxXIniReadError& e) {
  py::object error = py::reinterpret_borrow<py::object>(gReadError)(e.what());
  error.attr("file") = e.Source();
  error.attr("line") = e.Line();
  error.attr("column") = e.Column();
  error.attr("key") = e.KeyPath();
  PyErr_SetObject(gReadError, error.ptr());
}

void Translate(std::exception_ptr p) {
  try {
    if (p) std::rethrow_exception(p);
  } catch (const py::builtin_exception&) {
    // pybind11's own (value_error, type_error, cast errors) derive from std::runtime_error
    // too; they keep their Python classes.
    throw;
  } catch (const TVxXIniReadError& e) {
    RaiseReadError(e);
  } catch (const TVxXIniWriteError& e) {
    PyErr_SetString(gWriteError, e.what());
  } catch (const std::invalid_argument& e) {
    PyErr_SetString(PyExc_ValueError, e.what());
  } catch (const std::length_error& e) {
    PyErr_SetString(PyExc_ValueError, e.what());
  } catch (const std::runtime_error& e) {
    PyErr_SetString(gError, e.what());
  }
}

}  // namespace

void RaiseSolveError(const std::string& message) {
  PyErr_SetString(gSolveError, message.c_str());
  throw py::error_already_set();
}

void RaiseFitError(const std::string& message) {
  PyErr_SetString(gFitError, message.c_str());
  throw py::error_already_set();
}

void BindErrors(py::module_& m) {
  gError = NewError(m, "Error", PyExc_Exception,
                    "Base of the exceptions of vxcameras: content the library refuses.");
  gReadError = NewError(m, "ReadError", gError,
                        "A settings file that cannot be read or loaded. Attributes: file, line, "
                        "column (1-based; 0 when unknown) and key (the key path, or '').");
  gWriteError =
      NewError(m, "WriteError", gError, "A settings file that cannot be written or a bad value.");
  gSolveError = NewError(m, "SolveError", gError,
                         "Measurements whose interior orientation cannot be solved; the message "
                         "is the library's reason in the user's language.");
  gFitError = NewError(m, "FitError", gError, "A distortion that cannot be fitted.");
  py::register_exception_translator(&Translate);
}

}  // namespace vxpy
