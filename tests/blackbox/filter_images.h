#pragma once

// Images and their samples as the references of the filters need them: a byte store of the test's, with the
// image or a view of it over it, and for a reference a copy of the bytes and the way from a pixel to them.

#include <algorithm>
#include <numeric>

#include "image_sides.h"
#include "plugin_test.h"

namespace trvtest {

/// The samples of a picture, channel by channel within a pixel.
struct Samples {
    int64_t width = 0, height = 0;
    size_t channels = 0;
    std::vector<int> values;

    Samples(int64_t w, int64_t h, size_t c)
        : width(w), height(h), channels(c), values(static_cast<size_t>(w * h) * c) {}
    [[nodiscard]] int& At(int64_t x, int64_t y, size_t c) {
        return values[static_cast<size_t>(y * width + x) * channels + c];
    }
    /// With coordinates beyond an edge brought back to it.
    [[nodiscard]] int Clamped(int64_t x, int64_t y, size_t c) {
        return At(std::clamp<int64_t>(x, 0, width - 1), std::clamp<int64_t>(y, 0, height - 1), c);
    }
};

/// An image over a store of the test's, or a view of one.
struct TestImage {
    MemoryImage root;
    Ref image;
    int64_t width = 0, height = 0;
    int64_t firstRow = 0;  // of the root
    bool mirrored = false;
    Side side;
    std::string story;

    TestImage(trvhost::Host& host, MemoryImage rootImage, std::string text)
        : root(std::move(rootImage)),
          image(root.Object()),
          width(host.Get<int64_t>(image, "Width")),
          height(host.Get<int64_t>(image, "Height")),
          side(host, image),
          story(std::move(text)) {}

    /// Where a byte of a pixel lies in the root's bytes.
    [[nodiscard]] size_t Index(int64_t x, int64_t y, int64_t offset) const {
        const int64_t row = firstRow + (mirrored ? height - 1 - y : y);
        return static_cast<size_t>(row * root.RowSize() + x * side.pixelSize + offset);
    }

    [[nodiscard]] Samples Read(const std::vector<uint8_t>& bytes,
                               const std::vector<std::string>& names) const {
        Samples samples(width, height, names.size());
        for (int64_t y = 0; y < height; ++y) {
            for (int64_t x = 0; x < width; ++x) {
                for (size_t c = 0; c < names.size(); ++c)
                    samples.At(x, y, c) = bytes[Index(x, y, side.at.at(names[c]))];
            }
        }
        return samples;
    }

    /// Stores what fits into a copy of the root's bytes, channel by channel.
    void Write(std::vector<uint8_t>& bytes, Samples& samples, const std::vector<std::string>& names) const {
        for (int64_t y = 0; y < std::min(height, samples.height); ++y) {
            for (int64_t x = 0; x < std::min(width, samples.width); ++x) {
                for (size_t c = 0; c < names.size(); ++c)
                    bytes[Index(x, y, side.at.at(names[c]))] = static_cast<uint8_t>(samples.At(x, y, c));
            }
        }
    }
};

class FilterTest : public PluginTest {
  protected:
    int64_t Draw(int64_t low, int64_t high) {
        return std::uniform_int_distribution<int64_t>(low, high)(random_);
    }

    /// Every format that can be created.
    static std::vector<int64_t> Formats() {
        std::vector<int64_t> formats(48);
        std::iota(formats.begin(), formats.end(), 1);
        std::erase(formats, 14);
        return formats;
    }

    /// A picture of noise, as it is.
    TestImage Plain(int64_t width, int64_t height, int64_t format, int64_t extraRowBytes = 0) {
        MemoryImage root(TheHost(), width, height, format, 0, static_cast<unsigned>(random_()));
        if (extraRowBytes != 0) {
            root = MemoryImage(TheHost(), width, height, format, root.RowSize() + extraRowBytes,
                               static_cast<unsigned>(random_()));
        }
        return {TheHost(), std::move(root), "format " + std::to_string(format)};
    }

    /// The same picture seen otherwise: a clip, mirrored rows, one of the channels, or all of these.
    void View(TestImage& image, int64_t width, int64_t height, bool mirror) {
        const int64_t x = Draw(0, image.width - width), y = Draw(0, image.height - height);
        image.image = TheHost().Call(image.image, "ClipImage", x, y, width, height).ToThing();
        image.firstRow += y;
        image.width = width;
        image.height = height;
        if (mirror) {
            image.image = TheHost().Call(image.image, "MirroredView").ToThing();
            image.mirrored = true;
        }
        image.side = Side(TheHost(), image.image);
        image.story += mirror ? " mirrored clip" : " clip";
    }

    void OneChannel(TestImage& image) {
        const auto names = ChannelNames(image.side);
        if (names.empty() || image.side.wide) return;
        const std::string name = names[static_cast<size_t>(Draw(0, std::ssize(names) - 1))];
        image.image = TheHost().Call(image.image, name + "Channel").ToThing();
        image.side = Side(TheHost(), image.image);
        image.story += " " + name;
    }

    /// A picture or view of that size, of any kind.
    TestImage Some(int64_t width, int64_t height, int64_t format) {
        const int64_t kind = Draw(0, 5);
        if (kind < 3) return Plain(width, height, format, kind == 1 ? Draw(1, 9) : 0);
        TestImage image = Plain(width + Draw(0, 5), height + Draw(0, 4), format);
        View(image, width, height, Draw(0, 1) == 1);
        if (kind == 5) OneChannel(image);
        return image;
    }

    std::mt19937 random_{20241121};
};

}  // namespace trvtest
