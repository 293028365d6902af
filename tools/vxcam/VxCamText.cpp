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

}  // namespace vxcam
