#pragma once
// The arguments of the models built from coefficient groups (mixed, polynomial): the groups passed
// as pointers to their first values, and the reserved values that must be zero. Internal to the
// library.

#include <algorithm>
#include <array>
#include <cstddef>
#include <stdexcept>
#include <string>

#include "VxNumberText.h"

namespace vx_geometry_detail {

// The N values at `values`, the group `group` of the model `model` (its class name, which heads
// the message); throws std::invalid_argument for a null pointer.
template <std::size_t N>
std::array<double, N> CoefficientGroup(const char* model, const double* values, const char* group) {
  if (values == nullptr) {
    throw std::invalid_argument(std::string(model) + ": the coefficient group " + group +
                                " is null");
  }
  std::array<double, N> copy{};
  std::copy(values, values + N, copy.begin());
  return copy;
}

// Throws std::invalid_argument naming the first reserved value (from 1) that is not 0.
template <std::size_t N>
void RequireZeroReserved(const char* model, const std::array<double, N>& reserved) {
  for (std::size_t i = 0; i < N; ++i) {
    if (reserved[i] != 0.0) {
      throw std::invalid_argument(std::string(model) + ": reserved value " + std::to_string(i + 1) +
                                  " is " + NumberText(reserved[i]) + ", must be 0");
    }
  }
}

}  // namespace vx_geometry_detail
