#include "frame/host_strings.h"

#include <gtest/gtest.h>
#include <stdexcept>
#include <string>
#include <vector>

#include "frame/host_calls.h"
#include "unit/frame/fake_host.h"
#include "unit/frame/fresh_process.h"
#include "unit/frame/log_capture.h"

namespace trv {
namespace {

using test::BuiltString;
using test::FakeHost;
using test::LogCapture;

BuiltString Built(const std::string& bytes, uint32_t encoding) {
    const HostString string =
        REALBuildUnicodeString(bytes.data(), static_cast<int64_t>(bytes.size()), encoding);
    EXPECT_NE(string, nullptr);
    BuiltString contents = FakeHost::ContentsOf(string);
    host::REALUnlockString(string);
    return contents;
}

TEST(StringBuilding, NothingGivesNil) {
    FakeHost host;
    for (const uint32_t encoding : {0U, 256U, 513U, 1280U, 1536U, 65535U, 0x8000100U, 0xC000100U, 77U}) {
        EXPECT_EQ(REALBuildUnicodeString("text", 0, encoding), nullptr);
        EXPECT_EQ(REALBuildUnicodeString("text", -1, encoding), nullptr);
        EXPECT_EQ(REALBuildUnicodeString("text", INT64_MIN, encoding), nullptr);
        EXPECT_EQ(REALBuildUnicodeString(nullptr, 4, encoding), nullptr);
    }
    EXPECT_TRUE(host.calls.empty());
}

TEST(StringBuilding, ACountOf2147483648IsTooBig) {
    FakeHost host;
    const LogCapture log;
    EXPECT_EQ(REALBuildUnicodeString("text", 2147483648, kEncodingUtf8), nullptr);
    EXPECT_EQ(REALBuildUnicodeString("text", INT64_MAX, kEncodingAscii), nullptr);
    EXPECT_EQ(log.Lines(), (std::vector<std::string>{"Count too big for REALBuildUnicodeString.",
                                                     "Count too big for REALBuildUnicodeString."}));
    EXPECT_TRUE(host.calls.empty());
}

TEST(StringBuilding, AsciiAndUtf8AreBuiltAsTheyAre) {
    FakeHost host;
    EXPECT_EQ(Built("text", kEncodingAscii), (BuiltString{"text", 1536}));
    EXPECT_EQ(Built("text", kEncodingUtf8), (BuiltString{"text", 0x8000100}));
    EXPECT_EQ(Built("\xC3\xBC", kEncodingUtf8), (BuiltString{"\xC3\xBC", 0x8000100}));
    EXPECT_EQ(Built(std::string("a\0b", 3), kEncodingAscii), (BuiltString{std::string("a\0b", 3), 1536}));
}

TEST(StringBuilding, OtherSingleByteEncodingsBecomeAsciiWhereTheyCan) {
    FakeHost host;
    for (const uint32_t encoding : {0U, 513U, 1280U, 65535U}) {
        EXPECT_EQ(Built("plain \x7F", encoding), (BuiltString{"plain \x7F", 1536}));
        EXPECT_EQ(Built("last\x80", encoding), (BuiltString{"last\x80", encoding}));
        EXPECT_EQ(Built("\xFF", encoding), (BuiltString{"\xFF", encoding}));
    }
}

TEST(StringBuilding, AnUnknownEncodingIsLogged) {
    FakeHost host;
    const LogCapture log;
    Built("text", 12345);
    ASSERT_FALSE(log.Lines().empty());
    EXPECT_EQ(log.Lines()[0].substr(0, 42), "Unknown encoding in REALBuildUnicodeString");
}

TEST(StringBuilding, HostsFrom2012OnTakeTheEncodingAtOnce) {
    FakeHost host(2012.0);
    EXPECT_EQ(Built("text", kEncodingUtf8), (BuiltString{"text", 0x8000100}));
    EXPECT_EQ(host.calls, (std::vector<std::string>{"REALBuildStringWithEncoding", "REALUnlockString"}));
    for (const double version : {2011.99, 2005.0, 0.0}) {
        host.Reconnect(version);
        host.calls.clear();
        EXPECT_EQ(Built("text", kEncodingUtf8), (BuiltString{"text", 0x8000100}));
        EXPECT_EQ(host.calls,
                  (std::vector<std::string>{"REALBuildString", "REALSetStringEncoding", "REALUnlockString"}));
    }
}

TEST(StringBuilding, AnExceptionOfTheHostsBecomesAHostException) {
    TRV_IN_FRESH_PROCESS({
        FakeHost host;
        static int builds = 0;
        host.Provide(
            "REALBuildStringWithEncoding",
            +[](const char* bytes, int32_t count, uint32_t encoding) -> HostString {
                if (++builds == 1) throw std::out_of_range("gone");
                if (builds == 3) throw 5;
                return FakeHost::NewString(std::string(bytes, static_cast<size_t>(count)), encoding);
            });
        EXPECT_EQ(REALBuildUnicodeString("text", 4, kEncodingUtf8), nullptr);
        EXPECT_EQ(host.raised, (std::vector<test::RaisedException>{
                                   {"OutOfBoundsException", "C++ reports range error: gone", 0}}));
        host.raised.clear();
        EXPECT_EQ(REALBuildUnicodeString("text", 4, kEncodingUtf8), nullptr);
        EXPECT_EQ(host.raised,
                  (std::vector<test::RaisedException>{
                      {"RuntimeException", "Sorry, but there was an unnamed C++ Exception.", 0}}));
    });
}

TEST(AsciiStrings, AreBuiltFromTheirTexts) {
    FakeHost host;
    const HostString string = BuildAsciiString("GGGG");
    EXPECT_EQ(FakeHost::ContentsOf(string), (BuiltString{"GGGG", 1536}));
    host::REALUnlockString(string);
    EXPECT_EQ(BuildAsciiString(nullptr), nullptr);
    EXPECT_EQ(BuildAsciiString(""), nullptr);
}

TEST(AsciiStrings, ATopBitIsLogged) {
    FakeHost host;
    const LogCapture log;
    host::REALUnlockString(BuildAsciiString("plain"));
    EXPECT_TRUE(log.Lines().empty());
    host::REALUnlockString(BuildAsciiString("\xE4"));
    EXPECT_EQ(log.Lines(), std::vector<std::string>{"Error: text is not ascii"});
}

}  // namespace
}  // namespace trv
