// Fixed-size coefficient blocks of the records as NumPy views into the record itself.

#include <cstring>
#include <string>

#include "VxPyCommon.h"

namespace vxpy {

py::array_t<double> DoubleView(double* data, py::ssize_t n, py::handle owner) {
  return py::array_t<double>({n}, {static_cast<py::ssize_t>(sizeof(double))}, data, owner);
}

void AssignDoubles(double* data, py::ssize_t n, const py::sequence& values, const char* what) {
  if (py::len(values) != static_cast<std::size_t>(n)) {
    throw py::value_error(std::string(what) + " takes exactly " + std::to_string(n) +
                          " numbers, got " + std::to_string(py::len(values)));
  }
  std::vector<double> converted;
  converted.reserve(static_cast<std::size_t>(n));
  for (const py::handle item : values) {
    if (!py::isinstance<py::float_>(item) && !py::isinstance<py::int_>(item) &&
        !py::hasattr(item, "__float__")) {
      throw py::type_error(std::string(what) + " takes numbers, got " +
                           py::repr(item).cast<std::string>());
    }
    converted.push_back(py::float_(py::reinterpret_borrow<py::object>(item)).cast<double>());
  }
  // All converted before any is stored: a bad element leaves the record unchanged.
  std::memcpy(data, converted.data(), converted.size() * sizeof(double));
}

}  // namespace vxpy
