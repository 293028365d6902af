#pragma once
// Start and stop of the VxCameraUtils library.
//
// A host calls Init_VxCameraUtils before it uses the library and Deinit_VxCameraUtils when it is
// done. Starts are counted: only the first start starts the library this one depends on
// (VxCloudDetector), and only the stop that matches it stops that library again; a stop without
// a start does nothing. Start and stop are to be called from one thread. Everything else in the
// library works on the records that the caller passes, and the resource texts can be looked up
// before the first start.

#include "VxCameraUtils_export.h"

extern "C" {

// Counts a start; the first one starts VxCloudDetector and records where this library's file
// lies. Throws std::logic_error if the dynamic loader names no file for the library; the
// dependency has then been started and the start is not counted.
VXCAMERAUTILS_EXPORT void Init_VxCameraUtils();

// Counts a stop; the one that brings the count back to zero stops VxCloudDetector.
VXCAMERAUTILS_EXPORT void Deinit_VxCameraUtils();
}
