#include "VxCamPointLines.h"

#include <algorithm>
#include <cstring>

#include "VxCamNumbers.h"

namespace vxcam {
namespace {

// Fields are separated by these (a test per character, cheaper than a search for a set).
bool IsBlank(char c) {
  return c == ' ' || c == '\t' || c == '\r';
}

std::size_t SkipBlanks(std::string_view line, std::size_t at) {
  while (at < line.size() && IsBlank(line[at])) ++at;
  return at;
}

// The field starting at or after `at`, or an empty view at the line's end; `at` moves past it.
std::string_view NextField(std::string_view line, std::size_t& at) {
  const std::size_t start = SkipBlanks(line, at);
  at = start;
  while (at < line.size() && !IsBlank(line[at])) ++at;
  return line.substr(start, at - start);
}

}  // namespace

bool TLineReader::TakeLine(std::string_view& line) {
  const char* start = block_.data() + begin_;
  const auto available = end_ - begin_;
  const auto* lineEnd = static_cast<const char*>(std::memchr(start, '\n', available));
  if (lineEnd == nullptr) {
    // The start of a line that ends in a later block. Next refuses a line as soon as this holds
    // more than kMaxLineBytes, so never more than a byte beyond the longest line is kept.
    partial_.append(start, std::min(available, kMaxLineBytes + 1 - partial_.size()));
    begin_ = end_;
    return false;
  }
  const auto length = static_cast<std::size_t>(lineEnd - start);
  begin_ += length + 1;
  if (partial_.empty()) {
    line = std::string_view(start, length);
    return true;
  }
  partial_.append(start, length);
  TakePartial(line);
  return true;
}

void TLineReader::TakePartial(std::string_view& line) {
  whole_.swap(partial_);
  partial_.clear();
  line = whole_;
}

bool TLineReader::Refill() {
  using TTraits = std::char_traits<char>;
  std::streamsize available = in_.in_avail();
  if (available <= 0) {
    // Waits for input; a stream that keeps no buffer gives it a byte at a time.
    if (TTraits::eq_int_type(in_.sgetc(), TTraits::eof())) return false;
    available = std::max<std::streamsize>(in_.in_avail(), 1);
  }
  const auto wanted = std::min(static_cast<std::size_t>(available), block_.size());
  begin_ = 0;
  end_ = static_cast<std::size_t>(in_.sgetn(block_.data(), static_cast<std::streamsize>(wanted)));
  return end_ > 0;
}

TPointLine ParsePointLine(std::string_view line) {
  TPointLine parsed;
  std::size_t at = 0;
  const std::string_view x = NextField(line, at);
  if (x.empty() || x[0] == '#') return parsed;
  const std::string_view y = NextField(line, at);
  if (y.empty() || !ParseFiniteNumber(x, parsed.point.x) || !ParseFiniteNumber(y, parsed.point.y)) {
    parsed.kind = TLineKind::NotAPoint;
    return parsed;
  }
  parsed.kind = TLineKind::Point;
  const std::size_t restStart = SkipBlanks(line, at);
  std::size_t restEnd = line.size();
  while (restEnd > restStart && IsBlank(line[restEnd - 1])) --restEnd;
  parsed.rest = line.substr(restStart, restEnd - restStart);
  return parsed;
}

}  // namespace vxcam
