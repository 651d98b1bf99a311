#pragma once

// What the tests of mirrors and turns stand on: images of every kind, seen byte by byte, and the expected
// bytes as a copy of their store in which a slow reference moves channels one at a time.

#include <algorithm>
#include <numeric>

#include "image_sides.h"
#include "mapped_test.h"

namespace trvtest {

class GeometryTest : public MappedTest {
  protected:
    int64_t Draw(int64_t low, int64_t high) {
        return std::uniform_int_distribution<int64_t>(low, high)(random_);
    }

    MemoryImage Memory(int64_t width, int64_t height, int64_t format, int64_t padding = 0) {
        const int64_t size =
            TheHost().Get<int64_t>(TheHost().Construct("PictureTRV", 1, 1, format), "PixelSize");
        return {TheHost(), width, height, format, width * size + padding, static_cast<unsigned>(random_())};
    }
    MemoryImage Memory(int64_t width, int64_t height, std::string_view format, int64_t padding = 0) {
        return Memory(width, height, Constant(format), padding);
    }

    /// A view of a memory image, or the image, and the bytes of its store that an operation should leave.
    struct Watched {
        MemoryImage root;
        Ref view;
    };

    /// A random view over a memory image: the image, a clip, a mirror, a channel, or some of them together.
    Watched RandomView(int64_t width, int64_t height, int64_t format) {
        const int64_t left = Draw(0, 2), top = Draw(0, 2), right = Draw(0, 2), bottom = Draw(0, 2);
        Watched watched{Memory(width + left + right, height + top + bottom, format, Draw(0, 3)), {}};
        watched.view = TheHost().Call(watched.root.Object(), "ClipImage", left, top, width, height).ToThing();
        if (Draw(0, 2) == 0) watched.view = TheHost().Call(watched.view, "MirroredView").ToThing();
        if (Draw(0, 3) == 0) {
            const Ref view =
                TheHost().Call(watched.view, Draw(0, 1) == 0 ? "RedChannel" : "RGBChannels").ToThing();
            if (view) watched.view = view;
        }
        return watched;
    }

    /// Where a byte of a view lies in the bytes of its root.
    [[nodiscard]] size_t PlaceOf(const MemoryImage& root, const Ref& view, const Side& side, int64_t x,
                                 int64_t y, const std::string& channel) const {
        return static_cast<size_t>(RawRow(TheHost(), view, y) - root.Row(0) + x * side.pixelSize +
                                   side.at.at(channel));
    }

    std::mt19937 random_{7};
};

}  // namespace trvtest
