// The firewall and devices, on doubles of both: what the system itself needs is the same on both sides.
#include <windows.h>

#include <netfw.h>
#include <setupapi.h>

#include <chrono>
#include <cstring>
#include <cwchar>
#include <stdexcept>

#include "base/win_apartment.h"
#include "base/win_com_ptr.h"
#include "benchmarks/ratio.h"
#include "support/firewall_double.h"
#include "support/import_patch.h"
#include "tandor/device_console.h"
#include "tandor/firewall.h"

namespace tandor::bench {
namespace {

constexpr std::size_t kMany = 1000;

// ---- A thousand rules of one name

// Each round begins with all rules there, which is not measured.
Body OnFullFirewall(std::function<void()> remove) {
    return [remove = std::move(remove)](benchmark::State& state) {
        test::FirewallDouble firewall;
        const std::vector<test::FirewallDouble::Rule> rules(kMany, test::RuleFor(L"PVAMessageCenter", L"C:\\a.exe"));
        for (auto _ : state) {
            firewall->rules = rules;
            firewall.Asked();
            const auto begin = std::chrono::steady_clock::now();
            remove();
            state.SetIterationTime(std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count());
            if (!firewall->rules.empty()) throw std::runtime_error("rules were left");
        }
    };
}

void RemoveByHand() {
    const Apartment apartment;
    ComPtr<INetFwPolicy2> policy;
    ComPtr<INetFwRules> rules;
    if (FAILED(policy.Create(__uuidof(NetFwPolicy2))) || FAILED(policy->get_Rules(rules.Receive()))) return;
    wchar_t buffer[500] = L"PVAMessageCenter";
    const ComText name(buffer, std::size(buffer));
    for (;;) {
        ComPtr<INetFwRule> rule;
        if (FAILED(rules->Item(name.Get(), rule.Receive())) || FAILED(rules->Remove(name.Get()))) return;
    }
}

// ---- A thousand devices

const HDEVINFO kList = reinterpret_cast<HDEVINFO>(std::size_t{0x7a11});

HDEVINFO WINAPI Open(const GUID*, PCWSTR, HWND, DWORD, HDEVINFO, PCWSTR, void*) { return kList; }
BOOL WINAPI Close(HDEVINFO) { return TRUE; }
BOOL WINAPI Next(HDEVINFO, DWORD index, PSP_DEVINFO_DATA device) {
    if (index >= kMany) {
        ::SetLastError(ERROR_NO_MORE_ITEMS);
        return FALSE;
    }
    device->DevInst = index + 1;
    return TRUE;
}
// Identifiers as devices have them: four, from the most fitting to the least.
BOOL WINAPI Read(HDEVINFO, PSP_DEVINFO_DATA device, DWORD, DWORD* type, BYTE* data, DWORD size, DWORD* needed) {
    static constexpr wchar_t kIdentifiers[] =
        L"PCI\\VEN_8086&DEV_15F3&SUBSYS_87D21043&REV_03\0PCI\\VEN_8086&DEV_15F3&SUBSYS_87D21043\0"
        L"PCI\\VEN_8086&DEV_15F3&CC_020000\0PCI\\VEN_8086&DEV_15F3&CC_0200\0";
    if (type != nullptr) *type = REG_MULTI_SZ;
    if (needed != nullptr) *needed = sizeof(kIdentifiers);
    if (size < sizeof(kIdentifiers)) return FALSE;
    std::memcpy(data, kIdentifiers, sizeof(kIdentifiers));
    reinterpret_cast<wchar_t*>(data)[10] = static_cast<wchar_t>(L'0' + device->DevInst % 10);
    return TRUE;
}

FARPROC WINAPI LookUp(HMODULE module, LPCSTR name) {
    static const std::pair<const char*, void*> entries[] = {
        {"SetupDiGetClassDevsExW", reinterpret_cast<void*>(&Open)},
        {"SetupDiDestroyDeviceInfoList", reinterpret_cast<void*>(&Close)},
        {"SetupDiEnumDeviceInfo", reinterpret_cast<void*>(&Next)},
        {"SetupDiGetDeviceRegistryPropertyW", reinterpret_cast<void*>(&Read)},
    };
    for (const auto& [entry, function] : entries)
        if (std::strcmp(name, entry) == 0) return reinterpret_cast<FARPROC>(function);
    return ::GetProcAddress(module, name);
}

constexpr wchar_t kWanted[] = L"PCI\\VEN_8086&DEV_15F3&SUBSYS_87D21043&REV_04";

std::size_t FindOurs() {
    // The library looks its entries up once, at its first call.
    static const test::ImportPatch patch(L"TandorUtil.dll", "GetProcAddress", &LookUp);
    std::vector<Vxa::Exp::DeviceNode> found;
    if (Vxa::Exp::DeviceInventory::Find(kWanted, found) != 0) throw std::runtime_error("the walk failed");
    return found.size();
}

std::size_t FindByHand() {
    std::size_t found = 0;
    const HDEVINFO list = Open(nullptr, nullptr, nullptr, DIGCF_ALLCLASSES | DIGCF_PRESENT, nullptr, nullptr, nullptr);
    SP_DEVINFO_DATA device{};
    device.cbSize = sizeof(device);
    wchar_t identifiers[1024];
    for (DWORD i = 0; Next(list, i, &device) != 0; ++i) {
        DWORD type = 0;
        if (Read(list, &device, SPDRP_HARDWAREID, &type, reinterpret_cast<BYTE*>(identifiers), sizeof(identifiers),
                 nullptr) == 0)
            continue;
        for (const wchar_t* one = identifiers; *one != L'\0'; one += std::wcslen(one) + 1)
            if (::_wcsicmp(one, kWanted) == 0) ++found;
    }
    Close(list);
    return found;
}

}  // namespace

void AddIntegration() {
    Compare("DeleteExistFirewallRules, 1,000 rules of the name (double)", "Item and Remove in a loop", AtMostTimes(1.1),
            OnFullFirewall([] { Firewall().DeleteExistFirewallRules(); }), OnFullFirewall(RemoveByHand), true);
    Compare("device matching, 1,000 devices (double)", "the Setup API's calls in a loop", AtMostTimes(1.1),
            Repeat(FindOurs), Repeat(FindByHand));
}

}  // namespace tandor::bench
