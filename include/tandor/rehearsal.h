/// @file
/// A dry run of what changes the firewall, the registry or devices.
#pragma once

#include <string>
#include <vector>

#include "tandor/api.h"
#include "tandor/uncopyable.h"

/// While one lives, what its thread calls of Firewall, FireWallRuleManger and Vxa::Exp::DeviceConsole looks at the
/// system as always, but each call that would change it is noted instead of made, and taken for a success. Results and
/// errors are those of the operation as far as looking goes; what the system itself would refuse is not foreseen.
/// Requests to the assistant service, and the thread of Firewall::RemoveDHCPRules(), are no part of it.
///
/// The operations write to the host log as if they had worked, between a line that says that a rehearsal begins and one
/// that it ends.
///
/// Threads: belongs to the thread that made it. One at a time in a process: another thread's waits for its turn. Within
/// one, a second of the same thread takes the notes until it goes. Only std::bad_alloc leaves.
class TANDOR_API Rehearsal : private UnCopyable {
public:
    /// Begins to take notes; waits while another thread does.
    Rehearsal();
    ~Rehearsal();

    /// The calls that were not made, in order: the system's function and what it would have been given, for people.
    const std::vector<std::wstring>& Calls() const;

private:
    std::vector<std::wstring> calls_;
    std::vector<std::wstring>* outer_ = nullptr;
};
