// vxcam interrupted while it saves: the target stays as it was, no temporary file is left, and
// the program still ends by the signal it got.

#include "VxCamSignals.h"

#include <dirent.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "VxAtomicFile.h"
#include "VxFileHelpers.h"

namespace {

using vx_test::FilesIn;
using vx_test::Slurp;

// The child's hook: the tool's, and then a stop once the whole text is in the temporary file, so
// that the parent can signal the child in the middle of the save.
TVxTemporaryFileHook g_toolHook = nullptr;

void StopWhenWritten(TVxTemporaryFileEvent event, const char* path) noexcept {
  if (g_toolHook != nullptr) g_toolHook(event, path);
  if (event == TVxTemporaryFileEvent::Written) ::raise(SIGSTOP);
}

// Exit codes of a child that was not ended by a signal.
constexpr int kSaveFinished = 1;
constexpr int kSaveFailed = 2;
constexpr int kSetupWrong = 3;

// A save of 1 MiB over a small file.
constexpr std::size_t kNewSize = 1 << 20;

class VxCamSignals : public testing::TestWithParam<int> {
 protected:
  void SetUp() override {
    std::string pattern = testing::TempDir() + "vxcam_signals_XXXXXX";
    ASSERT_NE(::mkdtemp(pattern.data()), nullptr);
    folder_ = pattern;
    target_ = folder_ + "/camera.yaml";
    std::ofstream(target_) << "old";
  }
  void TearDown() override {
    for (const std::string& name : FilesIn(folder_)) ::unlink((folder_ + "/" + name).c_str());
    ::rmdir(folder_.c_str());
  }

  std::string folder_;
  std::string target_;
};

TEST_P(VxCamSignals, SignalDuringASave_RemovesTheTemporaryFileKeepsTheTargetAndEndsByIt) {
  const int signal = GetParam();
  const pid_t child = ::fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    vxcam::HandleSignalsDuringSaves();
    g_toolHook = VxSetTemporaryFileHook(StopWhenWritten);
    try {
      VxSaveFileAtomically(target_, std::string(kNewSize, 'x'));
    } catch (...) {
      ::_exit(kSaveFailed);
    }
    ::_exit(kSaveFinished);
  }
  int status = 0;
  ASSERT_EQ(::waitpid(child, &status, WUNTRACED), child);
  ASSERT_TRUE(WIFSTOPPED(status)) << "the child did not stop in its save: status " << status;
  // Stopped between writing the temporary file and renaming it.
  const std::vector<std::string> during = FilesIn(folder_);
  ASSERT_EQ(during.size(), 2u);
  const std::string temporary =
      folder_ + "/" + (during[0] == "camera.yaml" ? during[1] : during[0]);
  struct stat info {};
  ASSERT_EQ(::stat(temporary.c_str(), &info), 0);
  EXPECT_EQ(static_cast<std::size_t>(info.st_size), kNewSize);

  ASSERT_EQ(::kill(child, signal), 0);
  ASSERT_EQ(::kill(child, SIGCONT), 0);
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  ASSERT_TRUE(WIFSIGNALED(status))
      << "exit code " << (WIFEXITED(status) ? WEXITSTATUS(status) : -1);
  EXPECT_EQ(WTERMSIG(status), signal);
  EXPECT_EQ(FilesIn(folder_), std::vector<std::string>{"camera.yaml"});
  EXPECT_EQ(Slurp(target_), "old");
}

std::string SignalName(const testing::TestParamInfo<int>& info) {
  switch (info.param) {
    case SIGINT:
      return "SIGINT";
    case SIGTERM:
      return "SIGTERM";
    case SIGHUP:
      return "SIGHUP";
    default:
      return "signal" + std::to_string(info.param);
  }
}

INSTANTIATE_TEST_SUITE_P(EndingSignals, VxCamSignals, testing::Values(SIGINT, SIGTERM, SIGHUP),
                         SignalName);

bool IsIgnored(int signal) {
  struct sigaction action {};
  return ::sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

TEST(VxCamSignalsSetup, FileSizeSignalIsIgnoredAndASignalIgnoredAtStartStaysIgnored) {
  const pid_t child = ::fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    // As under nohup.
    ::signal(SIGHUP, SIG_IGN);
    vxcam::HandleSignalsDuringSaves();
    struct sigaction interrupt {};
    ::sigaction(SIGINT, nullptr, &interrupt);
    const bool right = IsIgnored(SIGXFSZ) && IsIgnored(SIGHUP) && interrupt.sa_handler != SIG_DFL &&
                       interrupt.sa_handler != SIG_IGN;
    ::_exit(right ? 0 : kSetupWrong);
  }
  int status = 0;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  ASSERT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 0);
}

}  // namespace
