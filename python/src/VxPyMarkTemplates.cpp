// TCameraMarkTemplates as vxcameras.MarkTemplates.

#include "VxPyCommon.h"
#include "VxPyRecordList.h"
#include "VxPySettings.h"

namespace vxpy {

namespace {

using TSet = TCameraMarkTemplates;

void BindTemplate(py::module_& m) {
  py::class_<TSet::TMarkTemplate>(m, "MarkTemplate", "The image template of one fiducial mark.")
      .def(py::init<>(), "An empty template.")
      .def_readwrite("index", &TSet::TMarkTemplate::index, "The mark's number.")
      .def_readwrite("coords_cam", &TSet::TMarkTemplate::coordsCam, "The mark's position, mm.")
      .def_readwrite("file_name", &TSet::TMarkTemplate::fileName, "The template image.")
      .def_readwrite("half_size_reduced", &TSet::TMarkTemplate::halfSizeReduced,
                     "Half size of the reduced template, pixels.")
      .def_readwrite("min_corr_half_size", &TSet::TMarkTemplate::minCorrHalfSize,
                     "Least half size for correlation; 0 = not set.")
      .def("__repr__", [](const TSet::TMarkTemplate& t) {
        return py::str("MarkTemplate(index={}, coords_cam={!r}, file_name={!r})")
            .format(t.index, py::cast(t.coordsCam), t.fileName);
      });
  BindRecordList<std::vector<TSet::TMarkTemplate>>(m, "MarkTemplateList",
                                                   "The templates of a set.");
}

}  // namespace

void BindMarkTemplates(py::module_& m) {
  BindTemplate(m);
  auto cls = py::class_<TSet>(
      m, "MarkTemplates",
      "The image templates of a camera's fiducial marks. load() reads the lower-case keys of "
      "docs/file-reference.md; save() writes the library's own key names, which load() does not "
      "read back.");
  cls.def(py::init<>(), "An empty set.")
      .def_readwrite("template_pixel_size", &TSet::templatePixelSize,
                     "Pixel size of the template images, micrometres.")
      .def_readwrite("default_scan_size", &TSet::defaultScanSize, "mm")
      .def_readwrite("templates", &TSet::templates)
      .def("__repr__", [](const TSet& set) {
        return py::str(
                   "MarkTemplates(template_pixel_size={!r}, default_scan_size={!r}, "
                   "templates={})")
            .format(set.templatePixelSize, py::cast(set.defaultScanSize), set.templates.size());
      });
  DefSettingsIo<TSet>(cls, "mark templates");
}

}  // namespace vxpy
