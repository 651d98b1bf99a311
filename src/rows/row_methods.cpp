#include "rows/row_methods.h"

#include <cstring>

#include "frame/debug_log.h"
#include "frame/failures.h"
#include "frame/host_strings.h"
#include "frame/memory_blocks.h"
#include "frame/rb_data.h"
#include "frame/references.h"
#include "image/checked_math.h"
#include "image/life_cycle.h"
#include "image/pixel_loop.h"
#include "platform/memory.h"
#include "rows/row_converter.h"

namespace trv {

namespace {

constexpr const char* kNilBlock = "Memoryblock is nil";
constexpr const char* kNilBlockWithStop = "Memoryblock is nil.";
constexpr const char* kNilBlockLowerCase = "memoryblock is nil";
constexpr const char* kIndexOutOfBounds = "Index is out of bounds.";
constexpr const char* kImageRefusal = "me is not RGB and not gray.";

/// Whether the index is a row; the range error of the named method if not.
bool IndexInRange(const PictureTRV& image, int64_t index, const char* method) {
    if (index >= 0 && index < image.Height) return true;
    RaiseRangeError(index, 0, image.Height, "index", method);
    return false;
}

/// The same with the other exception that some methods raise.
bool IndexInBounds(const PictureTRV& image, int64_t index) {
    if (index >= 0 && index < image.Height) return true;
    TRV_LOG("RaiseUnsupportedOperationException...");
    RaiseUnsupportedOperationException(kIndexOutOfBounds);
    return false;
}

/// The address of a row of a valid image, for the methods that look at it as it is.
uint8_t* RowOf(PictureTRV& image, int64_t index, const char* method) {
    return IsValid(&image) && IndexInRange(image, index, method) ? FetchRow(image, index) : nullptr;
}

/// The address of a block's bytes; null, with the exception, for a block that is nil or has none.
uint8_t* BytesOf(HostObject block, const char* message) {
    uint8_t* bytes = MemoryBlockPointer(block);
    if (bytes != nullptr) return bytes;
    TRV_LOG("is nil", block);
    RaiseNilObjectException(message);
    return nullptr;
}

/// Whether the pair is converted; refused pairs raise.
bool Serves(const RowConverter& converter) {
    switch (converter.Refusal()) {
        case RowRefusal::None:
            return true;
        case RowRefusal::RgbToCmyk:
            RaiseUnsupportedOperationException("Conversion from RGB to CMYK is not supported.");
            return false;
        case RowRefusal::CmykToRgb:
            RaiseUnsupportedOperationException("Conversion from CMYK to RGB is not supported.");
            return false;
        case RowRefusal::ImageWithoutClass:
        case RowRefusal::FormatWithoutClass:
            return false;
    }
    return false;
}

/// The line that a setter writes for a side without colour class.
void LogRefusal(const RowConverter& converter, const char* imageText) {
    if (converter.Refusal() == RowRefusal::ImageWithoutClass) TRV_LOG(imageText);
    if (converter.Refusal() == RowRefusal::FormatWithoutClass) TRV_LOG("msource is not RGB and not gray.");
}

/// Gray of several planes in its own format is moved as it is; a converter would reach the first plane only.
bool MovesWholePixels(const PictureTRV& image, int64_t format) {
    return format >= ImageFormatG2 && format <= ImageFormatG8 && format == image.ImageFormat;
}

/// A packed row of a format, or all of its rows.
struct Packing {
    PictureTRV format{};
    int64_t rowBytes = 0;
    int64_t allBytes = 0;
};

bool DescribePacking(const PictureTRV& image, int64_t rows, int64_t format, Packing& packing) {
    if (!InitImageClassData(&packing.format, image.Width, rows, format)) return false;
    packing.rowBytes = SaturatedMultiply(packing.format.Width, packing.format.PixelSize);
    packing.allBytes = SaturatedMultiply(packing.rowBytes, rows);
    return true;
}

/// Reads rows from `first` on into packed bytes; false, after an exception where that is due, for a refused
/// pair.
bool ReadRows(PictureTRV& image, int64_t first, int64_t rows, const Packing& packing, bool invertAlpha,
              uint8_t* bytes) {
    const bool whole = MovesWholePixels(image, packing.format.ImageFormat);
    const RowConverter converter(image, packing.format, RowDirection::GetRow, invertAlpha);
    if (!whole && !Serves(converter)) return false;
    for (int64_t i = 0; i < rows; ++i, bytes += packing.rowBytes) {
        const uint8_t* row = FetchRow(image, first + i);
        if (row == nullptr) continue;
        if (whole) {
            std::memcpy(bytes, row, static_cast<size_t>(packing.rowBytes));
        } else {
            converter.Convert(row, bytes);
        }
    }
    return true;
}

/// Writes rows from `first` on from packed bytes. An image without colour class is told in the log, for bytes
/// of a CMYK format as `inkRefusal`.
void WriteRows(PictureTRV& image, int64_t first, int64_t rows, const Packing& packing, bool invertAlpha,
               const uint8_t* bytes, const char* inkRefusal = kImageRefusal) {
    const bool whole = MovesWholePixels(image, packing.format.ImageFormat);
    const RowConverter converter(image, packing.format, RowDirection::SetRow, invertAlpha);
    if (!whole && !Serves(converter)) {
        LogRefusal(converter, packing.format.IsCMYK != 0 ? inkRefusal : kImageRefusal);
        return;
    }
    for (int64_t i = 0; i < rows; ++i, bytes += packing.rowBytes) {
        uint8_t* row = FetchRow(image, first + i);
        if (row == nullptr) {
            TRV_LOG("GetRow returns nil");
            continue;
        }
        if (whole) {
            std::memmove(row, bytes, static_cast<size_t>(packing.rowBytes));
        } else {
            converter.Convert(bytes, row);
        }
    }
}

/// A row as a new block; the index has been tested.
HostObject ReadRow(PictureTRV& image, int64_t index, int64_t format, bool invertAlpha) {
    Packing packing;
    if (FetchRow(image, index) == nullptr || !DescribePacking(image, 1, format, packing)) return nullptr;
    ObjectReference block(NewMemoryBlock(packing.rowBytes));
    uint8_t* bytes = MemoryBlockPointer(block.Get());
    if (bytes == nullptr) {
        RaiseOutOfMemory("Failed to allocate %lld bytes of memory for row.", packing.rowBytes);
        return nullptr;
    }
    return ReadRows(image, index, 1, packing, invertAlpha, bytes) ? block.Release() : nullptr;
}

/// A row from bytes; the index has been tested.
void WriteRow(PictureTRV& image, int64_t index, int64_t format, bool invertAlpha, const uint8_t* bytes,
              const char* inkRefusal = kImageRefusal) {
    Packing packing;
    if (FetchRow(image, index) == nullptr) {
        TRV_LOG("GetRow returns nil");
    } else if (!DescribePacking(image, 1, format, packing)) {
        TRV_LOG("InitImageClassData failed.");
    } else {
        WriteRows(image, index, 1, packing, invertAlpha, bytes, inkRefusal);
    }
}

/// Rows as a string of raw bytes.
HostString ReadString(PictureTRV& image, int64_t first, int64_t rows, const Packing& packing,
                      const char* outOfMemory) {
    const ZeroedBytes buffer = MakeZeroedBytes(packing.allBytes);
    if (buffer == nullptr) {
        RaiseOutOfMemory(outOfMemory, packing.allBytes);
        return nullptr;
    }
    if (!ReadRows(image, first, rows, packing, false, buffer.get())) return nullptr;
    return REALBuildUnicodeString(reinterpret_cast<const char*>(buffer.get()), packing.allBytes,
                                  kEncodingUnknown);
}

}  // namespace

void* rbRawRowPtr(HostObject me, int64_t index) {
    return RowOf(*RecordOf(me), index, "RawRow");
}

HostObject rbRawRow(HostObject me, int64_t index) {
    uint8_t* row = RowOf(*RecordOf(me), index, "RawRow");
    return row == nullptr ? nullptr : WrapMemory(row);
}

HostObject rbRow(HostObject me, int64_t index) {
    PictureTRV& image = *RecordOf(me);
    const uint8_t* row = RowOf(image, index, "Row");
    return row == nullptr ? nullptr : REALBuildMemoryblock(row, image.RowSize);
}

void rbSetRow(HostObject me, int64_t index, HostObject block) {
    PictureTRV& image = *RecordOf(me);
    if (!IndexInRange(image, index, "Row")) return;
    const uint8_t* bytes = BytesOf(block, kNilBlock);
    if (bytes == nullptr) return;
    if (uint8_t* row = FetchRow(image, index); row != nullptr && image.RowSize > 0) {
        std::memmove(row, bytes, static_cast<size_t>(image.RowSize));
    }
}

HostObject rbRowInFormat(HostObject me, int64_t index, int64_t format) {
    PictureTRV& image = *RecordOf(me);
    if (!IsValid(&image) || !IndexInRange(image, index, "RowInFormat")) return nullptr;
    return ReadRow(image, index, format, false);
}

void rbSetRowInFormat(HostObject me, int64_t index, int64_t format, HostObject block) {
    PictureTRV& image = *RecordOf(me);
    if (block == nullptr) {
        BytesOf(block, kNilBlockWithStop);
        return;
    }
    if (!IsValid(&image) || !IndexInRange(image, index, "RowInFormat")) return;
    if (const uint8_t* bytes = BytesOf(block, kNilBlockWithStop))
        WriteRow(image, index, format, false, bytes);
}

HostObject rbRowInFormatInvertAlpha(HostObject me, int64_t index, int64_t format, Boolean invertAlpha) {
    if (invertAlpha == 0) return rbRowInFormat(me, index, format);
    PictureTRV& image = *RecordOf(me);
    if (!IsValid(&image) || !IndexInBounds(image, index)) return nullptr;
    return ReadRow(image, index, format, true);
}

void rbSetRowInFormatInvertAlpha(HostObject me, int64_t index, int64_t format, Boolean invertAlpha,
                                 HostObject block) {
    if (block == nullptr) {
        BytesOf(block, kNilBlockLowerCase);
        return;
    }
    if (invertAlpha == 0) {
        rbSetRowInFormat(me, index, format, block);
        return;
    }
    PictureTRV& image = *RecordOf(me);
    if (!IsValid(&image) || !IndexInBounds(image, index)) return;
    if (const uint8_t* bytes = BytesOf(block, kNilBlockWithStop)) WriteRow(image, index, format, true, bytes);
}

HostString rbRowStringInFormat(HostObject me, int64_t index, int64_t format) {
    PictureTRV& image = *RecordOf(me);
    Packing packing;
    if (!IsValid(&image) || !IndexInBounds(image, index)) return nullptr;
    if (FetchRow(image, index) == nullptr || !DescribePacking(image, 1, format, packing)) return nullptr;
    return ReadString(image, index, 1, packing, "Failed to allocate %lld bytes of memory for row.");
}

void rbSetRowStringInFormat(HostObject me, int64_t index, int64_t format, HostString text) {
    PictureTRV& image = *RecordOf(me);
    const rbData bytes(text);
    if (bytes.size < 1 || bytes.data == nullptr) {
        RaiseNilObjectException(kNilBlock);
        return;
    }
    if (!IsValid(&image) || !IndexInBounds(image, index)) return;
    WriteRow(image, index, format, false, bytes.data, "me is not CMYK and not gray.");
}

HostString rbDataStringInFormat(HostObject me, int64_t format) {
    PictureTRV& image = *RecordOf(me);
    Packing packing;
    if (!IsValid(&image) || image.GetRow == nullptr) return nullptr;
    if (!DescribePacking(image, image.Height, format, packing)) return nullptr;
    return ReadString(image, 0, image.Height, packing, "Failed to allocate %lld bytes of memory for rows.");
}

void rbSetDataStringInFormat(HostObject me, int64_t format, HostString text) {
    PictureTRV& image = *RecordOf(me);
    const rbData bytes(text);
    if (bytes.size < 1 || bytes.data == nullptr) {
        RaiseNilObjectException(kNilBlock);
        return;
    }
    Packing packing;
    if (!IsValid(&image)) return;
    if (image.GetRow == nullptr) {
        TRV_LOG("GetRow returns nil");
    } else if (!DescribePacking(image, image.Height, format, packing)) {
        TRV_LOG("InitImageClassData failed.");
    } else {
        WriteRows(image, 0, image.Height, packing, false, bytes.data);
    }
}

}  // namespace trv
