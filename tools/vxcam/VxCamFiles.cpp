#include "VxCamFiles.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
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

namespace {

[[noreturn]] void ThrowFileError(const std::string& path, int error) {
  throw TFileError(path + ": " + std::strerror(error));
}

bool WriteAll(int fd, const std::string& text) {
  std::size_t done = 0;
  while (done < text.size()) {
    const ssize_t n = ::write(fd, text.data() + done, text.size() - done);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return false;
    done += static_cast<std::size_t>(n);
  }
  return true;
}

}  // namespace

void WriteFileAtomically(const std::string& path, const std::string& text) {
  const std::filesystem::path target(path);
  const std::filesystem::path folder = target.has_parent_path() ? target.parent_path() : ".";
  std::string temporary = (folder / ("." + target.filename().string() + ".XXXXXX")).string();
  const int fd = ::mkstemp(temporary.data());
  if (fd < 0) ThrowFileError(path, errno);
  // The new file gets the usual permissions of a created file rather than mkstemp's 0600.
  const mode_t mask = ::umask(0);
  ::umask(mask);
  const bool written = ::fchmod(fd, 0666 & ~mask) == 0 && WriteAll(fd, text) && ::fsync(fd) == 0;
  const int writeError = errno;
  if (::close(fd) != 0 || !written) {
    const int error = written ? errno : writeError;
    ::unlink(temporary.c_str());
    ThrowFileError(path, error);
  }
  if (::rename(temporary.c_str(), path.c_str()) != 0) {
    const int error = errno;
    ::unlink(temporary.c_str());
    ThrowFileError(path, error);
  }
}

void CheckStandardInput(const std::istream& in) {
  if (&in != &std::cin) return;
  struct stat info {};
  if (::fstat(STDIN_FILENO, &info) != 0) {
    throw TFileError(Text("vxcam.text.stdin") + ": " + std::strerror(errno));
  }
  if (S_ISDIR(info.st_mode)) {
    throw TFileError(Text("vxcam.text.stdin") + ": " + Text("vxcam.error.is_folder"));
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
