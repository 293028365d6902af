#pragma once
// The interior orientation measurements of one image: the marks measured on it in pixels, the
// scan resolution, the rotation of the image against the camera and the transform to fit.

#include <cstdint>
#include <string>
#include <vector>

#include "VxCameraInfo.h"
#include "VxCameraUtils_export.h"
#include "VxVec.h"

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
