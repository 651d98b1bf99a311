#pragma once

// Everything that the plug-in's class tables let a program call, read from the tables themselves: a member
// that is added there takes part without a word here.

#include <cstdint>
#include <string>
#include <vector>

#include "trvhost/declaration.h"
#include "trvhost/host.h"

namespace trvfuzz {

enum class MemberKind { Method, Setter, SharedMethod, Getter, PropertySetter, SharedGetter, SharedSetter };

struct Member {
    MemberKind kind = MemberKind::Method;
    std::string className;
    std::string declaration;  ///< a method's text, a property's name
    std::string name;
    std::vector<trvhost::Parameter> parameters;  ///< a setter's value comes last
    int64_t calls = 0;                           ///< how often it was called

    /// Whether it needs an object to be called on.
    [[nodiscard]] bool NeedsSelf() const {
        return kind != MemberKind::SharedMethod && kind != MemberKind::SharedGetter &&
               kind != MemberKind::SharedSetter;
    }
};

/// All members of all classes that the plug-in registered, in the order of the tables.
std::vector<Member> ReadMembers(const trvhost::Host& host);

/// The names of a class's constants.
std::vector<std::string> ReadConstants(const trvhost::Host& host, const std::string& className);

}  // namespace trvfuzz
