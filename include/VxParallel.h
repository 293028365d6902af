#pragma once
// All cores for the callers that own threads: a small pool of worker threads that persist from
// one call to the next, and the batch call of a transform cut into contiguous chunks mapped on
// them. The system itself creates no threads and takes no locks; vxcam, the Python module and
// the scan library hold a pool and hand it the work.
//
// Results do not depend on the number of threads: TVx2DTransform::TransformPoints maps every
// point on its own (out[i] equals TransformPoint(in[i])), and each chunk is one such call, so
// the points come out with the bits of a single call on one thread.

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <mutex>
#include <thread>
#include <vector>

#include "VxParallel_export.h"
#include "VxTransform.h"

// A pool of worker threads. The threads are started when a call first needs them and then
// wait for the next call; they end with the pool. The calling thread works on every call as
// well, so a call on `threads` threads uses threads - 1 workers.
//
// One call runs at a time: a second thread calling Run or Start waits until the first call has
// ended. A task must not call Run or Start of its own pool, nor may a thread start a call before
// finishing the one it started (either would wait for itself).
class VXPARALLEL_EXPORT TVxWorkerPool {
 public:
  // A call started on the workers while its caller does something else (reads the next input,
  // writes the last results), finished by Finish or, failing that, by the destructor. Only
  // the thread that started it finishes it.
  class VXPARALLEL_EXPORT TCall {
   public:
    TCall() = default;
    TCall(TCall&& other) noexcept;
    TCall& operator=(TCall&& other) noexcept;
    TCall(const TCall&) = delete;
    TCall& operator=(const TCall&) = delete;
    // Finishes the call, dropping a task's exception (call Finish to see it).
    ~TCall();

    // The calling thread takes the tasks no worker has taken yet, then waits for the others;
    // the first exception a task threw is rethrown here. Nothing to do once finished.
    void Finish();

   private:
    friend class TVxWorkerPool;
    explicit TCall(TVxWorkerPool* pool) : pool_(pool) {}
    TVxWorkerPool* pool_ = nullptr;  // the pool of a call not yet finished
  };

  // At most this many threads work on one call; larger requests are cut to it.
  static constexpr int kMaxThreads = 64;

  TVxWorkerPool();
  ~TVxWorkerPool();
  TVxWorkerPool(const TVxWorkerPool&) = delete;
  TVxWorkerPool& operator=(const TVxWorkerPool&) = delete;

  // Runs task(k, context) for k = 0 .. tasks-1 on up to `threads` threads (the calling one
  // included; 0 or less: as many as the machine has cores), each k exactly once, in no fixed
  // order, and returns when all have ended. The first exception a task throws is rethrown here
  // once the other tasks have ended.
  void Run(std::size_t tasks, int threads, void (*task)(std::size_t k, void* context),
           void* context);

  // Run without waiting: the tasks go to up to threads - 1 workers at once and the call
  // returns; TCall::Finish has the calling thread join in and waits for the end. On one thread
  // the tasks all run in Finish, on the calling thread. Whatever the tasks touch must stay
  // unchanged until Finish has returned.
  TCall Start(std::size_t tasks, int threads, void (*task)(std::size_t k, void* context),
              void* context);

  // The worker threads this pool has started so far (they are reused from call to call).
  std::size_t WorkersStarted() const;

  // The threads a call asking for `threads` gets at most: 0 or less means every core.
  static int ThreadsFor(int threads);

 private:
  void Work(std::size_t worker);
  void Drain();
  // The end of a started call: Drain, wait for the workers, release the call.
  void FinishCall();

  // Serialises the calls: held from Start until the call is finished.
  std::mutex callMutex_;
  // Guards everything below.
  mutable std::mutex mutex_;
  std::condition_variable wake_;
  std::condition_variable done_;
  std::vector<std::thread> workers_;
  std::uint64_t generation_ = 0;  // counts calls: a worker wakes when it changes
  std::size_t invited_ = 0;       // workers that take part in the current call
  std::size_t busy_ = 0;          // invited workers that have not yet finished it
  bool stopping_ = false;
  // The current call.
  void (*task_)(std::size_t, void*) = nullptr;
  void* context_ = nullptr;
  std::size_t tasks_ = 0;
  std::size_t next_ = 0;  // the next task index to hand out
  std::exception_ptr error_;
};

// The function that calls a Body given as the context of a task.
template <class Body>
void VxRunBody(std::size_t k, void* context) {
  (*static_cast<const Body*>(context))(k);
}

// Runs body(k) for k = 0 .. tasks-1 on `pool`, as TVxWorkerPool::Run: a lambda or any other
// callable instead of a function and its context.
template <class Body>
void RunTasks(TVxWorkerPool& pool, std::size_t tasks, int threads, const Body& body) {
  pool.Run(tasks, threads, &VxRunBody<Body>, const_cast<void*>(static_cast<const void*>(&body)));
}

// TVxWorkerPool::Start with a callable; `body` must live until the call is finished.
template <class Body>
TVxWorkerPool::TCall StartTasks(TVxWorkerPool& pool, std::size_t tasks, int threads,
                                const Body& body) {
  return pool.Start(tasks, threads, &VxRunBody<Body>,
                    const_cast<void*>(static_cast<const void*>(&body)));
}

// A temporary would be gone before the tasks run.
template <class Body>
TVxWorkerPool::TCall StartTasks(TVxWorkerPool& pool, std::size_t tasks, int threads,
                                const Body&& body) = delete;

// The batch call of `transform` on n points cut into contiguous chunks of at least
// `minChunk` points, rounded up to a multiple of 8 (so that two threads never write the same
// cache line of `out` when it is aligned to 64 bytes), and run on `pool` with up to `threads`
// threads (0: every core). Inputs too small for two chunks are mapped on the calling thread alone,
// without waking the pool. `in` and `out` as for TransformPoints (in place allowed). Returns the
// number of NaN results; the results are those of transform.TransformPoints(in, out, n), bit for
// bit.
VXPARALLEL_EXPORT std::size_t TransformPointsInChunks(TVxWorkerPool& pool,
                                                      const TVx2DTransform& transform,
                                                      const vec_t_<double, 2>* in,
                                                      vec_t_<double, 2>* out, std::size_t n,
                                                      int threads, std::size_t minChunk);

// Below this many points a chunk, waking a thread costs about as much as it saves.
constexpr std::size_t kVxMinPointsPerChunk = std::size_t{1} << 14;
