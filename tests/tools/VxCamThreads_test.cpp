// vxcam transform on inputs large enough for several threads: the output of one thread.
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>

#include "VxCamApp.h"
#include "VxCamCommands.h"
#include "VxCamThreads.h"

namespace {

const std::string kFormula = VX_SOURCE_DIR "/examples/cameras/rc10_formula.yaml";

// More than two full batches and an odd remainder, so that batches of every size are mapped.
constexpr int kLines = 2 * 16384 + 1001;

// Points over the RC10's 230 mm frame, one a line.
std::string ManyPoints() {
  std::string input;
  for (int i = 0; i < kLines; ++i) {
    const double t = static_cast<double>(i) / kLines;
    input += std::to_string(-114.0 + 228.0 * (7.0 * t - static_cast<int>(7.0 * t))) + ' ' +
             std::to_string(-114.0 + 228.0 * t) + '\n';
  }
  return input;
}

std::string TransformText(const vxcam::TArgs& args, const std::string& input) {
  std::istringstream in(input);
  std::ostringstream out, err;
  vxcam::TIo io{in, out, err};
  EXPECT_EQ(vxcam::RunTransform(args, io), vxcam::kExitSuccess) << err.str();
  return out.str();
}

TEST(VxCamThreads, Transform_AnyThreadCount_WritesWhatOneThreadWrites) {
  const std::string input = ManyPoints();
  for (const bool inverse : {false, true}) {
    vxcam::TArgs args{kFormula, "--precision", "17", "--threads", "1"};
    if (inverse) args.push_back("--inverse");
    const std::string one = TransformText(args, input);
    ASSERT_EQ(std::count(one.begin(), one.end(), '\n'), kLines);
    for (const char* threads : {"2", "3", "8", "0"}) {
      args[4] = threads;
      EXPECT_EQ(TransformText(args, input), one) << threads << " threads, inverse " << inverse;
    }
  }
}

TEST(VxCamThreads, Transform_BadLineInALaterBatch_WritesTheLinesBeforeItAndNamesIt) {
  // Lines are parsed a batch at a time, after they are read: a bad line deep in the input still
  // stops the output just before it.
  std::string input = ManyPoints();
  std::size_t at = 0;
  constexpr int kBadLine = kLines - 500;
  for (int line = 1; line < kBadLine; ++line) at = input.find('\n', at) + 1;
  input.insert(at, "3 four\n");
  for (const char* threads : {"1", "2"}) {
    std::istringstream in(input);
    std::ostringstream out, err;
    vxcam::TIo io{in, out, err};
    EXPECT_EQ(vxcam::RunTransform({kFormula, "--threads", threads}, io),
              vxcam::kExitInvalidContent);
    const std::string written = out.str();
    EXPECT_EQ(std::count(written.begin(), written.end(), '\n'), kBadLine - 1) << threads;
    EXPECT_NE(err.str().find("<stdin>:" + std::to_string(kBadLine) + ": "), std::string::npos)
        << err.str();
  }
}

TEST(VxCamThreads, Transform_LargeInput_StartsTheWorkersOnceAndReusesThem) {
  const std::string input = ManyPoints();
  const std::size_t before = vxcam::WorkerPool().WorkersStarted();
  TransformText({kFormula, "--inverse", "--threads", "3"}, input);
  const std::size_t started = vxcam::WorkerPool().WorkersStarted();
  EXPECT_GE(started, 2u);
  EXPECT_LE(started, before + 2);
  TransformText({kFormula, "--inverse", "--threads", "3"}, input);
  EXPECT_EQ(vxcam::WorkerPool().WorkersStarted(), started);
}

TEST(VxCamThreads, Transform_FewPointsOrOneThread_StartNoWorker) {
  const std::size_t before = vxcam::WorkerPool().WorkersStarted();
  TransformText({kFormula, "--threads", "8", "1", "2", "3", "4"}, "");
  TransformText({kFormula, "--threads", "1"}, ManyPoints());
  EXPECT_EQ(vxcam::WorkerPool().WorkersStarted(), before);
}

}  // namespace
