// The generator under libFuzzer, which mutates programs towards code that no other has reached. The
// environment variable TRV_FUZZ_HOST names the host (see configurations.cpp).

#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>

#include "configurations.h"
#include "program.h"
#include "watchdog.h"

namespace {

using namespace trvfuzz;

constexpr int kSecondsPerCall = 20;

Machine* machine = nullptr;  // lives to the very end, like what it stands on
std::filesystem::path scratch;

void Finish() {
    Say("calls " + std::to_string(machine->Calls()) + ", exceptions " +
        std::to_string(machine->Exceptions()) + ", yields " + std::to_string(machine->Yields()) +
        ", members " + std::to_string(machine->Members().size() - machine->Uncalled().size()) + " of " +
        std::to_string(machine->Members().size()));
    std::error_code ignored;
    std::filesystem::remove_all(scratch, ignored);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*count*/, char*** /*values*/) {
    const char* chosen = std::getenv("TRV_PLUGIN");
    const char* host = std::getenv("TRV_FUZZ_HOST");
    scratch = std::filesystem::temp_directory_path() / ("trv fuzz " + std::to_string(std::random_device()()));
    std::filesystem::create_directories(scratch);
    StartWatch(false, kSecondsPerCall);
    for (const Configuration& configuration : Configurations()) {
        if (configuration.name != (host != nullptr ? host : "desktop")) continue;
        machine = new Machine(chosen != nullptr ? chosen : TRV_PLUGIN_PATH, configuration.options, scratch);
    }
    if (machine == nullptr) {
        Say("TRV_FUZZ_HOST names no host");
        std::exit(2);
    }
    std::atexit(Finish);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string wrong = machine->Run({data, size});
    if (!wrong.empty()) Fail(wrong);
    return 0;
}
