#pragma once

// Rows and whole images as memory blocks, pointers and strings, in the image's own layout or any other.
// `index` is a row from 0 to Height - 1. A format's rows are packed: Width times its pixel size. Alpha that
// only one side has is neither read nor written; with `invertAlpha`, alpha of both sides is complemented.
//
// What they have in common: an invalid image, a format that cannot be created, and layouts without colour
// class give nil and raise nothing. An index out of range raises OutOfBoundsException or, where a method says
// so, UnsupportedOperation- Exception, as RGB into CMYK and back do; a block or text that is nil or empty
// raises NilObjectException, exhausted memory OutOfMemoryException. Results come with one reference for the
// caller.
//
// The setters do not compare the length of what they are given with what the rows need: the caller passes
// enough bytes.

#include <cstdint>

#include "frame/host_types.h"

namespace trv {

/// The row's address, and a block over it: no copies. On a mapped image valid until the next access to a row.
void* rbRawRowPtr(HostObject me, int64_t index);
HostObject rbRawRow(HostObject me, int64_t index);

/// The row's raw bytes, RowSize of them.
HostObject rbRow(HostObject me, int64_t index);
void rbSetRow(HostObject me, int64_t index, HostObject block);

/// A row in another format.
HostObject rbRowInFormat(HostObject me, int64_t index, int64_t format);
void rbSetRowInFormat(HostObject me, int64_t index, int64_t format, HostObject block);

/// The same with a say about alpha; inverting, an index out of range raises UnsupportedOperationException.
HostObject rbRowInFormatInvertAlpha(HostObject me, int64_t index, int64_t format, Boolean invertAlpha);
void rbSetRowInFormatInvertAlpha(HostObject me, int64_t index, int64_t format, Boolean invertAlpha,
                                 HostObject block);

/// The bytes of a row as a string; an index out of range raises UnsupportedOperationException.
HostString rbRowStringInFormat(HostObject me, int64_t index, int64_t format);
void rbSetRowStringInFormat(HostObject me, int64_t index, int64_t format, HostString text);

/// The bytes of all rows as one string.
HostString rbDataStringInFormat(HostObject me, int64_t format);
void rbSetDataStringInFormat(HostObject me, int64_t format, HostString text);

}  // namespace trv
