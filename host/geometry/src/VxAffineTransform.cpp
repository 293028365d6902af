#include "VxAffineTransform.h"

#include "VxInverseSolver.h"

TAffineTransform::TAffineTransform(double a0, double a1, double a2, double a3, double a4, double a5)
    : a_{a0, a1, a2, a3, a4, a5} {}

std::unique_ptr<TVx2DTransform> TAffineTransform::Clone() const {
  return std::unique_ptr<TVx2DTransform>(new TAffineTransform(*this));
}

std::size_t TAffineTransform::TransformPoints(const vec_t_<double, 2>* in, vec_t_<double, 2>* out,
                                              std::size_t n) const {
  const double a0 = a_[0], a1 = a_[1], a2 = a_[2], a3 = a_[3], a4 = a_[4], a5 = a_[5];
  for (std::size_t i = 0; i < n; ++i) {
    const double x = in[i].x;
    const double y = in[i].y;
    out[i].x = a0 * x + a1 * y + a2;
    out[i].y = a3 * x + a4 * y + a5;
  }
  return vx_geometry_detail::CountNaNPoints(out, n);
}

const char* TAffineTransform::Name() const {
  return "affine";
}

bool TAffineTransform::IsIdentity() const {
  return a_[0] == 1.0 && a_[1] == 0.0 && a_[2] == 0.0 && a_[3] == 0.0 && a_[4] == 1.0 &&
         a_[5] == 0.0;
}

bool TAffineTransform::AffineCoefficients(std::array<double, 6>* coefficients) const {
  *coefficients = a_;
  return true;
}

vec_t_<double, 2> TAffineTransform::TransformPoint(const vec_t_<double, 2>& p) const {
  return {a_[0] * p.x + a_[1] * p.y + a_[2], a_[3] * p.x + a_[4] * p.y + a_[5]};
}
