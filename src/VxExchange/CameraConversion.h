#pragma once
// Between the neutral pixel camera and a camera of the library, and the frame of pixels that
// links them. The formulas stand in docs/interop.md.

#include <functional>

#include "PixelCamera.h"
#include "VxCameraInfo.h"
#include "VxVec.h"

namespace vx_exchange {

using TPoint = vec_t_<double, 2>;

// The pixels of a camera: size, pixel size (mm) and where the centre of the image lies in the
// camera system. Pixel (u, v), origin at the centre of the top-left pixel, rows down, is the
// camera point X = (u - (W - 1) / 2) sx + C.x, Y = -(v - (H - 1) / 2) sy + C.y.
struct TFrame {
  std::uint64_t width = 0, height = 0;
  double sx = 0.0, sy = 0.0;
  TPoint centre;
};

// The camera of a Brown-Conrady pixel camera (IsBrownConrady), exactly: Digital, pixel origin
// Center, sx given, sy = f / fy with f = fx sx, the Formula model in the sense MmToCam about the
// principal point (None when every coefficient is 0).
TVxCameraInfo ToCamera(const TPixelCamera& c, double sx);

// Whether FromCamera is exact for the camera: Formula in the sense MmToCam about the principal
// point without a1, a2, b1, b2, k5, and without k4, p3, p4 unless `profile` (Metashape holds
// them); or no distortion.
bool HoldsExactly(const TVxCameraDistortion& d, const TPoint& principalPoint, bool profile);

// The pixel camera of such a camera in `frame` (the inverse of ToCamera).
TPixelCamera FromCamera(const TVxCameraInfo& camera, const TFrame& frame);

// The frame of a camera: a digital camera's own pixels; a film camera's square frame of side
// `side` (mm), or when 0 the one holding its fiducial marks or calibrated cross, in pixels of
// sx (mm). Throws TVxExchangeError when there is none.
TFrame FrameOf(const TVxCameraInfo& camera, double sx, double side);

// `n` x `n` points spanning the frame's sensor from outer corner to outer corner, camera mm.
std::vector<TPoint> SensorGrid(const TFrame& frame, int n);

// A camera-to-millimetre map: camera point to ideal point relative to the principal point, mm.
using TCamToMm = std::function<TPoint(const TPoint&)>;

// The camera-to-millimetre map of a pixel camera taken into `frame` (any distortion terms):
// the observed pixel, then its normalised point, undistorted by Newton's method.
TCamToMm PixelCamToMm(const TPixelCamera& c, const TFrame& frame);

// The least-squares fit, over a grid on the sensor, of the Formula model in the sense MmToCam
// about the principal point to `source`: k1..k3 (and k4 with `k4`), p1, p2 (and b2 with `b2`).
// Not ApproxCameraDistortion of the system: that fits the mean radial curve in the sense
// CamToMm, where these formats need the whole 2-D displacement, decentering included, in the
// sense ideal to observed.
// Returns the record; throws TVxExchangeError when the source cannot map the grid.
TVxCameraDistortion FitFormula(const TCamToMm& source, const TVxCameraInfo& camera,
                               const TFrame& frame, bool k4, bool b2);

// The largest distance (mm) between `source` and the camera-to-millimetre transform of
// `camera` on SensorGrid(frame, 201), and the same in pixels.
std::array<double, 2> MaxDeviation(const TCamToMm& source, const TVxCameraInfo& camera,
                                   const TFrame& frame);

}  // namespace vx_exchange
