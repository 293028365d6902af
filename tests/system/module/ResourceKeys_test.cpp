// Every resource key that the library's sources name has a non-empty text in every language.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <string>

#include "VxResourceGuards.h"
#include "VxResources.h"

namespace {

std::set<std::string> KeysNamedInSources() {
  const std::string opening = "\"global.";
  std::set<std::string> keys;
  for (const auto& entry :
       std::filesystem::recursive_directory_iterator(std::string(VX_SOURCE_DIR) + "/src")) {
    if (!entry.is_regular_file()) continue;
    std::ifstream in(entry.path());
    std::stringstream text;
    text << in.rdbuf();
    const std::string content = text.str();
    // Every string literal that starts with "global. is a key; it ends at the next quote.
    for (auto at = content.find(opening); at != std::string::npos;
         at = content.find(opening, at + 1)) {
      const auto close = content.find('"', at + 1);
      if (close != std::string::npos) keys.insert(content.substr(at + 1, close - at - 1));
    }
  }
  return keys;
}

}  // namespace

TEST(ResourceKeys, EveryKeyInSourcesHasTextInEveryLanguage) {
  const auto keys = KeysNamedInSources();
  // The user texts, the camera texts and the check texts at least.
  EXPECT_GE(keys.size(), 3u);
  for (const std::string& language : VxResLanguages()) {
    ScopedResLanguage scope(language);
    for (const auto& key : keys) {
      const std::string* text = nullptr;
      const auto inLanguage = VxResKeys("VxCameraUtils", language);
      EXPECT_TRUE(std::binary_search(inLanguage.begin(), inLanguage.end(), key))
          << key << " has no text in " << language;
      ASSERT_TRUE(LoadResString("VxCameraUtils", key, &text)) << key;
      EXPECT_FALSE(text->empty()) << key << " is empty in " << language;
    }
  }
}
