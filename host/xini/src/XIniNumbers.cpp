#include "XIniNumbers.h"

#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <system_error>

namespace vx_xini {

namespace {

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

// Skips [0-9]* from `i`; returns the number of digits skipped.
std::size_t SkipDigits(std::string_view text, std::size_t& i) {
  const std::size_t start = i;
  while (i < text.size() && IsDigit(text[i])) {
    ++i;
  }
  return i - start;
}

bool IsDecimalFloat(std::string_view text) {
  std::size_t i = 0;
  if (i < text.size() && (text[i] == '-' || text[i] == '+')) {
    ++i;
  }
  const std::size_t intDigits = SkipDigits(text, i);
  std::size_t fracDigits = 0;
  if (i < text.size() && text[i] == '.') {
    ++i;
    fracDigits = SkipDigits(text, i);
  }
  if (intDigits == 0 && fracDigits == 0) {
    return false;
  }
  if (i < text.size() && (text[i] == 'e' || text[i] == 'E')) {
    ++i;
    if (i < text.size() && (text[i] == '-' || text[i] == '+')) {
      ++i;
    }
    if (SkipDigits(text, i) == 0) {
      return false;
    }
  }
  return i == text.size();
}

bool IsAllZeroMantissa(std::string_view text) {
  for (const char c : text) {
    if (c == 'e' || c == 'E') {
      break;
    }
    if (c >= '1' && c <= '9') {
      return false;
    }
  }
  return true;
}

}  // namespace

std::string FormatInt(long long value) {
  std::array<char, 32> buffer{};
  const auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value);
  return std::string(buffer.data(), result.ptr);
}

std::string FormatUnsigned(unsigned long long value) {
  std::array<char, 32> buffer{};
  const auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value);
  return std::string(buffer.data(), result.ptr);
}

std::string FormatDouble(double value) {
  if (std::isnan(value)) {
    return ".nan";
  }
  if (std::isinf(value)) {
    return value < 0 ? "-.inf" : ".inf";
  }
  std::array<char, 64> buffer{};
  const auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value);
  return std::string(buffer.data(), result.ptr);
}

TParseResult ParseInt(std::string_view text, int& value) {
  std::string_view digits = text;
  bool negative = false;
  if (!digits.empty() && (digits.front() == '-' || digits.front() == '+')) {
    negative = digits.front() == '-';
    digits.remove_prefix(1);
  }
  if (digits.empty()) {
    return TParseResult::Invalid;
  }
  for (const char c : digits) {
    if (!IsDigit(c)) {
      return TParseResult::Invalid;
    }
  }
  unsigned long long magnitude = 0;
  const auto result = std::from_chars(digits.data(), digits.data() + digits.size(), magnitude);
  constexpr auto kMaxPositive = static_cast<unsigned long long>(std::numeric_limits<int>::max());
  if (result.ec == std::errc::result_out_of_range || magnitude > kMaxPositive + 1 ||
      (!negative && magnitude > kMaxPositive)) {
    return TParseResult::OutOfRange;
  }
  const long long signedValue =
      negative ? -static_cast<long long>(magnitude) : static_cast<long long>(magnitude);
  value = static_cast<int>(signedValue);
  return TParseResult::Ok;
}

TParseResult ParseUnsigned(std::string_view text, unsigned long& value) {
  std::string_view digits = text;
  if (!digits.empty() && digits.front() == '+') {
    digits.remove_prefix(1);
  }
  if (digits.empty()) {
    return TParseResult::Invalid;
  }
  for (const char c : digits) {
    if (!IsDigit(c)) {
      return TParseResult::Invalid;
    }
  }
  unsigned long parsed = 0;
  const auto result = std::from_chars(digits.data(), digits.data() + digits.size(), parsed);
  if (result.ec == std::errc::result_out_of_range) {
    return TParseResult::OutOfRange;
  }
  value = parsed;
  return TParseResult::Ok;
}

TParseResult ParseDouble(std::string_view text, double& value) {
  std::string_view body = text;
  bool negative = false;
  if (!body.empty() && (body.front() == '-' || body.front() == '+')) {
    negative = body.front() == '-';
    body.remove_prefix(1);
  }
  if (body == ".inf" || body == ".Inf" || body == ".INF") {
    value = negative ? -std::numeric_limits<double>::infinity()
                     : std::numeric_limits<double>::infinity();
    return TParseResult::Ok;
  }
  if (body == ".nan" || body == ".NaN" || body == ".NAN") {
    if (text.size() != body.size()) {
      return TParseResult::Invalid;  // YAML has no signed NaN
    }
    value = std::numeric_limits<double>::quiet_NaN();
    return TParseResult::Ok;
  }
  if (!IsDecimalFloat(text)) {
    return TParseResult::Invalid;
  }
  // from_chars takes a leading '-' but no '+'.
  std::string_view number = text;
  if (number.front() == '+') {
    number.remove_prefix(1);
  }
  double parsed = 0.0;
  const auto result = std::from_chars(number.data(), number.data() + number.size(), parsed);
  if (result.ec == std::errc::result_out_of_range) {
    return TParseResult::OutOfRange;
  }
  if (result.ec != std::errc() || result.ptr != number.data() + number.size()) {
    return TParseResult::Invalid;
  }
  // A non-zero mantissa that came out as zero underflowed.
  if (parsed == 0.0 && !IsAllZeroMantissa(number)) {
    return TParseResult::OutOfRange;
  }
  value = parsed;
  return TParseResult::Ok;
}

}  // namespace vx_xini
