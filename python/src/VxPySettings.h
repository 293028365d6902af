#pragma once
// Records to and from settings files and texts: the library's readers and savers, one
// record in the root section of a file.

#include <filesystem>
#include <memory>
#include <string>

#include "VxCameraInfo.h"
#include "VxPyCommon.h"
#include "VxXIni.h"

namespace vxpy {

// The library's loader of each record; a camera is loaded like any other settings value.
inline void LoadRecordE(TVxXIniReader* reader, TVxCameraInfo& record) {
  XIniLoadE(reader, record);
}
template <class T>
void LoadRecordE(TVxXIniReader* reader, T& record) {
  record.LoadE(reader);
}

// A new record loaded from the root section of the file; throws what the reader and loader
// throw (TVxXIniReadError naming file, line, column and key).
template <class T>
T LoadRecordFromFile(const std::filesystem::path& path) {
  const std::unique_ptr<TVxXIniReader> reader = TVxXIniReader::FromFile(path.string());
  T record;
  LoadRecordE(reader.get(), record);
  return record;
}

template <class T>
T LoadRecordFromText(const std::string& text, const std::string& sourceName) {
  const std::unique_ptr<TVxXIniReader> reader = TVxXIniReader::FromText(text, sourceName);
  T record;
  LoadRecordE(reader.get(), record);
  return record;
}

// Saves the record into the root section of a file, atomically (TVxXIniWriter::SaveFile).
template <class T>
void SaveRecordToFile(const T& record, const std::filesystem::path& path) {
  TVxXIniWriter writer;
  record.SaveE(&writer);
  writer.SaveFile(path.string());
}

template <class T>
std::string SaveRecordToText(const T& record) {
  TVxXIniWriter writer;
  record.SaveE(&writer);
  return writer.ToText();
}

// Binds load, save, from_text, to_text, equality and copies on a record class.
template <class T, class Class>
void DefSettingsIo(Class& cls, const char* kind) {
  const std::string k(kind);
  cls.def_static("load", &LoadRecordFromFile<T>, py::arg("path"),
                 ("Loads the " + k +
                  " stored in the root section of a settings file. Raises ReadError naming "
                  "file, line, column and key.")
                     .c_str())
      .def_static(
          "from_text", &LoadRecordFromText<T>, py::arg("text"), py::arg("source_name") = "<text>",
          ("Loads the " + k + " from a settings text; `source_name` heads error messages.").c_str())
      .def("save", &SaveRecordToFile<T>, py::arg("path"),
           ("Saves the " + k +
            " into a settings file, atomically: on failure (WriteError) an existing file is left "
            "as it was.")
               .c_str())
      .def("to_text", &SaveRecordToText<T>, ("The settings text of the " + k + ".").c_str())
      .def("__copy__", [](const T& self) { return T(self); })
      .def(
          "__deepcopy__", [](const T& self, const py::dict&) { return T(self); }, py::arg("memo"));
}

}  // namespace vxpy
