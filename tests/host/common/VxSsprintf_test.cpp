#include "VxSsprintf.h"

#include <gtest/gtest.h>

#include <string>

TEST(Ssprintf, FormatsLikePrintf) {
  EXPECT_EQ(Vextrion::ssprintf("%s\n@X: %i.", "ctx", -7), "ctx\n@X: -7.");
  EXPECT_EQ(Vextrion::ssprintf("%.3f|%5s|%llu", 1.5, "ab", 18446744073709551615ull),
            "1.500|   ab|18446744073709551615");
}

TEST(Ssprintf, EmptyFormatGivesEmptyText) {
  EXPECT_EQ(Vextrion::ssprintf("%s", ""), "");
}

TEST(Ssprintf, LongResultIsNotCut) {
  const std::string long_text(10000, 'q');
  EXPECT_EQ(Vextrion::ssprintf("<%s>", long_text.c_str()), "<" + long_text + ">");
}
