// Fuzzes what a loaded camera is used for: its camera-to-millimetre transform, and its distortion
// with the distortion of the other sense, over a grid that covers a film frame and reaches past
// it. The oracles are the promises of every transform:
//   - the batch call gives every point bit for bit as the one-point call does (NaN as NaN);
//   - the batch call counts exactly the results that are NaN;
//   - an inverse that gives a finite point gives one that the forward map takes back to where
//     the inverse started, to the inverse's acceptance of 1e-10 mm (here 1e-9 of the
//     coordinates' size, at least 1e-9 mm, for the rounding of the forward evaluation).

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <stdexcept>
#include <string_view>
#include <vector>

#include "VxCameraInfo.h"
#include "VxCameraMath.h"
#include "VxXIni.h"

namespace {

using TPoint = vec_t_<double, 2>;

// A grid of 21 x 21 points over +-150 mm: a film frame of 230 mm and the field past its corners.
constexpr int kGrid = 21;
constexpr double kReach = 150.0;
constexpr double kInverseAgreement = 1e-9;

[[noreturn]] void Fail(const char* what, const TPoint& p) {
  std::cerr << "oracle failed: " << what << " at (" << p.x << ", " << p.y << ")\n";
  std::abort();
}

// The same bits, or both NaN (whose sign and payload carry no meaning).
bool SameResult(const TPoint& a, const TPoint& b) {
  if (IsNaNPoint(a) || IsNaNPoint(b)) return IsNaNPoint(a) && IsNaNPoint(b);
  return std::memcmp(&a, &b, sizeof a) == 0;
}

// What `build` returns, or null where the geometry refuses the distortion.
template <class F>
TransformHandle Built(F build) {
  try {
    return build();
  } catch (const std::invalid_argument&) {
  } catch (const std::domain_error&) {
  }
  return TransformHandle();
}

std::vector<TPoint> MapChecked(const TransformHandle& transform, const std::vector<TPoint>& in) {
  std::vector<TPoint> out(in.size());
  const std::size_t nan = transform->TransformPoints(in.data(), out.data(), in.size());
  std::size_t counted = 0;
  for (std::size_t i = 0; i < in.size(); ++i) {
    if (!SameResult(out[i], transform->TransformPoint(in[i])))
      Fail("batch differs from one point", in[i]);
    counted += IsNaNPoint(out[i]) ? 1 : 0;
  }
  if (nan != counted) Fail("NaN results miscounted", in.front());
  return out;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  TVxCameraInfo camera;
  try {
    const auto reader =
        TVxXIniReader::FromText(std::string_view(reinterpret_cast<const char*>(data), size));
    XIniLoadE(reader.get(), camera);
  } catch (const TVxXIniReadError&) {
    return 0;
  }
  // The distortion in both senses: the direct map, and the inverse that the solver computes.
  TVxCameraDistortion direct = camera.distortion;
  TVxCameraDistortion inverse = camera.distortion;
  direct.direction = TVxCameraDistortion::TDirection::CamToMm;
  inverse.direction = TVxCameraDistortion::TDirection::MmToCam;
  const TransformHandle camToMm = Built([&] { return CreateCamToMmTransform(camera); });
  const TransformHandle forward = Built([&] {
    return CreateCameraDistortionTransform(direct, {0.0, 0.0}, camera.focus);
  });
  const TransformHandle backward = Built([&] {
    return CreateCameraDistortionTransform(inverse, {0.0, 0.0}, camera.focus);
  });

  std::vector<TPoint> grid;
  for (int i = 0; i < kGrid; ++i) {
    for (int j = 0; j < kGrid; ++j) {
      grid.push_back(
          {kReach * (2.0 * i / (kGrid - 1) - 1.0), kReach * (2.0 * j / (kGrid - 1) - 1.0)});
    }
  }
  if (camToMm) MapChecked(camToMm, grid);
  if (!forward || !backward) return 0;
  const std::vector<TPoint> solved = MapChecked(backward, grid);
  const std::vector<TPoint> again = MapChecked(forward, solved);
  for (std::size_t i = 0; i < grid.size(); ++i) {
    if (!std::isfinite(solved[i].x) || !std::isfinite(solved[i].y)) continue;
    const double scale = std::max({1.0, grid[i].Length(), solved[i].Length()});
    if (!((again[i] - grid[i]).Length() <= kInverseAgreement * scale)) {
      Fail("a finite inverse result does not map back", grid[i]);
    }
  }
  return 0;
}
