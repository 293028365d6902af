#pragma once
// Points and vectors of the plane (and the three-vector of small linear systems).
// Coordinates are millimetres of the camera system unless a caller says otherwise.

#include <cmath>
#include <string>

class TVxXIniReader;

template <class T, int N>
struct vec_t_;

// A point or vector of the plane.
template <>
struct vec_t_<double, 2> {
  double x = 0.0;
  double y = 0.0;

  constexpr vec_t_() = default;
  constexpr vec_t_(double x_, double y_) : x(x_), y(y_) {}

  constexpr vec_t_& operator+=(const vec_t_& v) {
    x += v.x;
    y += v.y;
    return *this;
  }
  constexpr vec_t_& operator-=(const vec_t_& v) {
    x -= v.x;
    y -= v.y;
    return *this;
  }
  constexpr vec_t_& operator*=(double s) {
    x *= s;
    y *= s;
    return *this;
  }
  constexpr vec_t_& operator/=(double s) {
    x /= s;
    y /= s;
    return *this;
  }

  // Euclidean length and its square.
  double Length() const { return std::hypot(x, y); }
  constexpr double Length2() const { return x * x + y * y; }

  // Reads the point stored as a subsection `name` of the reader's current section; see the
  // settings operations of VxCameraUtils, which defines them (they are not exported).
  // Without a default: false and the point unchanged if there is no such subsection; a missing
  // coordinate becomes 0.0.
  bool LoadS(TVxXIniReader* reader, const std::string& name);
  // With a default: the point starts as the default; false if there is no such subsection; a
  // missing coordinate keeps the default's coordinate.
  bool LoadS(TVxXIniReader* reader, const std::string& name, const vec_t_& defaultPoint);
};

constexpr vec_t_<double, 2> operator+(vec_t_<double, 2> a, const vec_t_<double, 2>& b) {
  return a += b;
}
constexpr vec_t_<double, 2> operator-(vec_t_<double, 2> a, const vec_t_<double, 2>& b) {
  return a -= b;
}
constexpr vec_t_<double, 2> operator-(const vec_t_<double, 2>& a) {
  return {-a.x, -a.y};
}
constexpr vec_t_<double, 2> operator*(vec_t_<double, 2> a, double s) {
  return a *= s;
}
constexpr vec_t_<double, 2> operator*(double s, vec_t_<double, 2> a) {
  return a *= s;
}
constexpr vec_t_<double, 2> operator/(vec_t_<double, 2> a, double s) {
  return a /= s;
}
// Ordinary floating-point comparison: -0.0 equals 0.0 and NaN equals nothing.
constexpr bool operator==(const vec_t_<double, 2>& a, const vec_t_<double, 2>& b) {
  return a.x == b.x && a.y == b.y;
}
constexpr bool operator!=(const vec_t_<double, 2>& a, const vec_t_<double, 2>& b) {
  return !(a == b);
}
constexpr double Dot(const vec_t_<double, 2>& a, const vec_t_<double, 2>& b) {
  return a.x * b.x + a.y * b.y;
}

// Three doubles: the right-hand side and solution of a 3x3 linear system.
template <>
struct vec_t_<double, 3> {
  double x = 0.0;
  double y = 0.0;
  double z = 0.0;

  constexpr vec_t_() = default;
  constexpr vec_t_(double x_, double y_, double z_) : x(x_), y(y_), z(z_) {}

  constexpr double& operator[](int i) { return i == 0 ? x : (i == 1 ? y : z); }
  constexpr double operator[](int i) const { return i == 0 ? x : (i == 1 ? y : z); }
};

using TVxPoint2 = vec_t_<double, 2>;
