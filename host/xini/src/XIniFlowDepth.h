#pragma once
// A quick look at a settings text before it is parsed, for the one shape that would make the
// parser hold far more memory than the text: flow collections ('[' and '{') nested deeper than
// any settings file may nest. The parser reads ahead over every unclosed flow bracket before it
// reports a single event, so a few megabytes of '[' would cost gigabytes before the depth limit
// could trip; the reader parses only the text up to the first too deep bracket instead.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vx_xini {

// Where a flow collection first opens too deep: the text up to and including its bracket, the
// brackets that close every collection open there (innermost first), and the 1-based line and
// column of the bracket.
struct TFlowCut {
  std::size_t end = 0;
  std::string closers;
  std::uint32_t line = 0;
  std::uint32_t column = 0;
};

// The first '[' or '{' that opens a flow collection at flow level `limit` + 1 or deeper (the
// outermost flow collection is at level 1), or nothing. Quoted texts, comments and block
// scalars are skipped; a bracket inside a plain text of a block ("a [b") opens nothing.
std::optional<TFlowCut> FindTooDeepFlow(std::string_view text, std::size_t limit);

}  // namespace vx_xini
