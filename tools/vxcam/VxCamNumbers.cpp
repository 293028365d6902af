#include "VxCamNumbers.h"

#include <charconv>
#include <cmath>
#include <system_error>

namespace vxcam {
namespace {

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

// The shape of a decimal number, checked before from_chars, which would also take "nan", "inf"
// and "infinity".
bool IsDecimal(std::string_view text) {
  std::size_t i = 0;
  if (i < text.size() && (text[i] == '-' || text[i] == '+')) ++i;
  std::size_t digits = 0;
  while (i < text.size() && IsDigit(text[i])) ++i, ++digits;
  if (i < text.size() && text[i] == '.') {
    ++i;
    while (i < text.size() && IsDigit(text[i])) ++i, ++digits;
  }
  if (digits == 0) return false;
  if (i < text.size() && (text[i] == 'e' || text[i] == 'E')) {
    ++i;
    if (i < text.size() && (text[i] == '-' || text[i] == '+')) ++i;
    std::size_t exponent = 0;
    while (i < text.size() && IsDigit(text[i])) ++i, ++exponent;
    if (exponent == 0) return false;
  }
  return i == text.size();
}

}  // namespace

bool ParseFiniteNumber(std::string_view text, double& value) {
  if (!IsDecimal(text)) return false;
  if (text[0] == '+') text.remove_prefix(1);
  double parsed = 0.0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), parsed);
  if (error != std::errc() || end != text.data() + text.size() || !std::isfinite(parsed)) {
    return false;
  }
  value = parsed;
  return true;
}

}  // namespace vxcam
