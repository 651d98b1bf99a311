// BoxBlurFilter against the mean of every window, formed sample by sample.

#include <cmath>
#include <limits>

#include "filter_images.h"
#include "mapped_test.h"

namespace trvtest {
namespace {

using trvhost::Value;

struct Passes {
    bool vertical = true;
    bool horizontal = true;
};

/// One pass: the truncated mean of the 2r + 1 samples around each, along one axis.
Samples Pass(Samples from, int64_t radius, bool vertical) {
    const int64_t divisor = 2 * std::max<int64_t>(radius, 1) + 1;
    Samples to = from;
    for (int64_t y = 0; y < from.height; ++y) {
        for (int64_t x = 0; x < from.width; ++x) {
            for (size_t c = 0; c < from.channels; ++c) {
                int64_t sum = 0;
                for (int64_t k = -radius; k <= radius; ++k)
                    sum += vertical ? from.Clamped(x, y + k, c) : from.Clamped(x + k, y, c);
                to.At(x, y, c) = static_cast<int>(sum / divisor);
            }
        }
    }
    return to;
}

/// The columns that a narrower destination keeps.
Samples Narrowed(Samples& from, int64_t width) {
    Samples to(std::min(from.width, width), from.height, from.channels);
    for (int64_t y = 0; y < to.height; ++y) {
        for (int64_t x = 0; x < to.width; ++x) {
            for (size_t c = 0; c < to.channels; ++c)
                to.At(x, y, c) = from.At(x, y, c);
        }
    }
    return to;
}

class BoxBlurTest : public FilterTest {
  protected:
    Ref Blur(const Ref& image, const Ref& dest, double radius, Passes passes = {}) const {
        return TheHost()
            .Call(image, "BoxBlurFilter", dest, radius, passes.vertical, passes.horizontal)
            .ToThing();
    }
    Ref Blur(const Ref& image, const Ref& dest, double radius, int64_t iterations, Passes passes = {}) const {
        return TheHost()
            .Call(image, "BoxBlurFilter", dest, radius, iterations, passes.vertical, passes.horizontal)
            .ToThing();
    }

    /// Blurs into an image of the caller's and compares every byte of its store.
    void Check(const TestImage& source, const TestImage& dest, double radius, Passes passes) {
        const auto names = source.side.wide ? std::vector<std::string>() : ChannelNames(source.side);
        const auto sourceBytes = source.root.Bytes();
        auto expected = dest.root.Bytes();
        const auto r = static_cast<int64_t>(radius);
        Samples samples = source.Read(sourceBytes, names);
        // Channels that meet in one byte are one behind the vertical pass.
        if (passes.vertical) {
            samples = Pass(samples, r, true);
            samples = Narrowed(samples, dest.width);
            dest.Write(expected, samples, names);
            if (dest.height >= samples.height && dest.width >= samples.width) {
                TestImage shown = dest;
                shown.width = samples.width;
                shown.height = samples.height;
                shown.firstRow += dest.mirrored ? dest.height - samples.height : 0;
                samples = shown.Read(expected, names);
            }
        }
        if (passes.horizontal) {
            samples = Pass(samples, r, false);
            dest.Write(expected, samples, names);
        }
        const Ref result = Blur(source.image, dest.image, radius, passes);
        SCOPED_TRACE(source.story + " " + std::to_string(source.width) + "x" + std::to_string(source.height) +
                     " to " + dest.story + " " + std::to_string(dest.width) + "x" +
                     std::to_string(dest.height) + ", radius " + std::to_string(radius) +
                     (passes.vertical ? " V" : "") + (passes.horizontal ? " H" : ""));
        ASSERT_EQ(result, source.side.wide ? Ref() : dest.image);
        ASSERT_EQ(dest.root.Bytes(), expected);
        ASSERT_EQ(source.root.Bytes(), sourceBytes);
        ASSERT_TRUE(dest.root.GuardIntact());
    }

    MemoryImage Gray(std::vector<std::vector<int>> rows, unsigned seed = 1) {
        MemoryImage image(TheHost(), std::ssize(rows[0]), std::ssize(rows), Constant("ImageFormatG"), 0,
                          seed);
        for (size_t y = 0; y < rows.size(); ++y) {
            for (size_t x = 0; x < rows[y].size(); ++x)
                image.At(static_cast<int64_t>(x), static_cast<int64_t>(y)) = static_cast<uint8_t>(rows[y][x]);
        }
        return image;
    }
};

TEST_F(BoxBlurTest, EveryFormatIntoItself) {
    for (const int64_t format : Formats()) {
        for (const double radius : {0.0, 1.0, 2.0, 3.0}) {
            for (const Passes passes : {Passes{}, Passes{true, false}, Passes{false, true}}) {
                const TestImage source = Plain(7, 5, format), dest = Plain(7, 5, format);
                ASSERT_NO_FATAL_FAILURE(Check(source, dest, radius, passes));
            }
        }
    }
}

TEST_F(BoxBlurTest, AnyPicturesAndViews) {
    const auto formats = Formats();
    for (int round = 0; round < 1500; ++round) {
        const int64_t width = Draw(1, 40), height = Draw(1, 12);
        const bool sameSize = Draw(0, 3) > 0;
        const auto format = [&] { return formats[static_cast<size_t>(Draw(0, std::ssize(formats) - 1))]; };
        const TestImage source = Some(width, height, format());
        const TestImage dest =
            Some(sameSize ? width : width + Draw(0, 4), sameSize ? height : height + Draw(0, 4),
                 Draw(0, 1) == 0 ? source.root.PixelSize() == 4 ? 2 : format() : format());
        const double radius =
            Draw(0, 9) == 0 ? static_cast<double>(Draw(20, 200)) : static_cast<double>(Draw(-99, 900)) / 100;
        ASSERT_NO_FATAL_FAILURE(Check(source, dest, radius, {Draw(0, 3) > 0, Draw(0, 3) > 0}));
    }
}
}  // namespace
}  // namespace trvtest
