#pragma once

// The horizontal pass: rows of the source, resampled to the requested width, into the temp.
//
// Rows are taken in blocks, so that the lanes of the kernels are rows: for each of the channels that the
// family reads, 16 rows or a multiple of it side by side. The bytes of a stretch of columns are transposed
// into lines of 16 rows, which makes every pixel layout alike; the results are transposed back into rows of
// MyPixel.

#include <array>
#include <cstdint>

#include "scale/exact.h"
#include "scale/pass_support.h"
#include "scale/row_kernels.h"
#include "scale/scale_task.h"

namespace trv {

class HorizontalPass {
  public:
    /// Prepares the pass over lists that the builders have filled. `contrib` must outlive it.
    HorizontalPass(const ScaleTask& task, const ContributionList* contrib);

    /// Does the rows from `first` to `last`, both included. With `yields` the host gets its time as the
    /// destination wants it. Several threads can do different rows of unmapped images, none of them with
    /// `yields`.
    void Run(int64_t first, int64_t last, bool yields) const;

  private:
    friend class HorizontalBlock;

    /// Bytes of a row that are transposed together: those of the channels within a pixel's size of each
    /// other.
    struct Span {
        int64_t base;    // of pixel 0, from the row's address
        int64_t extent;  // bytes from there to the end of its last channel
    };
    /// A distinct number that is formed for each pixel.
    struct Plane {
        SampleReader reader;
        std::array<int, 3> span;          // of the bytes it is made of; red, green, blue of luma
        std::array<int64_t, 3> position;  // of these bytes in the span
    };

    void FindPlanes();
    void FindSpans();
    [[nodiscard]] int AddSpan(int64_t offset, int64_t bytes);
    void RunPlain(int64_t first, int64_t last, bool yields) const;
    [[nodiscard]] bool YieldAfter(int64_t rows, bool yields) const;

    const ScaleTask task_;
    const ScaleShapes shapes_;
    const ContributionList* contrib_;
    const RowKernels* kernels_;
    TapTables tables_;
    std::array<int, kMostSlots> slotPlane_{};  // -1 for a slot that is 0
    std::array<Plane, kMostSlots> planes_{};
    int planeCount_ = 0;
    std::array<Span, kMostSlots> spans_{};
    int spanCount_ = 0;
};

}  // namespace trv
