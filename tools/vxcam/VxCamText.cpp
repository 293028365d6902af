#include "VxCamText.h"

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
