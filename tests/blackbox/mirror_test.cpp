// HMirror, VMirror and Rotate180 in place, from outside, against a reference that moves channels one by one.

#include <gmock/gmock.h>

#include "geometry_images.h"

namespace trvtest {
namespace {

using testing::Contains;

struct Mirror {
    const char* method;
    bool columns;
    bool rows;
};
constexpr Mirror kMirrors[] = {{"HMirror", true, false}, {"VMirror", false, true}, {"Rotate180", true, true}};

class MirrorTest : public GeometryTest {
  protected:
    /// The store after the operation on `view`, by the rules.
    std::vector<uint8_t> Expected(const Mirror& mirror, const MemoryImage& root, const Ref& view) const {
        const Side side(TheHost(), view);
        const std::vector<uint8_t> before = root.Bytes();
        std::vector<uint8_t> after = before;
        const int64_t width = Number(view, "Width"), height = Number(view, "Height");
        const std::vector<std::string> channels = side.wide ? std::vector<std::string>() : ChannelNames(side);
        for (const std::string& channel : channels) {
            for (int64_t y = 0; y < height; ++y) {
                // The middle row of a half turn shows the row below it, or nothing.
                const bool middle = mirror.rows && mirror.columns && height % 2 != 0 && y == height / 2;
                const int64_t fromY = middle ? y + 1 : mirror.rows ? height - 1 - y : y;
                for (int64_t x = 0; x < width; ++x) {
                    const int64_t fromX = mirror.columns ? width - 1 - x : x;
                    after[PlaceOf(root, view, side, x, y, channel)] =
                        fromY >= height ? uint8_t{0}
                                        : before[PlaceOf(root, view, side, fromX, fromY, channel)];
                }
            }
        }
        return after;
    }

    /// The same for channels that may share bytes: rows exchanged by way of copies, pixel by pixel.
    void ExpectWritten(const Mirror& mirror, const MemoryImage& root, const Ref& view) {
        const Side side(TheHost(), view);
        std::vector<uint8_t> bytes = root.Bytes();
        const int64_t width = Number(view, "Width"), height = Number(view, "Height");
        std::vector<uint8_t> lower(bytes.size());
        const auto write = [&](int64_t y, const std::vector<uint8_t>& from, int64_t fromY) {
            for (int64_t x = 0; x < width; ++x) {
                for (const std::string& channel : ChannelNames(side)) {
                    bytes[PlaceOf(root, view, side, x, y, channel)] =
                        from[PlaceOf(root, view, side, mirror.columns ? width - 1 - x : x, fromY, channel)];
                }
            }
        };
        for (int64_t y = 0; y < height / 2; ++y) {
            const std::vector<uint8_t> upper = bytes;
            lower = bytes;
            write(y, lower, height - 1 - y);
            write(height - 1 - y, upper, y);
        }
        if (mirror.columns && height % 2 != 0) write(height / 2, lower, std::min(height / 2 + 1, height - 1));
        TheHost().Call(view, mirror.method);
        ASSERT_EQ(root.Bytes(), bytes) << width << " x " << height;
        EXPECT_TRUE(root.GuardIntact());
    }

    void ExpectMirrored(const Mirror& mirror, const MemoryImage& root, const Ref& view) {
        const std::vector<uint8_t> expected = Expected(mirror, root, view);
        TheHost().Call(view, mirror.method);
        ASSERT_EQ(root.Bytes(), expected) << mirror.method << " of format " << Number(view, "ImageFormat")
                                          << ", " << Number(view, "Width") << " x " << Number(view, "Height");
        EXPECT_TRUE(root.GuardIntact());
    }
};

TEST_F(MirrorTest, EveryFormatMatchesTheReference) {
    for (const Mirror& mirror : kMirrors) {
        for (int64_t format = 1; format <= 48; ++format) {
            if (format == 14) continue;
            for (int round = 0; round < 4; ++round) {
                const MemoryImage image = Memory(Draw(1, 90), Draw(1, 7), format, Draw(0, 5));
                ExpectMirrored(mirror, image, image);
            }
        }
    }
}

TEST_F(MirrorTest, ViewsMoveTheirOwnPixelsOnly) {
    for (const Mirror& mirror : kMirrors) {
        for (int round = 0; round < 120; ++round) {
            int64_t format = Draw(1, 48);
            if (format == 14) format = 2;
            const Watched watched = RandomView(Draw(1, 40), Draw(1, 6), format);
            ExpectMirrored(mirror, watched.root, watched.view);
        }
    }
}

TEST_F(MirrorTest, WidthsAroundAVector) {
    for (const int64_t width : {1, 15, 16, 17, 31, 32, 33, 64, 127, 128, 300}) {
        for (const char* format : {"ImageFormatG", "ImageFormatGA", "ImageFormatRGB", "ImageFormatRGBA",
                                   "ImageFormatXRGB", "ImageFormatCMYKA", "ImageFormatCMYKX"}) {
            for (const Mirror& mirror : kMirrors) {
                const MemoryImage image = Memory(width, 4, format);
                ExpectMirrored(mirror, image, image);
            }
        }
    }
}

TEST_F(MirrorTest, TwiceRestoresTheImage) {
    const MemoryImage image = Memory(37, 9, "ImageFormatRGBX");
    const std::vector<uint8_t> before = image.Bytes();
    for (const char* method : {"HMirror", "VMirror"}) {
        TheHost().Call(image, method);
        EXPECT_NE(image.Bytes(), before);
        TheHost().Call(image, method);
        EXPECT_EQ(image.Bytes(), before);
    }
}

TEST_F(MirrorTest, HalfTurnOfEvenHeightIsBothMirrors) {
    const MemoryImage image = Memory(21, 8, "ImageFormatKYMCA"), other = Memory(21, 8, "ImageFormatKYMCA");
    other.SetBytes(image.Bytes());
    TheHost().Call(image, "Rotate180");
    TheHost().Call(other, "HMirror");
    TheHost().Call(other, "VMirror");
    EXPECT_EQ(image.Bytes(), other.Bytes());
}

TEST_F(MirrorTest, HalfTurnOfOddHeightRepeatsTheRowBelowTheMiddle) {
    const MemoryImage image = Memory(3, 3, "ImageFormatG");
    image.SetBytes({1, 2, 3, 4, 5, 6, 7, 8, 9});
    TheHost().Call(image, "Rotate180");
    EXPECT_EQ(image.Bytes(), (std::vector<uint8_t>{9, 8, 7, 9, 8, 7, 3, 2, 1}));
}

TEST_F(MirrorTest, HalfTurnOfOneRowClearsItsChannels) {
    const MemoryImage image = Memory(2, 1, "ImageFormatRGBX");
    image.SetBytes({1, 2, 3, 4, 5, 6, 7, 8});
    TheHost().Call(image, "Rotate180");
    EXPECT_EQ(image.Bytes(), (std::vector<uint8_t>{0, 0, 0, 4, 0, 0, 0, 8}));
}

TEST_F(MirrorTest, ChannelsThatShareAByteAreSwappedTwice) {
    const MemoryImage image = Memory(3, 1, "ImageFormatRGB");
    TheHost().Set(image, "GreenOffset", 0);
    image.SetBytes({1, 2, 3, 4, 5, 6, 7, 8, 9});
    TheHost().Call(image, "HMirror");
    EXPECT_EQ(image.Bytes(), (std::vector<uint8_t>{1, 2, 9, 4, 5, 6, 7, 8, 3}));
}

TEST_F(MirrorTest, ChannelsThatShareAByteAreWrittenFromTheOtherRow) {
    const MemoryImage image = Memory(3, 2, "ImageFormatRGB");
    TheHost().Set(image, "GreenOffset", 0);
    image.SetBytes({1, 2, 3, 4, 5, 6, 7, 8, 9, 11, 12, 13, 14, 15, 16, 17, 18, 19});
    TheHost().Call(image, "VMirror");
    EXPECT_EQ(image.Bytes(),
              (std::vector<uint8_t>{11, 2, 13, 14, 5, 16, 17, 8, 19, 1, 12, 3, 4, 15, 6, 7, 18, 9}));
    TheHost().Call(image, "Rotate180");
    EXPECT_EQ(image.Bytes(),
              (std::vector<uint8_t>{7, 2, 9, 4, 5, 6, 1, 8, 3, 17, 12, 19, 14, 15, 16, 11, 18, 13}));
}

TEST_F(MirrorTest, ChannelsThatMeetThoseOfOtherPixelsAreWrittenInOrder) {
    for (const Mirror& mirror : {kMirrors[1], kMirrors[2]}) {
        for (int round = 0; round < 60; ++round) {
            const int64_t format = Draw(1, 10);
            const MemoryImage root = Memory(Draw(3, 20), Draw(1, 7), format);
            const Ref view =
                TheHost().Call(root.Object(), "ClipImage", Draw(1, 2), 0, 90, Draw(1, 7)).ToThing();
            const char* moved[] = {"RedOffset", "GreenOffset", "BlueOffset"};
            TheHost().Set(view, moved[Draw(0, 2)], Draw(0, root.PixelSize() - 1));
            ExpectWritten(mirror, root, view);
            ASSERT_FALSE(HasFatalFailure()) << mirror.method << " " << format;
        }
    }
}

TEST_F(MirrorTest, MappedImagesMatchImagesInMemory) {
    for (const char* format : {"ImageFormatRGBA", "ImageFormatXRGB", "ImageFormatG", "ImageFormatCMYKA"}) {
        for (const Mirror& mirror : kMirrors) {
            for (const int64_t height : {5, 6, 9001}) {  // the last one does not fit into a window
                for (const bool mirrored : {false, true}) {
                    if (mirrored && height > 100 && format != std::string("ImageFormatG")) continue;
                    Ref mapped = NewMapped(9, height, format, 0, "mirrored");
                    FillWithNoise(TheHost(), mapped, random_);
                    const Ref memory = NewImage(9, height, format);
                    TheHost().Call(memory, "FillRect", 0, 0);
                    for (int64_t y = 0; y < height; ++y)
                        std::memcpy(RawRow(TheHost(), memory, y), RawRow(TheHost(), mapped, y),
                                    static_cast<size_t>(9 * Number(memory, "PixelSize")));
                    Ref view = mirrored ? TheHost().Call(mapped, "MirroredView").ToThing() : mapped;
                    TheHost().Call(view, mirror.method);
                    const Ref same = mirrored ? TheHost().Call(memory, "MirroredView").ToThing() : memory;
                    TheHost().Call(same, mirror.method);
                    EXPECT_EQ(PixelBytes(TheHost(), mapped), PixelBytes(TheHost(), memory))
                        << format << " " << mirror.method;
                }
            }
        }
    }
}

TEST_F(MirrorTest, RowsOfACallerThatOverlapDoNoHarm) {
    for (const int64_t rowSize : {0, 1, 5, 11}) {
        const trvhost::MemoryBlock block = TheHost().NewMemoryBlock(200);
        std::iota(block.Bytes().begin(), block.Bytes().end(), uint8_t{0});
        const Ref image = TheHost().Construct("PictureTRV", block, 4, 5, Constant("ImageFormatRGB"), rowSize);
        for (const Mirror& mirror : kMirrors)
            TheHost().Call(image, mirror.method);
        for (size_t i = static_cast<size_t>(4 * rowSize + 12); i < 200; ++i)
            EXPECT_EQ(block.Bytes()[i], i);
    }
}

TEST_F(MirrorTest, RefusalsLeaveTheImageAndNameThemselves) {
    const MemoryImage wide = Memory(4, 4, "ImageFormatGray16"), buffer = Memory(4, 4, "ImageFormatBuffer"),
                      closed = Memory(4, 4, "ImageFormatRGB");
    TheHost().Call(closed, "Close");
    for (const Mirror& mirror : kMirrors) {
        for (const MemoryImage* image : {&wide, &buffer, &closed}) {
            const std::vector<uint8_t> before = image->Bytes();
            TheHost().Call(*image, mirror.method);
            EXPECT_EQ(image->Bytes(), before);
        }
        const Ref invalid = TheHost().New("PictureTRV");
        EXPECT_THAT(LogOf([&] { TheHost().Call(invalid, mirror.method); }), Contains("Picture not valid."));
        EXPECT_THAT(LogOf([&] { TheHost().Call(wide, mirror.method); }),
                    Contains("BitsPerComponent > 8 not supported. 16"));
        EXPECT_THAT(LogOf([&] { TheHost().Call(closed, mirror.method); }), Contains("GetRow is nil"));
    }
}

TEST_F(MirrorTest, TheStagesNameThemselves) {
    const MemoryImage gray = Memory(4, 4, "ImageFormatG"), inks = Memory(4, 4, "ImageFormatACMYK");
    const auto log = [&](const Ref& image, const char* method) {
        return LogOf([&] { TheHost().Call(image, method); });
    };
    EXPECT_EQ(log(gray, "HMirror"),
              (std::vector<std::string>{"HMirrorSelf", "StartImage ok", "HMirrorSelfG"}));
    EXPECT_EQ(log(gray, "VMirror"),
              (std::vector<std::string>{"VMirrorSelf", "StartImage ok", "VMirrorSelfG"}));
    EXPECT_EQ(log(inks, "Rotate180"),
              (std::vector<std::string>{"Rotate180Self", "StartImage ok", "Rotate180SelfCMYKA"}));
}

TEST_F(MirrorTest, TheHostGetsItsTimeAfterEachRowAndMayClose) {
    for (const Mirror& mirror : kMirrors) {
        const Ref image = NewImage(5, 10, "ImageFormatRGB");
        TheHost().Set(image, "YieldTicks", -1);
        int64_t yields = 0;
        TheHost().OnYield([&] {
            TheHost().Set(image, "YieldTicks", -1);
            if (++yields == 2) TheHost().Call(image, "Close");
        });
        for (int i = 0; i < 3; ++i)
            TheHost().Call(image, mirror.method);
        TheHost().OnYield({});
    }
}

}  // namespace
}  // namespace trvtest
