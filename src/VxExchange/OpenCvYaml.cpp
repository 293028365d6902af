// OpenCV FileStorage YAML: image_width, image_height, camera_matrix and distortion_coefficients
// as !!opencv-matrix, under the names of cv::calibrateCamera's samples or the older
// Camera_Matrix, Distortion_Coefficients, image_Width, image_Height.
#include "ExchangeText.h"
#include "OpenCvModel.h"
#include "YamlFiles.h"

namespace vx_exchange {
namespace {

TPixelCamera Read(const std::string& content, const TVxExchangeOptions& options) {
  const std::string& path = options.path;
  const YAML::Node root = LoadYamlE(content, path);
  std::string kKey, dKey, wKey, hKey;
  const YAML::Node k =
      FindKeyE(root, {"camera_matrix", "Camera_Matrix", "cameraMatrix", "K"}, path, true, &kKey);
  const YAML::Node d = FindKeyE(
      root,
      {"distortion_coefficients", "Distortion_Coefficients", "dist_coeffs", "distCoeffs", "D"},
      path, true, &dKey);
  const YAML::Node w = FindKeyE(root, {"image_width", "image_Width"}, path, true, &wKey);
  const YAML::Node h = FindKeyE(root, {"image_height", "image_Height"}, path, true, &hKey);
  TPixelCamera c = OpenCvCamera(YamlMatrixE(k, path, kKey), YamlMatrixE(d, path, dKey), kKey, dKey);
  c.width = YamlCountE(w, path, wKey);
  c.height = YamlCountE(h, path, hKey);
  return c;
}

std::string Matrix(const char* key, std::size_t rows, std::size_t cols,
                   const std::vector<std::string>& data) {
  return std::string(key) + ": !!opencv-matrix\n   rows: " + std::to_string(rows) +
         "\n   cols: " + std::to_string(cols) + "\n   dt: d\n   data: " + FlowList(data) + "\n";
}

std::string Write(const std::vector<TParam>& params, const TPixelCamera& c,
                  const TVxExchangeOptions&) {
  return "%YAML:1.0\n---\nimage_width: " + std::to_string(c.width) +
         "\nimage_height: " + std::to_string(c.height) + "\n" +
         Matrix("camera_matrix", 3, 3, CameraMatrixTexts(params)) +
         Matrix("distortion_coefficients", 5, 1, DistortionTexts(params));
}

}  // namespace

TFormatIo OpenCvYamlIo() {
  return OpenCvFormatIo(Read, Write, "5 coefficients");
}

}  // namespace vx_exchange
