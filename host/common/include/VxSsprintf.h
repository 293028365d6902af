#pragma once
// printf-style formatting into a std::string.

#include <string>

#include "VxCommon_export.h"

namespace Vextrion {

// Formats like std::printf and returns the text. The format and its arguments are checked by the
// compiler; a format that the C library rejects gives an empty string.
VXCOMMON_EXPORT std::string ssprintf(const char* format, ...) __attribute__((format(printf, 1, 2)));

}  // namespace Vextrion
