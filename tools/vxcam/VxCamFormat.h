#pragma once
// The one place where the tool turns records into text for people and into JSON for programs.
// Numbers are written with a decimal point whatever the locale; labels are resource texts.

#include <iosfwd>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "VxCameraInfo.h"
#include "VxVec.h"

namespace vxcam {

// Shortest of %g with `digits` significant digits ("153.228", "-7.874393e-08").
std::string FormatNumber(double value, int digits = 7);
// Fixed point with `decimals` decimals, 0 to 64 ("-105.993000"); a value that rounds to zero has
// no sign.
std::string FormatFixed(double value, int decimals);
// FormatFixed's text appended to `out`, without a string of its own.
void AppendFixed(std::string& out, double value, int decimals);
// The shortest text that reads back as exactly `value` ("0.0125", "-2.6e-05"); 0 for -0 too.
std::string FormatExact(double value);
// "x = 0 mm, y = 0.007 mm" in the units given.
std::string FormatPoint(const vec_t_<double, 2>& p, const std::string& unit);

// Characters as a terminal shows them: UTF-8 code points, not bytes.
std::size_t DisplayWidth(const std::string& text);

// One line of a report: `label: value`, indented by `indent` steps of two spaces. A row without
// label is written as its value alone; a row without value as its label alone (a heading).
struct TRow {
  int indent = 0;
  std::string label;
  std::string value;
};
using TRows = std::vector<TRow>;
// Writes the rows with the values of each indentation level in one column.
void WriteRows(std::ostream& out, const TRows& rows);

// The cells right-aligned in columns of `width` characters (at least one space between).
std::string Columns(const std::vector<std::string>& cells, std::size_t width);

// A coefficient of a distortion model as a calibration report names it, with its unit ("" for
// dimensionless ones).
struct TCoefficient {
  std::string name;
  double value;
  std::string unit;
};
// The coefficients of the model in force, in the model's order; empty for None and tables.
std::vector<TCoefficient> CoefficientsWithUnits(const TVxCameraDistortion& distortion);

// The distortion as rows: model, sense, symmetry point, the coefficients that are not zero (and
// a line saying the others are), or the table in micrometres.
TRows DescribeDistortion(const TVxCameraDistortion& distortion, int indent);
// The whole camera as rows: name, date, description, marks, focal length, principal point,
// distortion.
TRows DescribeCamera(const TVxCameraInfo& camera);

// The same for programs: file texts for enumerations, millimetres as stored.
nlohmann::ordered_json DistortionToJson(const TVxCameraDistortion& distortion);
nlohmann::ordered_json CameraToJson(const TVxCameraInfo& camera);
nlohmann::ordered_json PointToJson(const vec_t_<double, 2>& p);
// Writes JSON indented by two spaces, with a final line end.
void WriteJson(std::ostream& out, const nlohmann::ordered_json& value);

}  // namespace vxcam
