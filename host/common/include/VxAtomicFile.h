#pragma once
// Saving a file atomically: readers of the target see either the old content or the whole new
// one, never a mixture, and a failed save leaves the target as it was.

#include <stdexcept>
#include <string>
#include <string_view>

#include "VxCommon_export.h"

// A file that could not be saved. what() is "cannot save '<path>': <reason>".
class VXCOMMON_EXPORT TVxFileSaveError : public std::runtime_error {
 public:
  TVxFileSaveError(const std::string& path, const std::string& reason, int error);

  // The path as the caller gave it.
  const std::string& Path() const noexcept { return path_; }
  // The errno of the step that failed, or 0 when the target was refused before anything was
  // written.
  int Error() const noexcept { return error_; }

 private:
  std::string path_;
  int error_;
};

// Writes `text` to `path`: into a temporary file in the target's folder, flushed to disk
// (fsync), renamed over the target, and the folder flushed as well. On any failure the temporary
// file is removed, an existing target is left byte for byte as it was, and TVxFileSaveError
// names the path and the reason.
VXCOMMON_EXPORT void VxSaveFileAtomically(const std::string& path, std::string_view text);
