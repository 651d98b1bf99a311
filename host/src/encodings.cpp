#include "encodings.h"

#include <algorithm>
#include <cstring>

#include "text_case.h"
#include "trvhost/boundary.h"

namespace trvhost {

namespace {

constexpr char32_t kReplacement = 0xFFFD;

// Windows-1252 between 0x80 and 0x9F; the five unused codes stand for themselves.
constexpr char16_t kAnsi[32] = {0x20AC, 0x81,   0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x8D,   0x017D, 0x8F,
                                0x90,   0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x9D,   0x017E, 0x0178};

using Decoded = std::optional<std::u32string>;

bool IsSurrogate(char32_t c) {
    return c >= 0xD800 && c < 0xE000;
}

Decoded FromUtf8(std::string_view bytes) {
    std::u32string text;
    for (size_t i = 0; i < bytes.size();) {
        const auto lead = static_cast<uint8_t>(bytes[i]);
        const size_t trailing = lead < 0x80   ? 0
                                : lead < 0xC2 ? 9
                                : lead < 0xE0 ? 1
                                : lead < 0xF0 ? 2
                                : lead < 0xF5 ? 3
                                              : 9;
        if (trailing == 9 || bytes.size() - i <= trailing) return std::nullopt;
        char32_t c = trailing == 0 ? lead : lead & (0x3Fu >> trailing);
        for (size_t k = 1; k <= trailing; ++k) {
            const auto next = static_cast<uint8_t>(bytes[i + k]);
            if ((next & 0xC0) != 0x80) return std::nullopt;
            c = (c << 6) | (next & 0x3Fu);
        }
        constexpr char32_t kSmallest[] = {0, 0x80, 0x800, 0x10000};
        if (c < kSmallest[trailing] || IsSurrogate(c) || c > 0x10FFFF) return std::nullopt;
        text += c;
        i += trailing + 1;
    }
    return text;
}

template <class Unit>
std::optional<std::basic_string<Unit>> Units(std::string_view bytes) {
    if (bytes.size() % sizeof(Unit) != 0) return std::nullopt;
    std::basic_string<Unit> units(bytes.size() / sizeof(Unit), Unit());
    if (!bytes.empty()) std::memcpy(units.data(), bytes.data(), bytes.size());
    return units;
}

Decoded FromUtf16(std::string_view bytes) {
    const auto units = Units<char16_t>(bytes);
    if (!units) return std::nullopt;
    std::u32string text;
    for (size_t i = 0; i < units->size(); ++i) {
        const char32_t c = (*units)[i];
        const char32_t next = i + 1 < units->size() ? (*units)[i + 1] : 0;
        if (c >= 0xD800 && c < 0xDC00 && next >= 0xDC00 && next < 0xE000) {
            text += static_cast<char32_t>(0x10000 + ((c - 0xD800) << 10) + (next - 0xDC00));
            ++i;
        } else {
            text += IsSurrogate(c) ? kReplacement : c;
        }
    }
    return text;
}

Decoded FromBytes(std::string_view bytes, uint32_t encoding) {
    std::u32string text;
    for (const char byte : bytes) {
        const auto c = static_cast<uint8_t>(byte);
        if (c >= 0x80 && (encoding == kEncodingAscii || encoding == kEncodingNone)) return std::nullopt;
        text +=
            encoding == kEncodingAnsi && c >= 0x80 && c < 0xA0 ? kAnsi[c - 0x80] : static_cast<char32_t>(c);
    }
    return text;
}

Decoded Decode(std::string_view bytes, uint32_t encoding) {
    switch (encoding) {
        case kEncodingSystem:
        case kEncodingUtf8:
            return FromUtf8(bytes);
        case kEncodingUtf16:
            return FromUtf16(bytes);
        case kEncodingUtf32:
            return Units<char32_t>(bytes);
        case kEncodingAscii:
        case kEncodingLatin1:
        case kEncodingAnsi:
        case kEncodingNone:
            return FromBytes(bytes, encoding);
        default:
            return std::nullopt;
    }
}

void AppendUtf8(std::string& out, char32_t c) {
    if (c < 0x80) {
        out += static_cast<char>(c);
    } else if (c < 0x800) {
        out += static_cast<char>(0xC0 | (c >> 6));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        out += static_cast<char>(0xE0 | (c >> 12));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (c >> 18));
        out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    }
}

template <class Unit>
void AppendUnit(std::string& out, Unit unit) {
    char bytes[sizeof unit];
    std::memcpy(bytes, &unit, sizeof unit);
    out.append(bytes, sizeof unit);
}

char AsByte(char32_t c, uint32_t encoding) {
    if (c < 0x80) return static_cast<char>(c);
    if (encoding == kEncodingAnsi) {
        const auto* found = std::find(std::begin(kAnsi), std::end(kAnsi), static_cast<char16_t>(c));
        if (c < 0x10000 && found != std::end(kAnsi)) return static_cast<char>(0x80 + (found - kAnsi));
        if (c >= 0xA0 && c < 0x100) return static_cast<char>(c);
    }
    if (encoding == kEncodingLatin1 && c < 0x100) return static_cast<char>(c);
    return '?';
}

void Append(std::string& out, char32_t c, uint32_t encoding) {
    if (IsSurrogate(c) || c > 0x10FFFF) c = kReplacement;
    switch (encoding) {
        case kEncodingSystem:
        case kEncodingUtf8:
            AppendUtf8(out, c);
            break;
        case kEncodingUtf32:
            AppendUnit(out, c);
            break;
        case kEncodingUtf16:
            if (c >= 0x10000) {
                AppendUnit(out, static_cast<char16_t>(0xD800 + ((c - 0x10000) >> 10)));
                AppendUnit(out, static_cast<char16_t>(0xDC00 + ((c - 0x10000) & 0x3FF)));
            } else {
                AppendUnit(out, static_cast<char16_t>(c));
            }
            break;
        default:
            out += AsByte(c, encoding);
    }
}

}  // namespace

std::optional<std::string> ConvertText(std::string_view bytes, uint32_t from, uint32_t to) {
    if (from == to || to == kEncodingNone) return std::string(bytes);
    const Decoded text = Decode(bytes, from);
    if (!text || (to != kEncodingSystem && !Decode({}, to))) return std::nullopt;
    std::string out;
    for (const char32_t c : *text)
        Append(out, c, to);
    return out;
}

int UnitSize(uint32_t encoding) {
    return encoding == kEncodingUtf16 ? 2 : encoding == kEncodingUtf32 ? 4 : 1;
}

std::optional<uint32_t> EncodingByName(std::string_view name) {
    std::string plain = LowerCase(name);
    std::erase_if(plain, [](char c) { return c == '-' || c == '_'; });
    if (plain == "utf8") return kEncodingUtf8;
    if (plain == "utf16" || plain == "utf16le") return kEncodingUtf16;
    if (plain == "utf32" || plain == "utf32le") return kEncodingUtf32;
    if (plain == "ascii" || plain == "usascii") return kEncodingAscii;
    if (plain == "latin1" || plain == "iso88591") return kEncodingLatin1;
    if (plain == "windows1252" || plain == "cp1252") return kEncodingAnsi;
    return std::nullopt;
}

}  // namespace trvhost
