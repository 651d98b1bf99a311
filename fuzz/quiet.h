#pragma once

// Where reports go, and where they do not.

#include <string>

namespace trvfuzz {

/// Keeps standard error as it is now for reports, the sanitizers' too. If `quiet`, what is written to
/// standard error from now on is lost. `onDeath` runs before a sanitizer ends the process.
void KeepReports(bool quiet, void (*onDeath)());

/// Writes a text where reports go.
void WriteReport(const std::string& text);

}  // namespace trvfuzz
