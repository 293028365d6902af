// SolveIntOr on fiducial marks: exact synthetic scans of every transform, rotation and mirror
// recovered; noisy scans compared with least-squares solutions of the test's own.

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "SolveTestSupport.h"
#include "VxIntOrSolve.h"

namespace {

using namespace solve_test;

TCamRotate Quarter(int degrees) {
  return static_cast<TCamRotate>(degrees / 90 + 1);
}

// (transform type, quarter turn in degrees, mirrored)
class ExactFiducialScan : public ::testing::TestWithParam<std::tuple<TTransformType, int, bool>> {};

TEST_P(ExactFiducialScan, IsRecoveredToTheLastDigits) {
  const auto [type, quarter, mirrored] = GetParam();
  const TVxCameraInfo camera = EightMarkCamera();
  TTerms terms;
  terms.rotationDeg = quarter + 0.1203;  // a scanner misalignment of 2.1 mrad on top
  if (terms.rotationDeg > 180.0) terms.rotationDeg -= 360.0;
  terms.mirrored = mirrored;
  terms.originPix = {9612.25, 9587.5};
  if (type != TTransformType::Similarity) {
    terms.scaleXUm = 12.49;
    terms.scaleYUm = 12.52;
    terms.shearDeg = 0.013;
  }
  if (type == TTransformType::Projective) terms.perspective = {2.0e-7, -1.5e-7};
  const TMatrix pixToCam = PixToCam(terms);
  TVxIntOrMeas meas = ScanOf(camera, Inverse(pixToCam), type);
  meas.rotation = Quarter(quarter);

  TVxIntOrSolution solution;
  std::string message = "untouched";
  ASSERT_TRUE(SolveIntOr(meas, camera, &solution, &message));
  EXPECT_EQ(message, "untouched");
  ExpectTerms(solution, terms);
  EXPECT_NEAR(solution.perspective.x, terms.perspective.x, kExact * 1e-4);
  EXPECT_NEAR(solution.perspective.y, terms.perspective.y, kExact * 1e-4);
  EXPECT_EQ(solution.fittedRotation, Quarter(quarter));
  ExpectSameMatrix(MatrixOf(solution.pixToCam), pixToCam, {19000.0, 19000.0});
  ExpectSameMatrix(MatrixOf(solution.camToPix), Inverse(pixToCam), {115.0, 115.0});
  EXPECT_EQ(dynamic_cast<const TProjectiveTransform*>(solution.pixToCam.get()) != nullptr,
            type == TTransformType::Projective);

  ASSERT_EQ(solution.residuals.size(), 8u);
  WriteResiduals(solution, &meas);
  for (std::size_t i = 0; i < 8; ++i) {
    EXPECT_LT(solution.residuals[i].lengthPix, kExact);
    EXPECT_EQ(meas.marks[i].residualsPix, solution.residuals[i].residualPix);
  }
  EXPECT_LT(solution.rmsPix, kExact);
  const int unknowns = type == TTransformType::Similarity ? 4
                       : type == TTransformType::Affine   ? 6
                                                          : 8;
  EXPECT_EQ(solution.observations, 16);
  EXPECT_EQ(solution.unknowns, unknowns);
  EXPECT_EQ(solution.redundancy, 16 - unknowns);
  // Mirrored: the one warning; otherwise none.
  if (mirrored) {
    ASSERT_EQ(solution.warnings.size(), 1u);
    EXPECT_EQ(solution.warnings[0].key, "global.Warn_IntOrMirrored");
  } else {
    EXPECT_TRUE(solution.warnings.empty());
  }
}

INSTANTIATE_TEST_SUITE_P(EveryTransformRotationAndMirror, ExactFiducialScan,
                         ::testing::Combine(::testing::Values(TTransformType::Similarity,
                                                              TTransformType::Affine,
                                                              TTransformType::Projective),
                                            ::testing::Values(0, 90, 180, 270), ::testing::Bool()));

TEST(SolveFiducials, TheTwoHandlesAreInverseMaps) {
  const TVxCameraInfo camera = EightMarkCamera();
  TTerms terms;
  terms.perspective = {1e-7, 3e-7};
  TVxIntOrMeas meas = ScanOf(camera, Inverse(PixToCam(terms)), TTransformType::Projective);
  TVxIntOrSolution solution;
  ASSERT_TRUE(SolveIntOr(meas, camera, &solution, nullptr));
  for (const TPoint p : {TPoint{0, 0}, TPoint{19199, 0}, TPoint{5000, 17000}}) {
    const TPoint back = solution.camToPix->TransformPoint(solution.pixToCam->TransformPoint(p));
    EXPECT_NEAR(back.x, p.x, kExact * 10.0);  // 1e-8 px over 19200 px: rounding of two maps
    EXPECT_NEAR(back.y, p.y, kExact * 10.0);
  }
}

// A projective solution holds both matrices with the last coefficient 1, and reports the
// perspective terms of pixToCam as they stand there. Read directly from the handles: a test
// helper that divides by the last coefficient itself would not see another scaling.
TEST(SolveFiducials, ProjectiveHandlesHoldMatricesWhoseLastCoefficientIsOne) {
  const TVxCameraInfo camera = EightMarkCamera();
  for (const TPoint perspective : {TPoint{1e-7, 3e-7}, TPoint{-2e-6, 5e-7}}) {
    TTerms terms;
    terms.rotationDeg = 12.0;
    terms.perspective = perspective;
    TVxIntOrMeas meas = ScanOf(camera, Inverse(PixToCam(terms)), TTransformType::Projective);
    TVxIntOrSolution solution;
    ASSERT_TRUE(SolveIntOr(meas, camera, &solution, nullptr));
    const auto* pixToCam = dynamic_cast<const TProjectiveTransform*>(solution.pixToCam.get());
    const auto* camToPix = dynamic_cast<const TProjectiveTransform*>(solution.camToPix.get());
    ASSERT_NE(pixToCam, nullptr);
    ASSERT_NE(camToPix, nullptr);
    EXPECT_EQ(pixToCam->Coefficients()[8], 1.0);
    EXPECT_EQ(camToPix->Coefficients()[8], 1.0);
    EXPECT_EQ(solution.perspective.x, pixToCam->Coefficients()[6]);
    EXPECT_EQ(solution.perspective.y, pixToCam->Coefficients()[7]);
    // With h8 = 1 the perspective terms are those of the scan itself (per pixel).
    EXPECT_NEAR(solution.perspective.x, perspective.x, kExact * std::fabs(perspective.x));
    EXPECT_NEAR(solution.perspective.y, perspective.y, kExact * std::fabs(perspective.y));
  }
}

TEST(SolveFiducials, ASecondSolveReplacesEverythingAndTheCallerOwnsTheHandles) {
  const TVxCameraInfo camera = EightMarkCamera();
  TTerms mirrored;
  mirrored.mirrored = true;
  TVxIntOrMeas first = ScanOf(camera, Inverse(PixToCam(mirrored)), TTransformType::Affine);
  TVxIntOrSolution solution;
  ASSERT_TRUE(SolveIntOr(first, camera, &solution, nullptr));
  ASSERT_EQ(solution.warnings.size(), 1u);
  TVxIntOrMeas second = ScanOf(camera, Inverse(PixToCam(TTerms())), TTransformType::Affine);
  second.marks.resize(5);
  ASSERT_TRUE(SolveIntOr(second, camera, &solution, nullptr));
  // Only the warning of this image: five of the eight marks measured.
  ASSERT_EQ(solution.warnings.size(), 1u);
  EXPECT_EQ(solution.warnings[0].key, "global.Warn_NotAllFidMeasured");
  EXPECT_FALSE(solution.mirrored);
  EXPECT_EQ(solution.residuals.size(), 5u);
  EXPECT_EQ(solution.pixToCam.use_count(), 1);
  EXPECT_EQ(solution.camToPix.use_count(), 1);
}

TEST(SolveFiducials, TwoMarksFitASimilarityWithoutReflection) {
  const TVxCameraInfo camera = EightMarkCamera();
  TTerms terms;
  terms.rotationDeg = -33.0;
  TVxIntOrMeas meas = ScanOf(camera, Inverse(PixToCam(terms)), TTransformType::Similarity);
  meas.marks.resize(2);
  TVxIntOrSolution solution;
  ASSERT_TRUE(SolveIntOr(meas, camera, &solution, nullptr));
  ExpectTerms(solution, terms);
  EXPECT_EQ(solution.redundancy, 0);
  EXPECT_EQ(solution.sigma0Um, 0.0);
}

TEST(SolveFiducials, AMarkMeasuredTwiceCountsTwiceButAsOneFiducial) {
  const TVxCameraInfo camera = EightMarkCamera();
  TVxIntOrMeas meas = ScanOf(camera, Inverse(PixToCam(TTerms())), TTransformType::Affine);
  meas.marks.resize(3);
  meas.marks.push_back(meas.marks[0]);
  TVxIntOrSolution solution;
  ASSERT_TRUE(SolveIntOr(meas, camera, &solution, nullptr));
  EXPECT_EQ(solution.observations, 8);
  EXPECT_EQ(solution.redundancy, 2);
  EXPECT_EQ(solution.residuals.size(), 4u);
}

// ---- Noisy scans against the tests' own least squares ----------------------------------------

// The pixel positions that the tests' own fitted camera-to-pixel matrix gives the marks, against
// the solution's: both minimise the same squares, so they agree to rounding.
void ExpectSameFit(const TVxIntOrSolution& solution, const TVxCameraInfo& camera,
                   const TVxIntOrMeas& meas, const TMatrix& camToPix) {
  ASSERT_EQ(solution.residuals.size(), meas.marks.size());
  for (std::size_t i = 0; i < meas.marks.size(); ++i) {
    const TPoint predicted = Apply(camToPix, camera.fiducials[i].coordsCam);
    EXPECT_NEAR(solution.residuals[i].residualPix.x, predicted.x - meas.marks[i].coordsPix.x,
                kExact);
    EXPECT_NEAR(solution.residuals[i].residualPix.y, predicted.y - meas.marks[i].coordsPix.y,
                kExact);
  }
  const TMatrix pixToCam = Inverse(camToPix);
  // The parameters of the test's own matrix, read as the report defines them (affine part).
  const double w = pixToCam[6] * solution.originPix.x + pixToCam[7] * solution.originPix.y + 1.0;
  const TPoint column{pixToCam[0] / w, pixToCam[3] / w};
  EXPECT_NEAR(solution.scaleXUm, column.Length() * 1000.0, kExact);
  EXPECT_NEAR(solution.rotationDeg, -std::atan2(column.y, column.x) / kRad, kExact);
}

// Camera coordinates centred on the marks' mean and divided by 100, pixels centred and divided by
// 10000, so that the normal equations stay well conditioned; the result is mapped back.
struct TScaling {
  TPoint camMean, pixMean;
  static constexpr double kCam = 100.0;
  static constexpr double kPix = 10000.0;
};

TScaling ScalingOf(const TVxCameraInfo& camera, const TVxIntOrMeas& meas) {
  TScaling s;
  for (std::size_t i = 0; i < meas.marks.size(); ++i) {
    s.camMean += camera.fiducials[i].coordsCam / static_cast<double>(meas.marks.size());
    s.pixMean += meas.marks[i].coordsPix / static_cast<double>(meas.marks.size());
  }
  return s;
}

// camToPix = unscale_pix * h * scale_cam.
TMatrix Unscaled(const TMatrix& h, const TScaling& s) {
  const TMatrix cam = {1 / TScaling::kCam,
                       0,
                       -s.camMean.x / TScaling::kCam,
                       0,
                       1 / TScaling::kCam,
                       -s.camMean.y / TScaling::kCam,
                       0,
                       0,
                       1};
  const TMatrix pix = {TScaling::kPix, 0, s.pixMean.x, 0, TScaling::kPix, s.pixMean.y, 0, 0, 1};
  auto multiply = [](const TMatrix& a, const TMatrix& b) {
    TMatrix c{};
    for (std::size_t r = 0; r < 3; ++r)
      for (std::size_t k = 0; k < 3; ++k)
        for (std::size_t j = 0; j < 3; ++j) c[r * 3 + k] += a[r * 3 + j] * b[j * 3 + k];
    return c;
  };
  return multiply(pix, multiply(h, cam));
}

TEST(SolveFiducials, NoisyAffineAgreesWithTheNormalEquations) {
  const TVxCameraInfo camera = EightMarkCamera();
  TTerms terms;
  terms.shearDeg = 0.02;
  TVxIntOrMeas meas = ScanOf(camera, Inverse(PixToCam(terms)), TTransformType::Affine, Noise(1, 8));
  TVxIntOrSolution solution;
  ASSERT_TRUE(SolveIntOr(meas, camera, &solution, nullptr));
  const TScaling s = ScalingOf(camera, meas);
  std::vector<double> a, bx, by;
  for (std::size_t i = 0; i < 8; ++i) {
    const TPoint c = (camera.fiducials[i].coordsCam - s.camMean) / TScaling::kCam;
    const TPoint p = (meas.marks[i].coordsPix - s.pixMean) / TScaling::kPix;
    a.insert(a.end(), {c.x, c.y, 1.0});
    bx.push_back(p.x);
    by.push_back(p.y);
  }
  const auto rx = NormalEquations(a, bx, 3);
  const auto ry = NormalEquations(a, by, 3);
  const TMatrix h = {rx[0], rx[1], rx[2], ry[0], ry[1], ry[2], 0, 0, 1};
  ExpectSameFit(solution, camera, meas, Unscaled(h, s));
  EXPECT_GT(solution.rmsPix, 0.05);  // the noise is there
}

TEST(SolveFiducials, NoisySimilarityAgreesWithTheNormalEquationsWithAndWithoutMirror) {
  const TVxCameraInfo camera = EightMarkCamera();
  for (const bool mirrored : {false, true}) {
    SCOPED_TRACE(mirrored);
    TTerms terms;
    terms.rotationDeg = 91.7;
    terms.mirrored = mirrored;
    TVxIntOrMeas meas =
        ScanOf(camera, Inverse(PixToCam(terms)), TTransformType::Similarity, Noise(2, 8));
    TVxIntOrSolution solution;
    ASSERT_TRUE(SolveIntOr(meas, camera, &solution, nullptr));
    EXPECT_EQ(solution.mirrored, mirrored);
    // Unknowns a, b, tx, ty of q = [a -b; b a] c + t (plain) or [a b; b -a] c + t (mirrored)
    // in the y-up frame q = (px, -py); written in pixels p, with ty for -q's shift:
    // plain    px = a cx - b cy + tx,  py = -b cx - a cy + ty;
    // mirrored px = a cx + b cy + tx,  py = -b cx + a cy + ty.
    const TScaling s = ScalingOf(camera, meas);
    std::vector<double> a, b;
    for (std::size_t i = 0; i < 8; ++i) {
      const TPoint c = (camera.fiducials[i].coordsCam - s.camMean) / TScaling::kCam;
      const TPoint p = (meas.marks[i].coordsPix - s.pixMean) / TScaling::kPix;
      if (mirrored) {
        a.insert(a.end(), {c.x, c.y, 1.0, 0.0, c.y, -c.x, 0.0, 1.0});
      } else {
        a.insert(a.end(), {c.x, -c.y, 1.0, 0.0, -c.y, -c.x, 0.0, 1.0});
      }
      b.push_back(p.x);
      b.push_back(p.y);
    }
    const auto x = NormalEquations(a, b, 4);
    const TMatrix h = mirrored ? TMatrix{x[0], x[1], x[2], -x[1], x[0], x[3], 0, 0, 1}
                               : TMatrix{x[0], -x[1], x[2], -x[1], -x[0], x[3], 0, 0, 1};
    ExpectSameFit(solution, camera, meas, Unscaled(h, s));
  }
}

TEST(SolveFiducials, NoisyProjectiveAgreesWithGaussNewtonOnTheNormalEquations) {
  const TVxCameraInfo camera = EightMarkCamera();
  TTerms terms;
  terms.rotationDeg = -0.4;
  terms.perspective = {3e-7, -2e-7};
  TVxIntOrMeas meas =
      ScanOf(camera, Inverse(PixToCam(terms)), TTransformType::Projective, Noise(3, 8));
  TVxIntOrSolution solution;
  ASSERT_TRUE(SolveIntOr(meas, camera, &solution, nullptr));
  const TScaling s = ScalingOf(camera, meas);
  std::vector<TPoint> c, p;
  for (std::size_t i = 0; i < 8; ++i) {
    c.push_back((camera.fiducials[i].coordsCam - s.camMean) / TScaling::kCam);
    p.push_back((meas.marks[i].coordsPix - s.pixMean) / TScaling::kPix);
  }
  // Start from the truth; Gauss-Newton with the normal equations to a step of 1e-15.
  TMatrix h = {0.8, 0, 0, 0, -0.8, 0, 0, 0, 1};
  constexpr int kIterations = 100;
  for (int it = 0; it < kIterations; ++it) {
    std::vector<double> a, b;
    for (std::size_t i = 0; i < 8; ++i) {
      const double w = h[6] * c[i].x + h[7] * c[i].y + 1.0;
      const TPoint m = Apply(h, c[i]);
      a.insert(a.end(),
               {c[i].x / w, c[i].y / w, 1 / w, 0, 0, 0, -c[i].x * m.x / w, -c[i].y * m.x / w});
      a.insert(a.end(),
               {0, 0, 0, c[i].x / w, c[i].y / w, 1 / w, -c[i].x * m.y / w, -c[i].y * m.y / w});
      b.push_back(p[i].x - m.x);
      b.push_back(p[i].y - m.y);
    }
    const auto d = NormalEquations(a, b, 8);
    double largest = 0.0;
    for (std::size_t k = 0; k < 8; ++k) {
      h[k] += d[k];
      largest = std::max(largest, std::fabs(d[k]));
    }
    if (largest < 1e-15) break;
  }
  ExpectSameFit(solution, camera, meas, Unscaled(h, s));
  EXPECT_EQ(solution.redundancy, 8);
}

}  // namespace
