// ROS camera_info YAML as camera_calibration and camera_info_manager write it: image_width,
// image_height, camera_name, camera_matrix, distortion_model (plumb_bob: k1, k2, p1, p2, k3;
// rational_polynomial: the same and k4, k5, k6), distortion_coefficients, rectification_matrix,
// projection_matrix. The pixel conventions are OpenCV's.
#include "ExchangeText.h"
#include "OpenCvModel.h"
#include "YamlFiles.h"

namespace vx_exchange {
namespace {

// Reads the optional matrix `key` and checks its size; its values are not used: the camera is
// K and D (R and P describe a rectified stereo view).
void CheckOptionalMatrix(const YAML::Node& root, const char* key, std::size_t rows,
                         std::size_t cols, const std::string& path) {
  const YAML::Node node = root[key];
  if (!node) return;
  const TMatrix m = YamlMatrixE(node, path, key);
  if (m.rows != rows || m.cols != cols)
    Fail(m.where, key,
         std::to_string(rows) + " x " + std::to_string(cols) + " expected, found " +
             std::to_string(m.rows) + " x " + std::to_string(m.cols));
}

TPixelCamera Read(const std::string& content, const TVxExchangeOptions& options) {
  const std::string& path = options.path;
  const YAML::Node root = LoadYamlE(content, path);
  const YAML::Node model = FindKeyE(root, {"distortion_model"}, path, true, nullptr);
  const std::string name = model.IsScalar() ? model.Scalar() : std::string();
  if (name == "equidistant" || name == "fisheye")
    Fail(Where(path, model), "distortion_model",
         "the fisheye model '" + name + "' cannot be represented");
  if (name != "plumb_bob" && name != "rational_polynomial")
    Fail(Where(path, model), "distortion_model",
         "unknown model '" + name + "' (known: plumb_bob, rational_polynomial)");
  const TMatrix k =
      YamlMatrixE(FindKeyE(root, {"camera_matrix"}, path, true, nullptr), path, "camera_matrix");
  const TMatrix d = YamlMatrixE(FindKeyE(root, {"distortion_coefficients"}, path, true, nullptr),
                                path, "distortion_coefficients");
  const std::size_t n = d.data.size();
  if ((name == "plumb_bob" && n != 5 && n != 4) || (name == "rational_polynomial" && n != 8))
    Fail(d.where, "distortion_coefficients",
         name + " has " + (name == "plumb_bob" ? "5" : "8") + " coefficients, found " +
             std::to_string(n));
  CheckOptionalMatrix(root, "rectification_matrix", 3, 3, path);
  CheckOptionalMatrix(root, "projection_matrix", 3, 4, path);
  TPixelCamera c = OpenCvCamera(k, d, "camera_matrix", "distortion_coefficients");
  c.width = YamlCountE(FindKeyE(root, {"image_width"}, path, true, nullptr), path, "image_width");
  c.height =
      YamlCountE(FindKeyE(root, {"image_height"}, path, true, nullptr), path, "image_height");
  if (const YAML::Node cameraName = root["camera_name"]; cameraName && cameraName.IsScalar())
    c.name = cameraName.Scalar();
  c.model = name;
  return c;
}

std::string Matrix(const char* key, std::size_t rows, std::size_t cols,
                   const std::vector<std::string>& data) {
  return std::string(key) + ":\n  rows: " + std::to_string(rows) +
         "\n  cols: " + std::to_string(cols) + "\n  data: " + FlowList(data) + "\n";
}

// The camera's name as a YAML scalar, quoted where it must be.
std::string NameScalar(const std::string& name) {
  YAML::Emitter out;
  out << (name.empty() ? std::string("camera") : name);
  return out.c_str();
}

std::string Write(const std::vector<TParam>& params, const TPixelCamera& c,
                  const TVxExchangeOptions&) {
  const std::vector<std::string> k = CameraMatrixTexts(params);
  const std::vector<std::string> p = {k[0], k[1], k[2], "0", k[3], k[4],
                                      k[5], "0",  "0",  "0", "1",  "0"};
  return "image_width: " + std::to_string(c.width) + "\nimage_height: " + std::to_string(c.height) +
         "\ncamera_name: " + NameScalar(c.name) + "\n" + Matrix("camera_matrix", 3, 3, k) +
         "distortion_model: plumb_bob\n" +
         Matrix("distortion_coefficients", 1, 5, DistortionTexts(params)) +
         Matrix("rectification_matrix", 3, 3, {"1", "0", "0", "0", "1", "0", "0", "0", "1"}) +
         Matrix("projection_matrix", 3, 4, p);
}

}  // namespace

TFormatIo RosIo() {
  return OpenCvFormatIo(Read, Write, "plumb_bob");
}

}  // namespace vx_exchange
