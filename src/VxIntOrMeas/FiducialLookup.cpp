#include "FiducialLookup.h"

#include <algorithm>

namespace vx_intor_detail {

TFiducialLookup::TFiducialLookup(const TVxCameraInfo& camera) : camera_(camera) {
  sorted_.reserve(camera.fiducials.size());
  for (std::size_t i = 0; i < camera.fiducials.size(); ++i) {
    sorted_.emplace_back(camera.fiducials[i].index, i);
  }
  std::sort(sorted_.begin(), sorted_.end());
}

const TVxCameraInfo::TFiducial* TFiducialLookup::Find(std::int32_t index) const {
  // The pair (index, 0) sorts before every fiducial with this number: the first one is found.
  const auto it =
      std::lower_bound(sorted_.begin(), sorted_.end(), std::make_pair(index, std::size_t{0}));
  if (it == sorted_.end() || it->first != index) return nullptr;
  return &camera_.fiducials[it->second];
}

std::size_t CountMeasuredFiducials(const TVxIntOrMeas& meas, const TVxCameraInfo& camera) {
  std::vector<std::int32_t> measured;
  measured.reserve(meas.marks.size());
  for (const TVxIntOrMeas::TMarkMeas& mark : meas.marks) measured.push_back(mark.index);
  std::sort(measured.begin(), measured.end());
  return static_cast<std::size_t>(std::count_if(
      camera.fiducials.begin(), camera.fiducials.end(), [&measured](const auto& fiducial) {
        return std::binary_search(measured.begin(), measured.end(), fiducial.index);
      }));
}

}  // namespace vx_intor_detail
