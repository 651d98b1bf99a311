#include "calls.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <optional>
#include <stdexcept>

#include "arrays.h"
#include "entry.h"
#include "text_case.h"
#include "wire_call.h"

namespace trvhost {

namespace {

[[noreturn]] void Refuse(const ClassInfo& info, std::string_view member, const std::string& reason) {
    throw std::invalid_argument(info.name + "." + std::string(member) + ": " + reason);
}

void* FunctionOf(const Member& member, bool setter) {
    return setter ? member.setter : member.function;
}

/// The declared parameters of a function or setter: a setter takes the value behind the others.
std::vector<Parameter> ParametersOf(const Member& member, bool setter) {
    std::vector<Parameter> parameters = member.declaration.parameters;
    const bool named =
        !parameters.empty() && LowerCase(member.declaration.text).find("assigns ") != std::string::npos;
    if (setter && !named) {
        Parameter value;
        value.name = "value";
        value.type = member.declaration.resultType;
        value.isArray = member.declaration.resultIsArray;
        value.wire = member.declaration.resultWire;
        parameters.push_back(value);
    }
    return parameters;
}

/// How far a value is from a parameter's type: 0 the same, 1 converted by the language, none if it does not
/// fit.
std::optional<int> Distance(Core& core, const Value& value, const Parameter& parameter) {
    const auto when = [](bool exact, bool converted) {
        return exact ? std::optional(0) : converted ? std::optional(1) : std::nullopt;
    };
    switch (parameter.wire) {
        case WireType::Boolean:
            return when(value.IsBool(), false);
        case WireType::Single:
        case WireType::Double:
            return when(value.IsDouble(), value.IsInt());
        case WireType::Color:
            return when(value.IsColor(), value.IsInt());
        case WireType::Pointer:
            return when(value.IsPointer(), value.IsThing() && !value.ToThing());
        case WireType::String:
            if (value.IsText()) return 0;
            return when(value.IsThing() && (!value.ToThing() || value.ToThing().ClassName() == "String"),
                        false);
        case WireType::Object: {
            if (!value.IsThing()) return std::nullopt;
            const Thing* thing = core.Peek(value.ToThing().Handle());
            if (thing == nullptr) return when(!value.ToThing(), false);
            if (thing->kind == ThingKind::Array || parameter.isArray) {
                return when(thing->kind == ThingKind::Array && parameter.isArray, false);
            }
            const std::string wanted = LowerCase(parameter.type);
            for (const ClassInfo* info = thing->classInfo; info != nullptr; info = info->super) {
                if (wanted == "object" || LowerCase(info->name) == wanted) return 0;
            }
            return std::nullopt;
        }
        default:
            return when(value.IsInt(), value.IsColor());
    }
}

/// What a call of a member with these values would cost; smaller fits better, none does not fit.
std::optional<int> Cost(Core& core, const std::vector<Parameter>& parameters,
                        const std::vector<Value>& values) {
    if (values.size() > parameters.size()) return std::nullopt;
    constexpr int kDefaultCost = 100;  // more than all conversions together
    int cost = 0;
    for (size_t i = 0; i < parameters.size(); ++i) {
        if (i >= values.size()) {
            if (!parameters[i].defaultText) return std::nullopt;
            cost += kDefaultCost;
            continue;
        }
        const auto distance = Distance(core, values[i], parameters[i]);
        if (!distance) return std::nullopt;
        cost += *distance;
    }
    return cost;
}

/// A declared default as a value.
Value DefaultValue(const Parameter& parameter) {
    const std::string text = LowerCase(*parameter.defaultText);
    if (text == "nil")
        return parameter.wire == WireType::Pointer ? Value(static_cast<void*>(nullptr)) : Value(nullptr);
    if (text == "true" || text == "false") return text == "true";
    if (text.size() >= 2 && text.front() == '"' && text.back() == '"') {
        return parameter.defaultText->substr(1, text.size() - 2);
    }
    const bool hex = text.rfind("&h", 0) == 0;
    if (parameter.wire == WireType::Double || parameter.wire == WireType::Single) {
        double number = 0;
        std::from_chars(text.data(), text.data() + text.size(), number);
        return number;
    }
    int64_t number = 0;
    const char* begin = text.data() + (hex ? 2 : 0);
    const auto [end, error] = std::from_chars(begin, text.data() + text.size(), number, hex ? 16 : 10);
    if (error != std::errc() || end != text.data() + text.size()) {
        throw std::invalid_argument("the default " + *parameter.defaultText + " is not understood");
    }
    return number;
}

std::string Candidates(const std::vector<Member>& members) {
    std::string list;
    for (const Member& member : members)
        list += "\n    " + member.declaration.text;
    return list;
}

}  // namespace

namespace {

std::vector<Member> ParseTable(const MethodDefinition* methods, int64_t count) {
    std::vector<Member> members;
    for (int64_t i = 0; methods != nullptr && i < count; ++i) {
        if (methods[i].declaration == nullptr) continue;
        members.push_back({&methods[i], methods[i].function, methods[i].setter,
                           Declaration::Parse(methods[i].declaration)});
    }
    return members;
}

/// All members of one registered class, without those above it.
const std::vector<Member>& TableMembers(const ClassInfo& info, MemberScope scope) {
    const ClassDefinition& definition = *info.definition;
    const bool shared = scope == MemberScope::Shared;
    auto& members = info.members[shared ? 1 : 0];
    if (!members) {
        members = shared ? ParseTable(definition.sharedMethods, definition.sharedMethodCount)
                         : ParseTable(definition.methods, definition.methodCount);
    }
    return *members;
}

/// The same of one of the host's own classes, which follow the options of the moment.
std::vector<Member> OwnMembers(const Core& core, const ClassInfo& info, MemberScope scope) {
    std::vector<Member> members;
    if (scope == MemberScope::Shared) return members;
    for (const MemberRow* row : MembersOf(core, info.name)) {
        members.push_back({nullptr, row->entry.address, nullptr, Declaration::Parse(DeclarationOf(*row))});
    }
    return members;
}

}  // namespace

std::vector<Member> FindMembers(const Core& core, const ClassInfo& info, std::string_view nameOrDeclaration,
                                MemberScope scope) {
    const bool bare = nameOrDeclaration.find_first_of(" (") == std::string_view::npos;
    std::vector<Member> found;
    const auto collect = [&](const std::vector<Member>& members) {
        std::copy_if(members.begin(), members.end(), std::back_inserter(found), [&](const Member& member) {
            return nameOrDeclaration == (bare ? member.declaration.name : member.declaration.text);
        });
    };
    for (const ClassInfo* owner = &info; owner != nullptr && found.empty(); owner = owner->super) {
        if (owner->definition != nullptr) {
            collect(TableMembers(*owner, scope));
        } else {
            collect(OwnMembers(core, *owner, scope));
        }
    }
    return found;
}

Value CallMember(Core& core, const ClassInfo& info, void* self, std::string_view nameOrDeclaration,
                 MemberScope scope, bool setter, const std::vector<Value>& values) {
    const std::vector<Member> members = FindMembers(core, info, nameOrDeclaration, scope);
    const Member* best = nullptr;
    int bestCost = 0;
    bool several = false;
    for (const Member& member : members) {
        if (FunctionOf(member, setter) == nullptr) continue;
        const auto cost = Cost(core, ParametersOf(member, setter), values);
        if (!cost || (best != nullptr && *cost > bestCost)) continue;
        several = best != nullptr && *cost == bestCost;
        best = &member;
        bestCost = *cost;
    }
    if (members.empty()) Refuse(info, nameOrDeclaration, "there is no such member");
    if (best == nullptr) Refuse(info, nameOrDeclaration, "the arguments fit none of" + Candidates(members));
    if (several) Refuse(info, nameOrDeclaration, "the arguments fit several of" + Candidates(members));

    const std::vector<Parameter> parameters = ParametersOf(*best, setter);
    std::vector<Ref> keep(parameters.size());
    std::vector<WireSlot> slots;
    if (self != nullptr) slots.push_back({WireType::Pointer, reinterpret_cast<uintptr_t>(self)});
    for (size_t i = 0; i < parameters.size(); ++i) {
        const Value value = i < values.size() ? values[i] : DefaultValue(parameters[i]);
        slots.push_back(ToWire(core.host, value, parameters[i].wire, keep[i]));
    }
    const WireType result = setter ? WireType::None : best->declaration.resultWire;
    const detail::CurrentScope current(core.host);
    return FromWire(core.host, result, CallFunction(FunctionOf(*best, setter), slots, result));
}

namespace {

bool Agrees(WireType declared, detail::WireParameter given) {
    return declared == given.type ||
           (given.anyThing && (declared == WireType::String || declared == WireType::Object));
}

bool Agrees(const Member& member, bool setter, detail::WireParameter result,
            const std::vector<detail::WireParameter>& given) {
    const std::vector<Parameter> parameters = ParametersOf(member, setter);
    if (parameters.size() != given.size()) return false;
    if (!Agrees(setter ? WireType::None : member.declaration.resultWire, result)) return false;
    return std::equal(
        parameters.begin(), parameters.end(), given.begin(),
        [](const Parameter& parameter, detail::WireParameter type) { return Agrees(parameter.wire, type); });
}

}  // namespace

void* FindTypedFunction(const Core& core, const ClassInfo& info, std::string_view nameOrDeclaration,
                        MemberScope scope, bool setter, detail::WireParameter result,
                        const std::vector<detail::WireParameter>& parameters) {
    const std::vector<Member> members = FindMembers(core, info, nameOrDeclaration, scope);
    if (members.empty()) Refuse(info, nameOrDeclaration, "there is no such member");
    void* function = nullptr;
    for (const Member& member : members) {
        if (FunctionOf(member, setter) == nullptr || !Agrees(member, setter, result, parameters)) continue;
        if (function != nullptr)
            Refuse(info, nameOrDeclaration, "the signature fits several of" + Candidates(members));
        function = FunctionOf(member, setter);
    }
    if (function == nullptr)
        Refuse(info, nameOrDeclaration, "the signature fits none of" + Candidates(members));
    return function;
}

}  // namespace trvhost
