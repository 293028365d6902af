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
// batch are parsed, mapped and their results formatted in tasks of kLinesPerTask lines on the
// pool of the process (VxCamThreads.h), while the thread that reads writes the batch before and
// reads the next: reading and writing overlap the work of the pool instead of waiting for it.
constexpr std::size_t kBatch = 16384;
constexpr std::size_t kLinesPerTask = 1024;

// Writes the mapped points as they come: one "x y" line a point in mm with 6 decimals
// (nanometres), or the elements of the JSON array "points". Points that cannot be mapped (an
// inverse that did not converge, a result beyond the range of double) print as "nan nan" (null
// in JSON) so that every output line stays beside its input line, and are reported on standard
// error with where they came from; the command then ends with the invalid-content status.
// What the writer writes: the names of the input's and the output's systems in JSON, the
// decimals, the radius of the calibrated field (0: none known), and the threads that parse, map
// and format a batch (0: every core).
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
      : chain_(chain), setup_(setup), io_(io), json_(json), source_(source) {
    for (TBatch& batch : batches_) batch.tasks = {this, &batch};
  }

  // A point given as an argument.
  void AddPoint(const TPoint& p) {
    TEntry entry;
    entry.line.kind = TLineKind::Point;
    entry.line.point = p;
    Add(entry);
  }

  // A line of standard input (without its line end), parsed with its batch.
  void AddLine(std::string_view line) {
    std::string& text = Filling().text;
    TEntry entry;
    entry.begin = text.size();
    text.append(line);
    entry.end = text.size();
    Add(entry);
  }

  // Maps and writes everything added; the output stream is flushed, so that a reader waiting for
  // the result of a line gets it before the next line is read. A line that is not a point is
  // refused (TContentError) once the lines before it are written; nothing after it is written.
  void Flush() {
    Submit();
    TBatch& last = Mapping();
    last.call.Finish();
    Write(last);
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
  std::string WhereNext() const { return Where(added_ + 1); }

 private:
  // A point or line of a batch: its text in the batch's text (lines only), what it holds, where
  // its result starts in the text of its task, and its distance from the symmetry point where it
  // lies outside the calibrated field (else 0).
  struct TEntry {
    std::size_t begin = 0, end = 0;
    TPointLine line;
    std::size_t outBegin = 0;
    double outside = 0.0;
  };

  // A batch on its way: filled by the reading thread, then mapped on the pool while the next is
  // filled, then written. Index i of in, out and camera belongs to entry i.
  struct TBatch {
    // Task k of the batch, as the pool runs it.
    struct TTasks {
      const TPointWriter* writer = nullptr;
      TBatch* batch = nullptr;
      void operator()(std::size_t k) const { writer->MapTask(*batch, k); }
    } tasks;
    std::uint64_t first = 1;  // the number of its first entry
    std::vector<TEntry> entries;
    std::string text;
    std::vector<TPoint> in, out, camera;
    // A task's results as text, and where its points end: at its first line that is not a
    // point, else after its last line.
    std::vector<std::string> taskText;
    std::vector<std::size_t> taskEnd;
    // Last, so that it is destroyed first: a call not yet finished ends before what it uses.
    TVxWorkerPool::TCall call;
  };

  // batches_[filling_] takes the lines read; the other is mapping or empty.
  TBatch& Filling() { return batches_[filling_]; }
  TBatch& Mapping() { return batches_[1 - filling_]; }

  void Add(const TEntry& entry) {
    TBatch& batch = Filling();
    if (batch.entries.empty()) batch.first = added_ + 1;
    batch.entries.push_back(entry);
    ++added_;
    if (batch.entries.size() == kBatch) Submit();
  }

  // Ends the mapping batch's call, starts the filled batch's on the pool and writes the mapping
  // batch meanwhile; the written batch then takes the next lines.
  void Submit() {
    TBatch& filled = Filling();
    TBatch& previous = Mapping();
    previous.call.Finish();
    if (!filled.entries.empty() && !refused_) Start(filled);
    filling_ = 1 - filling_;
    Write(previous);
  }

  static std::size_t TasksFor(std::size_t n) { return (n + kLinesPerTask - 1) / kLinesPerTask; }

  // The end of a task's lines: the next task's first line, or the batch's end.
  static std::size_t TaskLast(const TBatch& b, std::size_t task) {
    return std::min(b.entries.size(), (task + 1) * kLinesPerTask);
  }

  void Start(TBatch& batch) {
    const std::size_t n = batch.entries.size();
    batch.in.resize(n);
    batch.out.resize(n);
    batch.camera.resize(CameraPointsWanted() ? n : 0);
    batch.taskText.resize(TasksFor(n));
    batch.taskEnd.resize(TasksFor(n));
    batch.call = StartTasks(WorkerPool(), TasksFor(n), setup_.threads, batch.tasks);
  }

  // Where the points lie in the camera system is wanted for the calibrated field, and must be
  // mapped where neither the input nor the output is in it.
  bool CameraPointsWanted() const {
    return setup_.calibratedRadius > 0.0 && !chain_.outputIsCamera && chain_.toCamera;
  }

  // Task `task` of a batch: its lines parsed up to the first that is not a point, their points
  // mapped (one batch call, so each with the bits of the one-point call) and formatted.
  void MapTask(TBatch& b, std::size_t task) const {
    const std::size_t first = task * kLinesPerTask;
    const std::size_t last = TaskLast(b, task);
    std::size_t end = first;
    for (; end < last; ++end) {
      TPointLine& line = b.entries[end].line;
      if (source_ == TPointSource::StandardInput) line = ParsePointLine(Line(b, b.entries[end]));
      if (line.kind == TLineKind::NotAPoint) break;
      b.in[end] = line.point;
    }
    b.taskEnd[task] = end;
    const std::size_t n = end - first;
    chain_.map->TransformPoints(b.in.data() + first, b.out.data() + first, n);
    const TPoint* camera = nullptr;
    if (setup_.calibratedRadius > 0.0) {
      camera = chain_.outputIsCamera ? b.out.data() : b.in.data();
      if (CameraPointsWanted()) {
        chain_.toCamera->TransformPoints(b.in.data() + first, b.camera.data() + first, n);
        camera = b.camera.data();
      }
    }
    std::string& text = b.taskText[task];
    text.clear();
    for (std::size_t i = first; i < end; ++i) {
      TEntry& entry = b.entries[i];
      entry.outBegin = text.size();
      if (entry.line.kind != TLineKind::Point) continue;
      FormatResult(b, i, text);
      entry.outside = camera != nullptr ? OutsideRadius(camera[i]) : 0.0;
    }
  }

  static bool Mapped(const TPoint& q) { return std::isfinite(q.x) && std::isfinite(q.y); }

  // The result of point i: its line, or ",\n" and its element of the JSON array.
  void FormatResult(const TBatch& b, std::size_t i, std::string& text) const {
    const TPoint& q = b.out[i];
    const std::string_view rest = b.entries[i].line.rest;
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
        {setup_.inputKey, PointToJson(b.in[i])},
        {setup_.outputKey,
         Mapped(q) ? PointToJson(q) : nlohmann::ordered_json{{"x", nullptr}, {"y", nullptr}}}};
    if (!rest.empty()) point["rest"] = std::string(rest);
    text += ",\n";
    Indent(point.dump(2), 4, text);
  }

  // The distance of a camera point from the symmetry point where it lies outside the calibrated
  // field, else 0.
  double OutsideRadius(const TPoint& camera) const {
    const double r = (camera - setup_.symmetryPoint).Length();
    return r > setup_.calibratedRadius ? r : 0.0;
  }

  // The batch's results in their order up to its first line that is not a point, the warnings
  // and errors of a point on standard error before its result; then that line is refused and
  // nothing more is written. The batch is emptied.
  void Write(TBatch& b) {
    const std::size_t n = b.entries.size();
    if (n == 0 || refused_) {
      Clear(b);
      return;
    }
    // Each task's text holds the results up to its end; the first task that ends early ends at
    // the refused line.
    std::size_t good = n;
    for (std::size_t task = 0; task < b.taskEnd.size() && good == n; ++task) {
      WriteTask(b, task);
      if (b.taskEnd[task] < TaskLast(b, task)) good = b.taskEnd[task];
    }
    io_.out.flush();
    // Standard output that fails (a full disk, /dev/full) stops the run here, not at the end.
    CheckOutput(io_);
    if (good < n) {
      refused_ = true;
      const std::string refusal = NotAPoint(b, good);
      Clear(b);
      throw TContentError(refusal);
    }
    Clear(b);
  }

  // The text of a task, with the messages of its points.
  void WriteTask(const TBatch& b, std::size_t task) {
    const std::string& text = b.taskText[task];
    std::size_t written = 0;
    const auto writeTo = [&](std::size_t to) {
      io_.out.write(text.data() + written, static_cast<std::streamsize>(to - written));
      written = to;
    };
    for (std::size_t i = task * kLinesPerTask; i < b.taskEnd[task]; ++i) {
      const TEntry& entry = b.entries[i];
      if (entry.line.kind != TLineKind::Point) continue;
      const bool outside = entry.outside > 0.0;
      if (outside) ++outside_;
      const bool named = outside && outside_ <= kNamedOutsidePoints;
      const bool mapped = Mapped(b.out[i]);
      const bool opensDocument = json_ && written_ == 0;
      if (named || !mapped || opensDocument) writeTo(entry.outBegin);
      if (named) WarnOutside(Where(b.first + i), entry.outside);
      if (!mapped) ReportNotMapped(Where(b.first + i), b.in[i]);
      if (opensDocument) {
        // The first element opens the document instead of following another.
        io_.out << "{\n  \"points\": [\n";
        written += 2;
      }
      ++written_;
    }
    writeTo(text.size());
  }

  static void Clear(TBatch& b) {
    b.entries.clear();
    b.text.clear();
  }

  void WarnOutside(const std::string& where, double r) {
    const std::string mm = UnitsCamMmUserTextAbbr();
    io_.err << "vxcam transform: " << Text("vxcam.text.warning") << ": " << where << ": "
            << Text("vxcam.warning.outside_field") << " (r = " << FormatNumber(r) << ' ' << mm
            << ", " << Text("vxcam.warning.field_ends") << ' '
            << FormatNumber(setup_.calibratedRadius) << ' ' << mm << ")\n";
  }

  void ReportNotMapped(const std::string& where, const TPoint& p) {
    ++unmapped_;
    io_.err << "vxcam transform: " << Text("vxcam.error.content") << ": " << where << ": "
            << Text("vxcam.error.not_mapped") << ' ' << FormatNumber(p.x, 17) << ' '
            << FormatNumber(p.y, 17) << '\n';
  }

  static std::string_view Line(const TBatch& b, const TEntry& entry) {
    return std::string_view(b.text).substr(entry.begin, entry.end - entry.begin);
  }

  // "<stdin>:N" or "point N" for the entry numbered `number` (from 1).
  std::string Where(std::uint64_t number) const {
    return source_ == TPointSource::StandardInput
               ? "<stdin>:" + std::to_string(number)
               : Text("vxcam.text.point") + ' ' + std::to_string(number);
  }

  std::string NotAPoint(const TBatch& b, std::size_t i) const {
    return Where(b.first + i) + ": " + Text("vxcam.error.not_a_point") + " '" +
           std::string(Line(b, b.entries[i])) + "'";
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
  std::uint64_t added_ = 0;  // entries added so far
  std::uint64_t written_ = 0;
  std::uint64_t unmapped_ = 0;
  std::uint64_t outside_ = 0;
  bool refused_ = false;  // a line was refused: nothing more is written
  // Last, so that their calls end before anything they use is destroyed.
  TBatch batches_[2];
  std::size_t filling_ = 0;
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
