#include "frame/class_tables.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "frame/host_calls.h"

namespace trv {

int32_t FixFlags(int32_t flags) {
    if (HostVersion() < 2020.02 && (flags & 0x708) == 0x308) flags = (flags & ~0x308) | kOrdinary;
    if ((flags & kSinceHost2010) != 0) {
        flags &= ~kSinceHost2010;
        if (HostVersion() >= 2010.029) flags |= kOrdinary;
    }
    return flags;
}

void FixFlags(ClassDefinition& definition) {
    definition.flags = FixFlags(definition.flags);
    FixFlags(definition.methods, definition.methodCount);
    FixFlags(definition.sharedMethods, definition.sharedMethodCount);
    FixFlags(definition.properties, definition.propertyCount);
    FixFlags(definition.sharedProperties, definition.sharedPropertyCount);
}

void RegisterClass(ClassDefinition& definition) {
    FixFlags(definition);
    definition.dataSize = RegisteredDataSize(definition.dataSize);
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
