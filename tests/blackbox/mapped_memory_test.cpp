// What a mapped image costs in memory: its window and the last few windows that were given up, however large
// the image is. The size of the image is 244 MB, or 1.2 GB with TRV_LARGE in the environment (tests/large
// does that).

#include <cstdlib>

#include "mapped_test.h"

namespace trvtest {
namespace {

constexpr int64_t kMiB = 1 << 20;

/// A number of bytes that Linux tells about this process; -1 if there is no such line.
int64_t StatusOf(const std::string& name) {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with(name + ":")) return std::stoll(line.substr(name.size() + 1)) * 1024;
    }
    return -1;
}

/// Has the peak of resident memory counted from here on.
bool ResetPeak() {
    std::ofstream("/proc/self/clear_refs") << "5" << std::flush;
    const int64_t peak = StatusOf("VmHWM"), now = StatusOf("VmRSS");
    return now >= 0 && peak - now < 4 * kMiB;
}

class MappedMemory : public MappedTest {};

// Mapped pages of a file count as resident too, so the window is part of the peak, and so are 64 MiB of
// windows that are kept in case they are wanted again.
TEST_F(MappedMemory, IsThatOfTheWindow) {
    const bool large = std::getenv("TRV_LARGE") != nullptr;
    const int64_t size = large ? 20000 : 8500;
    const int64_t limit = (large ? 200 : 84) * kMiB;
    if (!ResetPeak()) GTEST_SKIP() << "this system does not tell the peak of memory";
    const int64_t before = StatusOf("VmRSS");
    const Ref image = NewMapped(size, size, "ImageFormatRGB", 0, "pixels");
    ASSERT_TRUE(Flag(image, "Valid"));
    TheHost().Call(image, "FillRectRGB", 10, 20, 30);
    TheHost().Call(image, "FillRectRGB", 0, size / 2, size, size / 2, 200, 210, 220);

    const MemoryImage small(TheHost(), 100, 100, Constant("ImageFormatRGB"));
    ASSERT_TRUE(TheHost().Call(small, "Scale", image, nullptr, Constant("ScaleTriangle"), 100, 100).ToBool());
    EXPECT_EQ(small.At(99, 0, 2), 30);
    EXPECT_EQ(small.At(0, 99, 0), 200);

    int64_t wrong = 0;
    for (int64_t y = 0; y < size; ++y) {
        const auto* row = static_cast<const uint8_t*>(TheHost().Call(image, "RawRowPtr", y).ToPointer());
        ASSERT_NE(row, nullptr);
        const bool lower = y >= size / 2;
        const uint8_t pixel[] = {uint8_t(lower ? 200 : 10), uint8_t(lower ? 210 : 20),
                                 uint8_t(lower ? 220 : 30)};
        for (int64_t x = 0; x < size; ++x)
            wrong += std::memcmp(row + x * 3, pixel, 3) != 0;
    }
    EXPECT_EQ(wrong, 0);

    const int64_t growth = StatusOf("VmHWM") - before;
    const int64_t window = Number(image, "MappingBlockSize");
    RecordProperty("PeakMiB", std::to_string(growth / kMiB));
    std::cout << "image " << Number(image, "TotalSize") / kMiB << " MiB, window " << window / kMiB
              << " MiB, peak of resident memory " << growth / kMiB << " MiB above the start\n";
    EXPECT_LE(growth, window + limit);
    EXPECT_GT(Number(image, "TotalSize"), 2 * (window + limit)) << "or the limit proves nothing";
}

}  // namespace
}  // namespace trvtest
