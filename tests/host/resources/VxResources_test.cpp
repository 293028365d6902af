#include "VxResources.h"

#include <gtest/gtest.h>

#include <string>

#include "VxResourceGuards.h"

namespace {
const char kModule[] = "VxCameraUtils";
}

TEST(Resources, KnownKeyGivesTextOfLanguage) {
  EXPECT_EQ(ResText("global.TEXT_CI_TYPE_CROSS", "en"), "Cross");
  EXPECT_EQ(ResText("global.TEXT_CI_TYPE_CROSS", "de"), "Kreuz");
}

TEST(Resources, UnknownKeyFailsAndLeavesPointer) {
  const std::string sentinel = "untouched";
  const std::string* text = &sentinel;
  EXPECT_FALSE(LoadResString(kModule, "global.NoSuchKey", &text));
  EXPECT_EQ(text, &sentinel);
}

TEST(Resources, UnknownModuleFails) {
  const std::string* text = nullptr;
  EXPECT_FALSE(LoadResString("OtherModule", "global.TEXT_CI_TYPE_CROSS", &text));
  EXPECT_EQ(text, nullptr);
}

TEST(Resources, BothEmbeddedLanguagesAreKnown) {
  const auto languages = VxResLanguages();
  EXPECT_EQ(languages, (std::vector<std::string>{"de", "en"}));
}

TEST(Resources, SettingUnknownLanguageKeepsCurrent) {
  ScopedResLanguage scope("de");
  EXPECT_FALSE(VxSetResLanguage("tlh"));
  EXPECT_EQ(VxGetResLanguage(), "de");
}

TEST(Resources, LanguageNameIsTakenFromLocaleStyleValue) {
  ScopedResLanguage scope("en");
  EXPECT_TRUE(VxSetResLanguage("DE_at.UTF-8"));
  EXPECT_EQ(VxGetResLanguage(), "de");
}

TEST(Resources, KeyMissingInLanguageFallsBackToEnglish) {
  VxRegisterResTexts("TestModule", "en", {{"only.english", "English"}});
  VxRegisterResTexts("TestModule", "de", {{"other.key", "Deutsch"}});
  ScopedResLanguage scope("de");
  const std::string* text = nullptr;
  ASSERT_TRUE(LoadResString("TestModule", "only.english", &text));
  EXPECT_EQ(*text, "English");
  VxClearResTexts("TestModule");
}

TEST(Resources, TextStaysAliveAfterItsModuleIsCleared) {
  VxRegisterResTexts("TestModule", "en", {{"k", "first"}});
  const std::string* text = nullptr;
  ASSERT_TRUE(LoadResString("TestModule", "k", &text));
  VxRegisterResTexts("TestModule", "en", {{"k", "second"}});
  VxClearResTexts("TestModule");
  EXPECT_EQ(*text, "first");
  EXPECT_FALSE(LoadResString("TestModule", "k", &text));
}

TEST(Resources, ClearedModuleComesBackWithEmbeddedTexts) {
  {
    ScopedNoResTexts none;
    const std::string* text = nullptr;
    EXPECT_FALSE(LoadResString(kModule, "global.TEXT_CI_TYPE_CROSS", &text));
  }
  EXPECT_EQ(ResText("global.TEXT_CI_TYPE_CROSS", "en"), "Cross");
}

TEST(Resources, EveryEnglishKeyHasGermanTextAndNoTextIsEmpty) {
  const auto english = VxResKeys(kModule, "en");
  const auto german = VxResKeys(kModule, "de");
  EXPECT_EQ(english, german);
  // 26 user texts, 3 camera texts and 9 check texts.
  EXPECT_GE(english.size(), 38u);
  for (const auto& key : english) {
    EXPECT_FALSE(ResText(key, "en").empty()) << key;
    EXPECT_FALSE(ResText(key, "de").empty()) << key;
  }
}
