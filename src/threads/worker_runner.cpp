#include "threads/worker_runner.h"

#include <algorithm>
#include <atomic>
#include <memory>
#include <mutex>
#include <new>

#include "frame/debug_log.h"
#include "frame/host_calls.h"
#include "platform/threads.h"
#include "threads/thread_pool.h"

namespace trv {

namespace {

constexpr int64_t kMostThreads = 32;
constexpr size_t kStackBytes = 0x200000;
constexpr uint32_t kPollMilliseconds = 1;

/// The thread that loaded the plug-in.
const uint32_t loadingThread = CurrentThreadId();

/// Whether work is done: set by the worker, polled by the one who waits. The worker may still be in Set when
/// the other knows; it ends before the flag does.
class DoneFlag {
  public:
    void Set() {
        {
            const std::lock_guard lock(mutex_);
            done_.store(true, std::memory_order_release);
        }
        event_.Set();
    }
    [[nodiscard]] bool Get() {
        const std::lock_guard lock(mutex_);
        return done_.load(std::memory_order_acquire);
    }
    /// The rest between two looks. A rest to the end after the work is done would only cost time.
    void Rest() { event_.Rest(kPollMilliseconds); }

  private:
    Mutex mutex_;
    Event event_;
    // The mutex may not exist, and what a worker has written must be seen even then.
    std::atomic<bool> done_ = false;
};

/// What runs a job: work in the pool, else a thread.
struct Worker {
    PoolWork work;
    Thread thread;

    /// Has the pool, or a thread, call one of the functions with `argument`. The environment was looked up
    /// before. False, with what went wrong in the log, if neither can be had.
    bool Start(ThreadFunction onPool, ThreadFunction onThread, void* argument, bool logThreadFailure) {
        void* environment = GetCurrentThreadPoolEnvironment();
        TRV_LOG("got environment", environment);
        work = PoolWork(onPool, argument, environment);
        if (work) {
            work.Submit();
            return true;
        }
        TRV_LOG("CreateThreadpoolWork failed", LastSystemError());
        thread = Thread(onThread, argument, kStackBytes);
        if (!thread && logThreadFailure) TRV_LOG("CreateThread failed", LastSystemError());
        return static_cast<bool>(thread);
    }

    /// Waits until the function has returned, and gives the worker up.
    void End(const char* threadLabel) {
        if (thread && threadLabel != nullptr) TRV_LOG(threadLabel);
        thread = Thread();
        if (work) TRV_LOG("CloseThreadpoolWork.");
        work = PoolWork();
    }
};

struct ThreadJob {
    int64_t index = 0;
    DoneFlag done;
    bool started = false;
    bool onMainThread = false;
    int64_t first = 0;
    int64_t last = 0;
    void* data = nullptr;
    JobFunction function = nullptr;
    Worker worker;
};

void RunJob(ThreadJob& job) {
    TRV_LOG("Starting job.", job.index);
    if (job.function != nullptr) {
        job.function(job.first, job.last, job.index, job.onMainThread, job.data);
    } else {
        TRV_LOG("No work?");
    }
    job.done.Set();
    TRV_LOG("Job done.", job.index);
}

void threadWorkCallback(void* argument) {
    TRV_LOG("threadWorkCallback", CurrentThreadId());
    TRV_LOG("Run started.");
    RunJob(*static_cast<ThreadJob*>(argument));
    TRV_LOG("Run done.");
}

void threadFunction(void* argument) {
    TRV_LOG("threadFunction");
    RunJob(*static_cast<ThreadJob*>(argument));
}

/// The jobs of one run.
class ThreadJobs {
  public:
    explicit ThreadJobs(int64_t count) : count_(count) {
        TRV_LOG("InitThreads", count);
        jobs_.reset(new (std::nothrow) ThreadJob[static_cast<size_t>(count)]);
    }
    [[nodiscard]] bool Ok() const { return jobs_ != nullptr; }

    void CreateJobs(int64_t rows, void* data, JobFunction function) {
        TRV_LOG("CreateJobs", count_);
        const int64_t rowsEach = rows / count_;
        ForEach([&](ThreadJob& job, int64_t index) {
            job.first = index * rowsEach;
            job.last = index == count_ - 1 ? rows - 1 : (index + 1) * rowsEach - 1;
            job.data = data;
            job.function = function;
            TRV_LOG("Job", index, job.first, job.last);
        });
    }
    void StartThreads() {
        TRV_LOG("StartThreads", count_);
        ForEach([](ThreadJob& job, int64_t index) {
            TRV_LOG("InitThread", index);
            job.index = index;
            job.started = job.worker.Start(threadWorkCallback, threadFunction, &job, false);
        });
    }
    void RunOnMainThread() {
        TRV_LOG("RunOnMainThread", count_);
        ForEach([](ThreadJob& job, int64_t) {
            if (!job.started) RunJob(job);
        });
    }
    void WaitForThreads() {
        TRV_LOG("WaitForThreads", count_);
        host::REALYieldToRB();
        ForEach([](ThreadJob& job, int64_t index) {
            TRV_LOG("Wait for thread", index);
            if (!job.started) return;
            while (!job.done.Get()) {
                host::REALYieldToRB();
                job.done.Rest();
            }
        });
        ForEach([](ThreadJob& job, int64_t index) {
            TRV_LOG("After Job", index, job.first, job.last, job.done.Get());
        });
    }
    void End() {
        ForEach([](ThreadJob& job, int64_t) { job.worker.End(nullptr); });
    }

  private:
    template <class Work>
    void ForEach(Work&& work) {
        for (int64_t i = 0; i < count_; ++i)
            work(jobs_[static_cast<size_t>(i)], i);
    }

    int64_t count_;
    std::unique_ptr<ThreadJob[]> jobs_;
};

/// One call of RunThreaded.
struct RunThreadData {
    void* data;
    void (*work)(void* data);
    DoneFlag done;
    Worker worker;
};

void RunThreadedBody(RunThreadData& run) {
    TRV_LOG("Starting job.");
    if (run.work != nullptr) {
        run.work(run.data);
    } else {
        TRV_LOG("No work?");
    }
    TRV_LOG("RunThreadData::SetDone");
    run.done.Set();
    TRV_LOG("Job done.");
}

void RunThreadedWorkCallback(void* argument) {
    RunThreadedBody(*static_cast<RunThreadData*>(argument));
}

void RunThreadedFunction(void* argument) {
    RunThreadedBody(*static_cast<RunThreadData*>(argument));
}

void WaitForThreaded(RunThreadData& run, void (*waiting)(void* data)) {
    TRV_LOG("WaitForThreads");
    host::REALYieldToRB();
    bool done = run.done.Get();
    while (!done) {
        done = run.done.Get();
        TRV_LOG("isDone", done);
        host::REALYieldToRB();
        run.done.Rest();
        if (waiting != nullptr) waiting(run.data);
    }
    TRV_LOG("Loop ended. Yield again");
    host::REALYieldToRB();
    if (waiting != nullptr) waiting(run.data);
    TRV_LOG("WaitForThreads done");
    TRV_LOG("Done with all.");
}

}  // namespace

void RunThreads(int64_t threads, int64_t count, void* data, JobFunction function) {
    TRV_LOG("RunThreads", threads, count);
    if (threads < 0) {
        TRV_LOG("No thread");
        function(0, count - 1, -1, false, data);
        return;
    }
    const int64_t wanted = threads == 0 ? ProcessorCount() : std::min(threads, kMostThreads);
    TRV_LOG("Threaded", wanted);
    ThreadJobs jobs(wanted);
    if (!jobs.Ok()) {
        TRV_LOG("Failed to create thread data.");
        return;
    }
    jobs.CreateJobs(count, data, function);
    jobs.StartThreads();
    jobs.RunOnMainThread();
    jobs.WaitForThreads();
    jobs.End();
    TRV_LOG("Done with all.");
}

bool RunThreaded(void* data, void (*work)(void* data), void (*waiting)(void* data)) {
    TRV_LOG("RunThreaded");
    TRV_LOG("RunThreadData::RunThreadData");
    RunThreadData run{data, work, {}, {}};
    TRV_LOG("GetCurrentThreadPoolEnvironment");
    const bool started = run.worker.Start(RunThreadedWorkCallback, RunThreadedFunction, &run, true);
    if (started) WaitForThreaded(run, waiting);
    TRV_LOG("RunThreadData::~RunThreadData");
    run.worker.End("CloseHandle for thread.");
    return started;
}

void NameWorker(const char* name) {
    if (CurrentThreadId() != loadingThread) NameCurrentThread(name);
}

}  // namespace trv
