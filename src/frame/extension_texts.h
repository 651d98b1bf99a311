#pragma once

// Declarations of a class extension's methods, rewritten for hosts that take them as a module's methods with
// the object as first parameter.

#include <cstddef>
#include <memory>

namespace trv {

/// A text of its own, or null.
using OwnedText = std::unique_ptr<char[]>;

/// Most bytes that a rewritten declaration takes, its terminator included.
inline constexpr size_t kDeclarationBytes = 1000;

/// The declaration with a first parameter "extends ref as" the class. Parameters of its own follow behind a
/// comma; a method without them has no parentheses and gets them here:
///
///     "Sum(a as integer) as integer"  ->  "Sum(extends ref as Kind, a as integer) as integer"
///     "Size as integer"               ->  "Size(extends ref as Kind) as integer"
///     "Close"                         ->  "Close(extends ref as Kind)"
///
/// Null without a declaration or class name, without memory, and where the result is longer than
/// kDeclarationBytes: half a declaration would have the host call the function wrongly.
[[nodiscard]] OwnedText AddExtendsRef(const char* declaration, const char* className);

/// The declaration of a setter: the form of AddExtendsRef with the value as last parameter, whose type is
/// that of the result:
///
///     "Size as integer"  ->  "Size(extends ref as Kind, assigns value as integer)"
///
/// Null where AddExtendsRef or AddAssigns gives it.
[[nodiscard]] OwnedText AddAssignsValue(const char* declaration, const char* className);

/// The second step of AddAssignsValue: turns what stands behind the first closing parenthesis into the type
/// of a last parameter "assigns value". In a text without one the parameter goes before the first blank.
/// Null, with a line in the log, for a text that has neither.
[[nodiscard]] OwnedText AddAssigns(const char* declaration);

}  // namespace trv
