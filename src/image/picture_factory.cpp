#include "image/picture_factory.h"

#include "frame/debug_log.h"
#include "frame/references.h"
#include "image/life_cycle.h"

namespace trv {

namespace {

EventDefinition newPictureEvents[] = {
    {.declaration =
         "NewPictureTRV(Width as integer, Height as integer, ImageFormat as integer) as PictureTRV"}};

HostObject globalFactory = nullptr;

/// What the factory's event makes; nil without a factory or without the event.
ObjectReference AskFactory(HostObject factory, int64_t width, int64_t height, int64_t format) {
    if (factory == nullptr) return {};
    using Event = HostObject (*)(HostObject, int64_t, int64_t, int64_t);
    const auto event = reinterpret_cast<Event>(host::GetEventInstance(factory, &newPictureEvents[0]));
    TRV_LOG("Event NewPictureTRV", event);
    if (event == nullptr) return {};
    // The event runs host code, which may let go of the factory.
    const ObjectReference held = ObjectReference::Share(factory);
    return ObjectReference(event(factory, width, height, format));
}

ObjectReference MakePlain(int64_t width, int64_t height, int64_t format) {
    ObjectReference object(host::PluginNewInstance(kPictureClassName));
    if (object) ImageConstructor(object.Get(), width, height, format);
    return object;
}

bool IsAcceptable(const ObjectReference& object, int64_t width, int64_t height) {
    TRV_LOG("Picture", object.Get());
    const PictureTRV* record = RecordOf(object.Get());
    return record != nullptr && record->Valid != 0 && record->Width >= width && record->Height >= height;
}

}  // namespace

constinit ClassDefinition factoryClass = {.version = kUnregisteredTableVersion,
                                          .name = "PictureFactoryTRV",
                                          .events = newPictureEvents,
                                          .eventCount = 1,
                                          .flags = kOrdinary};

HostObject CreatePicture(const PictureTRV* image, int64_t width, int64_t height, int64_t format) {
    TRV_LOG("CreatePicture");
    TRV_LOG("width", width);
    TRV_LOG("height", height);
    TRV_LOG("globalFactory", globalFactory);
    const auto attempt = [&](auto make) {
        ObjectReference picture = make();
        return IsAcceptable(picture, width, height) ? picture.Release() : nullptr;
    };
    HostObject picture = nullptr;
    if (image != nullptr)
        picture = attempt([&] { return AskFactory(image->Factory, width, height, format); });
    if (picture == nullptr)
        picture = attempt([&] { return AskFactory(globalFactory, width, height, format); });
    if (picture == nullptr) picture = attempt([&] { return MakePlain(width, height, format); });
    return picture;
}

bool HasFactory(const PictureTRV* image) {
    return globalFactory != nullptr || (image != nullptr && image->Factory != nullptr);
}

HostObject CreatePictureLocal(HostObject me, int64_t width, int64_t height, int64_t format) {
    return CreatePicture(RecordOf(me), width, height, format);
}

HostObject CreatePictureGlobal(int64_t width, int64_t height, int64_t format) {
    return CreatePicture(nullptr, width, height, format);
}

void SetFactory(HostObject factory) {
    AssignReference(globalFactory, factory);
}

HostObject GetCurrentFactory(int64_t /*parameter*/) {
    return ObjectReference::Share(globalFactory).Release();
}

}  // namespace trv
