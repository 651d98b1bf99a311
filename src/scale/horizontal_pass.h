#pragma once

// The horizontal pass: rows of the source, resampled to the requested width, into the temp.
//
// Rows are taken in blocks, so that the lanes of the kernels are rows: for each of the channels that the
// family reads, 16 rows or a multiple of it side by side. The bytes of a stretch of columns are transposed
// into lines of 16 rows, which makes every pixel layout alike; the results are transposed back into rows of
// MyPixel.

#include <array>
#include <cstdint>
#include <memory>

#include "scale/exact.h"
#include "scale/pass_support.h"
#include "scale/row_kernels.h"
#include "scale/scale_task.h"

namespace trv {

class HorizontalPass final : public RowPass {
  public:
    /// Prepares the pass over lists that the builders have filled. `contrib` must outlive it.
    HorizontalPass(const ScaleTask& task, const ContributionList* contrib);

    /// Does rows of the source.
    void Run(int64_t first, int64_t last, bool yields) const override;

    /// Whether the vector kernels can do it.
    [[nodiscard]] bool IsFast() const;
    /// Rows that a fast pass does together; fewer of mapped images.
    [[nodiscard]] int64_t BlockRows() const;

  private:
    friend class HorizontalBlock;
    friend class HorizontalRows;

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

class HorizontalBlock;

/// A fast horizontal pass at work on one thread.
class HorizontalRows {
  public:
    /// Rows go into `temp`, which is the task's own or has its shape. Both must outlive it.
    HorizontalRows(const HorizontalPass& pass, PictureTRV& temp);
    ~HorizontalRows();

    /// Whether there is memory to work with.
    [[nodiscard]] bool Ok() const;
    /// As HorizontalPass::Run. False, with rows left undone, if the host has made other images of the records
    /// meanwhile.
    [[nodiscard]] bool Do(int64_t first, int64_t last, bool yields);

  private:
    const HorizontalPass& pass_;
    std::unique_ptr<HorizontalBlock> block_;
    bool useWide_;
};

}  // namespace trv
