/// @file
/// The record that describes one peer device, and its form as JSON text.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tandor/api.h"

/// One peer device (phone, pad, screen, car). A plain value. Narrow strings are bytes that are carried unchanged;
/// nothing here looks at their character set.
struct BluetoothDeviceSummary {
    std::int32_t DevType = 0;  ///< the kind of device, as the feature numbers it
    std::string Summary;       ///< the text that stands for the device among others
    std::string DeviceId;      ///< the name under which the device manager keeps the record; filled by it on every read
    std::string DevName;       ///< the name that the device gives itself
    std::string UserName;      ///< of the device's user
    std::string NickName;      ///< the name that is shown for the device
    std::string MacAddr;       ///< as text
    unsigned long long MacAddrInt = 0;  ///< the same address as a number
    bool IsPaired = false;              ///< the device is paired
    std::int32_t ShareType = 1;         ///< what may be shared with it, as the feature numbers it
    bool IsReverseChannel = true;       ///< the reverse channel is in use
    bool IsWifi5GAbility = true;        ///< can use the 5 GHz band
    bool IsAuthor = false;              ///< the device is authorised
    std::string ModelName;              ///< of the device's model
    std::string PeerUuid;               ///< the peer's own identifier, kept over a change of its name
    std::int32_t AuthorState = 0;       ///< what the registry's "PCIsAuthorState" said
    bool IsTrusted = false;             ///< the device is trusted

    // What the settings store keeps beside them. None of it is part of the JSON text.
    std::int32_t TrustType = 2;           ///< how it came to be trusted, as the feature numbers it
    std::int32_t DevSubType = -1;         ///< -1: not known
    std::string AccountInfo;              ///< the account that both sides are signed in to
    std::string AuthDigest;               ///< SHA-256 of the peer's account identifier, 64 hexadecimal digits
    unsigned long long LastSeenTime = 0;  ///< as the caller gives it; 0: never
    std::string IpAddr;                   ///< as text, the last one known
    std::int32_t ReconnectPolicy = 1;     ///< whether and when to connect again, as the feature numbers it
    std::int32_t ShieldState = 0;         ///< not 0: the user has shielded the device
    std::string OriginalName;             ///< the name before the user changed it
    std::wstring PairedTime;              ///< decimal
    std::wstring PairedTimeCycle;         ///< decimal
    std::uint8_t IsSupportCoreLane = 0;   ///< not 0: takes part in the core-lane connection
    std::uint8_t IsSha256Auth = 0;        ///< not 0: the device was authorised by AuthDigest
    std::string ExtInfo;                  ///< free text of the feature
};

/// Lists of records as JSON text, written compactly, the members of an object in ascending byte order of their keys.
/// Strings stand in it as hexadecimal text, two upper-case digits a byte; readers take either case.
///
/// All members are static, keep no state and may be called from any thread. Beside what a member states only
/// std::bad_alloc may leave.
class TANDOR_API BluetoothDeviceSummarySerialize {
public:
    /// The full form: "[]" or an array of objects with DevType, Summary, DevName, UserName, NickName, MacAddr,
    /// MacAddrInt, IsReverseChannel, IsPaired, ShareType, IsWifi5GAbility, IsAuthor, ModelName, PeerUuid and IsTrusted.
    /// Needs no memory beside the result.
    static std::string ToString(const std::vector<BluetoothDeviceSummary>& devices);

    /// The short form: DevType, Summary, DevName, IsPaired, IsTrusted and, as PairedTime, the time at the same place of
    /// `pairedTimes`. The caller gives one for each device; where one is missing, 0 is written.
    static std::string ToSimpleString(const std::vector<BluetoothDeviceSummary>& devices,
                                      std::vector<unsigned long long> pairedTimes);

    /// The records of a text in the full form, in its order. Unknown keys are passed over; of a key that stands twice
    /// the last counts. ShareType is not read: it is 1 in every record. Text that is not JSON gives an empty list; so
    /// do "[]" and "null". Hexadecimal text is read as HexStringToBytes does. A number beyond its member's range keeps
    /// its low bits; one with a fraction loses it, and beyond the range becomes the nearest value in it.
    ///
    /// The first element that is not as it must be makes the call fail as a whole, by an exception to be caught as
    /// std::exception (its type is the JSON library's). Its what():
    /// - "[json.exception.out_of_range.403] key 'DevType' not found"
    /// - "[json.exception.type_error.302] type must be string, but is number" ("number", "boolean" where those are
    ///   wanted)
    /// - "[json.exception.type_error.304] cannot use at() with number" for an element that is no object
    ///
    /// Within one element the keys are looked at in the order that ToString's description has.
    static std::vector<BluetoothDeviceSummary> FromString(const std::string& text);

    /// The bytes of hexadecimal text. An odd last character is left out; a character that is no hexadecimal digit
    /// before it makes the result empty.
    static std::string HexStringToBytes(const std::string& hex);
};
