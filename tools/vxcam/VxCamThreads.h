#pragma once
// The tool's threads: one worker pool for the process (VxParallel.h), started when the first
// large batch of points is mapped, and the option that chooses how many threads map it.

#include <CLI/CLI.hpp>

#include <cstddef>

#include "VxParallel.h"
#include "VxTransform.h"

namespace vxcam {

// A batch is cut into chunks of at least this many points; a batch of fewer than two chunks is
// mapped on the calling thread alone.
constexpr std::size_t kMinPointsPerChunk = 1024;

// The pool of the process; its workers are started by the first call that needs them.
TVxWorkerPool& WorkerPool();

// --threads N: how many threads map large inputs (0, the default: every core).
void AddThreadsOption(CLI::App& app, int& threads);

// The batch call of `transform` on n points, over the pool when the batch is large enough;
// the bits of transform.TransformPoints(in, out, n) whatever the number of threads.
std::size_t MapPoints(const TVx2DTransform& transform, const vec_t_<double, 2>* in,
                      vec_t_<double, 2>* out, std::size_t n, int threads);

}  // namespace vxcam
