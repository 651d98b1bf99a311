#include "program.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <stdexcept>

#include "contracts.h"
#include "watchdog.h"

namespace trvfuzz {

using trvhost::PictureStorage;
using trvhost::Ref;
using trvhost::Value;

namespace {

constexpr int kMostSteps = 400;
constexpr int kDeepest = 3;
/// A factory that never stops to give the wrong format keeps the scaler asking, as its users are told.
constexpr int kMostWrongAnswers = 20;

bool Fits(const std::string& className, const Ref& self) {
    return self && (className == "PictureTRV") == (self.ClassName() == "PictureTRV");
}

/// Noise, and the path of a file in the scratch folder.
bool DependsOnChance(const Member& member) {
    return member.name == "FillRectRandom" || member.name == "DiffuseFilter" || member.name == "FilePath";
}

}  // namespace

// The machine
// ------------------------------------------------------------------------------------------------------

Machine::Machine(const std::filesystem::path& plugin, trvhost::Options options, std::filesystem::path scratch)
    : host_(std::make_unique<trvhost::Host>(plugin, std::move(options))),
      members_(ReadMembers(*host_)),
      constants_(ReadConstants(*host_, "PictureTRV")),
      scratch_(std::move(scratch)) {
    PixelSizeOf(*host_, 1);
    host_->Settings().largestMemoryBlock = kLargestStore;
    start_ = host_->Live();
}

std::vector<std::string> Machine::Uncalled() const {
    std::vector<std::string> names;
    for (const Member& member : members_) {
        if (member.calls == 0) names.push_back(member.className + "." + member.declaration);
    }
    return names;
}

std::string Machine::Run(std::span<const uint8_t> bytes) {
    ForgetSteps();
    digest_ = {};
    {
        Program program(*this, bytes);
        program.Run();
    }
    (void)host_->TakeException();
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(scratch_, error))
        std::filesystem::remove_all(entry.path(), error);
    if (!host_->FirstMisuse().empty()) return "misuse: " + host_->FirstMisuse();
    const trvhost::LiveCounts live = host_->Live();
    if (live == start_) return {};
    std::ostringstream text;
    text << "left over: " << live << "\nbefore: " << start_;
    return text.str();
}

// The program
// ------------------------------------------------------------------------------------------------------

void Program::Run() {
    trvhost::Host& host = machine_.TheHost();
    // The host's time comes by the clock.
    if (!machine_.repeatable_) host.OnYield([this] { Interrupt(); });
    while (!choices_.Done() && steps_ < kMostSteps) {
        Step();
        if (machine_.repeatable_) DigestStep();
    }
    host.OnYield(nullptr);
    BeginCall("the end");
    // What a program left behind in the classes themselves would reach the next one.
    for (const Member& member : machine_.Members()) {
        if (member.kind == MemberKind::SharedSetter) host.SetShared(member.className, member.name, false);
        if (member.name == "SetFactory") host.InvokeShared(member.className, member.declaration, {nullptr});
    }
    things_.Clear();
    EndCall();
}

void Program::Tell(const std::string& text) {
    BeginCall(std::string(static_cast<size_t>(depth_) * 2, ' ') + text);
}

void Program::Step() {
    ++steps_;
    if (things_.images.Empty()) return MakeThing();
    switch (choices_.Below(16)) {
        case 14:
        case 15:
            return MakeThing();
        case 13:
            if (choices_.OneIn(4)) {
                static constexpr std::array kPools = {&Things::images, &Things::pictures, &Things::blocks,
                                                      &Things::factories};
                Pool& pool = things_.*kPools[choices_.Below(kPools.size())];
                Tell("drop one");
                pool.Drop(choices_);
                EndCall();
                return;
            }
            return CallMember();
        default:
            return CallMember();
    }
}

void Program::DigestStep() {
    Tell("digest");
    things_.images.ForEach([&](const Ref& image) { machine_.digest_.AddImage(machine_.TheHost(), image); });
    EndCall();
}

void Program::Interrupt() {
    ++machine_.yields_;
    if (depth_ >= kDeepest || steps_ >= kMostSteps || !choices_.OneIn(4)) return;
    ++depth_;
    Step();
    --depth_;
}

// Things
// ------------------------------------------------------------------------------------------------------

void Program::MakeThing() {
    trvhost::Host& host = machine_.TheHost();
    switch (choices_.Below(12)) {
        case 0:
        case 1:
        case 2:
            return MakeImage();
        case 3:
            return MakeMapped();
        case 4:
        case 5:
            return MakeOverMemory();
        case 6:
        case 7:
            return MakePicture();
        case 8:
            return MakeArray();
        case 9:
            return MakeFactory();
        case 10: {
            trvhost::MemoryBlock block = host.NewMemoryBlock(choices_.Between(0, 2000));
            return things_.blocks.Add(block, choices_);
        }
        default: {
            std::string text(static_cast<size_t>(choices_.Between(0, 600)), 'x');
            for (char& letter : text)
                letter = static_cast<char>(text.size() % 2 == 0 ? 'a' : choices_.Byte());
            static constexpr uint32_t kEncodings[] = {trvhost::kEncodingUtf8, trvhost::kEncodingNone,
                                                      trvhost::kEncodingAscii, trvhost::kEncodingUtf16};
            return things_.strings.Add(host.NewString(text, kEncodings[choices_.Below(4)]), choices_);
        }
    }
}

void Program::MakeImage() {
    trvhost::Host& host = machine_.TheHost();
    Ref image = host.New("PictureTRV");
    // One in eight stays without a constructor.
    if (image && !choices_.OneIn(8)) {
        const std::vector<Value> arguments = {AnySize(choices_), AnySize(choices_), AnyFormat(choices_)};
        Tell("new image" + TextOf(arguments));
        host.Invoke(image, "Constructor", arguments);
        EndCall();
        if (choices_.OneIn(2)) FillWithNoise(host, image, choices_.Byte());
        if (choices_.OneIn(2)) host.Set(image, "YieldTicks", choices_.Between(-2, 2));
    }
    things_.images.Add(std::move(image), choices_);
}

void Program::MakeMapped() {
    trvhost::Host& host = machine_.TheHost();
    Ref image = host.New("PictureTRV");
    std::vector<Value> arguments = {choices_.Between(1, 300), choices_.Between(1, 300), AnyFormat(choices_),
                                    choices_.Between(0, 3) * 65536, AnyFolderItem()};
    const auto member =
        std::find_if(machine_.Members().begin(), machine_.Members().end(), [](const Member& each) {
            return each.name == "Constructor" && each.parameters.size() == 5 &&
                   each.parameters[4].name == "FilePath";
        });
    if (image && member != machine_.Members().end()) {
        KeepContracts(host, *member, image, arguments);
        Tell("new mapped image" + TextOf(arguments));
        host.Invoke(image, "Constructor", arguments);
        EndCall();
    }
    things_.images.Add(std::move(image), choices_);
}

void Program::MakeOverMemory() {
    trvhost::Host& host = machine_.TheHost();
    const int64_t format = choices_.Between(1, 48);
    const int64_t pixelSize = PixelSizeOf(host, format);
    const int64_t width = choices_.Between(1, 30);
    const int64_t height = choices_.Between(1, 30);
    // Rows as long as their pixels, padded, overlapping, or all the same row.
    const int64_t rowSizes[] = {width * pixelSize, width * pixelSize + choices_.Between(0, 40),
                                choices_.Between(0, 40), 0};
    const int64_t rowSize = rowSizes[choices_.Below(4)];
    const int64_t bytes = BytesForRows(width, height, pixelSize, rowSize);
    if (bytes < 0) return;
    const trvhost::MemoryBlock block = host.NewMemoryBlock(bytes + (choices_.OneIn(4) ? 7 : 0));
    if (!block) return;
    uint8_t value = choices_.Byte();
    for (uint8_t& byte : block.Bytes())
        byte = value = static_cast<uint8_t>(value * 5 + 13);
    Ref image = host.New("PictureTRV");
    Tell("new image over memory(" + std::to_string(bytes) + ", " + std::to_string(width) + ", " +
         std::to_string(height) + ", " + std::to_string(format) + ", " + std::to_string(rowSize) + ")");
    if (image) host.Call(image, "Constructor", block, width, height, format, rowSize);
    EndCall();
    things_.images.Add(std::move(image), choices_);
    if (choices_.OneIn(3)) things_.blocks.Add(block, choices_);
}

void Program::MakePicture() {
    trvhost::Host& host = machine_.TheHost();
    static constexpr PictureStorage kStorages[] = {
        PictureStorage::Default,      PictureStorage::Default,      PictureStorage::GdTrueColor,
        PictureStorage::GdPalette,    PictureStorage::Packed32,     PictureStorage::Vector,
        PictureStorage::VectorMac,    PictureStorage::HiDpi,        PictureStorage::GdiPlusArgb,
        PictureStorage::GdiPlusPargb, PictureStorage::GdiPlusRgb24, PictureStorage::GdiPlusIndexed8,
        PictureStorage::Dib32,        PictureStorage::Dib24,        PictureStorage::Dib16,
        PictureStorage::Dib8,         PictureStorage::DeviceBitmap};
    try {
        const auto make = [&](int64_t width, int64_t height) {
            const size_t storage = choices_.Below(std::size(kStorages));
            return host.NewPicture(width, height, kStorages[storage], choices_.OneIn(2));
        };
        const int64_t width = choices_.Between(1, 40);
        const int64_t height = choices_.Between(1, 40);
        const trvhost::Picture picture = make(width, height);
        picture.Fill(static_cast<uint32_t>(choices_.Bytes(4)));
        picture.SetPixel(width - 1, height - 1, static_cast<uint32_t>(choices_.Bytes(4)));
        if (choices_.OneIn(3)) picture.SetMask(make(width, height));
        if (choices_.OneIn(4)) picture.SetBestRepresentation(make(AnySize(choices_), AnySize(choices_)));
        if (choices_.OneIn(8)) picture.SetTypeCode(static_cast<int32_t>(choices_.Between(-1, 16)));
        things_.pictures.Add(picture, choices_);
    } catch (const std::exception&) {
        // This platform lacks the storage, or the host has no picture of that size.
    }
}

void Program::MakeArray() {
    static constexpr int64_t kBounds[] = {-1, 0, 1, 7, 8, 24, 48, 254, 255, 256, 300};
    const trvhost::Array array = machine_.TheHost().NewArray(trvhost::ElementKind::Integer,
                                                             kBounds[choices_.Below(std::size(kBounds))]);
    const bool alike = choices_.OneIn(2);
    const int64_t value = AnyInteger(choices_, {});
    for (int64_t i = 0; i <= array.Ubound(); ++i)
        array.Put(i, alike ? value : i < 30 ? AnyInteger(choices_, {}) : i);
    things_.arrays.Add(array, choices_);
}

void Program::MakeFactory() {
    trvhost::Host& host = machine_.TheHost();
    switch (choices_.Below(4)) {
        case 0:
            return things_.factories.Add(host.NewPlainFactory(), choices_);
        case 1:
            return things_.factories.Add(host.NewFactory(nullptr), choices_);
        default:
            return things_.factories.Add(
                host.NewFactory([this](int64_t width, int64_t height, int64_t format) {
                    return Answer(width, height, format);
                }),
                choices_);
    }
}

/// What a factory gives: what it was asked for, or anything else.
Ref Program::Answer(int64_t width, int64_t height, int64_t format) {
    trvhost::Host& host = machine_.TheHost();
    ++depth_;
    if (depth_ <= kDeepest && steps_ < kMostSteps && choices_.OneIn(4)) Step();
    --depth_;
    const size_t kind = wrongAnswers_ >= kMostWrongAnswers ? 0 : choices_.Below(12);
    if (kind != 0) ++wrongAnswers_;
    switch (kind) {
        case 0:
        case 1:
        case 2:
        case 3:
            return host.Construct("PictureTRV", width, height, format);
        case 4:
            return {};
        case 5:
            return host.New("PictureTRV");
        case 6:
            return host.Construct("PictureTRV", AnySize(choices_), AnySize(choices_), format);
        case 7:
            return host.Construct("PictureTRV", width, height, AnyFormat(choices_));
        case 8:
            if (width > 300 || height > 300) return {};
            return host.Construct("PictureTRV", width, height, format, 65536, AnyFolderItem());
        case 9: {
            // Memory of the program's own, with rows that do not fit a whole number of pixels.
            const int64_t pixelSize = PixelSizeOf(host, format);
            if (pixelSize == 0 || width < 1 || height < 1 || width > 200 || height > 200) return {};
            const int64_t rowSize = width * pixelSize + 3;
            return host.Construct("PictureTRV", host.NewMemoryBlock(rowSize * height), width, height, format,
                                  rowSize);
        }
        default:
            return things_.images.Pick(choices_);
    }
}

Ref Program::AnyFolderItem() {
    const std::filesystem::path& folder = machine_.Scratch();
    std::filesystem::path path;
    switch (choices_.Below(8)) {
        case 0:
            return {};
        case 1:
            path = folder;
            break;
        case 2:
            path = folder / "missing" / "file";
            break;
        case 3:
            path = folder / std::string(static_cast<size_t>(choices_.Between(1, 300)), 'n');
            break;
        case 4:
            path = std::filesystem::path(u8"ä\u4e16界 ") += std::to_string(choices_.Below(3));
            path = folder / path;
            break;
        case 5:
            path = folder / "old";
            if (!std::filesystem::exists(path)) std::ofstream(path) << "what was there";
            break;
        default:
            path = folder / ("file" + std::to_string(choices_.Below(4)));
    }
    Ref item = machine_.TheHost().NewFolderItem(path);
    things_.folderItems.Add(item, choices_);
    return item;
}

// Calls
// ------------------------------------------------------------------------------------------------------

Ref Program::AnyThing(const trvhost::Parameter& parameter, const Ref& self) {
    if (choices_.OneIn(12)) return {};
    if (parameter.isArray) {
        if (things_.arrays.Empty() || choices_.OneIn(4)) MakeArray();
        return things_.arrays.Pick(choices_);
    }
    Pool* pool = things_.PoolOf(parameter.type);
    if (pool == nullptr) return {};
    if (pool == &things_.images && choices_.OneIn(6)) return self;
    if (pool == &things_.folderItems) return AnyFolderItem();
    if (pool == &things_.pictures && pool->Empty()) MakePicture();
    if (pool == &things_.factories && pool->Empty()) MakeFactory();
    if (pool == &things_.blocks && pool->Empty()) {
        pool->Add(machine_.TheHost().NewMemoryBlock(choices_.Between(0, 2000)), choices_);
    }
    return pool->Pick(choices_);
}

Value Program::AnyArgument(const trvhost::Parameter& parameter, const Ref& self) {
    using trvhost::WireType;
    switch (parameter.wire) {
        case WireType::Boolean:
            return choices_.OneIn(2);
        case WireType::Single:
        case WireType::Double:
            return AnyDouble(choices_);
        case WireType::Color:
            return trvhost::Color{static_cast<uint32_t>(choices_.Bytes(4))};
        case WireType::String:
            if (choices_.OneIn(2)) return things_.strings.Pick(choices_);
            return std::string(static_cast<size_t>(choices_.Between(0, 40)), 't');
        case WireType::Pointer:
            return static_cast<void*>(nullptr);
        case WireType::Object:
            return AnyThing(parameter, self);
        default: {
            NumberHints hints{.name = parameter.name};
            if (self && self.ClassName() == "PictureTRV") {
                hints.width = machine_.TheHost().Get<int64_t>(self, "Width");
                hints.height = machine_.TheHost().Get<int64_t>(self, "Height");
            }
            if (!machine_.Constants().empty() && choices_.OneIn(16)) {
                const auto& constants = machine_.Constants();
                return machine_.TheHost().Constant("PictureTRV", constants[choices_.Below(constants.size())]);
            }
            return AnyInteger(choices_, hints);
        }
    }
}

Value Program::Perform(const Member& member, const Ref& self, const std::vector<Value>& arguments) {
    const trvhost::Host& host = machine_.TheHost();
    switch (member.kind) {
        case MemberKind::Method:
            return host.Invoke(self, member.declaration, arguments);
        case MemberKind::Setter:
            host.InvokeSetter(self, member.declaration, arguments);
            return {};
        case MemberKind::SharedMethod:
            return host.InvokeShared(member.className, member.declaration, arguments);
        case MemberKind::Getter:
            return host.GetProperty(self, member.name);
        case MemberKind::PropertySetter:
            host.Set(self, member.name, arguments.front());
            return {};
        case MemberKind::SharedGetter:
            return host.GetSharedProperty(member.className, member.name);
        case MemberKind::SharedSetter:
            host.SetShared(member.className, member.name, arguments.front());
            return {};
    }
    return {};
}

void Program::CallMember() {
    const trvhost::Host& host = machine_.TheHost();
    Member& member = machine_.Members()[choices_.Below(machine_.Members().size())];
    Ref self;
    if (member.NeedsSelf()) {
        self = (member.className == "PictureTRV" ? things_.images : things_.factories).Pick(choices_);
        if (!Fits(member.className, self)) return;
    }
    std::vector<Value> arguments;
    for (const trvhost::Parameter& parameter : member.parameters) {
        // What has a default may be left out.
        if (parameter.defaultText && choices_.OneIn(3)) break;
        arguments.push_back(AnyArgument(parameter, self));
    }
    if (!KeepContracts(host, member, self, arguments)) return;
    if (machine_.repeatable_ && DependsOnChance(member)) return;
    ++member.calls;
    ++machine_.calls_;
    Tell((self ? things_.NameOf(self) : member.className) + "." + member.declaration + " <- " +
         (self && self.ClassName() == "PictureTRV"
              ? "[" + std::to_string(host.Get<int64_t>(self, "Width")) + "x" +
                    std::to_string(host.Get<int64_t>(self, "Height")) + " format " +
                    std::to_string(host.Get<int64_t>(self, "ImageFormat")) + "] "
              : "") +
         TextOf(arguments));
    ++depth_;
    const Value result = Perform(member, self, arguments);
    --depth_;
    EndCall();
    if (host.HasException()) {
        ++machine_.exceptions_;
        (void)host.TakeException();
    }
    if (machine_.repeatable_ && !result.IsPointer()) machine_.digest_.Add(TextOf({result}));
    if (result.IsThing()) things_.Keep(result.ToThing(), choices_);
}

std::string Program::TextOf(const std::vector<Value>& values) {
    std::string text = "(";
    for (const Value& value : values) {
        if (text.size() > 1) text += ", ";
        if (value.IsBool()) {
            text += value.ToBool() ? "true" : "false";
        } else if (value.IsInt()) {
            text += std::to_string(value.ToInt());
        } else if (value.IsDouble()) {
            char number[40];
            std::snprintf(number, sizeof number, "%.17g", value.ToDouble());
            text += number;
        } else if (value.IsColor()) {
            char number[16];
            std::snprintf(number, sizeof number, "&h%06X", static_cast<unsigned>(value.ToColor().rgb));
            text += number;
        } else if (value.IsText()) {
            text += "a text of " + std::to_string(value.ToText().size());
        } else if (value.IsThing()) {
            text += things_.NameOf(value.ToThing());
        } else {
            text += "null";
        }
    }
    return text + ")";
}

}  // namespace trvfuzz
