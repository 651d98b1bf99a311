#include "filters/box_blur.h"

#include <algorithm>
#include <cstring>

#include "filters/box_blur_task.h"
#include "filters/filter_frame.h"
#include "frame/debug_log.h"
#include "image/checked_math.h"
#include "image/row_pair.h"

namespace trv {

namespace {

/// A table of all quotients, 256 words of 8 bytes for each pixel of the window, would leave the address space
/// from this radius on; nothing is blurred then on any machine.
constexpr int64_t kEndOfRadius = int64_t{1} << 35;

/// Passes that are made in any case, each with an image of the factory's own.
constexpr int64_t kPassesInAnyCase = 1000;

template <class F>
void LogFamily() {
    TRV_LOG((FamilyLabel<"BoxBlurFilter", F>()));
    TRV_LOG(F::hasAlpha ? "HasAlpha an" : "HasAlpha aus");
    TRV_LOG(F::family == Family::Rgb ? "HasRGB an" : "HasRGB aus");
    TRV_LOG(F::family == Family::Cmyk ? "HasCMYK an" : "HasCMYK aus");
    TRV_LOG(F::family == Family::Gray ? "HasGray an" : "HasGray aus");
}

template <class F>
void BlurFamily(PictureTRV& source, PictureTRV& dest, int64_t radius, bool vertical, bool horizontal) {
    LogFamily<F>();
    TRV_LOG("Height", source.Height, dest.Height);
    TRV_LOG("Width", source.Width, dest.Width);
    // The table divides by the window of a radius of at least 1.
    const int64_t tableSize = SaturatedAdd(SaturatedMultiply(std::max<int64_t>(radius, 1), 2), 1);
    TRV_LOG("r", radius);
    TRV_LOG("tableSize", tableSize);
    TRV_LOG("divideCount", SaturatedMultiply(tableSize, 256));
    if (radius >= kEndOfRadius) return;
    const BoxBlurTask task{.source = source,
                           .dest = dest,
                           .sourcePlaces = PlacesOf<F>(source),
                           .destPlaces = PlacesOf<F>(dest),
                           .radius = radius,
                           .divisor = tableSize,
                           .vertical = vertical,
                           .horizontal = horizontal};
    if (debugFlag != 0 || !BoxBlurFast(task)) BoxBlurPlain(task);
}

/// Whether two images of the same object chain look alike byte for byte, so that one more pass between images
/// of their kind changes nothing.
bool LookAlike(PictureTRV& a, PictureTRV& b) {
    if (!SameLayout(a, b) || a.ImageFormat != b.ImageFormat || a.Width != b.Width || a.Height != b.Height)
        return false;
    RowPair rows(a, b);
    for (int64_t y = 0; y < a.Height; ++y) {
        if (!rows.Fetch(y, y)) continue;
        if (std::memcmp(rows.from, rows.to, static_cast<size_t>(a.Width * a.PixelSize)) != 0) return false;
    }
    return true;
}

/// A number of passes behind which no image of this size can change any more: the region of its highest value
/// shrinks from pass to pass until the highest value is less, at most 255 times.
int64_t PassesToRest(const PictureTRV& image) {
    return SaturatedAdd(kPassesInAnyCase,
                        SaturatedMultiply(SaturatedAdd(image.Width, image.Height), int64_t{256}));
}

}  // namespace

HostObject rbBoxBlurFilter(HostObject me, HostObject dest, double radius, Boolean vertical,
                           Boolean horizontal) {
    TRV_LOG("BoxBlurFilter", radius);
    const auto work = [&](PictureTRV& source, PictureTRV& target) {
        // Else there is no window at all; a NaN lands there too.
        const bool possible = radius > -1.0 || (vertical == 0 && horizontal == 0);
        const auto r = SaturatedTruncate<int64_t>(radius);
        const bool served = DispatchFamily(source, [&]<class F>(F) {
            if (possible) BlurFamily<F>(source, target, r, vertical != 0, horizontal != 0);
        });
        return possible || !served;
    };
    return RunFilter(me, dest, {FilterTest::Valid, FilterTest::ByteSamples}, work);
}

HostObject rbBoxBlurFilterIterations(HostObject me, HostObject dest, double radius, int64_t iterations,
                                     Boolean vertical, Boolean horizontal) {
    TRV_LOG("BoxBlurFilter2", SaturatedTruncate<int64_t>(radius), iterations);
    ObjectReference current = ObjectReference::Share(me);
    if (iterations < 1 || !current) return current.Release();
    const int64_t passes = std::min(iterations, PassesToRest(*RecordOf(me)));
    for (int64_t pass = 0; pass < passes; ++pass) {
        HostObject to = pass == 0 ? dest : nullptr;
        ObjectReference result(rbBoxBlurFilter(current.Get(), to, radius, vertical, horizontal));
        if (!result) return nullptr;
        const bool rests =
            pass >= kPassesInAnyCase && LookAlike(*RecordOf(current.Get()), *RecordOf(result.Get()));
        current = std::move(result);
        if (rests) break;
    }
    return current.Release();
}

}  // namespace trv
