#pragma once
// The reference-counted holder of transforms: one heap block per transform, holding the count,
// the block's destroy function and the transform itself; and TransformHandle, the handle in
// which transforms are passed around.

#include <atomic>
#include <cstdint>
#include <new>
#include <utility>

#include "VxTransform.h"

namespace var_a_legacy {

// The head of a holder block. A block starts with a count of 0; whoever takes a reference
// raises it by one, and the release that brings it back to 0 calls `destroy`, which ends the
// held object and frees the block. Counts change only by atomic increment and decrement, so
// references to one block may be taken and released on different threads.
struct var_a_item {
  std::atomic<std::int64_t> count{0};
  void (*destroy)(var_a_item*) = nullptr;

  void AddRef() noexcept { count.fetch_add(1, std::memory_order_relaxed); }
  // Releases one reference; the last one destroys the block. A destroy function that throws
  // ends the process (this is noexcept).
  void Release() noexcept {
    if (count.fetch_sub(1, std::memory_order_acq_rel) == 1) destroy(this);
  }
};

// A holder block with an object of type T constructed in place after the head. The block is
// made with the object not yet constructed; whoever makes it constructs the object and, if that
// throws, deletes the block (the object's destructor does not run then).
template <class T>
struct TEmbedded_var_a_item : var_a_item {
  union {
    T object;
  };

  TEmbedded_var_a_item() noexcept { destroy = &destroy_fn; }
  // Does not end `object`: destroy_fn does, when the object was constructed.
  ~TEmbedded_var_a_item() {}
  TEmbedded_var_a_item(const TEmbedded_var_a_item&) = delete;
  TEmbedded_var_a_item& operator=(const TEmbedded_var_a_item&) = delete;

  // Ends the embedded object and frees the block; does nothing for a null block.
  static void destroy_fn(var_a_item* item) {
    if (item == nullptr) return;
    auto* block = static_cast<TEmbedded_var_a_item*>(item);
    block->object.~T();
    delete block;
  }
};

}  // namespace var_a_legacy

// A counted reference to a transform in a holder block: `first` is the block, `second` the
// transform in it. Both null: no transform (an empty handle). Copying a handle adds a
// reference, destroying one removes it, and the last reference destroys the transform. The
// transform itself is immutable, so handles to it may be used on several threads at once.
class TransformHandle {
 public:
  TransformHandle() noexcept = default;
  // Takes one new reference to `block`, whose object `transform` is (both null, or neither).
  TransformHandle(var_a_legacy::var_a_item* block, const TVx2DTransform* transform) noexcept
      : first(block), second(transform) {
    if (first != nullptr) first->AddRef();
  }
  TransformHandle(const TransformHandle& other) noexcept
      : TransformHandle(other.first, other.second) {}
  TransformHandle(TransformHandle&& other) noexcept : first(other.first), second(other.second) {
    other.first = nullptr;
    other.second = nullptr;
  }
  TransformHandle& operator=(TransformHandle other) noexcept {
    swap(other);
    return *this;
  }
  ~TransformHandle() {
    if (first != nullptr) first->Release();
  }

  void swap(TransformHandle& other) noexcept {
    std::swap(first, other.first);
    std::swap(second, other.second);
  }
  // Drops the reference; the handle becomes empty.
  void reset() noexcept { TransformHandle().swap(*this); }

  const TVx2DTransform* get() const noexcept { return second; }
  const TVx2DTransform* operator->() const noexcept { return second; }
  const TVx2DTransform& operator*() const noexcept { return *second; }
  explicit operator bool() const noexcept { return second != nullptr; }
  // The number of references to the block (0 for an empty handle). Only a snapshot when other
  // threads hold references too.
  std::int64_t use_count() const noexcept {
    return first == nullptr ? 0 : first->count.load(std::memory_order_acquire);
  }

  var_a_legacy::var_a_item* first = nullptr;
  const TVx2DTransform* second = nullptr;
};

// Makes a T from `args` in a new holder block and returns the only handle to it. The block
// starts at count 0, the local owner raises it to 1, the copy into the result to 2, and the
// local owner's release leaves exactly 1 with the caller. If T's constructor throws, the block
// is freed and the exception passes on.
template <class T, class... A>
TransformHandle MakeTransformHandle(A&&... args) {
  auto* block = new var_a_legacy::TEmbedded_var_a_item<T>();
  try {
    ::new (static_cast<void*>(&block->object)) T(std::forward<A>(args)...);
  } catch (...) {
    delete block;
    throw;
  }
  const TransformHandle owner(block, &block->object);
  TransformHandle result = owner;
  return result;
}
