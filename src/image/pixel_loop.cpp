#include "image/pixel_loop.h"

#include <algorithm>
#include <limits>

#include "frame/debug_log.h"
#include "frame/host_calls.h"
#include "image/checked_math.h"
#include "platform/clock_and_chance.h"

namespace trv {

namespace {

/// The channels that the packed layouts are made of.
constexpr std::array kColourChannels = {Channel::Gray, Channel::Red, Channel::Green, Channel::Blue,
                                        Channel::Alpha};

/// A coordinate or size while it is clipped. Callers may have chosen any 64-bit number, of which a few are
/// added up.
using Wide = __int128;

/// What became of it; what leaves 64 bits belongs to an empty rectangle.
int64_t Narrow(Wide value) {
    constexpr Wide kLeast = std::numeric_limits<int64_t>::min();
    constexpr Wide kMost = std::numeric_limits<int64_t>::max();
    return static_cast<int64_t>(std::clamp(value, kLeast, kMost));
}

/// A negative size counts to the left of (above) the origin.
void TurnAround(Wide& origin, Wide& size) {
    if (size >= 0) return;
    origin += size;
    size = -size;
}

/// Cuts what lies at or beyond `limit`.
void CutEnd(Wide origin, Wide& size, Wide limit) {
    if (origin >= limit) {
        size = 0;
    } else if (origin + size > limit) {
        size = limit - origin;
    }
}

/// One axis of a rectangle.
void FixAxis(int64_t& originInOut, int64_t& sizeInOut, int64_t limit) {
    Wide origin = originInOut;
    Wide size = sizeInOut;
    TurnAround(origin, size);
    if (origin < 0) {
        size += origin;
        origin = 0;
    }
    CutEnd(origin, size, limit);
    originInOut = Narrow(origin);
    sizeInOut = Narrow(size);
}

/// One axis of a rectangle pair, in the order that is the pair's contract.
void FixAxis(int64_t& destInOut, int64_t& sizeInOut, int64_t& sourceInOut, int64_t sourceLimit,
             int64_t destLimit, bool turnAround) {
    Wide dest = destInOut;
    Wide size = sizeInOut;
    Wide source = sourceInOut;
    if (source < 0) {
        size += source;
        dest += source;
        source = 0;
    }
    if (turnAround) TurnAround(dest, size);
    if (dest < 0) {
        size += dest;
        source -= dest;
        dest = 0;
    }
    CutEnd(dest, size, destLimit);
    if (source + size > sourceLimit) size = sourceLimit - source;
    destInOut = Narrow(dest);
    sizeInOut = Narrow(size);
    sourceInOut = Narrow(source);
}

/// The clock of the image's interval, in the unit that YieldTicks selects.
int64_t YieldClock(const PictureTRV& image) {
    const uint32_t ticks = TickCount();
    return image.YieldTicks > 0 ? ticks >> 4 : ticks;
}

}  // namespace

bool IsValid(const PictureTRV* image) {
    if (image != nullptr && image->Valid != 0) return true;
    TRV_LOG("Picture not valid.");
    return false;
}

bool HasByteSamples(const PictureTRV& image) {
    if (image.BitsPerComponent <= 8) return true;
    TRV_LOG("BitsPerComponent > 8 not supported.", image.BitsPerComponent);
    return false;
}

bool StartImage(PictureTRV* image) {
    if (image == nullptr || image->GetRow == nullptr) {
        TRV_LOG("GetRow is nil");
        return false;
    }
    if (!IsValid(image)) return false;
    if (image->Width < 0) {
        TRV_LOG("Width is 0");
        return false;
    }
    if (image->Height <= 0) {
        TRV_LOG("Height is 0");
        return false;
    }
    YieldIfWanted(*image);
    TRV_LOG("StartImage ok");
    return true;
}

void Fix(const PictureTRV& image, Rectangle& rectangle) {
    TRV_LOG("Fix", rectangle.x, rectangle.y, rectangle.width, rectangle.height);
    FixAxis(rectangle.x, rectangle.width, image.Width);
    FixAxis(rectangle.y, rectangle.height, image.Height);
    TRV_LOG("Fixed", rectangle.x, rectangle.y, rectangle.width, rectangle.height);
}

void Fix(const PictureTRV& dest, RectanglePair& pair, int64_t sourceWidth, int64_t sourceHeight) {
    FixAxis(pair.destX, pair.width, pair.sourceX, sourceWidth, dest.Width, true);
    FixAxis(pair.destY, pair.height, pair.sourceY, sourceHeight, dest.Height, true);
}

bool Fix(RectanglePair& pair, int64_t sourceWidth, int64_t sourceHeight, int64_t destWidth,
         int64_t destHeight) {
    FixAxis(pair.destX, pair.width, pair.sourceX, sourceWidth, destWidth, false);
    FixAxis(pair.destY, pair.height, pair.sourceY, sourceHeight, destHeight, false);
    return !pair.IsEmpty();
}

void Yield(PictureTRV* image) {
    const int64_t interval =
        image->YieldTicks > 0 ? image->YieldTicks : SaturatedSubtract(0, image->YieldTicks);
    const int64_t since = SaturatedSubtract(YieldClock(*image), image->LastYieldTime);
    if ((since < 0 ? SaturatedSubtract(0, since) : since) < interval) return;
    host::REALYieldToRB();
    image->LastYieldTime = YieldClock(*image);
}

bool IsPacked(const PictureTRV& image) {
    if (image.IsMapping != 0) return false;
    return std::count_if(kColourChannels.begin(), kColourChannels.end(),
                         [&](Channel channel) { return Has(image, channel); }) == image.PixelSize;
}

int64_t PackedBytes(const PictureTRV& image, int64_t start, int64_t count) {
    const bool late = start % image.PixelSize != 0;
    return late ? std::clamp<int64_t>(image.RowSize - start, 0, count) : count;
}

int64_t LowestChannelOffset(const PictureTRV& image) {
    int64_t lowest = -1;
    for (const Channel channel : kColourChannels) {
        if (!Has(image, channel)) continue;
        const int64_t offset = OffsetOf(image, channel);
        if (lowest < 0 || offset < lowest) lowest = offset;
    }
    return lowest;
}

bool IsOneRun(const PictureTRV& image) {
    return image.GetRow == GetRowLinear && image.YieldTicks == 0 && image.PixelSize > 0 &&
           image.RowSize % image.PixelSize == 0 && image.RowSize / image.PixelSize == image.Width;
}

bool SameLayout(const PictureTRV& a, const PictureTRV& b) {
    const bool sameChannels =
        std::all_of(kColourChannels.begin(), kColourChannels.end(),
                    [&](Channel channel) { return Has(a, channel) == Has(b, channel); });
    return sameChannels && a.PixelSize == b.PixelSize && a.BitsPerComponent == b.BitsPerComponent &&
           a.RedOffset == b.RedOffset && a.GreenOffset == b.GreenOffset && a.BlueOffset == b.BlueOffset &&
           (a.HasAlpha == 0 || a.AlphaOffset == b.AlphaOffset);
}

}  // namespace trv
