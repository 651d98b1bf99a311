#include "image/views.h"

#include <utility>

#include "frame/failures.h"
#include "frame/host_arrays.h"
#include "frame/host_strings.h"
#include "frame/references.h"
#include "image/checked_math.h"
#include "image/mapped_image.h"
#include "image/pixel_loop.h"
#include "image/row_readers.h"
#include "image/shared_store.h"
#include "platform/file_mapping.h"

namespace trv {

namespace {

/// The names of the planes of gray formats.
constexpr std::array<std::string_view, 8> kPlaneNames = {"Gray",  "Gray2", "Gray3", "Gray4",
                                                         "Gray5", "Gray6", "Gray7", "Gray8"};

HostString BuildName(std::string_view name) {
    return REALBuildUnicodeString(name.data(), static_cast<int64_t>(name.size()), kEncodingAscii);
}

/// What a view of a mapped image needs for a window of its own. It has none yet.
void ShareMapping(const PictureTRV& parent, PictureTRV& view) {
    view.IsMapping = 1;
    view.WindowMapHandle = parent.WindowMapHandle;
    view.WindowFileHandle = kNoHandle;
    view.MappingFirstRow = -1;
    view.MappingLastRow = -1;
    view.MappingRows = parent.MappingRows;
    view.memblocksize = parent.memblocksize;
}

/// A new object that reaches the parent's pixels by the parent's way, without channels yet; nothing if the
/// host gives none.
ObjectReference NewView(HostObject me) {
    ObjectReference object(host::PluginNewInstance(kPictureClassName));
    if (!object) return object;
    PictureTRV& parent = *RecordOf(me);
    PictureTRV& view = *RecordOf(object.Get());
    AssignReference(view.Parent, me);
    if (view.Parent == nullptr) return {};  // pixels that may go at any time
    AssignReference(view.Target, parent.Target);
    AssignReference(view.SharedMemory,
                    parent.MemoryTarget != nullptr ? parent.MemoryTarget : parent.SharedMemory);
    view.Valid = parent.Valid;
    view.Width = parent.Width;
    view.Height = parent.Height;
    view.UnclippedHeight = parent.UnclippedHeight;
    view.RowOffset = parent.RowOffset;
    view.RowSize = parent.RowSize;
    view.PixelSize = parent.PixelSize;
    view.BitsPerComponent = parent.BitsPerComponent;
    view.TotalSize = parent.TotalSize;
    view.GetRow = parent.GetRow;
    view.tpixels = parent.tpixels;
    if (parent.IsMapping != 0) {
        ShareMapping(parent, view);
    } else {
        view.RowBuffer = parent.RowBuffer;
    }
    JoinStore(view, parent);
    return object;
}

/// Hands out a view that is complete; a mapped one with its window in place.
HostObject Finish(ObjectReference object) {
    PictureTRV& view = *RecordOf(object.Get());
    if (view.IsMapping != 0) static_cast<void>(FetchRow(view, 0));
    return object.Release();
}

/// The format without alpha and padding that has the same order of colours; null outside the two families.
const FormatLayout* PlainFormat(int64_t format) {
    // Each order has five formats in a row, of which the plain one is the first.
    for (const int64_t plain : {ImageFormatRGB, ImageFormatBGR, ImageFormatCMYK, ImageFormatKYMC}) {
        if (format >= plain && format < plain + 5) return FindFormat(plain);
    }
    return nullptr;
}

/// The view of all channels of a colour family.
HostObject ColourChannels(HostObject me, Family family) {
    const PictureTRV& parent = *RecordOf(me);
    const FormatLayout* plain = PlainFormat(parent.ImageFormat);
    if (plain == nullptr || plain->family != family) return nullptr;
    ObjectReference object = NewView(me);
    if (!object) return nullptr;
    PictureTRV& view = *RecordOf(object.Get());
    view.IsRGB = family == Family::Rgb;
    view.IsCMYK = family == Family::Cmyk;
    view.ImageFormat = plain->code;
    view.BitsPerComponent = 8;
    view.ChannelCount = plain->channelCount;
    for (size_t i = 0; i < static_cast<size_t>(plain->channelCount); ++i) {
        const Channel channel = *plain->order[i];
        view.*FieldOf(channel).offset = OffsetOf(parent, channel);
        view.ChannelOffsets[i] = OffsetOf(parent, channel);
    }
    return Finish(std::move(object));
}

/// Whether `index` is one of the image's channels; the range error of `method` if not.
bool IsChannelIndex(const PictureTRV& image, int64_t index, const char* method) {
    if (index >= 0 && index < image.ChannelCount) return true;
    RaiseRangeError(index, 0, image.ChannelCount, "index", method);
    return false;
}

/// The reader that gives the rows of `reader` in reverse order.
RowReader MirroredPartner(RowReader reader) {
    static constexpr std::pair<RowReader, RowReader> kPartners[] = {
        {GetRowLinear, GetRowLinearMirrored},
        {GetRowGDImage, GetRowGDImageMirrored},
        {SelectRow, SelectRowMirrored},
    };
    for (const auto& [forward, mirrored] : kPartners) {
        if (reader == forward) return mirrored;
        if (reader == mirrored) return forward;
    }
    return reader;
}

}  // namespace

std::string_view ChannelName(int64_t format, int64_t index) {
    const FormatLayout* layout = FindFormat(format);
    if (layout == nullptr || index < 0 || index >= layout->channelCount) return {};
    // One channel of a store that has others: the format does not tell which.
    if (layout->letters.find('.') != std::string_view::npos) return {};
    const size_t position = static_cast<size_t>(index);
    const auto channel = layout->order[position];
    return channel ? kChannelNames[static_cast<size_t>(*channel)] : kPlaneNames[position];
}

HostObject rbChannels(HostObject me) {
    const int64_t format = RecordOf(me)->ImageFormat;
    int64_t count = 0;
    while (!ChannelName(format, count).empty())
        ++count;
    const HostObject names =
        host::RuntimeArrayCreateSingleDimBoundedArray(static_cast<int32_t>(ElementKind::kString), count - 1);
    for (int64_t i = 0; names != nullptr && i < count; ++i) {
        const StringReference name(BuildName(ChannelName(format, i)));
        REALSetArrayValue<ElementKind::kString>(names, i, name.Get());
    }
    return names;
}

HostObject rbChannel(HostObject me, int64_t index) {
    const PictureTRV& parent = *RecordOf(me);
    if (!IsChannelIndex(parent, index, "Channel")) return nullptr;
    return NewChannelImageTRV(me, parent.ChannelOffsets[static_cast<size_t>(index)],
                              ChannelName(parent.ImageFormat, index));
}

int64_t rbChannelOffset(HostObject me, int64_t index) {
    const PictureTRV& image = *RecordOf(me);
    if (!IsChannelIndex(image, index, "ChannelOffset")) return 0;
    return image.ChannelOffsets[static_cast<size_t>(index)];
}

HostObject NewChannelImageTRV(HostObject me, int64_t offset, std::string_view name) {
    ObjectReference object = NewView(me);
    if (!object) return nullptr;
    PictureTRV& view = *RecordOf(object.Get());
    view.IsGray = 1;
    view.HasGray = 1;
    view.GrayOffset = offset;
    view.ChannelOffsets[0] = offset;
    view.ChannelCount = 1;
    view.ImageFormat = view.BitsPerComponent == 16 ? ImageFormatGray16 : ImageFormatG;
    view.Channel = BuildName(name);
    return Finish(std::move(object));
}

HostObject ChannelView(HostObject me, Channel channel) {
    const PictureTRV& parent = *RecordOf(me);
    if (!Has(parent, channel)) return nullptr;
    return NewChannelImageTRV(me, OffsetOf(parent, channel), kChannelNames[static_cast<size_t>(channel)]);
}

HostObject rbRGBChannels(HostObject me) {
    return RecordOf(me)->IsRGB == 0 ? nullptr : ColourChannels(me, Family::Rgb);
}

HostObject rbCMYKChannels(HostObject me) {
    return RecordOf(me)->IsCMYK == 0 ? nullptr : ColourChannels(me, Family::Cmyk);
}

HostObject rbClipImage(HostObject me, int64_t x, int64_t y, int64_t width, int64_t height) {
    const PictureTRV& parent = *RecordOf(me);
    Rectangle rectangle{x, y, width, height};
    Fix(parent, rectangle);
    ObjectReference object = NewView(me);
    if (!object) return nullptr;
    PictureTRV& view = *RecordOf(object.Get());
    // An empty rectangle can lie anywhere, so the sums are kept in range.
    const int64_t column = SaturatedMultiply(rectangle.x, parent.PixelSize);
    for (const ChannelField& field : kChannelFields) {
        if (parent.*field.has == 0) continue;
        view.*field.has = 1;
        view.*field.offset = SaturatedAdd(parent.*field.offset, column);
    }
    view.ChannelOffsets = parent.ChannelOffsets;
    view.ChannelCount = parent.ChannelCount;
    view.ImageFormat = parent.ImageFormat;
    view.IsGray = parent.IsGray;
    view.IsRGB = parent.IsRGB;
    view.IsCMYK = parent.IsCMYK;
    view.Width = rectangle.width;
    view.Height = rectangle.height;
    view.RowOffset = SaturatedAdd(parent.RowOffset, rectangle.y);
    AssignReference(view.MemoryTarget, parent.MemoryTarget);
    if (view.MemoryTarget != nullptr) ClearReference(view.SharedMemory);
    return Finish(std::move(object));
}

HostObject rbClipImageAll(HostObject me) {
    const PictureTRV& parent = *RecordOf(me);
    return rbClipImage(me, 0, 0, parent.Width, parent.Height);
}

HostObject rbMirroredView(HostObject me) {
    ObjectReference object(rbClipImageAll(me));
    if (!object) return nullptr;
    PictureTRV& view = *RecordOf(object.Get());
    view.GetRow = MirroredPartner(view.GetRow);
    return Finish(std::move(object));
}

}  // namespace trv
