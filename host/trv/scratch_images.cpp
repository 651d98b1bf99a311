#include "scratch_images.h"

#include <filesystem>
#include <string>
#include <system_error>

#include "platform.h"

namespace trvhost::program {

ScratchImages::ScratchImages(const Host& host) : host_(host) {
    host_.CallShared("PictureFactoryTRV", "SetFactory",
                     host_.NewFactory([this](int64_t width, int64_t height, int64_t format) {
                         return Make(width, height, format);
                     }));
}

ScratchImages::~ScratchImages() {
    host_.CallShared("PictureFactoryTRV", "SetFactory", nullptr);
}

Ref ScratchImages::Make(int64_t width, int64_t height, int64_t format) {
    std::error_code failure;
    const std::filesystem::path folder = std::filesystem::temp_directory_path(failure);
    if (failure) return {};
    const std::filesystem::path file =
        folder / ("trv-" + std::to_string(ProcessId()) + "-" + std::to_string(++count_) + ".tmp");
    if (CreateNew(file)) return {};
    Ref image = host_.Construct("PictureTRV", width, height, format, 0, host_.NewFolderItem(file));
    // Where an open file can lose its name it does so at once, so that none is left behind however this
    // program ends. Elsewhere the plug-in deletes it.
    std::filesystem::remove(file, failure);
    return image;
}

}  // namespace trvhost::program
