/// @file
/// The log service: one host log for each process, and observers inside the process.
#pragma once

#include <cstdint>
#include <functional>
#include <sstream>
#include <string_view>

#include "pelora/api.h"

/// The level of a message. The numbers are shared with the channel files' records.
enum LOG_MESSAGE_LEVEL : int {
    LOG_MESSAGE_TRACE = 0,     ///< a channel's file leaves it out
    LOG_MESSAGE_DEBUG = 1,     ///< a channel's file leaves it out
    LOG_MESSAGE_DETAIL = 2,    ///< a channel's file leaves it out
    LOG_MESSAGE_INFO = 3,      ///< information and expected conditions; the lowest that a channel's file takes
    LOG_MESSAGE_ERROR = 4,     ///< failures
    LOG_MESSAGE_CRITICAL = 5,  ///< the process cannot go on
    LOG_MESSAGE_OFF = 6,       ///< the highest number, for switching off
};

/// Writes UTF-8 lines to "log\host\<program>-<process id>.log" under the common directory, at most 2 MiB and one older
/// file. The files of 64 processes are kept. A line is with the system when Log returns: it survives the death of the
/// process.
///
/// Threads: every operation may be called from any thread. After the library's unload has begun, calls do nothing.
class PELORA_API VxLogger {
public:
    using Observer = std::function<void(LOG_MESSAGE_LEVEL level,
                                        std::wstring_view message)>;  ///< is handed each message with its level

    /// The process-wide instance; it lives until the suite is unloaded. Its file is made with the first message.
    static VxLogger& GetInstance();

    /// Writes the stream's text as one record; the stream stays as it is. Line breaks inside the text are kept visible
    /// as blanks, so that one record is one line. Never throws, and waits for no observer that another thread is
    /// calling; a record that cannot be written, as on a full disk or into a folder without rights, is counted and
    /// dropped. The thread that finds nobody calling observers calls them itself: see Subscribe for how long that keeps
    /// it.
    void Log(LOG_MESSAGE_LEVEL level, std::wstringstream& message) noexcept;

    /// Calls `observer` with this process's messages of level `lowest` and above from now on, in order, and observers
    /// in the order of their subscription. They are called on a thread that logs, under no lock: while one thread calls
    /// them, it also delivers what others log, and those do not wait (10,000 messages may wait; what comes then is
    /// written and not observed). The calling thread's Log returns when none waits any more: an observer slower than
    /// the other threads log keeps it until they pause, and one that does not return keeps it for good, so an observer
    /// with long work hands it to a thread of its own. What an observer throws is dropped. An observer may log; those
    /// lines are written and not observed. Returns the number to unsubscribe with.
    std::uint64_t Subscribe(LOG_MESSAGE_LEVEL lowest, Observer observer);
    /// Ends a subscription. Messages that were logged before are delivered first, none arrives afterwards; for that it
    /// waits for observers that are being called, but for its own call from inside one. A number that is not one is
    /// passed over.
    void Unsubscribe(std::uint64_t subscription) noexcept;

    /// How many records of this process could not be written.
    [[nodiscard]] std::uint64_t Lost() const noexcept;

    VxLogger(const VxLogger&) = delete;
    VxLogger& operator=(const VxLogger&) = delete;

private:
    VxLogger();
    ~VxLogger();

    class Impl;
    Impl* impl_;
};
