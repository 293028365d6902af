#pragma once
// What every file of the Python module shares: pybind11 with its NumPy and STL support, the
// vectors of records bound as opaque lists (so that `camera.fiducials.append(...)` changes the
// camera, not a copy), points as tuples, and the functions that bind one area each.

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>
#include <pybind11/stl/filesystem.h>

#include <vector>

#include "VxCameraInfo.h"
#include "VxIntOrMeas.h"
#include "VxVec.h"

PYBIND11_MAKE_OPAQUE(std::vector<TVxCameraInfo::TFiducial>)
PYBIND11_MAKE_OPAQUE(std::vector<TVxCameraDistortion::TRadialDistortion>)
PYBIND11_MAKE_OPAQUE(std::vector<TVxCameraDistortion::T4Direction>)
PYBIND11_MAKE_OPAQUE(std::vector<TVxIntOrMeas::TMarkMeas>)
PYBIND11_MAKE_OPAQUE(std::vector<TCameraMarkTemplates::TMarkTemplate>)

using TVxPyPoint = vec_t_<double, 2>;  // one name: a macro argument cannot hold the comma

namespace pybind11::detail {

// A point of the plane is a tuple (x, y) in Python; any sequence of two numbers converts back.
template <>
struct type_caster<TVxPyPoint> {
  PYBIND11_TYPE_CASTER(TVxPyPoint, const_name("tuple[float, float]"));

  bool load(handle src, bool convert) {
    if (!isinstance<sequence>(src) || isinstance<str>(src)) return false;
    const auto seq = reinterpret_borrow<sequence>(src);
    if (seq.size() != 2) return false;
    make_caster<double> x;
    make_caster<double> y;
    if (!x.load(seq[0], convert) || !y.load(seq[1], convert)) return false;
    value = vec_t_<double, 2>(cast_op<double>(x), cast_op<double>(y));
    return true;
  }

  static handle cast(const vec_t_<double, 2>& p, return_value_policy, handle) {
    return make_tuple(p.x, p.y).release();
  }
};

// Sensor sizes and template half sizes: a tuple (x, y) of non-negative integers.
template <>
struct type_caster<TVxSize2> {
  PYBIND11_TYPE_CASTER(TVxSize2, const_name("tuple[int, int]"));

  bool load(handle src, bool convert) {
    if (!isinstance<sequence>(src) || isinstance<str>(src)) return false;
    const auto seq = reinterpret_borrow<sequence>(src);
    if (seq.size() != 2) return false;
    make_caster<std::uint64_t> x;
    make_caster<std::uint64_t> y;
    if (!x.load(seq[0], convert) || !y.load(seq[1], convert)) return false;
    value.x = cast_op<std::uint64_t>(x);
    value.y = cast_op<std::uint64_t>(y);
    return true;
  }

  static handle cast(const TVxSize2& s, return_value_policy, handle) {
    return make_tuple(s.x, s.y).release();
  }
};

}  // namespace pybind11::detail

namespace vxpy {

namespace py = pybind11;

void BindErrors(py::module_& m);
void BindEnums(py::module_& m);
void BindDistortion(py::module_& m);
void BindCamera(py::module_& m);
void BindMeasurements(py::module_& m);
void BindMarkTemplates(py::module_& m);
void BindTransforms(py::module_& m);
void BindSolve(py::module_& m);
void BindCameraMath(py::module_& m);
void BindLanguage(py::module_& m);
void BindExchange(py::module_& m);

// A writable NumPy view of `n` doubles inside the record that `owner` holds, which the view keeps
// alive: `distortion.poly_k[2] = 1e-9` changes the record.
py::array_t<double> DoubleView(double* data, py::ssize_t n, py::handle owner);
// Copies exactly `n` numbers of a sequence into `data`; a sequence of another length raises
// ValueError naming `what`, and leaves `data` unchanged.
void AssignDoubles(double* data, py::ssize_t n, const py::sequence& values, const char* what);

}  // namespace vxpy

namespace vxpy {

// __eq__ of a record class: NotImplemented for an object of another class (None included), so
// that `camera == None` is False rather than an error.
template <class T, class Eq>
auto EqualityOf(Eq eq) {
  return [eq](const T& a, const py::object& b) -> py::object {
    if (!py::isinstance<T>(b)) return py::reinterpret_borrow<py::object>(Py_NotImplemented);
    return py::bool_(eq(a, b.cast<const T&>()));
  };
}

// The default equality of a record that has operator==.
template <class T>
auto EqualityOf() {
  return EqualityOf<T>([](const T& a, const T& b) { return a == b; });
}

}  // namespace vxpy
