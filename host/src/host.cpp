#include "trvhost/host.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <stdexcept>

#include "arrays.h"
#include "calls.h"
#include "core.h"
#include "entry.h"
#include "exceptions.h"
#include "factories.h"
#include "folder_items.h"
#include "graphics.h"
#include "image_file.h"
#include "library.h"
#include "memory_blocks.h"
#include "pictures.h"
#include "properties.h"
#include "string_things.h"
#include "variants.h"

namespace trvhost {

namespace {

ClassInfo& NeedClass(Core& core, std::string_view name) {
    ClassInfo* info = core.classes.Find(name);
    if (info == nullptr) throw std::invalid_argument("there is no class " + std::string(name));
    return *info;
}

const ClassDefinition& NeedDefinition(Core& core, std::string_view name) {
    const ClassInfo& info = NeedClass(core, name);
    if (info.definition == nullptr)
        throw std::invalid_argument("the class " + info.name + " is the host's own");
    return *info.definition;
}

Thing& NeedObject(Core& core, const Ref& object) {
    Thing* thing = core.Peek(object.Handle());
    if (thing == nullptr) throw std::invalid_argument(object ? "the object is dead" : "the object is nil");
    if (thing->classInfo == nullptr) throw std::invalid_argument("the thing is " + thing->Name());
    return *thing;
}

}  // namespace

namespace detail {

CurrentScope::CurrentScope(const Host& host) noexcept : previous_(Core::CurrentId()) {
    Core::SetCurrent(&host.Internals());
}

CurrentScope::~CurrentScope() {
    Core::SetCurrent(Core::ById(previous_));
}

Ref MakeString(const Host& host, std::string_view utf8) {
    return host.NewString(utf8);
}

std::string TakeString(const Host& host, void* handle) {
    return String(Ref::Adopt(host, handle)).Bytes();
}

}  // namespace detail

// The library outlives the core's things, whose destructors are the plug-in's.
struct Host::Loaded {
    Library library;
    explicit Loaded(const std::filesystem::path& file) : library(file) {}
};

Host::Host(Options options)
    : core_(std::make_unique<Core>(*this, std::move(options))), previous_(Core::CurrentId()) {
    AllEntries();
    Core::SetCurrent(core_.get());
}

Host::Host(const std::filesystem::path& library, Options options) : Host(std::move(options)) {
    loaded_ = std::make_unique<Loaded>(library);
    core_->Log("loaded " + FileText(library));
    if (Symbol("REALPluginMain") == nullptr) {
        throw std::runtime_error("cannot load " + FileText(library) + ": it has no REALPluginMain");
    }
    if (core_->options.start != Start::Later) Connect(core_->options.start == Start::NullResolver);
}

Host::~Host() {
    if (Core::Current() == core_.get()) Core::SetCurrent(Core::ById(previous_));
    core_.reset();
}

void Host::Connect(bool nullResolver) {
    void* entry = Symbol("REALPluginMain");
    if (entry == nullptr) throw std::logic_error("there is no library to connect");
    const detail::CurrentScope scope(*this);
    reinterpret_cast<PluginMain>(entry)(nullResolver ? nullptr : &ResolveForPlugin);
}

void* Host::Symbol(const char* name) const {
    return loaded_ == nullptr ? nullptr : loaded_->library.Symbol(name);
}

Options& Host::Settings() {
    return core_->options;
}

const Options& Host::Settings() const {
    return core_->options;
}

void* Host::Resolve(const char* name) const {
    const detail::CurrentScope scope(*this);
    return ResolveForPlugin(name);
}

std::vector<std::string> Host::EntryNames() {
    std::set<std::string> names;
    for (const EntryRow& row : AllEntries()) {
        if (std::string_view(row.name).find('.') == std::string_view::npos) names.insert(row.name);
    }
    return {names.begin(), names.end()};
}

int64_t Host::Calls(std::string_view entry) const {
    int64_t sum = 0;
    bool known = false;
    for (const EntryRow& row : AllEntries()) {
        if (entry != row.name) continue;
        known = true;
        if (*row.index < core_->calls.size()) sum += core_->calls[*row.index];
    }
    if (!known) throw std::invalid_argument("there is no entry " + std::string(entry));
    return sum;
}

int64_t Host::Lookups(std::string_view entry) const {
    const auto found = core_->lookups.find(entry);
    return found == core_->lookups.end() ? 0 : found->second;
}

const std::vector<std::string>& Host::Trace() const {
    return core_->trace;
}

void Host::ClearTrace() {
    core_->trace.clear();
}

std::optional<int32_t> Host::SdkVersion() const {
    return core_->sdkVersion;
}

std::vector<const void*> Host::Definitions(std::string_view entry) const {
    const auto found = core_->definitions.find(entry);
    return found == core_->definitions.end() ? std::vector<const void*>() : found->second;
}

void Host::OnYield(std::function<void()> action) {
    core_->onYield = std::move(action);
}

std::vector<const ClassDefinition*> Host::Classes() const {
    return core_->classes.Definitions();
}

const ClassDefinition& Host::Class(std::string_view name) const {
    return NeedDefinition(*core_, name);
}

namespace {

const MethodDefinition* FindOnly(const Core& core, const ClassInfo& info, std::string_view nameOrDeclaration,
                                 MemberScope scope) {
    const std::vector<Member> members = FindMembers(core, info, nameOrDeclaration, scope);
    if (members.size() < 2) return members.empty() ? nullptr : members.front().method;
    // A declaration without parameters and result is a bare name too, and then it is meant.
    for (const Member& member : members) {
        if (nameOrDeclaration == member.declaration.text) return member.method;
    }
    throw std::invalid_argument(info.name + " has several members " + std::string(nameOrDeclaration));
}

/// The number behind "=" of a constant's declaration, decimal or "&h…".
int64_t ConstantValue(std::string_view declaration) {
    const size_t equals = declaration.find('=');
    std::string_view text =
        equals == std::string_view::npos ? std::string_view() : declaration.substr(equals + 1);
    while (!text.empty() && text.front() == ' ')
        text.remove_prefix(1);
    const bool hex = text.size() > 2 && (text.substr(0, 2) == "&h" || text.substr(0, 2) == "&H");
    if (hex) text.remove_prefix(2);
    int64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, hex ? 16 : 10);
    if (error != std::errc() || end != text.data() + text.size()) {
        throw std::invalid_argument("not a constant: " + std::string(declaration));
    }
    return value;
}

}  // namespace

const MethodDefinition* Host::FindMethod(std::string_view className,
                                         std::string_view nameOrDeclaration) const {
    return FindOnly(*core_, NeedClass(*core_, className), nameOrDeclaration, MemberScope::Instance);
}

const MethodDefinition* Host::FindSharedMethod(std::string_view className,
                                               std::string_view nameOrDeclaration) const {
    return FindOnly(*core_, NeedClass(*core_, className), nameOrDeclaration, MemberScope::Shared);
}

const PropertyDefinition* Host::FindProperty(std::string_view className, std::string_view name) const {
    const ClassDefinition& definition = Class(className);
    return FindInTable(definition.properties, definition.propertyCount, name);
}

const PropertyDefinition* Host::FindSharedProperty(std::string_view className, std::string_view name) const {
    const ClassDefinition& definition = Class(className);
    return FindInTable(definition.sharedProperties, definition.sharedPropertyCount, name);
}

int64_t Host::Constant(std::string_view className, std::string_view name) const {
    const ClassDefinition& definition = Class(className);
    for (int64_t i = 0; i < definition.constantCount; ++i) {
        const char* declaration = definition.constants[i].declaration;
        if (declaration == nullptr) continue;
        const std::string_view text = declaration;
        if (text.substr(0, text.find_first_of(" =")) == name) return ConstantValue(text);
    }
    throw std::invalid_argument(std::string(className) + " has no constant " + std::string(name));
}

void* Host::FindFunction(std::string_view className, std::string_view nameOrDeclaration, bool shared,
                         bool setter, detail::WireParameter result,
                         const std::vector<detail::WireParameter>& parameters) const {
    return FindTypedFunction(*core_, NeedClass(*core_, className), nameOrDeclaration,
                             shared ? MemberScope::Shared : MemberScope::Instance, setter, result,
                             parameters);
}

Value Host::Invoke(const Ref& self, std::string_view nameOrDeclaration,
                   const std::vector<Value>& args) const {
    const Thing& thing = NeedObject(*core_, self);
    return CallMember(*core_, *thing.classInfo, self.Handle(), nameOrDeclaration, MemberScope::Instance,
                      false, args);
}

Value Host::InvokeShared(std::string_view className, std::string_view nameOrDeclaration,
                         const std::vector<Value>& args) const {
    return CallMember(*core_, NeedClass(*core_, className), nullptr, nameOrDeclaration, MemberScope::Shared,
                      false, args);
}

void Host::InvokeSetter(const Ref& self, std::string_view nameOrDeclaration,
                        const std::vector<Value>& argsAndValue) const {
    const Thing& thing = NeedObject(*core_, self);
    CallMember(*core_, *thing.classInfo, self.Handle(), nameOrDeclaration, MemberScope::Instance, true,
               argsAndValue);
}

namespace {

PropertyRef NeedProperty(std::optional<PropertyRef> found, std::string_view owner, std::string_view name) {
    if (!found) throw std::invalid_argument(std::string(owner) + " has no property " + std::string(name));
    return *found;
}

Value NeedValue(const PropertyRef& property, std::string_view name) {
    auto value = property.Read();
    if (!value) throw std::invalid_argument("the property " + std::string(name) + " cannot be read");
    return *value;
}

void NeedWrite(const PropertyRef& property, std::string_view name, const Value& value) {
    if (!property.Write(value))
        throw std::invalid_argument("the property " + std::string(name) + " cannot be set");
}

}  // namespace

Value Host::GetProperty(const Ref& object, std::string_view name) const {
    Thing& thing = NeedObject(*core_, object);
    return NeedValue(NeedProperty(PropertyRef::Find(*core_, thing, name), thing.Name(), name), name);
}

void Host::Set(const Ref& object, std::string_view name, const Value& value) const {
    Thing& thing = NeedObject(*core_, object);
    NeedWrite(NeedProperty(PropertyRef::Find(*core_, thing, name), thing.Name(), name), name, value);
}

Value Host::GetSharedProperty(std::string_view className, std::string_view name) const {
    const ClassInfo& info = NeedClass(*core_, className);
    return NeedValue(NeedProperty(PropertyRef::FindShared(*core_, info, name), className, name), name);
}

void Host::SetShared(std::string_view className, std::string_view name, const Value& value) const {
    const ClassInfo& info = NeedClass(*core_, className);
    NeedWrite(NeedProperty(PropertyRef::FindShared(*core_, info, name), className, name), name, value);
}

Ref Host::New(std::string_view className) const {
    ClassInfo* info = core_->classes.Find(className);
    return info == nullptr ? Ref() : Ref::Adopt(*this, core_->classes.Make(*info).Address());
}

String Host::NewString(std::string_view bytes, uint32_t encoding) const {
    return String(Ref::Adopt(*this, core_->Make<StringThing>(std::string(bytes), encoding).Address()));
}

MemoryBlock Host::NewMemoryBlock(int64_t bytes) const {
    auto& block = core_->Make<MemoryBlockThing>(&NeedClass(*core_, "MemoryBlock"));
    Ref owner = Ref::Adopt(*this, block.Address());
    if (bytes < 0 || bytes > core_->options.largestMemoryBlock || !block.Allocate(bytes)) return {};
    return MemoryBlock(std::move(owner));
}

MemoryBlock Host::NewMemoryBlock(std::span<const uint8_t> data) const {
    MemoryBlock block = NewMemoryBlock(static_cast<int64_t>(data.size()));
    if (block && !data.empty()) std::memcpy(block.Data(), data.data(), data.size());
    return block;
}

MemoryBlock Host::WrapPointer(void* data) const {
    auto& block = core_->Make<MemoryBlockThing>(&NeedClass(*core_, "MemoryBlock"));
    block.Wrap(data);
    return MemoryBlock(Ref::Adopt(*this, block.Address()));
}

FolderItem Host::NewFolderItem(const std::filesystem::path& path) const {
    auto& item = core_->Make<FolderItemThing>(&NeedClass(*core_, "FolderItem"));
    item.path = path;
    item.path.make_preferred();
    return FolderItem(Ref::Adopt(*this, item.Address()));
}

Array Host::NewArray(ElementKind kind, int64_t ubound) const {
    if (ElementSize(kind) == 0 || ubound < -1) throw std::invalid_argument("no such array");
    ArrayThing* array = trvhost::NewArray(*core_, static_cast<int32_t>(kind), ubound);
    return array == nullptr ? Array() : Array(Ref::Adopt(*this, array->Address()));
}

Array Host::NewIntegers(std::span<const int64_t> values) const {
    Array array = NewArray(ElementKind::Integer, static_cast<int64_t>(values.size()) - 1);
    for (size_t i = 0; i < values.size(); ++i)
        array.Put(static_cast<int64_t>(i), values[i]);
    return array;
}

Picture Host::NewPicture(int64_t width, int64_t height, PictureStorage storage, bool alpha) const {
    return Picture(Ref::Adopt(*this, trvhost::NewPicture(*core_, width, height, storage, alpha).Address()));
}

Picture Host::LoadPicture(const std::filesystem::path& file, PictureStorage storage) const {
    const LoadedImage image = LoadImageFile(file);
    const bool alpha = !image.IsOpaque() && CanHaveAlpha(storage);
    auto& picture = trvhost::NewPicture(*core_, image.width, image.height, storage, alpha);
    for (int64_t y = 0; y < image.height; ++y) {
        picture.store->Write(0, y, image.width, image.pixels.data() + y * image.width);
    }
    return Picture(Ref::Adopt(*this, picture.Address()));
}

Ref Host::NewPlainFactory() const {
    return New("PictureFactoryTRV");
}

Ref Host::NewFactory(FactoryHandler handler) const {
    ClassInfo& base = NeedClass(*core_, "PictureFactoryTRV");
    const std::string name = handler ? "FactoryWithEvent" : "FactoryWithoutEvent";
    ClassInfo* info = core_->classes.Find(name);
    if (info == nullptr) info = &core_->classes.AddSubclass(name, base);
    if (handler) {
        const EventInfo* event = core_->classes.FindEvent(base, "NewPictureTRV");
        if (event == nullptr) throw std::invalid_argument("PictureFactoryTRV has no event NewPictureTRV");
        info->implemented[event] = FactoryEventFunction();
    }
    auto& factory = static_cast<FactoryThing&>(core_->classes.Make(*info));
    factory.handler = std::move(handler);
    return Ref::Adopt(*this, factory.Address());
}

Graphics Host::GraphicsOf(const Picture& picture) const {
    auto* thing = core_->PeekAs<PictureThing>(picture.Handle());
    const GraphicsThing* graphics = thing == nullptr ? nullptr : NewGraphics(*core_, *thing);
    return graphics == nullptr ? Graphics() : Graphics(Ref::Adopt(*this, graphics->Address()));
}

Value Host::VariantValue(const Ref& variant) const {
    const auto* thing = core_->PeekAs<VariantThing>(variant.Handle());
    if (thing == nullptr) throw std::invalid_argument("not a Variant");
    return thing->value;
}

std::byte* Host::ClassData(const Ref& object) const {
    const Thing* thing = core_->Peek(object.Handle());
    return thing == nullptr || thing->ClassDataSize() == 0 ? nullptr : thing->ClassData();
}

bool Host::IsA(const Ref& object, std::string_view className) const {
    const Thing* thing = core_->Peek(object.Handle());
    const ClassInfo* info = core_->classes.Find(className);
    return thing != nullptr && info != nullptr && ClassRegistry::IsA(thing->classInfo, *info);
}

std::optional<ExceptionInfo> Host::TakeException() const {
    const Ref taken = Ref::Adopt(*this, core_->TakePending());
    const auto* exception = core_->PeekAs<ExceptionThing>(taken.Handle());
    if (exception == nullptr) return std::nullopt;
    return ExceptionInfo{exception->Name(), BytesOf(*core_, exception->message), exception->errorNumber};
}

bool Host::HasException() const {
    return core_->HasPending();
}

int64_t Host::ExceptionsRaised() const {
    return core_->raised;
}

LiveCounts Host::Live() const {
    return core_->Live();
}

std::string Host::FirstMisuse() const {
    const std::lock_guard lock(core_->misuseMutex);
    return core_->firstMisuse;
}

int64_t Host::Misuses() const {
    const std::lock_guard lock(core_->misuseMutex);
    return core_->misuses;
}

void Host::ClearMisuse() {
    const std::lock_guard lock(core_->misuseMutex);
    core_->firstMisuse.clear();
    core_->misuses = 0;
}

void Host::FailMemoryBlock(int64_t n) {
    core_->failMemoryBlock.Set(n);
}

void Host::ShortenMemoryBlock(int64_t n, int64_t bytes) {
    core_->shortenMemoryBlock.Set(n);
    core_->shortenBy = bytes;
}

void Host::FailNewInstance(int64_t n) {
    core_->failNewInstance.Set(n);
}

void Host::FailNewPicture(int64_t n) {
    core_->failNewPicture.Set(n);
}

void Host::FailString(int64_t n) {
    core_->failString.Set(n);
}

std::ostream& operator<<(std::ostream& out, const ExceptionInfo& info) {
    return out << info.className << " " << info.errorNumber << ": " << info.message;
}

std::ostream& operator<<(std::ostream& out, const LiveCounts& counts) {
    for (const auto& [name, count] : counts.objects)
        out << count << " " << name << ", ";
    return out << counts.strings << " strings, " << counts.stringData << " string data, "
               << counts.pictureLocks << " picture locks, " << counts.bitmapLocks << " bitmap locks";
}

}  // namespace trvhost
