#pragma once
// A 3x3 matrix of doubles, for the small normal equations of distortion fitting.

#include "VxGeometry_export.h"
#include "VxVec.h"

class VXGEOMETRY_EXPORT matr3x3 {
 public:
  // The zero matrix.
  constexpr matr3x3() = default;
  // Row by row: m[row][column].
  constexpr matr3x3(double m00, double m01, double m02, double m10, double m11, double m12,
                    double m20, double m21, double m22)
      : m_{{m00, m01, m02}, {m10, m11, m12}, {m20, m21, m22}} {}

  constexpr double& operator()(int row, int column) { return m_[row][column]; }
  constexpr double operator()(int row, int column) const { return m_[row][column]; }

  // The determinant, expanded along the first row.
  double Det() const;
  // Replaces the matrix by its inverse, the adjugate divided by `det`, which must be the
  // determinant that Det() returned for this matrix. A zero `det` gives infinities or NaN: the
  // caller tests it first. No pivoting or scaling is done; the normal matrices of fitting are
  // symmetric and positive definite, and their condition is the caller's concern.
  void Invert_self(double det);

 private:
  double m_[3][3] = {{0.0, 0.0, 0.0}, {0.0, 0.0, 0.0}, {0.0, 0.0, 0.0}};
};

// The product of the matrix with a column vector.
VXGEOMETRY_EXPORT vec_t_<double, 3> operator*(const matr3x3& m, const vec_t_<double, 3>& v);
