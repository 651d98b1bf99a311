#include "host_test.h"

namespace hosttest {
namespace {

class Arrays : public HostTest {
  protected:
    template <class T>
    T Word(const Ref& array, int index) {
        T value;
        std::memcpy(&value, static_cast<char*>(array.Handle()) + index * 8, sizeof value);
        return value;
    }
};

TEST_F(Arrays, LayoutsFollowTheVersion) {
    for (const double version : {2020.02, 2021.0}) {
        host.Settings().version = version;
        const Ref array = Ref::Adopt(host, Call<Handle(int32_t, int64_t)>(
                                               "RuntimeArrayCreateSingleDimBoundedArray", 11, int64_t{1234}));
        Array(array).Put(9, 123456);
        const bool newLayout = version >= 2021.0;
        EXPECT_EQ(Word<int64_t>(array, 1), 1);
        EXPECT_EQ(Word<int64_t*>(array, 2)[9], 123456);
        EXPECT_EQ(Word<int64_t>(array, newLayout ? 4 : 3), 1);
        EXPECT_EQ(Word<int64_t>(array, newLayout ? 5 : 4), 1234);
        EXPECT_EQ(Word<int64_t>(array, newLayout ? 3 : 5), 0);
        const Ref second = array;
        EXPECT_EQ(Word<int64_t>(array, 1), 2);
    }
}

TEST_F(Arrays, OtherLayoutsFitNoTable) {
    for (const ArrayLayout layout :
         {ArrayLayout::Unknown, ArrayLayout::Hostile, ArrayLayout::HostileReferences,
          ArrayLayout::HostileDimensions, ArrayLayout::HostileUbound, ArrayLayout::HostileData}) {
        host.Settings().arrayLayout = layout;
        const Array array = host.NewIntegers({7, 8});
        const bool asBefore = Word<int64_t>(array, 1) == 1 && Word<void*>(array, 2) != nullptr &&
                              Word<int64_t>(array, 3) == 1 && Word<int64_t>(array, 4) == 1;
        const bool asFrom = Word<int64_t>(array, 1) == 1 && Word<void*>(array, 2) != nullptr &&
                            Word<int64_t>(array, 4) == 1 && Word<int64_t>(array, 5) == 1;
        EXPECT_FALSE(asBefore) << static_cast<int>(layout);
        EXPECT_FALSE(asFrom) << static_cast<int>(layout);
        EXPECT_EQ(array.Integers(), (std::vector<int64_t>{7, 8}));
    }
}

template <class T>
struct KindRow {
    ElementKind kind;
    const char* name;
    T first, second;
};

class ArrayAccessors : public Arrays {
  protected:
    template <class T>
    void Try(const KindRow<T>& row) {
        const std::string entry = std::string("Plugin") + row.name + "Array";
        const Array array = host.NewArray(row.kind, 1);
        const auto accessor = [&](const char* suffix) {
            return Call<void*(Handle)>((entry + suffix).c_str(), array.Handle());
        };
        auto* get = reinterpret_cast<T (*)(Handle, int64_t)>(accessor("GetProc"));
        auto* insert = reinterpret_cast<void (*)(Handle, int64_t, T)>(accessor("InsertProc"));
        auto* set = reinterpret_cast<void (*)(Handle, T, int64_t)>(accessor("SetProc"));
        ASSERT_TRUE(get != nullptr && insert != nullptr && set != nullptr) << row.name;
        EXPECT_EQ(get(array.Handle(), 1), T()) << row.name;
        set(array.Handle(), row.first, 1);
        insert(array.Handle(), 1, row.second);
        insert(array.Handle(), 3, row.second);
        EXPECT_EQ(array.Ubound(), 3) << row.name;
        EXPECT_EQ(get(array.Handle(), 1), row.second) << row.name;
        EXPECT_EQ(get(array.Handle(), 2), row.first) << row.name;
        EXPECT_EQ(get(array.Handle(), 3), row.second) << row.name;
        EXPECT_EQ(get(array.Handle(), 4), T()) << row.name;
        EXPECT_EQ(Exception(), "OutOfBoundsException: The index 4 is out of bounds.");
        set(array.Handle(), row.first, -1);
        EXPECT_EQ(Exception(), "OutOfBoundsException: The index -1 is out of bounds.");
        insert(array.Handle(), 5, row.first);
        EXPECT_EQ(Exception(), "OutOfBoundsException: The index 5 is out of bounds.");
    }
};

TEST_F(ArrayAccessors, OfEveryPlainKind) {
    Try<uint8_t>({ElementKind::Boolean, "Boolean", 1, 0});
    Try<int8_t>({ElementKind::Int8, "Int8", -3, 100});
    Try<uint8_t>({ElementKind::UInt8, "UInt8", 200, 100});
    Try<int16_t>({ElementKind::Int16, "Int16", -3000, 100});
    Try<uint16_t>({ElementKind::UInt16, "UInt16", 60000, 100});
    Try<int32_t>({ElementKind::Int32, "Int32", -300000, 100});
    Try<uint32_t>({ElementKind::UInt32, "UInt32", 4000000000u, 100});
    Try<int64_t>({ElementKind::Int64, "Int64", -(int64_t{1} << 40), 100});
    Try<uint64_t>({ElementKind::UInt64, "UInt64", uint64_t{1} << 63, 100});
    Try<uint64_t>({ElementKind::UInteger, "UInteger", uint64_t{1} << 62, 100});
    Try<int64_t>({ElementKind::Integer, "Integer", -5, 100});
    Try<float>({ElementKind::Single, "Single", -0.5F, 1.5F});
    Try<double>({ElementKind::Double, "Double", -0.25, 1e300});
    Try<int64_t>({ElementKind::Currency, "Currency", 12345, 100});
    Try<uint32_t>({ElementKind::Color, "Color", 0x123456, 0xFFFFFF});
}

TEST_F(ArrayAccessors, HoldReferencesOnThings) {
    const Array objects = host.NewArray(ElementKind::Object, 0);
    const Ref block = host.NewMemoryBlock(1), other = host.NewMemoryBlock(2);
    auto* set = reinterpret_cast<void (*)(Handle, Handle, int64_t)>(
        Call<void*(Handle)>("PluginObjectArraySetProc", objects.Handle()));
    auto* get = reinterpret_cast<Handle (*)(Handle, int64_t)>(
        Call<void*(Handle)>("PluginObjectArrayGetProc", objects.Handle()));
    set(objects.Handle(), block.Handle(), 0);
    EXPECT_EQ(block.References(), 2);
    {
        const Ref got = Ref::Adopt(host, get(objects.Handle(), 0));
        EXPECT_EQ(got, block);
        EXPECT_EQ(block.References(), 3);
    }
    set(objects.Handle(), other.Handle(), 0);
    EXPECT_EQ(block.References(), 1);
    const Array strings = host.NewArray(ElementKind::String, 1);
    strings.Put(0, "one");
    strings.Put(1, "two");
    const Ref direct = Ref::Adopt(
        host, Call<Handle(Handle, int64_t)>("RuntimeDirectReadStringArray", strings.Handle(), int64_t{1}));
    EXPECT_EQ(String(direct).Bytes(), "two");
    EXPECT_EQ(strings.Texts(), (std::vector<std::string>{"one", "two"}));
}

TEST_F(Arrays, DirectReads) {
    const Array integers = host.NewIntegers({4, -5, 6});
    EXPECT_EQ(Call<int64_t(Handle)>("RuntimeUBound", integers.Handle()), 2);
    EXPECT_EQ(Call<int64_t(Handle, int64_t)>("RuntimeDirectReadIntArray", integers.Handle(), int64_t{1}), -5);
    EXPECT_EQ(Call<int64_t(Handle, int64_t)>("RuntimeDirectReadIntArray", integers.Handle(), int64_t{3}), 0);
    EXPECT_EQ(Exception(), "OutOfBoundsException: The index 3 is out of bounds.");
    EXPECT_EQ(Call<int64_t(Handle, int64_t)>("RuntimeDirectReadIntArray", nullptr, int64_t{0}), 0);
    EXPECT_EQ(Exception(), "NilObjectException: The array is nil.");
    EXPECT_EQ(Call<int64_t(Handle)>("RuntimeUBound", nullptr), -1);
}

TEST_F(Arrays, AccessorsOfAnotherKindAreRefused) {
    const Array bytes = host.NewArray(ElementKind::UInt8, 3);
    EXPECT_EQ(Call<void*(Handle)>("PluginIntegerArrayGetProc", bytes.Handle()), nullptr);
    EXPECT_EQ(Call<void*(Handle)>("PluginIntegerArrayGetProc", nullptr), nullptr);
    // Integer and Int64 are the same to an accessor.
    EXPECT_NE(Call<void*(Handle)>("PluginInt64ArrayGetProc", host.NewIntegers({1}).Handle()), nullptr);
    expectedMisuse = "PluginIntegerArrayGetProc: an array of element kind 3";
}

TEST_F(Arrays, OfImpossibleSizesAreNil) {
    const auto create = [&](int32_t kind, int64_t ubound) {
        return Call<Handle(int32_t, int64_t)>("RuntimeArrayCreateSingleDimBoundedArray", kind, ubound);
    };
    EXPECT_EQ(create(13, int64_t{1} << 60), nullptr);
    EXPECT_EQ(Exception(), "OutOfMemoryException: No memory for an array.");
    EXPECT_EQ(create(11, -2), nullptr);
    EXPECT_EQ(create(99, 3), nullptr);
    EXPECT_EQ(host.NewArray(ElementKind::Integer, -1).Ubound(), -1);
    expectedMisuse = "RuntimeArrayCreateSingleDimBoundedArray: an array of kind 11 and upper bound -2";
}

TEST_F(Arrays, ElementsAsValues) {
    const Array doubles = host.NewArray(ElementKind::Double, 1);
    doubles.Put(0, 0.5);
    doubles.Put(1, 3);
    EXPECT_EQ(doubles.At(0).ToDouble() + doubles.At(1).ToDouble(), 3.5);
    const Array colors = host.NewArray(ElementKind::Color, 0);
    colors.Put(0, Color{0x102030});
    EXPECT_EQ(colors.At(0).ToColor(), Color{0x102030});
    EXPECT_THROW(colors.At(1), std::out_of_range);
    EXPECT_THROW(colors.Put(0, "text"), std::invalid_argument);
}

}  // namespace
}  // namespace hosttest
