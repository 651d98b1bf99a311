#include "scenario.h"

#include <algorithm>
#include <stdexcept>

#include "contracts.h"
#include "text_case.h"

namespace trvfuzz {

using trvhost::Ref;
using trvhost::Value;

namespace {

constexpr int64_t kWidth = 9;
constexpr int64_t kHeight = 7;
constexpr int64_t kBlockBytes = 4000;  // more than any row or image of this size takes

constexpr const char* kKindNames[] = {"RGBA", "CMYKA", "GA", "G16", "mapped", "clipped", "over a picture"};

bool OnImages(const Member& member) {
    return member.className == "PictureTRV" && member.NeedsSelf();
}

}  // namespace

std::string Scenario::Call::Name() const {
    return member->className + "." + member->declaration + " on " + kKindNames[static_cast<size_t>(kind)] +
           (given ? ", images given" : ", images nil");
}

Scenario::Scenario(const trvhost::Host& host, std::filesystem::path scratch, Log log)
    : host_(host), scratch_(std::move(scratch)), log_(log), members_(ReadMembers(host)) {
    for (const Member& member : members_) {
        const bool takesImages =
            std::any_of(member.parameters.begin(), member.parameters.end(),
                        [](const trvhost::Parameter& each) { return LowerCase(each.type) == "picturetrv"; });
        for (int kind = 0; kind < (OnImages(member) ? kKinds : 1); ++kind) {
            calls_.push_back({&member, static_cast<Kind>(kind), false});
            if (takesImages) calls_.push_back({&member, static_cast<Kind>(kind), true});
        }
    }
}

Ref Scenario::MakeImage(Kind kind) const {
    const auto make = [&](const char* format) {
        return host_.Construct("PictureTRV", kWidth, kHeight, host_.Constant("PictureTRV", format));
    };
    switch (kind) {
        case Kind::Rgba:
            return make("ImageFormatRGBA");
        case Kind::Cmyka:
            return make("ImageFormatCMYKA");
        case Kind::GrayAlpha:
            return make("ImageFormatGA");
        case Kind::Gray16:
            return make("ImageFormatGray16");
        case Kind::Mapped:
            return host_.Construct("PictureTRV", kWidth, kHeight,
                                   host_.Constant("PictureTRV", "ImageFormatRGB"), 65536,
                                   host_.NewFolderItem(scratch_ / "mapped"));
        case Kind::Clipped: {
            const Ref whole = make("ImageFormatRGBA");
            return host_.Call(whole, "ClipImage", 2, 1, 5, 4).ToThing();
        }
        case Kind::OverPicture:
            return host_.Construct("PictureTRV", host_.NewPicture(kWidth, kHeight), false);
    }
    return {};
}

int64_t Scenario::Number(const trvhost::Parameter& parameter, const Ref& self) const {
    const std::string name = LowerCase(parameter.name);
    const auto contains = [&](const char* part) { return name.find(part) != std::string::npos; };
    if (contains("format")) {
        return self ? host_.Get<int64_t>(self, "ImageFormat")
                    : host_.Constant("PictureTRV", "ImageFormatRGBA");
    }
    if (contains("rowsize")) return kWidth * 8;
    if (contains("blocksize")) return 65536;
    if (contains("width") || name == "w") return 4;
    if (contains("height") || name == "h") return 3;
    if (contains("mode") || contains("dimension")) return 3;
    if (contains("threads") || contains("lastrow")) return 3;
    if (contains("x") || contains("y") || contains("firstrow")) return 0;
    if (contains("index") || contains("range") || contains("matrix") || contains("offset")) return 1;
    return 20;
}

Value Scenario::Argument(const Call& call, const trvhost::Parameter& parameter, const Ref& self,
                         bool first) const {
    using trvhost::WireType;
    const std::string type = LowerCase(parameter.type);
    switch (parameter.wire) {
        case WireType::Boolean:
            return true;
        case WireType::Single:
        case WireType::Double:
            return 1.5;
        case WireType::Color:
            return trvhost::Color{0x336699};
        case WireType::String:
            return Ref(host_.NewString(std::string(kBlockBytes, 'x'), trvhost::kEncodingNone));
        case WireType::Pointer:
            return static_cast<void*>(nullptr);
        case WireType::Object: {
            if (parameter.isArray) {
                const trvhost::Array array = host_.NewArray(trvhost::ElementKind::Integer, 255);
                for (int64_t i = 0; i <= array.Ubound(); ++i)
                    array.Put(i, 1);
                return array;
            }
            const std::string name = LowerCase(parameter.name);
            const bool optional = name == "dest" || name == "temp" || !first;
            if (type == "picturetrv") {
                if (optional && !call.given) return nullptr;
                return MakeImage(call.kind == Kind::Mapped && name == "temp" ? Kind::Rgba : call.kind);
            }
            if (type == "picture")
                return host_.NewPicture(kWidth, kHeight, trvhost::PictureStorage::Default, true);
            if (type == "memoryblock") return host_.NewMemoryBlock(kBlockBytes);
            if (type == "folderitem") return host_.NewFolderItem(scratch_ / "file");
            if (type == "picturefactorytrv") {
                const trvhost::Host& host = host_;
                return host_.NewFactory([&host](int64_t width, int64_t height, int64_t format) {
                    return host.Construct("PictureTRV", width, height, format);
                });
            }
            return nullptr;
        }
        default:
            return Number(parameter, self);
    }
}

void Scenario::Perform(const Member& member, const Ref& self, const std::vector<Value>& values) const {
    switch (member.kind) {
        case MemberKind::Method:
            (void)host_.Invoke(self, member.declaration, values);
            break;
        case MemberKind::Setter:
            host_.InvokeSetter(self, member.declaration, values);
            break;
        case MemberKind::SharedMethod:
            (void)host_.InvokeShared(member.className, member.declaration, values);
            break;
        case MemberKind::Getter:
            (void)host_.GetProperty(self, member.name);
            break;
        case MemberKind::PropertySetter:
            host_.Set(self, member.name, values.front());
            break;
        case MemberKind::SharedGetter:
            (void)host_.GetSharedProperty(member.className, member.name);
            break;
        case MemberKind::SharedSetter:
            host_.SetShared(member.className, member.name, values.front());
            break;
    }
}

void Scenario::Run(const Call& call, const std::function<void()>& before,
                   const std::function<void()>& after) const {
    const Member& member = *call.member;
    Ref self;
    std::vector<Value> values;
    try {
        if (OnImages(member)) {
            self = MakeImage(call.kind);
            if (!self) return;
        }
        for (size_t i = 0; i < member.parameters.size(); ++i)
            values.push_back(Argument(call, member.parameters[i], self, i == 0));
    } catch (const std::invalid_argument&) {
        return;  // this host lacks what is wanted
    }
    // A row of a padded or mapped image can take more than the block at hand.
    if (!KeepContracts(host_, member, self, values)) return;
    if (log_ == Log::On) host_.SetShared("PictureTRV", "Debugging", true);
    before();
    Perform(member, self, values);
    after();
    if (log_ == Log::On) host_.SetShared("PictureTRV", "Debugging", false);
    // What the classes themselves keep.
    if (member.kind == MemberKind::SharedSetter) host_.SetShared(member.className, member.name, false);
    if (member.name == "SetFactory") host_.InvokeShared(member.className, member.declaration, {nullptr});
}

}  // namespace trvfuzz
