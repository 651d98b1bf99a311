// How the program says that it could not do its work.
#pragma once

#include <string>

namespace trvhost::program {

/// Exit statuses.
inline constexpr int kFailed = 1;
inline constexpr int kNotUnderstood = 2;

/// Writes one line to standard error, whatever the name of a file has in it. Gives the status back.
int Complain(int status, std::string text);

}  // namespace trvhost::program
