#include "VxFormulaDistortion.h"

#include "VxDistortionModelImpl.h"
#include "kernels/VxFormulaKernel.h"

struct TFormulaDistortion::TKernel : vx_geometry_detail::TFormulaDispatch {};

TFormulaDistortion::TKernel TFormulaDistortion::Kernel() const {
  return TKernel{{c_}};
}

TFormulaDistortion::TFormulaDistortion(const TDistCoeff& coefficients)
    : TVxDistortionModel(coefficients.inverse), c_(coefficients) {}

TFormulaDistortion::TFormulaDistortion(const vec_t_<double, 2>& centre, double k1, double k2,
                                       double k3, double k4, double k5, double p1, double p2,
                                       double p3, double p4, bool inverse)
    : TVxDistortionModel(inverse) {
  c_.centre = centre;
  c_.k1 = k1;
  c_.k2 = k2;
  c_.k3 = k3;
  c_.k4 = k4;
  c_.k5 = k5;
  c_.p1 = p1;
  c_.p2 = p2;
  c_.p3 = p3;
  c_.p4 = p4;
  c_.inverse = inverse;
}

const char* TFormulaDistortion::Name() const {
  return "formula distortion";
}

bool TFormulaDistortion::IsIdentity() const {
  return c_.k1 == 0.0 && c_.k2 == 0.0 && c_.k3 == 0.0 && c_.k4 == 0.0 && c_.k5 == 0.0 &&
         c_.p1 == 0.0 && c_.p2 == 0.0 && c_.b1 == 0.0 && c_.b2 == 0.0 && c_.a1 == 0.0 &&
         c_.a2 == 0.0;
}

template class TVxDistortionModel<TFormulaDistortion>;
