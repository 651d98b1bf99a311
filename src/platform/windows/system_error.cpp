#include "platform/system_error.h"

#include <windows.h>

namespace trv {

int64_t LastSystemError() {
    return GetLastError();
}

}  // namespace trv
