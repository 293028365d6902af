#pragma once
// Scoped changes of the resource-text service for tests; each restores what it changed.

#include <string>

#include "VxResources.h"

// Switches the language of the resource texts for the life of the guard.
class ScopedResLanguage {
 public:
  explicit ScopedResLanguage(const std::string& language) : previous_(VxGetResLanguage()) {
    VxSetResLanguage(language);
  }
  ~ScopedResLanguage() { VxSetResLanguage(previous_); }
  ScopedResLanguage(const ScopedResLanguage&) = delete;
  ScopedResLanguage& operator=(const ScopedResLanguage&) = delete;

 private:
  std::string previous_;
};

// Makes the resource service forget every text of VxCameraUtils for the life of the guard.
class ScopedNoResTexts {
 public:
  ScopedNoResTexts() { VxClearResTexts("VxCameraUtils"); }
  ~ScopedNoResTexts() { VxRegisterEmbeddedResTexts(); }
  ScopedNoResTexts(const ScopedNoResTexts&) = delete;
  ScopedNoResTexts& operator=(const ScopedNoResTexts&) = delete;
};

// The text of a key in a language, straight from the service.
inline std::string ResText(const std::string& key, const std::string& language) {
  ScopedResLanguage scope(language);
  const std::string* text = nullptr;
  return LoadResString("VxCameraUtils", key, &text) ? *text : std::string("<missing ") + key + ">";
}
