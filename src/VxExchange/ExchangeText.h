#pragma once
// Numbers and messages shared by the readers and writers.

#include <string>

#include "VxExchange.h"

namespace vx_exchange {

// Throws TVxExchangeError "<path>: <key>: <what>" (the key left out when empty).
[[noreturn]] void Fail(const std::string& path, const std::string& key, const std::string& what);

// A decimal number as the files hold it: the whole text, finite. Anything else throws naming
// the file, the key and the text.
double ParseNumberE(const std::string& text, const std::string& path, const std::string& key);

// A whole number > 0 (an image size, a camera id).
std::uint64_t ParseCountE(const std::string& text, const std::string& path, const std::string& key);

// The value with `digits` significant digits ("%.*g").
std::string FormatDigits(double value, int digits);

}  // namespace vx_exchange
