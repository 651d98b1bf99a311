#pragma once

// A picture's description, locked for as long as somebody needs the pixels.

#include <algorithm>
#include <cstdint>

#include "frame/host_types.h"

namespace trv {

/// Whether the host's pictures may be Direct2D bitmaps: above version 2016.03.
[[nodiscard]] bool HostHasDirect2D();

/// Holds one description lock, or none if the host refused it. A lock says that the picture can be reached as
/// the wanted type; what the description says must be looked at all the same.
class DescriptionLock {
  public:
    /// Locks `pic`, which stays the caller's and must outlive the lock. What the lock tells about the host is
    /// learned.
    DescriptionLock(HostObject pic, PictureType wanted);
    ~DescriptionLock();
    DescriptionLock(const DescriptionLock&) = delete;
    DescriptionLock& operator=(const DescriptionLock&) = delete;

    /// Whether the host locked the picture.
    explicit operator bool() const { return locked_; }
    [[nodiscard]] const PictureDescription& Description() const { return description_; }
    /// Whether the description is of the type asked for.
    [[nodiscard]] bool HasWantedType() const { return description_.pictureType == wanted_; }
    [[nodiscard]] void* Data() const { return description_.pictureData; }
    /// Size in pixels; a negative one counts as 0.
    [[nodiscard]] int64_t Width() const { return std::max(description_.width, 0); }
    [[nodiscard]] int64_t Height() const { return std::max(description_.height, 0); }

    /// Leaves the unlocking to the caller.
    void Keep() { locked_ = false; }

  private:
    HostObject pic_;
    PictureType wanted_;
    PictureDescription description_{};
    bool locked_;
};

}  // namespace trv
