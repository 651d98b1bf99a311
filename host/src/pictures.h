// Pictures: a store, a mask, and what a program can ask of a picture.
#pragma once

#include <memory>

#include "core.h"
#include "picture_store.h"

namespace trvhost {

class PictureThing : public Thing {
  public:
    static constexpr ThingKind kKind = ThingKind::Picture;
    /// A picture before its constructor: 0 x 0, nothing to lock.
    explicit PictureThing(ClassInfo* info);

    void DropChildren(Core& core) override;
    void SetStore(std::unique_ptr<PictureStore> fresh);

    std::unique_ptr<PictureStore> store;  ///< never null
    Handle mask = nullptr;                ///< a picture
    Handle bestRepresentation = nullptr;  ///< a picture
    int64_t horizontalResolution = 72;
    int64_t verticalResolution = 72;
    int32_t typeCode = 2;
    int64_t descriptionLocks = 0;
    int64_t cacheClears = 0;
};

/// The storage of a new picture in this host.
PictureStorage DefaultStorage(const Options& options, bool alpha);

/// A new picture. Throws as MakeStore does.
PictureThing& NewPicture(Core& core, int64_t width, int64_t height, PictureStorage storage, bool alpha);

/// The mask without a reference; made white if there is none and `create` asks for it. Null if it cannot be
/// made.
PictureThing* MaskOf(Core& core, PictureThing& picture, bool create);

}  // namespace trvhost
