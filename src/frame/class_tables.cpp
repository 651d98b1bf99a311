#include "frame/class_tables.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "frame/host_calls.h"

namespace trv {

namespace {

template <class Definition>
void FixAllFlags(Definition* members, int64_t count) {
    for (int64_t i = 0; i < count; ++i)
        members[i].flags = FixFlags(members[i].flags);
}

}  // namespace

int32_t FixFlags(int32_t flags) {
    if (HostVersion() < 2020.02 && (flags & 0x708) == 0x308) flags = (flags & ~0x308) | kOrdinary;
    if ((flags & kSinceHost2010) != 0) {
        flags &= ~kSinceHost2010;
        if (HostVersion() >= 2010.029) flags |= kOrdinary;
    }
    return flags;
}

void RegisterClass(ClassDefinition& definition) {
    definition.flags = FixFlags(definition.flags);
    FixAllFlags(definition.methods, definition.methodCount);
    FixAllFlags(definition.sharedMethods, definition.sharedMethodCount);
    FixAllFlags(definition.properties, definition.propertyCount);
    FixAllFlags(definition.sharedProperties, definition.sharedPropertyCount);
    definition.dataSize = (definition.dataSize + 15) / 16 * 16;
    definition.version = SdkVersion();
    host::PluginRegisterClass(&definition);
}

void FormatConstants(ConstantDefinition* constants, int64_t count, int64_t firstIndex, bool prefixed,
                     bool decimalOnly) {
    for (int64_t i = firstIndex; i < count; ++i) {
        ConstantDefinition& constant = constants[i];
        if (std::strchr(constant.declaration, '=') != nullptr) continue;
        // Room for " = ", "&h" and eight digits or a 64-bit number, and the terminator.
        const size_t bytes = std::strlen(constant.declaration) + 32;
        char* text = static_cast<char*>(std::malloc(bytes));
        if (text == nullptr) continue;
        const char* prefix = prefixed ? "k" : "";
        if (constant.value >= 100 && !decimalOnly) {
            std::snprintf(text, bytes, "%s%s = &h%08X", prefix, constant.declaration,
                          static_cast<unsigned>(constant.value));
        } else {
            std::snprintf(text, bytes, "%s%s = %lld", prefix, constant.declaration,
                          static_cast<long long>(constant.value));
        }
        constant.declaration = text;
        constant.value = 0;
    }
}

}  // namespace trv
