#pragma once
// Reading a whole regular file, bounded: what the settings reader and the tool do with a file
// that a person names.

#include <cstdint>
#include <optional>
#include <string>

#include "VxCommon_export.h"

// Why a file could not be read: at which step, and the detail (the system's reason, "it is a
// folder, not a regular file", "the file is larger than N bytes").
struct TVxReadFailure {
  enum class TStep { Open, Kind, Size, Read };
  TStep step = TStep::Open;
  std::string detail;
};

// Reads the file at `path` into *bytes. The file is opened without blocking, so that a FIFO
// without a writer is refused rather than waited for; anything but a regular file is refused
// (TStep::Kind), and so is a file of more than `maxBytes` bytes, as soon as the surplus is read
// (TStep::Size). Returns the failure, or nullopt on success; *bytes is unspecified after a
// failure. Never throws but std::bad_alloc.
VXCOMMON_EXPORT std::optional<TVxReadFailure> VxReadRegularFile(const std::string& path,
                                                                std::uint64_t maxBytes,
                                                                std::string* bytes);
