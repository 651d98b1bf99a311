// The worker runner: how rows are divided, and that no job is lost whatever the system refuses.

#include "threads/worker_runner.h"

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <gmock/gmock.h>
#include <mutex>
#include <tuple>

#include "platform/threads.h"
#include "unit/failing_memory.h"
#include "unit/frame/log_capture.h"

namespace trv {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::Not;
using testing::StartsWith;

constexpr bool kWindows = std::filesystem::path::preferred_separator == '\\';

/// Takes its faults back at the end of a test.
struct Faults {
    explicit Faults(ThreadingFaults faults) { threadingFaults = faults; }
    ~Faults() { threadingFaults = {}; }
};

struct Call {
    int64_t job;
    int64_t first;
    int64_t last;
    friend auto operator<=>(const Call&, const Call&) = default;
    friend std::ostream& operator<<(std::ostream& out, const Call& call) {
        return out << call.job << ": " << call.first << "-" << call.last;
    }
};

/// Notes the calls of a run.
struct Calls {
    std::mutex mutex;
    std::vector<Call> calls;
    std::vector<uint32_t> threads;

    static void Job(int64_t first, int64_t last, int64_t job, bool onMainThread, void* data) {
        auto& calls = *static_cast<Calls*>(data);
        const std::lock_guard lock(calls.mutex);
        calls.calls.push_back({job, first, last});
        calls.threads.push_back(CurrentThreadId());
        EXPECT_FALSE(onMainThread);
    }
};

std::vector<Call> CallsOf(int64_t threads, int64_t count) {
    Calls calls;
    RunThreads(threads, count, &calls, Calls::Job);
    std::sort(calls.calls.begin(), calls.calls.end());
    return calls.calls;
}

TEST(WorkerRunner, DividesRowsAndLeavesTheRestToTheLastJob) {
    EXPECT_THAT(CallsOf(4, 10), ElementsAre(Call{0, 0, 1}, Call{1, 2, 3}, Call{2, 4, 5}, Call{3, 6, 9}));
    const std::vector<Call> few = CallsOf(8, 3);
    ASSERT_EQ(few.size(), 8U);
    for (int64_t i = 0; i < 7; ++i)
        EXPECT_EQ(few[static_cast<size_t>(i)], (Call{i, 0, -1}));
    EXPECT_EQ(few[7], (Call{7, 0, 2}));
    EXPECT_THAT(CallsOf(1, 5), ElementsAre(Call{0, 0, 4}));
    EXPECT_THAT(CallsOf(2, 0), ElementsAre(Call{0, 0, -1}, Call{1, 0, -1}));
}

TEST(WorkerRunner, NumbersOfThreads) {
    EXPECT_THAT(CallsOf(-1, 10), ElementsAre(Call{-1, 0, 9}));
    EXPECT_THAT(CallsOf(INT64_MIN, 3), ElementsAre(Call{-1, 0, 2}));
    EXPECT_EQ(CallsOf(100, 50).size(), 32U);
    EXPECT_EQ(CallsOf(INT64_MAX, 50).size(), 32U);
    EXPECT_EQ(CallsOf(0, 50).size(), static_cast<size_t>(ProcessorCount()));
}

TEST(WorkerRunner, ANegativeNumberStaysOnTheCaller) {
    Calls calls;
    RunThreads(-5, 7, &calls, Calls::Job);
    EXPECT_THAT(calls.threads, ElementsAre(CurrentThreadId()));
}

TEST(WorkerRunner, WorkersAreOtherThreads) {
    Calls calls;
    RunThreads(3, 9, &calls, Calls::Job);
    EXPECT_THAT(calls.threads, Not(Contains(CurrentThreadId())));
}

TEST(WorkerRunner, NoJobIsLostWhateverFails) {
    for (int faults = 0; faults < 16; ++faults) {
        const Faults failing({(faults & 1) != 0, (faults & 2) != 0, (faults & 4) != 0, (faults & 8) != 0});
        Calls calls;
        RunThreads(5, 23, &calls, Calls::Job);
        std::sort(calls.calls.begin(), calls.calls.end());
        EXPECT_THAT(calls.calls, ElementsAre(Call{0, 0, 3}, Call{1, 4, 7}, Call{2, 8, 11}, Call{3, 12, 15},
                                             Call{4, 16, 22}))
            << faults;
        const bool inlined = (faults & 2) != 0 && (!kWindows || (faults & 1) != 0);
        if (inlined) {
            EXPECT_EQ(std::count(calls.threads.begin(), calls.threads.end(), CurrentThreadId()), 5);
        } else {
            EXPECT_EQ(std::count(calls.threads.begin(), calls.threads.end(), CurrentThreadId()), 0);
        }
    }
}

TEST(WorkerRunner, WhatWorkersWroteIsSeen) {
    for (const bool refused : {false, true}) {
        const Faults failing({.mutexes = refused, .events = refused});
        for (int round = 0; round < 20; ++round) {
            std::vector<int> rows(1000, 0);
            RunThreads(7, 1000, &rows, [](int64_t first, int64_t last, int64_t job, bool, void* data) {
                for (int64_t y = first; y <= last; ++y)
                    (*static_cast<std::vector<int>*>(data))[static_cast<size_t>(y)] +=
                        static_cast<int>(job) + 1;
            });
            for (size_t y = 0; y < rows.size(); ++y)
                ASSERT_EQ(rows[y], std::min<int>(static_cast<int>(y / 142), 6) + 1);
        }
    }
}

TEST(WorkerRunner, WithoutMemoryForItsRecordsNothingRuns) {
    test::LogCapture log;
    Calls calls;
    {
        const test::FailingMemory failing;
        RunThreads(4, 10, &calls, Calls::Job);
    }
    EXPECT_TRUE(calls.calls.empty());
    EXPECT_THAT(log.Lines(), Contains("Failed to create thread data."));
}

TEST(WorkerRunner, TheStagesNameThemselves) {
    test::LogCapture log;
    Calls calls;
    RunThreads(2, 5, &calls, Calls::Job);
    const std::vector<std::string> lines = log.Lines();
    for (const char* line : {"RunThreads 2, 5", "Threaded 2", "InitThreads 2", "CreateJobs 2", "Job 0, 0, 1",
                             "Job 1, 2, 4", "StartThreads 2", "InitThread 0", "InitThread 1",
                             "Starting job. 0", "Job done. 1", "RunOnMainThread 2", "WaitForThreads 2",
                             "Wait for thread 1", "After Job 0, 0, 1, 1", "Done with all."})
        EXPECT_THAT(lines, Contains(line));
    EXPECT_THAT(lines, Contains(kWindows ? StartsWith("threadWorkCallback ") : StartsWith("threadFunction")));
}

// RunThreaded
// --------------------------------------------------------------------------------------------------------

struct OneRun {
    std::atomic<int> work = 0;
    int waits = 0;
    uint32_t thread = 0;

    static void Work(void* data) {
        auto& run = *static_cast<OneRun*>(data);
        Sleep(5);
        run.thread = CurrentThreadId();
        ++run.work;
    }
    static void Wait(void* data) { ++static_cast<OneRun*>(data)->waits; }
};

TEST(WorkerThreaded, RunsOnceBesideTheCaller) {
    OneRun run;
    EXPECT_TRUE(RunThreaded(&run, OneRun::Work, OneRun::Wait));
    EXPECT_EQ(run.work, 1);
    EXPECT_GE(run.waits, 1);
    EXPECT_NE(run.thread, CurrentThreadId());
    EXPECT_TRUE(RunThreaded(&run, OneRun::Work, nullptr));
    EXPECT_EQ(run.work, 2);
    EXPECT_TRUE(RunThreaded(&run, nullptr, nullptr));
}

TEST(WorkerThreaded, WithoutAWorkerNothingRuns) {
    const Faults failing({.poolWork = true, .threads = true});
    test::LogCapture log;
    OneRun run;
    EXPECT_FALSE(RunThreaded(&run, OneRun::Work, OneRun::Wait));
    EXPECT_EQ(run.work, 0);
    EXPECT_EQ(run.waits, 0);
    EXPECT_THAT(log.Lines(), Contains(StartsWith("CreateThread failed ")));
}

TEST(WorkerThreaded, TheStagesNameThemselves) {
    test::LogCapture log;
    OneRun run;
    RunThreaded(&run, OneRun::Work, nullptr);
    const std::vector<std::string> lines = log.Lines();
    for (const char* line :
         {"RunThreaded", "RunThreadData::RunThreadData", "GetCurrentThreadPoolEnvironment", "WaitForThreads",
          "Starting job.", "RunThreadData::SetDone", "Job done.", "isDone 0", "Loop ended. Yield again",
          "WaitForThreads done", "Done with all.", "RunThreadData::~RunThreadData"})
        EXPECT_THAT(lines, Contains(line));
}

}  // namespace
}  // namespace trv
