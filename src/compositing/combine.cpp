#include "compositing/combine.h"

#include <cstdio>
#include <span>

#include "compositing/blend_plan.h"
#include "compositing/blend_row.h"
#include "frame/debug_log.h"
#include "image/colour.h"
#include "rows/copy_pixels.h"

namespace trv {

namespace {

bool HasColours(const PictureTRV& image) {
    return !ColourChannelsOf(image).empty();
}

/// A layout's part in the name of a worker.
const char* LettersOf(const PictureTRV& image, bool withAlpha) {
    const bool alpha = withAlpha && image.HasAlpha != 0;
    return image.IsGray != 0 ? (alpha ? "GA" : "G") : (alpha ? "RGBA" : "RGB");
}

void LogWorker(const char* name, const char* dest, const char* source, const char* mask, bool preMultiplied) {
    if (debugFlag == 0) return;
    char label[32];
    std::snprintf(label, sizeof label, "%s%s%s%s%s", name, dest, source, mask, preMultiplied ? "pt" : "pf");
    TRV_LOG(label);
}

/// The test of HasByteSamples, in the words that belong here.
bool HasByteSamplesHere(const PictureTRV& image) {
    if (image.BitsPerComponent <= 8) return true;
    TRV_LOG("More than 8 BitsPerComponent not supported here", image.BitsPerComponent);
    return false;
}

/// What the three paths over a source do behind their tests.
void BlendPair(const BlendPlan& plan, RowSet& rows, std::span<const BlendSide> sides,
               const RectanglePair& pair) {
    BlendRows(plan, rows, sides, pair.destY, pair.sourceY, pair.width, pair.height, true);
}

// Case2: through a mask
// -----------------------------------------------------------------------------------------------

BlendPlan PlanCase2(const PictureTRV& dest, const PictureTRV& source, const PictureTRV& mask,
                    bool preMultiplied) {
    BlendPlan plan{.rule = preMultiplied ? BlendRule::Add : BlendRule::Mix,
                   .pixelSize = {dest.PixelSize, source.PixelSize, mask.PixelSize},
                   .sides = 3};
    for (const Channel channel : ColourChannelsOf(dest)) {
        // Colours over a premultiplied source take the destination's alpha in place of its colour.
        const bool own = !preMultiplied || channel == Channel::Gray;
        plan.Add({.to = OffsetOf(dest, channel),
                  .d = own ? ByteValue(0, OffsetOf(dest, channel)) : AlphaValue(0, dest),
                  .s = ColourValue(1, source, channel),
                  .m = ColourValue(2, mask, channel)});
    }
    if (dest.HasAlpha != 0) {
        plan.Add({.to = dest.AlphaOffset,
                  .d = AlphaValue(0, dest),
                  .s = AlphaValue(1, source),
                  .m = AlphaValue(2, mask)});
    }
    return plan;
}

Boolean Case2(PictureTRV& dest, PictureTRV& source, PictureTRV& mask, RectanglePair pair,
              bool preMultiplied) {
    TRV_LOG("Case2");
    if (!IsValid(&dest) || !IsValid(&source) || !IsValid(&mask)) return 0;
    for (const PictureTRV* image : {&dest, &mask, &source}) {
        if (!HasByteSamplesHere(*image)) return 0;
    }
    if (mask.Width != source.Width) {
        TRV_LOG("Width not the same:", mask.Width, source.Width);
        return 0;
    }
    if (mask.Height != source.Height) {
        TRV_LOG("Height not the same:", mask.Height, source.Height);
        return 0;
    }
    RowSet rows(dest, {&source, &mask});
    if (!StartImage(&dest) || !StartImage(&source)) return 0;
    Fix(dest, pair, source.Width, source.Height);
    if (pair.width <= 0) {
        TRV_LOG("w is <= 0");
        return 0;
    }
    if (pair.height <= 0) {
        TRV_LOG("h is <= 0");
        return 0;
    }
    if (!HasColours(dest) || !HasColours(source) || !HasColours(mask)) return 1;
    LogWorker("Case2", LettersOf(dest, true), LettersOf(source, true), LettersOf(mask, true), preMultiplied);
    const BlendSide sides[] = {{&dest, pair.destX}, {&source, pair.sourceX}, {&mask, pair.sourceX}};
    BlendPair(PlanCase2(dest, source, mask, preMultiplied), rows, sides, pair);
    return 1;
}

// Case3: the source as a mask for a colour
// ----------------------------------------------------------------------------

BlendPlan PlanCase3(const PictureTRV& dest, const PictureTRV& source, const ColourBytes& colour,
                    bool preMultiplied) {
    BlendPlan plan{.rule = preMultiplied ? BlendRule::Add : BlendRule::Mix,
                   .pixelSize = {dest.PixelSize, source.PixelSize},
                   .sides = 2};
    const BlendValue mask = source.IsGray != 0 ? ByteValue(1, source.GrayOffset)
                                               : ColoursValue(BlendValue::Kind::Mean, 1, source);
    const auto add = [&](Channel to, Channel of) {
        plan.Add({.to = OffsetOf(dest, to),
                  .d = ByteValue(0, OffsetOf(dest, to)),
                  .s = ColourValue(colour, of),
                  .m = mask});
    };
    if (dest.IsGray != 0 && !preMultiplied) {
        plan.rule = BlendRule::MixToGray;
        for (const Channel channel : {Channel::Red, Channel::Green, Channel::Blue})
            add(Channel::Gray, channel);
    } else {
        for (const Channel channel : ColourChannelsOf(dest))
            add(channel, channel);
    }
    return plan;
}

void LogCase3(const PictureTRV& dest, const PictureTRV& source, const ColourBytes& colour) {
    TRV_LOG(source.IsGray != 0 ? "MSHasGray true" : "MSHasGray false");
    TRV_LOG(source.IsGray == 0 ? "MSHasRGB true" : "MSHasRGB false");
    TRV_LOG(dest.IsGray != 0 ? "MEHasGray true" : "MEHasGray false");
    TRV_LOG(dest.IsGray == 0 ? "MEHasRGB true" : "MEHasRGB false");
    TRV_LOG("TR", colour.red);
    TRV_LOG("TG", colour.green);
    TRV_LOG("TB", colour.blue);
    TRV_LOG("eps", dest.PixelSize);
    TRV_LOG("sps", source.PixelSize);
}

Boolean Case3(PictureTRV& dest, PictureTRV& source, RectanglePair pair, int64_t foreColour,
              bool preMultiplied) {
    TRV_LOG("Case3");
    if (!IsValid(&dest) || !IsValid(&source)) return 0;
    RowSet rows(dest, {&source});
    if (!StartImage(&dest) || !StartImage(&source)) return 0;
    Fix(dest, pair, source.Width, source.Height);
    if (pair.IsEmpty()) return 0;
    if (!HasColours(dest) || !HasColours(source)) return 1;
    const ColourBytes colour = UnpackColour(foreColour);
    LogWorker("Case3", LettersOf(dest, false), LettersOf(source, false), "", preMultiplied);
    LogCase3(dest, source, colour);
    const BlendSide sides[] = {{&dest, pair.destX}, {&source, pair.sourceX}};
    BlendPair(PlanCase3(dest, source, colour, preMultiplied), rows, sides, pair);
    return 1;
}

// Case4: a colour as a constant mask
// ----------------------------------------------------------------------------------

BlendPlan PlanCase4(const PictureTRV& dest, const PictureTRV& source, const ColourBytes& mask,
                    bool preMultiplied) {
    BlendPlan plan{.rule = preMultiplied ? BlendRule::Add : BlendRule::Mix,
                   .pixelSize = {dest.PixelSize, source.PixelSize},
                   .sides = 2};
    for (const Channel channel : ColourChannelsOf(dest)) {
        plan.Add({.to = OffsetOf(dest, channel),
                  .d = ByteValue(0, OffsetOf(dest, channel)),
                  .s = ColourValue(1, source, channel),
                  .m = ColourValue(mask, channel)});
    }
    return plan;
}

Boolean Case4(PictureTRV& dest, PictureTRV& source, RectanglePair pair, bool useColours, int64_t maskColour,
              bool preMultiplied) {
    TRV_LOG("Case4");
    if (!IsValid(&dest) || !IsValid(&source)) return 0;
    for (const PictureTRV* image : {&dest, &source}) {
        if (!HasByteSamplesHere(*image)) return 0;
    }
    RowSet rows(dest, {&source});
    if (!StartImage(&dest) || !StartImage(&source)) return 0;
    Fix(dest, pair, source.Width, source.Height);
    if (pair.IsEmpty()) return 0;
    if (!HasColours(dest) || !HasColours(source)) return 1;
    LogWorker("Case4", LettersOf(dest, false), LettersOf(source, false), "", preMultiplied);
    const ColourBytes mask = UnpackColour(useColours ? maskColour : 0);
    const BlendSide sides[] = {{&dest, pair.destX}, {&source, pair.sourceX}};
    BlendPair(PlanCase4(dest, source, mask, preMultiplied), rows, sides, pair);
    return 1;
}

// A mask over a colour
// ------------------------------------------------------------------------------------------------

Boolean PictureCombine4internCase(PictureTRV& image, PictureTRV& mask, RectanglePair pair,
                                  const ColourBytes& colour) {
    TRV_LOG("PictureCombine4internCase");
    if (!HasByteSamples(image) || !HasByteSamples(mask)) return 0;
    if (image.IsRGB == 0) {
        TRV_LOG("Instance is not RGB.");
        return 0;
    }
    if (mask.Width != image.Width) {
        TRV_LOG("width does not match.", mask.Width, image.Width);
        return 0;
    }
    if (mask.Height != image.Height) {
        TRV_LOG("height does not match.", mask.Height, image.Height);
        return 0;
    }
    RowSet rows(image, {&mask});
    if (!StartImage(&image)) {
        TRV_LOG("StartImage failed.");
        return 0;
    }
    Fix(image, pair, image.Width, image.Height);
    if (pair.width < 1) {
        TRV_LOG("width is <=0.", pair.width);
        return 0;
    }
    if (pair.height < 1) {
        TRV_LOG("height is <=0.", pair.height);
        return 0;
    }
    if (!HasColours(mask)) {
        TRV_LOG("Mask is not RGB or Gray.");
        return 0;
    }
    TRV_LOG(mask.IsRGB != 0 ? "PictureCombine4internCaseInternalRGB"
                            : "PictureCombine4internCaseInternalGray");
    // The mask's sense is the other way round here: what it keeps elsewhere, it replaces by the colour.
    BlendPlan plan{.pixelSize = {image.PixelSize, mask.PixelSize}, .sides = 2};
    for (const Channel channel : {Channel::Red, Channel::Green, Channel::Blue}) {
        plan.Add({.to = OffsetOf(image, channel),
                  .d = ColourValue(colour, channel),
                  .s = ByteValue(0, OffsetOf(image, channel)),
                  .m = ColourValue(1, mask, channel)});
    }
    const BlendSide sides[] = {{&image, pair.destX}, {&mask, pair.sourceX}};
    BlendPair(plan, rows, sides, pair);
    return 1;
}

}  // namespace

Boolean PictureCombine1pm(HostObject me, HostObject image, bool preMultipliedSource, HostObject mask,
                          const RectanglePair& pair, bool useColours, int64_t foreColour,
                          int64_t maskColour) {
    TRV_LOG("PictureCombine1pm");
    TRV_LOG("pDestImage", me);
    TRV_LOG("pImage", image);
    TRV_LOG("pMask", mask);
    TRV_LOG("pDestX", pair.destX);
    TRV_LOG("pDestY", pair.destY);
    TRV_LOG("pSourceX", pair.sourceX);
    TRV_LOG("pSourceY", pair.sourceY);
    TRV_LOG("pWidth", pair.width);
    TRV_LOG("pHeight", pair.height);
    TRV_LOG("pUseColours", useColours);
    TRV_LOG("pForeColour", foreColour);
    TRV_LOG("pMaskColour", maskColour);
    if (me == nullptr) {
        TRV_LOG("pDestImage is nil");
        return 0;
    }
    if (image == nullptr) {
        TRV_LOG("pImage is nil");
        return 0;
    }
    if (pair.width <= 0) {
        TRV_LOG("pWidth <= 0");
        return 0;
    }
    if (pair.height <= 0) {
        TRV_LOG("pHeight <= 0");
        return 0;
    }
    PictureTRV& dest = *RecordOf(me);
    PictureTRV& source = *RecordOf(image);
    if (mask != nullptr) return Case2(dest, source, *RecordOf(mask), pair, preMultipliedSource);
    if (foreColour < 0 && maskColour < 0) {
        TRV_LOG("CopyPixelFastTRV", pair.destX, pair.destY, pair.width, pair.height, pair.sourceX,
                pair.sourceY);
        return rbCopyPixels(me, image, pair.destX, pair.destY, pair.width, pair.height, pair.sourceX,
                            pair.sourceY);
    }
    if (maskColour >= 0) return Case4(dest, source, pair, useColours, maskColour, preMultipliedSource);
    return Case3(dest, source, pair, foreColour, preMultipliedSource);
}

Boolean PictureCombine4(HostObject me, HostObject maskObject, int64_t x, int64_t y, int64_t width,
                        int64_t height, uint32_t backColour) {
    TRV_LOG("PictureCombine4");
    TRV_LOG("instance", me);
    TRV_LOG("pMask", maskObject);
    TRV_LOG("X", x);
    TRV_LOG("Y", y);
    TRV_LOG("Width", width);
    TRV_LOG("Height", height);
    TRV_LOG("BackColour", backColour);
    if (me == nullptr) {
        TRV_LOG("Instance is nil.");
        return 0;
    }
    if (maskObject == nullptr) {
        TRV_LOG("Mask is nil.");
        return 0;
    }
    if (width < 1) {
        TRV_LOG("Width is <=0.", width);
        return 0;
    }
    if (height < 1) {
        TRV_LOG("Height is <=0.", height);
        return 0;
    }
    PictureTRV& image = *RecordOf(me);
    PictureTRV& mask = *RecordOf(maskObject);
    if (!IsValid(&image) || !IsValid(&mask)) return 0;
    return PictureCombine4internCase(image, mask, {x, y, width, height, x, y}, UnpackColour(backColour));
}

}  // namespace trv
