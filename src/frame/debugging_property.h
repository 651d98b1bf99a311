#pragma once

// The switch of the debug log as a property: shared by PictureTRV, and a member of every module that is made
// here, so that a program finds it wherever it meets the plug-in.

#include "frame/class_tables.h"

namespace trv {

/// The table's entry of `Debugging`: a Boolean with code, hidden from lists of members.
[[nodiscard]] PropertyDefinition DebuggingProperty();

}  // namespace trv
