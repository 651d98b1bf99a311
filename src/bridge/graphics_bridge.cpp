#include "bridge/graphics_bridge.h"

#include <span>

#include "frame/object_methods.h"

namespace trv {

namespace {

constexpr double kFirstHostWithDoubles = 2018.02;
constexpr double kFirstHostWithNewNames = 2020.0;

bool HostHasDoubles() {
    return HostVersion() >= kFirstHostWithDoubles;
}

bool HostHasNewNames() {
    return HostVersion() >= kFirstHostWithNewNames;
}

// Shapes --------------------------------------------------------------------------------------------------

/// A method that takes `Integers...` in older hosts and as many doubles in newer ones, under up to three
/// declarations; null for one that does not exist.
template <class... Integers>
class ShapeMethod {
  public:
    constexpr ShapeMethod(const char* newName, const char* withDoubles, const char* withIntegers)
        : hasNewName_(newName != nullptr),
          newName_(newName),
          withDoubles_(withDoubles),
          withIntegers_(withIntegers) {}

    void operator()(HostObject graphics, Integers... numbers) {
        if (hasNewName_ && HostHasNewNames()) {
            if (const auto draw = newName_.Find(graphics))
                return draw(graphics, static_cast<double>(numbers)...);
        }
        if (HostHasDoubles()) {
            if (const auto draw = withDoubles_.Find(graphics))
                return draw(graphics, static_cast<double>(numbers)...);
        }
        if (const auto draw = withIntegers_.Find(graphics)) draw(graphics, numbers...);
    }

  private:
    template <class>
    using Double = double;

    bool hasNewName_;
    ObjectMethod<void(HostObject, Double<Integers>...)> newName_;
    ObjectMethod<void(HostObject, Double<Integers>...)> withDoubles_;
    ObjectMethod<void(HostObject, Integers...)> withIntegers_;
};

using FourNumbers = ShapeMethod<int64_t, int64_t, int64_t, int64_t>;
using SixNumbers = ShapeMethod<int64_t, int64_t, int64_t, int64_t, int64_t, int64_t>;

#define TRV_RECTANGLE(name, type) \
    name "( x as " type ", y as " type ", width as " type ", height as " type " )"
#define TRV_LINE(name, type) name "( x1 as " type ", y1 as " type ", x2 as " type ", y2 as " type " )"
#define TRV_ROUND(name, corner)                                                                             \
    name "(x As Double, y As Double, width As Double, height As Double, " corner "Width As Double, " corner \
         "Height As Double)"
#define TRV_ROUND_INTEGERS(name)                                                                    \
    name "( x as Integer, y as Integer, width as Integer, height as Integer, ArcWidth as integer, " \
         "ArcHeight as "                                                                            \
         "integer )"

constinit FourNumbers clearRectangle{TRV_RECTANGLE("ClearRectangle", "Double"),
                                     TRV_RECTANGLE("ClearRect", "Double"),
                                     TRV_RECTANGLE("ClearRect", "Integer")};
constinit FourNumbers drawRectangle{TRV_RECTANGLE("DrawRectangle", "Double"),
                                    TRV_RECTANGLE("DrawRect", "Double"),
                                    TRV_RECTANGLE("DrawRect", "Integer")};
constinit FourNumbers fillRectangle{TRV_RECTANGLE("FillRectangle", "Double"),
                                    TRV_RECTANGLE("FillRect", "Double"),
                                    TRV_RECTANGLE("FillRect", "Integer")};
constinit SixNumbers drawRoundRectangle{TRV_ROUND("DrawRoundRectangle", "corner"),
                                        TRV_ROUND("DrawRoundRect", "arc"),
                                        TRV_ROUND_INTEGERS("DrawRoundRect")};
constinit SixNumbers fillRoundRectangle{TRV_ROUND("FillRoundRectangle", "corner"),
                                        TRV_ROUND("FillRoundRect", "arc"),
                                        TRV_ROUND_INTEGERS("FillRoundRect")};
constinit FourNumbers drawLine{nullptr, TRV_LINE("DrawLine", "Double"), TRV_LINE("DrawLine", "Integer")};
constinit FourNumbers drawOval{nullptr, TRV_RECTANGLE("DrawOval", "Double"),
                               TRV_RECTANGLE("DrawOval", "Integer")};
constinit FourNumbers fillOval{nullptr, TRV_RECTANGLE("FillOval", "Double"),
                               TRV_RECTANGLE("FillOval", "Integer")};

constinit ObjectMethod<double(HostObject, HostString)> textWidth{"TextWidth(Text As String) as Double"};
constinit ObjectMethod<double(HostObject, HostString)> stringWidth{"StringWidth(Text As String) as Double"};

// Properties ----------------------------------------------------------------------------------------------

/// Reads the first property of the names that the object has as a Double, else `integerName` as a whole
/// number, else `missing`.
double ReadNumber(HostObject graphics, std::span<const char* const> doubleNames, const char* integerName,
                  double missing) {
    if (graphics == nullptr) return missing;
    double value = 0;
    for (const char* name : doubleNames) {
        if (host::REALGetPropValueDouble(graphics, name, &value)) return value;
    }
    int64_t whole = 0;
    return host::REALGetPropValueInteger(graphics, integerName, &whole) ? static_cast<double>(whole)
                                                                        : missing;
}

/// `value` without its fraction; 0 for what no whole number can stand for.
int64_t Truncated(double value) {
    constexpr double kLimit = 9223372036854775808.0;  // 2^63
    return value >= -kLimit && value < kLimit ? static_cast<int64_t>(value) : 0;
}

/// Sets the property that ReadNumber would read.
void WriteNumber(HostObject graphics, std::span<const char* const> doubleNames, const char* integerName,
                 double value) {
    if (graphics == nullptr) return;
    for (const char* name : doubleNames) {
        if (host::REALSetPropValueDouble(graphics, name, value)) return;
    }
    host::REALSetPropValueInteger(graphics, integerName, Truncated(value));
}

constexpr const char* kFontSizeNames[] = {"FontSize", "TextSize"};
constexpr double kDefaultFontSize = 12;

std::span<const char* const> FontSizeNames() {
    const std::span<const char* const> names(kFontSizeNames);
    return HostHasNewNames() ? names : HostHasDoubles() ? names.subspan(1) : names.subspan(2);
}

/// The names of one side of the pen.
struct PenNames {
    const char* names[2];

    [[nodiscard]] std::span<const char* const> Doubles() const {
        return HostHasDoubles() ? std::span<const char* const>(names) : std::span<const char* const>();
    }
    [[nodiscard]] const char* Integer() const { return names[1]; }
};
constexpr PenNames kPenWidth = {{"PenSize", "PenWidth"}};
constexpr PenNames kPenHeight = {{"PenSize", "PenHeight"}};

}  // namespace

void GraphicsClearRectangle(HostObject graphics, int64_t x, int64_t y, int64_t width, int64_t height) {
    clearRectangle(graphics, x, y, width, height);
}

void GraphicsDrawRectangle(HostObject graphics, int64_t x, int64_t y, int64_t width, int64_t height) {
    drawRectangle(graphics, x, y, width, height);
}

void GraphicsFillRectangle(HostObject graphics, int64_t x, int64_t y, int64_t width, int64_t height) {
    fillRectangle(graphics, x, y, width, height);
}

void GraphicsDrawRoundRectangle(HostObject graphics, int64_t x, int64_t y, int64_t width, int64_t height,
                                int64_t arcWidth, int64_t arcHeight) {
    drawRoundRectangle(graphics, x, y, width, height, arcWidth, arcHeight);
}

void GraphicsFillRoundRectangle(HostObject graphics, int64_t x, int64_t y, int64_t width, int64_t height,
                                int64_t arcWidth, int64_t arcHeight) {
    fillRoundRectangle(graphics, x, y, width, height, arcWidth, arcHeight);
}

void GraphicsDrawLine(HostObject graphics, int64_t x1, int64_t y1, int64_t x2, int64_t y2) {
    drawLine(graphics, x1, y1, x2, y2);
}

void GraphicsDrawOval(HostObject graphics, int64_t x, int64_t y, int64_t width, int64_t height) {
    drawOval(graphics, x, y, width, height);
}

void GraphicsFillOval(HostObject graphics, int64_t x, int64_t y, int64_t width, int64_t height) {
    fillOval(graphics, x, y, width, height);
}

double GraphicsTextWidth(HostObject graphics, HostString text) {
    if (HostHasNewNames()) {
        if (const auto measure = textWidth.Find(graphics)) return measure(graphics, text);
    }
    if (HostHasDoubles()) {
        if (const auto measure = stringWidth.Find(graphics)) return measure(graphics, text);
    }
    return 0;
}

uint32_t GraphicsForeColor(HostObject graphics) {
    uint32_t color = 0;
    if (graphics != nullptr) host::REALGetPropValueColor(graphics, "ForeColor", &color);
    return color;
}

void SetGraphicsForeColor(HostObject graphics, uint32_t color) {
    if (graphics != nullptr) host::REALSetPropValueColor(graphics, "ForeColor", color);
}

double GraphicsFontSize(HostObject graphics) {
    return ReadNumber(graphics, FontSizeNames(), "TextSize", kDefaultFontSize);
}

void SetGraphicsFontSize(HostObject graphics, double size) {
    WriteNumber(graphics, FontSizeNames(), "TextSize", size);
}

double GraphicsPenWidth(HostObject graphics) {
    return ReadNumber(graphics, kPenWidth.Doubles(), kPenWidth.Integer(), 0);
}

double GraphicsPenHeight(HostObject graphics) {
    return ReadNumber(graphics, kPenHeight.Doubles(), kPenHeight.Integer(), 0);
}

void SetGraphicsPenWidth(HostObject graphics, double width) {
    WriteNumber(graphics, kPenWidth.Doubles(), kPenWidth.Integer(), width);
}

void SetGraphicsPenHeight(HostObject graphics, double height) {
    WriteNumber(graphics, kPenHeight.Doubles(), kPenHeight.Integer(), height);
}

HostString GraphicsTextFont(HostObject graphics) {
    HostString name = nullptr;
    if (graphics != nullptr) host::REALGetPropValueString(graphics, "TextFont", &name);
    return name;
}

void SetGraphicsTextFont(HostObject graphics, HostString name) {
    if (graphics != nullptr) host::REALSetPropValueString(graphics, "TextFont", name);
}

}  // namespace trv
