#include "system/device_nodes.h"

#include "base/win_handle.h"
#include "system/attempt.h"
#include "system/hardware_id.h"

namespace tandor {
namespace {

struct DeviceListPolicy {
    using Value = HDEVINFO;
    static Value Invalid() noexcept { return INVALID_HANDLE_VALUE; }
    static void Close(Value value) noexcept { ::SetupDiDestroyDeviceInfoList(value); }
};
using DeviceList = UniqueHandle<DeviceListPolicy>;

SP_DEVINFO_DATA EmptyDevice() {
    SP_DEVINFO_DATA device{};
    device.cbSize = sizeof(device);
    return device;
}

template <class Parameters>
Parameters Request(DI_FUNCTION function) {
    Parameters parameters{};
    parameters.ClassInstallHeader.cbSize = sizeof(parameters.ClassInstallHeader);
    parameters.ClassInstallHeader.InstallFunction = function;
    return parameters;
}

// Hands the request's parameters to the device, then the request to its class's installer.
template <class Parameters>
DWORD Send(HDEVINFO list, SP_DEVINFO_DATA& device, Parameters parameters) {
    const DWORD error = Attempt([&] {
        return ::SetupDiSetClassInstallParamsW(list, &device, &parameters.ClassInstallHeader, sizeof(parameters));
    });
    if (error != ERROR_SUCCESS) return error;
    return Attempt(
        [&] { return ::SetupDiCallClassInstaller(parameters.ClassInstallHeader.InstallFunction, list, &device); });
}

}  // namespace

DWORD ForEachDevice(const DeviceAction& action) {
    DeviceList list;
    DWORD first = Attempt([&] {
        list.Reset(::SetupDiGetClassDevsExW(nullptr, nullptr, nullptr, DIGCF_ALLCLASSES | DIGCF_PRESENT, nullptr,
                                            nullptr, nullptr));
        return static_cast<bool>(list);
    });
    if (first != ERROR_SUCCESS) return first;
    for (DWORD i = 0;; ++i) {
        SP_DEVINFO_DATA device = EmptyDevice();
        const DWORD end = Attempt([&] { return ::SetupDiEnumDeviceInfo(list.Get(), i, &device); });
        if (end == ERROR_NO_MORE_ITEMS) return first;
        if (end != ERROR_SUCCESS) return first == ERROR_SUCCESS ? end : first;
        const DWORD error = action(list.Get(), device);
        if (first == ERROR_SUCCESS) first = error;
    }
}

Matches ForEachMatch(const std::wstring& hardware_id, const DeviceAction& action) {
    Matches matches;
    matches.error = ForEachDevice([&](HDEVINFO list, SP_DEVINFO_DATA& device) -> DWORD {
        if (!HasIdentifier(DeviceProperty(list, device, SPDRP_HARDWAREID), hardware_id)) return ERROR_SUCCESS;
        ++matches.count;
        return action(list, device);
    });
    return matches;
}

std::wstring DeviceProperty(HDEVINFO list, SP_DEVINFO_DATA& device, DWORD property) {
    wchar_t text[2048 / sizeof(wchar_t)]{};
    DWORD type = REG_NONE;
    DWORD needed = 0;
    if (::SetupDiGetDeviceRegistryPropertyW(list, &device, property, &type, reinterpret_cast<BYTE*>(text), sizeof(text),
                                            &needed) == 0) {
        return {};
    }
    if (type == REG_MULTI_SZ) return {text, std::size(text)};
    return type == REG_SZ ? std::wstring(text, ::wcsnlen(text, std::size(text))) : std::wstring();
}

DWORD ReadInfClass(const std::wstring& inf, GUID& class_id, std::wstring& class_name) {
    wchar_t name[32]{};  // as the system limits class names
    const DWORD error = Attempt([&] {
        return ::SetupDiGetINFClassW(inf.c_str(), &class_id, name, static_cast<DWORD>(std::size(name)), nullptr);
    });
    class_name = name;
    return error;
}

DWORD RegisterDevice(const std::wstring& hardware_id, const std::wstring& inf) {
    IdentifierList identifiers;
    static_assert(sizeof(identifiers) == 404);
    if (!PutIdentifier(hardware_id, identifiers)) return ERROR_INVALID_PARAMETER;
    GUID class_id{};
    std::wstring class_name;
    DWORD error = ReadInfClass(inf, class_id, class_name);
    if (error != ERROR_SUCCESS) return error;
    DeviceList list;
    error = Attempt([&] {
        list.Reset(::SetupDiCreateDeviceInfoList(&class_id, nullptr));
        return static_cast<bool>(list);
    });
    if (error != ERROR_SUCCESS) return error;
    SP_DEVINFO_DATA device = EmptyDevice();
    error = Attempt([&] {
        return ::SetupDiCreateDeviceInfoW(list.Get(), class_name.c_str(), &class_id, nullptr, nullptr, DICD_GENERATE_ID,
                                          &device);
    });
    if (error != ERROR_SUCCESS) return error;
    error = Attempt([&] {
        return ::SetupDiSetDeviceRegistryPropertyW(list.Get(), &device, SPDRP_HARDWAREID,
                                                   reinterpret_cast<const BYTE*>(identifiers.data()),
                                                   sizeof(identifiers));
    });
    if (error != ERROR_SUCCESS) return error;
    return Attempt([&] { return ::SetupDiCallClassInstaller(DIF_REGISTERDEVICE, list.Get(), &device); });
}

DWORD RemoveNode(HDEVINFO list, SP_DEVINFO_DATA& device) {
    auto parameters = Request<SP_REMOVEDEVICE_PARAMS>(DIF_REMOVE);
    parameters.Scope = DI_REMOVEDEVICE_GLOBAL;
    return Send(list, device, parameters);
}

DWORD ChangeState(HDEVINFO list, SP_DEVINFO_DATA& device, DWORD state, DWORD scope) {
    auto parameters = Request<SP_PROPCHANGE_PARAMS>(DIF_PROPERTYCHANGE);
    parameters.StateChange = state;
    parameters.Scope = scope;
    return Send(list, device, parameters);
}

DWORD NeedsRestart(HDEVINFO list, SP_DEVINFO_DATA& device, bool& restart) {
    SP_DEVINSTALL_PARAMS_W parameters{};
    parameters.cbSize = sizeof(parameters);
    const DWORD error = Attempt([&] { return ::SetupDiGetDeviceInstallParamsW(list, &device, &parameters); });
    restart = error == ERROR_SUCCESS && (parameters.Flags & (DI_NEEDRESTART | DI_NEEDREBOOT)) != 0;
    return error;
}

}  // namespace tandor
