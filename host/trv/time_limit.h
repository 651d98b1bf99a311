// An end for work that cannot be asked to stop, such as a decoder over a hostile file.
#pragma once

#include <condition_variable>
#include <ctime>
#include <mutex>
#include <string>
#include <thread>

namespace trvhost::program {

/// While it lives, the program may use so many seconds of processor time; beyond them it ends with a line on
/// standard error and exit status 1. Processor time, so that a busy machine makes no difference. Nothing that
/// has to be undone may lie around meanwhile, as nothing is.
class TimeLimit {
  public:
    /// `complaint` is what has failed: "cannot load photo.jpg".
    TimeLimit(std::string complaint, int seconds);
    ~TimeLimit();
    TimeLimit(const TimeLimit&) = delete;
    TimeLimit& operator=(const TimeLimit&) = delete;

    /// Throws std::runtime_error with the same text if the time was used up and nobody noticed yet.
    void Check() const;

  private:
    [[nodiscard]] bool Exceeded() const;
    void Watch();

    const std::string text_;
    const double seconds_;
    const std::clock_t started_;
    std::mutex mutex_;
    std::condition_variable changed_;
    bool ended_ = false;
    std::thread thread_;
};

}  // namespace trvhost::program
