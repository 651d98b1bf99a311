#include "compositing/blend_row.h"

#include <algorithm>

#include "compositing/blend_rules.h"

namespace trv {

namespace {

using Kind = BlendValue::Kind;
using Pixels = std::span<const uint8_t* const>;

constexpr int64_t kMostStep = 8;

uint8_t MeanOf(const uint8_t* pixel, const BlendValue& value) {
    return static_cast<uint8_t>((pixel[value.at] + pixel[value.green] + pixel[value.blue]) / 3);
}

uint8_t ValueOf(const BlendValue& value, Pixels pixels) {
    const uint8_t* pixel = pixels[value.side];
    switch (value.kind) {
        case Kind::Byte:
            return pixel[value.at];
        case Kind::Luma:
            return BlendLuma(pixel[value.at], pixel[value.green], pixel[value.blue]);
        case Kind::Mean:
            return MeanOf(pixel, value);
        case Kind::Constant:
            break;
    }
    return value.constant;
}

/// One operand of all channels of a plan.
std::array<BlendValue, BlendPlan::kMostChannels> Column(const BlendPlan& plan,
                                                        BlendValue BlendChannel::*operand) {
    std::array<BlendValue, BlendPlan::kMostChannels> values{};
    for (size_t i = 0; i < plan.channelCount; ++i)
        values[i] = plan.channels[i].*operand;
    return values;
}

}  // namespace

// Here and not in the header: MinGW's GCC 12 defines constants of an inline function in every source that has
// it.
std::span<const Channel> ColourChannelsOf(const PictureTRV& image) {
    static constexpr std::array kColours = {Channel::Red, Channel::Green, Channel::Blue};
    static constexpr std::array kGray = {Channel::Gray};
    if (image.IsGray != 0) return kGray;
    if (image.IsRGB != 0) return kColours;
    return {};
}

// Operands
// -----------------------------------------------------------------------------------------------------

void BlendOperand::Prepare(const BlendPlan& plan, std::span<const BlendValue> values,
                           std::span<const int64_t> to, int64_t step) {
    bool same = true;
    for (size_t i = 0; i < values.size(); ++i) {
        if (values[i].kind != Kind::Constant) side_ = values[i].side;
        same = same && values[i].kind == Kind::Byte && plan.pixelSize[values[i].side] == step &&
               values[i].at - to[i] == values[0].at - to[0];
    }
    if (same) {
        first_ = values[0].at - to[0];
        return;
    }
    for (int64_t pixel = 0; pixel < kBlockBytes / step; ++pixel) {
        for (size_t i = 0; i < values.size(); ++i)
            block_[static_cast<size_t>(pixel * step + to[i])] = values[i].constant;
    }
    AddConverters(plan, values, to, step);
}

void BlendOperand::AddConverters(const BlendPlan& plan, std::span<const BlendValue> values,
                                 std::span<const int64_t> to, int64_t step) {
    for (size_t i = 0; i < values.size(); ++i) {
        if (values[i].kind == Kind::Constant) continue;
        const bool reduced = values[i].kind != Kind::Byte;
        auto& converter = reduced ? spread_ : bytes_;
        if (!converter) converter.emplace(reduced ? 1 : plan.pixelSize[side_], step);
        converter->Add({.to = to[i], .from = reduced ? 0 : values[i].at});
        if (reduced) colours_ = values[i];
    }
    colourStep_ = plan.pixelSize[side_];
    if (spread_ && colours_.kind == Kind::Luma) {
        luma_.emplace(colourStep_, 1);
        luma_->Add({.kind = ByteRule::Kind::Luma,
                    .from = colours_.at,
                    .green = colours_.green,
                    .blue = colours_.blue});
    }
    for (auto* converter : {&bytes_, &spread_, &luma_}) {
        if (*converter) (*converter)->Prepare();
    }
}

void BlendOperand::ReduceColours(const uint8_t* pixel, int64_t count) {
    if (luma_) {
        luma_->Convert(pixel, gray_.data(), count);
        return;
    }
    for (int64_t i = 0; i < count; ++i, pixel += colourStep_)
        gray_[static_cast<size_t>(i)] = MeanOf(pixel, colours_);
}

const uint8_t* BlendOperand::Bytes(Pixels pixels, int64_t count) {
    const uint8_t* pixel = pixels[side_];
    if (first_) return pixel + *first_;
    if (bytes_) bytes_->Convert(pixel, block_.data(), count);
    if (spread_) {
        ReduceColours(pixel, count);
        spread_->Convert(gray_.data(), block_.data(), count);
    }
    return block_.data();
}

// Rows
// ---------------------------------------------------------------------------------------------------------

RowBlender::RowBlender(const BlendPlan& plan) : plan_(plan) {
    FindExtents();
    if (!FitsBlocks()) return;
    kernels_ = ActiveCompositeKernels();
    if (kernels_ == nullptr) return;
    // Candidates in order of speed; the last takes everything that fits blocks.
    pixels_ = PixelBlender::For(plan, *kernels_);
    if (pixels_) return;
    if (plan_.rule == BlendRule::MixToGray) {
        PrepareGray();
    } else {
        PrepareMix();
    }
}

void RowBlender::Extent::Add(int64_t offset) {
    first = std::min(first, offset);
    last = std::max(last, offset);
}

void RowBlender::Extent::Add(const BlendValue& value) {
    Add(value.at);
    if (value.kind == Kind::Byte) return;
    Add(value.green);
    Add(value.blue);
}

void RowBlender::FindExtents() {
    for (const BlendChannel& channel : std::span(plan_.channels).first(plan_.channelCount)) {
        extents_[0].Add(channel.to);
        for (const BlendValue* value : {&channel.d, &channel.s, &channel.m}) {
            if (value->kind != Kind::Constant) extents_[value->side].Add(*value);
        }
    }
}

/// Whether a pixel's written bytes lie in one run of its own, each channel at a byte of its own.
bool RowBlender::FitsBlocks() const {
    const int64_t step = plan_.pixelSize[0];
    if (step > kMostStep || extents_[0].last - extents_[0].first >= step) return false;
    if (plan_.rule == BlendRule::MixToGray) return true;
    for (size_t i = 0; i < plan_.channelCount; ++i) {
        for (size_t j = 0; j < i; ++j) {
            if (plan_.channels[i].to == plan_.channels[j].to) return false;
        }
    }
    return true;
}

void RowBlender::PrepareMix() {
    const int64_t step = plan_.pixelSize[0];
    blockPixels_ = BlendOperand::kBlockBytes / step;
    keeps_ = static_cast<int64_t>(plan_.channelCount) != step;
    std::array<int64_t, BlendPlan::kMostChannels> to{};
    for (size_t i = 0; i < plan_.channelCount; ++i) {
        to[i] = plan_.channels[i].to - extents_[0].first;
        for (int64_t pixel = 0; pixel < blockPixels_; ++pixel)
            write_[static_cast<size_t>(pixel * step + to[i])] = 255;
    }
    const auto prepare = [&](BlendOperand& operand, BlendValue BlendChannel::*column) {
        const auto values = Column(plan_, column);
        operand.Prepare(plan_, std::span(values).first(plan_.channelCount),
                        std::span(to).first(plan_.channelCount), step);
    };
    prepare(d_, &BlendChannel::d);
    prepare(s_, &BlendChannel::s);
    prepare(m_, &BlendChannel::m);
}

void RowBlender::PrepareGray() {
    blockPixels_ = kGrayBlock;
    const int64_t to = 0;
    const BlendChannel& first = plan_.channels[0];
    d_.Prepare(plan_, {&first.d, 1}, {&to, 1}, 1);
    m_.Prepare(plan_, {&first.m, 1}, {&to, 1}, 1);
    for (size_t i = 0; i < shades_.size(); ++i)
        shades_[i].fill(plan_.channels[i].s.constant);
    store_.emplace(1, plan_.pixelSize[0]);
    store_->Add({.to = first.to});
    store_->Prepare();
}

/// Whether every byte that is read is written by its own pixel at the most, so that the order of the pixels
/// does not show.
bool RowBlender::GoesPixelUponPixel(std::span<const StoreSpot> spots, int64_t count) const {
    const int64_t step = plan_.pixelSize[0];
    const int64_t start = spots[0].position + extents_[0].first;
    const int64_t end = spots[0].position + extents_[0].last + (count - 1) * step;
    for (size_t side = 1; side < plan_.sides; ++side) {
        if (extents_[side].IsEmpty() || spots[side].mapping != spots[0].mapping) continue;
        const int64_t first = spots[side].position + extents_[side].first;
        const int64_t last = spots[side].position + extents_[side].last;
        if (last + (count - 1) * plan_.pixelSize[side] < start || end < first) continue;
        if (plan_.pixelSize[side] != step || first < start || last >= start + step) return false;
        for (const BlendOperand* operand : {&d_, &s_, &m_}) {
            int64_t from = 0;
            if (operand->TakesFrom(side, from) && spots[side].position + from != start) return false;
        }
    }
    return true;
}

void RowBlender::Blend(uint8_t* to, Pixels pixels, std::span<const StoreSpot> spots, int64_t count) {
    if (!BlendRun(to, pixels, spots, count)) BlendPixels(pixels, to, count);
}

bool RowBlender::BlendRun(uint8_t* to, Pixels pixels, std::span<const StoreSpot> spots, int64_t count) {
    if (kernels_ == nullptr || !GoesPixelUponPixel(spots, count)) return false;
    if (pixels_) {
        pixels_->Blend(to, pixels, count);
    } else {
        BlendBlocks(to, pixels, count);
    }
    return true;
}

void RowBlender::BlendBlocks(uint8_t* to, Pixels pixels, int64_t count) {
    std::array<const uint8_t*, BlendPlan::kMostSides> at{};
    std::copy(pixels.begin(), pixels.end(), at.begin());
    while (count > 0) {
        const int64_t now = std::min(count, blockPixels_);
        if (plan_.rule == BlendRule::MixToGray) {
            BlendGrayBlock(at, to, now);
        } else {
            BlendBlock(at, to, now);
        }
        to += now * plan_.pixelSize[0];
        for (size_t side = 0; side < plan_.sides; ++side)
            at[side] += now * plan_.pixelSize[side];
        count -= now;
    }
}

void RowBlender::BlendBlock(Pixels pixels, uint8_t* to, int64_t count) {
    const auto& [first, last] = extents_[0];
    const int64_t bytes = (count - 1) * plan_.pixelSize[0] + last - first + 1;
    const CompositeKernel kernel = plan_.rule == BlendRule::Mix ? kernels_->mix : kernels_->add;
    const uint8_t* d = d_.Bytes(pixels, count);
    const uint8_t* s = s_.Bytes(pixels, count);
    const uint8_t* m = m_.Bytes(pixels, count);
    kernel(to + first, d, s, m, keeps_ ? write_.data() : nullptr, bytes);
}

void RowBlender::BlendGrayBlock(Pixels pixels, uint8_t* to, int64_t count) {
    const uint8_t* d = d_.Bytes(pixels, count);
    const uint8_t* m = m_.Bytes(pixels, count);
    for (size_t i = 0; i < mixed_.size(); ++i)
        kernels_->mix(mixed_[i].data(), d, shades_[i].data(), m, nullptr, count);
    kernels_->luma(mixed_[0].data(), mixed_[0].data(), mixed_[1].data(), mixed_[2].data(), count);
    store_->Convert(mixed_[0].data(), to, count);
}

void RowBlender::BlendPixels(Pixels pixels, uint8_t* to, int64_t count) const {
    std::array<const uint8_t*, BlendPlan::kMostSides> at{};
    std::copy(pixels.begin(), pixels.end(), at.begin());
    for (; count > 0; --count) {
        std::array<uint8_t, BlendPlan::kMostChannels> made{};
        for (size_t i = 0; i < plan_.channelCount; ++i) {
            const BlendChannel& channel = plan_.channels[i];
            const uint8_t d = ValueOf(channel.d, at);
            const uint8_t s = ValueOf(channel.s, at);
            const uint8_t m = ValueOf(channel.m, at);
            made[i] = plan_.rule == BlendRule::Add ? AddRule::Apply(d, s, m) : MixRule::Apply(d, s, m);
        }
        if (plan_.rule == BlendRule::MixToGray) made.fill(BlendLuma(made[0], made[1], made[2]));
        for (size_t i = 0; i < plan_.channelCount; ++i)
            to[plan_.channels[i].to] = made[i];
        to += plan_.pixelSize[0];
        for (size_t side = 0; side < plan_.sides; ++side)
            at[side] += plan_.pixelSize[side];
    }
}

namespace {

/// One row of each side from its first pixel on.
struct BlendSpan {
    uint8_t* to = nullptr;
    std::array<const uint8_t*, BlendPlan::kMostSides> pixels{};
    std::array<StoreSpot, BlendPlan::kMostSides> spots{};

    BlendSpan(const BlendPlan& plan, const RowSet& rows, std::span<const BlendSide> sides) {
        to = rows.to + sides[0].x * plan.pixelSize[0];
        for (size_t side = 0; side < plan.sides; ++side) {
            const int64_t start = sides[side].x * plan.pixelSize[side];
            pixels[side] = (side == 0 ? rows.to : rows.from[side - 1]) + start;
            spots[side] = side == 0 ? rows.toSpot : rows.fromSpot[side - 1];
            spots[side].position += start;
        }
    }
};

/// Whether whole rows of all sides lie one behind the other.
bool AreOneRun(std::span<const BlendSide> sides, int64_t width) {
    return std::all_of(sides.begin(), sides.end(), [&](const BlendSide& side) {
        return side.x == 0 && side.image->Width == width && IsOneRun(*side.image);
    });
}

}  // namespace

void BlendRows(const BlendPlan& plan, RowSet& rows, std::span<const BlendSide> sides, int64_t destY,
               int64_t sourceY, int64_t width, int64_t height, bool yields) {
    if (width <= 0 || height <= 0) return;
    RowBlender blender(plan);
    if (AreOneRun(sides, width) && rows.Fetch(destY, sourceY)) {
        const BlendSpan all(plan, rows, sides);
        if (blender.BlendRun(all.to, all.pixels, all.spots, width * height)) return;
    }
    for (int64_t y = 0; y < height; ++y) {
        if (rows.Fetch(destY + y, sourceY + y)) {
            const BlendSpan row(plan, rows, sides);
            blender.Blend(row.to, row.pixels, row.spots, width);
        }
        if (yields) YieldIfWanted(*sides[0].image);
    }
}

}  // namespace trv
