#include "compositing/background_blend.h"

#include <array>
#include <cstdio>
#include <initializer_list>
#include <span>

#include "compositing/blend_plan.h"
#include "compositing/blend_row.h"
#include "frame/debug_log.h"
#include "image/colour.h"

namespace trv {

namespace {

/// The texts for a picture that has to go with the source.
struct Refusals {
    const char* tooSmall;
    const char* noColours;
};

bool GoesWith(const PictureTRV& source, const PictureTRV& image, const Refusals& texts) {
    if (!IsValid(&image)) return false;
    if (image.Width < source.Width || image.Height < source.Height) {
        TRV_LOG(texts.tooSmall);
        return false;
    }
    if (ColourChannelsOf(image).empty()) {
        TRV_LOG(texts.noColours);
        return false;
    }
    return true;
}

/// Names a worker: the stage, then the kind of each picture.
void LogWorker(const char* stage, std::initializer_list<const PictureTRV*> images) {
    if (debugFlag == 0) return;
    char label[64];
    size_t length = 0;
    const auto append = [&](const char* text) {
        length += static_cast<size_t>(std::snprintf(label + length, sizeof label - length, "%s", text));
    };
    append(stage);
    for (const PictureTRV* image : images)
        append(image->IsGray != 0 ? "_Gray" : "_RGB");
    TRV_LOG(label);
}

/// The pictures of a call; those that are not given are null.
struct Pictures {
    PictureTRV& source;
    PictureTRV* dest;
    PictureTRV* mask;
    PictureTRV& result;
};

/// A plan over the result (side 0) and the source (side 1), without what is mixed in. A mask of 0 everywhere
/// is what a plan without a mask comes to.
BlendPlan PlanOver(const Pictures& pictures) {
    BlendPlan plan{.pixelSize = {pictures.result.PixelSize, pictures.source.PixelSize}, .sides = 2};
    for (const Channel channel : ColourChannelsOf(pictures.result)) {
        plan.Add({.to = OffsetOf(pictures.result, channel),
                  .d = {},
                  .s = ColourValue(1, pictures.source, channel),
                  .m = {}});
    }
    return plan;
}

/// Adds a picture to a plan; its number.
size_t AddSide(BlendPlan& plan, const PictureTRV& image) {
    plan.pixelSize[plan.sides] = image.PixelSize;
    return plan.sides++;
}

/// One mask value serves all channels.
void AddMask(BlendPlan& plan, const PictureTRV& mask) {
    const size_t side = AddSide(plan, mask);
    for (BlendChannel& channel : plan.channels)
        channel.m = ColourValue(side, mask, Channel::Gray);
}

void Run(const BlendPlan& plan, std::initializer_list<PictureTRV*> sources, PictureTRV& result,
         const Rectangle& rectangle) {
    RowSet rows(result, sources);
    std::array<BlendSide, BlendPlan::kMostSides> sides{};
    size_t count = 0;
    sides[count++] = {&result, rectangle.x};
    for (PictureTRV* source : sources)
        sides[count++] = {source, rectangle.x};
    BlendRows(plan, rows, std::span(sides).first(count), rectangle.y, rectangle.y, rectangle.width,
              rectangle.height, false);
}

void BlendPictureBG6(const Pictures& pictures, const Rectangle& rectangle) {
    LogWorker("BlendPictureBG6", {&pictures.source, pictures.dest, pictures.mask, &pictures.result});
    BlendPlan plan = PlanOver(pictures);
    AddMask(plan, *pictures.mask);
    const size_t side = AddSide(plan, *pictures.dest);
    size_t i = 0;
    for (const Channel channel : ColourChannelsOf(pictures.result))
        plan.channels[i++].d = ColourValue(side, *pictures.dest, channel);
    Run(plan, {&pictures.source, pictures.mask, pictures.dest}, pictures.result, rectangle);
    TRV_LOG("okay");
}

void BlendPictureBG4(const Pictures& pictures, const ColourBytes& colour, const Rectangle& rectangle) {
    LogWorker("BlendPictureBG4", {&pictures.source, pictures.mask, &pictures.result});
    BlendPlan plan = PlanOver(pictures);
    AddMask(plan, *pictures.mask);
    size_t i = 0;
    for (const Channel channel : ColourChannelsOf(pictures.result))
        plan.channels[i++].d = ColourValue(colour, channel);
    Run(plan, {&pictures.source, pictures.mask}, pictures.result, rectangle);
}

void BlendPictureBG3(const Pictures& pictures, const Rectangle& rectangle) {
    LogWorker("BlendPictureBG3", {&pictures.source, &pictures.result});
    Run(PlanOver(pictures), {&pictures.source}, pictures.result, rectangle);
}

}  // namespace

Boolean rbBlendPicturesWithMaskWithBackground5(HostObject sourceObject, HostObject destObject,
                                               HostObject maskObject, HostObject resultObject,
                                               uint32_t backgroundColour, int64_t x, int64_t y, int64_t width,
                                               int64_t height) {
    TRV_LOG("BlendPicturesWithMaskWithBackground5");
    PictureTRV* source = RecordOf(sourceObject);
    if (source == nullptr) {
        TRV_LOG("SourceImage is nil");
        return 0;
    }
    if (!IsValid(source)) return 0;
    if (ColourChannelsOf(*source).empty()) {
        TRV_LOG("SourceImage is not RGB or Gray.");
        return 0;
    }
    Rectangle rectangle{x, y, width, height};
    Fix(*source, rectangle);
    // Sizes below 0 go on, and find no pixels.
    if (rectangle.width == 0 || rectangle.height == 0) {
        TRV_LOG("Width or height is 0.", rectangle.width, rectangle.height);
        return 0;
    }
    PictureTRV* result = RecordOf(resultObject);
    if (result == nullptr) {
        TRV_LOG("Result is nil");
        return 0;
    }
    PictureTRV* dest = RecordOf(destObject);
    PictureTRV* mask = RecordOf(maskObject);
    if (!GoesWith(*source, *result, {"Result too small.", "Result is not RGB or Gray."})) return 0;
    if (dest != nullptr &&
        !GoesWith(*source, *dest, {"DestImage too small.", "DestImage is not RGB or Gray."}))
        return 0;
    if (mask != nullptr && !GoesWith(*source, *mask, {"Mask too small.", "Mask is not RGB or Gray."}))
        return 0;
    TRV_LOG("BlendPictureBG2");
    const Pictures pictures{*source, dest, mask, *result};
    if (dest != nullptr && mask != nullptr) {
        BlendPictureBG6(pictures, rectangle);
    } else if (mask != nullptr) {
        BlendPictureBG4(pictures, UnpackColour(backgroundColour), rectangle);
    } else {
        BlendPictureBG3(pictures, rectangle);
    }
    return 1;
}

Boolean rbBlendPicturesWithMaskWithBackground(HostObject source, HostObject dest, HostObject mask,
                                              HostObject result, uint32_t backgroundColour) {
    const PictureTRV* image = RecordOf(source);
    return rbBlendPicturesWithMaskWithBackground5(source, dest, mask, result, backgroundColour, 0, 0,
                                                  image == nullptr ? 0 : image->Width,
                                                  image == nullptr ? 0 : image->Height);
}

}  // namespace trv
