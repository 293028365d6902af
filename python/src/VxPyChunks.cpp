#include "VxPyChunks.h"

#include <unistd.h>

#include <mutex>

#include "VxParallel.h"

namespace vxpy {

namespace {

// The module's pool, made on the first call with threads other than 1 (it starts no thread
// before a call needs one). A child process made by fork() inherits the pool but not its
// threads: it makes a pool of its own and leaves the inherited one alone. Pools are never
// destroyed: at the interpreter's exit their idle threads end with the process, and no destructor
// joins threads while the runtime is being torn down.
TVxWorkerPool& Pool() {
  static std::mutex mutex;
  static TVxWorkerPool* pool = nullptr;
  static pid_t owner = 0;
  const std::lock_guard<std::mutex> lock(mutex);
  if (pool == nullptr || owner != getpid()) {
    pool = new TVxWorkerPool();  // NOLINT(cppcoreguidelines-owning-memory): see above
    owner = getpid();
  }
  return *pool;
}

}  // namespace

std::size_t TransformInChunks(const TVx2DTransform& transform, const vec_t_<double, 2>* in,
                              vec_t_<double, 2>* out, std::size_t n, int threads) {
  // threads=1, the default, takes no lock.
  if (threads == 1) return transform.TransformPoints(in, out, n);
  return TransformPointsInChunks(Pool(), transform, in, out, n, threads, kVxMinPointsPerChunk);
}

}  // namespace vxpy
