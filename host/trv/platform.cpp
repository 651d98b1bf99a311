#include "platform.h"

namespace trvhost::program {

std::string FormatList() {
    std::string list;
    for (const auto& [extension, format] : KnownFormats())
        list += (list.empty() ? "" : ", ") + extension;
    return list;
}

}  // namespace trvhost::program
