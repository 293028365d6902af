// The distortion record: reset state and exact equality.

#include <algorithm>
#include <cstring>

#include "VxCameraInfo.h"

namespace {

// Bit-pattern comparison: -0.0 differs from 0.0, and equal NaN patterns are equal.
template <class T>
bool SameBytes(const T& a, const T& b) {
  return std::memcmp(&a, &b, sizeof(T)) == 0;
}

bool SameRows(const std::vector<TVxCameraDistortion::TRadialDistortion>& a,
              const std::vector<TVxCameraDistortion::TRadialDistortion>& b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](const auto& x, const auto& y) { return x.r == y.r && x.dr == y.dr; });
}

bool SameRows(const std::vector<TVxCameraDistortion::T4Direction>& a,
              const std::vector<TVxCameraDistortion::T4Direction>& b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](const auto& x, const auto& y) {
    return x.r == y.r && std::equal(std::begin(x.dr), std::end(x.dr), std::begin(y.dr));
  });
}

}  // namespace

bool TVxCameraDistortion::TMixed::operator==(const TMixed& other) const {
  return SameBytes(a, other.a) && SameBytes(b, other.b) && SameBytes(c, other.c) &&
         SameBytes(K, other.K) && SameBytes(P, other.P);
}

TVxCameraDistortion::TVxCameraDistortion() {
  Reset();
}

void TVxCameraDistortion::Reset() {
  type = TDistortionType::None;
  direction = TDirection::CamToMm;
  mixed = TMixed{};
  std::fill(std::begin(polyK), std::end(polyK), 0.0);
  std::fill(std::begin(polyP), std::end(polyP), 0.0);
  tableR.clear();
  table4Plus.clear();
  table4X.clear();
  symmetryPoint = {0.0, 0.0};
  k1 = k2 = k3 = k4 = k5 = 0.0;
  p1 = p2 = p3 = p4 = 0.0;
  b1 = b2 = 0.0;
  a1 = a2 = 0.0;
}

bool TVxCameraDistortion::operator==(const TVxCameraDistortion& other) const {
  if (type != other.type || direction != other.direction) return false;
  if (!SameRows(tableR, other.tableR)) return false;
  if (!SameRows(table4Plus, other.table4Plus) || !SameRows(table4X, other.table4X)) return false;
  const double mine[] = {
      symmetryPoint.x, symmetryPoint.y, k1, k2, k3, k4, k5, p1, p2, p3, p4, b1, b2, a1, a2};
  const double theirs[] = {other.symmetryPoint.x,
                           other.symmetryPoint.y,
                           other.k1,
                           other.k2,
                           other.k3,
                           other.k4,
                           other.k5,
                           other.p1,
                           other.p2,
                           other.p3,
                           other.p4,
                           other.b1,
                           other.b2,
                           other.a1,
                           other.a2};
  if (!std::equal(std::begin(mine), std::end(mine), std::begin(theirs))) return false;
  return mixed == other.mixed && SameBytes(polyK, other.polyK) && SameBytes(polyP, other.polyP);
}
