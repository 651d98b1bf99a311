#pragma once

// Exceptions of the host's: objects that a host program can catch. A raise notes the exception with the host
// and returns, so the code behind it runs: whoever raises goes on to clean up and returns nil, 0 or false
// itself. What raises at all: nil arguments, indices out of range, refused conversions and exhausted memory.
// A wrong image state does not.

#include <cstdint>
#include <exception>

#include "frame/host_types.h"

namespace trv {

/// The core. A host without the class gets a RuntimeException instead; one without that as well gets nothing.
/// The message stays the caller's.
void RaiseException(const char* className, HostString message, int64_t errorNumber);

/// The message as bytes of UTF-8.
void RaiseException(const char* className, const char* message, int64_t errorNumber = 0);

/// The three strings joined; they stay the caller's.
void RaiseException(const char* className, HostString first, HostString second, HostString third);

void RaiseIllegalCastException(const char* message);
void RaiseOutOfBoundsException(const char* message);
void RaiseOutOfMemoryException(const char* message);
void RaiseRuntimeException(const char* message);
void RaiseUnsupportedOperationException(const char* message, int64_t errorNumber = 0);
void RaiseUnsupportedOperationException(HostString message, int64_t errorNumber);
void RaiseNilObjectException(const char* message);

/// OutOfMemoryException with a message that holds one %lld for the number of bytes.
void RaiseOutOfMemory(const char* format, int64_t bytes);

/// OutOfBoundsException that names the parameter, the method, the range low to high - 1 and the value. A null
/// parameter reads "?", a null method as empty.
void RaiseRangeError(int64_t value, int64_t low, int64_t high, const char* parameter, const char* method);

/// The host exception that stands for a native one.
void TranslateException(const std::exception& exception);

/// The host exception for a native one of no known type.
void RaiseUnnamedException();

}  // namespace trv
