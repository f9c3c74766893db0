#include "concurrency/foreign_file.h"

#include <cstddef>
#include <cwchar>
#include <optional>

#include "base/win_handle.h"
#include "foundation/message.h"

namespace tandor {
namespace {

constexpr DWORD kMostDriveCharacters = 260;
constexpr std::size_t kMostNameBytes = 0x10000 + sizeof(FILE_NAME_INFO);

// Drives without a medium must not ask the user for one.
class QuietDrives {
public:
    QuietDrives() { ::SetThreadErrorMode(SEM_FAILCRITICALERRORS, &before_); }
    ~QuietDrives() { ::SetThreadErrorMode(before_, nullptr); }
    QuietDrives(const QuietDrives&) = delete;
    QuietDrives& operator=(const QuietDrives&) = delete;

private:
    DWORD before_ = 0;
};

std::optional<DWORD> VolumeOf(const std::wstring& root) {
    const QuietDrives quiet;
    DWORD serial = 0;
    if (::GetVolumeInformationW(root.c_str(), nullptr, 0, &serial, nullptr, nullptr, nullptr, 0) == 0) return {};
    return serial;
}

bool IsDirectory(HANDLE file) {
    FILE_STANDARD_INFO information{};
    if (::GetFileInformationByHandleEx(file, FileStandardInfo, &information, sizeof(information)) != 0)
        return information.Directory != FALSE;
    const DWORD error = ::GetLastError();
    if (error != ERROR_SUCCESS && error != ERROR_ACCESS_DENIED) {
        LogMessage(kFailure, L"TdProcessDetector::EnumFile", L"get file standardInfo failed,errCode:", error);
    }
    return false;
}

// The name on its volume, "\dir\file". The buffer begins with what most names need.
DWORD NameOnVolume(HANDLE file, std::wstring& out) {
    std::vector<std::byte> buffer(1024);
    for (;;) {
        if (::GetFileInformationByHandleEx(file, FileNameInfo, buffer.data(), static_cast<DWORD>(buffer.size())) != 0) {
            const auto& information = *reinterpret_cast<const FILE_NAME_INFO*>(buffer.data());
            const std::size_t room = buffer.size() - offsetof(FILE_NAME_INFO, FileName);
            if (information.FileNameLength > room) return ERROR_INVALID_DATA;
            out.assign(information.FileName, information.FileNameLength / sizeof(wchar_t));
            return ERROR_SUCCESS;
        }
        const DWORD error = ::GetLastError();
        if (error != ERROR_MORE_DATA || buffer.size() >= kMostNameBytes) return error;
        buffer.resize(kMostNameBytes);
    }
}

DWORD GetFileName(HANDLE file, DriveLetters& drives, std::wstring& out) {
    const DWORD error = NameOnVolume(file, out);
    if (error != ERROR_SUCCESS) {
        LogMessage(kFailure, L"TdProcessDetector::GetFileName", L"GetFileInformationByHandleEx failed");
        return error;
    }
    if (!out.empty()) out.insert(0, drives.DriveOf(file));
    return ERROR_SUCCESS;
}

}  // namespace

bool DriveLetters::List() {
    if (listed_) return true;
    wchar_t roots[kMostDriveCharacters] = {};
    const DWORD length = ::GetLogicalDriveStringsW(kMostDriveCharacters, roots);
    if (length == 0 || length > kMostDriveCharacters) return false;
    for (const wchar_t* root = roots; *root != L'\0'; root += std::wcslen(root) + 1) drives_.push_back({root});
    return listed_ = true;
}

std::wstring DriveLetters::DriveOf(HANDLE file) {
    constexpr auto kFunction = L"TdProcessDetector::GetVolumeNameByHandle";
    if (!List()) {
        LogMessage(kFailure, kFunction, L"get LogicalDrive failed,errCode:", ::GetLastError());
        return {};
    }
    DWORD serial = 0;
    if (::GetVolumeInformationByHandleW(file, nullptr, 0, &serial, nullptr, nullptr, nullptr, 0) == 0) {
        LogMessage(kFailure, kFunction, L"get file volumeInfo failed,errCode:", ::GetLastError());
        return {};
    }
    for (Drive& drive : drives_) {
        if (!std::exchange(drive.asked, true)) {
            const std::optional<DWORD> volume = VolumeOf(drive.root);
            drive.known = volume.has_value();
            drive.serial = volume.value_or(0);
        }
        if (drive.known && drive.serial == serial) return drive.root.substr(0, 2);
    }
    return {};
}

TdOpenFile LookAtForeignFile(HANDLE process, std::uint64_t handle, DriveLetters& drives) {
    using enum TdOpenFile::Outcome;
    TdOpenFile file;
    file.handle = handle;
    KernelHandle own;
    if (::DuplicateHandle(process, reinterpret_cast<HANDLE>(handle), ::GetCurrentProcess(), own.Receive(), 0, FALSE,
                          DUPLICATE_SAME_ACCESS) == 0) {
        file.outcome = kNotDuplicated;
        file.error = ::GetLastError();
        return file;
    }
    if (::GetFileType(own.Get()) != FILE_TYPE_DISK) {
        file.outcome = kNotOnDisk;
        return file;
    }
    file.is_directory = IsDirectory(own.Get());
    file.error = GetFileName(own.Get(), drives, file.path);
    if (file.path.empty()) file.outcome = kNoName;
    return file;
}

}  // namespace tandor
