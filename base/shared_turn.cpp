#include "base/shared_turn.h"

#include "base/utf.h"
#include "base/win_error.h"

namespace tandor {
namespace {

constexpr DWORD kFileSize = 2 * SharedTurn::kRoom;  // bytes
constexpr int kSpins = 100;
constexpr int kYields = 50;
// Counted by the clock: a nap of 1 ms may last a tick of the system's timer, sixteen times as long.
constexpr std::uint64_t kPatience = 2000;  // ms
constexpr std::uint64_t kLookEvery = 8;    // ms; looking whether a holder lives costs a tenth of one
constexpr std::uint32_t kNumbers = 0x100000;

// The bytes that stand for processes lie far behind the end of the file.
OVERLAPPED PlaceOf(std::uint32_t number) {
    OVERLAPPED place{};
    place.OffsetHigh = 0x40000000;
    place.Offset = number;
    return place;
}

bool LockByte(HANDLE file, std::uint32_t number) noexcept {
    OVERLAPPED place = PlaceOf(number);
    return ::LockFileEx(file, LOCKFILE_EXCLUSIVE_LOCK | LOCKFILE_FAIL_IMMEDIATELY, 0, 1, 0, &place) != 0;
}

void UnlockByte(HANDLE file, std::uint32_t number) noexcept {
    OVERLAPPED place = PlaceOf(number);
    ::UnlockFileEx(file, 0, 1, 0, &place);
}

std::system_error Failure(const std::filesystem::path& file, const char* what) {
    return WindowsError(what + Utf8FromWideLossy(file.native()), ::GetLastError());
}

}  // namespace

SharedTurn::SharedTurn(const std::filesystem::path& file)
    : file_(::CreateFileW(file.c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                          OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr)) {
    if (!file_) throw Failure(file, "cannot open ");
    const KernelHandle mapping(::CreateFileMappingW(file_.Get(), nullptr, PAGE_READWRITE, 0, kFileSize, nullptr));
    if (!mapping) throw Failure(file, "cannot map ");
    words_ = static_cast<Words*>(::MapViewOfFile(mapping.Get(), FILE_MAP_WRITE, 0, 0, kFileSize));
    if (words_ == nullptr) throw Failure(file, "cannot map ");
    LockNumber();
    if (number_ == 0) {
        ::UnmapViewOfFile(words_);
        throw Failure(file, "cannot lock a part of ");
    }
}

SharedTurn::~SharedTurn() { ::UnmapViewOfFile(words_); }

void SharedTurn::LockNumber() {
    const DWORD first = ::GetCurrentProcessId();
    for (DWORD attempt = 0; attempt < 1000 && number_ == 0; ++attempt) {
        const std::uint32_t number = 1 + (first + attempt) % kNumbers;
        if (LockByte(file_.Get(), number)) number_ = number;
    }
    // A predecessor of the same number died with the turn; nobody else can see that any more.
    if (number_ != 0 && words_->holder.load(std::memory_order_acquire) == number_) {
        words_->generation.fetch_add(1);
        Give();
    }
}

bool SharedTurn::Try() noexcept {
    for (int spin = 0; spin < kSpins; ++spin) {
        std::uint32_t nobody = 0;
        if (words_->holder.compare_exchange_weak(nobody, number_, std::memory_order_acquire)) return true;
        YieldProcessor();
    }
    return false;
}

SharedTurn::Taken SharedTurn::Take() noexcept {
    const Taken taken = Try() ? Taken::kYes : Wait();
    if (taken != Taken::kNo) stuck_ = 0;
    return taken;
}

SharedTurn::Taken SharedTurn::Wait() noexcept {
    for (int yield = 0; yield < kYields; ++yield) {
        if (Try()) return Taken::kYes;
        ::SwitchToThread();
    }
    std::uint32_t last = 0;
    std::uint64_t last_size = 0, since = 0, looked = 0;  // tick counts: of the last sign of life, of the last look
    for (; !Try(); ::Sleep(1)) {
        const std::uint32_t holder = words_->holder.load(std::memory_order_relaxed);
        const std::uint64_t size = words_->size.load(std::memory_order_relaxed);
        const std::uint64_t now = ::GetTickCount64();
        const bool moved = holder == 0 || holder != last || size != last_size;
        last = holder;
        last_size = size;
        if (moved) since = looked = now;
        const bool enough = !moved && (holder == stuck_ || now - since >= kPatience);
        if (!enough && now - looked < kLookEvery) continue;
        if (TakeFromTheDead(holder)) return Taken::kFromTheDead;
        if (enough) {
            stuck_ = holder;
            return Taken::kNo;
        }
        looked = now;
    }
    return Taken::kYes;
}

// The byte stays locked over the exchange, so that no new process can have taken the dead one's number meanwhile.
bool SharedTurn::TakeFromTheDead(std::uint32_t holder) noexcept {
    if (holder == 0 || !LockByte(file_.Get(), holder)) return false;
    std::uint32_t expected = holder;
    const bool taken = words_->holder.compare_exchange_strong(expected, number_, std::memory_order_acquire);
    UnlockByte(file_.Get(), holder);
    return taken;
}

}  // namespace tandor
