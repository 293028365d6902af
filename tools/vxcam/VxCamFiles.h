#pragma once
// Reading and writing the files of the tool: cameras and measurements through the settings
// reader and writer, and where the bundled examples lie. Other texts are saved with
// VxSaveFileAtomically.

#include <iosfwd>
#include <string>

#include "VxCameraInfo.h"
#include "VxIntOrMeas.h"

namespace vxcam {

// The camera stored in the root section of a settings file. Throws TVxXIniReadError naming
// file, line, column and key.
TVxCameraInfo LoadCamera(const std::string& path);
// The interior orientation measurements stored in the root section of a settings file.
TVxIntOrMeas LoadMeasurements(const std::string& path);
// Saves a camera into the root section of a settings file, atomically (TVxXIniWriter::SaveFile).
void SaveCamera(const TVxCameraInfo& camera, const std::string& path);
// Saves interior orientation measurements into the root section of a settings file, atomically.
void SaveMeasurements(const TVxIntOrMeas& measurements, const std::string& path);

// When `in` is the program's standard input: refuses one that is closed or a folder, which
// would otherwise read as empty input. TFileError names it.
void CheckStandardInput(const std::istream& in);

// The folder of the example cameras and measurements: beside the installed program
// (<prefix>/share/VxCameraUtils/examples), else the source tree's examples/ folder.
std::string FindExamplesDir();

// The path as a person would type it from the current folder: relative when it lies below it.
std::string DisplayPath(const std::string& path);

}  // namespace vxcam
