#include "VxEOL.h"

namespace {

const char* LineEnd(TEOLType kind) {
  switch (kind) {
    case TEOLType::CR:
      return "\r";
    case TEOLType::CRLF:
      return "\r\n";
    case TEOLType::LF:
      break;
  }
  return "\n";
}

}  // namespace

std::string VxNormalizeEOL(const std::string& text, TEOLType kind) {
  const std::string end = LineEnd(kind);
  std::string result;
  result.reserve(text.size() + text.size() / 16);
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (c == '\r') {
      if (i + 1 < text.size() && text[i + 1] == '\n') ++i;
      result += end;
    } else if (c == '\n') {
      result += end;
    } else {
      result += c;
    }
  }
  return result;
}
