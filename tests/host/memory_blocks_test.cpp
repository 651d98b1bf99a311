#include "host_test.h"

namespace hosttest {
namespace {

class MemoryBlocks : public HostTest {
  protected:
    Handle Constructor(Handle block) {
        return Call<Handle(Handle, const char*)>("REALLoadObjectMethod", block,
                                                 "Constructor(bytes as Integer)");
    }
    /// A block as a plug-in makes it, with the exception that came of it.
    Ref Construct(int64_t bytes) {
        const Handle block = Call<Handle(const char*)>("PluginNewInstance", "MemoryBlock");
        reinterpret_cast<void (*)(Handle, int64_t)>(Constructor(block))(block, bytes);
        return Ref::Adopt(host, block);
    }
};

TEST_F(MemoryBlocks, ComeZeroed) {
    const MemoryBlock block(Construct(100));
    EXPECT_EQ(block.Size(), 100);
    for (const uint8_t byte : block.Bytes())
        EXPECT_EQ(byte, 0);
    EXPECT_EQ(host.Get<int64_t>(block, "Size"), 100);
    EXPECT_EQ(Call<void*(Handle)>("memoryBlockGetPtr", block.Handle()), block.Data());
}

TEST_F(MemoryBlocks, KeepData) {
    const uint8_t bytes[] = {1, 2, 3};
    const MemoryBlock block = host.NewMemoryBlock(bytes);
    EXPECT_EQ(std::vector<uint8_t>(block.Bytes().begin(), block.Bytes().end()),
              (std::vector<uint8_t>{1, 2, 3}));
}

TEST_F(MemoryBlocks, WrapForeignMemory) {
    int word = 5;
    const MemoryBlock wrapped(Ref::Adopt(host, Call<Handle(void*)>("PtrToMemoryBlock", &word)));
    EXPECT_EQ(wrapped.Size(), -1);
    EXPECT_EQ(static_cast<void*>(wrapped.Data()), &word);
    const Ref plain = host.New("MemoryBlock");
    auto* convert = reinterpret_cast<void (*)(Handle, void*)>(Call<void*(Handle, const char*)>(
        "REALLoadObjectMethod", plain.Handle(), "Operator_Convert(value as Ptr)"));
    convert(plain.Handle(), &word);
    auto* back = reinterpret_cast<void* (*)(Handle)>(Call<void*(Handle, const char*)>(
        "REALLoadObjectMethod", plain.Handle(), "Operator_Convert() As Ptr"));
    EXPECT_EQ(back(plain.Handle()), &word);
}

TEST_F(MemoryBlocks, FailWhenAsked) {
    host.FailMemoryBlock(2);
    EXPECT_EQ(MemoryBlock(Construct(8)).Size(), 8);
    EXPECT_EQ(MemoryBlock(Construct(8)).Size(), 0);
    EXPECT_EQ(Exception(), "OutOfMemoryException: No memory for a block of 8 bytes.");
    EXPECT_EQ(MemoryBlock(Construct(8)).Size(), 8);
}

TEST_F(MemoryBlocks, FailWhenNegativeOrTooLarge) {
    Construct(-1);
    EXPECT_EQ(Exception(), "OutOfMemoryException: No memory for a block of -1 bytes.");
    Construct(int64_t{1} << 50);
    EXPECT_EQ(Exception(), "OutOfMemoryException: No memory for a block of 1125899906842624 bytes.");
    EXPECT_EQ(Call<Handle(int64_t)>("newMemoryBlock", -5), nullptr);
    EXPECT_EQ(Exception(), "OutOfMemoryException: No memory for a block of -5 bytes.");
    EXPECT_FALSE(host.NewMemoryBlock(-1));
}

TEST_F(MemoryBlocks, ComeOutShorterWhenAsked) {
    host.ShortenMemoryBlock(1, 3);
    EXPECT_EQ(MemoryBlock(Construct(8)).Size(), 5);
    EXPECT_EQ(MemoryBlock(Construct(8)).Size(), 8);
}

TEST_F(MemoryBlocks, HaveMembersThatMayBeMissing) {
    const Ref block = host.NewMemoryBlock(1);
    EXPECT_NE(Constructor(block.Handle()), nullptr);
    host.Settings().missingMembers = {"Constructor(bytes as Integer)", "MemoryBlock.Size"};
    EXPECT_EQ(Constructor(block.Handle()), nullptr);
    EXPECT_THROW(host.Get(block, "Size"), std::invalid_argument);
    host.Settings().missingMembers = {"Picture.Size"};
    EXPECT_EQ(host.Get<int64_t>(block, "Size"), 1);
}

TEST_F(MemoryBlocks, ClassMayBeMissing) {
    host.Settings().missingClasses = {"MemoryBlock"};
    EXPECT_EQ(Call<Handle(const char*)>("PluginNewInstance", "MemoryBlock"), nullptr);
    EXPECT_EQ(Call<Handle(int64_t)>("newMemoryBlock", 8), nullptr);
    EXPECT_FALSE(host.New("MemoryBlock"));
}

TEST_F(MemoryBlocks, NewInstanceFailsWhenAsked) {
    host.FailNewInstance(1);
    EXPECT_EQ(Call<Handle(const char*)>("PluginNewInstance", "MemoryBlock"), nullptr);
    Call<void(Handle)>("REALUnlockObject", Call<Handle(const char*)>("PluginNewInstance", "MemoryBlock"));
}

}  // namespace
}  // namespace hosttest
