#include <sqlite3.h>

#include "pelora/device_manager.h"
#include "suite/device/device_store.h"
#include "support/testing.h"

namespace {

using namespace tandor::test;

using pelora::Collection;
using pelora::DeviceStore;

class DeviceStoreTest : public testing::Test {
protected:
    std::unique_ptr<DeviceStore> Open() {
        return std::make_unique<DeviceStore>(file_, [this](const std::string& trouble) { told_.push_back(trouble); });
    }
    std::wstring Quoted(const wchar_t* name) const { return L"\"" + (folder_.path / name).wstring() + L"\" "; }
    std::vector<std::filesystem::path> SetAside() const {
        std::vector<std::filesystem::path> found;
        for (const auto& entry : std::filesystem::directory_iterator(file_.parent_path())) {
            const std::wstring name = entry.path().filename().wstring();
            if (name.starts_with(L"devices.damaged-") && name.ends_with(L".db")) found.push_back(entry.path());
        }
        return found;
    }

    TemporaryFolder folder_;
    std::filesystem::path file_ = folder_.path / L"ger\u00e4te" / L"devices.db";
    std::vector<std::string> told_;
};

TEST_F(DeviceStoreTest, KeepsEveryMemberAndListsByName) {
    BluetoothDeviceSummary record;
    record.DevType = std::numeric_limits<int>::min();
    record.DeviceId = "another name";
    record.Summary = std::string("\0\xFF", 2);
    record.ShareType = 5;
    record.IsReverseChannel = false;
    record.LastSeenTime = std::numeric_limits<unsigned long long>::max();
    record.DevSubType = -7;
    record.PairedTimeCycle = L"\u624b\U0001F4F1";
    record.IsSupportCoreLane = 255;
    record.ExtInfo = "last";
    ASSERT_EQ(Open()->SetRecord(Collection::kBound, "b", record), 0);
    const auto store = Open();
    ASSERT_EQ(store->SetRecord(Collection::kBound, "a", {}), 0);
    ASSERT_EQ(store->SetRecord(Collection::kPresent, "c", {}), 0);
    std::vector<BluetoothDeviceSummary> records(9);
    ASSERT_EQ(store->List(Collection::kBound, records), 0);
    ASSERT_EQ(records.size(), 2u);
    const auto members = [](const BluetoothDeviceSummary& of) {
        return std::tuple(of.DevType, of.Summary, of.ShareType, of.IsReverseChannel, of.LastSeenTime, of.DevSubType,
                          of.PairedTimeCycle, of.IsSupportCoreLane, of.ExtInfo);
    };
    EXPECT_EQ(members(records[0]), members({}));
    EXPECT_EQ(members(records[1]), members(record));
    EXPECT_EQ(records[0].DeviceId + records[1].DeviceId, "ab");
    EXPECT_TRUE(told_.empty());
}

TEST_F(DeviceStoreTest, ADamagedStoreIsSetAsideAndANewOneBegun) {
    ASSERT_EQ(Open()->SetRecord(Collection::kPresent, "device", {}), 0);
    const std::string good = ReadAll(file_);
    std::string torn = good;  // the header is whole, the pages behind it are not
    std::fill(torn.begin() + 100, torn.end(), '\x5A');
    const std::string damaged[] = {"This is no database." + std::string(5000, 'x'), torn, good.substr(0, 5000)};
    std::size_t aside = 0;
    for (const std::string& content : damaged) {
        WriteAll(file_, content);
        told_.clear();
        const auto store = Open();
        BluetoothDeviceSummary record;
        ASSERT_EQ(store->GetRecord(Collection::kPresent, "device", record), DM::DEVICE_STORE_DAMAGED) << aside;
        ASSERT_EQ(told_.size(), 1u);
        EXPECT_NE(told_[0].find(tandor::Utf8FromWide(SetAside().back().native())), std::string::npos) << told_[0];
        ASSERT_EQ(SetAside().size(), ++aside);
        EXPECT_EQ(ReadAll(SetAside().back()), content);
        EXPECT_EQ(store->GetRecord(Collection::kPresent, "device", record), DM::DEVICE_NOT_FOUND);
        EXPECT_EQ(store->SetRecord(Collection::kPresent, "device", record), DM::DEVICE_OK);
    }
}

// Two programs meet the same damage: the store that the first began is not set aside by the second.
TEST_F(DeviceStoreTest, OnlyTheDamagedFileIsSetAside) {
    std::filesystem::create_directories(file_.parent_path());
    WriteAll(file_, std::string(5000, 'x'));
    InThreads(4, [this](int i) {
        DeviceStore store(file_, [](const std::string&) {});
        const std::string name = "device " + std::to_string(i);
        for (int attempt = 0; attempt < 100; ++attempt)
            if (store.SetRecord(Collection::kPresent, name, {}) == DM::DEVICE_OK) return;
        ADD_FAILURE() << name << " was never stored";
    });
    EXPECT_EQ(SetAside().size(), 1u);
    std::vector<BluetoothDeviceSummary> records;
    ASSERT_EQ(Open()->List(Collection::kPresent, records), 0);
    EXPECT_EQ(records.size(), 4u);
}

TEST_F(DeviceStoreTest, AStoreThatCannotBeOpenedSaysSoOnceAndIsTriedAgain) {
    std::filesystem::create_directories(file_);  // a folder where the file belongs
    const auto store = Open();
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(store->SetRecord(Collection::kPresent, "a", {}), DM::DEVICE_STORE_UNAVAILABLE);
    ASSERT_EQ(told_.size(), 1u);
    EXPECT_NE(told_[0].find("devices.db"), std::string::npos);
    std::filesystem::remove(file_);
    EXPECT_EQ(store->SetRecord(Collection::kPresent, "a", {}), DM::DEVICE_OK);
    EXPECT_TRUE(SetAside().empty());
}

TEST_F(DeviceStoreTest, AStoreOfALaterVersionIsLeftAlone) {
    ASSERT_EQ(Open()->SetRecord(Collection::kPresent, "a", {}), 0);
    sqlite3* database = nullptr;
    ASSERT_EQ(::sqlite3_open(tandor::Utf8FromWide(file_.native()).c_str(), &database), SQLITE_OK);
    ASSERT_EQ(::sqlite3_exec(database, "PRAGMA user_version=2", nullptr, nullptr, nullptr), SQLITE_OK);
    ::sqlite3_close(database);
    std::vector<BluetoothDeviceSummary> records;
    EXPECT_EQ(Open()->List(Collection::kPresent, records), DM::DEVICE_STORE_UNAVAILABLE);
    EXPECT_TRUE(SetAside().empty());
    ASSERT_EQ(told_.size(), 1u);
    EXPECT_NE(told_[0].find("version 2"), std::string::npos);
}

TEST_F(DeviceStoreTest, FourProcessesWriteAtOnceAndNoneFails) {
    ASSERT_EQ(Open()->SetRecord(Collection::kPresent, "shared", {}), 0);
    const std::wstring command = L"store-attributes \"" + file_.wstring() + L"\" shared ";
    RunChildren({command + L"a 2500", command + L"b 2500", command + L"c 2500", command + L"d 2500"});
    const auto store = Open();
    for (const std::string prefix : {"a", "b", "c", "d"}) {
        for (int number = 0; number < 2500; ++number) {
            std::string text;
            ASSERT_EQ(store->GetText(Collection::kPresent, "shared", prefix + std::to_string(number), text), 0);
            ASSERT_EQ(text, std::to_string(number));
        }
    }
}

// tools/kill_loop.sh does this a thousand times, with the system's own signal.
TEST_F(DeviceStoreTest, WhatWasReportedAsStoredSurvivesAKill) {
    std::filesystem::create_directories(file_.parent_path());
    const std::wstring places = L" \"" + file_.wstring() + L"\" " + Quoted(L"report");
    for (int round = 0; round < 8; ++round) {
        const auto before = ReadAll(folder_.path / L"report").size();
        Child child(L"store-records" + places);
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        while (ReadAll(folder_.path / L"report").size() <= before + static_cast<std::size_t>(round) * 7 &&
               std::chrono::steady_clock::now() < deadline) {
            std::this_thread::yield();
        }
        child.Kill();
        ASSERT_EQ(Child(L"check-records" + places).Wait(), 0) << "round " << round;
    }
    EXPECT_FALSE(ReadAll(folder_.path / L"report").empty());
    EXPECT_TRUE(SetAside().empty());
}

}  // namespace
