#include "thread_pool.h"

#include <atomic>
#include <stdexcept>
#include <windows.h>

namespace trvhost {

namespace {

constexpr DWORD kThreads = 4;

/// All pools of the process: the system tells the end of a piece of work with that work's own context.
std::atomic<int64_t> workDone;

void CALLBACK NoteEnd(PTP_CALLBACK_INSTANCE /*instance*/, void* /*context*/) {
    ++workDone;
}

class SystemThreadPool final : public ThreadPool {
  public:
    SystemThreadPool() : pool_(CreateThreadpool(nullptr)), doneBefore_(workDone) {
        if (pool_ == nullptr) throw std::runtime_error("the system has no thread pool to give");
        SetThreadpoolThreadMaximum(pool_, kThreads);
        InitializeThreadpoolEnvironment(&environment_);
        SetThreadpoolCallbackPool(&environment_, pool_);
        environment_.FinalizationCallback = NoteEnd;
    }
    ~SystemThreadPool() override {
        DestroyThreadpoolEnvironment(&environment_);
        CloseThreadpool(pool_);
    }

    void* Pool() override { return pool_; }
    void* Environment() override { return &environment_; }
    int64_t WorkDone() const override { return workDone - doneBefore_; }

  private:
    PTP_POOL pool_;
    TP_CALLBACK_ENVIRON environment_{};
    const int64_t doneBefore_;
};

}  // namespace

std::unique_ptr<ThreadPool> MakeThreadPool() {
    return std::make_unique<SystemThreadPool>();
}

}  // namespace trvhost
