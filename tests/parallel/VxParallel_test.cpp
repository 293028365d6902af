#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

#include "VxCameraMath.h"
#include "VxParallel.h"

namespace {

using TPoint = vec_t_<double, 2>;

// A small chunk, so that a few thousand points make many chunks and every thread count below
// takes part.
constexpr std::size_t kSmallChunk = 64;
// Odd lengths: chunks of unequal length, a last chunk shorter than the others.
constexpr std::size_t kLengths[] = {1, 7, 129, 1001, 4099};
constexpr int kThreadCounts[] = {1, 2, 3, 8};

// A formula camera with a strong lens: its inverse takes several Newton steps, and the corner
// points of the frame take more than the centre.
TVxCameraInfo StrongLens(TVxCameraDistortion::TDirection direction) {
  TVxCameraInfo camera;
  camera.focus = 120.0;
  camera.principalPoint = {0.003, -0.002};
  TVxCameraDistortion& d = camera.distortion;
  d.type = TDistortionType::Formula;
  d.direction = direction;
  d.symmetryPoint = camera.principalPoint;
  d.k1 = -0.25 / (120.0 * 120.0);
  d.k2 = 0.08 / std::pow(120.0, 4);
  d.p1 = 1e-5;
  d.p2 = -2e-5;
  return camera;
}

// n points over a 92 x 166 mm frame, every 17th NaN in one or both coordinates.
std::vector<TPoint> Points(std::size_t n) {
  std::vector<TPoint> points(n);
  const double nan = std::numeric_limits<double>::quiet_NaN();
  for (std::size_t i = 0; i < n; ++i) {
    const double t = static_cast<double>(i) / static_cast<double>(std::max<std::size_t>(1, n - 1));
    points[i] = {-46.0 + 92.0 * std::fmod(7.0 * t, 1.0), -83.0 + 166.0 * t};
    if (i % 17 == 5) points[i].x = nan;
    if (i % 34 == 22) points[i] = {nan, nan};
  }
  return points;
}

bool SameBits(const std::vector<TPoint>& a, const std::vector<TPoint>& b) {
  return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(TPoint)) == 0;
}

TEST(TransformPointsInChunks, AnyThreadCount_GivesTheBitsAndNaNCountOfOneCall) {
  TVxWorkerPool pool;
  for (const auto direction :
       {TVxCameraDistortion::TDirection::CamToMm, TVxCameraDistortion::TDirection::MmToCam}) {
    const TransformHandle handle = CreateCamToMmTransform(StrongLens(direction));
    ASSERT_TRUE(handle);
    for (const std::size_t n : kLengths) {
      const std::vector<TPoint> in = Points(n);
      std::vector<TPoint> expected(n);
      const std::size_t expectedNan = handle->TransformPoints(in.data(), expected.data(), n);
      if (n > 5) {
        ASSERT_GT(expectedNan, 0u);
      }
      for (const int threads : kThreadCounts) {
        std::vector<TPoint> out(n);
        EXPECT_EQ(
            TransformPointsInChunks(pool, *handle, in.data(), out.data(), n, threads, kSmallChunk),
            expectedNan)
            << n << " points, " << threads << " threads";
        EXPECT_TRUE(SameBits(out, expected)) << n << " points, " << threads << " threads";
        std::vector<TPoint> inPlace = in;
        TransformPointsInChunks(pool, *handle, inPlace.data(), inPlace.data(), n, threads,
                                kSmallChunk);
        EXPECT_TRUE(SameBits(inPlace, expected)) << n << " points in place, " << threads;
      }
    }
  }
}

TEST(TransformPointsInChunks, FewerPointsThanTwoChunks_StartNoThread) {
  TVxWorkerPool pool;
  const TransformHandle handle =
      CreateCamToMmTransform(StrongLens(TVxCameraDistortion::TDirection::MmToCam));
  const std::vector<TPoint> in = Points(1000);
  std::vector<TPoint> out(in.size());
  TransformPointsInChunks(pool, *handle, in.data(), out.data(), in.size(), 8, 1000);
  EXPECT_EQ(pool.WorkersStarted(), 0u);
  TransformPointsInChunks(pool, *handle, in.data(), out.data(), in.size(), 8, 500);
  EXPECT_EQ(pool.WorkersStarted(), 1u);
}

TEST(TVxWorkerPool, RepeatedCalls_ReuseTheWorkersStartedByTheFirst) {
  TVxWorkerPool pool;
  const TransformHandle handle =
      CreateCamToMmTransform(StrongLens(TVxCameraDistortion::TDirection::MmToCam));
  const std::vector<TPoint> in = Points(4099);
  std::vector<TPoint> out(in.size());
  for (int call = 0; call < 20; ++call) {
    TransformPointsInChunks(pool, *handle, in.data(), out.data(), in.size(), 3, kSmallChunk);
    EXPECT_EQ(pool.WorkersStarted(), 2u) << "call " << call;
  }
  // A call on fewer threads starts none; one on more starts only the missing ones.
  TransformPointsInChunks(pool, *handle, in.data(), out.data(), in.size(), 2, kSmallChunk);
  EXPECT_EQ(pool.WorkersStarted(), 2u);
  TransformPointsInChunks(pool, *handle, in.data(), out.data(), in.size(), 5, kSmallChunk);
  EXPECT_EQ(pool.WorkersStarted(), 4u);
}

TEST(TVxWorkerPool, Run_RunsEveryTaskExactlyOnce) {
  TVxWorkerPool pool;
  constexpr std::size_t kTasks = 1000;
  std::vector<std::atomic<int>> runs(kTasks);
  for (int threads : kThreadCounts) {
    for (auto& r : runs) r = 0;
    pool.Run(
        kTasks, threads,
        [](std::size_t k, void* context) {
          (*static_cast<std::vector<std::atomic<int>>*>(context))[k] += 1;
        },
        &runs);
    EXPECT_TRUE(std::all_of(runs.begin(), runs.end(), [](const auto& r) { return r == 1; }))
        << threads << " threads";
  }
}

TEST(TVxWorkerPool, ThrowingTask_RethrowsInTheCallerAfterTheOthersEnded) {
  TVxWorkerPool pool;
  std::atomic<int> ended{0};
  EXPECT_THROW(pool.Run(
                   64, 4,
                   [](std::size_t k, void* context) {
                     if (k == 10) throw std::runtime_error("task 10");
                     ++*static_cast<std::atomic<int>*>(context);
                   },
                   &ended),
               std::runtime_error);
  EXPECT_EQ(ended.load(), 63);
  // The pool serves the next call.
  ended = 0;
  pool.Run(
      64, 4, [](std::size_t, void* context) { ++*static_cast<std::atomic<int>*>(context); },
      &ended);
  EXPECT_EQ(ended.load(), 64);
}

TEST(TVxWorkerPool, CallsFromSeveralThreads_EachGetTheirOwnResults) {
  TVxWorkerPool pool;
  const TransformHandle handle =
      CreateCamToMmTransform(StrongLens(TVxCameraDistortion::TDirection::MmToCam));
  const std::vector<TPoint> in = Points(4099);
  std::vector<TPoint> expected(in.size());
  handle->TransformPoints(in.data(), expected.data(), in.size());
  constexpr int kCallers = 4;
  constexpr int kRounds = 10;
  std::atomic<int> good{0};
  std::vector<std::thread> callers;
  for (int c = 0; c < kCallers; ++c) {
    callers.emplace_back([&] {
      std::vector<TPoint> out(in.size());
      for (int round = 0; round < kRounds; ++round) {
        std::fill(out.begin(), out.end(), TPoint{0.0, 0.0});
        TransformPointsInChunks(pool, *handle, in.data(), out.data(), in.size(), 3, kSmallChunk);
        if (SameBits(out, expected)) ++good;
      }
    });
  }
  for (std::thread& caller : callers) caller.join();
  EXPECT_EQ(good.load(), kCallers * kRounds);
}

// Tasks that count their runs, by index.
struct TCountingTasks {
  explicit TCountingTasks(std::size_t n) : runs(n) {}
  void operator()(std::size_t k) const { runs[k] += 1; }
  bool EachRanOnce() const {
    return std::all_of(runs.begin(), runs.end(), [](const auto& r) { return r == 1; });
  }
  int Total() const {
    int total = 0;
    for (const auto& r : runs) total += r;
    return total;
  }
  mutable std::vector<std::atomic<int>> runs;
};

TEST(TVxWorkerPool, StartedCall_RunsEveryTaskOnceWhileTheCallerWorksAndEndsInFinish) {
  TVxWorkerPool pool;
  for (int threads : kThreadCounts) {
    const TCountingTasks tasks(1000);
    TVxWorkerPool::TCall call = StartTasks(pool, tasks.runs.size(), threads, tasks);
    // The caller's own work meanwhile (what the tool does: read and write).
    std::vector<double> work(10000);
    for (std::size_t i = 0; i < work.size(); ++i) work[i] = std::sqrt(static_cast<double>(i));
    call.Finish();
    EXPECT_TRUE(tasks.EachRanOnce()) << threads << " threads";
    EXPECT_DOUBLE_EQ(work[9], 3.0);
    call.Finish();  // nothing left to finish
    EXPECT_TRUE(tasks.EachRanOnce()) << threads << " threads";
  }
}

TEST(TVxWorkerPool, StartedCallOnOneThread_RunsNothingUntilFinish) {
  TVxWorkerPool pool;
  const TCountingTasks tasks(50);
  TVxWorkerPool::TCall call = StartTasks(pool, tasks.runs.size(), 1, tasks);
  EXPECT_EQ(tasks.Total(), 0);
  call.Finish();
  EXPECT_TRUE(tasks.EachRanOnce());
  EXPECT_EQ(pool.WorkersStarted(), 0u);
}

TEST(TVxWorkerPool, StartedCall_RethrowsInFinishAndTheDestructorFinishesAForgottenOne) {
  TVxWorkerPool pool;
  const auto throwing = [](std::size_t k) {
    if (k == 3) throw std::runtime_error("task 3");
  };
  TVxWorkerPool::TCall call = StartTasks(pool, 16, 4, throwing);
  EXPECT_THROW(call.Finish(), std::runtime_error);

  // Not finished: the destructor waits for the tasks (and drops the exception), and the pool
  // takes the next call.
  const TCountingTasks forgotten(500);
  {
    const TVxWorkerPool::TCall dropped = StartTasks(pool, forgotten.runs.size(), 3, forgotten);
    TVxWorkerPool::TCall alsoThrows = StartTasks(pool, 0, 3, throwing);  // no tasks: no call
    alsoThrows.Finish();
  }
  EXPECT_TRUE(forgotten.EachRanOnce());
  const TCountingTasks next(100);
  RunTasks(pool, next.runs.size(), 3, next);
  EXPECT_TRUE(next.EachRanOnce());
}

TEST(TVxWorkerPool, StartedCall_MovedFinishesOnceAndAssignedOverFinishesTheOld) {
  TVxWorkerPool pool;
  const TCountingTasks first(200), second(200);
  TVxWorkerPool::TCall call = StartTasks(pool, first.runs.size(), 2, first);
  TVxWorkerPool::TCall moved = std::move(call);
  call.Finish();  // moved from: finishes nothing
  moved.Finish();
  EXPECT_TRUE(first.EachRanOnce());
  // Assigning a new call over one not finished: the old ends first (the pool runs one call at a
  // time, so it must end before the new one can start).
  TVxWorkerPool::TCall held = StartTasks(pool, first.runs.size(), 2, second);
  held = TVxWorkerPool::TCall();
  EXPECT_TRUE(second.EachRanOnce());
}

// Whether StartTasks takes a body of this kind (a temporary would be gone before its tasks run).
template <class Body, class = void>
struct TStartTasksTakes : std::false_type {};
template <class Body>
struct TStartTasksTakes<Body, std::void_t<decltype(StartTasks(std::declval<TVxWorkerPool&>(), 1, 1,
                                                              std::declval<Body>()))>>
    : std::true_type {};

TEST(TVxWorkerPool, StartTasks_TakesANamedBodyAndRefusesATemporary) {
  EXPECT_TRUE(TStartTasksTakes<const TCountingTasks&>::value);
  EXPECT_TRUE(TStartTasksTakes<TCountingTasks&>::value);
  EXPECT_FALSE(TStartTasksTakes<TCountingTasks>::value);
  EXPECT_FALSE(TStartTasksTakes<const TCountingTasks&&>::value);
}

TEST(TVxWorkerPool, ThreadsFor_ZeroMeansEveryCoreAndLargeRequestsAreCut) {
  EXPECT_GE(TVxWorkerPool::ThreadsFor(0), 1);
  EXPECT_EQ(TVxWorkerPool::ThreadsFor(3), 3);
  EXPECT_EQ(TVxWorkerPool::ThreadsFor(1000), TVxWorkerPool::kMaxThreads);
}

}  // namespace
