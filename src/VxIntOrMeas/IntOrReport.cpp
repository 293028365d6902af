#include "IntOrReport.h"
#include "VxIntOrSolve.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <optional>

#include "FiducialLookup.h"
#include "VxModule_Initializer.h"

namespace vx_intor_detail {
namespace {

constexpr double kMmToUm = 1000.0;
// The warnings' thresholds, as the report promises them.
constexpr double kRotationWarnDeg = 45.0;
constexpr double kScaleWarnRatio = 0.01;
constexpr double kResidualRmsFactor = 3.0;
constexpr double kResidualFloorUm = 10.0;
// A mark 50 µm from where the fit puts it is measured wrongly whatever the others did: a fit so
// bad that 3 RMS exceeds this cannot raise the limit over its own marks.
constexpr double kResidualCeilingUm = 50.0;

void AddWarning(TVxIntOrSolution* solution, const char* key) {
  solution->warnings.push_back({key, Text(key), std::nullopt});
}

}  // namespace

std::string Text(const char* key) {
  return VxModule_Initializer::getInst().get_resource_string(key);
}

// The person's terms of pixToCam, from its derivative at the pixel position of the camera
// origin (constant for an affine map).
void DescribeTransform(const TMatrix& pixToCam, TVxIntOrSolution* s) {
  const TPoint at = s->originPix;
  const double w = pixToCam[6] * at.x + pixToCam[7] * at.y + pixToCam[8];
  const TPoint cam = Apply(pixToCam, at);
  // d cam / d pix: columns are where one column step and one row step lead.
  const TPoint column = {(pixToCam[0] - cam.x * pixToCam[6]) / w,
                         (pixToCam[3] - cam.y * pixToCam[6]) / w};
  const TPoint row = {(pixToCam[1] - cam.x * pixToCam[7]) / w,
                      (pixToCam[4] - cam.y * pixToCam[7]) / w};
  const TPoint up = -row;  // one row up the image
  s->mirrored = Cross(column, up) < 0.0;
  const TPoint upUnmirrored = s->mirrored ? row : up;
  s->scaleXUm = column.Length() * kMmToUm;
  s->scaleYUm = up.Length() * kMmToUm;
  s->rotationDeg = WrapDegrees(-std::atan2(column.y, column.x) * kDegrees);
  if (s->rotationDeg == -180.0) s->rotationDeg = 180.0;
  s->shearDeg =
      90.0 - std::atan2(Cross(column, upUnmirrored), Dot(column, upUnmirrored)) * kDegrees;
  const long quarter = std::lround(s->rotationDeg / 90.0);
  s->fittedRotation = static_cast<TCamRotate>((quarter % 4 + 4) % 4 + 1);
  if (pixToCam[6] != 0.0 || pixToCam[7] != 0.0) {
    s->perspective = {pixToCam[6] / pixToCam[8], pixToCam[7] / pixToCam[8]};
  }
}

void AddResiduals(const TVxIntOrMeas& meas, const TModel& model,
                  const TVxIntOrSolveOptions& options, TVxIntOrSolution* s) {
  double sumPix = 0.0, sumUm = 0.0;
  for (std::size_t i = 0; i < model.markCam.size(); ++i) {
    const TVxIntOrMeas::TMarkMeas& mark = meas.marks[i];
    TVxIntOrMarkResidual r;
    r.index = mark.index;
    r.coordsPix = mark.coordsPix;
    r.residualPix = Apply(model.camToPix, model.markCam[i]) - mark.coordsPix;
    r.residualUm = (model.markCam[i] - Apply(model.pixToCam, mark.coordsPix)) * kMmToUm;
    r.lengthPix = r.residualPix.Length();
    r.lengthUm = r.residualUm.Length();
    sumPix += r.lengthPix * r.lengthPix;
    sumUm += r.lengthUm * r.lengthUm;
    if (r.lengthUm > s->largestUm || s->residuals.empty()) {
      s->largestUm = r.lengthUm;
      s->largestPix = r.lengthPix;
      s->largestIndex = r.index;
    }
    s->residuals.push_back(r);
  }
  const auto n = static_cast<double>(s->residuals.size());
  if (n > 0.0) {
    s->rmsPix = std::sqrt(sumPix / n);
    s->rmsUm = std::sqrt(sumUm / n);
  }
  s->observations = 2 * static_cast<int>(s->residuals.size());
  s->unknowns = model.unknowns;
  s->redundancy = s->observations - s->unknowns;
  if (s->redundancy > 0) s->sigma0Um = std::sqrt(sumUm / s->redundancy);
  s->residualLimitUm =
      options.residualLimitUm > 0.0
          ? options.residualLimitUm
          : std::clamp(kResidualRmsFactor * s->rmsUm, kResidualFloorUm, kResidualCeilingUm);
  if (s->redundancy > 0) {
    for (TVxIntOrMarkResidual& r : s->residuals) r.aboveLimit = r.lengthUm > s->residualLimitUm;
  }
}

void AddWarnings(const TVxIntOrMeas& meas, const TVxCameraInfo& camera, const TModel& model,
                 TVxIntOrSolution* s) {
  if (camera.cameraType == TCameraType::Fiducials) {
    if (CountMeasuredFiducials(meas, camera) != camera.fiducials.size()) {
      AddWarning(s, "global.Warn_NotAllFidMeasured");
    }
  }
  if (s->mirrored) AddWarning(s, "global.Warn_IntOrMirrored");
  const auto rotation = static_cast<std::int32_t>(meas.rotation);
  if (model.rotationFromMarks && rotation >= 1 && rotation <= 4) {
    const double recorded = QuarterTurnDeg(meas.rotation);
    if (std::fabs(WrapDegrees(s->rotationDeg - recorded)) > kRotationWarnDeg) {
      static const char* const keys[] = {
          "global.Warn_IntOrRotationFits0", "global.Warn_IntOrRotationFits90",
          "global.Warn_IntOrRotationFits180", "global.Warn_IntOrRotationFits270"};
      AddWarning(s, keys[static_cast<int>(s->fittedRotation) - 1]);
    }
  }
  if (model.scaleFromMarks && ResolutionUsable(meas)) {
    const TPoint mm = ResolutionMm(meas);
    if (std::fabs(s->scaleXUm / (mm.x * kMmToUm) - 1.0) > kScaleWarnRatio ||
        std::fabs(s->scaleYUm / (mm.y * kMmToUm) - 1.0) > kScaleWarnRatio) {
      AddWarning(s, "global.Warn_IntOrScale");
    }
  }
  for (const TVxIntOrMarkResidual& r : s->residuals) {
    if (r.aboveLimit) {
      s->warnings.push_back(
          {"global.Warn_IntOrLargeResidual", Text("global.Warn_IntOrLargeResidual"), r.index});
    }
  }
}

}  // namespace vx_intor_detail
