#include "VxCamSignals.h"

#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstring>

#include "VxAtomicFile.h"

namespace vxcam {
namespace {

// The temporary file being written, for the handler: a fixed buffer it may read without
// allocating, and a flag that says whether the buffer holds a path. Only the thread that saves
// writes them, and the handler runs in that thread (vxcam has no other), so the flag needs no
// more than to be lock-free and not reordered with the buffer.
char g_temporary[4096];
std::atomic<bool> g_haveTemporary{false};
static_assert(std::atomic<bool>::is_always_lock_free, "the handler's flag must be lock-free");

constexpr int kEndingSignals[] = {SIGINT, SIGTERM, SIGHUP};

void FollowTemporaryFile(TVxTemporaryFileEvent event, const char* path) noexcept {
  if (event == TVxTemporaryFileEvent::Written) return;
  g_haveTemporary.store(false);
  // The buffer is not written before the handler can see that it holds nothing.
  std::atomic_signal_fence(std::memory_order_seq_cst);
  if (event != TVxTemporaryFileEvent::Creating) return;
  const std::size_t length = std::strlen(path);
  // A path too long for the buffer is not followed; the kernel's PATH_MAX is the same size.
  if (length >= sizeof(g_temporary)) return;
  std::memcpy(g_temporary, path, length + 1);
  g_haveTemporary.store(true);
}

// Only async-signal-safe calls: unlink, sigaction, raise.
extern "C" void RemoveTemporaryAndEnd(int number) {
  const int savedErrno = errno;
  if (g_haveTemporary.load()) ::unlink(g_temporary);
  // With the default action back, the raised signal waits until this handler returns (it is
  // blocked meanwhile) and then ends the program as if no handler had been there.
  struct sigaction byDefault {};
  byDefault.sa_handler = SIG_DFL;
  sigemptyset(&byDefault.sa_mask);
  ::sigaction(number, &byDefault, nullptr);
  ::raise(number);
  errno = savedErrno;
}

}  // namespace

void HandleSignalsDuringSaves() {
  struct sigaction ignore {};
  ignore.sa_handler = SIG_IGN;
  sigemptyset(&ignore.sa_mask);
  ::sigaction(SIGXFSZ, &ignore, nullptr);

  struct sigaction handle {};
  handle.sa_handler = RemoveTemporaryAndEnd;
  // One handler at a time: another ending signal waits until the first has done its work.
  sigemptyset(&handle.sa_mask);
  for (const int number : kEndingSignals) sigaddset(&handle.sa_mask, number);
  for (const int number : kEndingSignals) {
    struct sigaction before {};
    if (::sigaction(number, nullptr, &before) == 0 && before.sa_handler == SIG_IGN) continue;
    ::sigaction(number, &handle, nullptr);
  }
  VxSetTemporaryFileHook(FollowTemporaryFile);
}

}  // namespace vxcam
