#pragma once

// Registration of what is not a class: extensions of the host's classes, global methods, controls, modules.
// The plug-in's two classes need none of it; it is for tables to come.
//
// Everything given here is changed in place, as RegisterClass does it, and stays in use by the host for the
// life of the process; so does what is made here. Hosts from 2013.0 to below 3000.0 want extensions and
// global methods as a module, which is made of the table.

#include <cstdint>

#include "frame/class_tables.h"

namespace trv {

/// Registers methods for objects of the class that the definition names; properties and the rest of the
/// definition only reach hosts that take the definition itself. As a module it is called by the class's name,
/// the library's and "ExtensionTRV", and has for each method an entry for its setter, if there is one, and
/// behind it one for its function, with declarations by AddAssignsValue and AddExtendsRef; nothing is
/// registered if there are no methods, no memory, or a declaration that cannot be rewritten.
void RegisterClassExtension(ClassDefinition& definition);

/// Registers `count` methods that need no object. As a module it is called by the library's name and
/// "GlobalsTRV"; nothing is registered if there is no memory for it.
void RegisterGlobalMethods(MethodDefinition* methods, int64_t count);

/// Registers a control. One with kControlWithNewEvents loses its first five events, and three of the others
/// get the names that they have in such controls.
void RegisterControl(ControlDefinition& definition);

/// Registers a module. Members that say nothing of how they are seen become members of the module; a count
/// without its array becomes 0, as no host could follow it.
void RegisterModule(ModuleDefinition& definition);

}  // namespace trv
