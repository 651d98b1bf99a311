// What the class WinThreadPoolTRV leads to.
#pragma once

#include <memory>

#include "trvhost/thread_pool.h"

namespace trvhost {

/// What the first word of an object's class data points to.
struct ThreadPoolRecord {
    void* others[6];
    void* pool;
    void* environment;
};

/// The platform's pool. Throws std::runtime_error when the system gives none.
std::unique_ptr<ThreadPool> MakeThreadPool();

/// A pool and its record, kept by the host.
struct OfferedThreadPool {
    std::unique_ptr<ThreadPool> pool;
    ThreadPoolRecord record{};
};

}  // namespace trvhost
