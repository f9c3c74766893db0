// One owner for every COM interface.
#pragma once

#include <windows.h>

#include <objbase.h>
#include <oleauto.h>

#include <string_view>
#include <utility>

namespace tandor {

template <class Interface>
class ComPtr {
public:
    ComPtr() noexcept = default;
    explicit ComPtr(Interface* owned) noexcept : pointer_(owned) {}  // takes over the caller's reference
    ComPtr(const ComPtr& other) noexcept : pointer_(other.pointer_) {
        if (pointer_ != nullptr) pointer_->AddRef();
    }
    ComPtr(ComPtr&& other) noexcept : pointer_(std::exchange(other.pointer_, nullptr)) {}
    ComPtr& operator=(ComPtr other) noexcept {
        std::swap(pointer_, other.pointer_);
        return *this;
    }
    ~ComPtr() { Reset(); }

    [[nodiscard]] Interface* Get() const noexcept { return pointer_; }
    Interface* operator->() const noexcept { return pointer_; }
    explicit operator bool() const noexcept { return pointer_ != nullptr; }
    void Reset() noexcept {
        if (Interface* const owned = std::exchange(pointer_, nullptr)) owned->Release();
    }
    // For calls that hand out an interface through a pointer. What was owned is released first.
    [[nodiscard]] Interface** Receive() noexcept {
        Reset();
        return &pointer_;
    }

    [[nodiscard]] HRESULT Create(REFCLSID clsid, DWORD context = CLSCTX_INPROC_SERVER) noexcept {
        return ::CoCreateInstance(clsid, nullptr, context, __uuidof(Interface), ReceiveVoid());
    }
    template <class Other>
    [[nodiscard]] ComPtr<Other> As() const noexcept {  // null when the object does not have it
        ComPtr<Other> other;
        if (pointer_ != nullptr && FAILED(pointer_->QueryInterface(__uuidof(Other), other.ReceiveVoid())))
            other.Reset();
        return other;
    }
    [[nodiscard]] void** ReceiveVoid() noexcept { return reinterpret_cast<void**>(Receive()); }

private:
    Interface* pointer_ = nullptr;
};

// Owns a BSTR.
class ComText {
public:
    ComText() noexcept = default;
    explicit ComText(const wchar_t* text) : text_(::SysAllocString(text)) {}
    // Exactly `length` characters, zeros among them included.
    ComText(const wchar_t* text, std::size_t length) : text_(::SysAllocStringLen(text, static_cast<UINT>(length))) {}
    ~ComText() { ::SysFreeString(text_); }
    ComText(const ComText&) = delete;
    ComText& operator=(const ComText&) = delete;
    [[nodiscard]] BSTR Get() const noexcept { return text_; }
    // For calls that hand out a text through a pointer. What was owned is freed first.
    [[nodiscard]] BSTR* Receive() noexcept {
        ::SysFreeString(std::exchange(text_, nullptr));
        return &text_;
    }
    // What a reader of the text sees: up to its first zero.
    [[nodiscard]] std::wstring_view Visible() const noexcept {
        const std::wstring_view whole(text_, ::SysStringLen(text_));
        return whole.substr(0, whole.find(L'\0'));
    }

private:
    BSTR text_ = nullptr;
};

// Owns what a VARIANT holds.
class ComVariant {
public:
    ComVariant() noexcept { ::VariantInit(&value_); }
    ~ComVariant() { ::VariantClear(&value_); }
    ComVariant(const ComVariant&) = delete;
    ComVariant& operator=(const ComVariant&) = delete;
    [[nodiscard]] VARIANT* Receive() noexcept {
        ::VariantClear(&value_);
        return &value_;
    }
    // The text it holds; null for another type.
    [[nodiscard]] BSTR Text() const noexcept { return value_.vt == VT_BSTR ? value_.bstrVal : nullptr; }

private:
    VARIANT value_;
};

}  // namespace tandor
