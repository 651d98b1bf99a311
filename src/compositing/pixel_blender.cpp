#include "compositing/pixel_blender.h"

#include <algorithm>
#include <cstring>

namespace trv {

namespace {

using Kind = BlendValue::Kind;

constexpr int64_t kPixelBytes = 4;
constexpr int64_t kPixelsInPicks = 4;
constexpr uint8_t kNone = 128;
constexpr size_t kGroupBytes = PixelBlend::kGroup * kPixelBytes;

/// The weights of a brightness by place from `first` on; false if two colours are one byte.
bool SetWeights(PixelOperand& operand, const BlendValue& value, int64_t first) {
    if (value.at == value.green || value.at == value.blue || value.green == value.blue) return false;
    operand.weights[value.at - first] = 77;
    operand.weights[value.green - first] = 151;
    operand.weights[value.blue - first] = 28;
    return true;
}

}  // namespace

std::optional<PixelBlender> PixelBlender::For(const BlendPlan& plan, const CompositeKernels& kernels) {
    std::optional<PixelBlender> blender;
    if (plan.rule == BlendRule::MixToGray || plan.pixelSize[0] != kPixelBytes) return blender;
    blender = PixelBlender();
    blender->kernel_ = plan.rule == BlendRule::Mix ? kernels.mixPixels : kernels.addPixels;
    if (blender->kernel_ == nullptr || !blender->Prepare(plan)) blender.reset();
    return blender;
}

bool PixelBlender::Prepare(const BlendPlan& plan) {
    toFirst_ = INT64_MAX;
    int64_t toLast = INT64_MIN;
    for (size_t i = 0; i < plan.channelCount; ++i) {
        toFirst_ = std::min(toFirst_, plan.channels[i].to);
        toLast = std::max(toLast, plan.channels[i].to);
    }
    toBytes_ = toLast - toFirst_ + 1;
    for (int64_t pixel = 0; pixel < kPixelsInPicks; ++pixel) {
        for (size_t i = 0; i < plan.channelCount; ++i)
            blend_.write[pixel * kPixelBytes + plan.channels[i].to - toFirst_] = 255;
    }
    reachesNext_ = toBytes_ < kPixelBytes;
    const bool all = PrepareOperand(0, plan, &BlendChannel::d) && PrepareOperand(1, plan, &BlendChannel::s) &&
                     PrepareOperand(2, plan, &BlendChannel::m);
    constexpr auto kConstant = PixelOperand::Kind::Constant;
    return all && (blend_.d.kind != kConstant || blend_.s.kind != kConstant);
}

bool PixelBlender::PrepareOperand(size_t number, const BlendPlan& plan, BlendValue BlendChannel::*column) {
    Reach& reach = reach_[number];
    int64_t last = INT64_MIN;
    const BlendValue* read = nullptr;
    for (size_t i = 0; i < plan.channelCount; ++i) {
        const BlendValue& value = plan.channels[i].*column;
        if (value.kind == Kind::Constant) continue;
        if (value.kind == Kind::Mean || (read != nullptr && value.kind != read->kind)) return false;
        if (read == nullptr) reach = {value.side, value.at, 0, plan.pixelSize[value.side]};
        read = &value;
        const auto reads = [&](int64_t offset) {
            reach.first = std::min(reach.first, offset);
            last = std::max(last, offset);
        };
        reads(value.at);
        if (value.kind == Kind::Luma) {
            reads(value.green);
            reads(value.blue);
        }
    }
    PixelOperand& operand = *Operands()[number];
    if (read != nullptr) {
        reach.bytes = last - reach.first + 1;
        reachesNext_ = reachesNext_ || reach.bytes < reach.step;
        if (reach.bytes > reach.step || !ChooseKind(operand, *read, reach, column == &BlendChannel::m))
            return false;
    }
    SetPicks(operand, plan, column, reach);
    return true;
}

bool PixelBlender::ChooseKind(PixelOperand& operand, const BlendValue& value, const Reach& reach,
                              bool isMask) {
    if (value.kind == Kind::Luma) {
        operand.kind = PixelOperand::Kind::Luma;
        return isMask && reach.step == kPixelBytes && SetWeights(operand, value, reach.first);
    }
    operand.kind = reach.step == 1 ? PixelOperand::Kind::Bytes : PixelOperand::Kind::Picked;
    return reach.step == kPixelBytes || (reach.step == 1 && isMask);
}

void PixelBlender::SetPicks(PixelOperand& operand, const BlendPlan& plan, BlendValue BlendChannel::*column,
                            const Reach& reach) const {
    std::fill(std::begin(operand.picks), std::end(operand.picks), kNone);
    bool straight = operand.kind == PixelOperand::Kind::Picked;
    for (int64_t pixel = 0; pixel < kPixelsInPicks; ++pixel) {
        for (size_t i = 0; i < plan.channelCount; ++i) {
            const BlendValue& value = plan.channels[i].*column;
            const int64_t place = pixel * kPixelBytes + plan.channels[i].to - toFirst_;
            if (value.kind == Kind::Constant) {
                operand.flips[place] = value.constant;
                straight = false;
                continue;
            }
            const bool isLuma = value.kind == Kind::Luma;
            const int64_t at = pixel * reach.step + (isLuma ? 1 : value.at - reach.first);
            operand.picks[place] = static_cast<uint8_t>(at);
            if (isLuma) operand.flips[place] = 128;
            straight = straight && at == place;
        }
    }
    if (straight) operand.kind = PixelOperand::Kind::Straight;
}

void PixelBlender::Blend(uint8_t* to, std::span<const uint8_t* const> pixels, int64_t count) {
    const auto operands = Operands();
    // What lies behind the last byte of the last pixel may be the end of the store.
    const int64_t groups = (reachesNext_ ? count - 1 : count) / PixelBlend::kGroup;
    const int64_t done = groups * PixelBlend::kGroup;
    for (size_t i = 0; i < kOperands; ++i)
        operands[i]->from = pixels[reach_[i].side] + reach_[i].first;
    kernel_(to + toFirst_, blend_, groups);
    if (done == count) return;
    for (size_t i = 0; i < kOperands; ++i)
        operands[i]->from += done * reach_[i].step;
    BlendLast(to + toFirst_ + done * kPixelBytes, count - done);
}

/// Less than a group, or one with an end of its own, by way of memory that has room for it.
void PixelBlender::BlendLast(uint8_t* to, int64_t count) {
    const auto operands = Operands();
    uint8_t blocks[kOperands][kGroupBytes] = {};
    uint8_t made[kGroupBytes] = {};
    for (size_t i = 0; i < kOperands; ++i) {
        if (reach_[i].bytes == 0) continue;
        const int64_t bytes = (count - 1) * reach_[i].step + reach_[i].bytes;
        std::memcpy(blocks[i], operands[i]->from, static_cast<size_t>(bytes));
        operands[i]->from = blocks[i];
    }
    const auto bytes = static_cast<size_t>((count - 1) * kPixelBytes + toBytes_);
    std::memcpy(made, to, bytes);
    kernel_(made, blend_, 1);
    std::memcpy(to, made, bytes);
}

}  // namespace trv
