// The frame of every operation: its tests, its clipping, and the time it gives to the host.

#include <algorithm>
#include <cstring>

#include "plugin_test.h"

namespace trvtest {
namespace {

class Frame : public PluginTest {
  protected:
    using Lines = std::vector<std::string>;

    [[nodiscard]] static int64_t Count(const Lines& lines, const std::string& line) {
        return std::count(lines.begin(), lines.end(), line);
    }
    [[nodiscard]] int64_t Yields() const { return TheHost().Calls("REALYieldToRB"); }
    void Fill(const Ref& image) const { TheHost().Call(image, "FillRect(Value as integer)", 1); }

    /// Fills a rectangle of a 20 x 20 image; the lines of its clipping, and how many pixels were filled.
    std::pair<Lines, int64_t> FillRectangle(int64_t x, int64_t y, int64_t width, int64_t height) const {
        const MemoryImage image(TheHost(), 20, 20, Constant("ImageFormatG"));
        image.SetBytes(std::vector<uint8_t>(400, 0));
        Lines lines = LogOf([&] {
            TheHost().Call(
                image,
                "FillRect(x as integer, y as integer, width as integer, height as integer, Value as "
                "integer)",
                x, y, width, height, 9);
        });
        lines.erase(std::remove_if(lines.begin(), lines.end(),
                                   [](const std::string& line) { return !line.starts_with("Fix"); }),
                    lines.end());
        EXPECT_TRUE(image.GuardIntact());
        const std::vector<uint8_t> bytes = image.Bytes();
        return {lines, std::count(bytes.begin(), bytes.end(), 9)};
    }
};

// Preconditions ---

TEST_F(Frame, AClosedImageIsTurnedAwayThoughItIsValid) {
    const Ref image = NewImage(5, 5, "ImageFormatRGB");
    TheHost().Call(image, "Close");
    EXPECT_TRUE(TheHost().Get<bool>(image, "Valid"));
    const Lines lines = LogOf([&] { Fill(image); });
    EXPECT_EQ(Count(lines, "GetRow is nil"), 1);
    EXPECT_EQ(Count(lines, "StartImage ok"), 0);
}

TEST_F(Frame, AnUnconstructedImageIsTurnedAway) {
    const Ref image = TheHost().New("PictureTRV");
    const Lines lines = LogOf([&] { Fill(image); });
    EXPECT_EQ(Count(lines, "Picture not valid."), 1);
    EXPECT_EQ(Count(lines, "StartImage ok"), 0);
}

TEST_F(Frame, ALiveImageStarts) {
    const Ref image = NewImage(5, 5, "ImageFormatRGB");
    const Lines lines = LogOf([&] { Fill(image); });
    EXPECT_EQ(Count(lines, "StartImage ok"), 1);
}

// Clipping ---

TEST_F(Frame, RectanglesAreClippedInTheirOrder) {
    using Outcome = std::pair<Lines, int64_t>;
    EXPECT_EQ(FillRectangle(10, 0, -4, 1), (Outcome{{"Fix 10, 0, -4, 1", "Fixed 6, 0, 4, 1"}, 4}));
    EXPECT_EQ(FillRectangle(-3, 0, 2, 1), (Outcome{{"Fix -3, 0, 2, 1", "Fixed 0, 0, -1, 1"}, 0}));
    EXPECT_EQ(FillRectangle(25, 0, 10, 1), (Outcome{{"Fix 25, 0, 10, 1", "Fixed 25, 0, 0, 1"}, 0}));
    EXPECT_EQ(FillRectangle(15, 0, 10, 1), (Outcome{{"Fix 15, 0, 10, 1", "Fixed 15, 0, 5, 1"}, 5}));
    EXPECT_EQ(FillRectangle(0, 0, 20, 20), (Outcome{{"Fix 0, 0, 20, 20", "Fixed 0, 0, 20, 20"}, 400}));
    EXPECT_EQ(FillRectangle(-5, -6, 100, 100),
              (Outcome{{"Fix -5, -6, 100, 100", "Fixed 0, 0, 20, 20"}, 400}));
    EXPECT_EQ(FillRectangle(20, 20, -100, -100),
              (Outcome{{"Fix 20, 20, -100, -100", "Fixed 0, 0, 20, 20"}, 400}));
    EXPECT_EQ(FillRectangle(3, 3, 0, 5), (Outcome{{"Fix 3, 3, 0, 5", "Fixed 3, 3, 0, 5"}, 0}));
}

TEST_F(Frame, RectanglesOfAnyNumbersStayInside) {
    const int64_t far[] = {INT64_MIN, INT64_MIN + 1,    -(int64_t{1} << 62), -30,      0, 7,
                           30,        int64_t{1} << 62, INT64_MAX - 1,       INT64_MAX};
    const MemoryImage image(TheHost(), 20, 20, Constant("ImageFormatG"));
    for (const int64_t x : far) {
        for (const int64_t y : {int64_t{-30}, int64_t{3}, INT64_MIN, INT64_MAX}) {
            for (const int64_t width : far) {
                for (const int64_t height : far) {
                    TheHost().Call(
                        image,
                        "FillRect(x as integer, y as integer, width as integer, height as integer, "
                        "Value as integer)",
                        x, y, width, height, 9);
                }
            }
        }
    }
    EXPECT_TRUE(image.GuardIntact());
    // All of it is reached where all of it is meant, whichever way round it is put.
    for (const auto& [x, width] : {std::pair<int64_t, int64_t>{-1, INT64_MAX},
                                   {INT64_MAX, INT64_MIN + 1},
                                   {INT64_MAX, INT64_MIN},
                                   {-(int64_t{1} << 62), INT64_MAX}}) {
        image.SetBytes(std::vector<uint8_t>(400, 0));
        TheHost().Call(
            image,
            "FillRect(x as integer, y as integer, width as integer, height as integer, Value as integer)", x,
            x, width, width, 9);
        const std::vector<uint8_t> bytes = image.Bytes();
        EXPECT_EQ(std::count(bytes.begin(), bytes.end(), 9), 400) << x << " " << width;
    }
}

// Yields ---

TEST_F(Frame, WithoutAnIntervalNothingYields) {
    const Ref image = NewImage(50, 50, "ImageFormatRGB");
    Fill(image);
    EXPECT_EQ(Yields(), 0);
}

TEST_F(Frame, TheFirstCallYields) {
    // The last yield was at the clock's 0; no machine that runs tests has just been started.
    for (const int64_t interval : {1, 6, -1, -100}) {
        const Ref image = NewImage(5, 5, "ImageFormatRGB");
        const int64_t before = Yields();
        TheHost().Set(image, "YieldTicks", interval);
        Fill(image);
        EXPECT_GE(Yields(), before + 1) << interval;
        int64_t last = 0;
        std::memcpy(&last, TheHost().ClassData(image) + 8, 8);
        EXPECT_GT(last, 0);
        EXPECT_LE(last, interval > 0 ? 0x0FFFFFFF : 0xFFFFFFFF);
    }
}

TEST_F(Frame, TheSignOfTheIntervalSelectsTheUnitOfTheClock) {
    const auto clock = [&](int64_t interval) {
        const Ref image = NewImage(5, 5, "ImageFormatRGB");
        TheHost().Set(image, "YieldTicks", interval);
        Fill(image);
        int64_t last = 0;
        std::memcpy(&last, TheHost().ClassData(image) + 8, 8);
        return last;
    };
    // Milliseconds, and units of 16 of them.
    const int64_t fine = clock(-1);
    const int64_t coarse = clock(1);
    EXPECT_LT(coarse, fine / 8);
    EXPECT_GT(coarse, fine / 32);
}

TEST_F(Frame, AHugeIntervalNeverYields) {
    for (const int64_t interval : {INT64_MAX, INT64_MIN, int64_t{1} << 40, -(int64_t{1} << 40)}) {
        const Ref image = NewImage(50, 50, "ImageFormatRGB");
        TheHost().Set(image, "YieldTicks", interval);
        for (int i = 0; i < 10; ++i)
            Fill(image);
        EXPECT_EQ(Yields(), 0) << interval;
    }
}

TEST_F(Frame, ThePluginMayBeCalledAgainWhileItYields) {
    const Ref image = NewImage(20, 20, "ImageFormatRGB");
    const Ref other = NewImage(20, 20, "ImageFormatRGB");
    TheHost().Set(image, "YieldTicks", int64_t{-1});
    int depth = 0;
    TheHost().OnYield([&] {
        if (++depth > 3) return;
        TheHost().Call(image, "FillRectRGB", 9, 9, 9);
        TheHost().Call(other, "FillRectRGB", 9, 9, 9);
        EXPECT_TRUE(TheHost().Call(image, "Clone").ToThing());
    });
    TheHost().Call(image, "FillRectRGB", 1, 2, 3);
    TheHost().OnYield(nullptr);
    EXPECT_GE(depth, 1);
    const trvhost::MemoryBlock store(TheHost().Get<Ref>(image, "Memory"));
    EXPECT_EQ(store.Bytes()[0], 1);
    EXPECT_EQ(store.Bytes()[2], 3);
}

}  // namespace
}  // namespace trvtest
