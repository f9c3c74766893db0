// The record that describes one peer device, and its form as JSON text.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tandor/api.h"

// One peer device (phone, pad, screen, car). A plain value. Narrow strings are bytes that are carried unchanged;
// nothing here looks at their character set.
struct BluetoothDeviceSummary {
    std::int32_t DevType = 0;  // kind of device
    std::string Summary;
    std::string DeviceId;  // the name under which the device manager keeps the record; filled by it on every read
    std::string DevName;
    std::string UserName;
    std::string NickName;
    std::string MacAddr;                // as text
    unsigned long long MacAddrInt = 0;  // the same address as a number
    bool IsPaired = false;
    std::int32_t ShareType = 1;
    bool IsReverseChannel = true;
    bool IsWifi5GAbility = true;
    bool IsAuthor = false;  // the device is authorised
    std::string ModelName;
    std::string PeerUuid;
    std::int32_t AuthorState = 0;  // what the registry's "PCIsAuthorState" said
    bool IsTrusted = false;

    // What the settings store keeps beside them. None of it is part of the JSON text.
    std::int32_t TrustType = 2;
    std::int32_t DevSubType = -1;  // -1: not known
    std::string AccountInfo;
    std::string AuthDigest;  // SHA-256 of the account's authentication, as hexadecimal text
    unsigned long long LastSeenTime = 0;
    std::string IpAddr;
    std::int32_t ReconnectPolicy = 1;
    std::int32_t ShieldState = 0;  // not 0: the user has shielded the device
    std::string OriginalName;
    std::wstring PairedTime;       // decimal
    std::wstring PairedTimeCycle;  // decimal
    std::uint8_t IsSupportCoreLane = 0;
    std::uint8_t IsSha256Auth = 0;  // not 0: the device was authorised by AuthDigest
    std::string ExtInfo;
};
