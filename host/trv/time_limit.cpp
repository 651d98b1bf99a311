#include "time_limit.h"

#include <chrono>
#include <cstdlib>
#include <stdexcept>

#include "complaint.h"

namespace trvhost::program {

TimeLimit::TimeLimit(std::string complaint, int seconds)
    : text_(std::move(complaint) + ": it takes more than " + std::to_string(seconds) +
            " s of processor time (see --load-limit)"),
      seconds_(seconds),
      started_(std::clock()),
      thread_(&TimeLimit::Watch, this) {}

TimeLimit::~TimeLimit() {
    {
        const std::lock_guard lock(mutex_);
        ended_ = true;
    }
    changed_.notify_all();
    thread_.join();
}

void TimeLimit::Check() const {
    if (Exceeded()) throw std::runtime_error(text_);
}

bool TimeLimit::Exceeded() const {
    return static_cast<double>(std::clock() - started_) / CLOCKS_PER_SEC >= seconds_;
}

void TimeLimit::Watch() {
    constexpr std::chrono::milliseconds kInterval{50};
    std::unique_lock lock(mutex_);
    while (!changed_.wait_for(lock, kInterval, [this] { return ended_; })) {
        // The decoder's thread cannot be ended alone.
        if (Exceeded()) std::_Exit(Complain(kFailed, text_));
    }
}

}  // namespace trvhost::program
