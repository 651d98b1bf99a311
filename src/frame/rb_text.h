#pragma once

// A host string seen in any encoding.

#include <array>
#include <cstdint>
#include <memory>
#include <type_traits>

#include "frame/references.h"

namespace trv {

/// The forms in which a text can be had. The first five are 8-bit.
enum class TextForm { Ansi, Native, Ascii, Utf8, Latin, Utf16, Utf32 };

/// The code unit of a form.
template <TextForm form>
using TextUnit = std::conditional_t<form == TextForm::Utf32, char32_t,
                                    std::conditional_t<form == TextForm::Utf16, char16_t, char>>;

/// A host string and the forms of it that were asked for so far. No form is made before that, and for pure
/// ASCII the 8-bit forms are the host's own bytes. Every text is zero-terminated and lives as long as the
/// rbText. A form that cannot be made is the empty text from then on, and nothing raises.
///
/// UTF-8 is taken as it is. Converted, it ends before its first illegal sequence; byte-order marks are
/// skipped in UTF-16 and UTF-32. One thread at a time.
class rbText {
    static constexpr uint64_t kCheckWord = 0x7478745462725F5F;
    // One at each end of the record, so that a stray write from either side meets it.
    volatile uint64_t check1_ = kCheckWord;

  public:
    /// Takes a reference of its own on the string. Nil is an empty ASCII text.
    explicit rbText(HostString string);
    ~rbText();
    rbText(const rbText&) = delete;
    rbText& operator=(const rbText&) = delete;

    /// One on the heap, for `delete`; nil if there is no memory.
    [[nodiscard]] static rbText* New(HostString string);

    /// The text, never null.
    template <TextForm form>
    [[nodiscard]] const TextUnit<form>* Text() {
        return static_cast<const TextUnit<form>*>(Ready(form).text);
    }
    /// The text, or null if it is empty.
    template <TextForm form>
    [[nodiscard]] const TextUnit<form>* TextOrNil() {
        return Length(form) == 0 ? nullptr : Text<form>();
    }
    /// Code units without the terminator.
    [[nodiscard]] int64_t Length(TextForm form) { return Ready(form).length; }
    /// The text as a host string of the form's encoding; it stays the rbText's. Nil if the host cannot
    /// convert it. A pure ASCII string stands for all its 8-bit forms.
    [[nodiscard]] HostString String(TextForm form);

    /// The host's code for the encoding of the string.
    [[nodiscard]] uint32_t Encoding() const { return encoding_; }
    /// Whether the last attempt to make a form failed, or stopped at an illegal sequence.
    [[nodiscard]] bool Failed() const { return failed_; }

  private:
    enum class State { PureAscii = 1, NotExamined = 2, NotAscii = 3 };

    struct Form {
        StringReference string;
        int64_t length = -1;  // not made yet
        const void* text = nullptr;
        std::unique_ptr<unsigned char[]> buffer;
        StringData data{};
        bool dataOwed = false;
        bool failed = false;
    };
    static constexpr size_t kForms = 7;

    Form& At(TextForm form) { return forms_[static_cast<size_t>(form)]; }
    const Form& Ready(TextForm form);
    void Make(TextForm which, Form& form);
    void Examine();
    void RelabelAsAnsi();
    [[nodiscard]] bool UseHostBytes(Form& form);
    void AskHost(TextForm which, Form& form);
    template <class Unit>
    void TakeHostText(Form& form);
    template <class Target, class Source, class Convert>
    void ConvertForm(Form& form, const Form& source, const char* label, Convert convert);
    void Finish(Form& form, const void* text, int64_t length, bool failed = false);
    void Fail(Form& form) { Finish(form, nullptr, 0, true); }

    StringReference string_;
    std::array<Form, kForms> forms_;
    bool failed_ = false;
    uint32_t encoding_ = kEncodingAscii;
    State state_ = State::PureAscii;

  public:
    /// The next text of a chain (heap_objects.h).
    rbText* next = nullptr;

  private:
    volatile uint64_t check2_ = kCheckWord;
};

/// The first four characters of the string as a code, the first one in the highest byte ('abcd' is
/// 0x61626364), padded with blanks; in the system's encoding if they are not ASCII. Nil is four blanks.
[[nodiscard]] uint32_t FourCharCode(HostString string);

}  // namespace trv
