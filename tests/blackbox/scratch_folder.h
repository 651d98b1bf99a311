#pragma once

// A place on disk for tests that need files.

#include <atomic>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <random>
#include <string>

namespace trvtest {

/// A new folder, gone with all that is in it at the end.
class ScratchFolder {
  public:
    ScratchFolder() {
        static std::atomic<int> number = 0;
        path_ = std::filesystem::temp_directory_path() /
                ("trv scratch " + std::to_string(std::random_device()()) + " " + std::to_string(number++));
        std::filesystem::create_directories(path_);
    }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;
    ~ScratchFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }

    [[nodiscard]] const std::filesystem::path& Path() const { return path_; }
    [[nodiscard]] std::filesystem::path operator/(const std::filesystem::path& name) const {
        return path_ / name;
    }
    /// Number of files and folders in it.
    [[nodiscard]] int64_t Count() const {
        return std::distance(std::filesystem::directory_iterator(path_), {});
    }
    std::filesystem::path Write(const std::filesystem::path& name, const std::string& contents) const {
        std::ofstream(path_ / name, std::ios::binary) << contents;
        return path_ / name;
    }
    [[nodiscard]] std::string Read(const std::filesystem::path& name) const {
        std::ifstream file(path_ / name, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

  private:
    std::filesystem::path path_;
};

}  // namespace trvtest
