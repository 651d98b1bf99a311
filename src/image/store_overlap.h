#pragma once

// What an operation over two images may hold on to: whether they can reach the same bytes, and how many of an
// image's rows stay where they are together.

#include <cstdint>

#include "image/picture_record.h"

namespace trv {

/// Whether the record's rows are reached through a picture's own table.
[[nodiscard]] bool IsRowTable(const PictureTRV& record);

/// Whether the record's rows lie at a fixed distance from each other.
[[nodiscard]] bool IsLinear(const PictureTRV& record);

/// Whether the two images, both open, may reach the same bytes, so that the order of reading and writing
/// shows in the result: the same image, views of one store, images over the same memory. Rather true than
/// false, as long as no program keeps the address of a mapped image's window.
[[nodiscard]] bool MayShareMemory(PictureTRV& a, PictureTRV& b);

/// Whether rows of the image may reach the same bytes, as over a caller's memory with a small `RowSize`, or
/// with channels that a program has moved far behind the pixels.
[[nodiscard]] bool RowsMayOverlap(const PictureTRV& record);

/// Whether an operation from one image to the other, both open, shows in its result in which order it reads
/// and writes: they may share memory, or rows of the second may reach the same bytes.
[[nodiscard]] bool OrderMatters(PictureTRV& from, PictureTRV& to);

/// Rows that can be reached one after the other without moving a mapped image's window; without limit in
/// memory. At least 1.
[[nodiscard]] int64_t RowsInReach(const PictureTRV& record);

}  // namespace trv
