#include "frame/rb_text.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>

#include "frame/debug_log.h"
#include "frame/heap_objects.h"
#include "frame/host_strings.h"
#include "frame/text_conversion.h"

namespace trv {

namespace {

/// The text of an empty form, whatever its unit.
alignas(char32_t) const unsigned char kEmptyText[sizeof(char32_t)] = {};

/// In the order of TextForm.
constexpr uint32_t kEncodings[] = {kEncodingAnsi,  kEncodingNative, kEncodingAscii, kEncodingUtf8,
                                   kEncodingLatin, kEncodingUtf16,  kEncodingUtf32};

uint32_t EncodingOf(TextForm form) {
    return kEncodings[static_cast<size_t>(form)];
}

bool IsWide(TextForm form) {
    return form == TextForm::Utf16 || form == TextForm::Utf32;
}

bool IsUtf8Or(uint32_t encoding, uint32_t other) {
    return encoding == kEncodingUtf8 || encoding == other;
}

/// Room for `units` units of the given size and some bytes more; null if there is none.
std::unique_ptr<unsigned char[]> NewBuffer(int64_t units, int64_t unitBytes, int64_t moreBytes) {
    if (units > (std::numeric_limits<int64_t>::max() - moreBytes) / unitBytes) return nullptr;
    const auto bytes = static_cast<size_t>(units * unitBytes + moreBytes);
    return std::unique_ptr<unsigned char[]>(new (std::nothrow) unsigned char[bytes]);
}

template <class Unit>
Unit* UnitsOf(const std::unique_ptr<unsigned char[]>& buffer) {
    return reinterpret_cast<Unit*>(buffer.get());
}

/// The unit at an index of host data, which may lie anywhere.
template <class Unit>
Unit UnitAt(const void* units, int64_t index) {
    Unit unit;
    std::memcpy(&unit, static_cast<const unsigned char*>(units) + index * static_cast<int64_t>(sizeof unit),
                sizeof unit);
    return unit;
}

template <class Unit>
bool IsAligned(const void* units) {
    return reinterpret_cast<uintptr_t>(units) % alignof(Unit) == 0;
}

}  // namespace

rbText::rbText(HostString string) : string_(StringReference::Share(string)) {
    if (string_.Get() == nullptr) return;
    encoding_ = host::REALGetStringEncoding(string);
    state_ = State::NotExamined;
    switch (encoding_) {
        case kEncodingUtf16:
        case kEncodingUtf32:
            state_ = State::NotAscii;
            break;
        case kEncodingUnknown:
            Examine();
            if (state_ == State::NotAscii) RelabelAsAnsi();
            break;
        case kEncodingAscii:
            if (!UseHostBytes(At(TextForm::Ascii))) break;
            [[fallthrough]];
        case kEncodingUtf8:
            static_cast<void>(UseHostBytes(At(TextForm::Utf8)));
            break;
        default:
            break;
    }
}

rbText::~rbText() {
    if (check1_ != kCheckWord) TRV_LOG("Check1 in rbText invalid");
    if (check2_ != kCheckWord) TRV_LOG("Check2 in rbText invalid");
    string_ = StringReference();
    for (Form& form : forms_)
        form.string = StringReference();
    for (Form& form : forms_) {
        if (form.dataOwed) host::PluginDisposeStringData(&form.data);
        form = Form();
    }
    failed_ = false;
    encoding_ = kEncodingAscii;
    state_ = State::PureAscii;
    next = nullptr;
    check1_ = 0;
    check2_ = 0;
}

rbText* rbText::New(HostString string) {
    return NewObject<rbText>("Failed to allocate text object.", string);
}

HostString rbText::String(TextForm form) {
    if (string_.Get() == nullptr || encoding_ == EncodingOf(form)) return string_.Get();
    Examine();
    const bool standsForAll = state_ == State::PureAscii && encoding_ != kEncodingUnknown;
    if (standsForAll && !IsWide(form)) return string_.Get();
    StringReference& converted = At(form).string;
    if (converted.Get() == nullptr) {
        converted = StringReference(host::REALConvertString(string_.Get(), EncodingOf(form)));
    }
    failed_ = converted.Get() == nullptr;
    return converted.Get();
}

const rbText::Form& rbText::Ready(TextForm form) {
    if (At(form).length < 0) Make(form, At(form));
    return At(form);
}

void rbText::Make(TextForm which, Form& form) {
    const bool wide = IsWide(which);
    if (!wide || !IsUtf8Or(encoding_, kEncodingAscii)) Examine();
    if (!wide && state_ == State::PureAscii) {
        if (!UseHostBytes(form)) Finish(form, nullptr, 0);
    } else if (wide && (state_ == State::PureAscii || IsUtf8Or(encoding_, kEncodingAscii))) {
        const Form& source = Ready(TextForm::Utf8);
        if (which == TextForm::Utf16) {
            ConvertForm<char16_t, char>(form, source, "Try UTF8 to UTF16 conversion...", Utf8ToUtf16);
        } else {
            ConvertForm<char32_t, char>(form, source, "Try UTF8 to UTF32 conversion...", Utf8ToUtf32);
        }
    } else if (which == TextForm::Utf32 && encoding_ == kEncodingUtf16) {
        ConvertForm<char32_t, char16_t>(form, Ready(TextForm::Utf16), "Try UTF16 to UTF32 conversion...",
                                        [](const char16_t* units, int64_t count, char32_t* out) {
                                            return ConvertedText{Utf16ToUtf32(units, count, out), -1};
                                        });
    } else {
        AskHost(which, form);
    }
}

/// Settles whether the string is pure ASCII.
void rbText::Examine() {
    if (state_ != State::NotExamined) return;
    const auto [bytes, count] = BytesOfString(string_.Get());
    state_ = bytes != nullptr && IsAscii(bytes, count) ? State::PureAscii : State::NotAscii;
}

/// Raw bytes that are not ASCII are read as text of the ANSI encoding.
void rbText::RelabelAsAnsi() {
    const auto [bytes, count] = BytesOfString(string_.Get());
    string_ = StringReference(REALBuildUnicodeString(bytes, count, kEncodingAnsi));
    encoding_ = kEncodingAnsi;
}

/// Makes the form the host's own bytes; false if the host does not show them.
bool rbText::UseHostBytes(Form& form) {
    const auto [bytes, count] = BytesOfString(string_.Get());
    if (bytes == nullptr) return false;
    Finish(form, bytes, count);
    return true;
}

void rbText::AskHost(TextForm which, Form& form) {
    if (!host::PluginGetStringData(string_.Get(), EncodingOf(which), &form.data)) {
        TRV_LOG("REALGetStringData failed.");
        Fail(form);
        return;
    }
    form.dataOwed = true;
    if (which == TextForm::Utf16) {
        TakeHostText<char16_t>(form);
    } else if (which == TextForm::Utf32) {
        TakeHostText<char32_t>(form);
    } else {
        TakeHostText<char>(form);
    }
}

/// Takes over what the host has handed out, in a buffer of our own where it is not as promised: terminated,
/// aligned, of this machine's byte order and without a byte-order mark.
template <class Unit>
void rbText::TakeHostText(Form& form) {
    static constexpr int64_t kUnitBytes = sizeof(Unit);
    const void* text = form.data.data;
    const int64_t count = text == nullptr ? 0 : std::max<int64_t>(form.data.size, 0) / kUnitBytes;
    if (count == 0) return Finish(form, nullptr, 0);
    const bool terminated = UnitAt<Unit>(text, count) == 0;
    if (!terminated || !IsAligned<Unit>(text)) {
        if (!terminated) TRV_LOG("String is not zero terminated. Fixed.");
        form.buffer = NewBuffer(count, kUnitBytes, 4);
        if (form.buffer == nullptr) {
            TRV_LOG("Out of memory");
            return Fail(form);
        }
        std::memcpy(form.buffer.get(), text, static_cast<size_t>(count * kUnitBytes));
        std::memset(form.buffer.get() + count * kUnitBytes, 0, 4);
        text = form.buffer.get();
    }
    if constexpr (kUnitBytes > 1) {
        static constexpr Unit kMark = 0xFEFF;
        const auto* units = static_cast<const Unit*>(text);
        if (units[0] == SwapBytes(kMark)) {
            TRV_LOG("String is Little Endian. Swap.");
            std::unique_ptr<unsigned char[]> swapped = NewBuffer(count + 1, kUnitBytes, 0);
            if (swapped == nullptr) {
                TRV_LOG("Out of memory");
                return Fail(form);
            }
            // The terminator goes with it.
            std::transform(units, units + count + 1, UnitsOf<Unit>(swapped),
                           [](Unit unit) { return SwapBytes(unit); });
            form.buffer = std::move(swapped);
            units = UnitsOf<Unit>(form.buffer);
        }
        const int64_t skipped = units[0] == kMark ? 1 : 0;
        return Finish(form, units + skipped, count - skipped);
    } else {
        Finish(form, text, count);
    }
}

template <class Target, class Source, class Convert>
void rbText::ConvertForm(Form& form, const Form& source, const char* label, Convert convert) {
    TRV_LOG(label);
    if (source.failed) return Fail(form);
    form.buffer = NewBuffer(source.length, sizeof(Target), 16);
    if (form.buffer == nullptr) {
        TRV_LOG("Out of memory");
        return Fail(form);
    }
    auto* const units = UnitsOf<Target>(form.buffer);
    const ConvertedText converted = convert(static_cast<const Source*>(source.text), source.length, units);
    if (converted.illegalAt >= 0) TRV_LOG("Illegal UTF-8 sequence!", converted.illegalAt);
    Finish(form, units, converted.units, converted.illegalAt >= 0);
}

/// Settles a form for good; no text, or none of it, is the empty text.
void rbText::Finish(Form& form, const void* text, int64_t length, bool failed) {
    form.text = length < 1 ? kEmptyText : text;
    form.length = std::max<int64_t>(length, 0);
    form.failed = failed;
    failed_ = failed;
}

uint32_t FourCharCode(HostString string) {
    rbText text(string);
    const char* const bytes = text.Text<TextForm::Native>();
    const int64_t count = text.Length(TextForm::Native);
    uint32_t code = 0;
    for (int i = 0; i < 4; ++i)
        code = code << 8 | static_cast<uint8_t>(i < count ? bytes[i] : ' ');
    return code;
}

}  // namespace trv
