#include "image/life_cycle.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "frame/debug_log.h"
#include "frame/failures.h"
#include "frame/memory_blocks.h"
#include "frame/references.h"
#include "image/block_bytes.h"
#include "image/checked_math.h"
#include "image/mapped_image.h"
#include "image/pixel_loop.h"
#include "image/shared_store.h"
#include "platform/graphics.h"
#include "platform/memory.h"

namespace trv {

namespace {

constexpr int64_t kRowAlignment = 64;
constexpr int64_t kSpareMegabyte = 1048576;

/// Bytes of the store that a format needs, 0 if it cannot be created.
int64_t StoreSize(int64_t width, int64_t height, int64_t format) {
    PictureTRV scratch{};
    if (!InitImageClassData(&scratch, width, height, format)) return 0;
    return SaturatedMultiply(AllocatedRowSize(scratch), height);
}

/// A memory block for a store of `bytes` bytes and `slack` more, or nil with the host's exception for it.
ObjectReference NewStore(int64_t bytes, int64_t slack = 0) {
    TRV_LOG("Allocating Size", bytes);
    ObjectReference block(bytes < 0 ? nullptr : NewMemoryBlock(SaturatedAdd(bytes, slack)));
    uint8_t* memory = MemoryBlockPointer(block.Get());
    if (memory == nullptr) {
        RaiseOutOfMemory("Failed to allocate %lld bytes of memory for image buffer.", bytes);
        return {};
    }
    PreferLargePages(memory, bytes);
    return block;
}

/// Bytes by which the pixels of the last row reach beyond their row, as they can over a caller's memory.
int64_t OverhangOfLastRow(const PictureTRV& record) {
    int64_t last = 0;
    for (const ChannelField& field : kChannelFields)
        last = std::max(last, record.*field.offset);
    for (const int64_t offset : record.ChannelOffsets)
        last = std::max(last, offset);
    const int64_t end = SaturatedAdd(SaturatedMultiply(record.Width, record.PixelSize), last);
    return std::max<int64_t>(0, SaturatedSubtract(end, record.RowSize));
}

/// Lets go of the image that a view was made of. If that one ends with it, so may the one before it, and so
/// on: each waits for the end of the last, as a long chain would need a long stack otherwise.
void ReleaseParent(PictureTRV& record) {
    static bool releasing = false;
    static HostObject waiting = nullptr;
    HostObject parent = std::exchange(record.Parent, nullptr);
    if (parent == nullptr) return;
    if (releasing && waiting == nullptr) {
        waiting = parent;
        return;
    }
    // A second chain, dropped in the midst of the first, has a turn of its own.
    const bool wasReleasing = std::exchange(releasing, true);
    const HostObject wasWaiting = std::exchange(waiting, nullptr);
    for (; parent != nullptr; parent = std::exchange(waiting, nullptr))
        ReleaseObject(parent);
    waiting = wasWaiting;
    releasing = wasReleasing;
}

/// Puts a record on top of a memory block, of which it takes the reference.
void UseStore(PictureTRV& record, ObjectReference block, int64_t rowSize) {
    record.RowBuffer = MemoryBlockPointer(block.Get());
    record.MemoryTarget = block.Release();
    record.MapBuffer = nullptr;
    record.GetRow = GetRowLinear;
    record.BufferOwned = 0;
    record.RowSize = rowSize;
    record.TotalSize = SaturatedMultiply(rowSize, record.Height);
    record.MappingRows = record.Height;
    record.Valid = 1;
}

/// The fields of a clone that say what a pixel looks like.
void CopyLayout(const PictureTRV& from, PictureTRV& to) {
    for (const ChannelField& field : kChannelFields) {
        to.*field.offset = from.*field.offset;
        to.*field.has = from.*field.has;
    }
    to.ChannelOffsets = from.ChannelOffsets;
    to.ChannelCount = from.ChannelCount;
    to.PixelSize = from.PixelSize;
    to.BitsPerComponent = from.BitsPerComponent;
    to.ImageFormat = from.ImageFormat;
    to.IsGray = from.IsGray;
    to.IsRGB = from.IsRGB;
    to.IsCMYK = from.IsCMYK;
    to.Width = from.Width;
    to.Height = from.Height;
    to.UnclippedHeight = from.Height;
}

}  // namespace

int64_t AllocatedRowSize(const PictureTRV& record) {
    return RaisedToMultiple(SaturatedMultiply(record.Width, record.PixelSize), kRowAlignment);
}

void PrepareConstruction(PictureTRV& record) {
    CloseImage(record);
    record.Valid = 0;
    record.RowOffset = 0;
    record.IsMapping = 0;
    record.MappingOwner = 0;
    record.tpixels = nullptr;
}

void ImageConstructor(HostObject me, int64_t width, int64_t height, int64_t format) {
    PictureTRV& record = *RecordOf(me);
    PrepareConstruction(record);
    if (!InitImageClassData(&record, width, height, format)) return;
    const int64_t rowSize = AllocatedRowSize(record);
    ObjectReference block = NewStore(SaturatedMultiply(rowSize, height));
    if (block) UseStore(record, std::move(block), rowSize);
}

void ImageConstructorMemory(HostObject me, HostObject buffer, int64_t width, int64_t height, int64_t format,
                            int64_t rowSize) {
    PictureTRV& record = *RecordOf(me);
    if (buffer == nullptr) {
        RaiseNilObjectException("Memoryblock is nil.");
        return;
    }
    PrepareConstruction(record);
    if (!InitImageClassData(&record, width, height, format)) return;
    if (MemoryBlockPointer(buffer) == nullptr) {
        RaiseNilObjectException("Memoryblock is nil.");
        return;
    }
    ObjectReference block = ObjectReference::Share(buffer);
    if (block) UseStore(record, std::move(block), rowSize);
}

void CloseImage(PictureTRV& record) {
    LeaveStore(record);
    ClearReference(record.Channel);
    if (record.BitmapLocked != 0 && record.BitmapHandle != nullptr) {
        UnlockGdiPlusBitmap(record.BitmapHandle, record.BitmapData);
    }
    record.BitmapHandle = nullptr;
    record.BitmapLocked = 0;
    std::free(record.BitmapData);
    record.BitmapData = nullptr;
    if (record.BufferOwned != 0) std::free(record.RowBuffer);
    record.BufferOwned = 0;
    CloseWindow(record);
    record.MapBuffer = nullptr;
    record.RowBuffer = nullptr;
    CloseMappedFile(record);
    record.GetRow = nullptr;
    ClearReference(record.WindowFilePath);
    ReleaseParent(record);
    ClearReference(record.MemoryTarget);
    ClearReference(record.SharedMemory);
    ClearReference(record.FilePath);
    ClearReference(record.MappingFile);
    if (record.Target != nullptr) {
        host::REALPictureClearCache(record.Target);
        ClearReference(record.Target);
    }
}

void ImageDestructor(HostObject me) {
    CloseImage(*RecordOf(me));
}

int64_t rbCalculateMemory(int64_t width, int64_t height, int64_t format) {
    return StoreSize(width, height, format);
}

Boolean rbCanAllocateImage(int64_t width, int64_t height, int64_t format) {
    const int64_t bytes = StoreSize(width, height, format);
    if (bytes == 0) return 0;
    const ZeroedBytes spare = MakeZeroedBytes(kSpareMegabyte);
    const ZeroedBytes store = MakeZeroedBytes(bytes);
    return spare != nullptr && store != nullptr;
}

HostObject rbClone(HostObject me) {
    PictureTRV& source = *RecordOf(me);
    if (source.IsMapping != 0) {
        TRV_LOG("Can't clone mapped images");
        return nullptr;
    }
    if (!IsValid(&source) || source.GetRow == nullptr) return nullptr;
    ObjectReference clone(host::PluginNewInstance(kPictureClassName));
    if (!clone) {
        TRV_LOG("Failed to crate PictureTRV object");
        return nullptr;
    }
    // A caller's row can be shorter than its pixels; a copy must hold all of the last one.
    ObjectReference block =
        NewStore(SaturatedMultiply(source.Height, source.RowSize), OverhangOfLastRow(source));
    if (!block) return nullptr;
    PictureTRV& copy = *RecordOf(clone.Get());
    CopyLayout(source, copy);
    UseStore(copy, std::move(block), source.RowSize);
    copy.MappingRows = -1;
    const BlockBytes bytes(source);
    for (int64_t y = 0; y < source.Height; ++y) {
        const uint8_t* from = FetchRow(source, y);
        if (from == nullptr) {
            TRV_LOG("sbuf is empty for line", y);
            break;
        }
        uint8_t* to = FetchRow(copy, y);
        if (to == nullptr) {
            TRV_LOG("dbuf is empty for line", y);
            break;
        }
        std::memcpy(to, from, static_cast<size_t>(bytes.Available(from, source.RowSize)));
    }
    return clone.Release();
}

void rbClearCache(HostObject me) {
    const PictureTRV& record = *RecordOf(me);
    if (record.Target != nullptr) host::REALPictureClearCache(record.Target);
}

}  // namespace trv
