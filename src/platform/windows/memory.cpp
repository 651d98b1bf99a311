#include "platform/memory.h"

#include <windows.h>

#include "platform/faults.h"

namespace trv {

void* AllocateZeroed(int64_t bytes) {
    if (bytes < 1 || Refused(Fault::ZeroedBlock)) return nullptr;
    return GlobalAlloc(GMEM_FIXED | GMEM_ZEROINIT, static_cast<SIZE_T>(bytes));
}

void FreeZeroed(void* block) {
    if (block != nullptr) GlobalFree(block);
}

void PreferLargePages(void* /*memory*/, int64_t /*bytes*/) {
    // Large pages are a privilege here, which programs do not have.
}

int64_t PageSize() {
    SYSTEM_INFO info{};
    GetSystemInfo(&info);
    return info.dwPageSize;
}

}  // namespace trv
