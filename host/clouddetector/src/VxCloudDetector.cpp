#include "VxCloudDetector.h"

#include <atomic>

namespace {

// Atomic so that a host that starts the library on one thread may read the counts on another.
std::atomic<std::uint64_t> g_starts{0};
std::atomic<std::uint64_t> g_stops{0};

}  // namespace

extern "C" {

void Init_VxCloudDetector() {
  g_starts.fetch_add(1);
}

void Deinit_VxCloudDetector() {
  g_stops.fetch_add(1);
}

bool VxCloudDetector_IsRunning() {
  return g_starts.load() > g_stops.load();
}

#if defined(VX_TEST_HOOKS)
std::uint64_t VxCloudDetector_StartCount() {
  return g_starts.load();
}

std::uint64_t VxCloudDetector_StopCount() {
  return g_stops.load();
}

void VxCloudDetector_ResetCounts() {
  g_starts.store(0);
  g_stops.store(0);
}
#endif
}
