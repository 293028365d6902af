// TVxCameraDistortion as vxcameras.Distortion, with its table rows and the mixed coefficients.

#include <algorithm>

#include "VxPyCommon.h"
#include "VxPyRecordList.h"
#include "VxPySettings.h"

namespace vxpy {

namespace {

using TDist = TVxCameraDistortion;

// A coefficient block of `N` doubles at member `block` of a record of class `R`, as a NumPy view
// that writes through, and assignable from any sequence of N numbers.
template <class Class, class R, std::size_t N>
void DefBlock(Class& cls, const char* name, double (R::*block)[N], const char* doc) {
  cls.def_property(
      name,
      [block](py::object self) {
        R& record = self.cast<R&>();
        return DoubleView(record.*block, static_cast<py::ssize_t>(N), self);
      },
      [block, name](R& record, const py::sequence& values) {
        AssignDoubles(record.*block, static_cast<py::ssize_t>(N), values, name);
      },
      doc);
}

void BindRows(py::module_& m) {
  py::class_<TDist::TRadialDistortion>(m, "RadialRow",
                                       "One row of the radial table: at radius r the correction "
                                       "dr, both mm.")
      .def(py::init([](double r, double dr) {
             return TDist::TRadialDistortion{r, dr};
           }),
           py::arg("r") = 1.0, py::arg("dr") = 0.0, "A row (r, dr) in mm.")
      .def_readwrite("r", &TDist::TRadialDistortion::r)
      .def_readwrite("dr", &TDist::TRadialDistortion::dr)
      .def("__eq__", EqualityOf<TDist::TRadialDistortion>(
                         [](const TDist::TRadialDistortion& a, const TDist::TRadialDistortion& b) {
                           return a.r == b.r && a.dr == b.dr;
                         }))
      .def("__repr__", [](const TDist::TRadialDistortion& row) {
        return py::str("RadialRow(r={!r}, dr={!r})").format(row.r, row.dr);
      });
  BindRecordList<std::vector<TDist::TRadialDistortion>>(m, "RadialTable",
                                                        "The rows of a radial table.");

  auto directed = py::class_<TDist::T4Direction>(
      m, "DirectedRow",
      "One row of a directed table: at radius r (mm) the corrections dr[0..3] (mm) along four "
      "directions.");
  directed
      .def(py::init([](double r, const py::sequence& dr) {
             TDist::T4Direction row;
             row.r = r;
             AssignDoubles(row.dr, 4, dr, "dr");
             return row;
           }),
           py::arg("r") = 1.0, py::arg("dr") = py::make_tuple(0.0, 0.0, 0.0, 0.0),
           "A row: radius r and four corrections, mm.")
      .def_readwrite("r", &TDist::T4Direction::r)
      .def("__eq__", EqualityOf<TDist::T4Direction>(
                         [](const TDist::T4Direction& a, const TDist::T4Direction& b) {
                           return a.r == b.r && std::equal(a.dr, a.dr + 4, b.dr);
                         }))
      .def("__repr__", [](const TDist::T4Direction& row) {
        return py::str("DirectedRow(r={!r}, dr=({!r}, {!r}, {!r}, {!r}))")
            .format(row.r, row.dr[0], row.dr[1], row.dr[2], row.dr[3]);
      });
  DefBlock(directed, "dr", &TDist::T4Direction::dr, "The four corrections, mm (a NumPy view).");
  BindRecordList<std::vector<TDist::T4Direction>>(m, "DirectedTable",
                                                  "The rows of a directed table.");

  auto mixed = py::class_<TDist::TMixed>(
      m, "MixedCoefficients",
      "The 26 coefficients of the mixed model: a, b, c (7 each), K (3), P (2).");
  mixed.def(py::init([]() { return TDist::TMixed{}; }), "All 26 coefficients zero.")
      .def("__eq__", EqualityOf<TDist::TMixed>(
                         [](const TDist::TMixed& a, const TDist::TMixed& b) { return a == b; }))
      .def("__repr__", [](py::object self) {
        return py::str("MixedCoefficients(a={}, b={}, c={}, K={}, P={})")
            .format(self.attr("a").attr("tolist")(), self.attr("b").attr("tolist")(),
                    self.attr("c").attr("tolist")(), self.attr("K").attr("tolist")(),
                    self.attr("P").attr("tolist")());
      });
  DefBlock(mixed, "a", &TDist::TMixed::a, "x terms a1..a7 (a NumPy view).");
  DefBlock(mixed, "b", &TDist::TMixed::b, "y terms b1..b7 (a NumPy view).");
  DefBlock(mixed, "c", &TDist::TMixed::c, "common terms c1..c7 (a NumPy view).");
  DefBlock(mixed, "K", &TDist::TMixed::K, "radial K1..K3 (a NumPy view).");
  DefBlock(mixed, "P", &TDist::TMixed::P, "decentering P1, P2 (a NumPy view).");
}

}  // namespace

void BindDistortion(py::module_& m) {
  BindRows(m);
  auto cls = py::class_<TDist>(m, "Distortion",
                               "The lens distortion of a camera: every model's parameters side by "
                               "side, `type` names the one in force. Units: mm.");
  cls.def(py::init<>(), "A None distortion with every coefficient zero and empty tables.")
      .def_readwrite("type", &TDist::type)
      .def_readwrite("direction", &TDist::direction)
      .def_readwrite("mixed", &TDist::mixed)
      .def_readwrite("table_r", &TDist::tableR)
      .def_readwrite("table_4plus", &TDist::table4Plus)
      .def_readwrite("table_4x", &TDist::table4X)
      .def_readwrite("symmetry_point", &TDist::symmetryPoint)
      .def_readwrite("k1", &TDist::k1)
      .def_readwrite("k2", &TDist::k2)
      .def_readwrite("k3", &TDist::k3)
      .def_readwrite("k4", &TDist::k4)
      .def_readwrite("k5", &TDist::k5)
      .def_readwrite("p1", &TDist::p1)
      .def_readwrite("p2", &TDist::p2)
      .def_readwrite("p3", &TDist::p3)
      .def_readwrite("p4", &TDist::p4)
      .def_readwrite("b1", &TDist::b1)
      .def_readwrite("b2", &TDist::b2)
      .def_readwrite("a1", &TDist::a1)
      .def_readwrite("a2", &TDist::a2)
      .def("reset", &TDist::Reset, "Back to a new record: None, every coefficient zero.")
      .def("__eq__", EqualityOf<TDist>([](const TDist& a, const TDist& b) { return a == b; }))
      .def("__repr__", [](const TDist& d) {
        return py::str("Distortion(type={}, direction={}, symmetry_point={!r})")
            .format(py::cast(d.type), py::cast(d.direction), py::cast(d.symmetryPoint));
      });
  DefBlock(cls, "poly_k", &TDist::polyK, "Polynomial model K0..K7 (a NumPy view).");
  DefBlock(cls, "poly_p", &TDist::polyP, "Polynomial model P1..P4 (a NumPy view).");
  DefSettingsIo<TDist>(cls, "distortion");
}

}  // namespace vxpy
