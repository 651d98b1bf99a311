// References, exceptions, factories, and the way of a Ref.

#include "core.h"
#include "entry.h"
#include "exceptions.h"
#include "factories.h"

namespace trvhost {

namespace {

/// True for what REALLockObject and REALUnlockObject are for.
bool IsObject(Core& core, Handle handle) {
    const Thing* thing = core.Find(handle);
    if (thing == nullptr) return false;
    if (thing->kind != ThingKind::String && thing->kind != ThingKind::Text) return true;
    core.WrongKind(*thing);
    return false;
}

void LockObject(Core& core, Handle object) {
    if (IsObject(core, object)) core.Lock(object);
}

void UnlockObject(Core& core, Handle object) {
    if (IsObject(core, object)) core.Unlock(object);
}

void RaiseException(Core& core, Handle object) {
    if (core.FindAs<ExceptionThing>(object) != nullptr) core.Note(object);
}

Handle CallWithHandler(Core& core, void (*fn)(void*), void* argument) {
    if (fn == nullptr) {
        core.Misuse("a null function");
        return nullptr;
    }
    return core.CatchAround(fn, argument);
}

Handle FactoryEvent(Core& core, Handle self, int64_t width, int64_t height, int64_t imageFormat) {
    const auto* factory = core.FindAs<FactoryThing>(self);
    if (factory == nullptr || !factory->handler) return nullptr;
    return factory->handler(width, height, imageFormat).Release();
}

}  // namespace

void* FactoryEventFunction() {
    return reinterpret_cast<void*>(&Thunk<"event NewPictureTRV", FactoryEvent>::Call);
}

std::span<const EntryRow> ObjectEntries() {
    static const EntryRow rows[] = {
        Row<"REALLockObject", LockObject>(),
        Row<"REALUnlockObject", UnlockObject>(),
        Row<"RuntimeRaiseException", RaiseException>(),
        Row<"PluginCallFunctionWithExceptionHandler", CallWithHandler>(),
    };
    return rows;
}

Ref::Ref(const Ref& other) noexcept : handle_(other.handle_), hostId_(other.hostId_) {
    if (Core* core = Core::ById(hostId_)) core->Lock(handle_);
}

Ref Ref::Adopt(const Host& host, void* handle) noexcept {
    Ref ref;
    if (handle == nullptr) return ref;
    ref.handle_ = handle;
    ref.hostId_ = host.Internals().id;
    return ref;
}

Ref Ref::Share(const Host& host, void* handle) noexcept {
    host.Internals().Lock(handle);
    return Adopt(host, handle);
}

void Ref::Reset() noexcept {
    if (Core* core = Core::ById(hostId_)) core->Unlock(handle_);
    handle_ = nullptr;
    hostId_ = 0;
}

Host* Ref::Owner() const noexcept {
    const Core* core = Core::ById(hostId_);
    return core == nullptr ? nullptr : &core->host;
}

int64_t Ref::References() const noexcept {
    const Core* core = Core::ById(hostId_);
    const Thing* thing = core == nullptr ? nullptr : core->Peek(handle_);
    return thing == nullptr ? 0 : thing->References();
}

std::string Ref::ClassName() const {
    const Core* core = Core::ById(hostId_);
    const Thing* thing = core == nullptr ? nullptr : core->Peek(handle_);
    return thing == nullptr ? std::string() : thing->Name();
}

}  // namespace trvhost
