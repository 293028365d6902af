// VxSaveFileAtomically: the whole new text or, on failure, the old file as it was.

#include "VxAtomicFile.h"

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace {

std::string Slurp(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

void Spit(const std::string& path, const std::string& text) {
  std::ofstream(path, std::ios::binary) << text;
}

std::vector<std::string> FilesIn(const std::string& folder) {
  std::vector<std::string> names;
  if (DIR* dir = ::opendir(folder.c_str())) {
    while (const dirent* entry = ::readdir(dir)) {
      const std::string name = entry->d_name;
      if (name != "." && name != "..") names.push_back(name);
    }
    ::closedir(dir);
  }
  std::sort(names.begin(), names.end());
  return names;
}

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
