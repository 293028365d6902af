#include "VxCombinedTransform.h"

#include <algorithm>
#include <cassert>
#include <new>

#include "VxInverseSolver.h"

TCombinedTransform::TCombinedTransform(const TCombinedTransform& other) : TVx2DTransform(other) {
  members_.reserve(other.members_.size());
  for (const auto& member : other.members_) members_.push_back(member->Clone());
}

void TCombinedTransform::AddTransform(const TVx2DTransform& transform) {
  members_.push_back(transform.Clone());
}

const TVx2DTransform& TCombinedTransform::Item(std::size_t i) const {
  assert(i < members_.size());
  return *members_[i];
}

std::unique_ptr<TVx2DTransform> TCombinedTransform::Clone() const {
  return std::unique_ptr<TVx2DTransform>(new TCombinedTransform(*this));
}

std::size_t TCombinedTransform::TransformPoints(const vec_t_<double, 2>* in, vec_t_<double, 2>* out,
                                                std::size_t n) const {
  std::array<double, 6> first;
  std::size_t nan = 0;
  if (members_.size() == 2 && members_[0]->AffineCoefficients(&first) &&
      members_[1]->TransformPointsAfter(&first, in, out, n, &nan)) {
    return nan;
  }
  if (members_.size() == 1 && members_[0]->TransformPointsAfter(nullptr, in, out, n, &nan)) {
    return nan;
  }
  if (members_.empty()) {
    if (in != out) std::copy(in, in + n, out);
  } else {
    members_.front()->TransformPoints(in, out, n);
    for (std::size_t m = 1; m < members_.size(); ++m) members_[m]->TransformPoints(out, out, n);
  }
  return vx_geometry_detail::CountNaNPoints(out, n);
}

const char* TCombinedTransform::Name() const {
  return "combined";
}

bool TCombinedTransform::IsIdentity() const {
  return std::all_of(members_.begin(), members_.end(),
                     [](const auto& member) { return member->IsIdentity(); });
}

bool TCombinedTransform::TransformGridAfter(const std::array<double, 6>* first,
                                            const TVxPointGrid& grid, vec_t_<double, 2>* out,
                                            std::size_t* nanCount) const {
  if (first != nullptr) return false;  // an affine map before the composite: no single loop
  if (members_.size() == 1) return members_[0]->TransformGridAfter(nullptr, grid, out, nanCount);
  std::array<double, 6> affine;
  return members_.size() == 2 && members_[0]->AffineCoefficients(&affine) &&
         members_[1]->TransformGridAfter(&affine, grid, out, nanCount);
}

vec_t_<double, 2> TCombinedTransform::TransformPoint(const vec_t_<double, 2>& p) const {
  vec_t_<double, 2> q = p;
  for (const auto& member : members_) q = member->TransformPoint(q);
  return q;
}

TransformHandle MakeCombinedTransformHandle(std::initializer_list<const TVx2DTransform*> members) {
  // The holder is made first and owned by `owner`, so that a member that fails to copy frees it.
  auto* block = new var_a_legacy::TEmbedded_var_a_item<TCombinedTransform>();
  TCombinedTransform* chain = nullptr;
  try {
    chain = ::new (static_cast<void*>(&block->object)) TCombinedTransform();
  } catch (...) {
    delete block;
    throw;
  }
  const TransformHandle owner(block, chain);
  for (const TVx2DTransform* member : members) {
    if (member != nullptr) chain->AddTransform(*member);
  }
  return owner;
}
