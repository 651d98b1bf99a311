#pragma once

// The frame of every pixel loop: the tests, the clipping, the choice of the layout family, the walk over the
// rows and the time given to the host. An operation strings the named steps together in its own order, which
// differs between operations on purpose, and supplies only the work on a row.

#include <array>
#include <cstdint>
#include <string_view>
#include <utility>

#include "frame/fixed_text.h"
#include "image/picture_record.h"
#include "image/row_readers.h"

namespace trv {

/// A rectangle in pixels. Width and height can be 0 or negative, then nothing is inside.
struct Rectangle {
    int64_t x;
    int64_t y;
    int64_t width;
    int64_t height;

    [[nodiscard]] bool IsEmpty() const { return width <= 0 || height <= 0; }
};

/// A rectangle that moves between two images: where it lands, how large it is, where it comes from.
struct RectanglePair {
    int64_t destX;
    int64_t destY;
    int64_t width;
    int64_t height;
    int64_t sourceX;
    int64_t sourceY;

    [[nodiscard]] bool IsEmpty() const { return width <= 0 || height <= 0; }
};

[[nodiscard]] inline Rectangle WholeImage(const PictureTRV& image) {
    return {0, 0, image.Width, image.Height};
}

/// The sizes that a loop over an image has taken in. Host code that runs while the loop gives it time can
/// make another image of the record; the loop then has nothing more to do there.
struct ImageShape {
    int64_t width = 0;
    int64_t height = 0;
    int64_t rowSize = 0;
    int64_t pixelSize = 0;

    ImageShape() = default;
    explicit ImageShape(const PictureTRV& image)
        : width(image.Width), height(image.Height), rowSize(image.RowSize), pixelSize(image.PixelSize) {}
    [[nodiscard]] bool operator==(const ImageShape&) const = default;
};

/// Whether the image was constructed; says so in the log if not.
[[nodiscard]] bool IsValid(const PictureTRV* image);

/// Whether a sample has at most 8 bits; says so in the log if not.
[[nodiscard]] bool HasByteSamples(const PictureTRV& image);

/// Whether the image can be worked on: open, constructed, of a size. Gives the host its time first.
[[nodiscard]] bool StartImage(PictureTRV* image);

/// The same behind the clipping of a rectangle: false, too, if the host has used its time to make an image of
/// another size of the record.
[[nodiscard]] inline bool StartClippedImage(PictureTRV& image) {
    const ImageShape shape(image);
    return StartImage(&image) && shape == ImageShape(image);
}

/// Clips a rectangle to the image: negative sizes turn around, then all four sides are cut. Never fails; the
/// result may be empty, with a width or height that is 0 or negative.
void Fix(const PictureTRV& image, Rectangle& rectangle);

/// Clips a rectangle pair to the destination and to the size of the source. A negative source origin moves
/// the destination along with it, while a negative destination origin moves the source the other way.
void Fix(const PictureTRV& dest, RectanglePair& pair, int64_t sourceWidth, int64_t sourceHeight);

/// The same against explicit limits, without turning negative sizes around; whether something is left.
[[nodiscard]] bool Fix(RectanglePair& pair, int64_t sourceWidth, int64_t sourceHeight, int64_t destWidth,
                       int64_t destHeight);

/// Gives the host its time if the image's interval has passed. The host may run any code meanwhile.
void Yield(PictureTRV* image);

inline void YieldIfWanted(PictureTRV& image) {
    if (image.YieldTicks != 0) Yield(&image);
}

/// Whether every byte of a pixel is one of the channels red, green, blue, gray, alpha, so that rows can be
/// handled as bytes. CMYK layouts and mapped images never are.
[[nodiscard]] bool IsPacked(const PictureTRV& image);

/// How many bytes of a packed row, from byte `start` on, `count` bytes cover without leaving the row. An
/// offset that a program has moved can make a packed pixel start late, and the last one must not reach into
/// what lies behind.
[[nodiscard]] int64_t PackedBytes(const PictureTRV& image, int64_t start, int64_t count);

/// The smallest offset among red, green, blue, gray, alpha, -1 if there is none: where a row's first pixel
/// starts.
[[nodiscard]] int64_t LowestChannelOffset(const PictureTRV& image);

/// Whether the rows of an image lie one behind the other without a gap, pixel behind pixel, and nobody can
/// tell whether they are fetched one by one: in memory, from top to bottom, with no time to be given to the
/// host.
[[nodiscard]] bool IsOneRun(const PictureTRV& image);

/// Whether two images have the same channels at the same places; gray and CMYK offsets are not compared.
[[nodiscard]] bool SameLayout(const PictureTRV& a, const PictureTRV& b);

/// A layout family: its channels, and the letters that complete an operation's name in diagnostics.
template <Family kFamily, bool kAlpha>
struct LayoutFamily {
    static constexpr Family family = kFamily;
    static constexpr bool hasAlpha = kAlpha;
    static constexpr std::string_view letters = kFamily == Family::Gray  ? (kAlpha ? "GA" : "G")
                                                : kFamily == Family::Rgb ? (kAlpha ? "RGBA" : "RGB")
                                                                         : (kAlpha ? "CMYKA" : "CMYK");

    /// The channels in the order of the letters, alpha last.
    static constexpr auto channels = [] {
        using enum Channel;
        if constexpr (kFamily == Family::Gray && !kAlpha) return std::array{Gray};
        if constexpr (kFamily == Family::Gray && kAlpha) return std::array{Gray, Alpha};
        if constexpr (kFamily == Family::Rgb && !kAlpha) return std::array{Red, Green, Blue};
        if constexpr (kFamily == Family::Rgb && kAlpha) return std::array{Red, Green, Blue, Alpha};
        if constexpr (kFamily == Family::Cmyk && !kAlpha) return std::array{Cyan, Magenta, Yellow, Black};
        if constexpr (kFamily == Family::Cmyk && kAlpha)
            return std::array{Cyan, Magenta, Yellow, Black, Alpha};
    }();

    /// The offsets of the channels in `image`, in bytes from the address of a pixel.
    [[nodiscard]] static std::array<int64_t, channels.size()> Offsets(const PictureTRV& image) {
        std::array<int64_t, channels.size()> offsets{};
        for (size_t i = 0; i < channels.size(); ++i)
            offsets[i] = OffsetOf(image, channels[i]);
        return offsets;
    }
};

/// The label of a stage of one family: the operation's name followed by the family's letters, and by what
/// tells the stage from its like.
template <FixedText kName, class F, FixedText kSuffix = "">
[[nodiscard]] const char* FamilyLabel() {
    static constexpr auto label = [] {
        std::array<char, kName.View().size() + F::letters.size() + kSuffix.View().size() + 1> text{};
        size_t length = 0;
        for (const std::string_view part : {kName.View(), F::letters, kSuffix.View()}) {
            for (const char c : part)
                text[length++] = c;
        }
        return text;
    }();
    return label.data();
}

/// Calls `work` with the family of the given kind; false, without a call, if it is none of the six.
template <class Work>
bool DispatchFamily(bool gray, bool rgb, bool cmyk, bool alpha, Work&& work) {
    const auto with = [&]<Family kFamily>() {
        if (alpha) {
            work(LayoutFamily<kFamily, true>{});
        } else {
            work(LayoutFamily<kFamily, false>{});
        }
        return true;
    };
    if (gray) return with.template operator()<Family::Gray>();
    if (rgb) return with.template operator()<Family::Rgb>();
    if (cmyk) return with.template operator()<Family::Cmyk>();
    return false;
}

/// Calls `work` with the image's layout family; false, without a call, for an image outside the six families.
template <class Work>
bool DispatchFamily(const PictureTRV& image, Work&& work) {
    return DispatchFamily(image.IsGray != 0, image.IsRGB != 0, image.IsCMYK != 0, image.HasAlpha != 0,
                          std::forward<Work>(work));
}

/// Calls `work` with the address of each row from `y` on, for `height` rows, without giving the host its
/// time. A row that cannot be had is left out.
template <class Work>
void ForEachRowAtOnce(PictureTRV& image, int64_t y, int64_t height, Work&& work) {
    for (const int64_t end = y + height; y < end; ++y) {
        if (uint8_t* row = FetchRow(image, y)) work(row);
    }
}

/// Calls `work` with the address of each row from `y` on, for `height` rows, and gives the host its time
/// behind each. A row that cannot be had is left out, and so is the rest of an image that has become another.
template <class Work>
void ForEachRow(PictureTRV& image, int64_t y, int64_t height, Work&& work) {
    const ImageShape shape(image);
    for (const int64_t end = y + height; y < end && shape == ImageShape(image); ++y) {
        if (uint8_t* row = FetchRow(image, y)) work(row);
        YieldIfWanted(image);
    }
}

/// Calls `work` with the address of the first pixel and the number of the pixels of each run of a rectangle
/// inside the image, and gives the host its time behind each. A run is a row, or all rows at once where they
/// lie one behind the other: short rows cost their ends, and long runs go by whole lines of the cache.
template <class Work>
void ForEachRun(PictureTRV& image, const Rectangle& rectangle, Work&& work) {
    if (rectangle.x == 0 && rectangle.width == image.Width && IsOneRun(image)) {
        work(FetchRow(image, rectangle.y), rectangle.width * rectangle.height);
        return;
    }
    const int64_t start = rectangle.x * image.PixelSize;
    ForEachRow(image, rectangle.y, rectangle.height,
               [&](uint8_t* row) { work(row + start, rectangle.width); });
}

}  // namespace trv
