#include "frame/text_conversion.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

namespace trv {

namespace {

constexpr char32_t kByteOrderMark = 0xFEFF;
constexpr char32_t kSwappedByteOrderMark = 0xFFFE;
constexpr char32_t kReplacement = 0xFFFD;
constexpr char32_t kLastCodePoint = 0x10FFFF;
constexpr int kMostTrailingBytes = 5;

bool IsHighSurrogate(char32_t code) {
    return code >= 0xD800 && code <= 0xDBFF;
}

bool IsLowSurrogate(char32_t code) {
    return code >= 0xDC00 && code <= 0xDFFF;
}

bool IsSurrogate(char32_t code) {
    return IsHighSurrogate(code) || IsLowSurrogate(code);
}

/// How many bytes a lead byte announces behind itself, legal or not.
constexpr auto kTrailingBytes = [] {
    std::array<uint8_t, 256> table{};
    for (unsigned lead = 0; lead < table.size(); ++lead) {
        const int ones = std::countl_one(static_cast<uint8_t>(lead));
        table[lead] = static_cast<uint8_t>(ones < 2 ? 0 : std::min(ones - 1, kMostTrailingBytes));
    }
    return table;
}();

/// By the number of trailing bytes: what the marks of all bytes add up to when each is shifted by six bits
/// and added, as the decoder does, modulo 2^32.
constexpr auto kMarks = [] {
    std::array<uint32_t, kMostTrailingBytes + 1> table{};
    for (int trailing = 1; trailing <= kMostTrailingBytes; ++trailing) {
        table[trailing] = (0xFF00U >> (trailing + 1)) & 0xFF;
        for (int i = 0; i < trailing; ++i)
            table[trailing] = (table[trailing] << 6) + 0x80;
    }
    return table;
}();

bool IsLegal(const uint8_t* sequence, int trailing) {
    const uint8_t lead = sequence[0];
    if ((lead >= 0x80 && lead < 0xC2) || lead > 0xF4) return false;
    for (int i = 1; i <= trailing; ++i) {
        if ((sequence[i] & 0xC0) != 0x80) return false;
    }
    switch (lead) {
        case 0xE0:
            return sequence[1] >= 0xA0;
        case 0xED:
            return sequence[1] <= 0x9F;
        case 0xF0:
            return sequence[1] >= 0x90;
        case 0xF4:
            return sequence[1] < 0x90;
        default:
            return true;
    }
}

/// One code point as units behind `out`, or nothing for a surrogate; gives the new end.
char16_t* Append(char32_t code, char16_t* out) {
    if (code > kLastCodePoint) code = kReplacement;
    if (code > 0xFFFF) {
        *out++ = static_cast<char16_t>(0xD800 + ((code - 0x10000) >> 10));
        *out++ = static_cast<char16_t>(0xDC00 + ((code - 0x10000) & 0x3FF));
    } else if (!IsSurrogate(code)) {
        *out++ = static_cast<char16_t>(code);
    }
    return out;
}

char32_t* Append(char32_t code, char32_t* out) {
    if (!IsSurrogate(code)) *out++ = code;
    return out;
}

constexpr int kBlockBytes = 8;

/// Whether the next eight bytes are all below 128.
bool IsAsciiBlock(const void* bytes) {
    uint64_t block = 0;
    std::memcpy(&block, bytes, kBlockBytes);
    return (block & 0x8080808080808080U) == 0;
}

template <class Unit>
ConvertedText FromUtf8(const char* bytes, int64_t count, Unit* out) {
    const auto* const begin = reinterpret_cast<const uint8_t*>(bytes);
    const uint8_t* const end = begin + count;
    const uint8_t* at = begin;
    const Unit* const start = out;
    int64_t illegalAt = -1;
    while (at < end) {
        for (; end - at >= kBlockBytes && IsAsciiBlock(at); at += kBlockBytes) {
            for (int i = 0; i < kBlockBytes; ++i)
                *out++ = at[i];
        }
        if (at == end) break;
        const int trailing = kTrailingBytes[*at];
        if (end - at <= trailing || !IsLegal(at, trailing)) {
            illegalAt = at - begin;
            break;
        }
        uint32_t code = 0;
        for (int i = 0; i <= trailing; ++i)
            code = (code << 6) + *at++;
        code -= kMarks[trailing];
        if (code != kByteOrderMark && code != kSwappedByteOrderMark) out = Append(code, out);
    }
    *out = 0;
    return {out - start, illegalAt};
}

}  // namespace

bool IsAscii(const char* bytes, int64_t count) {
    for (; count >= kBlockBytes; bytes += kBlockBytes, count -= kBlockBytes) {
        if (!IsAsciiBlock(bytes)) return false;
    }
    return std::all_of(bytes, bytes + std::max<int64_t>(count, 0),
                       [](char c) { return static_cast<uint8_t>(c) < 0x80; });
}

ConvertedText Utf8ToUtf16(const char* bytes, int64_t count, char16_t* out) {
    return FromUtf8(bytes, count, out);
}

ConvertedText Utf8ToUtf32(const char* bytes, int64_t count, char32_t* out) {
    return FromUtf8(bytes, count, out);
}

int64_t Utf16ToUtf32(const char16_t* units, int64_t count, char32_t* out) {
    const char32_t* const start = out;
    for (int64_t i = 0; i < count; ++i) {
        const char32_t unit = units[i];
        if (!IsSurrogate(unit)) {
            *out++ = unit;
            continue;
        }
        // A surrogate takes the next unit with it, whatever that is.
        ++i;
        if (IsHighSurrogate(unit) && i < count && IsLowSurrogate(units[i])) {
            *out++ = 0x10000 + ((unit - 0xD800) << 10) + (units[i] - 0xDC00U);
        }
    }
    *out = 0;
    return out - start;
}

int64_t Utf32ToUtf16(const char32_t* units, int64_t count, char16_t* out) {
    const char16_t* const start = out;
    for (int64_t i = 0; i < count; ++i)
        out = Append(units[i], out);
    *out = 0;
    return out - start;
}

}  // namespace trv
