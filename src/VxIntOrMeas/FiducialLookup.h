#pragma once
// The camera's fiducial marks found by their numbers in O(log n), so that checking and solving a
// scan costs O(n log n) in the number of marks rather than their product. Internal to the
// library.

#include <cstdint>
#include <utility>
#include <vector>

#include "VxCameraInfo.h"
#include "VxIntOrMeas.h"

namespace vx_intor_detail {

class TFiducialLookup {
 public:
  explicit TFiducialLookup(const TVxCameraInfo& camera);

  // The camera's first fiducial with this number, or null.
  const TVxCameraInfo::TFiducial* Find(std::int32_t index) const;

 private:
  const TVxCameraInfo& camera_;
  std::vector<std::pair<std::int32_t, std::size_t>> sorted_;  // (number, place), ascending
};

// How many of the camera's fiducials (each counted, numbers repeated or not) have at least one
// measured mark.
std::size_t CountMeasuredFiducials(const TVxIntOrMeas& meas, const TVxCameraInfo& camera);

}  // namespace vx_intor_detail
