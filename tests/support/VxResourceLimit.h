#pragma once
// Runs a piece of a test in a child process whose address space or processor time is limited, so
// that memory that grows without bound ends the child (std::bad_alloc, or a crash) instead of the
// machine, and work that grows with the product of two inputs ends it by SIGXCPU. The limits are
// bounds of complexity, set far above what the work needs, not speed targets.

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <exception>
#include <functional>
#include <new>
#include <string>

namespace vx_test {

// True in builds whose sanitizers reserve terabytes of address space at start, where an
// address-space limit cannot be set.
constexpr bool kAddressSpaceLimitable =
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    false;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
    false;
#else
    true;
#endif
#else
    true;
#endif

// How the child ended.
enum class TLimitedRun { Returned, Threw, OutOfMemory, Crashed };

// Runs `body` in a child process with at most `limit` of the resource (RLIMIT_AS in bytes,
// RLIMIT_CPU in seconds). A body that throws std::bad_alloc counts as out of memory; any other
// exception as thrown (its what() goes to standard error); a child killed by a signal, SIGXCPU
// included, as crashed.
inline TLimitedRun RunWithLimit(int resource, std::size_t limit,
                                const std::function<void()>& body) {
  std::fflush(nullptr);
  const pid_t child = ::fork();
  if (child == 0) {
    const rlimit value{static_cast<rlim_t>(limit), static_cast<rlim_t>(limit)};
    if (::setrlimit(resource, &value) != 0) ::_exit(10);
    int code = 0;
    try {
      body();
    } catch (const std::bad_alloc&) {
      code = 2;
    } catch (const std::exception& e) {
      std::fprintf(stderr, "%s\n", e.what());
      code = 1;
    }
    std::fflush(nullptr);
    ::_exit(code);
  }
  int status = 0;
  if (child < 0 || ::waitpid(child, &status, 0) != child) return TLimitedRun::Crashed;
  if (!WIFEXITED(status)) return TLimitedRun::Crashed;
  switch (WEXITSTATUS(status)) {
    case 0:
      return TLimitedRun::Returned;
    case 1:
      return TLimitedRun::Threw;
    case 2:
      return TLimitedRun::OutOfMemory;
    default:
      return TLimitedRun::Crashed;
  }
}

inline TLimitedRun RunWithAddressSpaceLimit(std::size_t bytes, const std::function<void()>& body) {
  return RunWithLimit(RLIMIT_AS, bytes, body);
}

inline TLimitedRun RunWithCpuLimit(std::size_t seconds, const std::function<void()>& body) {
  return RunWithLimit(RLIMIT_CPU, seconds, body);
}

inline const char* ToString(TLimitedRun run) {
  switch (run) {
    case TLimitedRun::Returned:
      return "returned";
    case TLimitedRun::Threw:
      return "threw";
    case TLimitedRun::OutOfMemory:
      return "ran out of memory";
    case TLimitedRun::Crashed:
      return "crashed";
  }
  return "?";
}

}  // namespace vx_test
