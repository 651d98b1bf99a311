// A line for a person who waits.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

namespace trvhost::program {

/// Once a second has passed, tells on standard error what is going on and for how long already, and wipes its
/// line at the end. Does nothing where standard error is no terminal.
class Progress {
  public:
    Progress();
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// What is going on from now on: "loading photo.jpg".
    void Stage(std::string text);

  private:
    void Run();
    void Show();

    std::mutex mutex_;
    std::condition_variable changed_;
    std::string stage_;
    bool ended_ = false;
    std::string shown_;
    size_t longest_ = 0;  // line so far
    std::chrono::steady_clock::time_point started_;
    std::thread thread_;
};

}  // namespace trvhost::program
