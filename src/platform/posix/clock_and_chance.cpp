#include "platform/clock_and_chance.h"

#include <cerrno>
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
    // Long requests can be cut short by a signal.
    for (size_t done = 0; done < count;) {
        const ssize_t got = getrandom(bytes + done, count - done, 0);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) return false;
        done += static_cast<size_t>(got);
    }
    return true;
}

bool DrawsEachValueStrongly() {
    return false;
}

void SeedPlainRandom() {
    std::srand(static_cast<uint32_t>(std::time(nullptr)) + 17U * static_cast<uint32_t>(getpid()));
}

uint32_t PlainRandom() {
    return static_cast<uint32_t>(std::rand());
}

}  // namespace trv
