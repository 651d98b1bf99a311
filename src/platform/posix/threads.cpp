#include "platform/threads.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <ctime>
#include <mutex>
#include <new>
#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "platform/faults.h"

namespace trv {

ThreadingFaults threadingFaults;

namespace threads_detail {

struct PoolWorkState {};

struct ThreadState {
    ThreadFunction function;
    void* argument;
    pthread_t thread;
};

struct MutexState {
    std::mutex mutex;
};

struct EventState {
    std::mutex mutex;
    pthread_cond_t condition;
    bool happened = false;
};

void Release::operator()(PoolWorkState* state) const {
    delete state;
}

void Release::operator()(ThreadState* state) const {
    pthread_join(state->thread, nullptr);
    delete state;
}

void Release::operator()(MutexState* state) const {
    delete state;
}

void Release::operator()(EventState* state) const {
    pthread_cond_destroy(&state->condition);
    delete state;
}

}  // namespace threads_detail

namespace {

void* RunThread(void* argument) {
    const auto* state = static_cast<threads_detail::ThreadState*>(argument);
    state->function(state->argument);
    return nullptr;
}

/// Starts the thread; the result is an error number.
int StartThread(threads_detail::ThreadState& state, size_t stackBytes) {
    pthread_attr_t attributes;
    int error = pthread_attr_init(&attributes);
    if (error != 0) return error;
    const size_t leastStack = static_cast<size_t>(sysconf(_SC_THREAD_STACK_MIN));
    error = pthread_attr_setstacksize(&attributes, std::max(stackBytes, leastStack));
    if (error == 0) error = pthread_create(&state.thread, &attributes, RunThread, &state);
    pthread_attr_destroy(&attributes);
    return error;
}

/// A condition whose waits end by the clock that nobody sets. False if the system has none to give.
bool MakeCondition(pthread_cond_t& condition) {
    pthread_condattr_t attributes;
    if (pthread_condattr_init(&attributes) != 0) return false;
    const bool made = pthread_condattr_setclock(&attributes, CLOCK_MONOTONIC) == 0 &&
                      pthread_cond_init(&condition, &attributes) == 0;
    pthread_condattr_destroy(&attributes);
    return made;
}

}  // namespace

PoolWork::PoolWork(ThreadFunction /*function*/, void* /*argument*/, void* /*environment*/) {
    errno = ENOSYS;
}

void PoolWork::Submit() {}

Thread::Thread(ThreadFunction function, void* argument, size_t stackBytes) {
    errno = EAGAIN;
    if (threadingFaults.threads || Refused(Fault::Thread)) return;
    auto* state = new (std::nothrow) threads_detail::ThreadState{function, argument, {}};
    if (state == nullptr) return;
    const int error = StartThread(*state, stackBytes);
    if (error == 0) {
        state_.reset(state);
    } else {
        delete state;
        errno = error;
    }
}

Mutex::Mutex() {
    if (threadingFaults.mutexes || Refused(Fault::Mutex)) return;
    state_.reset(new (std::nothrow) threads_detail::MutexState);
}

void Mutex::lock() {
    if (state_ != nullptr) state_->mutex.lock();
}

void Mutex::unlock() {
    if (state_ != nullptr) state_->mutex.unlock();
}

Event::Event() {
    if (threadingFaults.events || Refused(Fault::Event)) return;
    auto* state = new (std::nothrow) threads_detail::EventState;
    if (state != nullptr && MakeCondition(state->condition)) {
        state_.reset(state);
    } else {
        delete state;
    }
}

void Event::Set() {
    if (state_ == nullptr) return;
    const std::lock_guard lock(state_->mutex);
    state_->happened = true;
    pthread_cond_broadcast(&state_->condition);
}

void Event::Rest(uint32_t milliseconds) {
    if (state_ == nullptr) return Sleep(milliseconds);
    timespec end{};
    clock_gettime(CLOCK_MONOTONIC, &end);
    const int64_t nanoseconds = end.tv_nsec + int64_t{milliseconds} * 1'000'000;
    end.tv_sec += static_cast<time_t>(nanoseconds / 1'000'000'000);
    end.tv_nsec = static_cast<long>(nanoseconds % 1'000'000'000);
    const std::lock_guard lock(state_->mutex);
    int error = 0;
    while (!state_->happened && error == 0)
        error = pthread_cond_timedwait(&state_->condition, state_->mutex.native_handle(), &end);
}

void Sleep(uint32_t milliseconds) {
    timespec rest{static_cast<time_t>(milliseconds / 1000),
                  static_cast<long>(milliseconds % 1000) * 1'000'000};
    while (nanosleep(&rest, &rest) != 0 && errno == EINTR) {
    }
}

int64_t ProcessorCount() {
    return std::max<int64_t>(sysconf(_SC_NPROCESSORS_ONLN), 1);
}

uint32_t CurrentThreadId() {
    return static_cast<uint32_t>(syscall(SYS_gettid));
}

void NameCurrentThread(const char* name) {
    char cut[16] = {};  // the longest name that the system takes, with its end
    std::strncpy(cut, name, sizeof cut - 1);
    pthread_setname_np(pthread_self(), cut);
}

}  // namespace trv
