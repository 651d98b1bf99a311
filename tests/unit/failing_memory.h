#pragma once

// Makes the plug-in's allocations fail. The test programs have their own nothrow forms of operator new, which
// are the only ones that the plug-in's code uses where it has an answer to a failure.

#include <cstddef>
#include <cstdint>

namespace trv::test {

/// While it lives, nothrow allocations of at least `smallest` bytes give null. One at a time.
class FailingMemory {
  public:
    explicit FailingMemory(size_t smallest = 0);
    ~FailingMemory();
    FailingMemory(const FailingMemory&) = delete;
    FailingMemory& operator=(const FailingMemory&) = delete;

    /// How many failed so far.
    [[nodiscard]] int Failures() const;
};

/// While it lives, the n-th nothrow allocation gives null, n counting from 1. One at a time.
class FailingAllocation {
  public:
    explicit FailingAllocation(int64_t n);
    ~FailingAllocation();
    FailingAllocation(const FailingAllocation&) = delete;
    FailingAllocation& operator=(const FailingAllocation&) = delete;

    /// Whether it has come to that.
    [[nodiscard]] bool Happened() const;
};

}  // namespace trv::test
