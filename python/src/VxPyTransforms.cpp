// The batch call of the geometry library on NumPy arrays. The GIL is released while points are
// mapped, so other Python threads run (and may map points of their own) meanwhile; the arrays
// stay referenced until the call returns.

#include "VxPyTransforms.h"

#include <cmath>
#include <cstddef>
#include <limits>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "VxCameraMath.h"
#include "VxCombinedTransform.h"
#include "VxDistortionModels.h"
#include "VxPyChunks.h"
#include "VxPyPoints.h"
#include "VxTransformGrid.h"

namespace vxpy {

namespace {

TPyTransform Held(TransformHandle handle) {
  if (!handle) throw std::logic_error("the library returned no transform");
  return TPyTransform{std::move(handle)};
}

// (result, number of NaN results).
std::pair<py::array_t<double>, std::size_t> Apply(const TPyTransform& t, const py::handle& points,
                                                  const py::handle& out, int threads) {
  if (threads < 0) throw py::value_error("threads must be 0 (every core) or more");
  const TPointsIn in = PointsIn(points);
  TPointsOut result = PointsOut(out, in);
  std::size_t nanCount = 0;
  {
    const py::gil_scoped_release release;
    nanCount = TransformInChunks(*t.handle, in.data, result.data, in.n, threads);
  }
  return {std::move(result.array), nanCount};
}

// The points (x0 + i dx, y0 + j dy) of a grid of `columns` x `rows`, mapped into a new
// (rows, columns, 2) array: (result, number of NaN results). The points are generated inside the
// library's loop, with no array of inputs.
std::pair<py::array_t<double>, std::size_t> Grid(const TPyTransform& t, std::size_t columns,
                                                 std::size_t rows, double x0, double y0, double dx,
                                                 double dy) {
  constexpr std::size_t largest = std::numeric_limits<py::ssize_t>::max() / (2 * sizeof(double));
  if (columns != 0 && rows > largest / columns) {
    throw py::value_error("a grid of " + std::to_string(columns) + " x " + std::to_string(rows) +
                          " points is larger than an array can be");
  }
  py::array_t<double> result({rows, columns, std::size_t{2}});
  const TVxPointGrid grid{x0, y0, dx, dy, columns, rows};
  // vec_t_ is two packed doubles: the array's memory holds the points as the library writes them.
  auto* out = reinterpret_cast<vec_t_<double, 2>*>(result.mutable_data());
  std::size_t nanCount = 0;
  {
    const py::gil_scoped_release release;
    nanCount = TransformGrid(*t.handle, grid, out);
  }
  return {std::move(result), nanCount};
}

TPyTransform Chain(const std::vector<const TPyTransform*>& members) {
  // The library combines a fixed list; a longer chain nests pairs, which maps the same.
  TransformHandle chained = MakeCombinedTransformHandle({});
  for (const TPyTransform* member : members) {
    if (member == nullptr) throw py::type_error("chain takes Transform objects, not None");
    chained = MakeCombinedTransformHandle({chained.get(), member->handle.get()});
  }
  return Held(std::move(chained));
}

// A camera whose focal length, principal point or distortion holds NaN or an infinity would map
// every point to NaN; Python callers get the number named instead.
void RequireFiniteCamera(const TVxCameraInfo& camera) {
  const auto fail = [](const std::string& what) {
    throw py::value_error("the camera's " + what + " is not a finite number");
  };
  if (!std::isfinite(camera.focus)) fail("focus");
  if (!std::isfinite(camera.principalPoint.x) || !std::isfinite(camera.principalPoint.y))
    fail("principal_point");
  if (const auto name = FirstNonFiniteValue(camera.distortion)) fail("distortion/" + *name);
}

}  // namespace

void BindTransforms(py::module_& m) {
  py::class_<TPyTransform>(m, "Transform",
                           "A planar transform of the library, immutable; made by cam_to_mm, "
                           "mm_to_cam, chain or a Solution.")
      .def_static(
          "cam_to_mm",
          [](const TVxCameraInfo& camera) {
            RequireFiniteCamera(camera);
            return Held(CreateCamToMmTransform(camera));
          },
          py::arg("camera").none(false),
          "Camera coordinates (mm) to image millimetres relative to the principal point, "
          "corrected for the camera's distortion. Raises ValueError for a camera with a number "
          "that is not finite (naming it) and for a distortion that cannot be built.")
      .def_static(
          "mm_to_cam",
          [](const TVxCameraInfo& camera) {
            RequireFiniteCamera(camera);
            return Held(CreateMmToCamTransform(camera));
          },
          py::arg("camera").none(false),
          "The inverse of cam_to_mm; points where the inverse does not converge map to NaN.")
      .def_static("chain", &Chain, py::arg("transforms"),
                  "The transforms applied one after the other, the first given first.")
      .def_property_readonly(
          "name", [](const TPyTransform& t) { return std::string(t.handle->Name()); },
          "A short English name of the transform's kind.")
      .def_property_readonly(
          "is_identity", [](const TPyTransform& t) { return t.handle->IsIdentity(); },
          "True when the transform maps every point onto itself.")
      .def(
          "point",
          [](const TPyTransform& t, const vec_t_<double, 2>& p) {
            return t.handle->TransformPoint(p);
          },
          py::arg("p"), "Maps one point (x, y); NaN in both coordinates where it cannot.")
      .def(
          "apply",
          [](const TPyTransform& t, const py::handle& points, const py::handle& out, int threads) {
            return Apply(t, points, out, threads);
          },
          py::arg("points"), py::arg("out") = py::none(), py::arg("threads") = 1,
          "Maps an (N, 2) array of points: (result, number of points that came out NaN). A "
          "C-ordered float64 array is read where it lies; other array-likes of real numbers "
          "are converted once. `out`, a writable C-ordered float64 (N, 2) array (the input "
          "itself for in place), receives the result; by default a new array does. The GIL "
          "is released meanwhile. threads > 1 (0: every core) cuts a large array into chunks "
          "mapped at once by the module's threads, started once and reused; the result is the "
          "same bit for bit.")
      .def("grid", &Grid, py::arg("columns"), py::arg("rows"), py::arg("x0") = 0.0,
           py::arg("y0") = 0.0, py::arg("dx") = 1.0, py::arg("dy") = 1.0,
           "Maps every point (x0 + i dx, y0 + j dy) of a grid of columns x rows, such as the pixel "
           "centres of a frame, without an array of inputs: (array of shape (rows, columns, 2), "
           "number of points that came out NaN). Each point has the bits of point(). The GIL is "
           "released meanwhile.")
      .def(
          "__call__",
          [](const TPyTransform& t, const py::handle& points, const py::handle& out, int threads) {
            return Apply(t, points, out, threads).first;
          },
          py::arg("points"), py::arg("out") = py::none(), py::arg("threads") = 1,
          "Maps an (N, 2) array of points as apply() does and returns the result only.")
      .def("__repr__", [](const TPyTransform& t) {
        return py::str("Transform(name={!r})").format(std::string(t.handle->Name()));
      });
}

}  // namespace vxpy
