#pragma once
// Texts as YAML scalars: when a text may stand plain, how it is double-quoted, and how a
// multi-line text becomes a literal block scalar. Each form reads back as exactly the text given.

#include <cstddef>
#include <string>
#include <string_view>

namespace vx_xini {

// True if `text` can be written without quotes anywhere (block or flow) and reads back as the
// same text, never as a number, a truth value or nothing: it starts with a letter or '_', holds
// only letters, digits, spaces and _ . - + / ( ), does not end in a space, and is not one of the
// words YAML 1.1 takes for true, false or null.
bool IsPlainSafe(std::string_view text);

// "text" with \\, \", and control characters escaped; other bytes as they are.
std::string DoubleQuoted(std::string_view text);

// A key or a short text: plain where safe, else double-quoted.
std::string ScalarText(std::string_view text);

// True if `text` has a line end and can be a literal block scalar: no control characters other
// than line feed and tab, no carriage return.
bool SuitsLiteralBlock(std::string_view text);

// Appends the literal block scalar of `text` (which SuitsLiteralBlock): the header (|, |- or |+,
// with an indentation indicator where the first line starts with a space or is empty) and a line
// end, then every line of the text indented by `indent` spaces. Empty lines carry no spaces.
void AppendLiteralBlock(std::string& out, std::string_view text, std::size_t indent);

}  // namespace vx_xini
