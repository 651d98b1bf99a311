#pragma once

// Slots and one-time look-ups of the frame are kept for the life of the process, so what happens at their
// first use can be seen in a new process only.

#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>

#ifdef TRV_COVERAGE
extern "C" void __gcov_dump();
#endif

namespace trv::test {

/// What a process that ends at once leaves behind: its output and, in an instrumented program, its counts.
inline void FlushAll() {
    std::fflush(nullptr);
#ifdef TRV_COVERAGE
    __gcov_dump();
#endif
}

}  // namespace trv::test

/// Runs a statement in a process of its own, in which nothing was resolved yet; the test fails if an
/// expectation in it does. What failed stands in the output.
#define TRV_IN_FRESH_PROCESS(...)                                  \
    do {                                                           \
        GTEST_FLAG_SET(death_test_style, "threadsafe");            \
        const auto trvStatement = [&] { __VA_ARGS__ };             \
        EXPECT_EXIT(                                               \
            {                                                      \
                trvStatement();                                    \
                ::trv::test::FlushAll();                           \
                std::_Exit(::testing::Test::HasFailure() ? 1 : 0); \
            },                                                     \
            ::testing::ExitedWithCode(0), "");                     \
    } while (false)
