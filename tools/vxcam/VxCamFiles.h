#pragma once
// Reading and writing the files of the tool: cameras and measurements through the settings
// reader and writer, other texts atomically, and where the bundled examples lie.

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

// Writes `text` to `path` through a temporary file in the same folder that is renamed over the
// target; on failure the target is as it was and TFileError names the path and the reason.
void WriteFileAtomically(const std::string& path, const std::string& text);

// When `in` is the program's standard input: refuses one that is closed or a folder, which
// would otherwise read as empty input. TFileError names it.
void CheckStandardInput(const std::istream& in);

// The folder of the example cameras and measurements: beside the installed program
// (<prefix>/share/VxCameraUtils/examples), else the source tree's examples/ folder.
std::string FindExamplesDir();

// The path as a person would type it from the current folder: relative when it lies below it.
std::string DisplayPath(const std::string& path);

}  // namespace vxcam
