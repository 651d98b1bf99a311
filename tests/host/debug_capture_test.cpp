#include "trvhost/debug_capture.h"

#include <gtest/gtest.h>

namespace trvhost {
namespace {

TEST(Capture, CollectsLines) {
    DebugCapture capture;
    EXPECT_TRUE(capture.Lines().empty());
    DebugCapture::Say("one");
    DebugCapture::Say("two words");
    EXPECT_EQ(capture.Lines(), (std::vector<std::string>{"one", "two words"}));
    EXPECT_EQ(capture.Count("o"), 2u);
    EXPECT_TRUE(capture.Contains("words"));
    EXPECT_FALSE(capture.Contains("three"));
    capture.Clear();
    EXPECT_TRUE(capture.Lines().empty());
    DebugCapture::Say("three");
    EXPECT_EQ(capture.Lines(), (std::vector<std::string>{"three"}));
}

TEST(Capture, OneAfterAnother) {
    {
        const DebugCapture first;
        DebugCapture::Say("first");
    }
    const DebugCapture second;
    DebugCapture::Say("second");
    EXPECT_EQ(second.Lines(), (std::vector<std::string>{"second"}));
}

TEST(Capture, LongLines) {
    const DebugCapture capture;
    const std::string line(4095, 'x');
    DebugCapture::Say(line);
    EXPECT_EQ(capture.Lines(), (std::vector<std::string>{line}));
}

}  // namespace
}  // namespace trvhost
