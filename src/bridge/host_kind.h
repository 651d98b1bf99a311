#pragma once

// What kind of program the host runs, which decides the ways to a picture's pixels that may be tried. Learned
// from the classes that the host knows, and from what pictures were locked as; never unlearned.

#include "frame/host_types.h"

namespace trv {

/// A console or web program, whose pictures are gd images.
extern bool IsConsole;
/// A desktop program, whose pictures belong to the window system.
extern bool IsDesktop;

/// Looks for the host's application classes, once in a process.
void DetermineHostKind();

/// Learns from a picture that could be locked as `type`.
void LearnHostKind(PictureType type);

/// Forgets what is known, as if the process had just begun; for tests, which play several hosts in one
/// process.
void ForgetHostKind();

}  // namespace trv
