#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "VxCameraInfo.h"
#include "VxCameraUtils.h"
#include "VxModule_Initializer.h"
#include "VxResourceGuards.h"

// Lookups from several threads, before and after the first start: the module object is made
// once, and every lookup gives the real text.
TEST(ModuleThreads, LookupsFromSeveralThreadsBeforeAndAfterStart) {
  constexpr int kThreads = 4;
  constexpr int kLookups = 5000;
  // Straight from the service, so that the threads below are the first to make the module.
  const std::string expected = ResText("global.TEXT_CI_TYPE_FIDUCIAL", "en");
  ASSERT_FALSE(expected.empty());
  std::atomic<int> wrong{0};
  auto lookups = [&] {
    for (int i = 0; i < kLookups; ++i) {
      if (CameraTypeToUserText(TCameraType::Fiducials) != expected) ++wrong;
    }
  };
  for (int phase = 0; phase < 2; ++phase) {
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) threads.emplace_back(lookups);
    for (auto& thread : threads) thread.join();
    if (phase == 0) Init_VxCameraUtils();
  }
  Deinit_VxCameraUtils();
  EXPECT_EQ(wrong.load(), 0);
  EXPECT_EQ(VxModule_Initializer::getInst().InitCount(), 0u);
}
