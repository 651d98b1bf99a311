#include "filters/matrix_filter.h"

#include <algorithm>

#include "filters/filter_frame.h"
#include "filters/matrix_task.h"
#include "frame/host_arrays.h"
#include "frame/host_calls.h"

namespace trv {

namespace {

/// From this value on an entry is a hole.
constexpr int64_t kHole = 255;

/// The entries of a matrix as the host has them, zeros behind the last.
using Entries = std::array<int64_t, kMatrixEntries>;

Entries EntriesOf(HostObject array) {
    Entries entries{};
    if (array == nullptr) return entries;
    const auto count = std::min<int64_t>(host::RuntimeUBound(array), kMatrixEntries - 1) + 1;
    for (int64_t i = 0; i < count; ++i)
        entries[static_cast<size_t>(i)] = REALGetArrayInt(array, i);
    return entries;
}

/// The entries that add something.
class Taps {
  public:
    Taps(const Entries& entries, int64_t dimension) {
        if (dimension < 1) return;
        const int64_t reach = dimension / 2;
        const auto inMatrix = dimension < 50 ? static_cast<size_t>(dimension * dimension) : kMatrixEntries;
        for (size_t i = 0; i < inMatrix; ++i) {
            // Products are formed in 32 bits, so only these of the entry count.
            const auto weight = static_cast<int32_t>(static_cast<uint64_t>(entries[i]));
            if (entries[i] >= kHole || weight == 0) continue;
            const auto at = static_cast<int64_t>(i);
            taps_[count_++] = {at % dimension - reach, at / dimension - reach, weight};
        }
    }

    [[nodiscard]] std::span<const MatrixTap> All() const { return {taps_.data(), count_}; }

  private:
    std::array<MatrixTap, kMatrixEntries> taps_;
    size_t count_ = 0;
};

template <class F>
void ApplyFamily(PictureTRV& source, PictureTRV& dest, std::span<const MatrixTap> taps, int64_t delta,
                 double factor) {
    const MatrixTask task{source, dest, PlacesOf<F>(source), PlacesOf<F>(dest), taps, delta, factor};
    if (task.IsScaled()) {
        TRV_LOG((FamilyLabel<"PictureMatrix", F, "s">()));
    } else {
        TRV_LOG((FamilyLabel<"PictureMatrix", F>()));
    }
    if (!ApplyMatrixFast(task)) ApplyMatrixPlain(task);
}

}  // namespace

HostObject rbApplyMatrixScaled(HostObject me, HostObject dest, int64_t dimension, HostObject matrix,
                               int64_t delta, double scaleFactor) {
    PictureTRV& source = *RecordOf(me);
    TRV_LOG("PictureMatrix5");
    const Taps taps(EntriesOf(matrix), dimension);
    if (!IsValid(&source) || !HasByteSamples(source) || !StartImage(&source)) return nullptr;
    // Height for width and width for height: a new image is one for a turned picture.
    ObjectReference target = TakeDestination(source, dest, source.Height, source.Width);
    if (!target || !StartImage(RecordOf(target.Get()))) return nullptr;
    DispatchFamily(source, [&]<class F>(F) {
        ApplyFamily<F>(source, *RecordOf(target.Get()), taps.All(), delta, scaleFactor);
    });
    return target.Release();
}

HostObject rbApplyMatrixDelta(HostObject me, HostObject dest, int64_t dimension, HostObject matrix,
                              int64_t delta) {
    return rbApplyMatrixScaled(me, dest, dimension, matrix, delta, 1.0);
}

HostObject rbApplyMatrix(HostObject me, HostObject dest, int64_t dimension, HostObject matrix) {
    return rbApplyMatrixScaled(me, dest, dimension, matrix, 0, 1.0);
}

}  // namespace trv
