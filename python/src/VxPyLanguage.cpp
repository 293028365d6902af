// The language of the texts a person reads: the library's resource language.

#include <string>

#include "VxIntOrMeas.h"
#include "VxPyCommon.h"
#include "VxResources.h"

namespace vxpy {

void BindLanguage(py::module_& m) {
  m.def("language", &VxGetResLanguage, "The language of the texts, such as 'en' or 'de'.");
  m.def(
      "set_language",
      [](const std::string& language) {
        if (!VxSetResLanguage(language)) {
          throw py::value_error("no texts in the language '" + language + "'");
        }
      },
      py::arg("language"),
      "Sets the language of every later text ('en', 'de', 'de_DE.UTF-8'); ValueError for a "
      "language without texts. The default comes from the environment variable VX_LANG.");
  m.def("languages", &VxResLanguages, "The languages that have texts.");
  m.def("cam_rotate_text", &CamRotateToUserText, py::arg("value"),
        "The name of an image rotation in the user's language.");
  m.def("transform_type_text", &TransformTypeToUserText, py::arg("value"),
        "The name of a transform type in the user's language.");
}

}  // namespace vxpy
