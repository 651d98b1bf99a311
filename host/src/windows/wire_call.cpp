// Microsoft's x64 convention: every argument takes one 8-byte slot; the first four travel in registers,
// numbers with a point in XMM0 to XMM3 and all else in RCX, RDX, R8 and R9. So a signature is told by which
// of four are which.

#include "wire_call.h"

#include <algorithm>
#include <array>
#include <bit>
#include <stdexcept>
#include <utility>

namespace trvhost {

namespace {

constexpr size_t kRegisters = 4;
constexpr size_t kOnStack = 28;
using Slots = std::array<uint64_t, kRegisters + kOnStack>;

template <bool kFloat>
auto Pass(uint64_t bits) {
    if constexpr (kFloat)
        return std::bit_cast<double>(bits);
    else
        return bits;
}

template <class R, unsigned kFloats, size_t... kStack>
R CallAs(void* function, const Slots& slots, std::index_sequence<kStack...>) {
    constexpr bool kA = (kFloats & 1) != 0, kB = (kFloats & 2) != 0, kC = (kFloats & 4) != 0,
                   kD = (kFloats & 8) != 0;
    using A = decltype(Pass<kA>(0));
    using B = decltype(Pass<kB>(0));
    using C = decltype(Pass<kC>(0));
    using D = decltype(Pass<kD>(0));
    // Slots that the callee does not expect lie above those that it does and are the caller's to remove.
    using Function = R (*)(A, B, C, D, decltype(static_cast<uint64_t>(kStack))...);
    return reinterpret_cast<Function>(function)(Pass<kA>(slots[0]), Pass<kB>(slots[1]), Pass<kC>(slots[2]),
                                                Pass<kD>(slots[3]), slots[kRegisters + kStack]...);
}

template <class R>
using Caller = R (*)(void*, const Slots&, std::make_index_sequence<kOnStack>);

template <class R, size_t... kFloats>
R CallByMask(unsigned floats, void* function, const Slots& slots, std::index_sequence<kFloats...>) {
    static constexpr Caller<R> callers[] = {&CallAs<R, kFloats>...};
    return callers[floats](function, slots, std::make_index_sequence<kOnStack>());
}

template <class R>
R Call(unsigned floats, void* function, const Slots& slots) {
    return CallByMask<R>(floats, function, slots, std::make_index_sequence<16>());
}

}  // namespace

uint64_t CallFunction(void* function, std::span<const WireSlot> arguments, WireType result) {
    if (arguments.size() > kRegisters + kOnStack) throw std::invalid_argument("too many arguments");
    Slots slots{};
    unsigned floats = 0;
    for (size_t i = 0; i < arguments.size(); ++i) {
        slots[i] = arguments[i].bits;
        const bool isFloat = arguments[i].type == WireType::Double || arguments[i].type == WireType::Single;
        if (isFloat && i < kRegisters) floats |= 1u << i;
    }
    // A Single result stands in the low half of the register that a Double would come in.
    if (result == WireType::Double || result == WireType::Single) {
        return std::bit_cast<uint64_t>(Call<double>(floats, function, slots));
    }
    return Call<uint64_t>(floats, function, slots);
}

}  // namespace trvhost
