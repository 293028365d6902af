#include "ExchangeText.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace vx_exchange {

void Fail(const std::string& path, const std::string& key, const std::string& what) {
  std::string message;
  for (const std::string& part : {path, key})
    if (!part.empty()) message += part + ": ";
  throw TVxExchangeError(message + what);
}

double ParseNumberE(const std::string& text, const std::string& path, const std::string& key) {
  // strtod accepts "nan", "inf" and hexadecimal: none of these is a calibration value.
  const bool plain =
      !text.empty() && text.find_first_not_of("+-.0123456789eE") == std::string::npos;
  char* end = nullptr;
  const double value = plain ? std::strtod(text.c_str(), &end) : 0.0;
  // An underflow reads as the nearest number (ERANGE with a tiny or zero value); an overflow is
  // not finite.
  if (!plain || end != text.c_str() + text.size() || !std::isfinite(value))
    Fail(path, key, "not a finite decimal number: '" + text + "'");
  return value;
}

std::uint64_t ParseCountE(const std::string& text, const std::string& path,
                          const std::string& key) {
  const bool digits = !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
  char* end = nullptr;
  errno = 0;
  const unsigned long long value = digits ? std::strtoull(text.c_str(), &end, 10) : 0;
  if (!digits || errno == ERANGE || value == 0)
    Fail(path, key, "not a whole number greater than 0: '" + text + "'");
  return static_cast<std::uint64_t>(value);
}

std::string FormatDigits(double value, int digits) {
  char buffer[400];
  if (!std::isfinite(value)) {
    std::snprintf(buffer, sizeof buffer, "%g", value);
    return buffer;
  }
  std::snprintf(buffer, sizeof buffer, "%.*e", digits - 1, value);
  const int exponent = std::atoi(std::strchr(buffer, 'e') + 1);
  // Plain decimals where a person reads them so ("10000", "0.0017"), as calibration programs
  // write them; the exponent form for the very small and the very large.
  if (exponent >= -4 && exponent < 16)
    std::snprintf(buffer, sizeof buffer, "%.*f", std::max(0, digits - 1 - exponent), value);
  return buffer;
}

std::string ShortestText(double value) {
  for (int digits = 1; digits < 17; ++digits) {
    const std::string text = FormatDigits(value, digits);
    if (std::strtod(text.c_str(), nullptr) == value) return text;
  }
  return FormatDigits(value, 17);
}

}  // namespace vx_exchange
