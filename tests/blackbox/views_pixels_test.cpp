// Operations on views: each must do to the pixels that a view shows what it does to a plain image of the same
// pixels, and must do nothing to all others. Views of views, over every kind of store.

#include <algorithm>
#include <functional>
#include <numeric>

#include "image_sides.h"
#include "mapped_test.h"

namespace trvtest {
namespace {

using trvhost::HostKind;
using trvhost::Options;
using trvhost::PictureStorage;

/// A view, and which bytes of the image at the root it shows. Everything counts in the root's rows.
struct Shown {
    Ref image;
    int64_t width = 0, height = 0;
    int64_t row = 0;                  // of the root, where the view begins
    int64_t column = 0;               // likewise, in pixels
    bool mirrored = false;            // its rows go up
    std::vector<int64_t> pixelBytes;  // offsets in the root's pixel of the bytes of a plain image's pixel
    int64_t format = 0;               // of such a plain image
    bool named = true;                // the flags of its channels are set
    std::string story;

    [[nodiscard]] int64_t RootRow(int64_t y) const { return mirrored ? row + height - 1 - y : row + y; }
};

/// Where an image's pixels lie.
struct Store {
    const char* name;
    enum Kind { Memory, Mapped, Paged, Picture } kind;
    HostKind hostKind = HostKind::Console;
    PictureStorage storage = PictureStorage::Default;  // of a picture
};

void PrintTo(const Store& store, std::ostream* out) {
    *out << store.name;
}

class ViewsPixels : public MappedTest, public testing::WithParamInterface<Store> {
  protected:
    /// Starts the host that has such stores; false if this system has none.
    bool Start(const Store& store) {
        Options options;
        options.kind = store.hostKind;
        Load(options);
        if (store.kind != Store::Picture) return true;
        try {
            return static_cast<bool>(TheHost().NewPicture(1, 1, store.storage));
        } catch (const std::invalid_argument&) {
            return false;
        }
    }

    int64_t Between(int64_t low, int64_t high) {
        return std::uniform_int_distribution<int64_t>(low, high)(random_);
    }

    /// An image of a store, full of noise.
    Shown NewRoot(const Store& store, int64_t width, int64_t height, int64_t format) {
        Shown root;
        root.format = format;
        switch (store.kind) {
            case Store::Memory:
                root.image = TheHost().Construct("PictureTRV", width, height, format);
                break;
            case Store::Mapped:
                root.image = TheHost().Construct("PictureTRV", width, height, format, 0,
                                                 TheHost().NewFolderItem(folder_ / "pixels"));
                break;
            case Store::Paged:
                root.image = TheHost().Construct("PictureTRV", width, height, format, 0, nullptr);
                break;
            case Store::Picture: {
                const bool alpha = Between(0, 1) == 1;
                const trvhost::Picture picture = TheHost().NewPicture(width, height, store.storage);
                root.image = TheHost().Construct("PictureTRV", picture, alpha);
                root.format = Constant(alpha ? "ImageFormatBGRA" : "ImageFormatBGRX");
                break;
            }
        }
        EXPECT_TRUE(Flag(root.image, "Valid"));
        root.width = width;
        root.height = height;
        root.pixelBytes.resize(static_cast<size_t>(Number(root.image, "PixelSize")));
        std::iota(root.pixelBytes.begin(), root.pixelBytes.end(), 0);
        FillWithNoise(TheHost(), root.image, random_);
        return root;
    }

    Shown Clip(const Shown& of) {
        const int64_t x = Between(0, of.width - 1), y = Between(0, of.height - 1);
        const int64_t width = Between(1, of.width - x), height = Between(1, of.height - y);
        Shown clip = of;
        clip.image = TheHost().Call(of.image, "ClipImage", x, y, width, height).ToThing();
        clip.column += x;
        clip.row += y;  // in a mirrored view too
        clip.width = width;
        clip.height = height;
        clip.story += " clip " + std::to_string(x) + "," + std::to_string(y) + " " + std::to_string(width) +
                      "x" + std::to_string(height);
        return clip;
    }

    Shown Mirror(const Shown& of) {
        Shown mirror = of;
        mirror.image = TheHost().Call(of.image, "MirroredView").ToThing();
        mirror.mirrored = !of.mirrored;
        mirror.story += " mirror";
        return mirror;
    }

    /// One of the channels that the view has by name; the view itself if there is none.
    Shown OneChannel(const Shown& of) {
        std::vector<std::string> names;
        for (const std::string name :
             {"Red", "Green", "Blue", "Gray", "Alpha", "Cyan", "Magenta", "Yellow", "Black"}) {
            if (Flag(of.image, "Has" + name)) names.push_back(name);
        }
        if (names.empty()) return of;
        const std::string name = names[static_cast<size_t>(Between(0, std::ssize(names) - 1))];
        Shown channel = of;
        channel.image = TheHost().Call(of.image, name + "Channel").ToThing();
        const int64_t columnOffset = of.column * Number(of.image, "PixelSize");
        const bool wide = Number(of.image, "BitsPerComponent") == 16;
        const int64_t offset = Number(of.image, name + "Offset") - columnOffset;
        channel.pixelBytes = wide ? std::vector<int64_t>{offset, offset + 1} : std::vector<int64_t>{offset};
        channel.format = Constant(wide ? "ImageFormatGray16" : "ImageFormatG");
        channel.story += " " + name;
        return channel;
    }

    /// The colours of the view's family; the view itself if it is gray or of none. Nothing can be made of
    /// that view again, since its channels have no flags.
    Shown Colours(const Shown& of) {
        const bool rgb = Flag(of.image, "IsRGB");
        if (!rgb && !Flag(of.image, "IsCMYK")) return of;
        Shown colours = of;
        colours.image = TheHost().Call(of.image, rgb ? "RGBChannels" : "CMYKChannels").ToThing();
        colours.format = Constant(rgb ? "ImageFormatRGB" : "ImageFormatCMYK");
        colours.pixelBytes.clear();
        const int64_t columnOffset = of.column * Number(of.image, "PixelSize");
        const std::vector<std::string> names =
            rgb ? std::vector<std::string>{"Red", "Green", "Blue"}
                : std::vector<std::string>{"Cyan", "Magenta", "Yellow", "Black"};
        for (const std::string& name : names) {
            colours.pixelBytes.push_back(Number(of.image, name + "Offset") - columnOffset);
        }
        colours.named = false;
        colours.story += " colours";
        return colours;
    }

    /// A view of a view of … the root, a few deep.
    Shown SomeView(const Shown& root) {
        Shown view = root;
        for (int64_t depth = Between(1, 4); depth > 0 && view.named; --depth) {
            switch (Between(0, 5)) {
                case 0:
                    view = Mirror(view);
                    break;
                case 1:
                    view = OneChannel(view);
                    break;
                case 2:
                    view = Colours(view);
                    break;
                default:
                    view = Clip(view);
                    break;
            }
        }
        return view;
    }

    /// A plain image of the pixels that a view shows in `root`, the bytes of the root.
    MemoryImage PlainCopy(const Shown& view, const std::vector<uint8_t>& root, int64_t rootRowBytes,
                          int64_t rootPixelSize) const {
        MemoryImage plain(TheHost(), view.width, view.height, view.format);
        ForEachByte(view, rootRowBytes, rootPixelSize,
                    [&](size_t at, int64_t x, int64_t y, int64_t byte) { plain.At(x, y, byte) = root[at]; });
        return plain;
    }

    /// Calls `work` with each byte that a view shows: its place in the root, its pixel, its number in there.
    static void ForEachByte(const Shown& view, int64_t rootRowBytes, int64_t rootPixelSize,
                            const std::function<void(size_t, int64_t, int64_t, int64_t)>& work) {
        for (int64_t y = 0; y < view.height; ++y) {
            for (int64_t x = 0; x < view.width; ++x) {
                const int64_t pixel = view.RootRow(y) * rootRowBytes + (view.column + x) * rootPixelSize;
                for (size_t i = 0; i < view.pixelBytes.size(); ++i)
                    work(static_cast<size_t>(pixel + view.pixelBytes[i]), x, y, static_cast<int64_t>(i));
            }
        }
    }

    // Operations
    // --------------------------------------------------------------------------------------------------------

    /// Does something to an image, or with its pixels; tells what came out of it.
    struct Operation {
        std::string name;
        std::function<std::string(const Ref&)> run;
    };

    static std::string TextOf(const std::vector<uint8_t>& bytes) { return {bytes.begin(), bytes.end()}; }

    /// A call that changes the image; tells what it returned.
    Operation Call(const std::string& method, std::vector<trvhost::Value> arguments) {
        return {method, [this, method, arguments](const Ref& image) -> std::string {
                    const trvhost::Value result = TheHost().Invoke(image, method, arguments);
                    return result.IsBool() ? (result.ToBool() ? "true" : "false") : "";
                }};
    }

    Operation SomeFill(const Shown& view) {
        const int64_t x = Between(-3, view.width), y = Between(-3, view.height),
                      width = Between(-view.width, view.width + 3),
                      height = Between(-view.height, view.height + 3), a = Between(0, 255),
                      b = Between(0, 255), c = Between(0, 255), d = Between(0, 255);
        switch (Between(0, 7)) {
            case 0:
                return Call("FillRect", {a});
            case 1:
                return Call("FillRect", {a, b});
            case 2:
                return Call("FillRect", {x, y, width, height, a});
            case 3:
                return Call("FillRect", {x, y, width, height, a, b});
            case 4:
                return Call("FillRectApply", {a, b, c, d});
            case 5:
                return Call("FillRectApply", {x, y, width, height, a, b, c, d});
            case 6:
                // Without the flags of its channels a view is not filled with a colour.
                return view.named ? Call("FillRectRGB", {x, y, width, height, a, b, c})
                                  : Call("FillRect", {a});
            default:
                return view.named ? Call("FillRectRGB", {x, y, width, height, a, b, c, d})
                                  : Call("FillRect", {b});
        }
    }

    Operation SomeCopy(const Shown& view) {
        const int64_t formats[] = {1, 2, 9, 10, 11, 12, 13, 16, 23, 25, 29, 32};
        const int64_t format = formats[Between(0, std::ssize(formats) - 1)];
        const unsigned seed = static_cast<unsigned>(random_());
        const int64_t width = Between(1, 20), height = Between(1, 20);
        const std::vector<trvhost::Value> rectangle = {Between(-3, view.width), Between(-3, view.height),
                                                       Between(-5, 20),         Between(-5, 20),
                                                       Between(-3, width),      Between(-3, height)};
        if (Between(0, 1) == 0) {
            return {"CopyPixels into " + std::to_string(format), [=, this](const Ref& image) {
                        const MemoryImage source(TheHost(), width, height, format, 0, seed);
                        std::vector<trvhost::Value> arguments = {source.Object()};
                        arguments.insert(arguments.end(), rectangle.begin(), rectangle.end());
                        return std::to_string(TheHost().Invoke(image, "CopyPixels", arguments).ToBool());
                    }};
        }
        return {"CopyPixels from " + std::to_string(format), [=, this](const Ref& image) {
                    const MemoryImage dest(TheHost(), 20, 20, format, 0, seed);
                    const bool done = TheHost().Call(dest, "CopyPixels", image).ToBool();
                    return std::to_string(done) + TextOf(dest.Bytes());
                }};
    }

    Operation SomeRow(const Shown& view) {
        const int64_t y = Between(0, view.height - 1);
        const int64_t format = Between(1, 13);
        if (Between(0, 1) == 0) {
            return {"RowInFormat", [=, this](const Ref& image) {
                        const auto row = TheHost().Call(image, "RowInFormat", y, format);
                        static_cast<void>(TheHost().TakeException());
                        const trvhost::MemoryBlock block(row.ToThing());
                        return block ? std::string(block.Bytes().begin(), block.Bytes().end()) : "nil";
                    }};
        }
        const unsigned seed = static_cast<unsigned>(random_());
        return {"RowInFormat setter", [=, this](const Ref& image) -> std::string {
                    const trvhost::MemoryBlock block = TheHost().NewMemoryBlock(view.width * 4);
                    std::mt19937 random(seed);
                    for (uint8_t& byte : block.Bytes())
                        byte = static_cast<uint8_t>(random());
                    TheHost().Assign(image,
                                     "RowInFormat(index as integer, ImageFormat as integer) as memoryblock",
                                     y, format, block);
                    static_cast<void>(TheHost().TakeException());
                    return "";
                }};
    }

    Operation SomeExport(const Shown& view) {
        const int64_t x = Between(-3, view.width), y = Between(-3, view.height);
        const bool alpha = Between(0, 1) == 1;
        return {"CopyPicture", [=, this](const Ref& image) -> std::string {
                    const trvhost::Picture picture(
                        TheHost()
                            .Call(image, alpha ? "CopyPictureWithAlpha" : "CopyPicture", x, y, 10, 10)
                            .ToThing());
                    if (!picture) return "nil";
                    std::string text;
                    for (const uint32_t pixel : picture.Pixels())
                        text += std::to_string(pixel) + " ";
                    return text;
                }};
    }

    Operation SomeScale(const Shown& view) {
        const int64_t mode = Between(1, 7);
        const unsigned seed = static_cast<unsigned>(random_());
        // The other image is of the same family, as scaling wants it.
        const int64_t format = view.format;
        const int64_t width = Between(1, 30), height = Between(1, 30);
        // A CMYK source gives its yellow from the byte at RedOffset, which stays 0 whatever a view shows.
        const bool cmyk = format >= 23 && format <= 32;
        if (cmyk || Between(0, 1) == 0) {
            return {"Scale into", [=, this](const Ref& image) {
                        const MemoryImage source(TheHost(), width, height, format, 0, seed);
                        const bool done =
                            TheHost()
                                .Call(image, "Scale", source.Object(), nullptr, mode, view.width, view.height)
                                .ToBool();
                        return std::to_string(done);
                    }};
        }
        return {"Scale from", [=, this](const Ref& image) {
                    const MemoryImage dest(TheHost(), width, height, format, 0, seed);
                    const bool done =
                        TheHost().Call(dest, "Scale", image, nullptr, mode, width, height).ToBool();
                    return std::to_string(done) + TextOf(dest.Bytes());
                }};
    }

    /// Something that keeps to the channels of an image.
    Operation SomeOperation(const Shown& view) {
        switch (Between(0, 5)) {
            case 0:
                return SomeCopy(view);
            case 1:
                return SomeRow(view);
            case 2:
                return SomeExport(view);
            case 3:
                return SomeScale(view);
            default:
                return SomeFill(view);
        }
    }

    /// Runs an operation on a view and on a plain copy of its pixels.
    void ExpectSameOutcome(const Shown& root, const Shown& view, const Operation& operation) {
        const int64_t pixelSize = Number(root.image, "PixelSize");
        const int64_t rowBytes = root.width * pixelSize;
        std::vector<uint8_t> expected = PixelBytes(TheHost(), root.image);
        const MemoryImage plain = PlainCopy(view, expected, rowBytes, pixelSize);
        const std::string fromPlain = operation.run(plain);
        ASSERT_TRUE(plain.GuardIntact());
        ForEachByte(view, rowBytes, pixelSize, [&](size_t at, int64_t x, int64_t y, int64_t byte) {
            expected[at] = plain.At(x, y, byte);
        });
        const std::string fromView = operation.run(view.image);
        const std::string what =
            operation.name + " on" + view.story + ", format " + std::to_string(root.format);
        ASSERT_EQ(fromView == fromPlain, true) << what;
        const std::vector<uint8_t> found = PixelBytes(TheHost(), root.image);
        const auto [at, wanted] = std::mismatch(found.begin(), found.end(), expected.begin());
        ASSERT_EQ(at, found.end()) << what << ": byte " << (at - found.begin()) % rowBytes << " of row "
                                   << (at - found.begin()) / rowBytes << " is " << int(*at) << ", not "
                                   << int(*wanted);
    }

    /// Everything that can be done to a view without pixels, or with it.
    void TouchEveryWay(const Ref& view, const MemoryImage& other) const {
        const auto call = [&](const Ref& on, const char* method, std::vector<trvhost::Value> arguments) {
            const trvhost::Value result = TheHost().Invoke(on, method, arguments);
            // Indices out of range and copies of less than no memory do raise.
            static_cast<void>(TheHost().TakeException());
            return result;
        };
        // The forms that clear whole rows take those that the view covers, however narrow it is.
        if (Number(view, "Height") <= 0) call(view, "ClearRect", {});
        call(view, "ClearRect", {0, 0, 5, 5});
        call(view, "FillRect", {7});
        call(view, "FillRect", {7, 8});
        call(view, "FillRect", {0, 0, 5, 5, 7});
        call(view, "FillRect", {-5, -5, 50, 50, 7, 8});
        call(view, "FillRectRandom", {});
        call(view, "FillRectRGB", {1, 2, 3});
        call(view, "FillRectApply", {1, 2, 3, 4});
        call(view, "CopyPixels", {other.Object()});
        call(view, "CopyPixels", {other.Object(), 0, 0, 5, 5, 0, 0});
        call(other, "CopyPixels", {view});
        call(view, "Clone", {});
        call(view, "RawRow", {0});
        call(view, "RowInFormat", {0, 1});
        call(view, "DataStringInFormat", {1});
        call(view, "CopyPicture", {});
        call(view, "CopyPictureWithMask", {0, 0, 5, 5});
        call(view, "MapInRows", {0, -1});
        call(view, "MapInRows", {0, INT64_MAX});
        TheHost().Set(view, "MappingBlockSize", 1);
        for (const char* method : {"Channels", "RedChannel", "GrayChannel", "RGBChannels", "CMYKChannels"}) {
            const trvhost::Value result = call(view, method, {});
            if (result.ToThing().ClassName() == "PictureTRV") call(result.ToThing(), "FillRect", {9});
        }
        const Ref channel = call(view, "Channel", {0}).ToThing();
        if (channel) call(channel, "FillRect", {9});
    }

    std::mt19937 random_{17};
};

TEST_P(ViewsPixels, AreTheImagesPixels) {
    const Store& store = GetParam();
    if (!Start(store)) GTEST_SKIP() << "this system has no such pictures";
    const bool window = store.kind == Store::Mapped || store.kind == Store::Paged;
    for (int round = 0; round < 30; ++round) {
        int64_t format = Between(1, 48);
        if (format == 14) format = 41;
        const Shown root = NewRoot(store, Between(1, 40), Between(window ? 5 : 1, 30), format);
        for (int i = 0; i < 4; ++i) {
            const Shown view = SomeView(root);
            ASSERT_TRUE(view.image) << view.story;
            for (int k = 0; k < 3; ++k) {
                ExpectSameOutcome(root, view, SomeOperation(view));
                if (HasFatalFailure()) return;
            }
        }
    }
}

// Clearing knows no channels: it works on the rows as they are stored, from their first column on.
TEST_P(ViewsPixels, AreClearedFromTheLeftEdgeOfTheStore) {
    if (!Start(GetParam())) GTEST_SKIP() << "this system has no such pictures";
    for (int round = 0; round < 40; ++round) {
        const Shown root = NewRoot(GetParam(), 40, 30, Between(1, 13));
        const Shown view = SomeView(root);
        const int64_t x = Between(0, view.width - 1), y = Between(0, view.height - 1);
        const int64_t width = Between(1, view.width - x), height = Between(1, view.height - y);
        const int64_t pixelSize = Number(root.image, "PixelSize");
        std::vector<uint8_t> expected = PixelBytes(TheHost(), root.image);
        for (int64_t row = y; row < y + height; ++row) {
            uint8_t* pixels = expected.data() + view.RootRow(row) * 40 * pixelSize;
            std::fill_n(pixels + x * pixelSize, width * pixelSize, uint8_t{0});
        }
        TheHost().Call(view.image, "ClearRect", x, y, width, height);
        ASSERT_EQ(PixelBytes(TheHost(), root.image) == expected, true) << view.story;
        for (int64_t row = 0; row < view.height; ++row)
            std::fill_n(expected.data() + view.RootRow(row) * 40 * pixelSize, 40 * pixelSize, uint8_t{0});
        TheHost().Call(view.image, "ClearRect");
        ASSERT_EQ(PixelBytes(TheHost(), root.image) == expected, true) << view.story;
    }
}

TEST_P(ViewsPixels, OfAColumnAreClearedLeftOfIt) {
    if (!Start(GetParam())) GTEST_SKIP() << "this system has no such pictures";
    const Shown root = NewRoot(GetParam(), 20, 10, Constant("ImageFormatRGB"));
    const auto before = PixelBytes(TheHost(), root.image);
    const int64_t pixelSize = Number(root.image, "PixelSize");
    TheHost().Call(TheHost().Call(root.image, "ClipImage", 10, 0, 10, 10).ToThing(), "ClearRect", 0, 0, 5, 1);
    const auto after = PixelBytes(TheHost(), root.image);
    EXPECT_EQ(std::vector<uint8_t>(static_cast<size_t>(5 * pixelSize), 0),
              std::vector<uint8_t>(after.begin(), after.begin() + 5 * pixelSize));
    EXPECT_TRUE(std::equal(before.begin() + 5 * pixelSize, before.end(), after.begin() + 5 * pixelSize));
}

// A mirror of a mirror is the image, and a mirror of a part is that part upside down.
TEST_P(ViewsPixels, MirrorTwiceToNothing) {
    if (!Start(GetParam())) GTEST_SKIP() << "this system has no such pictures";
    const Shown root = NewRoot(GetParam(), 20, 10, Constant("ImageFormatRGB"));
    const Ref mirror = TheHost().Call(root.image, "MirroredView").ToThing();
    const Ref twice = TheHost().Call(mirror, "MirroredView").ToThing();
    const Ref part = TheHost()
                         .Call(TheHost().Call(root.image, "ClipImage", 0, 3, 20, 4).ToThing(), "MirroredView")
                         .ToThing();
    const auto bytes = static_cast<size_t>(20 * Number(root.image, "PixelSize"));
    for (int64_t y = 0; y < 10; ++y) {
        EXPECT_EQ(std::memcmp(RawRow(TheHost(), mirror, y), RawRow(TheHost(), root.image, 9 - y), bytes), 0);
        EXPECT_EQ(std::memcmp(RawRow(TheHost(), twice, y), RawRow(TheHost(), root.image, y), bytes), 0);
        if (y < 4) {
            EXPECT_EQ(std::memcmp(RawRow(TheHost(), part, y), RawRow(TheHost(), root.image, 6 - y), bytes),
                      0);
        }
    }
}

// Empty views, of any kind of emptiness: nothing happens, whatever is done to them.
TEST_P(ViewsPixels, WithoutPixelsEndQuietly) {
    if (!Start(GetParam())) GTEST_SKIP() << "this system has no such pictures";
    constexpr int64_t kMost = INT64_MAX, kLeast = INT64_MIN;
    for (const int64_t format : {1, 2, 10, 11, 24, 41}) {
        const Shown root = NewRoot(GetParam(), 20, 10, format);
        const auto before = PixelBytes(TheHost(), root.image);
        const MemoryImage other(TheHost(), 20, 10, root.format);
        const auto otherBefore = other.Bytes();
        for (const auto& [x, y, width, height] : {std::array<int64_t, 4>{5, 5, 0, 0},
                                                  {25, 3, 4, 4},
                                                  {3, 15, 4, 4},
                                                  {-9, 3, 4, 4},
                                                  {3, -9, 4, 4},
                                                  {-9, -9, 4, 4},
                                                  {kMost, kMost, kMost, kMost},
                                                  {kLeast, kLeast, 1, 1},
                                                  {kLeast, kLeast, 0, 0},
                                                  {kMost, 3, 1, 1},
                                                  {3, kMost, 1, 1},
                                                  {kMost, kMost, -1, -1},
                                                  {-kMost, 0, kMost, 5}}) {
            Ref view = TheHost().Call(root.image, "ClipImage", x, y, width, height).ToThing();
            for (int depth = 0; depth < 4; ++depth) {
                ASSERT_TRUE(view);
                TouchEveryWay(view, other);
                if (HasFatalFailure()) return;
                view = depth == 0   ? TheHost().Call(view, "MirroredView").ToThing()
                       : depth == 1 ? TheHost().Call(view, "ClipImage", kMost, kMost, kMost, kMost).ToThing()
                                    : TheHost().Call(view, "ClipImage", 1, 1, 3, 3).ToThing();
            }
        }
        EXPECT_EQ(PixelBytes(TheHost(), root.image) == before, true);
        EXPECT_EQ(other.Bytes() == otherBefore, true);
    }
}

std::string StoreName(const testing::TestParamInfo<Store>& tested) {
    return tested.param.name;
}

INSTANTIATE_TEST_SUITE_P(
    Stores, ViewsPixels,
    testing::Values(Store{"Memory", Store::Memory}, Store{"Mapped", Store::Mapped},
                    Store{"Paged", Store::Paged},
                    Store{"GdPicture", Store::Picture, HostKind::Console, PictureStorage::GdTrueColor},
                    Store{"PackedPicture", Store::Picture, HostKind::Desktop, PictureStorage::Packed32},
                    Store{"GdiPlusPicture", Store::Picture, HostKind::Desktop, PictureStorage::GdiPlusPargb},
                    Store{"DibPicture", Store::Picture, HostKind::Desktop, PictureStorage::Dib32}),
    StoreName);

}  // namespace
}  // namespace trvtest
