#include "image/properties.h"

#include "frame/failures.h"
#include "frame/host_strings.h"
#include "frame/memory_blocks.h"
#include "frame/references.h"

namespace trv {

namespace {

int64_t& Int64Field(HostObject me, int64_t offset) {
    return *reinterpret_cast<int64_t*>(reinterpret_cast<uint8_t*>(RecordOf(me)) + offset);
}

/// The name of the offset property whose field lies at byte `parameter`.
const char* OffsetPropertyName(int64_t parameter) {
    switch (parameter) {
        case offsetof(PictureTRV, RedOffset):
            return "RedOffset";
        case offsetof(PictureTRV, GreenOffset):
            return "GreenOffset";
        case offsetof(PictureTRV, BlueOffset):
            return "BlueOffset";
        case offsetof(PictureTRV, GrayOffset):
            return "GrayOffset";
        case offsetof(PictureTRV, AlphaOffset):
            return "AlphaOffset";
        default:
            return nullptr;
    }
}

}  // namespace

void SetChannelOffset(HostObject me, int64_t parameter, int64_t value) {
    const int64_t pixelSize = RecordOf(me)->PixelSize;
    if (value < 0 || value >= pixelSize) {
        RaiseRangeError(value, 0, pixelSize, "value", OffsetPropertyName(parameter));
        return;
    }
    Int64Field(me, parameter) = value;
}

HostString GetImageFormatString(HostObject me, int64_t /*parameter*/) {
    return BuildAsciiString(FormatText(RecordOf(me)->ImageFormat));
}

HostObject GetMemory(HostObject me, int64_t /*parameter*/) {
    const PictureTRV& record = *RecordOf(me);
    if (record.MemoryTarget != nullptr && MemoryBlockPointer(record.MemoryTarget) == record.RowBuffer) {
        return ObjectReference::Share(record.MemoryTarget).Release();
    }
    return record.RowBuffer == nullptr ? nullptr : WrapMemory(record.RowBuffer);
}

int64_t GetInt64Field(HostObject me, int64_t parameter) {
    return Int64Field(me, parameter);
}

}  // namespace trv
