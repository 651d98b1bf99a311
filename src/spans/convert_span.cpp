#include "spans/convert_span.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <span>
#include <utility>

namespace trv {

namespace {

constexpr int64_t kGroupBytes = 16;
constexpr int64_t kLumaPixels = 8;

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

/// Bytes are picked, each on its own, within pixels that fit a vector together.
bool SpanConverter::PrepareShuffle() {
    if (fromLast_ - fromFirst_ >= fromStep_ || toLast_ - toFirst_ >= toStep_) return false;
    if (std::max(fromStep_, toStep_) > kGroupBytes / 2) return false;
    groupPixels_ = kGroupBytes / std::max(fromStep_, toStep_);
    shuffle_ = {};
    shuffle_.fromBytes = groupPixels_ * fromStep_;
    shuffle_.toBytes = groupPixels_ * toStep_;
    for (int64_t pixel = 0; pixel < groupPixels_; ++pixel) {
        for (int i = 0; i < count_; ++i) {
            const ByteRule& rule = rules_[i];
            if (rule.kind == ByteRule::Kind::Luma) return false;
            const int64_t to = pixel * toStep_ + rule.to - toFirst_;
            const int64_t from = pixel * fromStep_ + rule.from - fromFirst_;
            shuffle_.from[to] = rule.kind == ByteRule::Kind::Zero ? 128 : static_cast<uint8_t>(from);
            shuffle_.flip[to] = rule.kind == ByteRule::Kind::Complement ? 255 : 0;
            shuffle_.write[to] = 255;
        }
    }
    shuffle_.writesAll = std::all_of(shuffle_.write, shuffle_.write + shuffle_.toBytes,
                                     [](uint8_t write) { return write != 0; });
    return true;
}

/// One brightness a pixel, from pixels of 3 or 4 bytes into single bytes.
bool SpanConverter::PrepareLuma() {
    const ByteRule& rule = rules_[0];
    if (count_ != 1 || rule.kind != ByteRule::Kind::Luma || toStep_ != 1) return false;
    if (fromStep_ != 3 && fromStep_ != 4) return false;
    if (fromLast_ - fromFirst_ >= fromStep_) return false;
    groupPixels_ = kLumaPixels;
    std::fill(std::begin(weights_), std::end(weights_), int16_t{0});
    for (const auto& [offset, weight] : {std::pair{rule.from, 77}, {rule.green, 151}, {rule.blue, 28}}) {
        weights_[offset - fromFirst_] = static_cast<int16_t>(weights_[offset - fromFirst_] + weight);
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
        Plain(from, to, count);
    } else if (method_ == Method::Move) {
        std::memcpy(to + toFirst_, fromStart, static_cast<size_t>(count * toStep_));
    } else {
        const int64_t done = Groups(from, to, count) * groupPixels_;
        Plain(from + done * fromStep_, to + done * toStep_, count - done);
    }
}

/// Runs the kernel over as many groups as leave 16 bytes of room inside the runs at each; how many that were.
int64_t SpanConverter::Groups(const uint8_t* from, uint8_t* to, int64_t count) const {
    const int64_t fromRoom = (count - 1) * fromStep_ + fromLast_ - fromFirst_ + 1;
    const int64_t toRoom = (count - 1) * toStep_ + toLast_ - toFirst_ + 1;
    const auto fitting = [](int64_t room, int64_t bytesTouched, int64_t bytesPerGroup) {
        return room < bytesTouched ? 0 : (room - bytesTouched) / bytesPerGroup + 1;
    };
    const SpanKernels& kernels = *ActiveSpanKernels();
    if (method_ == Method::Luma) {
        const int64_t touched =
            4 * fromStep_ + kGroupBytes;  // the second half of a group reads 16 bytes as well
        const int64_t groups = std::min(fitting(fromRoom, touched, kLumaPixels * fromStep_),
                                        fitting(toRoom, kLumaPixels, kLumaPixels));
        kernels.luma(from + fromFirst_, fromStep_, to + toFirst_, groups, weights_);
        return groups;
    }
    const int64_t groups = std::min(fitting(fromRoom, kGroupBytes, shuffle_.fromBytes),
                                    fitting(toRoom, kGroupBytes, shuffle_.toBytes));
    kernels.shuffle(from + fromFirst_, to + toFirst_, groups, shuffle_);
    return groups;
}

void SpanConverter::Plain(const uint8_t* from, uint8_t* to, int64_t count) const {
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
