// Whether rows of one image reach into each other.

#include "image/store_overlap.h"

#include <gtest/gtest.h>

#include "image/row_readers.h"

namespace trv {
namespace {

TEST(RowsMayOverlap, WhereARowEndsBehindTheNextOnesStart) {
    PictureTRV image{};
    image.GetRow = &GetRowLinear;
    image.Width = 10;
    image.PixelSize = 3;
    image.BlueOffset = 2;
    for (const int64_t sign : {1, -1}) {
        image.RowSize = sign * 30;
        EXPECT_FALSE(RowsMayOverlap(image));
        image.RowSize = sign * 29;
        EXPECT_TRUE(RowsMayOverlap(image));
    }
    image.RowSize = 0;
    EXPECT_TRUE(RowsMayOverlap(image)) << "all rows are one";
}

TEST(RowsMayOverlap, ChannelsBehindThePixelsCount) {
    PictureTRV image{};
    image.GetRow = &GetRowLinear;
    image.Width = 10;
    image.PixelSize = 3;
    image.RowSize = 60;
    image.RedOffset = 32;
    EXPECT_FALSE(RowsMayOverlap(image)) << "the right half of a picture";
    image.RedOffset = 33;
    EXPECT_TRUE(RowsMayOverlap(image));
    image.RedOffset = 32;
    image.BitsPerComponent = 16;
    EXPECT_TRUE(RowsMayOverlap(image)) << "a sample's second byte";
    image.GetRow = &GetRowGDImage;
    EXPECT_FALSE(RowsMayOverlap(image)) << "rows that lie anywhere";
}

}  // namespace
}  // namespace trv
