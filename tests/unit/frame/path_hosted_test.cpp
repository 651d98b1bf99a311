#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "blackbox/scratch_folder.h"
#include "frame/heap_objects.h"
#include "frame/path.h"
#include "platform/file_mapping.h"
#include "platform/long_path.h"
#include "unit/failing_memory.h"
#include "unit/frame/log_capture.h"
#include "unit/hosted_test.h"

namespace trv {
namespace {

namespace fs = std::filesystem;

using test::FailingMemory;
using test::LogCapture;

using Lines = std::vector<std::string>;

std::string Utf8Of(const fs::path& path) {
    const std::u8string text = path.u8string();
    return {text.begin(), text.end()};
}

class Paths : public test::HostedTest {
  protected:
    trvtest::ScratchFolder folder_;
};

TEST_F(Paths, FormsOfAFolderItem) {
    const fs::path file = folder_ / u8"Gr\u00FC\u00DFe \u6F22.txt";
    const trvhost::FolderItem item = TheHost().NewFolderItem(file);
    const auto before = TheHost().Live();
    {
        Path path(ObjectOf(item));
        EXPECT_EQ(item.References(), 2);
        EXPECT_EQ(path.UnixFilePathUTF16(), file.u16string());
        EXPECT_EQ(path.UnixFilePathUTF8(), Utf8Of(file));
        EXPECT_EQ(path.UnixFilePath(), Utf8Of(file)) << "the native encoding of this host";
        EXPECT_EQ(TheHost().Calls("REALGetPropValueString"), 1) << "asked once";
    }
    EXPECT_EQ(TheHost().Live(), before);
    EXPECT_EQ(item.References(), 1);
}

TEST_F(Paths, FormsOfAString) {
    for (const auto& [bytes, encoding] : {std::pair<std::string, uint32_t>{"/tmp/gr\xC3\xBC", 0x8000100},
                                          {"/tmp/gr\xFC", 513},
                                          {std::string("/\0t\0m\0p\0/\0g\0r\0\xFC\0", 16), 256}}) {
        const trvhost::String string = TheHost().NewString(bytes, encoding);
        Path path(StringOf(string));
        EXPECT_EQ(string.References(), 2);
        const char16_t* const utf16 = path.UnixFilePathUTF16();
        const char* const utf8 = path.UnixFilePathUTF8();
        EXPECT_EQ(utf16, std::u16string(u"/tmp/gr\u00FC"));
        EXPECT_EQ(utf8, std::string("/tmp/gr\xC3\xBC"));
        EXPECT_EQ(path.UnixFilePathUTF16(), utf16) << "kept";
        EXPECT_EQ(path.UnixFilePathUTF8(), utf8);
    }
}

TEST_F(Paths, FormsNameThemselvesWhenTheyAreMade) {
    const trvhost::String string = TheHost().NewString("file");
    const trvhost::FolderItem item = TheHost().NewFolderItem("file");
    Path fromString(StringOf(string));
    Path fromItem(ObjectOf(item));
    const LogCapture log;
    for (int i = 0; i < 2; ++i) {
        static_cast<void>(fromString.UnixFilePathUTF16());
        static_cast<void>(fromItem.UnixFilePathUTF16());
        static_cast<void>(fromItem.UnixFilePathUTF8());
    }
    EXPECT_EQ(log.Lines(), (Lines{"UnixFilePathUTF16 path...", "Try UTF8 to UTF16 conversion...",
                                  "UnixFilePathUTF16 file...", "Try UTF8 to UTF16 conversion..."}));
}

TEST_F(Paths, WithoutAPathThereIsNone) {
    const trvhost::String empty = TheHost().NewString("");
    const trvhost::MemoryBlock noItem = TheHost().NewMemoryBlock(1);
    Path paths[] = {Path(static_cast<HostObject>(nullptr)), Path(static_cast<HostString>(nullptr)),
                    Path(StringOf(empty)), Path(ObjectOf(noItem))};
    for (Path& path : paths) {
        EXPECT_EQ(path.UnixFilePathUTF16(), nullptr);
        EXPECT_EQ(path.UnixFilePathUTF8(), nullptr);
        EXPECT_EQ(path.UnixFilePath(), nullptr);
        EXPECT_EQ(CreateFileLongPath(path), kNoHandle);
    }
    const LogCapture log;
    EXPECT_EQ(paths[3].UnixFilePathUTF8(), nullptr);
    EXPECT_EQ(log.Lines(), (Lines{"Failed to read NativePath property."}));
}

TEST_F(Paths, WithoutMemoryThereIsNone) {
    const trvhost::String string = TheHost().NewString("file");
    Path path(StringOf(string));
    {
        const LogCapture log;
        const FailingMemory noMemory;
        EXPECT_EQ(path.UnixFilePathUTF8(), nullptr);
        EXPECT_EQ(Path::New(StringOf(string)), nullptr);
        EXPECT_EQ(Path::New(static_cast<HostObject>(nullptr)), nullptr);
        EXPECT_EQ(log.Lines(), (Lines{"Failed to allocate text object.", "Failed to allocate Path object.",
                                      "Failed to allocate Path object."}));
    }
    EXPECT_EQ(path.UnixFilePathUTF8(), std::string("file")) << "later there is";
}

TEST_F(Paths, OnTheHeapAndInChains) {
    const trvhost::String string = TheHost().NewString("file");
    const trvhost::FolderItem item = TheHost().NewFolderItem("file");
    Path* head = nullptr;
    AddToChain(head, Path::New(StringOf(string)));
    AddToChain(head, Path::New(ObjectOf(item)));
    ASSERT_NE(head, nullptr);
    ASSERT_NE(head->next, nullptr);
    EXPECT_EQ(string.References(), 2);
    EXPECT_EQ(item.References(), 2);
    EXPECT_EQ(head->next->UnixFilePathUTF8(), std::string("file"));
    FreeChain(head);
    EXPECT_EQ(string.References(), 1);
    EXPECT_EQ(item.References(), 1);
}

TEST_F(Paths, AFileForReadingAndWriting) {
    const fs::path file = folder_ / u8"\u6F22 file";
    const trvhost::FolderItem item = TheHost().NewFolderItem(file);
    Path path(ObjectOf(item));
    for (const int64_t bytes : {0, 3}) {  // new, then there already
        const intptr_t handle = CreateFileLongPath(path);
        ASSERT_NE(handle, kNoHandle);
        EXPECT_EQ(FileSize(handle), bytes);
        EXPECT_TRUE(CloseFile(handle));
        std::ofstream(file, std::ios::binary) << "abc";
    }
    const trvhost::FolderItem missing = TheHost().NewFolderItem(folder_ / "no folder" / "file");
    Path missingPath(ObjectOf(missing));
    EXPECT_EQ(CreateFileLongPath(missingPath), kNoHandle);
}

TEST_F(Paths, Streams) {
    const fs::path file = folder_ / "stream";
    const trvhost::FolderItem item = TheHost().NewFolderItem(file);
    const trvhost::String name = TheHost().NewString(Utf8Of(file));
    // Any size of buffer, sensible or not.
    for (const int64_t bytes : {int64_t{0}, int64_t{1}, int64_t{100}, int64_t{-1}, int64_t{0x100000}}) {
        std::FILE* const out = OpenStreamLongPath(ObjectOf(item), "wb", bytes);
        ASSERT_NE(out, nullptr);
        EXPECT_EQ(std::fwrite("0123456789", 1, 10, out), 10U);
        const std::string meanwhile = bytes == 0 ? folder_.Read("stream") : "";
        EXPECT_EQ(meanwhile, "") << "in the buffer still";
        EXPECT_EQ(std::fclose(out), 0);
        EXPECT_EQ(folder_.Read("stream"), "0123456789");
        std::FILE* const in = OpenStreamLongPath(StringOf(name), "rb", bytes);
        ASSERT_NE(in, nullptr);
        char read[16] = {};
        EXPECT_EQ(std::fread(read, 1, sizeof read, in), 10U);
        EXPECT_EQ(std::string(read), "0123456789");
        EXPECT_EQ(std::fclose(in), 0);
    }
    EXPECT_EQ(OpenStreamLongPath(StringOf(name), nullptr, 0), nullptr);
    fs::remove(file);
    EXPECT_EQ(OpenStreamLongPath(StringOf(name), "rb", 0), nullptr) << "it is not there";
    const LogCapture log;
    EXPECT_EQ(OpenStreamLongPath(static_cast<HostObject>(nullptr), "rb", 0), nullptr);
    EXPECT_EQ(OpenStreamLongPath(static_cast<HostString>(nullptr), "rb", 0), nullptr);
    EXPECT_EQ(log.Lines(), (Lines{"folderitem is nil", "Path is nil"}));
}

TEST_F(Paths, LongPaths) {
    fs::path folder = folder_.Path();
    while (Utf8Of(folder).size() < 300)
        folder /= std::string(40, 'd');
    // Not every system's standard library marks long paths by itself.
    std::error_code refused;
    fs::create_directories(folder, refused);
    const fs::path marked = refused ? fs::path("\\\\?\\" + Utf8Of(folder)) : folder;
    ASSERT_TRUE(fs::create_directories(marked) || fs::is_directory(marked));
    const trvhost::FolderItem item = TheHost().NewFolderItem(folder / "file");
    Path path(ObjectOf(item));
    const std::u16string units = path.UnixFilePathUTF16();
    const std::string utf8 = path.UnixFilePathUTF8();
    {
        const LogCapture log;
        const intptr_t handle = CreateFileLongPath(path);
        ASSERT_NE(handle, kNoHandle);
        EXPECT_TRUE(CloseFile(handle));
        EXPECT_EQ(log.Lines(), SystemMarksLongPaths() ? (Lines{"pathlen " + std::to_string(units.size()),
                                                               "prefix 4", "newpath " + utf8})
                                                      : Lines{});
    }
    std::FILE* const out = OpenStreamLongPath(ObjectOf(item), "wb", 0);
    ASSERT_NE(out, nullptr);
    EXPECT_GE(std::fputs("text", out), 0);
    EXPECT_EQ(std::fclose(out), 0);
    std::FILE* const in = OpenStreamLongPath(ObjectOf(item), "rb", 0);
    ASSERT_NE(in, nullptr);
    char read[8] = {};
    EXPECT_EQ(std::fread(read, 1, sizeof read, in), 4U);
    EXPECT_EQ(std::fclose(in), 0);
    EXPECT_TRUE(RemoveFile(utf8.c_str()));
    if (refused) fs::remove_all(fs::path("\\\\?\\" + Utf8Of(folder_.Path())));
}

}  // namespace
}  // namespace trv
