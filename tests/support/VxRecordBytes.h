#pragma once
// Every field of a record as raw bytes, so that "unchanged" can be checked exactly: NaN equals
// the same NaN and -0.0 differs from 0.0, where the records' own operator== says otherwise.

#include <cstring>
#include <string>
#include <vector>

#include "VxCameraInfo.h"
#include "VxIntOrMeas.h"
#include "VxIntOrSolve.h"

namespace vx_test {

class TBytes {
 public:
  // Only for types without padding: their bytes are all value.
  template <class T>
  TBytes& Add(const T& value) {
    static_assert(std::is_trivially_copyable_v<T>);
    static_assert(std::has_unique_object_representations_v<T> || std::is_floating_point_v<T> ||
                  std::is_same_v<T, vec_t_<double, 2>> ||
                  std::is_same_v<T, TVxCameraDistortion::TMixed> ||
                  std::is_same_v<T, TVxCameraDistortion::TRadialDistortion> ||
                  std::is_same_v<T, TVxCameraDistortion::T4Direction> || std::is_array_v<T>);
    const auto* p = reinterpret_cast<const char*>(&value);
    bytes_.append(p, sizeof(T));
    return *this;
  }
  TBytes& Add(const std::string& text) {
    Add(text.size());
    bytes_ += text;
    return *this;
  }
  template <class T>
  TBytes& Add(const std::vector<T>& items) {
    Add(items.size());
    for (const T& item : items) Add(item);
    return *this;
  }
  const std::string& Str() const { return bytes_; }

 private:
  std::string bytes_;
};

inline std::string RecordBytes(const TVxCameraDistortion& d) {
  TBytes b;
  b.Add(d.type).Add(d.direction).Add(d.mixed).Add(d.polyK).Add(d.polyP);
  b.Add(d.tableR).Add(d.table4Plus).Add(d.table4X).Add(d.symmetryPoint);
  for (double v : {d.k1, d.k2, d.k3, d.k4, d.k5, d.p1, d.p2, d.p3, d.p4, d.b1, d.b2, d.a1, d.a2}) {
    b.Add(v);
  }
  return b.Str();
}

inline std::string RecordBytes(const TVxCameraInfo& c) {
  TBytes b;
  b.Add(c.name).Add(c.calibrationDate).Add(c.description).Add(c.fiducialTemplateId);
  b.Add(c.cameraType).Add(RecordBytes(c.distortion)).Add(c.focus).Add(c.principalPoint);
  b.Add(c.pixelSize).Add(c.lengthX).Add(c.lengthY).Add(c.sensorDims).Add(c.fiducials.size());
  // Field by field: the padding between them holds no value.
  for (const auto& f : c.fiducials) b.Add(f.index).Add(f.coordsCam).Add(f.templateIndex);
  b.Add(c.digitalCameraOrigin);
  return b.Str();
}

inline std::string RecordBytes(const TCameraMarkTemplates& t) {
  TBytes b;
  b.Add(t.templatePixelSize).Add(t.defaultScanSize).Add(t.templates.size());
  for (const auto& m : t.templates) {
    b.Add(m.index).Add(m.coordsCam).Add(m.fileName).Add(m.halfSizeReduced).Add(m.minCorrHalfSize);
  }
  return b.Str();
}

inline std::string RecordBytes(const TVxIntOrMeas& m) {
  TBytes b;
  b.Add(m.cameraType).Add(m.marks.size());
  for (const auto& mark : m.marks) b.Add(mark.index).Add(mark.coordsPix).Add(mark.residualsPix);
  b.Add(m.scanResolution).Add(m.resolutionUnits);
  b.Add(m.rotation).Add(m.transformType);
  return b.Str();
}

inline std::string RecordBytes(const TVxPixToCamMap& map) {
  TBytes b;
  for (const double v : map.matrix) b.Add(v);
  b.Add(map.pixelYAxis).Add(map.minimisedIn);
  return b.Str();
}

}  // namespace vx_test
