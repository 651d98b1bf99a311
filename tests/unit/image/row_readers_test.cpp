#include "image/row_readers.h"

#include <array>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "unit/frame/log_capture.h"

namespace trv {
namespace {

using test::LogCapture;
using Lines = std::vector<std::string>;

TEST(LinearRows, LieAtADistance) {
    std::array<uint8_t, 1000> store{};
    PictureTRV record{};
    record.RowBuffer = store.data();
    record.RowSize = 64;
    record.Height = 10;
    for (int64_t y = 0; y < 10; ++y)
        EXPECT_EQ(GetRowLinear(&record, y) - store.data(), 64 * y);
    record.RowOffset = 3;
    record.Height = 5;
    EXPECT_EQ(GetRowLinear(&record, 0) - store.data(), 64 * 3);
    EXPECT_EQ(GetRowLinear(&record, 4) - store.data(), 64 * 7);
}

TEST(LinearRows, MirroredCountFromTheBottomOfTheView) {
    std::array<uint8_t, 1000> store{};
    PictureTRV record{};
    record.RowBuffer = store.data();
    record.RowSize = 64;
    record.RowOffset = 3;
    record.Height = 5;
    for (int64_t y = 0; y < 5; ++y)
        EXPECT_EQ(GetRowLinearMirrored(&record, y), GetRowLinear(&record, 4 - y));
    EXPECT_EQ(GetRowLinearMirrored(&record, 0) - store.data(), 64 * 7);
}

TEST(LinearRows, TakeARowSizeOfAnySign) {
    std::array<uint8_t, 1000> store{};
    PictureTRV record{};
    record.RowBuffer = store.data() + 600;
    record.RowSize = -100;
    record.Height = 6;
    EXPECT_EQ(GetRowLinear(&record, 5) - store.data(), 100);
    EXPECT_EQ(GetRowLinearMirrored(&record, 5) - store.data(), 600);
    record.RowSize = 0;
    EXPECT_EQ(GetRowLinear(&record, 5) - store.data(), 600);
}

/// A picture kept as rows, 8 of them, of which a view shows 4 from row 2 on.
struct TablePicture {
    std::array<std::array<int32_t, 3>, 8> rows{};
    std::array<int32_t*, 8> table{};
    PictureTRV record{};

    TablePicture() {
        for (size_t i = 0; i < table.size(); ++i)
            table[i] = rows[i].data();
        record.tpixels = table.data();
        record.UnclippedHeight = 8;
        record.RowOffset = 2;
        record.Height = 4;
    }
    uint8_t* Row(size_t i) { return reinterpret_cast<uint8_t*>(rows[i].data()); }
};

TEST(TableRows, AreTheTablesEntries) {
    TablePicture picture;
    for (int64_t y = -2; y < 6; ++y)
        EXPECT_EQ(GetRowGDImage(&picture.record, y), picture.Row(static_cast<size_t>(y + 2))) << y;
}

TEST(TableRows, MirroredCountFromTheBottomOfTheView) {
    TablePicture picture;
    for (int64_t y = 0; y < 4; ++y)
        EXPECT_EQ(GetRowGDImageMirrored(&picture.record, y), picture.Row(static_cast<size_t>(5 - y))) << y;
}

TEST(TableRows, ARowAboveTheStoreIsNil) {
    TablePicture picture;
    const LogCapture log;
    EXPECT_EQ(GetRowGDImage(&picture.record, -3), nullptr);
    EXPECT_EQ(GetRowGDImage(&picture.record, INT64_MIN + 100), nullptr);
    EXPECT_EQ(log.Lines(), (Lines{"Error: index<0 in GetRowGDImage!", "Error: index<0 in GetRowGDImage!"}));
}

TEST(TableRows, ARowBelowTheStoreIsNilAndTellsFourValues) {
    TablePicture picture;
    const LogCapture log;
    EXPECT_EQ(GetRowGDImage(&picture.record, 6), nullptr);
    EXPECT_EQ(log.Lines(), (Lines{"Error: index>=Height in GetRowGDImage!", "index 8", "OffsetRow 2",
                                  "Height 4", "TotalHeight 8"}));
    EXPECT_EQ(GetRowGDImageMirrored(&picture.record, -3), nullptr);
    EXPECT_EQ(log.Lines().size(), 10U);
    EXPECT_EQ(log.Lines()[6], "index 8");
}

TEST(TableRows, WithoutATableThereAreNone) {
    TablePicture picture;
    picture.record.tpixels = nullptr;
    const LogCapture log;
    EXPECT_EQ(GetRowGDImage(&picture.record, 0), nullptr);
    EXPECT_EQ(log.Lines(), Lines{"Error: tpixels is nil in GetRowGDImage!"});
}

TEST(RowFetching, WithoutAReaderIsNil) {
    PictureTRV record{};
    EXPECT_EQ(FetchRow(record, 0), nullptr);
    std::array<uint8_t, 8> store{};
    record.RowBuffer = store.data();
    record.GetRow = GetRowLinear;
    EXPECT_EQ(FetchRow(record, 0), store.data());
}

}  // namespace
}  // namespace trv
