#pragma once
// What each format provides to the import and export of Exchange.cpp: a reader into the neutral
// pixel camera, the list of numbers it writes for one, and a writer of those numbers.

#include <functional>
#include <string>
#include <vector>

#include "PixelCamera.h"
#include "VxExchange.h"

namespace vx_exchange {

// One number a format writes: its name, its value, how it goes back into a pixel camera (the
// setters run in list order, so a number may build on those before it), and the text chosen
// for it (the fewest digits that import back to the same camera).
struct TParam {
  std::string name;
  double value = 0.0;
  std::function<void(TPixelCamera&, double)> set;
  std::string text;
};

struct TFormatIo {
  using TRead =
      std::function<TPixelCamera(const std::string& content, const TVxExchangeOptions& options)>;
  using TParams = std::function<std::vector<TParam>(const TPixelCamera& c, std::string* model)>;
  using TWrite = std::function<std::string(const std::vector<TParam>& params, const TPixelCamera& c,
                                           const TVxExchangeOptions& options)>;
  // Reads a pixel camera; throws TVxExchangeError naming options.path, key and value.
  TRead read;
  // The numbers the format writes for a Brown-Conrady pixel camera, and its model's name.
  TParams params;
  // The file of those numbers (their texts) for a camera of that size and name.
  TWrite write;
  bool holdsProfile = false;  // k4, p3, p4 (Metashape)
};

TFormatIo OpenCvYamlIo();
TFormatIo OpenCvXmlIo();
TFormatIo RosIo();
TFormatIo ColmapTextIo();
TFormatIo ColmapBinaryIo();
TFormatIo MetashapeIo();

// The text of a parameter by name (programmer error when missing).
const std::string& TextOf(const std::vector<TParam>& params, const std::string& name);

}  // namespace vx_exchange
