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
    std::filesystem::path deep = folder.path;
    for (int i = 0; i < 8; ++i) deep /= std::wstring(60, L'ü');
    const std::wstring literal = L"\\\\?\\" + deep.native();
    for (std::size_t at = literal.find(L'\\', folder.path.native().size() + 4); at != std::wstring::npos;
         at = literal.find(L'\\', at + 1)) {
        ::CreateDirectoryW(literal.substr(0, at).c_str(), nullptr);
    }
    ASSERT_NE(::CreateDirectoryW(literal.c_str(), nullptr), 0);
    const std::wstring file = literal + L"\\f";
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
    for (std::wstring directory = literal; directory.size() > folder.path.native().size() + 4;
         directory.resize(directory.rfind(L'\\'))) {
        EXPECT_NE(::RemoveDirectoryW(directory.c_str()), 0);
    }

    WriteAll(folder.path / L"near", "abc");
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(folder.path);
    EXPECT_EQ(FileDigest(L"near"), abc);
    EXPECT_EQ(FileDigest(L"./x/../near"), abc);
    std::filesystem::current_path(before);
}

TEST(FileDigest, LetsOthersReadAndWriteMeanwhile) {
    const TemporaryFolder folder;
    const std::wstring path = (folder.path / L"shared").native();
    const tandor::FileHandle writer(::CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE,
                                                  FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, CREATE_NEW, 0, nullptr));
    const std::string content(3'000'000, 'a');
    DWORD written = 0;
    ASSERT_NE(::WriteFile(writer.Get(), content.data(), 3'000'000, &written, nullptr), 0);
    unsigned long long told = 0;
    bool opened = true;
    std::string text;
    EXPECT_TRUE(
        CTandorSecTools().GetSha256HashStrFromFile(path, text, [&](unsigned long long done, unsigned long long total) {
            EXPECT_GT(done, told);
            EXPECT_EQ(total, 3'000'000u);
            told = done;
            const tandor::FileHandle other(::CreateFileW(
                path.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr));
            opened = opened && static_cast<bool>(other);
            return true;
        }));
    EXPECT_EQ(text, MemoryDigest(content));
    EXPECT_TRUE(opened);
    EXPECT_EQ(told, 3'000'000u);
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
    };
    HostLog log;
    std::string text = "untouched";
    for (const Case& c : cases) {
        EXPECT_FALSE(CTandorSecTools().GetSha256HashStrFromFile(c.path, text));
        EXPECT_EQ(::GetLastError(), c.error) << c.path.size();
        EXPECT_EQ(log.Take(), std::vector<std::wstring>{c.line});
    }
    EXPECT_FALSE(CTandorSecTools().GetSha256HashStrFromFile(L"C:\\" + std::wstring(40'000, L'x'), text));
    EXPECT_THAT(log.Take(), SizeIs(1));
    EXPECT_EQ(text, "untouched");
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
