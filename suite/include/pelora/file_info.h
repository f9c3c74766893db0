/// @file
/// Where the suite keeps its files.
#pragma once

#include <string>

#include "pelora/api.h"

/// The suite's places on the disk.
class PELORA_API FileInfo {
public:
    /// The suite's common data directory as UTF-8, without a trailing backslash: "C:\ProgramData\Comms\Pelora", or what
    /// the value "CommonDirectory" (text) of the machine's key `SOFTWARE\Vextro\Pelora` names. Read once in a process.
    /// The directory itself may not exist yet.
    static std::string GetPeloraCommDir();
};
