// Images in scratch files, for pictures that memory has no room for.
#pragma once

#include <cstdint>

#include "trvhost/host.h"

namespace trvhost::program {

/// While it lives, every image that operations ask for, and that CreatePictureTRV makes, lies in a scratch
/// file of its own in the system's folder for such files, with a window in memory.
class ScratchImages {
  public:
    /// Makes itself the plug-in's global factory.
    explicit ScratchImages(const Host& host);
    ~ScratchImages();
    ScratchImages(const ScratchImages&) = delete;
    ScratchImages& operator=(const ScratchImages&) = delete;

  private:
    Ref Make(int64_t width, int64_t height, int64_t format);

    const Host& host_;
    int64_t count_ = 0;
};

}  // namespace trvhost::program
