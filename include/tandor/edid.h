/// @file
/// The colours of an attached panel, from its EDID.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "tandor/api.h"

/// Finds the built-in panel of an attached pad or screen of the maker's own make among the PC's monitors, reads its
/// EDID from the registry, and tells whether it is wide-gamut: whether its triangle covers more than 0.9 of P3, Adobe
/// RGB or BT.2020 in the CIE 1931 xy plane.
///
/// All members are static, keep no state and may be called from any thread, in any COM apartment or none. Failures give
/// false, an empty result or zeros, and a line in the host log; only std::bad_alloc leaves. A query of the system's
/// management service can take seconds: nobody should wait for it on a user interface's thread.
class TANDOR_API GetEdidData {
public:
    using Point = std::pair<double, double>;  ///< x, y
    using Points = std::vector<Point>;        ///< red, green, blue, white

    /// The device instance path ("DISPLAY\VXT0042\4&2f5c1e7&0&UID265988") of the panel, from the management service. Of
    /// several monitors the first with such a path counts. The path is the text's first three parts between
    /// backslashes, so what a driver appends behind a third one is cut off. Empty on failure.
    static std::wstring GetPnpDeviceID();
    /// The key below HKEY_LOCAL_MACHINE that holds the EDID of a device; empty for an empty id.
    static std::wstring GetEdidDataPath(const std::wstring& deviceId);
    /// The binary value "EDID" of that key, whatever its length; empty on failure.
    static std::vector<unsigned char> GetLcdEdidData(const std::wstring& edidDataPath);
    /// The caption of the first monitor that has one; empty on failure.
    static std::wstring GetLCDNameByWMI();

    /// The panel's coordinates, by the whole chain: red x, red y, green x, green y, blue x, blue y, white x, white y.
    /// On failure the list is empty.
    static bool GetColorCoordinate(std::vector<double>& coordinates);

    /// The coordinates that an EDID block holds. False, with `coordinates` as it was, for a null block, fewer than 35
    /// bytes, a block that does not begin with 00 FF FF, or a list that has not exactly eight entries. Neither the rest
    /// of the header nor the checksum counts.
    static bool ParseCoordinateFromEdid(const unsigned char* edid, unsigned int length,
                                        std::vector<double>& coordinates);
    /// Ten bytes, as they stand from offset 25 of the block, to eight coordinates; empty for another number.
    static std::vector<double> CoordinateConversion(const std::vector<unsigned char>& bytes);
    /// A 10-bit binary fraction: 1023 is 0.9990234375.
    static double BinaryToDecimal(unsigned int value);

    /// first: the panel triangle's area by the reference triangle's, both as signed sums over red, green, blue (so
    /// negative when they run in opposite senses), at most the largest double. second: the area that both share by the
    /// reference triangle's, 0 to 1 for any winding, within 1e-12 of the exact value for any finite coordinates: sides
    /// of lines, and whether there is an area at all, are decided without rounding. Both are 0 for lists of fewer than
    /// four points (white is not looked at), for a triangle without area, and for numbers that are not finite. Takes no
    /// memory.
    static void GamutCoverage(const Points& reference, const Points& panel, std::pair<double, double>& coverage);
    /// The convex polygon that the two triangles (the first three points of each list) share, in the reference's
    /// winding; corners that differ by no more than rounding (1e-14 of the reference's size) are one. Empty when a list
    /// has fewer than three points or numbers that are not finite; fewer than three points when no area is shared.
    static Points GamutProcess(const Points& reference, const Points& panel);
    /// Where the segments a-b and c-d cross, ends included. False, with `crossing` as it was, when they do not, are
    /// parallel, or are not finite.
    static bool GetPointIntersected(const Point& a, const Point& b, const Point& c, const Point& d, Point& crossing);
    /// Whether the point lies in the triangle (the list's first three points) or on its border, decided without
    /// rounding. Never in a triangle without area; false for numbers that are not finite.
    static bool GetPointInsideTriangle(const Points& triangle, const Point& point);
    /// Whether two points differ by no more than rounding (1e-14).
    static bool IsPairEqual(const Point& left, const Point& right);

    /// Whether the panel covers strictly more than 0.9 of the reference. Within 1e-12 of 0.9 it counts as 0.9.
    /// @{
    static bool IsSupportP3Gamut(const Points& panel);
    static bool IsSupportAdobeRGBGamut(const Points& panel);
    static bool IsSupportBT2020Gamut(const Points& panel);
    /// @}

    /// Whether the attached panel covers one of them, asked in this order.
    static bool IsSupportWideGamut();
};
