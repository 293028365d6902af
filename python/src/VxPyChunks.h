#pragma once
// The batch call over several threads: a large array cut into contiguous chunks, one thread a
// chunk. Every point is mapped by the same batch call as on one thread, and the library maps
// each point on its own (TVx2DTransform::TransformPoints: out[i] equals TransformPoint(in[i])),
// so the result is the one of a single call bit for bit.

#include <cstddef>

#include "VxTransform.h"

namespace vxpy {

// Below this many points a chunk, starting a thread costs more than it saves.
constexpr std::size_t kMinPointsPerThread = std::size_t{1} << 16;
// More threads than this only queue up on the cores; the batch call is memory-bound beyond.
constexpr int kMaxThreads = 64;

// Maps n points on up to `threads` threads (0: as many as the machine has cores); returns the
// number of NaN results. `in` and `out` as for TransformPoints. Call without the GIL.
std::size_t TransformInChunks(const TVx2DTransform& transform, const vec_t_<double, 2>* in,
                              vec_t_<double, 2>* out, std::size_t n, int threads);

}  // namespace vxpy
