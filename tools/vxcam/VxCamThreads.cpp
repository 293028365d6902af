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

}  // namespace vxcam
