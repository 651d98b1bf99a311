// Views from outside: what they are and what they hold. What operations do with their pixels is in
// views_pixels_test.cpp.

#include <gmock/gmock.h>
#include <map>

#include "mapped_test.h"

namespace trvtest {
namespace {

using testing::ElementsAre;
using trvhost::ExceptionInfo;

using Texts = std::vector<std::string>;

/// The names by format, as users know them.
Texts NamesOf(int64_t format) {
    static const std::map<int64_t, Texts> names = [] {
        std::map<int64_t, Texts> byFormat;
        const auto add = [&](std::initializer_list<int64_t> formats, const Texts& texts) {
            for (const int64_t code : formats)
                byFormat[code] = texts;
        };
        add({1, 3, 5}, {"Red", "Green", "Blue"});
        add({2}, {"Red", "Green", "Blue", "Alpha"});
        add({4}, {"Alpha", "Red", "Green", "Blue"});
        add({6, 8, 10}, {"Blue", "Green", "Red"});
        add({7}, {"Blue", "Green", "Red", "Alpha"});
        add({9}, {"Alpha", "Blue", "Green", "Red"});
        add({11, 41}, {"Gray"});
        add({12}, {"Gray", "Alpha"});
        add({13}, {"Alpha", "Gray"});
        add({23, 26, 27}, {"Cyan", "Magenta", "Yellow", "Black"});
        add({24}, {"Cyan", "Magenta", "Yellow", "Black", "Alpha"});
        add({25}, {"Alpha", "Cyan", "Magenta", "Yellow", "Black"});
        add({28, 31, 32}, {"Black", "Yellow", "Magenta", "Cyan"});
        add({29}, {"Black", "Yellow", "Magenta", "Cyan", "Alpha"});
        add({30}, {"Alpha", "Black", "Yellow", "Magenta", "Cyan"});
        Texts planes = {"Gray"};
        for (int64_t code = 42; code <= 48; ++code) {
            planes.push_back("Gray" + std::to_string(planes.size() + 1));
            add({code}, planes);
        }
        return byFormat;
    }();
    const auto found = names.find(format);
    return found == names.end() ? Texts() : found->second;
}

constexpr const char* kChannels[] = {"Red",  "Green",   "Blue",   "Gray", "Alpha",
                                     "Cyan", "Magenta", "Yellow", "Black"};

class Views : public MappedTest {
  protected:
    [[nodiscard]] Ref NewOfFormat(int64_t format, int64_t width = 20, int64_t height = 20) const {
        return TheHost().Construct("PictureTRV", width, height, format);
    }
    [[nodiscard]] Ref View(const Ref& of, const std::string& method) const {
        return TheHost().Call(of, method).ToThing();
    }
    [[nodiscard]] Ref Clip(const Ref& of, int64_t x, int64_t y, int64_t width, int64_t height) const {
        return TheHost().Call(of, "ClipImage", x, y, width, height).ToThing();
    }
    [[nodiscard]] std::string Text(const Ref& image, std::string_view property) const {
        return TheHost().Get<std::string>(image, property);
    }
    [[nodiscard]] Ref Thing(const Ref& image, std::string_view property) const {
        return TheHost().Get<Ref>(image, property);
    }
    [[nodiscard]] std::vector<int64_t> OffsetsOf(const Ref& image) const {
        std::vector<int64_t> offsets;
        for (int64_t i = 0; i < Number(image, "ChannelCount"); ++i)
            offsets.push_back(TheHost().Call(image, "ChannelOffset", i).ToInt());
        return offsets;
    }

    /// What every view takes over from the image that it shows.
    void ExpectViewOf(const Ref& view, const Ref& parent) const {
        ASSERT_TRUE(view);
        EXPECT_EQ(view.ClassName(), "PictureTRV");
        EXPECT_EQ(Thing(view, "Parent"), parent);
        EXPECT_EQ(Thing(view, "Target"), Thing(parent, "Target"));
        for (const char* property : {"RowSize", "PixelSize", "TotalSize", "UnclippedHeight"})
            EXPECT_EQ(Number(view, property), Number(parent, property)) << property;
        for (const char* property : {"Valid", "IsMapping"})
            EXPECT_EQ(Flag(view, property), Flag(parent, property)) << property;
    }
    void ExpectSameSize(const Ref& view, const Ref& parent) const {
        for (const char* property : {"Width", "Height", "RowOffset"})
            EXPECT_EQ(Number(view, property), Number(parent, property)) << property;
    }
    void ExpectGray(const Ref& view, int64_t offset, const std::string& name) const {
        EXPECT_TRUE(Flag(view, "IsGray"));
        EXPECT_TRUE(Flag(view, "HasGray"));
        for (const char* property : {"IsRGB", "IsCMYK", "HasRed", "HasAlpha", "HasCyan"})
            EXPECT_FALSE(Flag(view, property)) << property;
        EXPECT_EQ(Number(view, "GrayOffset"), offset);
        EXPECT_THAT(OffsetsOf(view), ElementsAre(offset));
        EXPECT_EQ(Text(view, "Channel"), name);
    }
    void ExpectRangeError(const std::string& method, const std::string& complaint, int64_t low, int64_t high,
                          int64_t value, const std::string& parameter = "index") const {
        EXPECT_EQ(TheHost().TakeException(),
                  (ExceptionInfo{"OutOfBoundsException",
                                 "The parameter " + parameter + " to method " + method + " is too " +
                                     complaint + ". Range is " + std::to_string(low) + " to " +
                                     std::to_string(high) + ", but value is " + std::to_string(value) + ".",
                                 0}));
    }
};

TEST_F(Views, NameTheChannelsOfEachFormat) {
    for (int64_t format = 1; format <= 48; ++format) {
        if (format == 14) continue;
        const Ref image = NewOfFormat(format);
        const auto names = TheHost().Call(image, "Channels").As<trvhost::Array>();
        EXPECT_EQ(names.Kind(), trvhost::ElementKind::String);
        EXPECT_EQ(names.Texts(), NamesOf(format)) << format;
        for (int64_t i = 0; i <= names.Ubound(); ++i)
            EXPECT_EQ(names.At(i).As<trvhost::String>().Encoding(), 1536);
    }
    EXPECT_EQ(TheHost().Call(TheHost().New("PictureTRV"), "Channels").As<trvhost::Array>().Ubound(), -1);
}

TEST_F(Views, ShowAChannelByItsPlace) {
    for (int64_t format = 1; format <= 48; ++format) {
        if (format == 14) continue;
        const Ref image = NewOfFormat(format);
        const Texts names = NamesOf(format);
        for (int64_t i = 0; i < Number(image, "ChannelCount"); ++i) {
            const Ref view = TheHost().Call(image, "Channel", i).ToThing();
            ExpectViewOf(view, image);
            ExpectSameSize(view, image);
            const auto position = static_cast<size_t>(i);
            ExpectGray(view, TheHost().Call(image, "ChannelOffset", i).ToInt(),
                       position < names.size() ? names[position] : "");
            EXPECT_EQ(Number(view, "ImageFormat"), format == 41 ? 41 : 11);
            EXPECT_EQ(Number(view, "BitsPerComponent"), format == 41 ? 16 : 8);
        }
    }
}

TEST_F(Views, ShowAChannelByItsName) {
    for (int64_t format = 1; format <= 48; ++format) {
        if (format == 14) continue;
        const Ref image = NewOfFormat(format);
        for (const std::string name : kChannels) {
            const Ref view = View(image, name + "Channel");
            EXPECT_EQ(static_cast<bool>(view), Flag(image, "Has" + name)) << format << " " << name;
            if (!view) continue;
            ExpectViewOf(view, image);
            ExpectSameSize(view, image);
            ExpectGray(view, Number(image, name + "Offset"), name);
            const auto text = TheHost().Get<trvhost::String>(view, "Channel");
            EXPECT_EQ(text.Encoding(), 1536);
        }
    }
}

TEST_F(Views, OfAGrayImageShowItself) {
    const Ref image = NewImage(20, 20, "ImageFormatG");
    EXPECT_FALSE(View(image, "RedChannel"));
    const Ref view = View(image, "GrayChannel");
    EXPECT_EQ(Number(view, "PixelSize"), 1);
    EXPECT_EQ(Number(view, "ImageFormat"), 11);
}

TEST_F(Views, OfPlacesThatAreNotThereRaise) {
    const Ref image = NewImage(20, 20, "ImageFormatRGB");
    for (const int64_t index : {int64_t{3}, INT64_MAX}) {
        EXPECT_FALSE(TheHost().Call(image, "Channel", index).ToThing());
        ExpectRangeError("Channel", "big", 0, 2, index);
        EXPECT_EQ(TheHost().Call(image, "ChannelOffset", index).ToInt(), 0);
        ExpectRangeError("ChannelOffset", "big", 0, 2, index);
    }
    for (const int64_t index : {int64_t{-1}, INT64_MIN}) {
        EXPECT_FALSE(TheHost().Call(image, "Channel", index).ToThing());
        ExpectRangeError("Channel", "small", 0, 2, index);
        EXPECT_EQ(TheHost().Call(image, "ChannelOffset", index).ToInt(), 0);
        ExpectRangeError("ChannelOffset", "small", 0, 2, index);
    }
    EXPECT_FALSE(TheHost().Call(NewImage(5, 5, "ImageFormatBuffer"), "Channel", 0).ToThing());
    ExpectRangeError("Channel", "big", 0, -1, 0);
    EXPECT_FALSE(TheHost().Call(TheHost().New("PictureTRV"), "Channel", 0).ToThing());
    ExpectRangeError("Channel", "big", 0, -1, 0);
    EXPECT_EQ(Text(TheHost().Call(NewImage(5, 5, "ImageFormatARGB"), "Channel", 0).ToThing(), "Channel"),
              "Alpha");
}

TEST_F(Views, TellOffsetsInStorageOrder) {
    EXPECT_THAT(OffsetsOf(NewImage(5, 5, "ImageFormatXRGB")), ElementsAre(1, 2, 3));
    EXPECT_THAT(OffsetsOf(NewImage(5, 5, "ImageFormatABGR")), ElementsAre(0, 1, 2, 3));
    EXPECT_THAT(OffsetsOf(NewImage(5, 5, "ImageFormatXKYMC")), ElementsAre(1, 2, 3, 4));
    EXPECT_THAT(OffsetsOf(NewImage(5, 5, "ImageFormat4of4")), ElementsAre(3));
    EXPECT_THAT(OffsetsOf(NewImage(5, 5, "ImageFormatG5")), ElementsAre(0, 1, 2, 3, 4));
}

TEST_F(Views, ShowTheColoursWithoutAlpha) {
    for (int64_t format = 1; format <= 48; ++format) {
        if (format == 14) continue;
        const Ref image = NewOfFormat(format);
        const bool rgb = format <= 10, cmyk = format >= 23 && format <= 32;
        const Ref colours = View(image, "RGBChannels"), inks = View(image, "CMYKChannels");
        ASSERT_EQ(static_cast<bool>(colours), rgb) << format;
        ASSERT_EQ(static_cast<bool>(inks), cmyk) << format;
        if (!rgb && !cmyk) continue;
        const Ref& view = rgb ? colours : inks;
        ExpectViewOf(view, image);
        ExpectSameSize(view, image);
        EXPECT_EQ(Flag(view, "IsRGB"), rgb);
        EXPECT_EQ(Flag(view, "IsCMYK"), cmyk);
        EXPECT_FALSE(Flag(view, "IsGray"));
        EXPECT_EQ(Number(view, "BitsPerComponent"), 8);
        EXPECT_EQ(Text(view, "Channel"), "");
        Texts order = rgb ? Texts{"Red", "Green", "Blue"} : Texts{"Cyan", "Magenta", "Yellow", "Black"};
        std::vector<int64_t> offsets;
        for (const std::string& name : order) {
            EXPECT_FALSE(Flag(view, "Has" + name)) << "the flags stay unset";
            EXPECT_EQ(Number(view, name + "Offset"), Number(image, name + "Offset"));
            offsets.push_back(Number(image, name + "Offset"));
        }
        EXPECT_FALSE(Flag(view, "HasAlpha"));
        const bool backward = (format >= 6 && format <= 10) || format >= 28;
        if (backward) std::reverse(offsets.begin(), offsets.end());
        EXPECT_EQ(OffsetsOf(view), offsets) << format;
        EXPECT_EQ(Number(view, "ImageFormat"), (rgb ? 1 : 23) + (backward ? 5 : 0));
    }
    const Ref view = View(NewImage(5, 5, "ImageFormatRGBA"), "RGBChannels");
    EXPECT_EQ(Number(view, "ChannelCount"), 3);
    EXPECT_EQ(Number(view, "PixelSize"), 4);
}

TEST_F(Views, ShowARectangle) {
    for (int64_t format = 1; format <= 48; ++format) {
        if (format == 14) continue;
        const Ref image = NewOfFormat(format, 50, 40);
        const Ref view = Clip(image, 10, 12, 20, 21);
        ExpectViewOf(view, image);
        EXPECT_EQ(Number(view, "Width"), 20);
        EXPECT_EQ(Number(view, "Height"), 21);
        EXPECT_EQ(Number(view, "RowOffset"), 12);
        for (const char* property : {"ImageFormat", "BitsPerComponent", "ChannelCount"})
            EXPECT_EQ(Number(view, property), Number(image, property)) << property;
        for (const char* property : {"IsGray", "IsRGB", "IsCMYK"})
            EXPECT_EQ(Flag(view, property), Flag(image, property)) << property;
        for (const std::string name : kChannels) {
            const bool has = Flag(image, "Has" + name);
            EXPECT_EQ(Flag(view, "Has" + name), has);
            const int64_t moved = Number(image, name + "Offset") + 10 * Number(image, "PixelSize");
            EXPECT_EQ(Number(view, name + "Offset"), has ? moved : 0) << format << " " << name;
        }
        EXPECT_EQ(OffsetsOf(view), OffsetsOf(image)) << "those by place do not move";
        EXPECT_EQ(Thing(view, "MemoryTarget"), Thing(image, "MemoryTarget"));
    }
}

TEST_F(Views, ClippedToAColumnDifferByNameAndByPlace) {
    const Ref view = Clip(NewImage(50, 50, "ImageFormatRGBA"), 10, 10, 20, 20);
    EXPECT_EQ(Number(view, "RedOffset"), 40);
    EXPECT_EQ(Number(View(view, "RedChannel"), "GrayOffset"), 40);
    EXPECT_EQ(Number(TheHost().Call(view, "Channel", 0).ToThing(), "GrayOffset"), 0);
    // The range of an offset ends with a pixel, so it cannot be moved back to where it is.
    TheHost().Set(view, "RedOffset", 40);
    ExpectRangeError("RedOffset", "big", 0, 3, 40, "value");
    EXPECT_EQ(Number(view, "RedOffset"), 40);
}

TEST_F(Views, OffsetsCanBeMovedWithinAPixel) {
    const Ref image = NewImage(50, 50, "ImageFormatRGB");
    TheHost().Set(image, "RedOffset", 3);
    ExpectRangeError("RedOffset", "big", 0, 2, 3, "value");
    TheHost().Set(image, "RedOffset", 2);
    EXPECT_EQ(Number(image, "RedOffset"), 2);
    EXPECT_THAT(OffsetsOf(image), ElementsAre(0, 1, 2));
    EXPECT_EQ(Number(View(image, "RedChannel"), "GrayOffset"), 2);
    EXPECT_THAT(OffsetsOf(View(image, "RGBChannels")), ElementsAre(2, 1, 2));
    TheHost().Set(image, "AlphaOffset", 1);
    EXPECT_FALSE(View(image, "AlphaChannel")) << "an offset makes no channel";
    TheHost().Set(image, "BlueOffset", -1);
    ExpectRangeError("BlueOffset", "small", 0, 2, -1, "value");
}

TEST_F(Views, OfViewsAddUp) {
    const Ref image = NewImage(100, 100, "ImageFormatRGB");
    const Ref outer = Clip(image, 10, 20, 50, 60);
    const Ref inner = Clip(outer, 5, 7, 100, 100);
    EXPECT_EQ(Number(inner, "RowOffset"), 27);
    EXPECT_EQ(Number(inner, "RedOffset"), 45);
    EXPECT_EQ(Number(inner, "Width"), 45);
    EXPECT_EQ(Number(inner, "Height"), 53);
    EXPECT_EQ(Number(inner, "UnclippedHeight"), 100);
    EXPECT_EQ(Thing(inner, "Parent"), outer);
    const Ref blue = View(inner, "BlueChannel");
    EXPECT_EQ(Number(blue, "RowOffset"), 27);
    EXPECT_EQ(Number(blue, "GrayOffset"), 47);
    EXPECT_EQ(Text(View(blue, "ClipImage"), "Channel"), "");
}

TEST_F(Views, OfNoRectangleShowEverything) {
    const Ref image = NewImage(33, 44, "ImageFormatKYMCA");
    const Ref view = View(image, "ClipImage");
    ExpectViewOf(view, image);
    ExpectSameSize(view, image);
    const Ref mirror = View(image, "MirroredView");
    ExpectViewOf(mirror, image);
    ExpectSameSize(mirror, image);
}

TEST_F(Views, AreClippedToTheImage) {
    const Ref image = NewImage(20, 30, "ImageFormatRGB");
    const auto size = [&](int64_t x, int64_t y, int64_t width, int64_t height) {
        const Ref view = Clip(image, x, y, width, height);
        return std::tuple(Number(view, "Width"), Number(view, "Height"), Number(view, "RowOffset"),
                          Number(view, "RedOffset"));
    };
    EXPECT_EQ(size(-5, -5, 10, 10), std::tuple(5, 5, 0, 0));
    EXPECT_EQ(size(15, 25, 10, 10), std::tuple(5, 5, 25, 45));
    EXPECT_EQ(size(10, 10, -4, -4), std::tuple(4, 4, 6, 18));
    EXPECT_EQ(size(25, 3, 4, 4), std::tuple(0, 4, 3, 75));
    EXPECT_EQ(size(-3, 3, 2, 4), std::tuple(-1, 4, 3, 0));
    EXPECT_EQ(size(3, -9, 2, 4), std::tuple(2, -5, 0, 9));
}

TEST_F(Views, OfAnUnconstructedImageAreInvalid) {
    const Ref nothing = TheHost().New("PictureTRV");
    EXPECT_FALSE(View(nothing, "RedChannel"));
    EXPECT_FALSE(View(nothing, "RGBChannels"));
    EXPECT_FALSE(View(nothing, "CMYKChannels"));
    for (const Ref& view : {View(nothing, "ClipImage"), View(nothing, "MirroredView")}) {
        ASSERT_TRUE(view);
        EXPECT_FALSE(Flag(view, "Valid"));
        EXPECT_EQ(Thing(view, "Parent"), nothing);
        TheHost().Call(view, "FillRect", 1);
        EXPECT_FALSE(TheHost().Call(view, "Clone").ToThing());
    }
}

TEST_F(Views, AreNilWhereTheHostMakesNoObject) {
    const Ref image = NewImage(20, 20, "ImageFormatRGBA");
    for (const std::string method : {"RedChannel", "RGBChannels", "ClipImage", "MirroredView"}) {
        TheHost().FailNewInstance(1);
        EXPECT_FALSE(View(image, method)) << method;
        EXPECT_TRUE(View(image, method));
    }
    TheHost().FailNewInstance(1);
    EXPECT_FALSE(TheHost().Call(image, "Channel", 0).ToThing());
    EXPECT_EQ(image.References(), 1);
}

TEST_F(Views, WithoutAStringHaveNoName) {
    const Ref image = NewImage(20, 20, "ImageFormatRGBA");
    TheHost().FailString(1);
    const Ref view = View(image, "RedChannel");
    ASSERT_TRUE(view);
    EXPECT_EQ(Text(view, "Channel"), "");
    TheHost().FailString(2);
    EXPECT_EQ(TheHost().Call(image, "Channels").As<trvhost::Array>().Texts(),
              (Texts{"Red", "", "Blue", "Alpha"}));
}

TEST_F(Views, HoldTheirParentAndItsMemory) {
    Ref image = NewImage(20, 20, "ImageFormatRGBA");
    const Ref block = Thing(image, "MemoryTarget");
    const int64_t before = block.References();
    {
        const Ref clip = Clip(image, 1, 1, 5, 5);
        EXPECT_EQ(image.References(), 2);
        EXPECT_EQ(block.References(), before + 1);
        EXPECT_EQ(Thing(clip, "MemoryTarget"), block);
        const Ref red = View(image, "RedChannel");
        EXPECT_EQ(image.References(), 3);
        EXPECT_FALSE(Thing(red, "MemoryTarget"));
        const Ref of = View(clip, "MirroredView");
        EXPECT_EQ(clip.References(), 2);
        EXPECT_EQ(image.References(), 3);
    }
    EXPECT_EQ(image.References(), 1);
    EXPECT_EQ(block.References(), before);
    Ref view = View(image, "GreenChannel");
    image.Reset();
    TheHost().Call(view, "FillRect", 77);
    EXPECT_EQ(static_cast<uint8_t>(trvhost::MemoryBlock(block).Data()[1]), 77) << "the view keeps it alive";
    EXPECT_EQ(Thing(view, "Parent").References(), 2);
    view.Reset();
    EXPECT_EQ(block.References(), before - 1);
}

TEST_F(Views, ShowTheirPixelsAsMemory) {
    const Ref image = NewImage(20, 20, "ImageFormatRGBA");
    const Ref block = Thing(image, "MemoryTarget");
    EXPECT_EQ(Thing(Clip(image, 1, 1, 5, 5), "Memory"), block);
    const auto memory = TheHost().Get<trvhost::MemoryBlock>(View(image, "RedChannel"), "Memory");
    EXPECT_FALSE(memory == block);
    EXPECT_EQ(memory.Data(), trvhost::MemoryBlock(block).Data());
    EXPECT_EQ(memory.Size(), -1);
}

TEST_F(Views, CanBeClonedIntoImages) {
    const MemoryImage image(TheHost(), 30, 20, Constant("ImageFormatRGBA"), 130);
    const Ref view = View(Clip(image, 10, 5, 7, 6), "MirroredView");
    const Ref clone = View(view, "Clone");
    ASSERT_TRUE(clone);
    EXPECT_FALSE(Thing(clone, "Parent"));
    EXPECT_EQ(Number(clone, "RowOffset"), 0);
    EXPECT_EQ(Number(clone, "UnclippedHeight"), 6);
    EXPECT_EQ(Number(clone, "RowSize"), 130);
    EXPECT_EQ(Number(clone, "RedOffset"), 40);
    EXPECT_EQ(Number(clone, "MappingRows"), -1);
    const auto* bytes =
        reinterpret_cast<const uint8_t*>(TheHost().Get<trvhost::MemoryBlock>(clone, "MemoryTarget").Data());
    for (int64_t y = 0; y < 6; ++y)
        EXPECT_EQ(std::memcmp(bytes + y * 130, image.Row(10 - y), 130), 0) << "mirrored in memory";
}

// Closing
// ---------------------------------------------------------------------------------------------------------

TEST_F(Views, OfAClosedImageHaveNoPixels) {
    const Ref image = NewImage(20, 20, "ImageFormatRGBA");
    TheHost().Call(image, "Close");
    for (const std::string method : {"RedChannel", "RGBChannels", "ClipImage", "MirroredView"}) {
        const Ref view = View(image, method);
        ASSERT_TRUE(view);
        EXPECT_TRUE(Flag(view, "Valid")) << "as the image's";
        EXPECT_FALSE(Thing(view, "Memory"));
        TheHost().Call(view, "FillRect", 1);
        TheHost().Call(view, "ClearRect");
        EXPECT_FALSE(TheHost().Call(view, "FillRectApply", 1, 2, 3, 4).ToBool());
        EXPECT_FALSE(View(view, "Clone"));
    }
}

TEST_F(Views, OfMemoryKeepTheirPixelsWhenTheImageIsClosed) {
    Ref image = NewImage(20, 20, "ImageFormatRGBA");
    trvhost::MemoryBlock block(Thing(image, "MemoryTarget"));
    const Ref red = View(image, "RedChannel"), colours = View(image, "RGBChannels"),
              clip = Clip(image, 2, 2, 5, 5), green = View(clip, "GreenChannel");
    TheHost().Call(image, "Close");
    image.Reset();
    TheHost().Call(red, "FillRect", 11);
    TheHost().Call(green, "FillRect", 12);
    TheHost().Call(clip, "FillRect", 0, 0, 1, 1, 13);
    TheHost().Call(clip, "Close");
    TheHost().Call(green, "FillRect", 1, 0, 1, 1, 14);
    TheHost().Call(colours, "FillRect", 10, 10, 1, 1, 15);
    const uint8_t* rows = block.Bytes().data();
    const auto pixel = [&](int64_t x, int64_t y) { return rows + y * 128 + x * 4; };
    EXPECT_EQ(*pixel(19, 19), 11);
    EXPECT_EQ(pixel(2, 2)[3], 13);
    EXPECT_EQ(pixel(3, 2)[1], 14);
    EXPECT_EQ(pixel(4, 3)[1], 12);
    EXPECT_EQ(pixel(10, 10)[2], 15);
    EXPECT_EQ(pixel(10, 10)[3], 0);
}

TEST_F(Views, OfMemoryKeepTheirPixelsWhenTheImageIsConstructedAgain) {
    const Ref image = NewImage(20, 20, "ImageFormatRGBA");
    const trvhost::MemoryBlock old(Thing(image, "MemoryTarget"));
    const Ref red = View(image, "RedChannel");
    TheHost().Call(image, "Constructor", 500, 500, Constant("ImageFormatG"));
    TheHost().Call(red, "FillRect", 11);
    EXPECT_EQ(static_cast<uint8_t>(old.Data()[0]), 11);
    EXPECT_EQ(static_cast<uint8_t>(trvhost::MemoryBlock(Thing(image, "MemoryTarget")).Data()[0]), 0);
}

TEST_F(Views, CloseWithoutTheirImage) {
    const Ref image = NewImage(20, 20, "ImageFormatRGBA");
    Ref view = View(image, "RedChannel");
    TheHost().Call(view, "Close");
    TheHost().Call(view, "Close");
    EXPECT_EQ(image.References(), 1);
    EXPECT_EQ(Text(view, "Channel"), "");
    EXPECT_FALSE(Thing(view, "Parent"));
    TheHost().Call(image, "FillRect", 5);
    EXPECT_EQ(static_cast<uint8_t>(trvhost::MemoryBlock(Thing(image, "MemoryTarget")).Data()[0]), 5);
}

/// Views of views, so deep that a stack which grew with them would not hold.
class DeepChain : public Views {
  protected:
    // Windows gives a stack of 2 MB; and there the test's host takes long for many objects under Wine.
#ifdef _WIN32
    static constexpr int64_t kDepth = 15400;
#else
    static constexpr int64_t kDepth = 100000;
#endif

    /// A view of a view of … `image`: clips of all of it, and in between some mirrored ones.
    [[nodiscard]] Ref ChainOver(const Ref& image, int64_t depth = kDepth) const {
        Ref view = image;
        for (int64_t i = 0; i < depth && view; ++i) {
            view = i % 7 == 3 ? View(view, "MirroredView")
                              : TheHost().Call(view, "ClipImage", 0, 0, 3, 2).ToThing();
        }
        return view;
    }
};

TEST_F(DeepChain, IsReadAndWrittenThrough) {
    const Ref image = NewImage(3, 2, "ImageFormatRGB");
    const Ref view = ChainOver(image);
    ASSERT_TRUE(view);
    ASSERT_EQ((kDepth + 3) / 7 % 2, 0) << "mirrored views, which turn the rows back";
    TheHost().Call(view, "FillRect", 2, 0, 1, 1, 7);
    const trvhost::MemoryBlock block(Thing(image, "MemoryTarget"));
    EXPECT_EQ(block.Bytes()[8], 7);
    const trvhost::MemoryBlock row(TheHost().Call(view, "Row", 0).ToThing());
    EXPECT_EQ(row.Bytes()[8], 7);
    EXPECT_EQ(TheHost().Call(view, "CompareImages", image).ToInt(), 6);  // pixels that are equal
}

TEST_F(DeepChain, EndsWhenTheLastViewIsDropped) {
    Ref image = NewImage(3, 2, "ImageFormatRGB");
    Ref view = ChainOver(image);
    ASSERT_TRUE(view);
    image.Reset();
    EXPECT_EQ(TheHost().Live().objects.at("PictureTRV"), kDepth + 1);
    view.Reset();
    EXPECT_FALSE(TheHost().Live().objects.contains("PictureTRV"));
}

TEST_F(DeepChain, EndsWhenTheLastViewIsClosedOrConstructedAgain) {
    Ref image = NewImage(3, 2, "ImageFormatRGB");
    const Ref closed = ChainOver(image);
    const Ref again = ChainOver(image);
    ASSERT_TRUE(closed && again);
    TheHost().Call(closed, "Close");
    TheHost().Call(again, "Constructor", 5, 5, Constant("ImageFormatG"));
    EXPECT_EQ(image.References(), 1);
    EXPECT_TRUE(TheHost().Get<bool>(again, "Valid"));
}

TEST_F(DeepChain, ThatIsHeldInTheMiddleStaysFromThere) {
    Ref image = NewImage(3, 2, "ImageFormatRGB");
    Ref middle = ChainOver(image, kDepth / 2);
    Ref view = ChainOver(middle, kDepth / 2);
    ASSERT_TRUE(view);
    view.Reset();
    image.Reset();
    EXPECT_EQ(middle.References(), 1);
    TheHost().Call(middle, "FillRect", 9);
    const trvhost::MemoryBlock row(TheHost().Call(middle, "Row", 1).ToThing());
    EXPECT_EQ(row.Bytes()[0], 9);
}

TEST_F(DeepChain, OfAMappedImageEndsToo) {
    Ref image = NewMapped(3, 2, "ImageFormatRGB", 65536, "file");
    Ref view = ChainOver(image, 2000);
    ASSERT_TRUE(view);
    image.Reset();
    view.Reset();
}

}  // namespace
}  // namespace trvtest
