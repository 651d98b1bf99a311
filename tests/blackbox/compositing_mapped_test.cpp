// Compositing and pixel operations on mapped pictures and views of them, next to the same pictures in memory.

#include "shared_pixels.h"

namespace trvtest {
namespace {

using trvhost::Color;

/// A picture twice: in memory, and with its upper and lower half at the ends of a mapped one whose window
/// holds only one of them.
struct Twins {
    Ref memory;
    Ref mapped;
    std::string format;
};

/// A picture of both twins, and where its first row lies in each.
struct Part {
    Ref memory;
    Ref mapped;
    int64_t firstInMemory = 0;
    int64_t firstMapped = 0;
};

class MappedCompositingTest : public SharedPixelsTest {
  protected:
    static constexpr int64_t kWidth = 24;
    static constexpr int64_t kHalf = 6;
    static constexpr int64_t kMappedRows = 5000;  // of a page at least, in windows of 4096 pages
    static constexpr int64_t kMappedLower = kMappedRows - kHalf;

    /// Where row `y` of the picture in memory lies in the mapped one.
    static int64_t MappedRow(int64_t y) { return y < kHalf ? y : y - kHalf + kMappedLower; }

    Twins MakeTwins(const std::string& format) {
        Twins twins{NewImage(kWidth, 2 * kHalf, "ImageFormat" + format),
                    TheHost().Construct("PictureTRV", kWidth, kMappedRows, Format(format), int64_t{0},
                                        trvhost::FolderItem()),
                    format};
        FillWithNoise(TheHost(), twins.memory, random_);
        const auto bytes = static_cast<size_t>(RowBytes(TheHost(), twins.memory));
        for (int64_t y = 0; y < 2 * kHalf; ++y) {
            std::memcpy(RawRow(TheHost(), twins.mapped, MappedRow(y)), RawRow(TheHost(), twins.memory, y),
                        bytes);
        }
        return twins;
    }

    void ExpectSame(const Twins& twins, const std::string& story) {
        const auto bytes = static_cast<size_t>(RowBytes(TheHost(), twins.memory));
        for (int64_t y = 0; y < 2 * kHalf; ++y) {
            ASSERT_EQ(std::memcmp(RawRow(TheHost(), twins.mapped, MappedRow(y)),
                                  RawRow(TheHost(), twins.memory, y), bytes),
                      0)
                << story << " " << twins.format << " row " << y;
        }
    }

    /// The pictures themselves, or a view of one of their halves.
    Part SomePart(const Twins& twins, int64_t width, int64_t height) {
        const int64_t half = Draw(0, 1);
        Part part{twins.memory, twins.mapped, half * kHalf, half * kMappedLower};
        if (Draw(0, 2) == 0) return part;
        const int64_t x = Draw(0, kWidth - width), y = Draw(0, kHalf - height);
        const bool mirrored = Draw(0, 2) == 0;
        const auto view = [&](Ref image, int64_t first) {
            image = TheHost().Call(image, "ClipImage", x, first + y, width, height).ToThing();
            return mirrored ? Ref(TheHost().Call(image, "MirroredView").ToThing()) : image;
        };
        return {view(twins.memory, part.firstInMemory), view(twins.mapped, part.firstMapped), 0, 0};
    }

    std::string SomeFormat() {
        static constexpr const char* kFormats[] = {"RGBA", "BGRA", "ARGB", "RGB", "BGR",  "XBGR",
                                                   "G",    "GA",   "AG",   "G3",  "CMYKA"};
        return kFormats[static_cast<size_t>(Draw(0, std::ssize(kFormats) - 1))];
    }
};

INSTANTIATE_TEST_SUITE_P(, MappedCompositingTest, kInstructionSets, InstructionSetName);

TEST_P(MappedCompositingTest, CombineGoesAsInMemory) {
    for (int round = 0; round < 25; ++round) {
        const Twins a = MakeTwins(SomeFormat()), b = MakeTwins(round % 2 == 0 ? "G" : SomeFormat());
        for (int call = 0; call < 12; ++call) {
            const int64_t width = Draw(1, kWidth), height = Draw(1, kHalf);
            const Part dest = SomePart(a, width, height);
            const bool apart = Draw(0, 1) == 1;
            const Part source = SomePart(apart ? b : a, width, height);
            const auto rowsOf = [&](const Ref& image) { return TheHost().Get<int64_t>(image, "Height"); };
            Part mask;
            do {  // of the source's size
                mask = SomePart(Draw(0, 1) == 0 ? a : b, width, height);
            } while (rowsOf(mask.mapped) != rowsOf(source.mapped));
            const bool pre = Draw(0, 1) == 1;
            const int64_t dx = Draw(0, 2), sx = Draw(0, 2),
                          // A plain copy within a picture in memory moves whole rows instead of pixels.
                kind = Draw(0, apart ? 3 : 2), colour = kind == 1 ? Draw(0, 0xFFFFFF) : -1,
                          maskColour = kind == 2 ? Draw(0, 0xFFFFFF) : -1;
            const auto combined = [&](const Ref& to, const Ref& from, const Ref& by, int64_t toRow,
                                      int64_t fromRow) {
                return TheHost()
                    .Call(to, "Combine", from, pre, kind == 0 ? by : Ref(), dx, toRow, sx, fromRow, width,
                          height, true, colour, maskColour)
                    .ToBool();
            };
            EXPECT_EQ(
                combined(dest.memory, source.memory, mask.memory, dest.firstInMemory, source.firstInMemory),
                combined(dest.mapped, source.mapped, mask.mapped, dest.firstMapped, source.firstMapped));
            const std::string story = "kind " + std::to_string(kind) + (pre ? " pt" : " pf");
            ExpectSame(a, story);
            ExpectSame(b, story);
            if (HasFatalFailure()) return;
        }
    }
}

TEST_P(MappedCompositingTest, AMaskOverAColourGoesAsInMemory) {
    for (int round = 0; round < 20; ++round) {
        const Twins a = MakeTwins(round % 2 == 0 ? "RGBA" : "BGR"), b = MakeTwins(SomeFormat());
        for (int call = 0; call < 8; ++call) {
            const int64_t width = Draw(1, kWidth), height = Draw(1, kHalf), y = Draw(0, 3);
            const auto clip = [&](const Twins& twins, int64_t half) {
                const auto of = [&](const Ref& image, int64_t first) {
                    return TheHost().Call(image, "ClipImage", 0, first, width, height).ToThing();
                };
                return Part{of(twins.memory, half * kHalf), of(twins.mapped, half * kMappedLower)};
            };
            const Part image = clip(a, Draw(0, 1)), mask = clip(Draw(0, 1) == 0 ? a : b, Draw(0, 1));
            const auto combined = [&](const Ref& to, const Ref& by) {
                return TheHost().Call(to, "Combine", by, 1, y, width, height, Color{0x40C0FF}).ToBool();
            };
            EXPECT_EQ(combined(image.memory, mask.memory), combined(image.mapped, mask.mapped));
            ExpectSame(a, "mask over a colour");
            ExpectSame(b, "mask over a colour");
            if (HasFatalFailure()) return;
        }
    }
}

TEST_P(MappedCompositingTest, BackgroundBlendsGoAsInMemory) {
    for (int round = 0; round < 25; ++round) {
        const Twins twins[] = {MakeTwins(SomeFormat()), MakeTwins(SomeFormat())};
        for (int call = 0; call < 12; ++call) {
            const int64_t width = Draw(1, kWidth), height = Draw(1, kHalf);
            const auto clip = [&](bool given) {
                if (!given) return Part{};
                const Twins& of = twins[static_cast<size_t>(Draw(0, 1))];
                Part part;
                do {
                    part = SomePart(of, width, height);
                } while (TheHost().Get<int64_t>(part.memory, "Height") != height);
                return part;
            };
            const Part source = clip(true), dest = clip(Draw(0, 1) == 1), mask = clip(Draw(0, 3) != 0),
                       result = clip(true);
            const auto blended = [&](Ref Part::*which) {
                return TheHost()
                    .CallShared("PictureTRV", "BlendPicturesWithMaskWithBackground", source.*which,
                                dest.*which, mask.*which, result.*which, Color{0x40C0FF}, 0, 0, width, height)
                    .ToBool();
            };
            EXPECT_EQ(blended(&Part::memory), blended(&Part::mapped));
            ExpectSame(twins[0], "blend");
            ExpectSame(twins[1], "blend");
            if (HasFatalFailure()) return;
        }
    }
}

TEST_P(MappedCompositingTest, OperationsInPlaceGoAsInMemory) {
    for (int round = 0; round < 25; ++round) {
        const Twins twins = MakeTwins(SomeFormat());
        for (int call = 0; call < 12; ++call) {
            const int64_t width = Draw(1, kWidth), height = Draw(1, kHalf), x = Draw(-2, kWidth),
                          w = Draw(1, 30);
            const Part part = SomePart(twins, width, height);
            static constexpr const char* kMethods[] = {"Invert", "Multiply", "Unmultiply", "AutoLevel"};
            const char* method = kMethods[static_cast<size_t>(Draw(0, 3))];
            const int64_t mode = Draw(0, 9);
            const auto made = [&](const Ref& image, int64_t first) {
                if (mode < 5) {
                    TheHost().Call(image, "RGBToGray", mode);
                } else {
                    TheHost().Call(image, method, x, first, w, height);
                }
            };
            made(part.memory, part.firstInMemory);
            made(part.mapped, part.firstMapped);
            ExpectSame(twins, method + std::to_string(mode));
            if (HasFatalFailure()) return;
        }
    }
}

}  // namespace
}  // namespace trvtest
