// The plug-in's side: the embedded host with the library loaded, and images over the common bytes.
#pragma once

#include "cases.h"
#include "trvhost/host.h"

namespace trvbench {

using trvhost::Ref;

trvhost::Host& TheHost();

/// A constant of PictureTRV.
int64_t Constant(const char* name);

/// The code of ImageFormatG, ImageFormatRGB or ImageFormatRGBA.
int64_t FormatOf(Layout layout);

/// An image over a memory block with the common bytes, in a format whose pixels are as large as the layout's.
Ref SourceImage(Layout layout, Size size, int64_t format);
Ref SourceImage(Layout layout, Size size);

/// An image of the plug-in's own memory.
Ref EmptyImage(Size size, int64_t format);

/// Throws std::runtime_error that names the operation unless it was done.
void Expect(bool done, const char* operation);

}  // namespace trvbench
