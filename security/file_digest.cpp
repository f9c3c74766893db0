// SHA-256 of files: the digest runs on the caller's thread while the next block is read on one of the system's pool.
#include <windows.h>

#include <array>
#include <exception>
#include <memory>
#include <new>

#include "base/hex.h"
#include "base/win_handle.h"
#include "foundation/message.h"
#include "security/sha256.h"
#include "tandor/sealing.h"

namespace {

constexpr DWORD kBlockSize = 1024 * 1024;
constexpr std::wstring_view kLiteralPrefix = L"\\\\?\\";

// How far the work came, as the host log words it.
enum class Stage { kDone, kStopped, kPath, kRead, kContext, kHash };

struct PoolWorkPolicy {
    using Value = PTP_WORK;
    static Value Invalid() noexcept { return nullptr; }
    static void Close(Value value) noexcept { ::CloseThreadpoolWork(value); }
};

// The absolute path in the form that the system takes at any length; empty when there is none.
std::wstring Canonicalise(const std::wstring& path) {
    ::SetLastError(ERROR_INVALID_NAME);
    if (path.empty() || path.find(L'\0') != std::wstring::npos) return {};
    if (path.starts_with(kLiteralPrefix)) return path;
    std::wstring full;
    DWORD length = static_cast<DWORD>(path.size() + MAX_PATH);
    do {
        full.resize(length);
        length = ::GetFullPathNameW(path.c_str(), length, full.data(), nullptr);
    } while (length > full.size());
    full.resize(length);
    if (length < MAX_PATH || full.starts_with(L"\\\\.\\")) return full;
    if (full.starts_with(L"\\\\")) return L"\\\\?\\UNC" + full.substr(1);
    return std::wstring(kLiteralPrefix) + full;
}

// Invalid, with the last error set, for what cannot be opened and for pipes, consoles and other devices: they have no
// end, and reading them may wait for ever.
tandor::FileHandle OpenDiskFile(const std::wstring& path) {
    tandor::FileHandle file(
        ::CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                      OPEN_EXISTING, FILE_FLAG_SEQUENTIAL_SCAN | SECURITY_SQOS_PRESENT | SECURITY_ANONYMOUS, nullptr));
    if (file && ::GetFileType(file.Get()) != FILE_TYPE_DISK) {
        file.Reset();
        ::SetLastError(ERROR_BAD_DEVICE);
    }
    return file;
}

struct Block {
    const unsigned char* data;
    DWORD size;   // 0 at the end
    DWORD error;  // 0 when the read went well
};

// Reads a file block by block; while one is worked on, the next may already be on its way.
class BlockReader {
public:
    explicit BlockReader(HANDLE file) noexcept : file_(file) {
        for (auto& buffer : buffers_) buffer.reset(new (std::nothrow) unsigned char[kBlockSize]);
        // Without the pool each block is read when it is asked for.
        work_ = tandor::UniqueHandle<PoolWorkPolicy>(::CreateThreadpoolWork(ReadInPool, this, nullptr));
    }
    ~BlockReader() { Join(); }
    BlockReader(const BlockReader&) = delete;
    BlockReader& operator=(const BlockReader&) = delete;

    explicit operator bool() const noexcept { return buffers_[0] != nullptr && buffers_[1] != nullptr; }

    // The next block. It lives until the second call after this one.
    Block Next() noexcept {
        if (!Join()) Read();
        current_ ^= 1;
        return {buffers_[current_ ^ 1].get(), size_, error_};
    }
    // Begins to read the block after the one that Next returned last.
    void ReadAhead() noexcept {
        if (!work_) return;
        pending_ = true;
        ::SubmitThreadpoolWork(work_.Get());
    }

private:
    static void CALLBACK ReadInPool(PTP_CALLBACK_INSTANCE, void* reader, PTP_WORK) {
        static_cast<BlockReader*>(reader)->Read();
    }
    void Read() noexcept {
        error_ = ::ReadFile(file_, buffers_[current_].get(), kBlockSize, &size_, nullptr) != 0 ? 0 : ::GetLastError();
    }
    // Waits for the read on its way; false when there is none.
    bool Join() noexcept {
        if (!pending_) return false;
        ::WaitForThreadpoolWorkCallbacks(work_.Get(), FALSE);
        pending_ = false;
        return true;
    }

    HANDLE file_;
    std::array<std::unique_ptr<unsigned char[]>, 2> buffers_;
    std::size_t current_ = 0;  // the buffer that is read into next
    DWORD size_ = 0;
    DWORD error_ = 0;
    bool pending_ = false;
    tandor::UniqueHandle<PoolWorkPolicy> work_;
};

// Sets the last error when it does not end with kDone.
Stage HashFile(HANDLE file, const CTandorSecTools::HashProgress& progress, unsigned char* digest) {
    LARGE_INTEGER total{};
    ::GetFileSizeEx(file, &total);  // for the progress alone: the file's end is where reading meets it
    BlockReader reader(file);
    if (!reader) {
        ::SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return Stage::kContext;
    }
    tandor::Sha256 hash;
    unsigned long long done = 0;
    for (Block block = reader.Next(); block.error != 0 || block.size != 0; block = reader.Next()) {
        if (block.error != 0) {
            ::SetLastError(block.error);
            return Stage::kRead;
        }
        if (block.size == kBlockSize) reader.ReadAhead();
        if (!hash.Update(block.data, block.size)) return Stage::kHash;
        done += block.size;
        if (progress && !progress(done, static_cast<unsigned long long>(total.QuadPart))) {
            ::SetLastError(ERROR_CANCELLED);
            return Stage::kStopped;
        }
    }
    return hash.Finish(digest) ? Stage::kDone : Stage::kHash;
}

Stage HashPath(const std::wstring& path, const CTandorSecTools::HashProgress& progress, unsigned char* digest) {
    const std::wstring full = Canonicalise(path);
    if (full.empty()) return Stage::kPath;
    const tandor::FileHandle file = OpenDiskFile(full);
    if (!file) return Stage::kRead;
    const Stage stage = HashFile(file.Get(), progress, digest);
    return stage;
}

void ReportStage(Stage stage, const std::wstring& path) {
    constexpr wchar_t kFunction[] = L"CTandorSecTools::GetSha256HashStrFromFile";
    using tandor::kFailure;
    const DWORD cause = ::GetLastError();
    switch (stage) {
        case Stage::kPath:
            tandor::LogMessage(kFailure, kFunction, L"PathCanonicalize failed, filepath is ", path);
            break;
        case Stage::kRead:
            tandor::LogMessage(kFailure, kFunction, L"read file failed");
            break;
        case Stage::kContext:
            tandor::LogMessage(kFailure, kFunction, L"create file conext failed");
            break;
        case Stage::kHash:
            tandor::LogMessage(kFailure, kFunction, L"get hash failed");
            break;
        case Stage::kDone:
        case Stage::kStopped:
            break;
    }
    ::SetLastError(cause);
}

}  // namespace

bool CTandorSecTools::GetSha256HashStrFromFile(const std::wstring& path, std::string& hashHex) noexcept {
    try {
        return GetSha256HashStrFromFile(path, hashHex, nullptr);
    } catch (const std::exception&) {  // for want of memory alone
        ::SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return false;
    }
}

bool CTandorSecTools::GetSha256HashStrFromFile(const std::wstring& path, std::string& hashHex,
                                               const HashProgress& progress) {
    unsigned char digest[tandor::Sha256::kSize];
    const Stage stage = HashPath(path, progress, digest);
    if (stage != Stage::kDone) {
        ReportStage(stage, path);
        return false;
    }
    hashHex = tandor::HexFromBytes({reinterpret_cast<const char*>(digest), sizeof(digest)}, tandor::HexCase::kLower);
    return true;
}
