// The interior orientation of one image solved from its measurements: the checks of the input,
// the model of the camera's kind, the transforms and the report.

#include <algorithm>
#include <cassert>
#include <cmath>
#include <utility>

#include "FiducialLookup.h"
#include "IntOrModels.h"
#include "IntOrReport.h"
#include "VxAffineTransform.h"
#include "VxIntOrSolve.h"
#include "VxProjectiveTransform.h"

using namespace vx_intor_detail;

namespace {

// The failure key of input that the kind of camera cannot be solved from, or null.
const char* CheckInput(const TVxIntOrMeas& meas, const TVxCameraInfo& camera) {
  for (const TVxIntOrMeas::TMarkMeas& mark : meas.marks) {
    if (!IsFinite(mark.coordsPix)) return "global.Err_IntOrNotFinite";
  }
  switch (camera.cameraType) {
    case TCameraType::Fiducials: {
      const TFiducialLookup fiducials(camera);
      for (const TVxIntOrMeas::TMarkMeas& mark : meas.marks) {
        if (!IsFinite(fiducials.Find(mark.index)->coordsCam)) {
          return "global.Err_IntOrNotFinite";
        }
      }
      return nullptr;
    }
    case TCameraType::PrincipalPoint:
    case TCameraType::Cross:
      if (!ResolutionUsable(meas)) return "global.Err_IntOrNotFinite";
      if (camera.cameraType == TCameraType::PrincipalPoint && !IsFinite(camera.principalPoint)) {
        return "global.Err_IntOrNotFinite";
      }
      return nullptr;
    case TCameraType::CalibratedCross:
      if (!std::isfinite(camera.lengthX) || !std::isfinite(camera.lengthY)) {
        return "global.Err_IntOrNotFinite";
      }
      if (!(camera.lengthX > 0.0) || !(camera.lengthY > 0.0)) return "global.Err_IntOrCrossLengths";
      return nullptr;
    default:  // Digital
      if (!IsFinite(camera.pixelSize)) return "global.Err_IntOrNotFinite";
      if (!(camera.pixelSize.x > 0.0) || !(camera.pixelSize.y > 0.0) || camera.sensorDims.x == 0 ||
          camera.sensorDims.y == 0) {
        return "global.Err_IntOrSensor";
      }
      return nullptr;
  }
}

bool Fail(std::string* message, const char* key) {
  if (message != nullptr) *message = Text(key);
  return false;
}

bool AllFinite(const TVxIntOrSolution& s) {
  const double values[] = {s.scaleXUm,      s.scaleYUm,       s.rotationDeg, s.shearDeg,
                           s.perspective.x, s.perspective.y,  s.originPix.x, s.originPix.y,
                           s.rmsPix,        s.rmsUm,          s.sigma0Um,    s.largestUm,
                           s.largestPix,    s.residualLimitUm};
  bool finite =
      std::all_of(std::begin(values), std::end(values), [](double v) { return std::isfinite(v); });
  for (const TVxIntOrMarkResidual& r : s.residuals) {
    finite = finite && std::isfinite(r.residualPix.x) && std::isfinite(r.residualPix.y) &&
             std::isfinite(r.residualUm.x) && std::isfinite(r.residualUm.y) &&
             std::isfinite(r.lengthUm);
  }
  return finite;
}

}  // namespace

bool SolveIntOr(TVxIntOrMeas* meas, const TVxCameraInfo& camera,
                const TVxIntOrSolveOptions& options, TVxIntOrSolution* solution,
                std::string* message) {
  assert(meas != nullptr && solution != nullptr);
  std::string readiness;
  if (!meas->IntOrReady(camera, &readiness)) {
    if (message != nullptr) *message = readiness;
    return false;
  }
  if (const char* failure = CheckInput(*meas, camera)) return Fail(message, failure);

  TModel model;
  const char* failure = nullptr;
  switch (camera.cameraType) {
    case TCameraType::Fiducials:
      failure = SolveFiducials(*meas, camera, options, &model);
      if (failure == nullptr) {
        model.pixToCam =
            model.projective ? InverseProjective(model.camToPix) : InverseAffine(model.camToPix);
      }
      break;
    case TCameraType::PrincipalPoint:
      SolvePrincipalPoint(*meas, camera, &model);
      break;
    case TCameraType::Cross:
    case TCameraType::CalibratedCross:
      failure = SolveCross(*meas, camera, &model);
      break;
    default:  // Digital: IntOrReady admits no other type
      SolveDigital(*meas, camera, &model);
      break;
  }
  if (failure != nullptr) return Fail(message, failure);
  // Coordinates too large for the arithmetic, or marks that leave the map singular.
  if (!AllFinite(model.camToPix) || !AllFinite(model.pixToCam) ||
      !(model.pixToCam[0] * model.pixToCam[4] - model.pixToCam[1] * model.pixToCam[3] != 0.0)) {
    return Fail(message, "global.Err_IntOrDegenerate");
  }

  TVxIntOrSolution result;
  if (model.projective) {
    result.pixToCam = MakeTransformHandle<TProjectiveTransform>(model.pixToCam);
    TMatrix camToPix = model.camToPix;
    for (double& v : camToPix) v /= model.camToPix[8];
    result.camToPix = MakeTransformHandle<TProjectiveTransform>(camToPix);
  } else {
    const TMatrix& p = model.pixToCam;
    const TMatrix& c = model.camToPix;
    result.pixToCam = MakeTransformHandle<TAffineTransform>(p[0], p[1], p[2], p[3], p[4], p[5]);
    result.camToPix = MakeTransformHandle<TAffineTransform>(c[0], c[1], c[2], c[3], c[4], c[5]);
  }
  result.originPix = Apply(model.camToPix, {0.0, 0.0});
  DescribeTransform(model.pixToCam, &result);
  AddResiduals(*meas, model, options, &result);
  AddWarnings(*meas, camera, model, &result);
  // Marks so far out that the report's arithmetic overflows give no result to report.
  if (!AllFinite(result)) return Fail(message, "global.Err_IntOrNotFinite");

  if (camera.cameraType == TCameraType::Fiducials) {
    for (std::size_t i = 0; i < meas->marks.size(); ++i) {
      meas->marks[i].residualsPix = result.residuals[i].residualPix;
    }
  }
  *solution = std::move(result);
  return true;
}

bool SolveIntOr(TVxIntOrMeas* meas, const TVxCameraInfo& camera, TVxIntOrSolution* solution,
                std::string* message) {
  return SolveIntOr(meas, camera, TVxIntOrSolveOptions(), solution, message);
}
