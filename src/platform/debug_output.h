#pragma once

// The debugger channel, where diagnostics go while no log file is open.

namespace trv {

/// Hands one message to the debugger channel. Where that channel is a stream (standard error), the message is
/// ended by a newline, so that a reader can tell messages apart.
void DebugOutput(const char* message);

}  // namespace trv
