#include "pixelops/fill_pattern.h"

#include <algorithm>
#include <cstring>

namespace trv {

void FillPattern::Set(int64_t offset, uint8_t value) {
    channels_[channelCount_++] = {offset, value};
    prepared_ = false;
}

void FillPattern::Prepare() {
    const auto [lowest, highest] =
        std::minmax_element(channels_, channels_ + channelCount_,
                            [](const ChannelByte& a, const ChannelByte& b) { return a.offset < b.offset; });
    first_ = lowest->offset;
    last_ = highest->offset;
    inBlocks_ = last_ - first_ < pixelSize_ && pixelSize_ <= kMaximumPixelSize;
    if (inBlocks_) {
        std::memset(kept_, 255, sizeof kept_);
        for (int64_t pixel = 0; pixel < kPixelsPerBlock; ++pixel) {
            for (int i = 0; i < channelCount_; ++i) {
                const int64_t at = pixel * pixelSize_ + channels_[i].offset - first_;
                values_[at] = channels_[i].value;
                kept_[at] = 0;
            }
        }
        coversAll_ = std::all_of(kept_, kept_ + pixelSize_, [](uint8_t kept) { return kept == 0; });
    }
    prepared_ = true;
}

void FillPattern::Fill(uint8_t* pixel, int64_t count) {
    if (channelCount_ == 0 || count <= 0) return;
    if (!prepared_) Prepare();
    if (inBlocks_) {
        // Nothing behind the last channel of the last pixel is touched: it may be the end of the store.
        FillBlocks(pixel + first_, (count - 1) * pixelSize_ + last_ - first_ + 1);
    } else {
        FillSingly(pixel, count);
    }
}

void FillPattern::FillBlocks(uint8_t* bytes, int64_t length) const {
    for (const int64_t block = kPixelsPerBlock * pixelSize_; length > 0; bytes += block, length -= block) {
        const int64_t now = std::min(block, length);
        if (coversAll_) {
            std::memcpy(bytes, values_, static_cast<size_t>(now));
        } else {
            FillBetween(bytes, now);
        }
    }
}

/// At most one block, of which some bytes keep their values; a vector at a time, which compilers do not find
/// here.
void FillPattern::FillBetween(uint8_t* bytes, int64_t length) const {
    using Vector = uint8_t __attribute__((vector_size(16)));
    int64_t i = 0;
    for (; i + int64_t{sizeof(Vector)} <= length; i += int64_t{sizeof(Vector)}) {
        Vector old;
        Vector kept;
        Vector values;
        std::memcpy(&old, bytes + i, sizeof old);
        std::memcpy(&kept, kept_ + i, sizeof kept);
        std::memcpy(&values, values_ + i, sizeof values);
        old = (old & kept) | values;
        std::memcpy(bytes + i, &old, sizeof old);
    }
    for (; i < length; ++i)
        bytes[i] = static_cast<uint8_t>((bytes[i] & kept_[i]) | values_[i]);
}

void FillPattern::FillSingly(uint8_t* pixel, int64_t count) const {
    for (; count > 0; --count, pixel += pixelSize_) {
        for (int i = 0; i < channelCount_; ++i)
            pixel[channels_[i].offset] = channels_[i].value;
    }
}

}  // namespace trv
