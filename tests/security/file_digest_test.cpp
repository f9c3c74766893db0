#include "security/sha256.h"
#include "support/fail_each_step.h"
#include "support/failing_memory.h"
#include "support/testing.h"
#include "tandor/sealing.h"

namespace {

using namespace tandor::test;

std::string MemoryDigest(const std::string& content) {
    CTandorSecTools tools;
    unsigned char digest[32];
    tools.OPENSSL_SHA256(reinterpret_cast<const unsigned char*>(content.data()), content.size(), digest);
    std::string text;
    tools.NormalizeSha256(digest, text);
    return text;
}

std::string FileDigest(const std::wstring& path) {
    std::string text = "before";
    EXPECT_TRUE(CTandorSecTools().GetSha256HashStrFromFile(path, text));
    return text;
}

TEST(FileDigest, IsThatOfTheContentAtEverySize) {
    const TemporaryFolder folder;
    const std::filesystem::path path = folder.path / L"Gerät 手机.bin";
    constexpr std::size_t kBlock = 256 * 1024;
    std::string content(100 * kBlock + 7, '\0');
    for (std::size_t i = 0; i < content.size(); ++i) content[i] = static_cast<char>(i * 31 + i / 251);
    // Beyond eight blocks another thread reads ahead, and overtakes the digest in the largest file.
    for (const std::size_t size : {std::size_t{0}, std::size_t{1}, kBlock - 1, kBlock, kBlock + 1, 8 * kBlock - 1,
                                   8 * kBlock, 8 * kBlock + 1, 9 * kBlock, content.size()}) {
        WriteAll(path, content.substr(0, size));
        EXPECT_EQ(FileDigest(path.native()), MemoryDigest(content.substr(0, size))) << size;
    }
}

TEST(FileDigest, TakesEveryFormOfPath) {
    const TemporaryFolder folder;
    const auto literally = [](const std::filesystem::path& path) { return L"\\\\?\\" + path.native(); };
    std::filesystem::path deep = folder.path;
    for (int i = 0; i < 8; ++i) {
        deep /= std::wstring(60, L'ü');
        ASSERT_NE(::CreateDirectoryW(literally(deep).c_str(), nullptr), 0);
    }
    const std::wstring file = literally(deep / L"f");
    {
        const tandor::FileHandle handle(::CreateFileW(file.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr));
        DWORD written = 0;
        ASSERT_TRUE(handle && ::WriteFile(handle.Get(), "abc", 3, &written, nullptr) != 0);
    }
    const std::string abc = MemoryDigest("abc");
    EXPECT_EQ(FileDigest(file), abc);
    EXPECT_EQ(FileDigest((deep / L"f").native()), abc);
    EXPECT_EQ(FileDigest((deep / L".." / deep.filename() / L"." / L"f").native()), abc);
    EXPECT_NE(::DeleteFileW(file.c_str()), 0);
    for (std::filesystem::path made = deep; made != folder.path; made = made.parent_path())
        EXPECT_NE(::RemoveDirectoryW(literally(made).c_str()), 0);

    WriteAll(folder.path / L"near", "abc");
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(folder.path);
    EXPECT_EQ(FileDigest(L"near"), abc);
    EXPECT_EQ(FileDigest(L"./x/../near"), abc);
    std::filesystem::current_path(before);
}

TEST(FileDigest, ThatFailsSaysWhyAndLeavesTheOutput) {
    const TemporaryFolder folder;
    const std::wstring locked = (folder.path / L"locked").native();
    WriteAll(locked, "abc");
    const tandor::FileHandle holder(
        ::CreateFileW(locked.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    const std::wstring read_failed = L"4 read file failed(CTandorSecTools::GetSha256HashStrFromFile)";
    const auto no_path = [](const std::wstring& path) {
        return L"4 PathCanonicalize failed, filepath is " + path + L"(CTandorSecTools::GetSha256HashStrFromFile)";
    };
    struct Case {
        std::wstring path, line;
        DWORD error;
    };
    const Case cases[] = {
        {L"", no_path(L""), ERROR_INVALID_NAME},
        {std::wstring(L"a\0b", 3), no_path(std::wstring(L"a\0b", 3)), ERROR_INVALID_NAME},
        {(folder.path / L"absent").native(), read_failed, ERROR_FILE_NOT_FOUND},
        {folder.path.native(), read_failed, ERROR_ACCESS_DENIED},
        {locked, read_failed, ERROR_SHARING_VIOLATION},
        {L"\\\\.\\NUL", read_failed, ERROR_BAD_DEVICE},
        {L"NUL", read_failed, ERROR_BAD_DEVICE},
        {L"CON", read_failed, 0},  // what the system says depends on the console
        {L"COM9", read_failed, 0},
        {(folder.path / L"nul.txt").native(), read_failed, 0},
    };
    HostLog log;
    std::string text = "untouched";
    for (const Case& c : cases) {
        EXPECT_FALSE(CTandorSecTools().GetSha256HashStrFromFile(c.path, text));
        EXPECT_TRUE(c.error == 0 || ::GetLastError() == c.error) << ::GetLastError() << " of " << c.path.size();
        EXPECT_EQ(log.Take(), std::vector<std::wstring>{c.line});
    }
    EXPECT_FALSE(CTandorSecTools().GetSha256HashStrFromFile(L"C:\\" + std::wstring(40'000, L'x'), text));
    EXPECT_THAT(log.Take(), SizeIs(1));
    EXPECT_EQ(text, "untouched");
}

int reads_left = 0;
BOOL WINAPI ReadUntilBroken(HANDLE file, void* buffer, DWORD size, DWORD* read, OVERLAPPED* overlapped) {
    if (reads_left-- > 0) return ::ReadFile(file, buffer, size, read, overlapped);
    ::SetLastError(ERROR_CRC);
    return FALSE;
}

TEST(FileDigest, SaysWhenReadingOrMemoryFails) {
    const TemporaryFolder folder;
    const std::wstring path = (folder.path / L"large").native();
    WriteAll(path, std::string(6'000'000, 'a'));
    HostLog log;
    std::string text = "untouched";
    for (const int good : {0, 3, 8, 20}) {  // from the ninth block on another thread reads
        const ImportPatch broken(L"TandorUtil.dll", "ReadFile", ReadUntilBroken);
        reads_left = good;
        EXPECT_FALSE(CTandorSecTools().GetSha256HashStrFromFile(path, text));
        EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_CRC)) << good;
        EXPECT_EQ(log.Take(),
                  std::vector<std::wstring>{L"4 read file failed(CTandorSecTools::GetSha256HashStrFromFile)"});
    }
    const auto hash = [&] { return CTandorSecTools().GetSha256HashStrFromFile(path, text); };
    FailEachStep<FailingMemory>("hash", hash, [&](bool good) {
        const DWORD error = ::GetLastError();
        const auto lines = log.Take();
        EXPECT_EQ(std::exchange(text, "untouched") == "untouched", !good);
        if (good) return;
        EXPECT_EQ(error, static_cast<DWORD>(ERROR_NOT_ENOUGH_MEMORY));
        EXPECT_EQ(lines,
                  std::vector<std::wstring>{L"4 create file conext failed(CTandorSecTools::GetSha256HashStrFromFile)"});
    });
}

// What counts is what was read before.
TEST(FileDigest, TakesAFileThatChangesAsItIsRead) {
    constexpr std::size_t kBlock = 256 * 1024;
    const TemporaryFolder folder;
    const std::filesystem::path path = folder.path / L"changing", moved = folder.path / L"moved";
    std::string content(40 * kBlock, '\0');
    for (std::size_t i = 0; i < content.size(); ++i) content[i] = static_cast<char>(i / 1021);
    const auto resize = [&](std::size_t size) { std::filesystem::resize_file(path, size); };
    struct Case {
        const char* what;
        std::size_t at;  // blocks
        std::function<void()> change;
        std::function<std::string(std::size_t)> hashed;  // by how many bytes were told at last
    };
    const auto begin = [&](std::size_t size) { return content.substr(0, size); };
    const Case cases[] = {
        {"cut before the end", 1, [&] { resize(3 * kBlock + 5); }, [&](std::size_t) { return begin(3 * kBlock + 5); }},
        {"cut while a thread reads ahead", 12, [&] { resize(0); }, begin},
        {"grown", 2, [&] { resize(41 * kBlock); }, [&](std::size_t) { return content + std::string(kBlock, '\0'); }},
        {"renamed and deleted", 10,
         [&] {
             std::filesystem::rename(path, moved);
             std::filesystem::remove(moved);
         },
         [&](std::size_t) { return content; }},
    };
    for (const Case& c : cases) {
        WriteAll(path, content);
        std::size_t told = 0;
        std::string text;
        EXPECT_TRUE(CTandorSecTools().GetSha256HashStrFromFile(path.native(), text, [&](auto done, auto) {
            told = static_cast<std::size_t>(done);
            if (told == c.at * kBlock) c.change();
            return true;
        })) << c.what;
        EXPECT_EQ(text, MemoryDigest(c.hashed(told))) << c.what;
    }
}

TEST(FileDigest, NeedsTheSameMemoryForALargeFile) {
    const unsigned long long size = (Amount("TANDOR_STRESS_FILE_MIB", 64) << 20) + 7;
    const TemporaryFolder folder;
    const std::filesystem::path path = folder.path / L"large";
    WriteAll(path, "");
    std::filesystem::resize_file(path, size);
    const std::size_t before = PrivateBytesOfThisProcess();
    std::size_t most = 0;
    unsigned long long told = 0;
    std::string text;
    EXPECT_TRUE(CTandorSecTools().GetSha256HashStrFromFile(path.native(), text, [&](auto done, auto total) {
        EXPECT_TRUE(done > told && total == size);
        if ((told >> 24) != (done >> 24)) most = std::max(most, PrivateBytesOfThisProcess());
        told = done;
        return true;
    }));
    EXPECT_EQ(told, size);
    EXPECT_LT(most, before + (8 << 20));  // the ring, and a thread's stack
    tandor::Sha256 zeros;
    const std::string piece(1 << 20, '\0');
    for (unsigned long long left = size; left > 0; left -= std::min<unsigned long long>(left, piece.size()))
        zeros.Update(piece.data(), static_cast<std::size_t>(std::min<unsigned long long>(left, piece.size())));
    unsigned char digest[32];
    std::string expected;
    EXPECT_TRUE(zeros.Finish(digest) && CTandorSecTools().NormalizeSha256(digest, expected));
    EXPECT_EQ(text, expected);
    RecordProperty("figures",
                   std::to_string(told) + " bytes, " + std::to_string((most - before) >> 10) + " KiB of memory");
}

TEST(FileDigest, StopsWhenToldTo) {
    const TemporaryFolder folder;
    const std::wstring path = (folder.path / L"large").native();
    WriteAll(path, std::string(5'000'000, 'a'));
    HostLog log;
    std::string text = "untouched";
    EXPECT_FALSE(CTandorSecTools().GetSha256HashStrFromFile(
        path, text, [](unsigned long long done, unsigned long long) { return done < 2'000'000; }));
    EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_CANCELLED));
    EXPECT_THROW(CTandorSecTools().GetSha256HashStrFromFile(
                     path, text, [](auto, auto) -> bool { throw std::runtime_error("stop"); }),
                 std::runtime_error);
    EXPECT_TRUE(log.Take().empty());
    EXPECT_EQ(text, "untouched");
    std::filesystem::remove(path);  // nothing holds it open
    EXPECT_FALSE(std::filesystem::exists(path));
}

}  // namespace
