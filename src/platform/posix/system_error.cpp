#include "platform/system_error.h"

#include <cerrno>

namespace trv {

int64_t LastSystemError() {
    return errno;
}

}  // namespace trv
