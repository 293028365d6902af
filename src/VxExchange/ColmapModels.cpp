#include "ColmapModels.h"

#include <map>

#include "ExchangeText.h"

namespace vx_exchange {
namespace {

struct TModel {
  std::int32_t id;
  int count;
  bool fisheye;
};

const std::map<std::string, TModel>& Models() {
  static const std::map<std::string, TModel> models = {{"SIMPLE_PINHOLE", {0, 3, false}},
                                                       {"PINHOLE", {1, 4, false}},
                                                       {"SIMPLE_RADIAL", {2, 4, false}},
                                                       {"RADIAL", {3, 5, false}},
                                                       {"OPENCV", {4, 8, false}},
                                                       {"OPENCV_FISHEYE", {5, 8, true}},
                                                       {"FULL_OPENCV", {6, 12, false}},
                                                       {"FOV", {7, 5, true}},
                                                       {"SIMPLE_RADIAL_FISHEYE", {8, 4, true}},
                                                       {"RADIAL_FISHEYE", {9, 5, true}},
                                                       {"THIN_PRISM_FISHEYE", {10, 12, true}}};
  return models;
}

const TColmapCamera& ChooseE(const std::vector<TColmapCamera>& cameras,
                             const TVxExchangeOptions& options) {
  if (cameras.empty()) Fail(options.path, "", "no camera in the file");
  if (!options.cameraId) {
    if (cameras.size() > 1)
      Fail(options.path, "",
           std::to_string(cameras.size()) + " cameras in the file: choose one by its id");
    return cameras.front();
  }
  for (const TColmapCamera& camera : cameras)
    if (camera.id == *options.cameraId) return camera;
  Fail(options.path, "CAMERA_ID", "no camera with id " + std::to_string(*options.cameraId));
}

}  // namespace

int ColmapParamCount(const std::string& model, bool* fisheye) {
  const auto found = Models().find(model);
  if (found == Models().end()) return -1;
  *fisheye = found->second.fisheye;
  return found->second.count;
}

std::string ColmapModelName(std::int32_t id) {
  for (const auto& [name, model] : Models())
    if (model.id == id) return name;
  return "";
}

std::int32_t ColmapModelId(const std::string& model) {
  return Models().at(model).id;
}

TPixelCamera ColmapPixelCamera(const std::vector<TColmapCamera>& cameras,
                               const TVxExchangeOptions& options) {
  const TColmapCamera& cam = ChooseE(cameras, options);
  const std::string key = "camera " + std::to_string(cam.id);
  bool fisheye = false;
  if (ColmapParamCount(cam.model, &fisheye) < 0)
    Fail(options.path, key, "unknown model '" + cam.model + "'");
  if (fisheye)
    Fail(options.path, key, "the fisheye model '" + cam.model + "' cannot be represented");
  const std::vector<double>& p = cam.params;
  TPixelCamera c;
  c.model = cam.model;
  c.width = cam.width;
  c.height = cam.height;
  const bool oneFocal =
      cam.model == "SIMPLE_PINHOLE" || cam.model == "SIMPLE_RADIAL" || cam.model == "RADIAL";
  const std::size_t at = oneFocal ? 1 : 2;  // where cx is
  c.fx = p[0];
  c.fy = oneFocal ? p[0] : p[1];
  c.cx = p[at] - 0.5;
  c.cy = p[at + 1] - 0.5;
  if (cam.model == "SIMPLE_RADIAL") c.k[0] = p[3];
  if (cam.model == "RADIAL") c.k = {p[3], p[4], 0.0, 0.0};
  if (cam.model == "OPENCV" || cam.model == "FULL_OPENCV") {
    c.k[0] = p[4];
    c.k[1] = p[5];
    c.p1 = p[6];
    c.p2 = p[7];
  }
  if (cam.model == "FULL_OPENCV") {
    c.k[2] = p[8];
    c.d = {p[9], p[10], p[11]};
  }
  if (!(c.fx > 0.0) || !(c.fy > 0.0))
    Fail(options.path, key,
         "the focal length must be greater than 0, found " + ShortestText(c.fx) + ", " +
             ShortestText(c.fy));
  if (c.width == 0 || c.height == 0) Fail(options.path, key, "an image size of 0");
  return c;
}

std::vector<TParam> ColmapParams(const TPixelCamera& c, std::string* model) {
  const bool none = c.k[0] == 0.0 && c.k[1] == 0.0 && c.k[2] == 0.0 && c.p1 == 0.0 && c.p2 == 0.0;
  *model = none ? "PINHOLE" : (c.k[2] == 0.0 ? "OPENCV" : "FULL_OPENCV");
  std::vector<TParam> params = {
      {"fx", c.fx, [](TPixelCamera& p, double v) { p.fx = v; }, {}},
      {"fy", c.fy, [](TPixelCamera& p, double v) { p.fy = v; }, {}},
      {"cx", c.cx + 0.5, [](TPixelCamera& p, double v) { p.cx = v - 0.5; }, {}},
      {"cy", c.cy + 0.5, [](TPixelCamera& p, double v) { p.cy = v - 0.5; }, {}}};
  if (none) return params;
  params.insert(params.end(), {{"k1", c.k[0], [](TPixelCamera& p, double v) { p.k[0] = v; }, {}},
                               {"k2", c.k[1], [](TPixelCamera& p, double v) { p.k[1] = v; }, {}},
                               {"p1", c.p1, [](TPixelCamera& p, double v) { p.p1 = v; }, {}},
                               {"p2", c.p2, [](TPixelCamera& p, double v) { p.p2 = v; }, {}}});
  if (*model == "FULL_OPENCV") {
    params.push_back({"k3", c.k[2], [](TPixelCamera& p, double v) { p.k[2] = v; }, {}});
    for (const char* name : {"k4", "k5", "k6"})
      params.push_back({name, 0.0, [](TPixelCamera&, double) {}, {}});
  }
  return params;
}

}  // namespace vx_exchange
