#include "trvhost/debug_capture.h"

#include <algorithm>

namespace trvhost {

size_t DebugCapture::Count(const std::string& text) const {
    const std::vector<std::string> lines = Lines();
    return static_cast<size_t>(std::count_if(lines.begin(), lines.end(), [&](const std::string& line) {
        return line.find(text) != std::string::npos;
    }));
}

}  // namespace trvhost
