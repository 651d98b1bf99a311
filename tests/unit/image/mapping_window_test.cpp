#include "image/mapping_window.h"

#include <algorithm>
#include <cstring>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <vector>

#include "image/mapped_image.h"
#include "unit/frame/log_capture.h"

namespace trv {
namespace {

constexpr int64_t kMiB = 1 << 20;

/// A granularity for the length of a test. A small one makes for small windows.
class Granularity {
  public:
    explicit Granularity(int64_t bytes) : before_(AllocationGranularity) { AllocationGranularity = bytes; }
    Granularity(const Granularity&) = delete;
    Granularity& operator=(const Granularity&) = delete;
    ~Granularity() { AllocationGranularity = before_; }

  private:
    int64_t before_;
};

/// The record of a mapped image in paging space, as its constructor leaves it, without an object around it.
class PagedImage {
  public:
    PagedImage(int64_t rowSize, int64_t rows, int64_t blockSize) {
        record_.RowSize = rowSize;
        record_.Height = rows;
        record_.UnclippedHeight = rows;
        record_.TotalSize = rowSize * rows;
        record_.MappingFirstRow = -1;
        record_.MappingLastRow = -1;
        record_.GetRow = SelectRow;
        record_.WindowMapHandle = CreateMapping(kNoHandle, record_.TotalSize + kMappingTail);
        record_.WindowFileHandle = kNoHandle;
        record_.IsMapping = 1;
        record_.MappingOwner = 1;
        SetMemBlockSize(record_, blockSize);
    }
    PagedImage(const PagedImage&) = delete;
    PagedImage& operator=(const PagedImage&) = delete;
    ~PagedImage() {
        CloseWindow(record_);
        CloseMappedFile(record_);
    }
    PictureTRV& Record() { return record_; }

  private:
    PictureTRV record_{};
};

/// The window as its rules have it, step by step and with nothing of the code.
struct WindowModel {
    int64_t height, rowSize, totalSize, granularity;
    int64_t bytes = 0, rows = 0;
    int64_t first = -1, last = -1;
    std::vector<int64_t> starts;  // of the windows mapped so far

    WindowModel(int64_t storeHeight, int64_t bytesARow, int64_t granule, int64_t wanted)
        : height(storeHeight), rowSize(bytesARow), totalSize(storeHeight * bytesARow), granularity(granule) {
        SetSize(wanted);
    }

    void SetSize(int64_t wanted) {
        int64_t blocks = wanted / granularity;
        if (blocks < granularity) blocks = granularity;
        bytes = blocks * granularity;
        if (bytes > totalSize) bytes = totalSize;
        if (bytes < 5 * rowSize) bytes = 5 * rowSize;
        while (bytes % granularity != 0)
            ++bytes;
        rows = bytes / rowSize;
    }

    void Select(int64_t row) {
        if (row >= first && row <= last) return;
        int64_t start = row;
        if (row >= 2) start = row - 2;
        int64_t limit = height - rows;
        if (start > limit) start = limit < 0 ? 0 : limit;
        first = start;
        last = start + rows - 1;
        starts.push_back(start);
    }
};

/// The windows that the log tells of.
std::vector<int64_t> StartsIn(const std::vector<std::string>& lines) {
    std::vector<int64_t> starts;
    for (const std::string& line : lines) {
        if (line.starts_with("SelectRow ")) starts.push_back(std::stoll(line.substr(10)));
    }
    return starts;
}

TEST(WindowBytes, IsAtLeastAGranuleOfGranules) {
    EXPECT_EQ(WindowBytes(0, 100 * kMiB, 4096, 4096), 16 * kMiB);
    EXPECT_EQ(WindowBytes(-1, 100 * kMiB, 4096, 4096), 16 * kMiB);
    EXPECT_EQ(WindowBytes(16 * kMiB - 1, 100 * kMiB, 4096, 4096), 16 * kMiB);
    EXPECT_EQ(WindowBytes(16 * kMiB, 100 * kMiB, 4096, 4096), 16 * kMiB);
    EXPECT_EQ(WindowBytes(0, int64_t{1} << 40, 16384, 16384), 256 * kMiB);
}

TEST(WindowBytes, DropsWhatIsNotAWholeGranule) {
    EXPECT_EQ(WindowBytes(16 * kMiB + 4095, 100 * kMiB, 4096, 4096), 16 * kMiB);
    EXPECT_EQ(WindowBytes(16 * kMiB + 4096, 100 * kMiB, 4096, 4096), 16 * kMiB + 4096);
}

TEST(WindowBytes, IsReducedToTheStoreAndThenRaisedToAGranule) {
    EXPECT_EQ(WindowBytes(0, kMiB, 4096, 4096), kMiB);
    EXPECT_EQ(WindowBytes(64 * kMiB, kMiB, 4096, 4096), kMiB);
    EXPECT_EQ(WindowBytes(0, 10 * 100 + 1, 100, 64), 1024);
}

TEST(WindowBytes, HoldsFiveRows) {
    EXPECT_EQ(WindowBytes(0, 3 * 4096, 4096, 4096), 5 * 4096);
    EXPECT_EQ(WindowBytes(0, 1000 * 8 * kMiB, 8 * kMiB, 4096), 40 * kMiB);
}

TEST(WindowBytes, StaysInRange) {
    constexpr int64_t kMax = INT64_MAX;
    EXPECT_EQ(WindowBytes(kMax, kMax, 4096, 4096), kMax / 4096 * 4096);
    EXPECT_EQ(WindowBytes(0, kMax / 4096 * 4096, kMax / 4096 * 4096, 4096), kMax / 4096 * 4096);
}

TEST(WindowBytes, SaysWhatItDid) {
    test::LogCapture log;
    static_cast<void>(WindowBytes(0, 100 * kMiB, 4096, 4096));
    EXPECT_TRUE(log.Lines().empty());
    static_cast<void>(WindowBytes(0, 3 * 4096, 4096, 4096));
    EXPECT_EQ(log.Lines(),
              (std::vector<std::string>{"Size too big, so reduce.", "Size too big, so enlarge to 5 rows."}));
}

TEST(WindowPlace, LooksTwoRowsBack) {
    PictureTRV record{};
    record.UnclippedHeight = 100;
    record.MappingRows = 10;
    EXPECT_EQ(FirstRowOfWindow(record, 0), 0);
    EXPECT_EQ(FirstRowOfWindow(record, 1), 1);
    EXPECT_EQ(FirstRowOfWindow(record, 2), 0);
    EXPECT_EQ(FirstRowOfWindow(record, 5), 3);
    EXPECT_EQ(FirstRowOfWindow(record, 92), 90);
    EXPECT_EQ(FirstRowOfWindow(record, 93), 90);
    EXPECT_EQ(FirstRowOfWindow(record, 99), 90);
    record.MappingRows = 101;
    EXPECT_EQ(FirstRowOfWindow(record, 1), 0);
    EXPECT_EQ(FirstRowOfWindow(record, 99), 0);
}

TEST(WindowPlace, StartsTheViewOnAMultipleOf64KB) {
    PictureTRV record{};
    record.RowSize = 12288;
    record.UnclippedHeight = 10000;
    record.TotalSize = record.RowSize * record.UnclippedHeight;
    record.memblocksize = 16 * kMiB;
    record.MappingRows = record.memblocksize / record.RowSize;
    const WindowStretch stretch = StretchOfWindow(record, 7);
    EXPECT_EQ(stretch.rowOffset, 86016);
    EXPECT_EQ(stretch.rest, 20480);
    EXPECT_EQ(stretch.viewOffset, 65536);
    EXPECT_EQ(stretch.viewBytes, 16 * kMiB + 20480);
}

// The last window of an image with rows of 200,704 bytes: 83 rows and 118,784 bytes, more than the tail.
TEST(WindowPlace, EndsTheViewWithTheMapping) {
    PictureTRV record{};
    record.RowSize = 200704;
    record.UnclippedHeight = 1000;
    record.TotalSize = record.RowSize * record.UnclippedHeight;
    record.memblocksize = 16 * kMiB;
    record.MappingRows = 83;
    const WindowStretch stretch = StretchOfWindow(record, FirstRowOfWindow(record, 999));
    EXPECT_EQ(stretch.rowOffset, 917 * 200704);
    EXPECT_EQ(stretch.viewOffset + stretch.viewBytes, record.TotalSize + 65536);
    EXPECT_EQ(StretchOfWindow(record, 916).viewBytes, 16 * kMiB + 16384) << "one row up it fits";
    EXPECT_EQ(StretchOfWindow(record, 0).viewBytes, record.memblocksize);
}

// Rows that the window promises are never left out of the view: then it cannot be mapped.
TEST(WindowPlace, NeverLeavesOutAPromisedRow) {
    PictureTRV record{};
    record.RowSize = 36864;
    record.UnclippedHeight = 3;
    record.TotalSize = 3 * 36864;
    record.memblocksize = 5 * 36864;
    record.MappingRows = 5;
    EXPECT_EQ(StretchOfWindow(record, 0).viewBytes, 5 * 36864);
}

TEST(WindowPlace, LiesInTheMappingForEveryRow) {
    std::mt19937_64 random(11);
    const auto upTo = [&](int64_t n) {
        return static_cast<int64_t>(random() % static_cast<uint64_t>(n + 1));
    };
    for (int i = 0; i < 20000; ++i) {
        PictureTRV record{};
        const int64_t granularity = int64_t{64} << upTo(8);
        record.RowSize = granularity * (1 + upTo(i % 3 == 0 ? 3000 : 20));
        record.UnclippedHeight = 5 + upTo(2000);
        record.TotalSize = record.RowSize * record.UnclippedHeight;
        record.memblocksize = WindowBytes(upTo(64 * kMiB), record.TotalSize, record.RowSize, granularity);
        record.MappingRows = record.memblocksize / record.RowSize;
        const int64_t row = upTo(record.UnclippedHeight - 1);
        const int64_t first = FirstRowOfWindow(record, row);
        ASSERT_GE(row, first);
        ASSERT_LT(row, first + record.MappingRows);
        const WindowStretch stretch = StretchOfWindow(record, first);
        ASSERT_EQ(stretch.viewOffset % kViewAlignment, 0);
        ASSERT_LE(stretch.viewOffset + stretch.viewBytes, record.TotalSize + kMappingTail);
        ASSERT_LE(stretch.rest + record.MappingRows * record.RowSize, stretch.viewBytes);
        if (record.RowSize <= 65536) {
            ASSERT_EQ(stretch.viewBytes, record.memblocksize + stretch.rest);
        }
    }
}

TEST(MappedWindow, FollowsTheRules) {
    std::mt19937 random(7);
    const auto upTo = [&](int64_t n) {
        return static_cast<int64_t>(random() % static_cast<uint64_t>(n + 1));
    };
    int64_t remaps = 0;
    for (int round = 0; round < 60; ++round) {
        const int64_t granularity = int64_t{16} << upTo(3);
        const Granularity scope(granularity);
        const int64_t rowSize = granularity * (1 + upTo(7));
        const int64_t height = 1 + upTo(round % 4 == 0 ? 8 : 700);
        const int64_t wanted = upTo(granularity * granularity * 3);
        PagedImage image(rowSize, height, wanted);
        PictureTRV& record = image.Record();
        WindowModel model(height, rowSize, granularity, wanted);
        ASSERT_EQ(record.memblocksize, model.bytes);
        ASSERT_EQ(record.MappingRows, model.rows);
        std::vector<int64_t> written(static_cast<size_t>(height), -1);
        const test::LogCapture log;
        for (int access = 0; access < 300; ++access) {
            // Forward, backward and anywhere.
            const int64_t row = access < 100   ? access % height
                                : access < 200 ? height - 1 - access % height
                                               : upTo(height - 1);
            uint8_t* address = SelectRow(&record, row);
            model.Select(row);
            ASSERT_NE(address, nullptr);
            ASSERT_EQ(address, record.RowBuffer + (row - record.MappingFirstRow) * rowSize);
            ASSERT_EQ(record.MappingFirstRow, model.first);
            ASSERT_EQ(record.MappingLastRow, model.last);
            // What was written in another window is still there.
            int64_t& expected = written[static_cast<size_t>(row)];
            int64_t found = 0;
            std::memcpy(&found, address, sizeof found);
            ASSERT_EQ(found, expected < 0 ? 0 : expected);
            expected = row * 1000 + access;
            std::memcpy(address, &expected, sizeof expected);
        }
        ASSERT_EQ(StartsIn(log.Lines()), model.starts);
        remaps += static_cast<int64_t>(model.starts.size());
    }
    EXPECT_GT(remaps, 1000);
}

TEST(MappedWindow, TellsEachStep) {
    const Granularity scope(64);
    PagedImage image(1024, 500, 0);
    std::vector<std::string> lines;
    {
        const test::LogCapture log;
        SelectRow(&image.Record(), 77);
        lines = log.Lines();
    }
    EXPECT_EQ(lines, (std::vector<std::string>{"SelectRow 75", "RowSize 1024", "offset 76800", "rest 11264",
                                               "msize 16384", "offset 65536", "offset 4 KB rest 0",
                                               "offset 64 KB rest 0", "done 75"}));
    {
        const test::LogCapture log;
        SelectRow(&image.Record(), 79);
        SelectRow(&image.Record(), 80);
        lines = log.Lines();
    }
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(lines[0], "Unmap");
    EXPECT_EQ(lines[1], "SelectRow 78");
}

TEST(MappedWindow, HasNoRowOutsideTheStore) {
    const Granularity scope(64);
    PagedImage image(1024, 500, 0);
    PictureTRV& record = image.Record();
    for (const int64_t row : {int64_t{-1}, int64_t{500}, INT64_MIN, INT64_MAX}) {
        EXPECT_EQ(SelectRow(&record, row), nullptr) << row;
        EXPECT_EQ(SelectRowMirrored(&record, row), nullptr) << row;
    }
    ASSERT_NE(SelectRow(&record, 499), nullptr);
    EXPECT_EQ(SelectRow(&record, -1), nullptr);
    EXPECT_EQ(record.MappingFirstRow, 495) << "the window stays";
    record.RowOffset = INT64_MAX;
    EXPECT_EQ(SelectRow(&record, INT64_MAX), nullptr);
    record.RowOffset = 0;
    record.Height = INT64_MIN;
    EXPECT_EQ(SelectRowMirrored(&record, INT64_MAX), nullptr);
}

TEST(MappedWindow, IsLostWhenItCannotMove) {
    const Granularity scope(64);
    PagedImage image(1024, 500, 0);
    PictureTRV& record = image.Record();
    ASSERT_NE(SelectRow(&record, 0), nullptr);
    const intptr_t mapping = record.WindowMapHandle;
    record.WindowMapHandle = kNoHandle;
    EXPECT_NE(SelectRow(&record, 3), nullptr) << "it is in the window";
    EXPECT_EQ(SelectRow(&record, 300), nullptr);
    EXPECT_EQ(record.ViewMapped, 0);
    EXPECT_EQ(record.MappingFirstRow, -1);
    EXPECT_EQ(record.MappingLastRow, -1);
    EXPECT_EQ(record.RowBuffer, nullptr);
    EXPECT_EQ(SelectRow(&record, 3), nullptr) << "the old one is gone";
    record.WindowMapHandle = mapping;
    EXPECT_NE(SelectRow(&record, 300), nullptr) << "the next call tries again";
}

TEST(MappedWindow, MirrorsRows) {
    const Granularity scope(64);
    PagedImage image(64, 100, 0);
    PictureTRV& record = image.Record();
    uint8_t* third = SelectRow(&record, 3);
    *third = 33;
    EXPECT_EQ(SelectRowMirrored(&record, 96), third);
    record.RowOffset = 2;
    record.Height = 10;
    EXPECT_EQ(SelectRowMirrored(&record, 8), third);
}

}  // namespace
}  // namespace trv
