#include "filters/lanes.h"

#include <algorithm>
#include <cstring>
#include <numeric>

#include "image/checked_math.h"

namespace trv {

namespace {

/// Whether a pixel has as many bytes as lanes and all channels lie in one pixel, each in a byte of its own.
bool CanBeLanes(const PixelPlaces& places, int64_t lanes) {
    const int64_t pixel = places.offsets[0] / lanes;
    return places.pixelSize == lanes && places.AreApart() &&
           std::ranges::all_of(places.Offsets(), [&](int64_t offset) { return offset / lanes == pixel; });
}

/// Whether they are so and the plan has them as they are.
bool AreLanes(const PixelPlaces& places, const LanePlan& plan) {
    if (!CanBeLanes(places, plan.lanes)) return false;
    for (size_t c = 0; c < places.channels; ++c) {
        if (places.offsets[c] % plan.lanes != plan.lane[c]) return false;
    }
    return true;
}

/// Offset of the pixel with the channels.
int64_t StartOf(const PixelPlaces& places) {
    return places.offsets[0] / places.pixelSize * places.pixelSize;
}

}  // namespace

bool PixelPlaces::AreApart() const {
    for (size_t a = 0; a < channels; ++a) {
        for (size_t b = 0; b < a; ++b) {
            // Bytes that are whole pixels apart meet further on in the row.
            if ((offsets[a] - offsets[b]) % pixelSize == 0) return false;
        }
    }
    return true;
}

ByteExtent PixelPlaces::Extent() const {
    const auto [first, last] = std::ranges::minmax(Offsets());
    return {first, last};
}

LanePlan LanesInOrder(const PixelPlaces& places) {
    LanePlan plan{static_cast<int64_t>(places.channels), places.channels, {}};
    std::iota(plan.lane.begin(), plan.lane.end(), 0);
    return plan;
}

SpanConverter ToLanes(const PixelPlaces& places, const LanePlan& plan) {
    SpanConverter converter(places.pixelSize, plan.lanes);
    for (size_t c = 0; c < places.channels; ++c)
        converter.Add({.to = plan.lane[c], .from = places.offsets[c]});
    converter.Prepare();
    return converter;
}

SpanConverter FromLanes(const PixelPlaces& places, const LanePlan& plan) {
    SpanConverter converter(plan.lanes, places.pixelSize);
    for (size_t c = 0; c < places.channels; ++c)
        converter.Add({.to = places.offsets[c], .from = plan.lane[c]});
    converter.Prepare();
    return converter;
}

LanePlan ChooseLanes(const PixelPlaces& source, const PixelPlaces& dest, int64_t lanes) {
    LanePlan plan = LanesInOrder(dest);
    plan.lanes = lanes;
    const PixelPlaces* model = CanBeLanes(dest, lanes)     ? &dest
                               : CanBeLanes(source, lanes) ? &source
                                                           : nullptr;
    if (model == nullptr) return plan;
    for (size_t c = 0; c < plan.channels; ++c)
        plan.lane[c] = model->offsets[c] % lanes;
    return plan;
}

LaneReader::LaneReader(const PixelPlaces& places, const LanePlan& plan, int64_t pixels, bool hold)
    : pixels_(pixels),
      bytes_(pixels * plan.lanes),
      direct_(!hold && AreLanes(places, plan)),
      converter_(ToLanes(places, plan)) {
    if (direct_) start_ = StartOf(places);
    // Used for direct rows too, as the zeros of a row that cannot be had.
    buffer_ = MakeZeroedBytes(bytes_);
    direct_ = direct_ && buffer_ != nullptr;
}

const uint8_t* LaneReader::Read(const uint8_t* row) {
    if (row == nullptr) {
        if (!direct_) std::memset(buffer_.get(), 0, static_cast<size_t>(bytes_));
        return buffer_.get();
    }
    if (direct_) return row + start_;
    converter_.Convert(row, buffer_.get(), pixels_);
    return buffer_.get();
}

LaneWriter::LaneWriter(const PixelPlaces& places, const LanePlan& plan, int64_t pixels)
    : pixels_(pixels),
      direct_(AreLanes(places, plan) && plan.lanes == static_cast<int64_t>(places.channels)),
      converter_(FromLanes(places, plan)) {
    if (direct_) start_ = StartOf(places);
    buffer_ = MakeZeroedBytes(SaturatedMultiply(pixels, plan.lanes));
}

}  // namespace trv
