// Filters that change the look of a picture.

#include "graphics_magick.h"
#include "plugin.h"

namespace trvbench {
namespace {

/// A filter that takes numbers, by its declaration.
template <class... Numbers>
Work EffectWithPlugin(const char* declaration, Numbers... numbers) {
    const Ref source = SourceImage(Layout::Rgba, kLarge);
    const Ref target = EmptyImage(kLarge, FormatOf(Layout::Rgba));
    const auto run = TheHost().Method<Ref(Ref, Numbers...)>("PictureTRV", declaration);
    return [=]() { Expect(static_cast<bool>(run(source, target, numbers...)), declaration); };
}

void EnterEffect(const std::string& name, const MakeWork& own, const std::vector<Peer>& peers = {}) {
    EnterLine(name + " RGBA " + TextOf(kLarge), BytesOf(Layout::Rgba, kLarge), own, peers);
}

}  // namespace

void EnterEffects() {
    EnterEffect("EngraveFilter 2", [] {
        return EffectWithPlugin("EngraveFilter(dest as PictureTRV, level as integer) as PictureTRV",
                                int64_t{2});
    });
    EnterEffect("NeonFilter",
                [] { return EffectWithPlugin("NeonFilter(dest as PictureTRV) as PictureTRV"); });
    EnterEffect("DiffuseFilter 5", [] {
        return EffectWithPlugin("DiffuseFilter(dest as PictureTRV, level as integer) as PictureTRV",
                                int64_t{5});
    });
    for (const int64_t radius : {3, 10}) {
        for (const int64_t levels : {20, 256}) {
            EnterEffect(
                "OilFilter " + std::to_string(levels) + ", " + std::to_string(radius),
                [=] {
                    return EffectWithPlugin(
                        "OilFilter(dest as PictureTRV, levels as integer, range as integer) as PictureTRV",
                        levels, radius);
                },
                {{kGraphicsMagick, [=] { return OilWithGraphicsMagick(static_cast<int>(radius)); }}});
        }
    }
}

}  // namespace trvbench
