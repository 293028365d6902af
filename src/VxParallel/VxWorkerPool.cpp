#include <algorithm>
#include <system_error>
#include <utility>

#include "VxParallel.h"

TVxWorkerPool::TVxWorkerPool() = default;

TVxWorkerPool::~TVxWorkerPool() {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    stopping_ = true;
  }
  wake_.notify_all();
  for (std::thread& worker : workers_) worker.join();
}

int TVxWorkerPool::ThreadsFor(int threads) {
  if (threads <= 0) threads = static_cast<int>(std::max(1u, std::thread::hardware_concurrency()));
  return std::min(threads, kMaxThreads);
}

std::size_t TVxWorkerPool::WorkersStarted() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return workers_.size();
}

void TVxWorkerPool::Run(std::size_t tasks, int threads, void (*task)(std::size_t, void*),
                        void* context) {
  Start(tasks, threads, task, context).Finish();
}

TVxWorkerPool::TCall TVxWorkerPool::Start(std::size_t tasks, int threads,
                                          void (*task)(std::size_t, void*), void* context) {
  if (tasks == 0) return TCall();
  // Held until FinishCall: the next call waits for this one to end.
  callMutex_.lock();
  const auto helpers = std::min(static_cast<std::size_t>(ThreadsFor(threads)) - 1, tasks - 1);
  {
    std::unique_lock<std::mutex> lock(mutex_);
    // Workers are started once, when a call first asks for more than there are. A worker that
    // cannot be started leaves the call to the ones there are.
    while (workers_.size() < helpers) {
      try {
        workers_.emplace_back(&TVxWorkerPool::Work, this, workers_.size());
      } catch (const std::system_error&) {
        break;
      }
    }
    task_ = task;
    context_ = context;
    tasks_ = tasks;
    next_ = 0;
    error_ = nullptr;
    invited_ = std::min(helpers, workers_.size());
    busy_ = invited_;
    ++generation_;
  }
  wake_.notify_all();
  return TCall(this);
}

void TVxWorkerPool::FinishCall() {
  Drain();
  std::exception_ptr error;
  {
    // The tasks refer to the caller's data: the call ends when no worker is inside one.
    std::unique_lock<std::mutex> lock(mutex_);
    done_.wait(lock, [this] { return busy_ == 0; });
    task_ = nullptr;
    context_ = nullptr;
    error = std::exchange(error_, nullptr);
  }
  callMutex_.unlock();
  if (error) std::rethrow_exception(error);
}

TVxWorkerPool::TCall::TCall(TCall&& other) noexcept : pool_(std::exchange(other.pool_, nullptr)) {}

TVxWorkerPool::TCall& TVxWorkerPool::TCall::operator=(TCall&& other) noexcept {
  if (this != &other) {
    try {
      Finish();
    } catch (...) {
      // Dropped, as by the destructor.
    }
    pool_ = std::exchange(other.pool_, nullptr);
  }
  return *this;
}

TVxWorkerPool::TCall::~TCall() {
  try {
    Finish();
  } catch (...) {
    // A destructor must not throw; Finish is where a caller sees the task's exception.
  }
}

void TVxWorkerPool::TCall::Finish() {
  if (pool_ == nullptr) return;
  TVxWorkerPool* pool = std::exchange(pool_, nullptr);
  pool->FinishCall();
}

void TVxWorkerPool::Drain() {
  for (;;) {
    std::size_t k = 0;
    void (*task)(std::size_t, void*) = nullptr;
    void* context = nullptr;
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      if (next_ >= tasks_) return;
      k = next_++;
      task = task_;
      context = context_;
    }
    try {
      task(k, context);
    } catch (...) {
      const std::lock_guard<std::mutex> lock(mutex_);
      if (!error_) error_ = std::current_exception();
    }
  }
}

void TVxWorkerPool::Work(std::size_t worker) {
  std::uint64_t seen = 0;
  for (;;) {
    {
      std::unique_lock<std::mutex> lock(mutex_);
      wake_.wait(lock, [&] { return stopping_ || (generation_ != seen && worker < invited_); });
      if (stopping_) return;
      seen = generation_;
    }
    Drain();
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      if (--busy_ != 0) continue;
    }
    done_.notify_one();
  }
}
