// The box blur over images that do not share pixels. Both passes are done row by row, one right behind the
// other, so that a row is blurred along while it is still near; sums are kept in lanes.

#include <algorithm>
#include <bit>
#include <cstring>

#include "filters/blur_kernels.h"
#include "filters/box_blur_task.h"
#include "image/checked_math.h"
#include "image/row_readers.h"
#include "image/store_overlap.h"

namespace trv {

namespace {

/// Up to this radius the sum of a window's bytes fits 16 bits.
constexpr int64_t kMostNarrowRadius = 128;

template <class Sum, class Division>
class FastBlur {
  public:
    FastBlur(const BoxBlurTask& task, const SumKernels<Sum, Division>& kernels, const Division& division)
        : task_(task),
          written_(task.Written()),
          kernels_(kernels),
          division_(division),
          plan_(ChooseLanes(task.sourcePlaces, task.destPlaces, LanesFor(task.sourcePlaces.channels))),
          lanes_(SaturatedMultiply(written_.width, plan_.lanes)),
          rowPixels_(task.RowPixels()),
          // Of a mapped image one row can go when another one comes.
          in_(task.sourcePlaces, plan_, rowPixels_, task.source.IsMapping != 0),
          out_(task.sourcePlaces, plan_, rowPixels_, task.source.IsMapping != 0),
          to_(task.destPlaces, plan_, written_.width) {}

    /// False without memory.
    [[nodiscard]] bool Allocate() {
        const int64_t sums = RaisedToMultiple(lanes_, kSumBlock);
        sums_ = MakeZeroedBytes(SaturatedMultiply(sums, sizeof(Sum)));
        const int64_t edges = 2 * (task_.radius + 1) * plan_.lanes;
        row_ = MakeZeroedBytes(SaturatedAdd(SaturatedMultiply(rowPixels_, plan_.lanes), edges + kSumBlock));
        return sums_ != nullptr && row_ != nullptr && in_ && out_ && to_;
    }

    void Run() {
        if (task_.vertical) AddFirstWindow();
        for (int64_t y = 0; y < written_.height; ++y) {
            if (!task_.vertical && !ReadRow(y)) continue;
            uint8_t* row = FetchRow(task_.dest, y);
            if (task_.vertical) SlideDown(y, task_.horizontal ? Row() : to_.Lanes(row));
            if (task_.horizontal) SlideAlong(to_.Lanes(row));
            to_.Write(row);
        }
    }

  private:
    /// The next power of two: the kernels for rows work with whole pixels in a vector.
    static int64_t LanesFor(size_t channels) { return static_cast<int64_t>(std::bit_ceil(channels)); }

    [[nodiscard]] Sum* Sums() const { return reinterpret_cast<Sum*>(sums_.get()); }

    /// The lanes of the row to be blurred along, with room on both sides for the edges.
    [[nodiscard]] uint8_t* Row() const { return row_.get() + (task_.radius + 1) * plan_.lanes; }

    void AddFirstWindow() {
        const int64_t height = task_.source.Height;
        for (int64_t y = 0; y <= std::min(task_.radius, height - 1); ++y) {
            const auto times = static_cast<Sum>(TimesInFirstWindow(y, height, task_.radius));
            kernels_.add(in_.Read(FetchRow(task_.source, y)), times, Sums(), lanes_);
        }
    }

    /// Writes the means of row `y` and moves the window on.
    void SlideDown(int64_t y, uint8_t* means) {
        const int64_t last = task_.source.Height - 1;
        const uint8_t* in = in_.Read(FetchRow(task_.source, std::min(y + task_.radius + 1, last)));
        const uint8_t* out = out_.Read(FetchRow(task_.source, std::max<int64_t>(y - task_.radius, 0)));
        kernels_.meansAndSlide(Sums(), in, out, means, lanes_, division_);
    }

    [[nodiscard]] bool ReadRow(int64_t y) {
        const uint8_t* row = FetchRow(task_.source, y);
        if (row == nullptr) return false;
        std::memcpy(Row(), in_.Read(row), static_cast<size_t>(rowPixels_ * plan_.lanes));
        return true;
    }

    void SlideAlong(uint8_t* means) {
        RepeatEdges();
        const int64_t reach = task_.radius * plan_.lanes;
        // The window of the pixel before the first one.
        Sum before[8]{};
        for (const uint8_t* from = Row() - reach - plan_.lanes; from < Row() + reach; from += plan_.lanes) {
            for (int64_t lane = 0; lane < plan_.lanes; ++lane)
                before[lane] = static_cast<Sum>(before[lane] + from[lane]);
        }
        const auto slide =
            kernels_.slide[static_cast<size_t>(std::countr_zero(static_cast<uint64_t>(plan_.lanes)))];
        slide(before, Row() + reach, Row() - reach - plan_.lanes, means, lanes_, division_);
    }

    void RepeatEdges() {
        const int64_t room = (task_.radius + 1) * plan_.lanes;
        uint8_t* end = Row() + rowPixels_ * plan_.lanes;
        Repeat(Row(), Row() - room, room);
        Repeat(end - plan_.lanes, end, room);
    }

    /// Fills `bytes` bytes with one pixel.
    void Repeat(const uint8_t* pixel, uint8_t* to, int64_t bytes) const {
        std::memcpy(to, pixel, static_cast<size_t>(plan_.lanes));
        for (int64_t done = plan_.lanes; done < bytes; done *= 2)
            std::memcpy(to + done, to, static_cast<size_t>(std::min(done, bytes - done)));
    }

    const BoxBlurTask& task_;
    const Rectangle written_;
    const SumKernels<Sum, Division>& kernels_;
    const Division division_;
    const LanePlan plan_;
    const int64_t lanes_;      // that are written in a row
    const int64_t rowPixels_;  // that are read in a row
    LaneReader in_;
    LaneReader out_;
    LaneWriter to_;
    ZeroedBytes sums_;
    ZeroedBytes row_;
};

template <class Sum, class Division>
void Blur(const BoxBlurTask& task, const SumKernels<Sum, Division>& kernels, const Division& division) {
    FastBlur<Sum, Division> blur(task, kernels, division);
    if (blur.Allocate()) blur.Run();
}

}  // namespace

bool BoxBlurFast(const BoxBlurTask& task) {
    if (!task.vertical && !task.horizontal) return false;
    const BlurKernels* kernels = ActiveBlurKernels();
    if (kernels == nullptr || task.Written().IsEmpty() || !task.destPlaces.AreApart() ||
        OrderMatters(task.source, task.dest)) {
        return false;
    }
    if (task.radius <= kMostNarrowRadius) {
        Blur(task, kernels->narrow, NarrowDivision::By(task.divisor));
        return true;
    }
    const auto division = WideDivision::By(task.divisor);
    if (division) Blur(task, kernels->wide, *division);
    return division.has_value();
}

}  // namespace trv
