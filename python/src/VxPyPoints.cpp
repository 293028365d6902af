#include "VxPyPoints.h"

#include <string>

namespace vxpy {

namespace {

// The batch call reads the array as consecutive points of two doubles.
static_assert(sizeof(vec_t_<double, 2>) == 2 * sizeof(double), "a point is two packed doubles");
static_assert(alignof(vec_t_<double, 2>) == alignof(double), "a point aligns as a double");

constexpr int kPyArrayCOrder = py::array::c_style;

std::string ShapeText(const py::array& a) {
  std::string text = "(";
  for (py::ssize_t i = 0; i < a.ndim(); ++i) {
    if (i > 0) text += ", ";
    text += std::to_string(a.shape(i));
  }
  if (a.ndim() == 1) text += ",";
  return text + ")";
}

bool IsRealNumbers(const py::dtype& dtype) {
  const char kind = dtype.kind();
  return kind == 'f' || kind == 'i' || kind == 'u';
}

// NumPy's flag of an array whose elements lie at addresses aligned for their type.
constexpr int kNpyArrayAligned = 0x0100;

// Whether the batch call can read or write the array where it lies: native float64, C order,
// aligned (a buffer viewed at an odd offset is not), shape (N, 2).
bool IsReadyFloat64(const py::array& a) {
  return a.dtype().is(py::dtype::of<double>()) && (a.flags() & kPyArrayCOrder) != 0 &&
         (a.flags() & kNpyArrayAligned) != 0 && a.ndim() == 2 && a.shape(1) == 2;
}

py::array AsArray(const py::handle& points) {
  if (points.is_none()) throw py::type_error("points must be an array of shape (N, 2), not None");
  if (py::isinstance<py::array>(points)) return py::reinterpret_borrow<py::array>(points);
  // NumPy's own reading of lists, tuples and buffers: nested sequences of numbers.
  return py::module_::import("numpy").attr("asarray")(points);
}

void CheckShapeAndKind(const py::array& a) {
  if (!IsRealNumbers(a.dtype())) {
    throw py::type_error("points must be real numbers, got an array of dtype " +
                         py::str(a.dtype()).cast<std::string>());
  }
  if (a.ndim() != 2 || a.shape(1) != 2) {
    throw py::value_error("points must have shape (N, 2), got " + ShapeText(a));
  }
}

bool Overlap(const void* a, std::size_t aBytes, const void* b, std::size_t bBytes) {
  const auto* pa = static_cast<const char*>(a);
  const auto* pb = static_cast<const char*>(b);
  return pa < pb + bBytes && pb < pa + aBytes;
}

}  // namespace

TPointsIn PointsIn(const py::handle& points) {
  py::array a = AsArray(points);
  CheckShapeAndKind(a);
  if (!IsReadyFloat64(a)) {
    // One conversion into a new C-ordered float64 array; NumPy raises MemoryError for one it
    // cannot allocate (a broadcast view of 10^12 points, say).
    a = py::module_::import("numpy").attr("ascontiguousarray")(a, "float64");
  }
  TPointsIn in;
  in.n = static_cast<std::size_t>(a.shape(0));
  in.data = static_cast<const vec_t_<double, 2>*>(a.data());
  in.array = std::move(a);
  return in;
}

TPointsOut PointsOut(const py::handle& out, const TPointsIn& in) {
  TPointsOut result;
  if (out.is_none()) {
    result.array = py::array_t<double>({static_cast<py::ssize_t>(in.n), py::ssize_t{2}});
  } else {
    if (!py::isinstance<py::array>(out)) throw py::type_error("out must be a NumPy array");
    auto a = py::reinterpret_borrow<py::array>(out);
    if (!IsReadyFloat64(a) || static_cast<std::size_t>(a.shape(0)) != in.n) {
      throw py::value_error("out must be a C-ordered float64 array of shape (" +
                            std::to_string(in.n) + ", 2), got dtype " +
                            py::str(a.dtype()).cast<std::string>() + " and shape " + ShapeText(a) +
                            (a.ndim() == 2 ? " (or not C-ordered and aligned)" : ""));
    }
    if (!a.writeable()) throw py::value_error("out is read-only");
    // The batch call maps in place, or between arrays apart: never partly overlapping ones.
    const std::size_t bytes = in.n * sizeof(vec_t_<double, 2>);
    if (a.data() != in.data && Overlap(a.data(), bytes, in.data, bytes)) {
      throw py::value_error("out overlaps the points without being the same array");
    }
    result.array = py::reinterpret_borrow<py::array_t<double>>(out);
  }
  result.data = static_cast<vec_t_<double, 2>*>(static_cast<void*>(result.array.mutable_data()));
  return result;
}

}  // namespace vxpy
