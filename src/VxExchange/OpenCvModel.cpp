#include "OpenCvModel.h"

#include <utility>

#include "ExchangeText.h"

namespace vx_exchange {
namespace {

void CheckCameraMatrix(const TMatrix& k, const std::string& key) {
  const std::string& path = k.where;
  if (k.rows != 3 || k.cols != 3)
    Fail(path, key,
         "a camera matrix has 3 x 3 values, found " + std::to_string(k.rows) + " x " +
             std::to_string(k.cols));
  const std::vector<double>& m = k.data;
  if (m[3] != 0.0 || m[6] != 0.0 || m[7] != 0.0 || m[8] != 1.0)
    Fail(path, key, "not a camera matrix: its lower rows must be (0, fy, cy) and (0, 0, 1)");
  if (!(m[0] > 0.0) || !(m[4] > 0.0))
    Fail(path, key,
         "the focal lengths fx, fy must be greater than 0, found " + ShortestText(m[0]) + ", " +
             ShortestText(m[4]));
}

}  // namespace

TPixelCamera OpenCvCamera(const TMatrix& k, const TMatrix& d, const std::string& kKey,
                          const std::string& dKey) {
  CheckCameraMatrix(k, kKey);
  const std::string& path = d.where;
  const std::size_t n = d.data.size();
  const bool vector = d.rows == 1 || d.cols == 1;
  if (!vector || (n != 4 && n != 5 && n != 8 && n != 12 && n != 14))
    Fail(path, dKey,
         "expected a row or column of 4, 5, 8, 12 or 14 coefficients, found " +
             std::to_string(d.rows) + " x " + std::to_string(d.cols));
  TPixelCamera c;
  c.fx = k.data[0];
  c.skew = k.data[1];
  c.cx = k.data[2];
  c.fy = k.data[4];
  c.cy = k.data[5];
  const std::vector<double>& v = d.data;
  c.k[0] = v[0];
  c.k[1] = v[1];
  c.p1 = v[2];
  c.p2 = v[3];
  if (n >= 5) c.k[2] = v[4];
  if (n >= 8) c.d = {v[5], v[6], v[7]};
  if (n >= 12) c.s = {v[8], v[9], v[10], v[11]};
  if (n == 14 && (v[12] != 0.0 || v[13] != 0.0))
    Fail(path, dKey,
         "the tilt of the sensor (tauX, tauY = " + ShortestText(v[12]) + ", " +
             ShortestText(v[13]) + ") cannot be represented");
  c.model = std::to_string(n) + " coefficients";
  return c;
}

std::vector<TParam> OpenCvParams(const TPixelCamera& c) {
  return {
      {"fx", c.fx, [](TPixelCamera& p, double v) { p.fx = v; }, {}},
      {"fy", c.fy, [](TPixelCamera& p, double v) { p.fy = v; }, {}},
      {"cx", c.cx, [](TPixelCamera& p, double v) { p.cx = v; }, {}},
      {"cy", c.cy, [](TPixelCamera& p, double v) { p.cy = v; }, {}},
      {"k1", c.k[0], [](TPixelCamera& p, double v) { p.k[0] = v; }, {}},
      {"k2", c.k[1], [](TPixelCamera& p, double v) { p.k[1] = v; }, {}},
      {"p1", c.p1, [](TPixelCamera& p, double v) { p.p1 = v; }, {}},
      {"p2", c.p2, [](TPixelCamera& p, double v) { p.p2 = v; }, {}},
      {"k3", c.k[2], [](TPixelCamera& p, double v) { p.k[2] = v; }, {}},
  };
}

std::vector<std::string> CameraMatrixTexts(const std::vector<TParam>& params) {
  return {TextOf(params, "fx"),
          "0",
          TextOf(params, "cx"),
          "0",
          TextOf(params, "fy"),
          TextOf(params, "cy"),
          "0",
          "0",
          "1"};
}

std::vector<std::string> DistortionTexts(const std::vector<TParam>& params) {
  return {TextOf(params, "k1"), TextOf(params, "k2"), TextOf(params, "p1"), TextOf(params, "p2"),
          TextOf(params, "k3")};
}

TFormatIo OpenCvFormatIo(TFormatIo::TRead read, TFormatIo::TWrite write, std::string model) {
  TFormatIo io;
  io.read = std::move(read);
  io.params = [model = std::move(model)](const TPixelCamera& c, std::string* name) {
    *name = model;
    return OpenCvParams(c);
  };
  io.write = std::move(write);
  return io;
}

}  // namespace vx_exchange
