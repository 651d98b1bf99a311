#include "platform/threads.h"

#include <algorithm>
#include <new>
#include <windows.h>

#include "platform/faults.h"

namespace trv {

ThreadingFaults threadingFaults;

namespace threads_detail {

struct PoolWorkState {
    ThreadFunction function;
    void* argument;
    PTP_WORK work;
};

struct ThreadState {
    ThreadFunction function;
    void* argument;
    HANDLE thread;
};

struct MutexState {
    HANDLE mutex;
};

struct EventState {
    HANDLE event;
};

void Release::operator()(PoolWorkState* state) const {
    WaitForThreadpoolWorkCallbacks(state->work, FALSE);
    CloseThreadpoolWork(state->work);
    delete state;
}

void Release::operator()(ThreadState* state) const {
    WaitForSingleObject(state->thread, INFINITE);
    CloseHandle(state->thread);
    delete state;
}

void Release::operator()(MutexState* state) const {
    CloseHandle(state->mutex);
    delete state;
}

void Release::operator()(EventState* state) const {
    CloseHandle(state->event);
    delete state;
}

}  // namespace threads_detail

namespace {

using threads_detail::EventState;
using threads_detail::MutexState;
using threads_detail::PoolWorkState;
using threads_detail::ThreadState;

void CALLBACK RunPoolWork(PTP_CALLBACK_INSTANCE /*instance*/, void* argument, PTP_WORK /*work*/) {
    const auto* state = static_cast<PoolWorkState*>(argument);
    state->function(state->argument);
}

DWORD WINAPI RunThread(void* argument) {
    const auto* state = static_cast<ThreadState*>(argument);
    state->function(state->argument);
    return 0;
}

/// Tells a debugger the name of a thread, and is swallowed where there is none.
constexpr DWORD kNameException = 0x406D1388;

LONG CALLBACK SwallowNameException(EXCEPTION_POINTERS* exception) {
    return exception->ExceptionRecord->ExceptionCode == kNameException ? EXCEPTION_CONTINUE_EXECUTION
                                                                       : EXCEPTION_CONTINUE_SEARCH;
}

}  // namespace

PoolWork::PoolWork(ThreadFunction function, void* argument, void* environment) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    if (threadingFaults.poolWork || Refused(Fault::PoolWork)) return;
    auto* state = new (std::nothrow) PoolWorkState{function, argument, nullptr};
    if (state == nullptr) return;
    state->work = CreateThreadpoolWork(RunPoolWork, state, static_cast<PTP_CALLBACK_ENVIRON>(environment));
    if (state->work != nullptr) {
        state_.reset(state);
    } else {
        delete state;
    }
}

void PoolWork::Submit() {
    if (state_ != nullptr) SubmitThreadpoolWork(state_->work);
}

Thread::Thread(ThreadFunction function, void* argument, size_t stackBytes) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    if (threadingFaults.threads || Refused(Fault::Thread)) return;
    auto* state = new (std::nothrow) ThreadState{function, argument, nullptr};
    if (state == nullptr) return;
    state->thread =
        CreateThread(nullptr, stackBytes, RunThread, state, STACK_SIZE_PARAM_IS_A_RESERVATION, nullptr);
    if (state->thread != nullptr) {
        state_.reset(state);
    } else {
        delete state;
    }
}

Mutex::Mutex() {
    if (threadingFaults.mutexes || Refused(Fault::Mutex)) return;
    auto* state = new (std::nothrow) MutexState{CreateMutexW(nullptr, FALSE, nullptr)};
    if (state != nullptr && state->mutex != nullptr) {
        state_.reset(state);
    } else {
        delete state;
    }
}

void Mutex::lock() {
    if (state_ != nullptr) WaitForSingleObject(state_->mutex, INFINITE);
}

void Mutex::unlock() {
    if (state_ != nullptr) ReleaseMutex(state_->mutex);
}

Event::Event() {
    if (threadingFaults.events || Refused(Fault::Event)) return;
    auto* state = new (std::nothrow) EventState{CreateEventW(nullptr, TRUE, FALSE, nullptr)};
    if (state != nullptr && state->event != nullptr) {
        state_.reset(state);
    } else {
        delete state;
    }
}

void Event::Set() {
    if (state_ != nullptr) SetEvent(state_->event);
}

void Event::Rest(uint32_t milliseconds) {
    if (state_ == nullptr) return Sleep(milliseconds);
    WaitForSingleObject(state_->event, milliseconds);
}

void Sleep(uint32_t milliseconds) {
    ::Sleep(milliseconds);
}

int64_t ProcessorCount() {
    SYSTEM_INFO info{};
    GetSystemInfo(&info);
    return std::max<int64_t>(info.dwNumberOfProcessors, 1);
}

uint32_t CurrentThreadId() {
    return GetCurrentThreadId();
}

void NameCurrentThread(const char* name) {
    struct NameRecord {
        DWORD type;
        const char* name;
        DWORD thread;
        DWORD flags;
    };
    const NameRecord record{0x1000, name, GetCurrentThreadId(), 0};
    void* const swallower = AddVectoredExceptionHandler(1, SwallowNameException);
    if (swallower == nullptr) return;
    ULONG_PTR words[sizeof record / sizeof(ULONG_PTR)];
    static_assert(sizeof words == sizeof record);
    __builtin_memcpy(words, &record, sizeof record);
    RaiseException(kNameException, 0, static_cast<DWORD>(std::size(words)), words);
    RemoveVectoredExceptionHandler(swallower);
}

}  // namespace trv
