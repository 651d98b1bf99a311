// GDI+ for the length of the process, with its flat interface.
#pragma once

#include <windows.h>
// gdiplus.h wants these without asking.
#include <algorithm>
#include <cstdint>
namespace Gdiplus {
using std::max;
using std::min;
}  // namespace Gdiplus
#include <gdiplus.h>
#include <objidl.h>

namespace trvhost {

/// Starts GDI+ once. Throws std::runtime_error where that fails.
void StartGdiPlus();

}  // namespace trvhost
