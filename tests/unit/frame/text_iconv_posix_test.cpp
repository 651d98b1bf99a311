// The conversions against the C library's.

#include <cerrno>
#include <gtest/gtest.h>
#include <iconv.h>
#include <random>
#include <string>
#include <vector>

#include "frame/text_conversion.h"
#include "unit/frame/unicode.h"

namespace trv {
namespace {

using test::IsSurrogate;
using test::kLastCodePoint;
using test::Utf8Of;

/// A converter of the C library.
class Iconv {
  public:
    Iconv(const char* to, const char* from) : converter_(iconv_open(to, from)) {}
    ~Iconv() { iconv_close(converter_); }
    Iconv(const Iconv&) = delete;
    Iconv& operator=(const Iconv&) = delete;

    /// What comes out, and where in the input it stopped: -1 at the end.
    template <class Unit>
    std::basic_string<Unit> Convert(std::string bytes, int64_t& stoppedAt) {
        std::vector<Unit> out(bytes.size() + 1);
        char* source = bytes.data();
        size_t sourceLeft = bytes.size();
        auto* target = reinterpret_cast<char*>(out.data());
        size_t targetLeft = out.size() * sizeof(Unit);
        iconv(converter_, nullptr, nullptr, nullptr, nullptr);
        const size_t result = iconv(converter_, &source, &sourceLeft, &target, &targetLeft);
        EXPECT_TRUE(result == 0 || errno == EILSEQ || errno == EINVAL) << errno;
        stoppedAt = result == 0 ? -1 : source - bytes.data();
        return {out.data(), out.size() - targetLeft / sizeof(Unit)};
    }

  private:
    iconv_t converter_;
};

template <class Unit>
std::basic_string<Unit> WithoutMarks(std::basic_string<Unit> text) {
    std::erase_if(text, [](Unit unit) { return unit == 0xFEFF || unit == 0xFFFE; });
    return text;
}

class AgainstIconv : public ::testing::Test {
  protected:
    void ExpectSame(const std::string& bytes) {
        const auto count = static_cast<int64_t>(bytes.size());
        int64_t stoppedAt = 0;
        const auto shown = [&] {
            return testing::PrintToString(std::vector<uint8_t>(bytes.begin(), bytes.end()));
        };
        std::u16string utf16(bytes.size() + 1, u'\0');
        const ConvertedText to16 = Utf8ToUtf16(bytes.data(), count, utf16.data());
        utf16.resize(static_cast<size_t>(to16.units));
        ASSERT_EQ(utf16, WithoutMarks(toUtf16_.Convert<char16_t>(bytes, stoppedAt))) << shown();
        ASSERT_EQ(to16.illegalAt, stoppedAt) << shown();
        std::u32string utf32(bytes.size() + 1, U'\0');
        const ConvertedText to32 = Utf8ToUtf32(bytes.data(), count, utf32.data());
        utf32.resize(static_cast<size_t>(to32.units));
        ASSERT_EQ(utf32, WithoutMarks(toUtf32_.Convert<char32_t>(bytes, stoppedAt))) << shown();
        ASSERT_EQ(to32.illegalAt, stoppedAt) << shown();
    }

    Iconv toUtf16_{"UTF-16LE", "UTF-8"};
    Iconv toUtf32_{"UTF-32LE", "UTF-8"};
    Iconv from16To32_{"UTF-32LE", "UTF-16LE"};
    Iconv from32To16_{"UTF-16LE", "UTF-32LE"};
};

TEST_F(AgainstIconv, AllOfUnicode) {
    std::u32string text;
    for (char32_t code = 0; code <= kLastCodePoint; ++code) {
        if (!IsSurrogate(code)) text += code;
    }
    ExpectSame(Utf8Of(text));
    int64_t stoppedAt = 0;
    const std::u16string expected16 =
        from32To16_.Convert<char16_t>(test::BytesOf(std::u32string_view(text)), stoppedAt);
    ASSERT_EQ(stoppedAt, -1);
    std::u16string utf16(2 * text.size() + 1, u'\0');
    utf16.resize(
        static_cast<size_t>(Utf32ToUtf16(text.data(), static_cast<int64_t>(text.size()), utf16.data())));
    ASSERT_EQ(utf16, expected16);
    std::u32string utf32(utf16.size() + 1, U'\0');
    utf32.resize(
        static_cast<size_t>(Utf16ToUtf32(utf16.data(), static_cast<int64_t>(utf16.size()), utf32.data())));
    ASSERT_EQ(utf32, from16To32_.Convert<char32_t>(test::BytesOf(std::u16string_view(utf16)), stoppedAt));
    ASSERT_EQ(stoppedAt, -1);
    ASSERT_EQ(utf32, text);
}

TEST_F(AgainstIconv, EverySequenceOfThreeBytes) {
    for (int a = 0x70; a < 256; ++a) {
        for (int b = 0x70; b < 256; ++b) {
            for (int c = 0x78; c < 256; c += a < 0xE0 ? 37 : 1) {
                const char bytes[] = {static_cast<char>(a), static_cast<char>(b), static_cast<char>(c), 'A'};
                ExpectSame({bytes, 4});
                if (HasFatalFailure()) return;
            }
        }
    }
}

TEST_F(AgainstIconv, RandomBytes) {
    std::mt19937 random(20261103);
    for (int round = 0; round < 100000; ++round) {
        std::string bytes;
        for (size_t left = random() % 12; left > 0; --left) {
            char32_t code = random() % (kLastCodePoint + 1);
            code >>= random() % 20;
            bytes += IsSurrogate(code) ? "?" : Utf8Of(code);
        }
        for (size_t left = random() % 3; left > 0 && !bytes.empty(); --left)
            bytes[random() % bytes.size()] = static_cast<char>(random());
        bytes.resize(bytes.size() - std::min<size_t>(bytes.size(), random() % 3));
        ExpectSame(bytes);
        if (HasFatalFailure()) return;
    }
}

}  // namespace
}  // namespace trv
