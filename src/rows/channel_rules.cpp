#include "rows/channel_rules.h"

#include "image/pixel_loop.h"

namespace trv {

namespace {

constexpr Channel kColours[] = {Channel::Red, Channel::Green, Channel::Blue};
constexpr Channel kInks[] = {Channel::Cyan, Channel::Magenta, Channel::Yellow, Channel::Black};

ByteRule CopyRule(const PictureTRV& from, Channel source, const PictureTRV& to, Channel target) {
    return {.kind = ByteRule::Kind::Copy, .to = OffsetOf(to, target), .from = OffsetOf(from, source)};
}

/// Gives each of the target's channels the same channel of the source.
template <size_t N>
void AddSame(SpanConverter& converter, const PictureTRV& from, const PictureTRV& to,
             const Channel (&channels)[N]) {
    for (const Channel channel : channels)
        converter.Add(CopyRule(from, channel, to, channel));
}

/// Gives each of the target's channels one channel of the source.
template <size_t N>
void AddSpread(SpanConverter& converter, const PictureTRV& from, Channel source, const PictureTRV& to,
               const Channel (&channels)[N]) {
    for (const Channel channel : channels)
        converter.Add(CopyRule(from, source, to, channel));
}

void AddGrayToInks(SpanConverter& converter, const PictureTRV& from, const PictureTRV& to,
                   GrayToInks grayToInks) {
    for (const Channel ink : kInks) {
        ByteRule rule = CopyRule(from, Channel::Gray, to, ink);
        if (grayToInks == GrayToInks::BlackOnly && ink != Channel::Black) rule.kind = ByteRule::Kind::Zero;
        converter.Add(rule);
    }
}

void AddColours(SpanConverter& converter, const PictureTRV& from, const PictureTRV& to,
                GrayToInks grayToInks) {
    const Family source = ClassOf(from);
    const Family target = ClassOf(to);
    if (source == Family::Rgb && target == Family::Rgb) return AddSame(converter, from, to, kColours);
    if (source == Family::Cmyk && target == Family::Cmyk) return AddSame(converter, from, to, kInks);
    if (source == Family::Gray && target == Family::Rgb)
        return AddSpread(converter, from, Channel::Gray, to, kColours);
    if (source == Family::Gray && target == Family::Cmyk)
        return AddGrayToInks(converter, from, to, grayToInks);
    if (target != Family::Gray) return;
    if (source == Family::Gray) converter.Add(CopyRule(from, Channel::Gray, to, Channel::Gray));
    if (source == Family::Cmyk) converter.Add(CopyRule(from, Channel::Black, to, Channel::Gray));
    if (source == Family::Rgb) converter.Add(LumaRule(from, to));
}

}  // namespace

Family ClassOf(const PictureTRV& record) {
    if (record.IsCMYK != 0) return Family::Cmyk;
    if (record.IsRGB != 0) return Family::Rgb;
    return record.IsGray != 0 ? Family::Gray : Family::None;
}

const char* ClassLetters(Family family, bool alpha) {
    const char* letters = "";
    DispatchFamily(family == Family::Gray, family == Family::Rgb, family == Family::Cmyk, alpha,
                   [&]<class F>(F) { letters = F::letters.data(); });
    return letters;
}

ByteRule LumaRule(const PictureTRV& from, const PictureTRV& to) {
    return {.kind = ByteRule::Kind::Luma,
            .to = to.GrayOffset,
            .from = from.RedOffset,
            .green = from.GreenOffset,
            .blue = from.BlueOffset};
}

SpanConverter MakeConverter(const PictureTRV& from, const PictureTRV& to, GrayToInks grayToInks,
                            AlphaRule alpha) {
    SpanConverter converter(from.PixelSize, to.PixelSize);
    AddColours(converter, from, to, grayToInks);
    if (alpha != AlphaRule::Leave && from.HasAlpha != 0 && to.HasAlpha != 0) {
        ByteRule rule = CopyRule(from, Channel::Alpha, to, Channel::Alpha);
        if (alpha == AlphaRule::Complement) rule.kind = ByteRule::Kind::Complement;
        converter.Add(rule);
    }
    converter.Prepare();
    return converter;
}

}  // namespace trv
