#pragma once

// The vertical pass: rows of the temp, resampled to the requested height, into the destination.
//
// The lanes of the kernels are the bytes (or words) of a strip of pixels; slots of MyPixel that are not
// stored anywhere are left out. The results of a strip are MyPixels again, and are moved into the
// destination's layout.

#include <array>
#include <cstdint>

#include "scale/pass_support.h"
#include "scale/row_kernels.h"
#include "scale/scale_task.h"
#include "spans/convert_span.h"

namespace trv {

class VerticalPass {
  public:
    /// Prepares the pass over lists that the builders have filled. `contrib` must outlive it.
    VerticalPass(const ScaleTask& task, const ContributionList* contrib);

    /// Does the destination rows from `first` to `last`, both included; the rest as in HorizontalPass::Run.
    void Run(int64_t first, int64_t last, bool yields) const;

  private:
    friend class VerticalStrips;
    friend class BlendedRow;

    void FindMoves();
    void RunPlain(int64_t first, int64_t last, bool yields) const;
    [[nodiscard]] bool YieldAfter(int64_t rows, bool yields) const;

    const ScaleTask task_;
    const ScaleShapes shapes_;
    const ContributionList* contrib_;
    const RowKernels* kernels_;
    TapTables tables_;
    int sampleBytes_ = 1;
    int usedCount_ = 0;                        // slots that are stored
    std::array<int, kMostSlots> usedSlots_{};  // ascending
    SpanConverter pack_;                       // MyPixel to the used slots side by side
    SpanConverter store_;                      // these to the destination's pixel
    SpanConverter unpack_;                     // MyPixel to the destination's pixel at once
    int64_t storeBase_ = 0;                    // lowest offset that is stored to
};

}  // namespace trv
