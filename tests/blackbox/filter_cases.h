#pragma once

// Sources and destinations of filters, of every kind there is, beside a model of their bytes on which a
// reference can do the same work: sample by sample, in reading order, in the very memory that both may share.

#include <functional>
#include <memory>
#include <optional>

#include "image_sides.h"

namespace trvtest {

/// An image as a reference sees it: bytes in a store, and where in them the pixels lie.
struct Shown {
    std::shared_ptr<std::vector<uint8_t>> store;
    int64_t start = 0;    // of row 0
    int64_t rowStep = 0;  // negative on a mirrored view
    int64_t width = 0, height = 0, rowSize = 0;
    Side side;

    [[nodiscard]] bool Inside(int64_t x, int64_t y) const { return x < width && y < height; }
    [[nodiscard]] int64_t Place(int64_t x, int64_t y, const std::string& channel) const {
        return start + y * rowStep + x * side.pixelSize + side.at.at(channel);
    }
    uint8_t& At(int64_t x, int64_t y, const std::string& channel) const {
        return (*store)[static_cast<size_t>(Place(x, y, channel))];
    }

    /// The channels of a filter that serves gray and RGB, with alpha or without, or inks as well.
    [[nodiscard]] std::vector<std::string> Channels(bool alpha, bool inks) const {
        std::vector<std::string> names;
        if (side.family == 'G') names = {"Gray"};
        if (side.family == 'R') names = {"Red", "Green", "Blue"};
        if (side.family == 'C' && inks) names = {"Cyan", "Magenta", "Yellow", "Black"};
        if (!names.empty() && alpha && side.alpha) names.emplace_back("Alpha");
        return names;
    }
};

/// The reference of a filter that changes each sample by itself: `value(sample, channel, x, y)`.
template <class Value>
void ChangeSamples(const Shown& from, const Shown& to, const std::vector<std::string>& channels,
                   Value&& value) {
    for (int64_t y = 0; y < from.height; ++y) {
        for (int64_t x = 0; x < from.width; ++x) {
            if (!to.Inside(x, y)) continue;
            std::vector<uint8_t> made;
            for (const std::string& channel : channels)
                made.push_back(static_cast<uint8_t>(value(from.At(x, y, channel), channel, x, y)));
            for (size_t i = 0; i < channels.size(); ++i)
                to.At(x, y, channels[i]) = made[i];
        }
    }
}

enum class DestKind {
    Nil,
    SameFormat,
    OtherFormat,
    Smaller,
    Source,
    Shifted,
    Mirrored,
    OtherLayout,
    Crowded
};
/// Destinations that show the source's bytes.
inline constexpr DestKind kSharingKinds[] = {DestKind::Source, DestKind::Shifted, DestKind::Mirrored,
                                             DestKind::OtherLayout};
inline constexpr DestKind kDestKinds[] = {DestKind::Nil,      DestKind::SameFormat,  DestKind::OtherFormat,
                                          DestKind::Smaller,  DestKind::Source,      DestKind::Shifted,
                                          DestKind::Mirrored, DestKind::OtherLayout, DestKind::Crowded};

class FilterCaseTest : public PluginTest {
  protected:
    explicit FilterCaseTest(trvhost::Options options = {}) : PluginTest(std::move(options)) {}

    int64_t Draw(int64_t low, int64_t high) {
        return std::uniform_int_distribution<int64_t>(low, high)(random);
    }

    static std::vector<int64_t> Formats() {
        std::vector<int64_t> formats;
        for (int64_t code = 1; code <= 48; ++code) {
            if (code != 14) formats.push_back(code);
        }
        return formats;
    }

    /// What is known of an image and its store; `flipped` says that it is a mirrored view.
    Shown Show(const Ref& image, std::shared_ptr<std::vector<uint8_t>> store, bool flipped = false) const {
        const auto number = [&](const char* name) { return TheHost().Get<int64_t>(image, name); };
        Shown shown{std::move(store), 0, 0, 0, 0, 0, Side(TheHost(), image)};
        shown.width = number("Width");
        shown.height = number("Height");
        shown.rowSize = number("RowSize");
        const int64_t first = number("RowOffset") + (flipped ? shown.height - 1 : 0);
        shown.start = first * shown.rowSize;
        shown.rowStep = flipped ? -shown.rowSize : shown.rowSize;
        return shown;
    }

    /// A source and a destination, and the model of both.
    struct Case {
        MemoryImage sourceStore, destStore;
        Ref source, dest;
        std::optional<Shown> from, to;
        DestKind kind = DestKind::Nil;
    };

    /// A part of an image, or the whole of it, or it upside down, as the numbers fall.
    Ref DrawView(const MemoryImage& image, int64_t width, int64_t height, bool& flipped) {
        const int64_t choice = Draw(0, 3);
        flipped = choice == 1;
        if (choice == 1) return TheHost().Call(image, "MirroredView").ToThing();
        if (choice != 2) return image.Object();
        const int64_t x = Draw(0, width - 1), y = Draw(0, height - 1);
        return TheHost().Call(image, "ClipImage", x, y, Draw(1, width - x), Draw(1, height - y)).ToThing();
    }

    /// Gives one channel another offset, now and then; on a part of an image it can then meet those of other
    /// pixels.
    void MoveChannel(const Ref& image) {
        const Side side(TheHost(), image);
        if (Draw(0, 3) != 0 || side.wide || side.family == '-' || side.family == 'C') return;
        const char* colours[] = {"RedOffset", "GreenOffset", "BlueOffset"};
        TheHost().Set(image, side.family == 'G' ? "GrayOffset" : colours[Draw(0, 2)],
                      Draw(0, side.pixelSize - 1));
    }

    /// An image over the same bytes that cuts them up in another way, with rows that may reach into each
    /// other.
    Ref DrawOtherLayout(const MemoryImage& image, int64_t height) {
        const int64_t format = Formats()[static_cast<size_t>(Draw(0, 46))];
        const int64_t pixel = MemoryImage(TheHost(), 1, 1, format).PixelSize();
        const int64_t bytes = image.RowSize() * height;
        const int64_t pixels = bytes / pixel;
        if (pixels == 0) return image;
        const int64_t width = Draw(1, std::min<int64_t>(pixels, 40));
        const int64_t rows = Draw(1, std::min<int64_t>(pixels / width, 9));
        const int64_t least = Draw(0, 2) == 0 ? 1 : width * pixel;
        return TheHost().Construct("PictureTRV", image.Block(), width, rows, format,
                                   Draw(least, bytes / rows));
    }

    /// An image whose rows reach into each other, and the store under it, with room for the last one.
    Ref MakeCrowded(MemoryImage& store, int64_t width, int64_t height, int64_t format) {
        const int64_t bytes = width * MemoryImage(TheHost(), 1, 1, format).PixelSize();
        const int64_t rowSize = Draw(1, std::max<int64_t>(bytes - 1, 1));
        store = MemoryImage(TheHost(), 1, height + bytes / rowSize, format, rowSize,
                            static_cast<unsigned>(random()));
        return TheHost().Construct("PictureTRV", store.Block(), width, height, format, rowSize);
    }

    /// Such an image, to be worked on in place.
    Case DrawCrowdedCase(int64_t format) {
        Case made;
        made.kind = DestKind::Source;
        made.source = made.dest = MakeCrowded(made.sourceStore, Draw(2, 20), Draw(2, 9), format);
        made.from.emplace(
            Show(made.source, std::make_shared<std::vector<uint8_t>>(made.sourceStore.Bytes())));
        made.to = made.from;
        return made;
    }

    Case DrawCase(int64_t format, DestKind kind, int64_t mostWidth = 40, int64_t mostHeight = 7) {
        Case made;
        made.kind = kind;
        const int64_t width = Draw(1, mostWidth), height = Draw(1, mostHeight);
        const MemoryImage probe(TheHost(), 1, 1, format);
        const int64_t rowSize = width * probe.PixelSize() + Draw(0, 1) * Draw(0, 9);
        const auto seed = static_cast<unsigned>(random());
        made.sourceStore = MemoryImage(TheHost(), width, height, format, rowSize, seed);
        const auto store = std::make_shared<std::vector<uint8_t>>(made.sourceStore.Bytes());
        bool flipped = false;
        made.source = DrawView(made.sourceStore, width, height, flipped);
        MoveChannel(made.source);
        made.from.emplace(Show(made.source, store, flipped));
        const int64_t w = made.from->width, h = made.from->height;
        const auto separate = [&](int64_t destFormat, int64_t destWidth, int64_t destHeight) {
            const MemoryImage one(TheHost(), 1, 1, destFormat);
            made.destStore = MemoryImage(TheHost(), destWidth, destHeight, destFormat,
                                         destWidth * one.PixelSize() + Draw(0, 9), seed + 1);
            made.dest = made.destStore.Object();
            made.to.emplace(Show(made.dest, std::make_shared<std::vector<uint8_t>>(made.destStore.Bytes())));
        };
        const auto view = [&](const Ref& image, bool upsideDown) {
            made.dest = image;
            made.to.emplace(Show(made.dest, store, upsideDown));
        };
        switch (kind) {
            case DestKind::Nil:
                break;
            case DestKind::SameFormat:
                separate(format, w + Draw(0, 2), h + Draw(0, 2));
                break;
            case DestKind::OtherFormat:
                separate(Formats()[static_cast<size_t>(Draw(0, 46))], w, h);
                break;
            case DestKind::Smaller:
                separate(format, Draw(1, w), Draw(1, h));
                break;
            case DestKind::Source:
                made.dest = made.source;
                made.to = made.from;
                break;
            case DestKind::Shifted:
                view(TheHost()
                         .Call(made.sourceStore, "ClipImage", Draw(0, width - 1), Draw(0, height - 1), width,
                               height)
                         .ToThing(),
                     false);
                break;
            case DestKind::Mirrored:
                view(TheHost().Call(made.sourceStore, "MirroredView").ToThing(), true);
                break;
            case DestKind::OtherLayout:
                view(DrawOtherLayout(made.sourceStore, height), false);
                break;
            case DestKind::Crowded:
                made.dest = MakeCrowded(made.destStore, w, h, format);
                made.to.emplace(
                    Show(made.dest, std::make_shared<std::vector<uint8_t>>(made.destStore.Bytes())));
                break;
        }
        return made;
    }

    /// The bytes of an image that has a store of its own.
    std::vector<uint8_t> StoreOf(const Ref& image) const {
        const auto memory = TheHost().Get<trvhost::MemoryBlock>(image, "Memory");
        const auto* data = reinterpret_cast<const uint8_t*>(memory.Data());
        return {data,
                data + TheHost().Get<int64_t>(image, "Height") * TheHost().Get<int64_t>(image, "RowSize")};
    }

    /// Runs a filter by `call(source, dest)`, `reference(from, to)` on the model, and compares everything.
    /// `refused`: nil is expected and nothing written.
    void Check(Case& made, const std::function<Ref(const Ref&, const Ref&)>& call,
               const std::function<void(const Shown&, const Shown&)>& reference, bool refused = false) {
        const Ref result = call(made.source, made.dest);
        ASSERT_EQ(result.Handle() == nullptr, refused);
        if (!refused && made.kind == DestKind::Nil) {
            const auto zeros = std::make_shared<std::vector<uint8_t>>(StoreOf(result).size());
            made.to.emplace(Show(result, zeros));
            EXPECT_EQ(TheHost().Get<int64_t>(result, "ImageFormat"),
                      TheHost().Get<int64_t>(made.source, "ImageFormat"));
            EXPECT_EQ(made.to->width, made.from->width);
            EXPECT_EQ(made.to->height, made.from->height);
        } else if (!refused) {
            EXPECT_EQ(result.Handle(), made.dest.Handle());
        }
        if (!refused) reference(*made.from, *made.to);
        ASSERT_EQ(made.sourceStore.Bytes(), *made.from->store);
        if (!refused && made.kind == DestKind::Nil) {
            ASSERT_EQ(StoreOf(result), *made.to->store);
        } else if (made.to && made.to->store != made.from->store) {
            ASSERT_EQ(made.destStore.Bytes(), *made.to->store);
            EXPECT_TRUE(made.destStore.GuardIntact());
        }
        EXPECT_TRUE(made.sourceStore.GuardIntact());
    }

    template <class... Args>
    Ref Filter(const Ref& image, std::string_view name, Args&&... args) const {
        return TheHost().Call(image, name, std::forward<Args>(args)...).ToThing();
    }

    std::mt19937 random{20261121};
};

}  // namespace trvtest
