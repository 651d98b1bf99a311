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

void FlipVectors(uint8_t* bytes, const uint8_t* flips, int64_t count) {
    const Vector all = _mm256_set1_epi8(-1);
    int64_t i = 0;
    for (; i + kBytes <= count; i += kBytes)
        Store(bytes + i, _mm256_xor_si256(Load(bytes + i), flips == nullptr ? all : Load(flips + i)));
    Flip(bytes + i, flips == nullptr ? nullptr : flips + i, count - i);
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
    const Vector lowAlphas = PickBytes(at, 8, 2);
    const Vector highAlphas = PickBytes(at + 8, 8, 2);
    const Vector alphaMask = _mm256_set1_epi32(static_cast<int32_t>(255U << alphaShift));
    // Rounded to nearest as MultiplyTwo does it.
    const auto rounded = [](Vector words, Vector alphas) {
        return DivideOneLessBy255(
            _mm256_add_epi16(_mm256_mullo_epi16(words, alphas), _mm256_set1_epi16(128)));
    };
    int64_t i = 0;
    for (; i + kGroup <= count; i += kGroup) {
        const Vector all = Load(pixels + 4 * i);
        const Vector made = PackWords(rounded(LowWords(all), _mm256_shuffle_epi8(all, lowAlphas)),
                                      rounded(HighWords(all), _mm256_shuffle_epi8(all, highAlphas)));
        Store(pixels + 4 * i, _mm256_blendv_epi8(made, all, alphaMask));
    }
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

/// Grays of 8 pixels as integers. Modes 0, 1 and 4: sums of bytes.
template <int kMode>
class GrayOfBytes {
  public:
    static constexpr bool kInSecondByte = kMode == 4;

    explicit GrayOfBytes(const ColourPlaces& places) {
        uint8_t weights[4]{};
        weights[places.red] = kMode == 0 ? 2 : kMode == 1 ? 3 : 77;
        weights[places.green] = kMode == 0 ? 3 : kMode == 1 ? 4 : 151;
        weights[places.blue] = kMode == 4 ? 29 : 1;
        weights_ = LoadFour(weights);
        missing_ = _mm256_set1_epi32(128 * (weights[0] + weights[1] + weights[2] + weights[3]));
    }

    [[nodiscard]] Vector Of(Vector pixels) const {
        const Vector sums = _mm256_add_epi32(WeighPixels(pixels, weights_), missing_);
        if constexpr (kMode == 0)
            return _mm256_srli_epi32(_mm256_mulhi_epu16(sums, _mm256_set1_epi32(43691)), 2);
        if constexpr (kMode == 1) return _mm256_srli_epi32(sums, 3);
        return sums;
    }

  private:
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
    static constexpr bool kInSecondByte = false;

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

    [[nodiscard]] Vector Of(Vector pixels) const {
        const Vector same = _mm256_cmpeq_epi8(pixels, _mm256_shuffle_epi8(pixels, nextColours_));
        if (_mm256_movemask_epi8(same) == -1) return Darkened(_mm256_shuffle_epi8(pixels, red_));
        const Vector even = _mm256_and_si256(pixels, _mm256_set1_epi16(255));
        const Vector odd = _mm256_srli_epi16(pixels, 8);
        const __m256 sum = _mm256_cvtepi32_ps(
            _mm256_add_epi32(_mm256_madd_epi16(even, evenWeights_), _mm256_madd_epi16(odd, oddWeights_)));
        // Half a unit to both sides, which single precision is good for.
        constexpr float kUnit = kMode == 2 ? 1 / 10000.0F : 1 / 1000.0F;
        const auto whole = [&](float beside) {
            return _mm256_cvttps_epi32(_mm256_fmadd_ps(sum, _mm256_set1_ps(kUnit), _mm256_set1_ps(beside)));
        };
        const Vector below = whole(-kUnit / 2);
        const Vector above = whole(kUnit / 2);
        if (_mm256_movemask_epi8(_mm256_cmpeq_epi32(below, above)) == -1) [[likely]]
            return below;
        return Doubled(pixels);
    }

  private:
    /// Of integers 0 to 255.
    static Vector Darkened(Vector grays) {
        static constexpr Darkening kDarkening = FindDarkening<kMode>();
        // Indices into one half of the table or the other; those that are not have their highest bit set.
        const Vector index =
            _mm256_or_si256(_mm256_srli_epi32(grays, 3), _mm256_set1_epi32(static_cast<int32_t>(0x80808000)));
        const Vector low =
            _mm256_shuffle_epi8(LoadTwice(kDarkening.bits), _mm256_add_epi8(index, _mm256_set1_epi32(0x70)));
        const Vector high = _mm256_shuffle_epi8(LoadTwice(kDarkening.bits + 16),
                                                _mm256_sub_epi8(index, _mm256_set1_epi32(16)));
        const Vector bits =
            _mm256_srlv_epi32(_mm256_or_si256(low, high), _mm256_and_si256(grays, _mm256_set1_epi32(7)));
        return _mm256_sub_epi32(grays, _mm256_and_si256(bits, _mm256_set1_epi32(1)));
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
    Vector nextColours_;  // red and green take the colour behind them, all others themselves
};

/// 8 pixels of 3 bytes become 8 of 4, and back.
struct PixelsOf3 {
    static Vector Read(const uint8_t* pixels) {
        // The second half's pixels begin 4 bytes behind its own beginning.
        const Vector spread = _mm256_setr_epi8(0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1,  //
                                               4, 5, 6, -1, 7, 8, 9, -1, 10, 11, 12, -1, 13, 14, 15, -1);
        return _mm256_shuffle_epi8(LoadTwo(pixels, pixels + 8), spread);
    }

    /// Stores 12 bytes of each half.
    static void Write(uint8_t* pixels, Vector made) {
        const Vector joined = _mm256_permutevar8x32_epi32(made, _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 7, 7));
        StoreHalf(pixels, _mm256_castsi256_si128(joined));
        _mm_storel_epi64(reinterpret_cast<Half*>(pixels + 16), _mm256_extracti128_si256(joined, 1));
    }
};

template <class Grays>
int64_t GrayVectors(uint8_t* pixels, const ColourPlaces& places, int64_t count) {
    const Grays grays(places);
    const int size = static_cast<int>(places.pixelSize);
    // Every colour of a pixel takes its gray; a fourth byte stays.
    alignas(16) uint8_t picks[16];
    for (int i = 0; i < 16; ++i)
        picks[i] = static_cast<uint8_t>(i / size * 4 + (Grays::kInSecondByte ? 1 : 0));
    const Vector repeat = LoadTwice(picks);
    int64_t i = 0;
    if (size == 3) {
        for (; i + kGroup <= count; i += kGroup) {
            const Vector made = grays.Of(PixelsOf3::Read(pixels + 3 * i));
            PixelsOf3::Write(pixels + 3 * i, _mm256_shuffle_epi8(made, repeat));
        }
        return i;
    }
    const int kept = 6 - places.red - places.green - places.blue;
    const Vector colours = _mm256_set1_epi32(static_cast<int32_t>(~(255U << (8 * kept))));
    for (; i + kGroup <= count; i += kGroup) {
        const Vector all = Load(pixels + 4 * i);
        const Vector made = _mm256_shuffle_epi8(grays.Of(all), repeat);
        Store(pixels + 4 * i, _mm256_blendv_epi8(all, made, colours));
    }
    return i;
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
