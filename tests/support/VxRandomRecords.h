#pragma once
// Random records for property tests, drawn from a seeded generator. A "normalised" camera holds
// only what its type and distortion model persist, so that saving and loading it must give it
// back equal.

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <string>

#include "VxCameraInfo.h"
#include "VxEOL.h"

namespace vx_test {

class TRandomRecords {
 public:
  explicit TRandomRecords(std::uint64_t seed) : rng_(seed) {}

  // A finite double of any magnitude and sign: ordinary values, zeros of both signs,
  // subnormals and the extremes.
  double Double() {
    switch (Int(0, 7)) {
      case 0:
        return Int(0, 1) == 0 ? 0.0 : -0.0;
      case 1:
        return std::numeric_limits<double>::denorm_min() * Int(1, 1000);
      case 2:
        return Int(0, 1) == 0 ? std::numeric_limits<double>::max()
                              : std::numeric_limits<double>::lowest();
      case 3: {
        // Any finite bit pattern.
        for (;;) {
          const std::uint64_t bits = rng_();
          double value;
          std::memcpy(&value, &bits, sizeof value);
          if (std::isfinite(value)) return value;
        }
      }
      default:
        return std::uniform_real_distribution<double>(-200.0, 200.0)(rng_);
    }
  }

  int Int(int low, int high) { return std::uniform_int_distribution<int>(low, high)(rng_); }

  std::uint64_t UInt64() { return rng_(); }

  // A text with the characters that need care in a file: quotes, colons, hashes, leading and
  // trailing blanks, non-ASCII letters, words that look like numbers or truth values.
  std::string Text(bool multiLine) {
    static const char* const kPieces[] = {
        "Wild", " RC10", ": ", "#1",  "\"q\"", "'s'", "µm", "Größe", "-", "1e5", "true",
        "~",    "null",  " ",  "[a]", "{b}",   "&x",  "*y", "!z",    "%", "@",   "\\"};
    std::string text;
    const int count = Int(0, 6);
    for (int i = 0; i < count; ++i) {
      text += kPieces[Int(0, static_cast<int>(std::size(kPieces)) - 1)];
      if (multiLine && Int(0, 3) == 0) text += "\r\n";
    }
    return text;
  }

  TVxCameraDistortion Distortion() {
    TVxCameraDistortion d;
    d.type = static_cast<TDistortionType>(Int(1, 8));
    if (d.type == TDistortionType::None) return d;
    d.direction = static_cast<TVxCameraDistortion::TDirection>(Int(0, 1));
    d.symmetryPoint = {Double(), Double()};
    switch (d.type) {
      case TDistortionType::Formula:
        for (double* c : {&d.k1, &d.k2, &d.k3, &d.k4, &d.k5, &d.p1, &d.p2, &d.p3, &d.p4, &d.b1,
                          &d.b2, &d.a1, &d.a2}) {
          *c = Int(0, 2) == 0 ? 0.0 : Double();
        }
        // An in-plane term of zero is not written, so it comes back as +0.0 whatever its sign.
        for (double* c : {&d.b1, &d.b2, &d.a1, &d.a2}) {
          if (*c == 0.0) *c = 0.0;
        }
        break;
      case TDistortionType::Radial:
        for (int i = Int(0, 6); i > 0; --i) d.tableR.push_back({Double(), Double()});
        break;
      case TDistortionType::Directed4Plus:
        d.table4Plus = Rows();
        break;
      case TDistortionType::Directed4X:
        d.table4X = Rows();
        break;
      case TDistortionType::Directed8:
        d.table4Plus = Rows();
        d.table4X = Rows();
        break;
      case TDistortionType::Mixed:
        for (double* group : {d.mixed.a, d.mixed.b, d.mixed.c}) {
          for (int i = 0; i < 7; ++i) group[i] = Double();
        }
        for (double& k : d.mixed.K) k = Double();
        for (double& p : d.mixed.P) p = Double();
        // Raw-byte comparison: a loaded -0.0 must stay -0.0, so the sign of zero is exercised.
        break;
      case TDistortionType::Polynomial:
        for (double& k : d.polyK) k = Double();
        for (double& p : d.polyP) p = Double();
        break;
      case TDistortionType::None:
        break;
    }
    return d;
  }

  // A camera of any type and distortion model, holding only the fields that are persisted.
  TVxCameraInfo Camera() {
    TVxCameraInfo c;
    c.name = Text(false);
    c.calibrationDate = Text(false);
    c.description = VxNormalizeEOL(Text(true), TEOLType::CRLF);
    c.cameraType = static_cast<TCameraType>(Int(1, 5));
    c.focus = Double();
    c.principalPoint = {Double(), Double()};
    c.distortion = Distortion();
    const bool usesTemplates = c.cameraType == TCameraType::Cross ||
                               c.cameraType == TCameraType::CalibratedCross ||
                               c.cameraType == TCameraType::Fiducials;
    if (usesTemplates && Int(0, 1) == 0) c.fiducialTemplateId = Text(false);
    switch (c.cameraType) {
      case TCameraType::Digital:
        c.pixelSize = {Double(), Double()};
        c.sensorDims = {UInt64(), UInt64()};
        c.digitalCameraOrigin = static_cast<TVxCameraInfo::TDigitalCameraOrigin>(Int(0, 2));
        break;
      case TCameraType::CalibratedCross:
        c.lengthX = Double();
        c.lengthY = Double();
        break;
      case TCameraType::Fiducials:
        for (int i = Int(0, 8); i > 0; --i) {
          const int index = Int(-5, 50);
          const int templateIndex = c.fiducialTemplateId.empty() ? index : Int(-5, 50);
          c.fiducials.push_back({index, {Double(), Double()}, templateIndex});
        }
        break;
      default:
        break;
    }
    return c;
  }

 private:
  std::vector<TVxCameraDistortion::T4Direction> Rows() {
    std::vector<TVxCameraDistortion::T4Direction> rows;
    for (int i = Int(0, 5); i > 0; --i) {
      rows.push_back({Double(), {Double(), Double(), Double(), Double()}});
    }
    return rows;
  }

  std::mt19937_64 rng_;
};

}  // namespace vx_test
