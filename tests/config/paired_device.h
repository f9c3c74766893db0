// A present device of the tests' own, and the registry's key of sharing, both gone at the end.
#pragma once

#include "pelora/device_manager.h"
#include "support/testing.h"
#include "tandor/paired_device_config.h"

namespace tandor::test {

using Config = TandorConfig;

inline const std::wstring kShareKey = L"\\SOFTWARE\\Vextro\\Pelora\\KoShare";
inline const std::string kDevice = "Prüfling 手", kUnknown = "unknown device";

class PairedDeviceConfig : public testing::Test {
protected:
    void SetUp() override {
        TearDown();
        ASSERT_EQ(Manager().SetPresentDeviceInfo(kDevice, {}), 0);
        log_.Take();
    }
    void TearDown() override {
        [[maybe_unused]] int ignored = Manager().DeletePresentDeviceInfo(kDevice);
        ignored = Manager().DeleteBoundDeviceInfo(kDevice, true);
        Registry::DeleteKey(RegistryRoot::kUser, kShareKey);
    }

    static DM::DeviceMgr& Manager() { return DM::DeviceMgr::GetInstance(); }
    static std::string Stored(const std::string& key) {
        std::string text;
        return Manager().GetPresentDeviceInfoByName(kDevice, key, text) == 0 ? text : "(none)";
    }
    static void Put(const std::string& key, const std::string& text) {
        ASSERT_EQ(Manager().SetPresentDeviceInfoByName(kDevice, key, text), 0);
    }
    template <class Value>
    static std::optional<Value> Shared(const wchar_t* name) {
        return ReadValue<Value>(RegistryRoot::kUser, kShareKey, name);
    }
    static std::vector<std::wstring> Logged(const std::wstring& function, std::vector<std::wstring> texts) {
        for (std::wstring& text : texts) text.insert(0, L"3 ");
        return LinesFrom(L"TandorConfig::" + function, std::move(texts));
    }

    HostLog log_;
};

}  // namespace tandor::test
