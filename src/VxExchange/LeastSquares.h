#pragma once
// Linear least squares by Householder QR: min |A c - b| for a tall matrix A.

#include <cstddef>
#include <vector>

namespace vx_exchange {

// `a` holds m rows of n values, row after row; m >= n. Returns the n coefficients, or an empty
// vector when a column is (numerically) a combination of the others.
std::vector<double> SolveLeastSquares(std::vector<double> a, std::vector<double> b, std::size_t n);

}  // namespace vx_exchange
