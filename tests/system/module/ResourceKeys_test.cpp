// Every resource key that the library's sources name has a non-empty text in every language.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <regex>
#include <set>
#include <sstream>
#include <string>

#include "VxResourceGuards.h"
#include "VxResources.h"

namespace {

std::set<std::string> KeysNamedInSources() {
  const std::regex keyLiteral(R"re("(global\.[A-Za-z0-9_]+)")re");
  std::set<std::string> keys;
  for (const auto& entry :
       std::filesystem::recursive_directory_iterator(std::string(VX_SOURCE_DIR) + "/src")) {
    if (!entry.is_regular_file()) continue;
    std::ifstream in(entry.path());
    std::stringstream text;
    text << in.rdbuf();
    const std::string content = text.str();
    for (std::sregex_iterator it(content.begin(), content.end(), keyLiteral), end; it != end;
         ++it) {
      keys.insert((*it)[1]);
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
