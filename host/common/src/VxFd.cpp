#include "VxFd.h"

#include <unistd.h>

#include <cerrno>

TVxFd::~TVxFd() {
  Close();
}

TVxFd& TVxFd::operator=(TVxFd&& other) noexcept {
  if (this != &other) {
    Close();
    fd_ = other.Release();
  }
  return *this;
}

int TVxFd::Release() noexcept {
  const int fd = fd_;
  fd_ = -1;
  return fd;
}

int TVxFd::Close() noexcept {
  const int fd = Release();
  // Not retried on EINTR: the descriptor is already released then, and another thread may have
  // been given the same number.
  if (fd >= 0 && ::close(fd) != 0) {
    return errno;
  }
  return 0;
}
