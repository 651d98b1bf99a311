#pragma once

// The innermost work of the two passes: functions over pointers, steps and counts, without access to records,
// host or log, compiled once per instruction set from one body (row_kernels.inc).
//
// Both passes are the same sum. A window holds, for a stretch of positions (source columns in the horizontal
// pass, temp rows in the vertical one), the samples of many lanes (rows and channels of a column; bytes of a
// row) converted to T; each list is a weighted sum over positions, formed for all lanes at once. T is float
// for speed and double where float is too coarse. The sum is not the exact one: its weights are divided by
// the list's sum beforehand and its roundings differ. So every list carries a margin that bounds all of these
// differences, and a result that lies closer than that to the border between two values is reported as a
// doubt, for the caller to compute the exact way.
//
// Where the weights of a list are whole 128ths, as those of the box and the triangle at ratios of 2, 4 and 8,
// T is uint8_t: samples less 128, weights in 128ths, sums in 16 bits, nothing rounded and no doubts.

#include <cstdint>
#include <type_traits>

namespace trv {

/// Lanes come in groups; a window's lanes are a multiple of this.
inline constexpr int kGroupLanes = 16;
inline constexpr int kMostLanes = 128;
/// Sums longer than this are formed in pieces, which keeps their rounding error small.
inline constexpr int64_t kPieceTaps = 64;

/// One output column or row, ready for the kernels. `count` is at least 1.
template <class T>
struct TapList {
    int64_t first;     // position of the first tap
    int64_t count;     // taps, at consecutive positions
    const T* weights;  // weight / weightSum; in 128ths for uint8_t
    T bias;    // start of the sum: a half, for rounding, and what keeps a lattice of results off the borders
    T margin;  // doubt distance from the nearest integer: negative never, 1 always; for uint8_t 0 never
};

/// What sums of products are formed in.
template <class T>
using SumOf = std::conditional_t<sizeof(T) == 1, int16_t, T>;

/// Results of one group of lanes that need the exact computation.
struct Doubt {
    int32_t list;   // index into the job's lists
    int32_t group;  // group of lanes
    int32_t mask;   // bit k: lane k of the group
};

template <class T>
struct AccumulateJob {
    const T* window;  // [position - firstPosition][lane]
    int64_t firstPosition;
    int64_t endPosition;
    int64_t lanes;  // multiple of kGroupLanes, at most kMostLanes
    const TapList<T>* lists;
    int64_t listCount;
    SumOf<T>* open;       // [list][lane]: sums that reach beyond the window on either side
    uint8_t* const* out;  // [list]: where the lanes' results go
    Doubt* doubts;        // room for one per list and group
    int64_t doubtCount;   // doubts so far
};

/// What exists for each T. Windows are written and read unaligned.
template <class T>
struct SampleKernels {
    /// Converts `count` groups of 16 bytes, `step` bytes apart, to groups of 16 lanes, `windowStep` lanes
    /// apart.
    void (*unpackBytes)(const uint8_t* from, int64_t step, int64_t count, T* window, int64_t windowStep);
    /// The same for the luma of three groups each.
    void (*unpackLuma)(const uint8_t* red, const uint8_t* green, const uint8_t* blue, int64_t step,
                       int64_t count, T* window, int64_t windowStep);
    /// Adds the window's positions to the lists that have taps there. A list whose last tap is done has its
    /// bytes, the sums truncated and clamped, in `out`, and its doubts reported.
    void (*accumulateBytes)(AccumulateJob<T>& job);
};

/// What exists for weights in 128ths; all null for an instruction set without a product of bytes.
struct FixedKernels {
    SampleKernels<uint8_t> samples;  // without luma
    /// The weighted sum of whole rows: byte i of `out` is that of the bytes i of the rows, rounded. At
    /// most 32 taps, whose weights sum to 128. `out` overlaps no row.
    void (*blendRows)(const uint8_t* const* rows, const uint8_t* weights, int64_t taps, int64_t bytes,
                      uint8_t* out);
};

struct RowKernels {
    const char* name;
    SampleKernels<float> single;
    SampleKernels<double> wide;
    FixedKernels fixed;
    /// 16-bit samples, in doubles: groups of 16 words, or of 16 low bytes followed by 16 high bytes.
    void (*unpackWords)(const uint8_t* from, int64_t step, int64_t count, double* window, int64_t windowStep);
    void (*unpackSplitWords)(const uint8_t* from, int64_t step, int64_t count, double* window,
                             int64_t windowStep);
    /// As accumulateBytes with words as results, at two bytes a lane.
    void (*accumulateWords)(AccumulateJob<double>& job);
    /// Transposes blocks of 16 x 16 bytes: byte j of the 16 bytes at from[k] goes to byte k of the 16 bytes
    /// at to[j]. From block to block the pointers advance by the steps.
    void (*transpose)(const uint8_t* const* from, int64_t fromStep, uint8_t* const* to, int64_t toStep,
                      int64_t blocks);
};

/// The kernels of the instruction set in use; null for the plain form.
[[nodiscard]] const RowKernels* ActiveRowKernels();

extern const RowKernels kRowKernelsBaseline;
extern const RowKernels kRowKernelsAvx2;
extern const RowKernels kRowKernelsAvx512;

}  // namespace trv
