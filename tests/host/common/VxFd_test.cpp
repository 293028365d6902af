#include "VxFd.h"

#include <fcntl.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <type_traits>
#include <utility>

namespace {

// Whether `fd` names an open descriptor of this process.
bool IsOpenDescriptor(int fd) {
  return ::fcntl(fd, F_GETFD) != -1;
}

int OpenDevNull() {
  return ::open("/dev/null", O_RDONLY | O_CLOEXEC);
}

}  // namespace

TEST(VxFd, IsMoveOnly) {
  EXPECT_FALSE(std::is_copy_constructible_v<TVxFd>);
  EXPECT_FALSE(std::is_copy_assignable_v<TVxFd>);
  EXPECT_TRUE(std::is_nothrow_move_constructible_v<TVxFd>);
  EXPECT_TRUE(std::is_nothrow_move_assignable_v<TVxFd>);
}

TEST(VxFd, DestructorClosesTheDescriptor) {
  int raw = -1;
  {
    const TVxFd fd(OpenDevNull());
    raw = fd.Get();
    ASSERT_TRUE(IsOpenDescriptor(raw));
  }
  EXPECT_FALSE(IsOpenDescriptor(raw));
}

TEST(VxFd, CloseClosesOnceAndForgetsTheDescriptor) {
  TVxFd fd(OpenDevNull());
  const int raw = fd.Get();
  EXPECT_EQ(fd.Close(), 0);
  EXPECT_FALSE(fd.IsOpen());
  EXPECT_EQ(fd.Get(), -1);
  EXPECT_FALSE(IsOpenDescriptor(raw));
  // A descriptor opened now may get the same number; a second Close must not touch it.
  const int other = OpenDevNull();
  EXPECT_EQ(fd.Close(), 0);
  EXPECT_TRUE(IsOpenDescriptor(other));
  ::close(other);
}

TEST(VxFd, MoveHandsTheDescriptorOver) {
  TVxFd first(OpenDevNull());
  const int raw = first.Get();
  TVxFd second(std::move(first));
  EXPECT_FALSE(first.IsOpen());  // NOLINT(bugprone-use-after-move): moved-from state is defined
  EXPECT_EQ(second.Get(), raw);
  TVxFd third;
  third = std::move(second);
  EXPECT_EQ(third.Get(), raw);
  EXPECT_TRUE(IsOpenDescriptor(raw));
}

TEST(VxFd, MoveAssignmentClosesTheDescriptorItHeld) {
  TVxFd kept(OpenDevNull());
  const int replaced = kept.Get();
  kept = TVxFd(OpenDevNull());
  ASSERT_NE(kept.Get(), replaced);  // the new one was opened while the old one was still open
  EXPECT_FALSE(IsOpenDescriptor(replaced));
  EXPECT_TRUE(IsOpenDescriptor(kept.Get()));
}

TEST(VxFd, ReleaseGivesTheDescriptorUpWithoutClosing) {
  TVxFd fd(OpenDevNull());
  const int raw = fd.Release();
  EXPECT_FALSE(fd.IsOpen());
  EXPECT_TRUE(IsOpenDescriptor(raw));
  ::close(raw);
}

TEST(VxFd, CloseReportsTheErrorOfClose) {
  TVxFd fd(OpenDevNull());
  ASSERT_EQ(::close(fd.Get()), 0);  // closed behind its back: close(2) now fails
  EXPECT_EQ(fd.Close(), EBADF);
  EXPECT_FALSE(fd.IsOpen());
}

TEST(VxFd, NegativeValueIsNoDescriptor) {
  TVxFd fd(-5);
  EXPECT_FALSE(fd.IsOpen());
  EXPECT_EQ(fd.Get(), -1);
  EXPECT_EQ(fd.Close(), 0);
}
