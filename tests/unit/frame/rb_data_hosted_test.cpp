#include <memory>
#include <string>
#include <vector>

#include "frame/heap_objects.h"
#include "frame/rb_data.h"
#include "unit/failing_memory.h"
#include "unit/frame/fresh_process.h"
#include "unit/frame/log_capture.h"
#include "unit/hosted_test.h"

namespace trv {
namespace {

using test::FailingMemory;
using test::LogCapture;

using Lines = std::vector<std::string>;

std::string BytesOf(const rbData& data) {
    return {reinterpret_cast<const char*>(data.data), static_cast<size_t>(data.size)};
}

class RbData : public test::HostedTest {};

TEST_F(RbData, ReadsTheBytesAsTheyAre) {
    for (const uint32_t encoding : {0U, 256U, 513U, 1280U, 1536U, 65535U, 0x8000100U, 0xC000100U, 77U}) {
        for (const std::string& bytes :
             {std::string("text"), std::string("\xFF\0\x80\0", 4), std::string("a")}) {
            const trvhost::String string = TheHost().NewString(bytes, encoding);
            const rbData data(StringOf(string));
            EXPECT_EQ(BytesOf(data), bytes) << encoding;
            EXPECT_EQ(string.References(), 2);
        }
    }
    EXPECT_EQ(TheHost().Calls("PluginGetStringData"), 0) << "nothing is copied";
}

TEST_F(RbData, NilHasNoBytes) {
    const LogCapture log;
    const rbData data(nullptr);
    EXPECT_EQ(data.data, nullptr);
    EXPECT_EQ(data.size, 0);
    EXPECT_EQ(log.Lines(), Lines{});
}

TEST_F(RbData, AnEmptyStringHasNoBytes) {
    const trvhost::String string = TheHost().NewString("");
    const rbData data(StringOf(string));
    EXPECT_EQ(data.size, 0);
}

TEST_F(RbData, BytesOfTheCallers) {
    const std::string bytes = "bytes";
    const trvhost::MemoryBlock owner = TheHost().NewMemoryBlock(4);
    {
        const rbData data(bytes.data(), 5);
        EXPECT_EQ(static_cast<const void*>(data.data), bytes.data());
        EXPECT_EQ(data.size, 5);
        const rbData owned(owner.Data(), 4, ObjectOf(owner));
        EXPECT_EQ(static_cast<const void*>(owned.data), owner.Data());
        EXPECT_EQ(owner.References(), 2);
        const rbData negative(bytes.data(), -1);
        EXPECT_EQ(negative.size, 0);
    }
    EXPECT_EQ(owner.References(), 1);
    const LogCapture log;
    EXPECT_EQ(rbData(nullptr, 0).size, 0);
    EXPECT_EQ(log.Lines(), Lines{});
    EXPECT_EQ(rbData(nullptr, 5).size, 0);
    EXPECT_EQ(rbData(nullptr, -5).size, 0);
    EXPECT_EQ(log.Lines(), Lines(2, "data is NULL, so size fixed to zero."));
}

TEST_F(RbData, AHostThatDoesNotShowItsBytesHandsThemOut) {
    TRV_IN_FRESH_PROCESS({
        trvhost::Options options;
        options.missingEntries = {"StringGetCString"};
        Load(std::move(options));
        const trvhost::String string = TheHost().NewString("\xFC\xDF", 513);
        {
            const LogCapture log;
            {
                const rbData data(StringOf(string));
                EXPECT_EQ(BytesOf(data), "\xFC\xDF");
                EXPECT_EQ(TheHost().Live().stringData, 1);
            }
            EXPECT_EQ(log.Lines(), (Lines{"REALDisposeStringData"}));
        }
        EXPECT_EQ(TheHost().Live().stringData, 0);
        EXPECT_EQ(string.References(), 1);
        EXPECT_EQ(TheHost().FirstMisuse(), "");
    });
    TRV_IN_FRESH_PROCESS({
        trvhost::Options options;
        options.missingEntries = {"StringGetCString", "PluginGetStringData"};
        Load(std::move(options));
        const trvhost::String string = TheHost().NewString("text");
        const rbData data(StringOf(string));
        EXPECT_EQ(data.data, nullptr);
        EXPECT_EQ(data.size, 0);
    });
    TRV_IN_FRESH_PROCESS({
        trvhost::Options options;
        options.missingMembers = {"LenB( s as string ) as integer"};
        Load(std::move(options));
        const trvhost::String string = TheHost().NewString(std::string("te\0xt", 5));
        EXPECT_EQ(BytesOf(rbData(StringOf(string))), "te") << "up to the terminator, without a length";
    });
}

TEST_F(RbData, LeakKeepsTheBytesAlive) {
    const trvhost::String string = TheHost().NewString("text");
    const trvhost::MemoryBlock owner = TheHost().NewMemoryBlock(4);
    const LogCapture log;
    {
        rbData data(StringOf(string));
        data.leak();
        rbData owned(owner.Data(), 4, ObjectOf(owner));
        owned.leak();
    }
    EXPECT_EQ(log.Lines(), (Lines{"rbData::leak", "rbData::leak"}));
    EXPECT_EQ(string.References(), 2);
    EXPECT_EQ(owner.References(), 2);
    host::REALUnlockString(StringOf(string));
    host::REALUnlockObject(ObjectOf(owner));
}

TEST_F(RbData, OnTheHeapAndInChains) {
    const trvhost::String string = TheHost().NewString("text");
    rbData* head = nullptr;
    {
        const LogCapture log;
        for (int i = 0; i < 3; ++i)
            AddDataChain(head, rbData::New(StringOf(string)));
        EXPECT_EQ(log.Lines(), Lines(3, "AddDataChain"));
    }
    EXPECT_EQ(string.References(), 4);
    ASSERT_NE(head, nullptr);
    ASSERT_NE(head->next, nullptr);
    ASSERT_NE(head->next->next, nullptr);
    EXPECT_EQ(head->next->next->next, nullptr);
    EXPECT_EQ(BytesOf(*head->next), "text");
    FreeChain(head);
    EXPECT_EQ(string.References(), 1);
    const LogCapture log;
    const FailingMemory noMemory;
    EXPECT_EQ(rbData::New(StringOf(string)), nullptr);
    EXPECT_EQ(log.Lines(), (Lines{"Failed to allocate rbData object."}));
}

}  // namespace
}  // namespace trv
