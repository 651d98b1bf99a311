#include "arrays.h"

#include <cstring>
#include <new>
#include <stdexcept>

#include "entry.h"

namespace trvhost {

namespace {

/// Where an array's fields stand, as word indices in the host's part of the block.
struct LayoutWords {
    int references, data, dimensions, ubound;
};
constexpr LayoutWords kBefore2021 = {1, 2, 3, 4};
constexpr LayoutWords kFrom2021 = {1, 2, 4, 5};
constexpr LayoutWords kElsewhere = {3, 5, 1, 2};

constexpr double kNewLayoutVersion = 2021.0;
// Above any real array, so that sizes stay far from overflow.
constexpr int64_t kLargestUbound = int64_t{1} << 40;

ArrayLayout Resolve(const Options& options) {
    if (options.arrayLayout != ArrayLayout::ByVersion) return options.arrayLayout;
    return options.version >= kNewLayoutVersion ? ArrayLayout::From2021 : ArrayLayout::Before2021;
}

}  // namespace

int64_t ElementSize(ElementKind kind) {
    switch (kind) {
        case ElementKind::Boolean:
        case ElementKind::Int8:
        case ElementKind::UInt8:
            return 1;
        case ElementKind::Int16:
        case ElementKind::UInt16:
            return 2;
        case ElementKind::Int32:
        case ElementKind::UInt32:
        case ElementKind::Single:
        case ElementKind::Color:
            return 4;
        case ElementKind::Int64:
        case ElementKind::UInt64:
        case ElementKind::UInteger:
        case ElementKind::Integer:
        case ElementKind::Double:
        case ElementKind::Currency:
        case ElementKind::String:
        case ElementKind::Text:
        case ElementKind::Object:
            return 8;
    }
    return 0;
}

ArrayThing::ArrayThing(ElementKind element, int64_t ubound, ArrayLayout arrayLayout)
    : Thing(kKind, nullptr, 0),
      elementKind(element),
      layout_(arrayLayout),
      elementSize_(ElementSize(element)),
      elements_(static_cast<size_t>((ubound + 1) * elementSize_)) {
    Mirror();
}

void ArrayThing::DropChildren(Core& core) {
    if (!HoldsThings()) return;
    for (int64_t i = 0; i <= Ubound(); ++i) {
        Handle element;
        std::memcpy(&element, Element(i), sizeof element);
        core.Unlock(element);
    }
}

std::byte* ArrayThing::Insert(int64_t index) {
    elements_.insert(elements_.begin() + index * elementSize_, static_cast<size_t>(elementSize_),
                     std::byte{0});
    Mirror();
    return Element(index);
}

void ArrayThing::Mirror() {
    static const char kClass[] = "Array";
    SetHeaderWord(0, static_cast<int64_t>(reinterpret_cast<intptr_t>(kClass)));
    for (int word = 1; word < kHeaderWords; ++word)
        SetHeaderWord(word, 0);
    const bool lies = layout_ == ArrayLayout::Hostile;
    const LayoutWords& words = layout_ == ArrayLayout::Before2021 ? kBefore2021
                               : layout_ == ArrayLayout::Unknown  ? kElsewhere
                                                                  : kFrom2021;
    const std::byte* data =
        elements_.empty() || lies || layout_ == ArrayLayout::HostileData ? nullptr : elements_.data();
    SetHeaderWord(words.references,
                  References() + (lies || layout_ == ArrayLayout::HostileReferences ? 1 : 0));
    SetHeaderWord(words.data, static_cast<int64_t>(reinterpret_cast<intptr_t>(data)));
    SetHeaderWord(words.dimensions, lies || layout_ == ArrayLayout::HostileDimensions ? 2 : 1);
    SetHeaderWord(words.ubound, Ubound() + (lies || layout_ == ArrayLayout::HostileUbound ? 1 : 0));
}

ArrayThing* NewArray(Core& core, int32_t kind, int64_t ubound) {
    const auto element = static_cast<ElementKind>(kind);
    if (ElementSize(element) == 0 || ubound < -1) {
        core.Misuse("an array of kind " + std::to_string(kind) + " and upper bound " +
                    std::to_string(ubound));
        return nullptr;
    }
    try {
        if (ubound > kLargestUbound ||
            (ubound + 1) * ElementSize(element) > core.options.largestMemoryBlock) {
            throw std::bad_alloc();
        }
        return &core.Make<ArrayThing>(element, ubound, Resolve(core.options));
    } catch (const std::bad_alloc&) {
        core.Raise("OutOfMemoryException", "No memory for an array.");
        return nullptr;
    }
}

namespace {

template <class T>
T Load(const std::byte* from) {
    T value;
    std::memcpy(&value, from, sizeof value);
    return value;
}

template <class T>
void Store(std::byte* to, T value) {
    std::memcpy(to, &value, sizeof value);
}

Handle Create(Core& core, int32_t kind, int64_t ubound) {
    const ArrayThing* array = NewArray(core, kind, ubound);
    return array == nullptr ? nullptr : array->Address();
}

int64_t Ubound(Core& core, Handle handle) {
    const auto* array = core.FindAs<ArrayThing>(handle);
    return array == nullptr ? -1 : array->Ubound();
}

/// The array of a handle if it has this element; notes what a host program would get to see if not.
ArrayThing* ArrayWith(Core& core, Handle handle, int64_t index, int64_t extra = 0) {
    if (handle == nullptr) {
        core.Raise("NilObjectException", "The array is nil.");
        return nullptr;
    }
    auto* array = core.FindAs<ArrayThing>(handle);
    if (array == nullptr) return nullptr;
    if (index >= 0 && index <= array->Ubound() + extra) return array;
    core.Raise("OutOfBoundsException", "The index " + std::to_string(index) + " is out of bounds.");
    return nullptr;
}

// Integer and Int64 are one type here, and so are their unsigned kin.
ElementKind Canonical(ElementKind kind) {
    return kind == ElementKind::Integer    ? ElementKind::Int64
           : kind == ElementKind::UInteger ? ElementKind::UInt64
                                           : kind;
}

/// True if the array's elements are of this kind; a misuse if not.
bool HasKind(Core& core, Handle handle, ElementKind kind) {
    const auto* array = core.FindAs<ArrayThing>(handle);
    if (array == nullptr) return false;
    if (Canonical(array->elementKind) == Canonical(kind)) return true;
    core.Misuse("an array of element kind " + std::to_string(static_cast<int>(array->elementKind)));
    return false;
}

/// The functions behind one element kind's accessors, and the entries that give them out. T is what crosses.
template <ElementKind kKind, class T>
struct Accessors {
    static constexpr bool kThings = kKind >= ElementKind::String;

    static T Get(Core& core, Handle handle, int64_t index) {
        ArrayThing* array = HasKind(core, handle, kKind) ? ArrayWith(core, handle, index) : nullptr;
        if (array == nullptr) return T();
        const T value = Load<T>(array->Element(index));
        if constexpr (kThings) core.Lock(value);
        return value;
    }

    static void Put(Core& core, ArrayThing& array, int64_t index, T value) {
        if constexpr (kThings) {
            core.Lock(value);
            const Handle old = Load<Handle>(array.Element(index));
            Store(array.Element(index), value);
            core.Unlock(old);
        } else {
            Store(array.Element(index), value);
        }
    }

    static void Insert(Core& core, Handle handle, int64_t index, T value) {
        ArrayThing* array = HasKind(core, handle, kKind) ? ArrayWith(core, handle, index, 1) : nullptr;
        if (array == nullptr) return;
        array->Insert(index);
        Put(core, *array, index, value);
    }

    static void Set(Core& core, Handle handle, T value, int64_t index) {
        ArrayThing* array = HasKind(core, handle, kKind) ? ArrayWith(core, handle, index) : nullptr;
        if (array != nullptr) Put(core, *array, index, value);
    }

    template <FixedText kName, auto kAccessor>
    static void* Accessor(Core& core, Handle handle) {
        return HasKind(core, handle, kKind) ? reinterpret_cast<void*>(&Thunk<kName, kAccessor>::Call)
                                            : nullptr;
    }
};

/// A Boolean element is a byte that is normalised on the way in and out.
struct BooleanAccessors : Accessors<ElementKind::Boolean, uint8_t> {
    using Base = Accessors<ElementKind::Boolean, uint8_t>;
    static uint8_t Get(Core& core, Handle handle, int64_t index) {
        return Base::Get(core, handle, index) != 0;
    }
    static void Insert(Core& core, Handle handle, int64_t index, uint8_t value) {
        Base::Insert(core, handle, index, value != 0);
    }
    static void Set(Core& core, Handle handle, uint8_t value, int64_t index) {
        Base::Set(core, handle, value != 0, index);
    }
};

int64_t WholeNumber(const ArrayThing& array, const std::byte* element) {
    switch (array.elementKind) {
        case ElementKind::Boolean:
        case ElementKind::UInt8:
            return Load<uint8_t>(element);
        case ElementKind::Int8:
            return Load<int8_t>(element);
        case ElementKind::Int16:
            return Load<int16_t>(element);
        case ElementKind::UInt16:
            return Load<uint16_t>(element);
        case ElementKind::Int32:
            return Load<int32_t>(element);
        case ElementKind::UInt32:
        case ElementKind::Color:
            return Load<uint32_t>(element);
        default:
            return Load<int64_t>(element);
    }
}

int64_t DirectReadInt(Core& core, Handle handle, int64_t index) {
    ArrayThing* array = ArrayWith(core, handle, index);
    if (array == nullptr) return 0;
    if (array->elementKind == ElementKind::Single || array->elementKind == ElementKind::Double ||
        array->HoldsThings()) {
        core.Misuse("an array of element kind " + std::to_string(static_cast<int>(array->elementKind)));
        return 0;
    }
    return WholeNumber(*array, array->Element(index));
}

#define TRVHOST_ACCESSORS(kind, accessors)                                                           \
    Row<"Plugin" #kind "ArrayGetProc",                                                               \
        accessors::Accessor<"accessor of Plugin" #kind "ArrayGetProc", accessors::Get>>(),           \
        Row<"Plugin" #kind "ArrayInsertProc",                                                        \
            accessors::Accessor<"accessor of Plugin" #kind "ArrayInsertProc", accessors::Insert>>(), \
        Row<"Plugin" #kind "ArraySetProc",                                                           \
            accessors::Accessor<"accessor of Plugin" #kind "ArraySetProc", accessors::Set>>()

using ColorAccessors = Accessors<ElementKind::Color, uint32_t>;
using CurrencyAccessors = Accessors<ElementKind::Currency, int64_t>;
using DoubleAccessors = Accessors<ElementKind::Double, double>;
using Int8Accessors = Accessors<ElementKind::Int8, int8_t>;
using Int16Accessors = Accessors<ElementKind::Int16, int16_t>;
using Int32Accessors = Accessors<ElementKind::Int32, int32_t>;
using Int64Accessors = Accessors<ElementKind::Int64, int64_t>;
using IntegerAccessors = Accessors<ElementKind::Integer, int64_t>;
using ObjectAccessors = Accessors<ElementKind::Object, Handle>;
using SingleAccessors = Accessors<ElementKind::Single, float>;
using StringAccessors = Accessors<ElementKind::String, Handle>;
using TextAccessors = Accessors<ElementKind::Text, Handle>;
using UInt8Accessors = Accessors<ElementKind::UInt8, uint8_t>;
using UInt16Accessors = Accessors<ElementKind::UInt16, uint16_t>;
using UInt32Accessors = Accessors<ElementKind::UInt32, uint32_t>;
using UInt64Accessors = Accessors<ElementKind::UInt64, uint64_t>;
using UIntegerAccessors = Accessors<ElementKind::UInteger, uint64_t>;

}  // namespace

std::span<const EntryRow> ArrayEntries() {
    static const EntryRow rows[] = {
        Row<"RuntimeArrayCreateSingleDimBoundedArray", Create>(),
        Row<"RuntimeUBound", Ubound>(),
        Row<"RuntimeDirectReadIntArray", DirectReadInt>(),
        Row<"RuntimeDirectReadObjectArray", ObjectAccessors::Get>(),
        Row<"RuntimeDirectReadStringArray", StringAccessors::Get>(),
        TRVHOST_ACCESSORS(Boolean, BooleanAccessors),
        TRVHOST_ACCESSORS(Color, ColorAccessors),
        TRVHOST_ACCESSORS(Currency, CurrencyAccessors),
        TRVHOST_ACCESSORS(Double, DoubleAccessors),
        TRVHOST_ACCESSORS(Int8, Int8Accessors),
        TRVHOST_ACCESSORS(Int16, Int16Accessors),
        TRVHOST_ACCESSORS(Int32, Int32Accessors),
        TRVHOST_ACCESSORS(Int64, Int64Accessors),
        TRVHOST_ACCESSORS(Integer, IntegerAccessors),
        TRVHOST_ACCESSORS(Object, ObjectAccessors),
        TRVHOST_ACCESSORS(Single, SingleAccessors),
        TRVHOST_ACCESSORS(String, StringAccessors),
        TRVHOST_ACCESSORS(Text, TextAccessors),
        TRVHOST_ACCESSORS(UInt8, UInt8Accessors),
        TRVHOST_ACCESSORS(UInt16, UInt16Accessors),
        TRVHOST_ACCESSORS(UInt32, UInt32Accessors),
        TRVHOST_ACCESSORS(UInt64, UInt64Accessors),
        TRVHOST_ACCESSORS(UInteger, UIntegerAccessors),
    };
    return rows;
}

Value ReadElement(Core& core, ArrayThing& array, int64_t index) {
    if (!array.Contains(index)) throw std::out_of_range("array index " + std::to_string(index));
    const std::byte* element = array.Element(index);
    switch (array.elementKind) {
        case ElementKind::Boolean:
            return Load<uint8_t>(element) != 0;
        case ElementKind::Single:
            return Load<float>(element);
        case ElementKind::Double:
            return Load<double>(element);
        case ElementKind::Color:
            return Color{Load<uint32_t>(element)};
        case ElementKind::String:
        case ElementKind::Text:
        case ElementKind::Object:
            return Ref::Share(core.host, Load<Handle>(element));
        default:
            return WholeNumber(array, element);
    }
}

void WriteElement(Core& core, ArrayThing& array, int64_t index, const Value& value) {
    if (!array.Contains(index)) throw std::out_of_range("array index " + std::to_string(index));
    std::byte* element = array.Element(index);
    switch (array.elementKind) {
        case ElementKind::Boolean:
            Store(element, static_cast<uint8_t>(value.ToBool()));
            break;
        case ElementKind::Single:
            Store(element, static_cast<float>(value.ToDouble()));
            break;
        case ElementKind::Double:
            Store(element, value.ToDouble());
            break;
        case ElementKind::Color:
            Store(element, value.ToColor().rgb);
            break;
        case ElementKind::String:
        case ElementKind::Text:
        case ElementKind::Object: {
            const Ref thing = value.IsText() ? Ref(core.host.NewString(value.ToText())) : value.ToThing();
            ObjectAccessors::Put(core, array, index, thing.Handle());
            break;
        }
        default: {
            const int64_t number = value.ToInt();
            std::memcpy(element, &number, static_cast<size_t>(ElementSize(array.elementKind)));
        }
    }
}

}  // namespace trvhost
