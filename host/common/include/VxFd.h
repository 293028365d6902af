#pragma once
// An owning POSIX file descriptor: closed exactly once, by Close() or by the destructor.

#include "VxCommon_export.h"

class VXCOMMON_EXPORT TVxFd {
 public:
  // No descriptor.
  TVxFd() noexcept = default;
  // Takes ownership of `fd`; a negative value means no descriptor.
  explicit TVxFd(int fd) noexcept : fd_(fd < 0 ? -1 : fd) {}
  // Closes the descriptor if it still owns one; an error of close is lost (call Close() to see it).
  ~TVxFd();

  TVxFd(TVxFd&& other) noexcept : fd_(other.Release()) {}
  // Closes the descriptor it owns, then takes over that of `other`.
  TVxFd& operator=(TVxFd&& other) noexcept;
  TVxFd(const TVxFd&) = delete;
  TVxFd& operator=(const TVxFd&) = delete;

  // The descriptor, or -1.
  int Get() const noexcept { return fd_; }
  bool IsOpen() const noexcept { return fd_ >= 0; }

  // Gives the descriptor up without closing it; the caller owns it. -1 if there was none.
  int Release() noexcept;

  // Closes the descriptor now: 0, or the errno of close(2). Either way the descriptor is gone
  // afterwards (Linux frees it even when close reports an error), so it is never closed twice.
  // Closing when there is no descriptor gives 0.
  int Close() noexcept;

 private:
  int fd_ = -1;
};
