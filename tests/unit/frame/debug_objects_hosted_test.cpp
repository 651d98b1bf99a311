#include <cstdio>
#include <string>
#include <vector>

#include "frame/debug_log.h"
#include "frame/debug_objects.h"
#include "frame/host_calls.h"
#include "trvhost/debug_capture.h"
#include "unit/frame/log_capture.h"
#include "unit/hosted_test.h"

namespace trv {
namespace {

using test::LogCapture;

using Lines = std::vector<std::string>;

std::string AddressOf(const void* thing) {
    char text[40];
    std::snprintf(text, sizeof text, "%p", thing);
    return text;
}

class DebugObjects : public test::HostedTest {};

TEST_F(DebugObjects, AStringWithALabel) {
    const trvhost::String string = TheHost().NewString("gr\xFC", 513);
    const LogCapture log;
    PrintString("label", StringOf(string));
    PrintString("label", nullptr);
    EXPECT_EQ(log.Messages(), (Lines{"TRV Debug: label " + AddressOf(string.Handle()) + ": gr\xC3\xBC",
                                     "TRV Debug: label " + AddressOf(nullptr) + ": "}));
}

TEST_F(DebugObjects, AStringWithoutALabel) {
    const trvhost::String string = TheHost().NewString("text");
    const LogCapture log;
    PrintString(StringOf(string));
    EXPECT_EQ(log.Messages(), (Lines{"TRV Debug: " + AddressOf(string.Handle()) + ": text"}));
}

TEST_F(DebugObjects, ALongStringIsCut) {
    const trvhost::String string = TheHost().NewString(std::string(5000, 'x'));
    const LogCapture log;
    PrintString("label", StringOf(string));
    ASSERT_EQ(log.Messages().size(), 1U);
    EXPECT_EQ(log.Messages()[0].size(), kDebugLineBytes - 1);
    EXPECT_EQ(log.Messages()[0].back(), 'x');
}

TEST_F(DebugObjects, AText) {
    const HostText text = host::PluginBuildText("gr\xC3\xBC", "utf-8");
    const trvhost::Ref held = trvhost::Ref::Adopt(TheHost(), text);
    const LogCapture log;
    PrintText("label", text);
    EXPECT_EQ(log.Messages(), (Lines{"TRV Debug: label " + AddressOf(text) + ": gr\xC3\xBC"}));
    EXPECT_EQ(TheHost().Calls("PluginDisposeTextData"), 1);
    PrintText("label", nullptr);
    EXPECT_EQ(log.Messages().back(), "TRV Debug: label " + AddressOf(nullptr) + " and no text");
    EXPECT_EQ(TheHost().Calls("PluginDisposeTextData"), 1);
}

TEST_F(DebugObjects, ATextWithoutTerminator) {
    trvhost::Options options;
    options.stringDataForm = trvhost::StringDataForm::NotTerminated;
    Load(std::move(options));
    const HostText text = host::PluginBuildText("abc", "utf-8");
    const trvhost::Ref held = trvhost::Ref::Adopt(TheHost(), text);
    const LogCapture log;
    PrintText("label", text);
    EXPECT_EQ(log.Messages(), (Lines{"TRV Debug: label " + AddressOf(text) + ": abc"}));
}

TEST_F(DebugObjects, AStringInTheDebuggerChannel) {
    const trvhost::String string = TheHost().NewString(std::string("t\0e\0x\0t\0", 8), 256);
    const trvhost::DebugCapture channel;
    const LogCapture log;
    debugFlag = 0;
    DebugOutputString(StringOf(string));
    // Where the channel is a stream, the test program has its own in place.
    Lines lines = log.Messages();
    for (const std::string& line : channel.Lines())
        lines.push_back(line);
    EXPECT_EQ(lines, (Lines{"text"})) << "as it is";
    DebugOutputString(nullptr);
}

TEST_F(DebugObjects, ClassDataWhereItIsExpected) {
    const trvhost::MemoryBlock object = TheHost().NewMemoryBlock(1);
    ClassDefinition definition;
    definition.dataSize = 16;
    definition.forSystemUse = 48;
    const LogCapture log;
    CheckClassData(ObjectOf(object), definition);
    CheckControlData(ObjectOf(object), definition);
    EXPECT_EQ(log.Lines(), Lines{});
    definition.dataSize = 0;
    definition.forSystemUse = 56;
    CheckClassData(nullptr, definition);
    CheckControlData(nullptr, definition);
    EXPECT_EQ(log.Lines(),
              (Lines{"REALGetClassData with nil instance " + AddressOf(nullptr),
                     "REALGetClassData with dataSize 0", "REALGetClassData with forSystemUse 56",
                     "REALGetControlData with nil instance " + AddressOf(nullptr),
                     "REALGetControlData with dataSize 0", "REALGetControlData with forSystemUse 56"}));
}

}  // namespace
}  // namespace trv
