// Lets one allocation in the library fail: its own code's, its services', or those of the libraries in both.
#pragma once

#include <atomic>
#include <cstdlib>

#include "support/import_patch.h"

namespace tandor::test {

// The step-th allocation from now on of the thread that made this fails; the others, and other threads', do not.
class FailingMemory : UnCopyable {
public:
    explicit FailingMemory(long step) {
        steps_left_ = step;
        thread_ = ::GetCurrentThreadId();
    }
    ~FailingMemory() { thread_ = 0; }

    [[nodiscard]] static bool HasFailed() { return steps_left_ <= 0; }

private:
    static bool Fails() { return ::GetCurrentThreadId() == thread_ && --steps_left_ == 0; }
    static void* Malloc(std::size_t size) { return Fails() ? nullptr : std::malloc(size); }
    static void* Calloc(std::size_t count, std::size_t size) { return Fails() ? nullptr : std::calloc(count, size); }
    static void* Realloc(void* block, std::size_t size) { return Fails() ? nullptr : std::realloc(block, size); }

    static inline std::atomic<DWORD> thread_ = 0;
    static inline std::atomic<long> steps_left_ = 0;
    // The C++ run-time's own serves every module's new.
    ImportPatch run_time_{L"libstdc++-6.dll", "malloc", Malloc};
    ImportPatch library_malloc_{L"TandorUtil.dll", "malloc", Malloc};
    ImportPatch library_calloc_{L"TandorUtil.dll", "calloc", Calloc};
    ImportPatch library_realloc_{L"TandorUtil.dll", "realloc", Realloc};
    ImportPatch suite_malloc_{L"PeloraSuite.dll", "malloc", Malloc};
    ImportPatch suite_realloc_{L"PeloraSuite.dll", "realloc", Realloc};
};

}  // namespace tandor::test
