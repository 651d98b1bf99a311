// What mapped images do where a file or a mapping is not to be had: an image without a file, an invalid
// image, rows that are missing; never an exception, a crash, or a change to a file that is not theirs.

#include <gmock/gmock.h>

#include "mapped_test.h"

namespace trvtest {
namespace {

namespace fs = std::filesystem;
using testing::Contains;
using testing::StartsWith;

class MappedFailures : public MappedTest {
  protected:
    /// An image of 100 x 10 gray pixels whose file cannot be opened.
    void ExpectWorksWithoutFile(const fs::path& name) {
        Ref image = NewMapped(100, 10, "ImageFormatG", 0, name);
        EXPECT_TRUE(Flag(image, "Valid"));
        EXPECT_TRUE(Flag(image, "IsMapping"));
        EXPECT_EQ(TheHost().Get<std::string>(image, "FilePath"), (folder_ / name).string());
        TheHost().Call(image, "FillRect", 9);
        EXPECT_EQ(StoreOf(image)[9 * 4096 + 99], 9);
        EXPECT_THAT(LogOf([&] { image.Reset(); }), Contains(StartsWith("DeleteFile failed")));
    }
};

TEST_F(MappedFailures, InvalidSizesAndFormatsEndSilently) {
    for (const auto& [width, height, format] : {std::tuple{0, 10, 1},
                                                {10, 0, 1},
                                                {-5, 10, 1},
                                                {10, -5, 1},
                                                {10, 10, 0},
                                                {10, 10, 14},
                                                {10, 10, 49}}) {
        const Ref image = TheHost().Construct("PictureTRV", width, height, format, 0,
                                              TheHost().NewFolderItem(folder_ / "pixels"));
        EXPECT_FALSE(Flag(image, "Valid"));
        EXPECT_FALSE(Flag(image, "IsMapping"));
        EXPECT_FALSE(TheHost().Call(image, "MapInRows", 0, -1).ToBool());
    }
    EXPECT_EQ(folder_.Count(), 0);
}

TEST_F(MappedFailures, AFolderThatIsNotThereMakesAnImageWithoutFile) {
    ExpectWorksWithoutFile(fs::path("no folder") / "pixels");
    EXPECT_EQ(folder_.Count(), 0);
}

TEST_F(MappedFailures, AFolderIsNoFile) {
    fs::create_directory(folder_ / "folder");
    ExpectWorksWithoutFile("folder");
    EXPECT_TRUE(fs::is_directory(folder_ / "folder"));
    fs::remove(folder_ / "folder");
}

TEST_F(MappedFailures, ADeviceIsNoFile) {
    std::error_code error;
    fs::create_symlink("/dev/null", folder_ / "device", error);
    if (error || !fs::is_character_file(folder_ / "device")) GTEST_SKIP() << "there are no devices here";
    ExpectWorksWithoutFile("device");
    EXPECT_TRUE(fs::is_symlink(folder_ / "device"));
    EXPECT_TRUE(fs::is_character_file("/dev/null"));
    fs::remove(folder_ / "device");
}

// A file that was never opened is not the image's to delete, even if one of that name has come up meanwhile.
TEST_F(MappedFailures, DeletesOnlyWhatItOpened) {
    Ref image = NewMapped(100, 10, "ImageFormatG", 0, fs::path("later") / "pixels");
    ASSERT_TRUE(Flag(image, "Valid"));
    fs::create_directory(folder_ / "later");
    folder_.Write(fs::path("later") / "pixels", "somebody's");
    image.Reset();
    EXPECT_EQ(folder_.Read(fs::path("later") / "pixels"), "somebody's");
    fs::remove_all(folder_ / "later");
}

TEST_F(MappedFailures, AnItemWithoutAPathMakesAnImageWithoutFile) {
    trvhost::Options options;
    options.missingMembers = {"FolderItem.NativePath"};
    Load(options);
    Ref image;
    const auto lines = LogOf([&] { image = NewMapped(100, 10, "ImageFormatG", 0, "pixels"); });
    EXPECT_THAT(lines, Contains("CreateFileLongPath failed"));
    EXPECT_TRUE(Flag(image, "Valid"));
    EXPECT_EQ(TheHost().Get<std::string>(image, "FilePath"), "");
    EXPECT_EQ(folder_.Count(), 0);
    TheHost().Call(image, "FillRect", 9);
    EXPECT_EQ(StoreOf(image)[9 * 4096 + 99], 9);
}

TEST_F(MappedFailures, AnUnreadableStringIsNoPath) {
    trvhost::Options options;
    options.missingEntries = {"StringGetCString", "PluginGetStringData"};
    Load(options);
    EXPECT_TRUE(Flag(NewMapped(100, 10, "ImageFormatG", 0, "pixels"), "Valid"));
    EXPECT_EQ(folder_.Count(), 0);
}

// 2^60 bytes: a number that the system understands, and a file that no disk can hold.
TEST_F(MappedFailures, AFileWithoutRoomIsDeleted) {
    folder_.Write("old", "contents");
    Ref image;
    const auto lines = LogOf([&] {
        image = TheHost().Construct("PictureTRV", int64_t{1} << 30, int64_t{1} << 30,
                                    Constant("ImageFormatG"), 0, TheHost().NewFolderItem(folder_ / "old"));
    });
    EXPECT_THAT(lines, Contains("CreateFileMapping failed 0"));
    EXPECT_FALSE(Flag(image, "Valid"));
    EXPECT_FALSE(Flag(image, "IsMapping"));
    EXPECT_EQ(TheHost().Get<std::string>(image, "FilePath"), "");
    EXPECT_FALSE(fs::exists(folder_ / "old"));
    TheHost().Call(image, "FillRect", 1);
}

TEST_F(MappedFailures, SizesBeyond64BitsMakeAnInvalidImage) {
    folder_.Write("kept", "contents");
    constexpr int64_t kMax = INT64_MAX;
    for (const auto& [width, height] : {std::pair{kMax, kMax},
                                        {kMax, int64_t{1}},
                                        {int64_t{1}, kMax},
                                        {int64_t{1} << 61, int64_t{2}},
                                        {int64_t{1} << 31, int64_t{1} << 32},
                                        {kMax / 4, int64_t{1}},
                                        {int64_t{4096}, kMax / 4096},
                                        {int64_t{4096}, (kMax - 65536) / 4096 + 1}}) {
        for (const char* format : {"ImageFormatG", "ImageFormatRGBA", "ImageFormatG8"}) {
            for (const bool withFile : {true, false}) {
                const trvhost::FolderItem item =
                    withFile ? TheHost().NewFolderItem(folder_ / "kept") : trvhost::FolderItem();
                if (!withFile && std::string_view(format) != "ImageFormatRGBA") continue;
                const Ref image = TheHost().Construct("PictureTRV", width, height, Constant(format), 0, item);
                EXPECT_FALSE(Flag(image, "Valid")) << width << " x " << height << " " << format;
                TheHost().Call(image, "FillRect", 1);
            }
            if (!fs::exists(folder_ / "kept")) folder_.Write("kept", "contents");
        }
    }
    fs::remove(folder_ / "kept");
}

// Whatever the numbers are: an image or none, and no file in the end.
TEST_F(MappedFailures, AnyNumbersWillDo) {
    std::mt19937_64 random(5);
    const auto anything = [&] {
        const auto value = static_cast<int64_t>(random() >> (random() % 64));
        return random() % 4 == 0 ? -value : value;
    };
    for (int i = 0; i < 300; ++i) {
        int64_t width = anything(), height = anything();
        // Gigabytes that this disk does have would only take time.
        if (width > 0 && height > 0 && height < (int64_t{1} << 50) / (width / 4096 + 1) / 4096) {
            width %= 5000;
            height %= 500;
        }
        const trvhost::FolderItem item =
            i % 2 == 0 ? TheHost().NewFolderItem(folder_ / "pixels") : trvhost::FolderItem();
        const Ref image = TheHost().Construct("PictureTRV", width, height, 1 + i % 48, anything(), item);
        TheHost().Call(image, "FillRect", 0, 0, 10, 10, 1);
        TheHost().Call(image, "FillRect", 0, height - 1, 10, 10, 1);
        TheHost().Set(image, "MappingBlockSize", anything());
        TheHost().Call(image, "MapInRows", anything(), anything());
        TheHost().Call(image, "ClearRect", anything(), anything(), 1, 1);
    }
}

// Somebody else cuts the file short. The window that is mapped is lost to everyone, so the test moves it
// first.
TEST_F(MappedFailures, RowsThatCannotBeMappedAreMissing) {
    const Ref image = NewMapped(1000, 10000, "ImageFormatRGBA", 0, "pixels");
    Touch(image, 0, 5);
    std::error_code error;
    fs::resize_file(folder_ / "pixels", 20 << 20, error);
    if (error) GTEST_SKIP() << "the system does not allow it: " << error.message();
    const auto lines = LogOf([&] { Touch(image, 9999); });
    EXPECT_THAT(lines, Contains(StartsWith("MapViewOfFile failed! ")));
    EXPECT_TRUE(Flag(image, "Valid"));
    EXPECT_EQ(Number(image, "MappingFirstRow"), -1);
    EXPECT_EQ(Number(image, "MappingLastRow"), -1);
    EXPECT_FALSE(TheHost().Get<Ref>(image, "Memory"));
    EXPECT_FALSE(TheHost().Call(image, "MapInRows", 9000, 9999).ToBool());
    Touch(image, 1000, 6);
    EXPECT_EQ(Number(image, "MappingFirstRow"), 998) << "what is left can be mapped";
    TheHost().Call(image, "FillRect", 7);
    TheHost().Call(image, "ClearRect");
    Touch(image, 0, 8);
    EXPECT_EQ(folder_.Read("pixels")[0], 8);
}

TEST_F(MappedFailures, AFileThatIsGoneIsNotMissed) {
    Ref image = NewMapped(1000, 10000, "ImageFormatRGBA", 0, "pixels");
    std::error_code error;
    fs::remove(folder_ / "pixels", error);
    if (error) GTEST_SKIP() << "the system does not allow it: " << error.message();
    TheHost().Call(image, "FillRect", 7);
    EXPECT_EQ(StoreOf(image)[9999 * 4096], 7);
    EXPECT_THAT(LogOf([&] { image.Reset(); }), Contains(StartsWith("DeleteFile failed ")));
}

}  // namespace
}  // namespace trvtest
