#pragma once

// Views: images that own no pixels and show those of another one. A pixel is reached through row reader,
// pixel size and channel offset alone, so a record that keeps the parent's reader and sizes and has other
// offsets shows one channel, some channels or a rectangle. What is written through a view lands in the
// parent.
//
// A view holds references on its parent and on what the pixels lie in. A view of a mapped image has a window
// of its own over the same file. When a program closes an image, its views keep their pixels if they lie in
// a memory block or in a host picture that stays as it is; otherwise the views end as closed images as well.
//
// Every method that makes a view gives it with one reference for the caller, or nil if the host makes no
// object.

#include <cstdint>

#include "image/image_format.h"
#include "image/picture_record.h"

namespace trv {

/// The name of the index-th channel in storage order of a format; empty for an index without one, and for
/// formats whose channels have no names.
[[nodiscard]] std::string_view ChannelName(int64_t format, int64_t index);

/// A new array with the names of the format's channels in storage order as ASCII strings.
HostObject rbChannels(HostObject me);

/// A gray view of the index-th channel in storage order, counted from 0. Outside of what there is, the range
/// error and nil.
HostObject rbChannel(HostObject me, int64_t index);

/// The byte offset of the index-th channel in storage order, counted from the start of a pixel of the store.
/// Outside of what there is, the range error and 0.
int64_t rbChannelOffset(HostObject me, int64_t index);

/// A gray view of one byte of each pixel, `offset` bytes from the pixel's address: the one body of all views
/// of single channels. Its pixels stay as far apart as the parent's. `name` becomes the property `Channel`;
/// it is ASCII and may be empty.
HostObject NewChannelImageTRV(HostObject me, int64_t offset, std::string_view name);

/// A gray view of a named channel, nil if the image does not have it.
HostObject ChannelView(HostObject me, Channel channel);
template <Channel kChannel>
HostObject rbChannelView(HostObject me) {
    return ChannelView(me, kChannel);
}

/// Views of the colours without alpha; nil for an image of another family. The flags of the single channels
/// are not set on them, so that methods which ask for those leave the image alone.
HostObject rbRGBChannels(HostObject me);
HostObject rbCMYKChannels(HostObject me);

/// A view of a rectangle, which is clipped to the image and may turn out empty: then with a width or height
/// of 0 or less. The offsets of the named channels move with the column, those by storage order do not. On a
/// mirrored view the rows are taken from the top of what it mirrors, and mirrored.
HostObject rbClipImage(HostObject me, int64_t x, int64_t y, int64_t width, int64_t height);
HostObject rbClipImageAll(HostObject me);

/// A view with the rows in reverse order.
HostObject rbMirroredView(HostObject me);

}  // namespace trv
