#pragma once

// One scale as its two passes see it, with the limits that keep them inside the images.
//
// A caller answers for a temp and a destination that are large enough. Where they are not, what has no place
// is left out: temp pixels beyond the bytes of a temp row, rows beyond an image's height, destination pixels
// beyond its width or without a temp pixel. Pictures kept as rows test their rows themselves.

#include <cstdint>

#include "image/picture_record.h"
#include "image/pixel_loop.h"
#include "image/store_overlap.h"
#include "scale/contributions.h"
#include "scale/families.h"

namespace trv {

struct ScaleTask {
    const ScaleFamily& family;
    PictureTRV& destination;
    PictureTRV& source;
    PictureTRV& temp;
    int64_t width;  // requested size, each at least 1
    int64_t height;

    /// Columns of the temp that the horizontal pass fills.
    [[nodiscard]] int64_t TempColumns() const;
    /// Rows of the source that the horizontal pass visits.
    [[nodiscard]] int64_t SourceRows() const;
    /// Columns and rows of the destination that the vertical pass visits.
    [[nodiscard]] int64_t DestinationColumns() const;
    [[nodiscard]] int64_t DestinationRows() const;
};

/// The shapes of a scale's three images. Host code that runs while a table or a pass gives it time can make
/// another image of a record; then the scale ends.
class ScaleShapes {
  public:
    explicit ScaleShapes(const ScaleTask& task)
        : source_(task.source), temp_(task.temp), destination_(task.destination) {}

    [[nodiscard]] bool AreThoseOf(const ScaleTask& task) const {
        return source_ == ImageShape(task.source) && temp_ == ImageShape(task.temp) &&
               destination_ == ImageShape(task.destination);
    }

  private:
    ImageShape source_;
    ImageShape temp_;
    ImageShape destination_;
};

/// Row `y` of an image, or null: where the reader says so, where the image has no such row, after the image
/// was closed.
[[nodiscard]] uint8_t* FetchInside(PictureTRV& record, int64_t y);

/// Whether a pass from `from` to `to` must go pixel by pixel in the defined order: the images share memory,
/// rows that are written lie over each other, or the log is on and a reader could have something to say in
/// it.
[[nodiscard]] bool NeedsPlainOrder(PictureTRV& from, PictureTRV& to);

}  // namespace trv
