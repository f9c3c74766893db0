/// @file
/// The configuration of the extended screen: a pad as a mirrored or extended display of the PC.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "tandor/api.h"

namespace ExScreen {

/// Pixels.
struct Resolution {
    unsigned int width = 0;   ///< as the display stands
    unsigned int height = 0;  ///< as the display stands

    /// Whether both edges are equal.
    friend bool operator==(const Resolution&, const Resolution&) = default;
};

using ResolutionList = std::vector<Resolution>;                 ///< the preferred one first
using ResolutionTable = std::map<std::string, ResolutionList>;  ///< by "Ratio3To2", "Ratio16To10", "Ratio16To9"

/// What two files beside the host program say about this PC model, read once:
///
///     config\VxExScreen\VxExScreenConfig.xml            audio, rotation, driver switch, video limits, window sizes
///     cloundConfig\VxExScreen\PadResolutionConfig.xml   lists of resolutions
///
/// docs/screen.md describes both. A missing file, element or unreadable number leaves the default; the "KoViewMirror"
/// channel and the host log say which. A number that is read but lies outside its getter's range counts as the default
/// at that getter.
///
/// Threads: the first GetInstance reads the files on its thread while others wait; from then on the object never
/// changes and every member may be called from any thread. Only std::bad_alloc leaves.
class TANDOR_API ConfigMgr {
public:
    /// The process-wide instance; it lives until the library is unloaded.
    static ConfigMgr& GetInstance();

    /// The PC's device type as UTF-8, asked anew; empty when it is not known.
    static std::string GetDeviceType();

    /// Sizes of the picture, in pixels: 101 to 9999; otherwise 1920 for a width and 1280 for a height. FollowPC: the
    /// picture as large as the PC's. FollowPad: as the pad's, with its own bars hidden or shown. Extend: the PC's
    /// display (Prim) and the pad's (Sec) beside it.
    /// @{
    unsigned int GetFollowPCWidth() const;
    unsigned int GetFollowPCHeight() const;
    unsigned int GetFollowPadHideWidth() const;
    unsigned int GetFollowPadHideHeight() const;
    unsigned int GetFollowPadShowWidth() const;
    unsigned int GetFollowPadShowHeight() const;
    unsigned int GetExtendPrimWidth() const;
    unsigned int GetExtendPrimHeight() const;
    unsigned int GetExtendHideSecWidth() const;
    unsigned int GetExtendHideSecHeight() const;
    unsigned int GetExtendShowSecWidth() const;
    /// @}

    /// As stored, whatever it is (1280 when the file has none): the one size without a range.
    unsigned int GetExtendShowSecHeight() const;
    /// Dots per inch of the picture as large as the PC's: 0 to 500; otherwise 0.
    unsigned int GetFollowPCDpi() const;

    // Audio detection, as its driver takes the values.
    unsigned int GetVolumnThresh() const;   ///< the quietest volume that counts, 0 to 100; otherwise 20
    unsigned int GetSpeakerMargin() const;  ///< the driver's margin, 0 to 1000; otherwise 320
    unsigned int GetBitDepth() const;       ///< bits of a sample, 0 to 100; otherwise 32
    unsigned int GetInCh() const;           ///< input channels, 0 to 8; otherwise 2
    unsigned int GetSampleRate() const;     ///< hertz, 0 to 200000; otherwise 48000

    // Video limits, as the encoder takes them. 0 when not configured for this PC model or out of range.
    unsigned int GetFpsThreshold() const;        ///< frames per second, 15 to 120
    unsigned int GetEncoderBitrate() const;      ///< bits per second, 6291456 to 20971520 (6 to 20 Mi)
    unsigned int GetEncoderIdrInterval() const;  ///< between complete pictures, 3 to 20, in the encoder's unit
    unsigned int GetDisplayFrequency() const;    ///< hertz, 50 to 90
    /// Whether the getter of that value answers something other than 0.
    /// @{
    bool ConfiguredFpsThreshold() const;
    bool ConfiguredEncoderBitrate() const;
    bool ConfiguredEncoderIdrInterval() const;
    bool ConfiguredDisplayFrequency() const;
    /// @}

    /// Whether audio detection works on this PC model; false when the file does not list it.
    bool IsSupportAutoDetect() const;
    /// Whether the sound may be switched between PC and pad: on every PC model that the file does not exclude; false
    /// when the file decides nothing. When the file says it, it is also written, as 0 or 1, to the DWORD
    /// "supportAudioSwitch" of the key `\SOFTWARE\Vextro\Pelora\Pad\setting` in the user's hive.
    bool IsSupportAudioSwitch() const;
    /// Whether the driver's limits are switched on; false when the file does not say so.
    bool IsDriverLimitOpen() const;
    bool IsReduceResolutionDevice() const;  ///< no element of the files sets it: false
    /// The PC display's rotation as its driver numbers it, unchecked; 0 when the file has none.
    unsigned int GetScreenRotationParm() const;

    /// Whether the display's recommended size is 3:2 in landscape, asked of the system at each call. With several
    /// active displays the built-in panel counts, without one the display at the desktop's origin. False when the query
    /// fails.
    static bool IsHorizontal();

    /// The resolutions for the mirror and the extend mode, in the file's order.
    /// @{
    const ResolutionList& GetMirrorResolutions() const;
    const ResolutionList& GetExtendResolutions() const;
    /// @}

    /// The monitors' resolutions by aspect ratio; a ratio that the file does not list is not in the table.
    const ResolutionTable& GetMonitorResolutionConfig() const;

    /// The preferred resolution for a monitor's or a pad's display of `width` x `height` pixels. Of the ratios listed,
    /// the one nearest to the display's own counts; of its resolutions the first that fits into the display, and when
    /// none fits the one with the fewest pixels. A display in portrait is treated as one in landscape and the result is
    /// turned. False, with `resolution` as it was, when the table is empty or the display has no area.
    /// @{
    bool GetMonitorPreResolution(unsigned int width, unsigned int height, Resolution& resolution) const;
    bool GetPadPreResolution(unsigned int width, unsigned int height, Resolution& resolution) const;
    /// @}

    ConfigMgr(const ConfigMgr&) = delete;
    ConfigMgr& operator=(const ConfigMgr&) = delete;

private:
    ConfigMgr();
    ~ConfigMgr();
    void LoadConfig();

    struct Settings;
    Settings* settings_;
};

}  // namespace ExScreen
