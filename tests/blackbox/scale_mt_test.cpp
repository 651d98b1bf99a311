// ScaleMT, from outside: the bytes of Scale for any number of threads.

#include <gmock/gmock.h>

#include "geometry_images.h"

namespace trvtest {
namespace {

using testing::AnyOf;
using testing::Contains;
using testing::ElementsAre;
using testing::Not;
using testing::StartsWith;

constexpr int64_t kThreads[] = {-1, 0, 1, 2, 3, 7, 32, 100};

class ScaleMT : public GeometryTest {
  protected:
    bool Threaded(int64_t threads, const Ref& dest, const Ref& source, const Ref& temp, int64_t mode,
                  int64_t width, int64_t height) const {
        return TheHost().Call(dest, "ScaleMT", threads, source, temp, mode, width, height).ToBool();
    }
    bool Plain(const Ref& dest, const Ref& source, const Ref& temp, int64_t mode, int64_t width,
               int64_t height) const {
        return TheHost().Call(dest, "Scale", source, temp, mode, width, height).ToBool();
    }

    /// Scales on both paths into equal destinations.
    void ExpectSame(int64_t threads, const MemoryImage& source, int64_t format, int64_t mode, int64_t width,
                    int64_t height) {
        const MemoryImage dest = Memory(width, height, format), other = Memory(width, height, format);
        other.SetBytes(dest.Bytes());
        const bool done = Plain(other, source, nullptr, mode, width, height);
        ASSERT_EQ(Threaded(threads, dest, source, nullptr, mode, width, height), done);
        ASSERT_TRUE(dest.Bytes() == other.Bytes()) << threads << " threads, mode " << mode << ", "
                                                   << Number(source, "ImageFormat") << " to " << format;
        EXPECT_TRUE(dest.GuardIntact());
    }
};

TEST_F(ScaleMT, EveryPairOfFormatsGivesTheBytesOfScale) {
    size_t next = 0;
    for (int64_t from = 1; from <= 48; ++from) {
        for (int64_t to = 1; to <= 48; ++to) {
            if (from == 14 || to == 14) continue;
            const MemoryImage source = Memory(Draw(1, 20), Draw(1, 30), from);
            ExpectSame(kThreads[next++ % std::size(kThreads)], source, to, Draw(1, 7), Draw(1, 20),
                       Draw(1, 30));
            if (HasFatalFailure()) return;
        }
    }
}

TEST_F(ScaleMT, EveryModeWithEveryNumberOfThreads) {
    const MemoryImage source = Memory(150, 120, "ImageFormatRGBA");
    for (int64_t mode = 1; mode <= 7; ++mode) {
        for (const int64_t threads : kThreads) {
            ExpectSame(threads, source, Constant("ImageFormatBGRA"), mode, 61, 77);
            ExpectSame(threads, source, Constant("ImageFormatG"), mode, 200, 190);
        }
    }
}

TEST_F(ScaleMT, MappedImagesGoToThePlainScaler) {
    const Ref mapped = NewMapped(30, 20, "ImageFormatRGB", 0, "source"),
              target = NewMapped(17, 33, "ImageFormatRGB", 0, "dest");
    FillWithNoise(TheHost(), mapped, random_);
    const Ref dest = NewImage(17, 33, "ImageFormatRGB"), expected = NewImage(17, 33, "ImageFormatRGB");
    ASSERT_TRUE(Plain(expected, mapped, nullptr, 3, 17, 33));
    const auto lines = LogOf([&] { EXPECT_TRUE(Threaded(4, dest, mapped, nullptr, 3, 17, 33)); });
    EXPECT_EQ(PixelBytes(TheHost(), dest), PixelBytes(TheHost(), expected));
    EXPECT_THAT(lines, Contains("PictureScaleTRV 3, 17, 33"));
    EXPECT_THAT(lines, Not(Contains(StartsWith("RunThreads"))));
    EXPECT_TRUE(Threaded(4, target, mapped, nullptr, 3, 17, 33));
    EXPECT_EQ(PixelBytes(TheHost(), target), PixelBytes(TheHost(), expected));
}

TEST_F(ScaleMT, ASuppliedTempHoldsTheHorizontalResult) {
    const MemoryImage source = Memory(40, 30, "ImageFormatRGBA");
    const Ref temp = NewImage(20, 30, "ImageFormatScaling4"), other = NewImage(20, 30, "ImageFormatScaling4");
    const Ref dest = NewImage(20, 50, "ImageFormatRGBA"), expected = NewImage(20, 50, "ImageFormatRGBA");
    EXPECT_TRUE(Threaded(3, dest, source, temp, 5, 20, 50));
    EXPECT_TRUE(Plain(expected, source, other, 5, 20, 50));
    EXPECT_EQ(PixelBytes(TheHost(), temp), PixelBytes(TheHost(), other));
    EXPECT_EQ(PixelBytes(TheHost(), dest), PixelBytes(TheHost(), expected));
    // A mapped one shows one window at a time.
    const Ref mapped = NewMapped(20, 30, "ImageFormatScaling4", 0, "temp"),
              again = NewImage(20, 50, "ImageFormatRGBA");
    EXPECT_TRUE(Threaded(3, again, source, mapped, 5, 20, 50));
    EXPECT_EQ(PixelBytes(TheHost(), again), PixelBytes(TheHost(), expected));
}

TEST_F(ScaleMT, ATempOfAFactoryHoldsTheHorizontalResult) {
    const MemoryImage source = Memory(40, 300, "ImageFormatRGBA");
    const Ref expected = NewImage(20, 300, "ImageFormatScaling4"), dest = NewImage(20, 50, "ImageFormatRGBA");
    ASSERT_TRUE(Plain(dest, source, expected, 5, 20, 50));
    for (const bool threaded : {false, true}) {
        const Ref temp = NewImage(20, 300, "ImageFormatScaling4");
        const Ref factory = TheHost().NewFactory([&](int64_t, int64_t, int64_t) { return temp; });
        TheHost().Set(source, "Factory", factory);
        EXPECT_TRUE(threaded ? Threaded(2, dest, source, nullptr, 5, 20, 50)
                             : Plain(dest, source, nullptr, 5, 20, 50));
        TheHost().Set(source, "Factory", nullptr);
        EXPECT_EQ(PixelBytes(TheHost(), temp), PixelBytes(TheHost(), expected)) << threaded;
    }
}

TEST_F(ScaleMT, AnImageIntoItselfIsWrittenWhenAllIsRead) {
    const MemoryImage source = Memory(40, 300, "ImageFormatRGBA");
    const MemoryImage expected = Memory(40, 300, "ImageFormatRGBA");
    expected.SetBytes(source.Bytes());
    ASSERT_TRUE(Plain(expected, source, nullptr, 3, 40, 600));
    for (const bool threaded : {false, true}) {
        const MemoryImage image = Memory(40, 300, "ImageFormatRGBA");
        image.SetBytes(source.Bytes());
        EXPECT_TRUE(threaded ? Threaded(2, image, image, nullptr, 3, 40, 600)
                             : Plain(image, image, nullptr, 3, 40, 600));
        EXPECT_TRUE(image.Bytes() == expected.Bytes()) << threaded;
    }
}

TEST_F(ScaleMT, UnsuitableTempsOfAFactoryGoToThePlainScaler) {
    const MemoryImage source = Memory(40, 30, "ImageFormatRGBA");
    const Ref expected = NewImage(20, 50, "ImageFormatRGBA"), dest = NewImage(20, 50, "ImageFormatRGBA");
    ASSERT_TRUE(Plain(expected, source, nullptr, 5, 20, 50));
    const auto withTemps = [&](const std::function<Ref(int64_t, int64_t)>& make) {
        int asked = 0;
        const Ref factory = TheHost().NewFactory([&](int64_t width, int64_t height, int64_t format) {
            EXPECT_EQ(format, Constant("ImageFormatScaling4"));
            ++asked;
            return make(width, height);
        });
        TheHost().Set(source, "Factory", factory);
        TheHost().Call(dest, "FillRect", 0);
        const auto lines = LogOf([&] { EXPECT_TRUE(Threaded(2, dest, source, nullptr, 5, 20, 50)); });
        TheHost().Set(source, "Factory", nullptr);
        EXPECT_EQ(asked, 1);
        EXPECT_EQ(PixelBytes(TheHost(), dest), PixelBytes(TheHost(), expected));
        return lines;
    };
    EXPECT_THAT(withTemps([&](int64_t width, int64_t height) {
                    return NewMapped(width, height, "ImageFormatScaling4", 0, "factory");
                }),
                Contains("CreatePicture gave mapping picture"));
    EXPECT_THAT(
        withTemps([&](int64_t width, int64_t height) { return NewImage(width, height, "ImageFormatBGRA"); }),
        Contains("CreatePicture gave invalid format"));
}

TEST_F(ScaleMT, Refusals) {
    const MemoryImage source = Memory(4, 4, "ImageFormatRGB"), dest = Memory(4, 4, "ImageFormatRGB");
    const std::vector<uint8_t> before = dest.Bytes();
    EXPECT_FALSE(Threaded(2, dest, nullptr, nullptr, 3, 4, 4));
    EXPECT_FALSE(Threaded(2, dest, source, nullptr, 3, 0, 4));
    EXPECT_FALSE(Threaded(2, dest, source, nullptr, 3, 4, 0));
    EXPECT_FALSE(Threaded(2, dest, TheHost().New("PictureTRV"), nullptr, 3, 4, 4));
    EXPECT_FALSE(Threaded(2, dest, source, TheHost().New("PictureTRV"), 3, 4, 4));
    for (const int64_t mode : {0, 8}) {
        const auto lines = LogOf([&] { EXPECT_FALSE(Threaded(2, dest, source, nullptr, mode, 4, 4)); });
        EXPECT_THAT(lines, ElementsAre("PictureScaleTRVMT " + std::to_string(mode) + ", 4, 4",
                                       "Invalid mode " + std::to_string(mode)));
    }
    EXPECT_THAT(LogOf([&] { Threaded(2, dest, nullptr, nullptr, 3, 0, 0); }),
                ElementsAre("PictureScaleTRVMT 3, 0, 0"));
    EXPECT_EQ(dest.Bytes(), before);
}

TEST_F(ScaleMT, TheJobsNameThemselves) {
    const MemoryImage source = Memory(10, 10, "ImageFormatRGB"), dest = Memory(10, 10, "ImageFormatRGB");
    const auto lines = LogOf([&] { Threaded(2, dest, source, nullptr, 3, 10, 10); });
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "RGB_to_RGB_Scale3mt"), 2);
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "RGB_to_RGB_Scale6mt"), 2);
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "function 6 done"), 2);
    EXPECT_THAT(lines, Contains("RunThreads 2, 10"));
    const auto alone = LogOf([&] { Threaded(-1, dest, source, nullptr, 3, 10, 10); });
    EXPECT_EQ(std::count(alone.begin(), alone.end(), "RGB_to_RGB_Scale3mt"), 1);
    EXPECT_EQ(std::count(alone.begin(), alone.end(), "No thread"), 2);
}

TEST_F(ScaleMT, WhereWorkersWouldMeetInTheSameBytesThereAreNone) {
    const MemoryImage source = Memory(40, 90, "ImageFormatRGBA");
    const auto over = [&](const trvhost::MemoryBlock& block, int64_t width, int64_t height,
                          std::string_view format, int64_t rowSize) {
        return TheHost().Construct("PictureTRV", block, width, height, Constant(format), rowSize);
    };
    const auto blockOf = [&](int64_t bytes) {
        const trvhost::MemoryBlock block = TheHost().NewMemoryBlock(bytes);
        for (size_t i = 0; i < block.Bytes().size(); ++i)
            block.Bytes()[i] = static_cast<uint8_t>(i * 37 + i / 251);
        return block;
    };
    const auto check = [&](const std::string& story, const auto& scale) {
        const trvhost::MemoryBlock plainBlock = blockOf(100000), block = blockOf(100000);
        EXPECT_TRUE(scale(plainBlock, false)) << story;
        const auto lines = LogOf([&] { EXPECT_TRUE(scale(block, true)) << story; });
        EXPECT_THAT(lines, Contains("No thread")) << story;
        EXPECT_TRUE(std::equal(block.Bytes().begin(), block.Bytes().end(), plainBlock.Bytes().begin()))
            << story;
    };
    for (const int64_t rowSize : {0, 7, 200}) {
        check("rows of the destination overlap", [&](const trvhost::MemoryBlock& block, bool threaded) {
            const Ref dest = over(block, 60, 80, "ImageFormatRGBA", rowSize);
            return threaded ? Threaded(7, dest, source, nullptr, 3, 60, 80)
                            : Plain(dest, source, nullptr, 3, 60, 80);
        });
        check("rows of the temp overlap", [&](const trvhost::MemoryBlock& block, bool threaded) {
            const Ref temp = over(block, 60, 90, "ImageFormatScaling4", rowSize);
            const Ref dest = NewImage(60, 80, "ImageFormatRGBA");
            return threaded ? Threaded(7, dest, source, temp, 3, 60, 80)
                            : Plain(dest, source, temp, 3, 60, 80);
        });
    }
    check("the temp lies over the destination", [&](const trvhost::MemoryBlock& block, bool threaded) {
        const Ref temp = over(block, 60, 90, "ImageFormatScaling4", 240);
        const Ref dest = over(block, 60, 80, "ImageFormatRGBA", 240);
        return threaded ? Threaded(7, dest, source, temp, 3, 60, 80) : Plain(dest, source, temp, 3, 60, 80);
    });
    check("the temp lies over the source", [&](const trvhost::MemoryBlock& block, bool threaded) {
        const Ref temp = over(block, 60, 90, "ImageFormatScaling4", 240);
        const Ref from = over(block, 60, 90, "ImageFormatRGBA", 240);
        const Ref dest = NewImage(60, 80, "ImageFormatRGBA");
        return threaded ? Threaded(7, dest, from, temp, 3, 60, 80) : Plain(dest, from, temp, 3, 60, 80);
    });
}

TEST_F(ScaleMT, TheHostGetsItsTimeAndMayCloseTheImages) {
    const Ref source = NewImage(600, 400, "ImageFormatRGBA"), dest = NewImage(500, 600, "ImageFormatRGBA");
    int64_t yields = 0;
    TheHost().OnYield([&] {
        if (++yields != 1) return;
        TheHost().Call(source, "Close");
        TheHost().Call(dest, "Close");
    });
    EXPECT_TRUE(Threaded(2, dest, source, nullptr, 4, 500, 600));
    TheHost().OnYield({});
    EXPECT_GE(yields, 2);
    EXPECT_FALSE(Threaded(2, dest, source, nullptr, 4, 500, 600));
}

TEST_F(ScaleMT, HostPicturesAndViews) {
    const trvhost::Picture picture = TheHost().NewPicture(50, 40);
    const Ref source = TheHost().Construct("PictureTRV", picture);
    ASSERT_TRUE(Flag(source, "Valid"));
    FillWithNoise(TheHost(), source, random_);
    const Ref view = TheHost().Call(source, "ClipImage", 3, 4, 30, 20).ToThing();
    for (const Ref& from : {source, TheHost().Call(view, "MirroredView").ToThing()}) {
        const Ref dest = NewImage(44, 71, "ImageFormatRGB"), expected = NewImage(44, 71, "ImageFormatRGB");
        EXPECT_TRUE(Threaded(5, dest, from, nullptr, 3, 44, 71));
        EXPECT_TRUE(Plain(expected, from, nullptr, 3, 44, 71));
        EXPECT_EQ(PixelBytes(TheHost(), dest), PixelBytes(TheHost(), expected));
    }
}

}  // namespace
}  // namespace trvtest
