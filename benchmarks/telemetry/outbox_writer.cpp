// outbox_writer FILE THREADS COUNT EVENT: puts COUNT records of ten values from each of THREADS threads into the outbox
// FILE, beginning when the named event is set. Prints nothing; ends with 1 when a record was refused.
#include <windows.h>

#include <atomic>
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
    const tandor::KernelHandle start(::OpenEventW(SYNCHRONIZE | EVENT_MODIFY_STATE, FALSE, words[4]));
    pelora::Outbox outbox(tandor::Utf8FromWide(words[1]));
    pelora::OutboxStatus status;
    if (!start || !outbox.Status(status).empty()) return 3;
    ::WaitForSingleObject(start.Get(), 30'000);
    return tandor::bench::PutRecords(outbox, number(2), number(3)) ? 0 : 1;
}
