#include "core.h"

#include <cstdlib>
#include <cstring>

#include "exceptions.h"
#include "pictures.h"
#include "sanitizers.h"
#include "string_things.h"

namespace trvhost {

namespace {

constexpr size_t kGraves = 16384;

std::map<uint64_t, Core*>& Cores() {
    static std::map<uint64_t, Core*> cores;
    return cores;
}

std::string Text(const void* address) {
    char text[32];
    std::snprintf(text, sizeof text, "%p", address);
    return text;
}

}  // namespace

std::atomic<Core*> Core::current_{nullptr};

Core::Core(Host& owner, Options settings)
    : host(owner),
      id([] {
          static uint64_t last = 0;
          return ++last;
      }()),
      options(std::move(settings)),
      classes(*this) {
    Cores()[id] = this;
}

Core::~Core() {
    Cores().erase(id);
    things_.clear();
    for (const Grave& grave : graves_) {
        Unpoison(grave.block, grave.size);
        std::free(grave.block);
    }
    for (void* data : stringData)
        std::free(data);
}

Core* Core::ById(uint64_t id) {
    const auto found = Cores().find(id);
    return found == Cores().end() ? nullptr : found->second;
}

void Core::Register(std::unique_ptr<Thing> thing) {
    const void* address = thing->Address();
    things_[address] = std::move(thing);
}

Thing* Core::Peek(Handle handle) const {
    const auto found = things_.find(handle);
    return found == things_.end() ? nullptr : found->second.get();
}

Thing* Core::Find(Handle handle) {
    if (handle == nullptr) return nullptr;
    if (Thing* thing = Peek(handle)) return thing;
    const auto dead = dead_.find(handle);
    if (dead != dead_.end()) {
        Misuse("the " + dead->second + " at " + Text(handle) + " is dead");
    } else {
        Misuse(Text(handle) + " is nothing of the host's");
    }
    return nullptr;
}

void Core::Lock(Handle handle) {
    if (Thing* thing = Find(handle)) thing->SetReferences(thing->References() + 1);
}

void Core::Unlock(Handle handle) {
    Thing* thing = Find(handle);
    if (thing == nullptr) return;
    if (thing->References() <= 0) {
        Misuse("one unlock too many of the dying " + thing->Name() + " at " + Text(handle));
        return;
    }
    thing->SetReferences(thing->References() - 1);
    if (thing->References() == 0 && !thing->dying) Die(*thing);
}

void Core::Die(Thing& thing) {
    thing.dying = true;
    classes.Destroy(thing);
    if (thing.References() != 0) {
        Misuse("the destructor of the " + thing.Name() + " at " + Text(thing.Address()) + " left " +
               std::to_string(thing.References()) + " references on it");
    }
    thing.DropChildren(*this);
    const auto found = things_.find(thing.Address());
    std::unique_ptr<Thing> owned = std::move(found->second);
    things_.erase(found);
    Bury(std::move(owned));
}

void Core::Bury(std::unique_ptr<Thing> thing) {
    const int64_t size = thing->BlockSize();
    std::string name = thing->Name();
    std::byte* block = thing->ReleaseBlock();
    Poison(block, size);
    graves_.push_back({block, size});
    dead_[block] = std::move(name);
    if (graves_.size() <= kGraves) return;
    const Grave oldest = graves_.front();
    graves_.pop_front();
    dead_.erase(oldest.block);
    Unpoison(oldest.block, oldest.size);
    std::free(oldest.block);
}

void Core::Assign(Handle& slot, Handle value) {
    Lock(value);
    const Handle old = slot;
    slot = value;
    Unlock(old);
}

LiveCounts Core::Live() const {
    LiveCounts counts;
    for (const auto& [address, thing] : things_) {
        if (thing->kind == ThingKind::String || thing->kind == ThingKind::Text) {
            ++counts.strings;
        } else {
            ++counts.objects[thing->Name()];
        }
        if (thing->kind == ThingKind::Picture) {
            const auto& picture = static_cast<const PictureThing&>(*thing);
            counts.pictureLocks += picture.descriptionLocks;
            counts.bitmapLocks += picture.store->BitsLocked() ? 1 : 0;
        }
    }
    counts.stringData = static_cast<int64_t>(stringData.size());
    return counts;
}

void Core::Raise(std::string_view className, const std::string& message) {
    ClassInfo* info = classes.Find(className);
    if (info == nullptr || info->kind != ThingKind::Exception) info = classes.Find("RuntimeException");
    if (info == nullptr) return;
    auto& exception = Make<ExceptionThing>(info);
    exception.message = Make<StringThing>(message, kEncodingUtf8).Address();
    Note(exception.Address());
    Unlock(exception.Address());
}

void Core::Note(Handle exception) {
    Lock(exception);
    const Handle old = pending_;
    pending_ = exception;
    Unlock(old);
    ++raised;
}

Handle Core::TakePending() {
    return std::exchange(pending_, nullptr);
}

Handle Core::CatchAround(void (*fn)(void*), void* argument) {
    const Handle before = TakePending();
    fn(argument);
    const Handle meanwhile = TakePending();
    pending_ = before;
    return meanwhile;
}

void Core::Misuse(const std::string& text) {
    const std::string line = std::string(IsHostThread() ? entry_ : "another thread") + ": " + text;
    {
        const std::lock_guard lock(misuseMutex);
        if (misuses++ == 0) firstMisuse = line;
    }
    Log("misuse: " + line);
}

void Core::WrongKind(const Thing& thing) {
    Misuse("the " + thing.Name() + " at " + Text(thing.Address()) + " is the wrong kind of thing");
}

const char* Core::Enter(const char* entry, size_t index) {
    if (index >= calls.size()) calls.resize(index + 1);
    ++calls[index];
    constexpr size_t kLongestTrace = 100000;
    if (options.trace && trace.size() < kLongestTrace) trace.emplace_back(entry);
    return std::exchange(entry_, entry);
}

}  // namespace trvhost
