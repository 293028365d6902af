#pragma once
// The lines of points that `vxcam transform` reads from standard input: how a line is read and
// what it holds. Parsing a line touches nothing but the line, so batches of lines are parsed on
// several threads.

#include <cstddef>
#include <cstdint>
#include <istream>
#include <streambuf>
#include <string>
#include <string_view>
#include <vector>

#include "VxVec.h"

namespace vxcam {

// A line of standard input holds at most this many bytes: a longer one is refused as it is read,
// never held whole (a pair of numbers needs fewer than a hundred).
constexpr std::size_t kMaxLineBytes = 65536;

enum class TLineRead { Line, End, TooLong };

// The lines of a stream, read in blocks of what the stream holds at the moment: a block of
// lines costs one copy and one search for line ends, not a call a byte. The reader waits for
// input only when it has no whole line left, and says so first (Next's `pause`), so that the
// lines before can be answered while the writer of the input waits for them.
class TLineReader {
 public:
  explicit TLineReader(std::istream& in) : in_(*in.rdbuf()), block_(kBlockBytes) {}

  // The next line, without its line end, valid until the next call; a line longer than
  // kMaxLineBytes is TooLong as soon as that many bytes of it have come. pause() is called
  // before waiting for input.
  template <class Pause>
  TLineRead Next(std::string_view& line, const Pause& pause) {
    for (;;) {
      if (TakeLine(line)) return line.size() > kMaxLineBytes ? TLineRead::TooLong : TLineRead::Line;
      if (partial_.size() > kMaxLineBytes) return TLineRead::TooLong;
      if (in_.in_avail() <= 0) pause();
      if (!Refill()) break;
    }
    if (partial_.empty()) return TLineRead::End;
    // The last line, without a line end.
    TakePartial(line);
    return line.size() > kMaxLineBytes ? TLineRead::TooLong : TLineRead::Line;
  }

 private:
  static constexpr std::size_t kBlockBytes = std::size_t{1} << 16;

  // The next whole line of the block, or false (the block's last bytes are kept as the start of
  // a line).
  bool TakeLine(std::string_view& line);
  // The line put together in partial_, as `line`; partial_ is then empty.
  void TakePartial(std::string_view& line);
  // Reads what the stream holds (waiting for at least a byte); false at the end of the input.
  bool Refill();

  std::streambuf& in_;
  std::vector<char> block_;
  std::size_t begin_ = 0, end_ = 0;  // the bytes of block_ not yet taken
  // The start of a line that began in an earlier block, and a line put together from one.
  std::string partial_, whole_;
};

// What a line holds: a point "x y" (and maybe more columns), nothing (empty, blank or a comment
// starting with '#'), or something that is not a point.
enum class TLineKind : std::uint8_t { Nothing, Point, NotAPoint };

struct TPointLine {
  TLineKind kind = TLineKind::Nothing;
  vec_t_<double, 2> point;
  // The columns after x and y as they came, from the first of them to the line's end without
  // its trailing blanks; empty when there are none.
  std::string_view rest;
};

// The fields are separated by spaces, tabs and carriage returns; x and y are finite decimal
// numbers (ParseFiniteNumber).
TPointLine ParsePointLine(std::string_view line);

}  // namespace vxcam
