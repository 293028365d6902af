#pragma once
// The description of a survey camera: the kind of its interior orientation marks, its
// calibrated geometry and its lens distortion.
//
// Units: focus, principal point, fiducial coordinates, cross lengths and pixel size are
// millimetres of the camera system; sensor sizes are pixels; angles are radians
// counter-clockwise from the +x axis.

#include <cstdint>
#include <string>
#include <vector>

#include "VxCameraUtils_export.h"
#include "VxVec.h"

class TVxXIniReader;
class TVxXIniWriter;

// The kind of interior orientation marks a camera offers. 0 means "not set": a new record holds
// it, and it has no file text.
enum class TCameraType : std::int32_t {
  PrincipalPoint = 1,   // "PrincipalPoint": only the principal point is marked
  Cross = 2,            // "Cross"
  CalibratedCross = 3,  // "CalibratedCross": a cross whose arm lengths are calibrated
  Fiducials = 4,        // "Fiducials": fiducial marks with calibrated coordinates
  Digital = 5,          // "Digital": a digital sensor
};

// The lens distortion model in force. 0 is not a valid model.
enum class TDistortionType : std::int32_t {
  None = 1,           // "None"
  Formula = 2,        // "Formula": k1..k5, p1..p4, b1, b2, a1, a2
  Radial = 3,         // "Radial": table of radial corrections
  Directed4Plus = 4,  // "Directed4+": table along the axes
  Directed4X = 5,     // "Directed4X": table along the diagonals
  Directed8 = 6,      // "Directed8": both tables
  Mixed = 7,          // "Mixed": per-axis polynomial groups with radial and decentering terms
  Polynomial = 8,     // "Polynomial": K0..K7, P1..P4 of aerial calibration reports
};

// Two unsigned 64-bit numbers, x and y: sensor dimensions and template half sizes in pixels.
struct TVxSize2 {
  std::uint64_t x = 0;
  std::uint64_t y = 0;
};

// File text of a camera type ("Cross"). An unknown value throws std::runtime_error whose message
// starts with the context line, if the context is neither null nor empty.
VXCAMERAUTILS_EXPORT std::string CameraTypeToTextE(TCameraType value, const char* context);
// The camera type of a file text; 0 for an unknown text (exact, case-sensitive match).
VXCAMERAUTILS_EXPORT TCameraType TextToCameraType(const std::string& text);
// The camera type of a file text; an unknown text throws std::runtime_error.
VXCAMERAUTILS_EXPORT TCameraType TextToCameraTypeE(const std::string& text);

// File text of a distortion model ("Directed4+"); conversions as for the camera type.
VXCAMERAUTILS_EXPORT std::string DistortionTypeToTextE(TDistortionType value, const char* context);
VXCAMERAUTILS_EXPORT TDistortionType TextToDistortionType(const std::string& text);
VXCAMERAUTILS_EXPORT TDistortionType TextToDistortionTypeE(const std::string& text);

// Localised names for the user, in the language of the resource texts; "???" for a value
// outside the enumeration (0 included) and "" for a text the resources lack.
VXCAMERAUTILS_EXPORT std::string CameraTypeToUserText(TCameraType value);
VXCAMERAUTILS_EXPORT std::string DistortionTypeToUserText(TDistortionType value);
// Localised abbreviations of the units of camera coordinates: pixel, millimetre, micrometre.
VXCAMERAUTILS_EXPORT std::string UnitsPixUserTextAbbr();
VXCAMERAUTILS_EXPORT std::string UnitsCamMmUserTextAbbr();
VXCAMERAUTILS_EXPORT std::string UnitsCamMkmUserTextAbbr();

// The lens distortion of a camera. The record holds the parameters of every model side by side;
// `type` says which is in force, and only that model's fields are persisted.
class VXCAMERAUTILS_EXPORT TVxCameraDistortion {
 public:
  // The sense in which the stored model maps.
  enum class TDirection : std::int32_t {
    CamToMm = 0,  // "CamToMm": from camera coordinates to corrected millimetres
    MmToCam = 1,  // "MmToCam": the reverse
  };

  // One row of the radial table: at radius r (mm) the radial correction dr (mm).
  struct TRadialDistortion {
    double r = 1.0;
    double dr = 0.0;
  };

  // One row of a directed table: at radius r (mm) the corrections along four directions, in
  // index order; which four is fixed by the transform construction.
  struct T4Direction {
    double r = 1.0;
    double dr[4] = {0.0, 0.0, 0.0, 0.0};
  };

  // The coefficients of the mixed model, 26 doubles in this order. Numbered from 1 in files.
  struct TMixed {
    double a[7];  // x in-plane and higher-order terms a1..a7
    double b[7];  // y terms b1..b7
    double c[7];  // common terms c1..c7
    double K[3];  // radial K1..K3
    double P[2];  // decentering P1, P2
    // Raw-byte comparison of every coefficient: -0.0 differs from 0.0, equal NaN patterns match.
    bool operator==(const TMixed& other) const;
  };

  TDistortionType type;
  TDirection direction;
  TMixed mixed;
  double polyK[8];  // K0..K7
  double polyP[4];  // P1..P4
  std::vector<TRadialDistortion> tableR;
  std::vector<T4Direction> table4Plus;  // file section "table_+"
  std::vector<T4Direction> table4X;     // file section "table_x"
  vec_t_<double, 2> symmetryPoint;
  double k1, k2, k3, k4, k5;
  double p1, p2, p3, p4;
  double b1, b2;
  double a1, a2;

  // A None distortion with every coefficient zero and empty tables.
  TVxCameraDistortion();
  // Back to the state of a new record; the tables keep their storage.
  void Reset();

  // Exact equality of every field whatever the type: the tables and the formula block as
  // doubles (-0.0 equals 0.0, NaN equals nothing), `mixed`, `polyK` and `polyP` byte for byte.
  bool operator==(const TVxCameraDistortion& other) const;

  // Writes the model in force into the writer's current section: "type", and unless it is None
  // "direction", "symmetry_point" and the model's keys. Throws std::runtime_error for a type or
  // direction outside its enumeration, TVxXIniWriteError when the writer refuses a key.
  void SaveE(TVxXIniWriter* writer) const;
  // Reads a distortion from the reader's current section. All or nothing: on any error
  // (TVxXIniReadError for a missing or bad key, an unknown "type") the record is unchanged. A
  // stored None leaves the record as it was; reset it first to get None. An unknown or missing
  // "direction" is CamToMm.
  void LoadE(TVxXIniReader* reader);

  // File text of a direction ("MmToCam"); an unknown value throws std::runtime_error.
  static std::string DirectionToTextE(TDirection value, const char* context);
  // The direction of a file text; CamToMm for an unknown text.
  static TDirection TextToDirection(const std::string& text);
  // The direction of a file text; an unknown text throws std::runtime_error.
  static TDirection TextToDirectionE(const std::string& text);
  // Localised name of a direction; "???" outside the enumeration.
  static std::string DirectionToUserText(TDirection value);
};

// The complete description of one camera.
class VXCAMERAUTILS_EXPORT TVxCameraInfo {
 public:
  // Where the origin of the pixel coordinates of a digital camera lies.
  enum class TDigitalCameraOrigin : std::int32_t {
    Center = 0,     // "Center"
    LowerLeft = 1,  // "LowerLeft"
    UpperLeft = 2,  // "UpperLeft"
  };

  // One fiducial mark.
  struct TFiducial {
    std::int32_t index = 0;          // the mark's number as the user knows it
    vec_t_<double, 2> coordsCam;     // calibrated position, mm in the camera system
    std::int32_t templateIndex = 0;  // which template of the set `fiducialTemplateId` shows it
  };

  std::string name;
  std::string calibrationDate;
  std::string description;         // multi-line; CRLF line ends in memory
  std::string fiducialTemplateId;  // Cross, CalibratedCross, Fiducials; empty = none
  TCameraType cameraType;          // 0 = not set
  TVxCameraDistortion distortion;
  double focus;                      // calibrated focal length, mm
  vec_t_<double, 2> principalPoint;  // mm
  vec_t_<double, 2> pixelSize;       // mm per pixel along x and y (Digital)
  double lengthX;                    // calibrated cross length along x, mm (CalibratedCross)
  double lengthY;                    // calibrated cross length along y, mm (CalibratedCross)
  TVxSize2 sensorDims;               // pixels (Digital)
  std::vector<TFiducial> fiducials;  // in stored order (Fiducials)
  TDigitalCameraOrigin digitalCameraOrigin;  // Digital

  // An empty record: no type, no distortion, every number zero.
  TVxCameraInfo();
  // Back to the state of a new record; the arrays keep their storage.
  void Reset();

  // Exact equality of every field whatever the camera type; doubles compare as doubles.
  bool operator==(const TVxCameraInfo& other) const;
  bool operator!=(const TVxCameraInfo& other) const { return !(*this == other); }

  // Writes the camera into the writer's current section: "name", "calibration_date",
  // "description", "focus", "principal_point", the marks of its type in a section "int_or" and
  // the distortion in a section "distortion". Throws std::runtime_error for an unset or unknown
  // camera type (after the first five keys) or pixel origin, TVxXIniWriteError when the writer
  // refuses a key.
  void SaveE(TVxXIniWriter* writer) const;
  // Reads a complete camera from the reader's current section. All or nothing: on any error
  // (TVxXIniReadError naming the key) the record is unchanged.
  void LoadE(TVxXIniReader* reader);
  // Reads whatever the section holds, with defaults for what is missing: the record is reset,
  // made a Digital camera, and filled in place. Returns true. Errors inside a present "int_or" or
  // "distortion" section still throw, and leave the record partly loaded.
  bool Load(TVxXIniReader* reader);
};

// File text of a pixel origin ("LowerLeft"); conversions as for the camera type, except that an
// unknown text gives -1 (0 is Center).
VXCAMERAUTILS_EXPORT std::string DigitalCameraOriginToTextE(
    TVxCameraInfo::TDigitalCameraOrigin value, const char* context);
VXCAMERAUTILS_EXPORT TVxCameraInfo::TDigitalCameraOrigin TextToDigitalCameraOrigin(
    const std::string& text);
VXCAMERAUTILS_EXPORT TVxCameraInfo::TDigitalCameraOrigin TextToDigitalCameraOriginE(
    const std::string& text);

// A digital camera to fill in: type Digital and nothing else set.
VXCAMERAUTILS_EXPORT TVxCameraInfo CreateDefaultCamera();
// A ready digital camera of the DMC model: 120 mm, 7680 x 13824 pixels of 0.012 mm, principal
// point at the origin, no distortion; name and description in the language of the resources.
VXCAMERAUTILS_EXPORT TVxCameraInfo CreateDefaultDMCCamera();

// Store and load a camera like any other value of the host's settings code: they forward to
// TVxCameraInfo::SaveE and TVxCameraInfo::LoadE.
VXCAMERAUTILS_EXPORT void XIniLoadE(TVxXIniReader* reader, TVxCameraInfo& camera);
VXCAMERAUTILS_EXPORT void XIniSaveE(TVxXIniWriter* writer, const TVxCameraInfo& camera);

// The image templates of a camera's fiducial marks, for finding the marks by correlation.
class VXCAMERAUTILS_EXPORT TCameraMarkTemplates {
 public:
  struct TMarkTemplate {
    std::int32_t index = 0;             // the mark's number
    vec_t_<double, 2> coordsCam;        // the mark's position in the camera system, mm
    std::string fileName;               // the template image
    TVxSize2 halfSizeReduced;           // half size of the reduced template, pixels
    std::uint64_t minCorrHalfSize = 0;  // least half size for correlation; 0 = not set
  };

  double templatePixelSize = 0.0;     // pixel size of the template images, micrometres
  vec_t_<double, 2> defaultScanSize;  // mm
  std::vector<TMarkTemplate> templates;

  // Writes the set into the writer's current section under the keys "TemplatePixelSizeMkm",
  // "DefaultScanSizeMm" and "MarkTemplates" (elements: "TemplateIndex", "Coords_cam",
  // "FileName", "HalfSizeReduced", "MinCorrHalfSize" when not 0).
  void SaveE(TVxXIniWriter* writer) const;
  // Reads a set from the reader's current section under the lower-case keys
  // "template_pixel_size_um", "default_scan_size_mm", "mark_templates" (elements:
  // "template_index", "coords_cam", "filename", "half_size_reduced", optional
  // "min_corr_half_size"). These are not the names SaveE writes: a set written by SaveE is found
  // only by a reader that maps the names. All or nothing: on an error the set is unchanged.
  void LoadE(TVxXIniReader* reader);
};
