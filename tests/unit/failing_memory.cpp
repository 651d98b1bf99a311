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

}  // namespace

void* operator new(size_t bytes, const std::nothrow_t& /*tag*/) noexcept {
    try {
        return Fails(bytes) ? nullptr : ::operator new(bytes);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

void* operator new[](size_t bytes, const std::nothrow_t& /*tag*/) noexcept {
    try {
        return Fails(bytes) ? nullptr : ::operator new[](bytes);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

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
