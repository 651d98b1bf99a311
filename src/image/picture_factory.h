#pragma once

// The one way to a new image. An application can supply the images that operations make, through the event of
// a factory object; where none does, the plain constructor makes them.

#include <cstdint>

#include "image/picture_record.h"

namespace trv {

/// The class PictureFactoryTRV as the host knows it, its event included; src/plugin fills in the shared
/// members.
extern ClassDefinition factoryClass;

/// A new image of at least the given size with one reference for the caller, or nil. Asked in this order: the
/// factory of `image`, which may be null, the global factory, the plain constructor. What a factory gives is
/// taken if it is valid and large enough, whatever its format. The plain constructor can raise
/// OutOfMemoryException.
[[nodiscard]] HostObject CreatePicture(const PictureTRV* image, int64_t width, int64_t height,
                                       int64_t format);

/// Whether a factory would be asked for an image like `image`, which may be null. Where none is, nobody but
/// the caller of CreatePicture knows what it made.
[[nodiscard]] bool HasFactory(const PictureTRV* image);

/// CreatePicture for an image that a host program names; nil asks the global factory at once.
HostObject CreatePictureLocal(HostObject me, int64_t width, int64_t height, int64_t format);

/// CreatePicture without an image of its own.
HostObject CreatePictureGlobal(int64_t width, int64_t height, int64_t format);

/// Makes `factory` the global one, held by one reference until the next call; nil empties the slot.
void SetFactory(HostObject factory);

/// The global factory with one reference for the caller, or nil.
HostObject GetCurrentFactory(int64_t parameter);

}  // namespace trv
