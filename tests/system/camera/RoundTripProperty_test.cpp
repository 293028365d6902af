#include <gtest/gtest.h>

#include "VxRandomRecords.h"
#include "VxRecordBytes.h"
#include "VxSettingsText.h"

namespace {
constexpr std::uint64_t kSeed = 20261122;
constexpr int kTrials = 3000;
}  // namespace

TEST(CameraRoundTrip, RandomNormalisedCamerasLoadBackEqual) {
  vx_test::TRandomRecords random(kSeed);
  int models[9] = {};
  for (int trial = 0; trial < kTrials; ++trial) {
    const TVxCameraInfo camera = random.Camera();
    ++models[static_cast<int>(camera.distortion.type)];
    const std::string text = vx_test::SavedText(camera);
    const TVxCameraInfo back = vx_test::LoadedFrom<TVxCameraInfo>(text);
    ASSERT_TRUE(back == camera) << "trial " << trial << ":\n" << text;
    // Bit for bit, too: the text keeps the sign of zero and every digit.
    ASSERT_EQ(vx_test::RecordBytes(back), vx_test::RecordBytes(camera)) << text;
    // Writing what was read gives the same text.
    ASSERT_EQ(vx_test::SavedText(back), text);
  }
  for (int model = 1; model <= 8; ++model) EXPECT_GT(models[model], kTrials / 20) << model;
}

TEST(CameraRoundTrip, RandomDistortionsLoadBackEqual) {
  vx_test::TRandomRecords random(kSeed + 1);
  for (int trial = 0; trial < kTrials; ++trial) {
    const TVxCameraDistortion d = random.Distortion();
    const TVxCameraDistortion back = vx_test::RoundTrip(d);
    ASSERT_TRUE(back == d) << vx_test::SavedText(d);
  }
}
