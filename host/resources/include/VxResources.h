#pragma once
// The suite's resource-text service: localised texts looked up by module name and dotted key.
//
// Every module registers its texts per language. The texts of VxCameraUtils in English ("en")
// and German ("de") are compiled into this library from texts/<language>.txt and registered
// on first use. The language in force comes from the environment variable VX_LANG (read once,
// on first use; "de", "de_DE" and "de_DE.UTF-8" all mean German) or from VxSetResLanguage; an
// unknown language, and a key that the language lacks, fall back to English.
//
// All functions are safe to call from several threads at once.

#include <string>
#include <utility>
#include <vector>

#include "VxResources_export.h"

// Looks the key up among the texts of the module in the language in force. On success stores
// a pointer to the text through `text` and returns true; the service owns the text and keeps
// it alive until the process ends, also when the module's texts are later replaced or cleared.
// On failure returns false and leaves `*text` as it was.
VXRESOURCES_EXPORT bool LoadResString(const std::string& module, const std::string& key,
                                      const std::string** text);

// Sets the language of all later lookups. Returns false (and keeps the language) when no module
// has texts in that language; the name is taken as VX_LANG is.
VXRESOURCES_EXPORT bool VxSetResLanguage(const std::string& language);
// The language in force, such as "en" or "de".
VXRESOURCES_EXPORT std::string VxGetResLanguage();
// The languages in which any module has texts, sorted.
VXRESOURCES_EXPORT std::vector<std::string> VxResLanguages();

// Adds texts (key, text) of a module in a language; a key that was there gets the new text.
VXRESOURCES_EXPORT void VxRegisterResTexts(
    const std::string& module, const std::string& language,
    const std::vector<std::pair<std::string, std::string>>& texts);
// Forgets every text of the module in every language; later lookups of it fail.
VXRESOURCES_EXPORT void VxClearResTexts(const std::string& module);
// Registers again the texts compiled into this library (for a module cleared before).
VXRESOURCES_EXPORT void VxRegisterEmbeddedResTexts();
// The keys of a module in a language, sorted; empty for an unknown module or language.
VXRESOURCES_EXPORT std::vector<std::string> VxResKeys(const std::string& module,
                                                      const std::string& language);
