// COLMAP cameras.txt: comment lines starting with '#', then one camera a line:
// CAMERA_ID MODEL WIDTH HEIGHT PARAMS...
#include <sstream>

#include "ColmapModels.h"
#include "ExchangeText.h"

namespace vx_exchange {
namespace {

TColmapCamera ParseLineE(const std::string& line, const std::string& path, int number) {
  std::istringstream words(line);
  std::vector<std::string> w;
  for (std::string word; words >> word;) w.push_back(word);
  const std::string where = "line " + std::to_string(number);
  if (w.size() < 4)
    Fail(path, where, "expected CAMERA_ID MODEL WIDTH HEIGHT PARAMS, found '" + line + "'");
  TColmapCamera camera;
  camera.id = ParseCountE(w[0], path, where + ": CAMERA_ID");
  camera.model = w[1];
  camera.width = ParseCountE(w[2], path, where + ": WIDTH");
  camera.height = ParseCountE(w[3], path, where + ": HEIGHT");
  bool fisheye = false;
  const int count = ColmapParamCount(camera.model, &fisheye);
  if (count < 0) Fail(path, where, "unknown model '" + camera.model + "'");
  if (!fisheye && w.size() != 4 + static_cast<std::size_t>(count))
    Fail(path, where,
         camera.model + " has " + std::to_string(count) + " parameters, found " +
             std::to_string(w.size() - 4));
  for (std::size_t i = 4; i < w.size(); ++i)
    camera.params.push_back(
        ParseNumberE(w[i], path, where + ": PARAMS[" + std::to_string(i - 4) + "]"));
  return camera;
}

TPixelCamera Read(const std::string& content, const TVxExchangeOptions& options) {
  std::istringstream lines(content);
  std::vector<TColmapCamera> cameras;
  int number = 0;
  for (std::string line; std::getline(lines, line);) {
    ++number;
    if (!line.empty() && line.back() == '\r') line.pop_back();
    const std::size_t first = line.find_first_not_of(" \t");
    if (first == std::string::npos || line[first] == '#') continue;
    cameras.push_back(ParseLineE(line, options.path, number));
  }
  return ColmapPixelCamera(cameras, options);
}

std::string Write(const std::vector<TParam>& params, const TPixelCamera& c,
                  const TVxExchangeOptions& options) {
  std::string model;
  ColmapParams(c, &model);
  std::string line = std::to_string(options.cameraId.value_or(1)) + " " + model + " " +
                     std::to_string(c.width) + " " + std::to_string(c.height);
  for (const TParam& p : params) line += " " + p.text;
  return "# Camera list with one line of data per camera:\n"
         "#   CAMERA_ID, MODEL, WIDTH, HEIGHT, PARAMS[]\n"
         "# Number of cameras: 1\n" +
         line + "\n";
}

}  // namespace

TFormatIo ColmapTextIo() {
  return {Read, ColmapParams, Write};
}

}  // namespace vx_exchange
