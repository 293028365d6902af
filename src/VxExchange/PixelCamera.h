#pragma once
// The neutral form every format is read into and written from: a pinhole camera in pixels with
// OpenCV's conventions (pixel origin at the centre of the top-left pixel, rows down, normalised
// coordinates x = X / Z, y = Y / Z mapped from ideal to observed), and the distortion terms of
// all four formats side by side.
//
//   r2 = x^2 + y^2,  profile = 1 + p3 r2 + p4 r2^2
//   radial = (1 + k1 r2 + k2 r2^2 + k3 r2^3 + k4 r2^4) / (1 + d1 r2 + d2 r2^2 + d3 r2^3)
//   xd = x radial + profile (2 p1 x y + p2 (r2 + 2 x^2)) + s1 r2 + s2 r2^2
//   yd = y radial + profile (p1 (r2 + 2 y^2) + 2 p2 x y) + s3 r2 + s4 r2^2
//   u = fx xd + skew yd + cx,  v = fy yd + cy
//
// k4 is Metashape's r^8 term; d1..d3 are OpenCV's rational k4..k6; p3, p4 are Metashape's
// decentering profile; s1..s4 OpenCV's thin prism. OpenCV's tilt (tauX, tauY) has no place:
// readers refuse it.

#include <array>
#include <cstdint>
#include <string>

namespace vx_exchange {

struct TPixelCamera {
  std::uint64_t width = 0;   // pixels
  std::uint64_t height = 0;  // pixels
  double fx = 0.0, fy = 0.0, cx = 0.0, cy = 0.0, skew = 0.0;
  std::array<double, 4> k{};  // radial numerator k1..k4
  std::array<double, 3> d{};  // rational denominator d1..d3
  double p1 = 0.0, p2 = 0.0;  // decentering, OpenCV's naming
  double p3 = 0.0, p4 = 0.0;  // decentering profile
  std::array<double, 4> s{};  // thin prism
  std::string name;           // the camera's name when the file gives one
  std::string model;          // the format's model name, for the report
};

// The observed normalised point of the ideal normalised point (x, y).
std::array<double, 2> Distort(const TPixelCamera& c, double x, double y);

// Whether the Formula model holds the camera exactly: no denominator, no skew, no thin prism.
bool IsBrownConrady(const TPixelCamera& c);

}  // namespace vx_exchange
