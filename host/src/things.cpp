#include "trvhost/things.h"

#include <stdexcept>

#include "arrays.h"
#include "folder_items.h"
#include "graphics.h"
#include "image_file.h"
#include "memory_blocks.h"
#include "pictures.h"
#include "string_things.h"

namespace trvhost {

namespace {

/// The living thing behind a Ref. Throws std::invalid_argument when it is nil, dead or of another kind.
template <class T>
T& Get(const Ref& ref) {
    const Host* host = ref.Owner();
    T* thing = host == nullptr ? nullptr : host->Internals().PeekAs<T>(ref.Handle());
    if (thing == nullptr)
        throw std::invalid_argument(ref ? "the thing is " + ref.ClassName() : "the thing is nil");
    return *thing;
}

/// The same, or null for nil.
template <class T>
T* GetOrNil(const Ref& ref) {
    return ref ? &Get<T>(ref) : nullptr;
}

template <class T>
Ref Checked(Ref thing) {
    if (thing) Get<T>(thing);
    return thing;
}

PictureStore& Inside(const Picture& picture, int64_t x, int64_t y) {
    PictureStore& store = *Get<PictureThing>(picture).store;
    if (!store.Contains(x, y)) {
        throw std::out_of_range("pixel " + std::to_string(x) + ", " + std::to_string(y) +
                                " of a picture of " + std::to_string(store.width) + " x " +
                                std::to_string(store.height));
    }
    return store;
}

}  // namespace

String::String(Ref thing) : Ref(Checked<StringThing>(std::move(thing))) {}

std::string String::Bytes() const {
    const auto* string = GetOrNil<StringThing>(*this);
    return string == nullptr ? std::string() : string->bytes;
}

uint32_t String::Encoding() const {
    const auto* string = GetOrNil<StringThing>(*this);
    return string == nullptr ? kEncodingNone : string->encoding;
}

MemoryBlock::MemoryBlock(Ref thing) : Ref(Checked<MemoryBlockThing>(std::move(thing))) {}

std::byte* MemoryBlock::Data() const {
    const auto* block = GetOrNil<MemoryBlockThing>(*this);
    return block == nullptr ? nullptr : static_cast<std::byte*>(block->Data());
}

int64_t MemoryBlock::Size() const {
    const auto* block = GetOrNil<MemoryBlockThing>(*this);
    return block == nullptr ? 0 : block->Size();
}

std::span<uint8_t> MemoryBlock::Bytes() const {
    const int64_t size = Size();
    if (size <= 0) return {};
    return {reinterpret_cast<uint8_t*>(Data()), static_cast<size_t>(size)};
}

FolderItem::FolderItem(Ref thing) : Ref(Checked<FolderItemThing>(std::move(thing))) {}

std::filesystem::path FolderItem::Path() const {
    return Get<FolderItemThing>(*this).path;
}

Array::Array(Ref thing) : Ref(Checked<ArrayThing>(std::move(thing))) {}

ElementKind Array::Kind() const {
    return Get<ArrayThing>(*this).elementKind;
}

int64_t Array::Ubound() const {
    const auto* array = GetOrNil<ArrayThing>(*this);
    return array == nullptr ? -1 : array->Ubound();
}

Value Array::At(int64_t index) const {
    return ReadElement(Owner()->Internals(), Get<ArrayThing>(*this), index);
}

void Array::Put(int64_t index, const Value& value) const {
    WriteElement(Owner()->Internals(), Get<ArrayThing>(*this), index, value);
}

std::vector<std::string> Array::Texts() const {
    std::vector<std::string> texts;
    for (int64_t i = 0; i <= Ubound(); ++i)
        texts.push_back(At(i).ToText());
    return texts;
}

std::vector<int64_t> Array::Integers() const {
    std::vector<int64_t> integers;
    for (int64_t i = 0; i <= Ubound(); ++i)
        integers.push_back(At(i).ToInt());
    return integers;
}

Picture::Picture(Ref thing) : Ref(Checked<PictureThing>(std::move(thing))) {}

int64_t Picture::Width() const {
    return Get<PictureThing>(*this).store->width;
}

int64_t Picture::Height() const {
    return Get<PictureThing>(*this).store->height;
}

PictureStorage Picture::Storage() const {
    return Get<PictureThing>(*this).store->storage;
}

bool Picture::HasAlpha() const {
    return Get<PictureThing>(*this).store->alpha;
}

int32_t Picture::TypeCode() const {
    return Get<PictureThing>(*this).typeCode;
}

void Picture::SetTypeCode(int32_t code) const {
    Get<PictureThing>(*this).typeCode = code;
}

uint32_t Picture::Pixel(int64_t x, int64_t y) const {
    return Inside(*this, x, y).Pixel(x, y);
}

void Picture::SetPixel(int64_t x, int64_t y, uint32_t argb) const {
    Inside(*this, x, y).Write(x, y, 1, &argb);
}

uint32_t Picture::RawPixel(int64_t x, int64_t y) const {
    return Inside(*this, x, y).Raw(x, y);
}

void Picture::Fill(uint32_t argb) const {
    Get<PictureThing>(*this).store->Fill(argb);
}

std::vector<uint32_t> Picture::Pixels() const {
    const PictureStore& store = *Get<PictureThing>(*this).store;
    std::vector<uint32_t> pixels(static_cast<size_t>(store.width * store.height));
    for (int64_t y = 0; y < store.height; ++y)
        store.Read(0, y, store.width, pixels.data() + y * store.width);
    return pixels;
}

Picture Picture::Mask(bool create) const {
    const PictureThing* mask = MaskOf(Owner()->Internals(), Get<PictureThing>(*this), create);
    return mask == nullptr ? Picture() : Picture(Share(*Owner(), mask->Address()));
}

void Picture::SetMask(const Picture& mask) const {
    if (mask == *this) throw std::invalid_argument("a picture as its own mask");
    Owner()->Internals().Assign(Get<PictureThing>(*this).mask, mask.Handle());
}

int64_t Picture::HorizontalResolution() const {
    return Get<PictureThing>(*this).horizontalResolution;
}

int64_t Picture::VerticalResolution() const {
    return Get<PictureThing>(*this).verticalResolution;
}

void Picture::SetResolution(int64_t horizontal, int64_t vertical) const {
    auto& picture = Get<PictureThing>(*this);
    picture.horizontalResolution = horizontal;
    picture.verticalResolution = vertical;
}

void Picture::SetBestRepresentation(const Picture& picture) const {
    if (picture == *this) throw std::invalid_argument("a picture as its own representation");
    Owner()->Internals().Assign(Get<PictureThing>(*this).bestRepresentation, picture.Handle());
}

int64_t Picture::DescriptionLocks() const {
    return Get<PictureThing>(*this).descriptionLocks;
}

int64_t Picture::CacheClears() const {
    return Get<PictureThing>(*this).cacheClears;
}

void* Picture::NativeData() const {
    return Get<PictureThing>(*this).store->NativeData();
}

void Picture::Save(const std::filesystem::path& file, int quality) const {
    SaveImage(*Get<PictureThing>(*this).store, file, quality);
}

std::vector<std::string> Picture::FileFormats() {
    return ImageFormats();
}

Graphics::Graphics(Ref thing) : Ref(Checked<GraphicsThing>(std::move(thing))) {}

std::vector<DrawnText> Graphics::Texts() const {
    return Get<GraphicsThing>(*this).texts;
}

}  // namespace trvhost
