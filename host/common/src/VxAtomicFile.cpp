#include "VxAtomicFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <string>
#include <system_error>

#include "VxFd.h"

namespace {

std::atomic<unsigned> g_temporaryCounter{0};

std::string JoinPath(const std::string& folder, const std::string& name) {
  return folder == "/" ? folder + name : folder + "/" + name;
}

}  // namespace

TVxFileSaveError::TVxFileSaveError(const std::string& path, const std::string& reason, int error)
    : std::runtime_error("cannot save '" + path + "': " + reason), path_(path), error_(error) {}

void VxSaveFileAtomically(const std::string& path, std::string_view text) {
  const std::size_t slash = path.rfind('/');
  const std::string folder = slash == std::string::npos ? std::string(".")
                             : slash == 0               ? std::string("/")
                                                        : path.substr(0, slash);
  const std::string base = slash == std::string::npos ? path : path.substr(slash + 1);
  std::string temporary;
  const auto fail = [&path, &temporary](const std::string& step, int error) {
    if (!temporary.empty()) {
      ::unlink(temporary.c_str());
    }
    throw TVxFileSaveError(path, step + ": " + std::generic_category().message(error), error);
  };
  if (base.empty()) {
    fail("no file name", EISDIR);
  }

  TVxFd fd;
  for (int attempt = 0; attempt < 100 && !fd.IsOpen(); ++attempt) {
    const std::string candidate =
        JoinPath(folder, "." + base + ".tmp-" + std::to_string(::getpid()) + "-" +
                             std::to_string(g_temporaryCounter++));
    fd = TVxFd(::open(candidate.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
    if (fd.IsOpen()) {
      temporary = candidate;
    } else if (errno != EEXIST) {
      fail("cannot create a temporary file in '" + folder + "'", errno);
    }
  }
  if (!fd.IsOpen()) {
    fail("cannot create a temporary file in '" + folder + "'", EEXIST);
  }
  // The saved file keeps the permissions of the file it replaces.
  struct stat info {};
  if (::stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode)) {
    ::fchmod(fd.Get(), info.st_mode & 07777);
  }
  std::size_t written = 0;
  while (written < text.size()) {
    const ssize_t n = ::write(fd.Get(), text.data() + written, text.size() - written);
    if (n < 0 && errno == EINTR) {
      continue;
    }
    if (n <= 0) {
      fail("writing the temporary file failed", n == 0 ? EIO : errno);
    }
    written += static_cast<std::size_t>(n);
  }
  if (::fsync(fd.Get()) != 0) {
    fail("flushing the temporary file failed", errno);
  }
  if (const int error = fd.Close(); error != 0) {
    fail("closing the temporary file failed", error);
  }
  if (::rename(temporary.c_str(), path.c_str()) != 0) {
    fail("replacing the file failed", errno);
  }
  // Make the rename itself durable; the file is in place whether or not this succeeds.
  const TVxFd folderFd(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (folderFd.IsOpen()) {
    ::fsync(folderFd.Get());
  }
}
