// Reading a whole regular file, bounded: each step that can refuse a file says which it was.

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "VxReadFile.h"

namespace {

using TStep = TVxReadFailure::TStep;

class VxReadFile : public testing::Test {
 protected:
  void SetUp() override {
    dir_ = std::filesystem::path(VX_BINARY_DIR) / "tests/host/common/read_file" /
           testing::UnitTest::GetInstance()->current_test_info()->name();
    std::filesystem::remove_all(dir_);
    std::filesystem::create_directories(dir_);
  }
  void TearDown() override { std::filesystem::remove_all(dir_); }
  std::string Write(const std::string& name, const std::string& text) const {
    const auto path = (dir_ / name).string();
    std::ofstream(path, std::ios::binary) << text;
    return path;
  }
  std::filesystem::path dir_;
};

TEST_F(VxReadFile, ReadsEveryByteUpToTheLimit) {
  const std::string text("a\0b\nc", 5);
  std::string bytes = "old";
  EXPECT_FALSE(VxReadRegularFile(Write("f", text), 5, &bytes).has_value());
  EXPECT_EQ(bytes, text);
}

TEST_F(VxReadFile, RefusesAFileOneBytePastTheLimit) {
  std::string bytes;
  const auto failure = VxReadRegularFile(Write("f", "123456"), 5, &bytes);
  ASSERT_TRUE(failure.has_value());
  EXPECT_EQ(failure->step, TStep::Size);
  EXPECT_EQ(failure->detail, "the file is larger than 5 bytes");
}

TEST_F(VxReadFile, NamesAMissingFileAFolderAndAFifo) {
  std::string bytes;
  auto failure = VxReadRegularFile((dir_ / "missing").string(), 100, &bytes);
  ASSERT_TRUE(failure.has_value());
  EXPECT_EQ(failure->step, TStep::Open);
  EXPECT_EQ(failure->detail, "No such file or directory");
  failure = VxReadRegularFile(dir_.string(), 100, &bytes);
  ASSERT_TRUE(failure.has_value());
  EXPECT_EQ(failure->step, TStep::Kind);
  EXPECT_EQ(failure->detail, "it is a folder, not a regular file");
  const auto fifo = (dir_ / "fifo").string();
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  failure = VxReadRegularFile(fifo, 100, &bytes);  // returns at once: nobody writes to it
  ASSERT_TRUE(failure.has_value());
  EXPECT_EQ(failure->step, TStep::Kind);
  EXPECT_EQ(failure->detail, "it is a FIFO (named pipe), not a regular file");
}

}  // namespace
