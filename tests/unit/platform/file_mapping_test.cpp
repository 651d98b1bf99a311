#include "platform/file_mapping.h"

#include <atomic>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <limits>
#include <string>
#include <thread>
#include <vector>

namespace trv {
namespace {

namespace fs = std::filesystem;

constexpr int64_t kHuge = int64_t{1} << 62;

/// A folder of its own for each test, gone at its end.
class FileMapping : public testing::Test {
  protected:
    void SetUp() override {
        static std::atomic<int> number = 0;
        const auto* test = testing::UnitTest::GetInstance()->current_test_info();
        folder_ = fs::temp_directory_path() /
                  ("trv mapping " + std::string(test->name()) + std::to_string(number++) + "." +
                   std::to_string(reinterpret_cast<uintptr_t>(&number) % 0xFFFFFF));
        fs::remove_all(folder_);
        ASSERT_TRUE(fs::create_directories(folder_));
    }
    void TearDown() override {
        std::error_code ignored;
        fs::remove_all(folder_, ignored);
    }

    /// The path of a file in the folder as UTF-8.
    [[nodiscard]] std::string PathOf(const std::u8string& name) const {
        const std::u8string path = (folder_ / name).u8string();
        return {path.begin(), path.end()};
    }

    [[nodiscard]] std::string WriteFile(const std::u8string& name, const std::string& contents) const {
        std::ofstream(folder_ / name, std::ios::binary) << contents;
        return PathOf(name);
    }

    [[nodiscard]] std::string ReadFile(const std::u8string& name) const {
        std::ifstream file(folder_ / name, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    fs::path folder_;
};

TEST_F(FileMapping, OpensANewFile) {
    const intptr_t file = OpenScratchFile(PathOf(u8"new").c_str());
    ASSERT_NE(file, kNoHandle);
    EXPECT_EQ(FileSize(file), 0);
    EXPECT_TRUE(CloseFile(file));
    EXPECT_TRUE(fs::exists(folder_ / "new"));
}

TEST_F(FileMapping, KeepsTheContentsOfAnExistingFile) {
    const std::string path = WriteFile(u8"old", "contents");
    const intptr_t file = OpenScratchFile(path.c_str());
    ASSERT_NE(file, kNoHandle);
    EXPECT_EQ(FileSize(file), 8);
    EXPECT_TRUE(CloseFile(file));
    EXPECT_EQ(ReadFile(u8"old"), "contents");
}

TEST_F(FileMapping, SharesAnOpenFile) {
    const std::string path = PathOf(u8"shared");
    const intptr_t first = OpenScratchFile(path.c_str());
    const intptr_t second = OpenScratchFile(path.c_str());
    ASSERT_NE(first, kNoHandle);
    ASSERT_NE(second, kNoHandle);
    EXPECT_NE(first, second);
    EXPECT_TRUE(GrowFile(first, 10));
    EXPECT_EQ(FileSize(second), 10);
    EXPECT_TRUE(CloseFile(first));
    EXPECT_TRUE(CloseFile(second));
}

TEST_F(FileMapping, TakesPathsInUtf8) {
    const std::u8string name = u8"Bäume 木 \U0001F332";
    const std::string path = PathOf(name);
    const intptr_t file = OpenScratchFile(path.c_str());
    ASSERT_NE(file, kNoHandle);
    EXPECT_TRUE(CloseFile(file));
    EXPECT_TRUE(fs::exists(folder_ / name));
    EXPECT_TRUE(RemoveFile(path.c_str()));
    EXPECT_FALSE(fs::exists(folder_ / name));
}

TEST_F(FileMapping, TakesPathsOfMoreThan260Characters) {
    const std::u8string name(250, u8'n');
    const std::string path = PathOf(name);
    ASSERT_GT(path.size(), 260U);
    const intptr_t file = OpenScratchFile(path.c_str());
    ASSERT_NE(file, kNoHandle) << LastSystemError();
    EXPECT_TRUE(CloseFile(file));
    const intptr_t again = OpenScratchFile(path.c_str());
    EXPECT_NE(again, kNoHandle);
    EXPECT_TRUE(CloseFile(again));
    EXPECT_TRUE(RemoveFile(path.c_str()));
    EXPECT_FALSE(RemoveFile(path.c_str()));
}

TEST_F(FileMapping, LeavesAPathThatIsMarkedAsLong) {
    if (fs::path::preferred_separator != '\\') GTEST_SKIP() << "Only Windows marks long paths.";
    const std::string path = "\\\\?\\" + PathOf(std::u8string(250, u8'm'));
    const intptr_t file = OpenScratchFile(path.c_str());
    ASSERT_NE(file, kNoHandle);
    EXPECT_TRUE(CloseFile(file));
    EXPECT_TRUE(RemoveFile(path.c_str()));
}

TEST_F(FileMapping, RefusesPathsThatAreNoFile) {
    EXPECT_EQ(OpenScratchFile(nullptr), kNoHandle);
    EXPECT_NE(LastSystemError(), 0);
    EXPECT_EQ(OpenScratchFile(PathOf(u8"").c_str()), kNoHandle);
    EXPECT_NE(LastSystemError(), 0);
    EXPECT_EQ(OpenScratchFile(PathOf(u8"no folder/file").c_str()), kNoHandle);
    EXPECT_NE(LastSystemError(), 0);
    EXPECT_EQ(OpenScratchFile(""), kNoHandle);
    EXPECT_FALSE(RemoveFile(nullptr));
    EXPECT_NE(LastSystemError(), 0);
    EXPECT_FALSE(RemoveFile(PathOf(u8"missing").c_str()));
    EXPECT_NE(LastSystemError(), 0);
}

TEST_F(FileMapping, GrowsAFileAndNeverShrinksIt) {
    const std::string path = WriteFile(u8"grown", "abc");
    const intptr_t file = OpenScratchFile(path.c_str());
    ASSERT_NE(file, kNoHandle);
    EXPECT_TRUE(GrowFile(file, 100000));
    EXPECT_EQ(FileSize(file), 100000);
    EXPECT_TRUE(GrowFile(file, 99999));
    EXPECT_EQ(FileSize(file), 100000);
    EXPECT_TRUE(GrowFile(file, -1));
    EXPECT_EQ(FileSize(file), 100000);
    EXPECT_TRUE(CloseFile(file));
    EXPECT_EQ(ReadFile(u8"grown"), std::string("abc") + std::string(99997, '\0'));
}

TEST_F(FileMapping, RefusesToGrowBeyondTheDisk) {
    const intptr_t file = OpenScratchFile(PathOf(u8"too big").c_str());
    ASSERT_NE(file, kNoHandle);
    EXPECT_FALSE(GrowFile(file, kHuge));
    EXPECT_NE(LastSystemError(), 0);
    EXPECT_EQ(CreateMapping(file, kHuge), kNoHandle);
    EXPECT_NE(LastSystemError(), 0);
    EXPECT_LT(FileSize(file), kHuge);
    EXPECT_TRUE(CloseFile(file));
}

TEST_F(FileMapping, CutsAFile) {
    const std::string path = WriteFile(u8"cut", "contents");
    const intptr_t file = OpenScratchFile(path.c_str());
    ASSERT_NE(file, kNoHandle);
    EXPECT_TRUE(RewindFile(file));
    EXPECT_EQ(FileSize(file), 8);
    EXPECT_TRUE(CutFile(file));
    EXPECT_EQ(FileSize(file), 0);
    EXPECT_TRUE(CloseFile(file));
    EXPECT_TRUE(fs::exists(folder_ / "cut"));
}

TEST_F(FileMapping, DoesNotCutAFileUnderAView) {
    const std::string path = PathOf(u8"viewed");
    const intptr_t file = OpenScratchFile(path.c_str());
    const intptr_t other = OpenScratchFile(path.c_str());
    const intptr_t mapping = CreateMapping(file, 200000);
    ASSERT_NE(mapping, kNoHandle);
    auto* view = static_cast<uint8_t*>(MapView(mapping, 65536, 100000));
    ASSERT_NE(view, nullptr);
    EXPECT_TRUE(CloseMapping(mapping));
    EXPECT_FALSE(CutFile(file));
    EXPECT_NE(LastSystemError(), 0);
    EXPECT_FALSE(CutFile(other));
    view[99999] = 7;  // still there
    EXPECT_EQ(view[99999], 7);
    EXPECT_TRUE(UnmapView(view, 100000));
    EXPECT_TRUE(CutFile(file));
    EXPECT_EQ(FileSize(other), 0);
    EXPECT_TRUE(CloseFile(file));
    EXPECT_TRUE(CloseFile(other));
}

TEST_F(FileMapping, NoHandleFailsEverywhere) {
    EXPECT_FALSE(GrowFile(kNoHandle, 10));
    EXPECT_FALSE(RewindFile(kNoHandle));
    EXPECT_FALSE(CutFile(kNoHandle));
    EXPECT_EQ(FileSize(kNoHandle), -1);
    EXPECT_FALSE(CloseFile(kNoHandle));
    EXPECT_FALSE(CloseMapping(kNoHandle));
    EXPECT_EQ(MapView(kNoHandle, 0, 4096), nullptr);
    EXPECT_NE(LastSystemError(), 0);
}

TEST_F(FileMapping, AMappingGrowsItsFileAndOutlivesTheHandle) {
    const std::string path = WriteFile(u8"mapped", "old");
    const intptr_t file = OpenScratchFile(path.c_str());
    const intptr_t mapping = CreateMapping(file, 70000);
    ASSERT_NE(mapping, kNoHandle);
    EXPECT_EQ(FileSize(file), 70000);
    EXPECT_TRUE(CloseFile(file));
    auto* first = static_cast<char*>(MapView(mapping, 0, 65536));
    auto* second = static_cast<char*>(MapView(mapping, 65536, 70000 - 65536));
    ASSERT_NE(first, nullptr);
    ASSERT_NE(second, nullptr);
    EXPECT_EQ(std::string(first, 4), std::string("old\0", 4));
    std::memcpy(first + 65533, "end", 3);
    std::memcpy(second + 4461, "tail", 3);
    EXPECT_TRUE(UnmapView(first, 65536));
    EXPECT_TRUE(UnmapView(second, 70000 - 65536));
    EXPECT_TRUE(CloseMapping(mapping));
    const std::string contents = ReadFile(u8"mapped");
    ASSERT_EQ(contents.size(), 70000U);
    EXPECT_EQ(contents.substr(0, 3), "old");
    EXPECT_EQ(contents.substr(65533, 3), "end");
    EXPECT_EQ(contents.substr(65536 + 4461, 3), "tai");
}

TEST_F(FileMapping, ALongerFileStaysLongerThanItsMapping) {
    const std::string path = WriteFile(u8"longer", std::string(300000, 'x'));
    const intptr_t file = OpenScratchFile(path.c_str());
    const intptr_t mapping = CreateMapping(file, 65536);
    ASSERT_NE(mapping, kNoHandle);
    EXPECT_EQ(FileSize(file), 300000);
    EXPECT_EQ(MapView(mapping, 0, 200000), nullptr) << "the mapping ends before the file";
    EXPECT_EQ(MapView(mapping, 65536, 4096), nullptr);
    EXPECT_TRUE(CloseMapping(mapping));
    EXPECT_TRUE(CloseFile(file));
    EXPECT_EQ(ReadFile(u8"longer"), std::string(300000, 'x'));
}

TEST_F(FileMapping, ViewsSeeEachOther) {
    const intptr_t mapping = CreateMapping(kNoHandle, 3 * kViewAlignment);
    ASSERT_NE(mapping, kNoHandle);
    auto* wide = static_cast<uint8_t*>(MapView(mapping, 0, 3 * kViewAlignment));
    auto* narrow = static_cast<uint8_t*>(MapView(mapping, 2 * kViewAlignment, 10));
    ASSERT_NE(wide, nullptr);
    ASSERT_NE(narrow, nullptr);
    wide[2 * kViewAlignment + 9] = 42;
    EXPECT_EQ(narrow[9], 42);
    EXPECT_TRUE(UnmapView(wide, 3 * kViewAlignment));
    EXPECT_EQ(narrow[9], 42);
    EXPECT_TRUE(UnmapView(narrow, 10));
    EXPECT_TRUE(CloseMapping(mapping));
}

TEST_F(FileMapping, AnonymousMappingsKeepTheirContentsBetweenViews) {
    const int64_t bytes = 1000000;
    const intptr_t mapping = CreateMapping(kNoHandle, bytes);
    ASSERT_NE(mapping, kNoHandle);
    auto* view = static_cast<uint8_t*>(MapView(mapping, 0, bytes));
    ASSERT_NE(view, nullptr);
    EXPECT_TRUE(std::all_of(view, view + bytes, [](uint8_t byte) { return byte == 0; }));
    for (int64_t i = 0; i < bytes; ++i)
        view[i] = static_cast<uint8_t>(i * 7 + i / 251);
    EXPECT_TRUE(UnmapView(view, bytes));
    view = static_cast<uint8_t*>(MapView(mapping, 5 * kViewAlignment, bytes - 5 * kViewAlignment));
    ASSERT_NE(view, nullptr);
    int64_t differences = 0;
    for (int64_t i = 5 * kViewAlignment; i < bytes; ++i)
        differences += view[i - 5 * kViewAlignment] != static_cast<uint8_t>(i * 7 + i / 251);
    EXPECT_EQ(differences, 0);
    EXPECT_TRUE(UnmapView(view, bytes - 5 * kViewAlignment));
    EXPECT_TRUE(CloseMapping(mapping));
}

TEST_F(FileMapping, RefusesMappingsWithoutBytes) {
    EXPECT_EQ(CreateMapping(kNoHandle, 0), kNoHandle);
    EXPECT_NE(LastSystemError(), 0);
    EXPECT_EQ(CreateMapping(kNoHandle, -5), kNoHandle);
    EXPECT_EQ(CreateMapping(kNoHandle, std::numeric_limits<int64_t>::min()), kNoHandle);
}

TEST_F(FileMapping, RefusesViewsOutsideTheMapping) {
    constexpr int64_t kMax = std::numeric_limits<int64_t>::max();
    const int64_t bytes = 4 * kViewAlignment;
    for (const bool anonymous : {true, false}) {
        const intptr_t file = anonymous ? kNoHandle : OpenScratchFile(PathOf(u8"bounds").c_str());
        const intptr_t mapping = CreateMapping(file, bytes);
        ASSERT_NE(mapping, kNoHandle);
        void* whole = MapView(mapping, 0, bytes);
        void* last = MapView(mapping, 3 * kViewAlignment, kViewAlignment);
        EXPECT_NE(whole, nullptr);
        EXPECT_NE(last, nullptr);
        EXPECT_TRUE(UnmapView(whole, bytes));
        EXPECT_TRUE(UnmapView(last, kViewAlignment));
        const struct {
            int64_t offset, bytes;
        } outside[] = {{0, bytes + 65536},
                       {0, bytes + 1},
                       {kViewAlignment, bytes},
                       {3 * kViewAlignment, kViewAlignment + 1},
                       {bytes, 1},
                       {bytes + kViewAlignment, 1},
                       {kViewAlignment, kMax},
                       {kMax / kViewAlignment * kViewAlignment, kMax},
                       {0, kMax},
                       {0, 0},
                       {0, -1},
                       {-kViewAlignment, kViewAlignment},
                       {4096, 4096},
                       {1, 10}};
        for (const auto& range : outside) {
            EXPECT_EQ(MapView(mapping, range.offset, range.bytes), nullptr)
                << range.offset << " " << range.bytes;
            EXPECT_NE(LastSystemError(), 0);
        }
        EXPECT_TRUE(CloseMapping(mapping));
        EXPECT_EQ(CloseFile(file), !anonymous);
    }
}

TEST_F(FileMapping, AClosedMappingGivesNoViews) {
    const intptr_t mapping = CreateMapping(kNoHandle, kViewAlignment);
    auto* view = static_cast<uint8_t*>(MapView(mapping, 0, kViewAlignment));
    ASSERT_NE(view, nullptr);
    EXPECT_TRUE(CloseMapping(mapping));
    EXPECT_EQ(MapView(mapping, 0, kViewAlignment), nullptr);
    EXPECT_FALSE(CloseMapping(mapping));
    view[kViewAlignment - 1] = 1;  // the view outlives the mapping
    EXPECT_EQ(view[kViewAlignment - 1], 1);
    EXPECT_TRUE(UnmapView(view, kViewAlignment));
    EXPECT_FALSE(UnmapView(view, kViewAlignment));
}

TEST_F(FileMapping, AFileThatSomebodyCutGivesNoViews) {
    const intptr_t file = OpenScratchFile(PathOf(u8"stolen").c_str());
    const intptr_t mapping = CreateMapping(file, 2 * kViewAlignment);
    ASSERT_NE(mapping, kNoHandle);
    std::error_code refused;  // where the system itself keeps the file from being cut
    fs::resize_file(folder_ / "stolen", 100, refused);
    void* view = MapView(mapping, 0, 2 * kViewAlignment);
    EXPECT_EQ(view == nullptr, !refused);
    EXPECT_EQ(UnmapView(view, 2 * kViewAlignment), view != nullptr);
    EXPECT_TRUE(CloseMapping(mapping));
    EXPECT_TRUE(CloseFile(file));
}

TEST_F(FileMapping, UnmapsOnlyViews) {
    int local = 0;
    EXPECT_FALSE(UnmapView(&local, 4096));
    EXPECT_NE(LastSystemError(), 0);
    EXPECT_FALSE(UnmapView(nullptr, 4096));
}

TEST_F(FileMapping, ServesThreads) {
    const int64_t bytes = 16 * kViewAlignment;
    const intptr_t mapping = CreateMapping(kNoHandle, bytes);
    ASSERT_NE(mapping, kNoHandle);
    std::atomic<int> failures = 0;
    std::vector<std::thread> threads;
    for (int64_t thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&, thread] {
            for (int64_t round = 0; round < 100; ++round) {
                const int64_t offset = (thread * 4 + round % 4) * kViewAlignment;
                auto* view = static_cast<uint8_t*>(MapView(mapping, offset, kViewAlignment));
                const intptr_t other = CreateMapping(kNoHandle, kViewAlignment);
                if (view == nullptr || other == kNoHandle) {
                    ++failures;
                    continue;
                }
                const uint8_t expected = static_cast<uint8_t>(round / 4);
                if (view[100] != expected) ++failures;
                view[100] = static_cast<uint8_t>(expected + 1);
                if (!UnmapView(view, kViewAlignment) || !CloseMapping(other)) ++failures;
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(failures, 0);
    EXPECT_TRUE(CloseMapping(mapping));
}

}  // namespace
}  // namespace trv
