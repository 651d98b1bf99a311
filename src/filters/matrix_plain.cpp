#include <algorithm>

#include "filters/matrix_task.h"
#include "image/checked_math.h"
#include "image/row_readers.h"

namespace trv {

namespace {

/// Sums of the channels of one pixel, in 32 bits that wrap.
using Sums = std::array<uint32_t, kMostChannels>;

Sums SumsAt(const MatrixTask& task, int64_t x, int64_t y) {
    Sums sums{};
    const uint8_t* row = nullptr;
    int64_t rowBelow = 0;
    for (const MatrixTap& tap : task.taps) {
        if (&tap == task.taps.data() || tap.below != rowBelow) {
            row = FetchRow(task.source, std::clamp<int64_t>(y + tap.below, 0, task.source.Height - 1));
            rowBelow = tap.below;
        }
        if (row == nullptr) continue;
        const int64_t column = std::clamp<int64_t>(x + tap.right, 0, task.source.Width - 1);
        const uint8_t* pixel = row + column * task.source.PixelSize;
        for (size_t c = 0; c < task.sourcePlaces.channels; ++c)
            sums[c] += pixel[task.sourcePlaces.offsets[c]] * static_cast<uint32_t>(tap.weight);
    }
    return sums;
}

uint8_t ByteOf(const MatrixTask& task, uint32_t sum) {
    int64_t value = SaturatedAdd(static_cast<int32_t>(sum), task.delta);
    if (task.IsScaled()) value = SaturatedTruncate<int64_t>(static_cast<double>(value) * task.factor);
    return static_cast<uint8_t>(std::clamp<int64_t>(value, 0, 255));
}

}  // namespace

void ApplyMatrixPlain(const MatrixTask& task) {
    const Rectangle written = task.Written();
    for (int64_t y = 0; y < written.height; ++y) {
        for (int64_t x = 0; x < written.width; ++x) {
            const Sums sums = SumsAt(task, x, y);
            // Fetched last: rows of a mapped image push each other out.
            uint8_t* row = FetchRow(task.dest, y);
            if (row == nullptr) continue;
            for (size_t c = 0; c < task.destPlaces.channels; ++c)
                row[x * task.dest.PixelSize + task.destPlaces.offsets[c]] = ByteOf(task, sums[c]);
        }
    }
}

}  // namespace trv
