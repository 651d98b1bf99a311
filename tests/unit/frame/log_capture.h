#pragma once

// Catches what the code under test writes to the debugger channel. The test program has its own DebugOutput
// in place of the platform's, so nothing of it reaches the system.

#include <string>
#include <vector>

namespace trv::test {

/// While it lives, tracing is on and its lines are kept. One at a time; any thread may write.
class LogCapture {
  public:
    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    /// The messages so far, oldest first.
    [[nodiscard]] std::vector<std::string> Messages() const;
    /// The messages so far without "TRV Debug: ". Fails the test where one does not begin with it.
    [[nodiscard]] std::vector<std::string> Lines() const;
};

}  // namespace trv::test
