#pragma once
// Numbers as settings texts: shortest round-trip formatting and strict parsing, both independent
// of the process locale (std::to_chars / std::from_chars).

#include <string>
#include <string_view>

namespace vx_xini {

std::string FormatInt(long long value);
std::string FormatUnsigned(unsigned long long value);
// Shortest text that reads back bit for bit; -0 keeps its sign; .nan, .inf, -.inf.
std::string FormatDouble(double value);

enum class TParseResult { Ok, Invalid, OutOfRange };

// [-+]?[0-9]+ within the range of int.
TParseResult ParseInt(std::string_view text, int& value);
// [+]?[0-9]+ within the range of unsigned long.
TParseResult ParseUnsigned(std::string_view text, unsigned long& value);
// [-+]?(\.[0-9]+|[0-9]+(\.[0-9]*)?)([eE][-+]?[0-9]+)? or [-+]?.inf / .nan in the spellings of
// YAML (.inf .Inf .INF, .nan .NaN .NAN). A number beyond the range of double, or so small that it
// would become zero, is out of range.
TParseResult ParseDouble(std::string_view text, double& value);

}  // namespace vx_xini
