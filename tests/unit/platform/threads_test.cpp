#include "platform/threads.h"

#include <atomic>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <limits>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace trv {
namespace {

constexpr size_t kStack = 0x200000;
constexpr bool kWindows = std::filesystem::path::preferred_separator == '\\';

/// Takes its faults back at the end of a test.
struct Faults {
    explicit Faults(ThreadingFaults faults) { threadingFaults = faults; }
    ~Faults() { threadingFaults = {}; }
};

void Increment(void* counter) {
    ++*static_cast<std::atomic<int>*>(counter);
}

TEST(Thread, RunsItsFunctionOnceAndEndsBeforeItsOwner) {
    std::atomic<int> runs = 0;
    {
        const Thread thread(Increment, &runs, kStack);
        ASSERT_TRUE(thread);
    }
    EXPECT_EQ(runs, 1);
}

TEST(Thread, RunsBesideItsMaker) {
    struct Shared {
        std::atomic<bool> go = false;
        std::atomic<bool> gone = false;
    } shared;
    {
        const Thread thread(
            [](void* argument) {
                auto& both = *static_cast<Shared*>(argument);
                while (!both.go)
                    Sleep(1);
                both.gone = true;
            },
            &shared, kStack);
        ASSERT_TRUE(thread);
        EXPECT_FALSE(shared.gone);
        shared.go = true;
    }
    EXPECT_TRUE(shared.gone);
}

TEST(Thread, CanBeMoved) {
    std::atomic<int> runs = 0;
    Thread first(Increment, &runs, kStack);
    ASSERT_TRUE(first);
    Thread second = std::move(first);
    EXPECT_FALSE(first);  // NOLINT(bugprone-use-after-move): the point
    EXPECT_TRUE(second);
    second = Thread();
    EXPECT_EQ(runs, 1);
    EXPECT_FALSE(second);
}

TEST(Thread, HasItsStack) {
    std::atomic<int> touched = 0;
    {
        const Thread thread(
            [](void* argument) {
                volatile uint8_t block[kStack / 2];
                for (size_t i = 0; i < sizeof block; i += 1024)
                    block[i] = static_cast<uint8_t>(i);
                *static_cast<std::atomic<int>*>(argument) = block[1024] + 1;
            },
            &touched, kStack);
        ASSERT_TRUE(thread);
    }
    EXPECT_EQ(touched, 1);
}

TEST(Thread, ASmallStackIsRaisedToTheLeastOne) {
    std::atomic<int> runs = 0;
    {
        const Thread thread(Increment, &runs, 1);
        ASSERT_TRUE(thread);
    }
    EXPECT_EQ(runs, 1);
}

TEST(Thread, SaysThatItWasNotMade) {
    std::atomic<int> runs = 0;
    const Faults faults({.threads = true});
    const Thread thread(Increment, &runs, kStack);
    EXPECT_NE(LastSystemError(), 0);
    EXPECT_FALSE(thread);
    EXPECT_EQ(runs, 0);
}

TEST(PoolWork, RunsAsOftenAsSubmitted) {
    std::atomic<int> runs = 0;
    {
        PoolWork work(Increment, &runs, nullptr);
        const int64_t error = LastSystemError();
        ASSERT_EQ(static_cast<bool>(work), kWindows) << "Windows alone has a pool of its own";
        EXPECT_TRUE(work || error != 0);
        EXPECT_EQ(runs, 0);
        work.Submit();
        work.Submit();
        work.Submit();
    }
    EXPECT_EQ(runs, kWindows ? 3 : 0);
}

TEST(PoolWork, SaysThatItWasNotMade) {
    std::atomic<int> runs = 0;
    const Faults faults({.poolWork = true});
    PoolWork work(Increment, &runs, nullptr);
    EXPECT_NE(LastSystemError(), 0);
    EXPECT_FALSE(work);
    work.Submit();
    EXPECT_EQ(runs, 0);
    PoolWork never;
    never.Submit();
    EXPECT_FALSE(never);
}

TEST(Mutex, LetsOneThreadIn) {
    struct Shared {
        Mutex mutex;
        int64_t value = 0;
    } shared;
    ASSERT_TRUE(shared.mutex);
    {
        std::vector<Thread> threads;
        for (int i = 0; i < 4; ++i) {
            threads.emplace_back(
                [](void* argument) {
                    auto& both = *static_cast<Shared*>(argument);
                    for (int round = 0; round < 1000; ++round) {
                        const std::lock_guard lock(both.mutex);
                        both.value = both.value + 1;
                    }
                },
                &shared, kStack);
            ASSERT_TRUE(threads.back());
        }
    }
    EXPECT_EQ(shared.value, 4000);
}

TEST(Mutex, SaysThatItWasNotMadeAndIsHarmless) {
    const Faults faults({.mutexes = true});
    Mutex mutex;
    EXPECT_FALSE(mutex);
    mutex.lock();
    mutex.lock();
    mutex.unlock();
}

TEST(Event, EndsTheRestOfAThread) {
    struct Shared {
        Event event;
        std::atomic<bool> rested = false;
    } shared;
    ASSERT_TRUE(shared.event);
    {
        const Thread thread(
            [](void* argument) {
                auto& both = *static_cast<Shared*>(argument);
                both.event.Rest(std::numeric_limits<int32_t>::max());
                both.rested = true;
            },
            &shared, kStack);
        ASSERT_TRUE(thread);
        EXPECT_FALSE(shared.rested);
        shared.event.Set();
    }
    EXPECT_TRUE(shared.rested);
    // Once it has happened nobody rests.
    shared.event.Rest(std::numeric_limits<int32_t>::max());
    shared.event.Set();
    shared.event.Rest(std::numeric_limits<int32_t>::max());
}

TEST(Event, ARestEndsByItself) {
    Event event;
    ASSERT_TRUE(event);
    event.Rest(0);
    event.Rest(1);
    event.Rest(1001);  // past a full second
}

TEST(Event, WithoutOneARestIsASleep) {
    const Faults faults({.events = true});
    Event event;
    EXPECT_FALSE(event);
    event.Rest(1);
    event.Set();
    event.Rest(1);
}

TEST(ThreadCalls, ThereIsAProcessor) {
    EXPECT_GE(ProcessorCount(), 1);
    EXPECT_EQ(ProcessorCount(), ProcessorCount());
}

TEST(ThreadCalls, ThreadsHaveNumbersOfTheirOwn) {
    std::atomic<uint32_t> other = 0;
    {
        const Thread thread(
            [](void* argument) { *static_cast<std::atomic<uint32_t>*>(argument) = CurrentThreadId(); },
            &other, kStack);
        ASSERT_TRUE(thread);
    }
    EXPECT_NE(CurrentThreadId(), 0U);
    EXPECT_EQ(CurrentThreadId(), CurrentThreadId());
    EXPECT_NE(other, 0U);
    EXPECT_NE(other, CurrentThreadId());
}

TEST(ThreadCalls, AThreadCanBeNamed) {
    std::string name;
    {
        const Thread thread(
            [](void* argument) {
                NameCurrentThread("a name of more than fifteen characters");
                std::ifstream file("/proc/self/task/" + std::to_string(CurrentThreadId()) + "/comm");
                std::getline(file, *static_cast<std::string*>(argument));
            },
            &name, kStack);
        ASSERT_TRUE(thread);
    }
    // Elsewhere only a debugger sees it; that the call came back is what there is to see.
    EXPECT_EQ(name, kWindows ? "" : "a name of more ");
}

}  // namespace
}  // namespace trv
