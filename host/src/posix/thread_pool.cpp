// The system has no pool of threads: the class leads to an environment that nobody can use.

#include "thread_pool.h"

namespace trvhost {

namespace {

class NoThreadPool final : public ThreadPool {
  public:
    void* Pool() override { return this; }
    void* Environment() override { return &environment_; }
    int64_t WorkDone() const override { return 0; }

  private:
    int64_t environment_ = 0;
};

}  // namespace

std::unique_ptr<ThreadPool> MakeThreadPool() {
    return std::make_unique<NoThreadPool>();
}

}  // namespace trvhost
