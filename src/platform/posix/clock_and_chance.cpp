#include "platform/clock_and_chance.h"

#include <algorithm>
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

bool SecureRandomBytes(uint8_t* bytes, size_t count) {
    // The system never cuts requests of up to 256 bytes short.
    for (size_t done = 0; done < count;) {
        const size_t wanted = std::min<size_t>(count - done, 256);
        if (getrandom(bytes + done, wanted, 0) != static_cast<ssize_t>(wanted)) return false;
        done += wanted;
    }
    return true;
}

void SeedPlainRandom() {
    std::srand(static_cast<uint32_t>(std::time(nullptr)) + 17U * static_cast<uint32_t>(getpid()));
}

uint32_t PlainRandom() {
    return static_cast<uint32_t>(std::rand());
}

}  // namespace trv
