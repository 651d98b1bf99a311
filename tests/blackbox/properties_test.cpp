// Properties that do more than show a field.

#include <array>

#include "plugin_test.h"

namespace trvtest {
namespace {

using trvhost::ExceptionInfo;
using trvhost::MemoryBlock;
using trvhost::Options;

class Properties : public PluginTest {
  protected:
    [[nodiscard]] int64_t Number(const Ref& image, const std::string& name) const {
        return TheHost().Get<int64_t>(image, name);
    }
};

// Offsets ---

constexpr std::array kSettable = {"RedOffset", "GreenOffset", "BlueOffset", "GrayOffset", "AlphaOffset"};

TEST_F(Properties, AnOffsetCanBeSetWithinThePixel) {
    for (const char* format : {"ImageFormatG", "ImageFormatRGB", "ImageFormatBGRA", "ImageFormatCMYKX"}) {
        const Ref image = NewImage(3, 3, format);
        for (const char* name : kSettable) {
            for (int64_t value = 0; value < Number(image, "PixelSize"); ++value) {
                TheHost().Set(image, name, value);
                EXPECT_EQ(Number(image, name), value) << format << " " << name;
            }
            EXPECT_FALSE(TheHost().HasException());
        }
    }
}

TEST_F(Properties, AnOffsetOutsideThePixelIsARangeError) {
    const Ref image = NewImage(3, 3, "ImageFormatRGB");
    for (const std::string name : kSettable) {
        const int64_t before = Number(image, name);
        TheHost().Set(image, name, int64_t{3});
        EXPECT_EQ(TheHost().TakeException(), (ExceptionInfo{"OutOfBoundsException",
                                                            "The parameter value to method " + name +
                                                                " is too big. Range is 0 to 2, but value is "
                                                                "3.",
                                                            0}));
        TheHost().Set(image, name, int64_t{-1});
        EXPECT_EQ(TheHost().TakeException()->message, "The parameter value to method " + name +
                                                          " is too small. Range is 0 to 2, but value is -1.");
        for (const int64_t value : {INT64_MAX, INT64_MIN}) {
            TheHost().Set(image, name, value);
            EXPECT_TRUE(TheHost().TakeException().has_value());
        }
        EXPECT_EQ(Number(image, name), before) << name;
    }
}

TEST_F(Properties, SettingAnOffsetChangesNothingElse) {
    const Ref image = NewImage(3, 3, "ImageFormatRGBX");
    TheHost().Set(image, "AlphaOffset", int64_t{3});
    EXPECT_FALSE(TheHost().Get<bool>(image, "HasAlpha"));
    TheHost().Set(image, "RedOffset", int64_t{3});
    EXPECT_EQ(TheHost().Call(image, "ChannelOffset", 0).ToInt(), 0);
    EXPECT_EQ(Number(image, "GreenOffset"), 1);
    EXPECT_EQ(Number(image, "ChannelCount"), 3);
}

TEST_F(Properties, OffsetsOfAnUnconstructedImageCannotBeSet) {
    const Ref image = TheHost().New("PictureTRV");
    for (const char* name : kSettable) {
        TheHost().Set(image, name, int64_t{0});
        EXPECT_EQ(TheHost().TakeException()->className, "OutOfBoundsException");
        EXPECT_EQ(Number(image, name), 0);
    }
}

// Memory ---

TEST_F(Properties, MemoryIsTheBlockWhereThePixelsStartWithIt) {
    const Ref image = NewImage(10, 10, "ImageFormatG");
    const MemoryBlock memory(TheHost().Get<Ref>(image, "Memory"));
    const Ref target = TheHost().Get<Ref>(image, "MemoryTarget");
    EXPECT_TRUE(memory == target);
    EXPECT_EQ(memory.Size(), 640);
    EXPECT_EQ(memory.References(), 3) << "the image's, and the two that the host was given";
    // Its bytes are the pixels.
    TheHost().Call(image, "FillRect(Value as integer)", 77);
    EXPECT_EQ(memory.Bytes()[0], 77);
    EXPECT_EQ(memory.Bytes()[9 * 64 + 9], 77);

    const MemoryBlock block = TheHost().NewMemoryBlock(100);
    const Ref over = TheHost().Construct("PictureTRV", block, 10, 10, Constant("ImageFormatG"), 10);
    EXPECT_TRUE(TheHost().Get<Ref>(over, "Memory") == block);
}

TEST_F(Properties, MemoryOfAViewIsABlockOverItsPixels) {
    const Ref image = NewImage(10, 10, "ImageFormatRGB");
    TheHost().Call(image, "FillRectRGB", 1, 2, 3);
    const Ref view = TheHost().Call(image, "RedChannel").ToThing();
    const MemoryBlock memory(TheHost().Get<Ref>(view, "Memory"));
    ASSERT_TRUE(memory);
    const MemoryBlock store(TheHost().Get<Ref>(image, "MemoryTarget"));
    EXPECT_FALSE(memory == store);
    EXPECT_EQ(memory.Size(), -1) << "a block over a bare address does not know its size";
    EXPECT_EQ(memory.Data(), store.Data());
    EXPECT_EQ(memory.References(), 1);
}

TEST_F(Properties, MemoryWithoutPixelsIsNil) {
    const Ref unconstructed = TheHost().New("PictureTRV");
    EXPECT_FALSE(TheHost().Get<Ref>(unconstructed, "Memory"));
    const Ref image = NewImage(10, 10, "ImageFormatG");
    TheHost().Call(image, "Close");
    EXPECT_FALSE(TheHost().Get<Ref>(image, "Memory"));
    EXPECT_FALSE(TheHost().Get<Ref>(image, "MemoryTarget"));
}

TEST_F(Properties, MemoryIsWrappedByTheBlocksOwnMethodWhereTheEntryIsMissing) {
    Options options;
    options.missingEntries = {"PtrToMemoryBlock"};
    Load(options);
    const Ref image = NewImage(10, 10, "ImageFormatRGB");
    const Ref view = TheHost().Call(image, "RedChannel").ToThing();
    {
        const MemoryBlock memory(TheHost().Get<Ref>(view, "Memory"));
        ASSERT_TRUE(memory);
        EXPECT_EQ(memory.Data(), MemoryBlock(TheHost().Get<Ref>(image, "MemoryTarget")).Data());
    }
    TheHost().Settings().missingClasses.insert("MemoryBlock");
    EXPECT_FALSE(TheHost().Get<Ref>(view, "Memory"));
}

TEST_F(Properties, MemoryIsNilWhereNothingCanWrapIt) {
    Options options;
    options.missingEntries = {"PtrToMemoryBlock"};
    options.missingMembers = {"Operator_Convert(value as Ptr)"};
    Load(options);
    const Ref image = NewImage(10, 10, "ImageFormatRGB");
    const Ref view = TheHost().Call(image, "RedChannel").ToThing();
    EXPECT_FALSE(TheHost().Get<Ref>(view, "Memory"));
}

TEST_F(Properties, TheBlocksAddressIsFoundByItsOwnMethodWhereTheEntryIsMissing) {
    Options options;
    options.missingEntries = {"memoryBlockGetPtr"};
    Load(options);
    const Ref image = NewImage(10, 10, "ImageFormatG");
    ASSERT_TRUE(TheHost().Get<bool>(image, "Valid"));
    TheHost().Call(image, "FillRect(Value as integer)", 9);
    const MemoryBlock memory(TheHost().Get<Ref>(image, "Memory"));
    EXPECT_EQ(memory.Bytes()[64], 9);
}

// The size of the window ---

TEST_F(Properties, MappingBlockSizeOfAnImageInMemoryChangesTwoNumbers) {
    const Ref image = NewImage(10, 10, "ImageFormatG");  // rows of 64 bytes
    EXPECT_EQ(Number(image, "MappingBlockSize"), 0);
    EXPECT_EQ(Number(image, "MappingRows"), 10);
    // A window of a granule of granules, cut to the store of 640 bytes, raised to a granule.
    for (const int64_t size : {int64_t{0}, int64_t{1}, int64_t{640}, int64_t{4096}, int64_t{1} << 30,
                               int64_t{-1}, INT64_MAX, INT64_MAX - 4095, INT64_MIN, INT64_MIN + 1}) {
        TheHost().Set(image, "MappingBlockSize", size);
        EXPECT_EQ(Number(image, "MappingBlockSize"), 4096) << size;
        EXPECT_EQ(Number(image, "MappingRows"), 64) << size;
    }
    EXPECT_TRUE(TheHost().Get<bool>(image, "Valid"));
    EXPECT_FALSE(TheHost().Get<bool>(image, "IsMapping"));
    EXPECT_EQ(Number(image, "TotalSize"), 640);
    TheHost().Call(image, "FillRect(Value as integer)", 5);
    EXPECT_EQ(MemoryBlock(TheHost().Get<Ref>(image, "Memory")).Bytes()[9 * 64 + 9], 5);
}

TEST_F(Properties, MappingBlockSizeFollowsTheStoreUpToWhatIsAsked) {
    const int64_t rowSize = 1 << 20;
    const Ref image = TheHost().Construct("PictureTRV", rowSize, 40, Constant("ImageFormatG"));
    for (const auto& [size, expected] : {std::pair<int64_t, int64_t>{0, 16 << 20},
                                         {20 << 20, 20 << 20},
                                         {(20 << 20) + 4095, 20 << 20},
                                         {100 << 20, 40 << 20}}) {
        TheHost().Set(image, "MappingBlockSize", size);
        EXPECT_EQ(Number(image, "MappingBlockSize"), expected) << size;
        EXPECT_EQ(Number(image, "MappingRows"), expected / rowSize) << size;
    }
}

TEST_F(Properties, MappingBlockSizeOfOddImagesIsHarmless) {
    const Ref unconstructed = TheHost().New("PictureTRV");
    const MemoryBlock block = TheHost().NewMemoryBlock(1000);
    std::vector<Ref> images = {unconstructed};
    for (const int64_t rowSize : {int64_t{0}, int64_t{1}, int64_t{-10}, int64_t{7}, INT64_MAX, INT64_MIN})
        images.push_back(TheHost().Construct("PictureTRV", block, 10, 1, Constant("ImageFormatG"), rowSize));
    const Ref closed = NewImage(10, 10, "ImageFormatG");
    TheHost().Call(closed, "Close");
    images.push_back(closed);
    for (const Ref& image : images) {
        for (const int64_t size : {int64_t{0}, int64_t{1} << 40, INT64_MAX, INT64_MIN}) {
            TheHost().Set(image, "MappingBlockSize", size);
            EXPECT_GE(Number(image, "MappingRows"), 0) << Number(image, "RowSize");
        }
    }
}

// The host's own properties of an image ---

TEST_F(Properties, TheHostWritesThreeFieldsItself) {
    const Ref image = NewImage(10, 10, "ImageFormatG");
    EXPECT_EQ(Number(image, "YieldTicks"), 0);
    for (const int64_t ticks : {int64_t{6}, int64_t{-100}, INT64_MAX, INT64_MIN, int64_t{0}}) {
        TheHost().Set(image, "YieldTicks", ticks);
        EXPECT_EQ(Number(image, "YieldTicks"), ticks);
    }
    EXPECT_FALSE(TheHost().Get<bool>(image, "DebugPictureEnabled"));
    TheHost().Set(image, "DebugPictureEnabled", true);
    EXPECT_TRUE(TheHost().Get<bool>(image, "DebugPictureEnabled"));
    const Ref factory = TheHost().NewPlainFactory();
    TheHost().Set(image, "Factory", factory);
    EXPECT_TRUE(TheHost().Get<Ref>(image, "Factory") == factory);
    TheHost().Set(image, "Factory", nullptr);
    EXPECT_FALSE(TheHost().Get<Ref>(image, "Factory"));
    EXPECT_EQ(factory.References(), 1);
}

TEST_F(Properties, TheDebugPictureIsNilUnlessEnabled) {
    const Ref image = NewImage(10, 10, "ImageFormatRGB");
    EXPECT_FALSE(TheHost().Get<Ref>(image, "DebugPicture"));
    const Ref unconstructed = TheHost().New("PictureTRV");
    EXPECT_FALSE(TheHost().Get<Ref>(unconstructed, "DebugPicture"));
    TheHost().Set(unconstructed, "DebugPictureEnabled", true);
    EXPECT_FALSE(TheHost().Get<Ref>(unconstructed, "DebugPicture"));
}

TEST_F(Properties, AnUnconstructedImageIsAllZeros) {
    const Ref image = TheHost().New("PictureTRV");
    const trvhost::ClassDefinition& definition = TheHost().Class("PictureTRV");
    for (int64_t i = 0; i < definition.propertyCount; ++i) {
        const std::string name = definition.properties[i].name;
        const trvhost::Value value = TheHost().GetProperty(image, name);
        if (value.IsInt()) {
            EXPECT_EQ(value.ToInt(), 0) << name;
        } else if (value.IsBool()) {
            EXPECT_FALSE(value.ToBool()) << name;
        } else if (name == "ImageFormatString") {
            EXPECT_EQ(value.ToText(), "Unknown");
        } else {
            EXPECT_FALSE(value.ToThing()) << name;
        }
    }
}

}  // namespace
}  // namespace trvtest
