#include <cmath>
#include <cstdint>
#include <istream>
#include <optional>
#include <ostream>
#include <streambuf>
#include <string_view>

#include "VxCamApp.h"
#include "VxCamField.h"
#include "VxCamFiles.h"
#include "VxCamFormat.h"
#include "VxCamNumbers.h"
#include "VxCamPointChain.h"
#include "VxCamSolution.h"
#include "VxCamText.h"
#include "VxCamThreads.h"
#include "VxCameraMath.h"

namespace vxcam {
namespace {

using TPoint = vec_t_<double, 2>;

// A line of standard input holds at most this many bytes: a longer one is refused as it is read,
// never held whole (a pair of numbers needs fewer than a hundred).
constexpr std::size_t kMaxLineBytes = 65536;
// Points are mapped in batches of this many, or fewer where the input pauses. A full batch is
// large enough to be cut into chunks for several threads (VxCamThreads.h).
constexpr std::size_t kBatch = 4096;

enum class TLineRead { Line, End, TooLong };

// The next line without its line end, read byte by byte from the stream's buffer.
TLineRead ReadLine(std::streambuf& in, std::string& line) {
  line.clear();
  for (;;) {
    const int c = in.sbumpc();
    if (c == std::char_traits<char>::eof()) return line.empty() ? TLineRead::End : TLineRead::Line;
    if (c == '\n') return TLineRead::Line;
    if (line.size() == kMaxLineBytes) return TLineRead::TooLong;
    line += static_cast<char>(c);
  }
}

// The whitespace-separated fields of a line.
std::vector<std::string_view> Fields(std::string_view line) {
  std::vector<std::string_view> fields;
  std::size_t at = 0;
  while (at < line.size()) {
    const std::size_t start = line.find_first_not_of(" \t\r", at);
    if (start == std::string_view::npos) break;
    const std::size_t end = std::min(line.find_first_of(" \t\r", start), line.size());
    fields.push_back(line.substr(start, end - start));
    at = end;
  }
  return fields;
}

// Writes the mapped points as they come: one "x y" line a point in mm with 6 decimals
// (nanometres), or the elements of the JSON array "points". Points that cannot be mapped (an
// inverse that did not converge, a result beyond the range of double) print as "nan nan" (null
// in JSON) so that every output line stays beside its input line, and are reported on standard
// error with where they came from; the command then ends with the invalid-content status.
// What the writer writes: the names of the input's and the output's systems in JSON, the
// decimals, the radius of the calibrated field (0: none known), and the threads that map a
// large batch (0: every core).
struct TWriterSetup {
  const char* inputKey = "camera";
  const char* outputKey = "mm";
  int decimals = 6;
  double calibratedRadius = 0.0;
  vec_t_<double, 2> symmetryPoint;
  int threads = 0;
};

// At most this many points outside the calibrated field are named one by one; the rest are
// counted in the summary at the end.
constexpr std::uint64_t kNamedOutsidePoints = 10;

class TPointWriter {
 public:
  TPointWriter(const TPointChain& chain, const TWriterSetup& setup, TIo& io, bool json)
      : chain_(chain), setup_(setup), io_(io), json_(json) {}

  // A point, where it came from, and the text after its two numbers, passed through.
  void Add(const TPoint& p, std::string where, std::string rest = std::string()) {
    in_.push_back(p);
    where_.push_back(std::move(where));
    rest_.push_back(std::move(rest));
    if (in_.size() == kBatch) Flush();
  }

  // Maps and writes what was added; the output stream is flushed, so that a reader waiting
  // for the result of a line gets it before the next line is read.
  void Flush() {
    out_.resize(in_.size());
    MapPoints(*chain_.map, in_.data(), out_.data(), in_.size(), setup_.threads);
    FindCameraPoints();
    for (std::size_t i = 0; i < in_.size(); ++i) Write(i);
    in_.clear();
    where_.clear();
    rest_.clear();
    io_.out.flush();
    // Standard output that fails (a full disk, /dev/full) stops the run here, not at the end.
    CheckOutput(io_);
  }

  // Ends the JSON document; the status of the whole run.
  int Finish() {
    Flush();
    if (json_) io_.out << (written_ == 0 ? "{\n  \"points\": []\n}\n" : "\n  ]\n}\n");
    io_.out.flush();
    if (outside_ > kNamedOutsidePoints) {
      io_.err << "vxcam transform: " << Text("vxcam.text.warning") << ": " << outside_ << ' '
              << Text("vxcam.warning.points_outside") << ' '
              << FormatNumber(setup_.calibratedRadius) << ' ' << UnitsCamMmUserTextAbbr() << '\n';
    }
    return unmapped_ == 0 ? kExitSuccess : kExitInvalidContent;
  }

 private:
  // Where the points lie in the camera system, for the calibrated field.
  void FindCameraPoints() {
    camera_.clear();
    if (!(setup_.calibratedRadius > 0.0)) return;
    if (chain_.outputIsCamera) {
      camera_ = out_;
    } else if (chain_.toCamera) {
      camera_.resize(in_.size());
      MapPoints(*chain_.toCamera, in_.data(), camera_.data(), in_.size(), setup_.threads);
    } else {
      camera_ = in_;
    }
  }

  void WarnIfOutside(std::size_t i) {
    if (camera_.empty()) return;
    const double r = (camera_[i] - setup_.symmetryPoint).Length();
    if (!(r > setup_.calibratedRadius)) return;
    if (++outside_ > kNamedOutsidePoints) return;
    const std::string mm = UnitsCamMmUserTextAbbr();
    io_.err << "vxcam transform: " << Text("vxcam.text.warning") << ": " << where_[i] << ": "
            << Text("vxcam.warning.outside_field") << " (r = " << FormatNumber(r) << ' ' << mm
            << ", " << Text("vxcam.warning.field_ends") << ' '
            << FormatNumber(setup_.calibratedRadius) << ' ' << mm << ")\n";
  }

  void Write(std::size_t i) {
    WarnIfOutside(i);
    const TPoint& q = out_[i];
    const bool mapped = std::isfinite(q.x) && std::isfinite(q.y);
    if (!mapped) {
      ++unmapped_;
      io_.err << "vxcam transform: " << Text("vxcam.error.content") << ": " << where_[i] << ": "
              << Text("vxcam.error.not_mapped") << ' ' << FormatNumber(in_[i].x, 17) << ' '
              << FormatNumber(in_[i].y, 17) << '\n';
    }
    if (!json_) {
      io_.out << (mapped
                      ? FormatFixed(q.x, setup_.decimals) + ' ' + FormatFixed(q.y, setup_.decimals)
                      : std::string("nan nan"));
      if (!rest_[i].empty()) io_.out << ' ' << rest_[i];
      io_.out << '\n';
      return;
    }
    nlohmann::ordered_json point = {
        {setup_.inputKey, PointToJson(in_[i])},
        {setup_.outputKey,
         mapped ? PointToJson(q) : nlohmann::ordered_json{{"x", nullptr}, {"y", nullptr}}}};
    if (!rest_[i].empty()) point["rest"] = rest_[i];
    io_.out << (written_ == 0 ? "{\n  \"points\": [\n" : ",\n") << Indented(point.dump(2), 4);
    ++written_;
  }

  static std::string Indented(const std::string& text, std::size_t spaces) {
    std::string out(spaces, ' ');
    for (char c : text) {
      out += c;
      if (c == '\n') out.append(spaces, ' ');
    }
    return out;
  }

  const TPointChain& chain_;
  TWriterSetup setup_;
  TIo& io_;
  bool json_;
  std::vector<TPoint> in_, out_, camera_;
  std::vector<std::string> where_, rest_;
  std::uint64_t written_ = 0;
  std::uint64_t unmapped_ = 0;
  std::uint64_t outside_ = 0;
};

void PointsFromArguments(const std::vector<double>& coordinates, TPointWriter& writer) {
  if (coordinates.size() % 2 != 0) throw TUsageError(Text("vxcam.error.odd_coordinates"));
  for (std::size_t i = 0; i < coordinates.size(); i += 2) {
    writer.Add({coordinates[i], coordinates[i + 1]},
               Text("vxcam.text.point") + ' ' + std::to_string(i / 2 + 1));
  }
}

// One pair a line; empty lines and lines starting with '#' are skipped. Each line is mapped as
// soon as no more input is waiting, so that the tool can stand in a pipeline that waits for it.
void PointsFromStream(std::istream& in, TPointWriter& writer) {
  std::streambuf& buffer = *in.rdbuf();
  std::string line;
  for (std::uint64_t number = 1;; ++number) {
    if (buffer.in_avail() <= 0) writer.Flush();
    const TLineRead read = ReadLine(buffer, line);
    const std::string where = "<stdin>:" + std::to_string(number);
    if (read == TLineRead::End) break;
    if (read == TLineRead::TooLong) {
      throw TContentError(where + ": " + Text("vxcam.error.line_too_long") + ' ' +
                          std::to_string(kMaxLineBytes));
    }
    const auto fields = Fields(line);
    if (fields.empty() || fields[0][0] == '#') continue;
    TPoint p;
    if (fields.size() < 2 || !ParseFiniteNumber(fields[0], p.x) ||
        !ParseFiniteNumber(fields[1], p.y)) {
      throw TContentError(where + ": " + Text("vxcam.error.not_a_point") + " '" + line + "'");
    }
    // The columns after x and y go out as they came, from the first of them to the line's end.
    std::string rest;
    if (fields.size() > 2) {
      rest = line.substr(static_cast<std::size_t>(fields[2].data() - line.data()));
      while (!rest.empty() && (rest.back() == '\r' || rest.back() == ' ' || rest.back() == '\t')) {
        rest.pop_back();
      }
    }
    writer.Add(p, where, std::move(rest));
  }
}

}  // namespace

int RunTransform(const TArgs& args, TIo& io) {
  std::string cameraPath;
  std::string measurementsPath;
  std::vector<double> coordinates;
  bool inverse = false;
  TVxIntOrSolveOptions options;
  int decimals = 6;
  bool json = false;
  int threads = 0;
  return RunCommand(
      "transform", "vxcam.transform.summary", args, io,
      [&](CLI::App& app) {
        AddFileArgument(app, "CAMERA", cameraPath, "vxcam.arg.camera")->required();
        app.add_option("X Y", coordinates, Text("vxcam.arg.points"))->check(FiniteNumber());
        app.add_flag("--inverse", inverse, Text("vxcam.opt.inverse"));
        app.add_option("--measurements", measurementsPath, Text("vxcam.opt.measurements"))
            ->option_text(Text("vxcam.help.file"));
        AddSolveOptions(app, options);
        app.add_option("--precision", decimals, Text("vxcam.opt.precision"))
            ->option_text("0..17")
            ->check(CLI::Range(0, 17));
        AddThreadsOption(app, threads);
        AddJsonFlag(app, json);
      },
      [&] {
        const TVxCameraInfo camera = LoadCamera(cameraPath, io);
        std::optional<TPixelMaps> scan;
        if (!measurementsPath.empty())
          scan = PixelMapsOfScan(camera, measurementsPath, options, "transform", io);
        // Points come from standard input unless given as arguments.
        if (coordinates.empty() && io.inTaken) throw TUsageError(Text("vxcam.error.stdin_twice"));
        const TPointChain chain = WithContentOf(cameraPath, [&] {
          return MakePointChain(camera, scan ? &scan->pixToCam : nullptr,
                                scan ? &scan->camToPix : nullptr, inverse);
        });
        TWriterSetup setup;
        const char* outer = scan ? "pixel" : "camera";
        setup.inputKey = inverse ? "mm" : outer;
        setup.outputKey = inverse ? outer : "mm";
        setup.decimals = decimals;
        setup.calibratedRadius = CalibratedRadius(camera).value_or(0.0);
        setup.symmetryPoint = camera.distortion.symmetryPoint;
        setup.threads = threads;
        TPointWriter writer(chain, setup, io, json);
        if (!coordinates.empty()) {
          PointsFromArguments(coordinates, writer);
          return writer.Finish();
        }
        CheckStandardInput(io.in);
        try {
          PointsFromStream(io.in, writer);
        } catch (const TContentError&) {
          // The lines before the bad one were good: their points go out, the document ends.
          writer.Finish();
          throw;
        }
        return writer.Finish();
      });
}

}  // namespace vxcam
