#pragma once
// CLI11's messages about wrong arguments in the user's language. CLI11 writes them in English
// with the names of the options inside; the tool recognises each kind of message, keeps the
// names and values, and puts the words of the resource texts around them.

#include <string>

namespace vxcam {

// The message of a CLI11 parse error in the language in force: unchanged in English, translated
// where the kind of message is known, unchanged where it is not.
std::string LocaliseParseError(const std::string& message);

}  // namespace vxcam
