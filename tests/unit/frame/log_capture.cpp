#include "unit/frame/log_capture.h"

#include <algorithm>
#include <cstdio>
#include <gtest/gtest.h>
#include <mutex>

#include "frame/debug_log.h"
#include "platform/debug_output.h"

namespace trv {

namespace {

std::mutex mutex;
bool capturing = false;
std::vector<std::string> messages;

}  // namespace

void DebugOutput(const char* message) {
    const std::lock_guard lock(mutex);
    if (capturing) {
        messages.emplace_back(message);
    } else {
        std::fprintf(stderr, "%s\n", message);
    }
}

namespace test {

LogCapture::LogCapture() {
    const std::lock_guard lock(mutex);
    messages.clear();
    capturing = true;
    debugFlag = 1;
}

LogCapture::~LogCapture() {
    const std::lock_guard lock(mutex);
    debugFlag = 0;
    capturing = false;
}

std::vector<std::string> LogCapture::Messages() const {
    const std::lock_guard lock(mutex);
    return messages;
}

std::vector<std::string> LogCapture::Lines() const {
    static const std::string kPrefix = "TRV Debug: ";
    std::vector<std::string> lines;
    for (const std::string& message : Messages()) {
        EXPECT_EQ(message.substr(0, kPrefix.size()), kPrefix);
        lines.push_back(message.substr(std::min(message.size(), kPrefix.size())));
    }
    return lines;
}

}  // namespace test

}  // namespace trv
