#include <cmath>
#include <istream>
#include <locale>
#include <ostream>
#include <sstream>

#include "VxCamApp.h"
#include "VxCamFiles.h"
#include "VxCamFormat.h"
#include "VxCamText.h"
#include "VxCameraMath.h"

namespace vxcam {
namespace {

using TPoints = std::vector<vec_t_<double, 2>>;

TPoints PointsFromArguments(const std::vector<double>& coordinates) {
  if (coordinates.size() % 2 != 0) throw TUsageError(Text("vxcam.error.odd_coordinates"));
  TPoints points;
  for (std::size_t i = 0; i < coordinates.size(); i += 2)
    points.push_back({coordinates[i], coordinates[i + 1]});
  return points;
}

// One pair a line; empty lines and lines starting with '#' are skipped.
TPoints PointsFromStream(std::istream& in) {
  TPoints points;
  std::string line;
  for (int number = 1; std::getline(in, line); ++number) {
    const auto first = line.find_first_not_of(" \t\r");
    if (first == std::string::npos || line[first] == '#') continue;
    std::istringstream fields(line);
    fields.imbue(std::locale::classic());
    vec_t_<double, 2> p;
    std::string rest;
    if (!(fields >> p.x >> p.y) || (fields >> rest))
      throw TContentError("<stdin>:" + std::to_string(number) + ": " +
                          Text("vxcam.error.not_a_point") + " '" + line + "'");
    points.push_back(p);
  }
  return points;
}

nlohmann::ordered_json Coordinate(double value) {
  return std::isnan(value) ? nlohmann::ordered_json() : nlohmann::ordered_json(value);
}

// One "x y" line a point in mm with 6 decimals (nanometres), or JSON with both points.
void WritePoints(std::ostream& stream, const TPoints& in, const TPoints& out, bool json) {
  if (!json) {
    for (const auto& p : out) stream << FormatFixed(p.x, 6) << ' ' << FormatFixed(p.y, 6) << '\n';
    return;
  }
  nlohmann::ordered_json points = nlohmann::ordered_json::array();
  for (std::size_t i = 0; i < in.size(); ++i)
    points.push_back({{"camera", PointToJson(in[i])},
                      {"mm", {{"x", Coordinate(out[i].x)}, {"y", Coordinate(out[i].y)}}}});
  WriteJson(stream, {{"points", points}});
}

}  // namespace

int RunTransform(const TArgs& args, TIo& io) {
  std::string cameraPath;
  std::vector<double> coordinates;
  bool json = false;
  return RunCommand(
      "transform", "vxcam.transform.summary", args, io,
      [&](CLI::App& app) {
        AddFileArgument(app, "CAMERA", cameraPath, "vxcam.arg.camera")->required();
        app.add_option("X Y", coordinates, Text("vxcam.arg.points"));
        AddJsonFlag(app, json);
      },
      [&] {
        const TVxCameraInfo camera = LoadCamera(cameraPath);
        const TransformHandle transform =
            WithContentOf(cameraPath, [&] { return CreateCamToMmTransform(camera); });
        const TPoints in =
            coordinates.empty() ? PointsFromStream(io.in) : PointsFromArguments(coordinates);
        TPoints out(in.size());
        transform->TransformPoints(in.data(), out.data(), in.size());
        WritePoints(io.out, in, out, json);
        return kExitSuccess;
      });
}

}  // namespace vxcam
