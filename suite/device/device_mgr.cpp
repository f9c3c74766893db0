// The exported device manager: the store of the common directory, and values of every type as its text.
#include <filesystem>
#include <sstream>

#include "base/utf.h"
#include "pelora/device_manager.h"
#include "pelora/file_info.h"
#include "pelora/log_service.h"
#include "suite/device/device_store.h"
#include "suite/device/record_members.h"

namespace DM {

using pelora::Collection;

class DeviceMgr::Impl {
public:
    template <class Value>
    int Get(Collection collection, const std::string& device, const std::string& name, Value& value) noexcept {
        try {
            std::string text;
            const int result = store.GetText(collection, device, name, text);
            if (result != DEVICE_OK) return result;
            return pelora::ReadStored(text, value) ? DEVICE_OK : DEVICE_VALUE_UNSUITABLE;
        } catch (const std::bad_alloc&) {
            return DEVICE_OUT_OF_MEMORY;
        }
    }

    template <class Value>
    int Set(Collection collection, const std::string& device, const std::string& name, const Value& value) noexcept {
        try {
            return store.SetText(collection, device, name, pelora::StoredText(value));
        } catch (const std::range_error&) {
            return DEVICE_VALUE_UNSUITABLE;
        } catch (const std::bad_alloc&) {
            return DEVICE_OUT_OF_MEMORY;
        }
    }

    pelora::DeviceStore store{
        std::filesystem::path(tandor::WideFromUtf8Lossy(FileInfo::GetPeloraCommDir())) / L"device" / L"devices.db",
        [](const std::string& trouble) {
            std::wstringstream message;
            message << L"[DeviceMgr]" << tandor::WideFromUtf8Lossy(trouble);
            VxLogger::GetInstance().Log(LOG_MESSAGE_ERROR, message);
        }};
};

DeviceMgr::DeviceMgr() : impl_(new Impl) {}

// Not closed at unload: other threads may have been ended inside SQLite by then, and its locks with them. The system
// closes the files, and whoever opens the store next goes on from its log.
DeviceMgr::~DeviceMgr() { impl_->store.Retire(); }

DeviceMgr& DeviceMgr::GetInstance() {
    static DeviceMgr instance;
    return instance;
}

int DeviceMgr::GetPresentDeviceInfo(const std::string& device, BluetoothDeviceSummary& record) noexcept {
    return impl_->store.GetRecord(Collection::kPresent, device, record);
}
int DeviceMgr::GetPresentDeviceInfoList(std::vector<BluetoothDeviceSummary>& records) noexcept {
    return impl_->store.List(Collection::kPresent, records);
}
int DeviceMgr::GetBoundDeviceInfo(const std::string& device, BluetoothDeviceSummary& record) noexcept {
    return impl_->store.GetRecord(Collection::kBound, device, record);
}
int DeviceMgr::GetBoundDeviceInfoList(std::vector<BluetoothDeviceSummary>& records) noexcept {
    return impl_->store.List(Collection::kBound, records);
}

int DeviceMgr::SetPresentDeviceInfo(const std::string& device, const BluetoothDeviceSummary& record) noexcept {
    return impl_->store.SetRecord(Collection::kPresent, device, record);
}
int DeviceMgr::SetBoundDeviceInfo(const std::string& device, const BluetoothDeviceSummary& record) noexcept {
    return impl_->store.SetRecord(Collection::kBound, device, record);
}

int DeviceMgr::DeletePresentDeviceInfo(const std::string& device) noexcept {
    return impl_->store.Delete(Collection::kPresent, device, true);
}
int DeviceMgr::DeleteBoundDeviceInfo(const std::string& device, bool deleteTrusted) noexcept {
    return impl_->store.Delete(Collection::kBound, device, deleteTrusted);
}

int DeviceMgr::GetPresentDeviceInfoByName(const std::string& device, const std::string& name, bool& value) noexcept {
    return impl_->Get(Collection::kPresent, device, name, value);
}
int DeviceMgr::GetPresentDeviceInfoByName(const std::string& device, const std::string& name, int& value) noexcept {
    return impl_->Get(Collection::kPresent, device, name, value);
}
int DeviceMgr::GetPresentDeviceInfoByName(const std::string& device, const std::string& name,
                                          unsigned long long& value) noexcept {
    return impl_->Get(Collection::kPresent, device, name, value);
}
int DeviceMgr::GetPresentDeviceInfoByName(const std::string& device, const std::string& name,
                                          std::string& value) noexcept {
    return impl_->Get(Collection::kPresent, device, name, value);
}
int DeviceMgr::GetBoundDeviceInfoByName(const std::string& device, const std::string& name,
                                        std::string& value) noexcept {
    return impl_->Get(Collection::kBound, device, name, value);
}

int DeviceMgr::SetPresentDeviceInfoByName(const std::string& device, const std::string& name,
                                          const std::string& value) noexcept {
    return impl_->Set(Collection::kPresent, device, name, value);
}
int DeviceMgr::SetPresentDeviceInfoByName(const std::string& device, const std::string& name, bool& value) noexcept {
    return impl_->Set(Collection::kPresent, device, name, value);
}
int DeviceMgr::SetPresentDeviceInfoByName(const std::string& device, const std::string& name, int& value) noexcept {
    return impl_->Set(Collection::kPresent, device, name, value);
}
int DeviceMgr::SetPresentDeviceInfoByName(const std::string& device, const std::string& name,
                                          const std::wstring& value) noexcept {
    return impl_->Set(Collection::kPresent, device, name, value);
}
int DeviceMgr::SetBoundDeviceInfoByName(const std::string& device, const std::string& name,
                                        const std::string& value) noexcept {
    return impl_->Set(Collection::kBound, device, name, value);
}

int DeviceMgr::GetChangeCount(unsigned long long& count) noexcept { return impl_->store.ChangeCount(count); }

}  // namespace DM
