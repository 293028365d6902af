// A saving process killed at any moment leaves the file either exactly as it was or exactly as
// the save meant it: never empty, never half written.

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <thread>

#include "VxXIni.h"

namespace {

constexpr int kKills = 500;
constexpr std::uint64_t kSeed = 500;
// Saves timed before the kills, and the time a fork and the child's start may take.
constexpr int kTimedSaves = 5;
constexpr long long kForkAllowanceUs = 3000;

// A writer holding a list of `rows` rows tagged with `tag`, large enough that writing it takes
// several system calls.
std::string TextOf(const char* tag, int rows, TVxXIniWriter* writer) {
  const auto list = writer->BeginSectionSE("rows");
  for (int i = 0; i < rows; ++i) {
    const auto row = writer->BeginSectionCompactSE("");
    writer->WriteS<std::string>("tag", tag);
    writer->WriteS<double>("r", i * 0.125);
    writer->EndSectionE(row);
  }
  writer->EndSectionE(list);
  return writer->ToText();
}

std::string FileText(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

}  // namespace

TEST(XIniCrash, KilledSaverLeavesOldOrNewContent) {
  const std::filesystem::path folder =
      std::filesystem::temp_directory_path() / ("vx_crash_" + std::to_string(::getpid()));
  std::filesystem::create_directories(folder);
  const std::string path = (folder / "camera.yaml").string();
  TVxXIniWriter writerA;
  TVxXIniWriter writerB;
  const std::string textA = TextOf("A", 4000, &writerA);
  const std::string textB = TextOf("B", 3000, &writerB);
  writerA.SaveFile(path);

  // The kills are spread over the first few saves of the child, however long a save takes in
  // this build (coverage and sanitizer builds are several times slower than a plain one).
  const auto started = std::chrono::steady_clock::now();
  for (int i = 0; i < kTimedSaves; ++i) writerB.SaveFile((folder / "timing.yaml").string());
  const auto perSaveUs = std::chrono::duration_cast<std::chrono::microseconds>(
                             std::chrono::steady_clock::now() - started)
                             .count() /
                         kTimedSaves;
  std::mt19937_64 rng(kSeed);
  std::uniform_int_distribution<long long> delayUs(0, kForkAllowanceUs + 4 * perSaveUs);
  int sawA = 0;
  int sawB = 0;
  for (int kill = 0; kill < kKills; ++kill) {
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      // The child saves the two contents in turn until it is killed.
      for (unsigned i = 0;; ++i) (i % 2 == 0 ? writerB : writerA).SaveFile(path);
    }
    std::this_thread::sleep_for(std::chrono::microseconds(delayUs(rng)));
    ::kill(child, SIGKILL);
    int status = 0;
    ::waitpid(child, &status, 0);
    const std::string now = FileText(path);
    ASSERT_TRUE(now == textA || now == textB)
        << "after kill " << kill << ": " << now.size() << " bytes";
    (now == textA ? sawA : sawB)++;
  }
  // The kills fell on both sides of a save, so both outcomes were seen.
  EXPECT_GT(sawA, 0);
  EXPECT_GT(sawB, 0);
  std::filesystem::remove_all(folder);
}
