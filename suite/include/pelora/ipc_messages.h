/// @file
/// Messages to other processes of the suite over a named pipe, and the packing of their data.
#pragma once

#include <string>

#include "pelora/api.h"

/// Where bytes go to and come from.
class PELORA_API IOChannel {
public:
    virtual ~IOChannel();
    /// Moves up to `size` bytes to `data`. Returns how many; 0 when there are none.
    virtual unsigned Read(void* data, unsigned size) = 0;
    /// Takes all `size` bytes or none. Returns how many it took.
    virtual unsigned Write(const void* data, unsigned size) = 0;
};

/// A channel over the caller's memory. Used by one thread at a time; the memory must outlive it. Nothing throws.
class PELORA_API IpcBufferBuild : public IOChannel {
public:
    /// `filled`: the memory holds `size` bytes to be read. Otherwise it is empty and is written first. A null buffer
    /// has room for nothing.
    IpcBufferBuild(void* buffer, unsigned size, bool filled);

    /// Bytes that were written, or were there, and have not been read.
    unsigned Read(void* data, unsigned size) override;
    /// A write beyond the end is refused as a whole and changes nothing.
    unsigned Write(const void* data, unsigned size) override;

private:
    unsigned char* buffer_;
    unsigned size_;
    unsigned written_;
    unsigned read_ = 0;
};

/// Values in a channel. A string is its length in bytes (unsigned 32-bit, little-endian) and its bytes.
/// The channel must outlive the package; a null channel takes and gives nothing.
class PELORA_API VxIpcPackage {
public:
    /// Packs into and unpacks from this channel.
    explicit VxIpcPackage(IOChannel* channel);

    /// Returns the bytes written, length field included; 0 when the channel had no room for all of it (nothing is
    /// written then). Throws std::bad_alloc alone.
    int PacketString(const std::string& text);
    /// The next string. False, and `text` unchanged, at the end or when the length says more than `largest` or than the
    /// channel gives.
    bool UnpacketString(std::string& text, unsigned largest = 64 * 1024);

private:
    IOChannel* channel_;
};

/// One message. Its data stays the caller's.
struct TagIPCMessageItem {
    std::wstring name;           ///< name of the receiver; empty: whoever serves the pipe
    int receiverId = 0;          ///< module that the message is for
    int receiverInstance = -1;   ///< -1: any
    int messageId = 0;           ///< what the receiver's module calls the message
    int messageInstance = -1;    ///< what an answer refers to; -1: none is expected
    unsigned sequence = 0;       ///< of the sender's own counting; carried along
    unsigned flags = 0;          ///< of the receiver's module; carried along
    unsigned parameter = 0;      ///< of the receiver's module; carried along
    unsigned dataLength = 0;     ///< bytes, at most 65,536
    const void* data = nullptr;  ///< may be null when dataLength is 0
};

/// Posts messages into a named pipe. One message is one write of this frame, all numbers 32-bit and little-endian:
///
///     offset  field
///     0       0x43504950, the bytes "PIPC"
///     4       1, version of the frame
///     8       length of the whole frame in bytes, this header of 52 included
///     12      identifier of the sending client
///     16      receiverId
///     20      receiverInstance
///     24      messageId
///     28      messageInstance
///     32      sequence
///     36      flags
///     40      parameter
///     44      length of the name in bytes, at most 1,024
///     48      dataLength
///     52      the name in UTF-8, then the data
///
/// A post never waits: a frame that the pipe has no room for goes out when the server reads, behind those before it. At
/// most 256 frames and 1 MiB are under way. What a server had not taken when it went away goes to the next one, with
/// the next post; what it had taken and not read is lost with it, and a frame of which it read a part comes again.
///
/// Threads: every operation may be called from any thread; frames go out in the order of the posts. Nothing throws.
class PELORA_API IPCMessageClient {
public:
    /// Does not connect yet. `reconnect`: a post after the server went away connects anew; otherwise the first lost
    /// connection ends this client. `waitForServer`: without a server frames wait here for the first post that finds
    /// one; otherwise such a post fails.
    IPCMessageClient(int clientId, bool reconnect, bool waitForServer, const std::wstring& pipeName);
    /// Closes the connection; frames that the pipe has not taken are lost. No post may be under way.
    ~IPCMessageClient();
    IPCMessageClient(const IPCMessageClient&) = delete;
    IPCMessageClient& operator=(const IPCMessageClient&) = delete;

    /// True when the frame is in the pipe or on its way into it. False, and the frame goes nowhere: no server, a
    /// message that is too long or has a length without data, or too much under way to a server that does not read.
    bool PostIPCMessage(const TagIPCMessageItem& item) noexcept;

private:
    class Impl;
    Impl* impl_;
};
