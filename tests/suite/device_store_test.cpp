#include <sqlite3.h>

#include <random>

#include "pelora/device_manager.h"
#include "suite/device/device_store.h"
#include "support/testing.h"

namespace {

using namespace tandor::test;

using pelora::Collection;
using pelora::DeviceStore;

// One of the calls that SQLite makes to the system, replaced for as long as the object lives.
class SystemCall : UnCopyable {
public:
    template <class Function>
    SystemCall(const char* name, Function* replacement) : name_(name) {
        Set(reinterpret_cast<sqlite3_syscall_ptr>(replacement));
    }
    ~SystemCall() { Set(nullptr); }

private:
    void Set(sqlite3_syscall_ptr function) {
        sqlite3_vfs* const system = ::sqlite3_vfs_find(nullptr);
        EXPECT_EQ(system->xSetSystemCall(system, name_, function), SQLITE_OK) << name_;
    }
    const char* name_;
};

int room = 0;  // writes until the disk is full

BOOL WINAPI WriteUntilFull(HANDLE file, LPCVOID data, DWORD size, LPDWORD written, LPOVERLAPPED place) {
    if (room-- > 0) return ::WriteFile(file, data, size, written, place);
    ::SetLastError(ERROR_DISK_FULL);
    return FALSE;
}

const wchar_t* write_protected = L"";  // how the names of files that cannot be written end

HANDLE WINAPI OpenUnlessProtected(LPCWSTR path, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES rights, DWORD how,
                                  DWORD flags, HANDLE pattern) {
    if ((access & GENERIC_WRITE) == 0 || !std::wstring_view(path).ends_with(write_protected))
        return ::CreateFileW(path, access, share, rights, how, flags, pattern);
    ::SetLastError(ERROR_WRITE_PROTECT);
    return INVALID_HANDLE_VALUE;
}

class DeviceStoreTest : public testing::Test {
protected:
    std::unique_ptr<DeviceStore> Open(std::chrono::milliseconds patience = std::chrono::seconds(10)) {
        return std::make_unique<DeviceStore>(
            file_, [this](const std::string& trouble) { told_.push_back(trouble); }, patience);
    }
    // The first column of the statement's first row, through a connection of its own.
    std::string Ask(const char* sql) const {
        std::string answer;
        sqlite3* database = nullptr;
        EXPECT_EQ(::sqlite3_open(tandor::Utf8FromWide(file_.native()).c_str(), &database), SQLITE_OK);
        const auto keep = [](void* text, int, char** columns, char**) {
            *static_cast<std::string*>(text) = columns[0];
            return 0;
        };
        EXPECT_EQ(::sqlite3_exec(database, sql, keep, &answer, nullptr), SQLITE_OK);
        ::sqlite3_close(database);
        return answer;
    }
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

// Members that might be taken for each other.
using Record = BluetoothDeviceSummary;
constexpr std::string Record::*kTexts[] = {
    &Record::DevName,  &Record::UserName,    &Record::NickName,   &Record::MacAddr, &Record::ModelName,
    &Record::PeerUuid, &Record::AccountInfo, &Record::AuthDigest, &Record::IpAddr,  &Record::OriginalName};
constexpr std::int32_t Record::*kNumbers[] = {&Record::AuthorState, &Record::TrustType, &Record::ReconnectPolicy,
                                              &Record::ShieldState};

TEST_F(DeviceStoreTest, KeepsEveryMemberAndListsByName) {
    const std::string name("b'\";--\0b%s; DROP TABLE device;", 30);
    Record record;
    int next = 11;
    for (const auto text : kTexts) record.*text = std::to_string(++next);
    for (const auto number : kNumbers) record.*number = ++next;
    record.DevType = std::numeric_limits<int>::min();
    record.DeviceId = "another name";
    record.Summary = std::string("\0\xFF", 2);
    record.ShareType = 5;
    record.IsReverseChannel = false;
    record.LastSeenTime = std::numeric_limits<unsigned long long>::max();
    record.DevSubType = -7;
    record.PairedTimeCycle = L"\u624b\U0001F4F1";
    record.IsSupportCoreLane = 255;
    record.ExtInfo = std::string(1'000'000, 'x') + std::string(1, '\0');
    ASSERT_EQ(Open()->SetRecord(Collection::kBound, name, record), 0);
    ASSERT_EQ(Open()->SetText(Collection::kBound, name, name, record.ExtInfo), 0);
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
    EXPECT_TRUE(members(records[1]) == members(record));  // too large to be shown
    for (const auto text : kTexts) EXPECT_EQ(records[1].*text, record.*text);
    for (const auto number : kNumbers) EXPECT_EQ(records[1].*number, record.*number);
    EXPECT_EQ(records[0].DeviceId + records[1].DeviceId, "a" + name);
    std::string text;
    ASSERT_EQ(store->GetText(Collection::kBound, name, name, text), 0);
    EXPECT_TRUE(text == record.ExtInfo);
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

// Windows renames no file that somebody has open. Where not even the file's head can be read, it takes the others, who
// meet the damage and close it.
TEST_F(DeviceStoreTest, ADamagedStoreThatOthersHaveOpenIsBegunAnew) {
    for (const bool head : {false, true}) {
        SCOPED_TRACE(head);
        const auto idle = Open(), store = Open();
        ASSERT_EQ(idle->SetRecord(Collection::kPresent, "a", {}), DM::DEVICE_OK);
        Ask("PRAGMA wal_checkpoint(TRUNCATE)");
        std::string bytes = ReadAll(file_);
        std::fill(bytes.begin() + (head ? 0 : 4096), bytes.end(), '?');
        WriteAll(file_, bytes);
        std::vector<BluetoothDeviceSummary> records;
        EXPECT_EQ(store->SetRecord(Collection::kPresent, "b", {}), DM::DEVICE_STORE_DAMAGED);
        if (head) {
            EXPECT_TRUE(SetAside().empty());
            EXPECT_EQ(idle->List(Collection::kPresent, records), DM::DEVICE_STORE_DAMAGED);
        }
        EXPECT_EQ(store->SetRecord(Collection::kPresent, "b", {}), DM::DEVICE_OK);
        EXPECT_EQ(idle->List(Collection::kPresent, records), DM::DEVICE_OK);
        EXPECT_EQ(records.size(), 1u);
        ASSERT_EQ(SetAside().size(), 1u);
        EXPECT_EQ(ReadAll(SetAside()[0]), bytes);
        std::filesystem::remove(SetAside()[0]);
        ASSERT_EQ(store->Delete(Collection::kPresent, "b", true), DM::DEVICE_OK);
    }
}

TEST_F(DeviceStoreTest, AStoreOfALaterVersionIsLeftAlone) {
    ASSERT_EQ(Open()->SetRecord(Collection::kPresent, "a", {}), 0);
    Ask("PRAGMA user_version=2");
    std::vector<BluetoothDeviceSummary> records;
    EXPECT_EQ(Open()->List(Collection::kPresent, records), DM::DEVICE_STORE_LATER_VERSION);
    EXPECT_TRUE(SetAside().empty());
    ASSERT_EQ(told_.size(), 1u);
    EXPECT_NE(told_[0].find("version 2"), std::string::npos);
}

TEST_F(DeviceStoreTest, TheChangeCountTellsOfEveryChange) {
    const auto store = Open(), other = Open();
    std::string text;
    std::vector<BluetoothDeviceSummary> records;
    struct Step {
        std::function<int()> run;
        int result;
        bool changes;
    };
    const Step steps[] = {
        {[&] { return store->SetRecord(Collection::kPresent, "a", {}); }, 0, true},
        {[&] { return other->SetRecord(Collection::kBound, "b", {}); }, 0, true},
        {[&] { return other->SetText(Collection::kPresent, "a", "x", "1"); }, 0, true},
        {[&] { return store->SetText(Collection::kPresent, "a", "x", "2"); }, 0, true},
        {[&] { return other->GetText(Collection::kPresent, "a", "x", text); }, 0, false},
        {[&] { return store->List(Collection::kBound, records); }, 0, false},
        {[&] { return other->SetText(Collection::kPresent, "none", "x", "1"); }, DM::DEVICE_NOT_FOUND, false},
        {[&] { return store->Delete(Collection::kPresent, "none", true); }, DM::DEVICE_NOT_FOUND, false},
        {[&] { return other->Delete(Collection::kBound, "b", true); }, 0, true},
        {[&] { return Child(L"store-attributes \"" + file_.wstring() + L"\" a y 1").Wait(); }, 0, true},
    };
    const auto count = [&] {
        unsigned long long now = 0;
        EXPECT_EQ(store->ChangeCount(now), 0);
        return now;
    };
    unsigned long long before = count();
    for (std::size_t i = 0; i < std::size(steps); ++i) {
        EXPECT_EQ(steps[i].run(), steps[i].result) << i;
        const unsigned long long now = count();
        EXPECT_EQ(now > before, steps[i].changes) << i;
        EXPECT_GE(now, before) << i;
        before = now;
    }
}

TEST_F(DeviceStoreTest, AWriterGivesUpWhileAnotherHoldsTheStore) {
    ASSERT_EQ(Open()->SetRecord(Collection::kPresent, "a", {}), 0);
    sqlite3* holder = nullptr;
    ASSERT_EQ(::sqlite3_open(tandor::Utf8FromWide(file_.native()).c_str(), &holder), SQLITE_OK);
    ASSERT_EQ(::sqlite3_exec(holder, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr), SQLITE_OK);
    const auto store = Open(std::chrono::milliseconds(20));
    std::string text;
    InThreads(3, [&](int) {
        for (int i = 0; i < 3; ++i)
            EXPECT_EQ(store->SetText(Collection::kPresent, "a", "x", "1"), DM::DEVICE_STORE_BUSY);
    });
    EXPECT_EQ(store->Delete(Collection::kPresent, "a", true), DM::DEVICE_STORE_BUSY);
    EXPECT_EQ(store->GetText(Collection::kPresent, "a", "x", text), DM::DEVICE_NO_ATTRIBUTE);  // readers do not wait
    EXPECT_EQ(told_.size(), 1u);
    ::sqlite3_close(holder);
    EXPECT_EQ(store->SetText(Collection::kPresent, "a", "x", "1"), DM::DEVICE_OK);
}

TEST_F(DeviceStoreTest, AFullDiskIsSaidAndChangesNothing) {
    const std::string before(9'000, 'o'), after(9'000, 'n');
    const std::function<int(DeviceStore&)> changes[] = {
        [&](DeviceStore& store) { return store.SetText(Collection::kPresent, "a", "x", after); },
        [&](DeviceStore& store) { return store.SetRecord(Collection::kPresent, "new", {}); },
        [&](DeviceStore& store) { return store.Delete(Collection::kPresent, "a", true); },
    };
    const auto content = [](DeviceStore& store) {
        std::string text = "none", name = "none";
        EXPECT_LE(store.GetText(Collection::kPresent, "a", "x", text), DM::DEVICE_NOT_FOUND);
        EXPECT_LE(store.GetText(Collection::kPresent, "new", "DevName", name), DM::DEVICE_NOT_FOUND);
        return text + name;
    };
    for (const auto& change : changes) {
        int full = 0;
        for (; full < 100; ++full) {
            std::filesystem::remove_all(file_.parent_path());
            const auto store = Open();
            ASSERT_EQ(store->SetRecord(Collection::kPresent, "a", {}), 0);
            ASSERT_EQ(store->SetText(Collection::kPresent, "a", "x", before), 0);
            told_.clear();
            {
                const SystemCall disk("WriteFile", WriteUntilFull);
                room = full;
                const int result = change(*store);
                if (result == DM::DEVICE_OK) break;
                EXPECT_EQ(result, DM::DEVICE_STORE_FULL);
                EXPECT_EQ(content(*store), before + "none");
                EXPECT_EQ(change(*store), DM::DEVICE_STORE_FULL);
            }
            EXPECT_EQ(told_.size(), 1u);
            EXPECT_EQ(Ask("PRAGMA integrity_check"), "ok");
            EXPECT_EQ(content(*store), before + "none");
            EXPECT_EQ(change(*store), DM::DEVICE_OK);
            EXPECT_NE(content(*Open()), before + "none");
            EXPECT_TRUE(SetAside().empty());
        }
        EXPECT_THAT(full, AllOf(testing::Gt(2), testing::Lt(100)));  // at every write, the first to the last
    }
}

// A folder in which nothing can be written, and a file alone.
TEST_F(DeviceStoreTest, AStoreThatCannotBeWrittenSaysSoOnce) {
    std::string text;
    for (const auto* const what : {L"", L".db"}) {
        for (const bool there : {false, true}) {
            SCOPED_TRACE(testing::Message() << there << " " << (*what == L'\0' ? "folder" : "file"));
            std::filesystem::remove_all(file_.parent_path());
            if (there) {
                ASSERT_EQ(Open()->SetRecord(Collection::kPresent, "a", {}), 0);
            }
            told_.clear();
            const auto store = Open();
            {
                write_protected = what;
                const SystemCall folder("CreateFileW", OpenUnlessProtected);
                for (int i = 0; i < 3; ++i) {
                    EXPECT_EQ(store->SetRecord(Collection::kPresent, "b", {}), DM::DEVICE_STORE_UNAVAILABLE);
                    const int read = store->GetText(Collection::kPresent, "a", "DevType", text);
                    EXPECT_EQ(read, there && *what != L'\0' ? DM::DEVICE_OK : DM::DEVICE_STORE_UNAVAILABLE);
                }
            }
            EXPECT_EQ(told_.size(), 1u) << testing::PrintToString(told_);
            EXPECT_EQ(store->SetRecord(Collection::kPresent, "b", {}), DM::DEVICE_OK);
            EXPECT_EQ(store->GetText(Collection::kPresent, "a", "DevType", text), there ? 0 : DM::DEVICE_NOT_FOUND);
            EXPECT_TRUE(SetAside().empty());
        }
    }
}

TEST_F(DeviceStoreTest, TwoProcessesWriteAtOnceAndNoneFails) {
    const int count = 10'000;
    ASSERT_EQ(Open()->SetRecord(Collection::kPresent, "shared", {}), 0);
    const std::wstring command = L"store-attributes \"" + file_.wstring() + L"\" shared ";
    RunChildren({command + L"a " + std::to_wstring(count), command + L"b " + std::to_wstring(count)});
    const auto store = Open();
    for (const std::string prefix : {"a", "b"}) {
        for (int number = 0; number < count; ++number) {
            std::string text;
            ASSERT_EQ(store->GetText(Collection::kPresent, "shared", prefix + std::to_string(number), text), 0);
            ASSERT_EQ(text, std::to_string(number));
        }
    }
}

// Every fifth is killed at its beginning, so that opening and recovery are met, the others once they write. The soak's
// store row does this a thousand times, with the system's own signal.
TEST_F(DeviceStoreTest, WhatWasReportedAsStoredSurvivesAKill) {
    std::filesystem::create_directories(file_.parent_path());
    const std::filesystem::path report = folder_.path / L"report";
    const std::wstring places = L" \"" + file_.wstring() + L"\" \"" + report.wstring() + L"\"";
    const unsigned seed = std::random_device()();
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    std::mt19937 random(seed);
    for (int round = 0; round < 50; ++round) {
        const auto before = ReadAll(report).size();
        Child child(L"store-changes" + places);
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        while (round % 5 != 0 && ReadAll(report).size() == before && std::chrono::steady_clock::now() < deadline)
            std::this_thread::yield();
        std::this_thread::sleep_for(std::chrono::microseconds(random() % (round % 5 == 0 ? 200'000 : 20'000)));
        child.Kill();
        ASSERT_EQ(Child(L"check-changes" + places).Wait(), 0) << "round " << round;
    }
    EXPECT_FALSE(ReadAll(report).empty());
    EXPECT_TRUE(SetAside().empty());
}

}  // namespace
