#include "image/mapped_image.h"

#include <cstring>
#include <limits>

#include "frame/debug_log.h"
#include "frame/host_strings.h"
#include "frame/path.h"
#include "frame/references.h"
#include "image/checked_math.h"
#include "image/life_cycle.h"
#include "image/mapping_window.h"
#include "image/pixel_loop.h"
#include "image/row_readers.h"
#include "platform/file_mapping.h"

namespace trv {

int64_t AllocationGranularity = 4096;

namespace {

void LogHalves(const char* lowLabel, const char* highLabel, int64_t value) {
    TRV_LOG(lowLabel, static_cast<uint32_t>(value));
    TRV_LOG(highLabel, static_cast<int32_t>(value >> 32));
}

/// Opens the file behind a new image and gives it its length; kNoHandle if that is not to be.
intptr_t OpenBackingFile(Path& path, int64_t bytes) {
    const intptr_t file = CreateFileLongPath(path);
    if (file == kNoHandle) {
        TRV_LOG("CreateFileLongPath failed");
        return kNoHandle;
    }
    TRV_LOG("CreateFileLongPath ok");
    // Where there is no room, the mapping tells.
    GrowFile(file, bytes);
    if (debugFlag) {
        const int64_t size = FileSize(file);
        TRV_LOG("GetFileSize high", size >> 32);
        TRV_LOG("GetFileSize low", static_cast<uint32_t>(size));
    }
    return file;
}

/// The mapping of a new image; on failure the file is closed and, if it was taken over, deleted.
intptr_t MapBackingFile(intptr_t file, Path& path, int64_t bytes) {
    TRV_LOG("CreateFileMapping");
    const intptr_t mapping = CreateMapping(file, bytes);
    if (mapping != kNoHandle) {
        TRV_LOG("CreateFileMapping ok");
        return mapping;
    }
    TRV_LOG("CreateFileMapping failed", 0);
    if (file != kNoHandle) {
        CloseFile(file);
        RemoveFile(path.UnixFilePathUTF8());
    }
    return kNoHandle;
}

/// The path as a string of the host's, nil if there is none.
HostString BuildPathString(Path& path) {
    const char* text = path.UnixFilePathUTF8();
    if (text == nullptr) return nullptr;
    return REALBuildUnicodeString(text, static_cast<int64_t>(std::strlen(text)), kEncodingUtf8);
}

/// The address of a row of the store, null if it is not in the window.
uint8_t* RowInWindow(const PictureTRV& record, int64_t row) {
    if (record.RowBuffer == nullptr || row < record.MappingFirstRow || row > record.MappingLastRow) {
        return nullptr;
    }
    return record.RowBuffer + (row - record.MappingFirstRow) * record.RowSize;
}

void MapWindow(PictureTRV& record, int64_t firstRow) {
    const WindowStretch stretch = StretchOfWindow(record, firstRow);
    TRV_LOG("SelectRow", firstRow);
    TRV_LOG("RowSize", record.RowSize);
    TRV_LOG("offset", stretch.rowOffset);
    TRV_LOG("rest", stretch.rest);
    TRV_LOG("msize", stretch.viewBytes);
    TRV_LOG("offset", stretch.viewOffset);
    TRV_LOG("offset 4 KB rest", stretch.viewOffset % 4096);
    TRV_LOG("offset 64 KB rest", stretch.viewOffset % kViewAlignment);
    auto* view =
        static_cast<uint8_t*>(MapView(record.WindowMapHandle, stretch.viewOffset, stretch.viewBytes));
    if (view == nullptr) {
        TRV_LOG("MapViewOfFile failed!", LastSystemError());
        record.RowBuffer = nullptr;
        record.MapBuffer = nullptr;
        record.ViewMapped = 0;
        return;
    }
    record.RowBuffer = view + stretch.rest;
    record.MapBuffer = view;
    record.ViewMapped = 1;
    record.MappingFirstRow = firstRow;
    record.MappingLastRow = firstRow + record.MappingRows - 1;
}

/// Whether the system took the window back; the record has none from here on.
bool ReleaseWindow(PictureTRV& record) {
    const bool released =
        UnmapView(record.MapBuffer, StretchOfWindow(record, record.MappingFirstRow).viewBytes);
    record.MappingFirstRow = -1;
    record.MappingLastRow = -1;
    record.MapBuffer = nullptr;
    record.RowBuffer = nullptr;
    return released;
}

/// What became of a step, in the words of the log; the system's error goes with a failure.
void LogOutcome(bool ok, const char* okLabel, const char* failedLabel) {
    if (ok) {
        TRV_LOG(okLabel);
    } else {
        TRV_LOG(failedLabel, LastSystemError());
    }
}

}  // namespace

void ImageConstructorFile(HostObject me, int64_t width, int64_t height, int64_t format, int64_t blockSize,
                          HostObject filePath) {
    PictureTRV& record = *RecordOf(me);
    TRV_LOG("ImageConstructorFile", width, height, format);
    PrepareConstruction(record);
    if (!InitImageClassData(&record, width, height, format)) return;
    TRV_LOG("memblocksize", blockSize);
    const int64_t rowSize =
        RaisedToMultiple(SaturatedMultiply(width, record.PixelSize), AllocationGranularity);
    const int64_t totalSize = SaturatedMultiply(rowSize, height);
    TRV_LOG("Size", totalSize);
    const int64_t mappingSize = SaturatedAdd(totalSize, kMappingTail);
    LogHalves("qSize.LowPart", "qSize.HighPart", mappingSize);
    // No file can be that long, so none is touched.
    if (mappingSize == std::numeric_limits<int64_t>::max()) {
        TRV_LOG("CreateFileMapping failed", 0);
        return;
    }
    Path path(filePath);
    const intptr_t file = filePath == nullptr ? kNoHandle : OpenBackingFile(path, mappingSize);
    const intptr_t mapping = MapBackingFile(file, path, mappingSize);
    if (mapping == kNoHandle) return;
    ClearReference(record.FilePath);
    record.FilePath = BuildPathString(path);
    AssignReference(record.WindowFilePath, filePath);
    record.WindowFileHandle = file;
    record.WindowMapHandle = mapping;
    TRV_LOG("Created file mapping for Windows");
    TRV_LOG("me->WindowFilePath", record.WindowFilePath);
    TRV_LOG("me->WindowFileHandle", record.WindowFileHandle);
    TRV_LOG("me->WindowMapHandle", record.WindowMapHandle);
    record.RowSize = rowSize;
    record.TotalSize = totalSize;
    record.RowBuffer = nullptr;
    record.MapBuffer = nullptr;
    record.MappingFirstRow = -1;
    record.MappingLastRow = -1;
    record.BufferOwned = 0;
    SetMemBlockSize(record, blockSize);
    AssignReference(record.MappingFile, filePath);
    record.GetRow = SelectRow;
    record.MappingOwner = 1;
    record.IsMapping = 1;
    TRV_LOG("get first row");
    SelectRow(&record, 0);
    TRV_LOG("got first row");
    TRV_LOG("me->RowSize", record.RowSize);
    TRV_LOG("me->TotalSize", record.TotalSize);
    TRV_LOG("me->RowBuffer", record.RowBuffer);
    if (record.RowBuffer != nullptr) record.Valid = 1;
}

uint8_t* SelectRow(PictureTRV* record, int64_t y) {
    const int64_t row = SaturatedAdd(record->RowOffset, y);
    if (uint8_t* address = RowInWindow(*record, row)) return address;
    if (row < 0 || row >= record->UnclippedHeight) return nullptr;
    const int64_t firstRow = FirstRowOfWindow(*record, row);
    if (record->ViewMapped != 0) Unmap(*record);
    MapWindow(*record, firstRow);
    TRV_LOG("done", firstRow);
    return RowInWindow(*record, row);
}

uint8_t* SelectRowMirrored(PictureTRV* record, int64_t y) {
    return SelectRow(record, SaturatedSubtract(SaturatedSubtract(record->Height, 1), y));
}

void Unmap(PictureTRV& record) {
    TRV_LOG("Unmap");
    record.ViewMapped = 0;
    if (record.MapBuffer != nullptr) ReleaseWindow(record);
}

void SetMemBlockSize(PictureTRV& record, int64_t size) {
    TRV_LOG("setMemBlockSize", size);
    TRV_LOG("AllocationGranularity", AllocationGranularity);
    record.memblocksize = WindowBytes(size, record.TotalSize, record.RowSize, AllocationGranularity);
    // An image that was never constructed has no rows to count.
    record.MappingRows = record.RowSize > 0 ? record.memblocksize / record.RowSize : 0;
    TRV_LOG("me->BufRow", record.MappingRows);
    TRV_LOG("me->memblocksize", record.memblocksize);
}

void SetMappingBlockSize(HostObject me, int64_t /*parameter*/, int64_t size) {
    PictureTRV& record = *RecordOf(me);
    TRV_LOG("SetMemBlockSize", size);
    if (record.ViewMapped != 0) Unmap(record);
    SetMemBlockSize(record, size);
    if (record.IsMapping != 0) static_cast<void>(FetchRow(record, 0));
}

Boolean rbMapInRows(HostObject me, int64_t firstRow, int64_t lastRow) {
    PictureTRV& record = *RecordOf(me);
    TRV_LOG("FirstRow", firstRow);
    TRV_LOG("LastRow", lastRow);
    const int64_t first = firstRow < 0 ? 0 : firstRow;
    const int64_t last =
        lastRow < 0 || lastRow >= record.Height ? SaturatedSubtract(record.Height, 1) : lastRow;
    if (last < first) {
        TRV_LOG("last before first?");
        return 0;
    }
    if (!IsValid(&record)) return 0;
    if (record.IsMapping == 0) {
        TRV_LOG("Can't map in mapped images");
        return 1;
    }
    if (first >= record.MappingFirstRow && last <= record.MappingLastRow) {
        TRV_LOG("Mapping not needed as in range");
        return 1;
    }
    const int64_t rows = last - first + 1;
    TRV_LOG("RowCount", rows);
    Unmap(record);
    int64_t needed = rows * record.RowSize;
    TRV_LOG("BlockSizeNeeded", needed, record.memblocksize);
    if (needed > record.memblocksize) SetMemBlockSize(record, needed);
    TRV_LOG("BufRow", record.MappingRows);
    while (record.MappingRows < rows && needed <= record.TotalSize) {
        needed += AllocationGranularity;
        SetMemBlockSize(record, needed);
    }
    TRV_LOG("memblocksize", record.memblocksize);
    return SelectRow(&record, first) != nullptr;
}

void CloseWindow(PictureTRV& record) {
    if (record.ViewMapped == 0) return;
    record.ViewMapped = 0;
    TRV_LOG("Unmapping");
    LogOutcome(ReleaseWindow(record), "UnmapViewOfFile ok", "UnmapViewOfFile failed");
}

void CloseMappedFile(PictureTRV& record) {
    if (record.MappingOwner != 0 && record.IsMapping != 0) {
        TRV_LOG("Free Mapping");
        LogOutcome(CloseMapping(record.WindowMapHandle), "CloseHandle map ok", "CloseHandle map failed");
        LogOutcome(RewindFile(record.WindowFileHandle), "SetFilePointer ok", "SetFilePointer failed");
        CutFile(record.WindowFileHandle);
        LogOutcome(CloseFile(record.WindowFileHandle), "CloseHandle file ok", "CloseHandle file failed");
        TRV_LOG("me->WindowFilePath", record.WindowFilePath);
        if (record.WindowFilePath != nullptr) {
            // A file that could not be opened was never the image's, so it stays.
            Path path(record.WindowFilePath);
            const bool taken = record.WindowFileHandle != kNoHandle;
            LogOutcome(taken && RemoveFile(path.UnixFilePathUTF8()), "DeleteFile ok", "DeleteFile failed");
        }
    }
    // Numbers of closed handles can come back as those of others.
    record.MappingOwner = 0;
    record.WindowFileHandle = kNoHandle;
    record.WindowMapHandle = kNoHandle;
}

}  // namespace trv
