// Typed calls of the plug-in's members: the C++ signature is checked against the member's declaration when it
// is looked up, then a call is a plain indirect call.
#pragma once

#include <concepts>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "trvhost/declaration.h"
#include "trvhost/ref.h"
#include "trvhost/things.h"
#include "trvhost/value.h"

namespace trvhost {

class Host;

namespace detail {

/// While it lives, its host is the one that entries go to.
class CurrentScope {
  public:
    explicit CurrentScope(const Host& host) noexcept;
    ~CurrentScope();
    CurrentScope(const CurrentScope&) = delete;
    CurrentScope& operator=(const CurrentScope&) = delete;

  private:
    uint64_t previous_;  // by number, since that host may end meanwhile
};

Ref MakeString(const Host& host, std::string_view utf8);
std::string TakeString(const Host& host, void* handle);

/// How a C++ type crosses: its wire type, the C type, and the ways in (In keeps what the call borrows) and
/// out.
template <class T>
struct Wire;

template <class T, WireType wireType>
struct PlainWire {
    static constexpr WireType kType = wireType;
    using C = T;
    using In = T;
    static In MakeIn(const Host&, T value) { return value; }
    static C Pass(const In& in) { return in; }
    static T Out(const Host&, C value) { return value; }
};

template <>
struct Wire<int8_t> : PlainWire<int8_t, WireType::Int8> {};
template <>
struct Wire<uint8_t> : PlainWire<uint8_t, WireType::UInt8> {};
template <>
struct Wire<int16_t> : PlainWire<int16_t, WireType::Int16> {};
template <>
struct Wire<uint16_t> : PlainWire<uint16_t, WireType::UInt16> {};
template <>
struct Wire<int32_t> : PlainWire<int32_t, WireType::Int32> {};
template <>
struct Wire<uint32_t> : PlainWire<uint32_t, WireType::UInt32> {};
template <>
struct Wire<int64_t> : PlainWire<int64_t, WireType::Int64> {};
template <>
struct Wire<uint64_t> : PlainWire<uint64_t, WireType::UInt64> {};
template <>
struct Wire<float> : PlainWire<float, WireType::Single> {};
template <>
struct Wire<double> : PlainWire<double, WireType::Double> {};
template <>
struct Wire<void*> : PlainWire<void*, WireType::Pointer> {};

template <>
struct Wire<bool> {
    static constexpr WireType kType = WireType::Boolean;
    using C = uint8_t;
    using In = bool;
    static In MakeIn(const Host&, bool value) { return value; }
    static C Pass(const In& in) { return in ? 1 : 0; }
    static bool Out(const Host&, C value) { return value != 0; }
};

template <>
struct Wire<Color> {
    static constexpr WireType kType = WireType::Color;
    using C = uint32_t;
    using In = Color;
    static In MakeIn(const Host&, Color value) { return value; }
    static C Pass(const In& in) { return in.rgb; }
    static Color Out(const Host&, C value) { return Color{value}; }
};

/// Text bytes: a host string of encoding UTF-8 for the length of the call; a result is taken over, nil reads
/// as empty.
template <>
struct Wire<std::string> {
    static constexpr WireType kType = WireType::String;
    using C = void*;
    using In = Ref;
    static In MakeIn(const Host& host, std::string_view value) { return MakeString(host, value); }
    static C Pass(const In& in) { return in.Handle(); }
    static std::string Out(const Host& host, C value) { return TakeString(host, value); }
};

template <std::derived_from<Ref> T>
struct Wire<T> {
    static constexpr WireType kType = std::same_as<T, String> ? WireType::String : WireType::Object;
    using C = void*;
    using In = Ref;
    static In MakeIn(const Host&, const T& value) { return value; }
    static C Pass(const In& in) { return in.Handle(); }
    static T Out(const Host& host, C value) {
        if constexpr (std::same_as<T, Ref>)
            return Ref::Adopt(host, value);
        else
            return T(Ref::Adopt(host, value));
    }
};

/// A Ref stands for strings as well as for objects.
template <class T>
inline constexpr bool kIsAnyThing = std::same_as<T, Ref>;

struct WireParameter {
    WireType type;
    bool anyThing;
};

template <class T>
using Plain = std::remove_cvref_t<T>;

template <class T>
WireParameter WireParameterOf() {
    if constexpr (std::is_void_v<T>)
        return {WireType::None, false};
    else
        return {Wire<Plain<T>>::kType, kIsAnyThing<Plain<T>>};
}

template <class R, class... Passed>
R CallThrough(const Host& host, void* function, Passed... args) {
    CurrentScope scope(host);
    if constexpr (std::is_void_v<R>) {
        reinterpret_cast<void (*)(Passed...)>(function)(args...);
    } else {
        using Result = typename Wire<R>::C;
        using Function = Result (*)(Passed...);
        return Wire<R>::Out(host, reinterpret_cast<Function>(function)(args...));
    }
}

}  // namespace detail

template <class Signature>
class Method;

/// A member that is called with an object: `R(Args...)` names what the declaration names, without the object.
/// Types: int64_t for Integer and Int64, bool, double, Color, std::string (or String, or Ref) for strings,
/// Ref and its kin for objects and arrays, void* for Ptr.
template <class R, class... Args>
class Method<R(Args...)> {
  public:
    Method(const Host& host, void* function) : host_(&host), function_(function) {}

    R operator()(const Ref& self, Args... args) const {
        return Call(self, detail::Wire<detail::Plain<Args>>::MakeIn(*host_, args)...);
    }
    void* Function() const { return function_; }

  private:
    template <class... In>
    R Call(const Ref& self, const In&... in) const {
        return detail::CallThrough<R>(*host_, function_, self.Handle(),
                                      detail::Wire<detail::Plain<Args>>::Pass(in)...);
    }
    const Host* host_;
    void* function_;
};

template <class Signature>
class SharedMethod;

/// A member that is called without an object.
template <class R, class... Args>
class SharedMethod<R(Args...)> {
  public:
    SharedMethod(const Host& host, void* function) : host_(&host), function_(function) {}

    R operator()(Args... args) const {
        return Call(detail::Wire<detail::Plain<Args>>::MakeIn(*host_, args)...);
    }
    void* Function() const { return function_; }

  private:
    template <class... In>
    R Call(const In&... in) const {
        return detail::CallThrough<R>(*host_, function_, detail::Wire<detail::Plain<Args>>::Pass(in)...);
    }
    const Host* host_;
    void* function_;
};

namespace detail {

template <class Signature>
struct SignatureOf;
template <class R, class... Args>
struct SignatureOf<R(Args...)> {
    static WireParameter Result() { return WireParameterOf<R>(); }
    static std::vector<WireParameter> Parameters() { return {WireParameterOf<Args>()...}; }
};

}  // namespace detail
}  // namespace trvhost
