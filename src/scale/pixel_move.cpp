#include "scale/pixel_move.h"

#include <algorithm>

namespace trv {

void PixelMove::Add(int64_t from, int64_t to, int64_t size) {
    for (int64_t i = 0; i < size; ++i)
        bytes_[static_cast<size_t>(count_++)] = {from + i, to + i};
    extent_ = std::max(extent_, to + size);
}

void PixelMove::Finish() {
    isWhole_ = extent_ == toSize_;
    for (int64_t to = 0; to < toSize_; ++to) {
        isWhole_ = isWhole_ && std::any_of(bytes_.begin(), bytes_.begin() + count_,
                                           [&](const Byte& byte) { return byte.to == to; });
    }
    isCopy_ = fromSize_ == toSize_ && count_ == toSize_ &&
              std::all_of(bytes_.begin(), bytes_.begin() + count_,
                          [](const Byte& byte) { return byte.from == byte.to; });
    int64_t fromExtent = 0;
    for (int i = 0; i < count_; ++i)
        fromExtent = std::max(fromExtent, bytes_[static_cast<size_t>(i)].from + 1);
    if (extent_ > kGroupLanes || fromExtent > kGroupLanes) return;
    groupPixels_ = std::min((kGroupLanes - extent_) / toSize_, (kGroupLanes - fromExtent) / fromSize_) + 1;
    for (int64_t pixel = 0; pixel < groupPixels_; ++pixel) {
        for (int i = 0; i < count_; ++i) {
            const Byte& byte = bytes_[static_cast<size_t>(i)];
            const auto at = static_cast<size_t>(pixel * toSize_ + byte.to);
            shuffle_.from[at] = static_cast<uint8_t>(pixel * fromSize_ + byte.from);
            shuffle_.write[at] = 255;
        }
    }
}

void PixelMove::Run(const RowKernels& kernels, const uint8_t* from, int64_t readable, uint8_t* to,
                    int64_t writable, int64_t pixels) const {
    int64_t done = 0;
    if (kernels.shuffle != nullptr && groupPixels_ > 0) {
        // Where whole pixels are written, what a group leaves behind its last one is overwritten by the next.
        if (isWhole_) writable = std::min(writable, pixels * toSize_);
        const int64_t fromStep = groupPixels_ * fromSize_;
        const int64_t toStep = groupPixels_ * toSize_;
        const auto groupsIn = [](int64_t bytes, int64_t step) {
            return bytes < kGroupLanes ? 0 : (bytes - kGroupLanes) / step + 1;
        };
        const int64_t groups =
            std::min({pixels / groupPixels_, groupsIn(readable, fromStep), groupsIn(writable, toStep)});
        (isWhole_ ? kernels.shuffleWhole : kernels.shuffle)(from, fromStep, to, toStep, groups, shuffle_);
        done = groups * groupPixels_;
    }
    for (int64_t pixel = done; pixel < pixels; ++pixel) {
        for (int i = 0; i < count_; ++i) {
            const Byte& byte = bytes_[static_cast<size_t>(i)];
            to[pixel * toSize_ + byte.to] = from[pixel * fromSize_ + byte.from];
        }
    }
}

}  // namespace trv
