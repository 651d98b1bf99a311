// Calls of functions whose signature is known at run time only.
#pragma once

#include <cstdint>
#include <span>

#include "trvhost/declaration.h"
#include "trvhost/ref.h"
#include "trvhost/value.h"

namespace trvhost {

class Core;

/// One argument or result as it crosses: the bits of its type, extended to 64.
struct WireSlot {
    WireType type = WireType::None;
    uint64_t bits = 0;
};

/// Calls the platform's C function of this signature. None as result type calls a function without one.
uint64_t CallFunction(void* function, std::span<const WireSlot> arguments, WireType result);

/// A value as an argument of this type; `keep` holds what the call borrows. Throws std::invalid_argument when
/// the value does not fit the type.
WireSlot ToWire(const Host& host, const Value& value, WireType type, Ref& keep);
/// A result of this type as a value; a thing is taken over.
Value FromWire(const Host& host, WireType type, uint64_t bits);
/// Bytes that a value of this type takes in class data.
int64_t WireSize(WireType type);
/// Whole numbers of any width.
bool IsWholeNumber(WireType type);

}  // namespace trvhost
