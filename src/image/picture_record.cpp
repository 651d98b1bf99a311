#include "image/picture_record.h"

namespace trv {

constinit ClassDefinition pictureClass = {.version = kUnregisteredTableVersion,
                                          .name = kPictureClassName,
                                          .dataSize = sizeof(PictureTRV),
                                          .flags = kOrdinary};

bool InitImageClassData(PictureTRV* record, int64_t width, int64_t height, int64_t format) {
    if (record == nullptr || width < 1 || height < 1) return false;
    // A code without a layout leaves a record that tells what was asked for, and no channels.
    static constexpr FormatLayout kNoLayout{};
    const FormatLayout* const found = FindFormat(format);
    const FormatLayout* const layout = found != nullptr ? found : &kNoLayout;
    for (size_t i = 0; i < kChannelFields.size(); ++i) {
        record->*kChannelFields[i].offset = layout->offset[i];
        record->*kChannelFields[i].has = layout->has[i];
    }
    record->ChannelOffsets = layout->channelOffsets;
    record->ChannelCount = layout->channelCount;
    record->PixelSize = layout->pixelSize;
    record->BitsPerComponent = layout->bitsPerComponent;
    record->RowSize = 0;
    record->IsGray = layout->family == Family::Gray;
    record->IsRGB = layout->family == Family::Rgb;
    record->IsCMYK = layout->family == Family::Cmyk;
    record->ImageFormat = format;
    record->Width = width;
    record->Height = height;
    record->UnclippedHeight = height;
    return found != nullptr;
}

}  // namespace trv
