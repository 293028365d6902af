#pragma once
// COLMAP's camera models: names, ids, parameters, and the pixel camera of each. COLMAP's pixel
// origin is the outer corner of the top-left pixel: its cx, cy are ours + 0.5.

#include <cstdint>
#include <string>
#include <vector>

#include "FormatIo.h"

namespace vx_exchange {

struct TColmapCamera {
  std::uint64_t id = 0;
  std::string model;  // SIMPLE_PINHOLE, PINHOLE, ...
  std::uint64_t width = 0, height = 0;
  std::vector<double> params;
};

// The number of parameters of a model name; -1 for a name COLMAP does not know. `fisheye` is
// set for the models this library cannot represent.
int ColmapParamCount(const std::string& model, bool* fisheye);
// The model of a binary model id; "" for an unknown id.
std::string ColmapModelName(std::int32_t id);
std::int32_t ColmapModelId(const std::string& model);

// The camera of a file with several: the one with options.cameraId, or the only one. Checks
// the model and its parameters and returns the pixel camera. `where` names the line or byte.
TPixelCamera ColmapPixelCamera(const std::vector<TColmapCamera>& cameras,
                               const TVxExchangeOptions& options);

// The model and numbers COLMAP writes for a Brown-Conrady pixel camera: PINHOLE without
// distortion, OPENCV without k3, else FULL_OPENCV (k4..k6 = 0).
std::vector<TParam> ColmapParams(const TPixelCamera& c, std::string* model);

}  // namespace vx_exchange
