// The thread's COM apartment for the length of a scope.
#pragma once

#include <windows.h>

#include <objbase.h>

namespace tandor {

// Enters an apartment (the multithreaded one unless told otherwise) and leaves it again, exactly once for each entry
// that succeeded (S_FALSE, "already in it", included). A thread that lives in another apartment (RPC_E_CHANGED_MODE) is
// left as it is: COM works there as well.
class Apartment {
public:
    explicit Apartment(DWORD model = COINIT_MULTITHREADED) noexcept : entered_(::CoInitializeEx(nullptr, model)) {}
    ~Apartment() {
        if (SUCCEEDED(entered_)) ::CoUninitialize();
    }
    Apartment(const Apartment&) = delete;
    Apartment& operator=(const Apartment&) = delete;

    // Why COM cannot be used in this scope; S_OK when it can.
    [[nodiscard]] HRESULT Status() const noexcept {
        return SUCCEEDED(entered_) || entered_ == RPC_E_CHANGED_MODE ? S_OK : entered_;
    }

private:
    HRESULT entered_;
};

}  // namespace tandor
