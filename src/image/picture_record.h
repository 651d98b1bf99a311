#pragma once

// The image record: the class data of a PictureTRV object. Operations know no format by name; they work from
// the channel offsets, the flags and the pixel size found here.
//
// The address of a channel of pixel x in row y is always GetRow(y) + x * PixelSize + the channel's offset. A
// view that starts at a column has x * PixelSize added to its offsets already, so an offset can exceed
// PixelSize.

#include <array>
#include <cstdint>

#include "frame/class_tables.h"
#include "frame/host_types.h"
#include "image/image_format.h"

namespace trv {

struct PictureTRV;

/// A row reader: the address of the first byte of row `y` of the image or view, or null. The readers of
/// images in memory test nothing; those of mapped images and of pictures kept as rows can answer null.
using RowReader = uint8_t* (*)(PictureTRV* record, int64_t y);

/// The host allocates the record zeroed, together with its object, and reads many of the fields directly.
/// Integers are counts, sizes, offsets and coordinates in pixels, rows or bytes.
struct PictureTRV {
    int64_t YieldTicks;       // 0 never yields; n > 0: every n ticks of 16 ms; n < 0: every -n ms
    int64_t LastYieldTime;    // in the unit that YieldTicks selects
    int64_t memblocksize;     // bytes of the mapping window, the property MappingBlockSize
    int64_t TotalSize;        // bytes of the pixel store
    HostObject Factory;       // the host's property; the destructor leaves it alone
    HostObject MemoryTarget;  // the memory block with the pixels; one reference
    Boolean DebugPictureEnabled;
    int64_t RedOffset;
    Boolean HasRed;
    int64_t GreenOffset;
    Boolean HasGreen;
    int64_t BlueOffset;
    Boolean HasBlue;
    int64_t GrayOffset;
    Boolean HasGray;
    int64_t AlphaOffset;
    Boolean HasAlpha;
    int64_t CyanOffset;
    Boolean HasCyan;
    int64_t MagentaOffset;
    Boolean HasMagenta;
    int64_t YellowOffset;
    Boolean HasYellow;
    int64_t BlackOffset;
    Boolean HasBlack;
    int64_t Width;
    Boolean IsGray;
    int64_t Height;
    int64_t UnclippedHeight;  // rows of the underlying store
    Boolean IsRGB;
    int64_t RowSize;  // bytes from one row to the next
    Boolean IsCMYK;
    int64_t PixelSize;         // bytes from one pixel to the next
    int64_t BitsPerComponent;  // 8 or 16
    Boolean Valid;             // a constructor completed
    int64_t ImageFormat;
    Boolean BitmapLocked;     // the record holds a lock on BitmapHandle
    int64_t RowOffset;        // rows between the start of the store and row 0 of this view
    int64_t ChannelCount;     // entries in use in ChannelOffsets
    int64_t MappingFirstRow;  // of a mapped image: first row in the window, -1 without one
    int64_t MappingLastRow;
    int64_t MappingRows;  // rows that the window can hold
    std::array<int64_t, 8> ChannelOffsets;
    HostObject Parent;          // the image of which this is a view; one reference
    HostObject MappingFile;     // the folder item of a mapped image; one reference
    HostObject Target;          // the host picture whose pixels these are; one reference
    HostString Channel;         // name of the channel, on a channel view; one reference
    HostString FilePath;        // path of a mapped image's file; one reference
    HostObject WindowFilePath;  // the folder item again, for deleting the file; one reference
    Boolean BufferOwned;        // RowBuffer is a plain allocation of this record
    uint8_t* RowBuffer;         // first stored row, or first row in the window
    void* MapBuffer;            // base of the mapped window
    Boolean MappingOwner;       // owns file and mapping; views of it do not
    intptr_t WindowFileHandle;
    Boolean ViewMapped;  // a window is mapped by this record
    intptr_t WindowMapHandle;
    Boolean IsMapping;  // file-mapped, views included
    int32_t** tpixels;  // row pointers of a picture kept as rows
    RowReader GetRow;
    void* BitmapHandle;  // the locked GDI+ bitmap
    void* BitmapData;    // the lock's data block, freed by the destructor
    // The plug-in's own affair:
    HostObject SharedMemory;  // the memory block under a view that does not show it; one reference
    PictureTRV* NextSharer;   // ring of the records over one store, see shared_store.h; null for one alone
    PictureTRV* PreviousSharer;
};

/// The class PictureTRV as the host knows it. src/plugin fills in the member tables; the host writes
/// `forSystemUse`, through which RecordOf finds records.
extern ClassDefinition pictureClass;

inline constexpr const char* kPictureClassName = "PictureTRV";

/// The record of an object of class PictureTRV; null for nil.
[[nodiscard]] inline PictureTRV* RecordOf(HostObject object) {
    if (object == nullptr) return nullptr;
    return reinterpret_cast<PictureTRV*>(reinterpret_cast<uint8_t*>(object) + pictureClass.forSystemUse);
}

/// One channel's fields in the record.
struct ChannelField {
    int64_t PictureTRV::*offset;
    Boolean PictureTRV::*has;
};

/// The fields by Channel.
inline constexpr std::array<ChannelField, kChannelCount> kChannelFields = {{
    {&PictureTRV::RedOffset, &PictureTRV::HasRed},
    {&PictureTRV::GreenOffset, &PictureTRV::HasGreen},
    {&PictureTRV::BlueOffset, &PictureTRV::HasBlue},
    {&PictureTRV::GrayOffset, &PictureTRV::HasGray},
    {&PictureTRV::AlphaOffset, &PictureTRV::HasAlpha},
    {&PictureTRV::CyanOffset, &PictureTRV::HasCyan},
    {&PictureTRV::MagentaOffset, &PictureTRV::HasMagenta},
    {&PictureTRV::YellowOffset, &PictureTRV::HasYellow},
    {&PictureTRV::BlackOffset, &PictureTRV::HasBlack},
}};

[[nodiscard]] constexpr const ChannelField& FieldOf(Channel channel) {
    return kChannelFields[static_cast<size_t>(channel)];
}
[[nodiscard]] inline int64_t OffsetOf(const PictureTRV& record, Channel channel) {
    return record.*FieldOf(channel).offset;
}
[[nodiscard]] inline bool Has(const PictureTRV& record, Channel channel) {
    return record.*FieldOf(channel).has != 0;
}

/// Fills the size and layout fields of a record for a format. False for a null record and a width or height
/// below 1, which change nothing, and for a code that cannot be created: the record then has size and code,
/// and an empty layout.
bool InitImageClassData(PictureTRV* record, int64_t width, int64_t height, int64_t format);

}  // namespace trv
