#pragma once

// How an image gets its pixel store, how it is copied, and how it ends. A constructor that fails leaves the
// object with `Valid` false; every operation looks there, or at GetRow, before it touches pixels.

#include <cstdint>

#include "image/picture_record.h"

namespace trv {

/// Bytes of a row in a store that the image allocates: width * pixelSize raised to a multiple of 64.
[[nodiscard]] int64_t AllocatedRowSize(const PictureTRV& record);

/// The constructor that allocates a host memory block. Ends silently for a size below 1 or an unknown format,
/// with OutOfMemoryException if the block cannot be had; the image stays invalid either way.
void ImageConstructor(HostObject me, int64_t width, int64_t height, int64_t format);

/// The constructor over the caller's memory block, which is kept for the life of the image. The caller
/// answers for `rowSize` and the block's size. NilObjectException for a block that is nil or has no address.
void ImageConstructorMemory(HostObject me, HostObject buffer, int64_t width, int64_t height, int64_t format,
                            int64_t rowSize);

/// Makes a record ready for a constructor: what an earlier construction of the same object left is released,
/// `Valid` is false. The host's own properties of the object (factory, yield interval, debug picture) stay.
void PrepareConstruction(PictureTRV& record);

/// Releases everything that the image holds. Afterwards GetRow is nil, while `Valid` and the properties keep
/// what they said. May run any number of times.
void CloseImage(PictureTRV& record);

/// The destructor of the class, and `Close`.
void ImageDestructor(HostObject me);

/// Bytes that the allocating constructor would ask for; 0 for what it would refuse, the highest value where
/// the number leaves 64 bits.
int64_t rbCalculateMemory(int64_t width, int64_t height, int64_t format);

/// Whether the store could be had right now, with a megabyte to spare. Nothing is reserved.
Boolean rbCanAllocateImage(int64_t width, int64_t height, int64_t format);

/// A deep copy with a store of its own, with one reference for the caller. Nil for a mapped, invalid or
/// closed image, and with OutOfMemoryException when the store cannot be had. A view's offsets and row size
/// are kept, so only its rows are copied.
HostObject rbClone(HostObject me);

/// Tells the host that the pixels of the picture under the image changed; no effect on other images.
void rbClearCache(HostObject me);

}  // namespace trv
