#include "XIniScalars.h"

#include <array>

namespace vx_xini {

namespace {

bool IsLetter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}
bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

char LowerAscii(char c) {
  return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
}

// Words that YAML 1.1 readers take for a truth value or for nothing, compared ignoring case.
bool IsReservedWord(std::string_view text) {
  static constexpr std::array<std::string_view, 9> kWords = {"yes", "no",   "true", "false", "on",
                                                             "off", "null", "nan",  "inf"};
  if (text.size() > 5) {
    return false;
  }
  std::string lower;
  for (const char c : text) {
    lower += LowerAscii(c);
  }
  for (const std::string_view word : kWords) {
    if (lower == word) {
      return true;
    }
  }
  return false;
}

}  // namespace

bool IsPlainSafe(std::string_view text) {
  if (text.empty() || !(IsLetter(text.front()) || text.front() == '_') || text.back() == ' ') {
    return false;
  }
  for (const char c : text) {
    const bool allowed = IsLetter(c) || IsDigit(c) || c == ' ' || c == '_' || c == '.' ||
                         c == '-' || c == '+' || c == '/' || c == '(' || c == ')';
    if (!allowed) {
      return false;
    }
  }
  return !IsReservedWord(text);
}

std::string DoubleQuoted(std::string_view text) {
  static constexpr char kHex[] = "0123456789ABCDEF";
  std::string out;
  out.reserve(text.size() + 2);
  out += '"';
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    switch (c) {
      case '"':
        out += "\\\"";
        break;
      case '\\':
        out += "\\\\";
        break;
      case '\n':
        out += "\\n";
        break;
      case '\t':
        out += "\\t";
        break;
      case '\r':
        out += "\\r";
        break;
      default:
        if (byte < 0x20 || byte == 0x7F) {
          out += "\\x";
          out += kHex[byte >> 4];
          out += kHex[byte & 0x0F];
        } else {
          out += c;  // bytes of UTF-8 sequences pass as they are
        }
    }
  }
  out += '"';
  return out;
}

std::string ScalarText(std::string_view text) {
  return IsPlainSafe(text) ? std::string(text) : DoubleQuoted(text);
}

bool SuitsLiteralBlock(std::string_view text) {
  bool hasLineEnd = false;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (c == '\n') {
      hasLineEnd = true;
    } else if ((byte < 0x20 && c != '\t') || byte == 0x7F) {
      return false;
    }
  }
  return hasLineEnd;
}

void AppendLiteralBlock(std::string& out, std::string_view text, std::size_t indent) {
  // Chomping: strip (-) without a final line end, clip (none) with exactly one, keep (+) with more.
  std::size_t finalLineEnds = 0;
  while (finalLineEnds < text.size() && text[text.size() - 1 - finalLineEnds] == '\n') {
    ++finalLineEnds;
  }
  out += '|';
  // The indentation is found from the first non-empty line unless stated; state it when that
  // line could mislead: the text begins with a space or a line end.
  if (!text.empty() && (text.front() == ' ' || text.front() == '\n')) {
    out += '2';
  }
  if (finalLineEnds == 0) {
    out += '-';
  } else if (finalLineEnds > 1 || finalLineEnds == text.size()) {
    // Clipping would also drop the only line end of a text that is nothing but line ends.
    out += '+';
  }
  out += '\n';
  const std::string padding(indent, ' ');
  // Every line, with its line end; a text ending without one still ends its last line here.
  std::size_t start = 0;
  while (start < text.size()) {
    std::size_t end = text.find('\n', start);
    if (end == std::string_view::npos) {
      end = text.size();
    }
    if (end > start) {
      out += padding;
      out.append(text.substr(start, end - start));
    }
    out += '\n';
    start = end + 1;
  }
}

}  // namespace vx_xini
