#include "support/setup_spy.h"

#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <utility>

namespace tandor::test {
namespace {

bool Enter(const std::wstring& call, bool recorded = true) {
    return SetupSpy::current == nullptr || SetupSpy::current->Enter(call, recorded);
}

HDEVINFO Opened(HDEVINFO list) {
    if (SetupSpy::current != nullptr && list != INVALID_HANDLE_VALUE) ++SetupSpy::current->open_lists;
    return list;
}

BOOL WINAPI GetInfClass(PCWSTR inf, GUID* id, PWSTR name, DWORD size, DWORD* needed) {
    return Enter(L"GetINFClass " + std::to_wstring(size)) && ::SetupDiGetINFClassW(inf, id, name, size, needed);
}

HDEVINFO WINAPI CreateList(const GUID* id, HWND window) {
    if (!Enter(L"CreateDeviceInfoList")) return INVALID_HANDLE_VALUE;
    const HDEVINFO list = Opened(::SetupDiCreateDeviceInfoList(id, window));
    if (SetupSpy::current != nullptr) SetupSpy::current->made_list = list;
    return list;
}

HDEVINFO WINAPI GetDevices(const GUID* id, PCWSTR enumerator, HWND window, DWORD flags, HDEVINFO set, PCWSTR machine,
                           void* reserved) {
    if (!Enter(L"GetClassDevsEx " + std::to_wstring(flags), false)) return INVALID_HANDLE_VALUE;
    return Opened(::SetupDiGetClassDevsExW(id, enumerator, window, flags, set, machine, reserved));
}

BOOL WINAPI DestroyList(HDEVINFO list) {
    if (SetupSpy::current != nullptr) {
        --SetupSpy::current->open_lists;
        if (SetupSpy::current->made_list == list) {
            SetupSpy::current->made_list = nullptr;  // another list may lie in its place
            SetupSpy::current->Record(L"DestroyDeviceInfoList");
        }
    }
    return ::SetupDiDestroyDeviceInfoList(list);
}

BOOL WINAPI Enumerate(HDEVINFO list, DWORD index, PSP_DEVINFO_DATA device) {
    return Enter(L"EnumDeviceInfo", false) && ::SetupDiEnumDeviceInfo(list, index, device);
}

BOOL WINAPI Create(HDEVINFO list, PCWSTR name, const GUID* id, PCWSTR description, HWND window, DWORD flags,
                   PSP_DEVINFO_DATA device) {
    return Enter(L"CreateDeviceInfo " + std::to_wstring(flags) + (description == nullptr ? L"" : L" description") +
                 (window == nullptr ? L"" : L" window")) &&
           ::SetupDiCreateDeviceInfoW(list, name, id, description, window, flags, device);
}

BOOL WINAPI SetProperty(HDEVINFO list, PSP_DEVINFO_DATA device, DWORD property, const BYTE* data, DWORD bytes) {
    return Enter(L"SetDeviceRegistryProperty " + std::to_wstring(property) + L" " + std::to_wstring(bytes)) &&
           ::SetupDiSetDeviceRegistryPropertyW(list, device, property, data, bytes);
}

BOOL WINAPI GetProperty(HDEVINFO list, PSP_DEVINFO_DATA device, DWORD property, DWORD* type, BYTE* data, DWORD bytes,
                        DWORD* needed) {
    return Enter(L"GetDeviceRegistryProperty " + std::to_wstring(property) + L" " + std::to_wstring(bytes), false) &&
           ::SetupDiGetDeviceRegistryPropertyW(list, device, property, type, data, bytes, needed);
}

BOOL WINAPI CallInstaller(DI_FUNCTION function, HDEVINFO list, PSP_DEVINFO_DATA device) {
    return Enter(L"CallClassInstaller " + std::to_wstring(function)) &&
           (function == DIF_PROPERTYCHANGE || ::SetupDiCallClassInstaller(function, list, device));
}

BOOL WINAPI SetParameters(HDEVINFO, PSP_DEVINFO_DATA, PSP_CLASSINSTALL_HEADER header, DWORD bytes) {
    std::wstring call = L"SetClassInstallParams";
    const auto* const numbers = reinterpret_cast<const DWORD*>(header);
    for (DWORD i = 1; i < 4 && i < bytes / sizeof(DWORD); ++i) call += L" " + std::to_wstring(numbers[i]);
    return Enter(call);
}

BOOL WINAPI GetParameters(HDEVINFO, PSP_DEVINFO_DATA, PSP_DEVINSTALL_PARAMS_W parameters) {
    parameters->Flags = SetupSpy::current == nullptr ? 0 : SetupSpy::current->install_flags;
    return Enter(L"GetDeviceInstallParams", false);
}

BOOL WINAPI UpdateDriver(HWND window, LPCWSTR hardware_id, LPCWSTR inf, DWORD flags, BOOL* reboot) {
    return Enter(L"UpdateDriver " + std::wstring(hardware_id) + L" " + inf + L" " + std::to_wstring(flags) +
                 (reboot == nullptr && window == nullptr ? L"" : L" reboot or window"));
}

BOOL WINAPI UninstallDriver(HWND window, LPCWSTR inf, DWORD flags, BOOL* reboot) {
    return Enter(L"UninstallDriver " + std::wstring(inf) + L" " + std::to_wstring(flags) +
                 (reboot == nullptr && window == nullptr ? L"" : L" reboot or window"));
}

FARPROC WINAPI LookUp(HMODULE module, LPCSTR name) {
    static const std::pair<const char*, void*> entries[] = {
        {"SetupDiGetINFClassW", reinterpret_cast<void*>(&GetInfClass)},
        {"SetupDiCreateDeviceInfoList", reinterpret_cast<void*>(&CreateList)},
        {"SetupDiGetClassDevsExW", reinterpret_cast<void*>(&GetDevices)},
        {"SetupDiDestroyDeviceInfoList", reinterpret_cast<void*>(&DestroyList)},
        {"SetupDiEnumDeviceInfo", reinterpret_cast<void*>(&Enumerate)},
        {"SetupDiCreateDeviceInfoW", reinterpret_cast<void*>(&Create)},
        {"SetupDiSetDeviceRegistryPropertyW", reinterpret_cast<void*>(&SetProperty)},
        {"SetupDiGetDeviceRegistryPropertyW", reinterpret_cast<void*>(&GetProperty)},
        {"SetupDiCallClassInstaller", reinterpret_cast<void*>(&CallInstaller)},
        {"SetupDiSetClassInstallParamsW", reinterpret_cast<void*>(&SetParameters)},
        {"SetupDiGetDeviceInstallParamsW", reinterpret_cast<void*>(&GetParameters)},
        {"UpdateDriverForPlugAndPlayDevicesW", reinterpret_cast<void*>(&UpdateDriver)},
        {"DiUninstallDriverW", reinterpret_cast<void*>(&UninstallDriver)},
    };
    for (const auto& [entry, function] : entries)
        if (std::strcmp(name, entry) == 0) return reinterpret_cast<FARPROC>(function);
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

void SetupSpy::FailAt(int n, DWORD error) {
    const std::lock_guard lock(mutex_);
    countdown_ = n;
    error_ = error;
    failed_.clear();
}

std::wstring SetupSpy::Failed() {
    const std::lock_guard lock(mutex_);
    countdown_ = 0;
    return std::exchange(failed_, {});
}

void SetupSpy::Record(const std::wstring& call) {
    const std::lock_guard lock(mutex_);
    calls_.push_back(call);
}

bool SetupSpy::Enter(const std::wstring& call, bool recorded) {
    const std::lock_guard lock(mutex_);
    if (recorded) calls_.push_back(call);
    if (countdown_ > 0 && --countdown_ == 0) {
        failed_ = call;
        ::SetLastError(error_);
        return false;
    }
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
