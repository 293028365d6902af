#include <algorithm>

#include "VxParallel.h"

namespace {

// Chunks a thread: more than one, so that a thread slowed by other work on its core leaves its
// share to the others instead of holding up the call.
constexpr std::size_t kChunksPerThread = 4;
// Chunk lengths are multiples of this many points, 128 bytes: when the output is aligned to a
// cache line (64 bytes), no two chunks write the same line.
constexpr std::size_t kPointsPerLines = 8;

struct TChunks {
  const TVx2DTransform* transform;
  const vec_t_<double, 2>* in;
  vec_t_<double, 2>* out;
  std::size_t n;
  std::size_t length;            // points a chunk, the last one possibly fewer
  std::vector<std::size_t> nan;  // NaN results of each chunk
};

void MapChunk(std::size_t k, void* context) {
  TChunks& c = *static_cast<TChunks*>(context);
  const std::size_t begin = k * c.length;
  const std::size_t end = std::min(c.n, begin + c.length);
  c.nan[k] = c.transform->TransformPoints(c.in + begin, c.out + begin, end - begin);
}

std::size_t RoundUp(std::size_t n, std::size_t step) {
  return (n + step - 1) / step * step;
}

}  // namespace

std::size_t TransformPointsInChunks(TVxWorkerPool& pool, const TVx2DTransform& transform,
                                    const vec_t_<double, 2>* in, vec_t_<double, 2>* out,
                                    std::size_t n, int threads, std::size_t minChunk) {
  const auto count = static_cast<std::size_t>(TVxWorkerPool::ThreadsFor(threads));
  const std::size_t length = RoundUp(
      std::max({minChunk, std::size_t{1}, n / (count * kChunksPerThread)}), kPointsPerLines);
  const std::size_t chunks = (n + length - 1) / length;
  if (count == 1 || chunks < 2) return transform.TransformPoints(in, out, n);
  TChunks c{&transform, in, out, n, length, std::vector<std::size_t>(chunks, 0)};
  pool.Run(chunks, static_cast<int>(count), &MapChunk, &c);
  std::size_t total = 0;
  for (const std::size_t nan : c.nan) total += nan;
  return total;
}
