#include "bridge/picture_import.h"

#include <algorithm>
#include <optional>

#include "bridge/picture_editor.h"
#include "bridge/picture_rows.h"
#include "frame/references.h"
#include "image/pixel_loop.h"

namespace trv {

namespace {

bool HasColours(const PictureTRV& image) {
    return image.HasRed != 0 && image.HasGreen != 0 && image.HasBlue != 0;
}

/// Steps a reader to a row; readers are only ever stepped.
void SkipRows(PictureReader& reader, int64_t rows) {
    for (; rows > 0; --rows)
        reader.NextRow();
}

/// Where the image keeps its colours, and alpha. Alpha is stored also where the image has none, into the byte
/// that AlphaOffset names, which lies in the pixel and is overwritten by a colour or is padding. On a view
/// that starts at a column it names a pixel left of the view, and is not used.
struct AlphaPlaces {
    ImagePlaces places;
    bool isInPixel;
};
AlphaPlaces PlacesOf(const PictureTRV& image) {
    const bool isInPixel =
        image.HasAlpha != 0 || image.AlphaOffset / image.PixelSize == image.RedOffset / image.PixelSize;
    return {{image.PixelSize, image.RedOffset, image.GreenOffset, image.BlueOffset,
             isInPixel ? image.AlphaOffset : image.RedOffset},
            isInPixel};
}

/// Walks over the rows of the image and of one or two readers side by side. `work` gets the address of the
/// image's first pixel and the readers' current rows; rows that one side lacks are left out.
template <class Work>
void ForEachRowPair(PictureTRV& image, const RectanglePair& pair, PictureReader& reader, PictureReader* mask,
                    Work&& work) {
    SkipRows(reader, pair.sourceY);
    if (mask != nullptr) SkipRows(*mask, pair.sourceY);
    const ImageShape shape(image);
    for (int64_t y = pair.destY; y < pair.destY + pair.height && shape == ImageShape(image); ++y) {
        uint8_t* row = FetchRow(image, y);
        const uint8_t* maskRow = mask != nullptr ? mask->CurrentRow : nullptr;
        if (row != nullptr && reader.CurrentRow != nullptr && (mask == nullptr || maskRow != nullptr)) {
            work(row + pair.destX * image.PixelSize, reader.CurrentRow, maskRow);
        }
        reader.NextRow();
        if (mask != nullptr) mask->NextRow();
        YieldIfWanted(image);
    }
}

/// Copies colours of a picture, with what `use` makes of the mask, which may be nil.
void ImportColours(PictureTRV& image, HostObject pic, HostObject mask, RectanglePair pair, MaskUse use,
                   bool invertMask) {
    if (!StartImage(&image)) return;
    PictureReader reader;
    std::optional<PictureReader> maskReader;
    if (!reader.GetPictureReader(pic)) return;
    if (mask != nullptr && !maskReader.emplace().GetPictureReader(mask)) return;
    Fix(image, pair, reader.Width, reader.Height);
    if (pair.IsEmpty()) return;
    if (!IsPixelKind(reader.PixelKind) && (!maskReader || reader.PixelKind == maskReader->PixelKind)) return;

    const AlphaPlaces alphaPlaces = PlacesOf(image);
    const ImagePlaces& places = alphaPlaces.places;
    if (use == MaskUse::ToAlpha && !alphaPlaces.isInPixel) use = MaskUse::None;
    const WordSource pixels = SourceOfKind(reader.PixelKind);
    const WordSource cover = maskReader ? SourceOfKind(maskReader->PixelKind) : WhiteSource();
    const ImportRow importCovered(use, pixels, cover, invertMask, places);
    // A mask can be smaller than its picture. Rows below it repeat its first one; columns right of it are
    // black.
    const ImportRow importBeside(use, pixels, SourceOfKind(PixelKindNone), invertMask, places);
    const int64_t covered =
        maskReader ? std::clamp<int64_t>(maskReader->Width - pair.sourceX, 0, pair.width) : pair.width;

    ForEachRowPair(image, pair, reader, maskReader ? &*maskReader : nullptr,
                   [&](uint8_t* to, const uint8_t* row, const uint8_t* maskRow) {
                       const uint8_t* from = row + pair.sourceX * pixels.pixelSize;
                       const uint8_t* through = maskRow + pair.sourceX * cover.pixelSize;
                       importCovered({to, from, through, covered});
                       importBeside({to + covered * places.step, from + covered * pixels.pixelSize, nullptr,
                                     pair.width - covered});
                   });
}

/// Copies one colour of a picture into the gray channel.
void ImportGray(HostObject me, HostObject pic, RectanglePair pair, int shift) {
    PictureTRV& image = *RecordOf(me);
    if (image.HasGray == 0 || !StartImage(&image)) return;
    PictureReader reader;
    if (!reader.GetPictureReader(pic)) return;
    Fix(image, pair, reader.Width, reader.Height);
    if (pair.IsEmpty()) return;
    const WordSource pixels = SourceOfKind(reader.PixelKind);
    const ImportGrayRow importRow(pixels, shift, image.PixelSize);
    ForEachRowPair(image, pair, reader, nullptr,
                   [&](uint8_t* to, const uint8_t* row, const uint8_t* /*mask*/) {
                       importRow(to + image.GrayOffset, row + pair.sourceX * pixels.pixelSize, pair.width);
                   });
}

}  // namespace

void rbDrawPictureRGB(HostObject me, HostObject pic, int64_t destX, int64_t destY, int64_t destWidth,
                      int64_t destHeight, int64_t sourceX, int64_t sourceY) {
    PictureTRV& image = *RecordOf(me);
    if (!HasColours(image)) return;
    ImportColours(image, pic, nullptr, {destX, destY, destWidth, destHeight, sourceX, sourceY}, MaskUse::None,
                  false);
}

void rbDrawPictureRedToGrayChannel(HostObject me, HostObject pic, int64_t destX, int64_t destY,
                                   int64_t destWidth, int64_t destHeight, int64_t sourceX, int64_t sourceY) {
    ImportGray(me, pic, {destX, destY, destWidth, destHeight, sourceX, sourceY}, kRedShift);
}

void rbDrawPictureGreenToGrayChannel(HostObject me, HostObject pic, int64_t destX, int64_t destY,
                                     int64_t destWidth, int64_t destHeight, int64_t sourceX,
                                     int64_t sourceY) {
    ImportGray(me, pic, {destX, destY, destWidth, destHeight, sourceX, sourceY}, kGreenShift);
}

void rbDrawPictureBlueToGrayChannel(HostObject me, HostObject pic, int64_t destX, int64_t destY,
                                    int64_t destWidth, int64_t destHeight, int64_t sourceX, int64_t sourceY) {
    ImportGray(me, pic, {destX, destY, destWidth, destHeight, sourceX, sourceY}, kBlueShift);
}

void rbDrawMaskedPictureRGB(HostObject me, HostObject pic, int64_t destX, int64_t destY, int64_t destWidth,
                            int64_t destHeight, int64_t sourceX, int64_t sourceY, Boolean invertMask) {
    PictureTRV& image = *RecordOf(me);
    if (!HasColours(image)) return;
    const ObjectReference mask(MyREALGetPictureMask(pic, false));
    ImportColours(image, pic, mask.Get(), {destX, destY, destWidth, destHeight, sourceX, sourceY},
                  MaskUse::ToAlpha, invertMask != 0);
}

void rbDrawMaskedPictureApplyMaskRGB(HostObject me, HostObject pic, int64_t destX, int64_t destY,
                                     int64_t destWidth, int64_t destHeight, int64_t sourceX, int64_t sourceY,
                                     Boolean invertMask) {
    PictureTRV& image = *RecordOf(me);
    if (!HasColours(image)) return;
    const ObjectReference mask(MyREALGetPictureMask(pic, false));
    ImportColours(image, pic, mask.Get(), {destX, destY, destWidth, destHeight, sourceX, sourceY},
                  mask ? MaskUse::Blend : MaskUse::None, invertMask != 0);
}

}  // namespace trv
