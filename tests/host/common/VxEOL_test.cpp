#include "VxEOL.h"

#include <gtest/gtest.h>

TEST(VxNormalizeEOL, MixedLineEndsBecomeTheKindAsked) {
  const std::string mixed = "a\nb\r\nc\rd";
  EXPECT_EQ(VxNormalizeEOL(mixed, TEOLType::LF), "a\nb\nc\nd");
  EXPECT_EQ(VxNormalizeEOL(mixed, TEOLType::CR), "a\rb\rc\rd");
  EXPECT_EQ(VxNormalizeEOL(mixed, TEOLType::CRLF), "a\r\nb\r\nc\r\nd");
}

TEST(VxNormalizeEOL, CrFollowedByLfIsOneLineEnd) {
  EXPECT_EQ(VxNormalizeEOL("\r\n\r\n", TEOLType::LF), "\n\n");
  EXPECT_EQ(VxNormalizeEOL("\n\r", TEOLType::LF), "\n\n");
}

TEST(VxNormalizeEOL, TextWithoutLineEndsIsUnchanged) {
  EXPECT_EQ(VxNormalizeEOL("", TEOLType::CRLF), "");
  EXPECT_EQ(VxNormalizeEOL("no line end", TEOLType::CRLF), "no line end");
}

TEST(VxNormalizeEOL, RoundTripThroughFileFormKeepsMemoryForm) {
  const std::string memory = "line 1\r\nline 2\r\n";
  EXPECT_EQ(VxNormalizeEOL(VxNormalizeEOL(memory, TEOLType::LF), TEOLType::CRLF), memory);
}
