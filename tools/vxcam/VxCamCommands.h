#pragma once
// The commands of the vxcam tool, one Run function each. main() is a table from command name to
// these functions; the tests call them directly with string streams.
//
// Every Run function takes the arguments after the command name, parses them with CLI11, writes
// data to io.out and diagnostics to io.err, and returns the exit status:
//   0 success, 1 check not passed (or not solved), 2 usage, 3 file error, 4 invalid content.
// Texts for people are resource texts ("vxcam.*" keys) in the language in force (VX_LANG or
// --lang). No command leaves a partial output file behind: files are written to a temporary
// file in the target's folder and renamed over the target (VxSaveFileAtomically), and a failed
// write to standard output is a file error as well.

#include <iosfwd>
#include <string>
#include <vector>

namespace vxcam {

enum TExitStatus : int {
  kExitSuccess = 0,
  kExitCheckFailed = 1,
  kExitUsage = 2,
  kExitFileError = 3,
  kExitInvalidContent = 4,
};

// Where a command reads and writes. A file named "-" is standard input or output; only one
// file of a command can be read from standard input, which `inTaken` records.
struct TIo {
  std::istream& in;
  std::ostream& out;
  std::ostream& err;
  bool inTaken = false;
};

using TArgs = std::vector<std::string>;
using TRunFunction = int (*)(const TArgs& args, TIo& io);

// One row of the command table: the name typed by the user, the function, and the resource key
// of the one-line summary shown by `vxcam --help`.
struct TCommand {
  const char* name;
  TRunFunction run;
  const char* summaryKey;
};

// vxcam show CAMERA [--json]
int RunShow(const TArgs& args, TIo& io);
// vxcam check CAMERA MEASUREMENTS [--json]
int RunCheck(const TArgs& args, TIo& io);
// vxcam transform CAMERA [X Y]... [--json]; without points, pairs from io.in.
int RunTransform(const TArgs& args, TIo& io);
// vxcam solve CAMERA MEASUREMENTS [--limit UM] [-o OUT] [--json]; status 1 when the
// measurements cannot be solved.
int RunSolve(const TArgs& args, TIo& io);
// vxcam fit CAMERA --model formula|mixed [--radius R] [-o OUT] [--json]
int RunFit(const TArgs& args, TIo& io);
// vxcam scale CAMERA FACTOR -o OUT
int RunScale(const TArgs& args, TIo& io);
// vxcam new digital|dmc -o OUT
int RunNew(const TArgs& args, TIo& io);
// vxcam plot CAMERA [MEASUREMENTS] -o FILE.svg; with measurements, also their residuals.
int RunPlot(const TArgs& args, TIo& io);
// vxcam demo [--examples DIR] [-o DIR]
int RunDemo(const TArgs& args, TIo& io);

// Camera calibrations in and out (VxExchange.h; format texts opencv-yaml, opencv-xml, ros,
// colmap-text, colmap-bin, metashape).
// vxcam import [FORMAT] FILE --pixel-size UM [--camera-id N] -o CAMERA [--json]; without
// FORMAT, it is guessed from the file's content.
int RunImport(const TArgs& args, TIo& io);
// vxcam export [FORMAT] CAMERA -o FILE [--pixel-size UM] [--camera-id N] [--json]; without
// FORMAT, it follows from the output's name.
int RunExport(const TArgs& args, TIo& io);

// Scans of film (VxScan.h).
// vxcam measure SCAN CAMERA TEMPLATES -o MEASUREMENTS [--search-radius MM] [--threads N]
// [--json]; status 1 when fewer than two marks are measured (nothing is written then).
int RunMeasure(const TArgs& args, TIo& io);
// vxcam resample SCAN CAMERA MEASUREMENTS|MAP -o IMAGE [--pixel-size UM] [--undistort]
// [--bilinear] [--threads N] [--json]: the scan in camera geometry, and its pixel-to-camera map
// beside it in IMAGE.pix_to_cam.yaml.
int RunResample(const TArgs& args, TIo& io);

// The whole program: global options (--help, --version, --lang) and the command found in
// `commands` by argv[1..]. Starts and stops the library around the command.
int RunMain(const std::vector<TCommand>& commands, int argc, const char* const* argv, TIo& io);

}  // namespace vxcam
