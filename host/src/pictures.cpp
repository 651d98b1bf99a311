#include "pictures.h"

#include <stdexcept>

#include "entry.h"
#include "graphics.h"

namespace trvhost {

namespace {

/// The pixels of a picture that has no size yet.
class NoStore : public PictureStore {
  public:
    NoStore() : PictureStore(PictureStorage::Default, 0, 0, false) {}
    void Read(int64_t, int64_t, int64_t, uint32_t*) const override {}
    void Write(int64_t, int64_t, int64_t, const uint32_t*) override {}
    uint32_t Raw(int64_t, int64_t) const override { return 0; }
};

int32_t TypeCodeOf(PictureStorage storage) {
    switch (storage) {
        case PictureStorage::HiDpi:
            return 0;
        case PictureStorage::Vector:
            return 1;
        case PictureStorage::VectorMac:
            return 3;
        default:
            return 2;
    }
}

}  // namespace

PictureThing::PictureThing(ClassInfo* info)
    : Thing(kKind, info, info->dataSize), store(std::make_unique<NoStore>()) {}

void PictureThing::DropChildren(Core& core) {
    core.Unlock(mask);
    core.Unlock(bestRepresentation);
    if (descriptionLocks != 0) {
        core.Misuse("a picture dies with " + std::to_string(descriptionLocks) + " description locks");
    }
}

void PictureThing::SetStore(std::unique_ptr<PictureStore> fresh) {
    store = std::move(fresh);
    typeCode = TypeCodeOf(store->storage);
}

PictureStorage DefaultStorage(const Options& options, bool alpha) {
    switch (options.pictureStorage) {
        case PictureStorage::Default:
            return options.kind == HostKind::Console || options.kind == HostKind::Web
                       ? PictureStorage::GdTrueColor
                       : DesktopStorage(alpha);
        case PictureStorage::GdiPlusArgb:
        case PictureStorage::GdiPlusPargb:
            return alpha ? options.pictureStorage : PictureStorage::Dib32;
        default:
            return options.pictureStorage;
    }
}

PictureThing& NewPicture(Core& core, int64_t width, int64_t height, PictureStorage storage, bool alpha) {
    if (storage == PictureStorage::Default) storage = DefaultStorage(core.options, alpha);
    ClassInfo* info = core.classes.Find("Picture");
    if (info == nullptr) throw std::invalid_argument("this host has no class Picture");
    auto store = MakeStore(storage, width, height, alpha);
    auto& picture = static_cast<PictureThing&>(core.classes.Make(*info));
    picture.SetStore(std::move(store));
    return picture;
}

PictureThing* MaskOf(Core& core, PictureThing& picture, bool create) {
    if (picture.mask == nullptr && create && picture.store->width > 0) {
        try {
            picture.mask =
                NewPicture(core, picture.store->width, picture.store->height, PictureStorage::Default, false)
                    .Address();
        } catch (const std::exception& e) {
            core.Log(std::string("no mask: ") + e.what());
        }
    }
    return core.PeekAs<PictureThing>(picture.mask);
}

namespace {

/// A picture that the plug-in asks for; null, with an exception noted where memory is short.
PictureThing* NewForPlugin(Core& core, int64_t width, int64_t height, bool alpha) {
    if (core.failNewPicture.Hit() || width < 1 || height < 1) return nullptr;
    if (core.classes.Find("Picture") == nullptr) return nullptr;
    const PictureStorage storage = DefaultStorage(core.options, alpha);
    try {
        return &NewPicture(core, width, height, storage, alpha && CanHaveAlpha(storage));
    } catch (const std::bad_alloc&) {
        core.Raise("OutOfMemoryException", "No memory for a picture.");
        return nullptr;
    }
}

Handle NewPictureEntry(Core& core, int64_t width, int64_t height, int32_t /*depth*/) {
    const PictureThing* picture = NewForPlugin(core, width, height, false);
    return picture == nullptr ? nullptr : picture->Address();
}

void Construct(Core& core, Handle self, int64_t width, int64_t height, bool alpha) {
    auto* picture = core.FindAs<PictureThing>(self);
    if (picture == nullptr) return;
    PictureThing* made = NewForPlugin(core, width, height, alpha);
    if (made == nullptr) {
        if (!core.HasPending()) core.Raise("OutOfMemoryException", "No such picture.");
        return;
    }
    picture->SetStore(std::exchange(made->store, std::make_unique<NoStore>()));
    core.Unlock(made->Address());
}

void ConstructWithAlpha(Core& core, Handle self, int64_t width, int64_t height) {
    Construct(core, self, width, height, true);
}

void ConstructWithDepth(Core& core, Handle self, int64_t width, int64_t height, int64_t /*depth*/) {
    Construct(core, self, width, height, false);
}

int32_t GetType(Core& core, Handle self) {
    const auto* picture = core.FindAs<PictureThing>(self);
    return picture == nullptr ? 0 : picture->typeCode;
}

bool LockDescription(Core& core, Handle self, PictureDescription* out, uint32_t wantedType) {
    auto* picture = core.FindAs<PictureThing>(self);
    if (picture == nullptr || out == nullptr) return false;
    const PictureStore& store = *picture->store;
    if (store.NativeType() == 0 || store.NativeType() != wantedType) return false;
    *out = {static_cast<int32_t>(wantedType), store.NativeData(), static_cast<int32_t>(store.width),
            static_cast<int32_t>(store.height)};
    ++picture->descriptionLocks;
    return true;
}

void LockNativeDescription(Core& core, Handle self, PictureDescription* out) {
    if (out == nullptr) return;
    *out = {};
    const auto* picture = core.FindAs<PictureThing>(self);
    if (picture != nullptr) LockDescription(core, self, out, picture->store->NativeType());
}

void UnlockDescription(Core& core, Handle self) {
    auto* picture = core.FindAs<PictureThing>(self);
    if (picture == nullptr) return;
    if (picture->descriptionLocks > 0) {
        --picture->descriptionLocks;
    } else {
        core.Misuse("the picture's description is not locked");
    }
}

void ClearCache(Core& core, Handle self) {
    if (auto* picture = core.FindAs<PictureThing>(self)) ++picture->cacheClears;
}

/// Bytes of a pixel and where red, green and blue stand, by the pixel types of REALBuildPictureFromBuffer.
struct BufferLayout {
    int64_t size, red, green, blue;
};
constexpr BufferLayout kBufferLayouts[] = {{3, 0, 1, 2}, {3, 2, 1, 0}, {4, 1, 2, 3}, {4, 2, 1, 0}};

Handle FromBuffer(Core& core, int64_t width, int64_t height, int32_t pixelType, const void* buffer,
                  int64_t rowBytes) {
    if (pixelType < 1 || pixelType > 4 || buffer == nullptr) return nullptr;
    const BufferLayout layout = kBufferLayouts[pixelType - 1];
    PictureThing* picture = NewForPlugin(core, width, height, false);
    if (picture == nullptr) return nullptr;
    std::vector<uint32_t> row(static_cast<size_t>(width));
    for (int64_t y = 0; y < height; ++y) {
        const auto* from = static_cast<const uint8_t*>(buffer) + y * rowBytes;
        for (uint32_t& pixel : row) {
            pixel = kOpaque | uint32_t{from[layout.red]} << 16 | uint32_t{from[layout.green]} << 8 |
                    from[layout.blue];
            from += layout.size;
        }
        picture->store->Write(0, y, width, row.data());
    }
    return picture->Address();
}

Handle FromDescription(Core& core, PictureDescription* description, bool /*takeOver*/) {
    if (description == nullptr || description->data == nullptr ||
        description->pictureType != int32_t{kPictureDirect2D})
        return nullptr;
    PictureThing* picture = NewForPlugin(core, description->width, description->height, false);
    if (picture == nullptr) return nullptr;
    const auto* words = static_cast<const uint32_t*>(description->data);
    for (int64_t y = 0; y < description->height; ++y) {
        picture->store->Write(0, y, description->width, words + y * description->width);
    }
    return picture->Address();
}

Handle FromDib(Core&, void* /*dib*/, int64_t /*bytes*/) {
    return nullptr;
}

Handle GetMask(Core& core, Handle self, bool create) {
    auto* picture = core.FindAs<PictureThing>(self);
    const PictureThing* mask = picture == nullptr ? nullptr : MaskOf(core, *picture, create);
    return mask == nullptr ? nullptr : core.Share(mask->Address());
}

void SetMask(Core& core, Handle self, Handle mask) {
    auto* picture = core.FindAs<PictureThing>(self);
    if (picture == nullptr) return;
    const auto* fresh = core.FindAs<PictureThing>(mask);
    if (mask != nullptr && fresh == nullptr) return;
    if (mask == self) {
        core.Misuse("a picture as its own mask");
        return;
    }
    core.Assign(picture->mask, mask);
}

/// A copy of the mask; without one, a mask from the alpha channel (255 - alpha); else nil.
Handle CopyMask(Core& core, Handle self) {
    auto* picture = core.FindAs<PictureThing>(self);
    if (picture == nullptr) return nullptr;
    const PictureThing* mask = MaskOf(core, *picture, false);
    if (mask == nullptr && !picture->store->alpha) return nullptr;
    const PictureStore& source = mask != nullptr ? *mask->store : *picture->store;
    PictureThing* copy = NewForPlugin(core, source.width, source.height, false);
    if (copy == nullptr) return nullptr;
    std::vector<uint32_t> row(static_cast<size_t>(source.width));
    for (int64_t y = 0; y < source.height; ++y) {
        source.Read(0, y, source.width, row.data());
        if (mask == nullptr) {
            for (uint32_t& pixel : row)
                pixel = kOpaque | (255 - (pixel >> 24)) * 0x010101;
        }
        copy->store->Write(0, y, source.width, row.data());
    }
    return copy->Address();
}

Handle BestRepresentation(Core& core, Handle self, int64_t /*width*/, int64_t /*height*/, double /*scale*/) {
    const auto* picture = core.FindAs<PictureThing>(self);
    return picture == nullptr ? nullptr : core.Share(picture->bestRepresentation);
}

}  // namespace

std::span<const EntryRow> PictureEntries() {
    static const EntryRow rows[] = {
        Row<"PluginPictureGetType", GetType>(),
        Row<"REALLockPictureDescription", LockDescription>(),
        Row<"lockPictureDescription", LockNativeDescription>(),
        Row<"unlockPictureDescription", UnlockDescription>(),
        Row<"REALPictureClearCache", ClearCache>(),
        Row<"newPicture", NewPictureEntry>(),
        Row<"REALBuildPictureFromBuffer", FromBuffer>(),
        Row<"REALBuildPictureFromPictureDescription", FromDescription>(),
        Row<"REALBuildPictureFromDIB", FromDib>(),
        Row<"REALGetPictureMask", GetMask>(),
    };
    return rows;
}

std::span<const MemberRow> PictureMembers() {
    static const MemberRow rows[] = {
        {Row<"Picture.Constructor(width as integer, height as integer)", ConstructWithAlpha>()},
        {Row<"Picture.Constructor(width as integer, height as integer, depth as integer)",
             ConstructWithDepth>()},
        {Row<"Picture.Mask(create As Boolean = True) As Picture", GetMask>()},
        {Row<"Picture.Mask(assigns newMask As Picture)", SetMask>()},
        {Row<"Picture.CopyMask as Picture", CopyMask>()},
        {Row<"Picture.BestRepresentation(width As Integer, height As Integer, scale As Double) As Picture",
             BestRepresentation>()},
    };
    return rows;
}

}  // namespace trvhost
