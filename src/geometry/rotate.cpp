#include "geometry/rotate.h"

#include <array>
#include <cmath>
#include <limits>

#include "frame/debug_log.h"
#include "frame/references.h"
#include "geometry/shears.h"
#include "geometry/turns.h"
#include "image/picture_factory.h"
#include "image/pixel_loop.h"
#include "image/store_overlap.h"

namespace trv {

namespace {

/// The background by Channel.
struct Background {
    std::array<int64_t, kChannelCount> value;

    [[nodiscard]] int64_t Of(Channel channel) const { return value[static_cast<size_t>(channel)]; }
};

/// An angle for the log.
int64_t TruncatedAngle(double angle) {
    constexpr double kMost = 9.0e18;
    if (!(std::abs(angle) < kMost)) return std::numeric_limits<int64_t>::min();
    return static_cast<int64_t>(angle);
}

/// The angle in degrees from 0 to below 360; a negative one that is next to nothing becomes 360 itself. Full
/// turns are exact multiples in a double, so taking them off one by one would end at the same value.
double NormalAngle(double angle) {
    const double rest = std::fmod(angle, 360.0);
    return rest < 0 ? rest + 360.0 : rest;
}

template <class F>
ShearChannels ChannelsWith(F /*family*/, const Background& background) {
    ShearChannels channels;
    for (const Channel channel : F::channels) {
        const auto at = static_cast<size_t>(channels.count++);
        channels.channel[at] = channel;
        channels.background[at] = static_cast<uint8_t>(background.Of(channel));
    }
    return channels;
}

void LogBackground(double angle, const ShearChannels& channels) {
    if (!debugFlag) return;
    const auto& value = channels.background;
    switch (channels.count) {
        case 1:
            return PrintLine("Rotate45", TruncatedAngle(angle), value[0]);
        case 2:
            return PrintLine("Rotate45", TruncatedAngle(angle), value[0], value[1]);
        case 3:
            return PrintLine("Rotate45", TruncatedAngle(angle), value[0], value[1], value[2]);
        case 4:
            return PrintLine("Rotate45", TruncatedAngle(angle), value[0], value[1], value[2], value[3]);
        default:
            PrintLine("Rotate45", TruncatedAngle(angle), value[0], value[1], value[2], value[3], value[4]);
    }
}

/// Whether nobody but this operation can see the images that it has made on the way, so that they need no
/// pixels: no factory had a hand in them.
bool MakesImagesAlone(const PictureTRV& image) {
    return image.Factory == nullptr && !ObjectReference(GetCurrentFactory(0));
}

/// The images that the shears make, one after the other; each may come from a factory, of any layout and of
/// a larger size than asked for.
class Rotation {
  public:
    Rotation(PictureTRV& image, const Shears& shears, const ShearChannels& channels)
        : image_(image), shears_(shears), channels_(channels), alone_(MakesImagesAlone(image)) {
        Watch(image);
    }

    HostObject Run() {
        TRV_LOG("Rotate45part1");
        const ObjectReference first = Make(shears_.shearWidth, shears_.height, image_);
        if (!first) return nullptr;
        Watch(*RecordOf(first.Get()));
        if (!alone_) RunFirst(image_, *RecordOf(first.Get()));
        TRV_LOG("Rotate45part1 done");
        TRV_LOG("Rotate45part2");
        ObjectReference second = Make(shears_.shearWidth, shears_.finalHeight, *RecordOf(first.Get()));
        if (!second) return nullptr;
        Watch(*RecordOf(second.Get()));
        if (!alone_) RunSecond(*RecordOf(first.Get()), *RecordOf(second.Get()));
        TRV_LOG("Rotate45part2 done");
        TRV_LOG("Rotate45part3");
        ObjectReference third = Make(shears_.finalWidth, shears_.finalHeight, *RecordOf(second.Get()));
        if (!third) return nullptr;
        PictureTRV& result = *RecordOf(third.Get());
        if (!alone_ || !RunShears(shears_, image_, result, channels_)) {
            if (alone_) {
                RunFirst(image_, *RecordOf(first.Get()));
                RunSecond(*RecordOf(first.Get()), *RecordOf(second.Get()));
            }
            RunThird(*RecordOf(second.Get()), result);
        }
        TRV_LOG("Rotate45part3 done");
        TRV_LOG("Rotate45 done");
        return third.Release();
    }

  private:
    /// A new image in the format of `like`, ready to be written; empty if there is none, or if the host has
    /// used its time to make other images of those at hand.
    ObjectReference Make(int64_t width, int64_t height, const PictureTRV& like) {
        ObjectReference made(CreatePicture(&image_, width, height, like.ImageFormat));
        if (!made || !StartImage(RecordOf(made.Get()))) return {};
        const PictureTRV& record = *RecordOf(made.Get());
        if (record.Width < width || record.Height < height) return {};
        for (int i = 0; i < watchedCount_; ++i) {
            const Watched& watched = watched_[static_cast<size_t>(i)];
            if (!(watched.shape == ImageShape(*watched.image))) return {};
        }
        return made;
    }

    void Watch(const PictureTRV& image) {
        watched_[static_cast<size_t>(watchedCount_++)] = {&image, ImageShape(image)};
    }

    void RunFirst(PictureTRV& source, PictureTRV& dest) {
        PlainShear shear(source, dest, channels_);
        shears_.ForEachFirst([&](int64_t row, LineShift shift) { shear.MoveRow(row, shift); });
    }
    void RunSecond(PictureTRV& source, PictureTRV& dest) {
        PlainShear shear(source, dest, channels_);
        shears_.ForEachSecond([&](int64_t column, LineShift shift) { shear.MoveColumn(column, shift); });
    }
    void RunThird(PictureTRV& source, PictureTRV& dest) {
        PlainShear shear(source, dest, channels_);
        shears_.ForEachThird([&](int64_t row, LineShift shift) { shear.MoveRow(row, shift); });
    }

    /// An image that is read, as it was when its sizes were taken.
    struct Watched {
        const PictureTRV* image = nullptr;
        ImageShape shape;
    };

    PictureTRV& image_;
    const Shears& shears_;
    const ShearChannels& channels_;
    const bool alone_;
    std::array<Watched, 3> watched_{};
    int watchedCount_ = 0;
};

HostObject Rotate45(PictureTRV& image, double angle, const ShearChannels& channels) {
    LogBackground(angle, channels);
    if (!IsValid(&image) || !StartImage(&image)) return nullptr;
    const std::optional<Shears> shears = Shears::Of(angle, image.Width, image.Height);
    if (!shears) return nullptr;
    return Rotation(image, *shears, channels).Run();
}

HostObject rbRotate45(HostObject me, double angle, const Background& background) {
    using enum Channel;
    TRV_LOG("rbRotate45", TruncatedAngle(angle), background.Of(Red), background.Of(Green),
            background.Of(Blue), background.Of(Alpha), background.Of(Gray), background.Of(Cyan),
            background.Of(Magenta), background.Of(Yellow), background.Of(Black));
    PictureTRV& image = *RecordOf(me);
    HostObject result = nullptr;
    DispatchFamily(image,
                   [&](auto family) { result = Rotate45(image, angle, ChannelsWith(family, background)); });
    return result;
}

/// A right-angle turn that leaves at most 45 degrees to go.
struct FirstStep {
    HostObject (*turn)(HostObject me, HostObject dest);  // null for none
    double degrees;
};

FirstStep FirstStepOf(double angle) {
    if (angle > 45 && angle <= 135) return {rbRotate90slow, 90};
    if (angle > 135 && angle <= 225) return {rbRotate180, 180};
    if (angle > 225 && angle <= 315) return {rbRotate270slow, 270};
    return {nullptr, 0};
}

}  // namespace

HostObject rbRotate(HostObject me, double angle, int64_t red, int64_t green, int64_t blue, int64_t alpha,
                    int64_t gray, int64_t cyan, int64_t magenta, int64_t yellow, int64_t black) {
    TRV_LOG("rbRotate", TruncatedAngle(angle));
    TRV_LOG("clrBackRed", red);
    TRV_LOG("clrBackGreen", green);
    TRV_LOG("clrBackBlue", blue);
    if (me == nullptr || !std::isfinite(angle)) return nullptr;
    angle = NormalAngle(angle);
    if (angle == 0) return ObjectReference::Share(me).Release();
    const FirstStep step = FirstStepOf(angle);
    if (step.turn != nullptr && angle == step.degrees) return step.turn(me, nullptr);

    Background background{};
    const auto set = [&](Channel channel, int64_t value) {
        background.value[static_cast<size_t>(channel)] = value;
    };
    set(Channel::Red, red);
    set(Channel::Green, green);
    set(Channel::Blue, blue);
    set(Channel::Alpha, alpha);
    set(Channel::Gray, gray);
    set(Channel::Cyan, cyan);
    set(Channel::Magenta, magenta);
    set(Channel::Yellow, yellow);
    set(Channel::Black, black);
    const ObjectReference turned =
        step.turn == nullptr ? ObjectReference::Share(me) : ObjectReference(step.turn(me, nullptr));
    if (!turned) return nullptr;
    const HostObject result = rbRotate45(turned.Get(), angle - step.degrees, background);
    TRV_LOG("rbRotate done");
    return result;
}

}  // namespace trv
