#include "VxAtomicFile.h"

#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <string>
#include <system_error>
#include <utility>

#include "VxFd.h"
#include "VxFileKind.h"

namespace {

// Links followed before giving up, as many as the kernel follows in one path.
constexpr int kMaxLinks = 40;
// Random names tried for the temporary file; with 62^6 names a clash is rare already at the first.
constexpr int kTemporaryAttempts = 100;
constexpr std::size_t kRandomCharacters = 6;

std::atomic<TVxTemporaryFileHook> g_hook{nullptr};
std::atomic<std::uint64_t> g_fallbackCounter{0};

std::string ErrorText(int error) {
  return std::generic_category().message(error);
}

[[noreturn]] void Refuse(const std::string& path, const std::string& reason, int error = 0) {
  throw TVxFileSaveError(path, reason, error);
}

// The folder part of a path with its final '/', or "" for a bare name.
std::string FolderPrefix(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string::npos ? std::string() : path.substr(0, slash + 1);
}

std::string ReadLink(const std::string& path, const std::string& link) {
  std::string text(256, '\0');
  for (;;) {
    const ssize_t n = ::readlink(link.c_str(), text.data(), text.size());
    if (n < 0) {
      const int error = errno;
      Refuse(path, "cannot read the link '" + link + "': " + ErrorText(error), error);
    }
    if (static_cast<std::size_t>(n) < text.size()) {
      text.resize(static_cast<std::size_t>(n));
      return text;
    }
    text.resize(text.size() * 2);
  }
}

// The file a save replaces.
struct TTarget {
  std::string path;  // the given path, or the file its links lead to
  bool viaLink = false;
  bool exists = false;
  struct stat info {};

  // How a reason begins: "it " for the path itself, else names the file the links lead to.
  std::string Subject() const {
    return viaLink ? "it links to '" + path + "', which " : std::string("it ");
  }
};

// Follows `path` through its symbolic links the way the kernel does: a relative link is read
// from the folder of the link, and the text is joined, not simplified, so that ".." after a
// linked folder means what it means to the kernel.
TTarget Resolve(const std::string& path) {
  TTarget target;
  target.path = path;
  for (int links = 0;; ++links) {
    if (::lstat(target.path.c_str(), &target.info) != 0) {
      const int error = errno;
      if (error == ENOENT && !target.viaLink) return target;  // a new file
      if (error == ENOENT) Refuse(path, target.Subject() + "does not exist");
      if (!target.viaLink) Refuse(path, ErrorText(error), error);
      Refuse(path, "it links to '" + target.path + "': " + ErrorText(error), error);
    }
    if (!S_ISLNK(target.info.st_mode)) {
      target.exists = true;
      return target;
    }
    if (links == kMaxLinks) Refuse(path, ErrorText(ELOOP), ELOOP);
    const std::string text = ReadLink(path, target.path);
    target.path = !text.empty() && text[0] == '/' ? text : FolderPrefix(target.path) + text;
    target.viaLink = true;
  }
}

// Refuses what a save must not replace: anything but a regular file, and a read-only file.
void CheckReplaceable(const std::string& path, const TTarget& target) {
  const mode_t mode = target.info.st_mode;
  if (!S_ISREG(mode)) {
    Refuse(path, target.Subject() + "is " + VxFileKindText(mode) + ", not a regular file");
  }
  const bool noWriteBit = (mode & (S_IWUSR | S_IWGRP | S_IWOTH)) == 0;
  if (noWriteBit ||
      (::faccessat(AT_FDCWD, target.path.c_str(), W_OK, AT_EACCESS) != 0 && errno == EACCES)) {
    Refuse(path, target.viaLink ? target.Subject() + "is read-only" : "the file is read-only");
  }
  if (target.viaLink) {
    // The kernel follows the link itself, so that its rules for links in shared folders
    // (fs.protected_symlinks) hold, and must arrive at the file found above.
    const TVxFd followed(::open(path.c_str(), O_PATH | O_CLOEXEC));
    struct stat seen {};
    if (!followed.IsOpen() || ::fstat(followed.Get(), &seen) != 0) {
      const int error = errno;
      Refuse(path, ErrorText(error), error);
    }
    if (seen.st_dev != target.info.st_dev || seen.st_ino != target.info.st_ino) {
      Refuse(path, "it links to '" + target.path + "', which changed while it was examined");
    }
  }
}

std::uint64_t Mix(std::uint64_t x) {
  x += 0x9e3779b97f4a7c15ULL;
  x = (x ^ (x >> 30)) * 0xbf58476d1ce4e5b9ULL;
  x = (x ^ (x >> 27)) * 0x94d049bb133111ebULL;
  return x ^ (x >> 31);
}

// ".vx" and six random letters and digits: short, so that it fits wherever the target's name fits.
std::string TemporaryName() {
  static constexpr char kCharacters[] =
      "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
  constexpr std::size_t kCount = sizeof(kCharacters) - 1;
  unsigned char bytes[kRandomCharacters] = {};
  if (::getrandom(bytes, sizeof(bytes), GRND_NONBLOCK) != static_cast<ssize_t>(sizeof(bytes))) {
    // No entropy yet (early boot): time, process and a counter still make clashes unlikely.
    const auto now =
        static_cast<std::uint64_t>(std::chrono::steady_clock::now().time_since_epoch().count());
    std::uint64_t x =
        Mix(now ^ (static_cast<std::uint64_t>(::getpid()) << 32) ^ g_fallbackCounter.fetch_add(1));
    for (unsigned char& byte : bytes) {
      byte = static_cast<unsigned char>(x);
      x >>= 8;
    }
  }
  std::string name = ".vx";
  for (const unsigned char byte : bytes) name += kCharacters[byte % kCount];
  return name;
}

void Notify(TVxTemporaryFileEvent event, const std::string& temporary) {
  if (const TVxTemporaryFileHook hook = g_hook.load()) hook(event, temporary.c_str());
}

// The temporary file of one save, removed unless it was renamed over the target.
class TTemporaryFile {
 public:
  TTemporaryFile(const std::string& path, const TVxFd& folder, std::string folderPrefix)
      : path_(path), folder_(folder), prefix_(std::move(folderPrefix)) {}
  ~TTemporaryFile() {
    if (named_) {
      file_.Close();
      ::unlinkat(folder_.Get(), name_.c_str(), 0);
      Notify(TVxTemporaryFileEvent::Gone, temporary_);
    }
  }
  TTemporaryFile(const TTemporaryFile&) = delete;
  TTemporaryFile& operator=(const TTemporaryFile&) = delete;

  void Create(const std::string& folderName, mode_t mode) {
    for (int attempt = 0; attempt < kTemporaryAttempts; ++attempt) {
      name_ = TemporaryName();
      temporary_ = prefix_ + name_;
      Notify(TVxTemporaryFileEvent::Creating, temporary_);
      file_ = TVxFd(
          ::openat(folder_.Get(), name_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode));
      const int error = errno;
      if (file_.IsOpen()) {
        named_ = true;
        return;
      }
      Notify(TVxTemporaryFileEvent::Gone, temporary_);
      if (error != EEXIST) Fail("cannot create a temporary file in '" + folderName + "'", error);
    }
    Fail("cannot create a temporary file in '" + folderName + "'", EEXIST);
  }

  // Gives the file the owner, group and permission bits of the file it replaces. Only root may
  // give a file away; others keep it, and its group if they are not in the target's group.
  void TakeOverAttributes(const struct stat& old) {
    struct stat made {};
    if (::fstat(file_.Get(), &made) == 0 &&
        (made.st_uid != old.st_uid || made.st_gid != old.st_gid)) {
      if (::fchown(file_.Get(), old.st_uid, old.st_gid) != 0 &&
          ::fchown(file_.Get(), static_cast<uid_t>(-1), old.st_gid) != 0) {
        // The file stays the saver's own.
      }
    }
    if (::fchmod(file_.Get(), old.st_mode & 07777) != 0) {
      Fail("cannot give the temporary file the permissions of the file", errno);
    }
  }

  void Write(std::string_view text) {
    std::size_t written = 0;
    while (written < text.size()) {
      const ssize_t n = ::write(file_.Get(), text.data() + written, text.size() - written);
      if (n < 0 && errno == EINTR) continue;
      if (n <= 0) Fail("writing the temporary file failed", n == 0 ? EIO : errno);
      written += static_cast<std::size_t>(n);
    }
    if (::fsync(file_.Get()) != 0) Fail("flushing the temporary file failed", errno);
    if (const int error = file_.Close(); error != 0) {
      Fail("closing the temporary file failed", error);
    }
    Notify(TVxTemporaryFileEvent::Written, temporary_);
  }

  void RenameOver(const std::string& base) {
    if (::renameat(folder_.Get(), name_.c_str(), folder_.Get(), base.c_str()) != 0) {
      Fail("replacing the file failed", errno);
    }
    named_ = false;
    Notify(TVxTemporaryFileEvent::Gone, temporary_);
  }

 private:
  [[noreturn]] void Fail(const std::string& step, int error) {
    Refuse(path_, step + ": " + ErrorText(error), error);
  }

  const std::string& path_;
  const TVxFd& folder_;
  std::string prefix_;
  std::string name_;       // in the folder
  std::string temporary_;  // the folder's path and the name, as the hook is told
  TVxFd file_;
  bool named_ = false;
};

}  // namespace

TVxFileSaveError::TVxFileSaveError(const std::string& path, const std::string& reason, int error)
    : std::runtime_error("cannot save '" + path + "': " + reason), path_(path), error_(error) {}

TVxTemporaryFileHook VxSetTemporaryFileHook(TVxTemporaryFileHook hook) noexcept {
  return g_hook.exchange(hook);
}

void VxSaveFileAtomically(const std::string& path, std::string_view text) {
  if (path.empty()) Refuse(path, "the path is empty");
  if (path.back() == '/') Refuse(path, "the path names no file");
  const TTarget target = Resolve(path);
  if (target.exists) CheckReplaceable(path, target);

  const std::string prefix = FolderPrefix(target.path);
  const std::string base = target.path.substr(prefix.size());
  const std::string folderName = prefix.empty()       ? std::string(".")
                                 : prefix.size() == 1 ? prefix
                                                      : prefix.substr(0, prefix.size() - 1);
  // Every step works in the folder opened here, even should its path change meanwhile.
  const TVxFd folder(::open(folderName.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
  if (!folder.IsOpen()) {
    const int error = errno;
    Refuse(path, "cannot create a temporary file in '" + folderName + "': " + ErrorText(error),
           error);
  }
  {
    TTemporaryFile temporary(path, folder, prefix);
    // A replaced file's content is no more visible to others while it is written than it was
    // before: the temporary file starts private and takes the old file's permissions.
    temporary.Create(folderName, target.exists ? 0600 : 0666);
    if (target.exists) temporary.TakeOverAttributes(target.info);
    temporary.Write(text);
    temporary.RenameOver(base);
  }
  // Make the rename itself durable; the file is in place whether or not this succeeds.
  const TVxFd folderForSync(::openat(folder.Get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (folderForSync.IsOpen()) ::fsync(folderForSync.Get());
}
