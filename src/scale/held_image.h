#pragma once

// An image that workers use while the host has its time. The program may close the image meanwhile, so they
// get a record of their own, and the memory under it is held.

#include "frame/references.h"
#include "image/picture_record.h"

namespace trv {

class HeldImage {
  public:
    /// Of an open image that is not file-mapped and whose pixels are not a locked bitmap's.
    explicit HeldImage(const PictureTRV& image)
        : record_(image),
          memory_(ObjectReference::Share(image.MemoryTarget)),
          shared_(ObjectReference::Share(image.SharedMemory)),
          picture_(ObjectReference::Share(image.Target)) {}

    [[nodiscard]] PictureTRV& Record() { return record_; }

  private:
    PictureTRV record_;
    ObjectReference memory_;
    ObjectReference shared_;
    ObjectReference picture_;
};

}  // namespace trv
