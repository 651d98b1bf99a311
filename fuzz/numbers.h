#pragma once

// Numbers as programs give them by accident and by malice.

#include <cstdint>
#include <string>

#include "choices.h"

namespace trvfuzz {

/// What a whole number could mean where it is given.
struct NumberHints {
    std::string name;    ///< of the parameter
    int64_t width = 0;   ///< of the image that is called on
    int64_t height = 0;  ///< likewise
};

/// A whole number: usually one that its parameter's name makes sensible, else small, near a size, or extreme.
int64_t AnyInteger(Choices& choices, const NumberHints& hints);

/// A floating number, not-a-number and infinities among them.
double AnyDouble(Choices& choices);

/// A width or height of an image that fits a small store, or seldom none at all.
int64_t AnySize(Choices& choices);

/// A format code, 0 to 50, of which some are none.
int64_t AnyFormat(Choices& choices);

}  // namespace trvfuzz
