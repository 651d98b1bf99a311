// What the system can refuse is refused, one thing at a time, while every member is called.

#include <gtest/gtest.h>
#include <string>

#include "blackbox/scratch_folder.h"
#include "platform/faults.h"
#include "platform/threads.h"
#include "plugin/class_definitions.h"
#include "quiet.h"
#include "scenario.h"
#include "trvhost/debug_capture.h"
#include "unit/failing_memory.h"
#include "unit/hosted_test.h"

extern "C" void REALPluginMain(trv::HostResolver resolver);

namespace trv {

namespace {

using test::FailingAllocation;
using trvfuzz::Scenario;

/// What a sanitizer reports is seen, even while the log is caught.
const bool reportsKept = (trvfuzz::KeepReports(false, nullptr), true);

constexpr int64_t kMostAttempts = 1000;  // of one call; more would be an endless loop

class SystemFaultsTest : public test::HostedTest {
  protected:
    SystemFaultsTest() {
        resolving_ = &TheHost();
        REALPluginMain([](const char* name) { return resolving_->Resolve(name); });
    }

    /// Refuses the first attempt, then the second and so on, until a call makes fewer. `pending` tells
    /// whether the refusal is still to come.
    template <class Arm, class Disarm>
    void RefuseEach(const Arm& arm, const Disarm& disarm, int64_t least) {
        for (const Scenario::Log log : {Scenario::Log::Off, Scenario::Log::On})
            RefuseEach(arm, disarm, least, log);
    }

    void RefuseEach(Fault fault, int64_t least) {
        RefuseEach([&](int64_t n) { RefuseNth(fault, n); },
                   [&] {
                       const bool happened = !RefusalPending(fault);
                       RefuseNth(fault, 0);
                       return happened;
                   },
                   least);
    }

  private:
    template <class Arm, class Disarm>
    void RefuseEach(const Arm& arm, const Disarm& disarm, int64_t least, Scenario::Log log) {
        const trvhost::Host& host = TheHost();
        const trvhost::DebugCapture quiet;
        const trvtest::ScratchFolder scratch;
        const Scenario scenario(host, scratch.Path(), log);
        int64_t injected = 0;
        for (const Scenario::Call& call : scenario.Calls()) {
            bool made = false;
            scenario.Run(
                call, [] {}, [&] { made = true; });
            (void)host.TakeException();
            if (!made) continue;
            const trvhost::LiveCounts before = host.Live();
            bool happened = true;
            for (int64_t n = 1; happened; ++n) {
                ASSERT_LT(n, kMostAttempts) << call.Name();
                scenario.Run(
                    call, [&] { arm(n); }, [&] { happened = disarm(); });
                injected += happened ? 1 : 0;
                (void)host.TakeException();
                ASSERT_EQ(host.FirstMisuse(), "") << n << " in " << call.Name();
                ASSERT_EQ(host.Live(), before) << n << " in " << call.Name();
                ASSERT_LE(scratch.Count(), 1) << n << " in " << call.Name();
            }
        }
        EXPECT_GE(injected, least);
        RecordProperty("injected", std::to_string(injected));
    }

    static inline trvhost::Host* resolving_ = nullptr;
};

TEST_F(SystemFaultsTest, AnyZeroedBlock) {
    RefuseEach(Fault::ZeroedBlock, 1000);
}

TEST_F(SystemFaultsTest, AnyFile) {
    RefuseEach(Fault::File, 5);
}

TEST_F(SystemFaultsTest, AnyGrowthOfAFile) {
    RefuseEach(Fault::FileSize, 5);
}

TEST_F(SystemFaultsTest, AnyMapping) {
    RefuseEach(Fault::Mapping, 5);
}

TEST_F(SystemFaultsTest, AnyView) {
    RefuseEach(Fault::View, 10);
}

TEST_F(SystemFaultsTest, AnyThread) {
    // Threads are what is left where the pool takes no work.
    threadingFaults.poolWork = true;
    RefuseEach(Fault::Thread, 20);
    threadingFaults.poolWork = false;
}

TEST_F(SystemFaultsTest, AnyPoolWork) {
    // A system without a pool never takes any work for it.
    const bool hasPool = static_cast<bool>(PoolWork([](void*) {}, nullptr, nullptr));
    RefuseEach(Fault::PoolWork, hasPool ? 20 : 0);
}

TEST_F(SystemFaultsTest, AnyMutex) {
    RefuseEach(Fault::Mutex, 20);
}

TEST_F(SystemFaultsTest, AnyEvent) {
    RefuseEach(Fault::Event, 0);
}

TEST_F(SystemFaultsTest, AnyNew) {
    std::unique_ptr<FailingAllocation> failing;
    RefuseEach([&](int64_t n) { failing = std::make_unique<FailingAllocation>(n); },
               [&] {
                   const bool happened = failing->Happened();
                   failing.reset();
                   return happened;
               },
               80);
}

}  // namespace

}  // namespace trv
