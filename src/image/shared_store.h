#pragma once

// An image and the views made of it, of their views too, reach the same pixels. A view keeps those alive by
// references of its own: on its parent, on the memory block, on the host picture. Two stores end with the
// record that made them all the same, when a program closes it: a mapped file, and a locked bitmap. So the
// records over one store know one another, and the views are closed with it.

#include "image/picture_record.h"

namespace trv {

/// Enters a new view beside the image that it was made of.
void JoinStore(PictureTRV& view, PictureTRV& parent);

/// Takes a record that is about to be closed out of the company. If its store ends with it, the others lose
/// their rows: they keep what their properties say, as closed images do, and give up their windows.
void LeaveStore(PictureTRV& record);

}  // namespace trv
