// The oil filter, from outside, against a reference that visits every window sample by sample.

#include "filter_cases.h"
#include "mapped_test.h"

namespace trvtest {
namespace {

/// In reading order, each window from the bytes as they are then.
void PaintOil(const Shown& from, const Shown& to, int64_t levels, int64_t range) {
    const auto channels = from.Channels(true, true);
    const int64_t bands = std::min<int64_t>(levels, 256);
    std::vector<std::array<int64_t, 256>> counts(channels.size()), sums(channels.size());
    for (auto* all : {&counts, &sums}) {
        for (auto& one : *all)
            one.fill(0);
    }
    for (int64_t y = 0; y < from.height; ++y) {
        for (int64_t x = 0; x < from.width; ++x) {
            std::vector<uint8_t> painted;
            for (size_t c = 0; c < channels.size(); ++c) {
                const int64_t first = from.Place(0, 0, channels[c]);
                for (int64_t i = 0; i < bands; ++i)
                    counts[c][static_cast<size_t>(i)] = sums[c][static_cast<size_t>(i)] = 0;
                for (int64_t wy = std::max<int64_t>(y - range, 0); wy <= std::min(y + range, from.height - 1);
                     ++wy) {
                    for (int64_t wx = std::max<int64_t>(x - range, 0);
                         wx <= std::min(x + range, from.width - 1); ++wx) {
                        const uint8_t v = (*from.store)[static_cast<size_t>(first + wy * from.rowStep +
                                                                            wx * from.side.pixelSize)];
                        ++counts[c][static_cast<size_t>(bands * v / 256)];
                        sums[c][static_cast<size_t>(bands * v / 256)] += v;
                    }
                }
                size_t best = 0;
                for (size_t i = 1; i < static_cast<size_t>(bands); ++i) {
                    if (counts[c][i] > counts[c][best]) best = i;
                }
                painted.push_back(
                    counts[c][best] == 0 ? 255 : static_cast<uint8_t>(sums[c][best] / counts[c][best]));
            }
            if (!to.Inside(x, y)) continue;
            for (size_t c = 0; c < channels.size(); ++c) {
                const bool toCyan = range < 0 && (channels[c] == "Magenta" || channels[c] == "Yellow");
                to.At(x, y, toCyan ? "Cyan" : channels[c]) = painted[c];
            }
        }
    }
}

class Oil : public FilterCaseTest {
  protected:
    Ref Paint(const Ref& image, const Ref& dest, int64_t levels, int64_t range) {
        return Filter(image, "OilFilter", dest, levels, range);
    }

    void CheckOil(Case& made, int64_t levels, int64_t range) {
        Check(
            made, [&](const Ref& image, const Ref& dest) { return Paint(image, dest, levels, range); },
            [&](const Shown& from, const Shown& to) { PaintOil(from, to, levels, range); },
            made.from->side.wide);
        ASSERT_FALSE(HasFatalFailure()) << static_cast<int>(made.kind) << ": " << levels << ", " << range;
    }
};

TEST_F(Oil, InAllFormatsMatchesTheReference) {
    for (const int64_t format : Formats()) {
        for (const DestKind kind : kDestKinds) {
            for (int round = 0; round < 4; ++round) {
                Case made = DrawCase(format, kind, 20);
                const int64_t levels = Draw(0, 3) == 0 ? Draw(0, 2) : Draw(1, 300);
                ASSERT_NO_FATAL_FAILURE(CheckOil(made, levels, Draw(-1, 6))) << format;
            }
        }
    }
}

TEST_F(Oil, AnotherViewOfTheSamePixelsIsPaintedInReadingOrder) {
    // Tall enough for rows to enter the window and to leave it, few levels and many, for both ways to keep
    // it.
    for (const char* format :
         {"ImageFormatG", "ImageFormatAG", "ImageFormatRGB", "ImageFormatXBGR", "ImageFormatCMYKA"}) {
        for (const DestKind kind : kSharingKinds) {
            for (int round = 0; round < 30; ++round) {
                Case made = DrawCase(Constant(format), kind, 24, 24);
                const int64_t levels = Draw(0, 1) == 0 ? Draw(0, 9) : Draw(50, 300);
                ASSERT_NO_FATAL_FAILURE(CheckOil(made, levels, Draw(0, 1) == 0 ? Draw(0, 3) : Draw(2, 14)))
                    << format;
            }
        }
    }
}

TEST_F(Oil, ChannelsOfOnePictureArePaintedOntoEachOther) {
    for (int round = 0; round < 40; ++round) {
        Case made = DrawCase(Constant("ImageFormatRGBA"), DestKind::Source, 24, 24);
        const char* names[] = {"RedChannel", "GreenChannel", "BlueChannel", "AlphaChannel"};
        const bool flipped = Draw(0, 1) == 1;
        const auto store = made.from->store;
        made.source = TheHost().Call(made.sourceStore, names[Draw(0, 3)]).ToThing();
        made.dest = TheHost().Call(made.sourceStore, names[Draw(0, 3)]).ToThing();
        if (flipped) made.dest = TheHost().Call(made.dest, "MirroredView").ToThing();
        made.kind = DestKind::Mirrored;
        made.from.emplace(Show(made.source, store));
        made.to.emplace(Show(made.dest, store, flipped));
        ASSERT_NO_FATAL_FAILURE(CheckOil(made, Draw(1, 300), Draw(0, 9)));
    }
}

TEST_F(Oil, RowsThatReachIntoEachOtherArePaintedInReadingOrder) {
    for (const char* format : {"ImageFormatG", "ImageFormatGA", "ImageFormatRGB", "ImageFormatCMYK"}) {
        for (int round = 0; round < 40; ++round) {
            Case made = DrawCrowdedCase(Constant(format));
            ASSERT_NO_FATAL_FAILURE(CheckOil(made, Draw(0, 300), Draw(0, 9))) << format;
        }
    }
}

TEST_F(Oil, LargeWindowsOfTwoViewsMatchTheReference) {
    for (const int64_t range : {31, 32, 60}) {
        Case made = DrawCase(Constant("ImageFormatG"), DestKind::Source, 1, 1);
        made.sourceStore = MemoryImage(TheHost(), 68, 67, Constant("ImageFormatG"), 0, 5);
        made.source = made.sourceStore.Object();
        made.dest = TheHost().Call(made.sourceStore, "MirroredView").ToThing();
        made.kind = DestKind::Mirrored;
        const auto store = std::make_shared<std::vector<uint8_t>>(made.sourceStore.Bytes());
        made.from.emplace(Show(made.source, store));
        made.to.emplace(Show(made.dest, store, true));
        ASSERT_NO_FATAL_FAILURE(CheckOil(made, 20, range));
    }
}

TEST_F(Oil, LargeWindowsMatchTheReference) {
    // 4095 samples are the most that the narrow histograms hold.
    for (const DestKind kind : {DestKind::SameFormat, DestKind::Source}) {
        for (const int64_t range : {30, 31, 32, 70}) {
            Case made = DrawCase(Constant("ImageFormatGA"), kind, 1, 1);
            made.sourceStore = MemoryImage(TheHost(), 67, 66, Constant("ImageFormatG"), 0, 5);
            made.source = made.sourceStore.Object();
            made.from.emplace(
                Show(made.source, std::make_shared<std::vector<uint8_t>>(made.sourceStore.Bytes())));
            if (kind == DestKind::Source) {
                made.dest = made.source;
                made.to = made.from;
            } else {
                made.destStore = MemoryImage(TheHost(), 67, 66, Constant("ImageFormatG"));
                made.dest = made.destStore.Object();
                made.to.emplace(
                    Show(made.dest, std::make_shared<std::vector<uint8_t>>(made.destStore.Bytes())));
            }
            ASSERT_NO_FATAL_FAILURE(CheckOil(made, 20, range));
        }
    }
}

TEST_F(Oil, FlatPicturesFillOneBandToItsLimit) {
    // Every sample white: the highest sums there are.
    for (const int64_t side : {63, 64, 65}) {
        const MemoryImage image(TheHost(), side, side, Constant("ImageFormatRGB"));
        const std::vector<uint8_t> white(image.Bytes().size(), 255);
        image.SetBytes(white);
        for (const int64_t levels : {0, 1, 256}) {
            const Ref painted = Paint(image, nullptr, levels, 31);
            for (int64_t y = 0; y < side; ++y) {
                const auto row =
                    TheHost().Call(painted, "RowStringInFormat", y, Constant("ImageFormatRGB")).ToText();
                EXPECT_EQ(row, std::string(static_cast<size_t>(side * 3), '\xFF'));
            }
        }
    }
}

TEST_F(Oil, RangeOfNothingKeepsEverySample) {
    const MemoryImage image(TheHost(), 33, 5, Constant("ImageFormatCMYKA"));
    const auto before = image.Bytes();
    Paint(image, image, 20, 0);
    EXPECT_EQ(image.Bytes(), before);
}

TEST_F(Oil, OneLevelIsTheMeanOfTheWindow) {
    const MemoryImage image(TheHost(), 3, 1, Constant("ImageFormatG")),
        dest(TheHost(), 3, 1, Constant("ImageFormatG"));
    image.SetBytes({10, 21, 200});
    Paint(image, dest, 1, 1);
    EXPECT_EQ(dest.Bytes(), (std::vector<uint8_t>{15, 77, 110}));
}

TEST_F(Oil, OfEqualBandsTheDarkestCounts) {
    const MemoryImage image(TheHost(), 4, 1, Constant("ImageFormatG")),
        dest(TheHost(), 4, 1, Constant("ImageFormatG"));
    image.SetBytes({200, 10, 210, 20});
    Paint(image, dest, 2, 3);
    EXPECT_EQ(dest.Bytes(), (std::vector<uint8_t>{15, 15, 15, 15}));
}

TEST_F(Oil, WithoutLevelsTheMeanRuns) {
    const MemoryImage image(TheHost(), 3, 1, Constant("ImageFormatG")),
        dest(TheHost(), 3, 1, Constant("ImageFormatG"));
    image.SetBytes({10, 20, 60});
    Paint(image, dest, 0, 1);
    // 10 + 20; 10 + 20 + 60 more; 20 + 60 more
    EXPECT_EQ(dest.Bytes(), (std::vector<uint8_t>{15, 24, 28}));
}

TEST_F(Oil, EmptyWindowsLeaveMagentaAndYellowAlone) {
    const MemoryImage image(TheHost(), 2, 2, Constant("ImageFormatCMYKA"));
    const auto before = image.Bytes();
    for (const int64_t range : {int64_t{-1}, std::numeric_limits<int64_t>::min()}) {
        image.SetBytes(before);
        Paint(image, image, 8, range);
        for (int64_t i = 0; i < 4; ++i) {
            EXPECT_EQ(image.At(i % 2, i / 2, 0), 255);
            EXPECT_EQ(image.At(i % 2, i / 2, 1), before[static_cast<size_t>(i * 5 + 1)]);
            EXPECT_EQ(image.At(i % 2, i / 2, 2), before[static_cast<size_t>(i * 5 + 2)]);
            EXPECT_EQ(image.At(i % 2, i / 2, 3), 255);
            EXPECT_EQ(image.At(i % 2, i / 2, 4), 255);
        }
    }
}

TEST_F(Oil, NegativeLevelsAreRefused) {
    const MemoryImage image(TheHost(), 4, 4, Constant("ImageFormatRGB")),
        dest(TheHost(), 4, 4, Constant("ImageFormatRGB"));
    const auto before = dest.Bytes();
    const int64_t references = dest.Object().References();
    for (const int64_t levels : {int64_t{-1}, std::numeric_limits<int64_t>::min()})
        EXPECT_FALSE(Paint(image, dest, levels, 1));
    EXPECT_FALSE(Paint(image, nullptr, -1, 1));
    EXPECT_EQ(dest.Bytes(), before);
    EXPECT_EQ(dest.Object().References(), references);
    // They do not matter where nothing is painted.
    const MemoryImage bytes(TheHost(), 4, 4, Constant("ImageFormatBuffer"));
    EXPECT_EQ(Paint(bytes, dest, -1, 1), dest.Object());
    EXPECT_EQ(dest.Bytes(), before);
}

TEST_F(Oil, HugeArgumentsEndSoon) {
    constexpr int64_t kMost = std::numeric_limits<int64_t>::max();
    const MemoryImage image(TheHost(), 300, 200, Constant("ImageFormatRGBA"));
    const Ref all = Paint(image, nullptr, kMost, kMost);
    const Ref same = Paint(image, nullptr, 256, 300);
    EXPECT_EQ(StoreOf(all), StoreOf(same));
    EXPECT_TRUE(Paint(image, image, kMost, kMost - 1));
    EXPECT_TRUE(Paint(image, image, 0, kMost));
}

TEST_F(Oil, StagesAreNamedAndTheDestinationIsNot) {
    const Ref image = NewImage(4, 4, "ImageFormatRGBA");
    const auto lines = LogOf([&] { Paint(image, image, 20, 3); });
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(lines.front(), "OilFilter 20, 3");
    EXPECT_EQ(lines.back(), "OilFilterRGBA");
    for (const auto& line : lines)
        EXPECT_FALSE(line.starts_with("dest")) << line;
    const Ref wide = NewImage(4, 4, "ImageFormatGray16");
    EXPECT_EQ(LogOf([&] { EXPECT_FALSE(Paint(wide, nullptr, 20, 3)); }).back(),
              "BitsPerComponent > 8 not supported. 16");
}

TEST_F(Oil, PicturesOfTheHostArePaintedLikeOthers) {
    trvhost::Options options;
    options.kind = trvhost::HostKind::Console;
    Load(options);
    const trvhost::Picture picture = TheHost().NewPicture(37, 21);
    const Ref image = TheHost().Construct("PictureTRV", picture, true);
    TheHost().Call(image, "FillRectRandom");
    const Ref copy = NewImage(37, 21, "ImageFormatBGRA");
    ASSERT_TRUE(TheHost().Call(copy, "CopyPixels", image).ToBool());
    const auto paint = [&](const Ref& whole) {
        const Ref part = TheHost().Call(whole, "ClipImage", 3, 2, 30, 15).ToThing();
        Paint(part, TheHost().Call(whole, "MirroredView").ToThing(), 9, 4);
        return PixelBytes(TheHost(), whole);
    };
    const auto expected = paint(copy);
    const auto painted = paint(image);
    ASSERT_EQ(painted.size(), expected.size());
    // Three colours; the host's fourth byte is not one.
    for (size_t i = 0; i < painted.size(); ++i)
        EXPECT_TRUE(i % 4 == 3 || painted[i] == expected[i]) << i;
}

class MappedOil : public MappedTest {};

TEST_F(MappedOil, TwoViewsOfAMappedImageArePaintedLikeOthers) {
    // More than a window of 16 MiB, at 4096 bytes a row.
    const int64_t width = 3, height = 4400;
    const Ref mapped = NewMapped(width, height, "ImageFormatRGB", 0, std::nullopt);
    const Ref plain = NewImage(width, height, "ImageFormatRGB");
    TheHost().Call(plain, "FillRectRandom");
    ASSERT_TRUE(TheHost().Call(mapped, "CopyPixels", plain).ToBool());
    const auto paint = [&](const Ref& image, bool flipped) {
        const Ref part = TheHost().Call(image, "ClipImage", 1, 2, 2, height - 2).ToThing();
        const Ref other = flipped ? TheHost().Call(image, "MirroredView").ToThing() : image;
        EXPECT_EQ(TheHost().Call(part, "OilFilter", other, 9, 3).ToThing(), other);
        return PixelBytes(TheHost(), image);
    };
    for (const bool flipped : {false, true})
        EXPECT_TRUE(paint(mapped, flipped) == paint(plain, flipped)) << flipped;
}

TEST_F(MappedOil, MappedImagesArePaintedLikeOthers) {
    // 20 MB in a window of 16.
    constexpr int64_t kWidth = 1024, kHeight = 5000;
    const Ref mapped = NewMapped(kWidth, kHeight, "ImageFormatRGBA", 0, std::nullopt);
    ASSERT_LT(Number(mapped, "MappingRows"), kHeight);
    TheHost().Call(mapped, "FillRectRandom");
    const Ref copy = NewImage(kWidth, kHeight, "ImageFormatRGBA"),
              back = NewImage(kWidth, kHeight, "ImageFormatRGBA");
    TheHost().Call(copy, "CopyPixels", mapped);
    TheHost().Call(copy, "OilFilter", copy, 4, 2);
    TheHost().Call(mapped, "OilFilter", mapped, 4, 2);
    TheHost().Call(back, "CopyPixels", mapped);
    const auto bytesOf = [&](const Ref& image) {
        const auto memory = TheHost().Get<trvhost::MemoryBlock>(image, "Memory");
        return std::vector<uint8_t>(memory.Bytes().begin(), memory.Bytes().end());
    };
    EXPECT_TRUE(bytesOf(copy) == bytesOf(back));
}

}  // namespace
}  // namespace trvtest
