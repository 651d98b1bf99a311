#include <algorithm>
#include <gtest/gtest.h>
#include <set>
#include <vector>

#include "platform/clock_and_chance.h"
#include "platform/memory.h"
#include "platform/threads.h"

namespace trv {
namespace {

TEST(ZeroedMemory, IsZeroed) {
    auto* block = static_cast<uint8_t*>(AllocateZeroed(100000));
    ASSERT_NE(block, nullptr);
    EXPECT_TRUE(std::all_of(block, block + 100000, [](uint8_t byte) { return byte == 0; }));
    std::fill_n(block, 100000, uint8_t{255});
    FreeZeroed(block);
}

TEST(ZeroedMemory, ASizeBelowOneIsNil) {
    EXPECT_EQ(AllocateZeroed(0), nullptr);
    EXPECT_EQ(AllocateZeroed(-1), nullptr);
    EXPECT_EQ(AllocateZeroed(INT64_MIN), nullptr);
    FreeZeroed(nullptr);
}

TEST(ZeroedMemory, WhatTheSystemDoesNotHaveIsNil) {
    EXPECT_EQ(AllocateZeroed(int64_t{1} << 62), nullptr);
    EXPECT_EQ(AllocateZeroed(INT64_MAX), nullptr);
}

TEST(PageSizes, ArePowersOfTwo) {
    EXPECT_GE(PageSize(), 4096);
    EXPECT_EQ(PageSize() & (PageSize() - 1), 0);
}

TEST(Clock, RunsForward) {
    const uint32_t start = TickCount();
    uint32_t before = start;
    while (TickCount() - start < 20) {
        const uint32_t now = TickCount();
        ASSERT_LT(now - before, 0x80000000U);
        before = now;
        Sleep(1);
    }
}

TEST(Chance, StrongBytesDiffer) {
    // Long enough to pass any single draw's limit; each byte value is all but certain to turn up.
    std::vector<uint8_t> bytes(100000);
    ASSERT_TRUE(SecureRandomBytes(bytes.data(), bytes.size()));
    EXPECT_EQ(std::set<uint8_t>(bytes.begin(), bytes.end()).size(), 256U);
    EXPECT_EQ(std::set<uint8_t>(bytes.end() - 10000, bytes.end()).size(), 256U);
    const std::vector<uint8_t> before = bytes;
    ASSERT_TRUE(SecureRandomBytes(bytes.data(), bytes.size()));
    EXPECT_NE(bytes, before);
}

TEST(Chance, StaysWithinItsBlock) {
    for (size_t count = 0; count < 70; ++count) {
        std::vector<uint8_t> bytes(count + 1, 77);
        ASSERT_TRUE(SecureRandomBytes(bytes.data(), count));
        ASSERT_EQ(bytes[count], 77);
    }
}

TEST(Chance, PlainValuesDiffer) {
    SeedPlainRandom();
    std::set<uint32_t> values;
    for (int i = 0; i < 300; ++i)
        values.insert(PlainRandom());
    EXPECT_GT(values.size(), 250U);
}

}  // namespace
}  // namespace trv
