// How images begin, are copied, and end.

#include <algorithm>
#include <array>
#include <cstring>
#include <functional>

#include "plugin_test.h"

namespace trvtest {
namespace {

using trvhost::ExceptionInfo;
using trvhost::Host;
using trvhost::MemoryBlock;
using trvhost::Options;
using trvhost::Picture;

constexpr int64_t kMax = INT64_MAX;

class LifeCycle : public PluginTest {
  protected:
    [[nodiscard]] int64_t Number(const Ref& image, const std::string& name) const {
        return TheHost().Get<int64_t>(image, name);
    }
    [[nodiscard]] bool IsValid(const Ref& image) const { return TheHost().Get<bool>(image, "Valid"); }
    [[nodiscard]] MemoryBlock StoreOf(const Ref& image) const {
        return MemoryBlock(TheHost().Get<Ref>(image, "MemoryTarget"));
    }
    [[nodiscard]] Ref Clone(const Ref& image) const { return TheHost().Call(image, "Clone").ToThing(); }

    [[nodiscard]] int64_t CalculateMemory(int64_t width, int64_t height, int64_t format) const {
        return TheHost().CallShared("PictureTRV", "CalculateMemory", width, height, format).ToInt();
    }
    [[nodiscard]] bool CanAllocate(int64_t width, int64_t height, int64_t format) const {
        return TheHost().CallShared("PictureTRV", "CanAllocateImage", width, height, format).ToBool();
    }

    /// Constructs an object that exists, of whatever it was before.
    void Construct(const Ref& object, int64_t width, int64_t height, std::string_view format) const {
        TheHost().Call(object, "Constructor(width as integer, height as integer, ImageFormat as integer)",
                       width, height, Constant(format));
    }
    void Construct(const Ref& object, const Ref& block, int64_t width, int64_t height,
                   std::string_view format, int64_t rowSize) const {
        TheHost().Call(
            object,
            "Constructor(Buf as MemoryBlock, width as integer, height as integer, ImageFormat as integer, "
            "RowSize as integer)",
            block, width, height, Constant(format), rowSize);
    }

    [[nodiscard]] static ExceptionInfo OutOfMemory(int64_t bytes) {
        return {"OutOfMemoryException",
                "Failed to allocate " + std::to_string(bytes) + " bytes of memory for image buffer.", 0};
    }
};

// Sizes ---

TEST_F(LifeCycle, MemoryIsCalculatedInRowsOf64) {
    EXPECT_EQ(CalculateMemory(1, 1, Constant("ImageFormatRGB")), 64);
    EXPECT_EQ(CalculateMemory(64, 1, Constant("ImageFormatG")), 64);
    EXPECT_EQ(CalculateMemory(65, 2, Constant("ImageFormatG")), 256);
    EXPECT_EQ(CalculateMemory(64, 3, Constant("ImageFormatRGB")), 576);
    EXPECT_EQ(CalculateMemory(1, 7, Constant("ImageFormatG8")), 448);
    EXPECT_EQ(CalculateMemory(10, 10, 14), 0);
    EXPECT_EQ(CalculateMemory(0, 10, Constant("ImageFormatRGB")), 0);
    EXPECT_EQ(CalculateMemory(10, 0, Constant("ImageFormatRGB")), 0);
    EXPECT_EQ(CalculateMemory(10, -1, Constant("ImageFormatRGB")), 0);
    EXPECT_EQ(CalculateMemory(10, 10, 0), 0);
    EXPECT_EQ(CalculateMemory(10, 10, 49), 0);
    EXPECT_EQ(CalculateMemory(100000, 100000, Constant("ImageFormatRGBA")), 40000000000);
}

TEST_F(LifeCycle, CalculatedMemoryIsWhatTheConstructorTakes) {
    for (int64_t format = 1; format <= 48; ++format) {
        if (format == 14) continue;
        for (const int64_t width : {1, 12, 13, 16, 21, 22, 32, 63, 64, 65, 200}) {
            const Ref image = TheHost().Construct("PictureTRV", width, 3, format);
            ASSERT_TRUE(IsValid(image));
            EXPECT_EQ(CalculateMemory(width, 3, format), Number(image, "TotalSize"))
                << format << " " << width;
            EXPECT_EQ(StoreOf(image).Size(), Number(image, "TotalSize"));
            EXPECT_EQ(Number(image, "RowSize") % 64, 0);
            EXPECT_LT(Number(image, "RowSize") - width * Number(image, "PixelSize"), 64);
        }
    }
}

TEST_F(LifeCycle, WhatFitsCanBeAllocated) {
    EXPECT_TRUE(CanAllocate(10, 10, Constant("ImageFormatRGB")));
    EXPECT_TRUE(CanAllocate(2000, 2000, Constant("ImageFormatRGBA")));
    EXPECT_FALSE(CanAllocate(10, 10, 14));
    EXPECT_FALSE(CanAllocate(0, 10, Constant("ImageFormatRGB")));
    EXPECT_FALSE(CanAllocate(int64_t{1} << 30, int64_t{1} << 30, Constant("ImageFormatRGB")));
}

/// Sizes whose bytes leave 64 bits, many of them so that what is left of the product looks small.
constexpr std::pair<int64_t, int64_t> kOverflowing[] = {{int64_t{1} << 62, int64_t{1} << 62},
                                                        {int64_t{1} << 32, int64_t{1} << 32},
                                                        {int64_t{1} << 61, 8},
                                                        {int64_t{1} << 60, 16},
                                                        {16, int64_t{1} << 60},
                                                        {(int64_t{1} << 58) + 1, 64},
                                                        {kMax, 1},
                                                        {1, kMax},
                                                        {kMax, kMax},
                                                        {kMax - 62, 1},
                                                        {kMax - 63, 2},
                                                        {kMax / 64, 129}};

TEST_F(LifeCycle, SizesBeyond64BitsAreNeverSmall) {
    for (const char* format : {"ImageFormatG", "ImageFormatRGBA", "ImageFormatCMYKA", "ImageFormatG8"}) {
        for (const auto& [width, height] : kOverflowing) {
            SCOPED_TRACE(std::string(format) + " " + std::to_string(width) + " x " + std::to_string(height));
            EXPECT_GE(CalculateMemory(width, height, Constant(format)), kMax - 63);
            EXPECT_FALSE(CanAllocate(width, height, Constant(format)));
            const Ref image = NewImage(width, height, format);
            EXPECT_FALSE(IsValid(image));
            const auto exception = TheHost().TakeException();
            ASSERT_TRUE(exception.has_value());
            EXPECT_EQ(exception->className, "OutOfMemoryException");
            EXPECT_FALSE(StoreOf(image));
            // Nothing works on it, and nothing crashes.
            TheHost().Call(image, "FillRect(Value as integer)", 1);
            EXPECT_FALSE(Clone(image));
        }
    }
}

// Construction ---

TEST_F(LifeCycle, AStoreThatCannotBeHadIsOutOfMemory) {
    TheHost().FailMemoryBlock(1);
    const Ref image = NewImage(10, 10, "ImageFormatG");
    EXPECT_EQ(TheHost().TakeException(), OutOfMemory(640));
    EXPECT_FALSE(IsValid(image));
    EXPECT_FALSE(StoreOf(image));
    EXPECT_EQ(Number(image, "TotalSize"), 0);
    // The object is still good for another try.
    Construct(image, 10, 10, "ImageFormatG");
    EXPECT_TRUE(IsValid(image));
}

TEST_F(LifeCycle, ABlockSmallerThanAskedForIsOutOfMemory) {
    for (const int64_t missing : {1, 639, 640}) {
        TheHost().ShortenMemoryBlock(1, missing);
        const Ref image = NewImage(10, 10, "ImageFormatG");
        EXPECT_EQ(TheHost().TakeException(), OutOfMemory(640)) << missing;
        EXPECT_FALSE(IsValid(image));
    }
}

TEST_F(LifeCycle, TheHostsOwnExceptionDoesNotPassThrough) {
    Options options;
    options.largestMemoryBlock = 1000;
    Load(options);
    const Ref small = NewImage(10, 10, "ImageFormatG");
    EXPECT_TRUE(IsValid(small));
    const Ref image = NewImage(100, 100, "ImageFormatG");
    EXPECT_FALSE(IsValid(image));
    EXPECT_EQ(TheHost().TakeException(), OutOfMemory(12800)) << "the plug-in's, not the host's";
    EXPECT_FALSE(TheHost().HasException());
}

TEST_F(LifeCycle, AHostWithoutMemoryBlocksHasNoMemory) {
    for (const bool lacksClass : {true, false}) {
        Options options;
        if (lacksClass) {
            options.missingClasses = {"MemoryBlock"};
        } else {
            options.missingMembers = {"Constructor(bytes as Integer)"};
        }
        Load(options);
        const Ref image = NewImage(10, 10, "ImageFormatG");
        EXPECT_FALSE(IsValid(image));
        EXPECT_EQ(TheHost().TakeException(), OutOfMemory(640));
    }
}

TEST_F(LifeCycle, AConstructorOfNoSizeEndsInSilence) {
    const Ref image = NewImage(10, 0, "ImageFormatRGB");
    ASSERT_TRUE(image);
    EXPECT_FALSE(IsValid(image));
    EXPECT_FALSE(TheHost().HasException());
    EXPECT_EQ(Number(image, "PixelSize"), 0);
}

TEST_F(LifeCycle, NoBlockIsANilObject) {
    const ExceptionInfo nil{"NilObjectException", "Memoryblock is nil.", 0};
    const int64_t g = Constant("ImageFormatG");
    Ref image = TheHost().Construct("PictureTRV", nullptr, 10, 10, g, 10);
    EXPECT_EQ(TheHost().TakeException(), nil);
    EXPECT_FALSE(IsValid(image));
    // Before anything else is looked at.
    image = TheHost().Construct("PictureTRV", nullptr, 0, 10, int64_t{14}, 10);
    EXPECT_EQ(TheHost().TakeException(), nil);
    // A block without an address counts as none, but behind the look at size and format.
    const MemoryBlock empty = TheHost().WrapPointer(nullptr);
    ASSERT_TRUE(empty);
    ASSERT_EQ(empty.Data(), nullptr);
    image = TheHost().Construct("PictureTRV", empty, 10, 10, g, 10);
    EXPECT_EQ(TheHost().TakeException(), nil);
    EXPECT_FALSE(IsValid(image));
    image = TheHost().Construct("PictureTRV", empty, 0, 10, g, 10);
    EXPECT_FALSE(TheHost().HasException());
    EXPECT_FALSE(IsValid(image));
    EXPECT_EQ(empty.References(), 1);
}

TEST_F(LifeCycle, TheCallersMemoryIsHeldUntilTheEnd) {
    const MemoryBlock block = TheHost().NewMemoryBlock(200);
    {
        const Ref image = TheHost().Construct("PictureTRV", block, 10, 10, Constant("ImageFormatG"), 20);
        EXPECT_TRUE(IsValid(image));
        EXPECT_EQ(block.References(), 2);
        EXPECT_TRUE(StoreOf(image) == block);
        TheHost().Call(image, "FillRect(Value as integer)", 1);
        EXPECT_EQ(std::count(block.Bytes().begin(), block.Bytes().end(), 1), 100);
    }
    EXPECT_EQ(block.References(), 1);
}

TEST_F(LifeCycle, TheCallersLayoutIsNotTested) {
    const MemoryBlock block = TheHost().NewMemoryBlock(50);
    for (const int64_t rowSize : {int64_t{100}, int64_t{3}, int64_t{0}, int64_t{-100}, kMax, INT64_MIN}) {
        const Ref image = TheHost().Construct("PictureTRV", block, 10, 10, Constant("ImageFormatG"), rowSize);
        EXPECT_TRUE(IsValid(image)) << rowSize;
        EXPECT_FALSE(TheHost().HasException());
        EXPECT_EQ(Number(image, "RowSize"), rowSize);
    }
}

TEST_F(LifeCycle, AnObjectCanBeConstructedAgain) {
    const MemoryBlock block = TheHost().NewMemoryBlock(100);
    const Picture picture = TheHost().NewPicture(6, 4);
    const auto constructors = std::to_array<std::function<void(const Ref&)>>(
        {[&](const Ref& image) { Construct(image, 10, 10, "ImageFormatRGB"); },
         [&](const Ref& image) { Construct(image, block, 10, 10, "ImageFormatG", 10); },
         [&](const Ref& image) {
             TheHost().Call(image, "Constructor(pic as picture, UseAlpha as boolean=false)", picture, false);
         },
         [&](const Ref& image) {
             TheHost().Call(
                 image,
                 "Constructor(width as integer, height as integer, ImageFormat as integer, BlockSize as "
                 "Int64, FilePath as folderitem)",
                 10, 10, Constant("ImageFormatRGB"), int64_t{0}, nullptr);
         }});
    for (const auto& first : constructors) {
        for (const auto& second : constructors) {
            const Ref image = TheHost().New("PictureTRV");
            first(image);
            EXPECT_TRUE(IsValid(image));
            second(image);
            EXPECT_TRUE(IsValid(image));
            TheHost().Call(image, "FillRectRGB", 1, 2, 3);
            first(image);
            EXPECT_TRUE(IsValid(image));
            TheHost().Call(image, "Close");
        }
    }
    EXPECT_EQ(block.References(), 1);
    EXPECT_EQ(picture.References(), 1);
    EXPECT_EQ(picture.DescriptionLocks(), 0);
}

TEST_F(LifeCycle, AConstructorThatFailsLeavesNoEarlierPixels) {
    const MemoryBlock block = TheHost().NewMemoryBlock(100);
    const Ref image = TheHost().Construct("PictureTRV", block, 10, 10, Constant("ImageFormatG"), 10);
    Construct(image, 0, 10, "ImageFormatG");
    EXPECT_FALSE(IsValid(image));
    EXPECT_FALSE(StoreOf(image));
    EXPECT_EQ(block.References(), 1);
    TheHost().Call(image, "FillRect(Value as integer)", 1);
    EXPECT_EQ(std::count(block.Bytes().begin(), block.Bytes().end(), 0), 100);

    Construct(image, block, 10, 10, "ImageFormatG", 10);
    TheHost().FailMemoryBlock(1);
    Construct(image, 10, 10, "ImageFormatG");
    EXPECT_TRUE(TheHost().TakeException().has_value());
    EXPECT_FALSE(IsValid(image));
    EXPECT_EQ(block.References(), 1);
}

// Clones ---

TEST_F(LifeCycle, ACloneIsADeepCopy) {
    for (int64_t format = 1; format <= 48; ++format) {
        if (format == 14) continue;
        const MemoryImage image(TheHost(), 7, 5, format, 53, static_cast<unsigned>(format));
        const Ref clone = Clone(image);
        ASSERT_TRUE(clone) << format;
        for (const char* name :
             {"RedOffset", "GreenOffset", "BlueOffset", "GrayOffset", "AlphaOffset", "CyanOffset",
              "MagentaOffset", "YellowOffset", "BlackOffset", "Width", "Height", "UnclippedHeight",
              "PixelSize", "BitsPerComponent", "RowSize", "ImageFormat", "ChannelCount", "TotalSize"})
            EXPECT_EQ(Number(clone, name), Number(image, name)) << name << " " << format;
        for (const char* name :
             {"IsGray", "IsRGB", "IsCMYK", "HasRed", "HasGreen", "HasBlue", "HasGray", "HasAlpha", "HasCyan",
              "HasMagenta", "HasYellow", "HasBlack", "Valid", "IsMapping"})
            EXPECT_EQ(TheHost().Get<bool>(clone, name), TheHost().Get<bool>(image, name))
                << name << " " << format;
        for (int64_t i = 0; i < Number(image, "ChannelCount"); ++i)
            EXPECT_EQ(TheHost().Call(clone, "ChannelOffset", i).ToInt(),
                      TheHost().Call(image, "ChannelOffset", i).ToInt());
        EXPECT_EQ(Number(clone, "MappingRows"), -1);
        EXPECT_EQ(Number(clone, "RowOffset"), 0);
        EXPECT_FALSE(TheHost().Get<Ref>(clone, "Parent"));
        EXPECT_FALSE(StoreOf(clone) == StoreOf(image));
        const std::vector<uint8_t> bytes = image.Bytes();
        ASSERT_GE(StoreOf(clone).Size(), static_cast<int64_t>(bytes.size()));
        EXPECT_TRUE(std::equal(bytes.begin(), bytes.end(), StoreOf(clone).Bytes().begin())) << format;
        // And from here on they go their own ways.
        StoreOf(clone).Bytes()[0] ^= 255;
        EXPECT_EQ(image.Bytes(), bytes);
    }
}

TEST_F(LifeCycle, ACloneLeavesTheHostsPropertiesBehind) {
    const Ref image = NewImage(5, 5, "ImageFormatRGB");
    const Ref factory = TheHost().NewPlainFactory();
    TheHost().Set(image, "YieldTicks", 17);
    TheHost().Set(image, "DebugPictureEnabled", true);
    TheHost().Set(image, "Factory", factory);
    const Ref clone = Clone(image);
    EXPECT_EQ(Number(clone, "YieldTicks"), 0);
    EXPECT_FALSE(TheHost().Get<bool>(clone, "DebugPictureEnabled"));
    EXPECT_FALSE(TheHost().Get<Ref>(clone, "Factory"));
    TheHost().Set(image, "Factory", nullptr);
}

TEST_F(LifeCycle, TheCloneOfAViewKeepsItsWayToThePixels) {
    const MemoryImage image(TheHost(), 20, 10, Constant("ImageFormatRGBA"));
    const Ref view = TheHost().Call(image, "ClipImage", 3, 4, 5, 2).ToThing();
    const Ref clone = Clone(view);
    ASSERT_TRUE(clone);
    EXPECT_EQ(Number(clone, "RedOffset"), 12);
    EXPECT_EQ(Number(clone, "RowSize"), 80);
    EXPECT_EQ(Number(clone, "Width"), 5);
    EXPECT_EQ(Number(clone, "Height"), 2);
    EXPECT_EQ(Number(clone, "UnclippedHeight"), 2);
    EXPECT_EQ(Number(clone, "RowOffset"), 0);
    EXPECT_EQ(Number(clone, "TotalSize"), 160) << "the rows of the view";
    EXPECT_FALSE(TheHost().Get<Ref>(clone, "Parent"));
    EXPECT_TRUE(std::equal(image.Row(4), image.Row(6), StoreOf(clone).Bytes().begin()));

    const Ref red = TheHost().Call(image, "RedChannel").ToThing();
    const Ref redClone = Clone(red);
    EXPECT_EQ(Number(redClone, "PixelSize"), 4);
    EXPECT_TRUE(TheHost().Get<bool>(redClone, "IsGray"));
    EXPECT_EQ(TheHost().Get<std::string>(redClone, "Channel"), "");
}

TEST_F(LifeCycle, TheCloneOfAMirroredViewIsMirroredInMemory) {
    const MemoryImage image(TheHost(), 20, 10, Constant("ImageFormatG"));
    const Ref clone = Clone(TheHost().Call(image, "MirroredView").ToThing());
    ASSERT_TRUE(clone);
    for (int64_t y = 0; y < 10; ++y)
        EXPECT_TRUE(
            std::equal(image.Row(9 - y), image.Row(9 - y) + 20, StoreOf(clone).Bytes().begin() + y * 20))
            << y;
}

TEST_F(LifeCycle, APictureKeptAsRowsCanBeCloned) {
    Options options;
    options.kind = trvhost::HostKind::Console;
    Load(options);
    const Picture picture = TheHost().NewPicture(5, 4);
    for (int64_t y = 0; y < 4; ++y) {
        for (int64_t x = 0; x < 5; ++x)
            picture.SetPixel(x, y, static_cast<uint32_t>(0xFF000000U + static_cast<uint64_t>(y * 65536 + x)));
    }
    const Ref image = TheHost().Construct("PictureTRV", picture);
    ASSERT_TRUE(IsValid(image));
    const Ref clone = Clone(image);
    ASSERT_TRUE(clone);
    EXPECT_FALSE(TheHost().Get<Ref>(clone, "Target"));
    for (int64_t y = 0; y < 4; ++y) {
        for (int64_t x = 0; x < 5; ++x) {
            uint32_t word = 0;
            std::memcpy(&word, StoreOf(clone).Data() + y * Number(clone, "RowSize") + x * 4, 4);
            EXPECT_EQ(word, picture.RawPixel(x, y));
        }
    }
}

TEST_F(LifeCycle, WhatIsNoImageHasNoClone) {
    const Ref unconstructed = TheHost().New("PictureTRV");
    const Ref closed = NewImage(5, 5, "ImageFormatRGB");
    TheHost().Call(closed, "Close");
    const Ref mapped =
        TheHost().Construct("PictureTRV", 5, 5, Constant("ImageFormatRGB"), int64_t{0}, nullptr);
    ASSERT_TRUE(IsValid(mapped));
    const auto lines = LogOf([&] {
        EXPECT_FALSE(Clone(unconstructed));
        EXPECT_FALSE(Clone(closed));
        EXPECT_FALSE(Clone(mapped));
    });
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "Picture not valid."), 1);
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "Can't clone mapped images"), 1);
    EXPECT_FALSE(TheHost().HasException());
}

TEST_F(LifeCycle, AHostThatGivesNoObjectHasNoClone) {
    const Ref image = NewImage(5, 5, "ImageFormatRGB");
    const auto lines = LogOf([&] {
        TheHost().FailNewInstance(1);
        EXPECT_FALSE(Clone(image));
    });
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "Failed to crate PictureTRV object"), 1);
    EXPECT_FALSE(TheHost().HasException());
}

TEST_F(LifeCycle, ACloneWithoutMemoryIsNilAndLeavesNothing) {
    const Ref image = NewImage(5, 5, "ImageFormatRGB");
    const trvhost::LiveCounts before = TheHost().Live();
    TheHost().FailMemoryBlock(1);
    EXPECT_FALSE(Clone(image));
    EXPECT_EQ(TheHost().TakeException(), OutOfMemory(320));
    TheHost().ShortenMemoryBlock(1, 1);
    EXPECT_FALSE(Clone(image));
    EXPECT_EQ(TheHost().TakeException(), OutOfMemory(320));
    EXPECT_EQ(TheHost().Live(), before);
}

TEST_F(LifeCycle, ClonesOfOddImagesAreHarmless) {
    // Room on both sides, so that a row of any of these sizes lies within the block.
    const MemoryBlock block = TheHost().NewMemoryBlock(4096);
    for (const char* format : {"ImageFormatG", "ImageFormatRGBA", "ImageFormatG8", "ImageFormatBuffer"}) {
        for (const int64_t rowSize : {int64_t{3}, int64_t{1}, int64_t{0}, int64_t{-8}, INT64_MIN}) {
            SCOPED_TRACE(std::string(format) + " in rows of " + std::to_string(rowSize));
            const int64_t height = rowSize < 0 ? 1 : 10;
            const Ref image = TheHost().Construct("PictureTRV", block, 10, height, Constant(format), rowSize);
            ASSERT_TRUE(IsValid(image));
            const Ref clone = Clone(image);
            if (rowSize < 0) {
                EXPECT_FALSE(clone);
                EXPECT_EQ(TheHost().TakeException()->className, "OutOfMemoryException");
                continue;
            }
            ASSERT_TRUE(clone);
            EXPECT_EQ(Number(clone, "RowSize"), rowSize);
            // All its pixels are within its store, whatever is written there.
            EXPECT_GE(StoreOf(clone).Size(), 9 * rowSize + 10 * Number(clone, "PixelSize"));
            TheHost().Call(clone, "FillRect(Value as integer)", 200);
            TheHost().Call(clone, "FillRectRGB", 1, 2, 3, 4);
            TheHost().Call(clone, "FillRectRandom");
            EXPECT_TRUE(IsValid(Clone(clone)));
        }
    }
}

TEST_F(LifeCycle, TheCloneOfABlockThatEndsWithTheLastPixelStaysWithinIt) {
    // Rows of 64 bytes of which the last one has no padding: every pixel lies in the block, the last row does
    // not.
    const MemoryBlock block = TheHost().NewMemoryBlock(64 * 3 + 10);
    for (size_t i = 0; i < block.Bytes().size(); ++i)
        block.Bytes()[i] = static_cast<uint8_t>(i * 7);
    const Ref image = TheHost().Construct("PictureTRV", block, 10, 4, Constant("ImageFormatG"), 64);
    const Ref clone = Clone(image);
    ASSERT_TRUE(clone);
    const MemoryBlock store = StoreOf(clone);
    ASSERT_EQ(store.Size(), 256);
    EXPECT_TRUE(std::equal(block.Bytes().begin(), block.Bytes().end(), store.Bytes().begin()));
    EXPECT_EQ(std::count(store.Bytes().begin() + 64 * 3 + 10, store.Bytes().end(), 0), 54)
        << "bytes that do not exist read as zeros";
}

// The end ---

TEST_F(LifeCycle, ClosingTwiceIsSafe) {
    const MemoryBlock block = TheHost().NewMemoryBlock(100);
    const Ref image = TheHost().Construct("PictureTRV", block, 10, 10, Constant("ImageFormatG"), 10);
    TheHost().Call(image, "Close");
    EXPECT_EQ(block.References(), 1);
    TheHost().Call(image, "Close");
    EXPECT_EQ(block.References(), 1);
    const Ref unconstructed = TheHost().New("PictureTRV");
    TheHost().Call(unconstructed, "Close");
    TheHost().Call(unconstructed, "Close");
}

TEST_F(LifeCycle, AClosedImageSaysWhatItSaidAndDoesNothing) {
    const MemoryImage image(TheHost(), 10, 10, Constant("ImageFormatRGB"), 64);
    const std::vector<uint8_t> before = image.Bytes();
    TheHost().Call(image, "Close");
    EXPECT_TRUE(IsValid(image));
    EXPECT_EQ(Number(image, "Width"), 10);
    EXPECT_EQ(Number(image, "Height"), 10);
    EXPECT_EQ(Number(image, "RowSize"), 64);
    EXPECT_EQ(Number(image, "BlueOffset"), 2);
    EXPECT_TRUE(TheHost().Get<bool>(image, "IsRGB"));
    EXPECT_FALSE(TheHost().Get<Ref>(image, "Memory"));
    const auto lines = LogOf([&] { TheHost().Call(image, "FillRectRGB", 1, 2, 3); });
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "GetRow is nil"), 1);
    TheHost().Call(image, "FillRect(Value as integer)", 1);
    TheHost().Call(image, "FillRectRandom");
    TheHost().Call(image, "ClearRect");
    TheHost().Call(image, "ClearCache");
    EXPECT_FALSE(TheHost().Call(image, "FillRectApply", 1, 2, 3, 4).ToBool());
    EXPECT_EQ(image.Bytes(), before);
    EXPECT_FALSE(TheHost().HasException());
}

TEST_F(LifeCycle, AnImageOverAPictureGivesItBackInOrder) {
    Options options;
    options.trace = true;
    Load(options);
    const Picture picture = TheHost().NewPicture(6, 4);
    const Ref image = TheHost().Construct("PictureTRV", picture);
    ASSERT_TRUE(IsValid(image));
    EXPECT_EQ(picture.References(), 2);
    Ref red = TheHost().Call(image, "RedChannel").ToThing();
    ASSERT_TRUE(red);
    EXPECT_EQ(picture.References(), 3);

    // A channel has a name, a parent and a picture: the name goes first, the picture last and told before.
    const int64_t clears = picture.CacheClears();
    TheHost().ClearTrace();
    TheHost().Call(red, "Close");
    const std::vector<std::string> trace = TheHost().Trace();
    ASSERT_GE(trace.size(), 4U);
    EXPECT_EQ(trace.front(), "REALUnlockString");
    EXPECT_EQ(trace[trace.size() - 2], "REALPictureClearCache");
    EXPECT_EQ(trace.back(), "REALUnlockObject");
    EXPECT_EQ(picture.CacheClears(), clears + 1);
    EXPECT_EQ(picture.References(), 2);
    TheHost().Call(image, "Close");
    EXPECT_EQ(picture.CacheClears(), clears + 2);
    EXPECT_EQ(picture.References(), 1);
}

TEST_F(LifeCycle, ClearingTheCacheTellsThePicture) {
    const Picture picture = TheHost().NewPicture(6, 4);
    const Ref image = TheHost().Construct("PictureTRV", picture);
    const int64_t clears = picture.CacheClears();
    TheHost().Call(image, "ClearCache");
    EXPECT_EQ(picture.CacheClears(), clears + 1);
    TheHost().Call(image, "Close");
    EXPECT_EQ(picture.CacheClears(), clears + 2);
    TheHost().Call(image, "ClearCache");
    EXPECT_EQ(picture.CacheClears(), clears + 2);
    const int64_t calls = TheHost().Calls("REALPictureClearCache");
    const Ref plain = NewImage(5, 5, "ImageFormatRGB");
    TheHost().Call(plain, "ClearCache");
    TheHost().Call(TheHost().New("PictureTRV"), "ClearCache");
    EXPECT_EQ(TheHost().Calls("REALPictureClearCache"), calls);
}

TEST_F(LifeCycle, TheFactoryIsTheHostsAffair) {
    const Ref factory = TheHost().NewPlainFactory();
    const Ref image = NewImage(5, 5, "ImageFormatRGB");
    TheHost().Set(image, "Factory", factory);
    TheHost().Call(image, "Close");
    EXPECT_TRUE(TheHost().Get<Ref>(image, "Factory") == factory);
    TheHost().Set(image, "Factory", nullptr);
}

// Images that the program closes while an operation gives it its time ---

class ClosedMeanwhile : public LifeCycle {
  protected:
    static constexpr int64_t kWidth = 1500;
    static constexpr int64_t kHeight = 1000;

    /// Runs `operation` on fresh images that yield every millisecond, and closes the image in its first,
    /// second, third yield. The first comes at the start; the others, where they come, in the middle.
    template <class Operation>
    void CloseInYields(const Operation& operation) {
        for (int closeAt = 1; closeAt <= 3; ++closeAt) {
            const Ref image = NewImage(kWidth, kHeight, "ImageFormatRGBA");
            TheHost().Set(image, "YieldTicks", int64_t{-1});
            int yields = 0;
            TheHost().OnYield([&] {
                if (++yields == closeAt) TheHost().Call(image, "Close");
            });
            operation(image);
            TheHost().OnYield(nullptr);
            EXPECT_GE(yields, 1) << "the operation never yields";
            EXPECT_EQ(Number(image, "Width"), kWidth);
            EXPECT_EQ(static_cast<bool>(StoreOf(image)), yields < closeAt);
        }
    }
};

TEST_F(ClosedMeanwhile, FillsEnd) {
    CloseInYields([&](const Ref& image) { TheHost().Call(image, "FillRectRGB", 1, 2, 3, 4); });
    CloseInYields([&](const Ref& image) { TheHost().Call(image, "FillRect(Value as integer)", 1); });
    CloseInYields([&](const Ref& image) { TheHost().Call(image, "FillRectRandom"); });
    CloseInYields(
        [&](const Ref& image) { TheHost().Call(image, "ClearRect", 1, 1, kWidth - 2, kHeight - 2); });
    CloseInYields([&](const Ref& image) { TheHost().Call(image, "FillRectApply", 1, 2, 3, 40); });
}

TEST_F(ClosedMeanwhile, CopiesEnd) {
    const Ref other = NewImage(kWidth, kHeight, "ImageFormatRGBA");
    CloseInYields([&](const Ref& image) {
        TheHost().Call(image, "CopyPixels(source as PictureTRV) as boolean", other);
    });
}

TEST_F(ClosedMeanwhile, ScalingEnds) {
    const Ref other = NewImage(kWidth * 2, kHeight, "ImageFormatRGBA");
    const int64_t box = Constant("ScaleBox");
    CloseInYields(
        [&](const Ref& image) { TheHost().Call(image, "Scale", other, nullptr, box, kWidth, kHeight); });
    CloseInYields(
        [&](const Ref& image) { TheHost().Call(other, "Scale", image, nullptr, box, kWidth * 2, kHeight); });
}

}  // namespace
}  // namespace trvtest
