#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

#include "cases.h"

namespace trvbench {
namespace {

/// A Python process that scales on request. It answers each line with a line; that takes microseconds.
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

Work ScaleWithPillow(const ScaleCase& scale) {
    // "RGBa" is colour already multiplied by alpha; "RGBA" would be multiplied and divided around the
    // scaling, which is more than the others do.
    const char* mode = scale.layout == Layout::Gray ? "L" : scale.layout == Layout::Rgb ? "RGB" : "RGBa";
    const char* filter = scale.filter == Filter::Triangle ? "BILINEAR" : "LANCZOS";
    char request[128];
    std::snprintf(request, sizeof(request), "open %s %d %d %d %d %s", mode, scale.from.width,
                  scale.from.height, scale.to.width, scale.to.height, filter);
    const std::string answer = TheWorker().Ask(request);
    if (answer != "ok") throw std::runtime_error("Pillow: " + answer);
    return [] { TheWorker().Ask("run"); };
}

std::string PillowVersion() {
    return TheWorker().Ask("version");
}

}  // namespace trvbench
