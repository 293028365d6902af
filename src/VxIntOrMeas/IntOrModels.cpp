#include "IntOrModels.h"
#include "VxIntOrSolve.h"

#include <array>
#include <cmath>
#include <cstddef>
#include <set>

#include "FiducialLookup.h"
#include "IntOrFits.h"

namespace vx_intor_detail {
namespace {

constexpr double kMmPerInch = 25.4;
// A fiducial fit that shrinks a direction of the marks' normalised layout below 1/1000 of its
// length is refused as degenerate: the marks do not determine the scan's geometry.
constexpr double kMinNormalisedScale = 1e-3;
// Two cross arms whose directions' sine is below 1e-10 are parallel.
constexpr double kParallelArms = 1e-10;

}  // namespace

// Millimetres per pixel of a scan resolution; NaN for a unit outside the enumeration.
TPoint ResolutionMm(const TVxIntOrMeas& meas) {
  const TPoint r = meas.scanResolution;
  if (meas.resolutionUnits == TResolutionUnits::Mm) return r;
  if (meas.resolutionUnits == TResolutionUnits::Dpi) return {kMmPerInch / r.x, kMmPerInch / r.y};
  return {std::nan(""), std::nan("")};
}

bool ResolutionUsable(const TVxIntOrMeas& meas) {
  const TPoint mm = ResolutionMm(meas);
  return std::isfinite(mm.x) && std::isfinite(mm.y) && mm.x > 0.0 && mm.y > 0.0;
}

const char* SolveFiducials(const TVxIntOrMeas& meas, const TVxCameraInfo& camera,
                           const TVxIntOrSolveOptions& options, TModel* model) {
  std::vector<TPoint> cam, q;
  std::set<std::int32_t> distinct;
  const TFiducialLookup fiducials(camera);
  for (const TVxIntOrMeas::TMarkMeas& mark : meas.marks) {
    const TVxCameraInfo::TFiducial* fiducial = fiducials.Find(mark.index);
    cam.push_back(fiducial->coordsCam);
    q.push_back({mark.coordsPix.x, -mark.coordsPix.y});
    distinct.insert(mark.index);
  }
  const TTransformType type = meas.transformType;
  if (type == TTransformType::Affine && distinct.size() < 3) return "global.Err_IntOrTooFewAffine";
  if (type == TTransformType::Projective && distinct.size() < 4) {
    return "global.Err_IntOrTooFewProjective";
  }
  std::vector<TPoint> cn, qn;
  TMatrix nc{}, nq{};
  if (!Normalise(cam, &cn, &nc) || !Normalise(q, &qn, &nq)) return "global.Err_IntOrDegenerate";
  // Residuals in pixels: the calibrated marks are fitted onto the measured ones (camToPix);
  // in camera millimetres: the measured marks onto the calibrated ones (pixToCam).
  const bool inCamera = options.minimise == TVxResidualSpace::Camera;
  const std::vector<TPoint>& from = inCamera ? qn : cn;
  const std::vector<TPoint>& to = inCamera ? cn : qn;
  TMatrix fitted{};
  switch (type) {
    case TTransformType::Similarity:
      fitted = FitSimilarity(from, to);
      model->unknowns = 4;
      break;
    case TTransformType::Projective:
      if (const char* failure = FitProjective(from, to, options.maxIterations, &fitted)) {
        return failure;
      }
      model->unknowns = 8;
      model->projective = true;
      break;
    default:  // Affine, and a type outside the enumeration as the record's default
      if (!FitAffine(from, to, &fitted)) return "global.Err_IntOrDegenerate";
      model->unknowns = 6;
      break;
  }
  if (!AllFinite(fitted)) return "global.Err_IntOrDegenerate";
  const auto inverse = [&](const TMatrix& m) {
    return model->projective ? InverseProjective(m) : InverseAffine(m);
  };
  // The normalised map from calibrated to measured marks, whichever way it was fitted.
  const TMatrix normalisedCamToPix = inCamera ? inverse(fitted) : fitted;
  // Both point sets have unit spread, so a scan keeps the shape of the marks' layout: the
  // measured marks spread across as the calibrated ones do, and the fit shrinks no direction
  // much (a scanner's scales differ by far less than a factor 1000). Marks that collapse onto
  // a point or a line on the image fail either test; a similarity would fit them with scale.
  // Calibrated marks on one line (two marks of a similarity) have no breadth to keep.
  const double breadth = ThinnestSpread(cn);
  if ((breadth >= kMinNormalisedScale && ThinnestSpread(qn) < kMinNormalisedScale * breadth) ||
      !(SmallestSingularValueAtOrigin(normalisedCamToPix) >= kMinNormalisedScale)) {
    return "global.Err_IntOrDegenerate";
  }
  // kFlipY is its own inverse: it takes pixels to the y-up frame q and back.
  if (inCamera) {
    model->pixToCam = Multiply(Denormalisation(nc), Multiply(fitted, Multiply(nq, kFlipY)));
    model->camToPix = inverse(model->pixToCam);
  } else {
    model->camToPix = Multiply(kFlipY, Multiply(Denormalisation(nq), Multiply(fitted, nc)));
    model->pixToCam = inverse(model->camToPix);
  }
  model->markCam = cam;
  model->rotationFromMarks = true;
  model->scaleFromMarks = true;
  return nullptr;
}

void SolvePrincipalPoint(const TVxIntOrMeas& meas, const TVxCameraInfo& camera, TModel* model) {
  const TPoint mm = ResolutionMm(meas);
  const TMatrix linear = Multiply(QuarterTurnBack(meas.rotation),
                                  Multiply(Affine(mm.x, 0.0, 0.0, 0.0, mm.y, 0.0), kFlipY));
  const TPoint at = Apply(linear, meas.marks[0].coordsPix);
  TMatrix pixToCam = linear;
  pixToCam[2] = camera.principalPoint.x - at.x;
  pixToCam[5] = camera.principalPoint.y - at.y;
  model->pixToCam = pixToCam;
  model->camToPix = InverseAffine(pixToCam);
  model->markCam = {camera.principalPoint};
  model->unknowns = 2;
}

const char* SolveCross(const TVxIntOrMeas& meas, const TVxCameraInfo& camera, TModel* model) {
  // Mark 1 ends the -x arm, 2 the +x arm, 3 the +y arm, 4 the -y arm.
  std::array<const TVxIntOrMeas::TMarkMeas*, 4> ends{};
  for (const TVxIntOrMeas::TMarkMeas& mark : meas.marks) {
    if (mark.index < 1 || mark.index > 4) return "global.Err_IntOrCrossMarks";
    const auto end = static_cast<std::size_t>(mark.index - 1);
    if (ends[end] != nullptr) return "global.Err_IntOrCrossMarks";
    ends[end] = &mark;
  }
  const bool calibrated = camera.cameraType == TCameraType::CalibratedCross;
  // The marks in a frame with y up: millimetres for Cross (scan resolution along the pixel
  // axes), pixels for CalibratedCross (the scale comes later, along the camera axes).
  const TPoint mm = calibrated ? TPoint{1.0, 1.0} : ResolutionMm(meas);
  const TMatrix toFrame = Multiply(Affine(mm.x, 0.0, 0.0, 0.0, mm.y, 0.0), kFlipY);
  std::array<TPoint, 4> m;
  TPoint meanPix;
  for (std::size_t k = 0; k < 4; ++k) {
    m[k] = Apply(toFrame, ends[k]->coordsPix);
    meanPix += ends[k]->coordsPix / 4.0;
  }
  TPoint u = m[1] - m[0];  // along +x
  TPoint v = m[2] - m[3];  // along +y
  const double lu = u.Length(), lv = v.Length();
  if (!(lu > 0.0) || !(lv > 0.0)) return "global.Err_IntOrDegenerate";
  const double sine = Cross(u, v) / (lu * lv);
  if (!(std::fabs(sine) > kParallelArms)) return "global.Err_IntOrDegenerate";
  // Arms turning clockwise from +x to +y: the rows are read in reverse.
  const bool mirrored = sine < 0.0;
  const TMatrix unmirror = Affine(1.0, 0.0, 0.0, 0.0, mirrored ? -1.0 : 1.0, 0.0);
  u = Apply(unmirror, u);
  v = Apply(unmirror, v);
  // The bisector of the two arms' directions, +y turned back by a quarter.
  const double alongX = std::atan2(u.y, u.x);
  const double alongY = std::atan2(v.y, v.x) - kPi / 2.0;
  const double rotation = alongX + WrapRadians(alongY - alongX) / 2.0;
  const TMatrix scale = calibrated
                            ? Affine(camera.lengthX / lu, 0.0, 0.0, 0.0, camera.lengthY / lv, 0.0)
                            : Affine(1.0, 0.0, 0.0, 0.0, 1.0, 0.0);
  TMatrix pixToCam = Multiply(scale, Multiply(RotationBack(rotation), Multiply(unmirror, toFrame)));
  // The centre of the cross, the mean of its four ends, is the camera origin.
  const TPoint centre = Apply(pixToCam, meanPix);
  pixToCam[2] -= centre.x;
  pixToCam[5] -= centre.y;
  model->pixToCam = pixToCam;
  model->camToPix = InverseAffine(pixToCam);
  // Each end's ideal place: half the calibrated length, or half the measured one, from the
  // centre along its axis.
  const double ax = calibrated ? camera.lengthX / 2.0 : lu / 2.0;
  const double ay = calibrated ? camera.lengthY / 2.0 : lv / 2.0;
  const std::array<TPoint, 4> ideal = {TPoint{-ax, 0.0}, TPoint{ax, 0.0}, TPoint{0.0, ay},
                                       TPoint{0.0, -ay}};
  for (const TVxIntOrMeas::TMarkMeas& mark : meas.marks) {
    model->markCam.push_back(ideal[static_cast<std::size_t>(mark.index - 1)]);
  }
  model->unknowns = 5;  // centre, rotation, and two scales or two arm lengths
  model->rotationFromMarks = true;
  model->scaleFromMarks = calibrated;
  return nullptr;
}

void SolveDigital(const TVxIntOrMeas& meas, const TVxCameraInfo& camera, TModel* model) {
  const double width = static_cast<double>(camera.sensorDims.x);
  const double height = static_cast<double>(camera.sensorDims.y);
  const TPoint px = camera.pixelSize;
  const bool quarter =
      meas.rotation == TCamRotate::Rotate90 || meas.rotation == TCamRotate::Rotate270;
  // The centre of the image in pixels, and of the sensor in the camera system.
  const TPoint imageCentre = quarter ? TPoint{(height - 1.0) / 2.0, (width - 1.0) / 2.0}
                                     : TPoint{(width - 1.0) / 2.0, (height - 1.0) / 2.0};
  TPoint sensorCentre;
  switch (camera.digitalCameraOrigin) {
    case TVxCameraInfo::TDigitalCameraOrigin::LowerLeft:
      sensorCentre = {width * px.x / 2.0, height * px.y / 2.0};
      break;
    case TVxCameraInfo::TDigitalCameraOrigin::UpperLeft:
      sensorCentre = {width * px.x / 2.0, -height * px.y / 2.0};
      break;
    default:
      break;
  }
  // Pixel size along the sensor's axes: after the image is turned back onto the sensor.
  TMatrix pixToCam = Multiply(Affine(px.x, 0.0, 0.0, 0.0, px.y, 0.0),
                              Multiply(QuarterTurnBack(meas.rotation), kFlipY));
  const TPoint at = Apply(pixToCam, imageCentre);
  pixToCam[2] = sensorCentre.x - at.x;
  pixToCam[5] = sensorCentre.y - at.y;
  model->pixToCam = pixToCam;
  model->camToPix = InverseAffine(pixToCam);
}

}  // namespace vx_intor_detail
