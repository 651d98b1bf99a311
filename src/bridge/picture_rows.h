#pragma once

// The innermost work between pictures and images: rows of pixels, without access to records, host or log.
// Both sides meet in words of 0xAARRGGBB: each kind of picture is turned into words, and each layout of image
// is, once; the operations know words only. What is needed for two given sides is put together before the
// first row.

#include <array>
#include <cstdint>

#include "bridge/pixel_kinds.h"
#include "image/picture_record.h"

namespace trv {

// From a picture into an image ----------------------------------------------------------------------------

/// Where an image keeps its colours and alpha: byte offsets from the address of a pixel, and the bytes from
/// one pixel to the next.
struct ImagePlaces {
    int64_t step;
    int64_t red;
    int64_t green;
    int64_t blue;
    int64_t alpha;
};

/// What an import does with a picture's mask, of which the red or each colour counts.
enum class MaskUse {
    None,     // the mask is not looked at
    ToAlpha,  // red of the mask into alpha, stored before the colours
    Blend,    // per colour: (picture * (255 - mask) + image * mask) / 255, truncated
};

/// The first pixel's address on each side, and the number of pixels, at least 0.
struct ImportSpan {
    uint8_t* image;
    const uint8_t* picture;
    const uint8_t* mask;
    int64_t count;
};

/// Pixels of some kind as words. The words lie where the pixels are, or in `block`, which has room for them.
struct WordSource {
    using Load = const uint8_t* (*)(const uint8_t* pixels, int64_t count, uint32_t* block);
    Load load;
    int64_t pixelSize;  // bytes
};

/// Pixels of a picture of this kind; black without bytes for an unknown kind.
[[nodiscard]] WordSource SourceOfKind(uint32_t kind);

/// Stands in for the mask of a picture that has none: white, without bytes.
[[nodiscard]] WordSource WhiteSource();

/// Copies colours of a picture into an image, with or without a mask. Goes pixel by pixel, from first to
/// last, also where image and picture are the same memory.
class ImportRow {
  public:
    /// `invertMask` turns each value m of the mask into 255 - m.
    ImportRow(MaskUse use, WordSource picture, WordSource mask, bool invertMask, const ImagePlaces& places);
    void operator()(const ImportSpan& span) const;

  private:
    using Operate = void (*)(uint8_t* image, const ImagePlaces& places, const uint8_t* picture,
                             const uint8_t* mask, uint32_t invert, int64_t count);

    WordSource picture_;
    WordSource mask_;
    uint32_t invert_;
    ImagePlaces places_;
    Operate operate_;
};

/// Copies one colour of a picture, told by its shift in a word, into a byte of each image pixel; in order, as
/// above.
class ImportGrayRow {
  public:
    ImportGrayRow(WordSource picture, int shift, int64_t step)
        : picture_(picture), shift_(shift), step_(step) {}
    void operator()(uint8_t* gray, const uint8_t* picture, int64_t count) const;

  private:
    WordSource picture_;
    int shift_;
    int64_t step_;
};

// From an image into a picture ----------------------------------------------------------------------------

/// Offsets of a family's channels from the address of a pixel, in the family's order, alpha last.
using FamilyOffsets = std::array<int64_t, 5>;

/// Copies the colours of an image of one family, as red, green and blue, into a picture: gray three times,
/// CMYK as 255 - ink * (255 - black) / 255 - black. Image and picture may not overlap.
class ExportRow {
  public:
    /// Without `withAlpha` every pixel is stored as opaque. An image outside the families, or a picture of an
    /// unknown kind, makes every row a row of nothing.
    ExportRow(Family family, bool withAlpha, const FamilyOffsets& offsets, int64_t step,
              uint32_t pictureKind);
    void operator()(uint8_t* picture, const uint8_t* image, int64_t count) const;

  private:
    using ToWords = void (*)(uint8_t* words, const uint8_t* image, int64_t step, const FamilyOffsets& offsets,
                             int64_t count);
    using FromWords = void (*)(uint8_t* picture, const uint8_t* words, int64_t count);

    FamilyOffsets offsets_;
    int64_t step_;
    int64_t pictureSize_ = 0;  // bytes of a pixel
    ToWords toWords_ = nullptr;
    FromWords fromWords_ = nullptr;  // null where the words are the picture's pixels
};

}  // namespace trv
