#pragma once

// A row to write together with the rows that it is made from.

#include <array>
#include <cstdint>
#include <cstring>
#include <initializer_list>

#include "image/picture_record.h"
#include "image/pixel_loop.h"
#include "image/row_readers.h"
#include "platform/memory.h"

namespace trv {

/// Where a row lies in its store. Two windows show the same bytes of one mapping at different addresses, so
/// the place within the mapping counts there.
struct StoreSpot {
    intptr_t mapping;  // the mapping's handle; 0 for rows in memory, which go by their address
    int64_t position;  // bytes
};

[[nodiscard]] inline StoreSpot SpotOf(const PictureTRV& image, const uint8_t* row) {
    if (image.IsMapping == 0) return {0, static_cast<int64_t>(reinterpret_cast<intptr_t>(row))};
    return {image.WindowMapHandle, image.MappingFirstRow * image.RowSize + (row - image.RowBuffer)};
}

/// Rows of several images, some of which may be the same one. Fetching a row of a mapped image can take away
/// the one fetched before, so within one mapped image the row to read is held in memory meanwhile.
class RowSet {
  public:
    static constexpr size_t kMostSources = 3;

    RowSet(PictureTRV& dest, std::initializer_list<PictureTRV*> sources) : dest_(dest), destShape_(dest) {
        for (PictureTRV* source : sources) {
            sources_[count_] = source;
            shapes_[count_] = ImageShape(*source);
            ++count_;
            if (source == &dest && dest.IsMapping != 0 && held_ == nullptr)
                held_ = MakeZeroedBytes(dest.RowSize);
        }
    }

    /// Fetches all rows: `destY` of the image to write, `sourceY` of every image to read, those first. False
    /// if one cannot be had, without memory to hold it, or if an image has become another one since. The
    /// addresses are good until the next call or the next row of any of the images.
    [[nodiscard]] bool Fetch(int64_t destY, int64_t sourceY) {
        if (!HaveTheirShapes()) return false;
        bool all = true;
        for (size_t i = 0; i < count_; ++i) {
            const uint8_t* row = FetchRow(*sources_[i], sourceY);
            if (row != nullptr) fromSpot[i] = SpotOf(*sources_[i], row);
            from[i] = row != nullptr && IsWithin(i) && destY != sourceY ? Hold(row, i) : row;
            all = all && from[i] != nullptr;
        }
        to = FetchRow(dest_, destY);
        if (to == nullptr || !all) return false;
        toSpot = SpotOf(dest_, to);
        for (size_t i = 0; i < count_; ++i) {
            // Of one row both are the same bytes, wherever the window is now.
            if (!IsWithin(i) || destY != sourceY) continue;
            from[i] = to;
            fromSpot[i] = toSpot;
        }
        return true;
    }

    std::array<const uint8_t*, kMostSources> from{};
    std::array<StoreSpot, kMostSources> fromSpot{};
    uint8_t* to = nullptr;
    StoreSpot toSpot{};

  private:
    [[nodiscard]] bool HaveTheirShapes() const {
        for (size_t i = 0; i < count_; ++i) {
            if (!(shapes_[i] == ImageShape(*sources_[i]))) return false;
        }
        return destShape_ == ImageShape(dest_);
    }

    /// Whether the source is the mapped image that is written.
    [[nodiscard]] bool IsWithin(size_t source) const {
        return sources_[source] == &dest_ && dest_.IsMapping != 0;
    }

    /// All sources that are the image to write ask for the same row, so one block holds it.
    const uint8_t* Hold(const uint8_t* row, size_t source) {
        if (held_ == nullptr) return nullptr;
        std::memcpy(held_.get(), row, static_cast<size_t>(dest_.RowSize));
        fromSpot[source] = {0, static_cast<int64_t>(reinterpret_cast<intptr_t>(held_.get()))};
        return held_.get();
    }

    PictureTRV& dest_;
    ImageShape destShape_;
    std::array<PictureTRV*, kMostSources> sources_{};
    std::array<ImageShape, kMostSources> shapes_{};
    size_t count_ = 0;
    ZeroedBytes held_;
};

}  // namespace trv
