// Views of mapped images: windows of their own over one file, and what becomes of them when the image ends.

#include <gmock/gmock.h>

#include "mapped_test.h"

namespace trvtest {
namespace {

namespace fs = std::filesystem;
using testing::Contains;
using testing::ElementsAre;
using testing::StartsWith;

class ViewsMapped : public MappedTest {
  protected:
    [[nodiscard]] Ref View(const Ref& of, const std::string& method) const {
        return TheHost().Call(of, method).ToThing();
    }
    [[nodiscard]] Ref Clip(const Ref& of, int64_t x, int64_t y, int64_t width, int64_t height) const {
        return TheHost().Call(of, "ClipImage", x, y, width, height).ToThing();
    }
    [[nodiscard]] std::pair<int64_t, int64_t> Window(const Ref& image) const {
        return {Number(image, "MappingFirstRow"), Number(image, "MappingLastRow")};
    }
    /// An image of 10,000 rows of a page each, with a window of 4096 rows.
    [[nodiscard]] Ref NewTall(const std::optional<fs::path>& name) const {
        return NewMapped(1000, 10000, "ImageFormatRGBA", 0, name);
    }
    [[nodiscard]] uint8_t ByteAt(const Ref& image, int64_t y, int64_t byte) const {
        const auto* row = static_cast<const uint8_t*>(TheHost().Call(image, "RawRowPtr", y).ToPointer());
        return row == nullptr ? 0 : row[byte];
    }
    /// Tries all that could reach pixels of an image that has none any more.
    void ExpectNoPixels(const Ref& view) const {
        EXPECT_TRUE(Flag(view, "Valid"));
        EXPECT_EQ(Window(view), std::pair(int64_t{-1}, int64_t{-1}));
        EXPECT_FALSE(TheHost().Get<Ref>(view, "Memory"));
        EXPECT_EQ(TheHost().Call(view, "RawRowPtr", 0).ToPointer(), nullptr);
        EXPECT_FALSE(TheHost().Call(view, "MapInRows", 0, -1).ToBool());
        TheHost().Set(view, "MappingBlockSize", 1);
        TheHost().Call(view, "FillRect", 9);
        TheHost().Call(view, "ClearRect");
        EXPECT_FALSE(TheHost().Call(view, "FillRectApply", 1, 2, 3, 4).ToBool());
        for (const std::string method : {"ClipImage", "MirroredView"}) {
            const Ref further = View(view, method);
            ASSERT_TRUE(further);
            EXPECT_FALSE(TheHost().Call(further, "MapInRows", 0, -1).ToBool());
            TheHost().Call(further, "FillRect", 9);
        }
    }
};

TEST_F(ViewsMapped, HaveAWindowAtOnce) {
    const Ref image = NewTall("pixels");
    Touch(image, 9999);
    const std::vector<Ref> views = {View(image, "RedChannel"), View(image, "RGBChannels"),
                                    View(image, "ClipImage"), TheHost().Call(image, "Channel", 3).ToThing()};
    for (const Ref& view : views) {
        EXPECT_TRUE(Flag(view, "IsMapping"));
        EXPECT_TRUE(Flag(view, "Valid"));
        EXPECT_EQ(Number(view, "MappingRows"), 4096);
        EXPECT_EQ(Number(view, "MappingBlockSize"), 16 << 20);
        EXPECT_EQ(Window(view), std::pair(int64_t{0}, int64_t{4095}));
        EXPECT_EQ(TheHost().Get<std::string>(view, "FilePath"), "") << "the file is the image's";
    }
    EXPECT_EQ(Window(image), std::pair(int64_t{5904}, int64_t{9999})) << "it stays where it was";
    EXPECT_EQ(Window(Clip(image, 0, 7000, 10, 10)), std::pair(int64_t{5904}, int64_t{9999}));
    EXPECT_EQ(Window(Clip(image, 0, 5000, 10, 10)), std::pair(int64_t{4998}, int64_t{9093}));
    EXPECT_EQ(Window(View(image, "MirroredView")), std::pair(int64_t{5904}, int64_t{9999}));
}

TEST_F(ViewsMapped, MoveTheirWindowsWithoutOneAnother) {
    const Ref image = NewTall("pixels");
    const Ref clip = Clip(image, 10, 1000, 10, 8000), mirror = View(image, "MirroredView");
    Touch(image, 5000, 1);
    Touch(clip, 7999, 2);
    Touch(mirror, 9999, 3);
    EXPECT_EQ(Window(image), std::pair(int64_t{4998}, int64_t{9093}));
    EXPECT_EQ(Window(clip), std::pair(int64_t{5904}, int64_t{9999}));
    EXPECT_EQ(Window(mirror), std::pair(int64_t{0}, int64_t{4095}));
    EXPECT_EQ(ByteAt(image, 8999, 40), 2) << "they show one store";
    EXPECT_EQ(ByteAt(image, 0, 0), 3);
    EXPECT_EQ(ByteAt(clip, 4000, 0), 1);
}

TEST_F(ViewsMapped, HaveWindowSizesOfTheirOwn) {
    const Ref image = NewTall("pixels");
    const Ref clip = Clip(image, 0, 5000, 10, 100);
    TheHost().Set(clip, "MappingBlockSize", 20 << 20);
    EXPECT_EQ(Number(clip, "MappingRows"), 5120);
    EXPECT_EQ(Window(clip), std::pair(int64_t{4880}, int64_t{9999}));
    EXPECT_EQ(Number(image, "MappingRows"), 4096);
    EXPECT_EQ(Number(View(clip, "ClipImage"), "MappingRows"), 5120);
    EXPECT_EQ(Number(View(image, "ClipImage"), "MappingRows"), 4096);
}

// The range is compared with the window as it is given, and counted from the view's first row when mapped.
TEST_F(ViewsMapped, MapInRowsOfTheirOwn) {
    const Ref image = NewTall("pixels");
    const Ref clip = Clip(image, 0, 5000, 10, 3000);
    ASSERT_EQ(Window(clip), std::pair(int64_t{4998}, int64_t{9093}));
    EXPECT_TRUE(TheHost().Call(clip, "MapInRows", 0, 10).ToBool());
    EXPECT_EQ(Window(clip), std::pair(int64_t{4998}, int64_t{9093}));
    EXPECT_TRUE(TheHost().Call(clip, "MapInRows", 2000, -1).ToBool());
    EXPECT_EQ(Window(clip), std::pair(int64_t{5904}, int64_t{9999}));
    EXPECT_FALSE(TheHost().Call(clip, "MapInRows", 3000, -1).ToBool());
}

TEST_F(ViewsMapped, LeaveFileAndMappingToTheOwner) {
    Ref image = NewTall("pixels");
    Ref view = View(image, "GreenChannel");
    EXPECT_THAT(LogOf([&] { TheHost().Call(view, "Close"); }),
                ElementsAre("Unmapping", "UnmapViewOfFile ok"));
    EXPECT_TRUE(fs::exists(folder_ / "pixels"));
    Touch(image, 9999, 4);
    EXPECT_EQ(ByteAt(image, 9999, 2), 4);
    view = View(image, "GreenChannel");
    image.Reset();
    EXPECT_TRUE(fs::exists(folder_ / "pixels")) << "the view keeps the image";
    Touch(view, 9999, 5);
    EXPECT_EQ(ByteAt(view, 9999, 1), 5);
    view.Reset();
    EXPECT_FALSE(fs::exists(folder_ / "pixels"));
}

TEST_F(ViewsMapped, AreClosedWithTheirImage) {
    for (const bool withFile : {true, false}) {
        const Ref image = NewTall(withFile ? std::optional<fs::path>("pixels") : std::nullopt);
        const Ref clip = Clip(image, 10, 5000, 10, 1000), red = View(clip, "RedChannel"),
                  mirror = View(image, "MirroredView"), colours = View(image, "RGBChannels");
        Touch(red, 999, 3);
        TheHost().Call(image, "Close");
        EXPECT_FALSE(fs::exists(folder_ / "pixels")) << "their windows do not keep the file";
        for (const Ref& view : {image, clip, red, mirror, colours})
            ExpectNoPixels(view);
        EXPECT_EQ(Number(red, "Height"), 1000) << "they tell what they were";
        EXPECT_EQ(TheHost().Get<Ref>(red, "Parent"), clip);
        EXPECT_EQ(TheHost().Get<std::string>(red, "Channel"), "Red");
    }
}

// What the numbers of closed handles stand for next is another image's mapping.
TEST_F(ViewsMapped, OfAClosedImageDoNotSeeTheNextOne) {
    std::vector<Ref> views;
    for (int i = 0; i < 20; ++i) {
        const Ref image = NewTall("pixels");
        views.push_back(Clip(image, 10, 5000, 10, 1000));
        TheHost().Call(image, "Close");
        const Ref next = NewTall("next");
        for (const Ref& view : views) {
            TheHost().Call(view, "FillRect", 9);
            EXPECT_FALSE(TheHost().Call(view, "MapInRows", 0, -1).ToBool());
        }
        EXPECT_EQ(ByteAt(next, 5000, 40), 0);
    }
}

TEST_F(ViewsMapped, AreClosedWhenTheirImageIsConstructedAgain) {
    const Ref image = NewTall("pixels");
    const Ref clip = Clip(image, 10, 5000, 10, 1000);
    TheHost().Call(image, "Constructor", 100, 100, Constant("ImageFormatG"), 0,
                   TheHost().NewFolderItem(folder_ / "again"));
    ExpectNoPixels(clip);
    TheHost().Call(image, "FillRect", 7);
    EXPECT_EQ(ByteAt(image, 99, 99), 7);
    const Ref fresh = View(image, "GrayChannel");
    TheHost().Call(fresh, "FillRect", 8);
    EXPECT_EQ(ByteAt(image, 99, 99), 8);
}

// A view of a view stays when the view between is closed: the store is still the image's.
TEST_F(ViewsMapped, OutliveTheClosingOfAViewBetween) {
    Ref image = NewTall("pixels");
    Ref clip = Clip(image, 10, 5000, 10, 1000);
    const Ref red = View(clip, "RedChannel");
    TheHost().Call(clip, "Close");
    TheHost().Call(red, "FillRect", 6);
    EXPECT_EQ(ByteAt(image, 5999, 40), 6);
    ExpectNoPixels(clip);
    // Nobody holds the image for it any more.
    image.Reset();
    EXPECT_FALSE(fs::exists(folder_ / "pixels"));
    ExpectNoPixels(red);
}

TEST_F(ViewsMapped, OfAnImageThatCannotMapARowLackIt) {
    const Ref image = NewTall("pixels");
    std::error_code error;
    fs::resize_file(folder_ / "pixels", 20 << 20, error);
    if (error) GTEST_SKIP() << "the system does not allow it: " << error.message();
    const Ref clip = Clip(image, 0, 9000, 10, 10);
    ASSERT_TRUE(clip);
    EXPECT_TRUE(Flag(clip, "Valid"));
    EXPECT_EQ(Window(clip), std::pair(int64_t{-1}, int64_t{-1}));
    TheHost().Call(clip, "FillRect", 9);
    TheHost().Call(clip, "ClearRect");
    EXPECT_EQ(TheHost().Call(clip, "RawRowPtr", 0).ToPointer(), nullptr);
}

TEST_F(ViewsMapped, HoldTheirParents) {
    Ref image = NewTall("pixels");
    {
        const Ref clip = Clip(image, 10, 5000, 10, 1000);
        EXPECT_EQ(image.References(), 2);
        const Ref red = View(clip, "RedChannel");
        EXPECT_EQ(clip.References(), 2);
        EXPECT_EQ(image.References(), 2);
        TheHost().Call(image, "Close");
        EXPECT_EQ(image.References(), 2);
    }
    EXPECT_EQ(image.References(), 1);
}

TEST_F(ViewsMapped, CanBeClosedDuringAnOperationOnAView) {
    const Ref image = NewTall("pixels");
    const Ref view = View(image, "RedChannel");
    TheHost().Set(view, "YieldTicks", -1);
    int yields = 0;
    TheHost().OnYield([&] {
        if (++yields == 2) TheHost().Call(image, "Close");
    });
    TheHost().Call(view, "FillRect", 7);
    TheHost().Call(view, "ClearRect");
    EXPECT_GE(yields, 1);
    TheHost().OnYield({});
}

// A locked bitmap is unlocked when its image is closed, and its pixels go with the lock.
TEST_F(ViewsMapped, OfALockedBitmapAreClosedToo) {
    trvhost::Options options;
    options.kind = trvhost::HostKind::Desktop;
    Load(options);
    trvhost::Picture picture;
    try {
        picture = TheHost().NewPicture(20, 20, trvhost::PictureStorage::GdiPlusPargb);
    } catch (const std::invalid_argument&) {
        GTEST_SKIP() << "this system has no such bitmaps";
    }
    const Ref image = TheHost().Construct("PictureTRV", picture, true);
    ASSERT_TRUE(Flag(image, "Valid"));
    const Ref red = View(image, "RedChannel"), part = Clip(red, 1, 1, 5, 5);
    TheHost().Call(part, "FillRect", 77);
    TheHost().Call(image, "Close");
    for (const Ref& view : {red, part}) {
        TheHost().Call(view, "FillRect", 78);
        EXPECT_FALSE(TheHost().Get<Ref>(view, "Memory"));
        EXPECT_EQ(TheHost().Call(view, "RawRowPtr", 0).ToPointer(), nullptr);
    }
    EXPECT_EQ(picture.Pixel(1, 1) >> 16 & 255, 77U);
}

// A picture that needs no lock stays readable through its views.
TEST_F(ViewsMapped, OfAPictureKeepIt) {
    trvhost::Options options;
    options.kind = trvhost::HostKind::Console;
    Load(options);
    trvhost::Picture picture = TheHost().NewPicture(20, 20, trvhost::PictureStorage::GdTrueColor);
    Ref image = TheHost().Construct("PictureTRV", picture, false);
    const Ref red = View(image, "RedChannel"), part = Clip(red, 1, 1, 5, 5);
    EXPECT_EQ(TheHost().Get<Ref>(part, "Target"), picture);
    EXPECT_EQ(picture.References(), 4);
    TheHost().Call(image, "Close");
    image.Reset();
    TheHost().Call(part, "FillRect", 77);
    EXPECT_EQ(picture.Pixel(1, 1) >> 16 & 255, 77U);
    EXPECT_EQ(picture.Pixel(0, 0) >> 16 & 255, 255U);
}

}  // namespace
}  // namespace trvtest
