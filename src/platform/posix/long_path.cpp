#include "platform/long_path.h"

namespace trv {

bool SystemMarksLongPaths() {
    return false;
}

}  // namespace trv
