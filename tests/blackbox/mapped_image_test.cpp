// Mapped images from outside: their store, their window, their end.

#include <gmock/gmock.h>

#include "mapped_test.h"

namespace trvtest {
namespace {

namespace fs = std::filesystem;
using testing::Contains;
using testing::ElementsAre;
using testing::StartsWith;

constexpr int64_t kMiB = 1 << 20;

class MappedImage : public MappedTest {};

TEST_F(MappedImage, LiesInItsFile) {
    {
        const Ref image = NewMapped(100, 10, "ImageFormatRGB", 0, "pixels");
        EXPECT_TRUE(Flag(image, "Valid"));
        EXPECT_TRUE(Flag(image, "IsMapping"));
        EXPECT_EQ(Number(image, "RowSize"), 4096);
        EXPECT_EQ(Number(image, "TotalSize"), 40960);
        EXPECT_EQ(Number(image, "MappingBlockSize"), 40960);
        EXPECT_EQ(Number(image, "MappingRows"), 10);
        EXPECT_EQ(Number(image, "MappingFirstRow"), 0);
        EXPECT_EQ(Number(image, "MappingLastRow"), 9);
        EXPECT_EQ(Number(image, "UnclippedHeight"), 10);
        EXPECT_EQ(TheHost().Get<std::string>(image, "FilePath"), (folder_ / "pixels").string());
        EXPECT_FALSE(TheHost().Get<Ref>(image, "MemoryTarget"));
        EXPECT_FALSE(TheHost().Get<Ref>(image, "Parent"));
        EXPECT_EQ(fs::file_size(folder_ / "pixels"), 40960 + 65536);
    }
    EXPECT_FALSE(fs::exists(folder_ / "pixels"));
}

TEST_F(MappedImage, WritesItsRowsIntoTheFile) {
    const Ref taller = NewMapped(3, 20, "ImageFormatBGR", 0, "taller");
    TheHost().Call(taller, "FillRectRGB", 1, 19, 2, 1, 1, 2, 3);
    const std::string file = folder_.Read("taller");
    ASSERT_EQ(file.size(), 20 * 4096 + 65536);
    EXPECT_EQ(file.substr(19 * 4096, 10), std::string("\0\0\0\3\2\1\3\2\1\0", 10));
}

TEST_F(MappedImage, RaisesRowsToPages) {
    for (const auto& [width, format, rowSize] : {std::tuple{100, "ImageFormatRGB", 4096},
                                                 {1365, "ImageFormatRGB", 4096},
                                                 {1366, "ImageFormatRGB", 8192},
                                                 {1024, "ImageFormatRGBA", 4096},
                                                 {4097, "ImageFormatG", 8192},
                                                 {1, "ImageFormatBuffer", 4096}}) {
        const Ref image = NewMapped(width, 30, format, 0, std::nullopt);
        EXPECT_EQ(Number(image, "RowSize"), rowSize) << width << " " << format;
        EXPECT_EQ(Number(image, "TotalSize"), rowSize * 30);
        EXPECT_TRUE(Flag(image, "Valid"));
    }
}

TEST_F(MappedImage, HasAWindowOf16MiBAtLeast) {
    const Ref image = NewMapped(100, 10000, "ImageFormatRGB", 0, "pixels");
    EXPECT_EQ(Number(image, "MappingBlockSize"), 16 * kMiB);
    EXPECT_EQ(Number(image, "MappingRows"), 4096);
    const Ref more = NewMapped(100, 10000, "ImageFormatRGB", 17 * kMiB + 5, std::nullopt);
    EXPECT_EQ(Number(more, "MappingBlockSize"), 17 * kMiB);
    EXPECT_EQ(Number(more, "MappingRows"), 4352);
    const Ref all = NewMapped(100, 10000, "ImageFormatRGB", 400 * kMiB, std::nullopt);
    EXPECT_EQ(Number(all, "MappingBlockSize"), 10000 * 4096);
    const Ref negative = NewMapped(100, 10000, "ImageFormatRGB", -7, std::nullopt);
    EXPECT_EQ(Number(negative, "MappingBlockSize"), 16 * kMiB);
}

TEST_F(MappedImage, AsksForFiveRows) {
    const Ref image = NewMapped(100, 3, "ImageFormatRGB", 0, "three");
    EXPECT_TRUE(Flag(image, "Valid"));
    EXPECT_EQ(Number(image, "MappingRows"), 5);
    EXPECT_EQ(Number(image, "MappingLastRow"), 4);
    // Two rows beyond the store fit the tail of 64 KB up to 32 KB each.
    EXPECT_TRUE(Flag(NewMapped(8 * 4096, 3, "ImageFormatG", 0, "fits"), "Valid"));
    EXPECT_FALSE(Flag(NewMapped(8 * 4096 + 1, 3, "ImageFormatG", 0, "too long"), "Valid"));
    EXPECT_TRUE(Flag(NewMapped(4 * 4096, 1, "ImageFormatG", 0, "one"), "Valid"));
    EXPECT_FALSE(Flag(NewMapped(4 * 4096 + 1, 1, "ImageFormatG", 0, "one too long"), "Valid"));
}

TEST_F(MappedImage, KeepsTheHandlesOfAnImageWithoutAFirstWindow) {
    Ref image = NewMapped(100000, 1, "ImageFormatG", 0, "pixels");
    EXPECT_FALSE(Flag(image, "Valid"));
    EXPECT_TRUE(Flag(image, "IsMapping"));
    EXPECT_EQ(Number(image, "MappingFirstRow"), -1);
    EXPECT_TRUE(fs::exists(folder_ / "pixels"));
    TheHost().Call(image, "FillRect", 1);
    EXPECT_FALSE(TheHost().Call(image, "MapInRows", 0, 0).ToBool());
    TheHost().Set(image, "MappingBlockSize", 1);
    image.Reset();
    EXPECT_FALSE(fs::exists(folder_ / "pixels"));
}

TEST_F(MappedImage, MovesItsWindow) {
    const Ref image = NewMapped(1000, 10000, "ImageFormatRGBA", 0, "pixels");
    const auto windows = WindowsOf([&] {
        Touch(image, 0);
        Touch(image, 9999);
        Touch(image, 0);
    });
    EXPECT_THAT(windows, ElementsAre(5904, 0));
    Touch(image, 9999);
    EXPECT_EQ(Number(image, "MappingFirstRow"), 5904);
    EXPECT_EQ(Number(image, "MappingLastRow"), 9999);
    Touch(image, 5);
    EXPECT_EQ(Number(image, "MappingFirstRow"), 3);
    EXPECT_EQ(Number(image, "MappingLastRow"), 4098);
    Touch(image, 2);
    EXPECT_EQ(Number(image, "MappingFirstRow"), 0);
    Touch(image, 9999);
    Touch(image, 1);
    EXPECT_EQ(Number(image, "MappingFirstRow"), 1);
}

TEST_F(MappedImage, StaysWhereTheWindowHoldsAll) {
    const Ref image = NewMapped(1000, 10000, "ImageFormatRGBA", 1 << 30, "pixels");
    EXPECT_THAT(WindowsOf([&] {
                    Touch(image, 0);
                    Touch(image, 9999);
                    Touch(image, 0);
                }),
                ElementsAre());
}

TEST_F(MappedImage, GoesDownInFewSteps) {
    const Ref image = NewMapped(1000, 10000, "ImageFormatRGBA", 0, "pixels");
    // A window of 4096 rows has two of them above the row that moved it.
    EXPECT_THAT(WindowsOf([&] { TheHost().Call(image, "FillRect", 3); }), ElementsAre(4094, 5904));
}

TEST_F(MappedImage, MapsInRows) {
    const Ref image = NewMapped(1000, 10000, "ImageFormatRGBA", 0, "pixels");
    const auto mapInRows = [&](int64_t first, int64_t last) {
        return TheHost().Call(image, "MapInRows", first, last).ToBool();
    };
    EXPECT_TRUE(mapInRows(5000, 5999));
    EXPECT_EQ(Number(image, "MappingFirstRow"), 4998);
    EXPECT_EQ(Number(image, "MappingRows"), 4096);
    EXPECT_TRUE(mapInRows(1000, 5999));
    EXPECT_EQ(Number(image, "MappingRows"), 5000);
    EXPECT_EQ(Number(image, "MappingBlockSize"), 5000 * 4096);
    EXPECT_EQ(Number(image, "MappingFirstRow"), 998) << "so that its last two rows are outside";
    EXPECT_TRUE(mapInRows(-5, -1));
    EXPECT_EQ(Number(image, "MappingFirstRow"), 0);
    EXPECT_EQ(Number(image, "MappingLastRow"), 9999);
    EXPECT_EQ(Number(image, "MappingBlockSize"), 10000 * 4096) << "it stays as large";
    EXPECT_TRUE(mapInRows(9999, 20000));
    EXPECT_TRUE(mapInRows(INT64_MIN, INT64_MAX));
}

TEST_F(MappedImage, MapsInNothingForARangeWithoutRows) {
    const Ref image = NewMapped(1000, 10000, "ImageFormatRGBA", 0, "pixels");
    Touch(image, 9999);
    EXPECT_FALSE(TheHost().Call(image, "MapInRows", 10, 5).ToBool());
    EXPECT_FALSE(TheHost().Call(image, "MapInRows", 10000, -1).ToBool());
    EXPECT_FALSE(TheHost().Call(image, "MapInRows", INT64_MAX, INT64_MAX).ToBool());
    EXPECT_EQ(Number(image, "MappingFirstRow"), 5904);
    EXPECT_EQ(Number(image, "MappingBlockSize"), 16 * kMiB);
}

TEST_F(MappedImage, TellsWhatMapInRowsDoes) {
    const Ref image = NewMapped(1000, 10000, "ImageFormatRGBA", 0, "pixels");
    const Ref memory = NewImage(10, 10, "ImageFormatRGB");
    const Ref nothing = TheHost().New("PictureTRV");
    const auto log = [&](const Ref& on, int64_t first, int64_t last) {
        return LogOf([&] { TheHost().Call(on, "MapInRows", first, last); });
    };
    EXPECT_THAT(log(image, 10, 5), ElementsAre("FirstRow 10", "LastRow 5", "last before first?"));
    EXPECT_THAT(log(image, 0, 5), ElementsAre("FirstRow 0", "LastRow 5", "Mapping not needed as in range"));
    EXPECT_THAT(log(memory, 0, 5), ElementsAre("FirstRow 0", "LastRow 5", "Can't map in mapped images"));
    EXPECT_THAT(log(nothing, 0, 5), ElementsAre("FirstRow 0", "LastRow 5", "last before first?"));
    EXPECT_THAT(log(image, 100, 5099),
                ElementsAre("FirstRow 100", "LastRow 5099", "RowCount 5000", "Unmap",
                            "BlockSizeNeeded 20480000, 16777216", "setMemBlockSize 20480000",
                            "AllocationGranularity 4096", "me->BufRow 5000", "me->memblocksize 20480000",
                            "BufRow 5000", "memblocksize 20480000", "SelectRow 98", "RowSize 4096",
                            "offset 401408", "rest 8192", "msize 20488192", "offset 393216",
                            "offset 4 KB rest 0", "offset 64 KB rest 0", "done 98"));
}

TEST_F(MappedImage, AnImageInMemoryHasAllRowsIn) {
    const Ref image = NewImage(10, 10, "ImageFormatRGB");
    EXPECT_TRUE(TheHost().Call(image, "MapInRows", 0, 9).ToBool());
    EXPECT_FALSE(TheHost().Call(image, "MapInRows", 5, 4).ToBool());
    EXPECT_EQ(Number(image, "MappingRows"), 10);
    EXPECT_FALSE(TheHost().Call(TheHost().New("PictureTRV"), "MapInRows", 0, 0).ToBool());
}

TEST_F(MappedImage, TakesANewWindowSizeAtOnce) {
    const Ref image = NewMapped(1000, 10000, "ImageFormatRGBA", 0, "pixels");
    Touch(image, 9999);
    TheHost().Set(image, "MappingBlockSize", 20 * kMiB);
    EXPECT_EQ(Number(image, "MappingBlockSize"), 20 * kMiB);
    EXPECT_EQ(Number(image, "MappingRows"), 5120);
    EXPECT_EQ(Number(image, "MappingFirstRow"), 0);
    EXPECT_EQ(Number(image, "MappingLastRow"), 5119);
    TheHost().Set(image, "MappingBlockSize", 0);
    EXPECT_EQ(Number(image, "MappingRows"), 4096);
    TheHost().Set(image, "MappingBlockSize", INT64_MAX);
    EXPECT_EQ(Number(image, "MappingRows"), 10000);
    TheHost().Set(image, "MappingBlockSize", INT64_MIN);
    EXPECT_EQ(Number(image, "MappingRows"), 4096);
}

TEST_F(MappedImage, AWindowSizeOfAnImageInMemoryIsANumberOnly) {
    const MemoryImage image(TheHost(), 100, 1000, Constant("ImageFormatRGB"));
    const auto before = image.Bytes();
    TheHost().Set(image, "MappingBlockSize", 0);
    EXPECT_EQ(Number(image, "MappingBlockSize"), 303104) << "its size, raised to pages";
    EXPECT_EQ(Number(image, "MappingRows"), 1010);
    EXPECT_EQ(Number(image, "MappingFirstRow"), 0);
    EXPECT_EQ(image.Bytes(), before);
    const Ref nothing = TheHost().New("PictureTRV");
    TheHost().Set(nothing, "MappingBlockSize", 5000);
    EXPECT_EQ(Number(nothing, "MappingRows"), 0);
    EXPECT_EQ(Number(nothing, "MappingBlockSize"), 0);
}

TEST_F(MappedImage, WorksWithoutAFile) {
    const Ref image = NewMapped(1000, 10000, "ImageFormatRGBA", 0, std::nullopt);
    EXPECT_TRUE(Flag(image, "Valid"));
    EXPECT_EQ(TheHost().Get<std::string>(image, "FilePath"), "");
    Touch(image, 9999, 77);
    Touch(image, 0, 78);
    EXPECT_THAT(WindowsOf([&] { Touch(image, 9999, 79); }), ElementsAre(5904));
    const auto bytes = StoreOf(image);
    ASSERT_EQ(bytes.size(), 10000 * 4096);
    EXPECT_EQ(bytes[0], 78);
    EXPECT_EQ(bytes[9999 * 4096 + 3], 79);
    EXPECT_EQ(bytes[5000 * 4096], 0);
    EXPECT_EQ(folder_.Count(), 0);
}

TEST_F(MappedImage, TakesOverAFileWithItsContents) {
    folder_.Write("old", std::string(4096, 'A') + std::string(4096, 'B') + std::string(300000, 'C'));
    {
        const Ref image = NewMapped(100, 10, "ImageFormatG", 0, "old");
        EXPECT_EQ(fs::file_size(folder_ / "old"), 308192) << "a longer file stays as long";
        const auto bytes = StoreOf(image);
        EXPECT_EQ(bytes[0], 'A');
        EXPECT_EQ(bytes[4096], 'B');
        EXPECT_EQ(bytes[9 * 4096 + 99], 'C');
    }
    EXPECT_FALSE(fs::exists(folder_ / "old"));
    folder_.Write("short", "xyz");
    const Ref image = NewMapped(100, 10, "ImageFormatG", 0, "short");
    EXPECT_EQ(fs::file_size(folder_ / "short"), 40960 + 65536);
    EXPECT_EQ(StoreOf(image)[2], 'z');
    EXPECT_EQ(StoreOf(image)[3], 0);
}

TEST_F(MappedImage, DeletesItsFileAtClose) {
    folder_.Write("old", "important");
    const Ref image = NewMapped(100, 10, "ImageFormatG", 0, "old");
    TheHost().Call(image, "Close");
    EXPECT_FALSE(fs::exists(folder_ / "old"));
    EXPECT_TRUE(Flag(image, "Valid"));
    EXPECT_TRUE(Flag(image, "IsMapping"));
    EXPECT_EQ(Number(image, "Width"), 100);
    EXPECT_EQ(Number(image, "MappingFirstRow"), -1);
    EXPECT_FALSE(TheHost().Get<Ref>(image, "Memory"));
    EXPECT_EQ(TheHost().Get<std::string>(image, "FilePath"), "");
    // A file of that name that comes later is nobody's.
    folder_.Write("old", "new");
    TheHost().Call(image, "Close");
    EXPECT_FALSE(TheHost().Call(image, "MapInRows", 0, -1).ToBool());
    TheHost().Set(image, "MappingBlockSize", 100);
    TheHost().Call(image, "FillRect", 1);
    TheHost().Call(image, "ClearRect");
    EXPECT_FALSE(TheHost().Call(image, "FillRectApply", 0, 0, 10, 10, 1, 2, 3, 4).ToBool());
    EXPECT_EQ(folder_.Read("old"), "new");
    fs::remove(folder_ / "old");
}

TEST_F(MappedImage, HasPathsOfAnyKind) {
    const fs::path names[] = {u8"Bäume 木 \U0001F332 'x'", fs::path(std::string(200, 'n'))};
    for (const fs::path& name : names) {
        const Ref image = NewMapped(100, 10, "ImageFormatG", 0, name);
        EXPECT_TRUE(Flag(image, "Valid"));
        EXPECT_TRUE(fs::exists(folder_ / name));
        const std::u8string path = (folder_ / name).u8string();
        EXPECT_EQ(TheHost().Get<std::string>(image, "FilePath"), std::string(path.begin(), path.end()));
    }
}

TEST_F(MappedImage, CannotBeCloned) {
    const Ref image = NewMapped(100, 10, "ImageFormatG", 0, "pixels");
    Ref clone;
    EXPECT_THAT(LogOf([&] { clone = TheHost().Call(image, "Clone").ToThing(); }),
                ElementsAre("Can't clone mapped images"));
    EXPECT_FALSE(clone);
}

TEST_F(MappedImage, ShowsItsWindowAsMemory) {
    const Ref image = NewMapped(1000, 10000, "ImageFormatRGBA", 0, "pixels");
    Touch(image, 9999, 99);
    Touch(image, 5904, 60);
    ASSERT_EQ(Number(image, "MappingFirstRow"), 5904);
    const auto memory = TheHost().Get<trvhost::MemoryBlock>(image, "Memory");
    ASSERT_TRUE(memory);
    EXPECT_EQ(memory.Size(), -1);
    EXPECT_EQ(static_cast<uint8_t>(memory.Data()[0]), 60);
    EXPECT_EQ(static_cast<uint8_t>(memory.Data()[4095 * 4096]), 99);
}

// Any construction starts afresh: what an earlier one left behind ends first.
TEST_F(MappedImage, CanBeConstructedAgain) {
    const Ref image = NewMapped(100, 10, "ImageFormatG", 0, "first");
    const auto construct = [&](auto... args) { TheHost().Call(image, "Constructor", args...); };
    construct(200, 20, Constant("ImageFormatRGB"), 0, TheHost().NewFolderItem(folder_ / "second"));
    EXPECT_FALSE(fs::exists(folder_ / "first"));
    EXPECT_TRUE(fs::exists(folder_ / "second"));
    EXPECT_EQ(Number(image, "Width"), 200);
    construct(200, 20, Constant("ImageFormatRGB"), 0, TheHost().NewFolderItem(folder_ / "second"));
    EXPECT_TRUE(fs::exists(folder_ / "second"));
    EXPECT_TRUE(Flag(image, "Valid"));
    construct(30, 30, Constant("ImageFormatRGB"));
    EXPECT_FALSE(fs::exists(folder_ / "second"));
    EXPECT_FALSE(Flag(image, "IsMapping"));
    EXPECT_TRUE(Flag(image, "Valid"));
    TheHost().Call(image, "FillRect", 9);
    construct(30, 30, Constant("ImageFormatRGB"), 0, nullptr);
    EXPECT_TRUE(Flag(image, "IsMapping"));
    construct(0, 30, Constant("ImageFormatRGB"), 0, TheHost().NewFolderItem(folder_ / "third"));
    EXPECT_FALSE(Flag(image, "Valid"));
    EXPECT_EQ(folder_.Count(), 0);
}

TEST_F(MappedImage, TwoImagesCanHaveOneFile) {
    Ref first = NewMapped(1000, 10000, "ImageFormatRGBA", 0, "shared");
    Ref second = NewMapped(1000, 10000, "ImageFormatRGBA", 0, "shared");
    ASSERT_TRUE(Flag(first, "Valid"));
    ASSERT_TRUE(Flag(second, "Valid"));
    Touch(first, 3000, 42);
    EXPECT_EQ(StoreOf(second)[3000 * 4096], 42);
    // A view of the other image keeps the file from being cut, not from being rewound.
    EXPECT_THAT(LogOf([&] { first.Reset(); }), Contains("SetFilePointer ok"));
    // What is left of the file is the system's to say; the process must live on.
    for (const int64_t y : {0, 9999, 5000})
        Touch(second, y);
    second.Reset();
    EXPECT_FALSE(fs::exists(folder_ / "shared"));
}

TEST_F(MappedImage, TellsHowItBegins) {
    Ref image;
    const auto lines = LogOf([&] { image = NewMapped(100, 10, "ImageFormatRGB", 5, "pixels"); });
    EXPECT_THAT(
        lines,
        ElementsAre("ImageConstructorFile 100, 10, 1", "memblocksize 5", "Size 40960", "qSize.LowPart 106496",
                    "qSize.HighPart 0", "UnixFilePathUTF16 file...", "Try UTF8 to UTF16 conversion...",
                    "CreateFileLongPath ok", "GetFileSize high 0", "GetFileSize low 106496",
                    "CreateFileMapping", "CreateFileMapping ok", "Created file mapping for Windows",
                    StartsWith("me->WindowFilePath "), StartsWith("me->WindowFileHandle "),
                    StartsWith("me->WindowMapHandle "), "setMemBlockSize 5", "AllocationGranularity 4096",
                    "Size too big, so reduce.", "me->BufRow 10", "me->memblocksize 40960", "get first row",
                    "SelectRow 0", "RowSize 4096", "offset 0", "rest 0", "msize 40960", "offset 0",
                    "offset 4 KB rest 0", "offset 64 KB rest 0", "done 0", "got first row",
                    "me->RowSize 4096", "me->TotalSize 40960", StartsWith("me->RowBuffer ")));
}

TEST_F(MappedImage, TellsHowItEnds) {
    Ref image = NewMapped(100, 10, "ImageFormatRGB", 0, "pixels");
    EXPECT_THAT(LogOf([&] { image.Reset(); }),
                ElementsAre("Unmapping", "UnmapViewOfFile ok", "Free Mapping", "CloseHandle map ok",
                            "SetFilePointer ok", "CloseHandle file ok", StartsWith("me->WindowFilePath "),
                            "DeleteFile ok"));
    image = NewMapped(100, 10, "ImageFormatRGB", 0, std::nullopt);
    EXPECT_THAT(LogOf([&] { image.Reset(); }),
                ElementsAre("Unmapping", "UnmapViewOfFile ok", "Free Mapping", "CloseHandle map ok",
                            StartsWith("SetFilePointer failed "), StartsWith("CloseHandle file failed "),
                            StartsWith("me->WindowFilePath ")));
    image = NewImage(10, 10, "ImageFormatG");
    EXPECT_THAT(LogOf([&] { image.Reset(); }), ElementsAre());
}

TEST_F(MappedImage, TellsTheSetterOfItsWindowSize) {
    const Ref image = NewMapped(100, 5000, "ImageFormatRGB", 0, "pixels");
    EXPECT_THAT(LogOf([&] { TheHost().Set(image, "MappingBlockSize", 17 * kMiB); }),
                ElementsAre("SetMemBlockSize 17825792", "Unmap", "setMemBlockSize 17825792",
                            "AllocationGranularity 4096", "me->BufRow 4352", "me->memblocksize 17825792",
                            "SelectRow 0", "RowSize 4096", "offset 0", "rest 0", "msize 17825792", "offset 0",
                            "offset 4 KB rest 0", "offset 64 KB rest 0", "done 0"));
}

// Rows longer than the tail behind the store: the last window must not reach beyond the mapping.
TEST_F(MappedImage, ReachesItsLastRowsHoweverLongTheyAre) {
    const Ref image = NewMapped(200704, 100, "ImageFormatG", 0, "long rows");
    ASSERT_TRUE(Flag(image, "Valid"));
    EXPECT_EQ(Number(image, "MappingRows"), 83);
    TheHost().Call(image, "FillRect", 200);
    EXPECT_EQ(Number(image, "MappingLastRow"), 99);
    const auto bytes = StoreOf(image);
    EXPECT_EQ(std::count(bytes.begin(), bytes.end(), 200), 200704 * 100);
}

// The same calls on a mapped image and on one in memory give the same pixels.
TEST_F(MappedImage, WorksLikeAnImageInMemory) {
    std::mt19937 random(3);
    const auto between = [&](int64_t low, int64_t high) {
        return std::uniform_int_distribution<int64_t>(low, high)(random);
    };
    for (const char* format : {"ImageFormatRGB", "ImageFormatABGR", "ImageFormatG", "ImageFormatGA",
                               "ImageFormatCMYKA", "ImageFormatGray16", "ImageFormat2of4"}) {
        const int64_t width = between(1, 3000), height = between(1200, 3000);
        const Ref mapped = NewMapped(width, height, format, 0, "pixels");
        const int64_t rowSize = Number(mapped, "RowSize");
        const MemoryImage memory(TheHost(), width, height, Constant(format), rowSize);
        memory.SetBytes(std::vector<uint8_t>(static_cast<size_t>(rowSize * height), 0));
        for (int i = 0; i < 60; ++i) {
            const int64_t x = between(-50, width), y = between(-500, height), w = between(-width, width),
                          h = between(-300, 1000), value = between(0, 255), alpha = between(0, 255);
            const auto both = [&](auto... call) {
                TheHost().Call(mapped, call...);
                TheHost().Call(memory, call...);
            };
            switch (between(0, 4)) {
                case 0:
                    both("FillRect", x, y, w, h, value);
                    break;
                case 1:
                    both("FillRect", x, y, w, h, value, alpha);
                    break;
                case 2:
                    both("FillRectRGB", x, y, w, h, value, alpha, i, alpha);
                    break;
                case 3:
                    both("FillRectApply", x, y, w, h, value, i, alpha, alpha);
                    break;
                default:
                    both("ClearRect", x, y, w, h);
                    break;
            }
        }
        ASSERT_EQ(StoreOf(mapped) == memory.Bytes(), true) << format;
    }
}

// The host's event loop runs during an operation, and with it whatever a program does there.
TEST_F(MappedImage, CanBeClosedDuringAnOperation) {
    const Ref image = NewMapped(1000, 20000, "ImageFormatRGBA", 0, "pixels");
    TheHost().Set(image, "YieldTicks", -1);
    int yields = 0;
    TheHost().OnYield([&] {
        if (++yields == 2) TheHost().Call(image, "Close");
    });
    TheHost().Call(image, "FillRect", 7);
    TheHost().Call(image, "ClearRect");
    EXPECT_GE(yields, 1);
    TheHost().OnYield({});
}

}  // namespace
}  // namespace trvtest
