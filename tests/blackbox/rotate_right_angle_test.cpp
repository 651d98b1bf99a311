// Turns by right angles into a destination, from outside, against a reference that moves channels one by one.

#include <gmock/gmock.h>

#include "geometry_images.h"

namespace trvtest {
namespace {

using testing::Contains;

struct TurnMethod {
    const char* declaration;
    int degrees;
    bool tiled;
};
constexpr TurnMethod kTurns[] = {
    {"Rotate180(dest as PictureTRV=nil) as PictureTRV", 180, false},
    {"Rotate90(dest as PictureTRV=nil) as PictureTRV", 90, true},
    {"Rotate270(dest as PictureTRV=nil) as PictureTRV", 270, true},
    {"Rotate90slow(dest as PictureTRV=nil) as PictureTRV", 90, false},
    {"Rotate270slow(dest as PictureTRV=nil) as PictureTRV", 270, false},
};

class RotateRightAngle : public GeometryTest {
  protected:
    struct Place {
        int64_t x;
        int64_t y;
    };
    static Place PlaceAfter(int degrees, int64_t width, int64_t height, Place at) {
        if (degrees == 90) return {at.y, width - 1 - at.x};
        if (degrees == 180) return {width - 1 - at.x, height - 1 - at.y};
        return {height - 1 - at.y, at.x};
    }

    Ref Turn(const TurnMethod& turn, const Ref& image, const Ref& dest) const {
        return TheHost().Call(image, turn.declaration, dest).ToThing();
    }

    /// The pixels of the source in the order in which they move.
    std::vector<Place> Order(const TurnMethod& turn, const Ref& source, const Ref& dest) const {
        const int64_t width = Number(source, "Width"), height = Number(source, "Height");
        int64_t edge = std::max(width, height);
        if (turn.tiled)
            edge = std::max<int64_t>(std::min(Number(source, "MappingRows"), Number(dest, "MappingRows")) - 2,
                                     1);
        std::vector<Place> order;
        for (int64_t r = 0; r < height; r += edge) {
            for (int64_t c = 0; c < width; c += edge) {
                for (int64_t y = r; y < std::min(height, r + edge); ++y) {
                    for (int64_t x = c; x < std::min(width, c + edge); ++x)
                        order.push_back({turn.degrees == 180 ? width - 1 - x : x, y});
                }
            }
        }
        return order;
    }

    /// Turns `view` into `dest`, both over memory, possibly the same, and compares the destination's store.
    void ExpectTurned(const TurnMethod& turn, const MemoryImage& sourceRoot, const Ref& view,
                      const MemoryImage& destRoot, const Ref& dest, bool within = false) {
        const Side s(TheHost(), view), d(TheHost(), dest);
        const std::vector<uint8_t> source = sourceRoot.Bytes();
        std::vector<uint8_t> expected = destRoot.Bytes();
        const std::vector<uint8_t>& from = within ? expected : source;
        const int64_t width = Number(view, "Width"), height = Number(view, "Height");
        for (const Place& at : Order(turn, view, dest)) {
            const Place to = PlaceAfter(turn.degrees, width, height, at);
            if (to.x >= Number(dest, "Width") || to.y >= Number(dest, "Height")) continue;
            for (const std::string& channel : ChannelNames(s)) {
                expected[PlaceOf(destRoot, dest, d, to.x, to.y, channel)] =
                    from[PlaceOf(sourceRoot, view, s, at.x, at.y, channel)];
            }
        }
        const Ref result = Turn(turn, view, dest);
        EXPECT_EQ(result, dest);
        ASSERT_EQ(destRoot.Bytes(), expected)
            << turn.declaration << ", " << width << " x " << height << ", formats "
            << Number(view, "ImageFormat") << " and " << Number(dest, "ImageFormat");
        EXPECT_TRUE(destRoot.GuardIntact());
        EXPECT_TRUE(within || sourceRoot.Bytes() == source);
    }

    int64_t AnyFormat() {
        while (true) {
            const int64_t format = Draw(1, 48);
            if (format != 14 && format != 41) return format;
        }
    }
};

TEST_F(RotateRightAngle, EveryFormatIntoItsOwnMatchesTheReference) {
    for (const TurnMethod& turn : kTurns) {
        for (int64_t format = 1; format <= 48; ++format) {
            if (format == 14 || format == 41) continue;
            const int64_t width = Draw(1, 80), height = Draw(1, 150);
            const bool quarter = turn.degrees != 180;
            const MemoryImage source = Memory(width, height, format, Draw(0, 3));
            const MemoryImage dest =
                Memory(quarter ? height : width, quarter ? width : height, format, Draw(0, 3));
            ExpectTurned(turn, source, source, dest, dest);
        }
    }
}

TEST_F(RotateRightAngle, AnyFormatIntoAnyOtherOfAnySize) {
    for (const TurnMethod& turn : kTurns) {
        for (int round = 0; round < 150; ++round) {
            const Watched source = RandomView(Draw(1, 70), Draw(1, 70), AnyFormat());
            const Watched dest = RandomView(Draw(1, 80), Draw(1, 80), AnyFormat());
            ExpectTurned(turn, source.root, source.view, dest.root, dest.view);
        }
    }
}

TEST_F(RotateRightAngle, LargeImagesAreWrittenInWholeLines) {
    for (const TurnMethod& turn : kTurns) {
        for (const char* format : {"ImageFormatRGBA", "ImageFormatG"}) {
            for (const int64_t padding : {0, 64}) {
                const int64_t size = format == std::string("ImageFormatG") ? 2176 : 1088;
                const MemoryImage source = Memory(size + 7, size, format);
                const bool quarter = turn.degrees != 180;
                const MemoryImage dest =
                    quarter ? Memory(size, size + 7, format, padding) : Memory(size + 7, size, format);
                const Ref result = Turn(turn, source, dest);
                const int64_t ps = source.PixelSize();
                int64_t wrong = 0;
                for (int64_t y = 0; y < size; ++y) {
                    for (int64_t x = 0; x < size + 7; ++x) {
                        const Place to = PlaceAfter(turn.degrees, size + 7, size, {x, y});
                        wrong +=
                            std::memcmp(&source.At(x, y), &dest.At(to.x, to.y), static_cast<size_t>(ps)) != 0;
                    }
                }
                EXPECT_EQ(wrong, 0) << turn.declaration << format;
                EXPECT_TRUE(dest.GuardIntact());
            }
        }
    }
}

TEST_F(RotateRightAngle, ANewDestinationHasTheTurnedSizeAndTheFormat) {
    for (const TurnMethod& turn : kTurns) {
        const MemoryImage source = Memory(13, 6, "ImageFormatBGRX");
        const Ref result = Turn(turn, source, nullptr);
        ASSERT_TRUE(result);
        const bool quarter = turn.degrees != 180;
        EXPECT_EQ(Number(result, "Width"), quarter ? 6 : 13);
        EXPECT_EQ(Number(result, "Height"), quarter ? 13 : 6);
        EXPECT_EQ(Number(result, "ImageFormat"), Constant("ImageFormatBGRX"));
        for (int64_t y = 0; y < 6; ++y) {
            for (int64_t x = 0; x < 13; ++x) {
                const Place to = PlaceAfter(turn.degrees, 13, 6, {x, y});
                const uint8_t* pixel = RawRow(TheHost(), result, to.y) + to.x * 4;
                EXPECT_EQ(std::memcmp(pixel, &source.At(x, y), 3), 0);
                EXPECT_EQ(pixel[3], 0);  // the spare byte does not move
            }
        }
    }
}

TEST_F(RotateRightAngle, NinetyAndBackRestoresTheImage) {
    for (const char* pair : {"", "slow"}) {
        const MemoryImage source = Memory(19, 31, "ImageFormatKYMC");
        const Ref turned =
            TheHost()
                .Call(source, std::string("Rotate90") + pair + "(dest as PictureTRV=nil) as PictureTRV",
                      nullptr)
                .ToThing();
        const Ref back =
            TheHost()
                .Call(turned, std::string("Rotate270") + pair + "(dest as PictureTRV=nil) as PictureTRV",
                      nullptr)
                .ToThing();
        EXPECT_EQ(PixelBytes(TheHost(), back), PixelBytes(TheHost(), source));
    }
}

TEST_F(RotateRightAngle, WithinOneImageTheOrderShows) {
    for (const TurnMethod& turn : kTurns) {
        for (int round = 0; round < 200; ++round) {
            const Watched whole = RandomView(Draw(3, 12), Draw(3, 12), AnyFormat());
            if (Draw(0, 1) == 0) {
                // With an offset of its own, a channel can meet those of other pixels.
                if (Draw(0, 1) == 0)
                    TheHost().Set(whole.view, "GreenOffset", Draw(0, Number(whole.view, "PixelSize") - 1));
                ExpectTurned(turn, whole.root, whole.view, whole.root, whole.view, true);
                continue;
            }
            // Two rectangles of one image, which may overlap.
            const int64_t width = Number(whole.view, "Width"), height = Number(whole.view, "Height");
            const auto clip = [&] {
                const int64_t x = Draw(0, width - 1), y = Draw(0, height - 1);
                return TheHost()
                    .Call(whole.view, "ClipImage", x, y, Draw(1, width - x), Draw(1, height - y))
                    .ToThing();
            };
            const Ref from = clip(), to = clip();
            ExpectTurned(turn, whole.root, from, whole.root, to, true);
        }
    }
}

TEST_F(RotateRightAngle, TilesWithoutAnEdgeFinish) {
    for (const TurnMethod& turn : kTurns) {
        for (const auto& [width, height] :
             {std::pair{1, 1}, {1, 40}, {40, 1}, {2, 2}, {2, 33}, {33, 2}, {3, 3}}) {
            const MemoryImage source = Memory(width, height, "ImageFormatRGBA");
            const bool quarter = turn.degrees != 180;
            const MemoryImage dest =
                quarter ? Memory(height, width, "ImageFormatRGBA") : Memory(width, height, "ImageFormatRGBA");
            ExpectTurned(turn, source, source, dest, dest);
        }
        const MemoryImage source = Memory(20, 10, "ImageFormatRGB");
        const Ref clone = TheHost().Call(source, "Clone").ToThing();  // whose MappingRows is -1
        const Ref fromClone = Turn(turn, clone, nullptr);
        EXPECT_EQ(PixelBytes(TheHost(), fromClone), PixelBytes(TheHost(), Turn(turn, source, nullptr)));
        const Ref intoClone = TheHost().Call(fromClone, "Clone").ToThing();
        TheHost().Call(intoClone, "FillRect", 0);
        EXPECT_EQ(PixelBytes(TheHost(), Turn(turn, source, intoClone)), PixelBytes(TheHost(), fromClone));
    }
}

TEST_F(RotateRightAngle, MappedImagesMatchImagesInMemory) {
    for (const TurnMethod& turn : kTurns) {
        for (const int64_t width : {5, 5000}) {  // 5000 rows take more than a window
            for (int kind = 0; kind < 8; ++kind) {
                const Ref memory = NewImage(width, 4400, "ImageFormatG");
                if (width == 5 || kind == 3 || kind == 7) FillWithNoise(TheHost(), memory, random_);
                if (width > 5 && kind != 3 && kind != 7) continue;
                const Ref plain = Turn(turn, memory, nullptr);
                Ref source = memory, dest;
                if (kind & 1) {
                    source = NewMapped(width, 4400, "ImageFormatG", 0, "source");
                    TheHost().Call(source, "CopyPixels(source as PictureTRV) as boolean", memory);
                }
                if (kind & 2)
                    dest =
                        NewMapped(Number(plain, "Width"), Number(plain, "Height"), "ImageFormatG", 0, "dest");
                if (kind & 4) {  // the same rows the other way round
                    const Ref view = TheHost().Call(source, "MirroredView").ToThing();
                    const Ref expected =
                        Turn(turn, TheHost().Call(memory, "MirroredView").ToThing(), nullptr);
                    const Ref destView = dest ? TheHost().Call(dest, "MirroredView").ToThing() : Ref();
                    const Ref result = Turn(turn, view, destView);
                    EXPECT_TRUE(PixelBytes(TheHost(), result) == PixelBytes(TheHost(), expected))
                        << turn.declaration << kind;
                } else {
                    EXPECT_TRUE(PixelBytes(TheHost(), Turn(turn, source, dest)) ==
                                PixelBytes(TheHost(), plain))
                        << turn.declaration << kind;
                }
            }
        }
    }
}

TEST_F(RotateRightAngle, WithinOneMappedImage) {
    for (const TurnMethod& turn : kTurns) {
        const Ref mapped = NewMapped(7, 7, "ImageFormatRGB", 0, "turned"),
                  memory = NewImage(7, 7, "ImageFormatRGB");
        FillWithNoise(TheHost(), mapped, random_);
        TheHost().Call(memory, "CopyPixels(source as PictureTRV) as boolean", mapped);
        EXPECT_EQ(Number(mapped, "MappingRows"), 7);
        EXPECT_EQ(PixelBytes(TheHost(), Turn(turn, mapped, mapped)),
                  PixelBytes(TheHost(), Turn(turn, memory, memory)))
            << turn.declaration;
    }
}

TEST_F(RotateRightAngle, RefusalsGiveNil) {
    for (const TurnMethod& turn : kTurns) {
        const MemoryImage wide = Memory(4, 4, "ImageFormatGray16"), image = Memory(4, 5, "ImageFormatRGB");
        const Ref invalid = TheHost().New("PictureTRV"), closed = NewImage(4, 4, "ImageFormatRGB");
        TheHost().Call(closed, "Close");
        EXPECT_FALSE(Turn(turn, invalid, nullptr));
        EXPECT_FALSE(Turn(turn, wide, nullptr));
        EXPECT_FALSE(Turn(turn, closed, nullptr));
        EXPECT_FALSE(Turn(turn, image, invalid));
        EXPECT_FALSE(Turn(turn, image, closed));
        EXPECT_THAT(LogOf([&] { Turn(turn, invalid, nullptr); }), Contains("Picture not valid."));
        EXPECT_THAT(LogOf([&] { Turn(turn, wide, nullptr); }),
                    Contains("BitsPerComponent > 8 not supported. 16"));
    }
}

TEST_F(RotateRightAngle, OutsideTheFamiliesNothingMoves) {
    for (const TurnMethod& turn : kTurns) {
        const MemoryImage source = Memory(4, 4, "ImageFormatBuffer"),
                          dest = Memory(4, 4, "ImageFormatBuffer");
        const std::vector<uint8_t> before = dest.Bytes();
        EXPECT_EQ(Turn(turn, source, dest), dest.Object());
        EXPECT_EQ(dest.Bytes(), before);
        EXPECT_TRUE(Turn(turn, source, nullptr));
    }
}

TEST_F(RotateRightAngle, TheStagesNameThemselves) {
    const MemoryImage image = Memory(9, 6, "ImageFormatGA"), dest = Memory(9, 9, "ImageFormatGA");
    const auto log = [&](const TurnMethod& turn) { return LogOf([&] { Turn(turn, image, dest); }); };
    const std::string ok = "StartImage ok";
    EXPECT_EQ(log(kTurns[0]), (std::vector<std::string>{"Rotate180", ok, ok, "Rotate180GA"}));
    EXPECT_EQ(log(kTurns[1]), (std::vector<std::string>{"Rotate90fast", ok, ok, "Rotate90GA", "r 4"}));
    EXPECT_EQ(log(kTurns[2]), (std::vector<std::string>{"Rotate270fast", ok, ok, "Rotate270GA", "r 4"}));
    EXPECT_EQ(log(kTurns[3]), (std::vector<std::string>{"Rotate90", ok, ok, "Rotate90GA"}));
    EXPECT_EQ(log(kTurns[4]), (std::vector<std::string>{"Rotate270", ok, ok, "Rotate270GA"}));
}

TEST_F(RotateRightAngle, WithoutMemoryThereIsNoResult) {
    const MemoryImage image = Memory(200, 100, "ImageFormatRGBA");
    TheHost().Settings().largestMemoryBlock = 1000;
    for (const TurnMethod& turn : kTurns) {
        EXPECT_FALSE(Turn(turn, image, nullptr));
        EXPECT_EQ(TheHost().TakeException()->className, "OutOfMemoryException");
    }
}

}  // namespace
}  // namespace trvtest
