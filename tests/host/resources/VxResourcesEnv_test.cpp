// Checks the language that the environment chose; the expected language is the first argument.

#include <gtest/gtest.h>

#include <string>

#include "VxResources.h"

namespace {
std::string g_expected;
}

TEST(ResourcesEnv, LanguageComesFromEnvironment) {
  EXPECT_EQ(VxGetResLanguage(), g_expected);
  const std::string* text = nullptr;
  ASSERT_TRUE(LoadResString("VxCameraUtils", "global.TEXT_CI_TYPE_CROSS", &text));
  EXPECT_EQ(*text, g_expected == "de" ? "Kreuz" : "Cross");
}

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  if (argc != 2) return 2;
  g_expected = argv[1];
  return RUN_ALL_TESTS();
}
