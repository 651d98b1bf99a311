// Pixel kernels for AVX2. These runs are bound by memory, or nearly so, and wider vectors would gain little.

#include "pixelops/gray_modes.h"
#include "pixelops/pixel_kernels.h"
#include "spans/independent_loop.h"
#include "spans/vectors_avx2.h"

namespace trv {

namespace {

using namespace avx2;

#include "pixelops/pixel_kernels.inc"

constexpr int64_t kGroup = 8;  // pixels of 4 bytes in a vector

/// Bytes, at most `count`, up to the next address that a vector does not share between two lines of the
/// cache.
inline int64_t BytesToAlignment(const uint8_t* p, int64_t count) {
    const auto bytes = static_cast<int64_t>(-reinterpret_cast<uintptr_t>(p) % kBytes);
    return bytes < count ? bytes : count;
}

/// Replaces vectors by what `made` makes of each, from byte `i` of `count` on; up to which byte.
template <class Made>
inline int64_t ReplaceVectors(uint8_t* bytes, int64_t i, int64_t count, const Made& made) {
    // Reads and writes by fours, which takes memory less time than by turns.
    for (constexpr int64_t kFour = 4 * kBytes; i + kFour <= count; i += kFour) {
        Vector four[4];
        for (int64_t k = 0; k < 4; ++k)
            four[k] = made(Load(bytes + i + k * kBytes));
        for (int64_t k = 0; k < 4; ++k)
            Store(bytes + i + k * kBytes, four[k]);
    }
    for (; i + kBytes <= count; i += kBytes)
        Store(bytes + i, made(Load(bytes + i)));
    return i;
}

void FlipAll(uint8_t* bytes, int64_t count) {
    int64_t i = BytesToAlignment(bytes, count);
    Flip(bytes, nullptr, i);
    i = ReplaceVectors(bytes, i, count, [](Vector v) { return _mm256_xor_si256(v, _mm256_set1_epi8(-1)); });
    Flip(bytes + i, nullptr, count - i);
}

void FlipVectors(uint8_t* bytes, const uint8_t* flips, int64_t count) {
    if (flips == nullptr) return FlipAll(bytes, count);
    int64_t i = 0;
    for (; i + kBytes <= count; i += kBytes)
        Store(bytes + i, _mm256_xor_si256(Load(bytes + i), Load(flips + i)));
    Flip(bytes + i, flips + i, count - i);
}

// Multiplication
// ---------------------------------------------------------------------------------------------------

/// Picks in each half byte `from` + 4 * (i / every) of its 16 for every place i that is a multiple of `step`.
inline Vector PickBytes(int from, int every, int step) {
    alignas(16) uint8_t picks[16];
    for (int i = 0; i < 16; ++i)
        picks[i] = static_cast<uint8_t>(i % step == 0 ? from + 4 * (i / every) : 128);
    return LoadTwice(picks);
}

void MultiplyVectors(uint8_t* pixels, int alphaShift, int64_t count) {
    const int at = alphaShift / 8;
    const Vector alphas = PickBytes(at, 4, 2);
    const Vector alphaMask = _mm256_set1_epi32(static_cast<int32_t>(255U << alphaShift));
    const auto made = [&](Vector all) {
        // Both bytes of a word meet the same alpha. Rounded to nearest as MultiplyTwo does it.
        const Vector alpha = _mm256_shuffle_epi8(all, alphas);
        const auto rounded = [&](Vector words) {
            return DivideOneLessBy255(
                _mm256_add_epi16(_mm256_mullo_epi16(words, alpha), _mm256_set1_epi16(128)));
        };
        const Vector even = rounded(_mm256_and_si256(all, _mm256_set1_epi16(255)));
        const Vector odd = rounded(_mm256_srli_epi16(all, 8));
        const Vector bytes = _mm256_or_si256(even, _mm256_slli_epi16(odd, 8));
        return _mm256_blendv_epi8(bytes, all, alphaMask);
    };
    int64_t i = BytesToAlignment(pixels, 4 * count) / 4;
    Multiply<uint32_t>(pixels, alphaShift, i);
    i = ReplaceVectors(pixels, 4 * i, 4 * count, made) / 4;
    Multiply<uint32_t>(pixels + 4 * i, alphaShift, count - i);
}

/// The bound of UnmultiplyOne, for 8 pixels: product * 255 / alpha + 127.5 / alpha.
void UnmultiplyVectors(uint8_t* pixels, int alphaShift, int64_t count) {
    const int at = alphaShift / 8;
    const Vector alphaBytes = PickBytes(at, 4, 1);
    const Vector alphas = PickBytes(at, 4, 4);
    const Vector colours[] = {PickBytes((at + 1) % 4, 4, 4), PickBytes((at + 2) % 4, 4, 4),
                              PickBytes((at + 3) % 4, 4, 4)};
    // From the three colours and alpha, four pixels of each behind one another.
    alignas(16) uint8_t order[16];
    for (int i = 0; i < 16; ++i)
        order[i] = static_cast<uint8_t>((i + 3 - at) % 4 * 4 + i / 4);
    const Vector interleave = LoadTwice(order);
    int64_t i = 0;
    for (; i + kGroup <= count; i += kGroup) {
        const Vector all = Load(pixels + 4 * i);
        const Vector alpha = _mm256_shuffle_epi8(all, alphas);
        // Without alpha any bound above 255 gives the 255 of product 0.
        const __m256 divisor = _mm256_max_ps(_mm256_cvtepi32_ps(alpha), _mm256_set1_ps(0.25F));
        const __m256 step = _mm256_div_ps(_mm256_set1_ps(255), divisor);
        const __m256 half = _mm256_mul_ps(step, _mm256_set1_ps(0.5F));
        const auto bound = [&](int colour) {
            const __m256 product = _mm256_cvtepi32_ps(_mm256_shuffle_epi8(all, colours[colour]));
            return _mm256_cvttps_epi32(_mm256_fmadd_ps(product, step, half));
        };
        // Packing takes what is above 255 for 255.
        const Vector bytes =
            PackWords(_mm256_packs_epi32(bound(0), bound(1)), _mm256_packs_epi32(bound(2), alpha));
        const Vector made = _mm256_shuffle_epi8(bytes, interleave);
        Store(pixels + 4 * i,
              _mm256_blendv_epi8(all, made, IsAtMost(all, _mm256_shuffle_epi8(all, alphaBytes))));
    }
    Unmultiply<uint32_t>(pixels + 4 * i, alphaShift, count - i);
}

// Gray
// -------------------------------------------------------------------------------------------------------------

constexpr int64_t kGrayPixels = 32;  // at a time, in four vectors of 8 pixels of 4 bytes

/// Modes 0, 1 and 4: sums of bytes.
template <int kMode>
class GrayOfBytes {
  public:
    explicit GrayOfBytes(const ColourPlaces& places) {
        uint8_t weights[4]{};
        weights[places.red] = kMode == 0 ? 2 : kMode == 1 ? 3 : 77;
        weights[places.green] = kMode == 0 ? 3 : kMode == 1 ? 4 : 151;
        weights[places.blue] = kMode == 4 ? 29 : 1;
        weights_ = LoadFour(weights);
        missing_ = _mm256_set1_epi32(128 * (weights[0] + weights[1] + weights[2] + weights[3]));
    }

    /// The grays of 32 pixels as bytes: in each half those of the first vector's half, then the second's.
    [[nodiscard]] Vector Of(const Vector (&fours)[4]) const {
        return PackWords(Words(fours[0], fours[1]), Words(fours[2], fours[3]));
    }

  private:
    [[nodiscard]] Vector Words(Vector first, Vector second) const {
        const auto sums = [&](Vector pixels) {
            return _mm256_add_epi32(WeighPixels(pixels, weights_), missing_);
        };
        const Vector words = _mm256_packus_epi32(sums(first), sums(second));
        if constexpr (kMode == 0)
            return _mm256_srli_epi16(
                _mm256_mulhi_epu16(words, _mm256_set1_epi16(static_cast<int16_t>(43691))), 2);
        return _mm256_srli_epi16(words, kMode == 1 ? 3 : 8);
    }

    Vector weights_;
    Vector missing_;
};

/// A bit for each value: whether modes 2 and 3 make a pixel of that value in all colours darker by 1.
struct Darkening {
    alignas(16) uint8_t bits[32];
};

template <int kMode>
constexpr Darkening FindDarkening() {
    Darkening found{};
    for (int value = 0; value < 256; ++value) {
        const int gray = GrayByMode<kMode>(value, value, value);
        if (gray != value) found.bits[value / 8] |= static_cast<uint8_t>((value - gray) << value % 8);
    }
    return found;
}

/// Modes 2 and 3: weights with decimals, whose sums in doubles are cut. Whole numbers give the same except
/// where a sum is a whole number of grays: what it becomes in doubles shows only there. That is so of all
/// pixels that are gray before, which are looked up, and of few others.
template <int kMode>
class GrayOfDecimals {
  public:
    explicit GrayOfDecimals(const ColourPlaces& places) {
        int16_t weights[4]{};
        weights[places.red] = kMode == 2 ? 2126 : 299;
        weights[places.green] = kMode == 2 ? 7152 : 587;
        weights[places.blue] = kMode == 2 ? 722 : 114;
        const auto pair = [&](int first) {
            return _mm256_set1_epi32((weights[first + 2] << 16) + weights[first]);
        };
        evenWeights_ = pair(0);
        oddWeights_ = pair(1);
        const auto picks = [](int from) { return PickBytes(from, 4, 4); };
        red_ = picks(places.red);
        green_ = picks(places.green);
        blue_ = picks(places.blue);
        alignas(16) uint8_t next[16];
        for (int i = 0; i < 16; ++i)
            next[i] = static_cast<uint8_t>(i);
        for (int i = 0; i < 16; i += 4) {
            next[i + places.red] = static_cast<uint8_t>(i + places.green);
            next[i + places.green] = static_cast<uint8_t>(i + places.blue);
        }
        nextColours_ = LoadTwice(next);
    }

    /// As above.
    [[nodiscard]] Vector Of(const Vector (&fours)[4]) {
        if (wereGray_ && AreGray(fours)) return Darkened(Reds(fours));
        Vector grays[4];
        Vector whole = _mm256_setzero_si256();
        for (int i = 0; i < 4; ++i) {
            const Vector sums = Sums(fours[i]);
            grays[i] = Quotients(sums);
            whole = _mm256_or_si256(whole, IsWhole(sums, grays[i]));
        }
        wereGray_ = false;
        if (_mm256_movemask_epi8(whole) == 0) [[likely]]
            return Joined(grays);
        return Corrected(fours, grays);
    }

  private:
    static constexpr int kUnits = kMode == 2 ? 10000 : 1000;  // that a gray has

    /// Where some sums are whole numbers of grays.
    [[gnu::noinline]] Vector Corrected(const Vector (&fours)[4], Vector (&grays)[4]) {
        const Vector darkened = Darkened(Joined(grays));
        Vector isGray[4];
        for (int i = 0; i < 4; ++i) {
            isGray[i] = _mm256_cmpeq_epi32(Same(fours[i]), _mm256_set1_epi32(-1));
            const Vector open = _mm256_andnot_si256(isGray[i], IsWhole(Sums(fours[i]), grays[i]));
            if (_mm256_movemask_epi8(open) != 0) grays[i] = Doubled(fours[i]);
        }
        const Vector chosen =
            _mm256_packs_epi16(PackIntegers(isGray[0], isGray[1]), PackIntegers(isGray[2], isGray[3]));
        wereGray_ = _mm256_movemask_epi8(chosen) == -1;
        return _mm256_blendv_epi8(Joined(grays), darkened, chosen);
    }

    /// 255 where a colour is the next one.
    [[nodiscard]] Vector Same(Vector pixels) const {
        return _mm256_cmpeq_epi8(pixels, _mm256_shuffle_epi8(pixels, nextColours_));
    }

    [[nodiscard]] bool AreGray(const Vector (&fours)[4]) const {
        const Vector same = _mm256_and_si256(_mm256_and_si256(Same(fours[0]), Same(fours[1])),
                                             _mm256_and_si256(Same(fours[2]), Same(fours[3])));
        return _mm256_movemask_epi8(same) == -1;
    }

    [[nodiscard]] Vector Reds(const Vector (&fours)[4]) const {
        Vector reds[4];
        for (int i = 0; i < 4; ++i)
            reds[i] = _mm256_shuffle_epi8(fours[i], red_);
        return Joined(reds);
    }

    static Vector IsWhole(Vector sums, Vector grays) {
        return _mm256_cmpeq_epi32(sums, _mm256_madd_epi16(grays, _mm256_set1_epi32(kUnits)));
    }

    static Vector Joined(const Vector (&grays)[4]) {
        return PackWords(PackIntegers(grays[0], grays[1]), PackIntegers(grays[2], grays[3]));
    }

    [[nodiscard]] Vector Sums(Vector pixels) const {
        const Vector even = _mm256_and_si256(pixels, _mm256_set1_epi16(255));
        const Vector odd = _mm256_srli_epi16(pixels, 8);
        return _mm256_add_epi32(_mm256_madd_epi16(even, evenWeights_), _mm256_madd_epi16(odd, oddWeights_));
    }

    /// Sums over kUnits, cut: half a unit more, which single precision is good for, changes none of them.
    static Vector Quotients(Vector sums) {
        constexpr float kUnit = 1.0F / kUnits;
        return _mm256_cvttps_epi32(
            _mm256_fmadd_ps(_mm256_cvtepi32_ps(sums), _mm256_set1_ps(kUnit), _mm256_set1_ps(kUnit / 2)));
    }

    /// Of bytes.
    static Vector Darkened(Vector grays) {
        static constexpr Darkening kDarkening = FindDarkening<kMode>();
        const Vector index = _mm256_and_si256(_mm256_srli_epi16(grays, 3), _mm256_set1_epi8(31));
        // Indices into one half of the table or the other; those that are not have their highest bit set.
        const Vector low =
            _mm256_shuffle_epi8(LoadTwice(kDarkening.bits), _mm256_add_epi8(index, _mm256_set1_epi8(0x70)));
        const Vector high = _mm256_shuffle_epi8(LoadTwice(kDarkening.bits + 16),
                                                _mm256_sub_epi8(index, _mm256_set1_epi8(16)));
        const Vector bit = _mm256_shuffle_epi8(_mm256_set1_epi64x(static_cast<int64_t>(0x8040201008040201)),
                                               _mm256_and_si256(grays, _mm256_set1_epi8(7)));
        const Vector isDarker = _mm256_cmpeq_epi8(_mm256_and_si256(_mm256_or_si256(low, high), bit), bit);
        return _mm256_add_epi8(grays, isDarker);
    }

    [[nodiscard]] Vector Doubled(Vector pixels) const {
        const Vector red = _mm256_shuffle_epi8(pixels, red_);
        const Vector green = _mm256_shuffle_epi8(pixels, green_);
        const Vector blue = _mm256_shuffle_epi8(pixels, blue_);
        const auto four = [](Half r, Half g, Half b) {
            const auto times = [](Half v, double weight) {
                return _mm256_mul_pd(_mm256_cvtepi32_pd(v), _mm256_set1_pd(weight));
            };
            const __m256d sum = _mm256_add_pd(
                _mm256_add_pd(times(g, kMode == 2 ? 0.7152 : 0.587), times(r, kMode == 2 ? 0.2126 : 0.299)),
                times(b, kMode == 2 ? 0.0722 : 0.114));
            return _mm256_cvttpd_epi32(sum);
        };
        return _mm256_setr_m128i(
            four(_mm256_castsi256_si128(red), _mm256_castsi256_si128(green), _mm256_castsi256_si128(blue)),
            four(_mm256_extracti128_si256(red, 1), _mm256_extracti128_si256(green, 1),
                 _mm256_extracti128_si256(blue, 1)));
    }

    Vector evenWeights_;
    Vector oddWeights_;
    Vector red_;
    Vector green_;
    Vector blue_;
    Vector nextColours_;     // red and green take the colour behind them, all others themselves
    bool wereGray_ = false;  // all pixels last time, so that these may be as well
};

/// 32 pixels in memory.
template <int kSize>
class GrayPixels;

template <>
class GrayPixels<4> {
  public:
    explicit GrayPixels(const ColourPlaces& places) {
        const int kept = 6 - places.red - places.green - places.blue;
        colours_ = _mm256_set1_epi32(static_cast<int32_t>(~(255U << (8 * kept))));
    }

    static void Load(const uint8_t* pixels, Vector (&fours)[4]) {
        for (int i = 0; i < 4; ++i)
            fours[i] = avx2::Load(pixels + kBytes * i);
    }

    /// Every colour of a pixel takes its gray; the fourth byte stays.
    void Store(uint8_t* pixels, const Vector (&fours)[4], Vector grays) const {
        const Vector first =
            _mm256_broadcastsi128_si256(_mm_setr_epi8(0, 0, 0, 0, 1, 1, 1, 1, 2, 2, 2, 2, 3, 3, 3, 3));
        for (int i = 0; i < 4; ++i) {
            const Vector picks = _mm256_add_epi8(first, _mm256_set1_epi8(static_cast<char>(4 * i)));
            avx2::Store(pixels + kBytes * i,
                        _mm256_blendv_epi8(fours[i], _mm256_shuffle_epi8(grays, picks), colours_));
        }
    }

    static int64_t ToAlignment(const uint8_t* pixels) {
        return static_cast<int64_t>(-reinterpret_cast<uintptr_t>(pixels) % kBytes) / 4;
    }

  private:
    Vector colours_;
};

template <>
class GrayPixels<3> {
  public:
    explicit GrayPixels(const ColourPlaces&) {
        for (int i = 0; i < 3; ++i) {
            alignas(32) uint8_t picks[kBytes];
            for (int at = 0; at < kBytes; ++at)
                picks[at] = static_cast<uint8_t>((kBytes * i + at) / 3 % 16);
            picks_[i] = avx2::Load(picks);
        }
    }

    static void Load(const uint8_t* pixels, Vector (&fours)[4]) { LoadPixels<3>(pixels, fours); }

    /// Each gray three times: the first third needs those of the lower half only, the last those of the
    /// upper.
    void Store(uint8_t* pixels, const Vector (&)[4], Vector grays) const {
        const Vector lower = _mm256_permute2x128_si256(grays, grays, 0x00);
        const Vector upper = _mm256_permute2x128_si256(grays, grays, 0x11);
        avx2::Store(pixels, _mm256_shuffle_epi8(lower, picks_[0]));
        avx2::Store(pixels + kBytes, _mm256_shuffle_epi8(grays, picks_[1]));
        avx2::Store(pixels + 2 * kBytes, _mm256_shuffle_epi8(upper, picks_[2]));
    }

    /// 3 * 11 is 1 more than a vector.
    static int64_t ToAlignment(const uint8_t* pixels) {
        return static_cast<int64_t>(-reinterpret_cast<uintptr_t>(pixels) % kBytes) * 11 % kBytes;
    }

  private:
    Vector picks_[3];
};

template <class Grays, int kSize>
void GrayRun(uint8_t* pixels, const ColourPlaces& places, int64_t count) {
    Grays grays(places);
    const GrayPixels<kSize> memory(places);
    const auto group = [&](uint8_t* at) {
        Vector fours[4];
        memory.Load(at, fours);
        memory.Store(at, fours, grays.Of(fours));
    };
    const auto some = [&](uint8_t* at, int64_t number) {
        uint8_t block[kGrayPixels * kSize]{};
        const auto bytes = static_cast<size_t>(number * kSize);
        __builtin_memcpy(block, at, bytes);
        group(block);
        __builtin_memcpy(at, block, bytes);
    };
    int64_t i = 0;
    if (count >= 8 * kGrayPixels) some(pixels, i = memory.ToAlignment(pixels));
    for (; i + kGrayPixels <= count; i += kGrayPixels)
        group(pixels + kSize * i);
    if (i < count) some(pixels + kSize * i, count - i);
}

template <class Grays>
int64_t GrayVectors(uint8_t* pixels, const ColourPlaces& places, int64_t count) {
    if (count <= 0) return 0;
    if (places.pixelSize == 3) {
        GrayRun<Grays, 3>(pixels, places, count);
    } else {
        GrayRun<Grays, 4>(pixels, places, count);
    }
    return count;
}

constexpr PixelKernels MakeKernels() {
    PixelKernels kernels = kKernels;
    kernels.flip = &FlipVectors;
    kernels.multiply4 = &MultiplyVectors;
    kernels.unmultiply4 = &UnmultiplyVectors;
    kernels.gray[0] = &GrayVectors<GrayOfBytes<0>>;
    kernels.gray[1] = &GrayVectors<GrayOfBytes<1>>;
    kernels.gray[2] = &GrayVectors<GrayOfDecimals<2>>;
    kernels.gray[3] = &GrayVectors<GrayOfDecimals<3>>;
    kernels.gray[4] = &GrayVectors<GrayOfBytes<4>>;
    return kernels;
}

}  // namespace

constinit const PixelKernels kPixelKernelsAvx2 = MakeKernels();

}  // namespace trv
