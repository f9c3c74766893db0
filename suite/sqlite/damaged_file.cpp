#include "suite/sqlite/damaged_file.h"

#include <windows.h>

#include <chrono>
#include <thread>

#include "base/utf.h"
#include "base/win_error.h"
#include "base/win_handle.h"
#include "suite/sqlite/database.h"

namespace pelora {
namespace {

constexpr int kGuardTries = 100;  // of 20 ms

// Held by the one process that sets a damaged database aside: an open of this file that shares nothing.
tandor::FileHandle HoldGuard(const std::filesystem::path& path) {
    for (int attempt = 0; attempt < kGuardTries; ++attempt) {
        tandor::FileHandle guard(::CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_ALWAYS,
                                               FILE_ATTRIBUTE_TEMPORARY | FILE_FLAG_DELETE_ON_CLOSE, nullptr));
        if (guard) return guard;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return {};
}

std::wstring NowAsName() {
    SYSTEMTIME now;
    ::GetLocalTime(&now);
    wchar_t text[32];
    ::swprintf(text, std::size(text), L"%04u%02u%02u-%02u%02u%02u-%03u", now.wYear, now.wMonth, now.wDay, now.wHour,
               now.wMinute, now.wSecond, now.wMilliseconds);
    return text;
}

}  // namespace

std::string SetAsideDamaged(const std::filesystem::path& file, const std::string& cause,
                            const std::function<void()>& check) {
    const tandor::FileHandle guard = HoldGuard(file.native() + L".guard");
    if (!guard) return cause + "; another process is busy with it";
    try {
        check();
        return {};
    } catch (const SqliteError& error) {
        if (!error.Damaged()) return error.what();
    }
    const std::filesystem::path aside =
        file.parent_path() / (file.stem().native() + L".damaged-" + NowAsName() + file.extension().native());
    if (::MoveFileExW(file.c_str(), aside.c_str(), 0) == 0) {
        return cause + "; it could not be set aside: " + tandor::WindowsErrorText(::GetLastError());
    }
    for (const wchar_t* const part : {L"-wal", L"-shm"}) {
        ::MoveFileExW((file.native() + part).c_str(), (aside.native() + part).c_str(), 0);  // they may not be there
    }
    return cause + "; it was set aside as " + tandor::Utf8FromWideLossy(aside.native()) + " and a new one is begun";
}

}  // namespace pelora
