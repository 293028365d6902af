// The C++ side of the Python tests' bit-for-bit comparisons: maps points read from standard
// input through the camera's transform with the library's batch call and writes the results as
// hexadecimal floats, which carry every bit of a double through text.
//
//   vx_py_reference CAMERA.yaml cam_to_mm|mm_to_cam < points
//
// Input: one point a line, "x y" in any form strtod reads (the tests write hex floats). Output:
// one line "x y" a point in %a, then "nan N" with the number of NaN results.

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <string>
#include <vector>

#include "VxCameraMath.h"
#include "VxXIni.h"

namespace {

std::vector<vec_t_<double, 2>> ReadPoints() {
  std::vector<vec_t_<double, 2>> points;
  char line[256];
  while (std::fgets(line, sizeof line, stdin) != nullptr) {
    char* end = nullptr;
    const double x = std::strtod(line, &end);
    const double y = std::strtod(end, nullptr);
    points.push_back({x, y});
  }
  return points;
}

TransformHandle TransformOf(const std::string& cameraPath, const std::string& direction) {
  const auto reader = TVxXIniReader::FromFile(cameraPath);
  TVxCameraInfo camera;
  XIniLoadE(reader.get(), camera);
  return direction == "mm_to_cam" ? CreateMmToCamTransform(camera) : CreateCamToMmTransform(camera);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: vx_py_reference CAMERA cam_to_mm|mm_to_cam < points\n");
    return 2;
  }
  try {
    const TransformHandle transform = TransformOf(argv[1], argv[2]);
    std::vector<vec_t_<double, 2>> points = ReadPoints();
    const std::size_t nanCount =
        transform->TransformPoints(points.data(), points.data(), points.size());
    for (const vec_t_<double, 2>& p : points) std::printf("%a %a\n", p.x, p.y);
    std::printf("nan %zu\n", nanCount);
  } catch (const std::exception& e) {
    std::fprintf(stderr, "vx_py_reference: %s\n", e.what());
    return 3;
  }
  return 0;
}
