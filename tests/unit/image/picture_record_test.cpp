#include "image/picture_record.h"

#include <algorithm>
#include <cstring>
#include <gtest/gtest.h>

namespace trv {
namespace {

TEST(ClassData, OfCodesThatAreNoFormatIsRefused) {
    PictureTRV record{};
    EXPECT_FALSE(InitImageClassData(nullptr, 1, 1, ImageFormatRGB));
    for (const int64_t code : {int64_t{0}, int64_t{14}, int64_t{49}, int64_t{-1}, int64_t{50}, int64_t{1000},
                               int64_t{257}, (int64_t{1} << 32) + 1, INT64_MIN, INT64_MAX})
        EXPECT_FALSE(InitImageClassData(&record, 1, 1, code)) << code;
    for (const int64_t size : {int64_t{0}, int64_t{-1}, INT64_MIN}) {
        EXPECT_FALSE(InitImageClassData(&record, size, 1, ImageFormatRGB));
        EXPECT_FALSE(InitImageClassData(&record, 1, size, ImageFormatRGB));
    }
    EXPECT_TRUE(InitImageClassData(&record, 1, 1, ImageFormatRGB));
    EXPECT_TRUE(InitImageClassData(&record, INT64_MAX, INT64_MAX, ImageFormatG8));
}

TEST(ClassData, ClearsWhatAnotherFormatLeft) {
    // Every field of the layout is set anew, whatever was there.
    for (int64_t code = 1; code <= 48; ++code) {
        if (code == 14) continue;
        PictureTRV clean{};
        ASSERT_TRUE(InitImageClassData(&clean, 7, 9, code));
        PictureTRV used{};
        for (const ChannelField& field : kChannelFields) {
            used.*field.offset = 99;
            used.*field.has = 1;
        }
        used.ChannelOffsets.fill(77);
        used.RowSize = used.PixelSize = used.ChannelCount = used.BitsPerComponent = 55;
        used.IsGray = used.IsRGB = used.IsCMYK = 1;
        ASSERT_TRUE(InitImageClassData(&used, 7, 9, code));
        for (const ChannelField& field : kChannelFields) {
            EXPECT_EQ(used.*field.offset, clean.*field.offset) << code;
            EXPECT_EQ(used.*field.has, clean.*field.has) << code;
        }
        EXPECT_EQ(used.ChannelOffsets, clean.ChannelOffsets) << code;
        EXPECT_EQ(used.RowSize, 0);
        EXPECT_EQ(used.PixelSize, clean.PixelSize);
        EXPECT_EQ(used.ChannelCount, clean.ChannelCount);
        EXPECT_EQ(used.BitsPerComponent, clean.BitsPerComponent);
        EXPECT_EQ(used.IsGray, clean.IsGray);
        EXPECT_EQ(used.IsRGB, clean.IsRGB);
        EXPECT_EQ(used.IsCMYK, clean.IsCMYK);
        EXPECT_EQ(used.Width, 7);
        EXPECT_EQ(used.Height, 9);
        EXPECT_EQ(used.UnclippedHeight, 9);
        EXPECT_EQ(used.ImageFormat, code);
    }
}

TEST(ClassData, OfANilObjectIsNil) {
    EXPECT_EQ(RecordOf(nullptr), nullptr);
}

}  // namespace
}  // namespace trv
