// The generator on numbers of its own, for a bounded time: trv_fuzz [--programs N] [--seed N] [--host NAME]
// [--digests] [FILE...]. A file is run as one program and told step by step, as the fuzzer leaves it behind.
// With --digests nothing depends on time or chance, and each program's results are told as one number.

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "configurations.h"
#include "program.h"
#include "watchdog.h"

namespace {

using namespace trvfuzz;

constexpr int kSecondsPerCall = 20;
constexpr size_t kProgramBytes = 2000;

struct Arguments {
    int programs = 60;
    unsigned seed = 1;
    std::string host;
    bool digests = false;
    std::vector<std::string> files;
};

Arguments Read(int count, char** values) {
    Arguments arguments;
    for (int i = 1; i < count; ++i) {
        const std::string word = values[i];
        const auto next = [&] { return i + 1 < count ? values[++i] : "0"; };
        if (word == "--programs") {
            arguments.programs = std::atoi(next());
        } else if (word == "--seed") {
            arguments.seed = static_cast<unsigned>(std::atoi(next()));
        } else if (word == "--host") {
            arguments.host = next();
        } else if (word == "--digests") {
            arguments.digests = true;
        } else {
            arguments.files.push_back(word);
        }
    }
    return arguments;
}

std::vector<uint8_t> RandomBytes(unsigned seed) {
    std::mt19937 random(seed);
    std::vector<uint8_t> bytes(kProgramBytes);
    for (uint8_t& byte : bytes)
        byte = static_cast<uint8_t>(random());
    return bytes;
}

void RunOne(Machine& machine, const std::vector<uint8_t>& bytes, const std::string& name) {
    const std::string wrong = machine.Run(bytes);
    if (!wrong.empty()) Fail(name + ": " + wrong);
}

class ScratchFolder {
  public:
    ScratchFolder()
        : path_(std::filesystem::temp_directory_path() /
                ("trv fuzz " + std::to_string(std::random_device()()))) {
        std::filesystem::create_directories(path_);
    }
    ~ScratchFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;
    [[nodiscard]] const std::filesystem::path& Path() const { return path_; }

  private:
    std::filesystem::path path_;
};

}  // namespace

int main(int count, char** values) {
    const Arguments arguments = Read(count, values);
    const char* chosen = std::getenv("TRV_PLUGIN");
    const std::filesystem::path plugin = chosen != nullptr ? chosen : TRV_PLUGIN_PATH;
    const ScratchFolder scratch;
    StartWatch(true, kSecondsPerCall);
    int64_t calls = 0;
    size_t uncalled = 0;
    for (const Configuration& configuration : Configurations()) {
        if (!arguments.host.empty() && arguments.host != configuration.name) continue;
        Machine machine(plugin, configuration.options, scratch.Path());
        if (arguments.digests) machine.MakeRepeatable();
        for (const std::string& file : arguments.files) {
            std::ifstream stream(file, std::ios::binary);
            RunOne(machine, {std::istreambuf_iterator<char>(stream), {}}, file);
            PrintProgram(file + ": nothing wrong");
        }
        if (!arguments.files.empty()) continue;
        for (int i = 0; i < arguments.programs; ++i) {
            const unsigned seed = arguments.seed + static_cast<unsigned>(i);
            RunOne(machine, RandomBytes(seed),
                   "--host " + configuration.name + " --programs 1 --seed " + std::to_string(seed));
            if (arguments.digests)
                Say(configuration.name + " " + std::to_string(seed) + " " +
                    std::to_string(machine.LastDigest().Value()));
        }
        Say(configuration.name + ": " + std::to_string(machine.Calls()) + " calls, " +
            std::to_string(machine.Exceptions()) + " exceptions, " + std::to_string(machine.Yields()) +
            " yields, members not called: " + std::to_string(machine.Uncalled().size()));
        calls += machine.Calls();
        uncalled += machine.Uncalled().size();
        for (const std::string& name : machine.Uncalled())
            Say("  " + name);
    }
    Say(std::to_string(calls) + " calls");
    // A member that no program reaches would be a hole in the net.
    return uncalled != 0 && !arguments.digests && arguments.files.empty() && arguments.programs >= 60 ? 1 : 0;
}
