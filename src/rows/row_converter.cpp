#include "rows/row_converter.h"

#include <cstdio>

#include "frame/debug_log.h"
#include "image/pixel_loop.h"

namespace trv {

namespace {

RowRefusal FindRefusal(const PictureTRV& image, const PictureTRV& format, RowDirection direction) {
    const Family imageClass = ClassOf(image);
    const Family formatClass = ClassOf(format);
    // The side that is tested first tells its fault first.
    const bool imageFirst = direction == RowDirection::GetRow;
    if (imageFirst && imageClass == Family::None) return RowRefusal::ImageWithoutClass;
    if (formatClass == Family::None) return RowRefusal::FormatWithoutClass;
    if (imageClass == Family::None) return RowRefusal::ImageWithoutClass;
    const Family from = imageFirst ? imageClass : formatClass;
    const Family to = imageFirst ? formatClass : imageClass;
    if (from == Family::Rgb && to == Family::Cmyk) return RowRefusal::RgbToCmyk;
    if (from == Family::Cmyk && to == Family::Rgb) return RowRefusal::CmykToRgb;
    return RowRefusal::None;
}

/// One line for each channel that the side's class has and its record lacks.
void LogMissingChannels(const PictureTRV& record, bool withAlpha, const char* side) {
    DispatchFamily(record.IsGray != 0, record.IsRGB != 0, record.IsCMYK != 0, withAlpha, [&]<class F>(F) {
        for (const Channel channel : F::channels) {
            if (Has(record, channel)) continue;
            char text[64];
            std::snprintf(text, sizeof text, "no %s in %s for GetRow",
                          kChannelNames[static_cast<size_t>(channel)], side);
            TRV_LOG(text);
        }
    });
}

}  // namespace

RowConverter::RowConverter(const PictureTRV& image, const PictureTRV& format, RowDirection direction,
                           bool invertAlpha)
    : from_(direction == RowDirection::GetRow ? image : format),
      to_(direction == RowDirection::GetRow ? format : image),
      direction_(direction),
      width_(direction == RowDirection::GetRow ? image.Width : format.Width),
      refusal_(FindRefusal(image, format, direction)),
      converter_(MakeConverter(from_, to_, GrayToInks::AllFour,
                               invertAlpha ? AlphaRule::Complement : AlphaRule::Copy)) {}

void RowConverter::Convert(const uint8_t* from, uint8_t* to) const {
    if (refusal_ != RowRefusal::None) return;
    if (debugFlag) LogRow();
    converter_.Convert(from, to, width_);
}

void RowConverter::LogRow() const {
    const bool fromAlpha = from_.HasAlpha != 0;
    const bool toAlpha = to_.HasAlpha != 0;
    if (fromAlpha != toAlpha) {
        char text[64];
        std::snprintf(text, sizeof text, "%s_to_%s_%s", ClassLetters(ClassOf(from_), fromAlpha),
                      ClassLetters(ClassOf(to_), toAlpha),
                      direction_ == RowDirection::GetRow ? "GetRow" : "SetRow");
        TRV_LOG(text);
    }
    const bool alpha = fromAlpha && toAlpha;
    LogMissingChannels(from_, alpha, "source");
    LogMissingChannels(to_, alpha, "dest");
}

}  // namespace trv
