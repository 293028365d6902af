#include "VxCamText.h"

#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

#include "VxResources.h"

namespace vxcam {

std::string Text(const char* key) {
  const std::string* text = nullptr;
  if (LoadResString("VxCameraUtils", key, &text)) return *text;
  return key;
}

std::string YesNo(bool value) {
  return Text(value ? "vxcam.text.yes" : "vxcam.text.no");
}

namespace {

// The language a locale value names, if the tool has texts in it: "de_DE.UTF-8" names "de";
// "C" and "POSIX" name English.
std::string KnownLanguage(std::string value) {
  if (value == "C" || value == "POSIX" || value.rfind("C.", 0) == 0) return "en";
  value = value.substr(0, value.find_first_of("_-.@"));
  for (const char* language : kLanguages) {
    if (value == language) return value;
  }
  return std::string();
}

std::string Variable(const char* name) {
  const char* value = std::getenv(name);
  return value != nullptr ? value : "";
}

}  // namespace

void ApplyLanguageFromEnvironment() {
  // VX_LANG is the library's own and already in force.
  if (!Variable("VX_LANG").empty()) return;
  // As gettext does: the first of LC_ALL, LC_MESSAGES and LANG that is set is the locale; in a
  // locale other than C, LANGUAGE lists the languages to try first.
  std::string locale;
  for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
    locale = Variable(name);
    if (!locale.empty()) break;
  }
  const bool plainC = locale == "C" || locale == "POSIX";
  const std::string list = Variable("LANGUAGE");
  for (std::size_t start = 0; !plainC && start < list.size();) {
    const std::size_t end = std::min(list.find(':', start), list.size());
    const std::string language = KnownLanguage(list.substr(start, end - start));
    if (!language.empty()) {
      VxSetResLanguage(language);
      return;
    }
    start = end + 1;
  }
  const std::string language = KnownLanguage(locale);
  VxSetResLanguage(language.empty() ? "en" : language);
}

bool ApplyLanguageOption(const std::vector<std::string>& args) {
  bool applied = false;
  for (std::size_t i = 0; i < args.size(); ++i) {
    std::string value;
    if (args[i] == "--lang" && i + 1 < args.size()) {
      value = args[i + 1];
    } else if (args[i].rfind("--lang=", 0) == 0) {
      value = args[i].substr(7);
    } else {
      continue;
    }
    for (const char* language : kLanguages) {
      if (value == language) applied = VxSetResLanguage(value) || applied;
    }
  }
  return applied;
}

std::string EscapeControlCharacters(std::string_view text, bool keepLineFeeds) {
  static constexpr char kHex[] = "0123456789ABCDEF";
  std::string out;
  out.reserve(text.size());
  const auto escape = [&out](unsigned char byte) {
    out += "\\x";
    out += kHex[byte >> 4];
    out += kHex[byte & 0x0F];
  };
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    const bool c1 = byte == 0xC2 && i + 1 < text.size() &&
                    static_cast<unsigned char>(text[i + 1]) >= 0x80 &&
                    static_cast<unsigned char>(text[i + 1]) <= 0x9F;
    if (c1) {
      escape(byte);
      escape(static_cast<unsigned char>(text[++i]));
    } else if ((byte < 0x20 && !(keepLineFeeds && byte == '\n')) || byte == 0x7F) {
      escape(byte);
    } else {
      out += text[i];
    }
  }
  return out;
}

}  // namespace vxcam
