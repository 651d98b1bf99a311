// What verbs of filters have in common.
#pragma once

#include <utility>

#include "picture_job.h"

namespace trvhost::program {

/// The colours of an image without its alpha, as a view where there is alpha.
inline Ref ColoursOf(const PictureJob& job, const Ref& image) {
    return job.TheHost().Get<bool>(image, "HasAlpha") ? job.Make(image, "RGBChannels") : image;
}

/// A copy of an image.
inline Ref CopyOf(const PictureJob& job, const Ref& image) {
    Ref copy = job.NewImageLike(image, job.SizeOf(image));
    job.Do(copy, "CopyPixels", image);
    return copy;
}

/// Runs a filter on the colours alone, and gives an image with them and the alpha of the old one. The filters
/// treat alpha as one more channel, so that most pictures would vanish.
template <class... Args>
Ref FilterColours(const PictureJob& job, const Ref& image, const std::string& method, Args&&... args) {
    Ref target = CopyOf(job, image);
    const Ref made =
        job.Make(ColoursOf(job, image), method, ColoursOf(job, target), std::forward<Args>(args)...);
    static_cast<void>(made);
    return target;
}

/// The same by a filter that gives a new image whatever its destination is.
template <class... Args>
Ref FilterColoursAnew(const PictureJob& job, const Ref& image, const std::string& method, Args&&... args) {
    Ref target = CopyOf(job, image);
    job.Do(target, "CopyPixels",
           job.Make(ColoursOf(job, image), method, nullptr, std::forward<Args>(args)...));
    return target;
}

}  // namespace trvhost::program
