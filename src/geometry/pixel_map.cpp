#include "geometry/pixel_map.h"

#include <algorithm>

#include "image/checked_math.h"

namespace trv {

void PixelMap::Add(int64_t from, int64_t to) {
    loose_.bytes[static_cast<size_t>(loose_.count++)] = {from, to};
}

bool PixelMap::Remove(int64_t offset) {
    for (int i = 0; i < loose_.count; ++i) {
        if (loose_.bytes[static_cast<size_t>(i)].to != offset) continue;
        loose_.bytes[static_cast<size_t>(i)] = loose_.bytes[static_cast<size_t>(--loose_.count)];
        return true;
    }
    return false;
}

namespace {

/// The pixel that holds all of the offsets, as the offset of its first byte; -1 if it takes several.
template <class Offset>
int64_t WindowOf(const LoosePixel& pixel, int64_t size, Offset offset) {
    if (size < 1 || pixel.count == 0) return -1;
    const int64_t window = offset(pixel.bytes[0]) / size * size;
    for (int i = 0; i < pixel.count; ++i) {
        const int64_t at = offset(pixel.bytes[static_cast<size_t>(i)]) - window;
        if (at < 0 || at >= size) return -1;
    }
    return window;
}

}  // namespace

void PixelMap::Finish() {
    for (int i = 0; i < loose_.count; ++i) {
        const LoosePixel::Byte& byte = loose_.bytes[static_cast<size_t>(i)];
        fromExtent_ = std::max(fromExtent_, SaturatedAdd(byte.from, 1));
        toExtent_ = std::max(toExtent_, SaturatedAdd(byte.to, 1));
    }
    fromWindow_ = WindowOf(loose_, loose_.fromSize, [](const LoosePixel::Byte& byte) { return byte.from; });
    toWindow_ = WindowOf(loose_, loose_.toSize, [](const LoosePixel::Byte& byte) { return byte.to; });
    form_ = BestForm();
    if (form_ == Form::Masked) {
        // The bytes that stay are read and written with the others.
        fromExtent_ = std::max(fromExtent_, fromWindow_ + MaskedPixel::kBytes);
        toExtent_ = std::max(toExtent_, toWindow_ + MaskedPixel::kBytes);
    }
}

PixelMap::Form PixelMap::BestForm() {
    const int64_t size = loose_.fromSize;
    if (fromWindow_ < 0 || toWindow_ < 0 || loose_.toSize != size || size > LoosePixel::kMost) {
        return Form::Loose;
    }
    std::array<uint8_t, LoosePixel::kMost> kept;
    kept.fill(255);
    for (int i = 0; i < loose_.count; ++i) {
        const LoosePixel::Byte& byte = loose_.bytes[static_cast<size_t>(i)];
        if (byte.from - fromWindow_ != byte.to - toWindow_) return Form::Loose;
        kept[static_cast<size_t>(byte.to - toWindow_)] = 0;
    }
    const bool whole = std::all_of(kept.begin(), kept.begin() + size, [](uint8_t k) { return k == 0; });
    if (!whole && size != MaskedPixel::kBytes) return Form::Loose;
    std::memcpy(&keep_, kept.data(), sizeof keep_);
    if (!whole) return Form::Masked;
    constexpr std::array kForms{Form::Whole1, Form::Whole2, Form::Whole3, Form::Whole4, Form::Whole5};
    return kForms[static_cast<size_t>(size - 1)];
}

}  // namespace trv
