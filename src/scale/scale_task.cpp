#include "scale/scale_task.h"

#include <algorithm>

#include "frame/debug_log.h"
#include "image/checked_math.h"
#include "image/row_readers.h"
#include "image/store_overlap.h"

namespace trv {

namespace {

/// Rows, out of `wanted`, that an image is asked for. Of a row table those outside are asked for too where
/// that leaves a line in the log; elsewhere nothing would come of it.
int64_t RowLimit(const PictureTRV& record, int64_t wanted) {
    if (!IsRowTable(record)) return std::min(wanted, record.Height);
    return debugFlag != 0 ? wanted : std::min(wanted, record.UnclippedHeight);
}

}  // namespace

int64_t ScaleTask::TempColumns() const {
    const int64_t rowBytes = SaturatedMultiply(temp.Width, temp.PixelSize);
    return std::clamp<int64_t>(rowBytes / family.pixelBytes, 0, width);
}

int64_t ScaleTask::SourceRows() const {
    return RowLimit(temp, source.Height);
}

int64_t ScaleTask::DestinationColumns() const {
    return std::min(TempColumns(), std::max<int64_t>(destination.Width, 0));
}

int64_t ScaleTask::DestinationRows() const {
    return RowLimit(destination, height);
}

uint8_t* FetchInside(PictureTRV& record, int64_t y) {
    if (!IsRowTable(record) && (y < 0 || y >= record.Height)) return nullptr;
    return FetchRow(record, y);
}

bool NeedsPlainOrder(PictureTRV& from, PictureTRV& to) {
    if (debugFlag != 0 && !(IsLinear(from) && IsLinear(to))) return true;
    return OrderMatters(from, to);
}

}  // namespace trv
