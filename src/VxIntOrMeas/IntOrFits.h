#pragma once
// The least-squares fits of calibrated fiducial marks to measured ones, in coordinates
// normalised to unit spread. Internal to the library.

#include <vector>

#include "IntOrPlanar.h"

namespace vx_intor_detail {

// Points moved to their centroid and scaled to a root-mean-square distance of 1 from it, and the
// matrix that does it. False when all points coincide.
bool Normalise(const std::vector<TPoint>& points, std::vector<TPoint>* normalised, TMatrix* m);
// The inverse of a normalisation.
TMatrix Denormalisation(const TMatrix& n);
// The root-mean-square distance of normalised points from the line through their centroid that
// fits them best: the smaller singular value of their scatter, sqrt(lambda_min) of
// (1/n) sum p p^T, found as det / lambda_max. 0 for points on one line; about 0.7 for points
// spread evenly in every direction.
double ThinnestSpread(const std::vector<TPoint>& normalised);
// The similarity q = A c (c, q normalised, so without shift) with or without reflection,
// whichever fits better; equal fits keep the one without.
TMatrix FitSimilarity(const std::vector<TPoint>& c, const std::vector<TPoint>& q);
// The affine q = A c + t; false when the marks do not determine it.
bool FitAffine(const std::vector<TPoint>& c, const std::vector<TPoint>& q, TMatrix* h);
// The projective q = H(c) with h8 = 1; null, or the failure's resource key.
const char* FitProjective(const std::vector<TPoint>& c, const std::vector<TPoint>& q,
                          int maxIterations, TMatrix* h);

}  // namespace vx_intor_detail
