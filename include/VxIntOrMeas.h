#pragma once
// The interior orientation measurements of one image: the marks measured on it in pixels, the
// scan resolution, the rotation of the image against the camera and the transform to fit.

#include <cstdint>
#include <string>
#include <vector>

#include "VxCameraInfo.h"
#include "VxCameraUtils_export.h"
#include "VxVec.h"

class TVxXIniReader;
class TVxXIniWriter;

// Unit of a scan resolution.
enum class TResolutionUnits : std::int32_t {
  Mm = 1,   // "mm": millimetres per pixel
  Dpi = 2,  // "dpi": dots per inch
};

// Rotation of a scanned image against the camera, in degrees counter-clockwise. 0 means "not
// set" and has no file text.
enum class TCamRotate : std::int32_t {
  Rotate0 = 1,    // "0"
  Rotate90 = 2,   // "90"
  Rotate180 = 3,  // "180"
  Rotate270 = 4,  // "270"
};

// The planar transform fitted between measured and calibrated fiducial marks.
enum class TTransformType : std::int32_t {
  Similarity = 1,  // "Similarity": rotation, shift and one scale
  Affine = 2,      // "Affine"
  Projective = 3,  // "Projective"
};

// File texts, conversions as for the camera type: XToTextE throws for an unknown value (the
// context heads the message), TextToX gives 0 for an unknown text, TextToXE throws.
VXCAMERAUTILS_EXPORT std::string ResolutionUnitsToTextE(TResolutionUnits value,
                                                        const char* context);
VXCAMERAUTILS_EXPORT TResolutionUnits TextToResolutionUnits(const std::string& text);
VXCAMERAUTILS_EXPORT TResolutionUnits TextToResolutionUnitsE(const std::string& text);
VXCAMERAUTILS_EXPORT std::string CamRotateToTextE(TCamRotate value, const char* context);
VXCAMERAUTILS_EXPORT TCamRotate TextToCamRotate(const std::string& text);
VXCAMERAUTILS_EXPORT TCamRotate TextToCamRotateE(const std::string& text);
VXCAMERAUTILS_EXPORT std::string TransformTypeToTextE(TTransformType value, const char* context);
VXCAMERAUTILS_EXPORT TTransformType TextToTransformType(const std::string& text);
VXCAMERAUTILS_EXPORT TTransformType TextToTransformTypeE(const std::string& text);

// Localised names: the rotation 0 has a text of its own ("not set"); "???" outside the table.
VXCAMERAUTILS_EXPORT std::string CamRotateToUserText(TCamRotate value);
VXCAMERAUTILS_EXPORT std::string TransformTypeToUserText(TTransformType value);

// The interior orientation measurements of one image. A plain value: callers fill the fields.
class VXCAMERAUTILS_EXPORT TVxIntOrMeas {
 public:
  // One measured mark.
  struct TMarkMeas {
    // The mark's number; for a Fiducials camera the index of one of the camera's fiducials.
    std::int32_t index = 0;
    // Measured position on the image, pixels.
    vec_t_<double, 2> coordsPix;
    // Residual after the transform fit, pixels; (0, 0) when not known. Fiducials only.
    vec_t_<double, 2> residualsPix;
  };

  TCameraType cameraType = static_cast<TCameraType>(0);  // 0 = not measured
  std::vector<TMarkMeas> marks;                          // in the order added or read
  vec_t_<double, 2> scanResolution;  // x, y in `resolutionUnits`; PrincipalPoint and Cross only
  TResolutionUnits resolutionUnits = TResolutionUnits::Mm;
  TCamRotate rotation = static_cast<TCamRotate>(0);  // 0 = not set
  TTransformType transformType = TTransformType::Affine;

  // Writes the record into the writer's current section: "camera_type" (unless 0), the marks in
  // ascending index in a section "points" (PrincipalPoint to Fiducials; residuals for Fiducials
  // only), "rotation" (always; empty when not set), "scan_resolution" and "resolution_units"
  // (PrincipalPoint and Cross), "transform_type" (Fiducials). The vector of marks keeps its
  // order. Throws std::runtime_error for a written value outside its enumeration,
  // TVxXIniWriteError when the writer refuses a key.
  void SaveE(TVxXIniWriter* writer) const;
  // Reads a record from the reader's current section and replaces this one with it; on any error
  // (TVxXIniReadError) the record is unchanged. An unknown "camera_type" is type 0 and then no
  // marks are read. Residuals are read only into a record that already holds the Fiducials type.
  // The scan resolution is taken only together with a non-empty "resolution_units".
  void LoadE(TVxXIniReader* reader);

  // Whether the measurements are consistent with the camera: a measured type, the camera's
  // type, not more marks than the type has (PrincipalPoint 1, Cross and CalibratedCross 4,
  // Digital 0) and, for Fiducials, only marks the camera knows. On failure, and if `message` is
  // not null, replaces `*message` with the localised reason. Never throws for bad data.
  bool Verify(const TVxCameraInfo& camera, std::string* message) const;

  // Whether the image can be oriented: Verify, then enough marks (exactly the type's number; for
  // Fiducials at least 2 distinct camera fiducials), the rotation for PrincipalPoint and Digital,
  // a positive scan resolution with its unit for PrincipalPoint and Cross. On failure replaces
  // `*message` with the localised reason. A Fiducials record that misses some of the camera's
  // marks is ready, and `*message` then holds the warning that not all were measured; otherwise
  // a ready record leaves `*message` as it was.
  bool IntOrReady(const TVxCameraInfo& camera, std::string* message) const;
};
