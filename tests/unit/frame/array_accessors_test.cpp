#include <gtest/gtest.h>
#include <string>
#include <utility>
#include <vector>

#include "frame/host_calls.h"
#include "unit/frame/fake_host.h"

namespace trv {
namespace {

using test::FakeHost;

HostObject ObjectAt(uintptr_t number) {
    return reinterpret_cast<HostObject>(number);
}

uintptr_t NumberOf(HostObject object) {
    return reinterpret_cast<uintptr_t>(object);
}

std::vector<std::string> accessorCalls;

template <class... Numbers>
void NoteCall(const char* name, Numbers... numbers) {
    std::string text = name;
    ((text += " " + std::to_string(numbers)), ...);
    accessorCalls.push_back(text);
}

/// Accessors of whole numbers, which note their arguments in the order in which they came.
void ProvideAccessors(FakeHost& host) {
    accessorCalls.clear();
    host.Provide(
        "TestGet", +[](HostObject array) -> void* {
            if (NumberOf(array) == 99) return nullptr;
            return reinterpret_cast<void*>(+[](HostObject from, int64_t index) -> int64_t {
                NoteCall("get", NumberOf(from), index);
                return index * 1000 - 1;
            });
        });
    host.Provide(
        "TestInsert", +[](HostObject array) -> void* {
            if (NumberOf(array) == 99) return nullptr;
            return reinterpret_cast<void*>(+[](HostObject into, int64_t first, int64_t second) {
                NoteCall("insert", NumberOf(into), first, second);
            });
        });
    host.Provide(
        "TestSet", +[](HostObject array) -> void* {
            if (NumberOf(array) == 99) return nullptr;
            return reinterpret_cast<void*>(+[](HostObject into, int64_t first, int64_t second) {
                NoteCall("set", NumberOf(into), first, second);
            });
        });
}

TEST(ArrayAccessors, InsertTakesTheIndexFirstAndSetTheValue) {
    FakeHost host;
    ProvideAccessors(host);
    const host::ArrayInsert<int64_t> insert{"TestInsert"};
    const host::ArraySet<int64_t> set{"TestSet"};
    insert(ObjectAt(7), 3, 500);
    set(ObjectAt(7), 3, 500);
    EXPECT_EQ(accessorCalls, (std::vector<std::string>{"insert 7 3 500", "set 7 500 3"}));
}

TEST(ArrayAccessors, NarrowValuesFillTheirRegister) {
    FakeHost host;
    ProvideAccessors(host);
    const host::ArrayInsert<int8_t> insert{"TestInsert"};
    const host::ArraySet<uint16_t> set{"TestSet"};
    insert(ObjectAt(7), 0, -3);
    set(ObjectAt(7), -1, 65535);
    EXPECT_EQ(accessorCalls, (std::vector<std::string>{"insert 7 0 -3", "set 7 65535 -1"}));
}

TEST(ArrayAccessors, GetStoresTheResult) {
    FakeHost host;
    ProvideAccessors(host);
    const host::ArrayGet<int64_t> get{"TestGet"};
    int64_t value = 0;
    get(ObjectAt(7), 3, &value);
    EXPECT_EQ(value, 2999);
    get(ObjectAt(7), 4, nullptr);
    EXPECT_EQ(accessorCalls, (std::vector<std::string>{"get 7 3", "get 7 4"}));
}

TEST(ArrayAccessors, ABooleanIsExactlyTrueOrFalse) {
    FakeHost host;
    host.Provide(
        "TestGetBoolean", +[](HostObject) -> void* {
            return reinterpret_cast<void*>(
                +[](HostObject, int64_t index) { return static_cast<uint64_t>(index); });
        });
    const host::ArrayGet<bool> get{"TestGetBoolean"};
    for (const auto& [element, expected] :
         {std::pair<int64_t, bool>{0, false}, {1, true}, {2, true}, {0x80, true}, {0x4400, false}}) {
        uint8_t byte = 77;
        get(ObjectAt(1), element, reinterpret_cast<bool*>(&byte));
        EXPECT_EQ(byte, expected ? 1 : 0) << element;
    }
}

TEST(ArrayAccessors, AreWithoutEffectWhereTheEntryOrTheAccessorIsMissing) {
    FakeHost host;
    const host::ArrayGet<int64_t> get{"TestGet"};
    const host::ArrayInsert<int64_t> insert{"TestInsert"};
    const host::ArraySet<int64_t> set{"TestSet"};
    int64_t value = 17;
    const auto useAll = [&](HostObject array) {
        get(array, 0, &value);
        insert(array, 0, 1);
        set(array, 0, 1);
    };
    useAll(ObjectAt(7));
    EXPECT_EQ(value, 17);
    ProvideAccessors(host);
    useAll(ObjectAt(99));
    EXPECT_EQ(value, 17);
    EXPECT_TRUE(accessorCalls.empty());
    useAll(ObjectAt(7));
    EXPECT_EQ(value, -1);
    EXPECT_EQ(accessorCalls.size(), 3U);
}

}  // namespace
}  // namespace trv
