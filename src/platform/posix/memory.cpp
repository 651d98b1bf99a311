#include "platform/memory.h"

#include <cstdlib>
#include <unistd.h>

#include "platform/faults.h"

namespace trv {

void* AllocateZeroed(int64_t bytes) {
    return bytes < 1 || Refused(Fault::ZeroedBlock) ? nullptr : std::calloc(1, static_cast<size_t>(bytes));
}

void FreeZeroed(void* block) {
    std::free(block);
}

int64_t PageSize() {
    return sysconf(_SC_PAGESIZE);
}

}  // namespace trv
