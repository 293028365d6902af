// Fuzzes what a loaded measurement record is used for: its checks against a camera and the
// solving of its interior orientation. The camera is the example camera of the record's own kind,
// so that the fuzzer's inputs are measurement files as users write them. The oracles:
//   - Verify and IntOrReady answer without throwing, and IntOrReady only where Verify does;
//   - a record that cannot be solved is left byte for byte as it was;
//   - a solution holds finite numbers only: transforms, scales, angles, residuals, RMS, limit;
//   - the default residual limit lies between its floor and its ceiling (10 and 50 µm);
//   - solving twice gives the same solution.

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <string>
#include <string_view>

#include "VxCameraInfo.h"
#include "VxIntOrSolve.h"
#include "VxRecordBytes.h"
#include "VxXIni.h"

namespace {

[[noreturn]] void Fail(const char* what) {
  std::cerr << "oracle failed: " << what << "\n";
  std::abort();
}

TVxCameraInfo LoadExample(const char* name) {
  const auto reader = TVxXIniReader::FromFile(std::string(VX_EXAMPLE_CAMERAS) + "/" + name);
  TVxCameraInfo camera;
  XIniLoadE(reader.get(), camera);
  return camera;
}

// The example camera of each kind, loaded once.
const TVxCameraInfo& CameraOfKind(TCameraType type) {
  static const TVxCameraInfo fiducials = LoadExample("rc10_radial.yaml");
  static const TVxCameraInfo principalPoint = LoadExample("principal_point_camera.yaml");
  static const TVxCameraInfo cross = LoadExample("cross_camera.yaml");
  static const TVxCameraInfo calibratedCross = LoadExample("calibrated_cross_camera.yaml");
  static const TVxCameraInfo digital = LoadExample("dmc.yaml");
  switch (type) {
    case TCameraType::PrincipalPoint:
      return principalPoint;
    case TCameraType::Cross:
      return cross;
    case TCameraType::CalibratedCross:
      return calibratedCross;
    case TCameraType::Digital:
      return digital;
    default:
      return fiducials;
  }
}

bool Finite(const vec_t_<double, 2>& p) {
  return std::isfinite(p.x) && std::isfinite(p.y);
}

void CheckFinite(const TVxIntOrSolution& s) {
  const double values[] = {s.scaleXUm, s.scaleYUm, s.rotationDeg, s.shearDeg,
                           s.rmsPix,   s.rmsUm,    s.sigma0Um,    s.residualLimitUm};
  for (double v : values) {
    if (!std::isfinite(v)) Fail("a solution value is not finite");
  }
  if (!Finite(s.originPix)) Fail("the camera origin is not finite");
  for (const TVxIntOrMarkResidual& r : s.residuals) {
    if (!Finite(r.residualPix) || !std::isfinite(r.lengthUm)) Fail("a residual is not finite");
  }
  if (!s.pixToCam || !s.camToPix) Fail("a solution without transforms");
  if (!Finite(s.pixToCam->TransformPoint({1000.0, 1000.0})) ||
      !Finite(s.camToPix->TransformPoint({10.0, 10.0}))) {
    Fail("a solved transform maps to a point that is not finite");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  TVxIntOrMeas meas;
  try {
    const auto reader =
        TVxXIniReader::FromText(std::string_view(reinterpret_cast<const char*>(data), size));
    meas.LoadE(reader.get());
  } catch (const TVxXIniReadError&) {
    return 0;
  }
  const TVxCameraInfo& camera = CameraOfKind(meas.cameraType);
  const bool verified = meas.Verify(camera, nullptr);
  const bool ready = meas.IntOrReady(camera, nullptr);
  if (ready && !verified) Fail("ready but not verified");

  const std::string before = vx_test::RecordBytes(meas);
  TVxIntOrMeas first = meas;
  TVxIntOrSolution solution;
  std::string message;
  if (!SolveIntOr(first, camera, &solution, &message)) {
    if (vx_test::RecordBytes(first) != before) Fail("a failed solve changed the record");
    if (message.empty()) Fail("a failed solve without a reason");
    return 0;
  }
  if (!ready) Fail("solved a record that is not ready");
  CheckFinite(solution);
  if (solution.residualLimitUm < 10.0 || solution.residualLimitUm > 50.0) {
    Fail("the default residual limit is outside 10 .. 50 µm");
  }
  TVxIntOrMeas second = meas;
  TVxIntOrSolution again;
  if (!SolveIntOr(second, camera, &again, nullptr)) Fail("a second solve failed");
  if (vx_test::RecordBytes(second) != vx_test::RecordBytes(first) ||
      std::memcmp(&again.scaleXUm, &solution.scaleXUm, sizeof(double)) != 0 ||
      std::memcmp(&again.rmsUm, &solution.rmsUm, sizeof(double)) != 0) {
    Fail("a second solve gave another solution");
  }
  return 0;
}
