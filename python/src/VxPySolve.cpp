// SolveIntOr and what it gives back: the options, the solution with its residuals as NumPy
// arrays, its warnings and the solved map; WriteResiduals.

#include <string>
#include <vector>

#include "VxIntOrSolve.h"
#include "VxPyErrors.h"
#include "VxPySettings.h"
#include "VxPyTransforms.h"

namespace vxpy {

namespace {

// An (N, 2) array of one point member of every residual.
py::array_t<double> ResidualColumn(const std::vector<TVxIntOrMarkResidual>& residuals,
                                   vec_t_<double, 2> TVxIntOrMarkResidual::*member) {
  py::array_t<double> a({static_cast<py::ssize_t>(residuals.size()), py::ssize_t{2}});
  auto view = a.mutable_unchecked<2>();
  for (std::size_t i = 0; i < residuals.size(); ++i) {
    const auto row = static_cast<py::ssize_t>(i);
    view(row, 0) = (residuals[i].*member).x;
    view(row, 1) = (residuals[i].*member).y;
  }
  return a;
}

void BindOptions(py::module_& m) {
  py::class_<TVxIntOrSolveOptions>(m, "SolveOptions", "What the caller may set for solve().")
      .def(py::init([](TVxPixelYAxis pixelYAxis, TVxResidualSpace minimise, double residualLimitUm,
                       int maxIterations) {
             TVxIntOrSolveOptions options;
             options.pixelYAxis = pixelYAxis;
             options.minimise = minimise;
             options.residualLimitUm = residualLimitUm;
             options.maxIterations = maxIterations;
             return options;
           }),
           py::arg("pixel_y_axis") = TVxPixelYAxis::Down,
           py::arg("minimise") = TVxResidualSpace::Pixels, py::arg("residual_limit_um") = 0.0,
           py::arg("max_iterations") = TVxIntOrSolveOptions().maxIterations,
           "Options; residual_limit_um <= 0 lets the library choose the limit from the RMS.")
      .def_readwrite("pixel_y_axis", &TVxIntOrSolveOptions::pixelYAxis)
      .def_readwrite("minimise", &TVxIntOrSolveOptions::minimise)
      .def_readwrite("residual_limit_um", &TVxIntOrSolveOptions::residualLimitUm)
      .def_readwrite("max_iterations", &TVxIntOrSolveOptions::maxIterations)
      .def("__repr__", [](const TVxIntOrSolveOptions& o) {
        return py::str(
                   "SolveOptions(pixel_y_axis={}, minimise={}, residual_limit_um={!r}, "
                   "max_iterations={})")
            .format(py::cast(o.pixelYAxis), py::cast(o.minimise), o.residualLimitUm,
                    o.maxIterations);
      });
}

void BindMap(py::module_& m) {
  auto cls = py::class_<TVxPixToCamMap>(
      m, "PixToCamMap",
      "A solved pixel-to-camera map as coefficients m0..m8: w = m6 x + m7 y + m8, "
      "x_mm = (m0 x + m1 y + m2) / w, y_mm = (m3 x + m4 y + m5) / w.");
  cls.def(py::init<>(), "The identity, pixel y down.")
      .def_property(
          "matrix",
          [](py::object self) {
            auto& map = self.cast<TVxPixToCamMap&>();
            return DoubleView(map.matrix.data(), 9, self);
          },
          [](TVxPixToCamMap& map, const py::sequence& values) {
            AssignDoubles(map.matrix.data(), 9, values, "matrix");
          },
          "m0..m8 (a NumPy view).")
      .def_readwrite("pixel_y_axis", &TVxPixToCamMap::pixelYAxis)
      .def_readwrite("minimised_in", &TVxPixToCamMap::minimisedIn)
      .def("is_affine", &TVxPixToCamMap::IsAffine, "Whether (m6, m7, m8) = (0, 0, 1).")
      .def("inverse_matrix", &TVxPixToCamMap::InverseMatrix,
           "The camera-to-pixel matrix; ValueError for a singular or non-finite map.")
      .def(
          "pix_to_cam",
          [](const TVxPixToCamMap& map) { return TPyTransform{map.CreatePixToCam()}; },
          "The map as a Transform.")
      .def(
          "cam_to_pix",
          [](const TVxPixToCamMap& map) { return TPyTransform{map.CreateCamToPix()}; },
          "Its inverse as a Transform.")
      .def("__repr__", [](py::object self) {
        const auto& map = self.cast<const TVxPixToCamMap&>();
        return py::str("PixToCamMap(matrix={}, pixel_y_axis={}, minimised_in={})")
            .format(self.attr("matrix").attr("tolist")(), py::cast(map.pixelYAxis),
                    py::cast(map.minimisedIn));
      });
  DefSettingsIo<TVxPixToCamMap>(cls, "pixel-to-camera map");
}

void BindResidualAndWarning(py::module_& m) {
  py::class_<TVxIntOrMarkResidual>(m, "MarkResidual",
                                   "The residual of one mark: predicted minus measured.")
      .def_readonly("index", &TVxIntOrMarkResidual::index)
      .def_readonly("coords_pix", &TVxIntOrMarkResidual::coordsPix)
      .def_readonly("residual_pix", &TVxIntOrMarkResidual::residualPix)
      .def_readonly("residual_um", &TVxIntOrMarkResidual::residualUm)
      .def_readonly("length_pix", &TVxIntOrMarkResidual::lengthPix)
      .def_readonly("length_um", &TVxIntOrMarkResidual::lengthUm)
      .def_readonly("above_limit", &TVxIntOrMarkResidual::aboveLimit)
      .def("__repr__", [](const TVxIntOrMarkResidual& r) {
        return py::str("MarkResidual(index={}, residual_pix={!r}, residual_um={!r})")
            .format(r.index, py::cast(r.residualPix), py::cast(r.residualUm));
      });
  py::class_<TVxIntOrWarning>(m, "SolveWarning", "A warning of a solution.")
      .def_readonly("key", &TVxIntOrWarning::key, "The resource key.")
      .def_readonly("text", &TVxIntOrWarning::text, "The text in the user's language.")
      .def_readonly("mark_index", &TVxIntOrWarning::markIndex, "The mark it names, or None.")
      .def("__repr__", [](const TVxIntOrWarning& w) {
        return py::str("SolveWarning(key={!r}, mark_index={!r})")
            .format(w.key, py::cast(w.markIndex));
      });
}

void BindSolution(py::module_& m) {
  using S = TVxIntOrSolution;
  py::class_<S>(m, "Solution", "The solved interior orientation of one image.")
      .def_property_readonly(
          "pix_to_cam", [](const S& s) { return TPyTransform{s.pixToCam}; },
          "Pixels to camera millimetres.")
      .def_property_readonly(
          "cam_to_pix", [](const S& s) { return TPyTransform{s.camToPix}; },
          "Camera millimetres to pixels.")
      .def_readonly("map", &S::map)
      .def_readonly("scale_x_um", &S::scaleXUm)
      .def_readonly("scale_y_um", &S::scaleYUm)
      .def_readonly("rotation_deg", &S::rotationDeg)
      .def_readonly("fitted_rotation", &S::fittedRotation)
      .def_readonly("shear_deg", &S::shearDeg)
      .def_readonly("mirrored", &S::mirrored)
      .def_readonly("perspective", &S::perspective)
      .def_readonly("origin_pix", &S::originPix)
      .def_readonly("residuals", &S::residuals, "One MarkResidual a measured mark.")
      .def_property_readonly(
          "mark_indices",
          [](const S& s) {
            py::array_t<std::int32_t> a(static_cast<py::ssize_t>(s.residuals.size()));
            for (std::size_t i = 0; i < s.residuals.size(); ++i) {
              a.mutable_at(static_cast<py::ssize_t>(i)) = s.residuals[i].index;
            }
            return a;
          },
          "The marks' indices, in the order of the residual arrays.")
      .def_property_readonly(
          "coords_pix",
          [](const S& s) { return ResidualColumn(s.residuals, &TVxIntOrMarkResidual::coordsPix); },
          "(N, 2) measured positions, pixels.")
      .def_property_readonly(
          "residuals_pix",
          [](const S& s) {
            return ResidualColumn(s.residuals, &TVxIntOrMarkResidual::residualPix);
          },
          "(N, 2) residuals, pixels along the pixel axes.")
      .def_property_readonly(
          "residuals_um",
          [](const S& s) { return ResidualColumn(s.residuals, &TVxIntOrMarkResidual::residualUm); },
          "(N, 2) residuals, micrometres along the camera axes.")
      .def_readonly("rms_pix", &S::rmsPix)
      .def_readonly("rms_um", &S::rmsUm)
      .def_readonly("sigma0_um", &S::sigma0Um)
      .def_readonly("largest_um", &S::largestUm)
      .def_readonly("largest_pix", &S::largestPix)
      .def_readonly("largest_index", &S::largestIndex)
      .def_readonly("observations", &S::observations)
      .def_readonly("unknowns", &S::unknowns)
      .def_readonly("redundancy", &S::redundancy)
      .def_readonly("residual_limit_um", &S::residualLimitUm)
      .def_readonly("warnings", &S::warnings)
      .def("__repr__", [](const S& s) {
        return py::str(
                   "Solution(transform={!r}, scale_um=({!r}, {!r}), rotation_deg={!r}, "
                   "rms_um={!r}, warnings={})")
            .format(std::string(s.pixToCam ? s.pixToCam->Name() : ""), s.scaleXUm, s.scaleYUm,
                    s.rotationDeg, s.rmsUm, s.warnings.size());
      });
}

TVxIntOrSolution Solve(const TVxIntOrMeas& meas, const TVxCameraInfo& camera,
                       const TVxIntOrSolveOptions& options) {
  // Copies taken while the GIL is held: without it another thread could change the records
  // (append a mark, say) under the solver.
  const TVxIntOrMeas measCopy = meas;
  const TVxCameraInfo cameraCopy = camera;
  TVxIntOrSolution solution;
  std::string message;
  bool solved = false;
  {
    const py::gil_scoped_release release;
    solved = SolveIntOr(measCopy, cameraCopy, options, &solution, &message);
  }
  if (!solved) RaiseSolveError(message);
  return solution;
}

}  // namespace

void BindSolve(py::module_& m) {
  BindOptions(m);
  BindMap(m);
  BindResidualAndWarning(m);
  BindSolution(m);
  m.def("solve", &Solve, py::arg("measurements").none(false), py::arg("camera").none(false),
        py::arg("options").none(false) = TVxIntOrSolveOptions(),
        "Solves the interior orientation of the image the measurements describe. Raises "
        "SolveError with the library's reason, in the user's language, when it cannot.");
  m.def(
      "write_residuals",
      [](const TVxIntOrSolution& solution, TVxIntOrMeas& measurements) {
        WriteResiduals(solution, &measurements);
      },
      py::arg("solution").none(false), py::arg("measurements").none(false),
      "Gives a Fiducials record the residuals of its solution (in place). ValueError when "
      "the solution is not of this record.");
}

}  // namespace vxpy
