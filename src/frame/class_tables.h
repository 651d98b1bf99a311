#pragma once

// The tables that show the plug-in's classes to the host, in the host's layout, and their registration.
// Counts and flags take eight bytes; a missing text or function is null.

#include <cstddef>
#include <cstdint>

namespace trv {

/// Flags of members and classes.
enum MemberFlags : int32_t {
    kOrdinary = 4,
    kOrdinaryProperty = 6,
    kSharedProperty = 38,
    /// Stands for "ordinary, but only from host version 2010.029 on"; cleared at registration.
    kSinceHost2010 = 0x40000,
    kOrdinaryPropertySinceHost2010 = kSinceHost2010 | 2,
};

struct AttributeDefinition {
    const char* name;
    const char* value;
};

struct MethodDefinition {
    void* function;
    void* setter;
    const char* declaration;
    int32_t flags;
    int64_t attributeCount;
    const AttributeDefinition* attributes;
};
static_assert(sizeof(MethodDefinition) == 48);

/// A getter or setter of DirectAccess() has the host read or write the class data at byte `parameter`; a
/// function is called with the parameter.
struct PropertyDefinition {
    const char* group;
    const char* name;
    const char* type;
    int32_t flags;
    void* getter;
    void* setter;
    int64_t parameter;
    const char* editor;
    int64_t enumCount;
    const char* const* enumEntries;
    int64_t attributeCount;
    const AttributeDefinition* attributes;
};
static_assert(sizeof(PropertyDefinition) == 96);

struct ConstantDefinition {
    const char* declaration;
    const char* defaultText;
    int64_t value;
    int64_t attributeCount;
    const AttributeDefinition* attributes;
};
static_assert(sizeof(ConstantDefinition) == 40);

struct EventDefinition {
    const char* declaration;
    void* forSystemUse;  // written by the host, read by GetEventInstance
    int64_t attributeCount;
    const AttributeDefinition* attributes;
};
static_assert(sizeof(EventDefinition) == 32);

struct ClassDefinition {
    int32_t version;
    const char* name;
    const char* superName;
    int64_t dataSize;
    int64_t forSystemUse;  // written by the host: byte offset of the class data inside an object
    void* constructor;
    void* destructor;
    PropertyDefinition* properties;
    int64_t propertyCount;
    MethodDefinition* methods;
    int64_t methodCount;
    EventDefinition* events;
    int64_t eventCount;
    void* eventInstances;
    int64_t eventInstanceCount;
    const char* interfaces;
    const AttributeDefinition* attributes;
    int64_t attributeCount;
    ConstantDefinition* constants;
    int64_t constantCount;
    int32_t flags;
    PropertyDefinition* sharedProperties;
    int64_t sharedPropertyCount;
    MethodDefinition* sharedMethods;
    int64_t sharedMethodCount;
    void* end;
};
static_assert(offsetof(ClassDefinition, forSystemUse) == 32 && offsetof(ClassDefinition, properties) == 56 &&
              offsetof(ClassDefinition, events) == 88 && offsetof(ClassDefinition, attributes) == 128 &&
              offsetof(ClassDefinition, constants) == 144 && offsetof(ClassDefinition, flags) == 160 &&
              offsetof(ClassDefinition, sharedMethods) == 184 && offsetof(ClassDefinition, end) == 200);

/// The version that a definition carries until it is registered.
inline constexpr int32_t kUnregisteredTableVersion = 15;

/// The mark for direct access by the host, in a property's getter or setter: all bits set.
[[nodiscard]] inline void* DirectAccess() {
    return reinterpret_cast<void*>(static_cast<intptr_t>(-1));
}

/// A function as the tables hold it.
template <class R, class... A>
[[nodiscard]] void* TableFunction(R (*function)(A...)) {
    return reinterpret_cast<void*>(function);
}

/// Turns a table flag into what the connected host is to see: the pair 0x308 becomes 4 on a host below
/// 2020.02, and 0x40000 becomes 4 from 2010.029 on and nothing below.
[[nodiscard]] int32_t FixFlags(int32_t flags);

/// Fixes all flags of the definition, raises `dataSize` to a multiple of 16, sets the table version and hands
/// the definition to the host, which keeps the pointer: it must live as long as the process.
void RegisterClass(ClassDefinition& definition);

/// Gives the constants from `firstIndex` on their final text, "name = value", where a declaration has none:
/// the value in decimal below 100 or on request, else as &h and eight hexadecimal digits. With `prefixed`, a
/// "k" stands before the name. The texts are never freed, as the host keeps the table. An entry whose text
/// cannot be allocated keeps its bare name.
void FormatConstants(ConstantDefinition* constants, int64_t count, int64_t firstIndex = 0,
                     bool prefixed = false, bool decimalOnly = false);

}  // namespace trv
