#include "VxCamFiles.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <system_error>

#include "VxCamApp.h"
#include "VxCamText.h"
#include "VxXIni.h"

namespace vxcam {

TVxCameraInfo LoadCamera(const std::string& path) {
  const auto reader = TVxXIniReader::FromFile(path);
  TVxCameraInfo camera;
  XIniLoadE(reader.get(), camera);
  return camera;
}

TVxIntOrMeas LoadMeasurements(const std::string& path) {
  const auto reader = TVxXIniReader::FromFile(path);
  TVxIntOrMeas measurements;
  measurements.LoadE(reader.get());
  // The record takes a word it does not know as "not measured"; a person who wrote a word meant
  // one, so the tool names it rather than report a scan that was never measured.
  if (static_cast<std::int32_t>(measurements.cameraType) == 0 &&
      !reader->Read<std::string>(reader->FindF("camera_type", 0), "").empty()) {
    reader->throw_error_valueS("camera_type");
  }
  return measurements;
}

void SaveCamera(const TVxCameraInfo& camera, const std::string& path) {
  TVxXIniWriter writer;
  XIniSaveE(&writer, camera);
  writer.SaveFile(path);
}

void SaveMeasurements(const TVxIntOrMeas& measurements, const std::string& path) {
  TVxXIniWriter writer;
  measurements.SaveE(&writer);
  writer.SaveFile(path);
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
