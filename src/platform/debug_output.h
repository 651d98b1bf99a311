#pragma once

// The debugger channel, where diagnostics go while no log file is open.

namespace trv {

/// Hands one message to the debugger channel. Where that channel is a stream (standard error), the message is
/// ended by a newline, so that a reader can tell messages apart.
void DebugOutput(const char* message);

/// The same for a text of any characters, given in two encodings, of which the channel takes its own.
void DebugOutputUnicode(const char16_t* utf16, const char* utf8);

}  // namespace trv
