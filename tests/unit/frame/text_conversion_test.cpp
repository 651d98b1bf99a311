#include "frame/text_conversion.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <vector>

#include "unit/frame/unicode.h"

namespace trv {
namespace {

using test::Decoded;
using test::DecodeUtf8;
using test::IsSurrogate;
using test::kLastCodePoint;
using test::Utf16Of;
using test::Utf8Of;

/// Runs a conversion into exactly the room that it is promised, in a block of its own so that a sanitizer
/// sees a step outside.
template <class Unit, class Source, class Convert>
std::basic_string<Unit> Run(const std::basic_string<Source>& source, size_t room, Convert convert) {
    const std::vector<Source> exact(source.begin(), source.end());
    std::vector<Unit> out(room, static_cast<Unit>(0x55));
    const int64_t units = convert(exact.data(), static_cast<int64_t>(exact.size()), out.data());
    EXPECT_GE(units, 0);
    EXPECT_LT(units, static_cast<int64_t>(room));
    EXPECT_EQ(out[static_cast<size_t>(units)], 0) << "the terminator";
    return {out.data(), static_cast<size_t>(units)};
}

template <class Unit>
std::basic_string<Unit> FromUtf8(const std::string& bytes, int64_t& illegalAt) {
    return Run<Unit>(bytes, bytes.size() + 1, [&](const char* source, int64_t count, Unit* out) {
        ConvertedText converted{};
        if constexpr (sizeof(Unit) == 2) {
            converted = Utf8ToUtf16(source, count, out);
        } else {
            converted = Utf8ToUtf32(source, count, out);
        }
        illegalAt = converted.illegalAt;
        return converted.units;
    });
}

std::u32string FromUtf16(const std::u16string& units) {
    return Run<char32_t>(units, units.size() + 1, Utf16ToUtf32);
}

std::u16string FromUtf32(const std::u32string& units) {
    return Run<char16_t>(units, 2 * units.size() + 1, Utf32ToUtf16);
}

/// Compares both conversions of these bytes with the reference.
void ExpectAsReference(const std::string& bytes) {
    const Decoded expected = DecodeUtf8(bytes);
    int64_t illegalAt = 0;
    const auto shown = [&] {
        return testing::PrintToString(std::vector<uint8_t>(bytes.begin(), bytes.end()));
    };
    ASSERT_EQ(FromUtf8<char16_t>(bytes, illegalAt), Utf16Of(expected.text)) << shown();
    ASSERT_EQ(illegalAt, expected.illegalAt) << shown();
    ASSERT_EQ(FromUtf8<char32_t>(bytes, illegalAt), expected.text) << shown();
    ASSERT_EQ(illegalAt, expected.illegalAt) << shown();
}

std::string Bytes(std::initializer_list<int> values) {
    std::string bytes;
    for (const int value : values)
        bytes += static_cast<char>(value);
    return bytes;
}

TEST(TextConversion, NothingIsAnEmptyText) {
    ExpectAsReference("");
    EXPECT_EQ(FromUtf16(u""), U"");
    EXPECT_EQ(FromUtf32(U""), u"");
    // None of it is read.
    char16_t out = 7;
    EXPECT_EQ(Utf8ToUtf16(nullptr, 0, &out).units, 0);
    EXPECT_EQ(out, 0);
    EXPECT_TRUE(IsAscii(nullptr, 0));
}

TEST(TextConversion, EveryCodePoint) {
    for (char32_t code = 0; code <= kLastCodePoint; ++code) {
        if (IsSurrogate(code)) continue;
        const bool dropped = code == 0xFEFF || code == 0xFFFE;
        const std::string bytes = Utf8Of(code);
        const std::u16string utf16 = dropped ? std::u16string() : Utf16Of(code);
        int64_t illegalAt = 0;
        ASSERT_EQ(FromUtf8<char16_t>(bytes, illegalAt), utf16);
        ASSERT_EQ(illegalAt, -1);
        ASSERT_EQ(FromUtf8<char32_t>(bytes, illegalAt), dropped ? std::u32string() : std::u32string(1, code));
        ASSERT_EQ(illegalAt, -1);
        ASSERT_EQ(FromUtf32(std::u32string(1, code)), Utf16Of(code));
        ASSERT_EQ(FromUtf16(Utf16Of(code)), std::u32string(1, code));
    }
}

TEST(TextConversion, AllOfUnicodeAtOnce) {
    std::u32string text;
    for (char32_t code = 0; code <= kLastCodePoint; ++code) {
        if (!IsSurrogate(code)) text += code;
    }
    ExpectAsReference(Utf8Of(text));
    EXPECT_EQ(FromUtf32(text), Utf16Of(text));
    EXPECT_EQ(FromUtf16(Utf16Of(text)), text);
}

TEST(TextConversion, IllegalUtf8StopsAtTheBadByte) {
    int64_t illegalAt = -1;
    EXPECT_EQ(FromUtf8<char16_t>("abc\xFF"
                                 "def",
                                 illegalAt),
              u"abc");
    EXPECT_EQ(illegalAt, 3);
    EXPECT_EQ(FromUtf8<char32_t>("gr\xC3\xBC\xC3", illegalAt), U"gr\u00FC") << "cut off";
    EXPECT_EQ(illegalAt, 4);
    // The limits of each rule, with a letter behind so that only the rule itself can stop it.
    const struct {
        std::string bytes;
        std::u32string text;
        int64_t illegalAt;
    } cases[] = {
        {Bytes({0x7F, 'A'}),
         U"\x7F"
         U"A",
         -1},
        {Bytes({0x80, 'A'}), U"", 0},
        {Bytes({0xC1, 0xBF, 'A'}), U"", 0},
        {Bytes({0xC2, 0x80, 'A'}), U"\u0080A", -1},
        {Bytes({0xC2, 0x7F, 'A'}), U"", 0},
        {Bytes({0xC2, 0xC0, 'A'}), U"", 0},
        {Bytes({0xDF, 0xBF, 'A'}), U"\u07FFA", -1},
        {Bytes({0xE0, 0x9F, 0xBF, 'A'}), U"", 0},
        {Bytes({0xE0, 0xA0, 0x80, 'A'}), U"\u0800A", -1},
        {Bytes({0xED, 0x9F, 0xBF, 'A'}), U"\uD7FFA", -1},
        {Bytes({0xED, 0xA0, 0x80, 'A'}), U"", 0},
        {Bytes({0xEE, 0x80, 0x80, 'A'}), U"\uE000A", -1},
        {Bytes({0xEF, 0xBF, 0xBF, 'A'}), U"\uFFFFA", -1},
        {Bytes({0xF0, 0x8F, 0xBF, 0xBF, 'A'}), U"", 0},
        {Bytes({0xF0, 0x90, 0x80, 0x80, 'A'}), U"\U00010000A", -1},
        {Bytes({0xF4, 0x8F, 0xBF, 0xBF, 'A'}), U"\U0010FFFFA", -1},
        {Bytes({0xF4, 0x90, 0x80, 0x80, 'A'}), U"", 0},
        {Bytes({0xF5, 0x80, 0x80, 0x80, 'A'}), U"", 0},
        {Bytes({0xF8, 0x88, 0x80, 0x80, 0x80, 'A'}), U"", 0},
        {Bytes({0xFC, 0x84, 0x80, 0x80, 0x80, 0x80, 'A'}), U"", 0},
        {Bytes({0xFE, 'A'}), U"", 0},
    };
    for (const auto& [bytes, text, stop] : cases) {
        EXPECT_EQ(FromUtf8<char32_t>(bytes, illegalAt), text);
        EXPECT_EQ(illegalAt, stop) << static_cast<int>(static_cast<uint8_t>(bytes[0]));
        ExpectAsReference(bytes);
    }
}

TEST(TextConversion, ByteOrderMarksAreDroppedFromUtf8) {
    int64_t illegalAt = 0;
    EXPECT_EQ(FromUtf8<char16_t>("\xEF\xBB\xBF"
                                 "abc",
                                 illegalAt),
              u"abc");
    EXPECT_EQ(FromUtf8<char32_t>("\xEF\xBB\xBF"
                                 "abc",
                                 illegalAt),
              U"abc");
    EXPECT_EQ(FromUtf8<char16_t>("a\xEF\xBB\xBF"
                                 "b\xEF\xBF\xBE"
                                 "c",
                                 illegalAt),
              u"abc")
        << "wherever";
    EXPECT_EQ(FromUtf8<char16_t>("a\xEF\xBF\xBF"
                                 "b\xEF\xBF\xBD",
                                 illegalAt),
              u"a\uFFFFb\uFFFD");
}

TEST(TextConversion, EverySequenceOfUpToThreeBytes) {
    for (int a = 0; a < 256; ++a) {
        ExpectAsReference(Bytes({a}));
        for (int b = 0; b < 256; ++b) {
            ExpectAsReference(Bytes({a, b}));
            ExpectAsReference(Bytes({'x', a, b, 'A'}));
            if (HasFatalFailure()) return;
            if (a < 0xE0) continue;
            for (const int c :
                 {0x00, 0x41, 0x7F, 0x80, 0x81, 0x9F, 0xA0, 0xBE, 0xBF, 0xC0, 0xC2, 0xE0, 0xFF}) {
                ExpectAsReference(Bytes({a, b, c}));
                ExpectAsReference(Bytes({a, b, c, 'A'}));
            }
        }
    }
}

TEST(TextConversion, SequencesOfFourBytesAtTheLimits) {
    const int edges[] = {0x00, 0x7F, 0x80, 0x8F, 0x90, 0xBF, 0xC0, 0xFF};
    for (int a = 0xF0; a <= 0xFF; ++a) {
        for (int b = 0x70; b < 0xD0; ++b) {
            for (const int c : edges) {
                for (const int d : edges) {
                    ExpectAsReference(Bytes({a, b, c, d}));
                    ExpectAsReference(Bytes({a, b, c, d, 0x80, 0x80, 'A'}));
                }
            }
            if (HasFatalFailure()) return;
        }
    }
}

TEST(TextConversion, RandomUtf8IntactAndDamaged) {
    std::mt19937 random(20261101);
    const char32_t limits[] = {0x80, 0x800, 0x10000, 0x110000};
    for (int round = 0; round < 60000; ++round) {
        std::string bytes;
        const size_t length = random() % 40;
        while (bytes.size() < length) {
            // Runs of ASCII too, which are converted eight at a time.
            if (random() % 3 == 0) bytes += std::string(random() % 20, 'a');
            const char32_t code = random() % limits[random() % 4];
            if (!IsSurrogate(code)) bytes += Utf8Of(code);
        }
        const auto damage = random() % 4;
        if (damage == 1 && !bytes.empty()) bytes[random() % bytes.size()] = static_cast<char>(random());
        if (damage == 2) bytes.resize(random() % (bytes.size() + 1));
        if (damage == 3)
            std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<char>(random()); });
        ExpectAsReference(bytes);
        if (HasFatalFailure()) return;
    }
}

TEST(TextConversion, LoneSurrogatesTakeTheNextUnitWithThem) {
    EXPECT_EQ(FromUtf16(u"a\xD83D\xDE00z"), U"a\U0001F600z");
    EXPECT_EQ(FromUtf16(u"a\xD83Dyz"), U"az") << "a high one drops both";
    EXPECT_EQ(FromUtf16(u"a\xD83D\xD83D\xDE00z"), U"a") << "the second high one is dropped with the first";
    EXPECT_EQ(FromUtf16(u"a\xDE00yz"), U"az") << "a low one drops itself and the following unit";
    EXPECT_EQ(FromUtf16(u"a\xDE00\xD83D\xDE00z"), U"a") << "the high one goes, the low one takes z";
    EXPECT_EQ(FromUtf16(u"a\xD83D"), U"a");
    EXPECT_EQ(FromUtf16(u"a\xDE00"), U"a");
    EXPECT_EQ(FromUtf16(u"\xD800\xDC00\xDBFF\xDFFF"), U"\U00010000\U0010FFFF");
    EXPECT_EQ(FromUtf16(u"\xD7FF\xE000"), U"\uD7FF\uE000");
}

/// The rules for surrogates over a text of which each unit is one of: plain, high, low.
std::u32string SurrogateReference(std::u16string units) {
    std::u32string text;
    while (!units.empty()) {
        const char16_t first = units[0];
        const bool isHigh = first >= 0xD800 && first < 0xDC00;
        const bool isLow = first >= 0xDC00 && first < 0xE000;
        const bool pair = isHigh && units.size() > 1 && units[1] >= 0xDC00 && units[1] < 0xE000;
        if (pair) text += 0x10000 + static_cast<char32_t>(first - 0xD800) * 0x400 + (units[1] - 0xDC00);
        if (!isHigh && !isLow) text += first;
        units.erase(0, isHigh || isLow ? 2 : 1);
    }
    return text;
}

TEST(TextConversion, EveryOrderOfSurrogates) {
    const char16_t kinds[] = {u'a', 0xD83D, 0xDE00};
    size_t texts = 1;
    for (size_t length = 0; length <= 9; ++length, texts *= 3) {
        for (size_t number = 0; number < texts; ++number) {
            std::u16string units;
            for (size_t i = 0, rest = number; i < length; ++i, rest /= 3)
                units += kinds[rest % 3];
            ASSERT_EQ(FromUtf16(units), SurrogateReference(units));
        }
    }
}

TEST(TextConversion, Utf32IntoUtf16) {
    EXPECT_EQ(FromUtf32({U'a', 0xD800, U'b', 0xDBFF, 0xDC00, 0xDFFF, U'c'}), u"abc") << "surrogates go";
    EXPECT_EQ(FromUtf32({0x10FFFF, 0x110000, 0x80000000, 0xFFFFFFFF}), u"\xDBFF\xDFFF\uFFFD\uFFFD\uFFFD");
    EXPECT_EQ(FromUtf32({0xFEFF, U'a', 0xFFFE, 0xFFFF}), u"\uFEFFa\uFFFE\uFFFF") << "marks stay";
    EXPECT_EQ(FromUtf32({0xD7FF, 0xE000, 0xFFFF, 0x10000}), u"\uD7FF\uE000\uFFFF\xD800\xDC00");
    std::mt19937 random(20261102);
    for (int round = 0; round < 20000; ++round) {
        std::u32string text(random() % 9, U'\0');
        std::u16string expected;
        for (char32_t& code : text) {
            code = random() >> (random() % 32);
            if (code > kLastCodePoint) {
                expected += u'\uFFFD';
            } else if (!IsSurrogate(code)) {
                expected += Utf16Of(code);
            }
        }
        ASSERT_EQ(FromUtf32(text), expected);
    }
}

TEST(TextConversion, AsciiIsToldByEveryByte) {
    for (size_t length = 0; length < 40; ++length) {
        std::vector<char> bytes(length, '\x7F');
        const auto count = static_cast<int64_t>(length);
        EXPECT_TRUE(IsAscii(bytes.data(), count));
        for (size_t at = 0; at < length; ++at) {
            for (const char high : {'\x80', '\xFF'}) {
                bytes[at] = high;
                EXPECT_FALSE(IsAscii(bytes.data(), count));
                EXPECT_TRUE(IsAscii(bytes.data(), static_cast<int64_t>(at)));
            }
            bytes[at] = 0;
        }
        EXPECT_TRUE(IsAscii(bytes.data(), count)) << "zeros too";
    }
    EXPECT_TRUE(IsAscii("\xFF", -1));
}

TEST(TextConversion, SwappedUnits) {
    static_assert(SwapBytes(u'\xFEFF') == u'\xFFFE');
    static_assert(SwapBytes(U'\x0001F600') == static_cast<char32_t>(0x00F60100));
    static_assert(SwapBytes(SwapBytes(U'\x0010FFFF')) == U'\x0010FFFF');
}

}  // namespace
}  // namespace trv
