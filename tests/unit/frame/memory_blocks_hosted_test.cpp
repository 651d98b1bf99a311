#include <cstring>
#include <string>
#include <vector>

#include "frame/memory_blocks.h"
#include "unit/frame/fresh_process.h"
#include "unit/frame/log_capture.h"
#include "unit/hosted_test.h"

namespace trv {
namespace {

using test::LogCapture;
using trvhost::ExceptionInfo;
using trvhost::MemoryBlock;

using Lines = std::vector<std::string>;

class MemoryBlocks : public test::HostedTest {
  protected:
    [[nodiscard]] MemoryBlock Take(HostObject result) const {
        EXPECT_NE(result, nullptr);
        MemoryBlock block(Adopt(result));
        EXPECT_EQ(block.References(), 1);
        return block;
    }
};

TEST_F(MemoryBlocks, ANewBlockHasTheSizeAskedFor) {
    for (const int64_t bytes : {0, 1, 5, 4096, 1000000}) {
        const MemoryBlock block = Take(NewMemoryBlock(bytes));
        EXPECT_EQ(block.Size(), bytes);
        EXPECT_EQ(MemoryBlockSize(ObjectOf(block)), bytes);
        EXPECT_EQ(static_cast<void*>(MemoryBlockPointer(ObjectOf(block))), block.Data());
    }
    EXPECT_EQ(NewMemoryBlock(-1), nullptr);
    EXPECT_EQ(NewMemoryBlock(INT64_MIN), nullptr);
}

TEST_F(MemoryBlocks, WhatTheHostCannotGiveIsNilAndRaisesNothing) {
    TheHost().FailMemoryBlock(1);
    EXPECT_EQ(NewMemoryBlock(100), nullptr);
    EXPECT_EQ(TheHost().ExceptionsRaised(), 1) << "caught and forgotten";
    TheHost().ShortenMemoryBlock(1, 1);
    EXPECT_EQ(NewMemoryBlock(100), nullptr) << "99 bytes";
    TheHost().FailNewInstance(1);
    EXPECT_EQ(NewMemoryBlock(100), nullptr);
    EXPECT_EQ(NewMemoryBlock(INT64_MAX), nullptr);
    EXPECT_EQ(Take(NewMemoryBlock(100)).Size(), 100);
}

TEST_F(MemoryBlocks, ABlockFromBytesHoldsACopy) {
    std::string bytes(
        "a\0\xFF"
        "b",
        4);
    const MemoryBlock block = Take(REALBuildMemoryblock(bytes.data(), 4));
    EXPECT_EQ(block.Size(), 4);
    bytes[0] = 'x';
    EXPECT_EQ(std::memcmp(block.Data(),
                          "a\0\xFF"
                          "b",
                          4),
              0);
    EXPECT_EQ(REALBuildMemoryblock(bytes.data(), 0), nullptr);
    EXPECT_EQ(REALBuildMemoryblock(bytes.data(), -1), nullptr);
    EXPECT_EQ(REALBuildMemoryblock(nullptr, 4), nullptr);
    EXPECT_FALSE(TheHost().HasException()) << "nothing to copy is no failure";
}

TEST_F(MemoryBlocks, ABlockFromBytesThatCannotBeHadRaises) {
    const std::string bytes = "bytes";
    TheHost().FailMemoryBlock(1);
    const LogCapture log;
    EXPECT_EQ(REALBuildMemoryblock(bytes.data(), 5), nullptr);
    EXPECT_EQ(Raised(), (ExceptionInfo{"OutOfMemoryException",
                                       "Failed to allocate a memoryblock with 5 bytes in size.", 0}));
    // Refused before the bytes are looked at.
    EXPECT_EQ(REALBuildMemoryblock(bytes.data(), 5000000000000000000), nullptr);
    EXPECT_EQ(Raised().message, "Failed to allocate a memoryblock with 5000000000000000000 bytes in size.");
    EXPECT_EQ(log.Lines(), Lines(2, "Error: Failed to allocate memoryblock"));
}

TEST_F(MemoryBlocks, ANativeExceptionFromBelowRaisesTheSame) {
    TRV_IN_FRESH_PROCESS({
        ConnectHost([](const char* name) -> void* {
            if (name != std::string("PluginCallFunctionWithExceptionHandler")) return nullptr;
            return reinterpret_cast<void*>(
                +[](void (*)(void*), void*) -> HostObject { throw std::bad_alloc(); });
        });
        const LogCapture log;
        EXPECT_EQ(REALBuildMemoryblock("bytes", 5), nullptr);
        ASSERT_EQ(log.Lines().size(), 1U);
        EXPECT_EQ(log.Lines()[0],
                  std::string("Got C++ exception in REALBuildMemoryblock:  ") + std::bad_alloc().what());
    });
}

TEST_F(MemoryBlocks, WrappedBytesStayTheCallers) {
    uint8_t bytes[4] = {1, 2, 3, 4};
    {
        const MemoryBlock block = Take(WrapMemory(bytes));
        EXPECT_EQ(MemoryBlockPointer(ObjectOf(block)), bytes);
        EXPECT_EQ(TheHost().Calls("PtrToMemoryBlock"), 1);
    }
    EXPECT_EQ(bytes[3], 4);
}

TEST_F(MemoryBlocks, HostsWithoutTheEntriesHaveMethods) {
    TRV_IN_FRESH_PROCESS({
        trvhost::Options options;
        options.missingEntries = {"PtrToMemoryBlock", "memoryBlockGetPtr",
                                  "PluginCallFunctionWithExceptionHandler"};
        Load(std::move(options));
        uint8_t bytes[4] = {1, 2, 3, 4};
        const auto before = TheHost().Live();
        {
            const MemoryBlock block = Take(WrapMemory(bytes));
            EXPECT_EQ(MemoryBlockPointer(ObjectOf(block)), bytes);
            const MemoryBlock copy = Take(REALBuildMemoryblock(bytes, 4));
            EXPECT_EQ(std::memcmp(copy.Data(), bytes, 4), 0);
            EXPECT_EQ(TheHost().Calls("REALLoadObjectMethod"), 3) << "each method once";
            const MemoryBlock second = Take(WrapMemory(bytes));
            EXPECT_EQ(MemoryBlockPointer(ObjectOf(second)), bytes);
            EXPECT_EQ(TheHost().Calls("REALLoadObjectMethod"), 3);
        }
        EXPECT_EQ(TheHost().Live(), before);
        EXPECT_EQ(TheHost().FirstMisuse(), "");
    });
    TRV_IN_FRESH_PROCESS({
        trvhost::Options options;
        options.missingEntries = {"PtrToMemoryBlock", "memoryBlockGetPtr"};
        options.missingMembers = {"Operator_Convert(value as Ptr)", "Operator_Convert() As Ptr",
                                  "Constructor(bytes as Integer)"};
        Load(std::move(options));
        uint8_t byte = 0;
        const auto before = TheHost().Live();
        EXPECT_EQ(WrapMemory(&byte), nullptr);
        EXPECT_EQ(NewMemoryBlock(10), nullptr);
        EXPECT_EQ(MemoryBlockPointer(ObjectOf(TheHost().NewMemoryBlock(4))), nullptr);
        EXPECT_EQ(TheHost().Live(), before);
    });
}

TEST_F(MemoryBlocks, SizesThatCannotBeRead) {
    EXPECT_EQ(MemoryBlockSize(nullptr), 0);
    EXPECT_EQ(TheHost().Calls("REALGetPropValueInteger"), 0) << "not every host puts up with nil";
    EXPECT_EQ(MemoryBlockPointer(nullptr), nullptr);
    trvhost::Options options;
    options.missingMembers = {"Size"};
    Load(std::move(options));
    EXPECT_EQ(MemoryBlockSize(ObjectOf(TheHost().NewMemoryBlock(4))), 0);
    EXPECT_EQ(NewMemoryBlock(4), nullptr) << "a size that nobody can see";
    EXPECT_EQ(Take(NewMemoryBlock(0)).Size(), 0);
}

}  // namespace
}  // namespace trv
