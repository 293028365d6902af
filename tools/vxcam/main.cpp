// vxcam: the command-line tool of VxCameraUtils. main is the table of commands; their code lives
// in the VxCamTool library.
#include <iostream>

#include "VxCamCommands.h"
#include "VxCamSignals.h"

int main(int argc, char** argv) {
  const std::vector<vxcam::TCommand> commands = {
      {"show", vxcam::RunShow, "vxcam.show.summary"},
      {"check", vxcam::RunCheck, "vxcam.check.summary"},
      {"solve", vxcam::RunSolve, "vxcam.solve.summary"},
      {"transform", vxcam::RunTransform, "vxcam.transform.summary"},
      {"fit", vxcam::RunFit, "vxcam.fit.summary"},
      {"scale", vxcam::RunScale, "vxcam.scale.summary"},
      {"new", vxcam::RunNew, "vxcam.new.summary"},
      {"plot", vxcam::RunPlot, "vxcam.plot.summary"},
      {"demo", vxcam::RunDemo, "vxcam.demo.summary"},
      {"import", vxcam::RunImport, "vxcam.import.summary"},
      {"export", vxcam::RunExport, "vxcam.export.summary"},
      {"measure", vxcam::RunMeasure, "vxcam.measure.summary"},
      {"resample", vxcam::RunResample, "vxcam.resample.summary"},
  };
  // The standard streams buffer on their own: standard input tells how much it holds, so that
  // transform writes its results whenever the input pauses rather than after every line.
  std::ios::sync_with_stdio(false);
  vxcam::HandleSignalsDuringSaves();
  vxcam::TIo io{std::cin, std::cout, std::cerr};
  return vxcam::RunMain(commands, argc, argv, io);
}
