#pragma once

// The two-pass scaler: `Scale`, and its steps for the threaded scaler to reuse.
//
// A scale goes through a front end that tests the arguments, the choice of a pixel family, the temp that the
// caller gave or CreatePicture makes, and a driver that builds a contribution table before each of the two
// passes.

#include <cstdint>

#include "frame/host_types.h"
#include "image/picture_record.h"
#include "scale/families.h"
#include "scale/pass_support.h"
#include "scale/scale_task.h"

namespace trv {

/// What a scale was asked for. The objects are borrowed; temp may be nil.
struct ScaleRequest {
    HostObject destination;
    HostObject source;
    HostObject temp;
    int64_t mode;
    int64_t width;  // at least 1 where a request has passed the front end
    int64_t height;
};

/// How a driver has its passes done.
class PassRunner {
  public:
    virtual ~PassRunner() = default;
    /// All rows of the source, all requested rows of the destination.
    virtual void Horizontal(const RowPass& pass, const ScaleTask& task) = 0;
    virtual void Vertical(const RowPass& pass, const ScaleTask& task) = 0;
    /// Whether the host gets its time while tables are built.
    [[nodiscard]] virtual bool Yields() const = 0;
};

/// The family that serves the request, or null with a diagnostic where an image is not valid.
[[nodiscard]] const ScaleFamily* SelectFamily(const ScaleRequest& request);

/// Logs the start of a family's work: its name with the size, and the size of MyPixel.
void LogFamily(const ScaleFamily& family, const ScaleRequest& request);

/// Who can see a temp: the program too, or the driver alone, which then need not leave anything in it.
enum class TempKind { Shared, Private };

/// The kind of a temp that CreatePicture is about to make for the source.
[[nodiscard]] TempKind KindOfNewTemp(const PictureTRV& source);

/// The driver, from a source into the destination by way of `temp`. False, with a diagnostic, when an image
/// cannot be worked on, is too large for a table, or there is no memory for one.
[[nodiscard]] bool RunDriver(const ScaleFamily& family, const ScaleRequest& request, HostObject temp,
                             TempKind tempKind, PassRunner& runner);

/// Writes a resampled copy of the source into the destination; false, with a diagnostic, for a request that
/// cannot be served. Repeats itself for as long as a factory answers with a temp of the wrong format.
[[nodiscard]] bool Scale(const ScaleRequest& request);

/// The host method `Scale`.
Boolean rbScale(HostObject me, HostObject source, HostObject temp, int64_t mode, int64_t width,
                int64_t height);

}  // namespace trv
