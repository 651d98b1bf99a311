#include "image/mapped_image.h"

#include "frame/debug_log.h"
#include "image/checked_math.h"
#include "image/row_readers.h"

namespace trv {

int64_t AllocationGranularity = 4096;

void SetMemBlockSize(PictureTRV& record, int64_t size) {
    TRV_LOG("setMemBlockSize", size);
    TRV_LOG("AllocationGranularity", AllocationGranularity);
    int64_t blocks = size / AllocationGranularity;
    // A count against a size, on purpose: it keeps windows from being smaller than a granule of granules.
    if (blocks < AllocationGranularity) blocks = AllocationGranularity;
    int64_t window = blocks * AllocationGranularity;
    if (window > record.TotalSize) {
        window = record.TotalSize;
        TRV_LOG("Size too big, so reduce.");
    }
    const int64_t fiveRows = SaturatedMultiply(5, record.RowSize);
    if (window < fiveRows) {
        window = fiveRows;
        TRV_LOG("Size too big, so enlarge to 5 rows.");
    }
    window = RaisedToMultiple(window, AllocationGranularity);
    record.memblocksize = window;
    // An image that was never constructed has no rows to count.
    record.MappingRows = record.RowSize > 0 ? window / record.RowSize : 0;
    TRV_LOG("me->BufRow", record.MappingRows);
    TRV_LOG("me->memblocksize", record.memblocksize);
}

void SetMappingBlockSize(HostObject me, int64_t /*parameter*/, int64_t size) {
    PictureTRV& record = *RecordOf(me);
    TRV_LOG("SetMemBlockSize", size);
    SetMemBlockSize(record, size);
    static_cast<void>(FetchRow(record, 0));
}

}  // namespace trv
