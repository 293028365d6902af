#pragma once
// The tool's texts for people: resource texts of the module VxCameraUtils under "vxcam.*" keys,
// in the language in force.

#include <string>
#include <vector>

namespace vxcam {

// The text of `key`; the key itself when the resources lack it, so that a gap shows.
std::string Text(const char* key);

// "yes" or "no".
std::string YesNo(bool value);

// Applies "--lang en|de" or "--lang=en|de" where it stands among `args`; other values are left
// to the argument parser, which refuses them. Returns true when a language was set.
bool ApplyLanguageOption(const std::vector<std::string>& args);

// The languages accepted by --lang.
inline const char* const kLanguages[] = {"en", "de"};

}  // namespace vxcam
