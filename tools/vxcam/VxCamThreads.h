#pragma once
// The tool's threads: one worker pool for the process (VxParallel.h), started when the first
// large batch of points is mapped, and the option that chooses how many threads work on it.

#include <CLI/CLI.hpp>

#include "VxParallel.h"

namespace vxcam {

// The pool of the process; its workers are started by the first call that needs them.
TVxWorkerPool& WorkerPool();

// --threads N: how many threads map large inputs (0, the default: every core).
void AddThreadsOption(CLI::App& app, int& threads);

}  // namespace vxcam
