// What this process has put into the outbox, for commands whose library calls return nothing.
#pragma once

#include <string>
#include <vector>

#include "app/command.h"
#include "pelora/outbox.h"

namespace tandor::app {

class SentRecords {
public:
    // From now on. Throws CommandError when the outbox cannot be read.
    SentRecords();

    // The records of this process since construction, in their order. Throws CommandError.
    [[nodiscard]] std::vector<pelora::OutboxRecord> Take() const;

    // The last of them. Throws CommandError when there is none: it was not recorded.
    [[nodiscard]] pelora::OutboxRecord Last() const;

private:
    unsigned long long after_ = 0;
};

// A record's values as "0=1700000000000, 1=0" or "mode=2, reason=timeout".
std::string ValuesLine(const pelora::OutboxRecord& record);
Json JsonOf(const pelora::OutboxRecord& record);

}  // namespace tandor::app
