#include <algorithm>
#include <cmath>
#include <cstdint>
#include <exception>
#include <istream>
#include <optional>
#include <ostream>
#include <string_view>

#include "VxCamApp.h"
#include "VxCamField.h"
#include "VxCamFiles.h"
#include "VxCamFormat.h"
#include "VxCamPointChain.h"
#include "VxCamPointLines.h"
#include "VxCamSolution.h"
#include "VxCamText.h"
#include "VxCamThreads.h"
#include "VxCameraMath.h"

namespace vxcam {
namespace {

using TPoint = vec_t_<double, 2>;

// Points are mapped in batches of this many, or fewer where the input pauses. The lines of a
// batch are parsed, and their results formatted, in tasks of kLinesPerTask lines on the pool of
// the process (VxCamThreads.h); only reading the lines and writing the texts is left to one
// thread.
constexpr std::size_t kBatch = 16384;
constexpr std::size_t kLinesPerTask = 1024;

// Writes the mapped points as they come: one "x y" line a point in mm with 6 decimals
// (nanometres), or the elements of the JSON array "points". Points that cannot be mapped (an
// inverse that did not converge, a result beyond the range of double) print as "nan nan" (null
// in JSON) so that every output line stays beside its input line, and are reported on standard
// error with where they came from; the command then ends with the invalid-content status.
// What the writer writes: the names of the input's and the output's systems in JSON, the
// decimals, the radius of the calibrated field (0: none known), and the threads that parse, map
// and format a large batch (0: every core).
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

// Where a writer's points come from, for its messages: "point N" or "<stdin>:N".
enum class TPointSource { Arguments, StandardInput };

class TPointWriter {
 public:
  TPointWriter(const TPointChain& chain, const TWriterSetup& setup, TIo& io, bool json,
               TPointSource source)
      : chain_(chain), setup_(setup), io_(io), json_(json), source_(source) {}

  // A point given as an argument.
  void AddPoint(const TPoint& p) {
    TEntry entry;
    entry.line.kind = TLineKind::Point;
    entry.line.point = p;
    Add(entry);
  }

  // A line of standard input (without its line end), parsed when its batch is written.
  void AddLine(std::string_view line) {
    TEntry entry;
    entry.begin = text_.size();
    text_.append(line);
    entry.end = text_.size();
    Add(entry);
  }

  // Parses, maps and writes what was added; the output stream is flushed, so that a reader
  // waiting for the result of a line gets it before the next line is read. A line that is not a
  // point is refused (TContentError) once the lines before it are written.
  void Flush() {
    const std::size_t n = entries_.size();
    ParseLines();
    std::size_t good = 0;
    while (good < n && entries_[good].line.kind != TLineKind::NotAPoint) ++good;
    in_.resize(good);
    for (std::size_t i = 0; i < good; ++i) in_[i] = entries_[i].line.point;
    out_.resize(good);
    MapPoints(*chain_.map, in_.data(), out_.data(), good, setup_.threads);
    FindCameraPoints();
    FormatResults();
    WriteResults();
    const std::string refused = good < n ? NotAPoint(good) : std::string();
    number_ += n;
    entries_.clear();
    text_.clear();
    io_.out.flush();
    // Standard output that fails (a full disk, /dev/full) stops the run here, not at the end.
    CheckOutput(io_);
    if (!refused.empty()) throw TContentError(refused);
  }

  // Writes what is left and ends the JSON document; the status of the whole run. A line that
  // is not a point among the last is refused after the document has ended.
  int Finish() {
    std::exception_ptr refused;
    try {
      Flush();
    } catch (const TContentError&) {
      refused = std::current_exception();
    }
    if (json_) io_.out << (written_ == 0 ? "{\n  \"points\": []\n}\n" : "\n  ]\n}\n");
    io_.out.flush();
    if (outside_ > kNamedOutsidePoints) {
      io_.err << "vxcam transform: " << Text("vxcam.text.warning") << ": " << outside_ << ' '
              << Text("vxcam.warning.points_outside") << ' '
              << FormatNumber(setup_.calibratedRadius) << ' ' << UnitsCamMmUserTextAbbr() << '\n';
    }
    if (refused) std::rethrow_exception(refused);
    return unmapped_ == 0 ? kExitSuccess : kExitInvalidContent;
  }

  // Where the next line added comes from, for its messages.
  std::string WhereNext() const { return Where(entries_.size()); }

 private:
  // A point or line of the batch: its text in text_ (lines only), what it holds, where its
  // result starts in the text of its task, and its distance from the symmetry point where it
  // lies outside the calibrated field (else 0).
  struct TEntry {
    std::size_t begin = 0, end = 0;
    TPointLine line;
    std::size_t outBegin = 0;
    double outside = 0.0;
  };

  void Add(const TEntry& entry) {
    entries_.push_back(entry);
    if (entries_.size() == kBatch) Flush();
  }

  static std::size_t TasksFor(std::size_t n) { return (n + kLinesPerTask - 1) / kLinesPerTask; }

  // body(task, first, last) for the entries [first, last) of a task of n entries.
  template <class Body>
  static void RunTask(std::size_t task, std::size_t n, const Body& body) {
    body(task, task * kLinesPerTask, std::min(n, (task + 1) * kLinesPerTask));
  }

  // RunTask for each task of n entries, on the pool.
  template <class Body>
  void ForEachTask(std::size_t n, const Body& body) {
    RunTasks(WorkerPool(), TasksFor(n), setup_.threads,
             [&](std::size_t task) { RunTask(task, n, body); });
  }

  // RunTask for each task of n entries, one after the other on this thread.
  template <class Body>
  static void ForEachTaskInOrder(std::size_t n, const Body& body) {
    for (std::size_t task = 0; task < TasksFor(n); ++task) RunTask(task, n, body);
  }

  void ParseLines() {
    if (source_ != TPointSource::StandardInput) return;
    ForEachTask(entries_.size(), [&](std::size_t, std::size_t first, std::size_t last) {
      for (std::size_t i = first; i < last; ++i) {
        entries_[i].line = ParsePointLine(Line(entries_[i]));
      }
    });
  }

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

  void FormatResults() {
    taskText_.resize(TasksFor(in_.size()));
    ForEachTask(in_.size(), [&](std::size_t task, std::size_t first, std::size_t last) {
      std::string& text = taskText_[task];
      text.clear();
      for (std::size_t i = first; i < last; ++i) {
        TEntry& entry = entries_[i];
        entry.outBegin = text.size();
        if (entry.line.kind != TLineKind::Point) continue;
        FormatResult(i, text);
        entry.outside = OutsideRadius(i);
      }
    });
  }

  static bool Mapped(const TPoint& q) { return std::isfinite(q.x) && std::isfinite(q.y); }

  // The result of point i: its line, or ",\n" and its element of the JSON array.
  void FormatResult(std::size_t i, std::string& text) const {
    const TPoint& q = out_[i];
    const std::string_view rest = entries_[i].line.rest;
    if (!json_) {
      if (Mapped(q)) {
        AppendFixed(text, q.x, setup_.decimals);
        text += ' ';
        AppendFixed(text, q.y, setup_.decimals);
      } else {
        text += "nan nan";
      }
      if (!rest.empty()) {
        text += ' ';
        text += rest;
      }
      text += '\n';
      return;
    }
    nlohmann::ordered_json point = {
        {setup_.inputKey, PointToJson(in_[i])},
        {setup_.outputKey,
         Mapped(q) ? PointToJson(q) : nlohmann::ordered_json{{"x", nullptr}, {"y", nullptr}}}};
    if (!rest.empty()) point["rest"] = std::string(rest);
    text += ",\n";
    Indent(point.dump(2), 4, text);
  }

  // The formatted results in their order, the warnings and errors of a point on standard error
  // before its result.
  void WriteResults() {
    ForEachTaskInOrder(in_.size(), [&](std::size_t task, std::size_t first, std::size_t last) {
      const std::string& text = taskText_[task];
      std::size_t written = 0;
      const auto writeTo = [&](std::size_t end) {
        io_.out.write(text.data() + written, static_cast<std::streamsize>(end - written));
        written = end;
      };
      for (std::size_t i = first; i < last; ++i) {
        const TEntry& entry = entries_[i];
        if (entry.line.kind != TLineKind::Point) continue;
        const bool outside = entry.outside > 0.0;
        if (outside) ++outside_;
        const bool named = outside && outside_ <= kNamedOutsidePoints;
        const bool mapped = Mapped(out_[i]);
        const bool opensDocument = json_ && written_ == 0;
        if (named || !mapped || opensDocument) writeTo(entry.outBegin);
        if (named) WarnOutside(i, entry.outside);
        if (!mapped) ReportNotMapped(i);
        if (opensDocument) {
          // The first element opens the document instead of following another.
          io_.out << "{\n  \"points\": [\n";
          written += 2;
        }
        ++written_;
      }
      writeTo(text.size());
    });
  }

  // The distance of point i from the symmetry point where it lies outside the calibrated field,
  // else 0.
  double OutsideRadius(std::size_t i) const {
    if (camera_.empty()) return 0.0;
    const double r = (camera_[i] - setup_.symmetryPoint).Length();
    return r > setup_.calibratedRadius ? r : 0.0;
  }

  void WarnOutside(std::size_t i, double r) {
    const std::string mm = UnitsCamMmUserTextAbbr();
    io_.err << "vxcam transform: " << Text("vxcam.text.warning") << ": " << Where(i) << ": "
            << Text("vxcam.warning.outside_field") << " (r = " << FormatNumber(r) << ' ' << mm
            << ", " << Text("vxcam.warning.field_ends") << ' '
            << FormatNumber(setup_.calibratedRadius) << ' ' << mm << ")\n";
  }

  void ReportNotMapped(std::size_t i) {
    ++unmapped_;
    io_.err << "vxcam transform: " << Text("vxcam.error.content") << ": " << Where(i) << ": "
            << Text("vxcam.error.not_mapped") << ' ' << FormatNumber(in_[i].x, 17) << ' '
            << FormatNumber(in_[i].y, 17) << '\n';
  }

  std::string_view Line(const TEntry& entry) const {
    return std::string_view(text_).substr(entry.begin, entry.end - entry.begin);
  }

  std::string Where(std::size_t i) const {
    const std::string number = std::to_string(number_ + i);
    return source_ == TPointSource::StandardInput ? "<stdin>:" + number
                                                  : Text("vxcam.text.point") + ' ' + number;
  }

  std::string NotAPoint(std::size_t i) const {
    return Where(i) + ": " + Text("vxcam.error.not_a_point") + " '" +
           std::string(Line(entries_[i])) + "'";
  }

  static void Indent(const std::string& text, std::size_t spaces, std::string& out) {
    out.append(spaces, ' ');
    for (char c : text) {
      out += c;
      if (c == '\n') out.append(spaces, ' ');
    }
  }

  const TPointChain& chain_;
  TWriterSetup setup_;
  TIo& io_;
  bool json_;
  TPointSource source_;
  // The batch: its entries, the text of its lines, and the number of its first entry.
  std::vector<TEntry> entries_;
  std::string text_;
  std::uint64_t number_ = 1;
  // The points of the batch up to the first that is not one, their results, where they lie in
  // the camera system, and the text of each task's results.
  std::vector<TPoint> in_, out_, camera_;
  std::vector<std::string> taskText_;
  std::uint64_t written_ = 0;
  std::uint64_t unmapped_ = 0;
  std::uint64_t outside_ = 0;
};

void PointsFromArguments(const std::vector<double>& coordinates, TPointWriter& writer) {
  if (coordinates.size() % 2 != 0) throw TUsageError(Text("vxcam.error.odd_coordinates"));
  for (std::size_t i = 0; i < coordinates.size(); i += 2) {
    writer.AddPoint({coordinates[i], coordinates[i + 1]});
  }
}

// One pair a line; empty lines and lines starting with '#' are skipped. The lines read are
// mapped as soon as no more input is waiting, so that the tool can stand in a pipeline that
// waits for it.
void PointsFromStream(std::istream& in, TPointWriter& writer) {
  TLineReader reader(in);
  const auto pause = [&writer] { writer.Flush(); };
  std::string_view line;
  for (;;) {
    const TLineRead read = reader.Next(line, pause);
    if (read == TLineRead::End) break;
    if (read == TLineRead::TooLong) {
      throw TContentError(writer.WhereNext() + ": " + Text("vxcam.error.line_too_long") + ' ' +
                          std::to_string(kMaxLineBytes));
    }
    writer.AddLine(line);
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
        TPointWriter writer(
            chain, setup, io, json,
            coordinates.empty() ? TPointSource::StandardInput : TPointSource::Arguments);
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
