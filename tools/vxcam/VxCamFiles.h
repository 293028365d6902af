#pragma once
// Reading and writing the files of the tool: cameras, measurements and solved maps through the
// settings reader and writer, standard input and output in place of a file, and where the
// bundled examples lie.

#include <iosfwd>
#include <optional>
#include <string>

#include "VxCamCommands.h"
#include "VxCameraInfo.h"
#include "VxIntOrMeas.h"
#include "VxIntOrSolve.h"

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

// The same, where the path "-" is standard input (io.in, named "<stdin>" in messages; a second
// "-" of one command is a TUsageError) or standard output (io.out).
TVxCameraInfo LoadCamera(const std::string& path, TIo& io);
TVxIntOrMeas LoadMeasurements(const std::string& path, TIo& io);
void SaveCamera(const TVxCameraInfo& camera, const std::string& path, TIo& io);
void SaveMeasurements(const TVxIntOrMeas& measurements, const std::string& path, TIo& io);

// What a scan is given by: a solved pixel-to-camera map (the file `solve --save-transform`
// writes, known by its key "pix_to_cam"), or the measurements to solve.
struct TScanFile {
  std::optional<TVxPixToCamMap> map;
  TVxIntOrMeas measurements;
};
TScanFile LoadScanFile(const std::string& path, TIo& io);
// Saves a solved map into the root section of a settings file, or to io.out for "-".
void SavePixToCamMap(const TVxPixToCamMap& map, const std::string& path, TIo& io);

// The bytes of a file of another program (a calibration to import), or of standard input for
// "-", at most kVxXIniMaxTextSize of them. Anything but a regular file (a folder, a FIFO, a
// device) is refused without blocking, as the settings reader refuses it. Throws TFileError
// naming the file and the reason.
std::string ReadWholeFile(const std::string& path, TIo& io);

// Whether a path names standard input or output: "-".
bool IsStandardStream(const std::string& path);
// Where a command's report goes: io.out, or io.err when the command's file goes to standard
// output, so that the file stays whole for the program that reads it.
std::ostream& ReportStream(TIo& io, const std::string& outputPath);
// Writes `text` to the file atomically (VxSaveFileAtomically), or to io.out for "-".
void WriteOutput(const std::string& path, const std::string& text, TIo& io);

// When `in` is the program's standard input: refuses one that is closed or a folder, which
// would otherwise read as empty input. TFileError names it.
void CheckStandardInput(const std::istream& in);

// The folder of the example cameras and measurements: beside the installed program
// (<prefix>/share/VxCameraUtils/examples), else the source tree's examples/ folder.
std::string FindExamplesDir();

// The path as a person would type it from the current folder: relative when it lies below it.
std::string DisplayPath(const std::string& path);

}  // namespace vxcam
