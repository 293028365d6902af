#include "VxCamFormat.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <map>
#include <ostream>
#include <string_view>

#include "VxCamText.h"
#include "VxDistortionModels.h"
#include "VxEOL.h"

namespace vxcam {

std::string FormatNumber(double value, int digits) {
  if (value == 0.0) return "0";  // also -0: a person does not need its sign
  char buffer[400];
  const auto result =
      std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::general, digits);
  return std::string(buffer, result.ptr);
}

std::string FormatExact(double value) {
  if (value == 0.0) return "0";
  char buffer[32];
  const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
  return std::string(buffer, result.ptr);
}

void AppendFixed(std::string& out, double value, int decimals) {
  // Room for the sign, the 309 digits of the largest double, the point and the decimals, on the
  // stack: transform formats every point it maps.
  constexpr int kMostDecimals = 64;
  char buffer[312 + kMostDecimals];
  const auto result = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed,
                                    std::clamp(decimals, 0, kMostDecimals));
  const std::string_view text(buffer, static_cast<std::size_t>(result.ptr - buffer));
  // A value that rounds to zero is shown without its sign: "0.000", not "-0.000".
  const bool negativeZero =
      text[0] == '-' && text.find_first_not_of("-0.") == std::string_view::npos;
  out.append(negativeZero ? text.substr(1) : text);
}

std::string FormatFixed(double value, int decimals) {
  std::string text;
  AppendFixed(text, value, decimals);
  return text;
}

std::string FormatPoint(const vec_t_<double, 2>& p, const std::string& unit) {
  return "x = " + FormatNumber(p.x) + " " + unit + ", y = " + FormatNumber(p.y) + " " + unit;
}

std::size_t DisplayWidth(const std::string& text) {
  return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) {
    return (static_cast<unsigned char>(c) & 0xC0u) != 0x80u;
  }));
}

namespace {

// Each line of `text` indented (carriage returns dropped, a last line end ends the last line),
// its control characters escaped; written as it is read, so a text of millions of lines costs
// no more than its own length.
void WriteTextBlock(std::ostream& out, const std::string& text, std::size_t indent) {
  std::size_t start = 0;
  while (start < text.size()) {
    std::size_t end = text.find('\n', start);
    if (end == std::string::npos) end = text.size();
    std::string line = text.substr(start, end - start);
    line.erase(std::remove(line.begin(), line.end(), '\r'), line.end());
    out << std::string(indent, ' ') << EscapeControlCharacters(line) << '\n';
    start = end + 1;
  }
}

}  // namespace

void WriteRows(std::ostream& out, const TRows& rows) {
  std::size_t column = 0;
  for (const TRow& row : rows) {
    if (row.label.empty() || row.value.empty()) continue;
    column =
        std::max(column, static_cast<std::size_t>(2 * row.indent) + DisplayWidth(row.label) + 2);
  }
  for (const TRow& row : rows) {
    const std::size_t indent = static_cast<std::size_t>(2 * row.indent);
    if (row.label.empty()) {
      WriteTextBlock(out, row.value, indent);
      continue;
    }
    out << std::string(indent, ' ');
    if (row.value.empty()) {
      out << row.label << ":\n";
    } else {
      out << row.label << ':' << std::string(column - indent - DisplayWidth(row.label), ' ')
          << row.value << '\n';
    }
  }
}

std::string Columns(const std::vector<std::string>& cells, std::size_t width) {
  std::string line;
  for (const auto& cell : cells) {
    const std::size_t shown = DisplayWidth(cell);
    line += std::string(shown < width ? width - shown : 1, ' ') + cell;
  }
  return line;
}

namespace {

std::string MmPower(int power) {
  static const char* const kSuperscripts[] = {"⁰", "¹", "²", "³", "⁴", "⁵", "⁶", "⁷", "⁸", "⁹"};
  std::string digits;
  for (int p = power; p > 0; p /= 10) digits.insert(0, kSuperscripts[p % 10]);
  return UnitsCamMmUserTextAbbr() + "⁻" + digits;
}

// Width of a column of a distortion table.
constexpr std::size_t kTableColumn = 10;

std::string Micrometres(double mm) {
  return FormatNumber(mm * 1000.0, 4);
}

// The directions of a directed table's four columns, in stored order: the axes feed dr[0..3] to
// +y, -y, -x, +x; the diagonals to 135, 315, 225 and 45 degrees.
const char* const kAxisColumns[] = {"+y", "-y", "-x", "+x"};
const char* const kDiagonalColumns[] = {"135°", "315°", "225°", "45°"};

void AddTableRows(TRows& rows, int indent,
                  const std::vector<TVxCameraDistortion::T4Direction>& table,
                  const char* headingKey, const char* const (&directions)[4]) {
  rows.push_back({indent, Text(headingKey), ""});
  const std::string um = " [" + UnitsCamMkmUserTextAbbr() + "]";
  std::vector<std::string> heading{"r [" + UnitsCamMmUserTextAbbr() + "]"};
  for (const char* direction : directions) heading.push_back(std::string(direction) + um);
  rows.push_back({indent + 1, "", Columns(heading, kTableColumn)});
  for (const auto& row : table) {
    std::vector<std::string> cells{FormatNumber(row.r)};
    for (double dr : row.dr) cells.push_back(Micrometres(dr));
    rows.push_back({indent + 1, "", Columns(cells, kTableColumn)});
  }
}

}  // namespace

std::vector<TCoefficient> CoefficientsWithUnits(const TVxCameraDistortion& distortion) {
  std::vector<TCoefficient> list;
  for (const TVxDistortionCoefficient& c : ::DistortionCoefficients(distortion))
    list.push_back({c.name, c.value, c.mmPower < 0 ? MmPower(-c.mmPower) : ""});
  return list;
}

TRows DescribeDistortion(const TVxCameraDistortion& distortion, int indent) {
  TRows rows{{indent, Text("vxcam.label.distortion"), DistortionTypeToUserText(distortion.type)}};
  if (distortion.type == TDistortionType::None) return rows;
  const std::string mm = UnitsCamMmUserTextAbbr();
  rows.push_back({indent + 1, Text("vxcam.label.sense"),
                  TVxCameraDistortion::DirectionToUserText(distortion.direction)});
  const bool tables = distortion.type == TDistortionType::Radial ||
                      distortion.type == TDistortionType::Directed4Plus ||
                      distortion.type == TDistortionType::Directed4X ||
                      distortion.type == TDistortionType::Directed8;
  if (tables) {
    rows.push_back({indent + 1, Text("vxcam.label.table_values"),
                    Text(distortion.direction == TVxCameraDistortion::TDirection::CamToMm
                             ? "vxcam.text.dr_correction"
                             : "vxcam.text.dr_distortion")});
  }
  rows.push_back(
      {indent + 1, Text("vxcam.label.symmetry_point"), FormatPoint(distortion.symmetryPoint, mm)});
  const auto coefficients = CoefficientsWithUnits(distortion);
  bool zeros = false;
  for (const auto& c : coefficients) {
    if (c.value == 0.0) {
      zeros = true;
      continue;
    }
    rows.push_back(
        {indent + 1, c.name, FormatNumber(c.value) + (c.unit.empty() ? "" : " " + c.unit)});
  }
  if (zeros) rows.push_back({indent + 1, "", Text("vxcam.text.other_coefficients_zero")});
  if (distortion.type == TDistortionType::Radial) {
    rows.push_back({indent + 1, Text("vxcam.label.table_r"), ""});
    rows.push_back(
        {indent + 2, "",
         Columns({"r [" + mm + "]", "dr [" + UnitsCamMkmUserTextAbbr() + "]"}, kTableColumn)});
    for (const auto& row : distortion.tableR)
      rows.push_back(
          {indent + 2, "", Columns({FormatNumber(row.r), Micrometres(row.dr)}, kTableColumn)});
  }
  const auto type = distortion.type;
  if (type == TDistortionType::Directed4Plus || type == TDistortionType::Directed8)
    AddTableRows(rows, indent + 1, distortion.table4Plus, "vxcam.label.table_plus", kAxisColumns);
  if (type == TDistortionType::Directed4X || type == TDistortionType::Directed8)
    AddTableRows(rows, indent + 1, distortion.table4X, "vxcam.label.table_x", kDiagonalColumns);
  return rows;
}

namespace {

// The library has no user text for the pixel origin: the tool's own, keyed by the file text.
std::string OriginToUserText(TVxCameraInfo::TDigitalCameraOrigin origin) {
  const std::string word = DigitalCameraOriginToTextE(origin, "");
  return Text(("vxcam.origin." + word).c_str());
}

void DescribeMarks(TRows& rows, const TVxCameraInfo& camera) {
  const std::string mm = UnitsCamMmUserTextAbbr();
  rows.push_back({0, Text("vxcam.label.marks"), CameraTypeToUserText(camera.cameraType)});
  switch (camera.cameraType) {
    case TCameraType::Fiducials:
      for (const auto& mark : camera.fiducials)
        rows.push_back({1, Text("vxcam.label.mark") + " " + std::to_string(mark.index),
                        FormatPoint(mark.coordsCam, mm)});
      break;
    case TCameraType::CalibratedCross:
      rows.push_back({1, Text("vxcam.label.cross_lengths"),
                      "x = " + FormatNumber(camera.lengthX) + " " + mm +
                          ", y = " + FormatNumber(camera.lengthY) + " " + mm});
      break;
    case TCameraType::Digital:
      rows.push_back({1, Text("vxcam.label.sensor"),
                      std::to_string(camera.sensorDims.x) + " x " +
                          std::to_string(camera.sensorDims.y) + " " + UnitsPixUserTextAbbr()});
      rows.push_back({1, Text("vxcam.label.pixel_size"), FormatPoint(camera.pixelSize, mm)});
      rows.push_back(
          {1, Text("vxcam.label.pixel_origin"), OriginToUserText(camera.digitalCameraOrigin)});
      break;
    default:
      break;
  }
  if (!camera.fiducialTemplateId.empty())
    rows.push_back({1, Text("vxcam.label.templates"), camera.fiducialTemplateId});
}

}  // namespace

TRows DescribeCamera(const TVxCameraInfo& camera) {
  const std::string mm = UnitsCamMmUserTextAbbr();
  TRows rows{
      {0, Text("vxcam.label.name"), EscapeControlCharacters(camera.name)},
      {0, Text("vxcam.label.calibration_date"), EscapeControlCharacters(camera.calibrationDate)}};
  if (camera.description.find_first_not_of('\r') != std::string::npos) {
    rows.push_back({0, Text("vxcam.label.description"), ""});
    rows.push_back({1, "", camera.description});
  }
  DescribeMarks(rows, camera);
  rows.push_back({0, Text("vxcam.label.focus"), FormatNumber(camera.focus) + " " + mm});
  rows.push_back({0, Text("vxcam.label.principal_point"), FormatPoint(camera.principalPoint, mm)});
  const TRows distortion = DescribeDistortion(camera.distortion, 0);
  rows.insert(rows.end(), distortion.begin(), distortion.end());
  return rows;
}

nlohmann::ordered_json PointToJson(const vec_t_<double, 2>& p) {
  return {{"x", p.x}, {"y", p.y}};
}

namespace {

nlohmann::ordered_json DirectedTableToJson(
    const std::vector<TVxCameraDistortion::T4Direction>& table) {
  nlohmann::ordered_json rows = nlohmann::ordered_json::array();
  for (const auto& row : table)
    rows.push_back({{"r", row.r}, {"dr", {row.dr[0], row.dr[1], row.dr[2], row.dr[3]}}});
  return rows;
}

}  // namespace

nlohmann::ordered_json DistortionToJson(const TVxCameraDistortion& distortion) {
  nlohmann::ordered_json json = {{"type", DistortionTypeToTextE(distortion.type, "")}};
  if (distortion.type == TDistortionType::None) return json;
  json["direction"] = TVxCameraDistortion::DirectionToTextE(distortion.direction, "");
  json["symmetry_point"] = PointToJson(distortion.symmetryPoint);
  nlohmann::ordered_json coefficients = nlohmann::ordered_json::object();
  for (const auto& c : ::DistortionCoefficients(distortion)) coefficients[c.name] = c.value;
  if (!coefficients.empty()) json["coefficients"] = coefficients;
  if (distortion.type == TDistortionType::Radial) {
    json["table_r"] = nlohmann::ordered_json::array();
    for (const auto& row : distortion.tableR)
      json["table_r"].push_back({{"r", row.r}, {"dr", row.dr}});
  }
  const auto type = distortion.type;
  if (type == TDistortionType::Directed4Plus || type == TDistortionType::Directed8)
    json["table_+"] = DirectedTableToJson(distortion.table4Plus);
  if (type == TDistortionType::Directed4X || type == TDistortionType::Directed8)
    json["table_x"] = DirectedTableToJson(distortion.table4X);
  return json;
}

nlohmann::ordered_json CameraToJson(const TVxCameraInfo& camera) {
  nlohmann::ordered_json json = {{"name", camera.name},
                                 {"calibration_date", camera.calibrationDate},
                                 // Line ends as in the file, whatever the record holds in memory.
                                 {"description", VxNormalizeEOL(camera.description, TEOLType::LF)},
                                 {"camera_type", CameraTypeToTextE(camera.cameraType, "")},
                                 {"focus", camera.focus},
                                 {"principal_point", PointToJson(camera.principalPoint)}};
  if (camera.cameraType == TCameraType::Fiducials) {
    json["fiducials"] = nlohmann::ordered_json::array();
    for (const auto& mark : camera.fiducials)
      json["fiducials"].push_back(
          {{"index", mark.index}, {"coords_cam", PointToJson(mark.coordsCam)}});
  } else if (camera.cameraType == TCameraType::CalibratedCross) {
    json["length_x"] = camera.lengthX;
    json["length_y"] = camera.lengthY;
  } else if (camera.cameraType == TCameraType::Digital) {
    json["sensor_dims"] = {{"x", camera.sensorDims.x}, {"y", camera.sensorDims.y}};
    json["pixel_size"] = PointToJson(camera.pixelSize);
    json["digital_camera_origin"] = DigitalCameraOriginToTextE(camera.digitalCameraOrigin, "");
  }
  json["distortion"] = DistortionToJson(camera.distortion);
  return json;
}

void WriteJson(std::ostream& out, const nlohmann::ordered_json& value) {
  // Invalid UTF-8 in a name becomes U+FFFD rather than an exception.
  out << value.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) << '\n';
}

}  // namespace vxcam
