#include "platform/memory.h"

#include <cstdint>
#include <cstdlib>
#include <sys/mman.h>
#include <unistd.h>

#include "platform/faults.h"

namespace trv {

void* AllocateZeroed(int64_t bytes) {
    if (bytes < 1 || Refused(Fault::ZeroedBlock)) return nullptr;
    void* block = std::calloc(1, static_cast<size_t>(bytes));
    if (block != nullptr) PreferLargePages(block, bytes);
    return block;
}

void FreeZeroed(void* block) {
    std::free(block);
}

void PreferLargePages(void* memory, int64_t bytes) {
    constexpr uintptr_t kLargePage = uintptr_t{2} << 20;
    const auto start = reinterpret_cast<uintptr_t>(memory);
    const uintptr_t first = (start + kLargePage - 1) & ~(kLargePage - 1);
    const uintptr_t end = (start + static_cast<uintptr_t>(bytes)) & ~(kLargePage - 1);
    if (first < end) madvise(reinterpret_cast<void*>(first), end - first, MADV_HUGEPAGE);
}

int64_t PageSize() {
    return sysconf(_SC_PAGESIZE);
}

}  // namespace trv
