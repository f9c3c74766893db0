// outbox_writer FILE THREADS COUNT EVENT: puts COUNT records of ten values from each of THREADS threads into the outbox
// FILE, beginning when the named event is set, or at once for "now". Prints nothing; ends with 1 when a record was
// refused.
#include <windows.h>

#include <atomic>
#include <string_view>
#include <thread>
#include <vector>

#include "base/decimal.h"
#include "base/utf.h"
#include "base/win_handle.h"
#include "benchmarks/telemetry/ten_values.h"

int wmain(int count, wchar_t** words) {
    if (count != 5) return 2;
    const auto number = [words](int i) {
        return tandor::ParseDecimal<int>(tandor::Utf8FromWide(words[i])).value_or(0);
    };
    const bool now = std::wstring_view(words[4]) == L"now";
    const tandor::KernelHandle start(now ? ::CreateEventW(nullptr, TRUE, TRUE, nullptr)
                                         : ::OpenEventW(SYNCHRONIZE, FALSE, words[4]));
    pelora::Outbox outbox(tandor::Utf8FromWide(words[1]));
    pelora::OutboxStatus status;
    if (!start || !outbox.Status(status).empty()) return 3;
    ::WaitForSingleObject(start.Get(), 30'000);
    return tandor::bench::PutRecords(outbox, number(2), number(3)) ? 0 : 1;
}
