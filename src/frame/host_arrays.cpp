#include "frame/host_arrays.h"

#include <cstring>
#include <limits>
#include <type_traits>

#include "frame/debug_log.h"
#include "frame/failures.h"
#include "frame/references.h"

namespace trv {

namespace {

// Objects

/// Byte offsets in an array object, whose first 48 bytes are readable in every host.
constexpr int64_t kReferenceCountOffset = 8;
constexpr int64_t kDataOffset = 16;
struct ArrayLayout {
    int64_t dimensionCountOffset;
    int64_t uboundOffset;
};
constexpr ArrayLayout kLayoutBefore2021 = {24, 32};
constexpr ArrayLayout kLayoutFrom2021 = {32, 40};

/// The proved layout; null while there is none.
const ArrayLayout* directLayout = nullptr;
bool tested = false;

template <class Word>
Word WordAt(HostObject array, int64_t offset) {
    static_assert(sizeof(Word) == 8);
    Word word;
    std::memcpy(&word, reinterpret_cast<const uint8_t*>(array) + offset, sizeof word);
    return word;
}

uint8_t* DataOf(HostObject array) {
    return WordAt<uint8_t*>(array, kDataOffset);
}

// The proof

constexpr int64_t kTestUbound = 1234;
struct TestElement {
    int64_t index;
    int64_t value;
    const char* failure;
};
constexpr TestElement kTestElements[] = {
    {0, 12345, "Index 0 failed"}, {1, 0, "Index 1 failed"}, {9, 123456, "Index 9 failed"}};

bool Expect(bool fits, const char* failure) {
    if (!fits) TRV_LOG(failure);
    return fits;
}

/// Fills the array through the host, and checks that the host gives the same back.
bool HostReadsBack(HostObject array) {
    for (const auto& [index, value, failure] : kTestElements) {
        if (value != 0) host::PluginIntegerArraySetProc(array, index, value);
    }
    if (!Expect(host::RuntimeUBound(array) == kTestUbound, "ubound failed")) return false;
    for (const auto& [index, value, failure] : kTestElements) {
        if (!Expect(host::RuntimeDirectReadIntArray(array, index) == value, failure)) return false;
    }
    return true;
}

/// Checks the object, and its elements only when the object is as expected.
bool IsLaidOut(HostObject array, const ArrayLayout& layout) {
    if (!Expect(WordAt<int64_t>(array, kReferenceCountOffset) == 1, "refCount wrong") ||
        !Expect(WordAt<int64_t>(array, layout.dimensionCountOffset) == 1, "DimensionCount wrong") ||
        !Expect(WordAt<int64_t>(array, layout.uboundOffset) == kTestUbound, "ubound wrong") ||
        !Expect(DataOf(array) != nullptr, "data is nil")) {
        return false;
    }
    for (const auto& [index, value, failure] : kTestElements) {
        int64_t element = 0;
        std::memcpy(&element, DataOf(array) + index * 8, sizeof element);
        if (!Expect(element == value, failure)) return false;
    }
    return true;
}

void RunTest(void* /*argument*/) {
    constexpr auto kKind = static_cast<int32_t>(ElementKind::kInteger);
    const ObjectReference array(host::RuntimeArrayCreateSingleDimBoundedArray(kKind, kTestUbound));
    if (!Expect(static_cast<bool>(array), "Failed to allocate array")) return;
    const ArrayLayout& layout = HostVersion() >= 2021.0 ? kLayoutFrom2021 : kLayoutBefore2021;
    if (HostReadsBack(array.Get()) && IsLaidOut(array.Get(), layout)) directLayout = &layout;
}

// Access

/// What an access found out about its element.
struct Place {
    bool exists = false;
    uint8_t* data = nullptr;  // the array's elements, null if the host has to be asked
};

/// Looks up an element for the accessor of that name, which is told if there is none.
Place Locate(HostObject array, int64_t index, const char* method) {
    if (array == nullptr) {
        TRV_LOG(method, "Array is nil");
        return {};
    }
    if (!tested) TestArray();
    // Of several dimensions only the host knows the order.
    const bool direct =
        directLayout != nullptr && WordAt<int64_t>(array, directLayout->dimensionCountOffset) == 1;
    const int64_t ubound =
        direct ? WordAt<int64_t>(array, directLayout->uboundOffset) : host::RuntimeUBound(array);
    if (index < 0 || index > ubound) {
        const int64_t count = ubound < std::numeric_limits<int64_t>::max() ? ubound + 1 : ubound;
        RaiseRangeError(index, 0, count, "index", method);
        return {};
    }
    return {true, direct ? DataOf(array) : nullptr};
}

/// How references to an element are counted: not at all where it is just a value. Where the host cannot lock
/// a kind of thing, such elements are left to the host.
template <class T>
struct Counting {
    static bool IsPossible() { return true; }
    static void Lock(T /*value*/) {}
    static void Unlock(T /*value*/) {}
};

template <auto& lock, auto& unlock>
struct CountedBy {
    static bool IsPossible() { return lock.Available(); }
    static void Lock(auto value) { lock(value); }
    static void Unlock(auto value) { unlock(value); }
};
template <>
struct Counting<HostObject> : CountedBy<host::REALLockObject, host::REALUnlockObject> {};
template <>
struct Counting<HostString> : CountedBy<host::REALLockString, host::REALUnlockString> {};
template <>
struct Counting<HostText> : CountedBy<host::PluginLockText, host::PluginUnlockText> {};

/// An element as it lies in the array: a Boolean is a byte, anything but 0 is true.
template <class T>
using Stored = std::conditional_t<std::is_same_v<T, bool>, uint8_t, T>;

template <class T>
T LoadElement(const uint8_t* data, int64_t index) {
    Stored<T> stored;
    std::memcpy(&stored, data + index * static_cast<int64_t>(sizeof stored), sizeof stored);
    return static_cast<T>(stored);
}

template <class T>
void StoreElement(uint8_t* data, int64_t index, T value) {
    const auto stored = static_cast<Stored<T>>(value);
    std::memcpy(data + index * static_cast<int64_t>(sizeof stored), &stored, sizeof stored);
}

/// The one getter: `askHost(array, index, value)` is the host's own way.
template <class T, class AskHost>
void Get(HostObject array, int64_t index, T* value, const char* method, const AskHost& askHost) {
    const Place place = Locate(array, index, method);
    if (!place.exists || value == nullptr) return;
    if (place.data == nullptr || !Counting<T>::IsPossible()) {
        askHost(array, index, value);
        return;
    }
    *value = LoadElement<T>(place.data, index);
    Counting<T>::Lock(*value);
}

/// The getter that gives the element as its result.
template <class T, class Entry>
T Get(HostObject array, int64_t index, const char* method, const Entry& entry) {
    T value{};
    Get(array, index, &value, method, [&](HostObject a, int64_t i, T* element) { *element = entry(a, i); });
    return value;
}

template <class T, class AskHost>
void Set(HostObject array, int64_t index, T value, const char* method, const AskHost& askHost) {
    const Place place = Locate(array, index, method);
    if (!place.exists) return;
    if (place.data == nullptr || !Counting<T>::IsPossible()) {
        askHost(array, index, value);
        return;
    }
    Counting<T>::Lock(value);
    const T old = LoadElement<T>(place.data, index);
    StoreElement(place.data, index, value);
    Counting<T>::Unlock(old);
}

/// The host's own ways to the elements of a kind.
template <ElementKind kind>
struct Entries;

#define TRV_ENTRY(name, ...)
#define TRV_SPECIAL_ENTRY(name, ...)
#define TRV_ARRAY_ENTRIES(kind, type)                                              \
    template <>                                                                    \
    struct Entries<ElementKind::k##kind> {                                         \
        static constexpr const auto& get = host::Plugin##kind##ArrayGetProc;       \
        static constexpr const auto& set = host::Plugin##kind##ArraySetProc;       \
        static constexpr const auto& insert = host::Plugin##kind##ArrayInsertProc; \
    };
#include "frame/host_entries.inc"
#undef TRV_ENTRY
#undef TRV_SPECIAL_ENTRY
#undef TRV_ARRAY_ENTRIES

template <class T, class AskHost>
void Append(HostObject array, T value, const char* method, const AskHost& askHost) {
    if (array == nullptr) {
        TRV_LOG(method, "Array is nil");
        return;
    }
    const int64_t ubound = host::RuntimeUBound(array);
    if (ubound < std::numeric_limits<int64_t>::max()) askHost(array, ubound + 1, value);
}

}  // namespace

bool TestArray() {
    tested = true;
    directLayout = nullptr;
    // What the host may raise meanwhile is nobody's business.
    const ObjectReference exception(host::PluginCallFunctionWithExceptionHandler(RunTest, nullptr));
    return directLayout != nullptr;
}

int64_t REALGetArrayInt(HostObject array, int64_t index) {
    return Get<int64_t>(array, index, "REALGetArrayInt", host::RuntimeDirectReadIntArray);
}

HostObject REALGetArrayObject(HostObject array, int64_t index) {
    return Get<HostObject>(array, index, "REALGetArrayObject", host::RuntimeDirectReadObjectArray);
}

HostString REALGetArrayString(HostObject array, int64_t index) {
    return Get<HostString>(array, index, "REALGetArrayString", host::RuntimeDirectReadStringArray);
}

template <ElementKind kind>
void REALGetArrayValue(HostObject array, int64_t index, ElementType<kind>* value) {
    Get(array, index, value, "REALGetArrayValue", Entries<kind>::get);
}

template <ElementKind kind>
void REALSetArrayValue(HostObject array, int64_t index, ElementType<kind> value) {
    Set(array, index, value, "REALSetArrayValue", Entries<kind>::set);
}

template <ElementKind kind>
void REALAppendArrayValue(HostObject array, ElementType<kind> value) {
    Append(array, value, "REALAppendArrayValue", Entries<kind>::insert);
}

#define TRV_ENTRY(name, ...)
#define TRV_SPECIAL_ENTRY(name, ...)
#define TRV_ARRAY_ENTRIES(kind, type)                                                          \
    template void REALGetArrayValue<ElementKind::k##kind>(HostObject, int64_t,                 \
                                                          ElementType<ElementKind::k##kind>*); \
    template void REALSetArrayValue<ElementKind::k##kind>(HostObject, int64_t,                 \
                                                          ElementType<ElementKind::k##kind>);  \
    template void REALAppendArrayValue<ElementKind::k##kind>(HostObject, ElementType<ElementKind::k##kind>);
#include "frame/host_entries.inc"
#undef TRV_ENTRY
#undef TRV_SPECIAL_ENTRY
#undef TRV_ARRAY_ENTRIES

}  // namespace trv
