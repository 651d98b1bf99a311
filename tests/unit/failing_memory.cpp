#include "unit/failing_memory.h"

#include <atomic>
#include <cstdint>
#include <new>

namespace {

constexpr size_t kNever = SIZE_MAX;
std::atomic<size_t> smallestFailure{kNever};
std::atomic<int> failures{0};
std::atomic<int64_t> until{0};  // the allocation that fails; none at 0

bool Fails(size_t bytes) {
    if (until.load() > 0 && until.fetch_sub(1) == 1) return true;
    if (bytes < smallestFailure) return false;
    ++failures;
    return true;
}

template <class Allocate>
void* AllocatedUnlessRefused(size_t bytes, const Allocate& allocate) noexcept {
    try {
        return Fails(bytes) ? nullptr : allocate(bytes);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

void* NewObject(size_t bytes) noexcept {
    return AllocatedUnlessRefused(bytes, [](size_t wanted) { return ::operator new(wanted); });
}

void* NewArray(size_t bytes) noexcept {
    return AllocatedUnlessRefused(bytes, [](size_t wanted) { return ::operator new[](wanted); });
}

}  // namespace

#ifdef TRV_WRAPPED_OPERATORS
// The sanitizer's operators would win over the program's; the linker sends their callers here instead
// (--wrap).
void* WrappedNew(size_t bytes, const std::nothrow_t& tag) noexcept asm("__wrap__ZnwmRKSt9nothrow_t");
void* WrappedNewArray(size_t bytes, const std::nothrow_t& tag) noexcept asm("__wrap__ZnamRKSt9nothrow_t");

void* WrappedNew(size_t bytes, const std::nothrow_t& /*tag*/) noexcept {
    return NewObject(bytes);
}

void* WrappedNewArray(size_t bytes, const std::nothrow_t& /*tag*/) noexcept {
    return NewArray(bytes);
}
#else
void* operator new(size_t bytes, const std::nothrow_t& /*tag*/) noexcept {
    return NewObject(bytes);
}

void* operator new[](size_t bytes, const std::nothrow_t& /*tag*/) noexcept {
    return NewArray(bytes);
}
#endif

namespace trv::test {

FailingMemory::FailingMemory(size_t smallest) {
    failures = 0;
    smallestFailure = smallest;
}

FailingMemory::~FailingMemory() {
    smallestFailure = kNever;
}

int FailingMemory::Failures() const {
    return failures;
}

FailingAllocation::FailingAllocation(int64_t n) {
    until = n;
}

FailingAllocation::~FailingAllocation() {
    until = 0;
}

bool FailingAllocation::Happened() const {
    return until == 0;
}

}  // namespace trv::test
