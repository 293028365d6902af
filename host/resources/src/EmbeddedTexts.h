#pragma once
// The texts compiled in from texts/<language>.txt by the build (generated source).

#include <cstddef>

namespace vx_resources {

struct TEmbeddedText {
  const char* key;
  const char* text;
};

struct TEmbeddedLanguage {
  const char* module;
  const char* language;
  const TEmbeddedText* texts;
  std::size_t count;
};

extern const TEmbeddedLanguage kEmbeddedLanguages[];
extern const std::size_t kEmbeddedLanguageCount;

}  // namespace vx_resources
