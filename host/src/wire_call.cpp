#include "wire_call.h"

#include <bit>
#include <stdexcept>

#include "core.h"

namespace trvhost {

bool IsWholeNumber(WireType type) {
    switch (type) {
        case WireType::Int8:
        case WireType::UInt8:
        case WireType::Int16:
        case WireType::UInt16:
        case WireType::Int32:
        case WireType::UInt32:
        case WireType::Int64:
        case WireType::UInt64:
            return true;
        default:
            return false;
    }
}

int64_t WireSize(WireType type) {
    switch (type) {
        case WireType::None:
            return 0;
        case WireType::Boolean:
        case WireType::Int8:
        case WireType::UInt8:
            return 1;
        case WireType::Int16:
        case WireType::UInt16:
            return 2;
        case WireType::Int32:
        case WireType::UInt32:
        case WireType::Single:
        case WireType::Color:
            return 4;
        default:
            return 8;
    }
}

namespace {

/// The low bytes of a number of this type, sign- or zero-extended.
int64_t Narrow(WireType type, int64_t number) {
    switch (type) {
        case WireType::Int8:
            return static_cast<int8_t>(number);
        case WireType::UInt8:
            return static_cast<uint8_t>(number);
        case WireType::Int16:
            return static_cast<int16_t>(number);
        case WireType::UInt16:
            return static_cast<uint16_t>(number);
        case WireType::Int32:
            return static_cast<int32_t>(number);
        case WireType::UInt32:
            return static_cast<uint32_t>(number);
        default:
            return number;
    }
}

uint64_t Address(const void* pointer) {
    return reinterpret_cast<uintptr_t>(pointer);
}

}  // namespace

WireSlot ToWire(const Host& host, const Value& value, WireType type, Ref& keep) {
    switch (type) {
        case WireType::Boolean:
            return {type, value.ToBool() ? 1u : 0u};
        case WireType::Single:
            return {type, std::bit_cast<uint32_t>(static_cast<float>(value.ToDouble()))};
        case WireType::Double:
            return {type, std::bit_cast<uint64_t>(value.ToDouble())};
        case WireType::Color:
            return {type, value.ToColor().rgb};
        case WireType::String:
            keep = value.IsText() ? detail::MakeString(host, value.ToText()) : value.ToThing();
            return {type, Address(keep.Handle())};
        case WireType::Object:
            keep = value.ToThing();
            return {type, Address(keep.Handle())};
        case WireType::Pointer:
            return {type, Address(value.IsThing() && !value.ToThing() ? nullptr : value.ToPointer())};
        case WireType::None:
            throw std::invalid_argument("a value where none is wanted");
        default:
            return {type, static_cast<uint64_t>(Narrow(type, value.ToInt()))};
    }
}

Value FromWire(const Host& host, WireType type, uint64_t bits) {
    switch (type) {
        case WireType::None:
            return {};
        case WireType::Boolean:
            return (bits & 0xFF) != 0;
        case WireType::Single:
            return std::bit_cast<float>(static_cast<uint32_t>(bits));
        case WireType::Double:
            return std::bit_cast<double>(bits);
        case WireType::Color:
            return Color{static_cast<uint32_t>(bits)};
        case WireType::String:
        case WireType::Object:
            return Ref::Adopt(host, reinterpret_cast<void*>(bits));
        case WireType::Pointer:
            return reinterpret_cast<void*>(bits);
        default:
            return Narrow(type, static_cast<int64_t>(bits));
    }
}

}  // namespace trvhost
