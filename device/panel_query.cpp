// GetEdidData's members that ask the management service and the registry.
#include <windows.h>

#include <wbemidl.h>

#include "base/hex.h"
#include "base/utf.h"
#include "base/win_apartment.h"
#include "base/win_com_ptr.h"
#include "device/edid.h"
#include "foundation/message.h"
#include "pelora/registry.h"
#include "tandor/edid.h"

namespace {

using tandor::ComPtr;

constexpr const wchar_t* kNamespace = L"ROOT\\CIMV2";
constexpr const wchar_t* kPanelQuery =
    L"SELECT PNPDeviceID, MonitorManufacturer FROM Win32_DesktopMonitor WHERE         MonitorManufacturer LIKE 'Vextro "
    L"Device%'";
constexpr const wchar_t* kCaptionQuery = L"SELECT Caption FROM Win32_DesktopMonitor";
constexpr LONG kPatience = 10'000;  // ms for the next row; a service that hangs must not hang its caller

std::wstring HexOf(HRESULT status) {
    char bytes[4];
    for (int i = 0; i < 4; ++i) bytes[i] = static_cast<char>(static_cast<unsigned long>(status) >> (24 - 8 * i));
    return L"0x" + tandor::WideFromUtf8Lossy(tandor::HexFromBytes({bytes, sizeof(bytes)}, tandor::HexCase::kUpper));
}

// The service may act for the caller. Objects that live in this process have no proxy, and nothing to set.
HRESULT LetActForCaller(IUnknown* object) {
    const HRESULT status = ::CoSetProxyBlanket(object, RPC_C_AUTHN_WINNT, RPC_C_AUTHZ_NONE, nullptr,
                                               RPC_C_AUTHN_LEVEL_CALL, RPC_C_IMP_LEVEL_IMPERSONATE, nullptr, EOAC_NONE);
    return status == E_NOINTERFACE ? S_OK : status;
}

HRESULT RunQuery(const wchar_t* query, ComPtr<IEnumWbemClassObject>& rows) {
    ComPtr<IWbemLocator> locator;
    ComPtr<IWbemServices> services;
    HRESULT status = locator.Create(__uuidof(WbemLocator));
    if (SUCCEEDED(status)) {
        status = locator->ConnectServer(tandor::ComText(kNamespace).Get(), nullptr, nullptr, nullptr,
                                        WBEM_FLAG_CONNECT_USE_MAX_WAIT, nullptr, nullptr, services.Receive());
    }
    if (SUCCEEDED(status)) status = LetActForCaller(services.Get());
    if (SUCCEEDED(status)) {
        status = services->ExecQuery(tandor::ComText(L"WQL").Get(), tandor::ComText(query).Get(),
                                     WBEM_FLAG_FORWARD_ONLY | WBEM_FLAG_RETURN_IMMEDIATELY, nullptr, rows.Receive());
    }
    if (SUCCEEDED(status)) status = LetActForCaller(rows.Get());
    return status;
}

// The text `column` of the first row in which it is not null. Empty when there is none.
std::wstring FirstText(const wchar_t* query, const wchar_t* column, std::wstring_view function) {
    const tandor::Apartment apartment;
    ComPtr<IEnumWbemClassObject> rows;
    HRESULT status = apartment.Status();
    if (SUCCEEDED(status)) status = RunQuery(query, rows);
    while (SUCCEEDED(status)) {
        ComPtr<IWbemClassObject> row;
        ULONG count = 0;
        status = rows->Next(kPatience, 1, row.Receive(), &count);
        if (status == WBEM_S_TIMEDOUT) status = static_cast<HRESULT>(WBEM_E_TRANSPORT_FAILURE);
        if (status == WBEM_S_FALSE) return {};
        if (FAILED(status) || count == 0) break;
        tandor::ComVariant value;
        if (SUCCEEDED(row->Get(column, 0, value.Receive(), nullptr, nullptr)) && value.Text() != nullptr &&
            *value.Text() != L'\0') {
            return value.Text();
        }
    }
    tandor::LogMessage(tandor::kFailure, function, L": management query fail: ", HexOf(status));
    return {};
}

}  // namespace

std::wstring GetEdidData::GetPnpDeviceID() {
    constexpr std::wstring_view kFunction = L"GetEdidData::GetPnpDeviceID";
    const auto fail = [&](const wchar_t* text) {
        tandor::LogMessage(tandor::kFailure, kFunction, text);
        return std::wstring();
    };
    const std::wstring id = FirstText(kPanelQuery, L"PNPDeviceID", kFunction);
    if (id.empty()) return fail(L" PNPDeviceID is NULL.");
    const std::size_t first = id.find(L'\\');  // behind the enumerator
    if (first == std::wstring::npos) return fail(L" deviceId's firstIndex is NULL.");
    const std::size_t second = id.find(L'\\', first + 1);  // behind the device
    if (second == std::wstring::npos) return fail(L" deviceId's secondIndex is NULL.");
    return id.substr(0, id.find(L'\\', second + 1));
}

std::wstring GetEdidData::GetEdidDataPath(const std::wstring& deviceId) {
    if (deviceId.empty()) {
        tandor::LogMessage(tandor::kFailure, L"GetEdidData::GetEdidDataPath", L": EdidRegistryPath is NULL!");
        return {};
    }
    return L"SYSTEM\\CurrentControlSet\\Enum\\" + deviceId + L"\\Device Parameters\\";
}

std::vector<unsigned char> GetEdidData::GetLcdEdidData(const std::wstring& edidDataPath) {
    constexpr std::wstring_view kFunction = L"GetEdidData::GetLcdEdidData";
    std::vector<unsigned char> edid;
    if (edidDataPath.empty()) {
        tandor::LogMessage(tandor::kFailure, kFunction, L": EdidDataPath invalid!");
    } else if (!DE::Registry::GetValue(DE::RegistryRoot::kLocalMachine, edidDataPath, L"EDID", edid)) {
        const bool opens = DE::Registry::KeyExists(DE::RegistryRoot::kLocalMachine, edidDataPath);
        tandor::LogMessage(tandor::kFailure, kFunction,
                           opens ? L": RegQueryValueEx failed!" : L": RegOpenKeyEx failed!");
    }
    return edid;
}

std::wstring GetEdidData::GetLCDNameByWMI() {
    return FirstText(kCaptionQuery, L"Caption", L"GetEdidData::GetLCDNameByWMI");
}

bool GetEdidData::GetColorCoordinate(std::vector<double>& coordinates) {
    coordinates.assign(std::tuple_size_v<tandor::Coordinates>, 0.0);
    const std::wstring path = GetEdidDataPath(GetPnpDeviceID());
    const std::vector<unsigned char> edid = GetLcdEdidData(path);
    if (ParseCoordinateFromEdid(edid.data(), static_cast<unsigned int>(edid.size()), coordinates)) return true;
    coordinates.clear();
    tandor::LogMessage(tandor::kFailure, L"GetEdidData::GetColorCoordinate", L": Get colorCoordinate failed!");
    return false;
}

bool GetEdidData::IsSupportWideGamut() {
    std::vector<double> coordinates;
    if (!GetColorCoordinate(coordinates)) return false;
    Points panel;
    for (std::size_t i = 0; i + 1 < coordinates.size(); i += 2) panel.emplace_back(coordinates[i], coordinates[i + 1]);
    for (const auto supports : {IsSupportP3Gamut, IsSupportAdobeRGBGamut, IsSupportBT2020Gamut}) {
        if (supports(panel)) return true;
    }
    tandor::LogMessage(tandor::kInfo, L"GetEdidData::IsSupportWideGamut",
                       L": Current device not supports WideColorGamut!");
    return false;
}
