#pragma once

// Unicode's encodings for tests, slow and plain: a decoder that accepts exactly what the encoder makes.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace trv::test {

inline constexpr char32_t kLastCodePoint = 0x10FFFF;

inline bool IsSurrogate(char32_t code) {
    return code >= 0xD800 && code <= 0xDFFF;
}

inline std::string Utf8Of(char32_t code) {
    std::string bytes;
    if (code < 0x80) {
        bytes += static_cast<char>(code);
    } else if (code < 0x800) {
        bytes += static_cast<char>(0xC0 + code / 64);
        bytes += static_cast<char>(0x80 + code % 64);
    } else if (code < 0x10000) {
        bytes += static_cast<char>(0xE0 + code / 4096);
        bytes += static_cast<char>(0x80 + code / 64 % 64);
        bytes += static_cast<char>(0x80 + code % 64);
    } else {
        bytes += static_cast<char>(0xF0 + code / 262144);
        bytes += static_cast<char>(0x80 + code / 4096 % 64);
        bytes += static_cast<char>(0x80 + code / 64 % 64);
        bytes += static_cast<char>(0x80 + code % 64);
    }
    return bytes;
}

inline std::u16string Utf16Of(char32_t code) {
    if (code < 0x10000) return std::u16string(1, static_cast<char16_t>(code));
    return {static_cast<char16_t>(0xD800 + (code - 0x10000) / 1024),
            static_cast<char16_t>(0xDC00 + (code - 0x10000) % 1024)};
}

inline std::string Utf8Of(std::u32string_view text) {
    std::string bytes;
    for (const char32_t code : text)
        bytes += Utf8Of(code);
    return bytes;
}

inline std::u16string Utf16Of(std::u32string_view text) {
    std::u16string units;
    for (const char32_t code : text)
        units += Utf16Of(code);
    return units;
}

/// The units of a text as the bytes that lie in memory.
template <class Unit>
std::string BytesOf(std::basic_string_view<Unit> units) {
    return {reinterpret_cast<const char*>(units.data()), units.size() * sizeof(Unit)};
}

/// The code point that these bytes begin with, if they begin with one.
inline std::optional<char32_t> FirstOf(std::string_view bytes) {
    const auto at = [&](size_t i) -> char32_t {
        return i < bytes.size() ? static_cast<unsigned char>(bytes[i]) : 0;
    };
    const char32_t candidates[] = {
        at(0),
        at(0) % 32 * 64 + at(1) % 64,
        at(0) % 16 * 4096 + at(1) % 64 * 64 + at(2) % 64,
        at(0) % 8 * 262144 + at(1) % 64 * 4096 + at(2) % 64 * 64 + at(3) % 64,
    };
    for (const char32_t code : candidates) {
        if (code <= kLastCodePoint && !IsSurrogate(code) && bytes.starts_with(Utf8Of(code))) return code;
    }
    return std::nullopt;
}

/// A text and where its first illegal sequence began, -1 if there was none.
struct Decoded {
    std::u32string text;
    int64_t illegalAt = -1;
};

/// UTF-8 up to its first illegal sequence, without U+FEFF and U+FFFE.
inline Decoded DecodeUtf8(std::string_view bytes) {
    Decoded decoded;
    for (size_t i = 0; i < bytes.size();) {
        const auto code = FirstOf(bytes.substr(i));
        if (!code) {
            decoded.illegalAt = static_cast<int64_t>(i);
            break;
        }
        if (*code != 0xFEFF && *code != 0xFFFE) decoded.text += *code;
        i += Utf8Of(*code).size();
    }
    return decoded;
}

}  // namespace trv::test
