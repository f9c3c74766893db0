#include "suite/telemetry/writer_turn.h"

#include <sddl.h>

namespace pelora {
namespace {

// Everybody may wait for it and give it back, services and users alike.
constexpr const wchar_t* kAccess = L"D:(A;;0x100001;;;WD)";

}  // namespace

WriterTurn::WriterTurn(const std::wstring& name) {
    SECURITY_ATTRIBUTES attributes{sizeof(SECURITY_ATTRIBUTES), nullptr, FALSE};
    if (::ConvertStringSecurityDescriptorToSecurityDescriptorW(kAccess, SDDL_REVISION_1,
                                                               &attributes.lpSecurityDescriptor, nullptr) == 0) {
        return;
    }
    constexpr DWORD kRights = SYNCHRONIZE | MUTEX_MODIFY_STATE;
    mutex_ = tandor::KernelHandle(::CreateMutexExW(&attributes, (L"Global\\" + name).c_str(), 0, kRights));
    ::LocalFree(attributes.lpSecurityDescriptor);
}

WriterTurn::Hold::Hold(const WriterTurn& turn, std::chrono::milliseconds wait) noexcept {
    if (!turn.mutex_) return;
    const DWORD result = ::WaitForSingleObject(turn.mutex_.Get(), static_cast<DWORD>(wait.count()));
    if (result == WAIT_OBJECT_0 || result == WAIT_ABANDONED) mutex_ = turn.mutex_.Get();
}

WriterTurn::Hold::~Hold() {
    if (mutex_ != nullptr) ::ReleaseMutex(mutex_);
}

}  // namespace pelora
