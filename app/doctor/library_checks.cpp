// The libraries that make up the program, as they are loaded now.
#include <windows.h>

#include <curl/curl.h>
#include <fmt/format.h>
#include <openssl/crypto.h>
#include <sqlite3.h>

#include <cstring>
#include <set>

#include "app/command.h"
#include "app/doctor/doctor.h"
#include "app/places.h"
#include "base/utf.h"
#include "base/win_error.h"
#include "base/win_handle.h"

namespace tandor::app {
namespace {

// What the libraries load of the system's when it is needed; no import table has them.
constexpr const wchar_t* kOnFirstUse[] = {
    L"advapi32.dll", L"bcrypt.dll",   L"crypt32.dll",  L"gdi32.dll",  L"gdiplus.dll", L"newdev.dll",  L"ntdll.dll",
    L"ole32.dll",    L"oleaut32.dll", L"setupapi.dll", L"user32.dll", L"ws2_32.dll",  L"wtsapi32.dll"};

bool IsOfSystem(const std::filesystem::path& path) {
    return ::CompareStringOrdinal(path.parent_path().c_str(), -1, SystemFolder().c_str(), -1, TRUE) == CSTR_EQUAL;
}

// What a loaded module names in its import table
// (https://learn.microsoft.com/windows/win32/debug/pe-format#import-directory-table). The loader has read it before.
std::vector<std::string> Imports(HMODULE module) {
    const auto* const base = reinterpret_cast<const unsigned char*>(module);
    const auto* const dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
    const auto* const headers = reinterpret_cast<const IMAGE_NT_HEADERS64*>(base + dos->e_lfanew);
    const DWORD offset = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress;
    std::vector<std::string> names;
    if (offset == 0) return names;
    for (const auto* row = reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR*>(base + offset); row->Name != 0; ++row)
        names.emplace_back(reinterpret_cast<const char*>(base + row->Name));
    return names;
}

// The program and what it loads from elsewhere than the system, in the order of loading.
std::vector<HMODULE> OwnModules() {
    std::vector<HMODULE> own{::GetModuleHandleW(nullptr)};
    std::set<HMODULE> known(own.begin(), own.end());
    for (std::size_t i = 0; i < own.size(); ++i) {
        for (const std::string& name : Imports(own[i])) {
            const HMODULE module = ::GetModuleHandleA(name.c_str());
            if (module != nullptr && known.insert(module).second && !IsOfSystem(PathOfModule(module)))
                own.push_back(module);
        }
    }
    return own;
}

// "1.0.0" of the module's version resource; empty when it has none. The fixed part stands behind the resource's head of
// 40 bytes (https://learn.microsoft.com/windows/win32/menurc/vs-versioninfo).
std::string VersionOf(HMODULE module) {
    constexpr std::size_t kHead = 40;
    const HRSRC found = ::FindResourceW(module, MAKEINTRESOURCEW(1), MAKEINTRESOURCEW(16));  // RT_VERSION
    const HGLOBAL loaded = found == nullptr ? nullptr : ::LoadResource(module, found);
    VS_FIXEDFILEINFO info{};
    if (loaded == nullptr || ::SizeofResource(module, found) < kHead + sizeof(info)) return {};
    std::memcpy(&info, static_cast<const char*>(::LockResource(loaded)) + kHead, sizeof(info));
    if (info.dwSignature != VS_FFI_SIGNATURE) return {};
    return fmt::format("{}.{}.{}", HIWORD(info.dwFileVersionMS), LOWORD(info.dwFileVersionMS),
                       HIWORD(info.dwFileVersionLS));
}

}  // namespace

void CheckOwnLibraries(Findings& findings) {
    for (const HMODULE module : OwnModules()) {
        const std::filesystem::path path = PathOfModule(module);
        const std::string version = VersionOf(module);
        Finding finding{TextOf(path.filename()), Verdict::kWorks,
                        (version.empty() ? "" : version + ", ") + TextOf(path), ""};
        if (path.parent_path() != ProgramFolder()) {
            finding.verdict = Verdict::kLimited;
            finding.remedy = "put the copy that belongs to this program beside it, in " + TextOf(ProgramFolder());
        } else if (path.filename() == L"TandorUtil.dll" && version != TANDOR_VERSION) {
            finding.verdict = Verdict::kLimited;
            finding.remedy = "put the files of one version together, the library's and this program's: " TANDOR_VERSION;
        }
        findings.push_back(finding);
    }
}

void CheckSystemLibraries(Findings& findings) {
    std::string missing;
    for (const wchar_t* const name : kOnFirstUse) {
        const ModuleHandle library(::LoadLibraryExW(name, nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32));
        if (!library) missing += (missing.empty() ? "" : ", ") + Utf8FromWideLossy(name);
    }
    findings.push_back(missing.empty()
                           ? Finding{"system libraries", Verdict::kWorks,
                                     fmt::format("all {} that are loaded on first use", std::size(kOnFirstUse)), ""}
                           : Finding{"system libraries", Verdict::kBroken, "missing: " + missing,
                                     "repair Windows with 'sfc /scannow'; on Wine, install its full set"});
}

void CheckVersions(Findings& findings) {
    const auto* const curl = ::curl_version_info(CURLVERSION_NOW);
    findings.push_back({"OpenSSL", Verdict::kWorks, ::OpenSSL_version(OPENSSL_VERSION), ""});
    findings.push_back({"libcurl", Verdict::kWorks,
                        fmt::format("{}, TLS by {}", curl->version, curl->ssl_version ? curl->ssl_version : "nobody"),
                        ""});
    findings.push_back({"SQLite", Verdict::kWorks, ::sqlite3_libversion(), ""});
}

}  // namespace tandor::app
