// Handles of one transform copied, used and dropped on several threads at once. Run under
// ThreadSanitizer by the test label "concurrency".

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "VxFormulaDistortion.h"
#include "VxTransformHandle.h"

namespace {

constexpr int kThreads = 8;
constexpr int kCopiesPerThread = 20000;

TEST(TransformHandleConcurrency, CopiesOnManyThreads_LeaveExactlyTheOriginalReference) {
  const TransformHandle shared = MakeTransformHandle<TFormulaDistortion>(
      vec_t_<double, 2>{0.0, 0.0}, 4e-8, -2.6e-12, 0.0, 0.0, 0.0, 1e-7, -8e-8, 0.0, 0.0, true);
  std::atomic<int> mismatches{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&shared, &mismatches, t] {
      std::vector<TransformHandle> held;
      const vec_t_<double, 2> p{10.0 * t, -5.0 * t};
      const vec_t_<double, 2> expected = shared->TransformPoint(p);
      for (int i = 0; i < kCopiesPerThread; ++i) {
        held.push_back(shared);
        if (i % 64 == 0 && held.back()->TransformPoint(p) != expected) ++mismatches;
        if (held.size() > 16) held.erase(held.begin(), held.begin() + 8);
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(mismatches.load(), 0);
  EXPECT_EQ(shared.use_count(), 1);
}

TEST(TransformHandleConcurrency, LastReferenceDroppedOnAnyThread_DestroysOnce) {
  for (int round = 0; round < 50; ++round) {
    TransformHandle origin = MakeTransformHandle<TFormulaDistortion>(
        vec_t_<double, 2>{0.0, 0.0}, 1e-8, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, false);
    std::vector<TransformHandle> copies(kThreads, origin);
    origin.reset();
    EXPECT_EQ(copies[0].use_count(), kThreads);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
      threads.emplace_back([handle = std::move(copies[static_cast<std::size_t>(t)])]() mutable {
        const TransformHandle local = handle;
        handle.reset();
      });
    }
    for (auto& thread : threads) thread.join();
  }
  SUCCEED();  // ThreadSanitizer and AddressSanitizer see a double destruction or a leak
}

}  // namespace
