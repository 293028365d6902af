#pragma once
// Numbers typed by people or read from standard input: the decimal numbers of the settings files,
// finite, whatever the locale.

#include <string_view>

namespace vxcam {

// Parses [-+]?(digits[.digits]|.digits)([eE][-+]?digits)? as a finite double. Refuses what the
// settings files refuse too: hexadecimal ("0x1p3"), "nan", "inf", a number beyond the range of
// double ("1e400") or so small that it would become zero ("1e-400"), and anything around it.
bool ParseFiniteNumber(std::string_view text, double& value);

}  // namespace vxcam
