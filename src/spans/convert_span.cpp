#include "spans/convert_span.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <span>
#include <utility>

namespace trv {

namespace {

constexpr int64_t kGroupBytes = 16;
constexpr int64_t kLumaPixels = 32;

bool Overlap(const uint8_t* a, const uint8_t* aEnd, const uint8_t* b, const uint8_t* bEnd) {
    return std::less<>()(a, bEnd) && std::less<>()(b, aEnd);
}

}  // namespace

void SpanConverter::Add(const ByteRule& rule) {
    rules_[count_++] = rule;
}

void SpanConverter::Prepare() {
    if (count_ == 0) return;
    fromFirst_ = toFirst_ = INT64_MAX;
    fromLast_ = toLast_ = INT64_MIN;
    const auto reads = [&](int64_t offset) {
        fromFirst_ = std::min(fromFirst_, offset);
        fromLast_ = std::max(fromLast_, offset);
    };
    for (const ByteRule& rule : std::span(rules_, static_cast<size_t>(count_))) {
        toFirst_ = std::min(toFirst_, rule.to);
        toLast_ = std::max(toLast_, rule.to);
        reads(rule.kind == ByteRule::Kind::Zero ? rules_[0].from : rule.from);
        if (rule.kind == ByteRule::Kind::Luma) {
            reads(rule.green);
            reads(rule.blue);
        }
    }
    // Candidates in order of speed; the plain way takes everything.
    if (IsMove()) {
        method_ = Method::Move;
    } else if (ActiveSpanKernels() == nullptr) {
        method_ = Method::Plain;
    } else if (PrepareSpread()) {
        method_ = Method::Spread;
    } else if (PrepareShuffle()) {
        method_ = Method::Shuffle;
    } else if (PrepareLuma()) {
        method_ = Method::Luma;
    }
}

/// Every byte of a pixel goes to the same place.
bool SpanConverter::IsMove() const {
    if (fromStep_ != toStep_ || count_ != toStep_ || toLast_ - toFirst_ >= toStep_) return false;
    const uint64_t all = (uint64_t{1} << count_) - 1;
    uint64_t written = 0;
    for (int i = 0; i < count_; ++i) {
        if (rules_[i].kind != ByteRule::Kind::Copy || rules_[i].to - toFirst_ != rules_[i].from - fromFirst_)
            return false;
        written |= uint64_t{1} << (rules_[i].to - toFirst_);
    }
    return written == all;
}

/// Fills in how `bytes` bytes of the destination from `firstByte` on are made; false if one is not picked
/// from one byte.
bool SpanConverter::FillShuffle(ByteShuffle& shuffle, int64_t firstByte, int64_t bytes) const {
    shuffle = {};
    for (int64_t at = 0; at < bytes; ++at) {
        const int64_t pixel = (firstByte + at) / toStep_;
        for (const ByteRule& rule : std::span(rules_, static_cast<size_t>(count_))) {
            if (rule.kind == ByteRule::Kind::Luma) return false;
            if (rule.to - toFirst_ != (firstByte + at) % toStep_) continue;
            const int64_t from = pixel * fromStep_ + rule.from - fromFirst_;
            shuffle.from[at] = rule.kind == ByteRule::Kind::Zero ? 128 : static_cast<uint8_t>(from);
            shuffle.flip[at] = rule.kind == ByteRule::Kind::Complement ? 255 : 0;
            shuffle.write[at] = 255;
        }
    }
    shuffle.writesAll =
        std::all_of(shuffle.write, shuffle.write + bytes, [](uint8_t write) { return write != 0; });
    return true;
}

/// Pixels of one byte become pixels of several, 16 at a time.
bool SpanConverter::PrepareSpread() {
    if (fromStep_ != 1 || toStep_ < 2 || toStep_ > kMostParts) return false;
    if (fromLast_ != fromFirst_ || toLast_ - toFirst_ >= toStep_) return false;
    groupPixels_ = groupReads_ = kGroupBytes;
    groupWrites_ = kGroupBytes * toStep_;
    for (int64_t part = 0; part < toStep_; ++part) {
        if (!FillShuffle(shuffles_[part], part * kGroupBytes, kGroupBytes)) return false;
    }
    return true;
}

/// Bytes are picked, each on its own, within pixels that fit a vector together.
bool SpanConverter::PrepareShuffle() {
    if (fromLast_ - fromFirst_ >= fromStep_ || toLast_ - toFirst_ >= toStep_) return false;
    if (std::max(fromStep_, toStep_) > kGroupBytes / 2) return false;
    groupPixels_ = kGroupBytes / std::max(fromStep_, toStep_);
    groupReads_ = groupWrites_ = kGroupBytes;
    if (!FillShuffle(shuffles_[0], 0, groupPixels_ * toStep_)) return false;
    shuffles_[0].fromBytes = groupPixels_ * fromStep_;
    shuffles_[0].toBytes = groupPixels_ * toStep_;
    return true;
}

/// One brightness a pixel, from pixels of 3 or 4 bytes into single bytes.
bool SpanConverter::PrepareLuma() {
    const ByteRule& rule = rules_[0];
    if (count_ != 1 || rule.kind != ByteRule::Kind::Luma || toStep_ != 1) return false;
    if (fromStep_ != 3 && fromStep_ != 4) return false;
    if (fromLast_ - fromFirst_ >= fromStep_) return false;
    groupPixels_ = groupWrites_ = kLumaPixels;
    groupReads_ = kLumaPixels * fromStep_;
    std::fill(std::begin(weights_), std::end(weights_), uint8_t{0});
    for (const auto& [offset, weight] : {std::pair{rule.from, 77}, {rule.green, 151}, {rule.blue, 28}}) {
        // Of one byte taken for all three the weights are 256, which is one too many for a byte.
        const int sum = weights_[offset - fromFirst_] + weight;
        if (sum > 255) return false;
        weights_[offset - fromFirst_] = static_cast<uint8_t>(sum);
    }
    return true;
}

void SpanConverter::Convert(const uint8_t* from, uint8_t* to, int64_t count) const {
    if (count <= 0 || count_ == 0) return;
    const uint8_t* fromStart = from + fromFirst_;
    const uint8_t* toStart = to + toFirst_;
    const bool overlap = Overlap(fromStart, from + (count - 1) * fromStep_ + fromLast_ + 1, toStart,
                                 to + (count - 1) * toStep_ + toLast_ + 1);
    if (overlap || method_ == Method::Plain) {
        ConvertInOrder(from, to, count);
    } else if (method_ == Method::Move) {
        std::memcpy(to + toFirst_, fromStart, static_cast<size_t>(count * toStep_));
    } else {
        const int64_t done = Groups(from, to, count);
        ConvertInOrder(from + done * fromStep_, to + done * toStep_, count - done);
    }
}

void SpanConverter::RunKernel(const uint8_t* from, uint8_t* to, int64_t groups) const {
    const SpanKernels& kernels = *ActiveSpanKernels();
    from += fromFirst_;
    to += toFirst_;
    if (method_ == Method::Luma) {
        kernels.luma(from, fromStep_, to, groups, weights_);
    } else if (method_ == Method::Spread) {
        kernels.spread(from, to, groups, shuffles_, static_cast<int>(toStep_));
    } else {
        kernels.shuffle(from, to, groups, shuffles_[0]);
    }
}

/// Runs the kernel over as many groups as stay inside the runs with all that they touch; how many of the
/// pixels from the first on are done then.
int64_t SpanConverter::Groups(const uint8_t* from, uint8_t* to, int64_t count) const {
    const int64_t fromRoom = (count - 1) * fromStep_ + fromLast_ - fromFirst_ + 1;
    const int64_t toRoom = (count - 1) * toStep_ + toLast_ - toFirst_ + 1;
    if (fromRoom < groupReads_ || toRoom < groupWrites_) return 0;
    // The last pixel at which a group can start.
    const int64_t last = std::min((fromRoom - groupReads_) / fromStep_, (toRoom - groupWrites_) / toStep_);
    const int64_t groups = last / groupPixels_ + 1;
    RunKernel(from, to, groups);
    int64_t done = groups * groupPixels_;
    // One more, over pixels that are done in part already, spares the plain way most of what is left. Pixels
    // whose bytes are all written may have been half overwritten by the group before.
    if (last + groupPixels_ > done) {
        RunKernel(from + last * fromStep_, to + last * toStep_, 1);
        done = last + groupPixels_;
    }
    return std::min(done, count);
}

void SpanConverter::ConvertInOrder(const uint8_t* from, uint8_t* to, int64_t count) const {
    for (; count > 0; --count, from += fromStep_, to += toStep_) {
        for (int i = 0; i < count_; ++i) {
            const ByteRule& rule = rules_[i];
            const uint32_t value = from[rule.from];
            switch (rule.kind) {
                case ByteRule::Kind::Copy:
                    to[rule.to] = static_cast<uint8_t>(value);
                    break;
                case ByteRule::Kind::Complement:
                    to[rule.to] = static_cast<uint8_t>(255 - value);
                    break;
                case ByteRule::Kind::Zero:
                    to[rule.to] = 0;
                    break;
                case ByteRule::Kind::Luma:
                    to[rule.to] = static_cast<uint8_t>(
                        (77 * value + 151 * from[rule.green] + 28 * from[rule.blue]) >> 8);
                    break;
            }
        }
    }
}

}  // namespace trv
