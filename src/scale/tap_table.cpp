#include "scale/tap_table.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "platform/memory.h"

namespace trv {

namespace {

/// Largest sum of absolute weights over weight sum that counts as regular, and largest useful margin.
constexpr double kMostGain = 64.0;
constexpr double kMostMargin = 1.0 / 32.0;
/// Most steps of a lattice between 0 and 1.
constexpr double kMostLattice = 65536.0;

/// Taps of a list per piece that it is summed up in, at the least: pieces end after kPieceTaps taps and at
/// the borders of windows, which have 24 positions or more.
constexpr double kShortestPiece = 16.0;

/// Half a unit in the last place of a number just below 1: the relative error of one operation.
template <class T>
constexpr double kRounding = std::numeric_limits<T>::epsilon() / 2.0;

/// Sums of a list's weights over the weight sum, as they bound the partial sums of samples.
struct Gain {
    double absolute = 0.0;  // of all absolute weights
    double largest = 0.0;   // the larger of the positive and the negative ones
    double partial = 0.0;   // over all taps: the largest sum that a piece ending there can have
};

Gain MeasureGain(const ContributionList& list) {
    const double scale = 1.0 / static_cast<double>(list.weightSum);
    const auto share = [&](int64_t k, double sign) {
        return std::max(0.0, sign * static_cast<double>(list.entries[k].weight)) * scale;
    };
    Gain gain;
    double positive = 0.0;
    double negative = 0.0;
    double positivePiece = 0.0;
    double negativePiece = 0.0;
    for (int64_t k = 0; k < list.count; ++k) {
        positive += share(k, 1.0);
        negative += share(k, -1.0);
        positivePiece += share(k, 1.0);
        negativePiece += share(k, -1.0);
        if (k >= kPieceTaps) {
            positivePiece -= share(k - kPieceTaps, 1.0);
            negativePiece -= share(k - kPieceTaps, -1.0);
        }
        gain.partial += std::max(positivePiece, negativePiece);
    }
    gain.absolute = positive + negative;
    gain.largest = std::max(positive, negative);
    return gain;
}

/// Bound of the difference between the kernels' number and the exact one. Of the kernels: the weights'
/// rounding, the luma's, the products' (where there is no fused operation), each addition within a piece,
/// each piece's addition; a window's border can split a list into two pieces more. Of the exact form: one
/// rounding per tap, a few at the end.
template <class T>
double MarginOf(const ContributionList& list, const Gain& gain, SampleRange range) {
    const double most = range.maxValue;
    const double taps = static_cast<double>(list.count);
    const double once = most * gain.absolute;
    const double kernels = once * (range.luma ? 6.0 : 2.0) + most * gain.partial +
                           (taps / kShortestPiece + 4.0) * (1.5 + most * gain.largest);
    const double exact = (taps + 8.0) * (once + 1.0);
    return 1.01 * (kRounding<T> * (kernels + 2.0) + kRounding<double> * exact);
}

/// Exponent of the lowest bit that is set in a positive or negative number.
int LowestBit(float value) {
    int exponent = 0;
    const double mantissa = std::frexp(static_cast<double>(std::abs(value)), &exponent);
    const auto bits = static_cast<uint64_t>(std::ldexp(mantissa, 24));
    return exponent - 24 + __builtin_ctzll(bits);
}

/// Steps of the list's lattice between 0 and 1, or 0 if it has none worth the name.
double LatticeOf(const ContributionList& list) {
    int lowest = LowestBit(list.weightSum);
    for (int64_t k = 0; k < list.count; ++k) {
        if (list.entries[k].weight != 0.0F) lowest = std::min(lowest, LowestBit(list.entries[k].weight));
        if (std::ldexp(static_cast<double>(list.weightSum), -lowest) > kMostLattice) return 0.0;
    }
    return std::ldexp(static_cast<double>(list.weightSum), -lowest);
}

bool HasUsableSum(const ContributionList& list) {
    return list.count > 0 && std::isfinite(list.weightSum) &&
           list.weightSum > std::numeric_limits<float>::min();
}

/// The list's weights, spread over its consecutive taps; the rest stay 0.
template <class T>
void FillWeights(const ContributionList& from, int64_t first, T* weights) {
    const double sum = static_cast<double>(from.weightSum);
    for (int64_t k = 0; k < from.count; ++k) {
        weights[from.entries[k].pixel - first] =
            static_cast<T>(static_cast<double>(from.entries[k].weight) / sum);
    }
}

/// Bias and margin of a list.
template <class T>
void Judge(const ContributionList& from, SampleRange range, TapList<T>& list) {
    list.bias = static_cast<T>(0.5);
    list.margin = T{1};
    if (!HasUsableSum(from)) return;
    const Gain gain = MeasureGain(from);
    if (!(gain.absolute <= kMostGain)) return;
    const double margin = MarginOf<T>(from, gain, range);
    const double lattice = range.luma ? 0.0 : LatticeOf(from);
    if (lattice > 0.0 && margin < 0.25 / lattice) {
        list.bias = static_cast<T>(0.5 + 0.25 / lattice);
        list.margin = T{-1};
    } else if (margin <= kMostMargin) {
        list.margin = static_cast<T>(margin);
    }
}

/// Steps of a lattice that weights in bytes can hold.
constexpr double kFixedSteps = 128.0;

template <>
void FillWeights(const ContributionList& from, int64_t first, uint8_t* weights) {
    const double sum = static_cast<double>(from.weightSum);
    for (int64_t k = 0; k < from.count; ++k) {
        weights[from.entries[k].pixel - first] =
            static_cast<uint8_t>(static_cast<double>(from.entries[k].weight) * kFixedSteps / sum);
    }
}

/// Whether every weight is a whole number of steps, and all of them add up.
template <>
void Judge(const ContributionList& from, SampleRange /*range*/, TapList<uint8_t>& list) {
    list.margin = 1;
    if (!HasUsableSum(from) || LatticeOf(from) == 0.0) return;
    const double sum = static_cast<double>(from.weightSum);
    double total = 0.0;
    for (int64_t k = 0; k < from.count; ++k) {
        const double weight = static_cast<double>(from.entries[k].weight);
        const double steps = std::floor(weight * kFixedSteps / sum);
        // Exact: the products have few enough bits.
        if (weight < 0.0 || steps * sum != weight * kFixedSteps) return;
        total += steps;
    }
    if (total == kFixedSteps) list.margin = 0;
}

}  // namespace

template <class T>
TapTable<T>::~TapTable() {
    FreeZeroed(lists_);
    FreeZeroed(weights_);
}

/// Gives each list its stretch of positions, with first and end ascending, and returns how many taps that
/// makes.
template <class T>
int64_t TapTable<T>::Place(const ContributionList* contrib, int64_t count, int64_t positions) {
    int64_t end = 1;
    for (int64_t i = 0; i < count; ++i) {
        const ContributionList& from = contrib[i];
        if (from.count > 0) end = std::max(end, int64_t{from.entries[from.count - 1].pixel} + 1);
        lists_[i].count = end;  // for now the end
    }
    int64_t first = std::max<int64_t>(positions, 1) - 1;
    int64_t taps = 0;
    for (int64_t i = count - 1; i >= 0; --i) {
        if (contrib[i].count > 0) first = std::min(first, int64_t{contrib[i].entries[0].pixel});
        lists_[i].first = std::min(first, lists_[i].count - 1);
        lists_[i].count -= lists_[i].first;
        taps += lists_[i].count;
    }
    return taps;
}

template <class T>
bool TapTable<T>::Build(const ContributionList* contrib, int64_t count, int64_t positions,
                        SampleRange range) {
    FreeZeroed(lists_);
    FreeZeroed(weights_);
    weights_ = nullptr;
    count_ = 0;  // until all is there
    lists_ = static_cast<TapList<T>*>(AllocateZeroed(count * int64_t{sizeof(TapList<T>)}));
    if (lists_ == nullptr) return false;
    weights_ = static_cast<T*>(AllocateZeroed(Place(contrib, count, positions) * int64_t{sizeof(T)}));
    if (weights_ == nullptr) return false;

    T* next = weights_;
    double doubts = 0.0;
    for (int64_t i = 0; i < count; ++i) {
        TapList<T>& list = lists_[i];
        list.weights = next;
        Judge(contrib[i], range, list);
        if (list.margin < T{1}) FillWeights(contrib[i], list.first, next);
        next += list.count;
        doubts += std::clamp(2.0 * static_cast<double>(list.margin), 0.0, 1.0);
    }
    expectedDoubts_ = doubts / static_cast<double>(count);
    count_ = count;
    return true;
}

template class TapTable<uint8_t>;
template class TapTable<float>;
template class TapTable<double>;

}  // namespace trv
