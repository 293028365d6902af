#include "VxPyChunks.h"

#include <algorithm>
#include <thread>
#include <vector>

namespace vxpy {

namespace {

std::size_t ThreadsFor(std::size_t n, int requested) {
  std::size_t threads = requested > 0 ? static_cast<std::size_t>(requested)
                                      : std::max(1u, std::thread::hardware_concurrency());
  threads = std::min(threads, static_cast<std::size_t>(kMaxThreads));
  return std::max<std::size_t>(1, std::min(threads, n / kMinPointsPerThread));
}

}  // namespace

std::size_t TransformInChunks(const TVx2DTransform& transform, const vec_t_<double, 2>* in,
                              vec_t_<double, 2>* out, std::size_t n, int threads) {
  const std::size_t count = ThreadsFor(n, threads);
  if (count == 1) return transform.TransformPoints(in, out, n);
  const std::size_t chunk = (n + count - 1) / count;
  std::vector<std::size_t> nanCounts(count, 0);
  auto mapChunk = [&](std::size_t k) {
    const std::size_t begin = k * chunk;
    const std::size_t end = std::min(n, begin + chunk);
    nanCounts[k] = transform.TransformPoints(in + begin, out + begin, end - begin);
  };
  std::vector<std::thread> workers;
  workers.reserve(count - 1);
  try {
    for (std::size_t k = 1; k < count; ++k) workers.emplace_back(mapChunk, k);
  } catch (...) {
    // A thread that cannot be started: the ones started finish before the arrays may go.
    for (std::thread& worker : workers) worker.join();
    throw;
  }
  mapChunk(0);
  for (std::thread& worker : workers) worker.join();
  std::size_t total = 0;
  for (const std::size_t c : nanCounts) total += c;
  return total;
}

}  // namespace vxpy
