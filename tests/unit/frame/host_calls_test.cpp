#include "frame/host_calls.h"

#include <gtest/gtest.h>
#include <iterator>
#include <limits>
#include <set>
#include <string>
#include <vector>

#include "unit/frame/entry_names.h"
#include "unit/frame/fake_host.h"
#include "unit/frame/fresh_process.h"

namespace trv {
namespace {

using test::FakeHost;

TEST(HostVersions, SelectTheTableVersion) {
    const struct {
        double version;
        int32_t expected;
    } cases[] = {{2024.01, 13},  {2013.041, 13}, {2013.04, 13}, {2013.039, 12}, {2013.03, 12},
                 {2013.029, 11}, {2013.01, 11},  {2013.0, 11},  {2012.99, 10},  {2012.0, 10},
                 {2011.99, 9},   {2011.04, 9},   {2005.0, 9},   {0.0, 9},       {-1.0, 9}};
    FakeHost host;
    for (const auto& [version, expected] : cases) {
        host.Reconnect(version);
        EXPECT_EQ(HostVersion(), version);
        EXPECT_EQ(SdkVersion(), expected) << version;
    }
}

TEST(HostVersions, AreReadAnewByTheWrapper) {
    FakeHost host(2011.04);
    EXPECT_EQ(SdkVersion(), 9);
    host.version = 2013.03;
    EXPECT_EQ(HostVersion(), 2011.04);
    EXPECT_EQ(host::REALGetRBVersion(), 2013.03);
    EXPECT_EQ(HostVersion(), 2013.03);
    EXPECT_EQ(SdkVersion(), 12);
}

TEST(HostVersions, BeforeTheHostIsKnown) {
    TRV_IN_FRESH_PROCESS({
        EXPECT_EQ(HostVersion(), 0.0);
        EXPECT_EQ(SdkVersion(), 15);
        ConnectHost(nullptr);
        EXPECT_EQ(HostVersion(), 0.0);
        EXPECT_EQ(SdkVersion(), 9);
        EXPECT_EQ(host::REALGetRBVersion(), 0.0);
        EXPECT_FALSE(host::REALLockObject.Available());
        host::REALLockObject(nullptr);
    });
}

TEST(HostVersions, AHostThatDoesNotTell) {
    TRV_IN_FRESH_PROCESS({
        ConnectHost([](const char*) -> void* { return nullptr; });
        EXPECT_EQ(HostVersion(), 0.0);
        EXPECT_EQ(SdkVersion(), 9);
        EXPECT_EQ(host::REALGetRBVersion(), 0.0);
    });
}

int64_t Sum(int64_t a, int64_t b) {
    return a + b;
}

TEST(Entry, AMissingEntryGivesNothing) {
    FakeHost host;
    const host::Entry<int64_t(int64_t)> number{"TestNumber"};
    const host::Entry<bool()> boolean{"TestBoolean"};
    const host::Entry<HostObject(const char*)> object{"TestObject"};
    const host::Entry<double()> real{"TestReal"};
    const host::Entry<void(int64_t)> nothing{"TestNothing"};
    EXPECT_EQ(number(5), 0);
    EXPECT_FALSE(boolean());
    EXPECT_EQ(object("x"), nullptr);
    EXPECT_EQ(real(), 0.0);
    nothing(5);
    EXPECT_FALSE(number.Available());
}

TEST(Entry, IsLookedUpOnceFoundAndAtEachCallUntilThen) {
    FakeHost host;
    const host::Entry<int64_t(int64_t, int64_t)> sum{"TestSum"};
    EXPECT_EQ(sum(1, 2), 0);
    EXPECT_EQ(sum(1, 2), 0);
    EXPECT_EQ(host.lookups["TestSum"], 2);
    host.Provide("TestSum", Sum);
    EXPECT_EQ(sum(1, 2), 3);
    EXPECT_EQ(sum(40, 2), 42);
    EXPECT_EQ(host.lookups["TestSum"], 3);
    host.entries.erase("TestSum");
    EXPECT_EQ(sum(4, 5), 9) << "what was found is kept";
    EXPECT_EQ(host.lookups["TestSum"], 3);
}

TEST(Entry, BooleansAreZeroExtendedAndTheirResultsNormalised) {
    FakeHost host;
    // Looks at the whole register, of which the caller owes all.
    host.Provide(
        "TestArgument", +[](uint64_t flag) { return static_cast<int64_t>(flag); });
    const host::Entry<int64_t(bool)> argument{"TestArgument"};
    EXPECT_EQ(argument(true), 1);
    EXPECT_EQ(argument(false), 0);

    // A host that leaves rubbish above the low byte.
    host.Provide(
        "TestResult", +[](int64_t value) { return static_cast<uint64_t>(value); });
    const host::Entry<bool(int64_t)> result{"TestResult"};
    EXPECT_TRUE(result(1));
    EXPECT_TRUE(result(0xFE));
    EXPECT_TRUE(result(0x12345601));
    EXPECT_FALSE(result(0));
    EXPECT_FALSE(result(0x1234567800));
}

TEST(Entry, NarrowIntegersFillTheirRegister) {
    FakeHost host;
    host.Provide(
        "TestSigned", +[](int64_t value) { return value; });
    host.Provide(
        "TestUnsigned", +[](uint64_t value) { return static_cast<int64_t>(value); });
    const host::Entry<int64_t(int8_t)> byte{"TestSigned"};
    const host::Entry<int64_t(int32_t)> word{"TestSigned"};
    const host::Entry<int64_t(uint8_t)> unsignedByte{"TestUnsigned"};
    const host::Entry<int64_t(uint32_t)> encoding{"TestUnsigned"};
    EXPECT_EQ(byte(-5), -5);
    EXPECT_EQ(word(std::numeric_limits<int32_t>::min()), std::numeric_limits<int32_t>::min());
    EXPECT_EQ(unsignedByte(255), 255);
    EXPECT_EQ(encoding(0xF8000100U), 0xF8000100);
}

TEST(Entry, EachOf198HasAWrapperOfItsName) {
    std::vector<std::string> names;
#define TRV_ENTRY(name, ...) names.emplace_back(#name);
#define TRV_SPECIAL_ENTRY(name, ...) names.emplace_back(#name);
#define TRV_ARRAY_ENTRIES(kind, type)                     \
    names.emplace_back("Plugin" #kind "ArrayGetProc");    \
    names.emplace_back("Plugin" #kind "ArrayInsertProc"); \
    names.emplace_back("Plugin" #kind "ArraySetProc");
#include "frame/host_entries.inc"
#undef TRV_ENTRY
#undef TRV_SPECIAL_ENTRY
#undef TRV_ARRAY_ENTRIES
    EXPECT_EQ(std::multiset<std::string>(names.begin(), names.end()),
              std::multiset<std::string>(std::begin(test::kEntryNames), std::end(test::kEntryNames)));
}

}  // namespace
}  // namespace trv
