// SHA-256 of files: the digest runs on the caller's thread; of a large file the next blocks are read on another.
#include <windows.h>

#include <xmmintrin.h>

#include <algorithm>
#include <exception>
#include <memory>
#include <mutex>
#include <new>
#include <thread>

#include "base/lock.h"
#include "base/win_handle.h"
#include "foundation/message.h"
#include "security/sha256.h"
#include "tandor/sealing.h"

namespace {

// Small enough that a block is still in a cache when its digest is taken.
constexpr DWORD kBlockSize = 256 * 1024;
constexpr std::wstring_view kLiteralPrefix = L"\\\\?\\";

// How far the work came, as the host log words it.
enum class Stage { kDone, kStopped, kPath, kRead, kContext, kHash };

// With the cause as the system names it. It becomes the last error when everything has been closed: closing and waiting
// for a thread set one of their own.
struct Outcome {
    Stage stage;
    DWORD cause = ERROR_SUCCESS;
};
constexpr Outcome kNoDigest{Stage::kHash, ERROR_INTERNAL_ERROR};

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

// A file's content, block by block. Once more than a ring of blocks has been read, a thread reads ahead: it wakes only
// when half of the ring is free, so that the digest never waits for it and neither is woken for every block.
class BlockReader {
public:
    explicit BlockReader(HANDLE file) noexcept : file_(file), memory_(new (std::nothrow) unsigned char[kRing]) {}
    ~BlockReader() {
        {
            const std::lock_guard guard(lock_);
            stopped_ = true;
        }
        changed_.WakeAll();
        if (thread_.joinable()) thread_.join();
    }
    BlockReader(const BlockReader&) = delete;
    BlockReader& operator=(const BlockReader&) = delete;

    explicit operator bool() const noexcept { return memory_ != nullptr; }

    // The next block. It lives until the next call.
    Block Next() noexcept {
        if (!thread_.joinable()) {
            if (taken_ == kBlocks) StartAhead();
            if (!thread_.joinable()) {  // a short file, or no thread to be had
                Read(blocks_[0]);
                ++taken_;
                return blocks_[0];
            }
        }
        std::unique_lock guard(lock_);
        if (held_) ++freed_;
        held_ = true;
        if (read_ - freed_ == kBlocks / 2) changed_.WakeAll();
        while (read_ == freed_) changed_.Wait(lock_);
        return blocks_[freed_ % kBlocks];
    }

private:
    void StartAhead() noexcept {
        try {
            thread_ = std::thread([this] { ReadAhead(); });
        } catch (const std::exception&) {  // no thread, or no memory for it
            return;                        // goes on without
        }
    }
    void ReadAhead() noexcept {
        std::unique_lock guard(lock_);
        for (std::size_t number = 0; !stopped_; ++number) {
            if (read_ - freed_ == kBlocks) {
                while (read_ - freed_ > kBlocks / 2 && !stopped_) changed_.Wait(lock_);
                if (stopped_) return;
            }
            Block& block = blocks_[number % kBlocks];
            guard.unlock();
            Read(block);
            guard.lock();
            if (read_++ == freed_) changed_.WakeAll();
            if (block.error != 0 || block.size == 0) return;
        }
    }
    void Read(Block& block) noexcept {
        const auto data = memory_.get() + (&block - blocks_) * std::ptrdiff_t{kBlockSize};
        DWORD size = 0;
        const bool done = ::ReadFile(file_, data, kBlockSize, &size, nullptr) != 0;
        block = {data, size, done ? 0 : ::GetLastError()};
    }

    static constexpr std::size_t kBlocks = 8;
    static constexpr std::size_t kRing = kBlocks * kBlockSize;

    HANDLE file_;
    std::unique_ptr<unsigned char[]> memory_;
    Block blocks_[kBlocks]{};
    std::size_t taken_ = 0;  // without the thread
    std::thread thread_;
    tandor::Lock lock_;  // of what follows
    tandor::Condition changed_;
    std::size_t read_ = 0;   // blocks that the thread has filled
    std::size_t freed_ = 0;  // of these, the ones that have been worked on
    bool held_ = false;      // whether the caller works on the block behind the freed ones
    bool stopped_ = false;
};

// The bytes lie in the cache of the processor core that read them: each piece is fetched while the one before it is
// worked on.
bool Feed(tandor::Sha256& hash, const Block& block) noexcept {
    constexpr std::size_t kPiece = 1024;
    constexpr std::size_t kLine = 64;
    for (std::size_t done = 0; done < block.size; done += kPiece) {
        const std::size_t next = done + kPiece;
        for (std::size_t line = next; line < std::min<std::size_t>(next + kPiece, block.size); line += kLine)
            _mm_prefetch(reinterpret_cast<const char*>(block.data + line), _MM_HINT_T0);
        if (!hash.Update(block.data + done, std::min<std::size_t>(kPiece, block.size - done))) return false;
    }
    return true;
}

Outcome HashFile(HANDLE file, const CTandorSecTools::HashProgress& progress, unsigned char* digest) {
    LARGE_INTEGER total{};
    ::GetFileSizeEx(file, &total);  // for the progress alone: the file's end is where reading meets it
    BlockReader reader(file);
    if (!reader) return {Stage::kContext, ERROR_NOT_ENOUGH_MEMORY};
    tandor::Sha256 hash;
    unsigned long long done = 0;
    for (Block block = reader.Next(); block.error != 0 || block.size != 0; block = reader.Next()) {
        if (block.error != 0) return {Stage::kRead, block.error};
        if (!Feed(hash, block)) return kNoDigest;
        done += block.size;
        if (progress && !progress(done, static_cast<unsigned long long>(total.QuadPart)))
            return {Stage::kStopped, ERROR_CANCELLED};
    }
    return hash.Finish(digest) ? Outcome{Stage::kDone} : kNoDigest;
}

Outcome HashPath(const std::wstring& path, const CTandorSecTools::HashProgress& progress, unsigned char* digest) {
    std::wstring full;
    try {
        full = Canonicalise(path);
    } catch (const std::exception&) {
        return {Stage::kContext, ERROR_NOT_ENOUGH_MEMORY};
    }
    if (full.empty()) return {Stage::kPath, ::GetLastError()};
    const tandor::FileHandle file = OpenDiskFile(full);
    if (!file) return {Stage::kRead, ::GetLastError()};
    return HashFile(file.Get(), progress, digest);
}

void Report(const Outcome& outcome, const std::wstring& path) noexcept {
    constexpr wchar_t kFunction[] = L"CTandorSecTools::GetSha256HashStrFromFile";
    using tandor::kFailure, tandor::TryLogMessage;
    switch (outcome.stage) {
        case Stage::kPath:
            TryLogMessage(kFailure, kFunction, L"PathCanonicalize failed, filepath is ", path);
            break;
        case Stage::kRead:
            TryLogMessage(kFailure, kFunction, L"read file failed");
            break;
        case Stage::kContext:
            TryLogMessage(kFailure, kFunction, L"create file conext failed");
            break;
        case Stage::kHash:
            TryLogMessage(kFailure, kFunction, L"get hash failed");
            break;
        case Stage::kDone:
        case Stage::kStopped:
            break;
    }
    ::SetLastError(outcome.cause);
}

}  // namespace

bool CTandorSecTools::GetSha256HashStrFromFile(const std::wstring& path, std::string& hashHex) noexcept {
    return GetSha256HashStrFromFile(path, hashHex, nullptr);
}

bool CTandorSecTools::GetSha256HashStrFromFile(const std::wstring& path, std::string& hashHex,
                                               const HashProgress& progress) {
    unsigned char digest[tandor::Sha256::kSize];
    Outcome outcome = HashPath(path, progress, digest);
    std::string text;
    if (outcome.stage == Stage::kDone && !NormalizeSha256(digest, text))
        outcome = {Stage::kContext, ERROR_NOT_ENOUGH_MEMORY};
    if (outcome.stage != Stage::kDone) {
        Report(outcome, path);
        return false;
    }
    hashHex.swap(text);
    return true;
}
