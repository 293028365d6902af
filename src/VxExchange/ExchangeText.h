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

// The value with `digits` significant digits: plain decimals from 1e-4 to 1e16 ("10000",
// "0.0017831947042852964"), else the exponent form ("-3.64e-05").
std::string FormatDigits(double value, int digits);

// The fewest digits that read back as the value, for messages.
std::string ShortestText(double value);

}  // namespace vx_exchange
