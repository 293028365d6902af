#include "VxCloudDetector.h"

#include <gtest/gtest.h>

TEST(VxCloudDetector, CountsStartsAndStops) {
  VxCloudDetector_ResetCounts();
  EXPECT_FALSE(VxCloudDetector_IsRunning());
  Init_VxCloudDetector();
  Init_VxCloudDetector();
  EXPECT_EQ(VxCloudDetector_StartCount(), 2u);
  EXPECT_TRUE(VxCloudDetector_IsRunning());
  Deinit_VxCloudDetector();
  EXPECT_EQ(VxCloudDetector_StopCount(), 1u);
  EXPECT_TRUE(VxCloudDetector_IsRunning());
  Deinit_VxCloudDetector();
  EXPECT_FALSE(VxCloudDetector_IsRunning());
}

TEST(VxCloudDetector, ResetClearsBothCounts) {
  Init_VxCloudDetector();
  Deinit_VxCloudDetector();
  VxCloudDetector_ResetCounts();
  EXPECT_EQ(VxCloudDetector_StartCount(), 0u);
  EXPECT_EQ(VxCloudDetector_StopCount(), 0u);
}
