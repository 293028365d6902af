// vxcam transform on inputs large enough for several threads: the output of one thread.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <sstream>
#include <string>

#include <nlohmann/json.hpp>

#include "VxCamApp.h"
#include "VxCamCommands.h"
#include "VxCamThreads.h"

namespace {

const std::string kFormula = VX_SOURCE_DIR "/examples/cameras/rc10_formula.yaml";
// A radial table, whose calibrated field ends inside the frame's corners.
const std::string kRadial = VX_SOURCE_DIR "/examples/cameras/rc10_radial.yaml";

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

// What the tool writes to standard output and to standard error.
struct TOutput {
  std::string out, err;
};

// Runs the tool, which must exit with `exit`.
TOutput Transform(const vxcam::TArgs& args, const std::string& input,
                  vxcam::TExitStatus exit = vxcam::kExitSuccess) {
  std::istringstream in(input);
  std::ostringstream out, err;
  vxcam::TIo io{in, out, err};
  EXPECT_EQ(vxcam::RunTransform(args, io), exit) << err.str();
  return {out.str(), err.str()};
}

// The lines written.
std::ptrdiff_t Lines(const std::string& text) {
  return std::count(text.begin(), text.end(), '\n');
}

// Where an error about line `number` of standard input starts.
std::string AtLine(int number) {
  return "<stdin>:" + std::to_string(number) + ": ";
}

std::string TransformText(const vxcam::TArgs& args, const std::string& input) {
  return Transform(args, input).out;
}

// The input with `line` inserted as line number `number`.
std::string WithLine(std::string input, int number, const std::string& line) {
  std::size_t at = 0;
  for (int n = 1; n < number; ++n) at = input.find('\n', at) + 1;
  input.insert(at, line + '\n');
  return input;
}

// On one thread and on two, the tool refuses `input` at line `refused`: it writes every line
// before it and names it.
void ExpectRefusedAt(const std::string& input, int refused) {
  for (const char* threads : {"1", "2"}) {
    const TOutput output =
        Transform({kFormula, "--threads", threads}, input, vxcam::kExitInvalidContent);
    EXPECT_EQ(Lines(output.out), refused - 1) << threads;
    EXPECT_NE(output.err.find(AtLine(refused)), std::string::npos) << output.err;
  }
}

TEST(VxCamThreads, Transform_AnyThreadCount_WritesWhatOneThreadWrites) {
  const std::string input = ManyPoints();
  for (const std::string& camera : {kFormula, kRadial}) {
    for (const bool inverse : {false, true}) {
      vxcam::TArgs args{camera, "--precision", "17", "--threads", "1"};
      if (inverse) args.push_back("--inverse");
      const TOutput one = Transform(args, input);
      ASSERT_EQ(Lines(one.out), kLines);
      // The radial table's corners lie outside its calibrated field: warnings, the first ten
      // naming their lines, in order.
      if (camera == kRadial) {
        ASSERT_NE(one.err.find("<stdin>:"), std::string::npos);
      }
      for (const char* threads : {"2", "3", "8", "0"}) {
        args[4] = threads;
        const TOutput many = Transform(args, input);
        EXPECT_EQ(many.out, one.out)
            << camera << ", " << threads << " threads, inverse " << inverse;
        EXPECT_EQ(many.err, one.err)
            << camera << ", " << threads << " threads, inverse " << inverse;
      }
    }
  }
}

TEST(VxCamThreads, Transform_BadLineInTheFirstBatch_StopsThereThoughLaterBatchesWereRead) {
  // Batches after the bad line's have been read, and one is mapped on the pool while the bad
  // line's batch is written: none of their results may follow.
  constexpr int kBadLine = 100;
  const std::string input = WithLine(ManyPoints(), kBadLine, "3 four");
  for (const char* threads : {"1", "2", "3"}) {
    for (const bool json : {false, true}) {
      vxcam::TArgs args{kFormula, "--threads", threads};
      if (json) args.push_back("--json");
      const TOutput refused = Transform(args, input, vxcam::kExitInvalidContent);
      EXPECT_NE(refused.err.find(AtLine(kBadLine)), std::string::npos) << refused.err;
      if (json) {
        // The document ends after the last good point.
        const auto document = nlohmann::json::parse(refused.out);
        EXPECT_EQ(document.at("points").size(), std::size_t{kBadLine - 1}) << threads;
      } else {
        EXPECT_EQ(Lines(refused.out), kBadLine - 1) << threads;
      }
    }
  }
}

TEST(VxCamThreads, Transform_BadLineInALaterBatch_WritesTheLinesBeforeItAndNamesIt) {
  // Lines are parsed a batch at a time, after they are read: a bad line deep in the input still
  // stops the output just before it.
  constexpr int kBadLine = kLines - 500;
  const std::string input = WithLine(ManyPoints(), kBadLine, "3 four");
  ExpectRefusedAt(input, kBadLine);
}

TEST(VxCamThreads, Transform_TooLongLineAfterFullBatches_WritesEveryLineBeforeIt) {
  // The reader refuses the line while one batch is mapped on the pool and another is filling:
  // both are still written before the refusal.
  constexpr int kLongLine = 2 * 16384 + 300;
  const std::string input = WithLine(ManyPoints(), kLongLine, std::string(70000, '1'));
  ExpectRefusedAt(input, kLongLine);
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
