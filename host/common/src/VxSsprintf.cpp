#include "VxSsprintf.h"

#include <cstdarg>
#include <cstdio>

namespace Vextrion {

std::string ssprintf(const char* format, ...) {
  va_list args;
  va_start(args, format);
  va_list measure;
  va_copy(measure, args);
  const int length = std::vsnprintf(nullptr, 0, format, measure);
  va_end(measure);
  std::string text;
  if (length > 0) {
    // vsnprintf writes the terminating zero too; std::string keeps room for it past size().
    text.resize(static_cast<std::size_t>(length));
    std::vsnprintf(text.data(), text.size() + 1, format, args);
  }
  va_end(args);
  return text;
}

}  // namespace Vextrion
