#include <windows.h>

#include <exception>
#include <new>

#include "foundation/message.h"
#include "tandor/state_watch.h"

namespace {

constexpr auto kEnumWindow = L"TdWindowDetector::EnumWindow";

struct EnumerationContext {
    TdWindowEnumOptions options;
    std::function<bool(HWND)> visitor;
    std::exception_ptr thrown;
};

// An exception must not travel through the system's frames: it is kept, ends every level of the walk, and goes on
// after.
BOOL CALLBACK VisitWindow(HWND window, LPARAM parameter) {
    auto& context = *reinterpret_cast<EnumerationContext*>(parameter);
    try {
        if (context.visitor(window)) return FALSE;
    } catch (...) {
        context.thrown = std::current_exception();
        return FALSE;
    }
    if (context.options.recurse != 0) ::EnumChildWindows(window, VisitWindow, parameter);
    return context.thrown == nullptr ? TRUE : FALSE;
}

class TdWindowDetector : public TdWindowDetectorInterface, private UnCopyable {
public:
    void EnumWindow(HWND window, const TdWindowEnumOptions& options, std::function<bool(HWND)> visitor) override {
        if (window == nullptr || !visitor) return;
        EnumerationContext context{options, std::move(visitor), nullptr};
        const auto parameter = reinterpret_cast<LPARAM>(&context);
        if (options.mode == 0) {
            if (::EnumChildWindows(window, VisitWindow, parameter) == 0)
                tandor::LogMessage(tandor::kFailure, kEnumWindow, L"EnumChildWindows failed");
        } else if (options.mode == 1) {
            // A window that is gone has no thread, and number 0 would mean everybody's.
            const DWORD thread = ::GetWindowThreadProcessId(window, nullptr);
            if (thread == 0 || ::EnumThreadWindows(thread, VisitWindow, parameter) == 0)
                tandor::LogMessage(tandor::kFailure, kEnumWindow, L"EnumThreadWindows failed");
        }
        if (context.thrown != nullptr) std::rethrow_exception(context.thrown);
    }
};

}  // namespace

TdWindowDetectorInterface* TdWindowDetectorFactory::Create() { return new (std::nothrow) TdWindowDetector; }
