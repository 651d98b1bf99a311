// The matrix filter over images that do not share pixels: each source row is made lanes once and widened by
// its edges, so that every tap is a run of bytes in one of the rows at hand.

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "filters/matrix_kernels.h"
#include "filters/matrix_task.h"
#include "image/row_readers.h"
#include "image/store_overlap.h"

namespace trv {

namespace {

/// How far the taps reach, in pixels; both ends can lie on the same side.
struct Reach {
    int64_t first = 0;
    int64_t last = 0;
};

/// `distance` as far as it makes a difference in a picture of this size.
int64_t Within(int64_t distance, int64_t size) {
    return std::clamp(distance, 1 - size, size - 1);
}

template <class Distance>
Reach ReachOf(std::span<const MatrixTap> taps, int64_t size, const Distance& distance) {
    if (taps.empty()) return {};
    Reach reach{std::numeric_limits<int64_t>::max(), std::numeric_limits<int64_t>::min()};
    for (const MatrixTap& tap : taps) {
        reach.first = std::min(reach.first, Within(distance(tap), size));
        reach.last = std::max(reach.last, Within(distance(tap), size));
    }
    return reach;
}

/// The kernel for a task and the delta for it; no kernel if the sums could leave 32 bits.
struct Choice {
    MatrixKernels::Apply apply = nullptr;
    int32_t delta = 0;
};

Choice Choose(const MatrixTask& task, const MatrixKernels& kernels) {
    int64_t most = 0;  // what the sums can come to without delta
    bool bytes = true;
    for (const MatrixTap& tap : task.taps) {
        if (tap.weight < std::numeric_limits<int16_t>::min()) return {};
        most += std::abs(int64_t{tap.weight}) * 255;
        bytes = bytes && tap.weight >= -128 && tap.weight <= 127;
    }
    // Beyond these limits a delta makes all bytes 0 or all 255 just the same.
    const int64_t limit = most + 255;
    if (task.IsScaled() && (task.delta < -limit || task.delta > limit)) return {};
    const int64_t delta = std::clamp(task.delta, -limit, limit);
    const int64_t range = most + std::abs(delta);
    if (range > std::numeric_limits<int32_t>::max()) return {};
    const bool narrow = kernels.narrow != nullptr && bytes && range <= std::numeric_limits<int16_t>::max();
    const auto apply = narrow ? (task.IsScaled() ? kernels.narrowScaled : kernels.narrow)
                              : (task.IsScaled() ? kernels.wideScaled : kernels.wide);
    return {apply, static_cast<int32_t>(delta)};
}

class FastMatrix {
  public:
    explicit FastMatrix(const MatrixTask& task)
        : task_(task),
          written_(task.Written()),
          across_(ReachOf(task.taps, task.source.Width, [](const MatrixTap& tap) { return tap.right; })),
          down_(ReachOf(task.taps, task.source.Height, [](const MatrixTap& tap) { return tap.below; })),
          plan_(ChooseLanes(task.sourcePlaces, task.destPlaces,
                            static_cast<int64_t>(task.destPlaces.channels))),
          // Each row is used where it was copied to.
          reader_(task.sourcePlaces, plan_, task.source.Width, false),
          to_(task.destPlaces, plan_, written_.width),
          rows_(down_.last - down_.first + 1),
          left_(std::max<int64_t>(-across_.first, 0) * plan_.lanes),
          inside_(task.source.Width * plan_.lanes),
          rowBytes_(left_ + inside_ + std::max<int64_t>(across_.last, 0) * plan_.lanes + kMatrixSlack),
          store_(MakeZeroedBytes(rows_ * rowBytes_)) {}

    /// False without memory.
    [[nodiscard]] explicit operator bool() const { return reader_ && to_ && store_ != nullptr; }

    void Run(const Choice& choice) {
        const auto pairs = static_cast<int64_t>(task_.taps.size() + 1) / 2;
        for (size_t i = 0; i < task_.taps.size(); ++i)
            weights_[i] = static_cast<int16_t>(task_.taps[i].weight);
        nextRow_ = SourceRow(down_.first);
        for (int64_t y = 0; y < written_.height; ++y) {
            while (nextRow_ <= SourceRow(y + down_.last))
                LoadRow(nextRow_++);
            PointAtSamples(y);
            uint8_t* row = FetchRow(task_.dest, y);
            choice.apply({samples_.data(), weights_.data(), pairs, choice.delta, task_.factor, to_.Lanes(row),
                          written_.width * plan_.lanes});
            to_.Write(row);
        }
    }

  private:
    [[nodiscard]] int64_t SourceRow(int64_t y) const {
        return std::clamp<int64_t>(y, 0, task_.source.Height - 1);
    }

    /// The first pixel of a row that was loaded.
    [[nodiscard]] uint8_t* Pixels(int64_t sourceRow) const {
        return store_.get() + sourceRow % rows_ * rowBytes_ + left_;
    }

    void LoadRow(int64_t sourceRow) {
        uint8_t* pixels = Pixels(sourceRow);
        std::memcpy(pixels, reader_.Read(FetchRow(task_.source, sourceRow)), static_cast<size_t>(inside_));
        const int64_t lanes = plan_.lanes;
        const auto pixel = static_cast<size_t>(lanes);
        for (int64_t at = -lanes; at >= -left_; at -= lanes)
            std::memcpy(pixels + at, pixels, pixel);
        const int64_t end = inside_ + std::max<int64_t>(across_.last, 0) * lanes;
        for (int64_t at = inside_; at < end; at += lanes)
            std::memcpy(pixels + at, pixels + inside_ - lanes, pixel);
    }

    void PointAtSamples(int64_t y) {
        size_t i = 0;
        for (const MatrixTap& tap : task_.taps) {
            const int64_t row = SourceRow(y + Within(tap.below, task_.source.Height));
            samples_[i++] = Pixels(row) + Within(tap.right, task_.source.Width) * plan_.lanes;
        }
        // The partner of the last one, with a weight of 0.
        if (i % 2 == 1) samples_[i] = samples_[i - 1];
    }

    const MatrixTask& task_;
    const Rectangle written_;
    const Reach across_;
    const Reach down_;
    const LanePlan plan_;
    LaneReader reader_;
    LaneWriter to_;
    const int64_t rows_;  // that are held at a time
    const int64_t left_;  // bytes in front of a row's first pixel
    const int64_t inside_;
    const int64_t rowBytes_;
    ZeroedBytes store_;
    int64_t nextRow_ = 0;
    std::array<const uint8_t*, kMatrixEntries> samples_{};
    std::array<int16_t, kMatrixEntries> weights_{};
};

}  // namespace

bool ApplyMatrixFast(const MatrixTask& task) {
    const MatrixKernels* kernels = ActiveMatrixKernels();
    if (kernels == nullptr || task.Written().IsEmpty() || !task.destPlaces.AreApart() ||
        OrderMatters(task.source, task.dest)) {
        return false;
    }
    const Choice choice = Choose(task, *kernels);
    if (choice.apply == nullptr) return false;
    FastMatrix matrix(task);
    if (!matrix) return false;
    matrix.Run(choice);
    return true;
}

}  // namespace trv
