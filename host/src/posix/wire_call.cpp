// By libffi.

#include "wire_call.h"

#include <ffi.h>
#include <stdexcept>
#include <vector>

namespace trvhost {

namespace {

ffi_type* TypeOf(WireType type) {
    switch (type) {
        case WireType::None:
            return &ffi_type_void;
        case WireType::Boolean:
        case WireType::UInt8:
            return &ffi_type_uint8;
        case WireType::Int8:
            return &ffi_type_sint8;
        case WireType::Int16:
            return &ffi_type_sint16;
        case WireType::UInt16:
            return &ffi_type_uint16;
        case WireType::Int32:
            return &ffi_type_sint32;
        case WireType::UInt32:
        case WireType::Color:
            return &ffi_type_uint32;
        case WireType::Int64:
            return &ffi_type_sint64;
        case WireType::UInt64:
            return &ffi_type_uint64;
        case WireType::Single:
            return &ffi_type_float;
        case WireType::Double:
            return &ffi_type_double;
        case WireType::String:
        case WireType::Object:
        case WireType::Pointer:
            return &ffi_type_pointer;
    }
    return &ffi_type_void;
}

}  // namespace

uint64_t CallFunction(void* function, std::span<const WireSlot> arguments, WireType result) {
    std::vector<ffi_type*> types;
    std::vector<uint64_t> bits;
    std::vector<void*> values;
    bits.reserve(arguments.size());
    for (const WireSlot& slot : arguments) {
        types.push_back(TypeOf(slot.type));
        bits.push_back(slot.bits);
        values.push_back(&bits.back());
    }
    ffi_cif cif;
    if (ffi_prep_cif(&cif, FFI_DEFAULT_ABI, static_cast<unsigned>(types.size()), TypeOf(result),
                     types.data()) != FFI_OK) {
        throw std::logic_error("libffi refuses a signature");
    }
    uint64_t out = 0;
    ffi_call(&cif, FFI_FN(function), &out, values.data());
    return out;
}

}  // namespace trvhost
