// Collects what the plug-in says to the debugger channel.
#pragma once

#include <memory>
#include <string>
#include <vector>

namespace trvhost {

/// While it lives, the lines that go to the debugger channel are kept instead of shown: standard error on
/// POSIX (a line ends at its newline), OutputDebugStringA on Windows (each call is a line). One at a time in
/// a process. What others write to standard error meanwhile is caught too.
class DebugCapture {
  public:
    DebugCapture();
    ~DebugCapture();
    DebugCapture(const DebugCapture&) = delete;
    DebugCapture& operator=(const DebugCapture&) = delete;

    /// All lines so far, oldest first, without newline.
    std::vector<std::string> Lines() const;
    /// How many lines contain the text.
    size_t Count(const std::string& text) const;
    bool Contains(const std::string& text) const { return Count(text) > 0; }
    /// Forgets the lines so far.
    void Clear();
    /// Sends a line to the debugger channel, as a plug-in would.
    static void Say(const std::string& line);

  private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace trvhost
