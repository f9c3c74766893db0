#include "app/report_marks.h"

#include <windows.h>

#include <cstdlib>
#include <sstream>

#include "app/command.h"
#include "pelora/file_info.h"

namespace tandor::app {
namespace {

constexpr long long kTicksPerSecond = 10'000'000;  // of the system's time
constexpr long long kSameStart = 60;               // seconds by which the clock may have been corrected

std::filesystem::path MarkOf(int number) {
    return PathFrom(FileInfo::GetPeloraCommDir()) / L"telemetry" / L"marks" / std::to_wstring(number);
}

long long Counter() {
    LARGE_INTEGER now{};
    ::QueryPerformanceCounter(&now);
    return now.QuadPart;
}

// When the machine was started, in seconds of the wall clock: the counter begins anew then.
long long StartTime() {
    FILETIME now{};
    ::GetSystemTimeAsFileTime(&now);
    const auto ticks = static_cast<long long>(ULONGLONG{now.dwHighDateTime} << 32 | now.dwLowDateTime);
    return ticks / kTicksPerSecond - static_cast<long long>(::GetTickCount64() / 1000);
}

}  // namespace

void BeginTime(int number) {
    const std::filesystem::path mark = MarkOf(number);
    std::error_code ignored;  // the write below fails with the cause that matters
    std::filesystem::create_directories(mark.parent_path(), ignored);
    WriteOutput(TextOf(mark), std::to_string(Counter()) + " " + std::to_string(StartTime()));
}

double EndTime(int number) {
    const std::filesystem::path mark = MarkOf(number);
    const std::string thing = "the time of " + std::to_string(number);
    const std::string remedy = "begin with 'tandorctl report time begin " + std::to_string(number) + "'";
    if (!std::filesystem::exists(mark)) throw CommandError(thing, "it was not begun", remedy);
    std::istringstream content(ReadInput(TextOf(mark)));
    std::filesystem::remove(mark);
    long long counter = 0, start = 0;
    if (!(content >> counter >> start)) throw CommandError(thing, "its beginning cannot be read", remedy);
    const long long now = Counter();
    if (now < counter || std::llabs(StartTime() - start) > kSameStart) {
        throw CommandError(thing, "the machine was restarted, or its clock set, since it was begun", remedy);
    }
    LARGE_INTEGER frequency{};
    ::QueryPerformanceFrequency(&frequency);
    return static_cast<double>(now - counter) / static_cast<double>(frequency.QuadPart);
}

}  // namespace tandor::app
