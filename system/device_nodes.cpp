#include "system/device_nodes.h"

#include <cfgmgr32.h>

#include <algorithm>
#include <array>

#include "base/win_handle.h"
#include "system/attempt.h"
#include "system/change.h"
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

DWORD CallInstaller(DI_FUNCTION function, HDEVINFO list, SP_DEVINFO_DATA& device, const std::wstring& name) {
    return Change([&] { return Attempt([&] { return ::SetupDiCallClassInstaller(function, list, &device); }); },
                  [&] {
                      const std::wstring instance = DeviceInstance(list, device);
                      return L"SetupDiCallClassInstaller(" + name + (instance.empty() ? L"" : L", " + instance) + L")";
                  });
}

// Hands the request's parameters to the device, then the request to its class's installer. `function` and `details`
// name both for a rehearsal.
template <class Parameters>
DWORD Send(HDEVINFO list, SP_DEVINFO_DATA& device, Parameters parameters, const std::wstring& function,
           const std::wstring& details) {
    const DWORD error = Change(
        [&] {
            return Attempt([&] {
                return ::SetupDiSetClassInstallParamsW(list, &device, &parameters.ClassInstallHeader,
                                                       sizeof(parameters));
            });
        },
        [&] {
            return L"SetupDiSetClassInstallParamsW(" + DeviceInstance(list, device) + L", " + function + L", " +
                   details + L")";
        });
    return error == ERROR_SUCCESS ? CallInstaller(parameters.ClassInstallHeader.InstallFunction, list, device, function)
                                  : error;
}

// A new device of the class in `list`, with the hardware identifier.
DWORD CreateNode(HDEVINFO list, const std::wstring& class_name, const GUID& class_id, const IdentifierList& identifiers,
                 SP_DEVINFO_DATA& device) {
    const DWORD error = Change(
        [&] {
            return Attempt([&] {
                return ::SetupDiCreateDeviceInfoW(list, class_name.c_str(), &class_id, nullptr, nullptr,
                                                  DICD_GENERATE_ID, &device);
            });
        },
        [&] { return L"SetupDiCreateDeviceInfoW(" + class_name + L", DICD_GENERATE_ID)"; });
    if (error != ERROR_SUCCESS) return error;
    return Change(
        [&] {
            return Attempt([&] {
                return ::SetupDiSetDeviceRegistryPropertyW(list, &device, SPDRP_HARDWAREID,
                                                           reinterpret_cast<const BYTE*>(identifiers.data()),
                                                           sizeof(identifiers));
            });
        },
        [&] {
            return L"SetupDiSetDeviceRegistryPropertyW(SPDRP_HARDWAREID, " + std::wstring(identifiers.data()) + L")";
        });
}

// What the property holds, in `buffer`: a text without its zero, or a list with its zeros. Empty when there is none
// that fits into the buffer, which is not cleared: most devices' identifiers are looked at and forgotten.
using PropertyBuffer = std::array<wchar_t, 2048 / sizeof(wchar_t)>;
std::wstring_view ReadProperty(HDEVINFO list, SP_DEVINFO_DATA& device, DWORD property, PropertyBuffer& buffer) {
    DWORD type = REG_NONE;
    DWORD size = 0;
    if (::SetupDiGetDeviceRegistryPropertyW(list, &device, property, &type, reinterpret_cast<BYTE*>(buffer.data()),
                                            sizeof(buffer), &size) == 0)
        return {};
    const std::wstring_view text(buffer.data(), std::min<std::size_t>(size / sizeof(wchar_t), buffer.size()));
    if (type == REG_MULTI_SZ) return text;
    return type == REG_SZ ? text.substr(0, text.find(L'\0')) : std::wstring_view();
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
    PropertyBuffer buffer;
    matches.error = ForEachDevice([&](HDEVINFO list, SP_DEVINFO_DATA& device) -> DWORD {
        if (!HasIdentifier(ReadProperty(list, device, SPDRP_HARDWAREID, buffer), hardware_id)) return ERROR_SUCCESS;
        ++matches.count;
        return action(list, device);
    });
    return matches;
}

std::wstring DeviceProperty(HDEVINFO list, SP_DEVINFO_DATA& device, DWORD property) {
    PropertyBuffer buffer;
    return std::wstring(ReadProperty(list, device, property, buffer));
}

std::wstring DeviceInstance(HDEVINFO list, SP_DEVINFO_DATA& device) {
    wchar_t instance[MAX_DEVICE_ID_LEN + 1]{};
    const BOOL read = ::SetupDiGetDeviceInstanceIdW(list, &device, instance, MAX_DEVICE_ID_LEN, nullptr);
    return read != 0 ? instance : L"";
}

DWORD ReadInfClass(const std::wstring& inf, GUID& class_id, std::wstring& class_name) {
    wchar_t name[32]{};  // as the system limits class names
    const DWORD error = Attempt([&] {
        return ::SetupDiGetINFClassW(inf.c_str(), &class_id, name, static_cast<DWORD>(std::size(name)), nullptr);
    });
    class_name = name;
    return error;
}

DWORD InstallNode(const std::wstring& hardware_id, const std::wstring& inf,
                  const std::function<DWORD()>& install_driver) {
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
    error = CreateNode(list.Get(), class_name, class_id, identifiers, device);
    if (error == ERROR_SUCCESS) error = CallInstaller(DIF_REGISTERDEVICE, list.Get(), device, L"DIF_REGISTERDEVICE");
    return error == ERROR_SUCCESS ? install_driver() : error;
}

DWORD RemoveNode(HDEVINFO list, SP_DEVINFO_DATA& device) {
    auto parameters = Request<SP_REMOVEDEVICE_PARAMS>(DIF_REMOVE);
    parameters.Scope = DI_REMOVEDEVICE_GLOBAL;
    return Send(list, device, parameters, L"DIF_REMOVE", L"DI_REMOVEDEVICE_GLOBAL");
}

DWORD ChangeState(HDEVINFO list, SP_DEVINFO_DATA& device, DWORD state, DWORD scope) {
    auto parameters = Request<SP_PROPCHANGE_PARAMS>(DIF_PROPERTYCHANGE);
    parameters.StateChange = state;
    parameters.Scope = scope;
    const std::wstring details = std::wstring(state == DICS_ENABLE ? L"DICS_ENABLE" : L"DICS_DISABLE") +
                                 (scope == DICS_FLAG_GLOBAL ? L", DICS_FLAG_GLOBAL" : L", DICS_FLAG_CONFIGSPECIFIC");
    return Send(list, device, parameters, L"DIF_PROPERTYCHANGE", details);
}

DWORD NeedsRestart(HDEVINFO list, SP_DEVINFO_DATA& device, bool& restart) {
    SP_DEVINSTALL_PARAMS_W parameters{};
    parameters.cbSize = sizeof(parameters);
    const DWORD error = Attempt([&] { return ::SetupDiGetDeviceInstallParamsW(list, &device, &parameters); });
    restart = error == ERROR_SUCCESS && (parameters.Flags & (DI_NEEDRESTART | DI_NEEDREBOOT)) != 0;
    return error;
}

}  // namespace tandor
