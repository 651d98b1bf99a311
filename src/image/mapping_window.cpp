#include "image/mapping_window.h"

#include <algorithm>

#include "frame/debug_log.h"
#include "image/checked_math.h"

namespace trv {

int64_t WindowBytes(int64_t wanted, int64_t totalSize, int64_t rowSize, int64_t granularity) {
    // A count against a size, on purpose: it keeps windows from being smaller than a granule of granules.
    const int64_t blocks = std::max(wanted / granularity, granularity);
    int64_t window = blocks * granularity;
    if (window > totalSize) {
        window = totalSize;
        TRV_LOG("Size too big, so reduce.");
    }
    const int64_t fiveRows = SaturatedMultiply(5, rowSize);
    if (window < fiveRows) {
        window = fiveRows;
        TRV_LOG("Size too big, so enlarge to 5 rows.");
    }
    return RaisedToMultiple(window, granularity);
}

int64_t FirstRowOfWindow(const PictureTRV& record, int64_t row) {
    const int64_t lookBack = row >= 2 ? row - 2 : row;
    const int64_t limit = std::max<int64_t>(record.UnclippedHeight - record.MappingRows, 0);
    return std::min(lookBack, limit);
}

WindowStretch StretchOfWindow(const PictureTRV& record, int64_t firstRow) {
    WindowStretch stretch{};
    stretch.rowOffset = record.RowSize * firstRow;
    stretch.rest = stretch.rowOffset % kViewAlignment;
    stretch.viewOffset = stretch.rowOffset - stretch.rest;
    // A window is rarely a whole number of rows. Where the part of a row that is left over would reach beyond
    // the mapping, as it can with rows longer than the tail, the view ends with the mapping instead.
    const int64_t rows = record.MappingRows * record.RowSize;
    const int64_t inMapping = record.TotalSize + kMappingTail - stretch.rowOffset;
    stretch.viewBytes = std::max(rows, std::min(record.memblocksize, inMapping)) + stretch.rest;
    return stretch;
}

}  // namespace trv
