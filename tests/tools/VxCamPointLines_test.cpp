// The lines of `vxcam transform`'s standard input: read in blocks whatever pieces the stream
// hands out, refused when too long without being held whole, and parsed into points.
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <streambuf>
#include <string>
#include <vector>

#include "VxCamPointLines.h"

namespace {

using vxcam::kMaxLineBytes;
using vxcam::TLineKind;
using vxcam::TLineRead;
using vxcam::TLineReader;

// A stream that hands out its text `piece` bytes at a time, holding nothing more in its buffer,
// and counts the bytes it has handed out.
class TPieceBuffer : public std::streambuf {
 public:
  TPieceBuffer(std::string text, std::size_t piece) : text_(std::move(text)), piece_(piece) {}
  std::size_t HandedOut() const { return next_; }

 protected:
  int_type underflow() override {
    if (next_ == text_.size()) return traits_type::eof();
    const std::size_t n = std::min(piece_, text_.size() - next_);
    char* start = &text_[next_];
    setg(start, start, start + n);
    next_ += n;
    return traits_type::to_int_type(*start);
  }

 private:
  std::string text_;
  std::size_t piece_;
  std::size_t next_ = 0;
};

struct TRead {
  std::vector<std::string> lines;
  TLineRead last = TLineRead::End;
  int pauses = 0;
};

// Every line up to the end or the first line that is too long.
TRead ReadAll(std::istream& in) {
  TRead read;
  TLineReader reader(in);
  std::string_view line;
  for (;;) {
    read.last = reader.Next(line, [&read] { ++read.pauses; });
    if (read.last != TLineRead::Line) return read;
    read.lines.emplace_back(line);
  }
}

TEST(VxCamPointLines, LinesSplitAcrossPieces_ComeOutWhole) {
  const std::string text = "1 2\n\n# comment\r\n-3.5 4e2 rest of it\n5 6";
  const std::vector<std::string> expected = {"1 2", "", "# comment\r", "-3.5 4e2 rest of it",
                                             "5 6"};
  for (const std::size_t piece : {1u, 2u, 3u, 7u, 64u}) {
    TPieceBuffer buffer(text, piece);
    std::istream in(&buffer);
    const TRead read = ReadAll(in);
    EXPECT_EQ(read.lines, expected) << "pieces of " << piece;
    EXPECT_EQ(read.last, TLineRead::End);
  }
}

TEST(VxCamPointLines, EmptyInput_IsTheEndAtOnce) {
  std::istringstream in("");
  const TRead read = ReadAll(in);
  EXPECT_TRUE(read.lines.empty());
  EXPECT_EQ(read.last, TLineRead::End);
}

TEST(VxCamPointLines, ReaderPausesOnlyWhenTheStreamHoldsNothing) {
  // A string stream holds all of its text: the reader never waits, except to find the end.
  std::istringstream whole("1 2\n3 4\n5 6\n");
  EXPECT_EQ(ReadAll(whole).pauses, 1);
  // Pieces of four bytes: every line ("1 2\n") is a piece, and each is waited for.
  TPieceBuffer buffer("1 2\n3 4\n5 6\n", 4);
  std::istream in(&buffer);
  EXPECT_EQ(ReadAll(in).pauses, 4);
}

TEST(VxCamPointLines, LineOfTheLongestLength_IsALine) {
  const std::string longest(kMaxLineBytes, 'x');
  for (const std::size_t piece : {std::size_t{1000}, kMaxLineBytes, 3 * kMaxLineBytes}) {
    TPieceBuffer buffer(longest + "\n" + longest, piece);
    std::istream in(&buffer);
    const TRead read = ReadAll(in);
    ASSERT_EQ(read.lines.size(), 2u) << "pieces of " << piece;
    EXPECT_EQ(read.lines[0], longest);
    EXPECT_EQ(read.lines[1], longest);
    EXPECT_EQ(read.last, TLineRead::End);
  }
}

TEST(VxCamPointLines, LongerLine_IsRefusedWithoutBeingReadWhole) {
  const std::string huge(40 * kMaxLineBytes, 'x');
  for (const std::string& text : {"1 2\n" + std::string(kMaxLineBytes + 1, 'x') + "\n3 4\n",
                                  "1 2\n" + huge + "\n", "1 2\n" + huge}) {
    TPieceBuffer buffer(text, 4096);
    std::istream in(&buffer);
    const TRead read = ReadAll(in);
    ASSERT_EQ(read.lines.size(), 1u);
    EXPECT_EQ(read.lines[0], "1 2");
    EXPECT_EQ(read.last, TLineRead::TooLong);
    // Refused once a byte more than the longest line has come, with at most a block read ahead.
    EXPECT_LE(buffer.HandedOut(), 3 * kMaxLineBytes);
  }
}

TEST(VxCamPointLines, ParsePointLine_PointsRestAndNothing) {
  const auto point = vxcam::ParsePointLine(" \t-1.5\t2e3   id 7 \t\r");
  EXPECT_EQ(point.kind, TLineKind::Point);
  EXPECT_EQ(point.point.x, -1.5);
  EXPECT_EQ(point.point.y, 2000.0);
  EXPECT_EQ(point.rest, "id 7");
  const auto crlf = vxcam::ParsePointLine("1 2\r");
  EXPECT_EQ(crlf.kind, TLineKind::Point);
  EXPECT_EQ(crlf.rest, "");
  for (const char* nothing : {"", "   \t", "#", "# 1 2", "#1 2"}) {
    EXPECT_EQ(vxcam::ParsePointLine(nothing).kind, TLineKind::Nothing) << nothing;
  }
  for (const char* bad : {"1", "1 ", "1 x", "x 1", "1 nan", "inf 1", "1,2", "0x1p3 1", "1 1e400"}) {
    EXPECT_EQ(vxcam::ParsePointLine(bad).kind, TLineKind::NotAPoint) << bad;
  }
}

}  // namespace
