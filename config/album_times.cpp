// When and for how long a device's albums were open.
#include <chrono>
#include <optional>

#include "base/decimal.h"
#include "config/device_attributes.h"
#include "foundation/sharing_key.h"
#include "pelora/registry.h"
#include "tandor/paired_device_config.h"

namespace {

using tandor::kInfo;
using tandor::LogMessage;
using namespace tandor::attribute;

constexpr unsigned long long kLongTime = 7 * 24 * 60 * 60;  // s
using TextAttribute = tandor::Attribute<std::string>;

struct Album {
    const TextAttribute& timespan;  // seconds that it was open in all
    const wchar_t* open_time;       // registry: since when it is open
    const wchar_t* function;
};

unsigned long long Now() {
    using std::chrono::system_clock;
    const auto now = std::chrono::duration_cast<std::chrono::seconds>(system_clock::now().time_since_epoch());
    return static_cast<unsigned long long>(now.count());
}

// A clock that was set back counts no seconds.
unsigned long long Between(unsigned long long begin, unsigned long long end) { return end > begin ? end - begin : 0; }

std::optional<unsigned long long> Seconds(const std::string& device, const TextAttribute& row) {
    std::string text;
    if (row.Fetch(device, text) != DM::DEVICE_OK) return std::nullopt;
    return tandor::ParseDecimal<unsigned long long>(text);
}

bool Open(const Album& album, unsigned long long now) {
    const bool kept =
        DE::Registry::SetValue(DE::RegistryRoot::kUser, tandor::kSharingKey, album.open_time, std::to_wstring(now));
    LogMessage(kInfo, album.function, L"save ", album.open_time, L"=", now, L" ,ret:", kept);
    return kept;
}

bool Close(const std::string& device, const Album& album, unsigned long long now) {
    std::wstring text;
    DE::Registry::GetValue(DE::RegistryRoot::kUser, tandor::kSharingKey, album.open_time, text);
    const auto opened = tandor::ParseDecimal<unsigned long long>(tandor::Utf8FromWideLossy(text));
    if (!opened) {
        LogMessage(kInfo, album.function, album.open_time, L" is not set, nothing to count");
        return false;
    }
    const unsigned long long span = Seconds(device, album.timespan).value_or(0) + Between(*opened, now);
    const int result = album.timespan.Store(device, std::to_string(span));
    LogMessage(kInfo, album.function, L"save ", album.timespan.key, L"=", span, L" ,ret:", result);
    return result == DM::DEVICE_OK &&
           DE::Registry::DeleteValue(DE::RegistryRoot::kUser, tandor::kSharingKey, album.open_time);
}

bool Update(const std::string& device, bool opened, const Album& album) {
    return opened ? Open(album, Now()) : Close(device, album, Now());
}

bool RememberOpening(const std::string& device, unsigned long long now, const wchar_t* function) {
    const std::string text = std::to_string(now);
    const int first = Seconds(device, kFirstAlbumOpen) ? DM::DEVICE_OK : kFirstAlbumOpen.Store(device, text);
    const int last = kLastAlbumOpen.Store(device, text);
    LogMessage(kInfo, function, L"save ", kLastAlbumOpen.key, L"=", now, L" ,ret:", last);
    return first == DM::DEVICE_OK && last == DM::DEVICE_OK;
}

}  // namespace

bool TandorConfig::UpdateOpenAlbumTime(const std::string& deviceName, bool opened) {
    constexpr const wchar_t* kFunction = L"TandorConfig::UpdateOpenAlbumTime";
    if (opened && !RememberOpening(deviceName, Now(), kFunction)) return false;
    return Update(deviceName, opened, {kAlbumTimespan, L"OpenAlbumTime", kFunction});
}

bool TandorConfig::UpdateOpenMusicAlbumTime(const std::string& deviceName, bool opened) {
    return Update(deviceName, opened,
                  {kMusicAlbumTimespan, L"OpenMusicAlbumTime", L"TandorConfig::UpdateOpenMusicAlbumTime"});
}

bool TandorConfig::UpdateOpenVideoTime(const std::string& deviceName, bool opened) {
    return Update(deviceName, opened, {kVideoTimespan, L"OpenVideoTime", L"TandorConfig::UpdateOpenVideoTime"});
}

bool TandorConfig::IsLongTimeAfterLastAlbumOpen(const std::string& deviceName) {
    auto last = Seconds(deviceName, kLastAlbumOpen);
    if (!last) last = Seconds(deviceName, kFirstAlbumOpen);
    const bool long_time = last && Between(*last, Now()) > kLongTime;
    LogMessage(kInfo, L"TandorConfig::IsLongTimeAfterLastAlbumOpen", L"get ", kLastAlbumOpen.key, L"=",
               last.value_or(0), L",long time:", long_time);
    return long_time;
}
