// One owner for every kind of system handle: what closes it and which value means "none" are the policy.
#pragma once

#include <windows.h>

#include <utility>

namespace tandor {

template <class Policy>
class UniqueHandle {
public:
    using Value = typename Policy::Value;

    UniqueHandle() noexcept = default;
    explicit UniqueHandle(Value value) noexcept : value_(value) {}
    UniqueHandle(UniqueHandle&& other) noexcept : value_(other.Release()) {}
    UniqueHandle& operator=(UniqueHandle&& other) noexcept {
        Reset(other.Release());
        return *this;
    }
    ~UniqueHandle() { Reset(); }

    [[nodiscard]] Value Get() const noexcept { return value_; }
    explicit operator bool() const noexcept { return value_ != Policy::Invalid(); }
    Value Release() noexcept { return std::exchange(value_, Policy::Invalid()); }
    void Reset(Value value = Policy::Invalid()) noexcept {
        if (value_ != Policy::Invalid() && value_ != value) Policy::Close(value_);
        value_ = value;
    }
    // For calls that hand out a handle through a pointer. What was owned is closed first.
    [[nodiscard]] Value* Receive() noexcept {
        Reset();
        return &value_;
    }

private:
    Value value_ = Policy::Invalid();
};

struct KernelHandlePolicy {  // events, mutexes, processes, threads: none is null
    using Value = HANDLE;
    static Value Invalid() noexcept { return nullptr; }
    static void Close(Value value) noexcept { ::CloseHandle(value); }
};
using KernelHandle = UniqueHandle<KernelHandlePolicy>;

struct FileHandlePolicy {
    using Value = HANDLE;
    static Value Invalid() noexcept { return INVALID_HANDLE_VALUE; }
    static void Close(Value value) noexcept { ::CloseHandle(value); }
};
using FileHandle = UniqueHandle<FileHandlePolicy>;

struct FindHandlePolicy {
    using Value = HANDLE;
    static Value Invalid() noexcept { return INVALID_HANDLE_VALUE; }
    static void Close(Value value) noexcept { ::FindClose(value); }
};
using FindHandle = UniqueHandle<FindHandlePolicy>;

struct ModuleHandlePolicy {
    using Value = HMODULE;
    static Value Invalid() noexcept { return nullptr; }
    static void Close(Value value) noexcept { ::FreeLibrary(value); }
};
using ModuleHandle = UniqueHandle<ModuleHandlePolicy>;

struct RegistryKeyPolicy {
    using Value = HKEY;
    static Value Invalid() noexcept { return nullptr; }
    static void Close(Value value) noexcept { ::RegCloseKey(value); }
};
using RegistryKey = UniqueHandle<RegistryKeyPolicy>;

}  // namespace tandor
