#include "string_things.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "encodings.h"
#include "entry.h"
#include "text_case.h"

namespace trvhost {

std::string BytesOf(Core& core, Handle string) {
    const auto* thing = core.FindAs<StringThing>(string);
    return thing == nullptr ? std::string() : thing->bytes;
}

namespace {

Handle NewString(Core& core, std::string bytes, uint32_t encoding) {
    if (core.failString.Hit()) return nullptr;
    return core.Make<StringThing>(std::move(bytes), encoding).Address();
}

Handle BuildWithEncoding(Core& core, const char* bytes, int32_t count, uint32_t encoding) {
    if (count < 0 || (bytes == nullptr && count > 0)) {
        core.Misuse("a string of " + std::to_string(count) + " bytes");
        return nullptr;
    }
    return NewString(core, std::string(bytes == nullptr ? "" : bytes, static_cast<size_t>(count)), encoding);
}

Handle Build(Core& core, const char* bytes, int32_t count) {
    return BuildWithEncoding(core, bytes, count, kEncodingNone);
}

void SetEncoding(Core& core, Handle string, uint32_t encoding) {
    if (auto* thing = core.FindAs<StringThing>(string)) thing->encoding = encoding;
}

uint32_t GetEncoding(Core& core, Handle string) {
    const auto* thing = core.FindAs<StringThing>(string);
    return thing == nullptr ? 0 : thing->encoding;
}

Handle Convert(Core& core, Handle string, uint32_t encoding) {
    const auto* thing = core.FindAs<StringThing>(string);
    if (thing == nullptr) return nullptr;
    auto converted = ConvertText(thing->bytes, thing->encoding, encoding);
    return converted ? NewString(core, std::move(*converted), encoding) : nullptr;
}

const char* GetCString(Core& core, Handle string) {
    const auto* thing = core.FindAs<StringThing>(string);
    return thing == nullptr ? nullptr : thing->bytes.c_str();
}

int64_t LenB(Core& core, Handle string) {
    const auto* thing = core.FindAs<StringThing>(string);
    return thing == nullptr ? 0 : static_cast<int64_t>(thing->bytes.size());
}

void SwapUnits(std::string& bytes, int unit) {
    const auto step = static_cast<size_t>(unit);
    for (size_t i = 0; i + step <= bytes.size(); i += step) {
        std::reverse(bytes.begin() + static_cast<std::ptrdiff_t>(i),
                     bytes.begin() + static_cast<std::ptrdiff_t>(i + step));
    }
}

/// Puts the bytes into a block of their own, which is owed back.
void HandOut(Core& core, std::string bytes, uint32_t encoding, StringData& out) {
    const int unit = UnitSize(encoding);
    const StringDataForm form = core.options.stringDataForm;
    if (unit > 1 && (form == StringDataForm::ByteOrderMark || form == StringDataForm::SwappedByteOrderMark)) {
        bytes = (unit == 2 ? std::string("\xFF\xFE", 2) : std::string("\xFF\xFE\0\0", 4)) + bytes;
        if (form == StringDataForm::SwappedByteOrderMark) SwapUnits(bytes, unit);
    }
    constexpr size_t kTail = 16;
    auto* data = static_cast<char*>(std::calloc(bytes.size() + kTail, 1));
    if (data == nullptr) throw std::bad_alloc();
    std::memcpy(data, bytes.data(), bytes.size());
    if (form == StringDataForm::NotTerminated) std::memset(data + bytes.size(), 'x', kTail / 2);
    core.stringData.insert(data);
    out = {data, static_cast<int64_t>(bytes.size()), data};
}

bool GetStringData(Core& core, Handle string, uint32_t encoding, StringData* out) {
    const auto* thing = core.FindAs<StringThing>(string);
    if (thing == nullptr || out == nullptr) return false;
    auto converted = ConvertText(thing->bytes, thing->encoding, encoding);
    if (!converted) return false;
    HandOut(core, std::move(*converted), encoding, *out);
    return true;
}

void DisposeStringData(Core& core, StringData* data) {
    if (data == nullptr) return;
    if (core.stringData.erase(data->hostData) == 0) {
        core.Misuse("string data that is not owed");
        return;
    }
    std::free(data->hostData);
    *data = {};
}

Handle AddString(Core& core, Handle left, Handle right) {
    const auto* a = core.FindAs<StringThing>(left);
    const auto* b = core.FindAs<StringThing>(right);
    const uint32_t encoding = a != nullptr ? a->encoding : b != nullptr ? b->encoding : kEncodingUtf8;
    std::string joined = a == nullptr ? std::string() : a->bytes;
    if (b != nullptr) {
        // Plain bytes are joined where the second part cannot be had in the encoding of the first.
        joined += ConvertText(b->bytes, b->encoding, encoding).value_or(b->bytes);
    }
    return NewString(core, std::move(joined), encoding);
}

int32_t Sign(int comparison) {
    return comparison < 0 ? -1 : comparison > 0 ? 1 : 0;
}

int32_t CompareString(Core& core, Handle left, Handle right) {
    return Sign(BytesOf(core, left).compare(BytesOf(core, right)));
}

Handle BuildText(Core& core, const char* bytes, const char* encodingName) {
    const auto encoding = EncodingByName(encodingName == nullptr ? "utf-8" : encodingName);
    if (bytes == nullptr || !encoding) return nullptr;
    auto utf8 = ConvertText(bytes, *encoding, kEncodingUtf8);
    return utf8 ? core.Make<TextThing>(std::move(*utf8)).Address() : nullptr;
}

bool GetTextData(Core& core, Handle text, const char* encodingName, StringData* out) {
    const auto* thing = core.FindAs<TextThing>(text);
    const auto encoding = EncodingByName(encodingName == nullptr ? "utf-8" : encodingName);
    if (thing == nullptr || out == nullptr || !encoding) return false;
    auto converted = ConvertText(thing->utf8, kEncodingUtf8, *encoding);
    if (!converted) return false;
    HandOut(core, std::move(*converted), *encoding, *out);
    return true;
}

std::string TextOf(Core& core, Handle text) {
    const auto* thing = core.FindAs<TextThing>(text);
    return thing == nullptr ? std::string() : thing->utf8;
}

int32_t CompareText(Core& core, Handle left, Handle right, int32_t options, Handle /*locale*/) {
    const std::string a = TextOf(core, left), b = TextOf(core, right);
    return Sign(options == 0 ? LowerCase(a).compare(LowerCase(b)) : a.compare(b));
}

Handle ConcatenateText(Core& core, Handle left, Handle right) {
    return core.Make<TextThing>(TextOf(core, left) + TextOf(core, right)).Address();
}

template <class T>
void LockAs(Core& core, Handle handle) {
    if (core.FindAs<T>(handle) != nullptr) core.Lock(handle);
}

template <class T>
void UnlockAs(Core& core, Handle handle) {
    if (core.FindAs<T>(handle) != nullptr) core.Unlock(handle);
}

uint32_t FontEncoding(Core&, const char* /*font*/) {
    return kEncodingUtf8;
}

}  // namespace

std::span<const EntryRow> StringEntries() {
    static const EntryRow rows[] = {
        Row<"REALBuildString", Build>(),
        Row<"REALBuildStringWithEncoding", BuildWithEncoding>(),
        Row<"REALSetStringEncoding", SetEncoding>(),
        Row<"REALGetStringEncoding", GetEncoding>(),
        Row<"REALConvertString", Convert>(),
        Row<"StringGetCString", GetCString>(),
        Row<"PluginGetStringData", GetStringData>(),
        Row<"PluginDisposeStringData", DisposeStringData>(),
        Row<"RuntimeAddString", AddString>(),
        Row<"RuntimeStringCompare", CompareString>(),
        Row<"REALLockString", LockAs<StringThing>>(),
        Row<"REALUnlockString", UnlockAs<StringThing>>(),
        Row<"PluginBuildText", BuildText>(),
        Row<"PluginGetTextData", GetTextData>(),
        Row<"PluginDisposeTextData", DisposeStringData>(),
        Row<"PluginCompareText", CompareText>(),
        Row<"PluginConcatenateText", ConcatenateText>(),
        Row<"PluginLockText", LockAs<TextThing>>(),
        Row<"PluginUnlockText", UnlockAs<TextThing>>(),
        Row<"REALGetFontEncoding", FontEncoding>(),
    };
    return rows;
}

std::span<const MemberRow> GlobalMembers() {
    static const MemberRow rows[] = {
        {Row<".LenB( s as string ) as integer", LenB>()},
    };
    return rows;
}

}  // namespace trvhost
