#define _CRT_RAND_S  // rand_s is declared only on request
#include "platform/clock_and_chance.h"

#include <cstdlib>
#include <ctime>
#include <windows.h>

namespace trv {

uint32_t TickCount() {
    return GetTickCount();
}

bool SecureRandom(uint32_t& value) {
    unsigned int drawn = 0;
    if (rand_s(&drawn) != 0) return false;
    value = drawn;
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
