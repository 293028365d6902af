#include "PixelCamera.h"

#include <cmath>

namespace vx_exchange {

std::array<double, 2> Distort(const TPixelCamera& c, double x, double y) {
  const double r2 = x * x + y * y;
  const double numerator = 1.0 + r2 * (c.k[0] + r2 * (c.k[1] + r2 * (c.k[2] + r2 * c.k[3])));
  const double denominator = 1.0 + r2 * (c.d[0] + r2 * (c.d[1] + r2 * c.d[2]));
  const double radial = numerator / denominator;
  const double profile = 1.0 + r2 * (c.p3 + r2 * c.p4);
  const double xd = x * radial + profile * (2.0 * c.p1 * x * y + c.p2 * (r2 + 2.0 * x * x)) +
                    r2 * (c.s[0] + r2 * c.s[1]);
  const double yd = y * radial + profile * (c.p1 * (r2 + 2.0 * y * y) + 2.0 * c.p2 * x * y) +
                    r2 * (c.s[2] + r2 * c.s[3]);
  return {xd, yd};
}

bool IsBrownConrady(const TPixelCamera& c) {
  return c.d[0] == 0.0 && c.d[1] == 0.0 && c.d[2] == 0.0 && c.skew == 0.0 && c.s[0] == 0.0 &&
         c.s[1] == 0.0 && c.s[2] == 0.0 && c.s[3] == 0.0;
}

}  // namespace vx_exchange
