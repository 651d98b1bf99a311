#include "bridge/picture_drawing.h"

#include <cstring>

#include "bridge/description_lock.h"
#include "bridge/gd_image.h"
#include "bridge/picture_helpers.h"
#include "frame/debug_log.h"
#include "frame/object_methods.h"
#include "frame/references.h"

namespace trv {

namespace {

constexpr double kFirstHostDrawingDoubles = 2018.02;

/// Calls DrawPicture with the numbers as `Number`, if the Graphics has it.
template <class Number>
bool CallDrawPicture(ObjectMethod<void(HostObject, HostObject, Number, Number, Number, Number, Number, Number,
                                       Number, Number)>& drawPicture,
                     HostObject graphics, HostObject pic, const DrawnRectangles& r) {
    const auto draw = drawPicture.Find(graphics);
    if (draw == nullptr) return false;
    draw(graphics, pic, static_cast<Number>(r.x), static_cast<Number>(r.y), static_cast<Number>(r.width),
         static_cast<Number>(r.height), static_cast<Number>(r.sourceX), static_cast<Number>(r.sourceY),
         static_cast<Number>(r.sourceWidth), static_cast<Number>(r.sourceHeight));
    return true;
}

/// The gd image behind a lock, if it has the right storage.
GdImage* RowsOfWords(const DescriptionLock& lock) {
    auto* image = static_cast<GdImage*>(lock.Data());
    return lock.HasWantedType() && HasTrueColorRows(image) && image->pixels == nullptr ? image : nullptr;
}

bool CopyRows(const DescriptionLock& from, const DescriptionLock& to) {
    const GdImage* source = RowsOfWords(from);
    const GdImage* destination = RowsOfWords(to);
    if (source == nullptr || destination == nullptr) return false;
    if (source->sx != destination->sx || source->sy != destination->sy) return false;
    for (int32_t y = 0; y < source->sy; ++y) {
        // A row can be missing from an image that came apart; what it would give stays as it is.
        if (source->tpixels[y] == nullptr || destination->tpixels[y] == nullptr || source->sx < 1) continue;
        std::memmove(destination->tpixels[y], source->tpixels[y],
                     static_cast<size_t>(source->sx) * sizeof(int32_t));
    }
    TRV_LOG("copied");
    return true;
}

}  // namespace

bool GraphicsDrawPicture(HostObject destination, HostObject pic, const DrawnRectangles& rectangles) {
    const ObjectReference graphics(GraphicsOfPicture(destination));
    if (!graphics) {
        TRV_LOG("Failed to get graphics.");
        return false;
    }
    if (DrawPictureWith(graphics.Get(), pic, rectangles)) return true;
    TRV_LOG("drawpicture failes?");
    return OwnCopy(destination, pic, rectangles);
}

bool GraphicsDrawPicture(HostObject destination, HostObject pic, int64_t width, int64_t height) {
    return GraphicsDrawPicture(destination, pic, {0, 0, width, height, 0, 0, width, height});
}

bool DrawPictureWith(HostObject graphics, HostObject pic, const DrawnRectangles& rectangles) {
    static constinit ObjectMethod<void(HostObject, HostObject, double, double, double, double, double, double,
                                       double, double)>
        drawDoubles{
            "DrawPicture(Image as Picture, x as Double, y as Double, w as Double, h as Double, sx as Double "
            "= 0, sy as "
            "Double = 0, sw as Double = -10000, sh as Double = -10000)"};
    static constinit ObjectMethod<void(HostObject, HostObject, int64_t, int64_t, int64_t, int64_t, int64_t,
                                       int64_t, int64_t, int64_t)>
        drawIntegers{
            "DrawPicture(Image as Picture, x as Integer, y as Integer, w as Integer, h as Integer, sx as "
            "Integer = 0, "
            "sy as Integer = 0, sw as Integer = -10000, sh as Integer = -10000)"};
    if (graphics == nullptr || pic == nullptr) return false;
    const bool drawn = HostVersion() >= kFirstHostDrawingDoubles
                           ? CallDrawPicture(drawDoubles, graphics, pic, rectangles)
                           : CallDrawPicture(drawIntegers, graphics, pic, rectangles);
    if (!drawn) TRV_LOG("Failed to get DrawPicture function.");
    return drawn;
}

bool OwnCopy(HostObject destination, HostObject pic, const DrawnRectangles& r) {
    if (destination == nullptr || pic == nullptr || r.sourceWidth != r.width || r.sourceHeight != r.height) {
        return false;
    }
    if (r.x != 0 || r.y != 0 || r.sourceX != 0 || r.sourceY != 0) return false;
    bool copied = false;
    {
        const DescriptionLock from(pic, pictureGDImagePtr);
        const DescriptionLock to(destination, pictureGDImagePtr);
        if (!from) TRV_LOG("REALLockPictureDescription failed for source picture.");
        if (!to) TRV_LOG("REALLockPictureDescription failed for destinatiom picture.");
        copied = from && to && CopyRows(from, to);
    }
    host::REALPictureClearCache(destination);
    return copied;
}

}  // namespace trv
