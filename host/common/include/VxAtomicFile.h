#pragma once
// Saving a file atomically: readers of the target see either the old content or the whole new
// one, never a mixture, and a failed save leaves the target as it was.
//
// What a save does with the target it is given:
//  - none there: a new file is made with the permissions 0666 less the umask (and the folder's
//    default ACL, where it has one).
//  - a regular file: it is replaced; the new file keeps its permission bits, and its owner and
//    group where the process may give them (root always; others the group if they belong to it).
//    Another hard link to the old file keeps the old content.
//  - a regular file that is read-only (no write permission bit at all, or none for this process):
//    refused, the file is left untouched. Saving over a file someone made read-only would
//    silently undo that.
//  - a symbolic link: followed, through chains and relative links, to the file it finally names;
//    that file is replaced as above, in its own folder, and the link stays a link. The kernel
//    must agree to follow the link (fs.protected_symlinks applies). A link to a name that does
//    not exist is refused: a save never creates a file at the far end of a link.
//  - anything else (folder, character or block device, FIFO, socket): refused and untouched.
//  - an empty path, or one that ends in '/': refused.
// The text goes to a temporary file ".vx" + six random characters in the target's folder (so
// names up to NAME_MAX work), which is flushed to disk (fsync), renamed over the target, and then
// the folder is flushed as well. That folder must be writable. On any failure the temporary file
// is removed, an existing target is left byte for byte as it was, and TVxFileSaveError names
// the path and the reason.
//
// A process killed during a save (SIGKILL, a power cut) may leave a temporary file ".vx??????"
// behind, never a damaged target. A process that exceeds its file size limit (ulimit -f) is
// killed by SIGXFSZ unless it ignores that signal; then the save fails with "File too large".
// The library installs no signal handlers: a program that wants the temporary file removed when
// it is interrupted installs its own and follows the temporary file with
// VxSetTemporaryFileHook.

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

// Saves `text` to `path` as described above. Several threads or processes may save at once,
// even to the same target: each save is whole, and the last rename wins.
VXCOMMON_EXPORT void VxSaveFileAtomically(const std::string& path, std::string_view text);

// --- Following the temporary file (for signal handlers) ---

// What a save tells the hook about its temporary file.
enum class TVxTemporaryFileEvent : int {
  // The file is about to be created under this path (exclusively). From now until Gone a file
  // of this name may exist, and it is the save's own; should the random name be taken already,
  // Gone follows at once and another name is tried.
  Creating = 0,
  // The file holds the whole text and is flushed to disk; it is renamed over the target next.
  Written = 1,
  // The file is no longer there under this name: renamed over the target, or removed.
  Gone = 2,
};

// Called by every save in the thread that saves, with the path of the temporary file (absolute
// or relative to the working folder, as the target's path was). It must not throw.
using TVxTemporaryFileHook = void (*)(TVxTemporaryFileEvent event,
                                      const char* temporaryPath) noexcept;

// Sets the hook that every save calls and returns the one set before. nullptr, the default,
// calls none. A signal handler that unlinks the path between Creating and Gone leaves no
// temporary file behind and never touches the target.
VXCOMMON_EXPORT TVxTemporaryFileHook VxSetTemporaryFileHook(TVxTemporaryFileHook hook) noexcept;
