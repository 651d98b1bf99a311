#pragma once

// Makes the plug-in's allocations fail. The test programs have their own nothrow forms of operator new, which
// are the only ones that the plug-in's code uses where it has an answer to a failure.

#include <cstddef>

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

}  // namespace trv::test
