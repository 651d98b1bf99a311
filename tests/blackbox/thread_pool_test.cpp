// ScaleMT in a host that offers the class WinThreadPoolTRV: its pool runs the workers.

#include "trvhost/thread_pool.h"

#include <filesystem>
#include <gmock/gmock.h>

#include "geometry_images.h"

namespace trvtest {
namespace {

using testing::Contains;
using testing::Not;
using testing::StartsWith;

constexpr bool kWindows = std::filesystem::path::preferred_separator == '\\';

class ThreadPoolTest : public GeometryTest {
  protected:
    void SetUp() override {
        source_ = Memory(50, 40, "ImageFormatRGBA");
        expected_ = Target();
        Call("Scale", expected_);
    }
    void TearDown() override {
        source_ = {};
        expected_ = nullptr;
        GeometryTest::TearDown();
    }

    [[nodiscard]] Ref Target() const { return NewImage(31, 62, "ImageFormatRGBA"); }

    template <class... Args>
    void Call(const char* method, const Ref& dest, Args... threads) const {
        EXPECT_TRUE(TheHost().Call(dest, method, threads..., source_, nullptr, 3, 31, 62).ToBool());
    }

    /// Scales on this many workers, with the right result, and gives the log.
    [[nodiscard]] std::vector<std::string> ScaleOn(int64_t threads) const {
        const Ref dest = Target();
        auto lines = LogOf([&] { Call("ScaleMT", dest, threads); });
        EXPECT_EQ(PixelBytes(TheHost(), dest), PixelBytes(TheHost(), expected_));
        return lines;
    }

    [[nodiscard]] static int64_t CountOf(const std::vector<std::string>& lines, std::string_view start) {
        return std::count_if(lines.begin(), lines.end(),
                             [&](const std::string& line) { return line.starts_with(start); });
    }

    MemoryImage source_;
    Ref expected_;
};

TEST_F(ThreadPoolTest, WithoutTheClassTheProcessHasTheWorkers) {
    const auto lines = ScaleOn(3);
    EXPECT_THAT(lines, Contains("faield to create WinThreadPoolTRV object."));
    EXPECT_EQ(CountOf(lines, "got environment"), 6);
    EXPECT_EQ(CountOf(lines, kWindows ? "threadWorkCallback " : "threadFunction"), 6);
    // It is looked for once.
    EXPECT_EQ(CountOf(lines, "getGlobalInstance"), 1);
    EXPECT_EQ(CountOf(ScaleOn(2), "getGlobalInstance"), 0);
}

TEST_F(ThreadPoolTest, ThePoolOfTheClassRunsTheWorkers) {
    trvhost::ThreadPool& pool = trvhost::OfferThreadPool(TheHost());
    EXPECT_EQ(pool.WorkDone(), 0);
    const int64_t made = TheHost().Calls("PluginNewInstance");
    const trvhost::LiveCounts before = TheHost().Live();
    const auto lines = ScaleOn(3);
    EXPECT_EQ(TheHost().Live(), before) << "the object was let go at once";
    EXPECT_EQ(CountOf(lines, "getGlobalInstance"), 1);
    EXPECT_THAT(lines, Not(Contains(StartsWith("faield"))));
    EXPECT_EQ(CountOf(lines, "Starting job."), 6);
    // Three jobs for each pass, where the system has pools; elsewhere threads do the work.
    EXPECT_EQ(pool.WorkDone(), kWindows ? 6 : 0);
    EXPECT_EQ(CountOf(lines, kWindows ? "threadWorkCallback " : "threadFunction"), 6);
    EXPECT_EQ(CountOf(lines, "CreateThreadpoolWork failed"), kWindows ? 0 : 6);
    // The first call has made an object of the class, the next one does not.
    const int64_t first = TheHost().Calls("PluginNewInstance") - made;
    EXPECT_EQ(CountOf(ScaleOn(100), "getGlobalInstance"), 0);
    EXPECT_EQ(TheHost().Calls("PluginNewInstance") - made, 2 * first - 1);
    EXPECT_EQ(pool.WorkDone(), kWindows ? 6 + 64 : 0);
    static_cast<void>(ScaleOn(-1));
    EXPECT_EQ(pool.WorkDone(), kWindows ? 6 + 64 : 0);
}

TEST_F(ThreadPoolTest, TheEnvironmentIsThatOfTheClass) {
    trvhost::ThreadPool& pool = trvhost::OfferThreadPool(TheHost());
    const auto lines = ScaleOn(2);
    const auto found = std::find_if(lines.begin(), lines.end(), [](const std::string& line) {
        return line.starts_with("got environment ");
    });
    ASSERT_NE(found, lines.end());
    const std::string digits = found->substr(std::string_view("got environment ").size());
    EXPECT_EQ(std::stoull(digits, nullptr, 16), reinterpret_cast<uintptr_t>(pool.Environment())) << *found;
}

TEST_F(ThreadPoolTest, AClassWithNothingBehindItCountsAsNone) {
    trvhost::OfferEmptyThreadPool(TheHost());
    const auto lines = ScaleOn(2);
    EXPECT_THAT(lines, Not(Contains(StartsWith("faield"))));
    EXPECT_EQ(CountOf(lines, "Starting job."), 4);
}

// A class that comes up later is not looked for again.
TEST_F(ThreadPoolTest, TheFirstLookCounts) {
    static_cast<void>(ScaleOn(2));
    trvhost::ThreadPool& pool = trvhost::OfferThreadPool(TheHost());
    static_cast<void>(ScaleOn(2));
    EXPECT_EQ(pool.WorkDone(), 0);
}

}  // namespace
}  // namespace trvtest
