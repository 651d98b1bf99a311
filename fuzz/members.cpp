#include "members.h"

namespace trvfuzz {

namespace {

trvhost::Parameter ValueParameter(const std::string& type, bool isArray, trvhost::WireType wire) {
    trvhost::Parameter value;
    value.name = "value";
    value.type = type;
    value.isArray = isArray;
    value.wire = wire;
    return value;
}

void AddMethods(const trvhost::ClassDefinition& owner, const trvhost::MethodDefinition* methods,
                int64_t count, MemberKind kind, std::vector<Member>& members) {
    for (int64_t i = 0; i < count; ++i) {
        const auto declaration = trvhost::Declaration::Parse(methods[i].declaration);
        Member member{.kind = kind,
                      .className = owner.name,
                      .declaration = declaration.text,
                      .name = declaration.name,
                      .parameters = declaration.parameters};
        if (methods[i].function != nullptr) members.push_back(member);
        if (methods[i].setter == nullptr) continue;
        member.kind = MemberKind::Setter;
        member.parameters.push_back(
            ValueParameter(declaration.resultType, declaration.resultIsArray, declaration.resultWire));
        members.push_back(member);
    }
}

void AddProperties(const trvhost::ClassDefinition& owner, const trvhost::PropertyDefinition* properties,
                   int64_t count, bool shared, std::vector<Member>& members) {
    for (int64_t i = 0; i < count; ++i) {
        const trvhost::PropertyDefinition& property = properties[i];
        Member member{.kind = shared ? MemberKind::SharedGetter : MemberKind::Getter,
                      .className = owner.name,
                      .declaration = property.name,
                      .name = property.name,
                      .parameters = {}};
        if (property.getter != nullptr) members.push_back(member);
        if (property.setter == nullptr) continue;
        member.kind = shared ? MemberKind::SharedSetter : MemberKind::PropertySetter;
        member.parameters = {ValueParameter(property.type, false, trvhost::WireTypeOf(property.type))};
        members.push_back(member);
    }
}

}  // namespace

std::vector<Member> ReadMembers(const trvhost::Host& host) {
    std::vector<Member> members;
    for (const trvhost::ClassDefinition* owner : host.Classes()) {
        AddMethods(*owner, owner->methods, owner->methodCount, MemberKind::Method, members);
        AddMethods(*owner, owner->sharedMethods, owner->sharedMethodCount, MemberKind::SharedMethod, members);
        AddProperties(*owner, owner->properties, owner->propertyCount, false, members);
        AddProperties(*owner, owner->sharedProperties, owner->sharedPropertyCount, true, members);
    }
    return members;
}

std::vector<std::string> ReadConstants(const trvhost::Host& host, const std::string& className) {
    std::vector<std::string> names;
    const trvhost::ClassDefinition& owner = host.Class(className);
    for (int64_t i = 0; i < owner.constantCount; ++i) {
        const std::string declaration = owner.constants[i].declaration;
        names.push_back(declaration.substr(0, declaration.find_first_of(" =")));
    }
    return names;
}

}  // namespace trvfuzz
