// Diffuse, engrave and neon, from outside: the latter two against references, the first by where its pixels
// come from.

#include <cmath>
#include <limits>

#include "filter_cases.h"
#include "mapped_test.h"

namespace trvtest {
namespace {

constexpr int64_t kMost = std::numeric_limits<int64_t>::max();
constexpr int64_t kLeast = std::numeric_limits<int64_t>::min();

// Engrave ---

void EngraveReference(const Shown& from, const Shown& to, int64_t level) {
    const auto channels = from.Channels(true, false);
    for (int64_t y = 0; y < from.height; ++y) {
        for (int64_t x = 0; x < from.width; ++x) {
            if (!to.Inside(x, y)) continue;
            const int64_t ox = std::clamp<int64_t>(x + level, 0, from.width - 1);
            const int64_t oy = std::clamp<int64_t>(y + level, 0, from.height - 1);
            std::vector<uint8_t> made;
            for (const auto& channel : channels) {
                made.push_back(static_cast<uint8_t>(
                    std::clamp(from.At(x, y, channel) - from.At(ox, oy, channel) + 128, 0, 255)));
            }
            for (size_t i = 0; i < channels.size(); ++i)
                to.At(x, y, channels[i]) = made[i];
        }
    }
}

class Engrave : public FilterCaseTest {};

TEST_F(Engrave, InAllFormatsMatchesTheReference) {
    for (const int64_t format : Formats()) {
        for (const DestKind kind : kDestKinds) {
            for (int round = 0; round < 6; ++round) {
                Case made = DrawCase(format, kind, 70);
                const int64_t level = Draw(0, 2) == 0 ? Draw(-80, 80) : Draw(-4, 4);
                Check(
                    made,
                    [&](const Ref& image, const Ref& dest) {
                        return Filter(image, "EngraveFilter", dest, level);
                    },
                    [&](const Shown& from, const Shown& to) { EngraveReference(from, to, level); },
                    made.from->side.wide);
                ASSERT_FALSE(HasFatalFailure()) << format << " " << static_cast<int>(kind) << " " << level;
            }
        }
    }
}

TEST_F(Engrave, RowsThatReachIntoEachOtherAreDoneInReadingOrder) {
    for (int round = 0; round < 300; ++round) {
        Case made = DrawCrowdedCase(Constant(round % 2 == 0 ? "ImageFormatGA" : "ImageFormatRGB"));
        const int64_t level = Draw(-6, 6);
        Check(
            made,
            [&](const Ref& image, const Ref& dest) { return Filter(image, "EngraveFilter", dest, level); },
            [&](const Shown& from, const Shown& to) { EngraveReference(from, to, level); });
        ASSERT_FALSE(HasFatalFailure()) << level;
    }
}

TEST_F(Engrave, NoLevelIsFlatAndAGreatOneLooksAtTheCorner) {
    const MemoryImage image(TheHost(), 5, 4, Constant("ImageFormatGA")),
        dest(TheHost(), 5, 4, Constant("ImageFormatGA"));
    Filter(image, "EngraveFilter", dest.Object(), 0);
    EXPECT_EQ(dest.Bytes(), std::vector<uint8_t>(40, 128));
    for (const int64_t level : {int64_t{5}, kMost, int64_t{-5}, kLeast}) {
        Filter(image, "EngraveFilter", dest.Object(), level);
        const int corner = level > 0 ? image.At(4, 3) : image.At(0, 0);
        for (int64_t i = 0; i < 20; ++i)
            EXPECT_EQ(dest.At(i % 5, i / 5), std::clamp(image.At(i % 5, i / 5) - corner + 128, 0, 255))
                << level;
    }
}

TEST_F(Engrave, AnOpaquePictureIsHalfTransparentThen) {
    const MemoryImage image(TheHost(), 5, 4, Constant("ImageFormatRGBA"));
    for (int64_t i = 0; i < 20; ++i)
        image.At(i % 5, i / 5, 3) = 255;
    Filter(image, "EngraveFilter", image.Object(), 1);
    for (int64_t i = 0; i < 20; ++i)
        EXPECT_EQ(image.At(i % 5, i / 5, 3), 128);
}

TEST_F(Engrave, InksAreHandedBackUnwrittenAndStagesNamed) {
    const MemoryImage inks(TheHost(), 5, 4, Constant("ImageFormatCMYK"));
    const auto before = inks.Bytes();
    for (const char* name : {"EngraveFilter", "DiffuseFilter"}) {
        EXPECT_EQ(Filter(inks, name, inks.Object(), 2).Handle(), inks.Object().Handle());
        EXPECT_EQ(inks.Bytes(), before);
    }
    const Ref image = NewImage(2, 2, "ImageFormatGA");
    auto lines = LogOf([&] { Filter(image, "EngraveFilter", image, -2); });
    EXPECT_EQ(lines.front(), "EngraveFilter -2");
    EXPECT_EQ(lines.back(), "EngraveFilterGA");
    lines = LogOf([&] { Filter(image, "DiffuseFilter", image, 3); });
    EXPECT_EQ(lines.front(), "DifuseFilter 3");
    EXPECT_EQ(lines.back(), "DifuseFilterGA");
    const Ref unmade = TheHost().Construct("PictureTRV", 0, 0, Constant("ImageFormatG"));
    lines = LogOf([&] { EXPECT_FALSE(Filter(unmade, "NeonFilter", nullptr)); });
    EXPECT_EQ(lines, (std::vector<std::string>{"NeonFilter", "Picture not valid."}));
}

// Neon ---

/// The two row buffers of the definition, and the work on them.
void NeonReference(const Shown& from, const Shown& to) {
    const auto channels = from.Channels(true, true);
    if (channels.empty()) return;
    std::vector<uint8_t> current(static_cast<size_t>(from.rowSize + 16)), next = current;
    const auto read = [&](int64_t y, std::vector<uint8_t>& row) {
        const auto* first = from.store->data() + from.start + y * from.rowStep;
        std::copy(first, first + from.rowSize, row.begin());
    };
    read(0, current);
    for (int64_t y = 0; y < from.height; ++y) {
        if (y + 1 < from.height) {
            read(y + 1, next);
        } else {
            std::fill(next.begin(), next.begin() + from.rowSize, uint8_t{0});
        }
        for (int64_t x = 0; x < from.width; ++x) {
            if (!to.Inside(x, y)) continue;
            for (const auto& channel : channels) {
                const auto place = static_cast<size_t>(x * from.side.pixelSize + from.side.at.at(channel));
                const int c = current[place], r = current[place + static_cast<size_t>(from.side.pixelSize)],
                          b = next[place];
                const double d =
                    static_cast<double>(static_cast<float>((c - r) * (c - r) + (c - b) * (c - b)));
                const auto v = static_cast<float>(std::sqrt(d + d));
                to.At(x, y, channel) = static_cast<uint8_t>(std::min(static_cast<int>(v), 255));
            }
        }
        std::swap(current, next);
    }
}

class Neon : public FilterCaseTest {};

TEST_F(Neon, InAllFormatsMatchesTheReference) {
    for (const int64_t format : Formats()) {
        for (const DestKind kind : kDestKinds) {
            for (int round = 0; round < 4; ++round) {
                Case made = DrawCase(format, kind, 70);
                Check(
                    made,
                    [&](const Ref& image, const Ref& dest) { return Filter(image, "NeonFilter", dest); },
                    NeonReference, made.from->side.wide);
                ASSERT_FALSE(HasFatalFailure()) << format << " " << static_cast<int>(kind);
            }
        }
    }
}

TEST_F(Neon, AUniformPictureGlowsAtItsEndsOnly) {
    const Ref image = TheHost().Construct("PictureTRV", TheHost().NewMemoryBlock(5 * 4 * 4), 5, 4,
                                          Constant("ImageFormatRGBA"), 20);
    TheHost().Call(image, "FillRect", 60, 255);
    Filter(image, "NeonFilter", image);
    const auto bytes = StoreOf(image);
    for (int64_t y = 0; y < 4; ++y) {
        for (int64_t x = 0; x < 5; ++x) {
            const size_t at = static_cast<size_t>(y * 20 + x * 4);
            const int ends = (x == 4 ? 1 : 0) + (y == 3 ? 1 : 0);
            EXPECT_EQ(bytes[at], ends == 0 ? 0 : ends == 1 ? 84 : 120);  // 60 times the root of 2, or of 4
            EXPECT_EQ(bytes[at + 3], ends == 0 ? 0 : 255);
        }
    }
}

TEST_F(Neon, PaddingStandsBesideTheLastPixel) {
    const MemoryImage image(TheHost(), 2, 1, Constant("ImageFormatG"), 3);
    image.Row(0)[0] = image.Row(0)[1] = 100;
    image.Row(0)[2] = 100;
    const Ref even = Filter(image, "NeonFilter", nullptr);
    EXPECT_EQ(StoreOf(even)[1], 141);  // against black below alone
    image.Row(0)[2] = 0;
    const Ref edge = Filter(image, "NeonFilter", nullptr);
    EXPECT_EQ(StoreOf(edge)[1], 200);
}

TEST_F(Neon, ARowThatEndsWithItsBlockIsNotReadBeyond) {
    // The last row of a caller's memory need not have its padding.
    const Ref image =
        TheHost().Construct("PictureTRV", TheHost().NewMemoryBlock(8 + 2), 2, 2, Constant("ImageFormatG"), 8);
    TheHost().Call(image, "FillRect", 100);
    const Ref made = Filter(image, "NeonFilter", nullptr);
    const auto bytes = StoreOf(made);
    EXPECT_EQ(bytes[bytes.size() / 2 + 1], 200);
}

TEST_F(Neon, RowsAreNamed) {
    const Ref image = NewImage(4, 2, "ImageFormatRGB");
    const auto lines = LogOf([&] { Filter(image, "NeonFilter", image); });
    ASSERT_GE(lines.size(), 5U);
    EXPECT_EQ(std::vector<std::string>(lines.end() - 5, lines.end()),
              (std::vector<std::string>{"NeonFilterRGB", "uw 4", "uh 2", "y 0", "y 1"}));
}

// Diffuse ---

class Diffuse : public FilterCaseTest {
  protected:
    /// An image of 16-bit numbers in two channels, each pixel its own.
    MemoryImage Numbered(int64_t width, int64_t height) {
        MemoryImage image(TheHost(), width, height, Constant("ImageFormatGA"));
        for (int64_t i = 0; i < width * height; ++i) {
            image.At(i % width, i / width, 0) = static_cast<uint8_t>(i % 256);
            image.At(i % width, i / width, 1) = static_cast<uint8_t>(i / 256);
        }
        return image;
    }

    static int64_t NumberAt(const MemoryImage& image, int64_t x, int64_t y) {
        return image.At(x, y, 0) + 256 * image.At(x, y, 1);
    }
};

TEST_F(Diffuse, PixelsComeFromThreeLevelsBackToOneAhead) {
    constexpr int64_t kWidth = 250, kHeight = 200, kLevel = 3;
    const MemoryImage image = Numbered(kWidth, kHeight),
                      dest(TheHost(), kWidth, kHeight, Constant("ImageFormatGA"));
    Filter(image, "DiffuseFilter", dest.Object(), kLevel);
    std::map<int64_t, int64_t> across, down, together;
    int64_t pixels = 0;
    for (int64_t y = 3 * kLevel; y < kHeight - kLevel; ++y) {
        for (int64_t x = 3 * kLevel; x < kWidth - kLevel; ++x) {
            const int64_t number = NumberAt(dest, x, y), dx = number % kWidth - x, dy = number / kWidth - y;
            ++across[dx], ++down[dy], ++pixels;
            if (dx == dy) ++together[dx];
        }
    }
    // A draw of either sign, its remainder by 7: 0 has a 7th of both halves, all others a 14th of the whole.
    for (const auto* axis : {&across, &down}) {
        EXPECT_EQ(axis->size(), 13U);
        for (int64_t offset = -3 * kLevel; offset <= kLevel; ++offset) {
            const double share = offset == -kLevel ? 1.0 / 7 : 1.0 / 14;
            const double expected = share * static_cast<double>(pixels);
            EXPECT_NEAR(static_cast<double>(axis->contains(offset) ? axis->at(offset) : 0), expected,
                        6 * std::sqrt(expected))
                << offset;
        }
    }
    // Both axes by draws of their own.
    const double expected = static_cast<double>(pixels) / 196;
    for (int64_t offset = -2 * kLevel; offset < -kLevel; ++offset)
        EXPECT_NEAR(static_cast<double>(together[offset]), expected, 6 * std::sqrt(expected)) << offset;
}

TEST_F(Diffuse, NoLevelCopiesAndMinusOneMovesByOne) {
    constexpr int64_t kWidth = 11, kHeight = 5;
    const MemoryImage image = Numbered(kWidth, kHeight),
                      dest(TheHost(), kWidth, kHeight, Constant("ImageFormatGA"));
    Filter(image, "DiffuseFilter", dest.Object(), 0);
    EXPECT_EQ(dest.Bytes(), image.Bytes());
    for (const bool inPlace : {false, true}) {
        const MemoryImage source = Numbered(kWidth, kHeight);
        const MemoryImage& target = inPlace ? source : dest;
        Filter(source, "DiffuseFilter", target.Object(), -1);
        for (int64_t i = 0; i < kWidth * kHeight; ++i) {
            const int64_t x = std::min(i % kWidth + 1, kWidth - 1), y = std::min(i / kWidth + 1, kHeight - 1);
            EXPECT_EQ(NumberAt(target, i % kWidth, i / kWidth), y * kWidth + x);
        }
    }
}

TEST_F(Diffuse, PixelsStayWholeInEveryLayoutAndCornersCatchWhatIsFar) {
    for (const char* format :
         {"ImageFormatRGB", "ImageFormatARGB", "ImageFormatBGRX", "ImageFormatG", "ImageFormatAG"}) {
        const MemoryImage image(TheHost(), 37, 21, Constant(format), 37 * 4 + 5),
            dest(TheHost(), 37, 21, Constant("ImageFormatABGR"));
        const Shown from = Show(image, std::make_shared<std::vector<uint8_t>>(image.Bytes()));
        const auto before = dest.Bytes();
        Filter(image, "DiffuseFilter", dest.Object(), 2);
        const Shown to = Show(dest, std::make_shared<std::vector<uint8_t>>(dest.Bytes()));
        const auto channels = from.Channels(true, false);
        bool moved = false;
        for (int64_t y = 0; y < 21; ++y) {
            for (int64_t x = 0; x < 37; ++x) {
                bool found = false;
                for (int64_t sy = std::max<int64_t>(y - 6, 0); sy <= std::min<int64_t>(y + 2, 20); ++sy) {
                    for (int64_t sx = std::max<int64_t>(x - 6, 0); sx <= std::min<int64_t>(x + 2, 36); ++sx) {
                        // A gray image's samples go to where this one has gray, which is nowhere of its own.
                        const bool same =
                            std::all_of(channels.begin(), channels.end(), [&](const auto& channel) {
                                const bool covered =
                                    from.side.family == 'G' && channel == "Gray" && from.side.alpha;
                                return covered || to.At(x, y, channel) == from.At(sx, sy, channel);
                            });
                        found = found || same;
                        if (same && (sx != x || sy != y)) moved = true;
                    }
                }
                EXPECT_TRUE(found) << format << " " << x << " " << y;
            }
        }
        EXPECT_TRUE(moved);
        EXPECT_TRUE(dest.GuardIntact());
    }
    const MemoryImage image = Numbered(9, 7), dest(TheHost(), 9, 7, Constant("ImageFormatGA"));
    for (const int64_t level : {kMost, kLeast, int64_t{1} << 62, -(int64_t{1} << 62), int64_t{1} << 40}) {
        Filter(image, "DiffuseFilter", dest.Object(), level);
        for (int64_t i = 0; i < 63; ++i)
            EXPECT_EQ(NumberAt(dest, i % 9, i / 9), level > 0 ? 0 : 62) << level;
    }
}

TEST_F(Diffuse, SharedPixelsSmallerDestinationsAndViewsAreHarmless) {
    for (const int64_t format : Formats()) {
        for (const DestKind kind : kDestKinds) {
            Case made = DrawCase(format, kind);
            const int64_t level = Draw(-3, 3);
            const Ref result = Filter(made.source, "DiffuseFilter", made.dest, level);
            EXPECT_EQ(result.Handle() == nullptr, made.from->side.wide);
            EXPECT_TRUE(made.sourceStore.GuardIntact());
            if (made.to && made.to->store != made.from->store) {
                EXPECT_EQ(made.sourceStore.Bytes(), *made.from->store);
                EXPECT_TRUE(made.destStore.GuardIntact());
            }
        }
    }
}

class MappedStyles : public MappedTest {};

TEST_F(MappedStyles, MappedImagesInPlaceLikeOthers) {
    // 20 MB in a window of 16.
    constexpr int64_t kWidth = 1024, kHeight = 5000;
    const auto bytesOf = [&](const Ref& image) {
        const auto memory = TheHost().Get<trvhost::MemoryBlock>(image, "Memory");
        return std::vector<uint8_t>(memory.Bytes().begin(), memory.Bytes().end());
    };
    const Ref mapped = NewMapped(kWidth, kHeight, "ImageFormatRGBA", 0, std::nullopt);
    ASSERT_LT(Number(mapped, "MappingRows"), kHeight);
    TheHost().Call(mapped, "FillRectRandom");
    const Ref copy = NewImage(kWidth, kHeight, "ImageFormatRGBA"),
              back = NewImage(kWidth, kHeight, "ImageFormatRGBA");
    TheHost().Call(copy, "CopyPixels", mapped);
    const auto compare = [&](const char* name, auto... args) {
        TheHost().Call(copy, name, copy, args...);
        TheHost().Call(mapped, name, mapped, args...);
        TheHost().Call(back, "CopyPixels", mapped);
        EXPECT_TRUE(bytesOf(copy) == bytesOf(back)) << name;
    };
    compare("EngraveFilter", 3);
    compare("EngraveFilter", -2);
    compare("DiffuseFilter", -1);
    compare("NeonFilter");
}

}  // namespace
}  // namespace trvtest
