// The interior orientation of one image solved from its measurements: the model of each kind of
// camera, the least-squares fits of the fiducial marks, and the report.

#include <algorithm>
#include <array>
#include <cassert>
#include <cmath>
#include <cstddef>
#include <set>
#include <utility>
#include <vector>

#include "VxAffineTransform.h"
#include "VxIntOrSolve.h"
#include "VxModule_Initializer.h"
#include "VxProjectiveTransform.h"

namespace {

using TPoint = vec_t_<double, 2>;
// A 3x3 matrix row by row, acting on (x, y, 1).
using TMatrix = std::array<double, 9>;

constexpr double kPi = 3.14159265358979323846;
constexpr double kDegrees = 180.0 / kPi;
constexpr double kMmToUm = 1000.0;
constexpr double kMmPerInch = 25.4;

// A column of a least-squares matrix whose remaining norm falls below 1e-10 of the largest
// column's norm is taken as dependent: in coordinates normalised to unit spread, marks that lie
// within 1e-10 of one line carry no more information than rounding.
constexpr double kRankTolerance = 1e-10;
// Gauss-Newton stops once a step changes no normalised coefficient by more than 1e-12: the
// coordinates are normalised to unit spread, so that is 1e-12 of the frame, far below any scan.
constexpr double kStepTolerance = 1e-12;
// A Gauss-Newton step that raises the sum of squares is halved, 30 times at most.
constexpr int kMaxHalvings = 30;
// A similarity with a reflection is taken only when its sum of squares is lower by more than
// 1e-12 of the spread: equal fits (two marks, or marks on one line) keep the plain similarity.
constexpr double kMirrorMargin = 1e-12;
// Two cross arms whose directions' sine is below 1e-10 are parallel.
constexpr double kParallelArms = 1e-10;
// The warnings' thresholds, as the report promises them.
constexpr double kRotationWarnDeg = 45.0;
constexpr double kScaleWarnRatio = 0.01;
constexpr double kResidualRmsFactor = 3.0;
constexpr double kResidualFloorUm = 10.0;

// ---- Small matrix helpers --------------------------------------------------------------------

TMatrix Multiply(const TMatrix& a, const TMatrix& b) {
  TMatrix c{};
  for (std::size_t r = 0; r < 3; ++r) {
    for (std::size_t k = 0; k < 3; ++k) {
      double sum = 0.0;
      for (std::size_t j = 0; j < 3; ++j) sum += a[r * 3 + j] * b[j * 3 + k];
      c[r * 3 + k] = sum;
    }
  }
  return c;
}

// The affine matrix (last row 0, 0, 1) of x' = L x + t.
constexpr TMatrix Affine(double l00, double l01, double t0, double l10, double l11, double t1) {
  return {l00, l01, t0, l10, l11, t1, 0.0, 0.0, 1.0};
}

// The inverse of an affine matrix, kept affine (its last row exactly 0, 0, 1).
TMatrix InverseAffine(const TMatrix& m) {
  const double det = m[0] * m[4] - m[1] * m[3];
  const double i00 = m[4] / det, i01 = -m[1] / det;
  const double i10 = -m[3] / det, i11 = m[0] / det;
  return Affine(i00, i01, -(i00 * m[2] + i01 * m[5]), i10, i11, -(i10 * m[2] + i11 * m[5]));
}

// The inverse of a projective matrix, scaled so that its last element is 1.
TMatrix InverseProjective(const TMatrix& m) {
  TMatrix adj = {m[4] * m[8] - m[5] * m[7], m[2] * m[7] - m[1] * m[8], m[1] * m[5] - m[2] * m[4],
                 m[5] * m[6] - m[3] * m[8], m[0] * m[8] - m[2] * m[6], m[2] * m[3] - m[0] * m[5],
                 m[3] * m[7] - m[4] * m[6], m[1] * m[6] - m[0] * m[7], m[0] * m[4] - m[1] * m[3]};
  const double last = adj[8];
  for (double& v : adj) v /= last;
  return adj;
}

TPoint Apply(const TMatrix& m, const TPoint& p) {
  const double w = m[6] * p.x + m[7] * p.y + m[8];
  return {(m[0] * p.x + m[1] * p.y + m[2]) / w, (m[3] * p.x + m[4] * p.y + m[5]) / w};
}

bool AllFinite(const TMatrix& m) {
  return std::all_of(m.begin(), m.end(), [](double v) { return std::isfinite(v); });
}

bool IsFinite(const TPoint& p) {
  return std::isfinite(p.x) && std::isfinite(p.y);
}

double Cross(const TPoint& a, const TPoint& b) {
  return a.x * b.y - a.y * b.x;
}

// An angle in radians brought into (-pi, pi].
double WrapRadians(double a) {
  a = std::remainder(a, 2.0 * kPi);
  return a <= -kPi ? a + 2.0 * kPi : a;
}

// An angle in degrees brought into (-180, 180]; -0 becomes 0.
double WrapDegrees(double a) {
  a = std::remainder(a, 360.0);
  return (a <= -180.0 ? a + 360.0 : a) + 0.0;
}

// Pixel coordinates to the y-up pixel frame: the row counts downwards, the camera's y upwards.
constexpr TMatrix kFlipY = Affine(1.0, 0.0, 0.0, 0.0, -1.0, 0.0);

// R(-rotation): an image turned counter-clockwise by `rotation` against the camera is turned
// back onto the camera's axes.
TMatrix RotationBack(double rotationRad) {
  const double c = std::cos(rotationRad), s = std::sin(rotationRad);
  return Affine(c, s, 0.0, -s, c, 0.0);
}

// The record's rotation in degrees.
double QuarterTurnDeg(TCamRotate rotation) {
  return (static_cast<int>(rotation) - 1) * 90.0;
}

// R(-rotation) for the record's quarter turns, written out: the cos and sin of multiples of
// pi / 2 are not exactly 0 and 1 in double.
TMatrix QuarterTurnBack(TCamRotate rotation) {
  switch (rotation) {
    case TCamRotate::Rotate90:
      return Affine(0.0, 1.0, 0.0, -1.0, 0.0, 0.0);
    case TCamRotate::Rotate180:
      return Affine(-1.0, 0.0, 0.0, 0.0, -1.0, 0.0);
    case TCamRotate::Rotate270:
      return Affine(0.0, -1.0, 0.0, 1.0, 0.0, 0.0);
    default:
      return Affine(1.0, 0.0, 0.0, 0.0, 1.0, 0.0);
  }
}

// Millimetres per pixel of a scan resolution; NaN for a unit outside the enumeration.
TPoint ResolutionMm(const TVxIntOrMeas& meas) {
  const TPoint r = meas.scanResolution;
  if (meas.resolutionUnits == TResolutionUnits::Mm) return r;
  if (meas.resolutionUnits == TResolutionUnits::Dpi) return {kMmPerInch / r.x, kMmPerInch / r.y};
  return {std::nan(""), std::nan("")};
}

// ---- Least squares ---------------------------------------------------------------------------

// Minimises |A x - b| for the rows x cols matrix A (row by row, cols <= rows) by Householder
// reflections: A = QR, then R x = Q^T b. Returns false when a column depends on the others.
bool LeastSquares(std::vector<double> a, std::vector<double> b, std::size_t rows, std::size_t cols,
                  std::vector<double>* x) {
  double largest = 0.0;
  for (std::size_t c = 0; c < cols; ++c) {
    double norm2 = 0.0;
    for (std::size_t r = 0; r < rows; ++r) norm2 += a[r * cols + c] * a[r * cols + c];
    largest = std::max(largest, std::sqrt(norm2));
  }
  if (!(largest > 0.0) || rows < cols) return false;
  std::vector<double> v(rows);
  for (std::size_t j = 0; j < cols; ++j) {
    double norm2 = 0.0;
    for (std::size_t r = j; r < rows; ++r) norm2 += a[r * cols + j] * a[r * cols + j];
    const double norm = std::sqrt(norm2);
    if (!(norm > kRankTolerance * largest)) return false;
    // The reflection maps column j below the diagonal onto alpha e_j; alpha's sign avoids
    // cancellation in v = a_j - alpha e_j.
    const double alpha = a[j * cols + j] > 0.0 ? -norm : norm;
    double v2 = 0.0;
    for (std::size_t r = j; r < rows; ++r) {
      v[r] = a[r * cols + j] - (r == j ? alpha : 0.0);
      v2 += v[r] * v[r];
    }
    for (std::size_t c = j; c < cols; ++c) {
      double s = 0.0;
      for (std::size_t r = j; r < rows; ++r) s += v[r] * a[r * cols + c];
      s = 2.0 * s / v2;
      for (std::size_t r = j; r < rows; ++r) a[r * cols + c] -= s * v[r];
    }
    double s = 0.0;
    for (std::size_t r = j; r < rows; ++r) s += v[r] * b[r];
    s = 2.0 * s / v2;
    for (std::size_t r = j; r < rows; ++r) b[r] -= s * v[r];
  }
  x->assign(cols, 0.0);
  for (std::size_t j = cols; j-- > 0;) {
    double sum = b[j];
    for (std::size_t c = j + 1; c < cols; ++c) sum -= a[j * cols + c] * (*x)[c];
    (*x)[j] = sum / a[j * cols + j];
  }
  return true;
}

// Points moved to their centroid and scaled to a root-mean-square distance of 1 from it, and the
// matrix that does it. False when all points coincide.
bool Normalise(const std::vector<TPoint>& points, std::vector<TPoint>* normalised, TMatrix* m) {
  TPoint centre;
  for (const TPoint& p : points) centre += p;
  centre /= static_cast<double>(points.size());
  double spread2 = 0.0;
  for (const TPoint& p : points) spread2 += (p - centre).Length2();
  const double spread = std::sqrt(spread2 / static_cast<double>(points.size()));
  if (!(spread > 0.0)) return false;
  normalised->clear();
  for (const TPoint& p : points) normalised->push_back((p - centre) / spread);
  *m = Affine(1.0 / spread, 0.0, -centre.x / spread, 0.0, 1.0 / spread, -centre.y / spread);
  return true;
}

TMatrix Denormalisation(const TMatrix& n) {
  return InverseAffine(n);
}

double SumOfSquares(const TMatrix& h, const std::vector<TPoint>& from,
                    const std::vector<TPoint>& to) {
  double sum = 0.0;
  for (std::size_t i = 0; i < from.size(); ++i) sum += (Apply(h, from[i]) - to[i]).Length2();
  return sum;
}

// The similarity q = A c (c, q normalised, so without shift) with and without reflection:
// A = [a -b; b a] or [a b; b -a], each the closed-form least-squares solution.
TMatrix FitSimilarity(const std::vector<TPoint>& c, const std::vector<TPoint>& q) {
  double scc = 0.0, plainA = 0.0, plainB = 0.0, mirrorA = 0.0, mirrorB = 0.0, sqq = 0.0;
  for (std::size_t i = 0; i < c.size(); ++i) {
    scc += c[i].Length2();
    sqq += q[i].Length2();
    plainA += c[i].x * q[i].x + c[i].y * q[i].y;
    plainB += c[i].x * q[i].y - c[i].y * q[i].x;
    mirrorA += c[i].x * q[i].x - c[i].y * q[i].y;
    mirrorB += c[i].y * q[i].x + c[i].x * q[i].y;
  }
  const TMatrix plain = Affine(plainA / scc, -plainB / scc, 0.0, plainB / scc, plainA / scc, 0.0);
  const TMatrix mirror =
      Affine(mirrorA / scc, mirrorB / scc, 0.0, mirrorB / scc, -mirrorA / scc, 0.0);
  const bool reflected =
      SumOfSquares(mirror, c, q) < SumOfSquares(plain, c, q) - kMirrorMargin * sqq;
  return reflected ? mirror : plain;
}

// The affine q = A c + t, one row of three unknowns for each coordinate.
bool FitAffine(const std::vector<TPoint>& c, const std::vector<TPoint>& q, TMatrix* h) {
  const std::size_t n = c.size();
  std::vector<double> a(n * 3), bx(n), by(n), rowX, rowY;
  for (std::size_t i = 0; i < n; ++i) {
    a[i * 3] = c[i].x;
    a[i * 3 + 1] = c[i].y;
    a[i * 3 + 2] = 1.0;
    bx[i] = q[i].x;
    by[i] = q[i].y;
  }
  if (!LeastSquares(a, bx, n, 3, &rowX) || !LeastSquares(a, by, n, 3, &rowY)) return false;
  *h = Affine(rowX[0], rowX[1], rowX[2], rowY[0], rowY[1], rowY[2]);
  return true;
}

// The projective q = H(c), h8 = 1: the linear solution of q w = (H c)_xy as a start, then
// Gauss-Newton on the residuals q - H(c) themselves.
const char* FitProjective(const std::vector<TPoint>& c, const std::vector<TPoint>& q,
                          int maxIterations, TMatrix* h) {
  const std::size_t n = c.size();
  std::vector<double> a(2 * n * 8, 0.0), b(2 * n), x;
  for (std::size_t i = 0; i < n; ++i) {
    double* rx = &a[(2 * i) * 8];
    double* ry = &a[(2 * i + 1) * 8];
    rx[0] = ry[3] = c[i].x;
    rx[1] = ry[4] = c[i].y;
    rx[2] = ry[5] = 1.0;
    rx[6] = -c[i].x * q[i].x;
    rx[7] = -c[i].y * q[i].x;
    ry[6] = -c[i].x * q[i].y;
    ry[7] = -c[i].y * q[i].y;
    b[2 * i] = q[i].x;
    b[2 * i + 1] = q[i].y;
  }
  if (!LeastSquares(a, b, 2 * n, 8, &x)) return "global.Err_IntOrDegenerate";
  TMatrix current = {x[0], x[1], x[2], x[3], x[4], x[5], x[6], x[7], 1.0};
  double sum = SumOfSquares(current, c, q);
  bool converged = false;
  for (int iteration = 0; iteration < maxIterations && !converged; ++iteration) {
    // Jacobian of H(c) by h0..h7 and the residual q - H(c); the step solves J d = q - H(c).
    for (std::size_t i = 0; i < n; ++i) {
      const double w = current[6] * c[i].x + current[7] * c[i].y + 1.0;
      const TPoint mapped = Apply(current, c[i]);
      double* rx = &a[(2 * i) * 8];
      double* ry = &a[(2 * i + 1) * 8];
      std::fill(rx, rx + 16, 0.0);
      rx[0] = ry[3] = c[i].x / w;
      rx[1] = ry[4] = c[i].y / w;
      rx[2] = ry[5] = 1.0 / w;
      rx[6] = -c[i].x * mapped.x / w;
      rx[7] = -c[i].y * mapped.x / w;
      ry[6] = -c[i].x * mapped.y / w;
      ry[7] = -c[i].y * mapped.y / w;
      b[2 * i] = q[i].x - mapped.x;
      b[2 * i + 1] = q[i].y - mapped.y;
    }
    if (!LeastSquares(a, b, 2 * n, 8, &x)) return "global.Err_IntOrDegenerate";
    double largestStep = 0.0;
    for (double d : x) largestStep = std::max(largestStep, std::fabs(d));
    double factor = 1.0;
    for (int halving = 0; halving <= kMaxHalvings; ++halving, factor *= 0.5) {
      TMatrix trial = current;
      for (std::size_t k = 0; k < 8; ++k) trial[k] += factor * x[k];
      const double trialSum = SumOfSquares(trial, c, q);
      if (trialSum <= sum || largestStep * factor <= kStepTolerance) {
        current = trial;
        sum = std::min(sum, trialSum);
        break;
      }
    }
    converged = largestStep <= kStepTolerance;
  }
  if (!converged) return "global.Err_IntOrNoConvergence";
  // The plane is not folded between the marks: w keeps the sign it has at their centroid.
  for (const TPoint& p : c) {
    if (!(current[6] * p.x + current[7] * p.y + 1.0 > 0.0)) return "global.Err_IntOrDegenerate";
  }
  *h = current;
  return nullptr;
}

// ---- The models of the kinds of camera -------------------------------------------------------

// A solved model: the two maps as matrices and, per measured mark, where the mark should lie in
// the camera system.
struct TModel {
  TMatrix camToPix{};
  TMatrix pixToCam{};
  bool projective = false;
  std::vector<TPoint> markCam;
  int unknowns = 0;
  // Where the scale and the rotation came from, for the warnings.
  bool rotationFromMarks = false;
  bool scaleFromMarks = false;
};

const TVxCameraInfo::TFiducial* FiducialOf(const TVxCameraInfo& camera, std::int32_t index) {
  for (const TVxCameraInfo::TFiducial& f : camera.fiducials) {
    if (f.index == index) return &f;
  }
  return nullptr;
}

const char* SolveFiducials(const TVxIntOrMeas& meas, const TVxCameraInfo& camera,
                           const TVxIntOrSolveOptions& options, TModel* model) {
  std::vector<TPoint> cam, q;
  std::set<std::int32_t> distinct;
  for (const TVxIntOrMeas::TMarkMeas& mark : meas.marks) {
    const TVxCameraInfo::TFiducial* fiducial = FiducialOf(camera, mark.index);
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
  TMatrix fitted{};
  switch (type) {
    case TTransformType::Similarity:
      fitted = FitSimilarity(cn, qn);
      model->unknowns = 4;
      break;
    case TTransformType::Projective:
      if (const char* failure = FitProjective(cn, qn, options.maxIterations, &fitted)) {
        return failure;
      }
      model->unknowns = 8;
      model->projective = true;
      break;
    default:  // Affine, and a type outside the enumeration as the record's default
      if (!FitAffine(cn, qn, &fitted)) return "global.Err_IntOrDegenerate";
      model->unknowns = 6;
      break;
  }
  model->camToPix = Multiply(kFlipY, Multiply(Denormalisation(nq), Multiply(fitted, nc)));
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

// ---- Checks of the input ---------------------------------------------------------------------

bool ResolutionUsable(const TVxIntOrMeas& meas) {
  const TPoint mm = ResolutionMm(meas);
  return std::isfinite(mm.x) && std::isfinite(mm.y) && mm.x > 0.0 && mm.y > 0.0;
}

// The failure key of input that the kind of camera cannot be solved from, or null.
const char* CheckInput(const TVxIntOrMeas& meas, const TVxCameraInfo& camera) {
  for (const TVxIntOrMeas::TMarkMeas& mark : meas.marks) {
    if (!IsFinite(mark.coordsPix)) return "global.Err_IntOrNotFinite";
  }
  switch (camera.cameraType) {
    case TCameraType::Fiducials:
      for (const TVxIntOrMeas::TMarkMeas& mark : meas.marks) {
        if (!IsFinite(FiducialOf(camera, mark.index)->coordsCam)) {
          return "global.Err_IntOrNotFinite";
        }
      }
      return nullptr;
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

// ---- The report ------------------------------------------------------------------------------

std::string Text(const char* key) {
  return VxModule_Initializer::getInst().get_resource_string(key);
}

void AddWarning(TVxIntOrSolution* solution, const char* key) {
  solution->warnings.push_back({key, Text(key), std::nullopt});
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
  s->residualLimitUm = options.residualLimitUm > 0.0
                           ? options.residualLimitUm
                           : std::max(kResidualRmsFactor * s->rmsUm, kResidualFloorUm);
  if (s->redundancy > 0) {
    for (TVxIntOrMarkResidual& r : s->residuals) r.aboveLimit = r.lengthUm > s->residualLimitUm;
  }
}

void AddWarnings(const TVxIntOrMeas& meas, const TVxCameraInfo& camera, const TModel& model,
                 TVxIntOrSolution* s) {
  if (camera.cameraType == TCameraType::Fiducials) {
    const auto measured =
        std::count_if(camera.fiducials.begin(), camera.fiducials.end(), [&meas](const auto& f) {
          return std::any_of(meas.marks.begin(), meas.marks.end(),
                             [&f](const auto& m) { return m.index == f.index; });
        });
    if (static_cast<std::size_t>(measured) != camera.fiducials.size()) {
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

bool Fail(std::string* message, const char* key) {
  if (message != nullptr) *message = Text(key);
  return false;
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
