#include "support/setup_spy.h"

#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <tuple>
#include <utility>

namespace tandor::test {
namespace {

template <class... Arguments>
std::wstring Detail(Arguments...) {
    return {};
}
std::wstring Detail(DI_FUNCTION function, HDEVINFO, PSP_DEVINFO_DATA) { return L" " + std::to_wstring(function); }
std::wstring Detail(HDEVINFO, PSP_DEVINFO_DATA, PSP_CLASSINSTALL_HEADER header, DWORD bytes) {
    std::wstring text;
    const auto* const numbers = reinterpret_cast<const DWORD*>(header);
    for (DWORD i = 1; i < 4 && i < bytes / sizeof(DWORD); ++i) text += L" " + std::to_wstring(numbers[i]);
    return text;
}
std::wstring Detail(HDEVINFO, PSP_DEVINFO_DATA, DWORD property, const BYTE*, DWORD bytes) {
    return L" " + std::to_wstring(property) + L" " + std::to_wstring(bytes);
}

enum Entry {
    kGetInfClass,
    kCreateList,
    kCreate,
    kSetProperty,
    kInstaller,
    kSetParams,
    kGetDevices,
    kEnum,
    kGetParams,
    kDestroy,
    kEntries
};

struct Name {
    const char* entry;
    const wchar_t* label;
    bool recorded;
};
constexpr Name kNames[kEntries] = {
    {"SetupDiGetINFClassW", L"GetINFClass", true},
    {"SetupDiCreateDeviceInfoList", L"CreateDeviceInfoList", true},
    {"SetupDiCreateDeviceInfoW", L"CreateDeviceInfo", true},
    {"SetupDiSetDeviceRegistryPropertyW", L"SetDeviceRegistryProperty", true},
    {"SetupDiCallClassInstaller", L"CallClassInstaller", true},
    {"SetupDiSetClassInstallParamsW", L"SetClassInstallParams", true},
    {"SetupDiGetClassDevsExW", L"GetClassDevsEx", false},
    {"SetupDiEnumDeviceInfo", L"EnumDeviceInfo", false},
    {"SetupDiGetDeviceInstallParamsW", L"GetDeviceInstallParams", false},
    {"SetupDiDestroyDeviceInfoList", L"DestroyDeviceInfoList", false},
};

template <class Result>
Result Failed() {
    if constexpr (std::is_same_v<Result, HDEVINFO>)
        return INVALID_HANDLE_VALUE;
    else
        return FALSE;
}

template <Entry entry, class Function>
struct Spied;

template <Entry entry, class Result, class... Arguments>
struct Spied<entry, Result(Arguments...)> {
    static inline Result (*real)(Arguments...) = nullptr;

    static Result WINAPI Call(Arguments... arguments) {
        SetupSpy* const spy = SetupSpy::current;
        if (spy == nullptr) return real(arguments...);
        if (!spy->Enter(kNames[entry].label + Detail(arguments...), kNames[entry].recorded)) return Failed<Result>();
        if constexpr (entry == kSetParams) return TRUE;
        if constexpr (entry == kInstaller)
            if (std::get<0>(std::tuple(arguments...)) == DIF_PROPERTYCHANGE) return TRUE;
        if constexpr (entry == kGetParams) {  // Wine gives none of a removed device
            std::get<2>(std::tuple(arguments...))->Flags = spy->install_flags;
            return TRUE;
        }
        const Result result = real(arguments...);
        if constexpr (std::is_same_v<Result, HDEVINFO>) spy->open_lists += result != INVALID_HANDLE_VALUE ? 1 : 0;
        if constexpr (entry == kDestroy) --spy->open_lists;
        return result;
    }

    static FARPROC LookUp(HMODULE module, LPCSTR name) {
        if (std::strcmp(name, kNames[entry].entry) != 0) return nullptr;
        real = reinterpret_cast<Result (*)(Arguments...)>(reinterpret_cast<void*>(::GetProcAddress(module, name)));
        return reinterpret_cast<FARPROC>(reinterpret_cast<void*>(&Call));
    }
};

BOOL WINAPI UpdateDriver(HWND, LPCWSTR hardware_id, LPCWSTR inf, DWORD flags, BOOL* reboot) {
    return SetupSpy::current->Enter(L"UpdateDriver " + std::wstring(hardware_id) + L" " + inf + L" " +
                                    std::to_wstring(flags) + (reboot == nullptr ? L"" : L" reboot"));
}

BOOL WINAPI UninstallDriver(HWND, LPCWSTR inf, DWORD flags, BOOL* reboot) {
    return SetupSpy::current->Enter(L"UninstallDriver " + std::wstring(inf) + L" " + std::to_wstring(flags) +
                                    (reboot == nullptr ? L"" : L" reboot"));
}

FARPROC WINAPI LookUp(HMODULE module, LPCSTR name) {
    if (std::strcmp(name, "UpdateDriverForPlugAndPlayDevicesW") == 0)
        return reinterpret_cast<FARPROC>(reinterpret_cast<void*>(&UpdateDriver));
    if (std::strcmp(name, "DiUninstallDriverW") == 0)
        return reinterpret_cast<FARPROC>(reinterpret_cast<void*>(&UninstallDriver));
    for (const auto look_up : {
             Spied<kGetInfClass, decltype(SetupDiGetINFClassW)>::LookUp,
             Spied<kCreateList, decltype(SetupDiCreateDeviceInfoList)>::LookUp,
             Spied<kCreate, decltype(SetupDiCreateDeviceInfoW)>::LookUp,
             Spied<kSetProperty, decltype(SetupDiSetDeviceRegistryPropertyW)>::LookUp,
             Spied<kInstaller, decltype(SetupDiCallClassInstaller)>::LookUp,
             Spied<kSetParams, decltype(SetupDiSetClassInstallParamsW)>::LookUp,
             Spied<kGetDevices, decltype(SetupDiGetClassDevsExW)>::LookUp,
             Spied<kEnum, decltype(SetupDiEnumDeviceInfo)>::LookUp,
             Spied<kGetParams, decltype(SetupDiGetDeviceInstallParamsW)>::LookUp,
             Spied<kDestroy, decltype(SetupDiDestroyDeviceInfoList)>::LookUp,
         }) {
        if (const FARPROC found = look_up(module, name); found != nullptr) return found;
    }
    return ::GetProcAddress(module, name);
}

}  // namespace

SetupSpy* SetupSpy::current = nullptr;

SetupSpy::SetupSpy() {
    // Entries are looked up once in a process, so the patch stays.
    static const ImportPatch patch(L"TandorUtil.dll", "GetProcAddress", &LookUp);
    current = this;
}

SetupSpy::~SetupSpy() { current = nullptr; }

std::vector<std::wstring> SetupSpy::Take() {
    const std::lock_guard lock(mutex_);
    return std::exchange(calls_, {});
}

void SetupSpy::Fail(std::wstring call, DWORD error, int times) {
    const std::lock_guard lock(mutex_);
    failing_ = std::move(call);
    error_ = error;
    times_ = times;
}

bool SetupSpy::Enter(const std::wstring& call, bool recorded) {
    const std::lock_guard lock(mutex_);
    if (recorded) calls_.push_back(call);
    if (times_ == 0 || !call.starts_with(failing_)) return true;
    --times_;
    ::SetLastError(error_);
    return false;
}

std::wstring SystemFolder() {
    wchar_t folder[MAX_PATH];
    ::GetSystemDirectoryW(folder, MAX_PATH);
    return folder;
}

SystemFile::SystemFile(const wchar_t* source, const wchar_t* name)
    : path_(SystemFolder() + L"\\" + name), kept_(path_ + L".kept") {
    PutBack();
    ::MoveFileExW(path_.c_str(), kept_.c_str(), 0);
    wchar_t program[MAX_PATH];
    ::GetModuleFileNameW(nullptr, program, MAX_PATH);
    const std::wstring from = (std::filesystem::path(program).parent_path() / source).native();
    if (::CopyFileW(from.c_str(), path_.c_str(), TRUE) == 0)
        throw std::runtime_error("a double cannot be put in place");
}

SystemFile::~SystemFile() {
    // A program that somebody did not wait for may still run.
    for (int i = 0; i < 1000 && ::DeleteFileW(path_.c_str()) == 0 && ::GetLastError() != ERROR_FILE_NOT_FOUND; ++i)
        ::Sleep(10);
    PutBack();
}

void SystemFile::PutBack() const {
    if (::GetFileAttributesW(kept_.c_str()) != INVALID_FILE_ATTRIBUTES)
        ::MoveFileExW(kept_.c_str(), path_.c_str(), MOVEFILE_REPLACE_EXISTING);
}

}  // namespace tandor::test
