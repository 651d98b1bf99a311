// The embedded host: loads the plug-in's library, answers its entries, owns its objects, and calls its
// members.
//
//     trvhost::Host host("libpicturetrv.so");
//     trvhost::Ref image = host.Construct("PictureTRV", 640, 480, host.Constant("PictureTRV",
//     "ImageFormatRGBA")); host.Call(image, "FillRectRGB", 10, 20, 30); bool ok = host.Call(image, "Scale",
//     source, nullptr, 3, 320, 240).ToBool();
//
// Everything runs on the thread that made the Host; an entry called on another thread is a misuse and answers
// 0.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <initializer_list>
#include <map>
#include <memory>
#include <optional>
#include <ostream>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "trvhost/boundary.h"
#include "trvhost/call.h"
#include "trvhost/declaration.h"
#include "trvhost/options.h"
#include "trvhost/ref.h"
#include "trvhost/things.h"
#include "trvhost/value.h"

namespace trvhost {

class Core;

/// A host exception as a program would catch it.
struct ExceptionInfo {
    std::string className;
    std::string message;
    int64_t errorNumber = 0;
    friend bool operator==(const ExceptionInfo&, const ExceptionInfo&) = default;
    friend std::ostream& operator<<(std::ostream& out, const ExceptionInfo& info);
};

/// What is alive, to compare before and after. Things held by Refs count as well.
struct LiveCounts {
    std::map<std::string, int64_t> objects;  ///< by class; arrays count as "Array"; classes at 0 are left out
    int64_t strings = 0;                     ///< strings and texts
    int64_t stringData = 0;    ///< records of PluginGetStringData and PluginGetTextData not disposed of
    int64_t pictureLocks = 0;  ///< description locks owed
    int64_t bitmapLocks = 0;   ///< GDI+ bitmaps whose bits are locked (Windows)
    friend bool operator==(const LiveCounts&, const LiveCounts&) = default;
    friend std::ostream& operator<<(std::ostream& out, const LiveCounts& counts);
};

/// What a subclass of PictureFactoryTRV does in its event NewPictureTRV: width, height, format -> picture or
/// nil.
using FactoryHandler = std::function<Ref(int64_t width, int64_t height, int64_t imageFormat)>;

class Host {
  public:
    /// A host without a library: its entries answer, nothing is registered.
    explicit Host(Options options = {});
    /// Loads the library with fresh statics (a private copy where this process has loaded it before) and
    /// calls `REALPluginMain` as options.start says. Throws std::runtime_error with a one-line text when the
    /// library cannot be loaded or lacks the entry. Hosts may nest: the newest is the one that entries go to,
    /// and each host makes itself the current one while it calls its plug-in.
    explicit Host(const std::filesystem::path& library, Options options = {});
    /// Ends the host: objects still alive are dropped without running plug-in code.
    ~Host();
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;

    /// Calls `REALPluginMain` of a library loaded with Start::Later; again, if asked again.
    void Connect(bool nullResolver = false);
    /// An exported symbol of the library, or null.
    void* Symbol(const char* name) const;
    /// The options in force. Changes count from the next look-up on: an entry taken out of missingEntries
    /// appears.
    Options& Settings();
    const Options& Settings() const;

    // Entries
    // ---------------------------------------------------------------------------------------------------------

    /// What the resolver answers for a name.
    void* Resolve(const char* name) const;
    template <class Function>
    Function* Entry(const char* name) const {
        return reinterpret_cast<Function*>(Resolve(name));
    }
    /// The names of all entries that a complete host answers, in no particular order.
    static std::vector<std::string> EntryNames();
    /// Calls of an entry so far.
    int64_t Calls(std::string_view entry) const;
    /// Look-ups of a name through the resolver so far, found or not.
    int64_t Lookups(std::string_view entry) const;
    /// Entry names in the order of their calls; kept while Settings().trace is on.
    const std::vector<std::string>& Trace() const;
    void ClearTrace();
    /// The argument of the last `RegisterPluginVersion`, and how often that was called is
    /// Calls("RegisterPluginVersion").
    std::optional<int32_t> SdkVersion() const;
    /// What was given to a registering entry ("PluginRegisterModule"), in order, as the plug-in's own memory.
    std::vector<const void*> Definitions(std::string_view entry) const;
    /// Runs at each `REALYieldToRB`, where a program's event loop would run; may call the plug-in again.
    void OnYield(std::function<void()> action);

    // Tables
    // ----------------------------------------------------------------------------------------------------------

    /// Class definitions in the order of their registration, as the plug-in's own memory.
    std::vector<const ClassDefinition*> Classes() const;
    /// Throws std::invalid_argument for an unknown class.
    const ClassDefinition& Class(std::string_view name) const;
    /// A method by its declaration, or by its bare name where only one has it; null when there is none.
    /// Throws std::invalid_argument when a bare name fits several.
    const MethodDefinition* FindMethod(std::string_view className, std::string_view nameOrDeclaration) const;
    const MethodDefinition* FindSharedMethod(std::string_view className,
                                             std::string_view nameOrDeclaration) const;
    const PropertyDefinition* FindProperty(std::string_view className, std::string_view name) const;
    const PropertyDefinition* FindSharedProperty(std::string_view className, std::string_view name) const;
    /// The value of a constant, read from the declaration that the plug-in gave ("ScaleBox = 2", "=
    /// &h00000064"). Throws std::invalid_argument for an unknown one.
    int64_t Constant(std::string_view className, std::string_view name) const;

    // Calls
    // -----------------------------------------------------------------------------------------------------------

    /// A typed callable of a member found by declaration, or by bare name and the signature. Throws
    /// std::invalid_argument when there is none, or when declaration and signature differ.
    template <class Signature>
    trvhost::Method<Signature> Method(std::string_view className, std::string_view nameOrDeclaration) const {
        using S = detail::SignatureOf<Signature>;
        return {*this,
                FindFunction(className, nameOrDeclaration, false, false, S::Result(), S::Parameters())};
    }
    template <class Signature>
    trvhost::SharedMethod<Signature> SharedMethod(std::string_view className,
                                                  std::string_view nameOrDeclaration) const {
        using S = detail::SignatureOf<Signature>;
        return {*this, FindFunction(className, nameOrDeclaration, true, false, S::Result(), S::Parameters())};
    }
    /// The setter of a method: `void(arguments..., value)`.
    template <class Signature>
    trvhost::Method<Signature> Setter(std::string_view className, std::string_view nameOrDeclaration) const {
        using S = detail::SignatureOf<Signature>;
        return {*this, FindFunction(className, nameOrDeclaration, false, true, S::Result(), S::Parameters())};
    }

    /// Calls a member as the host's language would: the overload is chosen by number and kind of the
    /// arguments (a whole number goes to Integer before Color and Double), missing ones take the declared
    /// default. A declaration instead of the name chooses by itself. Throws std::invalid_argument when none
    /// or several fit. Exceptions that the plug-in raises are noted (TakeException), and the result is then
    /// what the plug-in returned.
    template <class... Args>
    Value Call(const Ref& self, std::string_view nameOrDeclaration, Args&&... args) const {
        return Invoke(self, nameOrDeclaration, {Value(std::forward<Args>(args))...});
    }
    template <class... Args>
    Value CallShared(std::string_view className, std::string_view nameOrDeclaration, Args&&... args) const {
        return InvokeShared(className, nameOrDeclaration, {Value(std::forward<Args>(args))...});
    }
    /// `object.Member(arguments...) = value`; the value comes last.
    template <class... Args>
    void Assign(const Ref& self, std::string_view nameOrDeclaration, Args&&... argsAndValue) const {
        InvokeSetter(self, nameOrDeclaration, {Value(std::forward<Args>(argsAndValue))...});
    }
    Value Invoke(const Ref& self, std::string_view nameOrDeclaration, const std::vector<Value>& args) const;
    Value InvokeShared(std::string_view className, std::string_view nameOrDeclaration,
                       const std::vector<Value>& args) const;
    void InvokeSetter(const Ref& self, std::string_view nameOrDeclaration,
                      const std::vector<Value>& argsAndValue) const;

    /// Properties, of the plug-in's classes (direct access or code, as the table says) and of the host's own.
    /// Throws std::invalid_argument when there is no such property, or it cannot be read or written.
    template <class T = Value>
    T Get(const Ref& object, std::string_view name) const {
        return GetProperty(object, name).As<T>();
    }
    void Set(const Ref& object, std::string_view name, const Value& value) const;
    template <class T = Value>
    T GetShared(std::string_view className, std::string_view name) const {
        return GetSharedProperty(className, name).As<T>();
    }
    void SetShared(std::string_view className, std::string_view name, const Value& value) const;
    Value GetProperty(const Ref& object, std::string_view name) const;
    Value GetSharedProperty(std::string_view className, std::string_view name) const;

    // Things
    // ----------------------------------------------------------------------------------------------------------

    /// A new object without running a constructor; nil for an unknown class.
    Ref New(std::string_view className) const;
    /// A new object, then its "Constructor" of these arguments. The object comes back also when the
    /// constructor raised.
    template <class... Args>
    Ref Construct(std::string_view className, Args&&... args) const {
        Ref object = New(className);
        if (object) Invoke(object, "Constructor", {Value(std::forward<Args>(args))...});
        return object;
    }
    String NewString(std::string_view bytes, uint32_t encoding = kEncodingUtf8) const;
    MemoryBlock NewMemoryBlock(int64_t bytes) const;  ///< zeroed; nil when it cannot be allocated
    MemoryBlock NewMemoryBlock(std::span<const uint8_t> data) const;
    MemoryBlock WrapPointer(void* data) const;  ///< a block that does not own its bytes
    FolderItem NewFolderItem(const std::filesystem::path& path) const;
    Array NewArray(ElementKind kind, int64_t ubound) const;
    Array NewIntegers(std::span<const int64_t> values) const;
    Array NewIntegers(std::initializer_list<int64_t> values) const {
        return NewIntegers(std::span<const int64_t>(values.begin(), values.size()));
    }
    /// A picture, white without alpha and transparent with it. Default storage: gd true colour on console and
    /// web hosts; packed words on Linux desktops; on Windows desktops GDI+ 32bppPARGB with alpha and a 32-bit
    /// DIB section without. Throws std::invalid_argument for a size below 1 or a storage that this platform
    /// lacks.
    Picture NewPicture(int64_t width, int64_t height, PictureStorage storage = PictureStorage::Default,
                       bool alpha = false) const;
    /// Loads an image file, by its content. The picture has alpha when a pixel of the file is not opaque.
    /// Throws std::runtime_error with a one-line text that names the file and the reason.
    Picture LoadPicture(const std::filesystem::path& file,
                        PictureStorage storage = PictureStorage::Default) const;
    /// An object of PictureFactoryTRV itself, which has no event.
    Ref NewPlainFactory() const;
    /// An object of a subclass of PictureFactoryTRV that implements NewPictureTRV with the handler; without a
    /// handler a subclass that does not implement the event.
    Ref NewFactory(FactoryHandler handler) const;
    /// Graphics of a picture.
    Graphics GraphicsOf(const Picture& picture) const;
    /// The value in a Variant that the plug-in made.
    Value VariantValue(const Ref& variant) const;

    /// Where an object's class data begins, to read a record's fields; null for nil and for what has none.
    std::byte* ClassData(const Ref& object) const;
    /// True if the object is of the class or of one below it.
    bool IsA(const Ref& object, std::string_view className) const;

    // Outcomes
    // --------------------------------------------------------------------------------------------------------

    /// The exception noted last, which is then forgotten; none if the plug-in raised none.
    std::optional<ExceptionInfo> TakeException() const;
    bool HasException() const;
    /// Exceptions raised so far, those caught inside the plug-in's own handler calls included.
    int64_t ExceptionsRaised() const;
    LiveCounts Live() const;
    /// The first thing that the plug-in (or a test) did which a host need not stand: the release of a dead
    /// thing, one unlock too many, a wrong kind of thing, a call on another thread. Names the entry. Empty if
    /// there was none.
    std::string FirstMisuse() const;
    int64_t Misuses() const;
    void ClearMisuse();

    // Faults
    // ----------------------------------------------------------------------------------------------------------
    // n counts from 1, the next one; 0 takes a fault back. Each happens once.

    void FailMemoryBlock(int64_t n);                    ///< the n-th next block cannot be allocated
    void ShortenMemoryBlock(int64_t n, int64_t bytes);  ///< the n-th next block comes out that much smaller
    void FailNewInstance(int64_t n);                    ///< the n-th next `PluginNewInstance` answers nil
    void FailNewPicture(int64_t n);  ///< the n-th next picture asked for by the plug-in is nil
    void FailString(int64_t n);      ///< the n-th next string asked for by the plug-in is nil

    /// For the library's own use.
    Core& Internals() const { return *core_; }

  private:
    void* FindFunction(std::string_view className, std::string_view nameOrDeclaration, bool shared,
                       bool setter, detail::WireParameter result,
                       const std::vector<detail::WireParameter>& parameters) const;

    struct Loaded;
    std::unique_ptr<Loaded> loaded_;  // before the core, whose things may need the library to the last
    std::unique_ptr<Core> core_;
    uint64_t previous_ = 0;  // the host that was current before
};

}  // namespace trvhost
