#include "thread_pool.h"

#include "core.h"

namespace trvhost {

namespace {

constexpr const char* kClass = "WinThreadPoolTRV";

}  // namespace

ThreadPool& OfferThreadPool(const Host& host) {
    Core& core = host.Internals();
    if (core.threadPool != nullptr) return *core.threadPool->pool;
    core.threadPool = std::make_unique<OfferedThreadPool>();
    OfferedThreadPool& offered = *core.threadPool;
    offered.pool = MakeThreadPool();
    offered.record.pool = offered.pool->Pool();
    offered.record.environment = offered.pool->Environment();
    core.classes.AddRecordClass(kClass, &offered.record);
    return *offered.pool;
}

void OfferEmptyThreadPool(const Host& host) {
    host.Internals().classes.AddRecordClass(kClass, nullptr);
}

}  // namespace trvhost
