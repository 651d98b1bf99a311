#include <algorithm>

#include "bridge/picture_rows.h"
#include "image/pixel_loop.h"

namespace trv {

namespace {

constexpr uint32_t kFull = 255;
constexpr uint32_t kWhite = PackRgb(kFull, kFull, kFull);
constexpr int kColourShifts[] = {kRedShift, kGreenShift, kBlueShift};

/// Pixels that are in the working form at a time; they stay in the processor's nearest cache.
constexpr int64_t kBlockPixels = 512;
constexpr int64_t kWordSize = 4;

// Pictures as words ---------------------------------------------------------------------------------------

const uint8_t* WordsInPlace(const uint8_t* pixels, int64_t /*count*/, uint32_t* /*block*/) {
    return pixels;
}

template <class Pixel>
const uint8_t* UnpackWords(const uint8_t* pixels, int64_t count, uint32_t* block) {
    for (int64_t i = 0; i < count; ++i)
        block[i] = Pixel::Load(pixels + i * Pixel::kSize);
    return reinterpret_cast<const uint8_t*>(block);
}

const uint8_t* WhiteWords(const uint8_t* /*pixels*/, int64_t count, uint32_t* block) {
    std::fill_n(block, count, kWhite);
    return reinterpret_cast<const uint8_t*>(block);
}

// The image's side of an import ---------------------------------------------------------------------------
//
// A cell is one pixel of an image: made from the pixel's address, its channels read and set at their places,
// then written back. Places are byte offsets, or what the cell makes of them.

/// A pixel whose channels are bytes in memory. kStep is the distance of the pixels, 0 if known at run time
/// only.
template <int64_t kStep>
class ByteCell {
  public:
    static ImagePlaces PlacesOf(const ImagePlaces& offsets) { return offsets; }
    static int64_t Origin(const ImagePlaces& /*offsets*/) { return 0; }
    static int64_t Step(const ImagePlaces& offsets) { return kStep != 0 ? kStep : offsets.step; }

    explicit ByteCell(uint8_t* pixel) : pixel_(pixel) {}
    [[nodiscard]] uint32_t Get(int64_t place) const { return pixel_[place]; }
    void Set(int64_t place, uint32_t value) { pixel_[place] = static_cast<uint8_t>(value); }
    void Write(uint8_t* /*pixel*/) const {}

  private:
    uint8_t* pixel_;
};

/// A pixel of four bytes that hold all its channels, as one word with shifts for places. Rows of these become
/// vector code.
class WordCell {
  public:
    static bool Fits(const ImagePlaces& offsets, bool withAlpha) {
        const auto inSamePixel = [&](int64_t offset) {
            return offset / kWordSize == offsets.red / kWordSize;
        };
        return offsets.step == kWordSize && inSamePixel(offsets.green) && inSamePixel(offsets.blue) &&
               (!withAlpha || inSamePixel(offsets.alpha));
    }
    static ImagePlaces PlacesOf(const ImagePlaces& offsets) {
        const auto shift = [](int64_t offset) { return offset % kWordSize * 8; };
        return {kWordSize, shift(offsets.red), shift(offsets.green), shift(offsets.blue),
                shift(offsets.alpha)};
    }
    /// Where the pixel starts that the offsets lead to: further on, on a view that starts at a column.
    static int64_t Origin(const ImagePlaces& offsets) { return offsets.red / kWordSize * kWordSize; }
    static int64_t Step(const ImagePlaces& /*offsets*/) { return kWordSize; }

    explicit WordCell(const uint8_t* pixel) : word_(LoadWord(pixel)) {}
    [[nodiscard]] uint32_t Get(int64_t place) const { return word_ >> place & kFull; }
    void Set(int64_t place, uint32_t value) { word_ = (word_ & ~(kFull << place)) | value << place; }
    void Write(uint8_t* pixel) const { StoreWord(pixel, word_); }

  private:
    uint32_t word_;
};

template <MaskUse kUse, class Cell>
void ImportPixels(uint8_t* image, const ImagePlaces& offsets, const uint8_t* picture, const uint8_t* mask,
                  uint32_t invert, int64_t count) {
    const ImagePlaces at = Cell::PlacesOf(offsets);
    const int64_t colours[] = {at.red, at.green, at.blue};
    const int64_t step = Cell::Step(offsets);
    image += Cell::Origin(offsets);
    for (int64_t i = 0; i < count; ++i, image += step) {
        const uint32_t word = LoadWord(picture + i * kWordSize);
        const uint32_t cover = kUse == MaskUse::None ? 0 : LoadWord(mask + i * kWordSize) ^ invert;
        Cell cell(image);
        if constexpr (kUse == MaskUse::ToAlpha) cell.Set(at.alpha, Component(cover, kRedShift));
        for (int c = 0; c < 3; ++c) {
            uint32_t value = Component(word, kColourShifts[c]);
            if constexpr (kUse == MaskUse::Blend) {
                const uint32_t m = Component(cover, kColourShifts[c]);
                value = (value * (kFull - m) + cell.Get(colours[c]) * m) / kFull;
            }
            cell.Set(colours[c], value);
        }
        cell.Write(image);
    }
}

template <MaskUse kUse>
auto ForPlaces(const ImagePlaces& offsets) {
    if (WordCell::Fits(offsets, kUse == MaskUse::ToAlpha)) return ImportPixels<kUse, WordCell>;
    return offsets.step == 3 ? ImportPixels<kUse, ByteCell<3>> : ImportPixels<kUse, ByteCell<0>>;
}

/// Pixels to turn into words at a time. Where the image lies over the picture, one: the next one is what the
/// image made of it.
int64_t BlockFor(const uint8_t* image, int64_t imageBytes, const uint8_t* picture, int64_t pictureBytes) {
    const auto begin = [](const uint8_t* address) { return reinterpret_cast<uintptr_t>(address); };
    const auto end = [&](const uint8_t* address, int64_t bytes) {
        return begin(address) + static_cast<uintptr_t>(bytes);
    };
    const bool apart = end(image, imageBytes) <= begin(picture) || end(picture, pictureBytes) <= begin(image);
    return apart ? kBlockPixels : 1;
}

// The image's side of an export ---------------------------------------------------------------------------

/// CMYK as red, green or blue: `ink` is the colour's complement.
constexpr uint32_t InkToLight(uint32_t ink, uint32_t black) {
    return kFull - ink * (kFull - black) / kFull - black;
}

template <class Layout, int64_t kStep>
void ImageWords(uint8_t* words, const uint8_t* image, int64_t step, const FamilyOffsets& offsets,
                int64_t count) {
    if constexpr (kStep != 0) step = kStep;
    const FamilyOffsets at = offsets;  // a copy, which no store can change
    for (int64_t i = 0; i < count; ++i, image += step) {
        uint32_t word = 0;
        if constexpr (Layout::family == Family::Gray) {
            word = image[at[0]] * PackRgb(1, 1, 1);
        } else if constexpr (Layout::family == Family::Rgb) {
            word = PackRgb(image[at[0]], image[at[1]], image[at[2]]);
        } else {
            const uint32_t black = image[at[3]];
            word = PackRgb(InkToLight(image[at[0]], black), InkToLight(image[at[1]], black),
                           InkToLight(image[at[2]], black));
        }
        const uint32_t alpha = Layout::hasAlpha ? image[at[Layout::channels.size() - 1]] : kFull;
        StoreWord(words + i * kWordSize, word | alpha << kAlphaShift);
    }
}

template <class Layout>
auto ForStep(int64_t step) {
    if constexpr (Layout::family == Family::Gray && !Layout::hasAlpha) {
        if (step == 1) return ImageWords<Layout, 1>;
    } else if constexpr (Layout::family == Family::Rgb) {
        if (step == 4) return ImageWords<Layout, 4>;
        if (step == 3) return ImageWords<Layout, 3>;
    }
    return ImageWords<Layout, 0>;
}

template <class Pixel, bool kWithAlpha>
void PackWords(uint8_t* picture, const uint8_t* words, int64_t count) {
    for (int64_t i = 0; i < count; ++i) {
        const uint32_t word = LoadWord(words + i * kWordSize);
        if constexpr (kWithAlpha) {
            Pixel::Store(picture + i * Pixel::kSize, word);
        } else {
            Pixel::StoreOpaque(picture + i * Pixel::kSize, word);
        }
    }
}

}  // namespace

WordSource SourceOfKind(uint32_t kind) {
    return DispatchPixelKind(kind, []<class Pixel>(Pixel) {
        const bool isWords = Pixel::kSize == kWordSize;
        return WordSource{isWords ? WordsInPlace : UnpackWords<Pixel>, Pixel::kSize};
    });
}

WordSource WhiteSource() {
    return {WhiteWords, 0};
}

ImportRow::ImportRow(MaskUse use, WordSource picture, WordSource mask, bool invertMask,
                     const ImagePlaces& places)
    : picture_(picture), mask_(mask), invert_(invertMask ? kWhite : 0), places_(places) {
    operate_ = use == MaskUse::ToAlpha ? ForPlaces<MaskUse::ToAlpha>(places)
               : use == MaskUse::Blend ? ForPlaces<MaskUse::Blend>(places)
                                       : ForPlaces<MaskUse::None>(places);
}

void ImportRow::operator()(const ImportSpan& span) const {
    uint32_t pictureBlock[kBlockPixels];
    uint32_t maskBlock[kBlockPixels];
    const int64_t imageBytes =
        span.count * places_.step + std::max({places_.red, places_.green, places_.blue, places_.alpha});
    const int64_t block =
        std::min(BlockFor(span.image, imageBytes, span.picture, span.count * picture_.pixelSize),
                 BlockFor(span.image, imageBytes, span.mask, span.count * mask_.pixelSize));
    for (int64_t x = 0; x < span.count; x += block) {
        const int64_t count = std::min(block, span.count - x);
        const uint8_t* picture = picture_.load(span.picture + x * picture_.pixelSize, count, pictureBlock);
        const uint8_t* mask = mask_.load(span.mask + x * mask_.pixelSize, count, maskBlock);
        operate_(span.image + x * places_.step, places_, picture, mask, invert_, count);
    }
}

void ImportGrayRow::operator()(uint8_t* gray, const uint8_t* picture, int64_t count) const {
    uint32_t wordBlock[kBlockPixels];
    const int64_t block = BlockFor(gray, count * step_, picture, count * picture_.pixelSize);
    for (int64_t x = 0; x < count; x += block) {
        const int64_t pixels = std::min(block, count - x);
        const uint8_t* words = picture_.load(picture + x * picture_.pixelSize, pixels, wordBlock);
        for (int64_t i = 0; i < pixels; ++i)
            gray[(x + i) * step_] = Component(LoadWord(words + i * kWordSize), shift_);
    }
}

ExportRow::ExportRow(Family family, bool withAlpha, const FamilyOffsets& offsets, int64_t step,
                     uint32_t pictureKind)
    : offsets_(offsets), step_(step) {
    DispatchFamily(family == Family::Gray, family == Family::Rgb, family == Family::Cmyk, withAlpha,
                   [&]<class Layout>(Layout) { toWords_ = ForStep<Layout>(step); });
    DispatchPixelKind(pictureKind, [&]<class Pixel>(Pixel) {
        pictureSize_ = Pixel::kSize;
        // Words without alpha are opaque already.
        if (std::is_same_v<Pixel, WordPixel>) return;
        fromWords_ = withAlpha ? PackWords<Pixel, true> : PackWords<Pixel, false>;
    });
}

void ExportRow::operator()(uint8_t* picture, const uint8_t* image, int64_t count) const {
    if (toWords_ == nullptr || pictureSize_ == 0) return;
    if (fromWords_ == nullptr) {
        toWords_(picture, image, step_, offsets_, count);
        return;
    }
    uint8_t words[kBlockPixels * kWordSize];
    for (int64_t x = 0; x < count; x += kBlockPixels) {
        const int64_t pixels = std::min(kBlockPixels, count - x);
        toWords_(words, image + x * step_, step_, offsets_, pixels);
        fromWords_(picture + x * pictureSize_, words, pixels);
    }
}

}  // namespace trv
