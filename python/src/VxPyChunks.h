#pragma once
// The batch call over several threads: a large array cut into contiguous chunks mapped on the
// module's worker pool (VxParallel.h), whose threads are started once and reused by every
// call. Every point is mapped by the same batch call as on one thread, and the library maps
// each point on its own (TVx2DTransform::TransformPoints: out[i] equals TransformPoint(in[i])),
// so the result is the one of a single call bit for bit.

#include <cstddef>

#include "VxTransform.h"

namespace vxpy {

// Maps n points on up to `threads` threads (0: as many as the machine has cores); returns the
// number of NaN results. `in` and `out` as for TransformPoints. Call without the GIL.
std::size_t TransformInChunks(const TVx2DTransform& transform, const vec_t_<double, 2>* in,
                              vec_t_<double, 2>* out, std::size_t n, int threads);

}  // namespace vxpy
