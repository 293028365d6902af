#pragma once
// The tool's texts for people: resource texts of the module VxCameraUtils under "vxcam.*" keys,
// in the language in force.

#include <string>
#include <string_view>
#include <vector>

namespace vxcam {

// The text of `key`; the key itself when the resources lack it, so that a gap shows.
std::string Text(const char* key);

// A text from a file or a user made safe for a terminal: control characters (C0, DEL and the
// C1 range in UTF-8) become \xHH, so that no escape sequence from a file reaches the terminal;
// line feeds stay where `keepLineFeeds`, and the other bytes, UTF-8 included, are kept.
std::string EscapeControlCharacters(std::string_view text, bool keepLineFeeds = false);

// "yes" or "no".
std::string YesNo(bool value);

// Sets the language of the texts from the environment, as programs of the system choose theirs:
// VX_LANG when set (the library has read it already); else, unless the locale is C, the first
// language of LANGUAGE (a colon-separated list) that the tool has; else the language of the
// locale, the first of LC_ALL, LC_MESSAGES and LANG that is set; English where none is known.
void ApplyLanguageFromEnvironment();

// Applies "--lang en|de" or "--lang=en|de" where it stands among `args`; other values are left
// to the argument parser, which refuses them. Returns true when a language was set.
bool ApplyLanguageOption(const std::vector<std::string>& args);

// The languages accepted by --lang.
inline const char* const kLanguages[] = {"en", "de"};

}  // namespace vxcam
