// The scaling of a distortion record: every coefficient that enters its model linearly.

#include <cassert>
#include <cstddef>

#include "VxCameraMath.h"

namespace {

template <std::size_t N>
void Scale(double (&values)[N], double multiplier) {
  for (double& v : values) v *= multiplier;
}

}  // namespace

void ApplyDistortionMultiplier(TVxCameraDistortion* distortion, double multiplier) {
  assert(distortion != nullptr);
  if (multiplier == 1.0) return;
  TVxCameraDistortion& d = *distortion;

  Scale(d.mixed.a, multiplier);
  Scale(d.mixed.b, multiplier);
  Scale(d.mixed.c, multiplier);
  Scale(d.mixed.K, multiplier);
  Scale(d.mixed.P, multiplier);
  Scale(d.polyK, multiplier);
  Scale(d.polyP, multiplier);
  for (auto& row : d.tableR) row.dr *= multiplier;
  for (auto& row : d.table4Plus) Scale(row.dr, multiplier);
  for (auto& row : d.table4X) Scale(row.dr, multiplier);
  // p3 and p4 shape the decentering profile (1 + p3 r^2 + p4 r^4): they stay as they are.
  for (double* v : {&d.k1, &d.k2, &d.k3, &d.k4, &d.k5, &d.p1, &d.p2, &d.b1, &d.b2, &d.a1, &d.a2}) {
    *v *= multiplier;
  }
}
