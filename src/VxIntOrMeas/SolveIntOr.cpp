// The interior orientation of one image solved from its measurements: the checks of the input,
// the model of the camera's kind, the transforms and the report.

#include <algorithm>
#include <cassert>
#include <cmath>
#include <optional>
#include <stdexcept>
#include <string>
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

// The map from pixel coordinates whose y counts upwards to rows counted downwards, its own
// inverse: the flip of y. A Digital image's y counted up has its origin at the centre of its
// lower-left pixel; the image is as high as the sensor, or as wide when turned a quarter.
TMatrix YUpToRows(const TVxIntOrMeas& meas, const TVxCameraInfo& camera) {
  double lastRow = 0.0;
  if (camera.cameraType == TCameraType::Digital) {
    const bool quarterTurned =
        meas.rotation == TCamRotate::Rotate90 || meas.rotation == TCamRotate::Rotate270;
    lastRow = static_cast<double>(quarterTurned ? camera.sensorDims.x : camera.sensorDims.y) - 1.0;
  }
  return Affine(1.0, 0.0, 0.0, 0.0, -1.0, lastRow);
}

TVxIntOrMeas MarksInRows(const TVxIntOrMeas& meas, const TMatrix& flip) {
  TVxIntOrMeas rows = meas;
  for (TVxIntOrMeas::TMarkMeas& mark : rows.marks) mark.coordsPix = Apply(flip, mark.coordsPix);
  return rows;
}

// The maps, the origin, the perspective terms and the residuals in pixels taken from rows to
// the caller's y-up axes; the description of the image stays that of its rows.
void ExpressInCallerAxes(const TVxIntOrMeas& meas, const TMatrix& flip, TModel* model,
                         TVxIntOrSolution* s) {
  model->pixToCam = Multiply(model->pixToCam, flip);
  model->camToPix = Multiply(flip, model->camToPix);
  s->originPix = Apply(flip, s->originPix);
  if (model->projective) {
    s->perspective = {model->pixToCam[6] / model->pixToCam[8],
                      model->pixToCam[7] / model->pixToCam[8]};
  }
  for (std::size_t i = 0; i < s->residuals.size(); ++i) {
    s->residuals[i].coordsPix = meas.marks[i].coordsPix;
    s->residuals[i].residualPix.y = -s->residuals[i].residualPix.y;
  }
}

// A matrix as a transform; a projective one is scaled to h8 = 1 first.
TransformHandle MakeHandle(const TMatrix& m, bool projective) {
  if (projective) {
    TMatrix scaled = m;
    for (double& v : scaled) v /= m[8];
    return MakeTransformHandle<TProjectiveTransform>(scaled);
  }
  return MakeTransformHandle<TAffineTransform>(m[0], m[1], m[2], m[3], m[4], m[5]);
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

bool SolveIntOr(const TVxIntOrMeas& meas, const TVxCameraInfo& camera,
                const TVxIntOrSolveOptions& options, TVxIntOrSolution* solution,
                std::string* message) {
  assert(solution != nullptr);
  std::string readiness;
  if (!meas.IntOrReady(camera, &readiness)) {
    if (message != nullptr) *message = readiness;
    return false;
  }
  if (const char* failure = CheckInput(meas, camera)) return Fail(message, failure);

  // Solved with the rows counted downwards, then expressed in the caller's pixel axes.
  const TMatrix flip = YUpToRows(meas, camera);
  std::optional<TVxIntOrMeas> flipped;
  if (options.pixelYAxis == TVxPixelYAxis::Up) flipped = MarksInRows(meas, flip);
  const TVxIntOrMeas& rows = flipped ? *flipped : meas;
  TModel model;
  const char* failure = nullptr;
  switch (camera.cameraType) {
    case TCameraType::Fiducials:
      failure = SolveFiducials(rows, camera, options, &model);
      break;
    case TCameraType::PrincipalPoint:
      SolvePrincipalPoint(rows, camera, &model);
      break;
    case TCameraType::Cross:
    case TCameraType::CalibratedCross:
      failure = SolveCross(rows, camera, &model);
      break;
    default:  // Digital: IntOrReady admits no other type
      SolveDigital(rows, camera, &model);
      break;
  }
  if (failure != nullptr) return Fail(message, failure);
  // Coordinates too large for the arithmetic, or marks that leave the map singular.
  if (!AllFinite(model.camToPix) || !AllFinite(model.pixToCam) ||
      !(model.pixToCam[0] * model.pixToCam[4] - model.pixToCam[1] * model.pixToCam[3] != 0.0)) {
    return Fail(message, "global.Err_IntOrDegenerate");
  }

  TVxIntOrSolution result;
  result.originPix = Apply(model.camToPix, {0.0, 0.0});
  DescribeTransform(model.pixToCam, &result);
  AddResiduals(rows, model, options, &result);
  AddWarnings(rows, camera, model, &result);
  if (options.pixelYAxis == TVxPixelYAxis::Up) ExpressInCallerAxes(meas, flip, &model, &result);
  result.map.matrix = model.pixToCam;
  result.map.pixelYAxis = options.pixelYAxis;
  result.map.minimisedIn = options.minimise;
  result.pixToCam = MakeHandle(model.pixToCam, model.projective);
  result.camToPix = MakeHandle(model.camToPix, model.projective);
  // Marks so far out that the report's arithmetic overflows give no result to report.
  if (!AllFinite(result)) return Fail(message, "global.Err_IntOrNotFinite");

  *solution = std::move(result);
  return true;
}

bool SolveIntOr(const TVxIntOrMeas& meas, const TVxCameraInfo& camera, TVxIntOrSolution* solution,
                std::string* message) {
  return SolveIntOr(meas, camera, TVxIntOrSolveOptions(), solution, message);
}

void WriteResiduals(const TVxIntOrSolution& solution, TVxIntOrMeas* meas) {
  if (solution.residuals.size() != meas->marks.size()) {
    throw std::invalid_argument(
        "WriteResiduals: the solution has " + std::to_string(solution.residuals.size()) +
        " residuals for a record of " + std::to_string(meas->marks.size()) + " marks");
  }
  if (meas->cameraType != TCameraType::Fiducials) return;
  for (std::size_t i = 0; i < meas->marks.size(); ++i) {
    meas->marks[i].residualsPix = solution.residuals[i].residualPix;
  }
}
