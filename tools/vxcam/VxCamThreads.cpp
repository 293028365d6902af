#include "VxCamThreads.h"

#include <string>

#include "VxCamText.h"

namespace vxcam {

TVxWorkerPool& WorkerPool() {
  static TVxWorkerPool pool;
  return pool;
}

void AddThreadsOption(CLI::App& app, int& threads) {
  app.add_option("--threads", threads, Text("vxcam.opt.threads"))
      ->option_text("N")
      ->check(CLI::Range(0, TVxWorkerPool::kMaxThreads));
}

std::size_t MapPoints(const TVx2DTransform& transform, const vec_t_<double, 2>* in,
                      vec_t_<double, 2>* out, std::size_t n, int threads) {
  return TransformPointsInChunks(WorkerPool(), transform, in, out, n, threads, kMinPointsPerChunk);
}

}  // namespace vxcam
