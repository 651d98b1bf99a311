#pragma once

// The format table: 47 pixel layouts, each spelled out by its letters, and what follows from them.

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

namespace trv {

/// Codes of the formats, as host programs know them.
enum ImageFormatCode : int64_t {
    ImageFormatUnknown = 0,
#define TRV_FORMAT(constant, code, letters) constant = (code),
#define TRV_FORMAT_ALIAS(constant, code) constant = (code),
#include "image/image_formats.inc"
#undef TRV_FORMAT
#undef TRV_FORMAT_ALIAS
};

/// The named channels, in the order of their fields in the image record.
enum class Channel : uint8_t { Red, Green, Blue, Gray, Alpha, Cyan, Magenta, Yellow, Black };
inline constexpr int kChannelCount = 9;

enum class Family : uint8_t { None, Gray, Rgb, Cmyk };

/// The letter of each channel in a format's spelling; gray shares G with green, told apart by the family.
inline constexpr std::string_view kChannelLetters = "RGBGACMYK";
inline constexpr std::array<const char*, kChannelCount> kChannelNames = {
    "Red", "Green", "Blue", "Gray", "Alpha", "Cyan", "Magenta", "Yellow", "Black"};

/// What a format's letters say.
struct FormatLayout {
    int64_t code = 0;
    std::string_view letters;
    Family family = Family::None;
    int64_t pixelSize = 0;  // bytes
    int64_t bitsPerComponent = 8;
    int64_t channelCount = 0;
    std::array<int64_t, 8> channelOffsets{};        // byte offset of each channel in storage order
    std::array<std::optional<Channel>, 8> order{};  // its meaning; nothing for a further gray plane
    std::array<bool, kChannelCount> has{};
    std::array<int64_t, kChannelCount> offset{};  // bytes; 0 for a channel that is not there
};

/// Reads a layout off its letters.
[[nodiscard]] constexpr FormatLayout LayoutOfLetters(int64_t code, std::string_view letters) {
    const auto contains = [&](char letter) { return letters.find(letter) != std::string_view::npos; };
    FormatLayout layout;
    layout.code = code;
    layout.letters = letters;
    layout.pixelSize = static_cast<int64_t>(letters.size());
    layout.bitsPerComponent = contains('g') ? 16 : 8;
    layout.family = contains('R')   ? Family::Rgb
                    : contains('C') ? Family::Cmyk
                    : contains('G') ? Family::Gray
                                    : Family::None;
    for (size_t i = 0; i < letters.size(); ++i) {
        const bool gray = letters[i] == 'G' && layout.family == Family::Gray;
        const size_t found = gray ? static_cast<size_t>(Channel::Gray) : kChannelLetters.find(letters[i]);
        if (found == std::string_view::npos) continue;
        const size_t position = static_cast<size_t>(layout.channelCount++);
        layout.channelOffsets[position] = static_cast<int64_t>(i);
        if (layout.has[found]) continue;  // a further gray plane has an offset in the order and no name
        layout.has[found] = true;
        layout.offset[found] = static_cast<int64_t>(i);
        layout.order[position] = static_cast<Channel>(found);
    }
    return layout;
}

inline constexpr int64_t kHighestFormatCode = 48;

/// The layouts by code; an entry without letters is a code that cannot be created.
inline constexpr auto kFormats = [] {
    std::array<FormatLayout, kHighestFormatCode + 1> formats{};
#define TRV_FORMAT(constant, code, letters) formats[code] = LayoutOfLetters(code, letters);
#define TRV_FORMAT_ALIAS(constant, code)
#include "image/image_formats.inc"
#undef TRV_FORMAT
#undef TRV_FORMAT_ALIAS
    return formats;
}();

/// The layout of a format code, or null for a code that cannot be created.
[[nodiscard]] constexpr const FormatLayout* FindFormat(int64_t code) {
    if (code < 1 || code > kHighestFormatCode) return nullptr;
    const FormatLayout& layout = kFormats[static_cast<size_t>(code)];
    return layout.letters.empty() ? nullptr : &layout;
}

/// The text that describes a format code to the user, or null for the codes without text: the views of a
/// single channel, the untyped buffer, and codes that do not exist.
[[nodiscard]] const char* FormatText(int64_t code);

}  // namespace trv
