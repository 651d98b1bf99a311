#pragma once

// How the host's pictures store a pixel: five kinds, three storages. The working form between pictures and
// images is the word 0xAARRGGBB; a storage is a type that says how a pixel becomes that word and how it is
// made from it, so that an operation is written once, over words.

#include <cstdint>
#include <cstring>

namespace trv {

/// Codes of the kinds. Anything else, 0 among them, reads as zeros and takes no stores.
enum PixelKindCode : uint32_t {
    PixelKindNone = 0,
    PixelKindGDImage = 8,    // gd image: 0xTTRRGGBB, T gd's 7 bits of transparency
    PixelKindBitmap32 = 9,   // Win32 bitmap: 0xAARRGGBB
    PixelKindBitmap24 = 10,  // Win32 bitmap: bytes blue, green, red
    PixelKindGDIPlus = 16,   // GDI+ bitmap: 0xAARRGGBB
    PixelKindD2D = 17,       // Direct2D bitmap: 0xAARRGGBB
};

/// Shifts of the components inside a word.
inline constexpr int kAlphaShift = 24;
inline constexpr int kRedShift = 16;
inline constexpr int kGreenShift = 8;
inline constexpr int kBlueShift = 0;

inline constexpr uint32_t kOpaque = 0xFF000000;

[[nodiscard]] constexpr uint32_t PackRgb(uint32_t red, uint32_t green, uint32_t blue) {
    return red << kRedShift | green << kGreenShift | blue << kBlueShift;
}

[[nodiscard]] constexpr uint8_t Component(uint32_t word, int shift) {
    return static_cast<uint8_t>(word >> shift);
}

[[nodiscard]] inline uint32_t LoadWord(const uint8_t* bytes) {
    uint32_t word = 0;
    std::memcpy(&word, bytes, sizeof word);
    return word;
}

inline void StoreWord(uint8_t* bytes, uint32_t word) {
    std::memcpy(bytes, &word, sizeof word);
}

/// Kinds 9, 16 and 17: the word itself.
struct WordPixel {
    static constexpr int64_t kSize = 4;
    static uint32_t Load(const uint8_t* pixel) { return LoadWord(pixel); }
    static void Store(uint8_t* pixel, uint32_t word) { StoreWord(pixel, word); }
    static void StoreOpaque(uint8_t* pixel, uint32_t word) { StoreWord(pixel, word | kOpaque); }
};

/// Kind 8: the word with gd's transparency on top, which is 0 for opaque. Alpha is halved into it and
/// deliberately not turned round. What a load gives on top is of no meaning.
struct GdPixel {
    static constexpr int64_t kSize = 4;
    static uint32_t Load(const uint8_t* pixel) { return LoadWord(pixel); }
    static void Store(uint8_t* pixel, uint32_t word) {
        StoreWord(pixel, (word & ~kOpaque) | word >> (kAlphaShift + 1) << kAlphaShift);
    }
    static void StoreOpaque(uint8_t* pixel, uint32_t word) { StoreWord(pixel, word & ~kOpaque); }
};

/// Kind 10: three bytes, without room for alpha.
struct Bgr24Pixel {
    static constexpr int64_t kSize = 3;
    static uint32_t Load(const uint8_t* pixel) { return PackRgb(pixel[2], pixel[1], pixel[0]); }
    static void Store(uint8_t* pixel, uint32_t word) {
        pixel[0] = Component(word, kBlueShift);
        pixel[1] = Component(word, kGreenShift);
        pixel[2] = Component(word, kRedShift);
    }
    static void StoreOpaque(uint8_t* pixel, uint32_t word) { Store(pixel, word); }
};

/// A pixel that is not there: no bytes, black to look at.
struct NoPixel {
    static constexpr int64_t kSize = 0;
    static uint32_t Load(const uint8_t* /*pixel*/) { return 0; }
    static void Store(uint8_t* /*pixel*/, uint32_t /*word*/) {}
    static void StoreOpaque(uint8_t* /*pixel*/, uint32_t /*word*/) {}
};

/// Calls `work` with the storage of a kind and returns its result.
template <class Work>
decltype(auto) DispatchPixelKind(uint32_t kind, Work&& work) {
    switch (kind) {
        case PixelKindBitmap32:
        case PixelKindGDIPlus:
        case PixelKindD2D:
            return work(WordPixel{});
        case PixelKindGDImage:
            return work(GdPixel{});
        case PixelKindBitmap24:
            return work(Bgr24Pixel{});
        default:
            return work(NoPixel{});
    }
}

/// Whether pixels of this kind can be read and written.
[[nodiscard]] inline bool IsPixelKind(uint32_t kind) {
    return DispatchPixelKind(kind, []<class Pixel>(Pixel) { return Pixel::kSize > 0; });
}

}  // namespace trv
