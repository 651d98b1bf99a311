#include "scale/fused_passes.h"

#include <algorithm>
#include <cstring>

#include "frame/debug_log.h"
#include "image/row_readers.h"
#include "image/store_overlap.h"

namespace trv {

namespace {

constexpr int64_t kTogether = 16;  // destination rows that are made at once, where there are as many

/// Rows of a temp in a block of their own.
class Band {
  public:
    Band(const PictureTRV& temp, int64_t rows)
        : temp_(temp), record_(temp), rows_(rows), block_(rows * temp.RowSize) {}

    [[nodiscard]] bool Ok() const { return block_.Ok(); }
    /// The temp as it looks to a pass that asks for no other rows than those of the band.
    [[nodiscard]] PictureTRV& Record() { return record_; }
    [[nodiscard]] const uint8_t* Row(int64_t y) const { return block_.Get() + (y - first_) * temp_.RowSize; }
    [[nodiscard]] bool HasRoomTo(int64_t end) const { return end - first_ <= rows_; }

    /// Starts with row `first`. The rows from there to `end` - 1 are kept.
    void MoveTo(int64_t first, int64_t end) {
        if (first < end) {
            std::memmove(block_.Get(), Row(first), static_cast<size_t>((end - first) * temp_.RowSize));
        }
        first_ = first;
        const int64_t above = (temp_.RowOffset + first) * temp_.RowSize;
        record_.RowBuffer = reinterpret_cast<uint8_t*>(reinterpret_cast<uintptr_t>(block_.Get()) -
                                                       static_cast<uintptr_t>(above));
    }

  private:
    const PictureTRV& temp_;
    PictureTRV record_;
    const int64_t rows_;
    int64_t first_ = 0;
    WorkBlock<uint8_t> block_;
};

}  // namespace

bool CanFuse(const ScaleTask& task) {
    if (debugFlag != 0 || task.temp.GetRow != GetRowLinear) return false;
    for (const PictureTRV* image : {&task.source, &task.temp, &task.destination}) {
        if (image->IsMapping != 0) return false;
    }
    return !MayShareMemory(task.source, task.destination);
}

/// A job of the first pass: source rows, and the destination rows that need no others.
class FusedStretch {
  public:
    FusedStretch(const FusedPasses& fused, int64_t first, int64_t end)
        : fused_(fused), first_(first), end_(end) {
        const int64_t count = fused.task_.DestinationRows();
        while (target_ < count && Needs(target_).first < first)
            ++target_;
        neededAboveEnd_ = target_ > 0 ? Needs(target_ - 1).end : first;
        targetEnd_ = target_;
        while (targetEnd_ < count && Needs(targetEnd_).end <= end)
            ++targetEnd_;
        neededBelow_ = targetEnd_ < count ? Needs(targetEnd_).first : end;
    }

    /// False, with nothing done, if there is no memory for it.
    [[nodiscard]] bool Do(bool yields) {
        PictureTRV& temp = fused_.task_.temp;
        const int64_t block = fused_.horizontal_.BlockRows();
        Band band(temp, std::min(MostNeeded() + block, end_ - first_));
        HorizontalRows horizontal(fused_.horizontal_, band.Record());
        VerticalRows vertical(fused_.vertical_, band.Record());
        if (!band.Ok() || !horizontal.Ok() || !vertical.Ok()) return false;
        band.MoveTo(first_, first_);
        for (int64_t y = first_; y < end_;) {
            const int64_t next = std::min(y + block, end_);
            if (!band.HasRoomTo(next)) {
                band.MoveTo(target_ < targetEnd_ ? std::min(Needs(target_).first, y) : y, y);
            }
            if (!horizontal.Do(y, next - 1, yields)) return true;
            LeaveForNeighbours(band, y, next);
            y = next;
            if (!MakeTargets(vertical, y)) return true;
        }
        return true;
    }

  private:
    [[nodiscard]] VerticalPass::TempRows Needs(int64_t target) const {
        return fused_.vertical_.TempRowsOf(target);
    }

    /// The most rows that are in use while destination rows wait until there are enough of them.
    [[nodiscard]] int64_t MostNeeded() const {
        int64_t most = 0;
        for (int64_t i = target_; i < targetEnd_; ++i) {
            const int64_t last = std::min(i + kTogether, targetEnd_) - 1;
            most = std::max(most, Needs(last).end - Needs(i).first);
        }
        return most;
    }

    /// Copies those of the rows from `y` to `end` - 1 to the temp that jobs above and below need.
    void LeaveForNeighbours(const Band& band, int64_t y, int64_t end) const {
        PictureTRV& temp = fused_.task_.temp;
        const int64_t bytes = fused_.task_.TempColumns() * fused_.task_.family.pixelBytes;
        for (; y < end; ++y) {
            if (y >= neededAboveEnd_ && y < neededBelow_) continue;
            uint8_t* row = FetchInside(temp, y);
            if (row != nullptr) std::memcpy(row, band.Row(y), static_cast<size_t>(bytes));
        }
    }

    /// Makes the destination rows that need no row from `end` on, unless more of them are worth waiting for.
    [[nodiscard]] bool MakeTargets(VerticalRows& vertical, int64_t end) {
        int64_t ready = target_;
        while (ready < targetEnd_ && Needs(ready).end <= end)
            ++ready;
        if (ready == target_ || (ready - target_ < kTogether && ready < targetEnd_)) return true;
        if (!vertical.Do(target_, ready - 1, false)) return false;
        std::fill(fused_.done_.Get() + target_, fused_.done_.Get() + ready, uint8_t{1});
        target_ = ready;
        return true;
    }

    const FusedPasses& fused_;
    const int64_t first_;
    const int64_t end_;
    int64_t target_ = 0;     // the next destination row
    int64_t targetEnd_ = 0;  // the first one that needs source rows below
    int64_t neededAboveEnd_ = 0;
    int64_t neededBelow_ = 0;
};

void FusedPasses::RunFirst(int64_t first, int64_t last, bool yields) const {
    const int64_t end = std::min(last + 1, task_.SourceRows());
    if (first >= end) return;
    if (!FusedStretch(*this, first, end).Do(yields)) horizontal_.Run(first, last, yields);
}

void FusedPasses::RunSecond(int64_t first, int64_t last, bool yields) const {
    const uint8_t* done = done_.Get();
    const int64_t end = std::min(last + 1, task_.DestinationRows());
    for (int64_t y = first; y < end;) {
        const int64_t stop = std::find(done + y, done + end, uint8_t{done[y] == 0}) - done;
        if (done[y] == 0) vertical_.Run(y, stop - 1, yields);
        if (!vertical_.YieldAfter(done[y] == 0 ? 0 : stop - y, yields)) return;
        y = stop;
    }
}

}  // namespace trv
