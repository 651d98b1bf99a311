#pragma once

// What the worker runner needs of the system: work for a pool, plain threads, mutexes, events, and the few
// calls around them. Every creation can fail; an object that was not made is false, and its functions have no
// effect.

#include <cstddef>
#include <cstdint>
#include <memory>

#include "platform/system_error.h"

namespace trv {

/// What a thread or a piece of pool work runs.
using ThreadFunction = void (*)(void* argument);

namespace threads_detail {

/// The system's side of an object below.
struct PoolWorkState;
struct ThreadState;
struct MutexState;
struct EventState;
struct Release {
    void operator()(PoolWorkState* state) const;
    void operator()(ThreadState* state) const;
    void operator()(MutexState* state) const;
    void operator()(EventState* state) const;
};

}  // namespace threads_detail

/// A piece of work for the system's pool of threads. A system without one (all but Windows) never makes any.
class PoolWork {
  public:
    PoolWork() = default;
    /// Work that calls function(argument). `environment` is the system's callback environment, which selects
    /// the pool; null stands for the process's own pool. LastSystemError says why none was made.
    PoolWork(ThreadFunction function, void* argument, void* environment);

    /// Hands the work to the pool, which runs it once for each call.
    void Submit();
    explicit operator bool() const { return state_ != nullptr; }

  private:
    /// Waits until what was submitted has run to its end, then closes the work.
    std::unique_ptr<threads_detail::PoolWorkState, threads_detail::Release> state_;
};

/// A thread that runs function(argument) from its creation on.
class Thread {
  public:
    Thread() = default;
    /// `stackBytes` is the size of its stack. LastSystemError says why none was made.
    Thread(ThreadFunction function, void* argument, size_t stackBytes);

    explicit operator bool() const { return state_ != nullptr; }

  private:
    /// Waits until the function has run to its end, then gives the thread up.
    std::unique_ptr<threads_detail::ThreadState, threads_detail::Release> state_;
};

/// A mutex, not recursive. Its locking functions are spelled as the standard's guards want them.
class Mutex {
  public:
    Mutex();

    void lock();
    void unlock();
    explicit operator bool() const { return state_ != nullptr; }

  private:
    std::unique_ptr<threads_detail::MutexState, threads_detail::Release> state_;
};

/// Something that happens once and ends the rest of a thread that waits for it.
class Event {
  public:
    Event();

    /// Makes it happen. The event must outlive this call, also where a waiting thread goes on meanwhile.
    void Set();
    /// Rests until it has happened, for at most about `milliseconds`; for all of them without an event.
    void Rest(uint32_t milliseconds);
    explicit operator bool() const { return state_ != nullptr; }

  private:
    std::unique_ptr<threads_detail::EventState, threads_detail::Release> state_;
};

/// Lets the thread rest for at least `milliseconds`.
void Sleep(uint32_t milliseconds);

/// Processors that the system runs threads on, at least 1.
[[nodiscard]] int64_t ProcessorCount();

/// The system's number of the calling thread.
[[nodiscard]] uint32_t CurrentThreadId();

/// Gives the calling thread a name that debuggers show. ASCII; some systems cut it to 15 characters.
void NameCurrentThread(const char* name);

/// Makes creations fail as on a system that has nothing left to give, so that a test can see what happens
/// then.
struct ThreadingFaults {
    bool poolWork = false;
    bool threads = false;
    bool mutexes = false;
    bool events = false;
};
extern ThreadingFaults threadingFaults;

}  // namespace trv
