#pragma once

// A row to read and a row to write at the same time.

#include <cstdint>

#include "image/row_set.h"

namespace trv {

/// Rows of two images, which may be the same one; see RowSet.
class RowPair {
  public:
    RowPair(PictureTRV& dest, PictureTRV& source) : rows_(dest, {&source}) {}

    /// Fetches both rows, the one to read first. False if one cannot be had, or without memory to hold it.
    /// The addresses are good until the next call or the next row of either image.
    [[nodiscard]] bool Fetch(int64_t destY, int64_t sourceY) {
        const bool fetched = rows_.Fetch(destY, sourceY);
        from = rows_.from[0];
        to = rows_.to;
        return fetched;
    }

    const uint8_t* from = nullptr;
    uint8_t* to = nullptr;

  private:
    RowSet rows_;
};

}  // namespace trv
