#pragma once

// Conversions between the Unicode encodings, without host, log or allocation. Malformed input never fails as
// a whole; each function says what becomes of it.

#include <cstdint>

namespace trv {

/// Whether all `count` bytes are below 128; true for none.
[[nodiscard]] bool IsAscii(const char* bytes, int64_t count);

/// How far a conversion from UTF-8 came.
struct ConvertedText {
    /// Code units written, without the terminator.
    int64_t units;
    /// Where the first illegal sequence begins, in bytes, or -1 if all was legal. What stands before it was
    /// converted, nothing behind it was.
    int64_t illegalAt;
};

/// UTF-8 into UTF-16 and UTF-32, zero-terminated. Sequences that are too long, cut off, above U+10FFFF or of
/// the surrogate range are illegal. Byte-order marks (U+FEFF) and U+FFFE are dropped wherever they stand.
/// `out` has room for `count` + 1 units.
ConvertedText Utf8ToUtf16(const char* bytes, int64_t count, char16_t* out);
ConvertedText Utf8ToUtf32(const char* bytes, int64_t count, char32_t* out);

/// UTF-16 into UTF-32, zero-terminated; gives the units written without the terminator. A high surrogate
/// without a low one behind it is dropped together with what stands there instead, and a low surrogate
/// without a high one before it together with the unit behind it. `out` has room for `count` + 1 units.
int64_t Utf16ToUtf32(const char16_t* units, int64_t count, char32_t* out);

/// UTF-32 into UTF-16, zero-terminated; gives the units written without the terminator. Surrogates are
/// dropped, values above U+10FFFF become U+FFFD. `out` has room for 2 * `count` + 1 units.
int64_t Utf32ToUtf16(const char32_t* units, int64_t count, char16_t* out);

/// The unit with its bytes in the opposite order.
[[nodiscard]] constexpr char16_t SwapBytes(char16_t unit) {
    return static_cast<char16_t>(__builtin_bswap16(static_cast<uint16_t>(unit)));
}
[[nodiscard]] constexpr char32_t SwapBytes(char32_t unit) {
    return static_cast<char32_t>(__builtin_bswap32(static_cast<uint32_t>(unit)));
}

}  // namespace trv
