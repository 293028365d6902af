#pragma once
// A command of vxcam called as main() calls it, with its input and both outputs kept.

#include <sstream>
#include <string>

#include "VxCamCommands.h"

struct CommandRun {
  int status = -1;
  std::string out;
  std::string err;
};

inline CommandRun Call(vxcam::TRunFunction command, const vxcam::TArgs& args,
                       const std::string& input = "") {
  std::istringstream in(input);
  std::ostringstream out, err;
  vxcam::TIo io{in, out, err};
  CommandRun run;
  run.status = command(args, io);
  run.out = out.str();
  run.err = err.str();
  return run;
}
