#include "base/shared_turn.h"

#include "base/utf.h"
#include "base/win_error.h"

namespace tandor {
namespace {

constexpr DWORD kFileSize = 4096;  // bytes
constexpr int kSpins = 100;
constexpr int kYields = 50;
constexpr int kNaps = 2000;  // of 1 ms
constexpr int kNapsForStuck = 1;
constexpr int kNapsPerLook = 8;  // looking whether a holder lives costs a tenth of a millisecond
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
    words_ = static_cast<Words*>(::MapViewOfFile(mapping.Get(), FILE_MAP_WRITE, 0, 0, sizeof(Words)));
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

SharedTurn::Taken SharedTurn::Take() noexcept { return Try() ? Taken::kYes : Wait(); }

SharedTurn::Taken SharedTurn::Wait() noexcept {
    std::uint32_t last = 0;
    std::uint64_t last_size = 0;
    for (int nap = -kYields, same = 0; !Try(); ++nap) {
        if (nap < 0) {
            ::SwitchToThread();
            continue;
        }
        const std::uint32_t holder = words_->holder.load(std::memory_order_relaxed);
        const std::uint64_t size = words_->size.load(std::memory_order_relaxed);
        same = holder == last && size == last_size ? same + 1 : 0;
        last = holder;
        last_size = size;
        const bool enough = same >= (holder == stuck_ ? kNapsForStuck : kNaps);
        if ((enough || same % kNapsPerLook == kNapsPerLook - 1) && TakeFromTheDead(holder)) return Taken::kFromTheDead;
        if (enough) {
            stuck_ = holder;
            return Taken::kNo;
        }
        ::Sleep(1);
    }
    stuck_ = 0;
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
