// SaveFile replaces a file atomically: all of the new text or, on failure, the old file as it was.

#include <dirent.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <csignal>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "VxFileHelpers.h"
#include "VxXIni.h"
#include "XIniTestSupport.h"

using xini_test::WriteErrorOf;

namespace {

using vx_test::FilesIn;
using vx_test::Slurp;
using vx_test::Spit;

// A fresh, empty folder of its own for each test.
class VxXIniSaveFile : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string pattern = ::testing::TempDir() + "xini_save_XXXXXX";
    ASSERT_NE(::mkdtemp(pattern.data()), nullptr);
    folder_ = pattern;
  }
  void TearDown() override {
    for (const std::string& name : FilesIn(folder_)) {
      const std::string path = folder_ + "/" + name;
      if (::unlink(path.c_str()) != 0) {
        ::rmdir(path.c_str());
      }
    }
    ::rmdir(folder_.c_str());
  }

  static TVxXIniWriter& Big(TVxXIniWriter& writer) {
    const TVxXIniSectionHandle list = writer.BeginSectionSE("values");
    for (int i = 0; i < 2000; ++i) {
      writer.WriteS("", i);
    }
    writer.EndSectionE(list);
    return writer;
  }

  std::string folder_;
};

}  // namespace

TEST_F(VxXIniSaveFile, WritesTheTextOfTheWriter) {
  TVxXIniWriter writer;
  writer.WriteS("focus", 153.0);
  const std::string path = folder_ + "/camera.yaml";
  writer.SaveFile(path);
  EXPECT_EQ(Slurp(path), writer.ToText());
  EXPECT_EQ(FilesIn(folder_), std::vector<std::string>{"camera.yaml"});
}

TEST_F(VxXIniSaveFile, ReplacesAnExistingFileAndKeepsItsPermissions) {
  const std::string path = folder_ + "/camera.yaml";
  Spit(path, "old: 1\n");
  ASSERT_EQ(::chmod(path.c_str(), 0640), 0);
  TVxXIniWriter writer;
  writer.WriteS("new", 2);
  writer.SaveFile(path);
  EXPECT_EQ(Slurp(path), "new: 2\n");
  struct stat info {};
  ASSERT_EQ(::stat(path.c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 07777, 0640u);
  EXPECT_EQ(FilesIn(folder_).size(), 1u);
}

TEST_F(VxXIniSaveFile, FailedWriteLeavesTheTargetByteForByteAndNoTemporaryFile) {
  const std::string path = folder_ + "/camera.yaml";
  const std::string old = "old: \"contents\"\r\nkept: exactly\n";
  Spit(path, old);
  TVxXIniWriter writer;
  Big(writer);
  // A file size limit below the new text makes the write itself fail (EFBIG).
  rlimit saved{};
  ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &saved), 0);
  const auto previousHandler = std::signal(SIGXFSZ, SIG_IGN);
  rlimit limited = saved;
  limited.rlim_cur = 1000;
  ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &limited), 0);
  const std::string message = WriteErrorOf([&] { writer.SaveFile(path); });
  ::setrlimit(RLIMIT_FSIZE, &saved);
  std::signal(SIGXFSZ, previousHandler);
  EXPECT_EQ(message,
            "cannot save '" + path + "': writing the temporary file failed: File too large");
  EXPECT_EQ(Slurp(path), old);
  EXPECT_EQ(FilesIn(folder_), std::vector<std::string>{"camera.yaml"});
}

TEST_F(VxXIniSaveFile, FolderInTheTargetsPlaceIsRefusedAndLeftAlone) {
  const std::string path = folder_ + "/camera.yaml";
  ASSERT_EQ(::mkdir(path.c_str(), 0755), 0);
  TVxXIniWriter writer;
  writer.WriteS("a", 1);
  const std::string message = WriteErrorOf([&] { writer.SaveFile(path); });
  EXPECT_EQ(message, "cannot save '" + path + "': it is a folder, not a regular file");
  struct stat info {};
  ASSERT_EQ(::stat(path.c_str(), &info), 0);
  EXPECT_TRUE(S_ISDIR(info.st_mode));
  EXPECT_EQ(FilesIn(folder_), std::vector<std::string>{"camera.yaml"});
}

TEST_F(VxXIniSaveFile, MissingFolderIsAnError) {
  const std::string path = folder_ + "/no/such/camera.yaml";
  TVxXIniWriter writer;
  EXPECT_EQ(WriteErrorOf([&] { writer.SaveFile(path); }),
            "cannot save '" + path + "': cannot create a temporary file in '" + folder_ +
                "/no/such': No such file or directory");
}

TEST_F(VxXIniSaveFile, SavedFileReadsBack) {
  TVxXIniWriter writer;
  Big(writer);
  const std::string path = folder_ + "/values.yaml";
  writer.SaveFile(path);
  auto reader = TVxXIniReader::FromFile(path);
  reader->EnterSectionSE("values");
  EXPECT_EQ(reader->ReadE<int>(1999), 1999);
}
