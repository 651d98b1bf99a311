// A thread pool as a program's other plug-in offers one, through the class WinThreadPoolTRV.
#pragma once

#include <cstdint>

#include "trvhost/host.h"

namespace trvhost {

/// The pool behind the class. On Windows it is one of the system's; other systems have none, and nothing ever
/// runs in it.
class ThreadPool {
  public:
    ThreadPool() = default;
    virtual ~ThreadPool() = default;
    ThreadPool(const ThreadPool&) = delete;
    ThreadPool& operator=(const ThreadPool&) = delete;

    /// The system's pool.
    virtual void* Pool() = 0;
    /// The callback environment that selects it; never null.
    virtual void* Environment() = 0;
    /// Pieces of work that have run in it to their end.
    virtual int64_t WorkDone() const = 0;
};

/// Makes the host know the class WinThreadPoolTRV. A plug-in looks for it once, so this has to come before
/// its first threaded work. The pool lives as long as the host.
ThreadPool& OfferThreadPool(const Host& host);

/// The same class without anything behind it: its objects' data are zeros.
void OfferEmptyThreadPool(const Host& host);

}  // namespace trvhost
