/// @file
/// Text: conversion, hexadecimal, Base64 and URL coding, masking, dotted versions, and two helpers for thumbnails.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "tandor/api.h"

namespace Gdiplus {
class Bitmap;
}

/// Narrow strings are UTF-8, wide strings UTF-16. All members are static, keep no state and may be called from any
/// thread. They throw std::bad_alloc for want of memory and otherwise nothing but what a member states.
class TANDOR_API TandorUtilClass {
public:
    /// Results of CompareVersion.
    enum VersionResultCompare {
        VERSION_NOT_COMPARABLE = 0,  ///< different numbers of components
        VERSION_EQUAL = 1,           ///< as many components, and all the same
        VERSION_LOWER = 2,           ///< the left version is lower
        VERSION_HIGHER = 3,          ///< the left version is higher
    };

    /// UTF-8 to UTF-16 and back. Throw std::range_error("bad conversion") for input that is not valid: in UTF-8 a cut
    /// or overlong sequence, an encoded surrogate, a value beyond U+10FFFF; in UTF-16 an unpaired surrogate.
    /// @{
    static std::wstring ConvertFromBytes(const std::string& utf8);
    static std::string ConvertFromWideBytes(const std::wstring& wide);
    /// @}

    /// The sixteen upper-case hexadecimal digits of `value`.
    static std::wstring StringFromHex(unsigned long long value);
    /// '0' to '9' and 'A' to 'F' for 0 to 15. Not checked: 16 gives 'G', and so on.
    static unsigned char ToHex(unsigned char value);
    /// Digits 0 to 9, letters of either case 10 to 35 (all of A to Z), anything else 0.
    static unsigned char FromHex(unsigned char digit);
    /// The value of hexadecimal text, read from its end; characters that are not digits, and digits whose term would
    /// exceed 9223372036854775807, are passed over. After sixteen digits the place value has left 64 bits: the rest
    /// adds nothing.
    static long long hexToDec(std::string text);

    /// Standard Base64 (RFC 4648, section 4) with padding. `data` may be null when `length` is 0.
    static std::string Base64Encode(const unsigned char* data, unsigned int length);
    /// Decodes complete groups of four characters into `out`, which has room for length * 3 / 4 bytes, and returns the
    /// number of bytes written: 0 for a null pointer or a length below 4. Decoding ends at the first group that begins
    /// with NUL, is cut by the length, or holds a character outside the alphabet; what was decoded before stays.
    /// Padding ends its group alone: groups behind it are decoded as well.
    static int Base64Decode(const unsigned char* text, int length, unsigned char* out);

    /// Form coding: letters, digits and - _ . ~ as they are, a blank as '+', all other bytes as %XX.
    static std::string UrlEncode(const std::string& text);
    /// The reverse. The two characters after '%' are read with FromHex, so that foreign ones count as that gives; a '%'
    /// with fewer than two characters behind it is copied as it stands.
    static std::string UrlDecode(const std::string& text);

    /// One byte per component from the most significant: "10.0.0.100" is 0x0A000064. A component that is not a decimal
    /// number (digits alone) or is 2147483648 or more counts as 0; only the low eight bits of a component and the last
    /// four components remain. An empty text gives 0.
    static unsigned int CalcVersion(const std::string& text);
    /// The packed version of a present device; 0 when the device or its version is not known.
    static unsigned int GetPeerDeviceVersion(const std::string& deviceName);
    /// Whether the version of the device (or of the paired device that the registry names) is 10.0.0.100 or later.
    /// False when it is not known.
    /// @{
    static bool IsDeviceVersionMoreThanKOSM10();
    static bool IsDeviceVersionMoreThanKOSM10(const std::string& deviceName);
    /// @}

    /// The DWORD value `name` of the sharing key, "\SOFTWARE\Vextro\Pelora\KoShare" in the user's hive; `defaultValue`
    /// when the key or value is missing or of another type.
    static unsigned int GetKoShareRegistValue(const std::wstring& name, unsigned int defaultValue);

    /// A copy in which all but the first and the last unit are asterisks; of two units the second is; shorter text
    /// stays.
    /// @{
    static std::string SenstiveContent(const std::string& text);
    static std::wstring SenstiveContent(const std::wstring& text);
    /// @}

    /// The largest part of `bitmap` around its centre that has the aspect ratio width:height, as a new bitmap that the
    /// caller owns. Null for a null bitmap, one whose last status is an error, or when cloning fails (the bitmap's
    /// status then says why). Precondition, not checked: neither width nor height is 0.
    static Gdiplus::Bitmap* CorrectThumbWH(unsigned int width, unsigned int height, Gdiplus::Bitmap* bitmap);
    /// Edge lengths in pixels: 110 scaled by the system's DPI (96 is 1:1), and 300 for codes, unscaled.
    /// @{
    static int GetHintThumbSize();
    static int GetHintQRSize();
    /// @}

private:
    static int GetIndexOfSigns(char digit);
    static std::vector<std::string> StringSplit(std::string text, std::string separator);
    static int CompareSubVersion(std::string left, std::string right);
    static VersionResultCompare CompareVersion(const std::string& left, const std::string& right);
};
