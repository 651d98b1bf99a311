#define _CRT_RAND_S  // rand_s is declared only on request
#include "platform/clock_and_chance.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <windows.h>

namespace trv {

uint32_t TickCount() {
    return GetTickCount();
}

bool SecureRandomBytes(uint8_t* bytes, size_t count) {
    for (size_t done = 0; done < count;) {
        unsigned int drawn = 0;
        if (rand_s(&drawn) != 0) return false;
        const size_t wanted = std::min(count - done, sizeof drawn);
        std::memcpy(bytes + done, &drawn, wanted);
        done += wanted;
    }
    return true;
}

bool DrawsEachValueStrongly() {
    return true;
}

void SeedPlainRandom() {
    std::srand(static_cast<uint32_t>(std::time(nullptr)) +
               17U * static_cast<uint32_t>(GetCurrentProcessId()));
}

uint32_t PlainRandom() {
    return static_cast<uint32_t>(std::rand());
}

}  // namespace trv
