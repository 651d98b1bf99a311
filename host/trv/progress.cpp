#include "progress.h"

#include <algorithm>
#include <cstdio>

#include "platform.h"

namespace trvhost::program {

namespace {

constexpr std::chrono::milliseconds kPatience{1000};
constexpr std::chrono::milliseconds kInterval{200};

}  // namespace

Progress::Progress() : started_(std::chrono::steady_clock::now()) {
    if (ErrorIsTerminal()) thread_ = std::thread(&Progress::Run, this);
}

Progress::~Progress() {
    if (!thread_.joinable()) return;
    {
        const std::lock_guard lock(mutex_);
        ended_ = true;
    }
    changed_.notify_all();
    thread_.join();
    if (longest_ == 0) return;
    std::fprintf(ErrorStream(), "\r%*s\r", static_cast<int>(longest_), "");
    std::fflush(ErrorStream());
}

void Progress::Stage(std::string text) {
    const std::lock_guard lock(mutex_);
    stage_ = std::move(text);
}

void Progress::Run() {
    std::unique_lock lock(mutex_);
    std::chrono::milliseconds wait = kPatience;
    while (!changed_.wait_for(lock, wait, [this] { return ended_; })) {
        Show();
        wait = kInterval;
    }
}

void Progress::Show() {
    const auto elapsed = std::chrono::steady_clock::now() - started_;
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(elapsed).count();
    const std::string line = stage_ + " ... " + std::to_string(seconds) + " s";
    if (line == shown_) return;
    // The blanks cover what a longer line has left behind.
    std::fprintf(ErrorStream(), "\r%-*s", static_cast<int>(longest_), line.c_str());
    std::fflush(ErrorStream());
    longest_ = std::max(longest_, line.size());
    shown_ = line;
}

}  // namespace trvhost::program
