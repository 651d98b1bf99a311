// The switch of the debug log, and what the debugger channel hears.

#include <algorithm>
#include <optional>

#include "plugin_test.h"

namespace trvtest {
namespace {

using trvhost::DebugCapture;

class DebugLog : public PluginTest {
  protected:
    using Lines = std::vector<std::string>;
    const std::string kPrefix = "TRV Debug: ";

    void Switch(bool on) const { TheHost().SetShared("PictureTRV", "Debugging", on); }
    [[nodiscard]] bool IsOn() const { return TheHost().GetShared<bool>("PictureTRV", "Debugging"); }
};

TEST_F(DebugLog, IsOffAtFirst) {
    DebugCapture capture;
    EXPECT_FALSE(IsOn());
    const Ref image = NewImage(5, 5, "ImageFormatRGB");
    TheHost().Call(image, "FillRectRGB", 1, 2, 3);
    TheHost().Call(TheHost().New("PictureTRV"), "FillRectRGB", 1, 2, 3);
    EXPECT_EQ(capture.Lines(), Lines());
}

TEST_F(DebugLog, AnnouncesThatItIsOn) {
    DebugCapture capture;
    Switch(true);
    EXPECT_TRUE(IsOn());
    EXPECT_EQ(capture.Lines(), Lines{kPrefix + "TRV debug logging enabled."});
    Switch(true);
    EXPECT_EQ(capture.Lines().size(), 2U) << "each time it is set";
}

TEST_F(DebugLog, GoesOffInSilence) {
    DebugCapture capture;
    Switch(false);
    EXPECT_EQ(capture.Lines(), Lines());
    Switch(true);
    capture.Clear();
    Switch(false);
    EXPECT_FALSE(IsOn());
    const Ref image = NewImage(5, 5, "ImageFormatRGB");
    TheHost().Call(image, "Clone");
    EXPECT_EQ(capture.Lines(), Lines());
}

TEST_F(DebugLog, AnyByteButZeroIsOn) {
    const trvhost::PropertyDefinition* property = TheHost().FindSharedProperty("PictureTRV", "Debugging");
    ASSERT_NE(property, nullptr);
    const auto set = reinterpret_cast<void (*)(int64_t, uint64_t)>(property->setter);
    const auto get = reinterpret_cast<uint8_t (*)(int64_t)>(property->getter);
    DebugCapture capture;
    set(property->parameter, 200);
    EXPECT_EQ(get(property->parameter), 1);
    EXPECT_EQ(capture.Lines().size(), 1U);
    set(property->parameter, 0);
    EXPECT_EQ(get(property->parameter), 0);
}

TEST_F(DebugLog, EveryLineBeginsWithThePrefix) {
    DebugCapture capture;
    Switch(true);
    const Ref image = NewImage(50, 50, "ImageFormatRGB");
    TheHost().Call(image, "FillRectRGB", 1, 2, 3);
    const Ref clone = TheHost().Call(image, "Clone").ToThing();
    TheHost().Set(image, "MappingBlockSize", int64_t{5});
    TheHost().Call(image, "CreatePictureTRV", 5, 5, 1);
    const Lines lines = capture.Lines();
    EXPECT_GT(lines.size(), 10U);
    for (const std::string& line : lines)
        EXPECT_TRUE(line.starts_with(kPrefix)) << line;
    EXPECT_TRUE(capture.Contains(kPrefix + "Fix 0, 0, 50, 50"));
    Switch(false);
}

TEST_F(DebugLog, ChangesNothingElse) {
    // The same calls with and without it, on images of the same bytes.
    std::vector<uint8_t> results[2];
    for (const bool on : {false, true}) {
        DebugCapture capture;
        Switch(on);
        const MemoryImage image(TheHost(), 13, 7, Constant("ImageFormatRGBA"));
        TheHost().Call(image, "FillRectRGB", 2, 2, 30, -1, 1, 2, 3);
        TheHost().Call(image, "FillRectApply", 100, 2, 3, 40);
        results[on ? 1 : 0] = image.Bytes();
        Switch(false);
    }
    EXPECT_EQ(results[0], results[1]);
}

}  // namespace
}  // namespace trvtest
