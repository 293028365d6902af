// OpenCV FileStorage XML: the root opencv_storage with image_width, image_height and the
// matrices camera_matrix and distortion_coefficients (type_id="opencv-matrix": rows, cols, dt,
// and data as numbers separated by white space), under the same names as in the YAML form.
#include <initializer_list>
#include <sstream>

#include "ExchangeText.h"
#include "OpenCvModel.h"
#include "XmlFiles.h"

namespace vx_exchange {
namespace {

pugi::xml_node FindChildE(const pugi::xml_node& root, std::initializer_list<const char*> names,
                          const std::string& path, std::string* found) {
  for (const char* name : names) {
    if (const pugi::xml_node node = root.child(name)) {
      *found = name;
      return node;
    }
  }
  Fail(path, *names.begin(), "missing key");
}

// `path` is the file with the matrix element's line and column.
TMatrix MatrixE(const pugi::xml_node& node, const std::string& path, const std::string& key) {
  TMatrix m;
  m.where = path;
  const std::string rows = ChildText(node, "rows"), cols = ChildText(node, "cols");
  if (rows.empty()) Fail(path, key + ".rows", "missing key");
  if (cols.empty()) Fail(path, key + ".cols", "missing key");
  m.rows = ParseCountE(rows, path, key + ".rows");
  m.cols = ParseCountE(cols, path, key + ".cols");
  if (!node.child("data")) Fail(path, key + ".data", "missing key");
  std::istringstream data(node.child("data").text().get());
  std::string word;
  while (data >> word)
    m.data.push_back(
        ParseNumberE(word, path, key + ".data[" + std::to_string(m.data.size()) + "]"));
  if (m.data.size() != m.rows * m.cols)
    Fail(path, key + ".data",
         std::to_string(m.rows) + " x " + std::to_string(m.cols) + " values expected, found " +
             std::to_string(m.data.size()));
  return m;
}

TPixelCamera Read(const std::string& content, const TVxExchangeOptions& options) {
  const std::string& path = options.path;
  pugi::xml_document document;
  LoadXmlE(&document, content, path);
  const pugi::xml_node root = document.child("opencv_storage");
  if (!root) Fail(path, "opencv_storage", "missing root element");
  std::string kKey, dKey, wKey, hKey;
  const pugi::xml_node k =
      FindChildE(root, {"camera_matrix", "Camera_Matrix", "cameraMatrix", "K"}, path, &kKey);
  const pugi::xml_node d = FindChildE(
      root,
      {"distortion_coefficients", "Distortion_Coefficients", "dist_coeffs", "distCoeffs", "D"},
      path, &dKey);
  FindChildE(root, {"image_width", "image_Width"}, path, &wKey);
  FindChildE(root, {"image_height", "image_Height"}, path, &hKey);
  TPixelCamera c = OpenCvCamera(MatrixE(k, XmlWhere(content, path, k), kKey),
                                MatrixE(d, XmlWhere(content, path, d), dKey), kKey, dKey);
  c.width = ParseCountE(ChildText(root, wKey.c_str()),
                        XmlWhere(content, path, root.child(wKey.c_str())), wKey);
  c.height = ParseCountE(ChildText(root, hKey.c_str()),
                         XmlWhere(content, path, root.child(hKey.c_str())), hKey);
  return c;
}

void AddMatrix(pugi::xml_node root, const char* key, std::size_t rows, std::size_t cols,
               const std::vector<std::string>& data) {
  pugi::xml_node m = root.append_child(key);
  m.append_attribute("type_id") = "opencv-matrix";
  m.append_child("rows").text() = std::to_string(rows).c_str();
  m.append_child("cols").text() = std::to_string(cols).c_str();
  m.append_child("dt").text() = "d";
  std::string text;
  for (const std::string& value : data) text += (text.empty() ? "" : " ") + value;
  m.append_child("data").text() = text.c_str();
}

std::string Write(const std::vector<TParam>& params, const TPixelCamera& c,
                  const TVxExchangeOptions&) {
  pugi::xml_document document;
  pugi::xml_node declaration = document.append_child(pugi::node_declaration);
  declaration.append_attribute("version") = "1.0";
  pugi::xml_node root = document.append_child("opencv_storage");
  root.append_child("image_width").text() = std::to_string(c.width).c_str();
  root.append_child("image_height").text() = std::to_string(c.height).c_str();
  AddMatrix(root, "camera_matrix", 3, 3, CameraMatrixTexts(params));
  AddMatrix(root, "distortion_coefficients", 5, 1, DistortionTexts(params));
  return SaveXml(document);
}

}  // namespace

TFormatIo OpenCvXmlIo() {
  return OpenCvFormatIo(Read, Write, "5 coefficients");
}

}  // namespace vx_exchange
