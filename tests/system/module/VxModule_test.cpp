#include "VxModule_Initializer.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "VxCameraUtils.h"
#include "VxCloudDetector.h"
#include "VxResourceGuards.h"

namespace {

const char* g_syntheticPath = nullptr;
const char* SyntheticLoader(const void* /*address*/) {
  return g_syntheticPath;
}

// Every test starts and ends with the module stopped and the dependency's counts at zero.
class ModuleTest : public testing::Test {
 protected:
  void SetUp() override {
    StopFully();
    VxCloudDetector_ResetCounts();
  }
  void TearDown() override {
    StopFully();
    VxModule_Initializer::SetLoaderQuery(nullptr);
  }
  static void StopFully() {
    while (VxModule_Initializer::getInst().InitCount() != 0) Deinit_VxCameraUtils();
  }
  static const VxModule_Initializer& Module() { return VxModule_Initializer::getInst(); }

  // Starts the module with the loader reporting `path`.
  static void StartWithPath(const char* path) {
    g_syntheticPath = path;
    VxModule_Initializer::SetLoaderQuery(&SyntheticLoader);
    Init_VxCameraUtils();
  }
};

}  // namespace

TEST_F(ModuleTest, TwoStartsOneStopLeaveLibraryStartedAndDependencyStartedOnce) {
  Init_VxCameraUtils();
  Init_VxCameraUtils();
  Deinit_VxCameraUtils();
  EXPECT_EQ(Module().InitCount(), 1u);
  EXPECT_EQ(VxCloudDetector_StartCount(), 1u);
  EXPECT_EQ(VxCloudDetector_StopCount(), 0u);
  Deinit_VxCameraUtils();
  EXPECT_EQ(Module().InitCount(), 0u);
  EXPECT_EQ(VxCloudDetector_StopCount(), 1u);
}

TEST_F(ModuleTest, StopBeforeAnyStartDoesNothing) {
  Deinit_VxCameraUtils();
  EXPECT_EQ(Module().InitCount(), 0u);
  EXPECT_EQ(VxCloudDetector_StopCount(), 0u);
  EXPECT_EQ(VxCloudDetector_StartCount(), 0u);
}

TEST_F(ModuleTest, SurplusStopAfterMatchedPairDoesNotStopDependencyAgain) {
  Init_VxCameraUtils();
  Deinit_VxCameraUtils();
  Deinit_VxCameraUtils();
  EXPECT_EQ(VxCloudDetector_StopCount(), 1u);
}

TEST_F(ModuleTest, StartRecordsPathOfLoadedFile) {
  Init_VxCameraUtils();
  EXPECT_FALSE(Module().ModulePath().empty());
  EXPECT_EQ(Module().ModuleDir() + Module().ModuleFileName(), Module().ModulePath());
}

TEST_F(ModuleTest, SlashPathSplitsIntoDirectoryFileAndExtension) {
  StartWithPath("/a/b/libm.so");
  EXPECT_EQ(Module().ModuleDir(), "/a/b/");
  EXPECT_EQ(Module().ModuleFileName(), "libm.so");
  EXPECT_EQ(Module().ModuleExt(), "so");
}

TEST_F(ModuleTest, BackslashPathSplitsTheSameWay) {
  StartWithPath("C:\\a\\b\\libm.so");
  EXPECT_EQ(Module().ModuleDir(), "C:\\a\\b\\");
  EXPECT_EQ(Module().ModuleFileName(), "libm.so");
  EXPECT_EQ(Module().ModuleExt(), "so");
}

TEST_F(ModuleTest, LastSeparatorOfEitherKindCounts) {
  StartWithPath("/a\\b/c\\libx.so.1");
  EXPECT_EQ(Module().ModuleDir(), "/a\\b/c\\");
  EXPECT_EQ(Module().ModuleFileName(), "libx.so.1");
  EXPECT_EQ(Module().ModuleExt(), "1");
}

TEST_F(ModuleTest, PathWithoutSeparatorIsAllFileName) {
  StartWithPath("libm.so");
  EXPECT_EQ(Module().ModuleDir(), "");
  EXPECT_EQ(Module().ModuleFileName(), "libm.so");
}

TEST_F(ModuleTest, FileNameWithoutDotHasEmptyExtension) {
  StartWithPath("/a/b/libm");
  EXPECT_EQ(Module().ModuleFileName(), "libm");
  EXPECT_EQ(Module().ModuleExt(), "");
}

TEST_F(ModuleTest, FileNameEndingInDotHasEmptyExtension) {
  StartWithPath("/a/b/libm.");
  EXPECT_EQ(Module().ModuleExt(), "");
}

TEST_F(ModuleTest, DotInDirectoryDoesNotMakeExtension) {
  StartWithPath("/a.d/libm");
  EXPECT_EQ(Module().ModuleExt(), "");
}

TEST_F(ModuleTest, LaterStartDoesNotRecomputePath) {
  StartWithPath("/first/libm.so");
  g_syntheticPath = "/second/libn.so";
  Init_VxCameraUtils();
  EXPECT_EQ(Module().ModulePath(), "/first/libm.so");
}

TEST_F(ModuleTest, StopKeepsPathAndNextFirstStartRecomputesIt) {
  StartWithPath("/first/libm.so");
  Deinit_VxCameraUtils();
  EXPECT_EQ(Module().ModulePath(), "/first/libm.so");
  StartWithPath("/second/libn.so");
  EXPECT_EQ(Module().ModulePath(), "/second/libn.so");
}

TEST_F(ModuleTest, NullLoaderNameThrowsAfterStartingDependencyAndIsNotCounted) {
  g_syntheticPath = nullptr;
  VxModule_Initializer::SetLoaderQuery(&SyntheticLoader);
  try {
    Init_VxCameraUtils();
    FAIL() << "no exception";
  } catch (const std::logic_error& e) {
    EXPECT_STREQ(e.what(), "basic_string::_M_construct null not valid");
  }
  EXPECT_EQ(Module().InitCount(), 0u);
  EXPECT_EQ(VxCloudDetector_StartCount(), 1u);
  // The next start starts the dependency again.
  EXPECT_THROW(Init_VxCameraUtils(), std::logic_error);
  EXPECT_EQ(VxCloudDetector_StartCount(), 2u);
}

TEST_F(ModuleTest, ModuleNameIsVxCameraUtils) {
  EXPECT_EQ(Module().ModuleName(), "VxCameraUtils");
}

TEST_F(ModuleTest, UnknownKeyGivesEmptyTextOrDefaultBeforeFirstStart) {
  ASSERT_EQ(Module().InitCount(), 0u);
  EXPECT_EQ(Module().get_resource_string("global.NoSuchKey"), "");
  EXPECT_EQ(Module().get_resource_string("global.NoSuchKey", "fallback"), "fallback");
}

TEST_F(ModuleTest, KnownKeyGivesLocalisedTextBeforeFirstStart) {
  ASSERT_EQ(Module().InitCount(), 0u);
  EXPECT_EQ(Module().get_resource_string("global.TEXT_CI_TYPE_CROSS"),
            ResText("global.TEXT_CI_TYPE_CROSS", "en"));
  ScopedResLanguage german("de");
  EXPECT_EQ(Module().get_resource_string("global.TEXT_CI_TYPE_CROSS", "fallback"), "Kreuz");
}
