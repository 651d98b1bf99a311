#include "trvhost/debug_capture.h"

#include <mutex>
#include <stdexcept>
#include <windows.h>

namespace trvhost {

namespace {

std::mutex mutex;
std::vector<std::string>* capturing = nullptr;

// OutputDebugStringA raises these two on its way to a debugger: the second with length and address of the
// text.
constexpr DWORD kPrintWide = 0x4001000A;
constexpr DWORD kPrint = 0x40010006;

LONG CALLBACK Catch(EXCEPTION_POINTERS* pointers) {
    const EXCEPTION_RECORD& record = *pointers->ExceptionRecord;
    if (record.ExceptionCode == kPrintWide) return EXCEPTION_CONTINUE_SEARCH;
    if (record.ExceptionCode != kPrint || record.NumberParameters < 2) return EXCEPTION_CONTINUE_SEARCH;
    const std::lock_guard lock(mutex);
    if (capturing == nullptr) return EXCEPTION_CONTINUE_SEARCH;
    capturing->emplace_back(reinterpret_cast<const char*>(record.ExceptionInformation[1]));
    return EXCEPTION_CONTINUE_EXECUTION;
}

}  // namespace

struct DebugCapture::Impl {
    std::vector<std::string> lines;
    void* handler = nullptr;
};

DebugCapture::DebugCapture() : impl_(std::make_unique<Impl>()) {
    impl_->handler = AddVectoredExceptionHandler(1, Catch);
    if (impl_->handler == nullptr) throw std::runtime_error("the debugger channel cannot be captured");
    const std::lock_guard lock(mutex);
    capturing = &impl_->lines;
}

DebugCapture::~DebugCapture() {
    RemoveVectoredExceptionHandler(impl_->handler);
    const std::lock_guard lock(mutex);
    capturing = nullptr;
}

std::vector<std::string> DebugCapture::Lines() const {
    const std::lock_guard lock(mutex);
    return impl_->lines;
}

void DebugCapture::Clear() {
    const std::lock_guard lock(mutex);
    impl_->lines.clear();
}

void DebugCapture::Say(const std::string& line) {
    OutputDebugStringA(line.c_str());
}

}  // namespace trvhost
