// The test stage that asks for assertions (VX_ASSERTIONS) gets them in the library itself: a
// broken precondition stops the program at the assert instead of running on into undefined
// behaviour.

#include <gtest/gtest.h>

#include "VxCameraMath.h"

namespace {

TEST(Assertions, AreActiveInTheLibraryWhenTheBuildAsksForThem) {
#if defined(VX_EXPECT_ASSERTIONS)
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(ApplyDistortionMultiplier(nullptr, 2.0), "distortion != nullptr");
#else
  GTEST_SKIP() << "built without VX_ASSERTIONS: NDEBUG takes assert() out";
#endif
}

}  // namespace
