// Finding the member that a call means, and making the call.
#pragma once

#include <string_view>
#include <vector>

#include "core.h"
#include "trvhost/call.h"

namespace trvhost {

/// Which of a class's tables is meant.
enum class MemberScope { Instance, Shared };

/// All members with this declaration, or this bare name, of the class and those above it.
std::vector<Member> FindMembers(const Core& core, const ClassInfo& info, std::string_view nameOrDeclaration,
                                MemberScope scope);

/// Calls the member that fits the values, with its setter function if `setter`; the value is then the last of
/// `values`. Throws std::invalid_argument when none fits, or several do equally well.
Value CallMember(Core& core, const ClassInfo& info, void* self, std::string_view nameOrDeclaration,
                 MemberScope scope, bool setter, const std::vector<Value>& values);

/// The function of a member for a C++ signature. Throws std::invalid_argument when none fits.
void* FindTypedFunction(const Core& core, const ClassInfo& info, std::string_view nameOrDeclaration,
                        MemberScope scope, bool setter, detail::WireParameter result,
                        const std::vector<detail::WireParameter>& parameters);

}  // namespace trvhost
