#include "VxCamPlot.h"

#include <algorithm>
#include <cmath>
#include <sstream>
#include <vector>

#include "VxCamApp.h"
#include "VxCamFormat.h"
#include "VxCamText.h"
#include "VxCameraMath.h"

namespace vxcam {

TImageFormat ImageFormatOf(const TVxCameraInfo& camera) {
  TImageFormat format;
  double halfX = 0.0;
  double halfY = 0.0;
  switch (camera.cameraType) {
    case TCameraType::Fiducials:
      for (const auto& mark : camera.fiducials) {
        halfX = std::max(halfX, std::abs(mark.coordsCam.x));
        halfY = std::max(halfY, std::abs(mark.coordsCam.y));
      }
      break;
    case TCameraType::Digital:
      halfX = static_cast<double>(camera.sensorDims.x) * camera.pixelSize.x / 2.0;
      halfY = static_cast<double>(camera.sensorDims.y) * camera.pixelSize.y / 2.0;
      break;
    case TCameraType::CalibratedCross:
      halfX = camera.lengthX / 2.0;
      halfY = camera.lengthY / 2.0;
      break;
    default:
      break;
  }
  if (std::isfinite(halfX) && std::isfinite(halfY) && halfX > 0.0 && halfY > 0.0) {
    format.halfX = halfX;
    format.halfY = halfY;
  }
  return format;
}

namespace {

// Layout of the picture in SVG pixels.
constexpr double kWidth = 1120.0;
constexpr double kHeight = 590.0;
constexpr double kCurveLeft = 90.0, kCurveRight = 520.0, kCurveTop = 80.0, kCurveBottom = 470.0;
constexpr double kFieldLeft = 600.0, kFieldRight = 1080.0, kFieldTop = 80.0, kFieldBottom = 470.0;
// Samples of the curve: radii from 0 to the format's corner, directions k pi / 8.
constexpr int kCurveSamples = 120;
constexpr int kCurveDirections = 16;
// Arrows of the field: at the centres of a grid of this many cells along each side of the format.
constexpr int kFieldGrid = 11;
// The longest arrow takes this share of a grid step.
constexpr double kLongestArrow = 0.8;

using TPoint = vec_t_<double, 2>;
constexpr double kPi = 3.14159265358979323846;

std::string Escape(const std::string& text) {
  std::string escaped;
  for (char c : text) {
    switch (c) {
      case '&':
        escaped += "&amp;";
        break;
      case '<':
        escaped += "&lt;";
        break;
      case '>':
        escaped += "&gt;";
        break;
      case '"':
        escaped += "&quot;";
        break;
      default:
        escaped += c;
    }
  }
  return escaped;
}

// A coordinate of the drawing. A distortion whose values reach beyond the range of numbers would
// put "nan" or "inf" into the SVG, which no viewer draws: it is refused instead.
std::string Px(double value) {
  if (!std::isfinite(value)) throw TContentError(Text("vxcam.error.not_drawable"));
  return FormatFixed(value, 1);
}

// 1, 2 or 5 times a power of ten, so that `range` holds about `count` steps.
double NiceStep(double range, int count) {
  const double raw = range / count;
  const double power = std::pow(10.0, std::floor(std::log10(raw)));
  for (double m : {1.0, 2.0, 5.0})
    if (raw <= m * power) return m * power;
  return 10.0 * power;
}

// The largest 1, 2 or 5 times a power of ten not above `value`.
double NiceBelow(double value) {
  const double power = std::pow(10.0, std::floor(std::log10(value)));
  for (double m : {5.0, 2.0})
    if (m * power <= value) return m * power;
  return power;
}

class TSvg {
 public:
  void Line(double x1, double y1, double x2, double y2, const char* style) {
    out_ << "<line x1=\"" << Px(x1) << "\" y1=\"" << Px(y1) << "\" x2=\"" << Px(x2) << "\" y2=\""
         << Px(y2) << "\" " << style << "/>\n";
  }
  void Text(double x, double y, const std::string& text, const char* style) {
    out_ << "<text x=\"" << Px(x) << "\" y=\"" << Px(y) << "\" " << style << ">" << Escape(text)
         << "</text>\n";
  }
  void Raw(const std::string& text) { out_ << text; }
  // An arrow from (x1, y1) to (x2, y2) with a head of fixed size.
  void Arrow(double x1, double y1, double x2, double y2, const char* colour) {
    const double length = std::hypot(x2 - x1, y2 - y1);
    out_ << "<line x1=\"" << Px(x1) << "\" y1=\"" << Px(y1) << "\" x2=\"" << Px(x2) << "\" y2=\""
         << Px(y2) << "\" stroke=\"" << colour << "\" stroke-width=\"1.5\"/>\n";
    if (length < 3.0) return;
    const double ux = (x2 - x1) / length, uy = (y2 - y1) / length;
    const double head = std::min(7.0, length / 2.0);
    const double bx = x2 - ux * head, by = y2 - uy * head;
    out_ << "<polygon points=\"" << Px(x2) << ',' << Px(y2) << ' ' << Px(bx - uy * head / 2.5)
         << ',' << Px(by + ux * head / 2.5) << ' ' << Px(bx + uy * head / 2.5) << ','
         << Px(by - ux * head / 2.5) << "\" fill=\"" << colour << "\"/>\n";
  }
  std::string Finish() { return out_.str() + "</svg>\n"; }

 private:
  std::ostringstream out_;
};

const char* const kAxis = "stroke=\"#000\" stroke-width=\"1\"";
const char* const kGridLine = "stroke=\"#ddd\" stroke-width=\"1\"";
const char* const kSmall = "font-size=\"12\" fill=\"#333\"";
const char* const kSmallMiddle = "font-size=\"12\" fill=\"#333\" text-anchor=\"middle\"";
const char* const kSmallEnd = "font-size=\"12\" fill=\"#333\" text-anchor=\"end\"";
const char* const kDistortionColour = "#c0392b";
const char* const kResidualColour = "#1e8449";
const char* const kLargeResidualColour = "#d35400";
const char* const kHeading = "font-size=\"15\" font-weight=\"bold\" fill=\"#000\"";

// The mean radial displacement (mm) at the radii 0 .. rMax.
std::vector<TPoint> RadialCurve(const TVxCameraInfo& camera, double rMax) {
  const TransformHandle distortion =
      CreateCameraDistortionTransform(camera.distortion, {0.0, 0.0}, camera.focus);
  std::vector<TPoint> curve;
  for (int i = 0; i <= kCurveSamples; ++i) {
    const double r = rMax * i / kCurveSamples;
    double sum = 0.0;
    for (int k = 0; k < kCurveDirections && r > 0.0 && distortion; ++k) {
      const double angle = 2.0 * kPi * k / kCurveDirections;
      const TPoint p{r * std::cos(angle), r * std::sin(angle)};
      const TPoint q = distortion->TransformPoint(p);
      sum += ((q.x - p.x) * p.x + (q.y - p.y) * p.y) / r;
    }
    curve.push_back({r, sum / kCurveDirections});
  }
  return curve;
}

void DrawCurve(TSvg& svg, const std::vector<TPoint>& curve) {
  const double rMax = curve.back().x;
  double low = 0.0, high = 0.0;
  for (const TPoint& p : curve) {
    if (!std::isfinite(p.y)) continue;
    low = std::min(low, p.y * 1000.0);
    high = std::max(high, p.y * 1000.0);
  }
  if (high - low < 1e-9) {
    low = -1.0;
    high = 1.0;
  }
  const double yStep = NiceStep(high - low, 6);
  low = std::floor(low / yStep) * yStep;
  high = std::ceil(high / yStep) * yStep;
  const double xStep = NiceStep(rMax, 6);
  const auto X = [&](double r) { return kCurveLeft + (kCurveRight - kCurveLeft) * r / rMax; };
  const auto Y = [&](double um) {
    return kCurveBottom - (kCurveBottom - kCurveTop) * (um - low) / (high - low);
  };
  for (double v = low; v <= high + yStep / 2; v += yStep) {
    svg.Line(kCurveLeft, Y(v), kCurveRight, Y(v), std::abs(v) < yStep / 2 ? kAxis : kGridLine);
    svg.Text(kCurveLeft - 6, Y(v) + 4, FormatNumber(std::abs(v) < yStep / 2 ? 0.0 : v, 4),
             kSmallEnd);
  }
  for (double r = 0.0; r <= rMax + 1e-9; r += xStep) {
    svg.Line(X(r), kCurveTop, X(r), kCurveBottom, kGridLine);
    svg.Text(X(r), kCurveBottom + 16, FormatNumber(r, 4), kSmallMiddle);
  }
  svg.Line(kCurveLeft, kCurveTop, kCurveLeft, kCurveBottom, kAxis);
  svg.Line(kCurveLeft, kCurveBottom, kCurveRight, kCurveBottom, kAxis);
  std::string path;
  for (const TPoint& p : curve) {
    if (!std::isfinite(p.y)) continue;
    path += (path.empty() ? "M" : " L") + Px(X(p.x)) + ' ' + Px(Y(p.y * 1000.0));
  }
  svg.Raw("<path d=\"" + path + "\" fill=\"none\" stroke=\"#c0392b\" stroke-width=\"2\"/>\n");
  svg.Text(kCurveLeft, kCurveTop - 12, Text("vxcam.plot.curve_title"), kHeading);
  svg.Text((kCurveLeft + kCurveRight) / 2, kCurveBottom + 36,
           "r [" + UnitsCamMmUserTextAbbr() + "]", kSmallMiddle);
  svg.Raw("<text transform=\"translate(30 " + Px((kCurveTop + kCurveBottom) / 2) +
          ") rotate(-90)\" " + kSmallMiddle + ">dr [" + Escape(UnitsCamMkmUserTextAbbr()) +
          "]</text>\n");
}

struct TFieldFrame {
  double scale;  // SVG pixels per mm of the format
  double cx, cy;
  double X(double x) const { return cx + x * scale; }
  double Y(double y) const { return cy - y * scale; }  // y up in the camera, down in SVG
};

void DrawMarks(TSvg& svg, const TVxCameraInfo& camera, const TFieldFrame& f) {
  const char* const mark = "stroke=\"#1f4e9c\" stroke-width=\"2\"";
  if (camera.cameraType == TCameraType::Fiducials) {
    for (const auto& fiducial : camera.fiducials) {
      const double x = f.X(fiducial.coordsCam.x), y = f.Y(fiducial.coordsCam.y);
      svg.Line(x - 7, y, x + 7, y, mark);
      svg.Line(x, y - 7, x, y + 7, mark);
      svg.Text(x + 9, y - 7, std::to_string(fiducial.index), "font-size=\"13\" fill=\"#1f4e9c\"");
    }
  }
  svg.Raw("<circle cx=\"" + Px(f.X(camera.principalPoint.x)) + "\" cy=\"" +
          Px(f.Y(camera.principalPoint.y)) + "\" r=\"4\" fill=\"none\" stroke=\"#1f4e9c\"/>\n");
}

// The scale arrow of a set of arrows under the field, `row` lines below it: a round length with
// its label, then the largest length.
void DrawScaleArrow(TSvg& svg, int row, double longestUm, double pxPerUm, const char* colour,
                    const std::string& label) {
  const double reference = NiceBelow(longestUm);
  const double y = kFieldBottom + 30 + 20 * row;
  const std::string um = UnitsCamMkmUserTextAbbr();
  svg.Arrow(kFieldLeft, y, kFieldLeft + reference * pxPerUm, y, colour);
  svg.Text(kFieldLeft + reference * pxPerUm + 10, y + 4,
           label + FormatNumber(reference, 3) + " " + um + "  (" + Text("vxcam.plot.largest") +
               " " + FormatNumber(longestUm, 3) + " " + um + ")",
           kSmall);
}

void DrawDistortionArrows(TSvg& svg, const TVxCameraInfo& camera, const TImageFormat& format,
                          const TFieldFrame& f, double step) {
  const TransformHandle camToMm = CreateCamToMmTransform(camera);
  std::vector<TPoint> grid, moved;
  for (int i = 0; i < kFieldGrid; ++i)
    for (int j = 0; j < kFieldGrid; ++j)
      grid.push_back({format.halfX * ((2.0 * i + 1.0) / kFieldGrid - 1.0),
                      format.halfY * ((2.0 * j + 1.0) / kFieldGrid - 1.0)});
  moved.resize(grid.size());
  camToMm->TransformPoints(grid.data(), moved.data(), grid.size());
  double longest = 0.0;
  for (std::size_t i = 0; i < grid.size(); ++i) {
    moved[i] = moved[i] - (grid[i] - camera.principalPoint);  // the displacement, mm
    if (!IsNaNPoint(moved[i])) longest = std::max(longest, moved[i].Length());
  }
  if (longest <= 0.0) {
    svg.Text((kFieldLeft + kFieldRight) / 2, kFieldBottom + 34, Text("vxcam.plot.no_distortion"),
             kSmallMiddle);
    return;
  }
  const double pxPerMm = kLongestArrow * step / longest;
  for (std::size_t i = 0; i < grid.size(); ++i) {
    if (IsNaNPoint(moved[i])) continue;
    const double x = f.X(grid[i].x), y = f.Y(grid[i].y);
    svg.Arrow(x, y, x + moved[i].x * pxPerMm, y - moved[i].y * pxPerMm, kDistortionColour);
  }
  DrawScaleArrow(svg, 0, longest * 1000.0, pxPerMm / 1000.0, "#000", "");
}

// The residuals of a solved scan as arrows at the calibrated marks, along the camera axes, on a
// scale of their own.
void DrawResidualArrows(TSvg& svg, const TSolvedScan& scan, const TFieldFrame& f, double step) {
  const TVxIntOrSolution& solution = scan.solution;
  if (solution.residuals.empty() || solution.redundancy <= 0) {
    svg.Text(kFieldLeft, kFieldBottom + 54, Text("vxcam.plot.no_residuals"), kSmall);
    return;
  }
  const double longest = std::max(solution.largestUm, 1e-3);  // a micrometre's thousandth at least
  const double pxPerUm = kLongestArrow * step / longest;
  for (const TVxIntOrMarkResidual& r : solution.residuals) {
    const TPoint measured = solution.pixToCam->TransformPoint(r.coordsPix);
    const TPoint mark = measured + r.residualUm * 1e-3;
    const double x = f.X(mark.x), y = f.Y(mark.y);
    svg.Arrow(x, y, x + r.residualUm.x * pxPerUm, y - r.residualUm.y * pxPerUm,
              r.aboveLimit ? kLargeResidualColour : kResidualColour);
  }
  DrawScaleArrow(svg, 1, longest, pxPerUm, kResidualColour, Text("vxcam.plot.residuals") + ": ");
}

void DrawField(TSvg& svg, const TVxCameraInfo& camera, const TImageFormat& format,
               const TSolvedScan* scan) {
  // Half a cell of room around the format for the arrows of its outer cells.
  const double room = 1.0 + 1.0 / kFieldGrid;
  const double scale = std::min((kFieldRight - kFieldLeft) / (2 * format.halfX * room),
                                (kFieldBottom - kFieldTop) / (2 * format.halfY * room));
  const TFieldFrame f{scale, (kFieldLeft + kFieldRight) / 2, (kFieldTop + kFieldBottom) / 2};
  svg.Raw("<rect x=\"" + Px(f.X(-format.halfX)) + "\" y=\"" + Px(f.Y(format.halfY)) +
          "\" width=\"" + Px(2 * format.halfX * scale) + "\" height=\"" +
          Px(2 * format.halfY * scale) + "\" fill=\"#fafafa\" stroke=\"#888\"/>\n");
  svg.Text(kFieldLeft, kFieldTop - 12, Text("vxcam.plot.field_title"), kHeading);
  DrawMarks(svg, camera, f);
  const double step = std::min(format.halfX, format.halfY) * 2.0 / kFieldGrid * scale;
  DrawDistortionArrows(svg, camera, format, f, step);
  if (scan != nullptr) DrawResidualArrows(svg, *scan, f, step);
}

}  // namespace

std::string PlotCameraSvg(const TVxCameraInfo& camera, const TSolvedScan* scan) {
  const TImageFormat format = ImageFormatOf(camera);
  TSvg svg;
  svg.Raw(
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<svg xmlns=\"http://www.w3.org/2000/svg\" "
      "width=\"" +
      Px(kWidth) + "\" height=\"" + Px(kHeight) + "\" viewBox=\"0 0 " + Px(kWidth) + ' ' +
      Px(kHeight) + "\" font-family=\"DejaVu Sans, Arial, sans-serif\">\n" +
      "<rect width=\"100%\" height=\"100%\" fill=\"#fff\"/>\n");
  svg.Text(20, 30, camera.name + " — " + DistortionTypeToUserText(camera.distortion.type),
           "font-size=\"18\" font-weight=\"bold\" fill=\"#000\"");
  DrawCurve(svg, RadialCurve(camera, std::hypot(format.halfX, format.halfY)));
  DrawField(svg, camera, format, scan);
  svg.Text(20, kHeight - 14,
           Text("vxcam.plot.footer") + " " + FormatNumber(2 * format.halfX, 5) + " x " +
               FormatNumber(2 * format.halfY, 5) + " " + UnitsCamMmUserTextAbbr(),
           kSmall);
  return svg.Finish();
}

}  // namespace vxcam
