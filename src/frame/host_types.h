#pragma once

// The host's things as the plug-in sees them: opaque pointers, and the few records that cross the boundary by
// address. Nil is null everywhere.

#include <cstddef>
#include <cstdint>

namespace trv {

/// Any object of the host's, arrays, memory blocks and pictures included. Counted: REALLockObject takes a
/// reference, REALUnlockObject releases one.
using HostObject = struct HostObjectBlock*;
/// A string of the host's, counted through REALLockString and REALUnlockString.
using HostString = struct HostStringBlock*;
/// A text object of the host's newer kind.
using HostText = struct HostTextBlock*;
/// A class of the host's; not counted.
using HostClass = struct HostClassBlock*;

/// A Boolean in a record or in the signature of a member: one byte, anything but 0 is true.
using Boolean = uint8_t;

/// The host's codes of text encodings.
enum TextEncoding : uint32_t {
    kEncodingNative = 0,
    kEncodingUtf16 = 256,
    kEncodingLatin = 513,
    kEncodingAnsi = 1280,
    kEncodingAscii = 1536,
    kEncodingUnknown = 65535,
    kEncodingUtf8 = 0x8000100,
    kEncodingUtf32 = 0xC000100,
};

/// What PluginGetStringData and PluginGetTextData fill in; owed back to the matching Dispose call.
struct StringData {
    const void* data;
    int64_t size;  // bytes
    void* hostPart;
};
static_assert(sizeof(StringData) == 24);
using TextData = StringData;

/// The kinds in which a picture can be asked for its pixels.
enum PictureType : int32_t {
    pictureWin32Bitmap = 7,
    pictureGDImagePtr = 10,
    pictureGDIPlusBitmap = 11,
    pictureD2DPBGRAPtr = 14,
};

/// What REALLockPictureDescription fills in; what `pictureData` points to depends on `pictureType`.
struct PictureDescription {
    int32_t pictureType;
    void* pictureData;
    int32_t width;
    int32_t height;
};
static_assert(offsetof(PictureDescription, pictureData) == 8 && offsetof(PictureDescription, width) == 16 &&
              offsetof(PictureDescription, height) == 20);

}  // namespace trv
