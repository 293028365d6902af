#include "VxXIniTypes.h"

#include <string>

namespace vx {
const std::string s_x = "x";
const std::string s_y = "y";
}  // namespace vx

namespace {

std::string ComposeReadMessage(const std::string& source, std::uint32_t line, std::uint32_t column,
                               const std::string& keyPath, const std::string& problem) {
  std::string message = source;
  if (line != 0) {
    message += ':' + std::to_string(line) + ':' + std::to_string(column);
  }
  message += ": ";
  if (!keyPath.empty()) {
    message += keyPath + ": ";
  }
  return message + problem;
}

}  // namespace

TVxXIniReadError::TVxXIniReadError(const std::string& source, std::uint32_t line,
                                   std::uint32_t column, const std::string& keyPath,
                                   const std::string& problem)
    : std::runtime_error(ComposeReadMessage(source, line, column, keyPath, problem)),
      source_(source),
      line_(line),
      column_(column),
      keyPath_(keyPath) {}

TVxXIniWriteError::TVxXIniWriteError(const std::string& message) : std::runtime_error(message) {}
