#include "target_file.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <stdexcept>

#include "platform.h"

namespace trvhost::program {

namespace fs = std::filesystem;

namespace {

[[noreturn]] void Refuse(const fs::path& file, const std::string& reason) {
    throw std::runtime_error("cannot write " + ToText(file) + ": " + reason);
}

/// Removes the file at the end, also at an end by an interrupt, unless it has got its final name.
class Temporary {
  public:
    explicit Temporary(fs::path file) : file_(std::move(file)) { RemoveIfInterrupted(file_); }
    ~Temporary() {
        std::error_code ignored;
        fs::remove(file_, ignored);
        RemoveIfInterrupted({});
    }
    Temporary(const Temporary&) = delete;
    Temporary& operator=(const Temporary&) = delete;

    const fs::path& File() const { return file_; }

  private:
    const fs::path file_;
};

/// Makes an empty file of the same extension beside the target.
fs::path CreateBeside(const fs::path& target) {
    for (int attempt = 0;; ++attempt) {
        const std::string unlike = ".trv-" + std::to_string(ProcessId()) + "-" + std::to_string(attempt);
        fs::path file = target.parent_path() / target.stem();
        file += unlike;
        file += target.extension();
        const std::error_code error = CreateNew(file);
        if (!error) return file;
        constexpr int kAttempts = 100;
        if (error != std::errc::file_exists || attempt == kAttempts)
            throw std::runtime_error(error.message());
    }
}

}  // namespace

TargetFile::TargetFile(const fs::path& file) : shown_(file) {
    std::error_code error;
    file_ = fs::weakly_canonical(fs::absolute(file), error);
    if (error) Refuse(file, error.message());
    if (file_.filename().empty()) Refuse(file, "it is a folder");
    const fs::file_status status = fs::status(file_, error);
    exists_ = fs::exists(status);
    if (exists_) {
        if (fs::is_directory(status)) Refuse(file, "it is a folder");
        if (!fs::is_regular_file(status)) Refuse(file, "it is no ordinary file");
        // Putting another file in its place would need no permission of this one's.
        if (!std::ofstream(file_, std::ios::binary | std::ios::app)) Refuse(file, std::strerror(errno));
    } else if (!fs::is_directory(file_.parent_path(), error)) {
        Refuse(file, "there is no such folder");
    }
}

void TargetFile::Write(const std::function<void(const fs::path&)>& write) const {
    try {
        const Temporary temporary(CreateBeside(file_));
        write(temporary.File());
        std::error_code error;
        if (exists_) fs::permissions(temporary.File(), fs::status(file_).permissions(), error);
        fs::rename(temporary.File(), file_, error);
        if (error) throw std::runtime_error(error.message());
    } catch (const std::runtime_error& e) {
        Refuse(shown_, e.what());
    }
}

std::string TargetFile::Format() const {
    std::string format = ToText(file_.extension());
    if (!format.empty()) format.erase(0, 1);
    std::transform(format.begin(), format.end(), format.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    return format;
}

}  // namespace trvhost::program
