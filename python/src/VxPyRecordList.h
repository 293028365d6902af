#pragma once
// The vectors of records (a camera's fiducials, a scan's marks, the distortion tables, the mark
// templates) as Python lists that belong to their record: appending, inserting, assigning and
// deleting change the record. Elements are handed out as copies, never as references into the
// vector: a reference would dangle once the vector grows or shrinks, and writing through it would
// corrupt the heap. Change an element by assigning it back: `marks[0] = mark`.

#include <string>
#include <vector>

#include "VxPyCommon.h"

namespace vxpy {

namespace detail {

// Python's index rules: negative counts from the end; out of range is IndexError.
template <class V>
std::size_t Index(const V& v, py::ssize_t i) {
  const auto n = static_cast<py::ssize_t>(v.size());
  if (i < 0) i += n;
  if (i < 0 || i >= n) throw py::index_error("list index out of range");
  return static_cast<std::size_t>(i);
}

// An element of an iterable as a T; TypeError, not pybind11's RuntimeError, for another type.
template <class T>
T ItemAs(const py::handle& item) {
  if (!py::isinstance<T>(item)) {
    throw py::type_error(
        "expected " + py::str(py::type::of<T>().attr("__name__")).cast<std::string>() + ", got " +
        py::str(py::type::handle_of(item).attr("__name__")).cast<std::string>());
  }
  return item.cast<T>();
}

}  // namespace detail

template <class V>
void BindRecordList(py::module_& m, const char* name, const char* doc) {
  using T = typename V::value_type;
  py::class_<V>(m, name, doc)
      .def(py::init<>(), "An empty list.")
      .def(py::init([](const py::iterable& items) {
             V v;
             for (const py::handle item : items) v.push_back(detail::ItemAs<T>(item));
             return v;
           }),
           py::arg("items"), "A list of the given elements (copies).")
      .def("__len__", [](const V& v) { return v.size(); })
      .def("__bool__", [](const V& v) { return !v.empty(); })
      .def(
          "__getitem__", [](const V& v, py::ssize_t i) { return v[detail::Index(v, i)]; },
          py::arg("i"))
      .def(
          "__setitem__",
          [](V& v, py::ssize_t i, const T& value) { v[detail::Index(v, i)] = value; }, py::arg("i"),
          py::arg("value").none(false))
      .def(
          "__delitem__",
          [](V& v, py::ssize_t i) {
            v.erase(v.begin() + static_cast<std::ptrdiff_t>(detail::Index(v, i)));
          },
          py::arg("i"))
      .def("__iter__",
           [](const V& v) {
             // Over copies taken now: the record may change while the loop runs.
             py::list copies;
             for (const T& item : v) copies.append(py::cast(item));
             return py::iter(copies);
           })
      .def(
          "append", [](V& v, const T& value) { v.push_back(value); }, py::arg("value").none(false),
          "Appends a copy of the element.")
      .def(
          "extend",
          [](V& v, const py::iterable& items) {
            V added;
            for (const py::handle item : items) added.push_back(detail::ItemAs<T>(item));
            v.insert(v.end(), added.begin(), added.end());
          },
          py::arg("items"), "Appends copies of the elements; a bad one leaves the list as it was.")
      .def(
          "insert",
          [](V& v, py::ssize_t i, const T& value) {
            const auto n = static_cast<py::ssize_t>(v.size());
            if (i < 0) i = std::max<py::ssize_t>(0, i + n);
            i = std::min(i, n);
            v.insert(v.begin() + static_cast<std::ptrdiff_t>(i), value);
          },
          py::arg("i"), py::arg("value").none(false), "Inserts a copy of the element before i.")
      .def(
          "pop",
          [](V& v, py::ssize_t i) {
            const std::size_t at = detail::Index(v, i);
            T value = v[at];
            v.erase(v.begin() + static_cast<std::ptrdiff_t>(at));
            return value;
          },
          py::arg("i") = -1, "Removes the element at i (the last by default) and returns it.")
      .def(
          "clear", [](V& v) { v.clear(); }, "Removes every element.")
      .def("__repr__", [name](const V& v) {
        py::list copies;
        for (const T& item : v) copies.append(py::cast(item));
        return std::string(name) + "(" + py::repr(copies).cast<std::string>() + ")";
      });
  py::implicitly_convertible<py::iterable, V>();
}

}  // namespace vxpy
