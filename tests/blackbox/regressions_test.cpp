// What the fuzzer found, each with the numbers that it found it with. Most show under a sanitizer only.

#include <algorithm>
#include <cstdint>
#include <functional>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "image_sides.h"
#include "plugin_test.h"

namespace trvtest {

namespace {

class Regressions : public PluginTest {};

// The column far outside was multiplied by the pixel size although nothing of the rectangle was left.
TEST_F(Regressions, FillRectApplyFarOutside) {
    const MemoryImage image(TheHost(), 30, 20, Constant("ImageFormatRGBA"));
    const std::vector<uint8_t> before = image.Bytes();
    TheHost().Call(image, "FillRectApply", int64_t{8371242699116546788}, 0, 4, 4, 1, 2, 3, 128);
    EXPECT_EQ(image.Bytes(), before);
    EXPECT_TRUE(image.GuardIntact());
}

// A channel's offset on a view of no columns is at the end of the range, and one was added to it.
TEST_F(Regressions, MirrorsOfAViewWithoutColumns) {
    const MemoryImage image(TheHost(), 130, 37, Constant("ImageFormatRGB"));
    const std::vector<uint8_t> before = image.Bytes();
    const Ref view = TheHost().Call(image, "ClipImage", int64_t{3385487589590729155}, 13, 34, 23).ToThing();
    if (view) {
        TheHost().Call(view, "VMirror");
        TheHost().Call(view, "HMirror");
        TheHost().Call(view, "Rotate180");
    }
    EXPECT_EQ(image.Bytes(), before);
}

// Pixels with a spare byte move as one, and the copy of a row ended before that byte of the last pixel.
TEST_F(Regressions, MirrorsOfRowsThatEndWithASpareByte) {
    const MemoryImage image(TheHost(), 12, 13, Constant("ImageFormatRGBX"));
    const std::vector<uint8_t> before = image.Bytes();
    TheHost().Call(image, "Rotate180");
    TheHost().Call(image, "VMirror");
    TheHost().Call(image, "VMirror");
    TheHost().Call(image, "Rotate180");
    EXPECT_TRUE(image.GuardIntact());
    // The spare bytes stay in their places all the while; the others come back, but for the middle row, of
    // which turning makes what the row above has become.
    for (int64_t y = 0; y < 6; ++y) {
        for (int64_t x = 0; x < 12 * 4; ++x)
            ASSERT_EQ(image.Row(y)[x], before[static_cast<size_t>(y * 48 + x)]) << x << ", " << y;
    }
}

// The bound of a heavy matrix's sums was computed in 32 bits and seemed small. Only the lower 32 bits of an
// entry count, and entries from 255 on are holes.
TEST_F(Regressions, MatrixOfOneHeavyWeight) {
    const MemoryImage image(TheHost(), 20, 3, Constant("ImageFormatG"));
    const MemoryImage dest(TheHost(), 20, 3, Constant("ImageFormatG"));
    for (int64_t x = 0; x < 20; ++x)
        image.At(x, 1) = static_cast<uint8_t>(x);
    const auto expected = [](int64_t sample, int64_t weight) {
        const auto sum = static_cast<int32_t>(static_cast<uint32_t>(sample * weight));  // sums have 32 bits
        return std::clamp(sum, 0, 255);
    };
    for (const int64_t weight : {203677681, 8421505, 16843010}) {
        const int64_t entry = weight - (int64_t{1} << 40);
        ASSERT_TRUE(
            TheHost().Call(image, "ApplyMatrix", dest.Object(), 1, TheHost().NewIntegers({entry})).ToThing());
        for (int64_t x = 0; x < 20; ++x)
            ASSERT_EQ(dest.At(x, 1), expected(x, weight)) << weight << " at " << x;
    }
}

// The host's time is code of the host's, which can do anything: here it makes a small image of one that is
// being worked on. Loops went on with the sizes that they had taken in.
TEST_F(Regressions, AnImageThatBecomesASmallerOneMeanwhileIsLeftAlone) {
    const int64_t mode = Constant("ScaleTriangle");
    const trvhost::Picture picture = TheHost().NewPicture(900, 900);
    const auto call = [&](const char* method, auto... arguments) {
        return
            [this, method, arguments...](const Ref& image) { TheHost().Call(image, method, arguments...); };
    };
    const Ref other = TheHost().Construct("PictureTRV", 900, 900, Constant("ImageFormatRGBA"));
    TheHost().Set(other, "YieldTicks", -1);
    const std::pair<const char*, std::function<void(const Ref&)>> works[] = {
        {"VMirror", call("VMirror")},
        {"HMirror", call("HMirror")},
        {"Rotate180", [&](const Ref& image) { TheHost().Method<void()>("PictureTRV", "Rotate180")(image); }},
        {"Scale onto it", call("Scale", other, nullptr, mode, 900, 900)},
        {"Scale from it",
         [&](const Ref& image) { TheHost().Call(other, "Scale", image, nullptr, mode, 900, 900); }},
        {"ScaleFast", call("ScaleFast", other, 900, 900)},
        {"CopyPixels", call("CopyPixels", other)},
        {"CopyPicture", call("CopyPicture")},
        {"DrawPictureRGB", call("DrawPictureRGB", picture)}};
    for (const auto& [name, work] : works) {
        for (int when = 1; when <= 3; ++when) {
            SCOPED_TRACE(std::string(name) + ", at yield " + std::to_string(when));
            const Ref image = TheHost().Construct("PictureTRV", 900, 900, Constant("ImageFormatRGBA"));
            const MemoryImage small(TheHost(), 2, 2, Constant("ImageFormatG"));
            TheHost().Set(image, "YieldTicks", -1);
            int yields = 0;
            TheHost().OnYield([&] {
                if (++yields != when) return;
                TheHost().Call(image, "Constructor",
                               TheHost().Get<trvhost::MemoryBlock>(small, "MemoryTarget"), 2, 2,
                               Constant("ImageFormatG"), 2);
            });
            work(image);
            TheHost().OnYield({});
            while (TheHost().TakeException()) {
            }
            EXPECT_TRUE(small.GuardIntact());
        }
    }
}

// Rows of a destination that all lie in one place keep what is written last. Vectors went through them in
// groups of columns.
TEST_F(Regressions, RowsOfADestinationThatLieOverEachOther) {
    const int64_t format = Constant("ImageFormatRGBA");
    const MemoryImage source(TheHost(), 60, 40, format);
    std::mt19937 random(5);
    FillWithNoise(TheHost(), source, random);
    const auto lastRow = [&](const Ref& image) {
        const uint8_t* row = RawRow(TheHost(), image, 39);
        return std::vector<uint8_t>(row, row + 240);
    };
    const auto check = [&](const char* name, const auto& work) {
        const MemoryImage apart(TheHost(), 60, 40, format);
        const trvhost::MemoryBlock block = TheHost().NewMemoryBlock(240);
        const Ref together = TheHost().Construct("PictureTRV", block, 60, 40, format, 0);
        work(apart);
        work(together);
        EXPECT_EQ(lastRow(together), lastRow(apart)) << name;
    };
    check("ApplyMatrix", [&](const Ref& dest) {
        const trvhost::Array matrix = TheHost().NewArray(trvhost::ElementKind::Integer, 8);
        for (int64_t i = 0; i < 9; ++i)
            matrix.Put(i, i * 3 + 1);
        TheHost().Call(source, "ApplyMatrix", dest, 3, matrix, 0);
    });
    check("Scale", [&](const Ref& dest) { TheHost().Call(dest, "Scale", source, nullptr, 3, 60, 40); });
    check("ScaleFast", [&](const Ref& dest) { TheHost().Call(dest, "ScaleFast", source, 60, 40); });
}

// A view of a mapped image has a window of its own: the same bytes at another address. What is written of a
// pixel is seen when the rest of it is made, in memory as in a file.
TEST_F(Regressions, CopyPixelsBetweenTwoWindowsOnTheSameBytes) {
    const int64_t format = Constant("ImageFormatCMYKA");
    const Ref memory = TheHost().Construct("PictureTRV", 271, 10, format);
    const Ref mapped = TheHost().Construct("PictureTRV", 271, 10, format, 65536, nullptr);
    for (const Ref& image : {memory, mapped}) {
        std::mt19937 random(7);
        FillWithNoise(TheHost(), image, random);
        const Ref view = TheHost().Call(image, "YellowChannel").ToThing();
        EXPECT_TRUE(TheHost().Call(image, "CopyPixels", view).ToBool());
    }
    EXPECT_EQ(PixelBytes(TheHost(), mapped), PixelBytes(TheHost(), memory));
}

}  // namespace

}  // namespace trvtest
