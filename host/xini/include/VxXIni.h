#pragma once
// The settings files of the suite: a reader and a writer over YAML texts. See VxXIniTypes.h for
// the shared types, VxXIniReader.h and VxXIniWriter.h for the operations, and
// docs/settings-files.md for the file format as a user sees it.

#include "VxXIniReader.h"  // IWYU pragma: export
#include "VxXIniTypes.h"   // IWYU pragma: export
#include "VxXIniWriter.h"  // IWYU pragma: export
