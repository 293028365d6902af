#include "VxMatr3x3.h"

double matr3x3::Det() const {
  const auto& m = m_;
  return m[0][0] * (m[1][1] * m[2][2] - m[1][2] * m[2][1]) -
         m[0][1] * (m[1][0] * m[2][2] - m[1][2] * m[2][0]) +
         m[0][2] * (m[1][0] * m[2][1] - m[1][1] * m[2][0]);
}

void matr3x3::Invert_self(double det) {
  const auto& m = m_;
  // Cofactors, transposed into the adjugate.
  const matr3x3 adjugate(m[1][1] * m[2][2] - m[1][2] * m[2][1],  //
                         m[0][2] * m[2][1] - m[0][1] * m[2][2],  //
                         m[0][1] * m[1][2] - m[0][2] * m[1][1],  //
                         m[1][2] * m[2][0] - m[1][0] * m[2][2],  //
                         m[0][0] * m[2][2] - m[0][2] * m[2][0],  //
                         m[0][2] * m[1][0] - m[0][0] * m[1][2],  //
                         m[1][0] * m[2][1] - m[1][1] * m[2][0],  //
                         m[0][1] * m[2][0] - m[0][0] * m[2][1],  //
                         m[0][0] * m[1][1] - m[0][1] * m[1][0]);
  for (int r = 0; r < 3; ++r) {
    for (int c = 0; c < 3; ++c) m_[r][c] = adjugate(r, c) / det;
  }
}

vec_t_<double, 3> operator*(const matr3x3& m, const vec_t_<double, 3>& v) {
  return {m(0, 0) * v.x + m(0, 1) * v.y + m(0, 2) * v.z,
          m(1, 0) * v.x + m(1, 1) * v.y + m(1, 2) * v.z,
          m(2, 0) * v.x + m(2, 1) * v.y + m(2, 2) * v.z};
}
