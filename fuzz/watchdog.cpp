#include "watchdog.h"

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <thread>
#include <vector>

#include "quiet.h"

namespace trvfuzz {

namespace {

std::vector<std::string> steps;
std::atomic<int64_t> callNumber{0};  // even while none is under way
std::atomic<int> underWay{0};
int processorSeconds = 20;
constexpr int kWallFactor = 30;  // a machine may be busy with other things

double ProcessorTime() {
    return static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
}

void Watch() {
    int64_t seen = -1;
    double processorStart = 0;
    auto wallStart = std::chrono::steady_clock::now();
    while (true) {
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
        const int64_t now = callNumber;
        if (now != seen || underWay == 0) {
            seen = now;
            processorStart = ProcessorTime();
            wallStart = std::chrono::steady_clock::now();
            continue;
        }
        const auto wall = std::chrono::steady_clock::now() - wallStart;
        if (ProcessorTime() - processorStart > processorSeconds ||
            wall > std::chrono::seconds(processorSeconds * kWallFactor)) {
            Fail("the last call takes longer than " + std::to_string(processorSeconds) + " s");
        }
    }
}

void OnDeath() {
    PrintProgram("the sanitizer ends the program");
}

void OnSignal(int signal) {
    std::signal(signal, SIG_DFL);
    PrintProgram("signal " + std::to_string(signal));
    std::raise(signal);
}

}  // namespace

void BeginCall(std::string text) {
    steps.push_back(std::move(text));
    ++callNumber;
    ++underWay;
}

void EndCall() {
    ++callNumber;
    --underWay;
}

void ForgetSteps() {
    steps.clear();
}

void StartWatch(bool quiet, int seconds) {
    processorSeconds = seconds;
    KeepReports(quiet, OnDeath);
#ifndef TRV_FUZZ_SANITIZED
    for (const int signal : {SIGSEGV, SIGABRT, SIGFPE, SIGILL})
        std::signal(signal, OnSignal);
#else
    (void)OnSignal;
#endif
    std::thread(Watch).detach();
}

void PrintProgram(const std::string& reason) {
    std::string text;
    for (const std::string& step : steps)
        text += step + "\n";
    Say(text + "== " + reason);
}

void Fail(const std::string& reason) {
    PrintProgram(reason);
#ifndef TRV_FUZZ_SANITIZED
    std::signal(SIGABRT, SIG_DFL);
#endif
    std::abort();
}

void Say(const std::string& line) {
    WriteReport(line + "\n");
}

}  // namespace trvfuzz
