#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "frame/host_arrays.h"
#include "unit/frame/fresh_process.h"
#include "unit/frame/log_capture.h"
#include "unit/hosted_test.h"

namespace trv {
namespace {

using test::LogCapture;
using trvhost::Array;
using trvhost::ArrayLayout;
using trvhost::ExceptionInfo;

using Lines = std::vector<std::string>;

class Arrays : public test::HostedTest {
  protected:
    void LoadLayout(ArrayLayout layout, double version = 2024.01) {
        trvhost::Options options;
        options.version = version;
        options.arrayLayout = layout;
        Load(std::move(options));
    }

    [[nodiscard]] Array Make(ElementKind kind, int64_t ubound) const {
        return TheHost().NewArray(static_cast<trvhost::ElementKind>(kind), ubound);
    }
};

// The proof
// -----------------------------------------------------------------------------------------------------------

TEST_F(Arrays, BothLayoutsAreProvedOnTheirHosts) {
    const struct {
        ArrayLayout layout;
        double version;
        bool proved;
    } cases[] = {{ArrayLayout::ByVersion, 2024.01, true},  {ArrayLayout::ByVersion, 2021.0, true},
                 {ArrayLayout::ByVersion, 2020.02, true},  {ArrayLayout::ByVersion, 0.0, true},
                 {ArrayLayout::From2021, 2020.99, false},  {ArrayLayout::Before2021, 2021.0, false},
                 {ArrayLayout::Before2021, 2020.99, true}, {ArrayLayout::From2021, 2021.0, true},
                 {ArrayLayout::Unknown, 2024.01, false},   {ArrayLayout::Unknown, 2019.0, false}};
    for (const auto& [layout, version, proved] : cases) {
        LoadLayout(layout, version);
        EXPECT_EQ(TestArray(), proved) << version;
        EXPECT_EQ(TheHost().Live().objects.size(), 0U);
    }
}

TEST_F(Arrays, EachLieIsFoundAndNamed) {
    const struct {
        ArrayLayout layout;
        const char* line;
    } cases[] = {{ArrayLayout::Hostile, "refCount wrong"},
                 {ArrayLayout::HostileReferences, "refCount wrong"},
                 {ArrayLayout::HostileDimensions, "DimensionCount wrong"},
                 {ArrayLayout::HostileUbound, "ubound wrong"},
                 {ArrayLayout::HostileData, "data is nil"},
                 {ArrayLayout::Unknown, "DimensionCount wrong"}};
    for (const auto& [layout, line] : cases) {
        LoadLayout(layout);
        const LogCapture log;
        EXPECT_FALSE(TestArray());
        EXPECT_EQ(log.Lines(), Lines{line});
    }
}

/// A host whose arrays a test makes up: an object of exactly 48 bytes, so that a sanitizer sees a step
/// outside.
struct FakeArrays {
    static inline int64_t* words = nullptr;
    static inline int64_t elements[10] = {};
    static inline int64_t readBack[10] = {};
    static inline int64_t ubound = 1234;
    static inline bool allocates = true;
    static inline int unlocks = 0;

    static HostObject Create(int32_t kind, int64_t wanted) {
        EXPECT_EQ(kind, 11);
        EXPECT_EQ(wanted, 1234);
        return allocates ? reinterpret_cast<HostObject>(words) : nullptr;
    }
    static void Set(HostObject, int64_t value, int64_t index) { elements[index] = readBack[index] = value; }
    static int64_t Read(HostObject, int64_t index) { return readBack[index]; }
    static void* Resolve(const char* name) {
        const std::string wanted = name;
        if (wanted == "REALGetRBVersion") return reinterpret_cast<void*>(+[] { return 2024.01; });
        if (wanted == "RuntimeArrayCreateSingleDimBoundedArray") return reinterpret_cast<void*>(Create);
        if (wanted == "PluginIntegerArraySetProc") {
            return reinterpret_cast<void*>(+[](HostObject) { return reinterpret_cast<void*>(Set); });
        }
        if (wanted == "RuntimeUBound") return reinterpret_cast<void*>(+[](HostObject) { return ubound; });
        if (wanted == "RuntimeDirectReadIntArray") return reinterpret_cast<void*>(Read);
        if (wanted == "REALLockObject") return reinterpret_cast<void*>(+[](HostObject) {});
        if (wanted == "REALUnlockObject") return reinterpret_cast<void*>(+[](HostObject) { ++unlocks; });
        return nullptr;
    }
};

TEST_F(Arrays, EveryStepOfTheProofCanFail) {
    TRV_IN_FRESH_PROCESS({
        std::vector<int64_t> words(6);
        FakeArrays::words = words.data();
        ConnectHost(FakeArrays::Resolve);
        int runs = 0;
        const auto expect = [&](const Lines& lines, auto spoil) {
            words = {1,  1, static_cast<int64_t>(reinterpret_cast<intptr_t>(FakeArrays::elements)),
                     99, 1, 1234};
            FakeArrays::ubound = 1234;
            FakeArrays::allocates = true;
            spoil();
            const LogCapture log;
            EXPECT_EQ(TestArray(), lines.empty());
            EXPECT_EQ(log.Lines(), lines);
            if (FakeArrays::allocates) ++runs;
            EXPECT_EQ(FakeArrays::unlocks, runs) << "the array is given back";
        };
        expect({}, [] {});
        expect({"Failed to allocate array"}, [] { FakeArrays::allocates = false; });
        expect({"ubound failed"}, [] { FakeArrays::ubound = 1233; });
        expect({"refCount wrong"}, [&] { words[1] = 2; });
        expect({"DimensionCount wrong"}, [&] { words[4] = 2; });
        expect({"ubound wrong"}, [&] { words[5] = 1235; });
        expect({"data is nil"}, [&] { words[2] = 0; });
        // Nothing behind a wild pointer is read before all else is proved.
        expect({"refCount wrong"}, [&] { words[1] = 0, words[2] = 16; });
        expect({"ubound wrong"}, [&] { words[5] = 0, words[2] = 16; });
        static int64_t others[10];
        const auto point = [&] { words[2] = static_cast<int64_t>(reinterpret_cast<intptr_t>(others)); };
        expect({"Index 0 failed"}, point);
        others[0] = 12345;
        others[1] = 1;
        expect({"Index 1 failed"}, point);
        others[1] = 0;
        expect({"Index 9 failed"}, point);
        others[9] = 123456;
        expect({}, point);
        expect({}, [] {});
    });
    TRV_IN_FRESH_PROCESS({
        // A host that stores nothing.
        std::vector<int64_t> words(6);
        FakeArrays::words = words.data();
        ConnectHost([](const char* name) {
            return std::string(name) == "PluginIntegerArraySetProc" ? nullptr : FakeArrays::Resolve(name);
        });
        const auto expect = [](const char* line) {
            const LogCapture log;
            EXPECT_FALSE(TestArray());
            EXPECT_EQ(log.Lines(), Lines{line});
        };
        expect("Index 0 failed");
        FakeArrays::readBack[0] = 12345;
        FakeArrays::readBack[1] = 5;
        expect("Index 1 failed");
        FakeArrays::readBack[1] = 0;
        expect("Index 9 failed");
    });
}

TEST_F(Arrays, TheProofRunsOnceByItself) {
    TRV_IN_FRESH_PROCESS({
        const Array array = TheHost().NewIntegers({1, 2, 3});
        EXPECT_EQ(TheHost().Calls("RuntimeArrayCreateSingleDimBoundedArray"), 0);
        EXPECT_EQ(REALGetArrayInt(nullptr, 0), 0);
        EXPECT_EQ(TheHost().Calls("RuntimeArrayCreateSingleDimBoundedArray"), 0) << "not for nil";
        EXPECT_EQ(REALGetArrayInt(ObjectOf(array), 1), 2);
        EXPECT_EQ(TheHost().Calls("RuntimeArrayCreateSingleDimBoundedArray"), 1);
        const int64_t reads = TheHost().Calls("RuntimeDirectReadIntArray");
        EXPECT_EQ(reads, 3) << "those of the proof";
        EXPECT_EQ(REALGetArrayInt(ObjectOf(array), 2), 3);
        EXPECT_EQ(TheHost().Calls("RuntimeArrayCreateSingleDimBoundedArray"), 1);
        EXPECT_EQ(TheHost().Calls("RuntimeDirectReadIntArray"), reads) << "read in place";
    });
    TRV_IN_FRESH_PROCESS({
        LoadLayout(ArrayLayout::Unknown);
        const Array array = TheHost().NewIntegers({1, 2, 3});
        EXPECT_EQ(REALGetArrayInt(ObjectOf(array), 1), 2);
        EXPECT_EQ(REALGetArrayInt(ObjectOf(array), 2), 3);
        EXPECT_EQ(TheHost().Calls("RuntimeArrayCreateSingleDimBoundedArray"), 1) << "a failure is kept too";
        EXPECT_EQ(TheHost().Calls("RuntimeDirectReadIntArray"), 3 + 2);
    });
}

TEST_F(Arrays, TheProofRaisesNothing) {
    trvhost::Options options;
    options.largestMemoryBlock = 1000;  // less than the proof's array takes
    Load(std::move(options));
    const LogCapture log;
    EXPECT_FALSE(TestArray());
    EXPECT_EQ(log.Lines(), (Lines{"Failed to allocate array"}));
    EXPECT_EQ(TheHost().ExceptionsRaised(), 1);
    EXPECT_FALSE(TheHost().HasException());
}

// The accessors, in place and through the host
// -----------------------------------------------------------------------------------------------------------

/// One layout that is proved and one that is not.
class ArrayAccess : public Arrays, public ::testing::WithParamInterface<ArrayLayout> {
  protected:
    ArrayAccess() {
        LoadLayout(GetParam(), GetParam() == ArrayLayout::Before2021 ? 2019.0 : 2024.01);
        EXPECT_EQ(TestArray(), IsDirect());
    }

    [[nodiscard]] static bool IsDirect() { return GetParam() != ArrayLayout::Unknown; }

    /// Writes, reads and appends through the accessors of a kind, and compares with what the host has.
    template <ElementKind kind>
    void ExpectRoundTrip(const char* name, const std::vector<ElementType<kind>>& values) {
        SCOPED_TRACE(name);
        using T = ElementType<kind>;
        const auto last = static_cast<int64_t>(values.size()) - 1;
        const Array array = Make(kind, last);
        for (int64_t i = 0; i <= last; ++i)
            REALSetArrayValue<kind>(ObjectOf(array), i, values[static_cast<size_t>(i)]);
        for (const T value : values)
            REALAppendArrayValue<kind>(ObjectOf(array), value);
        EXPECT_EQ(array.Ubound(), 2 * last + 1);
        for (int64_t i = 0; i <= 2 * last + 1; ++i) {
            const T expected = values[static_cast<size_t>(i % (last + 1))];
            T value{};
            REALGetArrayValue<kind>(ObjectOf(array), i, &value);
            EXPECT_EQ(value, expected) << i;
            EXPECT_EQ(array.At(i).As<T>(), expected) << i;
            REALGetArrayValue<kind>(ObjectOf(array), i, nullptr);
        }
        const std::string entry = std::string("Plugin") + name + "Array";
        EXPECT_EQ(TheHost().Calls(entry + "GetProc") == 0, IsDirect());
        EXPECT_EQ(TheHost().Calls(entry + "SetProc") == 0, IsDirect());
        EXPECT_EQ(TheHost().Calls(entry + "InsertProc"), last + 1);
    }
};

INSTANTIATE_TEST_SUITE_P(Layouts, ArrayAccess,
                         ::testing::Values(ArrayLayout::Before2021, ArrayLayout::From2021,
                                           ArrayLayout::Unknown));

TEST_P(ArrayAccess, WholeNumbersOfEachKind) {
    ExpectRoundTrip<ElementKind::kInt8>("Int8", {-128, -1, 0, 127});
    ExpectRoundTrip<ElementKind::kUInt8>("UInt8", {0, 1, 128, 255});
    ExpectRoundTrip<ElementKind::kInt16>("Int16", {-32768, -2, 32767});
    ExpectRoundTrip<ElementKind::kUInt16>("UInt16", {0, 32768, 65535});
    ExpectRoundTrip<ElementKind::kInt32>("Int32", {INT32_MIN, -3, INT32_MAX});
    ExpectRoundTrip<ElementKind::kUInt32>("UInt32", {0, 0x80000000, UINT32_MAX});
    ExpectRoundTrip<ElementKind::kInt64>("Int64", {INT64_MIN, -4, INT64_MAX});
    ExpectRoundTrip<ElementKind::kUInt64>("UInt64", {0, uint64_t{1} << 63, UINT64_MAX});
    ExpectRoundTrip<ElementKind::kUInteger>("UInteger", {5, uint64_t{1} << 63, UINT64_MAX});
    ExpectRoundTrip<ElementKind::kCurrency>("Currency", {INT64_MIN, 12345, INT64_MAX});
}

TEST_P(ArrayAccess, OtherValuesOfEachKind) {
    ExpectRoundTrip<ElementKind::kBoolean>("Boolean", {true, false, true});
    ExpectRoundTrip<ElementKind::kSingle>("Single", {0.5F, -1e30F, 3.25F});
    ExpectRoundTrip<ElementKind::kDouble>("Double", {0.1, -1e300, 3.25});
}

TEST_P(ArrayAccess, Colors) {
    const Array array = Make(ElementKind::kColor, 1);
    REALSetArrayValue<ElementKind::kColor>(ObjectOf(array), 1, 0x00C0FFEE);
    REALAppendArrayValue<ElementKind::kColor>(ObjectOf(array), 0x00123456);
    uint32_t color = 1;
    REALGetArrayValue<ElementKind::kColor>(ObjectOf(array), 0, &color);
    EXPECT_EQ(color, 0U);
    REALGetArrayValue<ElementKind::kColor>(ObjectOf(array), 2, &color);
    EXPECT_EQ(color, 0x00123456U);
    EXPECT_EQ(array.At(1).ToColor().rgb, 0x00C0FFEEU);
}

TEST_P(ArrayAccess, Integers) {
    const Array array = TheHost().NewIntegers({INT64_MIN, -1, 0, INT64_MAX});
    EXPECT_EQ(REALGetArrayInt(ObjectOf(array), 0), INT64_MIN);
    EXPECT_EQ(REALGetArrayInt(ObjectOf(array), 1), -1);
    EXPECT_EQ(REALGetArrayInt(ObjectOf(array), 2), 0);
    EXPECT_EQ(REALGetArrayInt(ObjectOf(array), 3), INT64_MAX);
    REALSetArrayValue<ElementKind::kInteger>(ObjectOf(array), 2, 42);
    REALAppendArrayValue<ElementKind::kInteger>(ObjectOf(array), 43);
    EXPECT_EQ(array.Integers(), (std::vector<int64_t>{INT64_MIN, -1, 42, INT64_MAX, 43}));
    int64_t value = 0;
    REALGetArrayValue<ElementKind::kInteger>(ObjectOf(array), 4, &value);
    EXPECT_EQ(value, 43);
}

TEST_P(ArrayAccess, AnArrayThatGrewIsReadWhereItIsNow) {
    const Array array = Make(ElementKind::kInteger, -1);
    for (int64_t i = 0; i < 1000; ++i)
        REALAppendArrayValue<ElementKind::kInteger>(ObjectOf(array), i * i);
    for (int64_t i = 0; i < 1000; ++i)
        EXPECT_EQ(REALGetArrayInt(ObjectOf(array), i), i * i);
    EXPECT_EQ(array.Ubound(), 999);
}

TEST_P(ArrayAccess, ABooleanIsExactlyTrueOrFalse) {
    const Array array = Make(ElementKind::kBoolean, 1);
    array.Put(0, true);
    uint8_t* const bytes = *reinterpret_cast<uint8_t**>(static_cast<char*>(array.Handle()) + 16);
    if (IsDirect()) {
        // Whatever it was stored as.
        bytes[0] = 0x82;
        bool value = false;
        REALGetArrayValue<ElementKind::kBoolean>(ObjectOf(array), 0, &value);
        EXPECT_TRUE(value);
        REALSetArrayValue<ElementKind::kBoolean>(ObjectOf(array), 0, true);
        EXPECT_EQ(bytes[0], 1);
    }
    REALSetArrayValue<ElementKind::kBoolean>(ObjectOf(array), 0, false);
    EXPECT_FALSE(array.At(0).ToBool());
}

TEST_P(ArrayAccess, ObjectsAreCounted) {
    const trvhost::MemoryBlock first = TheHost().NewMemoryBlock(1);
    const trvhost::MemoryBlock second = TheHost().NewMemoryBlock(1);
    {
        const Array array = Make(ElementKind::kObject, 1);
        REALSetArrayValue<ElementKind::kObject>(ObjectOf(array), 0, ObjectOf(first));
        EXPECT_EQ(first.References(), 2) << "one for the array";
        const trvhost::Ref read = Adopt(REALGetArrayObject(ObjectOf(array), 0));
        EXPECT_EQ(read, first);
        EXPECT_EQ(first.References(), 3) << "one for the reader";
        HostObject again = nullptr;
        REALGetArrayValue<ElementKind::kObject>(ObjectOf(array), 0, &again);
        EXPECT_EQ(Adopt(again), first);
        EXPECT_EQ(REALGetArrayObject(ObjectOf(array), 1), nullptr);
        REALSetArrayValue<ElementKind::kObject>(ObjectOf(array), 0, ObjectOf(first));
        EXPECT_EQ(first.References(), 3) << "given what it holds already";
        REALSetArrayValue<ElementKind::kObject>(ObjectOf(array), 0, ObjectOf(second));
        EXPECT_EQ(first.References(), 2);
        EXPECT_EQ(second.References(), 2);
        REALSetArrayValue<ElementKind::kObject>(ObjectOf(array), 0, nullptr);
        EXPECT_EQ(second.References(), 1);
        REALAppendArrayValue<ElementKind::kObject>(ObjectOf(array), ObjectOf(second));
        EXPECT_EQ(second.References(), 2);
        EXPECT_EQ(array.At(2).ToThing(), second);
    }
    EXPECT_EQ(first.References(), 1);
    EXPECT_EQ(second.References(), 1);
    EXPECT_EQ(TheHost().Calls("RuntimeDirectReadObjectArray") == 0, IsDirect());
}

TEST_P(ArrayAccess, StringsAreCounted) {
    const trvhost::String first = TheHost().NewString("first");
    {
        const Array array = Make(ElementKind::kString, 0);
        REALSetArrayValue<ElementKind::kString>(ObjectOf(array), 0, StringOf(first));
        REALAppendArrayValue<ElementKind::kString>(ObjectOf(array), StringOf(first));
        EXPECT_EQ(first.References(), 3);
        const trvhost::String read = Adopt(REALGetArrayString(ObjectOf(array), 1));
        EXPECT_EQ(read, first);
        EXPECT_EQ(first.References(), 4);
        HostString again = nullptr;
        REALGetArrayValue<ElementKind::kString>(ObjectOf(array), 0, &again);
        EXPECT_EQ(Adopt(again).Bytes(), "first");
        REALSetArrayValue<ElementKind::kString>(ObjectOf(array), 0, nullptr);
        EXPECT_EQ(REALGetArrayString(ObjectOf(array), 0), nullptr);
        EXPECT_EQ(array.Texts(), (std::vector<std::string>{"", "first"}));
    }
    EXPECT_EQ(first.References(), 1);
    EXPECT_EQ(TheHost().Calls("RuntimeDirectReadStringArray") == 0, IsDirect());
}

TEST_P(ArrayAccess, WhatTheHostCannotLockIsLeftToTheHost) {
    TRV_IN_FRESH_PROCESS({
        TheHost().Settings().missingEntries = {"REALLockString"};
        const trvhost::String string = TheHost().NewString("text");
        const Array array = Make(ElementKind::kString, 0);
        REALSetArrayValue<ElementKind::kString>(ObjectOf(array), 0, StringOf(string));
        EXPECT_EQ(string.References(), 2);
        EXPECT_EQ(Adopt(REALGetArrayString(ObjectOf(array), 0)).Bytes(), "text");
        EXPECT_EQ(string.References(), 2);
        EXPECT_EQ(TheHost().Calls("RuntimeDirectReadStringArray"), 1);
    });
}

TEST_P(ArrayAccess, TextsAreCounted) {
    const HostText text = host::PluginBuildText("text", "utf-8");
    const trvhost::Ref held = trvhost::Ref::Adopt(TheHost(), text);
    {
        const Array array = Make(ElementKind::kText, 0);
        REALSetArrayValue<ElementKind::kText>(ObjectOf(array), 0, text);
        REALAppendArrayValue<ElementKind::kText>(ObjectOf(array), text);
        EXPECT_EQ(held.References(), 3);
        HostText read = nullptr;
        REALGetArrayValue<ElementKind::kText>(ObjectOf(array), 1, &read);
        EXPECT_EQ(read, text);
        EXPECT_EQ(held.References(), 4);
        host::PluginUnlockText(read);
    }
    EXPECT_EQ(held.References(), 1);
}

TEST_P(ArrayAccess, NilArraysHaveNothing) {
    const LogCapture log;
    EXPECT_EQ(REALGetArrayInt(nullptr, 0), 0);
    EXPECT_EQ(REALGetArrayObject(nullptr, 0), nullptr);
    EXPECT_EQ(REALGetArrayString(nullptr, -1), nullptr);
    int32_t value = 77;
    REALGetArrayValue<ElementKind::kInt32>(nullptr, 0, &value);
    EXPECT_EQ(value, 77);
    REALSetArrayValue<ElementKind::kInt32>(nullptr, 0, 5);
    REALAppendArrayValue<ElementKind::kInt32>(nullptr, 5);
    EXPECT_FALSE(TheHost().HasException());
    EXPECT_EQ(log.Lines(), (Lines{"REALGetArrayInt Array is nil", "REALGetArrayObject Array is nil",
                                  "REALGetArrayString Array is nil", "REALGetArrayValue Array is nil",
                                  "REALSetArrayValue Array is nil", "REALAppendArrayValue Array is nil"}));
}

TEST_P(ArrayAccess, IndicesOutsideRaiseTheRangeFailure) {
    const Array array = TheHost().NewIntegers({1, 2, 3});
    EXPECT_EQ(REALGetArrayInt(ObjectOf(array), 3), 0);
    EXPECT_EQ(Raised(),
              (ExceptionInfo{"OutOfBoundsException",
                             "The parameter index to method REALGetArrayInt is too big. Range is 0 to 2, "
                             "but value is 3.",
                             0}));
    EXPECT_EQ(REALGetArrayInt(ObjectOf(array), -1), 0);
    EXPECT_EQ(
        Raised().message,
        "The parameter index to method REALGetArrayInt is too small. Range is 0 to 2, but value is -1.");
    for (const int64_t index : {INT64_MIN, int64_t{-1}, int64_t{3}, INT64_MAX}) {
        int64_t value = 77;
        REALGetArrayValue<ElementKind::kInteger>(ObjectOf(array), index, &value);
        EXPECT_EQ(value, 77);
        EXPECT_EQ(Raised().className, "OutOfBoundsException");
        REALSetArrayValue<ElementKind::kInteger>(ObjectOf(array), index, 9);
        EXPECT_NE(Raised().message.find("to method REALSetArrayValue is"), std::string::npos);
    }
    const Array empty = Make(ElementKind::kObject, -1);
    EXPECT_EQ(REALGetArrayObject(ObjectOf(empty), 0), nullptr);
    EXPECT_EQ(
        Raised().message,
        "The parameter index to method REALGetArrayObject is too big. Range is 0 to -1, but value is 0.");
    EXPECT_EQ(array.Integers(), (std::vector<int64_t>{1, 2, 3}));
}

}  // namespace
}  // namespace trv
