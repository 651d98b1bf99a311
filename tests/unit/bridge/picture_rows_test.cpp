// The row kernels between pictures and images, alone.

#include "bridge/picture_rows.h"

#include <gtest/gtest.h>
#include <random>
#include <vector>

namespace trv {
namespace {

using Bytes = std::vector<uint8_t>;

constexpr uint32_t kKinds[] = {PixelKindGDImage, PixelKindBitmap32, PixelKindBitmap24, PixelKindGDIPlus,
                               PixelKindD2D};

Bytes RandomBytes(size_t count, unsigned seed) {
    std::mt19937 random(seed);
    Bytes bytes(count);
    for (uint8_t& byte : bytes)
        byte = static_cast<uint8_t>(random());
    return bytes;
}

int64_t SizeOf(uint32_t kind) {
    return kind == PixelKindBitmap24 ? 3 : kind == PixelKindNone ? 0 : 4;
}

/// Where a row's image pixels stand, and where their channels do.
const ImagePlaces kPlaces[] = {{3, 0, 1, 2, 0},    {3, 2, 1, 0, 0},    {4, 0, 1, 2, 3},   {4, 2, 1, 0, 3},
                               {4, 1, 2, 3, 0},    {4, 3, 2, 1, 0},    {4, 2, 1, 0, 0},   {4, 42, 41, 40, 43},
                               {4, 42, 41, 40, 3}, {5, 4, 0, 2, 1},    {4, 41, 40, 2, 3}, {3, 32, 31, 30, 30},
                               {4, 1, 1, 1, 1},    {4, 40, 41, 42, 44}};

TEST(ImportRow, GivesWhatAPixelByPixelCopyGives) {
    for (const int64_t count : {0, 1, 3, 4, 17, 511, 512, 513, 1030}) {
        for (const uint32_t kind : kKinds) {
            for (const uint32_t maskKind :
                 {uint32_t{PixelKindD2D}, uint32_t{PixelKindBitmap24}, uint32_t{PixelKindNone}, 1U}) {
                const Bytes picture = RandomBytes(static_cast<size_t>(count * 4 + 1), kind);
                const Bytes mask = RandomBytes(static_cast<size_t>(count * 4 + 1), maskKind + 50);
                for (const ImagePlaces& at : kPlaces) {
                    for (const MaskUse use : {MaskUse::None, MaskUse::ToAlpha, MaskUse::Blend}) {
                        for (const bool invert : {false, true}) {
                            const Bytes before = RandomBytes(static_cast<size_t>(count * at.step + 50), 3);
                            Bytes expected = before;
                            for (int64_t x = 0; x < count; ++x) {
                                const uint8_t* p = picture.data() + x * SizeOf(kind);
                                const uint8_t* m = mask.data() + x * SizeOf(maskKind);
                                uint8_t* to = expected.data() + x * at.step;
                                const int64_t places[] = {at.blue, at.green, at.red};
                                const auto cover = [&](int c) {
                                    const int value = maskKind == 1               ? 255
                                                      : maskKind == PixelKindNone ? 0
                                                                                  : m[c];
                                    return invert ? 255 - value : value;
                                };
                                if (use == MaskUse::ToAlpha) to[at.alpha] = static_cast<uint8_t>(cover(2));
                                for (const int c : {2, 1, 0}) {
                                    const int d = to[places[c]];
                                    const int value = use == MaskUse::Blend
                                                          ? (p[c] * (255 - cover(c)) + d * cover(c)) / 255
                                                          : p[c];
                                    to[places[c]] = static_cast<uint8_t>(value);
                                }
                            }
                            Bytes image = before;
                            const WordSource through = maskKind == 1 ? WhiteSource() : SourceOfKind(maskKind);
                            const ImportRow row(use, SourceOfKind(kind), through, invert, at);
                            row({image.data(), picture.data(), maskKind < 2 ? nullptr : mask.data(), count});
                            ASSERT_EQ(image, expected)
                                << count << " pixels of kind " << kind << ", mask of " << maskKind << ", use "
                                << static_cast<int>(use) << (invert ? " inverted" : "") << ", red at "
                                << at.red << " of " << at.step;
                        }
                    }
                }
            }
        }
    }
}

TEST(ImportRow, GoesFromFirstToLastOverItsOwnPixels) {
    for (const uint32_t kind : {uint32_t{PixelKindBitmap24}, uint32_t{PixelKindD2D}}) {
        const int64_t size = SizeOf(kind);
        for (const int64_t shift : {-700, -3, -1, 0, 1, 2, 5, 600}) {
            constexpr int64_t kCount = 900;
            Bytes memory = RandomBytes(static_cast<size_t>(3000 * size), 5);
            Bytes expected = memory;
            const int64_t from = 1000;
            const int64_t to = from + shift;
            for (int64_t x = 0; x < kCount; ++x) {
                for (int64_t c = 0; c < 3; ++c)
                    expected[static_cast<size_t>((to + x) * size + c)] =
                        expected[static_cast<size_t>((from + x) * size + c)];
            }
            const ImportRow row(MaskUse::None, SourceOfKind(kind), WhiteSource(), false, {size, 2, 1, 0, 0});
            row({memory.data() + to * size, memory.data() + from * size, nullptr, kCount});
            ASSERT_EQ(memory, expected) << kind << " by " << shift;
        }
    }
}

TEST(ImportGrayRow, TakesOneColour) {
    for (const int64_t count : {0, 1, 9, 512, 700}) {
        for (const uint32_t kind :
             {uint32_t{PixelKindGDImage}, uint32_t{PixelKindBitmap24}, uint32_t{PixelKindNone}}) {
            const Bytes picture = RandomBytes(static_cast<size_t>(count * 4 + 1), kind);
            for (const int64_t step : {1, 2, 3, 4, 8}) {
                for (const int byte : {0, 1, 2}) {
                    Bytes gray = RandomBytes(static_cast<size_t>(count * step + 9), 7);
                    Bytes expected = gray;
                    for (int64_t x = 0; x < count; ++x) {
                        expected[static_cast<size_t>(x * step)] =
                            kind == PixelKindNone ? 0 : picture[static_cast<size_t>(x * SizeOf(kind) + byte)];
                    }
                    ImportGrayRow(SourceOfKind(kind), 8 * byte, step)(gray.data(), picture.data(), count);
                    ASSERT_EQ(gray, expected) << count << " " << kind << " " << step << " " << byte;
                }
            }
        }
    }
}

TEST(ExportRow, GivesWhatAPixelByPixelCopyGives) {
    const FamilyOffsets offsetSets[] = {
        {0, 1, 2, 3, 4}, {4, 3, 2, 1, 0}, {22, 21, 20, 23, 24}, {1, 1, 1, 1, 1}};
    for (const int64_t count : {0, 1, 5, 511, 512, 513, 1100}) {
        for (const int64_t step : {1, 2, 3, 4, 5, 8}) {
            const Bytes image = RandomBytes(static_cast<size_t>(count * step + 30), 11);
            for (const FamilyOffsets& at : offsetSets) {
                for (const Family family : {Family::Gray, Family::Rgb, Family::Cmyk}) {
                    for (const bool withAlpha : {false, true}) {
                        for (const uint32_t kind : kKinds) {
                            const int64_t size = SizeOf(kind);
                            Bytes picture = RandomBytes(static_cast<size_t>(count * size + 9), 13);
                            Bytes expected = picture;
                            for (int64_t x = 0; x < count; ++x) {
                                const auto channel = [&](size_t i) {
                                    return int{image[static_cast<size_t>(x * step + at[i])]};
                                };
                                uint8_t* to = expected.data() + x * size;
                                size_t alphaAt = 0;
                                for (const size_t c : {0, 1, 2}) {
                                    int value = 0;
                                    switch (family) {
                                        case Family::Gray:
                                            value = channel(0), alphaAt = 1;
                                            break;
                                        case Family::Rgb:
                                            value = channel(c), alphaAt = 3;
                                            break;
                                        default:
                                            value =
                                                255 - (channel(c) * (255 - channel(3))) / 255 - channel(3);
                                            alphaAt = 4;
                                    }
                                    to[2 - c] = static_cast<uint8_t>(value);
                                }
                                const int alpha = withAlpha ? channel(alphaAt) : 255;
                                const int top = kind != PixelKindGDImage ? alpha : withAlpha ? alpha / 2 : 0;
                                if (size == 4) to[3] = static_cast<uint8_t>(top);
                            }
                            ExportRow(family, withAlpha, at, step, kind)(picture.data(), image.data(), count);
                            ASSERT_EQ(picture, expected)
                                << count << " " << step << " family " << static_cast<int>(family) << " kind "
                                << kind << (withAlpha ? " with alpha" : "");
                        }
                    }
                }
            }
        }
    }
}

TEST(ExportRow, NothingIsStoredForUnknownKindsAndFamilies) {
    const Bytes image = RandomBytes(64, 1);
    Bytes picture(64, 9);
    for (const uint32_t kind : {0U, 1U, 7U, 11U, 15U, 18U, 0xFFFFFFFFU}) {
        EXPECT_FALSE(IsPixelKind(kind)) << kind;
        ExportRow(Family::Rgb, false, {0, 1, 2}, 4, kind)(picture.data(), image.data(), 16);
    }
    ExportRow(Family::None, false, {}, 4, PixelKindD2D)(picture.data(), image.data(), 16);
    EXPECT_EQ(picture, Bytes(64, 9));
    for (const uint32_t kind : kKinds)
        EXPECT_TRUE(IsPixelKind(kind)) << kind;
}

}  // namespace
}  // namespace trv
