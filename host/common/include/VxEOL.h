#pragma once
// Line ends of long texts: files hold LF, descriptions in memory hold CRLF.

#include <string>

#include "VxCommon_export.h"

enum class TEOLType : int {
  LF = 0,    // "\n", the form written to files
  CR = 1,    // "\r"
  CRLF = 2,  // "\r\n", the in-memory form of descriptions
};

// Returns the text with every line end (LF, CR or CRLF, in any mixture) replaced by the given kind.
// A CR directly followed by LF counts as one line end. A kind outside the enumeration gives LF.
VXCOMMON_EXPORT std::string VxNormalizeEOL(const std::string& text, TEOLType kind);
