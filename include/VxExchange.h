#pragma once
// Camera calibrations in and out: a camera of this library (TVxCameraInfo) imported from, and
// exported to, the calibration files of OpenCV (FileStorage YAML and XML), ROS (camera_info
// YAML), COLMAP (cameras.txt, cameras.bin) and Agisoft Metashape / PhotoScan (calibration XML).
//
// docs/interop.md states every convention once: pixel origin, the y flip between image rows
// (down) and the camera system (y up, millimetres), the scaling of pixel and normalised
// coefficients into millimetres through the pixel size, the sense of the coefficients (every
// one of these formats maps ideal to observed points: our direction MmToCam), and which
// coefficient becomes which.
//
// Exactness: a Brown-Conrady camera (radial k1..k3, Metashape's k4, decentering p1, p2,
// Metashape's p3, p4) without skew becomes the Formula model with no fit, and a Formula camera
// that such a file can hold is written with no fit; the numbers are written with the fewest
// digits that import back to the same camera. Anything else that the target can approximate
// (rational terms, skew, the tables, the mixed and polynomial models, a camera whose
// distortion runs the other sense, a symmetry point off the principal point) is fitted by
// linear least squares of the full 2-D displacement (radial and decentering terms) over the
// sensor, and the largest deviation is reported. Terms that cannot be represented at all
// (fisheye projections, thin prism, tilted sensor) are refused with a message naming them.

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>

#include "VxCameraInfo.h"
#include "VxExchange_export.h"

// The formats. Their file texts (for options and messages) are those of ExchangeFormatToText.
enum class TVxExchangeFormat : std::int32_t {
  OpenCvYaml = 0,    // "opencv-yaml": OpenCV FileStorage, YAML
  OpenCvXml = 1,     // "opencv-xml": OpenCV FileStorage, XML
  Ros = 2,           // "ros": ROS camera_info YAML
  ColmapText = 3,    // "colmap-text": COLMAP cameras.txt
  ColmapBinary = 4,  // "colmap-bin": COLMAP cameras.bin
  Metashape = 5,     // "metashape": Agisoft Metashape / PhotoScan calibration XML
};

// A file that cannot be imported or a camera that cannot be exported. The message names the
// file (for imports), the key and the value, in English (file texts are fixed English words).
class VXEXCHANGE_EXPORT TVxExchangeError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The text of a format ("opencv-yaml"), and the format of a text (nullopt when unknown).
VXEXCHANGE_EXPORT std::string ExchangeFormatToText(TVxExchangeFormat format);
VXEXCHANGE_EXPORT std::optional<TVxExchangeFormat> TextToExchangeFormat(const std::string& text);

// What an import or export needs beyond the file.
struct TVxExchangeOptions {
  // The size of a pixel along x in millimetres (> 0). Needed by every import (the formats hold
  // pixels, the camera millimetres; there is no default) and by the export of a camera that has
  // no pixels of its own (a film camera: the scan's pixel). The pixel size along y follows from
  // fx / fy. A digital camera's export uses its own pixel size; a different value here is an
  // error.
  double pixelSizeMm = 0.0;
  // A film camera's frame: the side of the square image in millimetres, centred on the camera
  // origin. 0 takes the square that holds the fiducial marks, or the calibrated cross; a camera
  // with neither needs it.
  double frameMm = 0.0;
  // COLMAP: the camera to import, by its id; nullopt takes the only camera of the file.
  std::optional<std::uint64_t> cameraId;
  // The name of the file, for messages and as the camera's name when the file has none.
  std::string path;
};

// How a camera went across.
struct TVxExchangeReport {
  bool fitted = false;          // false: an exact conversion (no least squares)
  std::string model;            // the format's model read or written ("plumb_bob", "OPENCV")
  double maxDeviationPx = 0.0;  // largest deviation of a fit, pixels (0 when exact)
  double maxDeviationMm = 0.0;  // the same in millimetres of the camera system
};

struct TVxImportResult {
  TVxCameraInfo camera;  // Digital, pixel origin Center, distortion Formula (MmToCam) or None
  TVxExchangeReport report;
};

struct TVxExportResult {
  std::string content;  // the whole file: text, or bytes for cameras.bin
  TVxExchangeReport report;
};

// The format of a file from its content (and for COLMAP binary, that it is not text): the
// %YAML:1.0 header or opencv_storage root, ROS's distortion_model, a COLMAP camera line, a
// calibration root element. Throws TVxExchangeError naming the file when none fits.
VXEXCHANGE_EXPORT TVxExchangeFormat GuessExchangeFormatE(const std::string& content,
                                                         const std::string& path);

// Imports the camera that `content` (the bytes of a file of `format`) describes. Throws
// TVxExchangeError naming options.path, the key and the value for a missing key, a matrix of
// the wrong size, a value that is not a finite number, an unknown model, a truncated binary
// file, a missing pixel size, and a term that cannot be represented.
// The deviation of a fit is the largest distance between the source's and the imported
// camera's camera-to-millimetre transforms over a 201 x 201 grid spanning the sensor from
// outer corner to outer corner.
VXEXCHANGE_EXPORT TVxImportResult ImportCameraE(const std::string& content,
                                                TVxExchangeFormat format,
                                                const TVxExchangeOptions& options);

// Exports `camera` in `format`. A camera needs a pixel size and an image size: a digital
// camera's own, or for a film camera options.pixelSizeMm and a square frame (options.frameMm,
// else the square that holds its fiducial marks or its calibrated cross). Throws TVxExchangeError
// when the camera cannot be written (no pixel size, no frame, a fit that fails). The deviation of a
// fit is measured as for ImportCameraE, between `camera` and the camera that the written file
// imports to.
VXEXCHANGE_EXPORT TVxExportResult ExportCameraE(const TVxCameraInfo& camera,
                                                TVxExchangeFormat format,
                                                const TVxExchangeOptions& options);
