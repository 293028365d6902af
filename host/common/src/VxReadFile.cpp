#include "VxReadFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "VxFd.h"
#include "VxFileKind.h"

namespace {

TVxReadFailure Failure(TVxReadFailure::TStep step, std::string detail) {
  return {step, std::move(detail)};
}

}  // namespace

std::optional<TVxReadFailure> VxReadRegularFile(const std::string& path, std::uint64_t maxBytes,
                                                std::string* bytes) {
  using TStep = TVxReadFailure::TStep;
  const TVxFd fd(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  if (!fd.IsOpen()) return Failure(TStep::Open, std::strerror(errno));
  struct stat info {};
  if (::fstat(fd.Get(), &info) != 0) return Failure(TStep::Read, std::strerror(errno));
  if (!S_ISREG(info.st_mode)) {
    return Failure(TStep::Kind,
                   std::string("it is ") + VxFileKindText(info.st_mode) + ", not a regular file");
  }
  bytes->clear();
  char chunk[65536];
  for (;;) {
    const ssize_t got = ::read(fd.Get(), chunk, sizeof chunk);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return Failure(TStep::Read, std::strerror(errno));
    if (got == 0) return std::nullopt;
    if (bytes->size() + static_cast<std::size_t>(got) > maxBytes) {
      return Failure(TStep::Size, "the file is larger than " + std::to_string(maxBytes) + " bytes");
    }
    bytes->append(chunk, static_cast<std::size_t>(got));
  }
}
