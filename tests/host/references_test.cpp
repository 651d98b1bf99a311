#include <optional>

#include "host_test.h"

namespace hosttest {
namespace {

class References : public HostTest {};

TEST_F(References, CountCopiesAndMoves) {
    Ref block = host.NewMemoryBlock(16);
    EXPECT_EQ(block.References(), 1);
    {
        const Ref copy = block;
        EXPECT_EQ(block.References(), 2);
        EXPECT_EQ(copy, block);
        Ref moved = std::move(block);
        EXPECT_EQ(moved.References(), 2);
        EXPECT_FALSE(block);  // NOLINT(bugprone-use-after-move): what a moved Ref is
        block = moved;
        EXPECT_EQ(block.References(), 3);
    }
    EXPECT_EQ(block.References(), 1);
    EXPECT_EQ(block.ClassName(), "MemoryBlock");
    EXPECT_EQ(block.Owner(), &host);
}

TEST_F(References, AreMirroredInTheBlock) {
    const Ref block = host.NewMemoryBlock(16);
    Call<void(Handle)>("REALLockObject", block.Handle());
    int64_t inBlock = 0;
    std::memcpy(&inBlock, static_cast<char*>(block.Handle()) + 8, sizeof inBlock);
    EXPECT_EQ(inBlock, 2);
    Call<void(Handle)>("REALUnlockObject", block.Handle());
}

TEST_F(References, OfNilDoNothing) {
    for (const char* name : {"REALLockObject", "REALUnlockObject", "REALLockString", "REALUnlockString"}) {
        Call<void(Handle)>(name, nullptr);
    }
    const Ref nil;
    EXPECT_FALSE(nil);
    EXPECT_EQ(nil.References(), 0);
    EXPECT_EQ(nil.ClassName(), "");
}

TEST_F(References, LastOneRunsTheDestructor) {
    RegisterSample(host);
    Ref first = host.New("Sample");
    const Ref second = host.New("Sample");
    host.Set(second, "Other", first);
    host.Set(second, "Text", "kept");
    EXPECT_EQ(first.References(), 2);
    first.Reset();
    EXPECT_EQ(Log().destroyed, 0);
    host.Set(second, "Other", nullptr);
    EXPECT_EQ(Log().destroyed, 1);
}

TEST_F(References, InFieldsOfDirectAccessGoWithTheObject) {
    RegisterSample(host);
    Ref object = host.New("Sample");
    const Ref other = host.New("Sample");
    const Ref text = host.NewString("kept");
    host.Set(object, "Other", other);
    host.Set(object, "Text", text);
    EXPECT_EQ(other.References(), 2);
    EXPECT_EQ(text.References(), 2);
    object.Reset();
    EXPECT_EQ(other.References(), 1);
    EXPECT_EQ(text.References(), 1);
}

TEST_F(References, LiveCountsTellWhatIsThere) {
    const LiveCounts before = host.Live();
    {
        const Ref block = host.NewMemoryBlock(1);
        const Ref picture = host.NewPicture(2, 2);
        const Ref text = host.NewString("x");
        const LiveCounts now = host.Live();
        EXPECT_EQ(now.objects.at("MemoryBlock"), 1);
        EXPECT_EQ(now.objects.at("Picture"), 1);
        EXPECT_EQ(now.strings, 1);
        EXPECT_NE(now, before);
    }
    EXPECT_EQ(host.Live(), before);
}

TEST_F(References, ReleaseOfTheDeadIsNoticed) {
    Handle handle = host.NewMemoryBlock(4).Release();
    Call<void(Handle)>("REALUnlockObject", handle);
    Call<void(Handle)>("REALUnlockObject", handle);
    EXPECT_EQ(host.Misuses(), 1);
    EXPECT_NE(host.FirstMisuse().find("REALUnlockObject: the MemoryBlock at"), std::string::npos)
        << host.FirstMisuse();
    EXPECT_NE(host.FirstMisuse().find("is dead"), std::string::npos);
    // The address is not given to another thing soon, so every later use is known as well.
    const Ref other = host.NewMemoryBlock(4);
    EXPECT_NE(other.Handle(), handle);
    EXPECT_EQ(Call<int64_t(Handle)>("memoryBlockGetSize", handle), 0);
    EXPECT_EQ(host.Misuses(), 2);
    host.ClearMisuse();
}

TEST_F(References, WrongKindsAreNoticed) {
    const Ref text = host.NewString("x");
    const Ref block = host.NewMemoryBlock(4);
    Call<void(Handle)>("REALLockObject", text.Handle());
    EXPECT_EQ(text.References(), 1);
    Call<void(Handle)>("REALUnlockString", block.Handle());
    EXPECT_EQ(block.References(), 1);
    EXPECT_EQ(Call<void*(Handle)>("memoryBlockGetPtr", text.Handle()), nullptr);
    EXPECT_EQ(host.Misuses(), 3);
    EXPECT_EQ(host.FirstMisuse().rfind("REALLockObject: the String at", 0), 0u) << host.FirstMisuse();
    int notAThing = 0;
    Call<void(Handle)>("REALLockObject", &notAThing);
    EXPECT_EQ(host.Misuses(), 4);
    host.ClearMisuse();
}

TEST_F(References, OutliveTheirHost) {
    Ref survivor;
    {
        const Host inner;
        survivor = inner.NewMemoryBlock(4);
        EXPECT_EQ(survivor.Owner(), &inner);
    }
    EXPECT_EQ(survivor.Owner(), nullptr);
    EXPECT_EQ(survivor.References(), 0);
    const Ref copy = survivor;
    EXPECT_THROW(MemoryBlock{copy}, std::invalid_argument);
}

TEST_F(References, HostEndsWithoutRunningDestructors) {
    std::optional<Host> inner;
    inner.emplace();
    RegisterSample(*inner);
    Ref object = inner->New("Sample");
    inner.reset();
    EXPECT_EQ(Log().destroyed, 0);
}

TEST_F(References, ConvertToTheirKindOnly) {
    const Ref block = host.NewMemoryBlock(4);
    EXPECT_EQ(MemoryBlock(block).Size(), 4);
    EXPECT_THROW(Picture{block}, std::invalid_argument);
    EXPECT_THROW(String{block}, std::invalid_argument);
    EXPECT_EQ(MemoryBlock(Ref()).Size(), 0);
}

}  // namespace
}  // namespace hosttest
