#include "gdiplus_session.h"

#include <stdexcept>

namespace trvhost {

void StartGdiPlus() {
    static const bool started = [] {
        Gdiplus::GdiplusStartupInput input;
        ULONG_PTR token = 0;
        return Gdiplus::GdiplusStartup(&token, &input, nullptr) == Gdiplus::Ok;
    }();
    if (!started) throw std::runtime_error("GDI+ does not start");
}

}  // namespace trvhost
