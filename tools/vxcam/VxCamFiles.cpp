#include "VxCamFiles.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <system_error>

#include "VxAtomicFile.h"
#include "VxCamApp.h"
#include "VxCamText.h"
#include "VxReadFile.h"
#include "VxXIni.h"

namespace vxcam {

namespace {

constexpr const char* kStandardStream = "-";
constexpr const char* kStandardInputName = "<stdin>";

// All of standard input, at most as much as a settings file may hold.
std::string ReadAll(std::istream& in) {
  std::string text;
  char chunk[65536];
  while (in.read(chunk, sizeof chunk) || in.gcount() > 0) {
    text.append(chunk, static_cast<std::size_t>(in.gcount()));
    if (text.size() > kVxXIniMaxTextSize) {
      throw TVxXIniReadError(
          kStandardInputName, 0, 0, std::string(),
          "the text is larger than " + std::to_string(kVxXIniMaxTextSize) + " bytes");
    }
  }
  return text;
}

// All of standard input, for the one file of a command that may come from there.
std::string TakeStandardInput(TIo& io) {
  if (io.inTaken) throw TUsageError(Text("vxcam.error.stdin_twice"));
  io.inTaken = true;
  CheckStandardInput(io.in);
  return ReadAll(io.in);
}

std::unique_ptr<TVxXIniReader> ReadSettings(const std::string& path, TIo* io) {
  if (io == nullptr || !IsStandardStream(path)) return TVxXIniReader::FromFile(path);
  return TVxXIniReader::FromText(TakeStandardInput(*io), kStandardInputName);
}

}  // namespace

std::string ReadWholeFile(const std::string& path, TIo& io) {
  if (IsStandardStream(path)) {
    try {
      return TakeStandardInput(io);
    } catch (const TVxXIniReadError& e) {
      throw TFileError(e.what());
    }
  }
  std::string bytes;
  if (const auto failure = VxReadRegularFile(path, kVxXIniMaxTextSize, &bytes)) {
    throw TFileError(Text("vxcam.exchange.cannot_read") + " '" + path + "': " + failure->detail);
  }
  return bytes;
}

namespace {

TVxCameraInfo CameraFrom(TVxXIniReader& reader) {
  TVxCameraInfo camera;
  XIniLoadE(&reader, camera);
  return camera;
}

TVxIntOrMeas MeasurementsFrom(TVxXIniReader& reader) {
  TVxIntOrMeas measurements;
  measurements.LoadE(&reader);
  // The record takes a word it does not know as "not measured"; a person who wrote a word meant
  // one, so the tool names it rather than report a scan that was never measured.
  if (static_cast<std::int32_t>(measurements.cameraType) == 0 &&
      !reader.Read<std::string>(reader.FindF("camera_type", 0), "").empty()) {
    reader.throw_error_valueS("camera_type");
  }
  return measurements;
}

template <class TSave>
void SaveSettings(const std::string& path, TIo* io, TSave save) {
  TVxXIniWriter writer;
  save(writer);
  if (io != nullptr && IsStandardStream(path)) {
    io->out << writer.ToText();
  } else {
    writer.SaveFile(path);
  }
}

}  // namespace

TVxCameraInfo LoadCamera(const std::string& path) {
  return CameraFrom(*ReadSettings(path, nullptr));
}

TVxCameraInfo LoadCamera(const std::string& path, TIo& io) {
  return CameraFrom(*ReadSettings(path, &io));
}

TVxIntOrMeas LoadMeasurements(const std::string& path) {
  return MeasurementsFrom(*ReadSettings(path, nullptr));
}

TVxIntOrMeas LoadMeasurements(const std::string& path, TIo& io) {
  return MeasurementsFrom(*ReadSettings(path, &io));
}

TScanFile LoadScanFile(const std::string& path, TIo& io) {
  const auto reader = ReadSettings(path, &io);
  TScanFile scan;
  if (reader->FindF("pix_to_cam", 0) != kVxXIniNotFound) {
    scan.map.emplace();
    scan.map->LoadE(reader.get());
  } else {
    scan.measurements = MeasurementsFrom(*reader);
  }
  return scan;
}

void SaveCamera(const TVxCameraInfo& camera, const std::string& path) {
  SaveSettings(path, nullptr, [&](TVxXIniWriter& writer) { XIniSaveE(&writer, camera); });
}

void SaveCamera(const TVxCameraInfo& camera, const std::string& path, TIo& io) {
  SaveSettings(path, &io, [&](TVxXIniWriter& writer) { XIniSaveE(&writer, camera); });
}

void SaveMeasurements(const TVxIntOrMeas& measurements, const std::string& path) {
  SaveSettings(path, nullptr, [&](TVxXIniWriter& writer) { measurements.SaveE(&writer); });
}

void SaveMeasurements(const TVxIntOrMeas& measurements, const std::string& path, TIo& io) {
  SaveSettings(path, &io, [&](TVxXIniWriter& writer) { measurements.SaveE(&writer); });
}

void SavePixToCamMap(const TVxPixToCamMap& map, const std::string& path, TIo& io) {
  SaveSettings(path, &io, [&](TVxXIniWriter& writer) { map.SaveE(&writer); });
}

bool IsStandardStream(const std::string& path) {
  return path == kStandardStream;
}

std::ostream& ReportStream(TIo& io, const std::string& outputPath) {
  return IsStandardStream(outputPath) ? io.err : io.out;
}

void WriteOutput(const std::string& path, const std::string& text, TIo& io) {
  if (IsStandardStream(path)) {
    io.out << text;
  } else {
    VxSaveFileAtomically(path, text);
  }
}

void CheckStandardInput(const std::istream& in) {
  if (&in != &std::cin) return;
  struct stat info {};
  if (::fstat(STDIN_FILENO, &info) != 0) {
    throw TFileError(Text("vxcam.text.standard_input") + ": " + std::strerror(errno));
  }
  if (S_ISDIR(info.st_mode)) {
    throw TFileError(Text("vxcam.text.standard_input") + ": " + Text("vxcam.error.is_folder"));
  }
}

std::string FindExamplesDir() {
  std::error_code error;
  const auto program = std::filesystem::read_symlink("/proc/self/exe", error);
  if (!error) {
    const auto installed =
        program.parent_path().parent_path() / "share" / "VxCameraUtils" / "examples";
    if (std::filesystem::is_directory(installed / "cameras", error)) return installed.string();
  }
  return VXCAM_SOURCE_EXAMPLES_DIR;
}

std::string DisplayPath(const std::string& path) {
  std::error_code error;
  const auto absolute = std::filesystem::absolute(path, error);
  if (error) return path;
  const auto relative =
      absolute.lexically_normal().lexically_relative(std::filesystem::current_path(error));
  if (error || relative.empty() || *relative.begin() == "..") return path;
  return relative.string();
}

}  // namespace vxcam
