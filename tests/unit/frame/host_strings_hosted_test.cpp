// What is built here, as a host sees it; host_strings_test.cpp looks at the calls that are made for it.

#include <new>
#include <string>
#include <vector>

#include "frame/host_strings.h"
#include "unit/failing_memory.h"
#include "unit/frame/fresh_process.h"
#include "unit/frame/log_capture.h"
#include "unit/frame/unicode.h"
#include "unit/hosted_test.h"

namespace trv {
namespace {

using test::BytesOf;
using test::FailingMemory;
using test::LogCapture;
using test::Utf16Of;
using test::Utf8Of;

using Lines = std::vector<std::string>;

constexpr uint32_t kUtf8 = 0x8000100;

struct Built {
    std::string bytes;
    uint32_t encoding;
    friend bool operator==(const Built&, const Built&) = default;
};

class HostStrings : public test::HostedTest {
  protected:
    /// Takes over a result that must be a string.
    [[nodiscard]] Built Take(HostString result) const {
        EXPECT_NE(result, nullptr);
        const trvhost::String string = Adopt(result);
        EXPECT_EQ(string.References(), 1);
        return {string.Bytes(), string.Encoding()};
    }

    [[nodiscard]] Built Build(const std::string& bytes, uint32_t encoding) const {
        return Take(REALBuildUnicodeString(bytes.data(), static_cast<int64_t>(bytes.size()), encoding));
    }
    [[nodiscard]] Built Build(std::u16string_view units) const {
        return Take(REALBuildUnicodeStringUTF16(units.data(), static_cast<int64_t>(units.size())));
    }
    [[nodiscard]] Built Build(std::u32string_view units) const {
        return Take(REALBuildUnicodeStringUTF32(units.data(), static_cast<int64_t>(units.size())));
    }

    void LoadVersion(double version) {
        trvhost::Options options;
        options.version = version;
        Load(std::move(options));
    }
};

TEST_F(HostStrings, NothingIsNil) {
    for (const uint32_t encoding : {0U, 256U, 513U, 1280U, 1536U, 65535U, 0x8000100U, 0xC000100U, 77U}) {
        EXPECT_EQ(REALBuildUnicodeString("text", 0, encoding), nullptr);
        EXPECT_EQ(REALBuildUnicodeString("text", -1, encoding), nullptr);
        EXPECT_EQ(REALBuildUnicodeString(nullptr, 4, encoding), nullptr);
    }
    // Less than one unit.
    EXPECT_EQ(REALBuildUnicodeString("abc", 1, 256), nullptr);
    EXPECT_EQ(REALBuildUnicodeString("abc", 3, 0xC000100), nullptr);
    EXPECT_EQ(REALBuildUnicodeStringUTF16(u"a", 0), nullptr);
    EXPECT_EQ(REALBuildUnicodeStringUTF16(nullptr, 1), nullptr);
    EXPECT_EQ(REALBuildUnicodeStringUTF32(U"a", 0), nullptr);
    EXPECT_EQ(REALBuildUnicodeStringUTF32(nullptr, 1), nullptr);
    EXPECT_EQ(BuildAsciiString(nullptr), nullptr);
    EXPECT_EQ(BuildAsciiString(""), nullptr);
    EXPECT_EQ(BuildUtf16String(nullptr), nullptr);
    EXPECT_EQ(BuildUtf16String(u""), nullptr);
    EXPECT_EQ(BuildPrefixedString(nullptr), nullptr);
    EXPECT_EQ(BuildPrefixedString(reinterpret_cast<const uint8_t*>("\0abc")), nullptr);
    EXPECT_EQ(TheHost().Calls("REALBuildStringWithEncoding"), 0);
}

TEST_F(HostStrings, TooManyUnits) {
    const LogCapture log;
    EXPECT_EQ(REALBuildUnicodeString("a", int64_t{1} << 31, 1536), nullptr);
    EXPECT_EQ(REALBuildUnicodeString("a", INT64_MAX, 256), nullptr);
    EXPECT_EQ(REALBuildUnicodeStringUTF16(u"a", int64_t{1} << 30), nullptr);
    EXPECT_EQ(REALBuildUnicodeStringUTF16(u"a", INT64_MAX), nullptr);
    EXPECT_EQ(REALBuildUnicodeStringUTF32(U"a", int64_t{1} << 29), nullptr);
    EXPECT_EQ(REALBuildUnicodeStringUTF32(U"a", INT64_MAX), nullptr);
    EXPECT_EQ(log.Lines(), Lines(6, "Count too big for REALBuildUnicodeString."));
    EXPECT_EQ(TheHost().Calls("REALBuildStringWithEncoding"), 0);
}

TEST_F(HostStrings, WideTextsBecomeUtf8OnEveryHost) {
    for (const double version : {2005.0, 2011.99, 2012.0, 2012.99, 2013.0, 2024.01}) {
        LoadVersion(version);
        for (const size_t length : {1, 66, 99, 198, 199, 200, 201, 5000}) {
            std::u32string text;
            for (const char32_t c : {U'a', U'\u00FC', U'\u6F22', U'\U0001F600'})
                text += std::u32string(length, c);
            text.resize(length);
            std::u32string pairs(length, U'\U0010FFFF');
            for (const std::u32string& characters : {text, pairs}) {
                const Built expected{Utf8Of(characters), kUtf8};
                EXPECT_EQ(Build(std::u32string_view(characters)), expected) << version;
                EXPECT_EQ(Build(std::u16string_view(Utf16Of(characters))), expected);
                EXPECT_EQ(Build(BytesOf(std::u32string_view(characters)), 0xC000100), expected);
                EXPECT_EQ(Build(BytesOf(std::u16string_view(Utf16Of(characters))), 256), expected);
            }
        }
        // Bytes behind the last whole unit do not count.
        EXPECT_EQ(Build(std::string("a\0b\0c", 5), 256), (Built{"ab", kUtf8}));
    }
}

TEST_F(HostStrings, OldHostsNeverSeeUtf32) {
    LoadVersion(2012.99);
    EXPECT_EQ(Build(U"a\U0001F600"), (Built{"a\xF0\x9F\x98\x80", kUtf8}));
    // Surrogates are dropped on the way, and what is no code point is replaced.
    const char32_t odd[] = {0xD800, U'a', 0x110000, 0xDFFF};
    EXPECT_EQ(Take(REALBuildUnicodeStringUTF32(odd, 4)), (Built{"a\xEF\xBF\xBD", kUtf8}));
    // Nothing is left.
    EXPECT_EQ(REALBuildUnicodeStringUTF32(odd, 1), nullptr);
    const LogCapture log;
    const FailingMemory noMemory;
    EXPECT_EQ(Build(std::u32string(199, U'x')), (Built{std::string(199, 'x'), kUtf8})) << "on the stack";
    EXPECT_EQ(REALBuildUnicodeStringUTF32(std::u32string(200, U'x').data(), 200), nullptr);
    EXPECT_EQ(log.Lines(), (Lines{"Out of memory in REALBuildUnicodeStringUTF32."}));
}

TEST_F(HostStrings, AHostWithoutMemoryForWideTexts) {
    for (const double version : {2011.0, 2024.01}) {
        LoadVersion(version);
        const LogCapture log;
        for (const int64_t step : {1, 2}) {  // the string itself, then its conversion
            TheHost().FailString(step);
            EXPECT_EQ(REALBuildUnicodeStringUTF16(u"abc", 3), nullptr);
        }
        EXPECT_EQ(log.Lines(), Lines(2, "Out of memory in REALBuildUnicodeStringUTF16."));
        TheHost().FailString(1);
        EXPECT_EQ(REALBuildUnicodeStringUTF32(U"abc", 3), nullptr);
        EXPECT_EQ(log.Lines().back(), version < 2013 ? "Out of memory in REALBuildUnicodeStringUTF16."
                                                     : "Out of memory in REALBuildUnicodeStringUTF32.");
        TheHost().FailString(1);
        EXPECT_EQ(REALBuildUnicodeString("abc", 3, 1536), nullptr);
    }
}

TEST_F(HostStrings, AHostThatAlwaysThrowsEndsInNil) {
    TRV_IN_FRESH_PROCESS({
        static int builds = 0;
        static int raised = 0;
        ConnectHost([](const char* name) -> void* {
            const std::string wanted = name;
            if (wanted == "REALGetRBVersion") return reinterpret_cast<void*>(+[] { return 2024.01; });
            if (wanted == "REALBuildStringWithEncoding") {
                return reinterpret_cast<void*>(+[](const char*, int32_t, uint32_t) -> HostString {
                    if (++builds % 4 == 1) throw 5;
                    throw std::bad_alloc();
                });
            }
            if (wanted == "PluginNewInstance") {
                return reinterpret_cast<void*>(
                    +[](const char*) { return reinterpret_cast<HostObject>(&builds); });
            }
            if (wanted == "RuntimeRaiseException") {
                return reinterpret_cast<void*>(+[](HostObject) { ++raised; });
            }
            return nullptr;
        });
        EXPECT_EQ(BuildAsciiString("text"), nullptr);
        EXPECT_EQ(builds, 2) << "the text, and the message about it";
        EXPECT_EQ(BuildUtf16String(u"text"), nullptr);
        EXPECT_EQ(builds, 4);
        EXPECT_EQ(raised, 2) << "without a message";
    });
}

TEST_F(HostStrings, ZeroTerminatedTexts) {
    EXPECT_EQ(Take(BuildAsciiString("text")), (Built{"text", 1536}));
    EXPECT_EQ(Take(BuildUtf16String(u"\u00FC\xD83D\xDE00")), (Built{"\xC3\xBC\xF0\x9F\x98\x80", kUtf8}));
    const LogCapture log;
    EXPECT_EQ(Take(BuildAsciiString("gr\xFC")), (Built{"gr\xFC", 1536}));
    EXPECT_EQ(log.Lines(), (Lines{"Error: text is not ascii"}));
}

TEST_F(HostStrings, LengthPrefixedTexts) {
    EXPECT_EQ(Take(BuildPrefixedString(reinterpret_cast<const uint8_t*>("\4text and more"))),
              (Built{"text", 1536}));
    EXPECT_EQ(Take(BuildPrefixedString(reinterpret_cast<const uint8_t*>("\2\xC3\xBC"))),
              (Built{"\xC3\xBC", 0}));
    const std::string longest = "\xFF" + std::string(255, 'x');
    EXPECT_EQ(Take(BuildPrefixedString(reinterpret_cast<const uint8_t*>(longest.data()))),
              (Built{std::string(255, 'x'), 1536}));
}

TEST_F(HostStrings, FourCharacterCodes) {
    EXPECT_EQ(Take(BuildFourCharCodeString(0x61626364)), (Built{"abcd", 1536}));
    EXPECT_EQ(Take(BuildFourCharCodeString(0x504E4720)), (Built{"PNG ", 1536}));
    EXPECT_EQ(Take(BuildFourCharCodeString(0)), (Built{std::string(4, '\0'), 1536}));
    EXPECT_EQ(Take(BuildFourCharCodeString(0x7F7F7F7F)), (Built{"\x7F\x7F\x7F\x7F", 1536}));
    EXPECT_EQ(Take(BuildFourCharCodeString(0x61806364)), (Built{"a\x80"
                                                                "cd",
                                                                0}));
    EXPECT_EQ(Take(BuildFourCharCodeString(0xFFFFFFFF)), (Built{"\xFF\xFF\xFF\xFF", 0}));
}

TEST_F(HostStrings, TheHostsBytes) {
    EXPECT_EQ(BytesOfString(nullptr).bytes, nullptr);
    EXPECT_EQ(BytesOfString(nullptr).count, 0);
    const trvhost::String string = TheHost().NewString(std::string("a\0b", 3));
    const StringBytes bytes = BytesOfString(StringOf(string));
    EXPECT_EQ(std::string(bytes.bytes, static_cast<size_t>(bytes.count)), std::string("a\0b", 3));
    EXPECT_EQ(bytes.bytes[3], 0);
    EXPECT_EQ(string.References(), 1);
}

}  // namespace
}  // namespace trv
