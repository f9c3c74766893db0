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
/// All objects of a channel share one file, and so do all processes that write to it; they agree through a small file
/// beside it ("name.log.turn"). A line is with the system when Log returns: it survives the death of the process. With
/// any number of processes no line is lost, torn or doubled, but for those that go with the oldest file. A file that a
/// reader holds open without sharing its deletion grows past its size until the reader lets go.
///
/// Threads: construction, destruction and Log may run on any thread; one object may be shared between threads.
class TANDOR_API Logger {
public:
    /// An unknown channel, or one whose file could not be opened in five tries, gives an object that writes nothing;
    /// the host log says which. A channel that failed is not tried again while the library is loaded.
    explicit Logger(const std::string& name);
    /// The channel's file stays open for the next object.
    ~Logger();

    /// Appends one record: time, thread, level and the stream's text as UTF-8 (an unpaired surrogate as U+FFFD), ended
    /// by CR LF. The stream is left as it is. Levels 3 to 5 are written, all others are passed over. A file that cannot
    /// be written or renamed costs no line that it holds already and throws nothing: the host log names it. Only
    /// std::bad_alloc may leave.
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
