#include "library.h"

#include <deque>
#include <random>
#include <set>
#include <stdexcept>
#include <string>

#include "image_file.h"

namespace trvhost {

std::filesystem::path FreshFile(const std::filesystem::path& file, bool& isCopy) {
    static std::set<std::filesystem::path> loaded;
    std::error_code error;
    std::filesystem::path canonical = std::filesystem::canonical(file, error);
    if (error) throw std::runtime_error("cannot load " + FileText(file) + ": " + error.message());
    isCopy = !loaded.insert(canonical).second;
    if (!isCopy) return canonical;
    static std::random_device random;
    const std::string name = "trvhost-" + std::to_string(random()) + "-" + std::to_string(random());
    std::filesystem::path copy =
        std::filesystem::temp_directory_path() / (name + canonical.extension().string());
    if (!std::filesystem::copy_file(canonical, copy, error)) {
        throw std::runtime_error("cannot copy " + FileText(file) + " to " + FileText(copy) + ": " +
                                 error.message());
    }
    return copy;
}

void* Retire(void* handle) {
    constexpr size_t kWaiting = 8;
    static std::deque<void*> retired;
    retired.push_back(handle);
    if (retired.size() <= kWaiting) return nullptr;
    void* oldest = retired.front();
    retired.pop_front();
    return oldest;
}

}  // namespace trvhost
