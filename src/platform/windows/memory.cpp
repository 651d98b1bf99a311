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

int64_t PageSize() {
    SYSTEM_INFO info{};
    GetSystemInfo(&info);
    return info.dwPageSize;
}

}  // namespace trv
