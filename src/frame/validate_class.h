#pragma once

// A tool for the writers of tables: tells what is wrong with a class before a host trips over it.

#include <cstdint>

#include "frame/class_tables.h"

namespace trv {

/// Goes through the class's attributes, constants, methods, delegates, events and properties, the shared ones
/// included, and writes a line for each fault, whether `Debugging` is on or not. The line names the class,
/// the member by its name or declaration, or its index where it has neither, and what is wrong. A count above
/// 10000 (or below 0) is a fault, and its array is then not looked at; entries of an array that is missing
/// count as empty. The host's layout of a class has no place for delegates, so they are given beside it.
void ValidateClass(const ClassDefinition& definition, const DelegateDefinition* delegates = nullptr,
                   int64_t delegateCount = 0);

}  // namespace trv
