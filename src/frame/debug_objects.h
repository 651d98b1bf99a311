#pragma once

// Printers of the trace for the host's things. Like all printers they do not test the switch themselves: a
// call stands behind `if (debugFlag)`.

#include "frame/class_tables.h"
#include "frame/host_types.h"

namespace trv {

/// Prefix, label, the string's address and its text.
void PrintString(const char* label, HostString string);
/// Prefix, the string's address and its text.
void PrintString(HostString string);
/// Prefix, label, the text object's address and its text, or that it has none.
void PrintText(const char* label, HostText text);

/// Says what is unexpected in the class data that the host gives an object of that class: no object, no
/// size, or another place than behind the host's 48 bytes.
void CheckClassData(HostObject instance, const ClassDefinition& definition);
/// The same for a control.
void CheckControlData(HostObject instance, const ClassDefinition& definition);

/// Shows a string of any encoding in the debugger channel as it is.
void DebugOutputString(HostString string);

}  // namespace trv
