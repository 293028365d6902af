#pragma once
// The dependency library that VxCameraUtils starts before itself and stops after itself.
// It counts its starts and stops: a host can ask whether it runs, and the tests (in builds with
// them) how it was driven.

#include <cstdint>

#include "VxCloudDetector_export.h"

extern "C" {

// Starts the library. Every call is counted.
VXCLOUDDETECTOR_EXPORT void Init_VxCloudDetector();
// Stops the library. Every call is counted, also one without a start.
VXCLOUDDETECTOR_EXPORT void Deinit_VxCloudDetector();

// True while more starts than stops have been made.
VXCLOUDDETECTOR_EXPORT bool VxCloudDetector_IsRunning();

#if defined(VX_TEST_HOOKS)
// Number of calls of Init_VxCloudDetector since the process started (or the last reset).
VXCLOUDDETECTOR_EXPORT std::uint64_t VxCloudDetector_StartCount();
// Number of calls of Deinit_VxCloudDetector since the process started (or the last reset).
VXCLOUDDETECTOR_EXPORT std::uint64_t VxCloudDetector_StopCount();
// Sets both counts back to zero; for tests that check one sequence of calls.
VXCLOUDDETECTOR_EXPORT void VxCloudDetector_ResetCounts();
#endif
}
