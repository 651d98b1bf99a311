#include "platform/clock_and_chance.h"

#include <cstdlib>
#include <ctime>
#include <sys/random.h>
#include <unistd.h>

namespace trv {

uint32_t TickCount() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<uint32_t>(static_cast<uint64_t>(now.tv_sec) * 1000 +
                                 static_cast<uint64_t>(now.tv_nsec) / 1'000'000);
}

bool SecureRandom(uint32_t& value) {
    // A system call for each value would cost more than the pixel it fills, so values are drawn in stretches.
    thread_local uint32_t pool[64];
    thread_local size_t left = 0;
    if (left == 0) {
        if (getrandom(pool, sizeof pool, 0) != static_cast<ssize_t>(sizeof pool)) return false;
        left = sizeof pool / sizeof pool[0];
    }
    value = pool[--left];
    return true;
}

void SeedPlainRandom() {
    std::srand(static_cast<uint32_t>(std::time(nullptr)) + 17U * static_cast<uint32_t>(getpid()));
}

uint32_t PlainRandom() {
    return static_cast<uint32_t>(std::rand());
}

}  // namespace trv
