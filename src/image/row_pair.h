#pragma once

// A row to read and a row to write at the same time.

#include <cstdint>
#include <cstring>

#include "image/picture_record.h"
#include "image/row_readers.h"
#include "platform/memory.h"

namespace trv {

/// Rows of two images, which may be the same one. Fetching a row of a mapped image can take away the one
/// fetched before, so within one mapped image the row to read is held in memory meanwhile.
class RowPair {
  public:
    RowPair(PictureTRV& dest, PictureTRV& source) : dest_(dest), source_(source) {
        if (&dest == &source && source.IsMapping != 0) held_ = MakeZeroedBytes(source.RowSize);
    }

    /// Fetches both rows, the one to read first. False if one cannot be had, or without memory to hold it.
    /// The addresses are good until the next call or the next row of either image.
    [[nodiscard]] bool Fetch(int64_t destY, int64_t sourceY) {
        const uint8_t* row = FetchRow(source_, sourceY);
        const bool within = &dest_ == &source_ && source_.IsMapping != 0;
        if (row != nullptr && within && destY != sourceY) row = Hold(row);
        from = row;
        to = FetchRow(dest_, destY);
        // Of one row both are the same bytes, wherever the window is now.
        if (from != nullptr && within && destY == sourceY) from = to;
        return from != nullptr && to != nullptr;
    }

    const uint8_t* from = nullptr;
    uint8_t* to = nullptr;

  private:
    const uint8_t* Hold(const uint8_t* row) {
        if (held_ == nullptr) return nullptr;
        std::memcpy(held_.get(), row, static_cast<size_t>(source_.RowSize));
        return held_.get();
    }

    PictureTRV& dest_;
    PictureTRV& source_;
    ZeroedBytes held_;
};

}  // namespace trv
