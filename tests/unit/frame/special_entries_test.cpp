#include <gtest/gtest.h>
#include <utility>
#include <vector>

#include "frame/host_calls.h"
#include "unit/frame/fake_host.h"
#include "unit/frame/fresh_process.h"

namespace trv {
namespace {

using test::FakeHost;

HostObject ObjectAt(uintptr_t number) {
    return reinterpret_cast<HostObject>(number);
}

HostString StringAt(uintptr_t number) {
    return reinterpret_cast<HostString>(number);
}

uintptr_t NumberOf(HostObject object) {
    return reinterpret_cast<uintptr_t>(object);
}

TEST(SpecialEntries, TheExceptionHandlerRunsTheFunctionWithoutTheHost) {
    TRV_IN_FRESH_PROCESS({
        FakeHost host;
        int runs = 0;
        const auto increment = [](void* argument) { ++*static_cast<int*>(argument); };
        EXPECT_EQ(host::PluginCallFunctionWithExceptionHandler(increment, &runs), nullptr);
        EXPECT_EQ(runs, 1);
        // A host that has it decides.
        host.Provide(
            "PluginCallFunctionWithExceptionHandler", +[](void (*fn)(void*), void* argument) {
                fn(argument);
                fn(argument);
                return ObjectAt(5);
            });
        EXPECT_EQ(host::PluginCallFunctionWithExceptionHandler(increment, &runs), ObjectAt(5));
        EXPECT_EQ(runs, 3);
    });
}

TEST(SpecialEntries, CreateInstanceOfANilClassIsNilBehindTheLookUp) {
    TRV_IN_FRESH_PROCESS({
        FakeHost host;
        EXPECT_EQ(host::CreateInstance(reinterpret_cast<HostClass>(3)), nullptr);
        host.Provide(
            "CreateInstance",
            +[](HostClass hostClass) { return ObjectAt(reinterpret_cast<uintptr_t>(hostClass) + 100); });
        const int before = host.lookups["CreateInstance"];
        EXPECT_EQ(host::CreateInstance(nullptr), nullptr);
        EXPECT_EQ(host.lookups["CreateInstance"], before + 1);
        EXPECT_EQ(host::CreateInstance(reinterpret_cast<HostClass>(3)), ObjectAt(103));
        EXPECT_EQ(host.lookups["CreateInstance"], before + 1);
    });
}

TEST(SpecialEntries, StringsGiveBytesAndLength) {
    TRV_IN_FRESH_PROCESS({
        FakeHost host;
        host.Provide(
            "StringGetCString", +[](HostString) -> const char* { return "bytes"; });
        int64_t length = 77;
        // A nil string is told before anything is looked up.
        EXPECT_EQ(host::StringGetCString(nullptr, &length), nullptr);
        EXPECT_EQ(length, 77);
        EXPECT_EQ(host.lookups["StringGetCString"], 0);
        EXPECT_EQ(host.lookups["REALLoadGlobalMethod"], 0);
        // Without the length method the bytes come alone.
        EXPECT_STREQ(host::StringGetCString(StringAt(1), &length), "bytes");
        EXPECT_EQ(length, 77);
        static int loads = 0;
        host.Provide(
            "REALLoadGlobalMethod", +[](HostObject module, const char* declaration) -> void* {
                ++loads;
                EXPECT_EQ(module, nullptr);
                EXPECT_STREQ(declaration, "LenB( s as string ) as integer");
                return reinterpret_cast<void*>(+[](HostString) -> int64_t { return 5; });
            });
        EXPECT_STREQ(host::StringGetCString(StringAt(1), &length), "bytes");
        EXPECT_EQ(length, 5);
        EXPECT_STREQ(host::StringGetCString(StringAt(1), nullptr), "bytes");
        EXPECT_EQ(loads, 1) << "the method is looked up once";
    });
}

TEST(SpecialEntries, AStringWithoutItsEntryHasALengthAlone) {
    TRV_IN_FRESH_PROCESS({
        FakeHost host;
        host.Provide(
            "REALLoadGlobalMethod", +[](HostObject, const char*) -> void* {
                return reinterpret_cast<void*>(+[](HostString) -> int64_t { return 9; });
            });
        int64_t length = 0;
        EXPECT_EQ(host::StringGetCString(StringAt(1), &length), nullptr);
        EXPECT_EQ(length, 9);
    });
}

TEST(SpecialEntries, EventsAreFoundThroughTheirSecondWord) {
    FakeHost host(2013.04);
    host.Provide(
        "GetEventInstance", +[](HostObject instance, void* word) -> void* {
            return static_cast<uint8_t*>(word) + NumberOf(instance);
        });
    int inner = 0;
    int outer = 0;
    const void* innerWords[] = {nullptr, &inner};
    const void* definition[] = {"declaration", &outer};
    for (const double version : {2012.0, 2013.0, 2013.03, 2013.04, 2024.01}) {
        host.Reconnect(version);
        EXPECT_EQ(host::GetEventInstance(ObjectAt(3), definition), reinterpret_cast<uint8_t*>(&outer) + 3);
    }
    // A host of table version 9 wrote the address of another record there.
    definition[1] = innerWords;
    host.Reconnect(2011.04);
    ASSERT_EQ(SdkVersion(), 9);
    EXPECT_EQ(host::GetEventInstance(ObjectAt(3), definition), reinterpret_cast<uint8_t*>(&inner) + 3);
    EXPECT_EQ(host::GetEventInstance(ObjectAt(3), nullptr), nullptr);
}

TEST(SpecialEntries, ABooleanPropertyIsExactlyTrueOrFalse) {
    FakeHost host;
    static uint8_t stored;
    static uint8_t answer;
    host.Provide(
        "REALGetPropValueBool", +[](HostObject, const char* name, uint8_t* out) -> uint8_t {
            EXPECT_STREQ(name, "Visible");
            if (answer != 0) *out = stored;
            return answer;
        });
    for (const auto& [byte, expected] : {std::pair<uint8_t, int>{0, 0}, {1, 1}, {2, 1}, {255, 1}}) {
        stored = byte;
        answer = 200;
        Boolean out = 99;
        EXPECT_TRUE(host::REALGetPropValueBool(ObjectAt(1), "Visible", &out));
        EXPECT_EQ(out, expected);
        EXPECT_TRUE(host::REALGetPropValueBool(ObjectAt(1), "Visible", nullptr));
        answer = 0;
        out = 99;
        EXPECT_FALSE(host::REALGetPropValueBool(ObjectAt(1), "Visible", &out));
        EXPECT_EQ(out, 99);
    }
}

TEST(SpecialEntries, TextsAreDrawnWithIntegersOnOldHosts) {
    static std::vector<double> drawn;
    const auto provide = [](FakeHost& host, bool floats) {
        drawn.clear();
        if (floats) {
            host.Provide(
                "RuntimeGraphicsDrawString", +[](HostObject, HostString, double x, double y, double width) {
                    drawn = {x, y, width};
                });
        } else {
            host.Provide(
                "RuntimeGraphicsDrawString",
                +[](HostObject, HostString, int64_t x, int64_t y, int64_t width) {
                    drawn = {static_cast<double>(x), static_cast<double>(y), static_cast<double>(width)};
                });
        }
    };
    for (const auto& hostCase :
         {std::pair<double, bool>{2018.01, false}, {2018.019, false}, {2018.02, true}, {2024.01, true}}) {
        const double version = hostCase.first;
        const bool floats = hostCase.second;
        TRV_IN_FRESH_PROCESS({
            FakeHost host(version);
            host::RuntimeGraphicsDrawString(ObjectAt(1), nullptr, 1, 2, 3);  // missing, and nothing happens
            provide(host, floats);
            host::RuntimeGraphicsDrawString(ObjectAt(1), nullptr, -7, 800000, 12);
            EXPECT_EQ(drawn, (std::vector<double>{-7, 800000, 12}));
        });
    }
}

TEST(SpecialEntries, TextsAreMeasuredAsIntegersOnOldHosts) {
    for (const auto& hostCase :
         {std::pair<double, bool>{0.0, false}, {2007.01, false}, {2007.02, true}, {2024.01, true}}) {
        const double version = hostCase.first;
        const bool floats = hostCase.second;
        TRV_IN_FRESH_PROCESS({
            FakeHost host(version);
            EXPECT_EQ(host::RuntimeGraphicsStringWidth(ObjectAt(1), nullptr), 0.0);
            if (floats) {
                host.Provide(
                    "RuntimeGraphicsStringWidth", +[](HostObject, HostString) { return 12.5; });
            } else {
                host.Provide(
                    "RuntimeGraphicsStringWidth", +[](HostObject, HostString) -> int64_t { return 12; });
            }
            EXPECT_EQ(host::RuntimeGraphicsStringWidth(ObjectAt(1), nullptr), floats ? 12.5 : 12.0);
        });
    }
}

}  // namespace
}  // namespace trv
