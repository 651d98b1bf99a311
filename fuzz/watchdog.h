#pragma once

// Keeps the text of the program under way, and ends the process with it when a call takes too long or
// anything else goes wrong.

#include <cstdint>
#include <string>

namespace trvfuzz {

/// Notes a step that begins; the clock of its time limit starts.
void BeginCall(std::string text);
/// The step has ended.
void EndCall();
/// Forgets the steps of the program before.
void ForgetSteps();

/// Where reports go: standard error as it was at the start, since the plug-in's debug log goes there too.
struct ReportPlace;

/// Starts the watch. `quiet` sends what the plug-in writes to standard error nowhere. A call may take
/// `seconds` of processor time.
void StartWatch(bool quiet, int seconds);

/// Writes the steps of the program under way, then `reason`.
void PrintProgram(const std::string& reason);

/// The same, and ends the process as a crash.
[[noreturn]] void Fail(const std::string& reason);

/// Writes a line where reports go.
void Say(const std::string& line);

}  // namespace trvfuzz
