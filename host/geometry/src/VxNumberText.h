#pragma once
// Numbers in the geometry library's messages. Internal to the library.

#include <charconv>
#include <string>

namespace vx_geometry_detail {

// The shortest text that reads back as exactly `value` ("-1.5", "1e-300", "nan", "inf"),
// whatever the program's locale: a message names the value the caller passed, not a rounding of
// it ("0.000000" for 1e-300) in the host's decimal comma ("-1,500000").
inline std::string NumberText(double value) {
  char buffer[32];
  const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
  return std::string(buffer, result.ptr);
}

}  // namespace vx_geometry_detail
