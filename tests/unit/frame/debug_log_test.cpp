#include "frame/debug_log.h"

#include <array>
#include <cinttypes>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include "unit/frame/log_capture.h"

namespace trv {
namespace {

namespace fs = std::filesystem;
using test::LogCapture;
using Texts = std::vector<std::string>;

template <class... Values>
std::string Printed(const char* label, const Values&... values) {
    const LogCapture log;
    PrintLine(label, values...);
    const Texts messages = log.Messages();
    EXPECT_EQ(messages.size(), 1U);
    return messages.empty() ? "" : messages[0];
}

// Lines ---

TEST(DebugLine, HasPrefixLabelAndValues) {
    EXPECT_EQ(Printed("label"), "TRV Debug: label");
    EXPECT_EQ(Printed("Fix", int64_t{1}), "TRV Debug: Fix 1");
    EXPECT_EQ(Printed("Fix", int64_t{1}, int64_t{-2}, int64_t{3}, int64_t{4}), "TRV Debug: Fix 1, -2, 3, 4");
    EXPECT_EQ(Printed("ten", 1, 2, 3, 4, 5, 6, 7, 8, 9, 10), "TRV Debug: ten 1, 2, 3, 4, 5, 6, 7, 8, 9, 10");
    EXPECT_EQ(Printed("", 7), "TRV Debug:  7");
}

TEST(DebugLine, ValuesHaveTheFormatOfTheirType) {
    EXPECT_EQ(Printed("l", INT32_MIN, INT32_MAX), "TRV Debug: l -2147483648, 2147483647");
    EXPECT_EQ(Printed("l", UINT32_MAX), "TRV Debug: l 4294967295");
    EXPECT_EQ(Printed("l", INT64_MIN, INT64_MAX), "TRV Debug: l -9223372036854775808, 9223372036854775807");
    EXPECT_EQ(Printed("l", UINT64_MAX), "TRV Debug: l 18446744073709551615");
    EXPECT_EQ(Printed("l", 7L, 8UL), "TRV Debug: l 7, 8");
    EXPECT_EQ(Printed("l", uint8_t{200}, int8_t{-3}), "TRV Debug: l 200, -3");
    EXPECT_EQ(Printed("l", true, false), "TRV Debug: l 1, 0");
    EXPECT_EQ(Printed("l", 1.5, 0.25F, -1e6), "TRV Debug: l 1.500000, 0.250000, -1000000.000000");
    EXPECT_EQ(Printed("l", "text", "more"), "TRV Debug: l text, more");
    EXPECT_EQ(Printed("l", L"wide"), "TRV Debug: l wide");
    EXPECT_EQ(Printed("l", "100%s %d %n"), "TRV Debug: l 100%s %d %n");
    EXPECT_EQ(Printed("100%s"), "TRV Debug: 100%s");
}

TEST(DebugLine, PointersArePrintedAsSuch) {
    int local = 0;
    char expected[64];
    std::snprintf(expected, sizeof expected, "TRV Debug: l %p", static_cast<void*>(&local));
    EXPECT_EQ(Printed("l", &local), expected);
    EXPECT_EQ(Printed("l", static_cast<const int*>(&local)), expected);
    std::snprintf(expected, sizeof expected, "TRV Debug: l %p", static_cast<void*>(nullptr));
    EXPECT_EQ(Printed("l", static_cast<void*>(nullptr)), expected);
}

TEST(DebugLine, ANullTextIsEmpty) {
    EXPECT_EQ(Printed("l", static_cast<const char*>(nullptr), 5), "TRV Debug: l , 5");
    EXPECT_EQ(Printed("l", static_cast<const wchar_t*>(nullptr)), "TRV Debug: l ");
}

TEST(DebugLine, ArgumentsAreEvaluatedOnlyWhileTracing) {
    int evaluations = 0;
    const auto value = [&] { return ++evaluations; };
    debugFlag = 0;
    TRV_LOG("l", value());
    EXPECT_EQ(evaluations, 0);
    {
        const LogCapture log;
        TRV_LOG("l", value());
        EXPECT_EQ(log.Messages(), Texts{"TRV Debug: l 1"});
    }
    TRV_LOG("l", value());
    EXPECT_EQ(evaluations, 1);
}

TEST(DebugLine, Of4095CharactersPassesWholeAndALongerOneIsCut) {
    const std::string prefix = "TRV Debug: ";
    const std::string whole(4095 - prefix.size(), 'x');
    EXPECT_EQ(Printed(whole.c_str()), prefix + whole);
    EXPECT_EQ(Printed((whole + "y").c_str()), prefix + whole);
    EXPECT_EQ(Printed(std::string(100000, 'x').c_str()), prefix + whole);
    // Values are cut as well, wherever the end falls.
    const std::string shorter = whole.substr(5);
    EXPECT_EQ(Printed(shorter.c_str(), 1234), prefix + shorter + " 1234");
    EXPECT_EQ(Printed(shorter.c_str(), 12345), prefix + shorter + " 1234");
    EXPECT_EQ(Printed(shorter.c_str(), 1, 2, 3), prefix + shorter + " 1, 2");
    EXPECT_EQ(Printed(whole.c_str(), 1, "t", 2.5), prefix + whole);
    EXPECT_EQ(Printed("l", std::string(5000, 't').c_str()), prefix + "l " + std::string(4095 - 13, 't'));
}

TEST(DebugLine, AReadyMadeTextHasNoPrefix) {
    const LogCapture log;
    WriteDebugText("as it is");
    EXPECT_EQ(log.Messages(), Texts{"as it is"});
}

TEST(DebugLine, ThreadsWriteWholeLines) {
    const LogCapture log;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([i] {
            for (int line = 0; line < 100; ++line)
                TRV_LOG("thread", i, i, i, i);
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    std::array<int, 4> counts{};
    for (const std::string& line : log.Lines()) {
        const int i = line.size() > 7 ? line[7] - '0' : -1;
        ASSERT_TRUE(i >= 0 && i < 4) << line;
        const std::string digit = std::to_string(i);
        EXPECT_EQ(line, "thread " + digit + ", " + digit + ", " + digit + ", " + digit);
        ++counts[static_cast<size_t>(i)];
    }
    EXPECT_EQ(counts, (std::array<int, 4>{100, 100, 100, 100}));
}

// The log file ---

/// The places of the log file are the same for all programs of a machine, so tests of several processes take
/// turns.
class Turn {
  public:
    Turn() {
        // Somebody who died with it has it for a minute.
        for (int i = 0; i < 6000 && !fs::create_directory(lock_, ignored_); ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    ~Turn() { fs::remove(lock_, ignored_); }

  private:
    std::error_code ignored_;
    fs::path lock_ = fs::temp_directory_path() / "trvdebug test turn";
};

class DebugFile : public testing::Test {
  protected:
    static constexpr std::array kPlaces = {"/tmp/trvdebug Image.txt", "/var/tmp/trvdebug Image.txt",
                                           "trvdebug Image.txt", "/trvdebug Image.txt",
                                           "~/trvdebug Image.txt"};

    void SetUp() override {
        old_ = fs::current_path();
        folder_ = fs::temp_directory_path() / "trvdebug test folder";
        fs::remove_all(folder_);
        fs::create_directories(folder_ / "~");
        fs::current_path(folder_);
        Clean();
    }
    void TearDown() override {
        CloseDebugFile();
        Clean();
        fs::current_path(old_);
        fs::remove_all(folder_);
    }

    /// Where the log goes when the first `blocked` places are folders; the number of places if nowhere.
    static size_t Block(size_t blocked) {
        std::error_code ignored;
        for (size_t i = 0; i < blocked; ++i)
            fs::create_directory(kPlaces[i], ignored);
        for (size_t i = blocked; i < kPlaces.size(); ++i) {
            // A place in a folder that this system lacks, or that the user may not write to, is passed over.
            if (std::ofstream(kPlaces[i])) {
                fs::remove(kPlaces[i], ignored);
                return i;
            }
        }
        return kPlaces.size();
    }

    static void Clean() {
        std::error_code ignored;
        for (const char* place : kPlaces)
            fs::remove(place, ignored);
    }

    static Texts LinesOf(size_t place) {
        std::ifstream file(kPlaces[place]);
        Texts lines;
        for (std::string line; std::getline(file, line);)
            lines.push_back(line);
        return lines;
    }

    Turn turn_;
    fs::path old_;
    fs::path folder_;
};

TEST_F(DebugFile, TakesTheFirstPlaceThatOpens) {
    const LogCapture log;
    size_t tried = 0;
    for (size_t blocked = 0; blocked <= kPlaces.size(); ++blocked) {
        const size_t place = Block(blocked);
        OpenDebugFile("w");
        TRV_LOG("to the file", blocked);
        if (place < kPlaces.size()) {
            ++tried;
            EXPECT_EQ(LinesOf(place), Texts{"TRV Debug: to the file " + std::to_string(blocked)})
                << kPlaces[place];
            EXPECT_TRUE(log.Messages().empty());
        } else {
            ASSERT_EQ(log.Messages().size(), 2U);
            EXPECT_NE(log.Messages()[0].find("Failed to open debug file: ~/trvdebug Image.txt"),
                      std::string::npos);
            EXPECT_EQ(log.Messages()[1], "TRV Debug: to the file " + std::to_string(blocked));
        }
        CloseDebugFile();
        Clean();
    }
    EXPECT_GE(tried, 3U);
}

TEST_F(DebugFile, HasEachLineAtOnceWithANewline) {
    const size_t place = Block(0);
    ASSERT_LT(place, kPlaces.size());
    const LogCapture log;
    OpenDebugFile("w");
    TRV_LOG("one", 1);
    EXPECT_EQ(LinesOf(place), Texts{"TRV Debug: one 1"});
    TRV_LOG("two");
    WriteDebugText("three");
    EXPECT_EQ(LinesOf(place), (Texts{"TRV Debug: one 1", "TRV Debug: two", "three"}));
    std::ifstream file(kPlaces[place]);
    const std::string all{std::istreambuf_iterator<char>(file), {}};
    EXPECT_EQ(all, "TRV Debug: one 1\nTRV Debug: two\nthree\n");
    EXPECT_TRUE(log.Messages().empty());
}

TEST_F(DebugFile, IsOpenedAnewOrAppendedToAndClosed) {
    const size_t place = Block(0);
    ASSERT_LT(place, kPlaces.size());
    const LogCapture log;
    OpenDebugFile("w");
    TRV_LOG("first");
    OpenDebugFile("a");
    TRV_LOG("second");
    EXPECT_EQ(LinesOf(place), (Texts{"TRV Debug: first", "TRV Debug: second"}));
    OpenDebugFile("w");
    TRV_LOG("third");
    EXPECT_EQ(LinesOf(place), (Texts{"TRV Debug: third"}));
    CloseDebugFile();
    TRV_LOG("fourth");
    CloseDebugFile();
    EXPECT_EQ(LinesOf(place), (Texts{"TRV Debug: third"}));
    EXPECT_EQ(log.Messages(), Texts{"TRV Debug: fourth"});
}

}  // namespace
}  // namespace trv
