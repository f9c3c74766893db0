#include <windows.h>

#include "base/utf.h"
#include "suite/telemetry/ko_event.h"

namespace {

enum ValueType : int { kText = 0, kNumber = 1 };

// Ticks of 100 ns from 1601-01-01 to 1970-01-01.
constexpr long long kTicksBeforeUnixEpoch = 116'444'736'000'000'000;

pelora::OutboxFile FileAsItIs(const std::string& path) {
    pelora::OutboxFile file{path};
    WIN32_FILE_ATTRIBUTE_DATA found;
    const std::wstring wide = tandor::WideFromUtf8Lossy(path);
    if (::GetFileAttributesExW(wide.c_str(), GetFileExInfoStandard, &found) == 0) return file;
    const auto join = [](DWORD high, DWORD low) { return static_cast<long long>(ULONGLONG{high} << 32 | low); };
    file.size = join(found.nFileSizeHigh, found.nFileSizeLow);
    const long long ticks = join(found.ftLastWriteTime.dwHighDateTime, found.ftLastWriteTime.dwLowDateTime);
    file.modified = (ticks - kTicksBeforeUnixEpoch) / 10'000;
    return file;
}

}  // namespace

class KoView::Payload {
public:
    pelora::OutboxRecord record;
};

void KoView::VariadicKVPairs(Payload& payload, std::string& key, std::string value, int type) {
    payload.record.values.push_back({key, std::move(value), type == kNumber});
}

void KoView::VariadicKVPairs(Payload& payload, std::string& key, const char* value, int type) {
    VariadicKVPairs(payload, key, std::string(value == nullptr ? "" : value), type);
}

bool KoView::Report(KoEvent& event) noexcept {
    try {
        Payload payload;
        payload.record.kind = pelora::OutboxKind::kFault;
        payload.record.event = std::to_string(event.impl_->id);
        for (pelora::OutboxValue& value : event.impl_->values) {
            VariadicKVPairs(payload, value.key, value.text, value.number ? kNumber : kText);
        }
        for (const std::string& path : event.impl_->files) payload.record.files.push_back(FileAsItIs(path));
        return pelora::Outbox::GetInstance().Put(payload.record).empty();
    } catch (const std::exception&) {
        return false;
    }
}
