#include <gtest/gtest.h>
#include <map>
#include <set>
#include <string>
#include <string_view>

#include "frame/host_calls.h"
#include "unit/frame/fake_host.h"
#include "unit/frame/fresh_process.h"

namespace trv {
namespace {

using test::FakeHost;

HostObject ObjectAt(uintptr_t number) {
    return reinterpret_cast<HostObject>(number);
}

uintptr_t NumberOf(HostObject object) {
    return reinterpret_cast<uintptr_t>(object);
}

std::set<std::string> secondMissing;
std::map<std::string, int> secondLookups;

void* SecondResolver(const char* name) {
    ++secondLookups[name];
    if (secondMissing.contains(name)) return nullptr;
    const std::string_view wanted = name;
    if (wanted == "RuntimeClassOf") {
        return reinterpret_cast<void*>(+[](HostObject instance) -> HostClass {
            return reinterpret_cast<HostClass>(NumberOf(instance) == 0 ? 0 : NumberOf(instance) + 1000);
        });
    }
    if (wanted == "REALCountClassProperties") {
        return reinterpret_cast<void*>(+[](HostClass hostClass) -> int64_t {
            return static_cast<int64_t>(reinterpret_cast<uintptr_t>(hostClass));
        });
    }
    if (wanted == "REALGetClassProperty") {
        return reinterpret_cast<void*>(
            +[](HostClass hostClass, int64_t index, void* a, void* b, void* c, void* d) -> uint8_t {
                *static_cast<int64_t*>(a) = static_cast<int64_t>(reinterpret_cast<uintptr_t>(hostClass));
                *static_cast<int64_t*>(b) = index;
                *static_cast<int64_t*>(c) = 3;
                *static_cast<int64_t*>(d) = 4;
                return index < 5 ? 128 : 0;
            });
    }
    return nullptr;
}

void ProvideSecondResolver(FakeHost& host, const std::set<std::string>& missing = {}) {
    secondMissing = missing;
    secondLookups.clear();
    host.Provide(
        "GetRBScriptResolver", +[] { return SecondResolver; });
}

TEST(SecondResolver, CountsPropertiesOfTheInstancesClass) {
    TRV_IN_FRESH_PROCESS({
        FakeHost host;
        ProvideSecondResolver(host);
        EXPECT_EQ(host::REALCountClassProperties(ObjectAt(7)), 1007);
        EXPECT_EQ(host::REALCountClassProperties(nullptr), 0) << "an instance without class";
        EXPECT_EQ(host::REALCountClassProperties(ObjectAt(8)), 1008);
        EXPECT_EQ(host.lookups["GetRBScriptResolver"], 1);
        EXPECT_EQ(host.lookups["REALCountClassProperties"], 0) << "not found through the main resolver";
        EXPECT_EQ(secondLookups["REALCountClassProperties"], 1);
        EXPECT_EQ(secondLookups["RuntimeClassOf"], 1);
    });
}

TEST(SecondResolver, ReadsAProperty) {
    TRV_IN_FRESH_PROCESS({
        FakeHost host;
        ProvideSecondResolver(host);
        int64_t out[4] = {};
        EXPECT_TRUE(host::REALGetClassProperty(ObjectAt(7), 2, &out[0], &out[1], &out[2], &out[3]));
        EXPECT_EQ(out[0], 1007);
        EXPECT_EQ(out[1], 2);
        EXPECT_EQ(out[2], 3);
        EXPECT_EQ(out[3], 4);
        EXPECT_FALSE(host::REALGetClassProperty(ObjectAt(7), 5, &out[0], &out[1], &out[2], &out[3]));
        EXPECT_FALSE(host::REALGetClassProperty(nullptr, 2, nullptr, nullptr, nullptr, nullptr));
        EXPECT_EQ(host.lookups["GetRBScriptResolver"], 1) << "a guard of its own";
    });
}

TEST(SecondResolver, IsFetchedOnce) {
    TRV_IN_FRESH_PROCESS({
        FakeHost host;
        EXPECT_EQ(host::REALCountClassProperties(ObjectAt(7)), 0);
        ProvideSecondResolver(host);
        EXPECT_EQ(host::REALCountClassProperties(ObjectAt(7)), 0);
        EXPECT_EQ(host.lookups["GetRBScriptResolver"], 1);
        int64_t out[4] = {};
        EXPECT_TRUE(host::REALGetClassProperty(ObjectAt(7), 2, &out[0], &out[1], &out[2], &out[3]));
    });
    TRV_IN_FRESH_PROCESS({
        FakeHost host;
        host.Provide(
            "GetRBScriptResolver", +[]() -> HostResolver { return nullptr; });
        EXPECT_EQ(host::REALCountClassProperties(ObjectAt(7)), 0);
        EXPECT_FALSE(host::REALGetClassProperty(ObjectAt(7), 0, nullptr, nullptr, nullptr, nullptr));
    });
}

TEST(SecondResolver, AClassEntryAloneFailsForGood) {
    TRV_IN_FRESH_PROCESS({
        FakeHost host;
        ProvideSecondResolver(host, {"REALCountClassProperties", "REALGetClassProperty"});
        EXPECT_EQ(host::REALCountClassProperties(ObjectAt(7)), 0);
        EXPECT_FALSE(host::REALGetClassProperty(ObjectAt(7), 0, nullptr, nullptr, nullptr, nullptr));
        secondMissing.clear();
        EXPECT_EQ(host::REALCountClassProperties(ObjectAt(7)), 0);
        EXPECT_FALSE(host::REALGetClassProperty(ObjectAt(7), 0, nullptr, nullptr, nullptr, nullptr));
        EXPECT_EQ(secondLookups["REALCountClassProperties"], 1);
    });
}

TEST(SecondResolver, AHostWithoutClassOfGivesNothing) {
    TRV_IN_FRESH_PROCESS({
        FakeHost host;
        ProvideSecondResolver(host, {"RuntimeClassOf"});
        EXPECT_EQ(host::REALCountClassProperties(ObjectAt(7)), 0);
        EXPECT_EQ(host::REALCountClassProperties(ObjectAt(7)), 0);
        EXPECT_FALSE(host::REALGetClassProperty(ObjectAt(7), 0, nullptr, nullptr, nullptr, nullptr));
        // That is no failure for good.
        secondMissing.clear();
        EXPECT_EQ(host::REALCountClassProperties(ObjectAt(7)), 1007);
    });
}

}  // namespace
}  // namespace trv
