// Compositing kernels for AVX2. These runs are bound by memory, so wider vectors would gain nothing.

#include "compositing/blend_rules.h"
#include "compositing/composite_kernels.h"
#include "spans/vectors_avx2.h"

namespace trv {

namespace {

using namespace avx2;
using Kind = PixelOperand::Kind;

constexpr int64_t kBurst = 64;  // vectors

/// MixRule. The weights of source and destination sum to 255, so that the products of samples less 128 stay
/// inside signed words.
struct Mix {
    using Plain = MixRule;

    static Vector Apply(Vector d, Vector s, Vector m) {
        const Vector middle = _mm256_set1_epi8(-128);
        const Vector dest = _mm256_xor_si256(d, middle);
        const Vector source = _mm256_xor_si256(s, middle);
        const Vector rest = _mm256_xor_si256(m, _mm256_set1_epi8(-1));
        const auto quotients = [](Vector weights, Vector samples) {
            const Vector sum = _mm256_maddubs_epi16(weights, samples);
            return DivideOneLessBy255(_mm256_add_epi16(sum, _mm256_set1_epi16(128 * 255 + 1)));
        };
        return PackWords(quotients(_mm256_unpacklo_epi8(rest, m), _mm256_unpacklo_epi8(source, dest)),
                         quotients(_mm256_unpackhi_epi8(rest, m), _mm256_unpackhi_epi8(source, dest)));
    }
};

/// AddRule.
struct Add {
    using Plain = AddRule;

    static Vector Apply(Vector d, Vector s, Vector m) {
        const auto quotients = [](Vector a, Vector b) {
            return DivideOneLessBy255(_mm256_add_epi16(_mm256_mullo_epi16(a, b), _mm256_set1_epi16(1)));
        };
        return _mm256_add_epi8(
            PackWords(quotients(LowWords(d), LowWords(m)), quotients(HighWords(d), HighWords(m))), s);
    }
};

template <class Rule>
void Blend(uint8_t* out, const uint8_t* d, const uint8_t* s, const uint8_t* m, const uint8_t* write,
           int64_t count) {
    int64_t i = 0;
    if (write == nullptr) {
        for (; i + kBytes <= count; i += kBytes)
            Store(out + i, Rule::Apply(Load(d + i), Load(s + i), Load(m + i)));
    } else {
        for (; i + kBytes <= count; i += kBytes) {
            const Vector made = Rule::Apply(Load(d + i), Load(s + i), Load(m + i));
            Store(out + i, _mm256_blendv_epi8(Load(out + i), made, Load(write + i)));
        }
    }
    for (; i < count; ++i) {
        if (write == nullptr || write[i] != 0) out[i] = Rule::Plain::Apply(d[i], s[i], m[i]);
    }
}

void Luma(uint8_t* out, const uint8_t* red, const uint8_t* green, const uint8_t* blue, int64_t count) {
    const auto part = [](Vector r, Vector g, Vector b) {
        const auto times = [](Vector v, int16_t weight) {
            return _mm256_mullo_epi16(v, _mm256_set1_epi16(weight));
        };
        return _mm256_srli_epi16(
            _mm256_add_epi16(_mm256_add_epi16(times(r, 77), times(g, 151)), times(b, 28)), 8);
    };
    int64_t i = 0;
    for (; i + kBytes <= count; i += kBytes) {
        const Vector r = Load(red + i), g = Load(green + i), b = Load(blue + i);
        Store(out + i, PackWords(part(LowWords(r), LowWords(g), LowWords(b)),
                                 part(HighWords(r), HighWords(g), HighWords(b))));
    }
    for (; i < count; ++i)
        out[i] = BlendLuma(red[i], green[i], blue[i]);
}

/// An operand in registers.
template <Kind kKind>
class Operand {
  public:
    explicit Operand(const PixelOperand& operand)
        : from_(operand.from),
          picks_(LoadTwice(operand.picks)),
          flips_(LoadTwice(operand.flips)),
          weights_(LoadFour(operand.weights)) {
        // The second half's four bytes follow the first's; 128 stays above all indices.
        if (kKind == Kind::Bytes)
            picks_ = _mm256_add_epi8(picks_, _mm256_setr_m128i(_mm_setzero_si128(), _mm_set1_epi8(4)));
    }

    /// 8 pixels from number `at` on, in the layout that is written.
    [[nodiscard]] Vector At(int64_t at) const {
        if constexpr (kKind == Kind::Straight) return Load(from_ + 4 * at);
        if constexpr (kKind == Kind::Constant) return flips_;
        return _mm256_xor_si256(_mm256_shuffle_epi8(Bytes(at), picks_), flips_);
    }

  private:
    [[nodiscard]] Vector Bytes(int64_t at) const {
        if constexpr (kKind == Kind::Bytes) {
            int64_t eight = 0;
            __builtin_memcpy(&eight, from_ + at, sizeof eight);
            return _mm256_set1_epi64x(eight);
        }
        if constexpr (kKind == Kind::Luma) return WeighPixels(Load(from_ + 4 * at), weights_);
        return Load(from_ + 4 * at);
    }

    const uint8_t* from_;
    Vector picks_;
    Vector flips_;
    Vector weights_;
};

constexpr int64_t kGroup = PixelBlend::kGroup;

/// Pixels, 0 to 7, up to an address that is a multiple of a vector; of an address between pixels some number.
int64_t PixelsToAlignment(const uint8_t* p) {
    return static_cast<int64_t>(-reinterpret_cast<uintptr_t>(p) % kBytes) / 4;
}

/// 255 in all bytes of the first `count` pixels.
Vector FirstPixels(int64_t count) {
    const Vector numbers = _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7);
    return _mm256_cmpgt_epi32(_mm256_set1_epi32(static_cast<int32_t>(count)), numbers);
}

template <class Rule, Kind kDest, Kind kSource, Kind kMask>
void BlendGroups(uint8_t* out, const PixelBlend& blend, int64_t groups) {
    const Operand<kDest> d(blend.d);
    const Operand<kSource> s(blend.s);
    const Operand<kMask> m(blend.m);
    const Vector write = LoadTwice(blend.write);
    const auto made = [&](int64_t at) { return Rule::Apply(d.At(at), s.At(at), m.At(at)); };
    const auto store = [&](int64_t at, Vector v, Vector bytes) {
        Store(out + 4 * at, _mm256_blendv_epi8(Load(out + 4 * at), v, bytes));
    };
    const int64_t pixels = groups * kGroup;
    int64_t at = 0;
    if (pixels >= kBurst * kGroup) {
        // As many pixels of a first vector as bring the others to where none lies on two lines of the cache.
        at = PixelsToAlignment(out);
        store(0, made(0), _mm256_and_si256(write, FirstPixels(at)));
    }
    // Four pictures by turns, a vector each, cost memory more time than a burst from three and one to the
    // last.
    Vector burst[kBurst];
    for (; at + kBurst * kGroup <= pixels; at += kBurst * kGroup) {
#pragma GCC unroll 16
        for (int64_t i = 0; i < kBurst; ++i)
            burst[i] = made(at + i * kGroup);
#pragma GCC unroll 16
        for (int64_t i = 0; i < kBurst; ++i)
            store(at + i * kGroup, burst[i], write);
    }
    for (; at + kGroup <= pixels; at += kGroup)
        store(at, made(at), write);
    if (at == pixels) return;
    const int64_t last = pixels - kGroup;
    store(last, made(last), _mm256_andnot_si256(FirstPixels(at - last), write));
}

template <class Rule, Kind kDest, Kind kSource>
void BlendByMask(uint8_t* out, const PixelBlend& blend, int64_t groups) {
    switch (blend.m.kind) {
        case Kind::Straight:
        case Kind::Picked:
            return BlendGroups<Rule, kDest, kSource, Kind::Picked>(out, blend, groups);
        case Kind::Bytes:
            return BlendGroups<Rule, kDest, kSource, Kind::Bytes>(out, blend, groups);
        case Kind::Luma:
            return BlendGroups<Rule, kDest, kSource, Kind::Luma>(out, blend, groups);
        case Kind::Constant:
            return BlendGroups<Rule, kDest, kSource, Kind::Constant>(out, blend, groups);
    }
}

/// Pictures of one layout, or one and a colour, are what most calls have; picking serves all others.
template <class Rule>
void BlendPixels(uint8_t* out, const PixelBlend& blend, int64_t groups) {
    const Kind d = blend.d.kind;
    if (blend.s.kind == Kind::Straight && d == Kind::Straight) {
        BlendByMask<Rule, Kind::Straight, Kind::Straight>(out, blend, groups);
    } else if (blend.s.kind == Kind::Straight && d == Kind::Constant) {
        BlendByMask<Rule, Kind::Constant, Kind::Straight>(out, blend, groups);
    } else if (d == Kind::Constant) {
        BlendByMask<Rule, Kind::Constant, Kind::Picked>(out, blend, groups);
    } else if (blend.s.kind == Kind::Constant) {
        BlendByMask<Rule, Kind::Picked, Kind::Constant>(out, blend, groups);
    } else {
        BlendByMask<Rule, Kind::Picked, Kind::Picked>(out, blend, groups);
    }
}

}  // namespace

constinit const CompositeKernels kCompositeKernelsAvx2 = {&Blend<Mix>, &Blend<Add>, &Luma, &BlendPixels<Mix>,
                                                          &BlendPixels<Add>};

}  // namespace trv
