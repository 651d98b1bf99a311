#pragma once

// The layer through which all other code calls the host. Every service is found by name, at run time, through
// the resolver that the host hands over; no other code asks the resolver. A wrapper has the entry's name:
// host::REALLockObject(object).

#include <atomic>
#include <cstdint>
#include <type_traits>

#include "frame/host_types.h"

namespace trv {

/// Finds an entry of the host by name; null for an unknown one.
using HostResolver = void* (*)(const char* name);

/// Takes the host's resolver for the life of the process, reads the host's version and derives the version of
/// the class tables. A null resolver leaves every entry missing.
void ConnectHost(HostResolver resolver);

/// The host's version as a decimal number, such as 2019.02; 0.0 when the host does not tell. Comparisons with
/// it choose between older and newer declarations.
[[nodiscard]] double HostVersion();

/// Version of the class tables that host and plug-in speak: 9 to 13, and 15 before the host is known.
[[nodiscard]] int32_t SdkVersion();

namespace host {

/// The entry's address, or null. Never remembers a failure.
[[nodiscard]] void* ResolveEntry(const char* name);

/// How a value crosses the boundary as an argument: integers and Booleans fill their register.
template <class T>
using BoundaryArgument = std::conditional_t<
    std::is_same_v<T, bool>, uint64_t,
    std::conditional_t<std::is_integral_v<T>, std::conditional_t<std::is_signed_v<T>, int64_t, uint64_t>, T>>;

/// How a result crosses the boundary: only the low byte of a Boolean counts.
template <class T>
using BoundaryResult = std::conditional_t<std::is_same_v<T, bool>, uint8_t, T>;

template <class Signature>
class Entry;

/// One entry of the host: its name, its signature and a slot that goes from null to the entry's one address
/// when it is first found. A call of an entry that the host lacks has no effect and gives 0, false or nil;
/// the look-up is repeated at the next call. Concurrent first calls store the same value, so no lock is
/// taken.
template <class R, class... A>
class Entry<R(A...)> {
  public:
    using Function = BoundaryResult<R> (*)(BoundaryArgument<A>...);

    constexpr explicit Entry(const char* name) : name_(name) {}
    Entry(const Entry&) = delete;
    Entry& operator=(const Entry&) = delete;

    R operator()(A... arguments) const {
        const Function function = Find();
        if constexpr (std::is_void_v<R>) {
            if (function != nullptr) function(static_cast<BoundaryArgument<A>>(arguments)...);
        } else if constexpr (std::is_same_v<R, bool>) {
            return function != nullptr && function(static_cast<BoundaryArgument<A>>(arguments)...) != 0;
        } else {
            return function == nullptr ? R{} : function(static_cast<BoundaryArgument<A>>(arguments)...);
        }
    }

    /// The entry itself, or null if the host lacks it (now).
    [[nodiscard]] Function Find() const {
        void* found = slot_.load(std::memory_order_relaxed);
        if (found == nullptr) {
            found = ResolveEntry(name_);
            slot_.store(found, std::memory_order_relaxed);
        }
        return reinterpret_cast<Function>(found);
    }

    [[nodiscard]] bool Available() const { return Find() != nullptr; }

  private:
    const char* name_;
    mutable std::atomic<void*> slot_{nullptr};
};

template <class Signature>
class ArrayAccessor;

/// An entry that takes an array and returns the accessor for that array's elements, which is then called;
/// either may be missing, and then nothing happens.
template <class R, class... A>
class ArrayAccessor<R(A...)> {
  public:
    constexpr explicit ArrayAccessor(const char* name) : entry_(name) {}

    /// The accessor for this array, or null.
    [[nodiscard]] typename Entry<R(A...)>::Function Find(HostObject array) const {
        return reinterpret_cast<typename Entry<R(A...)>::Function>(entry_(array));
    }

  private:
    Entry<void*(HostObject)> entry_;
};

/// Reads an element into `out`, which may be null and stays as it is if the host cannot read it.
template <class T>
class ArrayGet : ArrayAccessor<T(HostObject, int64_t)> {
  public:
    using ArrayAccessor<T(HostObject, int64_t)>::ArrayAccessor;

    void operator()(HostObject array, int64_t index, T* out) const {
        const auto accessor = this->Find(array);
        if (accessor == nullptr) return;
        const T value = static_cast<T>(accessor(array, index));
        if (out != nullptr) *out = value;
    }
};

/// Inserts an element before `index`.
template <class T>
class ArrayInsert : ArrayAccessor<void(HostObject, int64_t, T)> {
  public:
    using ArrayAccessor<void(HostObject, int64_t, T)>::ArrayAccessor;

    void operator()(HostObject array, int64_t index, T value) const {
        if (const auto accessor = this->Find(array)) {
            accessor(array, index, static_cast<BoundaryArgument<T>>(value));
        }
    }
};

/// Stores an element. The host's set accessors take the value before the index, unlike its insert accessors.
template <class T>
class ArraySet : ArrayAccessor<void(HostObject, T, int64_t)> {
  public:
    using ArrayAccessor<void(HostObject, T, int64_t)>::ArrayAccessor;

    void operator()(HostObject array, int64_t index, T value) const {
        if (const auto accessor = this->Find(array)) {
            accessor(array, static_cast<BoundaryArgument<T>>(value), index);
        }
    }
};

#define TRV_ENTRY(name, ...) inline constinit Entry<__VA_ARGS__> name{#name};
#define TRV_SPECIAL_ENTRY(name, ...)
#define TRV_ARRAY_ENTRIES(kind, type)                                                                   \
    inline constinit ArrayGet<type> Plugin##kind##ArrayGetProc{"Plugin" #kind "ArrayGetProc"};          \
    inline constinit ArrayInsert<type> Plugin##kind##ArrayInsertProc{"Plugin" #kind "ArrayInsertProc"}; \
    inline constinit ArraySet<type> Plugin##kind##ArraySetProc{"Plugin" #kind "ArraySetProc"};
#include "frame/host_entries.inc"
#undef TRV_ENTRY
#undef TRV_SPECIAL_ENTRY
#undef TRV_ARRAY_ENTRIES

// The wrappers that differ from the common one.

/// Reads the host's version anew and derives the table version from it again. 0.0 without the entry.
double REALGetRBVersion();

/// Nil for a nil class, after the look-up.
HostObject CreateInstance(HostClass hostClass);

/// Runs fn(argument) with the host's exceptions caught: the one noted meanwhile comes back with a reference.
/// A host without the entry has fn run unprotected, and nil comes back.
HostObject PluginCallFunctionWithExceptionHandler(void (*fn)(void*), void* argument);

/// Number of properties of the instance's class; 0 when the host's second resolver or one of its entries is
/// missing, and for an instance without class.
int64_t REALCountClassProperties(HostObject instance);

/// One property of the instance's class, written through the four pointers as the host defines them; false
/// where REALCountClassProperties would give 0.
bool REALGetClassProperty(HostObject instance, int64_t index, void* first, void* second, void* third,
                          void* fourth);

/// The bytes of a string, valid while the string lives, and null for nil or without the entry. The length in
/// bytes is stored if `lengthOut` is given, the string is not nil and the host offers its length method.
const char* StringGetCString(HostString string, int64_t* lengthOut);

/// The function behind an event of the instance, or null if its class does not implement it.
/// `eventDefinition` is the entry of the event array, whose second word the host wrote at registration.
void* GetEventInstance(HostObject instance, const void* eventDefinition);

/// Reads a Boolean property as exactly 0 or 1.
bool REALGetPropValueBool(HostObject object, const char* name, Boolean* out);

void RuntimeGraphicsDrawString(HostObject graphics, HostString text, int64_t x, int64_t y, int64_t wrapWidth);

/// Width of a text in the graphics' font; 0.0 without the entry.
double RuntimeGraphicsStringWidth(HostObject graphics, HostString text);

}  // namespace host

}  // namespace trv
