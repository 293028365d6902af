// VxSaveFileAtomically: the whole new text or, on failure, the old file as it was.

#include "VxAtomicFile.h"
#include "VxFileHelpers.h"

#include <dirent.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace {

using vx_test::FilesIn;
using vx_test::Slurp;
using vx_test::Spit;

// The message of the TVxFileSaveError that `action` throws; a test failure if it throws none.
template <class Action>
std::string SaveErrorOf(Action&& action) {
  try {
    action();
  } catch (const TVxFileSaveError& error) {
    return error.what();
  }
  ADD_FAILURE() << "no TVxFileSaveError was thrown";
  return std::string();
}

// A fresh, empty folder of its own for each test.
class VxAtomicFile : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string pattern = ::testing::TempDir() + "vx_atomic_XXXXXX";
    ASSERT_NE(::mkdtemp(pattern.data()), nullptr);
    folder_ = pattern;
  }
  void TearDown() override { RemoveAll(folder_); }

  static void RemoveAll(const std::string& path) {
    struct stat info {};
    if (::lstat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode)) {
      ::chmod(path.c_str(), 0700);
      for (const std::string& name : FilesIn(path)) RemoveAll(path + "/" + name);
      ::rmdir(path.c_str());
    } else {
      ::unlink(path.c_str());
    }
  }

  std::string Path(const std::string& name) const { return folder_ + "/" + name; }

  std::string folder_;
};

}  // namespace

TEST_F(VxAtomicFile, WritesTheText) {
  VxSaveFileAtomically(Path("a.txt"), "text\n");
  EXPECT_EQ(Slurp(Path("a.txt")), "text\n");
  EXPECT_EQ(FilesIn(folder_), std::vector<std::string>{"a.txt"});
}

TEST_F(VxAtomicFile, ExistingTargetIsReplacedWhole) {
  Spit(Path("a.txt"), "a much longer old text");
  VxSaveFileAtomically(Path("a.txt"), "new");
  EXPECT_EQ(Slurp(Path("a.txt")), "new");
  EXPECT_EQ(FilesIn(folder_), std::vector<std::string>{"a.txt"});
}

TEST_F(VxAtomicFile, MissingFolderIsAnErrorNamingThePathAndLeavesNothing) {
  const std::string path = Path("no/such/a.txt");
  EXPECT_EQ(SaveErrorOf([&] { VxSaveFileAtomically(path, "text"); }),
            "cannot save '" + path + "': cannot create a temporary file in '" + folder_ +
                "/no/such': No such file or directory");
  EXPECT_TRUE(FilesIn(folder_).empty());
}

namespace {

struct stat LstatOf(const std::string& path) {
  struct stat info {};
  EXPECT_EQ(::lstat(path.c_str(), &info), 0) << path;
  return info;
}

std::string LinkText(const std::string& path) {
  std::string text(4096, '\0');
  const ssize_t n = ::readlink(path.c_str(), text.data(), text.size());
  text.resize(n < 0 ? 0 : static_cast<std::size_t>(n));
  return text;
}

}  // namespace

TEST_F(VxAtomicFile, SymlinkIsWrittenThroughAndStaysALink) {
  Spit(Path("target.txt"), "old");
  ASSERT_EQ(::symlink(Path("target.txt").c_str(), Path("link.txt").c_str()), 0);
  VxSaveFileAtomically(Path("link.txt"), "new");
  EXPECT_TRUE(S_ISLNK(LstatOf(Path("link.txt")).st_mode));
  EXPECT_EQ(LinkText(Path("link.txt")), Path("target.txt"));
  EXPECT_EQ(Slurp(Path("target.txt")), "new");
  EXPECT_EQ(FilesIn(folder_), (std::vector<std::string>{"link.txt", "target.txt"}));
}

TEST_F(VxAtomicFile, RelativeSymlinkChainIsFollowedToTheFileInItsOwnFolder) {
  // first -> sub/second -> ../data/target.txt, each relative to the folder of its link.
  ASSERT_EQ(::mkdir(Path("sub").c_str(), 0755), 0);
  ASSERT_EQ(::mkdir(Path("data").c_str(), 0755), 0);
  Spit(Path("data/target.txt"), "old");
  ASSERT_EQ(::symlink("../data/target.txt", Path("sub/second").c_str()), 0);
  ASSERT_EQ(::symlink("sub/second", Path("first").c_str()), 0);
  VxSaveFileAtomically(Path("first"), "new");
  EXPECT_EQ(Slurp(Path("data/target.txt")), "new");
  EXPECT_EQ(LinkText(Path("first")), "sub/second");
  EXPECT_EQ(LinkText(Path("sub/second")), "../data/target.txt");
  EXPECT_EQ(FilesIn(folder_), (std::vector<std::string>{"data", "first", "sub"}));
  EXPECT_EQ(FilesIn(Path("sub")), std::vector<std::string>{"second"});
  EXPECT_EQ(FilesIn(Path("data")), std::vector<std::string>{"target.txt"});
}

TEST_F(VxAtomicFile, DanglingSymlinkIsRefusedAndLeftAlone) {
  ASSERT_EQ(::symlink("missing.txt", Path("link.txt").c_str()), 0);
  EXPECT_EQ(SaveErrorOf([&] { VxSaveFileAtomically(Path("link.txt"), "new"); }),
            "cannot save '" + Path("link.txt") + "': it links to '" + Path("missing.txt") +
                "', which does not exist");
  EXPECT_EQ(LinkText(Path("link.txt")), "missing.txt");
  EXPECT_EQ(FilesIn(folder_), std::vector<std::string>{"link.txt"});
}

TEST_F(VxAtomicFile, SymlinkLoopIsRefusedAndLeftAlone) {
  ASSERT_EQ(::symlink("b", Path("a").c_str()), 0);
  ASSERT_EQ(::symlink("a", Path("b").c_str()), 0);
  EXPECT_EQ(SaveErrorOf([&] { VxSaveFileAtomically(Path("a"), "new"); }),
            "cannot save '" + Path("a") + "': Too many levels of symbolic links");
  EXPECT_EQ(LinkText(Path("a")), "b");
  EXPECT_EQ(FilesIn(folder_), (std::vector<std::string>{"a", "b"}));
}

TEST_F(VxAtomicFile, FifoIsRefusedAndLeftAlone) {
  ASSERT_EQ(::mkfifo(Path("pipe").c_str(), 0644), 0);
  EXPECT_EQ(SaveErrorOf([&] { VxSaveFileAtomically(Path("pipe"), "new"); }),
            "cannot save '" + Path("pipe") + "': it is a FIFO (named pipe), not a regular file");
  EXPECT_TRUE(S_ISFIFO(LstatOf(Path("pipe")).st_mode));
  EXPECT_EQ(FilesIn(folder_), std::vector<std::string>{"pipe"});
}

TEST_F(VxAtomicFile, SymlinkToAFifoIsRefusedNamingBoth) {
  ASSERT_EQ(::mkfifo(Path("pipe").c_str(), 0644), 0);
  ASSERT_EQ(::symlink("pipe", Path("link").c_str()), 0);
  EXPECT_EQ(SaveErrorOf([&] { VxSaveFileAtomically(Path("link"), "new"); }),
            "cannot save '" + Path("link") + "': it links to '" + Path("pipe") +
                "', which is a FIFO (named pipe), not a regular file");
  EXPECT_TRUE(S_ISLNK(LstatOf(Path("link")).st_mode));
  EXPECT_TRUE(S_ISFIFO(LstatOf(Path("pipe")).st_mode));
}

TEST_F(VxAtomicFile, FolderIsRefusedAndLeftAlone) {
  ASSERT_EQ(::mkdir(Path("folder").c_str(), 0755), 0);
  Spit(Path("folder/inside.txt"), "kept");
  EXPECT_EQ(SaveErrorOf([&] { VxSaveFileAtomically(Path("folder"), "new"); }),
            "cannot save '" + Path("folder") + "': it is a folder, not a regular file");
  EXPECT_EQ(Slurp(Path("folder/inside.txt")), "kept");
  EXPECT_EQ(FilesIn(folder_), std::vector<std::string>{"folder"});
}

TEST_F(VxAtomicFile, SocketIsRefusedAndLeftAlone) {
  const std::string path = Path("socket");
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof(address.sun_path)) {
    GTEST_SKIP() << "the temporary folder's path is too long for a socket address: " << path;
  }
  std::copy(path.begin(), path.end(), address.sun_path);
  const int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
  ASSERT_GE(fd, 0);
  ASSERT_EQ(::bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
  ::close(fd);
  EXPECT_EQ(SaveErrorOf([&] { VxSaveFileAtomically(path, "new"); }),
            "cannot save '" + path + "': it is a socket, not a regular file");
  EXPECT_TRUE(S_ISSOCK(LstatOf(path).st_mode));
}

TEST_F(VxAtomicFile, CharacterDeviceIsRefusedAndLeftAlone) {
  // As root a regression would replace the device, so root saves onto a node of its own (a second
  // /dev/null); others, who cannot replace /dev/null, use it directly.
  std::string device = Path("null");
  if (::mknod(device.c_str(), S_IFCHR | 0666, ::makedev(1, 3)) != 0) {
    if (::geteuid() == 0) {
      GTEST_SKIP() << "running as root without the right to make a device node";
    }
    device = "/dev/null";
  }
  const struct stat before = LstatOf(device);
  EXPECT_EQ(SaveErrorOf([&] { VxSaveFileAtomically(device, "new"); }),
            "cannot save '" + device + "': it is a character device, not a regular file");
  const struct stat after = LstatOf(device);
  EXPECT_TRUE(S_ISCHR(after.st_mode));
  EXPECT_EQ(after.st_ino, before.st_ino);
  EXPECT_EQ(after.st_rdev, before.st_rdev);
}

TEST_F(VxAtomicFile, ReadOnlyFileIsRefusedAndLeftAlone) {
  Spit(Path("a.txt"), "old");
  ASSERT_EQ(::chmod(Path("a.txt").c_str(), 0444), 0);
  const struct stat before = LstatOf(Path("a.txt"));
  EXPECT_EQ(SaveErrorOf([&] { VxSaveFileAtomically(Path("a.txt"), "new"); }),
            "cannot save '" + Path("a.txt") + "': the file is read-only");
  EXPECT_EQ(Slurp(Path("a.txt")), "old");
  EXPECT_EQ(LstatOf(Path("a.txt")).st_ino, before.st_ino);
  EXPECT_EQ(FilesIn(folder_), std::vector<std::string>{"a.txt"});
}

TEST_F(VxAtomicFile, NewFileFollowsTheUmaskAndAReplacedOneKeepsItsModeAndOwner) {
  const mode_t savedMask = ::umask(027);
  VxSaveFileAtomically(Path("new.txt"), "new");
  ::umask(savedMask);
  EXPECT_EQ(LstatOf(Path("new.txt")).st_mode & 07777, 0640u);

  Spit(Path("a.txt"), "old");
  ASSERT_EQ(::chmod(Path("a.txt").c_str(), 0604), 0);
  // Root can give the file to someone else; others keep their own file.
  if (::geteuid() == 0) {
    ASSERT_EQ(::chown(Path("a.txt").c_str(), 4321, 8765), 0);
  }
  const struct stat before = LstatOf(Path("a.txt"));
  VxSaveFileAtomically(Path("a.txt"), "new");
  const struct stat after = LstatOf(Path("a.txt"));
  EXPECT_EQ(Slurp(Path("a.txt")), "new");
  EXPECT_NE(after.st_ino, before.st_ino);  // replaced, not written over
  EXPECT_EQ(after.st_mode & 07777, 0604u);
  EXPECT_EQ(after.st_uid, before.st_uid);
  EXPECT_EQ(after.st_gid, before.st_gid);
}

TEST_F(VxAtomicFile, NameOfTheLongestLengthAllowedIsSaved) {
  const std::string name(NAME_MAX, 'n');
  VxSaveFileAtomically(Path(name), "text");
  EXPECT_EQ(Slurp(Path(name)), "text");
  EXPECT_EQ(FilesIn(folder_), std::vector<std::string>{name});
}

TEST_F(VxAtomicFile, EmptyPathIsRefused) {
  EXPECT_EQ(SaveErrorOf([&] { VxSaveFileAtomically("", "text"); }),
            "cannot save '': the path is empty");
}

TEST_F(VxAtomicFile, PathEndingInASlashIsRefused) {
  EXPECT_EQ(SaveErrorOf([&] { VxSaveFileAtomically(Path("sub/"), "text"); }),
            "cannot save '" + Path("sub/") + "': the path names no file");
  EXPECT_TRUE(FilesIn(folder_).empty());
}

namespace {

// What the hook was told, in order.
struct HookCall {
  TVxTemporaryFileEvent event;
  std::string path;
};
std::vector<HookCall> g_calls;
// Run by the hook when the temporary file is written: the moment a test interferes.
void (*g_whenWritten)() = nullptr;

void RecordingHook(TVxTemporaryFileEvent event, const char* path) noexcept {
  g_calls.push_back({event, path});
  if (event == TVxTemporaryFileEvent::Written && g_whenWritten != nullptr) g_whenWritten();
}

// Sets the recording hook for one test and takes it away afterwards.
class VxAtomicFileHook : public VxAtomicFile {
 protected:
  void SetUp() override {
    VxAtomicFile::SetUp();
    g_calls.clear();
    g_whenWritten = nullptr;
    previous_ = VxSetTemporaryFileHook(RecordingHook);
  }
  void TearDown() override {
    VxSetTemporaryFileHook(previous_);
    VxAtomicFile::TearDown();
  }

  TVxTemporaryFileHook previous_ = nullptr;
};

std::vector<TVxTemporaryFileEvent> EventsOf(const std::vector<HookCall>& calls) {
  std::vector<TVxTemporaryFileEvent> events;
  for (const HookCall& call : calls) events.push_back(call.event);
  return events;
}

bool Exists(const std::string& path) {
  struct stat info {};
  return ::lstat(path.c_str(), &info) == 0;
}

std::string g_target;

}  // namespace

TEST(VxAtomicFileHookDefault, NoHookIsSet) {
  const TVxTemporaryFileHook none = VxSetTemporaryFileHook(nullptr);
  EXPECT_EQ(none, nullptr);
}

TEST_F(VxAtomicFileHook, FollowsTheTemporaryFileFromCreationToRename) {
  g_target = Path("a.txt");
  g_whenWritten = [] {
    // The whole text is in the temporary file, the target is not yet replaced.
    ASSERT_EQ(g_calls.size(), 2u);
    EXPECT_EQ(Slurp(g_calls[1].path), "new");
    EXPECT_EQ(Slurp(g_target), "old");
  };
  Spit(Path("a.txt"), "old");
  VxSaveFileAtomically(Path("a.txt"), "new");
  using E = TVxTemporaryFileEvent;
  ASSERT_EQ(EventsOf(g_calls), (std::vector<E>{E::Creating, E::Written, E::Gone}));
  const std::string temporary = g_calls[0].path;
  EXPECT_EQ(g_calls[1].path, temporary);
  EXPECT_EQ(g_calls[2].path, temporary);
  // A short name in the target's folder.
  EXPECT_EQ(temporary.substr(0, folder_.size() + 4), folder_ + "/.vx");
  EXPECT_EQ(temporary.size(), folder_.size() + 1 + 9);
  EXPECT_FALSE(Exists(temporary));
  EXPECT_EQ(Slurp(Path("a.txt")), "new");
}

TEST_F(VxAtomicFileHook, TemporaryFileOfALinkedTargetLiesInTheTargetsFolder) {
  ASSERT_EQ(::mkdir(Path("data").c_str(), 0755), 0);
  Spit(Path("data/target.txt"), "old");
  ASSERT_EQ(::symlink("data/target.txt", Path("link").c_str()), 0);
  VxSaveFileAtomically(Path("link"), "new");
  ASSERT_FALSE(g_calls.empty());
  EXPECT_EQ(g_calls[0].path.substr(0, folder_.size() + 9), folder_ + "/data/.vx");
}

TEST_F(VxAtomicFileHook, TargetTurnedIntoAFolderDuringTheSaveIsLeftAloneAndTheTemporaryRemoved) {
  Spit(Path("a.txt"), "old");
  g_target = Path("a.txt");
  g_whenWritten = [] {
    ASSERT_EQ(::unlink(g_target.c_str()), 0);
    ASSERT_EQ(::mkdir(g_target.c_str(), 0755), 0);
  };
  EXPECT_EQ(SaveErrorOf([&] { VxSaveFileAtomically(Path("a.txt"), "new"); }),
            "cannot save '" + Path("a.txt") + "': replacing the file failed: Is a directory");
  using E = TVxTemporaryFileEvent;
  ASSERT_EQ(EventsOf(g_calls), (std::vector<E>{E::Creating, E::Written, E::Gone}));
  EXPECT_FALSE(Exists(g_calls[0].path));
  EXPECT_TRUE(S_ISDIR(LstatOf(Path("a.txt")).st_mode));
  EXPECT_EQ(FilesIn(folder_), std::vector<std::string>{"a.txt"});
}

TEST_F(VxAtomicFileHook, RefusedTargetCreatesNoTemporaryFile) {
  ASSERT_EQ(::mkfifo(Path("pipe").c_str(), 0644), 0);
  EXPECT_THROW(VxSaveFileAtomically(Path("pipe"), "new"), TVxFileSaveError);
  EXPECT_TRUE(g_calls.empty());
}

namespace {

// Runs `save` in a child process and hands back what it wrote to `report` and its exit code.
// The child's changes to limits, signals and mounts stay in the child.
struct ChildOutcome {
  int exitCode = -1;
  std::string report;
};

template <class Save>
ChildOutcome InChild(Save&& save) {
  int channel[2];
  if (::pipe(channel) != 0) return {};
  const pid_t child = ::fork();
  if (child == 0) {
    ::close(channel[0]);
    std::string report;
    const int code = save(report);
    if (::write(channel[1], report.data(), report.size()) < 0) ::_exit(126);
    ::_exit(code);
  }
  ::close(channel[1]);
  ChildOutcome outcome;
  char buffer[512];
  for (ssize_t n; (n = ::read(channel[0], buffer, sizeof(buffer))) > 0;)
    outcome.report.append(buffer, static_cast<std::size_t>(n));
  ::close(channel[0]);
  int status = 0;
  if (child > 0 && ::waitpid(child, &status, 0) == child && WIFEXITED(status))
    outcome.exitCode = WEXITSTATUS(status);
  return outcome;
}

// The message of a save in the child, or "saved" if it did not fail.
std::string MessageOfSave(const std::string& path, const std::string& text) {
  try {
    VxSaveFileAtomically(path, text);
  } catch (const TVxFileSaveError& error) {
    return error.what();
  }
  return "saved";
}

// Exit code of a child that could not set its test up for lack of rights.
constexpr int kNotPermitted = 77;

}  // namespace

TEST_F(VxAtomicFile, FileSizeLimitIsAnErrorAndLeavesTheOldFileAndNoTemporaryFile) {
  Spit(Path("a.txt"), "old");
  const std::string path = Path("a.txt");
  const ChildOutcome outcome = InChild([&](std::string& report) {
    // Ignored, SIGXFSZ no longer ends the process and the write fails with EFBIG instead.
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit limit{};
    ::getrlimit(RLIMIT_FSIZE, &limit);
    limit.rlim_cur = 1000;
    if (::setrlimit(RLIMIT_FSIZE, &limit) != 0) return 1;
    report = MessageOfSave(path, std::string(100000, 'x'));
    return 0;
  });
  ASSERT_EQ(outcome.exitCode, 0);
  EXPECT_EQ(outcome.report,
            "cannot save '" + path + "': writing the temporary file failed: File too large");
  EXPECT_EQ(Slurp(path), "old");
  EXPECT_EQ(FilesIn(folder_), std::vector<std::string>{"a.txt"});
}

TEST_F(VxAtomicFile, FullFileSystemIsAnErrorAndLeavesTheOldFileAndNoTemporaryFile) {
  // A 64 KiB file system of the child's own; /dev/full would be refused as a device.
  const std::string small = Path("small");
  ASSERT_EQ(::mkdir(small.c_str(), 0755), 0);
  const ChildOutcome outcome = InChild([&](std::string& report) {
    if (::unshare(CLONE_NEWNS) != 0 ||
        ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
        ::mount("vx_small", small.c_str(), "tmpfs", 0, "size=64k") != 0) {
      report = std::strerror(errno);
      return kNotPermitted;
    }
    const std::string path = small + "/a.txt";
    Spit(path, "old");
    report = MessageOfSave(path, std::string(1 << 20, 'x'));
    const bool unchanged =
        Slurp(path) == "old" && FilesIn(small) == std::vector<std::string>{"a.txt"};
    return unchanged ? 0 : 1;
  });
  if (outcome.exitCode == kNotPermitted) {
    GTEST_SKIP() << "cannot mount a small tmpfs here: " << outcome.report;
  }
  EXPECT_EQ(outcome.exitCode, 0) << "the old file changed or a temporary file was left";
  EXPECT_EQ(outcome.report,
            "cannot save '" + small +
                "/a.txt': writing the temporary file failed: No space left on device");
}
