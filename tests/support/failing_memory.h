// Lets one allocation of TandorUtil.dll fail, its own code's or the cipher library's in it.
#pragma once

#include <atomic>
#include <cstdlib>
#include <new>

#include "support/import_patch.h"

namespace tandor::test {

// The step-th allocation from now on of the thread that made this fails; the others, and other threads', do not.
class FailingMemory : UnCopyable {
public:
    explicit FailingMemory(int step) {
        thread_ = ::GetCurrentThreadId();
        steps_left_ = step;
    }
    ~FailingMemory() { thread_ = 0; }

    [[nodiscard]] static bool HasFailed() { return steps_left_ <= 0; }

private:
    static bool Fails() { return ::GetCurrentThreadId() == thread_ && --steps_left_ == 0; }
    static void* Malloc(std::size_t size) { return Fails() ? nullptr : std::malloc(size); }
    static void* New(std::size_t size) { return Fails() ? throw std::bad_alloc() : ::operator new(size); }
    static void* NewOrNull(std::size_t size, const std::nothrow_t& tag) noexcept {
        return Fails() ? nullptr : ::operator new[](size, tag);
    }

    static inline std::atomic<DWORD> thread_ = 0;
    static inline std::atomic<int> steps_left_ = 0;
    ImportPatch malloc_{L"TandorUtil.dll", "malloc", Malloc};
    ImportPatch new_{L"TandorUtil.dll", "_Znwy", New};
    ImportPatch new_or_null_{L"TandorUtil.dll", "_ZnayRKSt9nothrow_t", NewOrNull};
};

}  // namespace tandor::test
