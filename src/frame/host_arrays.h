#pragma once

// The elements of the host's arrays, one at a time. Where the layout of the host's array objects was proved,
// an element is read and stored in place, else through the host's own calls; the outcome is the same. All
// functions take nil for an array and any number for an index, but the array must be of the element kind
// that the function names. Host's thread only.

#include <cstdint>

#include "frame/host_types.h"

namespace trv {

/// The host's numbers of the kinds of array elements.
enum class ElementKind : int32_t {
    kBoolean = 1,
    kInt8,
    kUInt8,
    kInt16,
    kUInt16,
    kInt32,
    kUInt32,
    kInt64,
    kUInt64,
    kUInteger,
    kInteger,
    kSingle,
    kDouble,
    kCurrency,
    kColor,
    kString,
    kText,
    kObject,
};

template <ElementKind kind>
struct ElementTraits;

#define TRV_ENTRY(name, ...)
#define TRV_SPECIAL_ENTRY(name, ...)
#define TRV_ARRAY_ENTRIES(kind, type)            \
    template <>                                  \
    struct ElementTraits<ElementKind::k##kind> { \
        using Type = type;                       \
    };
#include "frame/host_entries.inc"
#undef TRV_ENTRY
#undef TRV_SPECIAL_ENTRY
#undef TRV_ARRAY_ENTRIES

/// The type of an element as values of it are passed.
template <ElementKind kind>
using ElementType = typename ElementTraits<kind>::Type;

/// Reads an element into `value`; an object, string or text comes with a reference for the caller. With a nil
/// array, and where the host cannot read, `value` stays as it is. An index outside raises the range failure.
template <ElementKind kind>
void REALGetArrayValue(HostObject array, int64_t index, ElementType<kind>* value);

/// Stores an element; the array takes a reference of its own. No effect on a nil array; an index outside
/// raises the range failure.
template <ElementKind kind>
void REALSetArrayValue(HostObject array, int64_t index, ElementType<kind> value);

/// Adds an element behind the last one; the array takes a reference of its own. No effect on a nil array.
template <ElementKind kind>
void REALAppendArrayValue(HostObject array, ElementType<kind> value);

/// An element of an Integer, Object or String array as the result, 0 or nil where REALGetArrayValue leaves
/// its slot alone. An object or string comes with a reference for the caller.
[[nodiscard]] int64_t REALGetArrayInt(HostObject array, int64_t index);
[[nodiscard]] HostObject REALGetArrayObject(HostObject array, int64_t index);
[[nodiscard]] HostString REALGetArrayString(HostObject array, int64_t index);

/// The proof of direct access, which the first access to an element runs by itself: an array of known
/// contents is made, read back through the host, and then looked for in the object's own 48 bytes. Only when
/// everything is where this host version should have it, the elements are looked at too, and only when they
/// are there as well, direct access is on from then on. True in that case.
bool TestArray();

}  // namespace trv
