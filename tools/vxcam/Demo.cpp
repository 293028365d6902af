#include <filesystem>
#include <ostream>
#include <system_error>

#include "VxCamApp.h"
#include "VxCamFiles.h"
#include "VxCamText.h"

namespace vxcam {
namespace {

// One step of the tour: a heading, the command line as a user would type it, and its run.
int Step(TIo& io, const char* headingKey, TRunFunction run, const char* name, const TArgs& args) {
  io.out << "\n== " << Text(headingKey) << "\n$ vxcam " << name;
  for (const auto& arg : args) io.out << ' ' << arg;
  io.out << '\n';
  return run(args, io);
}

void Tour(TIo& io, const std::string& examples, const std::string& outDir) {
  const std::string camera = DisplayPath(examples + "/cameras/rc10_radial.yaml");
  const auto scan = [&](const char* name) {
    return DisplayPath(examples + "/measurements/" + name + ".yaml");
  };
  const std::string fitted = outDir + "/rc10_formula.yaml";
  const std::string radialSvg = outDir + "/rc10_radial.svg";
  const std::string directedSvg = outDir + "/rc10_directed8.svg";
  const auto must = [](int status) {
    if (status >= kExitUsage) throw TContentError(Text("vxcam.error.demo_step"));
  };
  must(Step(io, "vxcam.demo.show", RunShow, "show", {camera}));
  for (const char* name : {"rc10_scan_complete", "rc10_scan_two_missing", "rc10_scan_unknown_mark"})
    must(Step(io, "vxcam.demo.check", RunCheck, "check", {camera, scan(name)}));
  const std::string solved = outDir + "/rc10_scan_solved.yaml";
  must(Step(io, "vxcam.demo.solve", RunSolve, "solve",
            {camera, scan("rc10_scan_complete"), "-o", solved}));
  must(Step(io, "vxcam.demo.fit", RunFit, "fit", {camera, "--model", "formula", "-o", fitted}));
  must(Step(io, "vxcam.demo.plot_scan", RunPlot, "plot",
            {camera, scan("rc10_scan_complete"), "-o", radialSvg}));
  must(Step(io, "vxcam.demo.plot", RunPlot, "plot",
            {DisplayPath(examples + "/cameras/rc10_directed8.yaml"), "-o", directedSvg}));
  io.out << "\n== " << Text("vxcam.demo.written") << '\n';
  for (const auto& path : {solved, fitted, radialSvg, directedSvg}) io.out << "  " << path << '\n';
}

}  // namespace

int RunDemo(const TArgs& args, TIo& io) {
  std::string examples = FindExamplesDir();
  std::string outDir = "vxcam-demo";
  return RunCommand(
      "demo", "vxcam.demo.summary", args, io,
      [&](CLI::App& app) {
        app.add_option("--examples", examples, Text("vxcam.opt.examples"))
            ->option_text(Text("vxcam.help.folder"));
        app.add_option("-o,--output", outDir, Text("vxcam.opt.output_folder"))
            ->option_text(Text("vxcam.help.folder"))
            ->check(NonEmptyPath());
      },
      [&] {
        std::error_code error;
        std::filesystem::create_directories(outDir, error);
        if (error) throw TFileError(outDir + ": " + error.message());
        io.out << Text("vxcam.demo.intro") << '\n';
        Tour(io, examples, outDir);
        return kExitSuccess;
      });
}

}  // namespace vxcam
