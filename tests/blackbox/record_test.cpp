// The format table, row by row, as images report it.

#include <array>
#include <map>
#include <sstream>

#include "plugin_test.h"

namespace trvtest {
namespace {

/// One row of the table: the bytes of a pixel, the entries of the channel order, where each channel lies, and
/// what the format is called.
struct ExpectedFormat {
    int64_t code;
    int64_t pixelSize;
    int64_t channelCount;
    const char* offsets;
    std::vector<int64_t> order;
    const char* family;
    const char* text;
};

const std::vector<ExpectedFormat> kTable = {
    {1, 3, 3, "Red0 Green1 Blue2", {0, 1, 2}, "IsRGB", "RGB"},
    {2, 4, 4, "Red0 Green1 Blue2 Alpha3", {0, 1, 2, 3}, "IsRGB", "RGBA"},
    {3, 4, 3, "Red0 Green1 Blue2", {0, 1, 2}, "IsRGB", "RGBX"},
    {4, 4, 4, "Alpha0 Red1 Green2 Blue3", {0, 1, 2, 3}, "IsRGB", "ARGB"},
    {5, 4, 3, "Red1 Green2 Blue3", {1, 2, 3}, "IsRGB", "XRGB"},
    {6, 3, 3, "Blue0 Green1 Red2", {0, 1, 2}, "IsRGB", "BGR"},
    {7, 4, 4, "Blue0 Green1 Red2 Alpha3", {0, 1, 2, 3}, "IsRGB", "BGRA"},
    {8, 4, 3, "Blue0 Green1 Red2", {0, 1, 2}, "IsRGB", "BGRX"},
    {9, 4, 4, "Alpha0 Blue1 Green2 Red3", {0, 1, 2, 3}, "IsRGB", "ABGR"},
    {10, 4, 3, "Blue1 Green2 Red3", {1, 2, 3}, "IsRGB", "XBGR"},
    {11, 1, 1, "Gray0", {0}, "IsGray", "G"},
    {12, 2, 2, "Gray0 Alpha1", {0, 1}, "IsGray", "GA"},
    {13, 2, 2, "Alpha0 Gray1", {0, 1}, "IsGray", "AG"},
    {15, 3, 1, "Gray0", {0}, "IsGray", nullptr},
    {16, 3, 1, "Gray1", {1}, "IsGray", nullptr},
    {17, 3, 1, "Gray2", {2}, "IsGray", nullptr},
    {18, 4, 1, "Gray0", {0}, "IsGray", nullptr},
    {19, 4, 1, "Gray1", {1}, "IsGray", nullptr},
    {20, 4, 1, "Gray2", {2}, "IsGray", nullptr},
    {21, 4, 1, "Gray3", {3}, "IsGray", nullptr},
    {22, 1, 0, "", {}, "", nullptr},
    {23, 4, 4, "Cyan0 Magenta1 Yellow2 Black3", {0, 1, 2, 3}, "IsCMYK", "CMYK"},
    {24, 5, 5, "Cyan0 Magenta1 Yellow2 Black3 Alpha4", {0, 1, 2, 3, 4}, "IsCMYK", "CMYKA"},
    {25, 5, 5, "Alpha0 Cyan1 Magenta2 Yellow3 Black4", {0, 1, 2, 3, 4}, "IsCMYK", "ACMYK"},
    {26, 5, 4, "Cyan0 Magenta1 Yellow2 Black3", {0, 1, 2, 3}, "IsCMYK", "CMYKX"},
    {27, 5, 4, "Cyan1 Magenta2 Yellow3 Black4", {1, 2, 3, 4}, "IsCMYK", "XCMYK"},
    {28, 4, 4, "Black0 Yellow1 Magenta2 Cyan3", {0, 1, 2, 3}, "IsCMYK", "KYMC"},
    {29, 5, 5, "Black0 Yellow1 Magenta2 Cyan3 Alpha4", {0, 1, 2, 3, 4}, "IsCMYK", "KYMCA"},
    {30, 5, 5, "Alpha0 Black1 Yellow2 Magenta3 Cyan4", {0, 1, 2, 3, 4}, "IsCMYK", "AKYMC"},
    {31, 5, 4, "Black0 Yellow1 Magenta2 Cyan3", {0, 1, 2, 3}, "IsCMYK", "KYMCX"},
    {32, 5, 4, "Black1 Yellow2 Magenta3 Cyan4", {1, 2, 3, 4}, "IsCMYK", "XKYMC"},
    {33, 1, 0, "", {}, "", "Scaling"},
    {34, 2, 0, "", {}, "", "Scaling"},
    {35, 3, 0, "", {}, "", "Scaling"},
    {36, 4, 0, "", {}, "", "Scaling"},
    {37, 5, 0, "", {}, "", "Scaling"},
    {38, 6, 0, "", {}, "", "Scaling"},
    {39, 7, 0, "", {}, "", "Scaling"},
    {40, 8, 0, "", {}, "", "Scaling"},
    {41, 2, 1, "Gray0", {0}, "IsGray", "G16"},
    {42, 2, 2, "Gray0", {0, 1}, "IsGray", "GG"},
    {43, 3, 3, "Gray0", {0, 1, 2}, "IsGray", "GGG"},
    {44, 4, 4, "Gray0", {0, 1, 2, 3}, "IsGray", "GGGG"},
    {45, 5, 5, "Gray0", {0, 1, 2, 3, 4}, "IsGray", "GGGGG"},
    {46, 6, 6, "Gray0", {0, 1, 2, 3, 4, 5}, "IsGray", "GGGGGG"},
    {47, 7, 7, "Gray0", {0, 1, 2, 3, 4, 5, 6}, "IsGray", "GGGGGGG"},
    {48, 8, 8, "Gray0", {0, 1, 2, 3, 4, 5, 6, 7}, "IsGray", "GGGGGGGG"},
};

constexpr std::array kChannels = {"Red",  "Green",   "Blue",   "Gray", "Alpha",
                                  "Cyan", "Magenta", "Yellow", "Black"};

class Record : public PluginTest {
  protected:
    [[nodiscard]] int64_t Number(const Ref& image, const std::string& name) const {
        return TheHost().Get<int64_t>(image, name);
    }
    [[nodiscard]] bool Flag(const Ref& image, const std::string& name) const {
        return TheHost().Get<bool>(image, name);
    }

    /// Compares all that an image says of its layout with a row of the table.
    void ExpectLayout(const Ref& image, const ExpectedFormat& expected) const {
        SCOPED_TRACE("format " + std::to_string(expected.code));
        std::map<std::string, int64_t> offsets;
        std::istringstream words(expected.offsets);
        for (std::string word; words >> word;)
            offsets[word.substr(0, word.size() - 1)] = word.back() - '0';
        for (const std::string channel : kChannels) {
            EXPECT_EQ(Flag(image, "Has" + channel), offsets.contains(channel)) << channel;
            EXPECT_EQ(Number(image, channel + "Offset"), offsets.contains(channel) ? offsets[channel] : 0)
                << channel;
        }
        EXPECT_EQ(Number(image, "ImageFormat"), expected.code);
        EXPECT_EQ(Number(image, "PixelSize"), expected.pixelSize);
        EXPECT_EQ(Number(image, "BitsPerComponent"), expected.code == 41 ? 16 : 8);
        EXPECT_EQ(Number(image, "ChannelCount"), expected.channelCount);
        for (const std::string family : {"IsRGB", "IsGray", "IsCMYK"})
            EXPECT_EQ(Flag(image, family), family == expected.family) << family;
        ExpectOrder(image, expected);
        ExpectText(image, expected.text);
    }

    void ExpectOrder(const Ref& image, const ExpectedFormat& expected) const {
        ASSERT_EQ(expected.order.size(), static_cast<size_t>(expected.channelCount));
        for (size_t i = 0; i < expected.order.size(); ++i)
            EXPECT_EQ(TheHost().Call(image, "ChannelOffset", static_cast<int64_t>(i)).ToInt(),
                      expected.order[i])
                << i;
    }

    void ExpectText(const Ref& image, const char* text) const {
        const trvhost::String found(TheHost().Get<Ref>(image, "ImageFormatString"));
        ASSERT_EQ(static_cast<bool>(found), text != nullptr);
        if (text == nullptr) return;
        EXPECT_EQ(found.Bytes(), text);
        EXPECT_EQ(found.Encoding(), trvhost::kEncodingAscii);
    }
};

TEST_F(Record, EveryFormatIsItsRowOfTheTable) {
    ASSERT_EQ(kTable.size(), 47U);
    for (const ExpectedFormat& expected : kTable) {
        const Ref image = TheHost().Construct("PictureTRV", 37, 5, expected.code);
        ASSERT_TRUE(Flag(image, "Valid")) << expected.code;
        ExpectLayout(image, expected);
        const int64_t rowSize = (37 * expected.pixelSize + 63) / 64 * 64;
        EXPECT_EQ(Number(image, "Width"), 37);
        EXPECT_EQ(Number(image, "Height"), 5);
        EXPECT_EQ(Number(image, "UnclippedHeight"), 5);
        EXPECT_EQ(Number(image, "RowSize"), rowSize);
        EXPECT_EQ(Number(image, "RowOffset"), 0);
        EXPECT_EQ(Number(image, "TotalSize"), rowSize * 5);
        EXPECT_EQ(Number(image, "MappingRows"), 5);
        EXPECT_FALSE(Flag(image, "IsMapping"));
        const trvhost::MemoryBlock block(TheHost().Get<Ref>(image, "MemoryTarget"));
        EXPECT_EQ(block.Size(), rowSize * 5);
    }
}

TEST_F(Record, OverMemoryEveryFormatIsTheSame) {
    for (const ExpectedFormat& expected : kTable) {
        const trvhost::MemoryBlock block = TheHost().NewMemoryBlock(1000);
        const Ref image = TheHost().Construct("PictureTRV", block, 3, 4, expected.code, 57);
        ASSERT_TRUE(Flag(image, "Valid")) << expected.code;
        ExpectLayout(image, expected);
        EXPECT_EQ(Number(image, "RowSize"), 57) << "the caller's, unchanged";
        EXPECT_EQ(Number(image, "TotalSize"), 57 * 4);
        EXPECT_EQ(Number(image, "MappingRows"), 4);
    }
}

TEST_F(Record, AnObjectTakesEachFormatInTurn) {
    // Nothing of a format may be left when the same object is constructed again with another one.
    const Ref image = TheHost().New("PictureTRV");
    const auto constructor = TheHost().Method<void(int64_t, int64_t, int64_t)>("PictureTRV",
                                                                               "Constructor(width as "
                                                                               "integer, height as integer, "
                                                                               "ImageFormat as integer)");
    for (const int step : {1, 5, 11, 46}) {
        for (size_t i = 0; i < kTable.size(); ++i) {
            const ExpectedFormat& expected = kTable[i * static_cast<size_t>(step) % kTable.size()];
            constructor(image, 2, 2, expected.code);
            ExpectLayout(image, expected);
        }
    }
}

TEST_F(Record, CodesThatAreNoFormatGiveNoImage) {
    for (const int64_t code : {int64_t{0}, int64_t{14}, int64_t{49}, int64_t{50}, int64_t{-1},
                               int64_t{256 + 1}, (int64_t{1} << 32) + 1, INT64_MAX, INT64_MIN}) {
        const Ref image = TheHost().Construct("PictureTRV", 10, 11, code);
        EXPECT_FALSE(Flag(image, "Valid")) << code;
        EXPECT_FALSE(TheHost().HasException()) << code;
        // The object tells what was asked for, and that it has no layout.
        EXPECT_EQ(Number(image, "Width"), 10) << code;
        EXPECT_EQ(Number(image, "Height"), 11) << code;
        EXPECT_EQ(Number(image, "UnclippedHeight"), 11) << code;
        EXPECT_EQ(Number(image, "ImageFormat"), code);
        EXPECT_EQ(Number(image, "BitsPerComponent"), 8) << code;
        EXPECT_EQ(Number(image, "PixelSize"), 0) << code;
        EXPECT_EQ(Number(image, "RowSize"), 0) << code;
        EXPECT_EQ(Number(image, "ChannelCount"), 0) << code;
        EXPECT_EQ(TheHost().CallShared("PictureTRV", "CalculateMemory", 10, 10, code).ToInt(), 0) << code;
    }
}

TEST_F(Record, SizesBelowOneGiveNoImage) {
    for (const auto& [width, height] : {std::pair<int64_t, int64_t>{0, 10},
                                        {10, 0},
                                        {0, 0},
                                        {-1, 10},
                                        {10, -1},
                                        {INT64_MIN, 1},
                                        {1, INT64_MIN}}) {
        const Ref image = TheHost().Construct("PictureTRV", width, height, Constant("ImageFormatRGB"));
        EXPECT_FALSE(Flag(image, "Valid"));
        EXPECT_FALSE(TheHost().HasException());
        EXPECT_EQ(Number(image, "Width"), 0);
        EXPECT_EQ(Number(image, "Height"), 0);
    }
}

TEST_F(Record, SomeThatAreEasilyTakenForOthers) {
    const Ref xrgb = NewImage(3, 3, "ImageFormatXRGB");
    EXPECT_EQ(Number(xrgb, "ChannelCount"), 3);
    EXPECT_EQ(Number(xrgb, "PixelSize"), 4);
    EXPECT_EQ(TheHost().Call(xrgb, "ChannelOffset", 0).ToInt(), 1);
    const Ref cmykx = NewImage(3, 3, "ImageFormatCMYKX");
    EXPECT_EQ(Number(cmykx, "PixelSize"), 5);
    EXPECT_EQ(Number(cmykx, "ChannelCount"), 4);
    const Ref oneOfThree = NewImage(3, 3, "ImageFormat1of3");
    EXPECT_FALSE(TheHost().Get<Ref>(oneOfThree, "ImageFormatString"));
    EXPECT_EQ(Number(oneOfThree, "ChannelCount"), 1);
}

TEST_F(Record, AViewsOffsetsHoldItsColumn) {
    const Ref image = NewImage(40, 40, "ImageFormatRGBA");
    const Ref view = TheHost().Call(image, "ClipImage", 10, 7, 20, 20).ToThing();
    ASSERT_TRUE(view);
    EXPECT_EQ(Number(view, "RedOffset"), 40);
    EXPECT_EQ(Number(view, "AlphaOffset"), 43);
    EXPECT_EQ(Number(view, "RowOffset"), 7);
    EXPECT_EQ(Number(view, "RowSize"), Number(image, "RowSize"));
    EXPECT_TRUE(TheHost().Get<Ref>(view, "Parent") == image);
}

}  // namespace
}  // namespace trvtest
