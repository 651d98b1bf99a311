// Rows and whole images in any format, from outside, against a reference that goes channel by channel.

#include <array>

#include "image_sides.h"

namespace trvtest {
namespace {

using trvhost::ExceptionInfo;
using trvhost::MemoryBlock;
using trvhost::String;

/// One pixel from one side to the other; false for RGB with CMYK and for a side without family.
bool ConvertPixel(const Side& s, const uint8_t* source, const Side& d, uint8_t* dest, bool invertAlpha) {
    const auto from = [&](const char* name) { return source[s.at.at(name)]; };
    const auto to = [&](const char* name, int value) { dest[d.at.at(name)] = static_cast<uint8_t>(value); };
    const std::string pair{s.family, d.family};
    if (pair == "RR") {
        for (const char* colour : {"Red", "Green", "Blue"})
            to(colour, from(colour));
    } else if (pair == "RG") {
        to("Gray", Luma(from("Red"), from("Green"), from("Blue")));
    } else if (pair == "GR") {
        for (const char* colour : {"Red", "Green", "Blue"})
            to(colour, from("Gray"));
    } else if (pair == "GG") {
        to("Gray", from("Gray"));
    } else if (pair == "GC") {
        for (const char* ink : {"Cyan", "Magenta", "Yellow", "Black"})
            to(ink, from("Gray"));
    } else if (pair == "CG") {
        to("Gray", from("Black"));
    } else if (pair == "CC") {
        for (const char* ink : {"Cyan", "Magenta", "Yellow", "Black"})
            to(ink, from(ink));
    } else {
        return false;
    }
    if (s.alpha && d.alpha) to("Alpha", invertAlpha ? 255 - from("Alpha") : from("Alpha"));
    return true;
}

class RowsTest : public PluginTest {
  protected:
    MemoryImage Image(int64_t width, int64_t height, std::string_view format, unsigned seed = 1) {
        return {TheHost(), width, height, Constant(format), 0, seed};
    }

    static bool IsPlanes(int64_t format) { return format >= 42 && format <= 48; }

    /// What the image's row holds in another format; nothing for a pair that is not converted.
    std::vector<uint8_t> ExpectedRow(const MemoryImage& image, int64_t imageFormat, int64_t y, int64_t format,
                                     bool invert, int64_t width) {
        const MemoryImage like(TheHost(), 1, 1, format);
        const Side s(TheHost(), image), d(TheHost(), like);
        std::vector<uint8_t> row(static_cast<size_t>(width * d.pixelSize));
        if (IsPlanes(format) && format == imageFormat) {
            std::copy_n(image.Row(y), row.size(), row.begin());
            return row;
        }
        for (int64_t x = 0; x < width; ++x) {
            if (!ConvertPixel(s, &image.At(x, y), d, row.data() + x * d.pixelSize, invert)) return {};
        }
        return row;
    }

    std::string RefusalOf(const Side& from, const Side& to) {
        if (from.family == 'R' && to.family == 'C') return "Conversion from RGB to CMYK is not supported.";
        if (from.family == 'C' && to.family == 'R') return "Conversion from CMYK to RGB is not supported.";
        return "";
    }

    /// The exception noted must be the refusal, or none where there is no refusal.
    void ExpectRefusal(const std::string& message) {
        const auto exception = TheHost().TakeException();
        if (message.empty()) {
            EXPECT_FALSE(exception.has_value()) << *exception;
        } else {
            ASSERT_TRUE(exception.has_value()) << message;
            EXPECT_EQ(*exception, (ExceptionInfo{"UnsupportedOperationException", message, 0}));
        }
    }

    void ExpectException(const std::string& className, const std::string& message) {
        const auto exception = TheHost().TakeException();
        ASSERT_TRUE(exception.has_value()) << message;
        EXPECT_EQ(*exception, (ExceptionInfo{className, message, 0}));
    }

    void ExpectIndexError(int64_t value, const std::string& method, int64_t height) {
        ExpectException("OutOfBoundsException", "The parameter index to method " + method + " is too " +
                                                    (value >= 0 ? "big" : "small") + ". Range is 0 to " +
                                                    std::to_string(height - 1) + ", but value is " +
                                                    std::to_string(value) + ".");
    }

    MemoryBlock RowInFormat(const Ref& image, int64_t index, int64_t format) {
        return MemoryBlock(TheHost().Call(image, "RowInFormat", index, format).ToThing());
    }
    MemoryBlock RowInFormat(const Ref& image, int64_t index, int64_t format, bool invert) {
        return MemoryBlock(TheHost().Call(image, "RowInFormat", index, format, invert).ToThing());
    }

    static std::vector<uint8_t> BytesOf(const MemoryBlock& block) {
        const auto bytes = block.Bytes();
        return {bytes.begin(), bytes.end()};
    }
    static std::vector<uint8_t> BytesOf(const std::string& text) { return {text.begin(), text.end()}; }

    MemoryBlock RandomBlock(int64_t bytes, unsigned seed) {
        MemoryBlock block = TheHost().NewMemoryBlock(bytes);
        std::mt19937 random(seed);
        for (uint8_t& byte : block.Bytes())
            byte = static_cast<uint8_t>(random());
        return block;
    }
};

TEST_F(RowsTest, EveryPairOfFormatsIsReadAndWrittenLikeTheReference) {
    constexpr int64_t kHeight = 2;
    for (int64_t imageFormat = 1; imageFormat <= 48; ++imageFormat) {
        for (int64_t format = 1; format <= 48; ++format) {
            if (imageFormat == 14 || format == 14) continue;
            const int64_t width = 1 + (imageFormat * 7 + format * 5) % 37;
            const MemoryImage image(TheHost(), width, kHeight, imageFormat, 0, 9),
                like(TheHost(), 1, 1, format);
            const Side i(TheHost(), image), f(TheHost(), like);
            for (const bool invert : {false, true}) {
                const auto expected = ExpectedRow(image, imageFormat, 1, format, invert, width);
                const MemoryBlock row = RowInFormat(image, 1, format, invert);
                ExpectRefusal(RefusalOf(i, f));
                EXPECT_EQ(static_cast<bool>(row), !expected.empty());
                ASSERT_EQ(BytesOf(row), expected)
                    << imageFormat << " as " << format << (invert ? " inverted" : "");
                if (!invert) {
                    EXPECT_EQ(BytesOf(RowInFormat(image, 1, format)), expected);
                }
                ExpectRefusal(invert ? "" : RefusalOf(i, f));
            }
            for (const bool invert : {false, true}) {
                const MemoryBlock block = RandomBlock(width * f.pixelSize, 3);
                auto expected = image.Bytes();
                uint8_t* row = expected.data() + image.RowSize();
                if (IsPlanes(format) && format == imageFormat) {
                    std::copy_n(block.Bytes().data(), width * f.pixelSize, row);
                } else {
                    for (int64_t x = 0; x < width; ++x) {
                        if (!ConvertPixel(f, block.Bytes().data() + x * f.pixelSize, i, row + x * i.pixelSize,
                                          invert))
                            break;
                    }
                }
                TheHost().Assign(image, "RowInFormat", 1, format, invert, block);
                ExpectRefusal(RefusalOf(f, i));
                ASSERT_EQ(image.Bytes(), expected)
                    << format << " into " << imageFormat << (invert ? " inverted" : "");
                if (!invert) {
                    TheHost().Assign(image, "RowInFormat", 1, format, block);
                    ExpectRefusal(RefusalOf(f, i));
                    ASSERT_EQ(image.Bytes(), expected);
                }
                EXPECT_TRUE(image.GuardIntact());
            }
        }
    }
}

TEST_F(RowsTest, StringsHoldTheSameBytes) {
    for (const char* imageFormat :
         {"ImageFormatRGBA", "ImageFormatBGR", "ImageFormatG", "ImageFormatKYMCA", "ImageFormatG3"}) {
        for (const char* format :
             {"ImageFormatRGB", "ImageFormatAG", "ImageFormatCMYK", "ImageFormatG3", "ImageFormatBuffer"}) {
            const MemoryImage image = Image(13, 3, imageFormat), like = Image(1, 1, format);
            const Side i(TheHost(), image), f(TheHost(), like);
            const int64_t code = Constant(format);
            std::vector<uint8_t> all;
            for (int64_t y = 0; y < 3; ++y) {
                const auto row = ExpectedRow(image, Constant(imageFormat), y, code, false, 13);
                const auto text = TheHost().Call(image, "RowStringInFormat", y, code).ToText();
                ExpectRefusal(RefusalOf(i, f));
                EXPECT_EQ(BytesOf(text), row) << imageFormat << " as " << format;
                all.insert(all.end(), row.begin(), row.end());
            }
            EXPECT_EQ(BytesOf(TheHost().Call(image, "DataStringInFormat", code).ToText()), all);
            ExpectRefusal(RefusalOf(i, f));

            const MemoryImage copy = Image(13, 3, imageFormat, 5), rows = Image(13, 3, imageFormat, 5);
            const MemoryBlock block = RandomBlock(13 * 3 * f.pixelSize, 8);
            const auto bytes = BytesOf(block);
            const std::string text(bytes.begin(), bytes.end());
            const size_t rowBytes = static_cast<size_t>(13 * f.pixelSize);
            for (int64_t y = 0; y < 3; ++y) {
                const MemoryBlock one = TheHost().NewMemoryBlock(
                    std::span(bytes).subspan(static_cast<size_t>(y) * rowBytes, rowBytes));
                TheHost().Assign(rows, "RowInFormat", y, code, one);
                ExpectRefusal(RefusalOf(f, i));
            }
            TheHost().Assign(copy, "DataStringInFormat", code, TheHost().NewString(text, 65535));
            ExpectRefusal(RefusalOf(f, i));
            EXPECT_EQ(copy.Bytes(), rows.Bytes()) << format << " into " << imageFormat;
            const MemoryImage single = Image(13, 3, imageFormat, 5);
            for (int64_t y = 0; y < 3; ++y) {
                TheHost().Assign(
                    single, "RowStringInFormat", y, code,
                    TheHost().NewString(text.substr(static_cast<size_t>(y) * rowBytes, rowBytes), 65535));
                ExpectRefusal(RefusalOf(f, i));
            }
            EXPECT_EQ(single.Bytes(), rows.Bytes()) << format << " into " << imageFormat;
        }
    }
}

TEST_F(RowsTest, AlphaOfOneSideStaysAsItIs) {
    const MemoryImage rgb = Image(4, 1, "ImageFormatRGB");
    for (const bool invert : {false, true}) {
        const auto row = BytesOf(RowInFormat(rgb, 0, Constant("ImageFormatRGBA"), invert));
        for (size_t x = 0; x < 4; ++x)
            EXPECT_EQ(row[x * 4 + 3], 0);
    }
    const MemoryImage grayAlpha = Image(1, 1, "ImageFormatGA");
    grayAlpha.At(0, 0, 1) = 0;
    EXPECT_EQ(BytesOf(RowInFormat(grayAlpha, 0, Constant("ImageFormatRGBA"), true))[3], 255);
}

TEST_F(RowsTest, ParticularPixels) {
    const MemoryImage image = Image(2, 1, "ImageFormatRGB"), gray = Image(1, 1, "ImageFormatG");
    image.SetBytes({255, 255, 255, 255, 0, 0});
    EXPECT_EQ(BytesOf(RowInFormat(image, 0, Constant("ImageFormatG"))), (std::vector<uint8_t>{255, 76}));
    gray.At(0, 0) = 201;
    EXPECT_EQ(BytesOf(RowInFormat(gray, 0, Constant("ImageFormatCMYK"))),
              (std::vector<uint8_t>{201, 201, 201, 201}));
    const MemoryImage planes = Image(2, 1, "ImageFormatG3");
    EXPECT_EQ(BytesOf(RowInFormat(planes, 0, Constant("ImageFormatG3"))), planes.Bytes());
    EXPECT_EQ(BytesOf(RowInFormat(planes, 0, Constant("ImageFormatG2"))),
              (std::vector<uint8_t>{planes.At(0, 0), 0, planes.At(1, 0), 0}));
    EXPECT_FALSE(TheHost().Call(image, "DataStringInFormat", Constant("ImageFormatBuffer")).ToThing());
}

TEST_F(RowsTest, StringsOfAsciiBytesAreAsciiAndOthersRaw) {
    const MemoryImage image = Image(3, 1, "ImageFormatG");
    const auto encodings = [&] {
        return std::array{String(TheHost().Call(image, "RowStringInFormat", 0, 11).ToThing()).Encoding(),
                          String(TheHost().Call(image, "DataStringInFormat", 11).ToThing()).Encoding()};
    };
    image.SetBytes({0, 65, 127});
    EXPECT_EQ(encodings(), (std::array{1536U, 1536U}));
    image.SetBytes({0, 65, 128});
    EXPECT_EQ(encodings(), (std::array{65535U, 65535U}));
}

TEST_F(RowsTest, IndexOutOfRangeRaisesWhatTheMethodSays) {
    const MemoryImage image = Image(4, 5, "ImageFormatRGBA");
    const MemoryBlock block = TheHost().NewMemoryBlock(64);
    for (const int64_t index : {int64_t{-1}, int64_t{5}, INT64_MIN, INT64_MAX}) {
        EXPECT_FALSE(RowInFormat(image, index, 2));
        ExpectIndexError(index, "RowInFormat", 5);
        EXPECT_FALSE(RowInFormat(image, index, 2, false));
        ExpectIndexError(index, "RowInFormat", 5);
        EXPECT_FALSE(RowInFormat(image, index, 2, true));
        ExpectException("UnsupportedOperationException", "Index is out of bounds.");
        EXPECT_FALSE(TheHost().Call(image, "RowStringInFormat", index, 2).ToThing());
        ExpectException("UnsupportedOperationException", "Index is out of bounds.");
        EXPECT_FALSE(TheHost().Call(image, "Row", index).ToThing());
        ExpectIndexError(index, "Row", 5);
        EXPECT_FALSE(TheHost().Call(image, "RawRow", index).ToThing());
        ExpectIndexError(index, "RawRow", 5);
        EXPECT_EQ(TheHost().Call(image, "RawRowPtr", index).ToPointer(), nullptr);
        ExpectIndexError(index, "RawRow", 5);
        TheHost().Assign(image, "RowInFormat", index, 2, block);
        ExpectIndexError(index, "RowInFormat", 5);
        TheHost().Assign(image, "RowInFormat", index, 2, true, block);
        ExpectException("UnsupportedOperationException", "Index is out of bounds.");
        TheHost().Assign(image, "RowStringInFormat", index, 2, "0123456789012345");
        ExpectException("UnsupportedOperationException", "Index is out of bounds.");
        TheHost().Assign(image, "Row", index, block);
        ExpectIndexError(index, "Row", 5);
    }
}

TEST_F(RowsTest, NilBlocksAndTextsRaiseInTheirOwnWords) {
    const MemoryImage image = Image(4, 5, "ImageFormatRGBA");
    TheHost().Assign(image, "RowInFormat", 0, 2, nullptr);
    ExpectException("NilObjectException", "Memoryblock is nil.");
    TheHost().Assign(image, "RowInFormat", 0, 2, true, nullptr);
    ExpectException("NilObjectException", "memoryblock is nil");
    TheHost().Assign(image, "RowInFormat", 0, 2, false, nullptr);
    ExpectException("NilObjectException", "memoryblock is nil");
    TheHost().Assign(image, "Row", 0, nullptr);
    ExpectException("NilObjectException", "Memoryblock is nil");
    TheHost().Assign(image, "RowStringInFormat", 0, 2, nullptr);
    ExpectException("NilObjectException", "Memoryblock is nil");
    TheHost().Assign(image, "DataStringInFormat", 2, "");
    ExpectException("NilObjectException", "Memoryblock is nil");
    // A block over nothing has no address.
    TheHost().Assign(image, "Row", 0, TheHost().WrapPointer(nullptr));
    ExpectException("NilObjectException", "Memoryblock is nil");
}

TEST_F(RowsTest, InvalidImagesAndUnknownFormatsRaiseNothing) {
    const Ref invalid = TheHost().New("PictureTRV");
    const MemoryBlock block = TheHost().NewMemoryBlock(64);
    EXPECT_FALSE(RowInFormat(invalid, 0, 2));
    EXPECT_FALSE(RowInFormat(invalid, 0, 2, true));
    EXPECT_FALSE(TheHost().Call(invalid, "Row", 0).ToThing());
    EXPECT_FALSE(TheHost().Call(invalid, "RawRow", 0).ToThing());
    EXPECT_EQ(TheHost().Call(invalid, "RawRowPtr", 0).ToPointer(), nullptr);
    EXPECT_FALSE(TheHost().Call(invalid, "RowStringInFormat", 0, 2).ToThing());
    EXPECT_FALSE(TheHost().Call(invalid, "DataStringInFormat", 2).ToThing());
    TheHost().Assign(invalid, "RowInFormat", 0, 2, block);
    TheHost().Assign(invalid, "RowInFormat", 0, 2, true, block);
    TheHost().Assign(invalid, "RowStringInFormat", 0, 2, "abcd");
    TheHost().Assign(invalid, "DataStringInFormat", 2, "abcd");
    EXPECT_FALSE(TheHost().HasException());
    const MemoryImage image = Image(4, 5, "ImageFormatRGBA");
    const auto before = image.Bytes();
    for (const int64_t format : {0, 14, 49, -1}) {
        EXPECT_FALSE(RowInFormat(image, 0, format));
        EXPECT_FALSE(TheHost().Call(image, "DataStringInFormat", format).ToThing());
        TheHost().Assign(image, "RowInFormat", 0, format, block);
        TheHost().Assign(image, "DataStringInFormat", format, "abcd");
    }
    EXPECT_EQ(image.Bytes(), before);
}

TEST_F(RowsTest, ClosedImagesHaveNoRows) {
    const Ref image = NewImage(4, 5, "ImageFormatRGBA");
    const MemoryBlock block = TheHost().NewMemoryBlock(64);
    TheHost().Call(image, "Close");
    EXPECT_FALSE(RowInFormat(image, 0, 2));
    EXPECT_FALSE(TheHost().Call(image, "Row", 0).ToThing());
    EXPECT_FALSE(TheHost().Call(image, "RawRow", 0).ToThing());
    EXPECT_FALSE(TheHost().Call(image, "RowStringInFormat", 0, 2).ToThing());
    EXPECT_FALSE(TheHost().Call(image, "DataStringInFormat", 2).ToThing());
    TheHost().Assign(image, "Row", 0, block);
    TheHost().Assign(image, "RowInFormat", 0, 2, block);
    TheHost().Assign(image, "DataStringInFormat", 2, std::string(80, 'x'));
}

TEST_F(RowsTest, RowIsTheRawRowAndRawRowIsLive) {
    const MemoryImage image(TheHost(), 5, 3, Constant("ImageFormatRGB"), 24);
    const MemoryBlock row(TheHost().Call(image, "Row", 1).ToThing());
    EXPECT_EQ(BytesOf(row), std::vector<uint8_t>(image.Row(1), image.Row(1) + 24));
    row.Bytes()[0] = static_cast<uint8_t>(row.Bytes()[0] + 1);
    EXPECT_NE(row.Bytes()[0], image.At(0, 1));
    TheHost().Assign(image, "Row", 1, row);
    EXPECT_EQ(row.Bytes()[0], image.At(0, 1));
    const MemoryBlock live(TheHost().Call(image, "RawRow", 2).ToThing());
    EXPECT_EQ(reinterpret_cast<uint8_t*>(live.Data()), image.Row(2));
    EXPECT_EQ(TheHost().Call(image, "RawRowPtr", 2).ToPointer(), image.Row(2));
}

TEST_F(RowsTest, ExhaustedMemoryRaises) {
    const MemoryImage image = Image(4, 2, "ImageFormatRGB");
    TheHost().FailMemoryBlock(1);
    EXPECT_FALSE(RowInFormat(image, 0, 2));
    ExpectException("OutOfMemoryException", "Failed to allocate 16 bytes of memory for row.");
    TheHost().FailMemoryBlock(1);
    EXPECT_FALSE(TheHost().Call(image, "Row", 0).ToThing());
    ExpectException("OutOfMemoryException", "Failed to allocate a memoryblock with 12 bytes in size.");
    // An image of rows that lie on one another is as wide and high as it says.
    const int64_t wide = int64_t{1} << 31, high = int64_t{1} << 30;
    const Ref huge = TheHost().Construct("PictureTRV", TheHost().NewMemoryBlock(64), wide, high, 11, 0);
    EXPECT_FALSE(TheHost().Call(huge, "DataStringInFormat", 48).ToThing());
    ExpectException("OutOfMemoryException",
                    "Failed to allocate 9223372036854775807 bytes of memory for rows.");
}

TEST_F(RowsTest, ConvertersOfMixedAlphaNameThemselvesInTheLog) {
    const MemoryImage image = Image(4, 1, "ImageFormatCMYKA");
    const auto has = [](const std::vector<std::string>& lines, const char* text) {
        return std::find(lines.begin(), lines.end(), text) != lines.end();
    };
    EXPECT_TRUE(
        has(LogOf([&] { RowInFormat(image, 0, Constant("ImageFormatCMYK")); }), "CMYKA_to_CMYK_GetRow"));
    EXPECT_TRUE(has(LogOf([&] { RowInFormat(image, 0, Constant("ImageFormatG")); }), "CMYKA_to_G_GetRow"));
    const MemoryImage gray = Image(4, 1, "ImageFormatG");
    const MemoryBlock block = TheHost().NewMemoryBlock(16);
    EXPECT_TRUE(
        has(LogOf([&] { TheHost().Assign(gray, "RowInFormat", 0, Constant("ImageFormatRGBA"), block); }),
            "RGBA_to_G_SetRow"));
    const auto refused = LogOf([&] {
        TheHost().Assign(gray, "RowInFormat", 0, Constant("ImageFormatBuffer"), block);
        TheHost().Assign(Image(4, 1, "ImageFormatBuffer"), "RowInFormat", 0, 2, block);
    });
    EXPECT_TRUE(has(refused, "msource is not RGB and not gray."));
    EXPECT_TRUE(has(refused, "me is not RGB and not gray."));
    // The setter of a row's string has a line of its own for inks.
    const auto inkLine = [&](const char* format) {
        return has(LogOf([&] {
                       const MemoryImage target = Image(4, 1, "ImageFormatBuffer");
                       TheHost().Assign(target, "RowStringInFormat", 0, Constant(format),
                                        std::string(20, 'x'));
                   }),
                   "me is not CMYK and not gray.");
    };
    EXPECT_TRUE(inkLine("ImageFormatCMYK"));
    EXPECT_FALSE(inkLine("ImageFormatRGB"));
}

}  // namespace
}  // namespace trvtest
