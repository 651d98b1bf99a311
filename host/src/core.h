// Core: the state of one host, and the rules of ownership that every entry keeps to.
#pragma once

#include <atomic>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <thread>
#include <unordered_map>
#include <vector>

#include "classes.h"
#include "thing.h"
#include "thread_pool.h"
#include "trvhost/host.h"

namespace trvhost {

/// A fault that happens once, at the n-th chance from now.
class Countdown {
  public:
    void Set(int64_t n) { left_ = n; }
    bool Hit() { return left_ > 0 && --left_ == 0; }

  private:
    int64_t left_ = 0;
};

class Core {
  public:
    Core(Host& owner, Options settings);
    ~Core();
    Core(const Core&) = delete;
    Core& operator=(const Core&) = delete;

    /// The core that entries go to, or null.
    static Core* Current() { return current_.load(std::memory_order_relaxed); }
    /// Its number, or 0.
    static uint64_t CurrentId() {
        const Core* core = Current();
        return core == nullptr ? 0 : core->id;
    }
    static void SetCurrent(Core* core) { current_.store(core, std::memory_order_relaxed); }
    /// The living core with this number, or null.
    static Core* ById(uint64_t id);

    // Things

    /// Owns a new thing, with one reference for the caller.
    template <class T>
    T& Own(std::unique_ptr<T> thing) {
        T& result = *thing;
        Register(std::move(thing));
        return result;
    }
    template <class T, class... Args>
    T& Make(Args&&... args) {
        return Own(std::make_unique<T>(std::forward<Args>(args)...));
    }
    /// The living thing of a handle. Nil gives null; so does anything that is no living thing, which is a
    /// misuse.
    Thing* Find(Handle handle);
    /// The same without the complaint.
    Thing* Peek(Handle handle) const;
    /// The living thing of this type; another kind of thing is a misuse too.
    template <class T>
    T* FindAs(Handle handle) {
        Thing* thing = Find(handle);
        if (thing == nullptr) return nullptr;
        if (thing->kind != T::kKind) {
            WrongKind(*thing);
            return nullptr;
        }
        return static_cast<T*>(thing);
    }
    template <class T>
    T* PeekAs(Handle handle) const {
        Thing* thing = Peek(handle);
        return thing != nullptr && thing->kind == T::kKind ? static_cast<T*>(thing) : nullptr;
    }
    void Lock(Handle handle);
    void Unlock(Handle handle);
    /// Takes a reference for the one who gets the handle.
    Handle Share(Handle handle) {
        Lock(handle);
        return handle;
    }
    /// Takes a reference on the new thing, releases the old one, stores.
    void Assign(Handle& slot, Handle value);
    LiveCounts Live() const;

    // Exceptions

    /// Notes an exception of a class of the host's, as its own code would raise it.
    void Raise(std::string_view className, const std::string& message);
    void Note(Handle exception);
    Handle TakePending();
    bool HasPending() const { return pending_ != nullptr; }
    /// Runs fn(argument) and returns what was noted meanwhile, with its reference.
    Handle CatchAround(void (*fn)(void*), void* argument);

    // Bookkeeping

    void Misuse(const std::string& text);
    void WrongKind(const Thing& thing);
    void Log(std::string_view line) const {
        if (options.log) options.log(line);
    }
    /// Counts a call and makes it the one that misuse is reported of. Returns the entry that was current.
    const char* Enter(const char* entry, size_t index);
    void Leave(const char* previous) { entry_ = previous; }
    bool IsHostThread() const { return std::this_thread::get_id() == thread_; }

    Host& host;
    const uint64_t id;
    Options options;
    ClassRegistry classes;

    int64_t raised = 0;
    std::optional<int32_t> sdkVersion;
    std::vector<int64_t> calls;
    std::map<std::string, int64_t, std::less<>> lookups;
    std::vector<std::string> trace;
    std::function<void()> onYield;
    std::unique_ptr<OfferedThreadPool> threadPool;
    std::set<void*> stringData;  ///< what is owed to PluginDisposeStringData and PluginDisposeTextData

    Countdown failMemoryBlock, shortenMemoryBlock, failNewInstance, failNewPicture, failString;
    int64_t shortenBy = 0;

    mutable std::mutex misuseMutex;
    std::string firstMisuse;
    int64_t misuses = 0;

    std::map<std::string, std::vector<const void*>, std::less<>> definitions;  ///< by the registering entry
    std::vector<const char*> enteredNames;

  private:
    void Register(std::unique_ptr<Thing> thing);
    void Die(Thing& thing);
    void Bury(std::unique_ptr<Thing> thing);

    static std::atomic<Core*> current_;

    const std::thread::id thread_ = std::this_thread::get_id();
    std::unordered_map<const void*, std::unique_ptr<Thing>> things_;
    // Blocks of the dead are kept for a while, so that no new thing gets their address and late users are
    // known.
    struct Grave {
        std::byte* block;
        int64_t size;
    };
    std::deque<Grave> graves_;
    std::unordered_map<const void*, std::string> dead_;
    Handle pending_ = nullptr;
    const char* entry_ = "the host";
};

}  // namespace trvhost
