#include "pillow.h"

#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace trvbench {
namespace {

/// A Python process that works on request. It answers each line with a line; that takes microseconds.
class Worker {
  public:
    Worker() {
        int requests[2];
        int answers[2];
        if (pipe(requests) != 0 || pipe(answers) != 0) throw std::runtime_error("no pipe for Pillow");
        const pid_t child = fork();
        if (child < 0) throw std::runtime_error("no process for Pillow");
        if (child == 0) {
            dup2(requests[0], STDIN_FILENO);
            dup2(answers[1], STDOUT_FILENO);
            close(requests[1]);
            close(answers[0]);
            // The system's own Python: its Pillow is the package that was installed for this.
            execl("/usr/bin/python3", "python3", TRV_BENCH_FOLDER "/pillow_worker.py", nullptr);
            _exit(127);
        }
        close(requests[0]);
        close(answers[1]);
        requests_ = fdopen(requests[1], "w");
        answers_ = fdopen(answers[0], "r");
    }

    std::string Ask(const std::string& request) {
        std::fprintf(requests_, "%s\n", request.c_str());
        std::fflush(requests_);
        char answer[256];
        if (std::fgets(answer, sizeof(answer), answers_) == nullptr)
            throw std::runtime_error("Pillow's process ended");
        std::string text = answer;
        text.pop_back();
        return text;
    }

  private:
    // Both ends close with this program, which ends the worker.
    std::FILE* requests_;
    std::FILE* answers_;
};

Worker& TheWorker() {
    static Worker worker;
    return worker;
}

}  // namespace

Work PillowWork(const std::string& setup, const std::string& expression) {
    const std::string answer = TheWorker().Ask("setup " + setup);
    if (answer != "ok") throw std::runtime_error("Pillow: " + answer);
    return [=] {
        const std::string outcome = TheWorker().Ask("run " + expression);
        if (outcome != "ok") throw std::runtime_error("Pillow: " + outcome);
    };
}

Work PillowWork(Layout layout, Size size, const std::string& expression) {
    return PillowWork(std::string("image = noise('") + PillowMode(layout) + "', " +
                          std::to_string(size.width) + ", " + std::to_string(size.height) + ")",
                      expression);
}

std::string PillowVersion() {
    return TheWorker().Ask("version ");
}

}  // namespace trvbench
