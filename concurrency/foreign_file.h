// Looking at one file handle of another process.
#pragma once

#include <windows.h>

#include <cstdint>
#include <string>
#include <vector>

#include "tandor/state_watch.h"

namespace tandor {

// The drives of one walk. A drive is asked for its volume when a file is compared with it for the first time: some
// drives take seconds to answer.
class DriveLetters {
public:
    // "C:" for a file on the volume of C:\; empty when no drive has that volume or the file's cannot be told.
    std::wstring DriveOf(HANDLE file);

private:
    struct Drive {
        std::wstring root;
        bool asked = false;
        bool known = false;
        DWORD serial = 0;
    };
    bool List();

    std::vector<Drive> drives_;
    bool listed_ = false;
};

// Duplicates the handle into this process and says what it is. What is no file on a disk is not asked any further.
TdOpenFile LookAtForeignFile(HANDLE process, std::uint64_t handle, DriveLetters& drives);

}  // namespace tandor
