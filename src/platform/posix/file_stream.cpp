#include "platform/file_stream.h"

#include <cerrno>

namespace trv {

std::FILE* OpenStream(const char* path, const char* mode) {
    if (path != nullptr && mode != nullptr) return std::fopen(path, mode);
    errno = EINVAL;
    return nullptr;
}

}  // namespace trv
