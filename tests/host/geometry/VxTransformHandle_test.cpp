#include <gtest/gtest.h>

#include <cstddef>
#include <stdexcept>
#include <utility>

#include "VxAffineTransform.h"
#include "VxTransformHandle.h"
#include "VxUnityTransform.h"

namespace {

// A transform that counts its destructions, or throws from its constructor when asked.
class TCountingTransform final : public TVx2DTransform {
 public:
  explicit TCountingTransform(int* destroyed, bool fail = false) : destroyed_(destroyed) {
    if (fail) throw std::runtime_error("construction failed");
  }
  ~TCountingTransform() override { ++*destroyed_; }

  std::unique_ptr<TVx2DTransform> Clone() const override {
    return std::unique_ptr<TVx2DTransform>(new TCountingTransform(*this));
  }
  const char* Name() const override { return "counting"; }
  bool IsIdentity() const override { return true; }
  vec_t_<double, 2> TransformPoint(const vec_t_<double, 2>& p) const override { return p; }

 private:
  TCountingTransform(const TCountingTransform&) = default;
  int* destroyed_;
};

TEST(TransformHandle, FreshHandle_HoldsExactlyOneReference) {
  const TransformHandle h = MakeTransformHandle<TUnityTransform>();
  ASSERT_TRUE(h);
  EXPECT_EQ(h.use_count(), 1);
  EXPECT_NE(h.first, nullptr);
  EXPECT_EQ(h.get(), h.second);
  EXPECT_STREQ(h->Name(), "unity");
}

TEST(TransformHandle, Handle_PointsAtTheObjectInsideItsBlock) {
  const TransformHandle h = MakeTransformHandle<TAffineTransform>(1.0, 2.0, 3.0, 4.0, 5.0, 6.0);
  auto* block = static_cast<var_a_legacy::TEmbedded_var_a_item<TAffineTransform>*>(h.first);
  EXPECT_EQ(h.second, &block->object);
  EXPECT_EQ(static_cast<const void*>(&block->count), static_cast<const void*>(block));
  EXPECT_EQ(block->destroy, &var_a_legacy::TEmbedded_var_a_item<TAffineTransform>::destroy_fn);
  EXPECT_EQ(h->TransformPoint({1.0, 1.0}), (vec_t_<double, 2>{6.0, 15.0}));
}

TEST(TransformHandle, CopyAddsAReferenceAndDestroyingTheCopyRemovesIt) {
  int destroyed = 0;
  {
    const TransformHandle h = MakeTransformHandle<TCountingTransform>(&destroyed);
    {
      const TransformHandle copy = h;  // NOLINT(performance-unnecessary-copy-initialization)
      EXPECT_EQ(h.use_count(), 2);
      EXPECT_EQ(copy.first, h.first);
      EXPECT_EQ(copy.second, h.second);
    }
    EXPECT_EQ(h.use_count(), 1);
    EXPECT_EQ(destroyed, 0);  // the copy's end released a reference, not the transform
  }
  EXPECT_EQ(destroyed, 1);
}

TEST(TransformHandle, Assignment_MovesTheReferenceFromTheOldTransformToTheNew) {
  int destroyedA = 0;
  int destroyedB = 0;
  TransformHandle a = MakeTransformHandle<TCountingTransform>(&destroyedA);
  const TransformHandle b = MakeTransformHandle<TCountingTransform>(&destroyedB);
  a = b;
  EXPECT_EQ(destroyedA, 1);
  EXPECT_EQ(b.use_count(), 2);
  a = a;  // self-assignment keeps the count
  EXPECT_EQ(b.use_count(), 2);
  EXPECT_EQ(destroyedB, 0);
}

TEST(TransformHandle, Move_TransfersTheReferenceWithoutCounting) {
  int destroyed = 0;
  {
    TransformHandle h = MakeTransformHandle<TCountingTransform>(&destroyed);
    const TransformHandle moved = std::move(h);
    EXPECT_EQ(moved.use_count(), 1);
    EXPECT_FALSE(h);  // NOLINT(bugprone-use-after-move): a moved-from handle is empty
    EXPECT_EQ(h.first, nullptr);
    EXPECT_EQ(destroyed, 0);
  }
  EXPECT_EQ(destroyed, 1);  // once, by the handle that holds it; the empty one frees nothing
}

TEST(TransformHandle, LastRelease_DestroysTheTransformOnce) {
  int destroyed = 0;
  {
    TransformHandle h = MakeTransformHandle<TCountingTransform>(&destroyed);
    TransformHandle copy = h;
    h.reset();
    EXPECT_EQ(destroyed, 0);
    EXPECT_EQ(copy.use_count(), 1);
  }
  EXPECT_EQ(destroyed, 1);
}

TEST(TransformHandle, FailingConstruction_FreesTheBlockAndPassesTheException) {
  int destroyed = 0;
  EXPECT_THROW(MakeTransformHandle<TCountingTransform>(&destroyed, true), std::runtime_error);
  // The object was never made, so it is never destroyed; the sanitizer build sees the block freed.
  EXPECT_EQ(destroyed, 0);
}

TEST(TransformHandle, EmptyHandle_HasNoTransformAndNoCount) {
  const TransformHandle h;
  EXPECT_FALSE(h);
  EXPECT_EQ(h.first, nullptr);
  EXPECT_EQ(h.second, nullptr);
  EXPECT_EQ(h.get(), nullptr);
  EXPECT_EQ(h.use_count(), 0);
  const TransformHandle copy = h;  // NOLINT(performance-unnecessary-copy-initialization)
  EXPECT_FALSE(copy);
}

TEST(TransformHandle, DestroyFunctionOfANullBlock_DoesNothing) {
  var_a_legacy::TEmbedded_var_a_item<TAffineTransform>::destroy_fn(nullptr);
  var_a_legacy::TEmbedded_var_a_item<TUnityTransform>::destroy_fn(nullptr);
  SUCCEED();
}

// The protocol by hand: a new block at 0, the owner's reference 1, the result's 2, and the
// owner's release leaves 1.
TEST(TransformHandle, BlockCounts_FollowTheOwnerAndResultProtocol) {
  auto* block = new var_a_legacy::TEmbedded_var_a_item<TUnityTransform>();
  EXPECT_EQ(block->count.load(), 0);
  ::new (static_cast<void*>(&block->object)) TUnityTransform();
  TransformHandle result;
  {
    const TransformHandle owner(block, &block->object);
    EXPECT_EQ(block->count.load(), 1);
    result = owner;
    EXPECT_EQ(block->count.load(), 2);
  }
  EXPECT_EQ(result.use_count(), 1);
}

}  // namespace
