#include "scale/nearest_columns.h"

#include <algorithm>
#include <cstring>

namespace trv {

namespace {

/// Source columns that the table can reach over.
constexpr double kMostDistance = 1 << 30;

int64_t MostColumns(double ratio) {
    const double most = std::min(kMostDistance / ratio, static_cast<double>(NearestColumns::kMost));
    return std::max<int64_t>(static_cast<int64_t>(most), 1);
}

/// The integer that a pixel is moved in: of its size, or larger.
template <int64_t kSize>
struct MoverOf {
    using Type = uint64_t;
};
template <>
struct MoverOf<1> {
    using Type = uint8_t;
};
template <>
struct MoverOf<2> {
    using Type = uint16_t;
};
template <>
struct MoverOf<3> {
    using Type = uint32_t;
};
template <>
struct MoverOf<4> {
    using Type = uint32_t;
};

}  // namespace

NearestColumns::NearestColumns(int64_t sourceWidth, int64_t width, int64_t pixelSize)
    : sourceWidth_(sourceWidth),
      pixelSize_(pixelSize),
      ratio_(static_cast<double>(sourceWidth) / static_cast<double>(width)),
      most_(MostColumns(ratio_)),
      kernels_(pixelSize == 4 ? ActiveGatherKernels() : nullptr) {}

int64_t NearestColumns::Find(int64_t first, int64_t count) {
    count = std::min(count, most_);
    if (first_ == first) return count;
    first_ = first;
    const auto columnOf = [&](int64_t x) {
        return std::min(static_cast<int64_t>(static_cast<double>(x) * ratio_), sourceWidth_ - 1);
    };
    base_ = columnOf(first);
    for (int64_t i = 0; i < count; ++i)
        columns_[static_cast<size_t>(i)] = static_cast<int32_t>(columnOf(first + i) - base_);
    if (kernels_ == nullptr) return count;
    reach_ = 0;
    for (int64_t end = kernels_->lanes; end <= count; end += kernels_->lanes)
        reach_ = std::max(reach_, At(end - 1) - At(end - kernels_->lanes) + 1);
    return count;
}

/// A pixel that is smaller than its mover drags bytes of its neighbour along, which the next pixel
/// overwrites; the last ones, and those at the end of the row, are moved exactly.
template <int64_t kSize>
void NearestColumns::Copy(const uint8_t* row, const int32_t* columns, int64_t count, uint8_t* to) const {
    using Mover = typename MoverOf<kSize>::Type;
    constexpr int64_t kMoved = sizeof(Mover);
    const int64_t readable = (sourceWidth_ - base_) * kSize;
    int64_t loose = count;
    while (loose > 0 &&
           (columns[loose - 1] * kSize + kMoved > readable || (loose - 1) * kSize + kMoved > count * kSize))
        --loose;
    int64_t i = 0;
#pragma GCC unroll 4
    for (; i < loose; ++i) {
        Mover pixel;
        std::memcpy(&pixel, row + columns[i] * kSize, sizeof pixel);
        std::memcpy(to + i * kSize, &pixel, sizeof pixel);
    }
    for (; i < count; ++i)
        std::memcpy(to + i * kSize, row + columns[i] * kSize, kSize);
}

void NearestColumns::Gather(const uint8_t* row, int64_t i, int64_t count, uint8_t* to) const {
    const int32_t* columns = columns_.data() + i;
    row += base_ * pixelSize_;
    switch (pixelSize_) {
        case 1:
            return Copy<1>(row, columns, count, to);
        case 2:
            return Copy<2>(row, columns, count, to);
        case 3:
            return Copy<3>(row, columns, count, to);
        case 4: {
            int64_t done = 0;
            if (kernels_ != nullptr)
                done = kernels_->pick(row, sourceWidth_ - base_, columns, count, reach_, to);
            return Copy<4>(row, columns + done, count - done, to + done * 4);
        }
        case 5:
            return Copy<5>(row, columns, count, to);
        case 6:
            return Copy<6>(row, columns, count, to);
        case 7:
            return Copy<7>(row, columns, count, to);
        default:
            return Copy<8>(row, columns, count, to);
    }
}

}  // namespace trv
