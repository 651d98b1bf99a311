#include "graphics.h"

#include <algorithm>
#include <cmath>

#include "entry.h"
#include "string_things.h"

namespace trvhost {

GraphicsThing* NewGraphics(Core& core, PictureThing& picture) {
    ClassInfo* info = core.classes.Find("Graphics");
    if (info == nullptr || picture.store->width == 0) return nullptr;
    auto& graphics = static_cast<GraphicsThing&>(core.classes.Make(*info));
    graphics.picture = core.Share(picture.Address());
    return &graphics;
}

namespace {

// Beyond this no coordinate reaches a picture, and sums of a few of them stay exact.
constexpr double kFarAway = 1e9;
constexpr double kWholePicture = -10000;

int64_t Whole(double value) {
    if (!(value == value)) return 0;
    return static_cast<int64_t>(std::floor(std::clamp(value, -kFarAway, kFarAway)));
}

PixelRect WholeRect(double x, double y, double width, double height) {
    return {Whole(x), Whole(y), Whole(width), Whole(height)};
}

uint32_t Mix(uint32_t under, uint32_t over, uint32_t weight) {
    return (over * weight + under * (255 - weight) + 127) / 255;
}

/// `over` above `under` with this opacity; both ends are exact.
uint32_t Blend(uint32_t under, uint32_t over, uint32_t opacity) {
    const uint32_t underAlpha = under >> 24;
    if (opacity == 255 || underAlpha == 0) return opacity << 24 | (over & 0xFFFFFF);
    if (opacity == 0) return under;
    const uint32_t alpha = opacity + (underAlpha * (255 - opacity) + 127) / 255;
    // Weight of the upper colour in a result whose own opacity is `alpha`.
    const uint32_t weight = std::min<uint32_t>(255, (opacity * 255 + alpha / 2) / alpha);
    uint32_t result = alpha << 24;
    for (const int shift : {16, 8, 0}) {
        result |= Mix((under >> shift) & 0xFF, (over >> shift) & 0xFF, weight) << shift;
    }
    return result;
}

/// Source columns for the destination columns; the caller has clipped so that all lie inside.
std::vector<int64_t> SourcePositions(int64_t first, int64_t count, int64_t toStart, int64_t toSize,
                                     int64_t fromStart, int64_t fromSize) {
    std::vector<int64_t> positions(static_cast<size_t>(count));
    for (int64_t i = 0; i < count; ++i) {
        positions[static_cast<size_t>(i)] = fromStart + (first + i - toStart) * fromSize / toSize;
    }
    return positions;
}

}  // namespace

void DrawPicture(PictureStore& to, const PixelRect& toRect, const PictureStore& from,
                 const PixelRect& fromRect, const PictureStore* mask) {
    if (toRect.width < 1 || toRect.height < 1 || fromRect.width < 1 || fromRect.height < 1) return;
    const int64_t left = std::max<int64_t>(0, toRect.x);
    const int64_t right = std::min(to.width, toRect.x + toRect.width);
    const int64_t top = std::max<int64_t>(0, toRect.y);
    const int64_t bottom = std::min(to.height, toRect.y + toRect.height);
    if (left >= right || top >= bottom || from.width < 1) return;
    const auto columns =
        SourcePositions(left, right - left, toRect.x, toRect.width, fromRect.x, fromRect.width);
    const auto rows =
        SourcePositions(top, bottom - top, toRect.y, toRect.height, fromRect.y, fromRect.height);
    const bool masked = mask != nullptr && mask->width >= from.width && mask->height >= from.height;
    const auto widest = static_cast<size_t>(from.width);
    std::vector<uint32_t> under(static_cast<size_t>(right - left)), over(widest), cover(widest);
    for (int64_t y = top; y < bottom; ++y) {
        const int64_t sourceRow = rows[static_cast<size_t>(y - top)];
        if (sourceRow < 0 || sourceRow >= from.height) continue;
        from.Read(0, sourceRow, from.width, over.data());
        if (masked) mask->Read(0, sourceRow, from.width, cover.data());
        to.Read(left, y, right - left, under.data());
        for (size_t i = 0; i < under.size(); ++i) {
            const int64_t column = columns[i];
            if (column < 0 || column >= from.width) continue;
            const uint32_t pixel = over[static_cast<size_t>(column)];
            const uint32_t shown = masked ? 255 - ((cover[static_cast<size_t>(column)] >> 16) & 0xFF) : 255;
            under[i] =
                Blend(under[i], pixel, shown == 255 ? pixel >> 24 : ((pixel >> 24) * shown + 127) / 255);
        }
        to.Write(left, y, right - left, under.data());
    }
}

namespace {

/// The graphics and what it draws into; null if it is none or has no picture.
struct Target {
    GraphicsThing* graphics = nullptr;
    PictureStore* store = nullptr;
    explicit operator bool() const { return store != nullptr; }
};

Target TargetOf(Core& core, Handle self) {
    auto* graphics = core.FindAs<GraphicsThing>(self);
    if (graphics == nullptr) return {};
    auto* picture = core.PeekAs<PictureThing>(graphics->picture);
    if (picture == nullptr || picture->store->width == 0) return {};
    return {graphics, picture->store.get()};
}

void FillClipped(PictureStore& store, PixelRect rect, uint32_t argb) {
    const int64_t left = std::max<int64_t>(0, rect.x), right = std::min(store.width, rect.x + rect.width);
    const int64_t top = std::max<int64_t>(0, rect.y), bottom = std::min(store.height, rect.y + rect.height);
    if (left >= right) return;
    const std::vector<uint32_t> row(static_cast<size_t>(right - left), argb);
    for (int64_t y = top; y < bottom; ++y)
        store.Write(left, y, right - left, row.data());
}

uint32_t Ink(const GraphicsThing& graphics) {
    return kOpaque | graphics.foreColor;
}

int64_t Pen(double size) {
    return std::max<int64_t>(1, Whole(size));
}

void ClearRect(Core& core, Handle self, double x, double y, double width, double height) {
    if (const Target target = TargetOf(core, self)) {
        FillClipped(*target.store, WholeRect(x, y, width, height), target.store->alpha ? 0 : kWhite);
    }
}

void FillRect(Core& core, Handle self, double x, double y, double width, double height) {
    if (const Target target = TargetOf(core, self)) {
        FillClipped(*target.store, WholeRect(x, y, width, height), Ink(*target.graphics));
    }
}

/// What of a row a shape covers: columns from `left` to below `right`.
struct Span {
    int64_t left, right;
};

/// The covered part of row `row` of a rectangle of this size whose corners are quarter ellipses.
Span RoundSpan(int64_t width, int64_t height, double radiusX, double radiusY, int64_t row) {
    const double center = static_cast<double>(row) + 0.5;
    const double fromEdge = std::min(center, static_cast<double>(height) - center);
    if (radiusX <= 0 || radiusY <= 0 || fromEdge >= radiusY) return {0, width};
    const double part = (radiusY - fromEdge) / radiusY;
    const auto inset =
        static_cast<int64_t>(std::ceil(radiusX * (1 - std::sqrt(std::max(0.0, 1 - part * part))) - 0.5));
    return {inset, width - inset};
}

struct Shape {
    PixelRect rect;
    double radiusX, radiusY;
};

void FillShape(PictureStore& store, const Shape& shape, uint32_t argb) {
    const int64_t top = std::max<int64_t>(0, shape.rect.y);
    const int64_t bottom = std::min(store.height, shape.rect.y + shape.rect.height);
    for (int64_t y = top; y < bottom; ++y) {
        const Span span =
            RoundSpan(shape.rect.width, shape.rect.height, shape.radiusX, shape.radiusY, y - shape.rect.y);
        FillClipped(store, {shape.rect.x + span.left, y, span.right - span.left, 1}, argb);
    }
}

/// The shape without the same shape drawn in by the pen.
void DrawShape(const Target& target, const Shape& shape) {
    const int64_t penX = Pen(target.graphics->penWidth), penY = Pen(target.graphics->penHeight);
    const uint32_t ink = Ink(*target.graphics);
    const PixelRect& outer = shape.rect;
    const int64_t innerWidth = outer.width - 2 * penX, innerHeight = outer.height - 2 * penY;
    const int64_t top = std::max<int64_t>(0, outer.y),
                  bottom = std::min(target.store->height, outer.y + outer.height);
    for (int64_t y = top; y < bottom; ++y) {
        const int64_t row = y - outer.y;
        const Span span = RoundSpan(outer.width, outer.height, shape.radiusX, shape.radiusY, row);
        Span hole = {span.right, span.right};
        if (innerWidth > 0 && row >= penY && row < penY + innerHeight) {
            hole = RoundSpan(innerWidth, innerHeight, shape.radiusX - static_cast<double>(penX),
                             shape.radiusY - static_cast<double>(penY), row - penY);
            hole = {std::max(span.left, hole.left + penX), std::min(span.right, hole.right + penX)};
        }
        if (hole.left >= hole.right) hole = {span.right, span.right};
        FillClipped(*target.store, {outer.x + span.left, y, hole.left - span.left, 1}, ink);
        FillClipped(*target.store, {outer.x + hole.right, y, span.right - hole.right, 1}, ink);
    }
}

Shape RoundShape(double x, double y, double width, double height, double arcWidth, double arcHeight) {
    const PixelRect rect = WholeRect(x, y, width, height);
    return {rect, std::clamp(arcWidth, 0.0, std::max(0.0, width)) / 2,
            std::clamp(arcHeight, 0.0, std::max(0.0, height)) / 2};
}

void DrawRect(Core& core, Handle self, double x, double y, double width, double height) {
    if (const Target target = TargetOf(core, self)) DrawShape(target, RoundShape(x, y, width, height, 0, 0));
}

void DrawRoundRect(Core& core, Handle self, double x, double y, double width, double height, double arcWidth,
                   double arcHeight) {
    if (const Target target = TargetOf(core, self)) {
        DrawShape(target, RoundShape(x, y, width, height, arcWidth, arcHeight));
    }
}

void FillRoundRect(Core& core, Handle self, double x, double y, double width, double height, double arcWidth,
                   double arcHeight) {
    if (const Target target = TargetOf(core, self)) {
        FillShape(*target.store, RoundShape(x, y, width, height, arcWidth, arcHeight), Ink(*target.graphics));
    }
}

void DrawOval(Core& core, Handle self, double x, double y, double width, double height) {
    DrawRoundRect(core, self, x, y, width, height, width, height);
}

void FillOval(Core& core, Handle self, double x, double y, double width, double height) {
    FillRoundRect(core, self, x, y, width, height, width, height);
}

/// Both ends belong to the line. Steps are taken only over the part near the picture.
void DrawLine(Core& core, Handle self, double x1, double y1, double x2, double y2) {
    const Target target = TargetOf(core, self);
    if (!target) return;
    const int64_t penX = Pen(target.graphics->penWidth), penY = Pen(target.graphics->penHeight);
    const int64_t startX = Whole(x1), startY = Whole(y1), deltaX = Whole(x2) - startX,
                  deltaY = Whole(y2) - startY;
    const bool steep = std::abs(deltaY) > std::abs(deltaX);
    const int64_t steps = std::max<int64_t>(1, std::max(std::abs(deltaX), std::abs(deltaY)));
    const int64_t start = steep ? startY : startX;
    const int64_t direction = (steep ? deltaY : deltaX) < 0 ? -1 : 1;
    const int64_t low = -(steep ? penY : penX), high = steep ? target.store->height : target.store->width;
    // The steps at which the leading coordinate lies from `low` to `high`.
    const int64_t first = std::max<int64_t>(0, direction > 0 ? low - start : start - high);
    const int64_t last = std::min(steps, direction > 0 ? high - start : start - low);
    for (int64_t i = first; i <= last; ++i) {
        const auto along = [&](int64_t from, int64_t delta) {
            return from +
                   Whole(static_cast<double>(i) * static_cast<double>(delta) / static_cast<double>(steps) +
                         0.5);
        };
        FillClipped(*target.store, {along(startX, deltaX), along(startY, deltaY), penX, penY},
                    Ink(*target.graphics));
    }
}

void DrawPictureInto(Core& core, Handle self, Handle image, double x, double y, double width, double height,
                     double sx, double sy, double sw, double sh) {
    const Target target = TargetOf(core, self);
    auto* picture = core.FindAs<PictureThing>(image);
    if (!target || picture == nullptr) return;
    const PictureThing* mask = MaskOf(core, *picture, false);
    const PixelRect fromRect = {Whole(sx), Whole(sy), sw == kWholePicture ? picture->store->width : Whole(sw),
                                sh == kWholePicture ? picture->store->height : Whole(sh)};
    const PixelRect toRect = {Whole(x), Whole(y), width == kWholePicture ? fromRect.width : Whole(width),
                              height == kWholePicture ? fromRect.height : Whole(height)};
    DrawPicture(*target.store, toRect, *picture->store, fromRect,
                mask == nullptr ? nullptr : mask->store.get());
}

/// The same function under a declaration with Integer coordinates.
template <auto kFunction>
struct WithIntegers;

template <class... Numbers, void (*kFunction)(Core&, Handle, Numbers...)>
struct WithIntegers<kFunction> {
    template <class>
    using Integer = int64_t;
    static void Call(Core& core, Handle self, Integer<Numbers>... numbers) {
        kFunction(core, self, static_cast<double>(numbers)...);
    }
};

void DrawPictureIntegers(Core& core, Handle self, Handle image, int64_t x, int64_t y, int64_t width,
                         int64_t height, int64_t sx, int64_t sy, int64_t sw, int64_t sh) {
    const auto d = [](int64_t n) { return static_cast<double>(n); };
    DrawPictureInto(core, self, image, d(x), d(y), d(width), d(height), d(sx), d(sy), d(sw), d(sh));
}

// There is no font: a character is a box of 6/10 of the text size, of which the inner part is filled.
double CharacterWidth(const GraphicsThing& graphics) {
    return graphics.textSize * 0.6;
}

int64_t CharacterCount(std::string_view utf8) {
    return std::count_if(utf8.begin(), utf8.end(), [](char c) { return (c & 0xC0) != 0x80; });
}

void DrawText(Core& core, Handle self, Handle string, double x, double y, double wrapWidth) {
    const Target target = TargetOf(core, self);
    if (!target) return;
    const std::string text = BytesOf(core, string);
    target.graphics->texts.push_back({text, x, y, wrapWidth});
    const double step = CharacterWidth(*target.graphics), size = target.graphics->textSize;
    double left = x;
    for (const char c : text) {
        if ((c & 0xC0) == 0x80) continue;
        if (c > ' ' || c < 0) {
            FillClipped(*target.store, WholeRect(left + step * 0.1, y - size * 0.7, step * 0.8, size * 0.7),
                        Ink(*target.graphics));
        }
        left += step;
        if (left - x > kFarAway) break;
    }
}

void DrawTextIntegers(Core& core, Handle self, Handle string, int64_t x, int64_t y, int64_t wrapWidth) {
    DrawText(core, self, string, static_cast<double>(x), static_cast<double>(y),
             static_cast<double>(wrapWidth));
}

double TextWidth(Core& core, Handle self, Handle string) {
    const auto* graphics = core.FindAs<GraphicsThing>(self);
    if (graphics == nullptr) return 0;
    return CharacterWidth(*graphics) * static_cast<double>(CharacterCount(BytesOf(core, string)));
}

int64_t TextWidthInteger(Core& core, Handle self, Handle string) {
    return Whole(TextWidth(core, self, string));
}

Handle GraphicsOfPicture(Core& core, Handle self) {
    auto* picture = core.FindAs<PictureThing>(self);
    const GraphicsThing* graphics = picture == nullptr ? nullptr : NewGraphics(core, *picture);
    return graphics == nullptr ? nullptr : graphics->Address();
}

void Origin(Core&, Handle /*graphics*/, int64_t* x, int64_t* y) {
    if (x != nullptr) *x = 0;
    if (y != nullptr) *y = 0;
}

void* GraphicsDc(Core&, Handle /*graphics*/) {
    return nullptr;
}

void ReleaseDc(Core&, Handle /*graphics*/) {}

/// Draws a packed description into the graphics.
void DrawPrimitive(Core& core, Handle self, PictureDescription* description, void* rect,
                   bool /*transparent*/) {
    const Target target = TargetOf(core, self);
    if (!target || description == nullptr || description->data == nullptr || rect != nullptr ||
        description->pictureType != int32_t{kPictureDirect2D} || description->width < 1 ||
        description->height < 1) {
        return;
    }
    const auto* words = static_cast<const uint32_t*>(description->data);
    const int64_t width = std::min<int64_t>(description->width, target.store->width);
    for (int64_t y = 0; y < std::min<int64_t>(description->height, target.store->height); ++y) {
        target.store->Write(0, y, width, words + y * description->width);
    }
}

// From this version on numbers are doubles, from the next the members have their newer names; the older names
// stay.
constexpr double kDoubles = 2018.02;
constexpr double kNewNames = 2020.0;
constexpr double kFloatWidth = 2007.02;

#define TRVHOST_FOUR "( x as Double, y as Double, width as Double, height as Double )"
#define TRVHOST_FOUR_INTEGERS "( x as Integer, y as Integer, width as Integer, height as Integer )"

}  // namespace

std::span<const EntryRow> GraphicsEntries() {
    static const EntryRow rows[] = {
        Row<"pluginPictureGraphicsGetter", GraphicsOfPicture>(),
        Row<"REALGetGraphicsOrigin", Origin>(),
        Row<"REALGraphicsDC", GraphicsDc>(),
        Row<"REALGraphicsReleaseDC", ReleaseDc>(),
        Row<"drawPicturePrimitive", DrawPrimitive>(),
    };
    return rows;
}

std::span<const MemberRow> GraphicsMembers() {
    static const MemberRow rows[] = {
        {Row<"Graphics.DrawPicture(Image as Picture, x as Double, y as Double, w as Double, h as Double, "
             "sx as Double = 0, sy as Double = 0, sw as Double = -10000, sh as Double = -10000)",
             DrawPictureInto>(),
         kDoubles},
        {Row<"Graphics.DrawPicture(Image as Picture, x as Integer, y as Integer, w as Integer, h as Integer, "
             "sx as Integer = 0, sy as Integer = 0, sw as Integer = -10000, sh as Integer = -10000)",
             DrawPictureIntegers>(),
         0, kDoubles},
        {Row<"Graphics.ClearRectangle" TRVHOST_FOUR, ClearRect>(), kNewNames},
        {Row<"Graphics.ClearRect" TRVHOST_FOUR, ClearRect>(), kDoubles},
        {Row<"Graphics.ClearRect" TRVHOST_FOUR_INTEGERS, WithIntegers<ClearRect>::Call>(), 0, kDoubles},
        {Row<"Graphics.DrawRectangle" TRVHOST_FOUR, DrawRect>(), kNewNames},
        {Row<"Graphics.DrawRect" TRVHOST_FOUR, DrawRect>(), kDoubles},
        {Row<"Graphics.DrawRect" TRVHOST_FOUR_INTEGERS, WithIntegers<DrawRect>::Call>(), 0, kDoubles},
        {Row<"Graphics.FillRectangle" TRVHOST_FOUR, FillRect>(), kNewNames},
        {Row<"Graphics.FillRect" TRVHOST_FOUR, FillRect>(), kDoubles},
        {Row<"Graphics.FillRect" TRVHOST_FOUR_INTEGERS, WithIntegers<FillRect>::Call>(), 0, kDoubles},
        {Row<"Graphics.DrawRoundRectangle(x As Double, y As Double, width As Double, height As Double, "
             "cornerWidth As Double, cornerHeight As Double)",
             DrawRoundRect>(),
         kNewNames},
        {Row<"Graphics.DrawRoundRect(x As Double, y As Double, width As Double, height As Double, arcWidth "
             "As Double, "
             "arcHeight As Double)",
             DrawRoundRect>(),
         kDoubles},
        {Row<"Graphics.DrawRoundRect( x as Integer, y as Integer, width as Integer, height as Integer, "
             "ArcWidth as integer, ArcHeight as integer )",
             WithIntegers<DrawRoundRect>::Call>(),
         0, kDoubles},
        {Row<"Graphics.FillRoundRectangle(x As Double, y As Double, width As Double, height As Double, "
             "cornerWidth As Double, cornerHeight As Double)",
             FillRoundRect>(),
         kNewNames},
        {Row<"Graphics.FillRoundRect(x As Double, y As Double, width As Double, height As Double, arcWidth "
             "As Double, "
             "arcHeight As Double)",
             FillRoundRect>(),
         kDoubles},
        {Row<"Graphics.FillRoundRect( x as Integer, y as Integer, width as Integer, height as Integer, "
             "ArcWidth as integer, ArcHeight as integer )",
             WithIntegers<FillRoundRect>::Call>(),
         0, kDoubles},
        {Row<"Graphics.DrawLine( x1 as Double, y1 as Double, x2 as Double, y2 as Double )", DrawLine>(),
         kDoubles},
        {Row<"Graphics.DrawLine( x1 as Integer, y1 as Integer, x2 as Integer, y2 as Integer )",
             WithIntegers<DrawLine>::Call>(),
         0, kDoubles},
        {Row<"Graphics.DrawOval" TRVHOST_FOUR, DrawOval>(), kDoubles},
        {Row<"Graphics.DrawOval" TRVHOST_FOUR_INTEGERS, WithIntegers<DrawOval>::Call>(), 0, kDoubles},
        {Row<"Graphics.FillOval" TRVHOST_FOUR, FillOval>(), kDoubles},
        {Row<"Graphics.FillOval" TRVHOST_FOUR_INTEGERS, WithIntegers<FillOval>::Call>(), 0, kDoubles},
        {Row<"Graphics.TextWidth(Text As String) as Double", TextWidth>(), kNewNames},
        {Row<"Graphics.StringWidth(Text As String) as Double", TextWidth>(), kDoubles},
    };
    return rows;
}

std::span<const MemberRow> VersionedEntries() {
    static const MemberRow rows[] = {
        {Row<"RuntimeGraphicsDrawString", DrawText>(), kDoubles},
        {Row<"RuntimeGraphicsDrawString", DrawTextIntegers>(), 0, kDoubles},
        {Row<"RuntimeGraphicsStringWidth", TextWidth>(), kFloatWidth},
        {Row<"RuntimeGraphicsStringWidth", TextWidthInteger>(), 0, kFloatWidth},
    };
    return rows;
}

}  // namespace trvhost
