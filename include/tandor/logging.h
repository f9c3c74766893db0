/// @file
/// Logging: the channels' private rotating files, and a timer for scopes.
#pragma once

#include <cstdint>
#include <functional>
#include <sstream>
#include <string>

#include "tandor/api.h"

/// The log service's levels, defined by the suite: 3 information and expected conditions, 4 failures.
enum LOG_MESSAGE_LEVEL : int;

/// A channel's log file. The channels, each at most this large and with five older files beside it ("name.1.log" ...):
///
///     KoViewTandor       512 KiB  C:\ProgramData\Comms\Pelora\log\admin\KoViewTandor.log
///     KoViewMirror         1 MiB  C:\ProgramData\Comms\Pelora\log\usr\KoViewMirror.log
///     KoViewAccountCred  512 KiB  C:\ProgramData\Comms\Pelora\log\admin\KoViewAccountCred.log
///
/// All objects of a channel share one file, and so do all processes that write to it. Lines are gathered in memory and
/// written to the file when 64 KiB have gathered, with the first line that comes a second or more after the last write,
/// with every line of level 4 or above, when an object of the channel is destroyed, and when the library is unloaded.
///
/// Threads: construction, destruction and Log may run on any thread; one object may be shared between threads.
class TANDOR_API Logger {
public:
    /// An unknown channel, or one whose file could not be opened in five tries, gives an object that writes nothing;
    /// the host log says which. A channel that failed is not tried again while the library is loaded.
    explicit Logger(const std::string& name);
    /// Writes what the channel has gathered to its file.
    ~Logger();

    /// Appends one record: time, thread, level and the stream's text as UTF-8 (an unpaired surrogate as U+FFFD), ended
    /// by CR LF. The stream is left as it is. The channel's level is spdlog's default, 2 ("info"): lower ones are not
    /// written, nor are numbers outside 0 to 6. A file that cannot be written or renamed costs no line that it holds
    /// already and throws nothing: the host log names it. Only std::bad_alloc may leave.
    void Log(LOG_MESSAGE_LEVEL level, const std::wstringstream& message) const;

    Logger(const Logger&) = delete;
    Logger& operator=(const Logger&) = delete;

private:
    struct Holder;
    Holder* holder_;
};

/// Hands the milliseconds since its construction (or last reset) to a callback, at the latest when it is destroyed.
///
/// Threads: an object belongs to one thread. Copies carry the callback and the start.
class TANDOR_API TickScopeCounter {
public:
    using Callback = std::function<void(unsigned long long milliseconds)>;  ///< is told how many milliseconds went by

    /// Starts the interval. An empty callback is told nothing.
    explicit TickScopeCounter(const Callback& callback);
    /// Callback and start are copied: both objects report.
    /// @{
    TickScopeCounter(const TickScopeCounter&);
    TickScopeCounter& operator=(const TickScopeCounter&);
    /// @}

    /// Calls the stored callback, on this thread; what it throws ends the process.
    ~TickScopeCounter();

    /// Reports now to `callback`, or to the stored one when it is empty. With `reset` the interval starts anew.
    void OutputOnce(const Callback& callback, bool reset);

private:
    Callback callback_;
    std::uint64_t start_;
};
