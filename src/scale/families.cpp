#include "scale/families.h"

namespace trv {

namespace {

/// The shorthand of the table below: what a letter in a family's reading rule stands for.
constexpr ScaleSlot SlotOf(char letter) {
    switch (letter) {
        case 'R':
            return {SlotSource::Channel, Channel::Red};
        case 'G':
            return {SlotSource::Channel, Channel::Green};
        case 'B':
            return {SlotSource::Channel, Channel::Blue};
        case 'A':
            return {SlotSource::Channel, Channel::Alpha};
        case 'C':
            return {SlotSource::Channel, Channel::Cyan};
        case 'M':
            return {SlotSource::Channel, Channel::Magenta};
        case 'K':
            return {SlotSource::Channel, Channel::Black};
        case 'g':
            return {SlotSource::Channel, Channel::Gray};
        case 'Y':
            return {SlotSource::Luma, Channel::Gray};
        default:
            return {};
    }
}

/// A family from its rules. `reads` has a letter for each slot of MyPixel: a channel (g for gray), Y for
/// luma, 0 for none. `writes` has a letter for each slot, too, telling where it goes: a channel (here Y is
/// yellow), 3 for red, green and blue at once, - for nowhere.
constexpr ScaleFamily MakeFamily(const char* name, const char* reads, const char* writes) {
    ScaleFamily family{};
    family.name = name;
    for (; reads[family.slotCount] != 0; ++family.slotCount) {
        const auto slot = static_cast<size_t>(family.slotCount);
        family.slots[slot] = SlotOf(reads[slot]);
        const auto add = [&](Channel channel) {
            family.writes[static_cast<size_t>(family.writeCount++)] = {channel, family.slotCount};
        };
        switch (writes[slot]) {
            case '-':
                break;
            case 'Y':
                add(Channel::Yellow);
                break;
            case '3':
                for (const Channel channel : {Channel::Red, Channel::Green, Channel::Blue})
                    add(channel);
                break;
            default:
                add(SlotOf(writes[slot]).channel);
        }
    }
    family.pixelBytes = family.slotCount;
    family.tempFormat = ImageFormatScaling1 + family.pixelBytes - 1;
    return family;
}

/// The same with slots of 16 bits.
constexpr ScaleFamily Wide(ScaleFamily family) {
    family.wide = true;
    family.pixelBytes *= 2;
    family.tempFormat = ImageFormatScaling1 + family.pixelBytes - 1;
    return family;
}

}  // namespace

// The families that read CMYK take their third slot through the red offset, which is 0 in a CMYK or gray
// image unless a caller set it, and store it as yellow; those that make CMYK out of gray read it the same
// way.
const std::array<ScaleFamily, kScaleFamilyCount> kScaleFamilies = {
    MakeFamily("RGB_to_RGB", "RGB0", "RGB-"),
    MakeFamily("RGBA_to_RGBA", "RGBA", "RGBA"),
    MakeFamily("RGB_to_G", "Y", "g"),
    MakeFamily("RGBA_to_GA", "YA", "gA"),
    MakeFamily("G_to_G", "g", "g"),
    Wide(MakeFamily("G16_to_G16", "g", "g")),
    MakeFamily("GA_to_GA", "g0", "g-"),
    MakeFamily("G_to_RGB", "0g00", "-3--"),
    MakeFamily("GA_to_RGBA", "0g0A", "-3-A"),
    MakeFamily("G_to_CMYK", "CMRK", "CMYK"),
    MakeFamily("GA_to_CMYKA", "CMRKA", "CMYKA"),
    MakeFamily("CMYK_to_CMYK", "CMRK", "CMYK"),
    MakeFamily("CMYKA_to_CMYKA", "CMRKA", "CMYKA"),
    MakeFamily("CMYK_to_G", "K", "g"),
    MakeFamily("CMYKA_to_GA", "KA", "gA"),
};

namespace {

using enum ScaleFamilyCode;

/// Stands for the one cell that looks at the sample sizes.
constexpr auto BySampleSize = static_cast<ScaleFamilyCode>(kScaleFamilyCount);

/// One row per kind of source, one column per kind of destination; kinds count CMYK, RGB, gray, each without
/// alpha and with it.
constexpr ScaleFamilyCode kSelection[6][6] = {
    // to CMYK       CMYKA           RGB         RGBA          G             GA
    {CMYK_to_CMYK, CMYK_to_CMYK, None, None, CMYK_to_G, CMYK_to_G},      // CMYK
    {CMYK_to_CMYK, CMYKA_to_CMYKA, None, None, CMYK_to_G, CMYKA_to_GA},  // CMYKA
    {None, None, RGB_to_RGB, RGB_to_RGB, RGB_to_G, RGB_to_G},            // RGB
    {None, None, RGB_to_RGB, RGBA_to_RGBA, RGB_to_G, RGBA_to_GA},        // RGBA
    {G_to_CMYK, G_to_CMYK, G_to_RGB, G_to_RGB, BySampleSize, G_to_G},    // G
    {G_to_CMYK, GA_to_CMYKA, G_to_RGB, GA_to_RGBA, G_to_G, GA_to_GA},    // GA
};

/// Row or column of an image in the table above, or nothing for an image without layout family.
std::optional<int> KindOf(const PictureTRV& image) {
    const int alpha = image.HasAlpha != 0 ? 1 : 0;
    if (image.IsCMYK != 0) return 0 + alpha;
    if (image.IsRGB != 0) return 2 + alpha;
    if (image.IsGray != 0) return 4 + alpha;
    return std::nullopt;
}

ScaleFamilyCode CodeOf(const PictureTRV& source, const PictureTRV& destination) {
    const auto from = KindOf(source);
    const auto to = KindOf(destination);
    if (!from || !to) return None;
    const ScaleFamilyCode code = kSelection[*from][*to];
    if (code != BySampleSize) return code;
    const bool wideSource = source.BitsPerComponent == 16;
    const bool wideDestination = destination.BitsPerComponent == 16;
    if (wideSource != wideDestination) return None;
    return wideSource ? G16_to_G16 : G_to_G;
}

}  // namespace

const ScaleFamily* SelectFamily(const PictureTRV& source, const PictureTRV& destination) {
    const ScaleFamilyCode code = CodeOf(source, destination);
    return code == None ? nullptr : &kScaleFamilies[static_cast<size_t>(code)];
}

}  // namespace trv
