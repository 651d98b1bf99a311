// Graphics: what draws into a picture.
#pragma once

#include <vector>

#include "core.h"
#include "pictures.h"

namespace trvhost {

class GraphicsThing : public Thing {
  public:
    static constexpr ThingKind kKind = ThingKind::Graphics;
    explicit GraphicsThing(ClassInfo* info) : Thing(kKind, info, info->dataSize) {}

    void DropChildren(Core& core) override {
        core.Unlock(picture);
        core.Unlock(textFont);
    }

    Handle picture = nullptr;
    Handle textFont = nullptr;  ///< a string
    uint32_t foreColor = 0;
    double textSize = 12;
    double penWidth = 1;
    double penHeight = 1;
    std::vector<DrawnText> texts;
};

/// New graphics of a picture, or null.
GraphicsThing* NewGraphics(Core& core, PictureThing& picture);

/// A rectangle of whole pixels.
struct PixelRect {
    int64_t x, y, width, height;
};

/// Draws the source rectangle of a picture, scaled to the nearest pixel, over the destination rectangle:
/// through the source's mask (black shows the picture) or its alpha, both clipped. Equal pixels come out of
/// equal sizes without mask and alpha, and of opaque or fully transparent places with them.
void DrawPicture(PictureStore& to, const PixelRect& toRect, const PictureStore& from,
                 const PixelRect& fromRect, const PictureStore* mask);

}  // namespace trvhost
