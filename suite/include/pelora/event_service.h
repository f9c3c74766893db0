/// @file
/// The event service: fault events, kept in the outbox until somebody fetches them.
#pragma once

#include <string>

#include "pelora/api.h"

class KoView;

/// One fault event: named values in the order in which their keys were first put, and paths of files that belong to it.
/// Strings are UTF-8; other bytes are kept as they are.
///
/// Threads: one object is used by one thread at a time. Nothing throws except for want of memory.
class PELORA_API KoEvent {
public:
    /// An event without values and files; `eventId` is the platform's number of the fault.
    explicit KoEvent(int eventId);
    ~KoEvent();
    KoEvent(const KoEvent&) = delete;
    KoEvent& operator=(const KoEvent&) = delete;

    /// Putting a key again replaces its value, of whatever type it was; its place stays.
    /// @{
    KoEvent& PutString(const std::string& key, const std::string& value);
    KoEvent& PutInt(const std::string& key, int value);
    KoEvent& PutLong(const std::string& key, long long value);
    /// @}

    /// Attaches a file by its path (UTF-8). Nothing is read now and it need not exist; a path that is attached already
    /// is not attached twice.
    KoEvent& AddFilePath(const std::string& path);
    /// Forgets values and files; the event identifier stays.
    KoEvent& Reset();

    /// The event as one printable line: 992614403 {"deviceType":1,"duration":"12 s"} ["C:\\log\\a.log"]. Control
    /// characters and line separators are escaped as in JSON, a byte that is not UTF-8 as "\xff"; the list of files is
    /// left out when there is none. Valid until the next call on this object.
    const std::string& Flatten();

    /// As given to the constructor.
    [[nodiscard]] int EventId() const noexcept;

private:
    friend class KoView;
    class Impl;
    Impl* impl_;
};

/// Submits events.
class PELORA_API KoView {
public:
    /// Puts the event into the outbox (pelora/outbox.h), its files with the size and time that they have now. True: the
    /// record survives the death of every process. False, after a bounded wait: it was not recorded, and the host log
    /// says why. The event stays as it is. Any thread; never throws.
    static bool Report(KoEvent& event) noexcept;

private:
    class Payload;
    // Adds one pair of a key/value list to the payload; `type` says what the value's text is.
    static void VariadicKVPairs(Payload& payload, std::string& key, std::string value, int type);
    static void VariadicKVPairs(Payload& payload, std::string& key, const char* value, int type);
};
